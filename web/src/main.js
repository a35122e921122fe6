// SPDX-License-Identifier: Apache-2.0
// The start of the page.

import { connectActions } from './page/actions.js';
import { App } from './page/app.js';
import { byId, element } from './page/dom.js';
import { makeHook } from './page/hook.js';

/** @returns {App | null} null when the browser cannot draw */
function makeApp() {
  try {
    return new App();
  } catch (fault) {
    const text =
      'This browser gives no WebGL 2, so the points cannot be drawn.\nSwitch hardware acceleration on, or try another browser.';
    byId('notices').classList.add('large');
    byId('notices').append(element('div', { className: 'notice bad', textContent: `${text}\n(${fault})` }));
    return null;
  }
}

const app = makeApp();
if (app) {
  connectActions(app);
  Object.defineProperty(window, 'orliqView', { value: makeHook(app) });
  app.start();
}
