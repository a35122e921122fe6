// SPDX-License-Identifier: Apache-2.0
// Colour maps, worked out in the Oklab colour space so that equal steps of a value look equally far apart.

export const SHADES = 256;
const CHROMA_STEPS = 12; // halvings, to less than one step of a screen

/** @typedef {{ lightness: number, chroma: number, hue: number }} Shade hue in degrees */

/** @param {number} linear light, 0 to 1 @returns {number} 0 to 255 */
function encoded(linear) {
  const light = Math.min(1, Math.max(0, linear));
  return Math.round(255 * (light <= 0.0031308 ? 12.92 * light : 1.055 * light ** (1 / 2.4) - 0.055));
}

/**
 * @param {Shade} shade
 * @returns {number[]} linear red, green, blue; outside of 0 to 1 when no screen can show it
 */
function linearOf({ lightness, chroma, hue }) {
  const a = chroma * Math.cos((hue * Math.PI) / 180);
  const b = chroma * Math.sin((hue * Math.PI) / 180);
  const l = (lightness + 0.3963377774 * a + 0.2158037573 * b) ** 3;
  const m = (lightness - 0.1055613458 * a - 0.0638541728 * b) ** 3;
  const s = (lightness - 0.0894841775 * a - 1.291485548 * b) ** 3;
  return [
    4.0767416621 * l - 3.3077115913 * m + 0.2309699292 * s,
    -1.2684380046 * l + 2.6097574011 * m - 0.3413193965 * s,
    -0.0041960863 * l - 0.7034186147 * m + 1.707614701 * s,
  ];
}

/** @param {Shade} shade */
const canBeShown = (shade) => linearOf(shade).every((light) => light >= -1e-4 && light <= 1.0001);

/**
 * The shade, as little paler as a screen needs to show it.
 * @param {Shade} shade
 * @returns {number[]} red, green, blue, 0 to 255
 */
export function screenColour(shade) {
  if (canBeShown(shade)) return linearOf(shade).map(encoded);
  let shown = 0;
  let beyond = shade.chroma;
  for (let step = 0; step < CHROMA_STEPS; ++step) {
    const chroma = (shown + beyond) / 2;
    if (canBeShown({ ...shade, chroma })) shown = chroma;
    else beyond = chroma;
  }
  return linearOf({ ...shade, chroma: shown }).map(encoded);
}

/**
 * @param {(t: number) => Shade} shadeAt
 * @returns {Uint8Array<ArrayBuffer>} red, green, blue, opacity of each shade
 */
function makeMap(shadeAt) {
  const map = new Uint8Array(SHADES * 4);
  for (let i = 0; i < SHADES; ++i) map.set([...screenColour(shadeAt(i / (SHADES - 1))), 255], i * 4);
  return map;
}

/** From dark violet over teal to yellow: lightness rises evenly, so that it reads in grey as well. */
const dusk = makeMap((t) => ({ lightness: 0.39 + 0.53 * t, chroma: 0.15, hue: 295 - 190 * t }));
/** All hues from blue to red: the most steps that can be told apart, lightest in the middle. */
const spectrum = makeMap((t) => ({
  lightness: 0.52 + 0.33 * Math.sin(Math.PI * (0.08 + 0.84 * t)),
  chroma: 0.19,
  hue: 272 - 246 * t,
}));
/** From purple over orange to a pale yellow, like glowing iron. */
const ember = makeMap((t) => ({
  lightness: 0.33 + 0.6 * t,
  chroma: 0.08 + 0.11 * Math.sin(Math.PI * (0.15 + 0.7 * t)),
  hue: 305 + 150 * t,
}));
const grey = makeMap((t) => ({ lightness: 0.28 + 0.7 * t, chroma: 0, hue: 0 }));

/** @type {Readonly<Record<string, Uint8Array<ArrayBuffer>>>} */
export const COLOUR_MAPS = Object.freeze({ dusk, spectrum, ember, grey });

/** The shade of a value between the limits. @param {number} value @param {number} lo @param {number} hi */
export function shadeOf(value, lo, hi) {
  const t = hi > lo ? (value - lo) / (hi - lo) : 0.5;
  return Math.floor(Math.min(1, Math.max(0, t)) * (SHADES - 1) + 0.5) || 0;
}

/**
 * A colour for the sensor `index`: neighbours differ in hue and lightness.
 * @param {number} index
 * @returns {number[]}
 */
export const sensorColour = (index) =>
  screenColour({ lightness: index % 2 ? 0.78 : 0.66, chroma: 0.16, hue: (230 + 137.5 * index) % 360 });
