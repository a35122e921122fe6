// SPDX-License-Identifier: Apache-2.0
// Numbers as people read them.

/** @import { Limits } from '../types' */

const TICKS = 4;
const FINEST_STEP = 1e-12; // of the values: finer ones are no numbers of their own

/** @param {number} count */
export const grouped = (count) => count.toLocaleString('en-US');

/**
 * A number with as many digits as tell its place between the limits.
 * @param {number} value
 * @param {number} span
 */
export function placed(value, span) {
  const digits = Math.max(0, Math.min(6, 2 - Math.floor(Math.log10(Math.abs(span) || 1))));
  return value
    .toFixed(digits)
    .replace(/(\.\d*?)0+$/, '$1')
    .replace(/\.$/, '')
    .replace(/^-0$/, '0');
}

/** @param {number} seconds */
export const duration = (seconds) =>
  seconds < 1 ? `${Math.round(seconds * 1000)} ms` : `${seconds.toFixed(1)} s`;

/**
 * Steps of 1, 2 or 5 that part a span into about `count` pieces.
 * @param {number} span
 * @param {number} count
 */
export function niceStep(span, count) {
  const rough = span / count;
  const power = 10 ** Math.floor(Math.log10(rough));
  return power * ([1, 2, 5].find((factor) => factor * power >= rough * 0.99) ?? 10);
}

/**
 * Round values between the limits; of limits without a span that can be parted, the lower one alone.
 * @param {Limits} limits
 * @returns {number[]}
 */
export function tickValues({ lo, hi }) {
  const span = hi - lo;
  const step = niceStep(span, TICKS);
  if (!(span > 0 && span < Infinity && step > FINEST_STEP * Math.max(Math.abs(lo), Math.abs(hi))))
    return [lo];
  const first = Math.ceil(lo / step - 1e-6);
  const count = Math.floor(hi / step + 1e-6) - first + 1;
  return Array.from({ length: count }, (_, i) => (first + i) * step);
}
