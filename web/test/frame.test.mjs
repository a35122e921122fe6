// SPDX-License-Identifier: Apache-2.0
import assert from 'node:assert/strict';
import { describe, test } from 'node:test';
import { MessageFault, parseFrame } from '../src/protocol/frame.js';
import { parseMessage } from '../src/protocol/messages.js';
import { encodeFrame } from './mock-server.mjs';

const HEAD = { frame: 7, skipped: 2, time: 5.5, points: 2, sensors: [{ points: 2, time: 5.5 }] };
const ARRAYS = {
  xyz: new Float32Array([1, 2, 3, 4, 5, 6]),
  intensity: new Uint16Array([7, 65535]),
  timestamp: new Float64Array([1.5, 2.5]),
  source: new Uint8Array(18).fill(9),
  distance: new Int32Array([-1, 3]),
  peak: new Uint32Array([0xffffffff, 1]),
};

/** A message as the socket hands it over: a buffer of its own. */
const message = (head = HEAD, arrays = ARRAYS) =>
  new Uint8Array(encodeFrame(head, arrays, { xyz: 3, source: 9 })).buffer;

/** The same message with another header, its arrays where they were. */
function withHeader(change) {
  const buffer = message();
  const bytes = Buffer.from(buffer);
  const end = 8 + bytes.readUInt32LE(4);
  const head = JSON.parse(bytes.toString('utf8', 8, end));
  change(head);
  bytes.fill(' ', 8, end);
  bytes.write(JSON.stringify(head), 8);
  return buffer;
}

describe('a frame', () => {
  test('gives every array as a view on the message, with exact values', () => {
    const buffer = message();
    const frame = parseFrame(buffer, 12);
    assert.deepEqual(
      [frame.number, frame.skipped, frame.points, frame.time, frame.entry, frame.receivedAt],
      [7, 2, 2, 5.5, undefined, 12],
    );
    assert.equal(frame.xyz.buffer, buffer);
    assert.deepEqual([...frame.xyz], [1, 2, 3, 4, 5, 6]);
    const values = Object.fromEntries(
      [...frame.fields].map(([name, field]) => [name, [field.type, field.count, ...field.data.slice(0, 2)]]),
    );
    assert.deepEqual(values, {
      intensity: ['u16', 1, 7, 65535],
      timestamp: ['f64', 1, 1.5, 2.5],
      source: ['u8', 9, 9, 9],
      distance: ['i32', 1, -1, 3],
      peak: ['u32', 1, 4294967295, 1],
    });
  });

  test('of two sensors tells where the points of each begin', () => {
    const frame = parseFrame(
      message({
        ...HEAD,
        sensors: [
          { points: 0, time: 0 },
          { points: 2, time: 5.5 },
        ],
      }),
    );
    assert.deepEqual(
      frame.sensors.map(({ first, points }) => [first, points]),
      [
        [0, 0],
        [0, 2],
      ],
    );
  });

  test('without points is one', () => {
    const empty = { xyz: new Float32Array(0), ring: new Uint16Array(0) };
    assert.equal(parseFrame(message({ ...HEAD, points: 0, sensors: [{ points: 0 }] }, empty)).xyz.length, 0);
  });

  const damaged = {
    'is empty': () => new ArrayBuffer(0),
    'ends within its first bytes': () => message().slice(0, 7),
    'begins with another word': () => {
      const b = message();
      new DataView(b).setUint8(0, 0x50);
      return b;
    },
    'has a header beyond its end': () => {
      const b = message();
      new DataView(b).setUint32(4, 0xfffffff8, true);
      return b;
    },
    'has arrays off their boundary': () => {
      const b = message();
      new DataView(b).setUint32(4, 4087, true);
      return b;
    },
    'has a header of no JSON': () => {
      const b = message();
      new DataView(b).setUint8(8, 0x7d);
      return b;
    },
    'has a header of no UTF-8': () => {
      const b = message();
      new DataView(b).setUint8(Buffer.from(b).indexOf('intensity'), 0xff);
      return b;
    },
    'has null for a header': () => {
      const b = message();
      Buffer.from(b).fill(' ', 8, 4096).write('null', 8);
      return b;
    },
    'is one byte too short for its last array': () => message().slice(0, -1),
    'has an array before its header ends': () =>
      withHeader((head) => {
        head.arrays[1].offset = 0;
      }),
    'has an array across a boundary': () =>
      withHeader((head) => {
        head.arrays[1].offset += 4;
      }),
    'has an array beyond its end': () =>
      withHeader((head) => {
        head.arrays[1].offset = 2 ** 40;
      }),
    'has an array of an unknown type': () =>
      withHeader((head) => {
        head.arrays[1].type = 'toString';
      }),
    'has an array of no numbers': () =>
      withHeader((head) => {
        head.arrays[1].count = 0;
      }),
    'has more points than numbers': () =>
      withHeader((head) => {
        head.points = 2 ** 52;
        head.sensors[0].points = 2 ** 52;
      }),
    'has fewer points than its sensors': () =>
      withHeader((head) => {
        head.sensors.push({ points: 1 });
      }),
    'has a negative number of points': () =>
      withHeader((head) => {
        head.points = -2;
        head.sensors[0].points = -2;
      }),
    'has no sensors': () =>
      withHeader((head) => {
        delete head.sensors;
      }),
    'has no positions': () =>
      withHeader((head) => {
        head.arrays.shift();
      }),
    'has positions of two numbers': () =>
      withHeader((head) => {
        head.arrays[0].count = 2;
      }),
  };
  for (const [why, make] of Object.entries(damaged)) {
    test(`that ${why} is damaged`, () => {
      assert.throws(
        () => parseFrame(make()),
        (fault) => fault instanceof MessageFault,
      );
    });
  }
});

describe('a text message', () => {
  test('is completed where members are missing or of another kind', () => {
    const hello = parseMessage(
      '{"type":"hello","source":"live","sensors":[{"origin":[1,2],"rows":-3}],"fields":[{"name":5}]}',
    );
    assert.deepEqual(hello.sensors[0], {
      name: '',
      model: '',
      rows: undefined,
      columns: undefined,
      origin: [0, 0, 0],
      rotation: [1, 0, 0, 0, 1, 0, 0, 0, 1],
    });
    assert.deepEqual(hello.fields, [{ name: '', unit: '' }]);
    assert.deepEqual(parseMessage('{"type":"ledger","notices":[{"tone":"loud"}]}'), {
      type: 'ledger',
      groups: [],
      notices: [{ tone: 'plain', text: '' }],
    });
    assert.deepEqual(parseMessage('{"type":"imu","samples":[[1,2],[1,2,3,4,5,6,7],null]}').samples, [
      [1, 2, 3, 4, 5, 6, 7],
    ]);
  });

  test('of countless sensors is damaged, and of countless samples the last ones are taken', () => {
    const hello = (count) =>
      JSON.stringify({ type: 'hello', source: 'live', sensors: Array(count).fill({}) });
    assert.equal(parseMessage(hello(256)).sensors.length, 256);
    assert.throws(() => parseMessage(hello(257)), MessageFault);
    const samples = Array.from({ length: 200000 }, (_, t) => [t, 0, 0, 0, 0, 0, 0]);
    const taken = parseMessage(JSON.stringify({ type: 'imu', samples })).samples;
    assert.deepEqual([taken.length, taken.at(-1)[0]], [10000, 199999]);
  });

  test('of an unknown type is left alone, and what is no message is damaged', () => {
    assert.equal(parseMessage('{"type":"constructor"}'), null);
    for (const text of [
      '',
      'null',
      '[]',
      '{"type":1}',
      '{"type":"hello"}',
      '{"type":"player","entry":"1"}',
    ]) {
      assert.throws(() => parseMessage(text), /^Error: a /, text);
    }
  });
});
