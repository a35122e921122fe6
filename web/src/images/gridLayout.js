// SPDX-License-Identifier: Apache-2.0
// Which point of a sensor belongs into which cell of an image of rows and columns, as seen from the sensor:
// left is left, up is up.

import { isNullPoint } from '../cloud/nullPoints.js';
import { spreadStep } from '../cloud/spread.js';

/** @import { Frame, Sensor, SensorSlice } from '../types' */

const COLUMNS_WITHOUT_GRID = 512;
const MOST_CELLS = 4e6; // beyond it the numbers are no rows and columns
const DIRECTIONS_LOOKED_AT = 2000;

/**
 * @typedef {object} GridLayout
 * @property {number} rows @property {number} columns
 * @property {Int32Array} cells index of the point, -1 without one
 * @property {number} aspect width over height of what the sensor sees
 */

/** A place in the cloud in the axes of the sensor. @param {ArrayLike<number>} xyz @param {number} i @param {Sensor} sensor
 * @returns {[number, number, number]} */
export function inSensorAxes(xyz, i, { origin, rotation: r }) {
  const x = xyz[3 * i] - origin[0];
  const y = xyz[3 * i + 1] - origin[1];
  const z = xyz[3 * i + 2] - origin[2];
  return [r[0] * x + r[3] * y + r[6] * z, r[1] * x + r[4] * y + r[7] * z, r[2] * x + r[5] * y + r[8] * z];
}

/**
 * @typedef {{ azimuth: number, elevation: number, i: number }} Direction [rad] of the point `i` in the
 *   sensor's axes
 */

/** Directions of some of a sensor's points. @param {Frame} frame @param {Sensor} sensor @param {SensorSlice} slice
 * @returns {Direction[]} */
function someDirections(frame, sensor, { first, points }) {
  const step = spreadStep(points, DIRECTIONS_LOOKED_AT);
  const directions = [];
  for (let i = first; i < first + points; i += step) {
    if (isNullPoint(frame.xyz, i, sensor.origin)) continue;
    const [x, y, z] = inSensorAxes(frame.xyz, i, sensor);
    directions.push({ azimuth: Math.atan2(y, x), elevation: Math.atan2(z, Math.hypot(x, y)), i });
  }
  return directions;
}

/** Whether the number of a row or column rises with the angle. @param {Direction[]} directions
 * @param {'azimuth' | 'elevation'} angle @param {ArrayLike<number>} numbers */
function risesWith(directions, angle, numbers) {
  let sumNumber = 0,
    sumAngle = 0,
    sumBoth = 0;
  for (const of of directions) {
    sumNumber += numbers[of.i];
    sumAngle += of[angle];
    sumBoth += numbers[of.i] * of[angle];
  }
  return sumBoth * directions.length - sumNumber * sumAngle > 0;
}

/** Width over height of what the sensor sees. @param {Direction[]} directions */
function aspectOf(directions) {
  const span = (/** @type {'azimuth' | 'elevation'} */ angle) => {
    const most = directions.reduce((limit, of) => Math.max(limit, of[angle]), -Infinity);
    return most - directions.reduce((limit, of) => Math.min(limit, of[angle]), Infinity);
  };
  const aspect = span('azimuth') / span('elevation');
  return aspect > 0 && Number.isFinite(aspect) ? aspect : 1;
}

/** @param {ArrayLike<number>} values @param {SensorSlice} slice */
function largest(values, { first, points }) {
  let most = 0;
  for (let i = first; i < first + points; ++i) if (values[i] > most) most = values[i];
  return most;
}

/** Columns by azimuth, left first, over the azimuths that occur. @param {Frame} frame @param {Sensor} sensor
 * @param {SensorSlice} slice @param {number} columns @returns {(i: number) => number} -1 for a point without a direction */
function columnsByAzimuth(frame, sensor, { first, points }, columns) {
  const azimuths = new Float32Array(points);
  let least = Infinity,
    most = -Infinity;
  for (let i = 0; i < points; ++i) {
    const [x, y] = inSensorAxes(frame.xyz, first + i, sensor);
    azimuths[i] = isNullPoint(frame.xyz, first + i, sensor.origin) ? NaN : Math.atan2(y, x);
    if (azimuths[i] < least) least = azimuths[i];
    if (azimuths[i] > most) most = azimuths[i];
  }
  const scale = most > least ? (columns - 1) / (most - least) : 0;
  return (i) => {
    const column = Math.round((most - azimuths[i - first]) * scale);
    return column >= 0 ? column : -1;
  };
}

/** Columns by the number that each point carries. @param {ArrayLike<number>} numbers @param {number} columns
 * @param {boolean} toLeft whether they count to the left @returns {(i: number) => number} */
const columnsByNumber = (numbers, columns, toLeft) =>
  toLeft ? (i) => columns - 1 - numbers[i] : (i) => numbers[i];

/**
 * @param {Frame} frame @param {Sensor} sensor @param {SensorSlice} slice the points of this sensor
 * @returns {GridLayout | null} null when the points carry no rings that make a grid
 */
export function layOut(frame, sensor, slice) {
  const rings = frame.fields.get('ring')?.data;
  if (!rings || slice.points === 0) return null;
  const numbers = frame.fields.get('column')?.data;
  const rows = sensor.rows ?? largest(rings, slice) + 1;
  const columns = sensor.columns ?? (numbers ? largest(numbers, slice) + 1 : COLUMNS_WITHOUT_GRID);
  if (rows * columns > MOST_CELLS) return null;
  const directions = someDirections(frame, sensor, slice);
  const toTop = risesWith(directions, 'elevation', rings);
  const columnOf = numbers
    ? columnsByNumber(numbers, columns, risesWith(directions, 'azimuth', numbers))
    : columnsByAzimuth(frame, sensor, slice, columns);
  const cells = new Int32Array(rows * columns).fill(-1);
  for (let i = slice.first; i < slice.first + slice.points; ++i) {
    const row = toTop ? rows - 1 - rings[i] : rings[i];
    const column = columnOf(i);
    if (row >= 0 && row < rows && column >= 0 && column < columns) cells[row * columns + column] = i;
  }
  return { rows, columns, cells, aspect: aspectOf(directions) };
}
