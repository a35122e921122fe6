// SPDX-License-Identifier: Apache-2.0
// The frames between their arrival and the screen: the newest one is drawn, and each is answered once it, or a
// newer one, is to be seen.

/** @import { Frame } from '../types' */

/** @typedef {{ frame: Frame, parseMs: number, answers: number[] }} Taken */

export class FrameFlow {
  /** @param {(frame: number) => void} answer */
  constructor(answer) {
    this.answer = answer;
    /** @type {{ frame: Frame, parseMs: number } | null} */
    this.newest = null;
    /** @type {number[]} */
    this.unanswered = [];
    this.held = false;
    this.heldBack = 0; // frames that came while the picture was held
  }

  /** @param {Frame} frame @param {number} parseMs @returns {boolean} whether it is to be drawn */
  receive(frame, parseMs) {
    this.newest = { frame, parseMs };
    if (!this.held) {
      this.unanswered.push(frame.number);
      return true;
    }
    // The stream goes on: the frame has been seen as far as it will be.
    ++this.heldBack;
    this.answer(frame.number);
    return false;
  }

  /** The frame to be drawn now, if there is a new one. @returns {Taken | null} */
  take() {
    if (this.newest === null || this.held) return null;
    const taken = { ...this.newest, answers: this.unanswered };
    this.newest = null;
    this.unanswered = [];
    return taken;
  }

  /** Keeps the picture, or goes on with the newest frame. @param {boolean} held */
  hold(held) {
    this.held = held;
    this.heldBack = 0;
    if (held) for (const number of this.unanswered.splice(0)) this.answer(number);
  }

  /** The connection is another. */
  reset() {
    this.newest = null;
    this.unanswered = [];
    this.heldBack = 0;
  }
}
