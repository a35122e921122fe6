// SPDX-License-Identifier: Apache-2.0
// The points that the person picks, points at and measures between.

import { pickPoint } from '../cloud/picking.js';
import { readPoint } from '../cloud/pointRecord.js';
import { PointPanel, distanceOf } from '../panels/pointPanel.js';
import { byId, setPressed } from './dom.js';

/** @import { PickedPoint, Vec3 } from '../types' */
/** @import { Picture } from '../scene/picture' */
/** @import { Click } from '../scene/pointer' */

const PICK_RADIUS = 9; // [CSS pixels]

export class Selection {
  /** @param {Picture} picture */
  constructor(picture) {
    this.picture = picture;
    this.panel = new PointPanel();
    this.button = /** @type {HTMLElement} */ (document.querySelector('.tool[data-action=measure]'));
    this.hint = byId('hint');
    this.measuring = false;
    /** @type {PickedPoint | null} */
    this.picked = null;
    /** @type {Vec3 | null} */
    this.from = null;
    /** @type {Vec3 | null} */
    this.to = null;
  }

  /** @param {Click} click @returns {number} index of the point there; -1 without one */
  pointAt({ x, y }) {
    const { viewer, cloud, sensors, settings } = this.picture;
    if (!cloud.frame) return -1;
    return pickPoint(cloud.frame, sensors, {
      matrix: viewer.matrix,
      width: viewer.stage.clientWidth,
      height: viewer.stage.clientHeight,
      x,
      y,
      radius: PICK_RADIUS,
      size: settings.values.size,
      hideNull: settings.values.hideNull,
      isVisible: (s) => cloud.parts[s]?.visible ?? false,
    });
  }

  /** @param {Click} click */
  click(click) {
    const index = this.pointAt(click);
    if (index >= 0) this.pick(index, click.shift);
  }

  /**
   * Reads a point, and measures to it from the one before when asked.
   * @param {number} index
   * @param {boolean} [measure]
   */
  pick(index, measure = false) {
    const { cloud, hello } = this.picture;
    if (!cloud.frame || !hello || index < 0 || index >= cloud.frame.points) return;
    const before = this.picked;
    this.picked = readPoint(cloud.frame, hello, index);
    if (this.measuring) this.#measureStep(this.picked.position);
    else if (measure && before) this.#setEnds(before.position, this.picked.position);
    this.#show();
  }

  /** @param {Vec3} place */
  #measureStep(place) {
    if (this.from && !this.to) this.#setEnds(this.from, place);
    else this.#setEnds(place, null);
  }

  /** @param {Vec3 | null} from @param {Vec3 | null} to */
  #setEnds(from, to) {
    this.from = from;
    this.to = to;
  }

  toggleMeasuring() {
    this.measuring = !this.measuring;
    this.#setEnds(null, null);
    this.#show();
  }

  clear() {
    this.measuring = false;
    this.picked = null;
    this.#setEnds(null, null);
    this.#show();
  }

  /** @param {number} index -1: no point @returns {string} what is told of it */
  hover(index) {
    const { cloud, hello, markers, viewer } = this.picture;
    const point = cloud.frame && hello && index >= 0 ? readPoint(cloud.frame, hello, index) : null;
    markers.put('hovered', point?.position ?? null);
    viewer.ask();
    const told = ['ring', 'column', 'range', 'intensity'];
    return (point?.fields ?? [])
      .filter(({ name }) => told.includes(name))
      .map(({ name, text, unit }) => `${name} ${text}${unit ? ` ${unit}` : ''}`)
      .join('   ');
  }

  #show() {
    const { markers, viewer } = this.picture;
    markers.put('picked', this.picked?.position ?? null);
    markers.put('from', this.from);
    markers.put('to', this.to);
    this.panel.show(this.picked);
    this.panel.showDistance(this.from, this.to);
    setPressed(this.button, this.measuring);
    this.hint.hidden = !this.measuring || this.to !== null;
    this.hint.textContent = this.from ? 'Click the second point' : 'Click the first point';
    viewer.ask();
  }

  /** The distance that is shown [m]; null without one. */
  get distance() {
    return this.from && this.to ? distanceOf(this.from, this.to).distance : null;
  }
}
