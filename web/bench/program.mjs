// SPDX-License-Identifier: Apache-2.0
// The whole way from a sensor to the screen: simulated sensors, `orliq view` and a headless browser on one machine.

import { writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import WebSocket from 'ws';
import { at, measureBareLoop, median, watchPage } from './figures.mjs';
import { end, freePorts, makeFolder, said, start, watchThreads } from './processes.mjs';

const ROUNDS = 2; // page and bare loop by turns
const DECODING = /^orliq-(recv|dec|fusion)$/; // threads that decode and fuse with or without a page
const SENSORS = 8;

/** Eight sensors around a vehicle, each 45 degrees further to the left. */
function sensorFile(ports) {
  const sensors = ports.map((port, i) => {
    const yaw = (360 / SENSORS) * i - 180;
    const [x, y] = [Math.cos, Math.sin].map((of) => (1.8 * of((yaw * Math.PI) / 180)).toFixed(3));
    const place = `extrinsics: {x: ${x}, y: ${y}, z: 0.2, pitch: 2, yaw: ${yaw}}`;
    return `  - {name: sensor-${i + 1}, port: ${port}, check_folder: check/${i + 1}, ${place}}`;
  });
  const defaults = 'defaults: {model: juniq, address: 127.0.0.1}';
  return [defaults, 'sensors:', ...sensors, ''].join('\n');
}

/** Starts simulated sensors and the program that shows them. */
async function startViewing(path, seconds, simulate, view) {
  const frames = String(Math.ceil(seconds * 10));
  const simulator = start(path, ['simulate', ...simulate, '--frames', frames, '--quiet']);
  await new Promise((done) => setTimeout(done, 3000)); // the calibration is written before packets are sent
  const server = start(path, ['view', ...view, '--duration', String(seconds), '--http', '0', '--json']);
  return { simulator, server, url: await said(server, /view: (http:\S+)/) };
}

/** Ends them; what the program says of it all. */
async function endViewing({ simulator, server }) {
  const account = JSON.parse(await end(server));
  await end(simulator);
  return account;
}

/** A client that takes every frame as soon as it comes, and what that costs the program. */
async function measureServer({ server, url }, seconds) {
  const socket = new WebSocket(new URL('/stream', url.replace('http', 'ws')), 'orliq.view.1');
  const got = { frames: 0, bytes: 0, head: null, before: null };
  socket.on('message', (data, isBinary) => {
    if (!isBinary) return;
    got.head = JSON.parse(data.subarray(8, 8 + data.readUInt32LE(4)).toString());
    got.before ??= got.head.skipped;
    got.frames += 1;
    got.bytes += data.length;
    socket.send(JSON.stringify({ do: 'shown', frame: got.head.frame }));
  });
  const deadline = Date.now() + 20000;
  while (got.frames < 3) {
    if (Date.now() > deadline) throw new Error('no frames come');
    await new Promise((done) => setTimeout(done, 20));
  }
  Object.assign(got, { frames: 0, bytes: 0, before: got.head.skipped });
  const cores = watchThreads(server);
  await new Promise((done) => setTimeout(done, 1000 * seconds));
  const used = cores();
  socket.terminate();
  const kinds = Object.entries(used);
  const sum = (of) => of.reduce((all, [, share]) => all + share, 0);
  return {
    points: got.head.points,
    megabytes: got.bytes / 1e6 / seconds,
    given: got.frames,
    skipped: got.head.skipped - got.before,
    web: used['orliq-web'],
    decoding: sum(kinds.filter(([kind]) => DECODING.test(kind))),
    beyond: sum(kinds.filter(([kind]) => !DECODING.test(kind))),
  };
}

/** A page as it is opened first, looked at when it has settled. */
async function measurePage(browser, url, seconds, frames) {
  const page = await browser.open(url);
  await page.until((least) => window.orliqView?.framesShown >= least, frames);
  const figures = await watchPage(page, seconds);
  await page.close();
  return figures;
}

const row = (name, unit, text) => console.log(`  ${name.padEnd(46)}${unit.padEnd(8)}${text}`);
const shares = (values, ...of) => of.map((share) => at(values, share).toFixed(1)).join(' / ');

function packetsLost({ sensors, ...single }) {
  const ledgers = (sensors ?? [single]).map(({ ledger }) => ledger.packets);
  const sum = (of) => ledgers.reduce((all, ledger) => all + of(ledger), 0);
  const lost = sum((of) => of.dropped_by_kernel + of.dropped_by_limit);
  return `${lost} of ${sum((of) => of.arrived).toLocaleString('en-US')}`;
}

async function benchOne(browser, path, folder, seconds) {
  const [port] = await freePorts(1);
  const sensor = ['--model', 'juniq', '--check-folder', join(folder, 'one')];
  const viewing = await startViewing(
    path,
    seconds + 60,
    [...sensor, '--to', `127.0.0.1:${port}`],
    [...sensor, '--port', String(port), '--address', '127.0.0.1'],
  );
  const page = await measurePage(browser, viewing.url, seconds, 20);
  const account = await endViewing(viewing);
  console.log(`One Juniq, ${page.points.toLocaleString('en-US')} points a frame`);
  row('callback to drawn frame, median / p90 / p99', 'ms', shares(page.oneClock, 0.5, 0.9, 0.99));
  row('message to buffers, median / p99 / max', 'ms', shares(page.prepare, 0.5, 0.99, 1));
  row('frames drawn', '1/s', page.perSecond.toFixed(1));
  row('packets lost', '', packetsLost(account));
}

/** Page and bare loop by turns, while sensors and program go on. */
async function measureRounds(browser, url, seconds) {
  const rounds = [];
  for (let round = 0; round < ROUNDS; ++round) {
    const page = await measurePage(browser, url, seconds, 4);
    const { points, size } = page;
    rounds.push({ ...page, bare: await measureBareLoop(browser, { points, ...size, seconds }) });
  }
  return rounds;
}

function printEight(server, rounds, account) {
  const prepare = rounds.flatMap((round) => round.prepare);
  const mean = (of) => rounds.map(of).reduce((a, b) => a + b, 0) / rounds.length;
  const [page, bare] = [mean(({ perSecond }) => perSecond), mean((round) => round.bare)];
  const counts = (of) => rounds.map(of).reduce((a, b) => a + b, 0);
  console.log(`Eight Juniq, ${server.points.toLocaleString('en-US')} points a frame`);
  row('to a client that takes all', 'MB/s', server.megabytes.toFixed(1));
  row('  frames given / skipped', '', `${server.given} / ${server.skipped}`);
  row('  thread of the server', 'core', server.web.toFixed(2));
  row('  all threads beyond decoding', 'core', server.beyond.toFixed(2));
  row('  decoding and fusion', 'core', server.decoding.toFixed(2));
  row(
    'to the page: frames drawn / not given or drawn',
    '',
    `${counts((of) => of.shown)} / ${counts((of) => of.skipped)}`,
  );
  row('  message to buffers, median / p99 / max', 'ms', shares(prepare, 0.5, 0.99, 1));
  row(
    '  frames drawn, page / bare three.js loop',
    '1/s',
    `${page.toFixed(2)} / ${bare.toFixed(2)} = ${(page / bare).toFixed(2)}`,
  );
  row('packets lost in all of it', '', packetsLost(account));
}

async function benchEight(browser, path, folder, seconds) {
  const config = join(folder, 'eight.yaml');
  await writeFile(config, sensorFile(await freePorts(SENSORS)));
  const whole = 60 + seconds * (2 * ROUNDS + 1) * 1.5;
  const viewing = await startViewing(path, whole, ['--config', config], ['--config', config]);
  const server = await measureServer(viewing, seconds);
  const rounds = await measureRounds(browser, viewing.url, seconds);
  printEight(server, rounds, await endViewing(viewing));
}

/** Prints a table; the browser is open when it is called. */
export async function benchProgram(browser, path, seconds) {
  const folder = makeFolder();
  await benchOne(browser, path, folder, seconds);
  await benchEight(browser, path, folder, seconds);
}
