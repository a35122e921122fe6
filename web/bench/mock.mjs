// SPDX-License-Identifier: Apache-2.0
// How fast the page is, in a headless browser: the page's own work for a frame, and how often it draws compared with
// a bare three.js loop over as many points. The mock server sends as fast as the page answers.

import { MockServer, encodeFrame } from '../test/mock-server.mjs';
import { measureBareLoop, median, watchPage } from './figures.mjs';

const ROUNDS = 3; // page and bare loop by turns, so that what else the machine does hits both
const SETTINGS = JSON.stringify({ dock: false, panels: false, grid: false, rings: false, axes: false });

const FIRST_NUMBER = 1000000000; // of a frame: all numbers have as many digits
const NUMBER_AT = 8 + '{"frame":'.length;

/** Sends the same frames over and over, under new numbers and without working them out again. */
class Flood extends MockServer {
  start() {
    this.timers.forEach(clearInterval);
    this.messages = this.scans.map((_, entry) => {
      const { head, arrays } = this.makeFrame(entry);
      return { head, message: encodeFrame({ ...head, frame: FIRST_NUMBER, skipped: 0 }, arrays) };
    });
    this.timers = [
      setInterval(() => {
        for (const client of this.clients) this.feed(client);
      }, 2),
    ];
  }

  feed(client) {
    if (client.underWay.length >= 2) return;
    const { message } = this.messages[++this.frame % this.messages.length];
    message.write(String(FIRST_NUMBER + this.frame), NUMBER_AT);
    client.underWay.push(FIRST_NUMBER + this.frame);
    client.socket.send(message);
  }
}

async function measurePage(browser, kind, seconds) {
  const server = new Flood(kind);
  const port = await server.listen();
  const kept = `localStorage.setItem('orliq.view', ${JSON.stringify(SETTINGS)})`;
  const page = await browser.open(`http://127.0.0.1:${port}/`, kept);
  await page.until(() => window.orliqView?.state === 'open');
  server.start();
  await page.until(() => window.orliqView.framesShown > 3);
  const figures = await watchPage(page, seconds);
  await page.close();
  await server.close();
  return figures;
}

/** Prints a table; the browser is open when it is called. */
export async function benchMock(browser, seconds) {
  console.log('points   page work per frame [ms]   drawn per second (medians of 3 rounds)');
  console.log('         median  max                page   bare   share');
  for (const kind of ['live', 'fused']) {
    const rounds = [];
    for (let round = 0; round < ROUNDS; ++round) {
      const page = await measurePage(browser, kind, seconds);
      const bare = await measureBareLoop(browser, { points: page.points, ...page.size, seconds });
      rounds.push({ ...page, bare });
    }
    const of = (value, width) => median(rounds.map(value)).toFixed(2).padStart(width);
    console.log(
      String(rounds[0].points).padEnd(7),
      of(({ prepare }) => median(prepare), 7),
      of(({ prepare }) => Math.max(...prepare), 6),
      of(({ perSecond }) => perSecond, 18),
      of(({ bare }) => bare, 6),
      of(({ perSecond, bare }) => perSecond / bare, 7),
    );
  }
}
