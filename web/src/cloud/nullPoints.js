// SPDX-License-Identifier: Apache-2.0
// A point without a return, or outside the limits, is at 0, 0, 0 or where its sensor stands.

/** @import { Frame, Sensor, Vec3 } from '../types' */

/** [m] Nearer to its sensor no point is measured; the sensor's own place is rounded when it is computed. */
export const NULL_RADIUS = 1e-3;

/**
 * Also true of a place that is no number: it is drawn nowhere, and must not turn the camera there.
 * @param {ArrayLike<number>} xyz
 * @param {number} i
 * @param {ArrayLike<number>} origin of the point's sensor
 */
export function isNullPoint(xyz, i, origin) {
  const x = xyz[3 * i];
  const y = xyz[3 * i + 1];
  const z = xyz[3 * i + 2];
  if (x === 0 && y === 0 && z === 0) return true;
  const dx = x - origin[0];
  const dy = y - origin[1];
  const dz = z - origin[2];
  const squared = dx * dx + dy * dy + dz * dz;
  return !(squared >= NULL_RADIUS * NULL_RADIUS && squared < Infinity);
}

/** @type {Vec3} */
const AT_ZERO = [0, 0, 0];

/**
 * Where a sensor stands in the cloud.
 * @param {readonly Sensor[]} sensors
 * @param {number} s
 * @returns {Vec3}
 */
export const originOf = (sensors, s) => sensors[s]?.origin ?? AT_ZERO;

/** The sensor that measured the point `i`. @param {Frame} frame @param {number} i */
export const sensorOfPoint = (frame, i) =>
  frame.sensors.findIndex((slice) => i >= slice.first && i < slice.first + slice.points);
