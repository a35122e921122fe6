// SPDX-License-Identifier: Apache-2.0
// The range image and the intensity image of one sensor, beside the cloud.

import { COLOUR_MAPS } from '../cloud/colourMaps.js';
import { SettledLimits, robustLimits, sampleValues } from '../cloud/limits.js';
import { byId, penOf, setText } from '../page/dom.js';
import { placed } from '../page/numbers.js';
import { layOut } from './gridLayout.js';
import { paintGrid } from './paintGrid.js';

/** @import { GridLayout } from './gridLayout' */
/** @import { Frame, Limits, Sensor } from '../types' */

const WIDEST = 3.2; // width of an image over its height
const NARROWEST = 1;
const FAST = 10; // cells that an arrow with Shift goes

/** @type {Record<string, [number, number]>} cells to the right and down */
const STEPS = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1], Enter: [0, 0] };

/** @typedef {{ point: (index: number) => void, hover: (index: number) => void }} Reactions -1: none */

/** Reads the values of one sensor's points. @param {Frame} frame @param {Sensor} sensor
 * @returns {{ range: (i: number) => number, intensity: (i: number) => number }} */
function readers({ xyz, fields }, { origin: [x, y, z] }) {
  const intensities = fields.get('intensity')?.data;
  return {
    range: (i) => Math.sqrt((xyz[3 * i] - x) ** 2 + (xyz[3 * i + 1] - y) ** 2 + (xyz[3 * i + 2] - z) ** 2),
    intensity: (i) => intensities?.[i] ?? 0,
  };
}

/** One of the two images. */
class GridImage {
  /** @param {'range' | 'intensity'} name @param {string} unit @param {Reactions} reactions */
  constructor(name, unit, reactions) {
    this.name = name;
    this.unit = unit;
    this.canvas = byId(`${name}-image`, HTMLCanvasElement);
    this.pen = penOf(this.canvas);
    this.limitsText = byId(`${name}-limits`);
    this.limits = new SettledLimits();
    this.aspect = 0;
    /** @type {GridLayout | null} */
    this.layout = null;
    this.canvas.addEventListener('pointermove', (event) => reactions.hover(this.#pointAt(event)));
    this.canvas.addEventListener('pointerleave', () => reactions.hover(-1));
    this.canvas.addEventListener('click', (event) => reactions.point(this.#pointAt(event)));
    this.cursor = { column: NaN, row: NaN }; // of who goes by keys
    this.canvas.addEventListener('keydown', (event) => this.#goByKey(event, reactions));
    this.canvas.addEventListener('blur', () => reactions.hover(-1));
  }

  /** @param {{ offsetX: number, offsetY: number }} at @returns {number} index of the point; -1 without one */
  #pointAt({ offsetX, offsetY }) {
    if (!this.layout) return -1;
    const { rows, columns } = this.layout;
    return this.#pointIn(
      Math.floor((offsetX / this.canvas.clientWidth) * columns),
      Math.floor((offsetY / this.canvas.clientHeight) * rows),
    );
  }

  /** @param {number} column @param {number} row @returns {number} index of the point; -1 without one */
  #pointIn(column, row) {
    if (!this.layout) return -1;
    const { rows, columns, cells } = this.layout;
    return row >= 0 && row < rows && column >= 0 && column < columns ? cells[row * columns + column] : -1;
  }

  /** Arrows go from cell to cell, from the middle on; Enter reads the point. @param {KeyboardEvent} event
   * @param {Reactions} reactions */
  #goByKey({ key, shiftKey, ctrlKey, altKey, metaKey }, reactions) {
    if (!this.layout || !Object.hasOwn(STEPS, key) || ctrlKey || altKey || metaKey) return;
    const { rows, columns } = this.layout;
    const [right, down] = STEPS[key].map((step) => step * (shiftKey ? FAST : 1));
    const from = (/** @type {number} */ at, /** @type {number} */ count) =>
      Number.isNaN(at) ? Math.floor(count / 2) : at;
    this.cursor = {
      column: Math.min(columns - 1, Math.max(0, from(this.cursor.column, columns) + right)),
      row: Math.min(rows - 1, Math.max(0, from(this.cursor.row, rows) + down)),
    };
    const index = this.#pointIn(this.cursor.column, this.cursor.row);
    reactions.hover(index);
    if (key === 'Enter') reactions.point(index);
  }

  /** @param {Frame} frame @param {Sensor} sensor @param {GridLayout} layout @param {(i: number) => number} valueAt
   * @param {Limits | null} limits of this frame @param {Uint8Array} map */
  show(frame, sensor, layout, valueAt, limits, map) {
    this.layout = layout;
    const settled = this.limits.follow(limits);
    const { rows, columns } = layout;
    if (this.canvas.width !== columns || this.canvas.height !== rows || !this.pixels) {
      this.canvas.width = columns;
      this.canvas.height = rows;
      this.pixels = new ImageData(columns, rows);
    }
    this.#shape(layout.aspect);
    paintGrid(layout, valueAt, frame.xyz, sensor.origin, settled, map, this.pixels.data);
    this.pen.putImageData(this.pixels, 0, 0);
    const span = settled.hi - settled.lo;
    setText(this.limitsText, `${placed(settled.lo, span)} – ${placed(settled.hi, span)} ${this.unit}`);
  }

  /** As wide as what the sensor sees; small changes are not followed. @param {number} aspect */
  #shape(aspect) {
    const wanted = Math.min(WIDEST, Math.max(NARROWEST, aspect));
    if (Math.abs(wanted - this.aspect) < 0.1 * wanted) return;
    this.aspect = wanted;
    this.canvas.style.aspectRatio = String(wanted);
  }

  clear() {
    this.layout = null;
    setText(this.limitsText, 'no rings in this cloud');
    this.pen.clearRect(0, 0, this.canvas.width, this.canvas.height);
  }
}

export class ImagePanel {
  /** @param {Reactions} reactions */
  constructor(reactions) {
    this.images = {
      range: new GridImage('range', 'm', reactions),
      intensity: new GridImage('intensity', '', reactions),
    };
    this.choice = byId('dock-sensor', HTMLSelectElement);
    this.readout = byId('image-readout');
  }

  get sensor() {
    return Number(this.choice.value) || 0;
  }

  /** @param {readonly Sensor[]} sensors */
  setSensors(sensors) {
    this.choice.replaceChildren(...sensors.map(({ name, model }, s) => new Option(name || model, String(s))));
    byId('dock-sensor-box').hidden = sensors.length < 2;
    this.reset();
  }

  /** Another sensor or source: limits are found anew. */
  reset() {
    for (const image of Object.values(this.images)) image.limits.reset();
  }

  /** @param {Frame} frame @param {readonly Sensor[]} sensors @param {Uint8Array} map of the range */
  show(frame, sensors, map) {
    const sensor = sensors[this.sensor];
    const slice = frame.sensors[this.sensor];
    const layout = sensor && slice ? layOut(frame, sensor, slice) : null;
    if (!layout) {
      for (const image of Object.values(this.images)) image.clear();
      return;
    }
    const values = readers(frame, sensor);
    // Of this sensor alone, at its own place in the frame.
    const part = { ...frame, points: slice.points, sensors: [slice] };
    const limitsOf = (/** @type {(i: number) => number} */ valueAt) =>
      robustLimits(sampleValues(part, [sensor], valueAt));
    const { range, intensity } = this.images;
    range.show(frame, sensor, layout, values.range, limitsOf(values.range), map);
    intensity.show(frame, sensor, layout, values.intensity, limitsOf(values.intensity), COLOUR_MAPS.grey);
  }

  /** @param {string} text empty: nothing is pointed at */
  read(text) {
    this.readout.hidden = text === '';
    setText(this.readout, text);
  }
}
