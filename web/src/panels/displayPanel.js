// SPDX-License-Identifier: Apache-2.0
// What the points are coloured by, and how they look.

import { COLOUR_MAPS, sensorColour } from '../cloud/colourMaps.js';
import { areLimits } from '../cloud/limits.js';
import { byId, element, setPressed } from '../page/dom.js';
import { placed } from '../page/numbers.js';

/** @import { ColourMode, Limits, Sensor } from '../types' */
/** @import { Settings } from '../page/settings' */

const SIZE_STEP = 0.5; // [pixels]
const CHECKS = /** @type {const} */ ({
  'show-grid': 'grid',
  'show-rings': 'rings',
  'show-axes': 'axes',
  'hide-null': 'hideNull',
});

/** NaN of an empty field. @param {HTMLInputElement} field */
const numberOf = ({ value }) => (value.trim() === '' ? NaN : Number(value.replace(',', '.')));

/** @typedef {'grid' | 'rings' | 'axes' | 'hideNull'} Switch */

/**
 * @typedef {object} Reactions
 * @property {() => void} look size, switches or map changed
 * @property {(key: string) => void} mode
 * @property {(limits: Limits | null) => void} limits set by hand; null: automatic
 * @property {(s: number, visible: boolean) => void} sensor
 */

export class DisplayPanel {
  /** @param {Settings} settings @param {Reactions} reactions */
  constructor(settings, reactions) {
    this.settings = settings;
    this.reactions = reactions;
    this.mode = byId('mode', HTMLSelectElement);
    this.map = byId('map', HTMLSelectElement);
    this.size = byId('size', HTMLInputElement);
    this.lo = byId('limit-lo', HTMLInputElement);
    this.hi = byId('limit-hi', HTMLInputElement);
    this.mode.addEventListener('change', () => reactions.mode(this.mode.value));
    this.map.addEventListener('change', () => this.#set('map', this.map.value));
    this.size.addEventListener('input', () => this.#set('size', Number(this.size.value)));
    for (const [id, name] of Object.entries(CHECKS)) {
      byId(id, HTMLInputElement).addEventListener('change', () => this.toggle(name));
    }
    for (const field of [this.lo, this.hi]) field.addEventListener('change', () => this.#readLimits());
    this.show();
  }

  /** @param {'map' | 'size' | Switch} name @param {string | number | boolean} value */
  #set(name, value) {
    this.settings.set(name, value);
    this.show();
    this.reactions.look();
  }

  /** The controls as the settings are. */
  show() {
    const { values } = this.settings;
    if (Object.hasOwn(COLOUR_MAPS, values.map)) this.map.value = values.map;
    this.size.value = String(values.size);
    byId('size-text').textContent = `${values.size} px`;
    for (const [id, name] of Object.entries(CHECKS)) byId(id, HTMLInputElement).checked = values[name];
  }

  /** @param {Switch} name */
  toggle(name) {
    this.#set(name, !this.settings.values[name]);
  }

  /** @param {1 | -1} way */
  resize(way) {
    this.#set('size', Math.min(8, Math.max(1, this.settings.values.size + way * SIZE_STEP)));
  }

  nextMap() {
    const names = Object.keys(COLOUR_MAPS);
    this.#set('map', names[(names.indexOf(this.settings.values.map) + 1) % names.length]);
  }

  /** @param {ColourMode[]} modes @param {string} key */
  setModes(modes, key) {
    this.mode.replaceChildren(
      ...modes.map((mode) => new Option(mode.label, mode.key, false, mode.key === key)),
    );
  }

  /** @param {1 | -1} way */
  nextMode(way) {
    const { length } = this.mode.options;
    if (length > 0)
      this.reactions.mode(this.mode.options[(this.mode.selectedIndex + way + length) % length].value);
  }

  /** @param {Limits} limits @param {boolean} automatic @param {ColourMode} mode */
  showLimits(limits, automatic, mode) {
    this.mode.value = mode.key;
    byId('limits-row').hidden = mode.kind === 'sensor';
    setPressed(byId('limits-auto'), automatic);
    if (document.activeElement === this.lo || document.activeElement === this.hi) return;
    const span = limits.hi - limits.lo;
    this.lo.value = placed(limits.lo, span);
    this.hi.value = placed(limits.hi, span);
    this.#markLimits(false);
  }

  #readLimits() {
    const limits = { lo: numberOf(this.lo), hi: numberOf(this.hi) };
    const right = areLimits(limits);
    this.#markLimits(!right);
    if (right) this.reactions.limits(limits);
  }

  /** @param {boolean} wrong */
  #markLimits(wrong) {
    for (const field of [this.lo, this.hi]) field.setAttribute('aria-invalid', String(wrong));
  }

  /** @param {readonly Sensor[]} sensors */
  setSensors(sensors) {
    const box = byId('sensors');
    box.hidden = sensors.length < 2;
    box.replaceChildren(
      element('legend', { textContent: 'Sensors' }),
      ...sensors.map((sensor, s) => this.#sensorSwitch(sensor, s)),
    );
  }

  /** @param {Sensor} sensor @param {number} s */
  #sensorSwitch({ name, model }, s) {
    const check = document.createElement('input');
    check.type = 'checkbox';
    check.checked = true;
    check.addEventListener('change', () => this.reactions.sensor(s, check.checked));
    const swatch = element('i', { className: 'swatch' });
    swatch.style.background = `rgb(${sensorColour(s).join(' ')})`;
    return element('label', { title: model }, check, swatch, element('span', { textContent: name || model }));
  }
}
