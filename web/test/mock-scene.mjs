// SPDX-License-Identifier: Apache-2.0
// A hall as sensors see it, worked out by rays: the points that the mock server sends.

export const ROWS = 192;
export const COLUMNS = 256;
export const WALL = { x: 14, intensity: 120 }; // ahead of the sensors: no noise, so that its points are known

const HALF_AZIMUTH = 60; // [deg]
const HALF_ELEVATION = 25; // [deg]
const HALL = { min: [-9, -10, -1.2], max: [WALL.x, 10, 4.2] }; // [m]
const WINDOW = { y: [-3, -0.5], z: [0.8, 2.6] }; // in the wall ahead: no return comes from it
const BOXES = [
  { min: [6, 3.2, -1.2], max: [9.5, 5.2, 0.6], intensity: 60 },
  { min: [4.5, -6.4, -1.2], max: [6.3, -4.8, 1.1], intensity: 200 },
  { min: [-4.5, -3.5, -1.2], max: [-3, -1.2, 0.9], intensity: 90 },
  { min: [-6, 3, -1.2], max: [-2.5, 4.4, -0.2], intensity: 150 },
  { min: [10, -1.5, -1.2], max: [11, 0.4, -0.5], intensity: 235 },
];
const PILLARS = [
  { x: 7.5, y: -1.9, r: 0.3 },
  { x: 7.5, y: 7.2, r: 0.3 },
  { x: -5.5, y: -6, r: 0.3 },
  { x: 1.5, y: 7.4, r: 0.3 },
];

/** A repeatable random number between 0 and 1. */
const noise = (i) => {
  const s = Math.sin(i * 12.9898) * 43758.5453;
  return s - Math.floor(s);
};

/** The box enters at the returned distance, Infinity when missed. */
function enterBox(o, d, { min, max }) {
  let near = 0,
    far = Infinity;
  for (let k = 0; k < 3; ++k) {
    const a = (min[k] - o[k]) / d[k],
      b = (max[k] - o[k]) / d[k];
    near = Math.max(near, Math.min(a, b));
    far = Math.min(far, Math.max(a, b));
  }
  return near < far && near > 0 ? near : Infinity;
}

function enterPillar(o, d, { x, y, r }) {
  const ox = o[0] - x,
    oy = o[1] - y;
  const a = d[0] ** 2 + d[1] ** 2,
    b = ox * d[0] + oy * d[1],
    c = ox * ox + oy * oy - r * r;
  const root = b * b - a * c;
  return root > 0 && -b - Math.sqrt(root) > 0 ? (-b - Math.sqrt(root)) / a : Infinity;
}

/** Distance and intensity of the hall's inside. */
function hitHall(o, d) {
  const to = d.map((part, k) => ((part > 0 ? HALL.max[k] : HALL.min[k]) - o[k]) / part);
  const k = to.indexOf(Math.min(...to));
  const at = [0, 1, 2].map((axis) => o[axis] + to[k] * d[axis]);
  if (k === 0 && d[0] > 0) {
    const inWindow = at[1] > WINDOW.y[0] && at[1] < WINDOW.y[1] && at[2] > WINDOW.z[0] && at[2] < WINDOW.z[1];
    return { range: inWindow ? Infinity : to[k], intensity: WALL.intensity, exact: true };
  }
  const tiles = (Math.floor(at[0]) + Math.floor(at[1])) & 1;
  return { range: to[k], intensity: k === 2 ? (d[2] < 0 ? 24 + 10 * tiles : 40) : 75 };
}

function cast(o, d, person) {
  let hit = hitHall(o, d);
  for (const box of [...BOXES, person]) {
    const range = enterBox(o, d, box);
    if (range < hit.range) hit = { range, intensity: box.intensity };
  }
  for (const pillar of PILLARS) {
    const range = enterPillar(o, d, pillar);
    if (range < hit.range) hit = { range, intensity: 170 };
  }
  return hit;
}

/** Someone who walks across. */
const personAt = (t) => {
  const y = 5 * Math.sin(2 * Math.PI * t);
  return { min: [3.6, y - 0.3, -1.2], max: [4, y + 0.3, 0.6], intensity: 105 };
};

/** Sensors around a vehicle, the first one looking ahead. */
export function makeSensors(count) {
  const grid = { model: 'juniq', rows: ROWS, columns: COLUMNS };
  if (count === 1)
    return [{ name: 'front', ...grid, origin: [0, 0, 0], rotation: [1, 0, 0, 0, 1, 0, 0, 0, 1] }];
  return Array.from({ length: count }, (_, s) => {
    const yaw = (2 * Math.PI * s) / count,
      c = Math.cos(yaw),
      n = Math.sin(yaw);
    return {
      name: `sensor-${s}`,
      ...grid,
      origin: [1.1 * c, 0.7 * n, 0.3],
      rotation: [c, -n, 0, n, c, 0, 0, 0, 1],
    };
  });
}

/** All points of one frame at the share `t` of the walk: positions, intensities, rings, columns, ranges. */
export function scan(sensors, t) {
  const each = ROWS * COLUMNS,
    points = each * sensors.length;
  const out = {
    points,
    xyz: new Float32Array(3 * points),
    intensity: new Uint16Array(points),
    ring: new Uint16Array(points),
    column: new Uint16Array(points),
    range: new Float32Array(points),
    time: new Float64Array(points),
  };
  const person = personAt(t),
    rad = Math.PI / 180;
  sensors.forEach(({ origin: o, rotation: r }, s) => {
    for (let j = 0; j < each; ++j) {
      const row = j % ROWS,
        column = Math.floor(j / ROWS),
        i = s * each + j;
      const az = (HALF_AZIMUTH - (2 * HALF_AZIMUTH * column) / (COLUMNS - 1)) * rad;
      const el = (HALF_ELEVATION - (2 * HALF_ELEVATION * row) / (ROWS - 1)) * rad;
      const a = [Math.cos(el) * Math.cos(az), Math.cos(el) * Math.sin(az), Math.sin(el)];
      const d = [0, 3, 6].map((k) => r[k] * a[0] + r[k + 1] * a[1] + r[k + 2] * a[2] || 1e-9);
      const hit = cast(o, d, person);
      const none = !(hit.range < 100) || (!hit.exact && noise(i + 7) < 0.004);
      const range = none ? 0 : hit.range + (hit.exact ? 0 : 0.02 * (noise(i + 99 * t) - 0.5));
      out.ring[i] = row;
      out.column[i] = column;
      out.range[i] = range;
      out.time[i] = (column / COLUMNS) * 0.1;
      out.intensity[i] = none
        ? 0
        : hit.exact
          ? hit.intensity
          : Math.max(1, (hit.intensity * (0.85 + 0.3 * noise(i))) / (1 + range / 60));
      for (let k = 0; k < 3; ++k) out.xyz[3 * i + k] = none ? o[k] : o[k] + range * d[k];
    }
  });
  return out;
}
