// SPDX-License-Identifier: Apache-2.0
// Tells when the graphics processor has drawn what was asked of it: only then is a frame on the screen.

const POLL_MS = 2;
const LONGEST_MS = 5000; // a context that is lost meanwhile answers nothing

/** @typedef {{ fence: WebGLSync | null, started: number, drawn: () => void }} Waiting */

export class DrawnFences {
  /** @param {WebGL2RenderingContext} gl */
  constructor(gl) {
    this.gl = gl;
    /** @type {Waiting[]} */
    this.waiting = []; // the oldest first
    this.polling = false;
  }

  /** Calls back when all that was asked until now is drawn: in the order of these calls.
   * @param {() => void} drawn */
  after(drawn) {
    const fence = this.gl.fenceSync(this.gl.SYNC_GPU_COMMANDS_COMPLETE, 0);
    this.gl.flush();
    this.waiting.push({ fence, started: performance.now(), drawn });
    if (!this.polling) this.#pollIn(0);
  }

  /** @param {number} ms */
  #pollIn(ms) {
    this.polling = true;
    setTimeout(() => this.#poll(), ms);
  }

  #poll() {
    const undone = this.waiting.findIndex((of) => !this.#isDone(of));
    const done = this.waiting.splice(0, undone < 0 ? this.waiting.length : undone);
    this.polling = false;
    if (this.waiting.length > 0) this.#pollIn(POLL_MS);
    for (const { fence, drawn } of done) {
      this.gl.deleteSync(fence);
      drawn();
    }
  }

  /** @param {Waiting} of */
  #isDone({ fence, started }) {
    const { gl } = this;
    if (fence === null || gl.isContextLost()) return true;
    if (gl.getSyncParameter(fence, gl.SYNC_STATUS) === gl.SIGNALED) return true;
    return performance.now() - started >= LONGEST_MS;
  }
}
