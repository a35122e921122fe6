// SPDX-License-Identifier: Apache-2.0
// The cloud in its surroundings: points and their colours, guides, and the camera's first view of them.

import { Cloud } from '../cloud/cloud.js';
import { colourModes, valueReader } from '../cloud/colourModes.js';
import { viewExtent, viewPoints } from '../cloud/extent.js';
import { SettledLimits, areLimits, knownLimits, robustLimits, sampleValues } from '../cloud/limits.js';
import { themeColour } from '../page/dom.js';
import { CameraViews } from './cameraViews.js';
import { Guides, ringStep } from './guides.js';
import { Markers } from './markers.js';

/** @import { ColourMode, Frame, Hello, Limits, Sensor } from '../types' */
/** @import { Settings } from '../page/settings' */
/** @import { Box } from '../cloud/extent' */
/** @import { Viewer } from './viewer' */

/**
 * How far the points of a box reach from the origin of the cloud, on the ground.
 * @param {Box} box
 * @returns {number} [m]
 */
const reach = ({ min, max }) => Math.max(...[min[0], max[0], min[1], max[1]].map(Math.abs));

export class Picture {
  /** @param {Viewer} viewer @param {Settings} settings */
  constructor(viewer, settings) {
    this.viewer = viewer;
    this.settings = settings;
    this.cloud = new Cloud(viewer.gl);
    this.guides = new Guides();
    this.markers = new Markers();
    this.views = new CameraViews(viewer);
    this.auto = new SettledLimits();
    viewer.scene.add(this.cloud.group, this.guides.object, this.markers.object);
    viewer.canvas.addEventListener('webglcontextrestored', () => this.cloud.restore(viewer.gl));
    /** @type {Sensor[]} */
    this.sensors = [];
    /** @type {ColourMode[]} */
    this.modes = [];
    this.isNew = true; // no frame of this source has been shown
    /** @type {Box | null} */
    this.seen = null; // the extent that guides and camera were set for
  }

  /**
   * Another source, or the same one again: then camera, sensors and the last frame stay as they are.
   * @param {Hello} hello
   * @param {boolean} same
   */
  begin(hello, same) {
    this.hello = hello;
    this.isNew = true;
    if (same) return;
    this.#forgetLimits(hello.title);
    this.sensors = hello.sensors;
    this.cloud.setSensors(hello.sensors);
    this.guides.setSensors(hello.sensors);
    this.modes = colourModes(hello, null);
    this.seen = null;
    this.auto.reset();
    this.applySettings();
  }

  /**
   * Draws this frame from now on.
   * @param {Frame} frame
   * @returns {boolean} whether it is the first with these modes
   */
  show(frame) {
    const isFirst = this.isNew;
    if (isFirst) this.#chooseMode(frame);
    this.cloud.show(frame);
    this.updateLimits();
    return isFirst;
  }

  /** Limits set by hand are of one source: on another they would mislead. @param {string} title */
  #forgetLimits(title) {
    if (this.settings.values.limitsOf === title) return;
    this.settings.set('limits', {});
    this.settings.set('limitsOf', title);
  }

  /** The one that was kept; else intensity, unless the points carry none. @param {Frame} frame */
  #chooseMode(frame) {
    if (!this.hello) return;
    this.isNew = false;
    this.modes = colourModes(this.hello, frame).filter(
      ({ kind, field }) => kind !== 'field' || frame.fields.has(field ?? ''),
    );
    this.cloud.mode = this.modes.find(({ key }) => key === this.settings.values.mode) ?? this.modes[0];
  }

  /** Turns the camera to the first frame that has points. */
  lookFirst() {
    const { frame } = this.cloud;
    if (this.seen !== null || frame === null) return;
    const box = viewExtent(frame, this.sensors);
    if (box === null) return;
    this.seen = box;
    this.guides.setExtent(reach(box), box.min[2]);
    this.views.show('start', box, viewPoints(frame, this.sensors));
  }

  /** @param {import('./cameraViews').View} view */
  lookFrom(view) {
    const { frame } = this.cloud;
    const box = frame && viewExtent(frame, this.sensors);
    if (box) this.guides.setExtent(reach(box), box.min[2]);
    this.seen = box ?? this.seen;
    this.views.show(view, box, frame ? viewPoints(frame, this.sensors) : []);
  }

  /** @param {string} key */
  setMode(key) {
    const mode = this.modes.find((known) => known.key === key);
    if (!mode) return;
    this.settings.set('mode', key);
    this.auto.reset();
    this.cloud.setMode(mode);
    this.updateLimits();
    this.viewer.ask();
  }

  /** @param {Limits | null} limits by hand, for the mode that is shown; null: automatic */
  setLimits(limits) {
    const kept = Object.entries(this.settings.values.limits).filter(([key]) => key !== this.cloud.mode.key);
    if (limits) kept.push([this.cloud.mode.key, limits]);
    this.settings.set('limits', Object.fromEntries(kept));
    this.auto.reset();
    this.updateLimits();
    this.viewer.ask();
  }

  /** Limits that the person set for the mode that is shown. @returns {Limits | null} */
  get handLimits() {
    const { limits } = this.settings.values;
    const { key } = this.cloud.mode;
    const found = Object.hasOwn(limits, key) ? limits[key] : null;
    return areLimits(found) ? found : null;
  }

  updateLimits() {
    this.cloud.setLimits(this.handLimits ?? knownLimits(this.cloud.mode, this.sensors) ?? this.#autoLimits());
  }

  #autoLimits() {
    const { frame, mode } = this.cloud;
    if (!frame) return this.auto.follow(null);
    return this.auto.follow(
      robustLimits(sampleValues(frame, this.sensors, valueReader(mode, frame, this.sensors))),
    );
  }

  /** Size of the points, what is hidden, map and guides. */
  applySettings() {
    const { values } = this.settings;
    this.cloud.setLook(values.size * this.viewer.renderer.getPixelRatio(), values.hideNull);
    this.cloud.setMap(values.map);
    this.guides.grid.visible = values.grid;
    this.guides.rings.visible = values.rings;
    this.guides.axes.visible = values.axes;
    this.viewer.ask();
  }

  applyTheme() {
    this.viewer.setBackground(themeColour('--stage'));
    this.guides.setInk(themeColour('--guide'), themeColour('--ink'), themeColour('--stage'));
    this.viewer.ask();
  }

  /** What the grid measures. */
  get scaleText() {
    if (!this.settings.values.grid || this.guides.radius <= 0) return '';
    return `grid ${ringStep(this.guides.radius)} m at z = ${this.guides.floor.position.z.toFixed(1)} m`;
  }
}
