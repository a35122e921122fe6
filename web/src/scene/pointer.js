// SPDX-License-Identifier: Apache-2.0
// Tells a click on the picture from the end of a drag.

const DRAG_PIXELS = 4;

/**
 * @typedef {{ x: number, y: number, shift: boolean }} Click [CSS pixels] from the left and top of the
 *   picture
 */

/**
 * @param {HTMLCanvasElement} canvas @param {(click: Click) => void} clicked @param {(click: Click) => void} doubleClicked
 */
export function listenForClicks(canvas, clicked, doubleClicked) {
  let from = { x: NaN, y: NaN };
  const clickOf = (/** @type {MouseEvent} */ event) => ({
    x: event.offsetX,
    y: event.offsetY,
    shift: event.shiftKey,
  });
  canvas.addEventListener('pointerdown', (event) => {
    from =
      event.isPrimary && event.button === 0 ? { x: event.clientX, y: event.clientY } : { x: NaN, y: NaN };
  });
  canvas.addEventListener('pointerup', (event) => {
    if (Math.hypot(event.clientX - from.x, event.clientY - from.y) <= DRAG_PIXELS) clicked(clickOf(event));
  });
  canvas.addEventListener('dblclick', (event) => doubleClicked(clickOf(event)));
}
