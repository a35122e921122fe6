// SPDX-License-Identifier: Apache-2.0
// Clouds of orliq's messages as points, and the same clouds as CSV.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';

const Types = { 2: 'Uint8', 4: 'Uint16', 6: 'Uint32', 5: 'Int32', 7: 'Float32', 8: 'Float64' };

/** The points of a cloud, each as an object. */
export function pointsOf(cloud) {
  const view = new DataView(cloud.data.buffer, cloud.data.byteOffset, cloud.data.byteLength);
  const points = [];
  for (let i = 0; i < cloud.width * cloud.height; ++i) {
    const point = {};
    for (const { name, offset, datatype, count } of cloud.fields) {
      const at = i * cloud.point_step + offset;
      const width = { 2: 1, 4: 2, 5: 4, 6: 4, 7: 4, 8: 8 }[datatype];
      const get = (k) => view[`get${Types[datatype]}`](at + k * width, true);
      if (count === 1) point[name] = get(0);
      else for (let k = 0; k < count; ++k) point[`${name}_${k}`] = get(k);
    }
    points.push(point);
  }
  return points;
}

/** The same of a CSV file. */
export function csvPoints(path) {
  const [names, ...rows] = readFileSync(path, 'utf8')
    .trimEnd()
    .split('\n')
    .map((line) => line.split(','));
  return rows.map((row) => Object.fromEntries(row.map((text, i) => [names[i], Number(text)])));
}

export const measured = (point) => point.x !== 0 || point.y !== 0 || point.z !== 0;

export function requireSame(point, expected, stamp) {
  for (const [name, value] of Object.entries(expected)) {
    if (name === 'timestamp') {
      assert.equal(point.time, value === 0 ? 0 : Math.fround(value - stamp));
    } else if (['x', 'y', 'z'].includes(name)) {
      assert.equal(point[name], measured(expected) ? Math.fround(value) : NaN, name);
    } else {
      assert.equal(point[name], name === 'intensity' ? Math.fround(value) : value, name);
    }
  }
}
