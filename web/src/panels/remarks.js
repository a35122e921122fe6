// SPDX-License-Identifier: Apache-2.0
// What the program remarked, each once: it is read over the picture for a while, and kept.

/** @import { Tone } from '../types' */

/**
 * @typedef {object} Remark
 * @property {Tone} tone @property {string} text
 * @property {number} at [ms] of performance.now(), when it came
 * @property {Date} date likewise
 * @property {boolean} dismissed by the person
 */

export const READ_MS = 15000; // that a remark is read over the picture
export const FADE_MS = 600;
const KEPT = 50;

/** How many of the first ones of `list` are the last ones of `before`. @param {string[]} before @param {string[]} list */
function overlap(before, list) {
  for (let count = Math.min(before.length, list.length); count > 0; --count) {
    const start = before.length - count;
    if (list.slice(0, count).every((text, i) => text === before[start + i])) return count;
  }
  return 0;
}

export class Remarks {
  constructor() {
    /** @type {Remark[]} newest first */
    this.kept = [];
    /** @type {string[]} as the program told them last, oldest first */
    this.told = [];
  }

  /**
   * The program tells its latest ones each time: only those at the end of the list are new.
   * @param {string[]} texts oldest first @param {number} now [ms]
   */
  hear(texts, now) {
    const fresh = texts.slice(overlap(this.told, texts));
    this.told = texts;
    for (const text of fresh) this.add('plain', text, now);
  }

  /** @param {Tone} tone @param {string} text @param {number} now [ms] */
  add(tone, text, now) {
    this.kept.unshift({ tone, text, at: now, date: new Date(), dismissed: false });
    this.kept.length = Math.min(this.kept.length, KEPT);
  }

  /** Those that are still to be read over the picture. @param {number} now [ms] @returns {Remark[]} newest first */
  fresh(now) {
    return this.kept.filter(({ at, dismissed }) => !dismissed && now - at < READ_MS + FADE_MS);
  }
}
