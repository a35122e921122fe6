// SPDX-License-Identifier: Apache-2.0
// Turn rates and accelerations of the last seconds.

import { byId, penOf, setText, themeColour } from '../page/dom.js';
import { niceStep } from '../page/numbers.js';

const SECONDS = 10;
const MOST_SAMPLES = 10000; // of a sensor, whatever its clock says
const AXES = ['x', 'y', 'z'];
const COLOURS = ['#e5534b', '#57ab5a', '#539bf5'];
const CURVES = [
  { title: 'turn rate', unit: 'rad/s', first: 1, least: 0.2 }, // `least`: the smallest span, so that noise stays small
  { title: 'acceleration', unit: 'm/s²', first: 4, least: 2 },
];
const LEFT = 38; // [pixels] for the scale
const GAP = 9; // [pixels] between the two plots
const TITLE = 13; // [pixels] height of the line above a plot

/**
 * @typedef {{ top: number, height: number, width: number, lo: number, hi: number }} Plot a rectangle and
 *   its values
 */

/** @param {Plot} plot @param {number} value @returns {number} [pixels] from the top */
const yOf = ({ top, height, lo, hi }, value) => top + (height * (hi - value)) / (hi - lo);

/** The values of a curve, and a little more. @param {number[][]} samples @param {{ first: number, least: number }} curve */
function limitsOf(samples, { first, least }) {
  let lo = -least / 2;
  let hi = least / 2;
  for (const sample of samples) {
    for (let axis = first; axis < first + AXES.length; ++axis) {
      if (sample[axis] < lo) lo = sample[axis];
      if (sample[axis] > hi) hi = sample[axis];
    }
  }
  return { lo, hi };
}

export class ImuStrip {
  constructor() {
    this.box = byId('imu-box');
    this.canvas = byId('imu', HTMLCanvasElement);
    this.values = byId('imu-values');
    this.accelerations = byId('imu-accelerations'); // where there is room
    this.pen = penOf(this.canvas);
    this.isNew = false; // there are samples that were not shown
    this.reset();
  }

  reset() {
    /** @type {Map<number, number[][]>} samples by sensor */
    this.samples = new Map();
    this.box.hidden = true;
  }

  /** @param {number} sensor @param {number[][]} samples */
  add(sensor, samples) {
    if (samples.length === 0) return;
    const kept = this.samples.get(sensor) ?? [];
    // A clock that jumps back begins anew.
    if (kept.length > 0 && samples[0][0] < kept[kept.length - 1][0]) kept.length = 0;
    kept.push(...samples);
    const from = kept.findIndex((sample) => sample[0] >= kept[kept.length - 1][0] - SECONDS);
    kept.splice(0, Math.max(from, kept.length - MOST_SAMPLES));
    this.samples.set(sensor, kept);
    this.box.hidden = false;
    this.isNew = true;
  }

  /** Shows what has come since the last time, if anything has. @param {number} sensor */
  showNew(sensor) {
    if (this.isNew) this.show(sensor);
  }

  /** @param {number} sensor */
  show(sensor) {
    this.isNew = false;
    const samples = this.samples.get(sensor) ?? [];
    const last = samples.at(-1);
    if (this.box.hidden || this.canvas.clientWidth === 0) return;
    const numbers = (/** @type {number} */ first) =>
      AXES.map((_, axis) => last?.[first + axis].toFixed(2).padStart(6)).join('');
    setText(this.values, last ? `ω ${numbers(1)} rad/s` : 'none of this sensor');
    setText(this.accelerations, last ? `a ${numbers(4)} m/s²` : '');
    this.#draw(samples);
  }

  /** @param {number[][]} samples */
  #draw(samples) {
    const { pen } = this;
    const { clientWidth: width, clientHeight } = this.canvas;
    this.#clear(width, clientHeight);
    pen.font = `10px ${themeColour('--mono')}`;
    const each = (clientHeight - GAP) / CURVES.length;
    CURVES.forEach((curve, row) => {
      const limits = limitsOf(samples, curve);
      const plot = { top: row * each + TITLE + GAP / 2, height: each - TITLE - GAP / 2, width, ...limits };
      this.#drawScale(pen, plot, `${curve.title} [${curve.unit}]`);
      this.#drawCurves(pen, plot, samples, curve.first);
    });
  }

  /** As large as it is on the screen, and empty. @param {number} width @param {number} height [CSS pixels] */
  #clear(width, height) {
    const ratio = window.devicePixelRatio || 1;
    const [columns, rows] = [Math.round(width * ratio), Math.round(height * ratio)];
    if (this.canvas.width !== columns || this.canvas.height !== rows) {
      this.canvas.width = columns;
      this.canvas.height = rows;
    }
    this.pen.setTransform(ratio, 0, 0, ratio, 0, 0);
    this.pen.clearRect(0, 0, width, height);
  }

  /** @param {CanvasRenderingContext2D} pen @param {Plot} plot @param {string} title */
  #drawScale(pen, plot, title) {
    const step = niceStep(plot.hi - plot.lo, plot.height / 17);
    pen.lineWidth = 1;
    pen.strokeStyle = themeColour('--line');
    pen.fillStyle = themeColour('--faint');
    pen.fillText(title, LEFT, plot.top - 4);
    pen.textAlign = 'right';
    for (let i = Math.ceil(plot.lo / step); i * step <= plot.hi; ++i) {
      const y = Math.round(yOf(plot, i * step)) + 0.5;
      pen.fillText(String(+(i * step).toPrecision(3)), LEFT - 6, y + 3);
      pen.beginPath();
      pen.moveTo(LEFT, y);
      pen.lineTo(plot.width, y);
      pen.stroke();
    }
    pen.textAlign = 'left';
  }

  /**
   * @param {CanvasRenderingContext2D} pen
   * @param {Plot} plot
   * @param {number[][]} samples
   * @param {number} first
   */
  #drawCurves(pen, plot, samples, first) {
    const end = samples.at(-1)?.[0] ?? 0;
    const step = Math.max(1, Math.floor(samples.length / plot.width));
    AXES.forEach((_, axis) => {
      pen.strokeStyle = COLOURS[axis];
      pen.lineWidth = 1.2;
      pen.beginPath();
      for (let i = samples.length % step; i < samples.length; i += step) {
        const x = LEFT + (plot.width - LEFT - 2) * (1 - (end - samples[i][0]) / SECONDS);
        pen.lineTo(x, yOf(plot, samples[i][first + axis]));
      }
      pen.stroke();
    });
  }
}
