// SPDX-License-Identifier: Apache-2.0
// What the points can be coloured by, and the value of one point.

import { originOf, sensorOfPoint } from './nullPoints.js';

/** @import { ColourMode, Frame, Hello, Sensor } from '../types' */

export const TIME_FIELD = 'timestamp';

/** @type {ColourMode[]} */
const FROM_POSITION = [
  { key: 'range', label: 'Range', unit: 'm', kind: 'range' },
  { key: 'height', label: 'Height', unit: 'm', kind: 'height' },
];
/** @type {ColourMode} */
const BY_SENSOR = { key: 'sensor', label: 'Sensor', unit: '', kind: 'sensor' };

const FIRST_FIELDS = ['intensity', 'ring'];

/** @param {{ name: string, unit: string }} field @returns {ColourMode} */
const fieldMode = ({ name, unit }) => ({
  key: name === TIME_FIELD ? 'time' : name,
  label:
    name === TIME_FIELD ? 'Time in the frame' : name[0].toUpperCase() + name.slice(1).replaceAll('_', ' '),
  unit,
  kind: 'field',
  field: name,
});

/**
 * All modes of a source: intensity and ring, what follows from the position, time, sensor, then the other fields.
 * @param {Hello} hello @param {Frame | null} frame its arrays of several numbers a point have no single colour
 * @returns {ColourMode[]}
 */
export function colourModes(hello, frame) {
  const single = hello.fields.filter(
    ({ name }) =>
      name !== '' && !['x', 'y', 'z', 'xyz'].includes(name) && (frame?.fields.get(name)?.count ?? 1) === 1,
  );
  const named = (/** @type {string[]} */ names) =>
    single.filter(({ name }) => names.includes(name)).map(fieldMode);
  const others = single.filter(({ name }) => ![...FIRST_FIELDS, TIME_FIELD].includes(name)).map(fieldMode);
  return [...named(FIRST_FIELDS), ...FROM_POSITION, ...named([TIME_FIELD]), BY_SENSOR, ...others];
}

/**
 * The earliest time of the points, from which times in the frame are counted.
 * @param {ArrayLike<number>} times [s]
 */
export function earliest(times) {
  let first = Infinity;
  for (let i = 0; i < times.length; ++i) if (times[i] > 0 && times[i] < first) first = times[i];
  return first === Infinity ? 0 : first;
}

/**
 * A function that gives the value of a point, as the shader sees it.
 * @param {ColourMode} mode @param {Frame} frame @param {readonly Sensor[]} sensors
 * @returns {(i: number) => number}
 */
export function valueReader(mode, frame, sensors) {
  const { xyz } = frame;
  if (mode.kind === 'height') return (i) => xyz[3 * i + 2];
  if (mode.kind === 'sensor') return (i) => sensorOfPoint(frame, i);
  if (mode.kind === 'range') {
    return (i) => {
      const [x, y, z] = originOf(sensors, sensorOfPoint(frame, i));
      return Math.hypot(xyz[3 * i] - x, xyz[3 * i + 1] - y, xyz[3 * i + 2] - z);
    };
  }
  const data = frame.fields.get(mode.field ?? '')?.data;
  if (data === undefined) return () => 0;
  if (mode.field !== TIME_FIELD) return (i) => data[i];
  const first = earliest(data);
  return (i) => data[i] - first;
}
