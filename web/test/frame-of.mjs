// SPDX-License-Identifier: Apache-2.0
// Frames of few points, written down by hand.

export const SENSOR = {
  name: 'front',
  model: 'juniq',
  origin: [0, 0, 0],
  rotation: [1, 0, 0, 0, 1, 0, 0, 0, 1],
};

const field = (data) => ({
  type: { Uint16Array: 'u16', Float64Array: 'f64', Float32Array: 'f32' }[data.constructor.name],
  count: 1,
  data,
});

/** A frame of these places, all of one sensor unless told otherwise. */
export function frameOf(places, fields = {}, counts = [places.length]) {
  let first = 0;
  const sensors = counts.map((points) => {
    const slice = { first, points, time: 0 };
    first += points;
    return slice;
  });
  return {
    number: 1,
    skipped: 0,
    time: 0,
    points: places.length,
    sensors,
    xyz: new Float32Array(places.flat()),
    fields: new Map(Object.entries(fields).map(([name, data]) => [name, field(data)])),
    receivedAt: 0,
  };
}
