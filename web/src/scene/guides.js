// SPDX-License-Identifier: Apache-2.0
// What gives the points a scale: a grid and range rings on the floor, and the axes of each sensor.

import {
  BufferGeometry,
  Color,
  Float32BufferAttribute,
  Group,
  LineBasicMaterial,
  LineSegments,
  Points,
  PointsMaterial,
} from 'three';
import { sensorColour } from '../cloud/colourMaps.js';
import { TextSprite } from './textSprite.js';

/** @import { Object3D } from 'three' */
/** @import { Sensor } from '../types' */

const STEPS = [0.5, 1, 2, 5, 10, 20, 50, 100]; // [m]
const LINES_TO_THE_EDGE = 6; // at most that many rings, so that their labels stay apart
const FARTHEST = 2000; // [m] no sensor reaches so far
const RING_CORNERS = 128;
const DOT_PIXELS = 7;
const AXIS_COLOURS = ['#e5534b', '#57ab5a', '#539bf5']; // x, y, z

/** The distance between rings for a scene of this size. @param {number} radius [m] @returns {number} [m] */
export const ringStep = (radius) =>
  STEPS.find((step) => radius / step <= LINES_TO_THE_EDGE) ?? STEPS[STEPS.length - 1];

/** @param {number[]} corners @param {string | Color} colour @param {number} opacity */
function lines(corners, colour, opacity) {
  const geometry = new BufferGeometry().setAttribute('position', new Float32BufferAttribute(corners, 3));
  const object = new LineSegments(
    geometry,
    new LineBasicMaterial({ color: colour, transparent: opacity < 1, opacity }),
  );
  object.frustumCulled = false;
  return object;
}

/** Keeps its size on the screen. @param {string} colour */
function dot(colour) {
  const geometry = new BufferGeometry().setAttribute('position', new Float32BufferAttribute(3, 3));
  const object = new Points(
    geometry,
    new PointsMaterial({ color: colour, size: DOT_PIXELS, sizeAttenuation: false, depthTest: false }),
  );
  object.frustumCulled = false;
  object.renderOrder = 1;
  return object;
}

/** @param {Group} group */
function empty(group) {
  group.traverse((/** @type {any} */ object) => {
    object.geometry?.dispose();
    object.material?.map?.dispose();
    object.material?.dispose();
  });
  group.clear();
}

/** @param {number} extent [m] @param {number} step [m] @returns {number[]} */
function gridCorners(extent, step) {
  const corners = [];
  for (let at = -extent; at <= extent + step / 2; at += step) {
    corners.push(at, -extent, 0, at, extent, 0, -extent, at, 0, extent, at, 0);
  }
  return corners;
}

/** @param {number} radius [m] @returns {number[]} */
function ringCorners(radius) {
  const corners = [];
  for (let i = 0; i < RING_CORNERS; ++i) {
    for (const at of [i, i + 1]) {
      const angle = (2 * Math.PI * at) / RING_CORNERS;
      corners.push(radius * Math.cos(angle), radius * Math.sin(angle), 0);
    }
  }
  return corners;
}

export class Guides {
  constructor() {
    this.object = new Group();
    this.floor = new Group(); // grid and rings lie on it
    this.grid = new Group();
    this.rings = new Group();
    this.axes = new Group();
    this.floor.add(this.grid, this.rings);
    this.object.add(this.floor, this.axes);
    this.ink = '#ffffff';
    this.words = '#ffffff';
    this.halo = '#000000';
    this.radius = 0;
    /** @type {readonly Sensor[]} */
    this.sensors = [];
  }

  /** @param {string} ink colour of lines @param {string} words likewise @param {string} halo of what is behind words */
  setInk(ink, words, halo) {
    this.ink = ink;
    this.words = words;
    this.halo = halo;
    this.#makeFloor();
    this.setSensors(this.sensors);
  }

  /** @param {number} radius [m] how far the points reach @param {number} height [m] of the floor */
  setExtent(radius, height) {
    this.floor.position.z = height;
    this.radius = Math.min(radius, FARTHEST);
    this.#makeFloor();
  }

  #makeFloor() {
    empty(this.grid);
    empty(this.rings);
    if (this.radius <= 0) return;
    const step = ringStep(this.radius);
    const count = Math.ceil(this.radius / step);
    this.grid.add(lines(gridCorners(count * step, step), this.ink, 0.1));
    for (let i = 1; i <= count; ++i) {
      this.rings.add(lines(ringCorners(i * step), this.ink, 0.28));
      const label = new TextSprite(`${i * step} m`, this.words, this.halo);
      label.position.set(i * step * Math.SQRT1_2, -i * step * Math.SQRT1_2, 0);
      this.rings.add(label);
    }
  }

  /**
   * Axes of a metre where each sensor stands, and a dot of its colour when there are several.
   * @param {readonly Sensor[]} sensors
   */
  setSensors(sensors) {
    this.sensors = sensors;
    empty(this.axes);
    sensors.forEach((sensor, s) => this.axes.add(this.#axesOf(sensor, s)));
  }

  /** @param {Sensor} sensor @param {number} s @returns {Object3D} */
  #axesOf({ origin, rotation: r }, s) {
    const group = new Group();
    const length = this.sensors.length > 1 ? 0.6 : 1; // [m]
    AXIS_COLOURS.forEach((colour, axis) => {
      group.add(lines([0, 0, 0, length * r[axis], length * r[3 + axis], length * r[6 + axis]], colour, 1));
    });
    if (this.sensors.length > 1) group.add(dot(`rgb(${sensorColour(s).join(',')})`));
    group.position.set(...origin);
    return group;
  }
}
