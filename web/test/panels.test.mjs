// SPDX-License-Identifier: Apache-2.0
// What the panels reckon, without a browser.
import assert from 'node:assert/strict';
import { describe, test } from 'node:test';
import { FrameFlow } from '../src/page/frameFlow.js';
import { Rate, Times, Transit } from '../src/page/measurements.js';
import { tickValues } from '../src/page/numbers.js';
import { distanceOf } from '../src/panels/pointPanel.js';
import { FADE_MS, READ_MS, Remarks } from '../src/panels/remarks.js';

describe('remarks', () => {
  const texts = (remarks) => remarks.map(({ text }) => text).join('');

  test('of a list that slides on are each taken once, the newest first', () => {
    const of = new Remarks();
    for (const list of ['', 'ab', 'ab', 'abb', 'bbbc', 'bbbc', 'xyz']) of.hear([...list], 0);
    assert.equal(texts(of.kept), 'zyxcbbba');
    of.hear([], 0);
    of.hear(['z'], 0);
    assert.equal(texts(of.kept), 'zzyxcbbba', 'the program has begun anew');
  });

  test('are fresh until they have faded or were dismissed, and fifty are kept', () => {
    const of = new Remarks();
    of.add('plain', 'a', 0);
    of.add('bad', 'b', 1);
    assert.equal(texts(of.fresh(READ_MS + FADE_MS - 1)), 'ba');
    assert.equal(texts(of.fresh(READ_MS + FADE_MS)), 'b');
    of.kept[0].dismissed = true;
    assert.equal(texts(of.fresh(2)), 'a');
    for (let i = 0; i < 60; ++i) of.add('plain', 'c', 5);
    assert.equal(of.kept.length, 50);
  });
});

test('the way of a message counts as what it took more than the fastest of the last minute', () => {
  const transit = new Transit();
  const clockOff = -3600000; // of the other machine
  const ways = [
    [0, 20],
    [1000, 15],
    [2000, 40],
    [3000, 15],
    [63001, 30], // the fastest ones are over a minute old: 30 is, of what is left
    [64000, 50],
  ];
  assert.deepEqual(
    ways.map(([now, ms]) => transit.add(clockOff + ms, now)),
    [0, 0, 25, 0, 0, 20],
  );
});

test('times are told by their shares', () => {
  const times = new Times();
  for (let i = 300; i > 0; --i) times.add(i);
  assert.deepEqual(times.summary, { count: 240, median: 120, p90: 216, p99: 237, max: 240 });
  assert.equal(times.last, 1);
});

test('frames are answered when they were drawn, or when they will not be; none of another connection is', () => {
  const answered = [];
  const flow = new FrameFlow((number) => answered.push(number));
  const receive = (number) => flow.receive({ number }, 0);
  receive(1);
  receive(2);
  assert.deepEqual(flow.take().answers, [1, 2]);
  assert.deepEqual([flow.take(), answered], [null, []], 'they are answered by who draws them');
  receive(3);
  flow.hold(true);
  assert.deepEqual([receive(4), flow.take(), flow.heldBack], [false, null, 1]);
  assert.deepEqual(answered, [3, 4]);
  flow.hold(false);
  const { frame, answers } = flow.take();
  assert.deepEqual([frame.number, answers, flow.heldBack], [4, [], 0]);
  receive(5);
  flow.reset();
  receive(6);
  assert.deepEqual(flow.take().answers, [6]);
});

test('the rate is of the last three seconds, and falls when nothing comes', () => {
  const rate = new Rate();
  for (let now = 0; now <= 5000; now += 100) rate.add(now);
  assert.deepEqual([rate.of(5000), rate.of(7500), rate.of(9000)], [10, 2, 0]);
  assert.equal(rate.at.length, 31);
});

test('ticks stand at round values from limit to limit, and are few whatever the limits are', () => {
  assert.deepEqual(tickValues({ lo: 0, hi: 10 }), [0, 5, 10]);
  assert.deepEqual(tickValues({ lo: -1, hi: 1 }), [-1, -0.5, 0, 0.5, 1]);
  assert.deepEqual(tickValues({ lo: 3, hi: 3 }), [3]);
  assert.deepEqual(tickValues({ lo: 1e20, hi: 1e20 + 32768 }), [1e20]);
  assert.deepEqual(tickValues({ lo: -1.7e308, hi: 1.7e308 }), [-1.7e308]);
});

test('a distance is told along the axes, over the ground and straight', () => {
  assert.deepEqual(distanceOf([1, 1, 1], [4, -3, 13]), {
    dx: 3,
    dy: -4,
    dz: 12,
    distance: 13,
    horizontal: 5,
  });
});
