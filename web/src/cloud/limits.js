// SPDX-License-Identifier: Apache-2.0
// The values between which the colours run: taken from the points, and settled so that they do not flicker.

import { isNullPoint, originOf } from './nullPoints.js';
import { spreadStep } from './spread.js';

/** @import { ColourMode, Frame, Limits, Sensor } from '../types' */

const SAMPLES = 4096; // enough for a percentile within 1 %, sorted in a fraction of a millisecond
const LOW_SHARE = 0.02; // of the points that may lie below the limits, so that single ones do not stretch them
const HIGH_SHARE = 0.98;
const FOLLOWED_SHARE = 0.1; // of the way to the new limits that is gone in each frame
const STILL_SHARE = 0.03; // of the span: changes below it are noise, and are not followed

/**
 * Values of evenly spread points that have a return.
 * @param {Frame} frame @param {readonly Sensor[]} sensors @param {(i: number) => number} valueAt
 * @returns {Float64Array} ascending
 */
export function sampleValues(frame, sensors, valueAt) {
  const step = spreadStep(frame.points, SAMPLES);
  const values = new Float64Array(Math.ceil(frame.points / step) + frame.sensors.length);
  let taken = 0;
  frame.sensors.forEach(({ first, points }, s) => {
    const origin = originOf(sensors, s);
    for (let i = first; i < first + points; i += step) {
      if (isNullPoint(frame.xyz, i, origin)) continue;
      const value = valueAt(i);
      if (Number.isFinite(value)) values[taken++] = value;
    }
  });
  return values.subarray(0, taken).sort();
}

/** Whether colours can run between them. @param {Limits | null} limits @returns {boolean} */
export const areLimits = (limits) =>
  limits !== null && Number.isFinite(limits.lo) && Number.isFinite(limits.hi) && limits.hi > limits.lo;

/** @param {Float64Array} sorted @returns {Limits | null} null without values */
export function robustLimits(sorted) {
  if (sorted.length === 0) return null;
  const at = (/** @type {number} */ share) => sorted[Math.round(share * (sorted.length - 1))];
  return { lo: at(LOW_SHARE), hi: at(HIGH_SHARE) };
}

/** Limits that are known beforehand: of the rows of the sensors, and of the sensors themselves.
 * @param {ColourMode} mode @param {readonly Sensor[]} sensors @returns {Limits | null} */
export function knownLimits(mode, sensors) {
  if (mode.kind === 'sensor') return { lo: 0, hi: Math.max(1, sensors.length - 1) };
  const rows = sensors.map((sensor) => sensor.rows ?? 0);
  return mode.field === 'ring' && rows.every((count) => count > 1)
    ? { lo: 0, hi: Math.max(...rows) - 1 }
    : null;
}

/** Follows the limits of the frames, slowly. */
export class SettledLimits {
  /** @type {Limits | null} */
  #limits = null;

  /** The next frame sets them anew: of another source or mode. */
  reset() {
    this.#limits = null;
  }

  /** @param {Limits | null} next of a frame; null of one without points @returns {Limits} */
  follow(next) {
    if (next === null) return this.#limits ?? { lo: 0, hi: 1 };
    this.#limits = this.#limits === null ? { ...next } : SettledLimits.#between(this.#limits, next);
    return this.#limits;
  }

  /** @param {Limits} from @param {Limits} to @returns {Limits} */
  static #between(from, to) {
    const still = STILL_SHARE * Math.max(from.hi - from.lo, to.hi - to.lo);
    const step = (/** @type {number} */ a, /** @type {number} */ b) =>
      Math.abs(b - a) <= still ? a : a + FOLLOWED_SHARE * (b - a);
    return { lo: step(from.lo, to.lo), hi: step(from.hi, to.hi) };
  }
}
