// SPDX-License-Identifier: Apache-2.0
import assert from 'node:assert/strict';
import { afterEach, beforeEach, describe, mock, test } from 'node:test';
import { Connection, pauseBefore, streamAddress } from '../src/protocol/connection.js';
import { encodeFrame } from './mock-server.mjs';

describe('a connection', () => {
  test('takes the token of the page along, and nothing else', () => {
    assert.equal(
      streamAddress(new URL('http://127.0.0.1:8787/?token=a%2Fb&x=1#y')),
      'ws://127.0.0.1:8787/stream?token=a%2Fb',
    );
    assert.equal(streamAddress(new URL('https://robot:1/')), 'wss://robot:1/stream');
  });

  test('is tried again after growing pauses, which have an end', () => {
    assert.deepEqual([0, 1, 2, 3, 4, 5000].map(pauseBefore), [500, 1000, 2000, 4000, 5000, 5000]);
  });

  /** A socket whose other side is the test. */
  class Socket {
    static OPEN = 1;
    readyState = 1;
    closed = false;
    constructor() {
      sockets.push(this);
    }
    close() {
      this.closed = true;
    }
  }
  const HELLO = '{"type":"hello","source":"live","sensors":[{}]}';
  let sockets, states, connection;

  beforeEach(() => {
    [sockets, states] = [[], []];
    mock.timers.enable({ apis: ['setTimeout'] });
    globalThis.WebSocket = Socket;
    const ignore = () => {};
    const onState = (state) => states.push(state);
    connection = new Connection('', { onState, onMessage: ignore, onFrame: ignore, onDamaged: ignore });
    connection.open();
  });
  afterEach(() => mock.timers.reset());
  const hear = (data) => sockets.at(-1).onmessage({ data });

  test('that says nothing for 30 s is another, whether it was answered or not', () => {
    mock.timers.tick(29999);
    assert.equal(sockets.length, 1);
    mock.timers.tick(1);
    assert.deepEqual([sockets[0].closed, states.at(-1)], [true, 'lost']);
    mock.timers.tick(500);
    hear(HELLO);
    mock.timers.tick(29999);
    hear('{"type":"ledger"}');
    mock.timers.tick(29999);
    assert.deepEqual([sockets.length, states.at(-1)], [2, 'open']);
    mock.timers.tick(1);
    mock.timers.tick(500);
    assert.equal(sockets.length, 3);
  });

  test('is tried again soon when it was good before', () => {
    for (const pause of [500, 1000]) {
      sockets.at(-1).onclose();
      mock.timers.tick(pause);
    }
    assert.equal(sockets.length, 3);
    hear(HELLO);
    sockets.at(-1).onclose();
    mock.timers.tick(500);
    assert.equal(sockets.length, 4);
    sockets[0].onclose(); // late, of one that is long gone
    assert.equal(states.at(-1), 'connecting');
  });

  test('ends by two frames in a row that cannot be read, not by two with a good one between', () => {
    const good = new Uint8Array(
      encodeFrame({ frame: 1, points: 0, sensors: [] }, { xyz: new Float32Array(0) }),
    ).buffer;
    for (const data of [HELLO, new ArrayBuffer(3), good, new ArrayBuffer(3)]) hear(data);
    assert.equal(sockets[0].closed, false);
    hear(new ArrayBuffer(3));
    assert.equal(sockets[0].closed, true);
  });
});
