// SPDX-License-Identifier: Apache-2.0
// The fields of the picked point, and the distance between two.

import { byId, element, setText } from '../page/dom.js';

/** @import { PickedPoint, Vec3 } from '../types' */

/** @param {string} name @param {string} text @param {string} unit */
const row = (name, text, unit) =>
  element(
    'tr',
    {},
    element('th', { scope: 'row', textContent: name }),
    element('td', { textContent: text }),
    element('td', { className: 'unit', textContent: unit }),
  );

/** @param {Vec3} from @param {Vec3} to */
export function distanceOf(from, to) {
  const [dx, dy, dz] = from.map((value, axis) => to[axis] - value);
  return { dx, dy, dz, distance: Math.hypot(dx, dy, dz), horizontal: Math.hypot(dx, dy) };
}

export class PointPanel {
  constructor() {
    this.hint = byId('point-hint');
    this.of = byId('point-of');
    this.fields = byId('point-fields', HTMLTableElement);
    this.distance = byId('distance', HTMLTableElement);
  }

  /** @param {PickedPoint | null} point */
  show(point) {
    this.hint.hidden = point !== null;
    this.of.hidden = point === null;
    if (point)
      setText(this.of, point.entry === undefined ? `of frame ${point.frame}` : `of entry ${point.entry}`);
    this.fields.tBodies[0].replaceChildren(
      ...(point?.fields ?? []).map(({ name, text, unit }) => row(name, text, unit)),
    );
  }

  /** @param {Vec3 | null} from @param {Vec3 | null} to */
  showDistance(from, to) {
    this.distance.hidden = !from || !to;
    if (!from || !to) return;
    const { dx, dy, dz, distance, horizontal } = distanceOf(from, to);
    this.distance.tBodies[0].replaceChildren(
      row('distance', distance.toFixed(3), 'm'),
      row('horizontal', horizontal.toFixed(3), 'm'),
      row('Δx Δy Δz', [dx, dy, dz].map((value) => value.toFixed(3)).join(' '), 'm'),
    );
  }
}
