// SPDX-License-Identifier: Apache-2.0
// What orliq writes into an MCAP file, read by others' code with all its checks on: message for message it is
// what the same clouds are as CSV.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import {
  closeSync,
  mkdtempSync,
  openSync,
  readdirSync,
  readFileSync,
  readSync,
  rmSync,
  statSync,
} from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import zstd from '@foxglove/wasm-zstd';
import { parse } from '@foxglove/rosmsg';
import { MessageReader } from '@foxglove/rosmsg2-serialization';
import { McapIndexedReader, McapStreamReader } from '@mcap/core';
import { csvPoints, measured, pointsOf, requireSame } from './points.mjs';

const orliq = process.env.ORLIQ;
const folder = mkdtempSync(join(tmpdir(), 'orliq-interop-'));
const run = (...args) => execFileSync(orliq, args, { cwd: folder, stdio: ['ignore', 'pipe', 'pipe'] });
const models = { juniq: 3, corvik: 3, glavor: 3, kelvane: 3 };

before(async () => {
  await zstd.isLoaded;
  for (const [model, frames] of Object.entries(models)) {
    run(
      'simulate',
      '--model',
      model,
      '--frames',
      String(frames),
      '--quiet',
      '--out',
      `${model}.pcap`,
      '--check-folder',
      `${model}-check`,
    );
  }
});
after(() => rmSync(folder, { recursive: true }));

const decompressHandlers = { zstd: (bytes, size) => zstd.decompress(bytes, Number(size)) };

/** All messages of a file, decoded by the definitions in it: by its index, and checked against reading on. */
async function readMcap(name) {
  const descriptor = openSync(join(folder, name));
  const readable = {
    size: async () => BigInt(statSync(join(folder, name)).size),
    read: async (offset, length) => {
      const bytes = new Uint8Array(Number(length));
      assert.equal(readSync(descriptor, bytes, 0, bytes.length, Number(offset)), bytes.length);
      return bytes;
    },
  };
  const reader = await McapIndexedReader.Initialize({ readable, decompressHandlers });
  assert.equal(reader.header.profile, 'ros2');
  const messages = [];
  const decoders = new Map();
  for await (const message of reader.readMessages({ validateCrcs: true })) {
    const channel = reader.channelsById.get(message.channelId);
    const schema = reader.schemasById.get(channel.schemaId);
    assert.equal(channel.messageEncoding, 'cdr');
    assert.equal(schema.encoding, 'ros2msg');
    if (!decoders.has(schema.id)) {
      const definition = parse(new TextDecoder().decode(schema.data), { ros2: true });
      decoders.set(schema.id, new MessageReader(definition));
    }
    const value = decoders.get(schema.id).readMessage(message.data);
    messages.push({ ...message, topic: channel.topic, type: schema.name, value });
  }
  closeSync(descriptor);
  assert.equal(reader.statistics.messageCount, BigInt(messages.length));
  for (const [id, count] of reader.statistics.channelMessageCounts) {
    assert.equal(BigInt(messages.filter((message) => message.channelId === id).length), count);
  }
  assert.equal(streamed(readFileSync(join(folder, name))).messages, messages.length);
  return messages;
}

/** How many messages a reader without the index finds, up to the end of these bytes. */
function streamed(bytes) {
  const reader = new McapStreamReader({ validateCrcs: true, decompressHandlers });
  reader.append(bytes);
  let messages = 0;
  for (let record; (record = reader.nextRecord());) messages += record.type === 'Message' ? 1 : 0;
  return { messages, done: reader.done() };
}

function play(model, point, ...more) {
  const check = ['juniq', 'glavor'].includes(model) ? ['--check-folder', `${model}-check`] : [];
  return JSON.parse(
    run('play', `${model}.pcap`, '--model', model, ...check, '--point', point, '--json', '--force', ...more),
  );
}

for (const [model, points, ...compression] of [
  ['juniq', ['point', 'point-time', 'point-source']],
  ['juniq', ['point'], '--no-compression'],
  ['corvik', ['point-source']],
  ['glavor', ['point-time'], '--no-compression'],
  ['kelvane', ['point']],
]) {
  for (const point of points) {
    test(`${model}, ${point}, ${compression[0] ?? 'zstd'}`, async () => {
      play(model, point, '--out', 'clouds.mcap', ...compression);
      const report = play(model, point, '--out', 'csv', '--format', 'csv');
      const clouds = (await readMcap('clouds.mcap')).filter(({ topic }) => topic === '/points');
      const files = report.clouds.filter(({ file }) => file !== '');
      assert.equal(clouds.length, files.length);
      assert.ok(clouds.length > 1);
      for (const [i, { value, type, logTime }] of clouds.entries()) {
        assert.equal(type, 'sensor_msgs/msg/PointCloud2');
        assert.equal(value.header.frame_id, model);
        assert.equal(
          BigInt(value.header.stamp.sec) * 1000000000n + BigInt(value.header.stamp.nanosec),
          logTime,
        );
        const expected = csvPoints(join(folder, files[i].file));
        const timestamp = files[i].timestamp || (expected[0].timestamp ?? 0);
        if (timestamp !== 0) assert.ok(Math.abs(Number(logTime / 1000n) / 1e6 - timestamp) < 1.1e-6);
        const points = pointsOf(value);
        assert.equal(points.length, expected.length);
        expected.forEach((row, k) => requireSame(points[k], row, timestamp));
        assert.equal(value.is_dense, expected.every(measured));
      }
    });
  }
}

test('juniq points with row and column are a grid', async () => {
  play('juniq', 'juniq', '--out', 'clouds.mcap');
  const report = play('juniq', 'juniq', '--out', 'csv', '--format', 'csv');
  const clouds = await readMcap('clouds.mcap');
  for (const [i, { value }] of clouds.entries()) {
    const cells = pointsOf(value);
    const expected = csvPoints(join(folder, report.clouds.filter(({ file }) => file !== '')[i].file));
    assert.ok(value.height > 1);
    for (const row of expected) requireSame(cells[row.row * value.width + row.column], row, 0);
    assert.equal(cells.filter(({ x }) => !Number.isNaN(x)).length, expected.filter(measured).length);
  }
});

test('packets are those of the capture, and make the same clouds', async () => {
  play('juniq', 'juniq', '--out', 'packets.mcap', '--with-packets');
  const packets = (await readMcap('packets.mcap')).filter(({ topic }) => topic === '/packets');
  const capture = readFileSync(join(folder, 'juniq.pcap'));
  let at = 24;
  const inOrder = packets.sort((a, b) => a.sequence - b.sequence);
  for (const { value, logTime } of inOrder) {
    const [seconds, micros, bytes] = [0, 4, 8].map((k) => capture.readUInt32LE(at + k));
    assert.equal(logTime, BigInt(seconds) * 1000000000n + BigInt(micros) * 1000n);
    assert.deepEqual(Buffer.from(value.data), capture.subarray(at + 16 + 42, at + 16 + bytes));
    assert.deepEqual(
      [value.source_port, value.port],
      [at + 50, at + 52].map((k) => capture.readUInt16BE(k)),
    );
    assert.equal(value.source, [...capture.subarray(at + 42, at + 46)].join('.'));
    at += 16 + bytes;
  }
  assert.equal(at, capture.length);
  play('juniq', 'juniq', '--out', 'first', '--format', 'pcd');
  run(
    'play',
    'packets.mcap',
    '--model',
    'juniq',
    '--check-folder',
    'juniq-check',
    '--point',
    'juniq',
    '--out',
    'again',
    '--force',
  );
  const files = readdirSync(join(folder, 'first'));
  assert.deepEqual(readdirSync(join(folder, 'again')), files);
  for (const file of files) {
    assert.deepEqual(readFileSync(join(folder, 'again', file)), readFileSync(join(folder, 'first', file)));
  }
});

test('a file that was cut is read to the last whole chunk', () => {
  play('juniq', 'point', '--out', 'cut.mcap', '--with-packets');
  const bytes = readFileSync(join(folder, 'cut.mcap'));
  let at = 8;
  const chunks = [];
  for (; bytes[at] !== 0x0f; at += 9 + Number(bytes.readBigUInt64LE(at + 1))) {
    if (bytes[at] === 0x06) chunks.push(at + 9 + Number(bytes.readBigUInt64LE(at + 1)));
  }
  assert.ok(chunks.length > 1);
  let messages = 0;
  for (const end of chunks) {
    const read = streamed(bytes.subarray(0, end));
    assert.ok(read.messages > messages);
    assert.equal(read.done, false);
    messages = read.messages;
    assert.equal(streamed(bytes.subarray(0, end + 5)).messages, messages);
  }
  assert.equal(streamed(bytes).messages, messages);
});
