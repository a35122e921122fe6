// SPDX-License-Identifier: Apache-2.0
// A word in the scene that keeps its size on the screen.

import { CanvasTexture, SRGBColorSpace, Sprite, SpriteMaterial } from 'three';

const PIXELS = 40; // [pixels] height of the drawn letters, finer than they are shown
const SCREEN_SHARE = 0.034; // of the height of the picture, at a field of view of 50 degrees

/**
 * @param {string} text
 * @param {string} colour
 * @param {string} halo around the letters, so that they read over points
 */
function drawText(text, colour, halo) {
  const canvas = document.createElement('canvas');
  const pen = /** @type {CanvasRenderingContext2D} */ (canvas.getContext('2d'));
  const font = `500 ${PIXELS}px system-ui, sans-serif`;
  pen.font = font;
  canvas.width = Math.ceil(pen.measureText(text).width) + PIXELS / 2;
  canvas.height = PIXELS * 1.5;
  pen.font = font;
  pen.textAlign = 'center';
  pen.textBaseline = 'middle';
  pen.lineJoin = 'round';
  pen.lineWidth = PIXELS / 5;
  pen.strokeStyle = halo;
  pen.strokeText(text, canvas.width / 2, canvas.height / 2);
  pen.fillStyle = colour;
  pen.fillText(text, canvas.width / 2, canvas.height / 2);
  return canvas;
}

export class TextSprite extends Sprite {
  /** @param {string} text @param {string} colour @param {string} halo */
  constructor(text, colour, halo) {
    const canvas = drawText(text, colour, halo);
    const texture = new CanvasTexture(canvas);
    texture.colorSpace = SRGBColorSpace;
    super(
      new SpriteMaterial({
        map: texture,
        sizeAttenuation: false,
        depthTest: false,
        transparent: true,
        opacity: 0.9,
      }),
    );
    this.scale.set((SCREEN_SHARE * canvas.width) / canvas.height, SCREEN_SHARE, 1);
    this.renderOrder = 2;
  }
}
