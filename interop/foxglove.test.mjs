// SPDX-License-Identifier: Apache-2.0
// What orliq gives to viewers of the Foxglove WebSocket protocol, as that protocol's own client gets it: point for
// point it is what the same clouds are as CSV.
import assert from 'node:assert/strict';
import { execFile, execFileSync, spawn } from 'node:child_process';
import { createSocket } from 'node:dgram';
import { once } from 'node:events';
import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import { promisify } from 'node:util';
import { parse } from '@foxglove/rosmsg';
import { MessageReader } from '@foxglove/rosmsg2-serialization';
import protocol from '@foxglove/ws-protocol';
import WebSocket from 'ws';
import { csvPoints, measured, pointsOf, requireSame } from './points.mjs';

const orliq = process.env.ORLIQ;
const folder = mkdtempSync(join(tmpdir(), 'orliq-foxglove-'));
const run = (...args) => execFileSync(orliq, args, { cwd: folder, stdio: ['ignore', 'pipe', 'pipe'] });
const simulate = (...args) => run('simulate', '--quiet', ...args);
const juniq = ['--model', 'juniq', '--check-folder', 'check'];
const patience = 30000; // [ms] for whatever must come

before(() => {
  simulate(...juniq, '--frames', '3', '--out', 'room.pcap');
  simulate('--model', 'corvik', '--frames', '4', '--out', 'lines.pcap');
});
after(() => rmSync(folder, { recursive: true }));

/** A program that serves viewers, until it is ended; and what it reports then. */
class Server {
  static async start(...args) {
    const server = new Server();
    server.process = spawn(orliq, [...args, '--foxglove', '0', '--json'], { cwd: folder });
    let [said, report] = ['', ''];
    server.process.stdout.on('data', (text) => (report += text));
    server.ended = once(server.process, 'close').then(([code]) => ({ code, report, said }));
    await new Promise((resolve, reject) => {
      server.process.stderr.on('data', (text) => {
        said += text;
        server.url = /foxglove: (\S+)/.exec(said)?.[1];
        if (server.url) resolve();
      });
      server.ended.then(() => reject(new Error(said)));
    });
    return server;
  }
  async end() {
    this.process.kill('SIGINT');
    const { code, report, said } = await this.ended;
    assert.equal(code, 0, said);
    return JSON.parse(report);
  }
}

/** A viewer that subscribes to all that it is offered, by the client that the protocol's authors wrote. */
class Viewer {
  messages = new Map(); // by topic, decoded by the definitions that came with the channels
  statuses = [];
  #channels = new Map(); // by id of the subscription
  #waiting = [];

  static async connect(url, offered = ['foxglove.sdk.v1', 'foxglove.websocket.v1']) {
    const viewer = new Viewer();
    viewer.socket = new WebSocket(url, offered);
    viewer.client = new protocol.FoxgloveClient({ ws: viewer.socket });
    viewer.client.on('error', (error) => assert.fail(error));
    viewer.client.on('status', (status) => viewer.statuses.push(status));
    viewer.client.on('serverInfo', (info) => (viewer.info = info));
    viewer.client.on('advertise', (channels) => channels.forEach((channel) => viewer.#add(channel)));
    viewer.client.on('message', (message) => viewer.#take(message));
    viewer.closed = new Promise((resolve) => viewer.client.on('close', resolve));
    await new Promise((resolve) => viewer.client.on('open', resolve));
    return viewer;
  }
  #add(channel) {
    assert.equal(channel.encoding, 'cdr');
    assert.equal(channel.schemaEncoding, 'ros2msg');
    const reader = new MessageReader(parse(channel.schema, { ros2: true }));
    this.messages.set(channel.topic, []);
    this.#channels.set(this.client.subscribe(channel.id), { ...channel, reader });
  }
  #take({ subscriptionId, timestamp, data }) {
    const { topic, schemaName, reader } = this.#channels.get(subscriptionId);
    const list = this.messages.get(topic);
    list.push({ type: schemaName, timestamp, value: reader.readMessage(data) });
    this.#waiting = this.#waiting.filter(({ enough, resolve }) => !enough() || resolve());
  }
  /** All messages of that topic, when so many have come. */
  async wait(topic, count) {
    const enough = () => (this.messages.get(topic)?.length ?? 0) >= count;
    await new Promise((resolve, reject) => {
      if (enough()) return resolve();
      setTimeout(() => reject(new Error(`${count} messages of ${topic}`)), patience).unref();
      this.#waiting.push({ enough, resolve });
    });
    return this.messages.get(topic);
  }
}

/** The frames of a capture, as play writes them, by the microsecond of their time. */
function framesOf(capture, out, ...args) {
  const report = JSON.parse(
    run('play', capture, ...args, '--point', 'point-time', '--out', out, '--format', 'csv', '--json', '--force'),
  );
  const frames = new Map();
  for (const { file, timestamp } of report.clouds.filter(({ file }) => file !== '')) {
    const points = csvPoints(join(folder, file));
    const time = timestamp || points[0].timestamp;
    const key = Math.round(time * 1e6); // that of a Corvik's last frame, which has none, is the one before's
    if (!frames.has(key)) frames.set(key, { time, points });
  }
  assert.ok(frames.size > 1);
  return frames;
}

function requireClouds(messages, frames, frame) {
  const seen = new Set();
  for (const { type, timestamp, value } of messages) {
    assert.equal(type, 'sensor_msgs/msg/PointCloud2');
    assert.equal(value.header.frame_id, frame);
    assert.ok(Math.abs(Number(timestamp / 1000000n) - Date.now()) < 120000);
    const stamp = value.header.stamp.sec * 1e6 + Math.round(value.header.stamp.nanosec / 1000);
    const { time, points } = frames.get(stamp) ?? assert.fail(`no frame of ${stamp}`);
    seen.add(stamp);
    const got = pointsOf(value);
    assert.equal(got.length, points.length);
    points.forEach((row, i) => requireSame(got[i], row, time));
    assert.equal(value.is_dense, points.every(measured));
  }
  return seen;
}

test('bridge: a capture, its frame and its state', async () => {
  const frames = framesOf('room.pcap', 'plain', ...juniq);
  const server = await Server.start(
    ...['bridge', 'room.pcap', ...juniq, '--no-dds', '--loop', '--name', 'front', '--transform', '1,2,3,0,0,90'],
  );
  const viewer = await Viewer.connect(server.url);
  assert.equal(viewer.socket.protocol, 'foxglove.websocket.v1');
  const clouds = await viewer.wait('/front/points', 2 * frames.size);
  assert.equal(requireClouds(clouds, frames, 'front').size, frames.size);
  for (const [i, { timestamp }] of clouds.entries()) assert.ok(i === 0 || timestamp > clouds[i - 1].timestamp);
  const [{ type, value }] = await viewer.wait('/tf_static', 1);
  assert.equal(type, 'tf2_msgs/msg/TFMessage');
  assert.equal(value.transforms[0].header.frame_id, 'base_link');
  assert.equal(value.transforms[0].child_frame_id, 'front');
  assert.deepEqual({ ...value.transforms[0].transform.translation }, { x: 1, y: 2, z: 3 });
  const [{ value: state }] = await viewer.wait('/diagnostics', 1);
  assert.equal(state.status[0].name, 'orliq bridge: front');
  assert.deepEqual([...viewer.messages.keys()], ['/tf_static', '/diagnostics', '/front/points']);
  assert.deepEqual(viewer.info.capabilities, []);
  assert.deepEqual(viewer.statuses, []);
  const report = await server.end();
  assert.equal((await viewer.closed).code, 1001);
  assert.equal(report.foxglove_viewers, 1);
  assert.ok(report.foxglove_sent >= clouds.length + 2);
});

test('bridge: complaints arrive as statuses, and an older client is refused', async () => {
  const server = await Server.start('bridge', 'room.pcap', ...juniq, '--no-dds', '--loop');
  const viewer = await Viewer.connect(server.url);
  await viewer.wait('/juniq/points', 1);
  viewer.client.subscribe(1000);
  viewer.client.unsubscribe(1000);
  viewer.client.getParameters(['x']);
  viewer.client.sendMessage(1, new Uint8Array(3));
  viewer.client.subscribeConnectionGraph();
  const before = (await viewer.wait('/juniq/points', 1)).length;
  await viewer.wait('/juniq/points', before + 2);
  assert.deepEqual(
    viewer.statuses.map(({ level }) => level),
    [1, 1, 2, 2, 2],
  );
  await assert.rejects(
    once(new WebSocket(server.url, ['foxglove.sdk.v1']), 'open'),
    /400/,
  );
  await assert.rejects(
    once(new WebSocket(server.url, ['foxglove.websocket.v1'], { origin: 'https://app.example' }), 'open'),
    /403/,
  );
  viewer.client.close();
  await server.end();
});

test('view: several captures, each sensor where the extrinsics put it', async () => {
  writeFileSync(
    join(folder, 'two.yaml'),
    `sensors:
  - {name: a, model: juniq, capture: room.pcap, check_folder: check, extrinsics: {x: 1, y: -2, z: 0.5, yaw: 90}}
  - {name: b, model: corvik, capture: lines.pcap}
`,
  );
  const moved = framesOf('room.pcap', 'moved', ...juniq, '--transform', '1,-2,0.5,0,0,90');
  const lines = framesOf('lines.pcap', 'lines', '--model', 'corvik');
  const server = await Server.start('view', '--config', 'two.yaml', '--http', '0');
  const viewer = await Viewer.connect(server.url);
  const a = await viewer.wait('/a/points', 4);
  const b = await viewer.wait('/b/points', 4);
  assert.ok(requireClouds(a, moved, 'base_link').size > 1);
  assert.ok(requireClouds(b, lines, 'base_link').size > 1);
  const [{ value }] = await viewer.wait('/tf_static', 1);
  assert.deepEqual(
    value.transforms.map(({ child_frame_id: child }) => child),
    ['a', 'b'],
  );
  const [{ value: states }] = await viewer.wait('/diagnostics', 1);
  assert.deepEqual(
    states.status.map(({ name }) => name),
    ['orliq view: a', 'orliq view: b'],
  );
  const late = await Viewer.connect(server.url);
  await late.wait('/b/points', 1);
  assert.equal((await server.end()).foxglove_viewers, 2);
});

for (const verb of ['bridge', 'view']) {
  test(`${verb}: a live sensor with samples`, async () => {
    const probe = createSocket('udp4').bind(0, '127.0.0.1');
    await once(probe, 'listening');
    const { port } = probe.address();
    await new Promise((resolve) => probe.close(resolve));
    const more = verb === 'view' ? ['--http', '0'] : ['--no-dds'];
    const server = await Server.start(verb, ...juniq, '--address', '127.0.0.1', '--port', String(port), ...more);
    const viewer = await Viewer.connect(server.url);
    await viewer.wait('/tf_static', 1);
    // Not at once: a viewer that stands still meanwhile gets the newest clouds only.
    const sent = ['simulate', '--quiet', ...juniq, '--frames', '20', '--to', `127.0.0.1:${port}`];
    await promisify(execFile)(orliq, sent, { cwd: folder });
    const frame = verb === 'view' ? 'base_link' : 'juniq';
    const clouds = await viewer.wait('/juniq/points', 3);
    for (const { value } of clouds) {
      assert.equal(value.header.frame_id, frame);
      assert.ok(pointsOf(value).filter(({ x }) => !Number.isNaN(x)).length > 10000);
    }
    const samples = await viewer.wait('/juniq/imu', 20);
    for (const [i, { type, value }] of samples.entries()) {
      assert.equal(type, 'sensor_msgs/msg/Imu');
      assert.equal(value.header.frame_id, 'juniq');
      const { x, y, z } = value.linear_acceleration;
      assert.ok(Math.abs(Math.hypot(x, y, z) - 9.81) < 2, `${x} ${y} ${z}`);
      const at = ({ sec, nanosec }) => sec * 1e9 + nanosec;
      assert.ok(i === 0 || at(value.header.stamp) > at(samples[i - 1].value.header.stamp));
    }
    const report = await server.end();
    assert.equal(report.foxglove_viewers, 1);
  });
}
