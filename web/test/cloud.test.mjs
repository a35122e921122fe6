// SPDX-License-Identifier: Apache-2.0
import assert from 'node:assert/strict';
import { describe, test } from 'node:test';
import { COLOUR_MAPS, SHADES, shadeOf } from '../src/cloud/colourMaps.js';
import { colourModes, valueReader } from '../src/cloud/colourModes.js';
import { exactExtent } from '../src/cloud/extent.js';
import { SettledLimits, robustLimits, sampleValues } from '../src/cloud/limits.js';
import { isNullPoint } from '../src/cloud/nullPoints.js';
import { pickPoint } from '../src/cloud/picking.js';
import { readPoint, shortest32 } from '../src/cloud/pointRecord.js';
import { SENSOR, frameOf } from './frame-of.mjs';

describe('limits', () => {
  test('leave out two in a hundred at either end, points without a return, and what is no number', () => {
    const values = Float32Array.from({ length: 101 }, (_, i) => i);
    const places = [...values].map(() => [1, 1, 1]);
    places.push([0, 0, 0], [1, 1, 1]);
    const frame = frameOf(places, { a: Float32Array.of(...values, 1e9, NaN) });
    assert.deepEqual(robustLimits(sampleValues(frame, [SENSOR], (i) => frame.fields.get('a').data[i])), {
      lo: 2,
      hi: 98,
    });
    assert.equal(robustLimits(new Float64Array(0)), null);
  });

  test('are taken from all rows of a sensor, however many points a column has', () => {
    const rows = 192;
    const places = Array.from({ length: rows * 256 }, (_, i) => [1, 1, i % rows]);
    const taken = new Set(sampleValues(frameOf(places), [SENSOR], (i) => places[i][2]));
    assert.equal(taken.size, rows);
  });

  test('keep still under noise, follow a change slowly, and begin anew for another source', () => {
    const settled = new SettledLimits();
    assert.deepEqual(settled.follow(null), { lo: 0, hi: 1 });
    assert.deepEqual(settled.follow({ lo: 0, hi: 100 }), { lo: 0, hi: 100 });
    assert.deepEqual(settled.follow({ lo: 2, hi: 97 }), { lo: 0, hi: 100 });
    assert.deepEqual(settled.follow({ lo: 0, hi: 200 }), { lo: 0, hi: 110 });
    assert.deepEqual(settled.follow(null), { lo: 0, hi: 110 });
    settled.reset();
    assert.deepEqual(settled.follow({ lo: 5, hi: 6 }), { lo: 5, hi: 6 });
  });
});

describe('colours', () => {
  test('of every map rise or fall evenly in what the eye sees, and are opaque', () => {
    for (const [name, map] of Object.entries(COLOUR_MAPS)) {
      assert.equal(map.length, 4 * SHADES);
      for (let i = 0; i < SHADES; ++i) {
        const steps =
          i === 0 ? 0 : Math.hypot(...[0, 1, 2].map((part) => map[4 * i + part] - map[4 * i - 4 + part]));
        assert.ok(steps < 20 && map[4 * i + 3] === 255, `${name} jumps by ${steps} at ${i}`);
      }
    }
  });

  test('end at the limits, and have a shade for values without a span and for no number', () => {
    assert.deepEqual(
      [-5, 0, 5, 10, 99].map((value) => shadeOf(value, 0, 10)),
      [0, 0, 128, 255, 255],
    );
    assert.deepEqual([shadeOf(3, 3, 3), shadeOf(NaN, 0, 1)], [128, 0]);
  });

  test('can be of every field with one number a point, of range, height, time and sensor', () => {
    const hello = {
      fields: ['x', 'y', 'z', 'intensity', 'ring', 'timestamp', 'source'].map((name) => ({ name, unit: '' })),
    };
    const frame = frameOf([[1, 1, 1]], { intensity: Uint16Array.of(1) });
    frame.fields.set('source', { type: 'u8', count: 9, data: new Uint8Array(9) });
    assert.deepEqual(
      colourModes(hello, frame).map(({ key }) => key),
      ['intensity', 'ring', 'range', 'height', 'time', 'sensor'],
    );
  });

  test('by range and sensor are of the sensor that measured the point, by time from the first point on', () => {
    const sensors = [SENSOR, { ...SENSOR, origin: [10, 0, 0] }];
    const frame = frameOf(
      [
        [3, 0, 4],
        [13, 0, 4],
      ],
      { timestamp: Float64Array.of(1700000000.5, 1700000000.25) },
      [1, 1],
    );
    const both = (mode) => [0, 1].map(valueReader(mode, frame, sensors));
    assert.deepEqual(both({ kind: 'range' }), [5, 5]);
    assert.deepEqual(both({ kind: 'sensor' }), [0, 1]);
    assert.deepEqual(both({ kind: 'field', field: 'timestamp' }), [0.25, 0]);
  });
});

test('the extent leaves out points at zero and where their own sensor stands, and no others', () => {
  const sensors = [SENSOR, { ...SENSOR, origin: [2, 0, 0.1] }];
  const frame = frameOf(
    [
      [0, 0, 0],
      [2, 0, 0.1],
      [5, -1, 2],
      [2, 0, 0.1],
      [0, 0, 0],
    ],
    {},
    [3, 2],
  );
  assert.deepEqual(exactExtent(frame, sensors), {
    box: { min: [2, -1, Math.fround(0.1)], max: [5, 0, 2] },
    points: 2,
  });
  assert.deepEqual(exactExtent(frameOf([]), sensors), { box: null, points: 0 });
});

test('a point within a millimetre of its sensor is none, and neither is one of no number', () => {
  const places = [0.0009, 0.0011, NaN, Infinity];
  assert.deepEqual(
    places.map((x) => isNullPoint([x, 0, 1], 0, [0, 0, 1])),
    [true, false, true, true],
  );
});

describe('picking', () => {
  // Looks along -z from z = 10: a place's offset on the screen is its x and y over its depth.
  const matrix = [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, -1, -1, 0, 0, 0, 10];
  const view = {
    matrix,
    width: 200,
    height: 100,
    x: 100,
    y: 50,
    radius: 9,
    size: 2,
    hideNull: true,
    isVisible: () => true,
  };
  const pick = (places, change = {}, counts = undefined) =>
    pickPoint(frameOf(places, {}, counts), [SENSOR, SENSOR], { ...view, ...change });

  test('takes the nearest to the cursor, and of those that cover each other the nearest to the camera', () => {
    assert.equal(
      pick([
        [0.2, 0, 6],
        [0.05, 0, 5],
      ]),
      1,
    );
    assert.equal(
      pick([
        [0, 0, 1],
        [0.005, 0, 6],
        [0, 0, 3],
      ]),
      1,
    );
  });

  test('counts pixels across and down alike, and none beyond the radius, behind the camera or of no number', () => {
    assert.equal(pick([[0, 0.9, 5]], { y: 41 }), 0); // 0.9 / 5 of 50 pixels is 9 above the middle
    assert.equal(pick([[0.46, 0, 5]]), -1); // 0.46 / 5 of 100 pixels is 9.2
    assert.equal(
      pick([
        [0, 0, 11],
        [NaN, 0, 5],
        [0, 0, NaN],
      ]),
      -1,
    );
  });

  test('finds null points only when they are shown, and none of a hidden sensor', () => {
    assert.equal(pick([[0, 0, 0]]), -1);
    assert.equal(pick([[0, 0, 0]], { hideNull: false }), 0);
    assert.equal(
      pick(
        [
          [0, 0, 5],
          [0, 0, 4],
        ],
        { isVisible: (s) => s === 1 },
        [1, 1],
      ),
      1,
    );
  });
});

test('a point is read exactly: 32-bit numbers as the shortest that are them, times with all digits', () => {
  const frame = frameOf(
    [
      [0.1, -1e-7, 16777216],
      [1, 2, 3],
    ],
    { intensity: Uint16Array.of(3, 65535), timestamp: Float64Array.of(0, 1700000000.1234567) },
  );
  const hello = { fields: [{ name: 'timestamp', unit: 's' }], sensors: [SENSOR] };
  const of = (i) =>
    Object.fromEntries(
      readPoint(frame, hello, i).fields.map(({ name, text, unit }) => [name, `${text} ${unit}`.trim()]),
    );
  assert.deepEqual(of(0), {
    x: '0.1 m',
    y: '-1e-7 m',
    z: '16777216 m',
    intensity: '3',
    timestamp: '0 s',
    range: '16777216.000 m',
    sensor: 'front',
    index: '0',
  });
  assert.deepEqual([of(1).intensity, of(1).timestamp], ['65535', '1700000000.1234567 s']);
  assert.equal(shortest32(Math.fround(1.2345678)), '1.2345678');
});
