// SPDX-License-Identifier: Apache-2.0
// The point under the cursor, found by projecting all points as the camera does.

import { isNullPoint, originOf } from './nullPoints.js';

/** @import { Frame, Sensor } from '../types' */

/**
 * @typedef {object} PickView
 * @property {ArrayLike<number>} matrix from the cloud to clip space, column by column
 * @property {number} width [pixels]
 * @property {number} height [pixels]
 * @property {number} x [pixels] of the cursor, from the left
 * @property {number} y [pixels] of the cursor, from the top
 * @property {number} radius [pixels] within which a point counts
 * @property {number} size [pixels] of a point: what lies closer together on the screen covers each other
 * @property {boolean} hideNull
 * @property {(s: number) => boolean} isVisible by sensor
 */

/** @typedef {{ index: number, off: number, depth: number }} Hit `off` [pixels] from the cursor */

/** @param {Frame} frame @param {readonly Sensor[]} sensors @param {PickView} view @returns {Hit[]} */
function hits(frame, sensors, view) {
  const { matrix: m, width, height, x, y, radius } = view;
  const { xyz } = frame;
  /** @type {Hit[]} */
  const found = [];
  frame.sensors.forEach((slice, s) => {
    if (!view.isVisible(s)) return;
    const origin = originOf(sensors, s);
    for (let i = slice.first; i < slice.first + slice.points; ++i) {
      const px = xyz[3 * i];
      const py = xyz[3 * i + 1];
      const pz = xyz[3 * i + 2];
      const w = m[3] * px + m[7] * py + m[11] * pz + m[15];
      if (!(w > 0)) continue; // behind the camera, or no number
      const dx = ((m[0] * px + m[4] * py + m[8] * pz + m[12]) / w + 1) * 0.5 * width - x;
      if (dx > radius || dx < -radius) continue;
      const dy = (1 - (m[1] * px + m[5] * py + m[9] * pz + m[13]) / w) * 0.5 * height - y;
      const off = Math.hypot(dx, dy);
      if (!(off <= radius) || (view.hideNull && isNullPoint(xyz, i, origin))) continue;
      found.push({ index: i, off, depth: w });
    }
  });
  return found;
}

/**
 * The point nearest to the cursor; of those that cover each other there, the one nearest to the camera.
 * @param {Frame} frame @param {readonly Sensor[]} sensors @param {PickView} view
 * @returns {number} its index; -1 without one
 */
export function pickPoint(frame, sensors, view) {
  const found = hits(frame, sensors, view);
  const nearest = found.reduce((least, hit) => Math.min(least, hit.off), Infinity);
  const covering = Math.max(view.size / 2 + 0.5, nearest);
  let best = -1;
  let depth = Infinity;
  for (const hit of found) {
    if (hit.off > covering || hit.depth >= depth) continue;
    best = hit.index;
    depth = hit.depth;
  }
  return best;
}
