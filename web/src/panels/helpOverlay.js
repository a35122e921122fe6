// SPDX-License-Identifier: Apache-2.0
// All keys at a glance.

import { byId, element } from '../page/dom.js';
import { KEY_TABLE } from '../page/keys.js';

const MOUSE = [
  ['Drag', 'orbit'],
  ['Right drag', 'pan'],
  ['Wheel', 'zoom to the cursor'],
  ['Click', 'read a point'],
  ['Shift click', 'measure to a second one'],
  ['Double click', 'orbit around a point'],
  ['Tab to an image', 'arrows: its points, Enter: read'],
];

const MOUSE_FOLLOWS = 'Camera';

/** @param {string[]} keys @param {string} does */
const line = (keys, does) => [
  element('dt', {}, ...keys.map((name) => element('kbd', { textContent: name }))),
  element('dd', { textContent: does }),
];

/** @param {string} title @param {Node[]} lines */
const section = (title, lines) =>
  element('section', {}, element('h3', { textContent: title }), element('dl', {}, ...lines));

export class HelpOverlay {
  constructor() {
    this.dialog = byId('help', HTMLDialogElement);
    const columns = element(
      'div',
      { className: 'columns' },
      ...KEY_TABLE.flatMap((group) => [
        section(
          group.title,
          group.keys.flatMap((of) => line(of.shown, of.does)),
        ),
        ...(group.title === MOUSE_FOLLOWS
          ? [
              section(
                'Mouse',
                MOUSE.flatMap(([name, does]) => line([name], does)),
              ),
            ]
          : []),
      ]),
    );
    const licences = new URL('/licences', location.href);
    licences.search = location.search;
    this.program = element('span', {});
    this.dialog.append(
      element('h2', { textContent: 'Keys' }),
      columns,
      element(
        'footer',
        {},
        this.program,
        element('a', { href: licences.href, target: '_blank', rel: 'noopener', textContent: 'Licences' }),
      ),
    );
    this.dialog.tabIndex = -1;
    this.dialog.addEventListener('click', (event) => {
      if (event.target === this.dialog) this.dialog.close();
    });
  }

  toggle() {
    if (this.dialog.open) this.dialog.close();
    else {
      this.dialog.showModal();
      this.dialog.focus();
    }
  }
}
