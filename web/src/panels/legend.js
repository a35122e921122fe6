// SPDX-License-Identifier: Apache-2.0
// What the colours mean.

import { SHADES, sensorColour } from '../cloud/colourMaps.js';
import { byId, element, penOf } from '../page/dom.js';
import { placed, tickValues } from '../page/numbers.js';

/** @import { ColourMode, Limits, Sensor } from '../types' */

export class Legend {
  constructor() {
    this.box = byId('legend');
    this.title = byId('legend-title');
    this.bar = byId('legend-bar', HTMLCanvasElement);
    this.ticks = byId('legend-ticks');
    this.shown = '';
  }

  /**
   * @param {ColourMode} mode
   * @param {Limits} limits
   * @param {Uint8Array} map
   * @param {readonly Sensor[]} sensors
   */
  show(mode, limits, map, sensors) {
    const text = JSON.stringify([mode, limits, map[0], map[1], map[512], sensors.length]);
    if (text === this.shown) return;
    this.shown = text;
    this.box.hidden = false;
    this.title.replaceChildren(
      mode.label,
      element('span', { textContent: mode.unit ? ` ${mode.unit}` : '' }),
    );
    this.bar.hidden = mode.kind === 'sensor';
    if (mode.kind === 'sensor') this.#showSensors(sensors);
    else this.#showBar(limits, map);
  }

  /** @param {Limits} limits @param {Uint8Array} map */
  #showBar(limits, map) {
    penOf(this.bar).putImageData(new ImageData(new Uint8ClampedArray(map), SHADES, 1), 0, 0);
    this.ticks.replaceChildren(
      ...tickValues(limits).map((value) => {
        const tick = element('span', { textContent: placed(value, limits.hi - limits.lo) });
        tick.style.left = `${(100 * (value - limits.lo)) / (limits.hi - limits.lo || 1)}%`;
        return tick;
      }),
    );
  }

  /** @param {readonly Sensor[]} sensors */
  #showSensors(sensors) {
    this.ticks.replaceChildren(
      element(
        'ul',
        {},
        ...sensors.map(({ name, model }, s) => {
          const swatch = element('i', { className: 'swatch' });
          swatch.style.background = `rgb(${sensorColour(s).join(' ')})`;
          return element('li', {}, swatch, name || model);
        }),
      ),
    );
  }
}
