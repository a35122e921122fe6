// SPDX-License-Identifier: Apache-2.0
// Debian's Chromium without a window, over its own pipe. The tests' way into the browser listens to all that the network
// brings, and so copies each message of the stream several times: that is no part of what is measured here.

import { FLAGS } from '../test/browser.mjs';
import { makeFolder, start } from './processes.mjs';

const SIZE = { width: 1280, height: 720, deviceScaleFactor: 1, mobile: false };
const ANSWER_MS = 90000;

/** One page. */
class Tab {
  constructor(browser, target, session) {
    Object.assign(this, { browser, target, session });
  }

  send(method, params) {
    return this.browser.send(method, params, this.session);
  }

  /** What a function returns in the page. */
  async evaluate(code, of) {
    const expression = `(${code})(${JSON.stringify(of)})`;
    const answer = await this.send('Runtime.evaluate', {
      expression,
      awaitPromise: true,
      returnByValue: true,
    });
    if (answer.exceptionDetails) throw new Error(JSON.stringify(answer.exceptionDetails));
    return answer.result.value;
  }

  /** Waits until a function returns true in the page. */
  async until(condition, of) {
    const deadline = Date.now() + 60000;
    while (!(await this.evaluate(condition, of))) {
      if (Date.now() > deadline) throw new Error(`never: ${condition}`);
      await new Promise((done) => setTimeout(done, 100));
    }
  }

  close() {
    return this.browser.send('Target.closeTarget', { targetId: this.target });
  }
}

export class Chromium {
  static async start() {
    const browser = new Chromium();
    const flags = [...FLAGS, '--headless', '--remote-debugging-pipe', `--user-data-dir=${makeFolder()}`];
    const { child } = start('/usr/bin/chromium', flags, ['pipe', 'pipe']);
    const [, , , to, from] = child.stdio;
    browser.to = to;
    browser.waiting = new Map();
    browser.asked = 0;
    let rest = '';
    from.setEncoding('utf8').on('data', (part) => {
      const messages = (rest + part).split('\0');
      rest = messages.pop();
      for (const message of messages) browser.#receive(JSON.parse(message));
    });
    return browser;
  }

  #receive({ id, result, error }) {
    const waiting = this.waiting.get(id);
    this.waiting.delete(id);
    if (error) waiting?.fail(new Error(error.message));
    else waiting?.done(result);
  }

  send(method, params = {}, sessionId = undefined) {
    const id = ++this.asked;
    this.to.write(`${JSON.stringify({ id, method, params, sessionId })}\0`);
    return new Promise((done, fail) => {
      const late = setTimeout(() => fail(new Error(`${method} is not answered`)), ANSWER_MS);
      late.unref();
      this.waiting.set(id, { done, fail });
    });
  }

  /** Opens a page of 1280 x 720 pixels in a window of its own. `first` is run in it before its own script. */
  async open(url, first = '') {
    const { targetId } = await this.send('Target.createTarget', { url: 'about:blank', newWindow: true });
    const { sessionId } = await this.send('Target.attachToTarget', { targetId, flatten: true });
    const tab = new Tab(this, targetId, sessionId);
    await tab.send('Emulation.setDeviceMetricsOverride', SIZE);
    await tab.send('Page.addScriptToEvaluateOnNewDocument', { source: first });
    await tab.send('Page.navigate', { url });
    return tab;
  }
}
