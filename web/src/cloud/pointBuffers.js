// SPDX-License-Identifier: Apache-2.0
// The graphics memory of one number array of the points. It is kept from frame to frame and grows when it must.

import { GLBufferAttribute } from 'three';

/** @import { NumberArray } from '../types' */

const GROWTH = 1.25; // room for somewhat more points than the first frame has

/** @param {WebGL2RenderingContext} gl @param {NumberArray} data */
function elementType(gl, data) {
  if (data instanceof Float32Array) return gl.FLOAT;
  if (data instanceof Uint8Array) return gl.UNSIGNED_BYTE;
  if (data instanceof Uint16Array) return gl.UNSIGNED_SHORT;
  return data instanceof Int32Array ? gl.INT : gl.UNSIGNED_INT;
}

export class PointBuffer {
  /** @param {WebGL2RenderingContext} gl @param {number} numbers a point */
  constructor(gl, numbers) {
    this.gl = gl;
    this.numbers = numbers;
    this.buffer = gl.createBuffer();
    this.capacity = 0; // [bytes]
    this.attribute = new GLBufferAttribute(this.buffer, gl.FLOAT, numbers, 4, 0);
  }

  /** Copies a view on a message into graphics memory, as it is. @param {NumberArray} data not f64 */
  fill(data) {
    const { gl } = this;
    gl.bindBuffer(gl.ARRAY_BUFFER, this.buffer);
    if (data.byteLength > this.capacity) {
      this.capacity = Math.ceil((data.byteLength * GROWTH) / 4) * 4;
      gl.bufferData(gl.ARRAY_BUFFER, this.capacity, gl.DYNAMIC_DRAW);
    }
    gl.bufferSubData(gl.ARRAY_BUFFER, 0, data);
    gl.bindBuffer(gl.ARRAY_BUFFER, null);
    const type = elementType(gl, data);
    if (type === this.attribute.type) this.attribute.setCount(data.length / this.numbers);
    else {
      // A new object, by which the renderer sees that the layout is another.
      this.attribute = new GLBufferAttribute(
        this.buffer,
        type,
        this.numbers,
        /** @type {1 | 2 | 4} */ (data.BYTES_PER_ELEMENT),
        data.length / this.numbers,
      );
    }
  }
}
