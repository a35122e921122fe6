// SPDX-License-Identifier: Apache-2.0
// How a point is drawn: its colour is looked up by one value, a field of its record or made from its position.

import { GLSL3, ShaderMaterial, Vector3 } from 'three';
import { NULL_RADIUS } from './nullPoints.js';
import { SHADES } from './colourMaps.js';

/** @import { IUniform } from 'three' */

const ROUND_FROM = 4; // [pixels] smaller points are squares: nobody sees the corners, and it costs less

const VERTEX = /* glsl */ `
#ifdef SCALAR
in SCALAR scalar;
#endif
uniform vec2 uLimits;      // the lower one, and one over the span
uniform highp sampler2D uMap;
uniform vec3 uOrigin;      // [m] of the sensor
uniform vec3 uTint;        // of the sensor
uniform float uSize;       // [pixels]
uniform bool uHideNull;
flat out vec3 vColour;

vec3 colourOf(float value) {
  float t = clamp((value - uLimits.x) * uLimits.y, 0.0, 1.0);
  return texelFetch(uMap, ivec2(int(t * ${(SHADES - 1).toFixed(1)} + 0.5), 0), 0).rgb;
}

void main() {
  vec3 beam = position - uOrigin;
  bool isNull = position == vec3(0.0) || dot(beam, beam) < ${(NULL_RADIUS * NULL_RADIUS).toExponential(1)};
  gl_PointSize = uSize;
  if (uHideNull && isNull) {
    gl_Position = vec4(0.0, 0.0, 2.0, 1.0);  // behind the far plane: clipped
    vColour = vec3(0.0);
    return;
  }
  gl_Position = projectionMatrix * (modelViewMatrix * vec4(position, 1.0));
#if defined(SCALAR)
  vColour = colourOf(float(scalar));
#elif defined(BY_RANGE)
  vColour = colourOf(length(beam));
#elif defined(BY_HEIGHT)
  vColour = colourOf(position.z);
#else
  vColour = uTint;
#endif
}`;

const FRAGMENT = /* glsl */ `
flat in vec3 vColour;
out vec4 colour;
void main() {
#ifdef ROUND
  vec2 off = gl_PointCoord - 0.5;
  if (dot(off, off) > 0.25) discard;
#endif
  colour = vec4(vColour, 1.0);
}`;

/**
 * @param {import('../types').ColourMode} mode
 * @param {number} size
 * @param {string} scalarType of the shader
 */
function definesOf(mode, size, scalarType) {
  /** @type {Record<string, string>} */
  const defines = size >= ROUND_FROM ? { ROUND: '' } : {};
  if (mode.kind === 'field') defines.SCALAR = scalarType;
  if (mode.kind === 'range') defines.BY_RANGE = '';
  if (mode.kind === 'height') defines.BY_HEIGHT = '';
  return defines;
}

/** The material of one sensor's points. */
export class CloudMaterial extends ShaderMaterial {
  /** @param {Record<string, IUniform>} shared uniforms of all sensors @param {import('../types').Vec3} origin
   * @param {number[]} tint red, green, blue, 0 to 255 */
  constructor(shared, origin, tint) {
    super({
      glslVersion: GLSL3,
      vertexShader: VERTEX,
      fragmentShader: FRAGMENT,
      uniforms: {
        ...shared,
        uOrigin: { value: new Vector3(...origin) },
        uTint: { value: new Vector3(...tint).divideScalar(255) },
      },
    });
  }

  way = ''; // that the program was made for

  /**
   * @param {import('../types').ColourMode} mode
   * @param {number} size [pixels]
   * @param {'float' | 'int' | 'uint'} scalarType
   */
  setWay(mode, size, scalarType) {
    const defines = definesOf(mode, size, scalarType);
    const text = JSON.stringify(defines);
    if (text === this.way) return;
    this.way = text;
    this.defines = defines;
    this.needsUpdate = true;
  }
}
