// SPDX-License-Identifier: Apache-2.0
// A frame as the server sends it: a magic word, a JSON header, and the arrays of the points.

/** @import { ArrayType, FieldArray, Frame, SensorSlice } from '../types' */

export const FRAME_MAGIC = 0x3146564f; // the letters "OVF1", little-endian
const HEADER_START = 8; // [bytes]
const ALIGNMENT = 8; // [bytes] of each array

export const ARRAY_TYPES = Object.freeze({
  u8: Uint8Array,
  u16: Uint16Array,
  u32: Uint32Array,
  i32: Int32Array,
  f32: Float32Array,
  f64: Float64Array,
});

/** What is wrong with a message, in words for the person before the screen. */
export class MessageFault extends Error {}

/** @type {(right: unknown, words: string) => asserts right} */
export function need(right, words) {
  if (!right) throw new MessageFault(words);
}

/** @param {unknown} value @returns {value is number} */
const isCount = (value) => Number.isSafeInteger(value) && /** @type {number} */ (value) >= 0;

/** @param {unknown} value @returns {value is number} */
const isCountOrAbsent = (value) => value === undefined || isCount(value);

/** @param {ArrayBuffer} buffer @returns {{ json: any, end: number }} the header, and where it ends */
function readHeader(buffer) {
  need(buffer.byteLength >= HEADER_START, 'a frame of fewer than 8 bytes');
  const words = new DataView(buffer);
  need(words.getUint32(0, true) === FRAME_MAGIC, 'a frame that begins with other bytes than OVF1');
  const end = HEADER_START + words.getUint32(4, true);
  need(end % ALIGNMENT === 0 && end <= buffer.byteLength, 'a frame whose header does not fit into it');
  try {
    const text = new TextDecoder('utf-8', { fatal: true }).decode(
      new Uint8Array(buffer, HEADER_START, end - HEADER_START),
    );
    return { json: JSON.parse(text), end };
  } catch {
    throw new MessageFault('a frame whose header is no JSON');
  }
}

/** @param {any} list @param {number} points @returns {SensorSlice[]} */
function readSensors(list, points) {
  need(Array.isArray(list), 'a frame without a list of sensors');
  let first = 0;
  const sensors = list.map((of) => {
    need(of && isCount(of.points) && isCountOrAbsent(of.entry), 'a frame with a sensor without points');
    const slice = { first, points: of.points, entry: of.entry, time: Number(of.time) || 0 };
    first += of.points;
    return slice;
  });
  need(first === points, 'a frame whose sensors have not as many points as it');
  return sensors;
}

/**
 * @param {ArrayBuffer} buffer @param {any} of @param {number} points @param {number} start of the arrays
 * @returns {FieldArray}
 */
function readArray(buffer, of, points, start) {
  need(of && typeof of.name === 'string', 'a frame with an array without a name');
  const type = /** @type {ArrayType} */ (of.type);
  need(Object.hasOwn(ARRAY_TYPES, type), 'a frame with an array of an unknown type');
  need(isCount(of.count) && of.count > 0, 'a frame with an array of no numbers a point');
  const Type = ARRAY_TYPES[type];
  const numbers = points * of.count;
  need(
    isCount(of.offset) &&
      of.offset >= start &&
      of.offset % ALIGNMENT === 0 &&
      of.offset + numbers * Type.BYTES_PER_ELEMENT <= buffer.byteLength,
    `a frame too short for its ${of.name.slice(0, 40)}`,
  );
  return { type, count: of.count, data: new Type(buffer, of.offset, numbers) };
}

/**
 * Reads a binary message. The arrays are views on it: nothing is copied.
 * @param {ArrayBuffer} buffer @param {number} receivedAt [ms]
 * @returns {Frame}
 * @throws {MessageFault} when it is damaged
 */
export function parseFrame(buffer, receivedAt = 0) {
  const { json, end } = readHeader(buffer);
  need(json && isCount(json.frame) && isCount(json.points), 'a frame without a number or points');
  need(isCountOrAbsent(json.entry) && Array.isArray(json.arrays), 'a frame without arrays');
  const sensors = readSensors(json.sensors, json.points);
  /** @type {Map<string, FieldArray>} */
  const fields = new Map(
    json.arrays.map((/** @type {any} */ of) => [of?.name, readArray(buffer, of, json.points, end)]),
  );
  const xyz = fields.get('xyz');
  need(xyz && xyz.type === 'f32' && xyz.count === 3, 'a frame without positions');
  fields.delete('xyz');
  return {
    number: json.frame,
    skipped: Number(json.skipped) || 0,
    entry: json.entry,
    time: Number(json.time) || 0,
    ageMs: typeof json.age_ms === 'number' ? json.age_ms : undefined,
    sentAt: typeof json.sent === 'number' ? json.sent * 1000 : undefined,
    points: json.points,
    sensors,
    xyz: /** @type {Float32Array<ArrayBuffer>} */ (xyz.data),
    fields,
    receivedAt,
  };
}
