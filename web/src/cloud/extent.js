// SPDX-License-Identifier: Apache-2.0
// How far the points reach: exactly, and without the few that lie far out.

import { isNullPoint, originOf } from './nullPoints.js';
import { sampleValues } from './limits.js';
import { spreadStep } from './spread.js';

/** @import { Frame, Sensor, Vec3 } from '../types' */

/** @typedef {{ min: Vec3, max: Vec3 }} Box */

const VIEW_POINTS = 2000;
const FAR_OUT_SHARE = 0.01; // of the points at either end of an axis that a view need not show

/**
 * The box around all points that have a return, and their number.
 * @param {Frame} frame @param {readonly Sensor[]} sensors
 * @returns {{ box: Box | null, points: number }} null without a point
 */
export function exactExtent(frame, sensors) {
  const min = [Infinity, Infinity, Infinity];
  const max = [-Infinity, -Infinity, -Infinity];
  let points = 0;
  frame.sensors.forEach((slice, s) => {
    const origin = originOf(sensors, s);
    for (let i = slice.first; i < slice.first + slice.points; ++i) {
      if (isNullPoint(frame.xyz, i, origin)) continue;
      ++points;
      for (let axis = 0; axis < 3; ++axis) {
        const value = frame.xyz[3 * i + axis];
        if (value < min[axis]) min[axis] = value;
        if (value > max[axis]) max[axis] = value;
      }
    }
  });
  return {
    box: points > 0 ? { min: /** @type {Vec3} */ (min), max: /** @type {Vec3} */ (max) } : null,
    points,
  };
}

/** Evenly spread points that have a return, for the camera. @param {Frame} frame @param {readonly Sensor[]} sensors
 * @returns {Vec3[]} */
export function viewPoints(frame, sensors) {
  const step = spreadStep(frame.points, VIEW_POINTS);
  /** @type {Vec3[]} */
  const places = [];
  frame.sensors.forEach(({ first, points }, s) => {
    const origin = originOf(sensors, s);
    for (let i = first; i < first + points; i += step) {
      if (!isNullPoint(frame.xyz, i, origin))
        places.push([frame.xyz[3 * i], frame.xyz[3 * i + 1], frame.xyz[3 * i + 2]]);
    }
  });
  return places;
}

/** The box around nearly all points, for the camera. @param {Frame} frame @param {readonly Sensor[]} sensors
 * @returns {Box | null} */
export function viewExtent(frame, sensors) {
  const ends = [0, 1, 2].map((axis) => {
    const sorted = sampleValues(frame, sensors, (i) => frame.xyz[3 * i + axis]);
    const at = (/** @type {number} */ share) => sorted[Math.round(share * (sorted.length - 1))];
    return sorted.length > 0 ? [at(FAR_OUT_SHARE), at(1 - FAR_OUT_SHARE)] : null;
  });
  const [x, y, z] = ends;
  return x && y && z ? { min: [x[0], y[0], z[0]], max: [x[1], y[1], z[1]] } : null;
}
