// SPDX-License-Identifier: Apache-2.0
// Where the camera stands: on one side of what is to be seen, and moved by keys.

import { Spherical, Vector3 } from 'three';

/** @import { Viewer } from './viewer' */
/** @import { Box } from '../cloud/extent' */
/** @import { Vec3 } from '../types' */

/** From what is looked at to the camera. Forward is +x, left +y, up +z. */
const DIRECTIONS = Object.freeze({
  fit: null, // as it is
  start: [-0.72, -0.4, 0.62], // from behind, the right and above
  top: [-0.0005, 0, 1], // forward is up on the screen
  side: [0, -1, 0.0005], // forward is right
  front: [-1, 0, 0.0005], // as the sensor looks
});

/** @typedef {keyof typeof DIRECTIONS} View */

const FIRST_DISTANCE = 3; // in radii of the box: from there all is seen
const FIT_ROUNDS = 6; // each comes nearer to a filled picture
const FILLED_SHARE = 0.92; // of the picture, from the middle to the edge
const OUTER_SHARE = 0.004; // of the places that may be left out at each edge
const LEAST_DISTANCE = 2; // [m]

/** @param {number[]} values @param {number} share */
function quantile(values, share) {
  return values.sort((a, b) => a - b)[Math.round(share * (values.length - 1))] ?? 0;
}

/** @param {number[]} values */
const middle = (values) => (quantile(values, OUTER_SHARE) + quantile(values, 1 - OUTER_SHARE)) / 2;

export class CameraViews {
  /** @param {Viewer} viewer */
  constructor(viewer) {
    this.viewer = viewer;
  }

  /** @param {View} view @param {Box | null} box what is to be seen; null: the place of the sensor
   * @param {Vec3[]} places in it */
  show(view, box, places) {
    const { camera, controls } = this.viewer;
    const { min, max } = box ?? { min: [-10, -10, -2], max: [10, 10, 2] };
    const target = new Vector3(...min).add(new Vector3(...max)).multiplyScalar(0.5);
    const way = DIRECTIONS[view];
    const direction = (way ? new Vector3(...way) : camera.position.clone().sub(controls.target)).normalize();
    controls.target.copy(target);
    const radius = new Vector3(...max).distanceTo(target);
    camera.position
      .copy(target)
      .addScaledVector(direction, FIRST_DISTANCE * Math.max(LEAST_DISTANCE, radius));
    controls.update();
    this.#frame(places, direction);
    this.viewer.ask();
  }

  /** Moves camera and target until nearly all of the places fill the picture.
   * @param {Vec3[]} places @param {Vector3} direction to the camera */
  #frame(places, direction) {
    const { camera, controls } = this.viewer;
    camera.updateMatrix();
    const right = new Vector3().setFromMatrixColumn(camera.matrix, 0);
    const up = new Vector3().setFromMatrixColumn(camera.matrix, 1);
    const tangent = Math.tan((camera.fov * Math.PI) / 360) * FILLED_SHARE;
    const at = new Vector3();
    for (let round = 0; round < FIT_ROUNDS; ++round) {
      const relative = places.map((place) => {
        at.set(...place).sub(controls.target);
        return { x: at.dot(right) / camera.aspect / tangent, y: at.dot(up) / tangent, z: at.dot(direction) };
      });
      const distance = Math.max(
        LEAST_DISTANCE,
        quantile(
          relative.map(({ x, y, z }) => z + Math.max(Math.abs(x), Math.abs(y))),
          1 - OUTER_SHARE,
        ),
      );
      camera.position.copy(controls.target).addScaledVector(direction, distance);
      const seen = relative.filter(({ z }) => z < distance);
      const across = middle(seen.map(({ x, z }) => x / (distance - z))) * distance * camera.aspect * tangent;
      const upward = middle(seen.map(({ y, z }) => y / (distance - z))) * distance * tangent;
      if (round + 1 === FIT_ROUNDS) break;
      controls.target.addScaledVector(right, across).addScaledVector(up, upward);
    }
    controls.update();
  }

  /** Turns the camera around what it looks at. @param {number} right [rad] @param {number} up [rad] */
  orbit(right, up) {
    const { camera, controls } = this.viewer;
    const off = camera.position.clone().sub(controls.target);
    const turned = new Spherical().setFromVector3(new Vector3(off.x, off.z, -off.y)); // its polar axis is y
    turned.theta -= right;
    turned.phi = Math.min(Math.PI - 1e-3, Math.max(1e-3, turned.phi - up));
    const moved = new Vector3().setFromSpherical(turned);
    camera.position.copy(controls.target).add(new Vector3(moved.x, -moved.z, moved.y));
    controls.update();
    this.viewer.ask();
  }

  /**
   * Moves the camera sideways.
   * @param {number} right
   * @param {number} up shares of the distance to what it looks at
   */
  pan(right, up) {
    const { camera, controls } = this.viewer;
    const distance = camera.position.distanceTo(controls.target);
    camera.updateMatrix();
    const across = new Vector3().setFromMatrixColumn(camera.matrix, 0).multiplyScalar(right * distance);
    across.addScaledVector(new Vector3().setFromMatrixColumn(camera.matrix, 1), up * distance);
    camera.position.add(across);
    controls.target.add(across);
    controls.update();
    this.viewer.ask();
  }

  /** @param {number} factor on the distance to what the camera looks at */
  zoom(factor) {
    const { camera, controls } = this.viewer;
    camera.position.sub(controls.target).multiplyScalar(factor).add(controls.target);
    controls.update();
    this.viewer.ask();
  }
}
