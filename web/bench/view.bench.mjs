// SPDX-License-Identifier: Apache-2.0
// How fast the page is, in a headless browser.
//   npm run bench                              with the mock server, which sends as fast as the page answers
//   npm run bench -- --program PATH/TO/orliq   with the program and simulated sensors, all on this machine
// `--seconds N` is how long each figure is looked at.

import { parseArgs } from 'node:util';
import { Chromium } from './chromium.mjs';
import { benchMock } from './mock.mjs';
import { endAll } from './processes.mjs';
import { benchProgram } from './program.mjs';

const LONGEST_S = 420; // of all of it, whatever hangs

const { values } = parseArgs({
  options: { program: { type: 'string' }, seconds: { type: 'string', default: '10' } },
});
const seconds = Math.min(60, Math.max(1, Number(values.seconds) || 10));

let stopping = false;

async function stop(code) {
  if (stopping) return;
  stopping = true;
  await endAll();
  process.exit(code);
}

for (const signal of ['SIGINT', 'SIGTERM', 'SIGHUP']) process.on(signal, () => stop(1));
setTimeout(() => {
  console.error(`not over after ${LONGEST_S} s`);
  stop(1);
}, LONGEST_S * 1000);

try {
  const browser = await Chromium.start();
  await (values.program ? benchProgram(browser, values.program, seconds) : benchMock(browser, seconds));
  await stop(0);
} catch (fault) {
  if (!stopping) console.error(fault);
  await stop(1);
}
