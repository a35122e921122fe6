// SPDX-License-Identifier: Apache-2.0
// A mock server and a page of it for each test; afterwards the page may have complained of nothing unexpected.
import assert from 'node:assert/strict';
import { after, afterEach, before } from 'node:test';
import { openPage, startBrowser, until } from './browser.mjs';
import { MockServer } from './mock-server.mjs';

let browser, complaints;
export let server;
export let page;

before(async () => {
  browser = await startBrowser();
});
after(() => browser?.close());

afterEach(async () => {
  await close();
  assert.deepEqual([page.errors.filter((words) => !complaints.test(words)), page.strays], [[], []]);
});

/** Ends the server and its page. */
export async function close() {
  await page?.close();
  await server?.close();
}

/** A new server and page. `allowed`: what the browser may complain of. */
export async function open(kind, options = {}, allowed = /^$/) {
  complaints = allowed;
  server = new MockServer(kind);
  const port = await server.listen();
  page = await openPage(browser, `http://127.0.0.1:${port}/`, options);
  await until(
    page,
    (frames) => window.orliqView?.state === 'open' && window.orliqView.framesShown >= frames,
    kind === 'silent' ? 0 : 1,
  );
  return port;
}

/** Another server at the port of the one that was closed. */
export async function serveAgain(kind, port) {
  server = new MockServer(kind);
  await server.listen(port);
}

/** Waits until something holds of the server. */
export async function reached(condition) {
  const deadline = Date.now() + 30000;
  while (!condition()) {
    assert.ok(Date.now() < deadline, String(condition));
    await new Promise((done) => setTimeout(done, 20));
  }
}

export const shown = () =>
  server.commands.filter((command) => command.do === 'shown').map((command) => command.frame);
