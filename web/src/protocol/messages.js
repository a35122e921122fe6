// SPDX-License-Identifier: Apache-2.0
// The text messages of the server, checked: what comes out has every member that the page reads.

import { MessageFault, need } from './frame.js';

/** @import { Message, Hello, Player, Ledger, Imu, End, Notice, Sensor, Tone } from '../types' */

const IDENTITY = [1, 0, 0, 0, 1, 0, 0, 0, 1];
const IMU_NUMBERS = 7; // time, turn rates, accelerations
const MOST_SAMPLES = 10000; // of one message
const MOST_SENSORS = 256; // each is drawn and listed by itself

/** @param {any} value */
const text = (value) => (typeof value === 'string' ? value : '');

/** @param {any} value @returns {any[]} */
const list = (value) => (Array.isArray(value) ? value : []);

/** @param {any} value @param {number} length */
const areNumbers = (value, length) =>
  Array.isArray(value) && value.length === length && value.every(Number.isFinite);

/** @param {any} value @returns {number | undefined} */
const size = (value) => (Number.isSafeInteger(value) && value > 0 && value <= 65536 ? value : undefined);

/** @param {any} value @returns {Tone} */
const tone = (value) => (value === 'good' || value === 'bad' ? value : 'plain');

/** @param {any} of @returns {Sensor} */
function readSensor(of) {
  return {
    name: text(of?.name),
    model: text(of?.model),
    rows: size(of?.rows),
    columns: size(of?.columns),
    origin: areNumbers(of?.origin, 3) ? of.origin : [0, 0, 0],
    rotation: areNumbers(of?.rotation, 9) ? of.rotation : IDENTITY,
  };
}

/** @param {any} json @returns {Hello} */
function readHello(json) {
  need(json.source === 'live' || json.source === 'capture', 'a hello of neither a capture nor a live source');
  need(Array.isArray(json.sensors) && json.sensors.length > 0, 'a hello without sensors');
  need(json.sensors.length <= MOST_SENSORS, `a hello of more than ${MOST_SENSORS} sensors`);
  return {
    type: 'hello',
    program: text(json.program),
    source: json.source,
    title: text(json.title),
    point: text(json.point),
    fields: list(json.fields).map((of) => ({ name: text(of?.name), unit: text(of?.unit) })),
    sensors: json.sensors.map(readSensor),
    entries: size(json.entries),
  };
}

/** @param {any} json @returns {Player} */
function readPlayer(json) {
  need(Number.isSafeInteger(json.entry) && Number.isSafeInteger(json.entries), 'a player without an entry');
  return {
    type: 'player',
    playing: json.playing === true,
    entry: json.entry,
    entries: json.entries,
    speed: Number(json.speed) || 1,
    loop: json.loop === true,
  };
}

/** @param {any} json @returns {Ledger} */
function readLedger(json) {
  return {
    type: 'ledger',
    groups: list(json.groups).map((group) => ({
      title: text(group?.title),
      rows: list(group?.rows).map((row) => ({
        label: text(row?.label),
        text: text(row?.text),
        tone: tone(row?.tone),
      })),
    })),
    notices: list(json.notices).map(
      (of) => /** @type {Notice} */ ({ tone: tone(of?.tone), text: text(of?.text) }),
    ),
  };
}

/** @param {any} json @returns {Imu} */
function readImu(json) {
  return {
    type: 'imu',
    sensor: Number(json.sensor) || 0,
    samples: list(json.samples)
      .slice(-MOST_SAMPLES)
      .filter((sample) => areNumbers(sample, IMU_NUMBERS)),
  };
}

/** @param {any} json @returns {End} */
const readEnd = (json) => ({ type: 'end', text: text(json.text) });

/** @type {Record<string, (json: any) => Message>} */
const READERS = { hello: readHello, player: readPlayer, ledger: readLedger, imu: readImu, end: readEnd };

/**
 * Reads a text message; null for one of a type that this page does not know.
 * @param {string} message
 * @returns {Message | null}
 * @throws {MessageFault} when it is damaged
 */
export function parseMessage(message) {
  let json;
  try {
    json = JSON.parse(message);
  } catch {
    throw new MessageFault('a text message that is no JSON');
  }
  need(json && typeof json.type === 'string', 'a text message without a type');
  return Object.hasOwn(READERS, json.type) ? READERS[json.type](json) : null;
}
