// SPDX-License-Identifier: Apache-2.0
// Figures on the frames that are shown.

import { byId, setText } from '../page/dom.js';
import { duration, grouped } from '../page/numbers.js';

const STALE_MS = 1000;

/**
 * @typedef {object} Figures
 * @property {number | null} frame on the screen
 * @property {number} points
 * @property {number} rate [1/s]
 * @property {number} shown frames
 * @property {number} skipped frames, that this page was not given or did not draw
 * @property {number} latency [ms] from the driver's callback to the screen; NaN: unknown
 * @property {number} since [ms] the last frame
 * @property {number} damaged messages
 * @property {boolean} live
 */

/** @param {Figures} figures @returns {[string, string]} label and text */
function ageOf({ live, latency, since }) {
  if (!live) return ['', ''];
  if (since > STALE_MS) return ['last frame', `${duration(since / 1000)} ago`];
  return ['latency', Number.isFinite(latency) ? duration(latency / 1000) : '–'];
}

export class StatusBar {
  constructor() {
    this.at = {
      frame: byId('stat-frame'),
      points: byId('stat-points'),
      rate: byId('stat-rate'),
      shown: byId('stat-shown'),
      skipped: byId('stat-skipped'),
      age: byId('stat-age'),
      label: byId('stat-age-label'),
      damaged: byId('stat-damaged'),
    };
  }

  /** @param {Figures} figures */
  show(figures) {
    const { at } = this;
    const [label, age] = ageOf(figures);
    setText(at.frame, figures.frame === null ? '–' : grouped(figures.frame));
    setText(at.points, figures.frame === null ? '–' : grouped(figures.points));
    setText(at.rate, `${figures.rate.toFixed(1)}/s`);
    setText(at.shown, grouped(figures.shown));
    setText(at.skipped, grouped(figures.skipped));
    setText(at.label, label);
    setText(at.age, age);
    byId('stat-age-box').hidden = label === '';
    setText(at.damaged, grouped(figures.damaged));
    byId('stat-damaged-box').hidden = figures.damaged === 0;
  }
}
