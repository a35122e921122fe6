// SPDX-License-Identifier: Apache-2.0
// Colours of the cells of an image.

import { isNullPoint } from '../cloud/nullPoints.js';
import { shadeOf } from '../cloud/colourMaps.js';

/** @import { GridLayout } from './gridLayout' */
/** @import { Limits, Vec3 } from '../types' */

/**
 * Fills `pixels` (red, green, blue, opacity of each cell); a cell without a return is left clear.
 * @param {GridLayout} layout @param {(i: number) => number} valueAt @param {ArrayLike<number>} xyz @param {Vec3} origin
 * @param {Limits} limits @param {Uint8Array} map @param {Uint8ClampedArray} pixels
 */
export function paintGrid({ cells }, valueAt, xyz, origin, { lo, hi }, map, pixels) {
  const shades = new Uint32Array(map.buffer, map.byteOffset, map.byteLength / 4);
  const out = new Uint32Array(pixels.buffer, pixels.byteOffset, pixels.byteLength / 4);
  for (let cell = 0; cell < cells.length; ++cell) {
    const i = cells[cell];
    out[cell] = i < 0 || isNullPoint(xyz, i, origin) ? 0 : shades[shadeOf(valueAt(i), lo, hi)];
  }
}
