// SPDX-License-Identifier: Apache-2.0
// Tells when the graphics processor has drawn what was asked of it: only then is a frame on the screen.

const POLL_MS = 2;
const LONGEST_MS = 5000; // a context that is lost meanwhile answers nothing

/** @param {WebGL2RenderingContext} gl @param {() => void} drawn */
export function whenDrawn(gl, drawn) {
  const fence = gl.fenceSync(gl.SYNC_GPU_COMMANDS_COMPLETE, 0);
  gl.flush();
  const started = performance.now();
  const poll = () => {
    const done =
      fence === null || gl.isContextLost() || gl.getSyncParameter(fence, gl.SYNC_STATUS) === gl.SIGNALED;
    if (!done && performance.now() - started < LONGEST_MS) {
      setTimeout(poll, POLL_MS);
      return;
    }
    if (fence !== null) gl.deleteSync(fence);
    drawn();
  };
  setTimeout(poll, 0);
}
