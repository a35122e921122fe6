// SPDX-License-Identifier: Apache-2.0
// The view as a PNG file, with what is needed to read it: source, time and the meaning of the colours.

import { placed, tickValues } from '../page/numbers.js';
import { SHADES } from '../cloud/colourMaps.js';
import { themeColour } from '../page/dom.js';

/** @import { ColourMode, Limits } from '../types' */
/** @import { Viewer } from './viewer' */

const MARGIN = 16; // [CSS pixels]
const BAR = { width: 236, height: 9 };

/**
 * @param {CanvasRenderingContext2D} pen
 * @param {number} height
 * @param {ColourMode} mode
 * @param {Limits} limits
 * @param {Uint8Array} map
 */
function drawLegend(pen, height, mode, limits, map) {
  const top = height - MARGIN - 16 - BAR.height;
  pen.fillText(mode.unit ? `${mode.label} [${mode.unit}]` : mode.label, MARGIN, top - 8);
  for (let x = 0; x < BAR.width; ++x) {
    const shade = Math.floor((x * SHADES) / BAR.width);
    pen.fillStyle = `rgb(${map.subarray(4 * shade, 4 * shade + 3).join(' ')})`;
    pen.fillRect(MARGIN + x, top, 1.5, BAR.height);
  }
  pen.fillStyle = themeColour('--dim');
  pen.textAlign = 'center';
  const span = limits.hi - limits.lo;
  for (const value of tickValues(limits)) {
    const x = MARGIN + (BAR.width * (value - limits.lo)) / (span || 1);
    pen.fillText(placed(value, span), x, top + BAR.height + 14);
  }
}

/**
 * @param {Viewer} viewer @param {string} caption @param {{ mode: ColourMode, limits: Limits, map: Uint8Array }} colours
 * @returns {HTMLCanvasElement}
 */
export function drawSnapshot(viewer, caption, { mode, limits, map }) {
  viewer.drawNow(); // the picture can be read until the browser shows it
  const canvas = document.createElement('canvas');
  canvas.width = viewer.canvas.width;
  canvas.height = viewer.canvas.height;
  const pen = /** @type {CanvasRenderingContext2D} */ (canvas.getContext('2d'));
  pen.drawImage(viewer.canvas, 0, 0);
  const ratio = viewer.renderer.getPixelRatio();
  pen.scale(ratio, ratio);
  pen.font = `12px ${themeColour('--sans') || 'sans-serif'}`;
  pen.fillStyle = themeColour('--ink');
  pen.fillText(caption, MARGIN, MARGIN + 8);
  if (mode.kind !== 'sensor') drawLegend(pen, canvas.height / ratio, mode, limits, map);
  return canvas;
}

/** @param {HTMLCanvasElement} canvas @param {string} name of the file */
export function saveAsPng(canvas, name) {
  canvas.toBlob((blob) => {
    if (!blob) return;
    const link = document.createElement('a');
    link.href = URL.createObjectURL(blob);
    link.download = name;
    link.click();
    setTimeout(() => URL.revokeObjectURL(link.href), 10000);
  }, 'image/png');
}
