// SPDX-License-Identifier: Apache-2.0
// What the person has marked: the picked point, the one under the cursor in an image, and a measured distance.

import {
  BufferGeometry,
  CanvasTexture,
  Float32BufferAttribute,
  Group,
  Line,
  LineBasicMaterial,
  SRGBColorSpace,
  Sprite,
  SpriteMaterial,
} from 'three';

/** @import { Vec3 } from '../types' */

const PIXELS = 64; // [pixels] of the drawn ring
const SCREEN_SHARE = 0.028; // of the height of the picture

/** @param {string} colour */
function ringTexture(colour) {
  const canvas = document.createElement('canvas');
  canvas.width = PIXELS;
  canvas.height = PIXELS;
  const pen = /** @type {CanvasRenderingContext2D} */ (canvas.getContext('2d'));
  for (const { width, ink } of [
    { width: 14, ink: 'rgba(0,0,0,.55)' },
    { width: 8, ink: colour },
  ]) {
    pen.lineWidth = width;
    pen.strokeStyle = ink;
    pen.beginPath();
    pen.arc(PIXELS / 2, PIXELS / 2, PIXELS / 2 - 10, 0, 2 * Math.PI);
    pen.stroke();
  }
  const texture = new CanvasTexture(canvas);
  texture.colorSpace = SRGBColorSpace;
  return texture;
}

/** @param {string} colour */
function ring(colour) {
  const sprite = new Sprite(
    new SpriteMaterial({ map: ringTexture(colour), sizeAttenuation: false, depthTest: false }),
  );
  sprite.scale.setScalar(SCREEN_SHARE);
  sprite.renderOrder = 3;
  sprite.visible = false;
  return sprite;
}

export class Markers {
  constructor() {
    this.object = new Group();
    this.rings = {
      picked: ring('#ffffff'),
      hovered: ring('#ffd23f'),
      from: ring('#3fd0ff'),
      to: ring('#3fd0ff'),
    };
    const geometry = new BufferGeometry().setAttribute('position', new Float32BufferAttribute(6, 3));
    this.line = new Line(
      geometry,
      new LineBasicMaterial({ color: '#3fd0ff', depthTest: false, transparent: true }),
    );
    this.line.frustumCulled = false;
    this.line.renderOrder = 3;
    this.line.visible = false;
    this.object.add(...Object.values(this.rings), this.line);
  }

  /** @param {'picked' | 'hovered' | 'from' | 'to'} which @param {Vec3 | null} place null: nowhere */
  put(which, place) {
    const marker = this.rings[which];
    marker.visible = place !== null;
    if (place) marker.position.set(...place);
    this.#putLine();
  }

  #putLine() {
    const { from, to } = this.rings;
    this.line.visible = from.visible && to.visible;
    const corners = this.line.geometry.getAttribute('position');
    corners.setXYZ(0, from.position.x, from.position.y, from.position.z);
    corners.setXYZ(1, to.position.x, to.position.y, to.position.z);
    corners.needsUpdate = true;
  }
}
