// SPDX-License-Identifier: Apache-2.0
// The points on the screen: one draw call a sensor, all from the same graphics memory.

import {
  BufferGeometry,
  DataTexture,
  Group,
  NearestFilter,
  Points,
  RGBAFormat,
  Sphere,
  Vector2,
} from 'three';
import { CloudMaterial } from './cloudMaterial.js';
import { COLOUR_MAPS, SHADES, sensorColour, shadeOf } from './colourMaps.js';
import { TIME_FIELD, earliest, valueReader } from './colourModes.js';
import { PointBuffer } from './pointBuffers.js';

/** @import { ColourMode, FieldArray, Frame, Limits, Sensor } from '../types' */

/** The types of the renderer leave out that it takes graphics memory as it is. @param {any} attribute */
const asAttribute = (attribute) => attribute;

/** @param {Uint8Array<ArrayBuffer>} texels @returns {DataTexture} */
function makeMapTexture(texels) {
  const texture = new DataTexture(texels, SHADES, 1, RGBAFormat);
  texture.minFilter = NearestFilter;
  texture.magFilter = NearestFilter;
  return texture;
}

/**
 * @param {FieldArray} field
 * @returns {'float' | 'int' | 'uint'} as the renderer hands its numbers to the shader
 */
function shaderType({ type }) {
  if (type === 'i32') return 'int';
  return type === 'u32' ? 'uint' : 'float';
}

export class Cloud {
  /** @param {WebGL2RenderingContext} gl */
  constructor(gl) {
    this.group = new Group();
    this.texels = new Uint8Array(SHADES * 4);
    this.texture = makeMapTexture(this.texels);
    this.uniforms = {
      uLimits: { value: new Vector2(0, 1) },
      uMap: { value: this.texture },
      uSize: { value: 2 },
      uHideNull: { value: true },
    };
    /** @type {Sensor[]} */
    this.sensors = [];
    /** @type {Points<BufferGeometry, CloudMaterial>[]} */
    this.parts = [];
    /** @type {Frame | null} */
    this.frame = null;
    /** @type {ColourMode} */
    this.mode = { key: 'height', label: 'Height', unit: 'm', kind: 'height' };
    /** @type {Limits} */
    this.limits = { lo: 0, hi: 1 };
    this.map = COLOUR_MAPS.dusk;
    this.relative = new Float32Array(0);
    this.positions = new PointBuffer(gl, 3);
    this.scalars = new PointBuffer(gl, 1);
  }

  /** Makes the graphics memory anew: the context is new. @param {WebGL2RenderingContext} gl */
  restore(gl) {
    this.positions = new PointBuffer(gl, 3);
    this.scalars = new PointBuffer(gl, 1);
    this.texture.needsUpdate = true;
    if (this.frame) this.show(this.frame);
  }

  /** Another source. @param {Sensor[]} sensors */
  setSensors(sensors) {
    for (const part of this.parts) {
      part.geometry.attributes = {}; // their graphics memory is not the geometry's to free
      part.geometry.dispose();
      part.material.dispose();
    }
    this.sensors = sensors;
    this.frame = null;
    this.parts = sensors.map((sensor, s) => this.#makePart(sensor, s));
    this.group.clear();
    if (this.parts.length > 0) this.group.add(...this.parts);
  }

  /** @param {Sensor} sensor @param {number} s */
  #makePart(sensor, s) {
    const geometry = new BufferGeometry();
    geometry.boundingSphere = new Sphere(); // not used, and so not computed from the points
    geometry.setDrawRange(0, 0);
    const part = new Points(geometry, new CloudMaterial(this.uniforms, sensor.origin, sensorColour(s)));
    part.frustumCulled = false;
    return part;
  }

  /** Draws this frame from now on. @param {Frame} frame */
  show(frame) {
    this.frame = frame;
    this.positions.fill(frame.xyz);
    this.#fillScalars();
    this.parts.forEach((part, s) => {
      const slice = frame.sensors[s] ?? { first: 0, points: 0 };
      part.geometry.setDrawRange(slice.first, slice.points);
    });
    this.#setAttributes();
  }

  /** @param {ColourMode} mode */
  setMode(mode) {
    this.mode = mode;
    this.#fillScalars();
    this.#setAttributes();
  }

  /** @param {Limits} limits */
  setLimits(limits) {
    this.limits = limits;
    this.uniforms.uLimits.value.set(limits.lo, 1 / Math.max(limits.hi - limits.lo, 1e-9));
  }

  /** @param {string} name */
  setMap(name) {
    this.map = Object.hasOwn(COLOUR_MAPS, name) ? COLOUR_MAPS[name] : COLOUR_MAPS.dusk;
    this.texels.set(this.map);
    this.texture.needsUpdate = true;
  }

  /** @param {number} size [pixels of the screen] @param {boolean} hideNull */
  setLook(size, hideNull) {
    this.uniforms.uSize.value = size;
    this.uniforms.uHideNull.value = hideNull;
    this.#setWay();
  }

  /** @param {number} s @param {boolean} visible */
  setVisible(s, visible) {
    if (this.parts[s]) this.parts[s].visible = visible;
  }

  /**
   * The colour of a point as the shader makes it.
   * @param {number} i
   * @returns {number[]} red, green, blue, 0 to 255
   */
  colourOf(i) {
    if (!this.frame) return [0, 0, 0];
    const value = valueReader(this.mode, this.frame, this.sensors)(i);
    if (this.mode.kind === 'sensor') return sensorColour(value);
    const shade = shadeOf(value, this.limits.lo, this.limits.hi);
    return [...this.map.subarray(4 * shade, 4 * shade + 3)];
  }

  get #field() {
    return this.mode.kind === 'field' ? this.frame?.fields.get(this.mode.field ?? '') : undefined;
  }

  #fillScalars() {
    const field = this.#field;
    if (field)
      this.scalars.fill(field.data instanceof Float64Array ? this.#relativeOf(field.data) : field.data);
  }

  /**
   * Times as 32-bit numbers, from the frame's first on: absolute ones would lose all that matters.
   * @param {Float64Array} data
   */
  #relativeOf(data) {
    if (this.relative.length < data.length) this.relative = new Float32Array(data.length);
    const first = this.mode.field === TIME_FIELD ? earliest(data) : 0;
    for (let i = 0; i < data.length; ++i) this.relative[i] = data[i] - first;
    return this.relative.subarray(0, data.length);
  }

  #setAttributes() {
    for (const { geometry } of this.parts) {
      geometry.attributes.position = asAttribute(this.positions.attribute);
      if (this.#field) geometry.attributes.scalar = asAttribute(this.scalars.attribute);
      else delete geometry.attributes.scalar;
    }
    this.#setWay();
  }

  #setWay() {
    const field = this.#field;
    // A field that this frame lacks: drawn by height, so that the points stay to be seen.
    /** @type {ColourMode} */
    const mode = this.mode.kind === 'field' && !field ? { ...this.mode, kind: 'height' } : this.mode;
    for (const { material } of this.parts) {
      material.setWay(mode, this.uniforms.uSize.value, field ? shaderType(field) : 'float');
    }
  }
}
