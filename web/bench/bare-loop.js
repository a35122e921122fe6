// SPDX-License-Identifier: Apache-2.0
// Nothing but three.js and points that never change: what this browser can draw at most.
import {
  BufferGeometry,
  Float32BufferAttribute,
  PerspectiveCamera,
  Points,
  PointsMaterial,
  Scene,
  WebGLRenderer,
} from 'three';

/** Draws for a while. @param {{ points: number, width: number, height: number, seconds: number }} of */
window.runBareLoop = ({ points, width, height, seconds }) =>
  new Promise((done) => {
    const renderer = new WebGLRenderer();
    renderer.setSize(width, height);
    document.body.append(renderer.domElement);
    const places = new Float32Array(points * 3).map(
      (_, i) => [24, 20, 5][i % 3] * ((Math.abs(Math.sin(i * 12.9898) * 43758.5453) % 1) - 0.5),
    );
    const cloud = new Points(
      new BufferGeometry().setAttribute('position', new Float32BufferAttribute(places, 3)),
      new PointsMaterial({ size: 2, sizeAttenuation: false, color: 0x88ccff }),
    );
    const scene = new Scene().add(cloud);
    const camera = new PerspectiveCamera(50, width / height, 0.05, 5000);
    camera.up.set(0, 0, 1);
    camera.position.set(-22, -11, 13);
    camera.lookAt(0, 0, 0);
    const gl = renderer.getContext();
    const pixel = new Uint8Array(4);
    let frames = -2; // the first ones make the programs
    let from = 0;
    const draw = () => {
      renderer.render(scene, camera);
      gl.readPixels(0, 0, 1, 1, gl.RGBA, gl.UNSIGNED_BYTE, pixel); // so that the frame is drawn, not only asked for
      if (++frames === 0) from = performance.now();
      const passed = (performance.now() - from) / 1000;
      if (frames > 0 && passed > seconds) done(frames / passed);
      else requestAnimationFrame(draw);
    };
    draw();
  });
