// SPDX-License-Identifier: Apache-2.0
// The shapes that several modules share. Units: metres, seconds, radians, unless a name says otherwise.

export type NumberArray =
  | Uint8Array<ArrayBuffer>
  | Uint16Array<ArrayBuffer>
  | Uint32Array<ArrayBuffer>
  | Int32Array<ArrayBuffer>
  | Float32Array<ArrayBuffer>
  | Float64Array<ArrayBuffer>;

export type ArrayType = 'u8' | 'u16' | 'u32' | 'i32' | 'f32' | 'f64';

/** One field of all points: a view on the message, `count` numbers a point. */
export interface FieldArray {
  type: ArrayType;
  count: number;
  data: NumberArray;
}

/** The points of one sensor in a frame: `points` of them from the index `first` on. */
export interface SensorSlice {
  first: number;
  points: number;
  entry?: number;
  time: number;
}

export interface Frame {
  number: number;
  skipped: number;
  entry?: number;
  time: number; // [s] UTC; 0: unknown
  ageMs?: number; // from the driver's callback to the sending, when live
  sentAt?: number; // [ms] since 1970 by the clock of the program's machine, when live
  points: number;
  sensors: SensorSlice[];
  xyz: Float32Array<ArrayBuffer>;
  fields: Map<string, FieldArray>;
  receivedAt: number; // [ms] of performance.now()
}

export interface Sensor {
  name: string;
  model: string;
  rows?: number;
  columns?: number;
  origin: [number, number, number]; // [m] in the cloud
  rotation: number[]; // row by row: cloud axes = rotation * sensor axes + origin
}

export interface Hello {
  type: 'hello';
  program: string;
  source: 'live' | 'capture';
  title: string;
  point: string;
  fields: { name: string; unit: string }[];
  sensors: Sensor[];
  entries?: number;
}

export interface Player {
  type: 'player';
  playing: boolean;
  entry: number;
  entries: number;
  speed: number;
  loop: boolean;
}

export type Tone = 'plain' | 'good' | 'bad';

export interface Notice {
  tone: Tone;
  text: string;
}

export interface Ledger {
  type: 'ledger';
  groups: { title: string; rows: { label: string; text: string; tone: Tone }[] }[];
  notices: Notice[];
}

export interface Imu {
  type: 'imu';
  sensor: number;
  samples: number[][];
}

export interface End {
  type: 'end';
  text: string;
}

export type Message = Hello | Player | Ledger | Imu | End;

export type ConnectionState = 'connecting' | 'open' | 'lost';

/** What a point is coloured by: a field of its record, or what follows from its position and sensor. */
export interface ColourMode {
  key: string;
  label: string;
  unit: string;
  kind: 'field' | 'range' | 'height' | 'sensor';
  field?: string;
}

export interface Limits {
  lo: number;
  hi: number;
}

export type Vec3 = [number, number, number];

/** One field of a picked point, ready to be read; `value` is exact. */
export interface ReadField {
  name: string;
  unit: string;
  value: number | number[] | string;
  text: string;
}

export interface PickedPoint {
  index: number;
  frame: number;
  entry?: number;
  sensor: number;
  position: Vec3;
  fields: ReadField[];
}
