// SPDX-License-Identifier: Apache-2.0
// Short ways to the elements of the page.

/**
 * The element with this id, which the page has.
 * @template {HTMLElement} [T=HTMLElement]
 * @param {string} id @param {new () => T} [type]
 * @returns {T}
 */
export function byId(id, type) {
  const found = document.getElementById(id);
  if (!found || (type && !(found instanceof type))) throw new Error(`the page has no ${id}`);
  return /** @type {T} */ (found);
}

/**
 * @template {keyof HTMLElementTagNameMap} K
 * @param {K} tag @param {Partial<HTMLElementTagNameMap[K]>} properties @param {...(Node | string)} children
 */
export function element(tag, properties, ...children) {
  const made = Object.assign(document.createElement(tag), properties);
  made.append(...children);
  return made;
}

/**
 * Sets a text only when it is another: a text that is set is laid out anew.
 * @param {HTMLElement} at
 * @param {string} text
 */
export function setText(at, text) {
  if (at.textContent !== text) at.textContent = text;
}

/** @param {HTMLElement} at @param {boolean} pressed */
export const setPressed = (at, pressed) => at.setAttribute('aria-pressed', String(pressed));

/**
 * Draws on a small canvas that changes with every frame: by the processor. Where pictures are drawn in software,
 * the way of such a canvas over the graphics processor costs several times as much as the cloud.
 * @param {HTMLCanvasElement} canvas
 */
export function penOf(canvas) {
  const pen = canvas.getContext('2d', { willReadFrequently: true });
  return /** @type {CanvasRenderingContext2D} */ (pen);
}

/** @param {string} name of a colour of the theme */
export const themeColour = (name) => getComputedStyle(document.documentElement).getPropertyValue(name).trim();
