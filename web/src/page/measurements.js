// SPDX-License-Identifier: Apache-2.0
// How the page itself does: times of its steps and the rate of frames.

const KEPT = 240; // values of each kind
const RATE_WINDOW_MS = 3000;
const TRANSIT_WINDOW_MS = 60000; // in which two clocks hardly drift apart

/** The last values of one time. */
export class Times {
  constructor() {
    /** @type {number[]} [ms] */
    this.values = [];
  }

  /** @param {number} ms */
  add(ms) {
    this.values.push(ms);
    if (this.values.length > KEPT) this.values.shift();
  }

  get last() {
    return this.values.at(-1) ?? NaN;
  }

  /** @returns {{ count: number, median: number, p90: number, p99: number, max: number }} [ms]; NaN without values */
  get summary() {
    const sorted = [...this.values].sort((a, b) => a - b);
    const at = (/** @type {number} */ share) => sorted[Math.floor(share * (sorted.length - 1))] ?? NaN;
    return { count: sorted.length, median: at(0.5), p90: at(0.9), p99: at(0.99), max: at(1) };
  }
}

/**
 * What the way of a message took. The clocks of the two machines may differ by anything, so it is told as more than
 * the fastest one of late: what waits in a slow network.
 */
export class Transit {
  constructor() {
    /** @type {{ at: number, ms: number }[]} ways that may become the fastest one, ascending */
    this.fastest = [];
  }

  /** @param {number} ms from one clock to the other @param {number} now [ms] @returns {number} [ms] */
  add(ms, now) {
    while (this.fastest.length > 0 && this.fastest[this.fastest.length - 1].ms >= ms) this.fastest.pop();
    this.fastest.push({ at: now, ms });
    while (this.fastest[0].at < now - TRANSIT_WINDOW_MS) this.fastest.shift();
    return ms - this.fastest[0].ms;
  }
}

/** From the driver's callback to the drawn frame. */
export class Latency {
  constructor() {
    this.transit = new Transit();
    this.times = { latency: new Times(), oneClock: new Times() };
  }

  /** @param {import('../types').Frame} frame @param {number} now [ms] it has been drawn */
  add({ ageMs, sentAt, receivedAt }, now) {
    if (ageMs === undefined || sentAt === undefined) return;
    const way = performance.timeOrigin + receivedAt - sentAt;
    const ms = ageMs + now - receivedAt;
    this.times.latency.add(ms + this.transit.add(way, receivedAt));
    this.times.oneClock.add(ms + way);
  }
}

/** Frames per second over the last seconds. */
export class Rate {
  constructor() {
    /** @type {number[]} [ms] */
    this.at = [];
  }

  /** @param {number} now [ms] */
  add(now) {
    this.at.push(now);
    while (this.at[0] < now - RATE_WINDOW_MS) this.at.shift();
  }

  /** @param {number} now [ms] @returns {number} [1/s]; 0 when nothing came for long */
  of(now) {
    const recent = this.at.filter((at) => at >= now - RATE_WINDOW_MS);
    if (recent.length < 2) return 0;
    return (
      (1000 * (recent.length - 1)) /
      Math.max(recent[recent.length - 1] - recent[0], now - recent[recent.length - 1])
    );
  }
}
