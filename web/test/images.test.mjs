// SPDX-License-Identifier: Apache-2.0
import assert from 'node:assert/strict';
import { describe, test } from 'node:test';
import { COLOUR_MAPS } from '../src/cloud/colourMaps.js';
import { inSensorAxes, layOut } from '../src/images/gridLayout.js';
import { paintGrid } from '../src/images/paintGrid.js';
import { SENSOR, frameOf } from './frame-of.mjs';

describe('an image', () => {
  // Two rows of three: left is +y, ring 0 is up.
  const grid = [
    [
      [5, 2, 1],
      [5, 0, 1],
      [5, -2, 1],
    ],
    [
      [5, 2, -1],
      [5, 0, -1],
      [5, -2, -1],
    ],
  ];
  const order = [4, 0, 5, 1, 3, 2]; // points come in no order of the grid
  const places = order.map((cell) => grid[Math.floor(cell / 3)][cell % 3]);
  const rings = Uint16Array.from(order, (cell) => Math.floor(cell / 3));
  const expected = [1, 3, 5, 4, 0, 2]; // index of the point in each cell
  const sensor = { ...SENSOR, rows: 2, columns: 3 };

  test('is as wide as what the sensor sees', () => {
    const { aspect } = layOut(frameOf(places, { ring: rings }), sensor, { first: 0, points: 6 });
    assert.ok(Math.abs(aspect - Math.atan2(2, 5) / Math.atan2(1, 5)) < 1e-6, String(aspect));
  });
  const cellsOf = (frame, of = sensor) => [...layOut(frame, of, frame.sensors[0]).cells];

  test('has left on the left and up on top, whichever way columns and rings count', () => {
    const columns = Uint16Array.from(order, (cell) => cell % 3);
    assert.deepEqual(cellsOf(frameOf(places, { ring: rings, column: columns })), expected);
    assert.deepEqual(
      cellsOf(frameOf(places, { ring: rings, column: columns.map((column) => 2 - column) })),
      expected,
    );
    assert.deepEqual(
      cellsOf(frameOf(places, { ring: rings.map((ring) => 1 - ring), column: columns })),
      expected,
    );
  });

  test('without columns goes by the azimuth in the axes of the sensor, wherever it stands', () => {
    assert.deepEqual(cellsOf(frameOf(places, { ring: rings })), expected);
    const turned = { ...sensor, origin: [1, 2, 3], rotation: [0, 1, 0, -1, 0, 0, 0, 0, 1] }; // x ahead is -y of the cloud
    assert.deepEqual(inSensorAxes([2 + 1, -5 + 2, 1 + 3], 0, turned), [5, 2, 1]);
    const moved = places.map(([x, y, z]) => [y + 1, -x + 2, z + 3]);
    assert.deepEqual(cellsOf(frameOf(moved, { ring: rings }), turned), expected);
  });

  test('leaves out rings and columns beyond the grid, and is none without rings or points', () => {
    const columns = Uint16Array.of(1, 0, 9, 1, 0, 2);
    assert.equal(
      cellsOf(
        frameOf(places, { ring: rings.map((ring, i) => (i === 0 ? 7 : ring)), column: columns }),
      ).filter((i) => i >= 0).length,
      4,
    );
    assert.equal(layOut(frameOf(places), sensor, { first: 0, points: 6 }), null);
    const huge = { ...sensor, rows: 65536, columns: 65536 };
    assert.equal(layOut(frameOf(places, { ring: rings }), huge, { first: 0, points: 6 }), null);
    assert.equal(layOut(frameOf([], { ring: rings }), sensor, { first: 0, points: 0 }), null);
  });

  test('is clear where no return is, and has the colour of the value elsewhere', () => {
    const pixels = new Uint8ClampedArray(12);
    paintGrid(
      { cells: Int32Array.of(0, -1, 1) },
      () => 5,
      Float32Array.of(1, 1, 1, 0, 0, 0),
      [0, 0, 0],
      { lo: 0, hi: 5 },
      COLOUR_MAPS.grey,
      pixels,
    );
    assert.deepEqual([...pixels], [...COLOUR_MAPS.grey.subarray(1020), 0, 0, 0, 0, 0, 0, 0, 0]);
  });
});
