// SPDX-License-Identifier: Apache-2.0
// What the person has chosen, kept by the browser where it keeps anything.

/** @import { Limits } from '../types' */

const KEY = 'orliq.view';

/**
 * @typedef {object} Values
 * @property {'system' | 'dark' | 'light'} theme
 * @property {string} mode what the points are coloured by; empty: the first that the source has
 * @property {string} map
 * @property {number} size [CSS pixels] of a point
 * @property {boolean} grid @property {boolean} rings @property {boolean} axes @property {boolean} hideNull
 * @property {boolean} dock
 * @property {boolean | null} panels null: as there is room
 * @property {string[]} closed panels that are folded
 * @property {Record<string, Limits>} limits set by hand, by colour mode
 * @property {string} limitsOf title of the source that they were set for
 */

/** @type {Readonly<Values>} */
const DEFAULTS = Object.freeze({
  theme: 'system',
  mode: '',
  map: 'dusk',
  size: 2,
  grid: true,
  rings: true,
  axes: true,
  hideNull: true,
  dock: true,
  panels: null,
  closed: [],
  limits: {},
  limitsOf: '',
});

/** @returns {Partial<Values>} what was kept; nothing where that is forbidden or damaged */
function load() {
  try {
    const kept = JSON.parse(localStorage.getItem(KEY) ?? '{}');
    /** @param {keyof Values} name */
    const fits = (name) =>
      DEFAULTS[name] === null
        ? typeof kept[name] === 'boolean'
        : typeof kept[name] === typeof DEFAULTS[name] &&
          Array.isArray(kept[name]) === Array.isArray(DEFAULTS[name]);
    const names = /** @type {(keyof Values)[]} */ (Object.keys(DEFAULTS));
    return Object.fromEntries(
      names.filter((name) => kept?.[name] != null && fits(name)).map((name) => [name, kept[name]]),
    );
  } catch {
    return {};
  }
}

export class Settings {
  constructor() {
    /** @type {Values} */
    this.values = { ...DEFAULTS, ...load() };
  }

  /** @template {keyof Values} K @param {K} name @param {Values[K]} value */
  set(name, value) {
    this.values = { ...this.values, [name]: value };
    try {
      localStorage.setItem(KEY, JSON.stringify(this.values));
    } catch {
      // Not kept for the next time: private windows and full disks say so, and the page goes on.
    }
  }
}
