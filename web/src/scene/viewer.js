// SPDX-License-Identifier: Apache-2.0
// The picture: renderer, camera and controls. It is drawn when something changed, and not otherwise.

import { Color, PerspectiveCamera, Scene, Vector3, WebGLRenderer } from 'three';
import { OrbitControls } from 'three/addons/controls/OrbitControls.js';
import { DrawnFences } from './drawnFences.js';

/** @import { Vec3 } from '../types' */

/** @typedef {{ meanwhile: () => void, done: () => void }} Drawing */

const FIELD_OF_VIEW = 50; // [deg]
const UNFINISHED_PICTURES = 2; // that the graphics processor may have before it: more would only be late
const MAX_PIXEL_RATIO = 2;

/** Whether pictures are drawn by the processor: then smooth edges cost more than they give.
 * @param {WebGL2RenderingContext} gl */
function isSoftware(gl) {
  const info = gl.getExtension('WEBGL_debug_renderer_info');
  const name = info ? String(gl.getParameter(info.UNMASKED_RENDERER_WEBGL)) : '';
  return /swiftshader|llvmpipe|software|basic render/i.test(name);
}

/** @returns {boolean} */
function drawsInSoftware() {
  const gl = document.createElement('canvas').getContext('webgl2');
  if (!gl) throw new Error('WebGL 2');
  const software = isSoftware(gl);
  gl.getExtension('WEBGL_lose_context')?.loseContext();
  return software;
}

export class Viewer {
  /** @param {HTMLElement} stage @throws when the browser has no WebGL 2 */
  constructor(stage) {
    this.stage = stage;
    this.software = drawsInSoftware();
    this.renderer = new WebGLRenderer({ antialias: !this.software, powerPreference: 'high-performance' });
    this.canvas = this.renderer.domElement;
    this.gl = /** @type {WebGL2RenderingContext} */ (this.renderer.getContext());
    this.fences = new DrawnFences(this.gl);
    this.scene = new Scene();
    this.camera = new PerspectiveCamera(FIELD_OF_VIEW, 1, 0.05, 5000);
    this.camera.up.set(0, 0, 1);
    this.camera.position.set(-14, -9, 10);
    this.controls = this.#makeControls();
    this.asked = false;
    this.late = false; // asked while too much was unfinished
    this.unfinished = 0;
    this.renderMs = 0; // of the last picture, until its commands were given
    this.pictures = 0;
    /**
     * Called before a picture is drawn; of what it returns, `meanwhile` is called while the graphics processor
     * draws it, and `done` when it has. @type {() => Drawing | null}
     */
    this.onBefore = () => null;
    stage.prepend(this.canvas);
    new ResizeObserver(() => this.#resize()).observe(stage);
    this.#resize();
  }

  #makeControls() {
    const controls = new OrbitControls(this.camera, this.canvas);
    controls.zoomToCursor = true;
    controls.minDistance = 0.1;
    controls.maxDistance = 3000;
    controls.addEventListener('change', () => this.ask());
    return controls;
  }

  #resize() {
    const width = Math.max(1, this.stage.clientWidth);
    const height = Math.max(1, this.stage.clientHeight);
    this.renderer.setPixelRatio(this.software ? 1 : Math.min(window.devicePixelRatio, MAX_PIXEL_RATIO));
    this.renderer.setSize(width, height, false);
    this.camera.aspect = width / height;
    this.camera.updateProjectionMatrix();
    this.ask();
  }

  /** Asks for a picture: at the next refresh of the screen, once however often it is asked. */
  ask() {
    if (this.asked) return;
    this.asked = true;
    requestAnimationFrame(() => this.#draw());
  }

  #draw() {
    this.asked = false;
    if (this.unfinished >= UNFINISHED_PICTURES) {
      this.late = true;
      return;
    }
    const drawing = this.onBefore();
    this.drawNow();
    ++this.unfinished;
    this.fences.after(() => {
      --this.unfinished;
      drawing?.done();
      if (this.late) this.ask();
      this.late = false;
    });
    drawing?.meanwhile();
  }

  /** Draws at once, so that the picture can be read from the canvas. */
  drawNow() {
    const started = performance.now();
    this.renderer.render(this.scene, this.camera);
    this.renderMs = performance.now() - started;
    ++this.pictures;
  }

  /** @param {string} colour */
  setBackground(colour) {
    this.scene.background = new Color(colour);
    this.ask();
  }

  /** From the cloud to clip space, column by column. */
  get matrix() {
    this.camera.updateMatrixWorld();
    return this.camera.projectionMatrix.clone().multiply(this.camera.matrixWorldInverse).elements;
  }

  /**
   * Where a place is on the screen; null behind the camera.
   * @param {Vec3} place
   * @returns {{ x: number, y: number } | null}
   */
  project(place) {
    this.camera.updateMatrixWorld();
    const at = new Vector3(...place).applyMatrix4(this.camera.matrixWorldInverse);
    if (at.z >= 0) return null;
    at.applyMatrix4(this.camera.projectionMatrix);
    return { x: (at.x + 1) * 0.5 * this.stage.clientWidth, y: (1 - at.y) * 0.5 * this.stage.clientHeight };
  }

  /** The colour at a place of the picture, drawn anew for it. @param {number} x @param {number} y [CSS pixels]
   * @returns {number[]} red, green, blue, 0 to 255 */
  colourAt(x, y) {
    this.drawNow();
    const ratio = this.renderer.getPixelRatio();
    const pixel = new Uint8Array(4);
    this.gl.readPixels(
      Math.floor(x * ratio),
      this.canvas.height - 1 - Math.floor(y * ratio),
      1,
      1,
      this.gl.RGBA,
      this.gl.UNSIGNED_BYTE,
      pixel,
    );
    return [...pixel.subarray(0, 3)];
  }
}
