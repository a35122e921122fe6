// SPDX-License-Identifier: Apache-2.0
// What the page can tell of itself, to tests and benchmarks: facts that are read, nothing that is changed.

import { exactExtent } from '../cloud/extent.js';
import { byId } from './dom.js';

/** @import { App } from './app' */
/** @import { Vec3 } from '../types' */

/** The figures of the frame on the screen. @param {App} app */
const frameFacts = (app) => ({
  frame: app.onScreen?.number ?? null,
  entry: app.onScreen?.entry ?? null,
  points: app.onScreen?.points ?? 0,
  /** Points that the shader lets through, and the box around them. */
  get drawn() {
    const { frame, sensors } = app.picture.cloud;
    return frame ? exactExtent(frame, sensors) : { box: null, points: 0 };
  },
});

/** @param {App} app */
export function makeHook(app) {
  const { picture, viewer, selection, counts } = app;
  return Object.freeze({
    get state() {
      return app.state;
    },
    get framesShown() {
      return counts.shown;
    },
    get framesSuperseded() {
      return counts.superseded;
    },
    get framesSkipped() {
      return app.onScreen?.skipped ?? 0;
    },
    get damaged() {
      return counts.damaged;
    },
    get frame() {
      return frameFacts(app).frame;
    },
    get entry() {
      return frameFacts(app).entry;
    },
    get points() {
      return frameFacts(app).points;
    },
    get drawn() {
      return frameFacts(app).drawn;
    },
    get player() {
      return app.panels.player.player;
    },
    get mode() {
      return picture.cloud.mode.key;
    },
    get modes() {
      return picture.modes.map(({ key }) => key);
    },
    get limits() {
      return { ...picture.cloud.limits };
    },
    get picked() {
      return selection.picked;
    },
    get distance() {
      return selection.distance;
    },
    get ledger() {
      return app.panels.ledger.text;
    },
    get notices() {
      return app.panels.notices.all;
    },
    get pictures() {
      return viewer.pictures;
    },
    get camera() {
      return { position: viewer.camera.position.toArray(), target: viewer.controls.target.toArray() };
    },
    get imageSize() {
      return {
        width: byId('range-image', HTMLCanvasElement).width,
        height: byId('range-image', HTMLCanvasElement).height,
      };
    },
    /**
     * [ms] `prepare`: from message to buffers; `render`: until the commands were given; `latency`: from the
     * driver's callback until the graphics processor has drawn the frame, without what the fastest message needs
     * for its way; `oneClock`: with that way, right when program and page are on one machine.
     */
    get times() {
      return {
        prepare: app.times.prepare.summary,
        render: app.times.render.summary,
        latency: app.times.latency.summary,
        oneClock: app.times.oneClock.summary,
      };
    },
    /** [ms] The last values of one of these times. */
    lastTimes: (/** @type {keyof App['times']} */ name, /** @type {number} */ count) =>
      app.times[name].values.slice(-count),
    position: (/** @type {number} */ i) => [...(picture.cloud.frame?.xyz.subarray(3 * i, 3 * i + 3) ?? [])],
    colourOf: (/** @type {number} */ i) => picture.cloud.colourOf(i),
    project: (/** @type {Vec3} */ place) => viewer.project(place),
    /** The colour on the screen, of a picture drawn for it. */
    colourAt: (/** @type {number} */ x, /** @type {number} */ y) => viewer.colourAt(x, y),
  });
}
