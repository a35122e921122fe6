// SPDX-License-Identifier: Apache-2.0
// Speaks docs/view-protocol.md as `orliq view` does, on 127.0.0.1: for the tests of the page and for working on it.
//   node test/mock-server.mjs capture|live|fused|silent [PORT]

import { once } from 'node:events';
import { readFile } from 'node:fs/promises';
import { createServer } from 'node:http';
import { WebSocketServer } from 'ws';
import { makeSensors, scan } from './mock-scene.mjs';

const PERIOD_MS = 100;
const HEADER_BYTES = 4088; // room for the header of any frame here; 8 + it is a multiple of 8
const START_S = 1700000000.125;
const MAGIC = 0x3146564f;

const UNITS = { x: 'm', y: 'm', z: 'm', timestamp: 's' };
const TYPES = new Map([
  [Uint16Array, 'u16'],
  [Uint32Array, 'u32'],
  [Int32Array, 'i32'],
  [Float32Array, 'f32'],
  [Float64Array, 'f64'],
  [Uint8Array, 'u8'],
]);

/** The arrays of a frame, by the kind of point. */
export function arraysOf(kind, of, start) {
  const { xyz, intensity, ring, column, range } = of;
  const common = { xyz, intensity, ring };
  if (kind === 'point') return common;
  if (kind === 'point-time') return { ...common, timestamp: of.time.map((time) => start + time) };
  const raw = (factor) => Uint32Array.from(range, (value, i) => value * factor + intensity[i]);
  return {
    ...common,
    row: ring.slice(),
    column,
    aux: column.map((value) => value ^ 0x155),
    width_ref: intensity.map((value) => 200 + value),
    peak: raw(10000),
    tof: raw(259.6),
    width: raw(1),
  };
}

/** A binary message. */
export function encodeFrame(head, arrays, counts = { xyz: 3 }) {
  let offset = 8 + HEADER_BYTES;
  const list = Object.entries(arrays).map(([name, data]) => {
    const of = { name, type: TYPES.get(data.constructor), count: counts[name] ?? 1, offset };
    offset += Math.ceil(data.byteLength / 8) * 8;
    return of;
  });
  const message = Buffer.alloc(offset, ' ');
  message.writeUInt32LE(MAGIC, 0);
  message.writeUInt32LE(HEADER_BYTES, 4);
  message.write(JSON.stringify({ ...head, arrays: list }), 8);
  Object.values(arrays).forEach((data, i) =>
    Buffer.from(data.buffer, data.byteOffset, data.byteLength).copy(message, list[i].offset),
  );
  return message;
}

const SOURCES = {
  capture: { source: 'capture', title: 'hall.pcap', point: 'juniq', sensors: 1, entries: 24 },
  live: { source: 'live', title: 'juniq on 127.0.0.1:2368', point: 'point-time', sensors: 1, entries: 24 },
  fused: { source: 'live', title: 'vehicle.yaml: 8 sensors', point: 'point-time', sensors: 8, entries: 4 },
  pair: { source: 'capture', title: 'pair.yaml', point: 'point', sensors: 2, entries: 2 },
  silent: { source: 'live', title: 'juniq on 127.0.0.1:2368', point: 'point-time', sensors: 1, entries: 0 },
};

/** The points of each source, worked out once. */
const SCANS = {};

export class MockServer {
  constructor(kind) {
    this.of = SOURCES[kind];
    this.sensors = makeSensors(this.of.sensors);
    this.scans = SCANS[kind] ??= Array.from({ length: this.of.entries }, (_, entry) =>
      scan(this.sensors, entry / this.of.entries),
    );
    this.player = {
      type: 'player',
      playing: false,
      entry: 0,
      entries: this.of.entries,
      speed: 1,
      loop: true,
    };
    this.clients = new Set();
    this.commands = [];
    this.frame = 0;
    this.notices =
      kind === 'silent'
        ? [
            {
              tone: 'bad',
              text:
                'nothing arrived at 127.0.0.1:2368 within 3.0 s. Check that the sensor is on and sends to this machine\n' +
                '  no other socket has port 2368 bound now, so none took them\norliq doctor --port 2368 looks for the reason',
            },
          ]
        : [];
  }

  async listen(port = 0) {
    this.http = createServer((request, response) => this.#serve(request, response));
    this.sockets = new WebSocketServer({
      server: this.http,
      path: '/stream',
      handleProtocols: (offered) => (offered.has('orliq.view.1') ? 'orliq.view.1' : false),
    });
    this.sockets.on('connection', (socket) => this.#welcome(socket));
    await new Promise((done) => this.http.listen(port, '127.0.0.1', done));
    this.timers = [
      setInterval(() => this.#tick(), PERIOD_MS),
      setInterval(() => this.broadcast(this.ledger()), 1000),
    ];
    return this.http.address().port;
  }

  /** As the program ends: with its last words, and connections closed in order, so that they arrive. */
  async end(text) {
    this.broadcast({ type: 'end', text });
    const gone = [...this.clients].map(({ socket }) => once(socket, 'close'));
    for (const { socket } of this.clients) socket.close();
    await Promise.all(gone);
    await this.close();
  }

  /** As a program that is killed: what was sent and not read may be lost. */
  async close() {
    this.timers.forEach(clearInterval);
    for (const { socket } of this.clients) socket.terminate();
    this.sockets.close();
    const closed = new Promise((done) => this.http.close(done));
    this.http.closeAllConnections(); // a browser keeps one for later
    await closed;
  }

  async #serve(request, response) {
    const { pathname } = new URL(request.url, 'http://127.0.0.1');
    const file = { '/': 'view.html', '/licences': 'licences.txt' }[pathname];
    if (!file) return response.writeHead(404).end();
    const policy = (await readFile(new URL('../dist/view.csp', import.meta.url), 'utf8')).trim();
    response.writeHead(200, {
      'Content-Type': pathname === '/' ? 'text/html; charset=utf-8' : 'text/plain; charset=utf-8',
      'Content-Security-Policy': policy,
    });
    response.end(await readFile(new URL(`../dist/${file}`, import.meta.url)));
  }

  #welcome(socket) {
    const client = { socket, underWay: [], newest: null, skipped: 0 };
    this.clients.add(client);
    socket.on('close', () => this.clients.delete(client));
    socket.on('message', (data) => this.#obey(client, JSON.parse(data)));
    const { source, title, point, entries } = this.of;
    const names = ['x', 'y', 'z', ...Object.keys(arraysOf(point, scan([], 0), 0)).slice(1)];
    const fields = names.map((name) => ({ name, unit: UNITS[name] ?? '' }));
    const hello = {
      type: 'hello',
      program: 'orliq mock',
      source,
      title,
      point,
      fields,
      sensors: this.sensors,
    };
    socket.send(JSON.stringify(source === 'capture' ? { ...hello, entries } : hello));
    if (source === 'capture') socket.send(JSON.stringify(this.player));
    socket.send(JSON.stringify(this.ledger()));
    if (this.current) this.offer(client, this.current);
    else if (source === 'capture') this.#show(0);
  }

  #obey(client, command) {
    this.commands.push(command);
    const { player } = this;
    if (command.do === 'shown') {
      client.underWay = client.underWay.filter((frame) => frame > command.frame);
      if (client.newest) this.offer(client, client.newest);
      return;
    }
    if (command.do === 'play') player.playing = true;
    if (command.do === 'pause' || command.do === 'step') player.playing = false;
    if (command.do === 'speed') player.speed = command.factor;
    if (command.do === 'loop') player.loop = command.on;
    if (command.do === 'step') this.#show(player.entry + command.by);
    if (command.do === 'seek') this.#show(command.entry);
    this.broadcast(player);
  }

  #tick() {
    if (this.of.source === 'live') {
      if (this.of.entries > 0) this.#show((this.frame + 1) % this.of.entries);
      if (this.of.entries > 0) this.#sendMotion();
    } else if (this.player.playing && (this.player.loop || this.player.entry + 1 < this.of.entries)) {
      this.#show((this.player.entry + 1) % this.of.entries);
    }
  }

  #show(wanted) {
    const entry = Math.min(this.of.entries - 1, Math.max(0, wanted));
    this.player.entry = entry;
    this.current = this.makeFrame(entry);
    for (const client of this.clients) this.offer(client, this.current);
    if (this.of.source === 'capture') this.broadcast(this.player);
  }

  makeFrame(entry) {
    const number = ++this.frame,
      of = this.scans[entry];
    const time = START_S + ((this.of.source === 'live' ? number : entry) * PERIOD_MS) / 1000;
    const each = of.points / this.sensors.length;
    const place = this.of.source === 'capture' ? { entry } : { age_ms: 1.5, sent: Date.now() / 1000 };
    const head = {
      frame: number,
      time,
      points: of.points,
      ...place,
      sensors: this.sensors.map(() => ({ points: each, time })),
    };
    return { number, head, arrays: arraysOf(this.of.point, of, time) };
  }

  /** Gives a client a frame, unless two are under way: then the newest one is kept for it. */
  offer(client, { number, head, arrays }) {
    if (client.underWay.length >= 2) {
      if (client.newest) ++client.skipped;
      client.newest = { number, head, arrays };
      return;
    }
    client.newest = null;
    client.underWay.push(number);
    client.socket.send(encodeFrame({ ...head, skipped: client.skipped }, arrays));
  }

  #sendMotion() {
    this.sensors.forEach((_, sensor) => {
      const samples = Array.from({ length: 10 }, (_, i) => {
        const t = START_S + this.frame * 0.1 + i * 0.01,
          s = Math.sin(1.3 * t + sensor),
          c = Math.cos(2.1 * t);
        return [
          t,
          0.02 * c,
          0.03 * s,
          0.35 * s + 0.01 * Math.sin(40 * t),
          0.6 * s,
          0.4 * c,
          9.81 + 0.15 * Math.sin(23 * t),
        ];
      });
      this.broadcast({ type: 'imu', sensor, samples });
    });
  }

  ledger() {
    const packets = this.frame * 768,
      silent = this.of.entries === 0;
    const rows = [
      {
        label: 'received',
        text: `${packets.toLocaleString('en-US')} packets`,
        tone: silent ? 'bad' : 'good',
      },
      { label: 'rate', text: silent ? '0 packets/s' : '7,680 packets/s', tone: 'plain' },
      {
        label: 'lost',
        text: silent || this.frame < 40 ? '0' : '12 packets in 1 gap',
        tone: silent || this.frame < 40 ? 'plain' : 'bad',
      },
      {
        label: 'frames',
        text: `${this.frame.toLocaleString('en-US')} complete, 0 incomplete`,
        tone: 'plain',
      },
      { label: 'clock', text: silent ? 'unknown' : '0.4 ms behind this machine', tone: 'plain' },
    ];
    const groups = this.sensors.map(({ name }) => ({
      title: name,
      rows: this.sensors.length > 1 ? rows.slice(0, 3) : rows,
    }));
    return { type: 'ledger', groups, notices: this.notices };
  }

  /** To all clients; as it is when it is no object. */
  broadcast(message) {
    const data = typeof message === 'string' || Buffer.isBuffer(message) ? message : JSON.stringify(message);
    for (const { socket } of this.clients) socket.send(data);
  }
}

if (process.argv[1] === new URL(import.meta.url).pathname) {
  const port = await new MockServer(process.argv[2] ?? 'capture').listen(Number(process.argv[3] ?? 0));
  console.log(`http://127.0.0.1:${port}`);
}
