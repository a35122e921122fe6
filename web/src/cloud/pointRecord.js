// SPDX-License-Identifier: Apache-2.0
// Every field of a point, exactly as it was sent.

import { originOf, sensorOfPoint } from './nullPoints.js';

/** @import { FieldArray, Frame, Hello, PickedPoint, ReadField } from '../types' */

/** The shortest decimal number that is this 32-bit number. @param {number} value */
export function shortest32(value) {
  for (let digits = 6; digits < 9; ++digits) {
    const text = Number(value.toPrecision(digits));
    if (Math.fround(text) === value) return String(text);
  }
  return String(Number(value.toPrecision(9)));
}

/**
 * @param {string} name
 * @param {string} unit
 * @param {FieldArray} field
 * @param {number} i
 * @returns {ReadField}
 */
function readField(name, unit, { type, count, data }, i) {
  const numbers = Array.from(data.subarray(i * count, (i + 1) * count));
  const text = numbers.map(type === 'f32' ? shortest32 : String).join(' ');
  return { name, unit, value: count === 1 ? numbers[0] : numbers, text };
}

/** @param {Frame} frame @param {Hello} hello @param {number} i @returns {ReadField[]} */
function derivedFields(frame, hello, i) {
  const s = sensorOfPoint(frame, i);
  const [x, y, z] = originOf(hello.sensors, s);
  const range = Math.hypot(frame.xyz[3 * i] - x, frame.xyz[3 * i + 1] - y, frame.xyz[3 * i + 2] - z);
  const name = hello.sensors[s]?.name ?? '';
  return [
    { name: 'range', unit: 'm', value: range, text: range.toFixed(3) },
    { name: 'sensor', unit: '', value: name, text: hello.sensors.length > 1 ? `${s}: ${name}` : name },
    { name: 'index', unit: '', value: i, text: String(i) },
  ];
}

/** @param {Frame} frame @param {Hello} hello @param {number} i @returns {PickedPoint} */
export function readPoint(frame, hello, i) {
  const unitOf = (/** @type {string} */ name) =>
    hello.fields.find((field) => field.name === name)?.unit ?? '';
  const [x, y, z] = frame.xyz.subarray(3 * i, 3 * i + 3);
  const position = [x, y, z].map((value, axis) => ({
    name: 'xyz'[axis],
    unit: unitOf('xyz'[axis]) || 'm',
    value,
    text: shortest32(value),
  }));
  const others = [...frame.fields].map(([name, field]) => readField(name, unitOf(name), field, i));
  return {
    index: i,
    frame: frame.number,
    entry: frame.entry,
    sensor: sensorOfPoint(frame, i),
    position: [x, y, z],
    fields: [...position, ...others, ...derivedFields(frame, hello, i)],
  };
}
