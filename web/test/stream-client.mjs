// SPDX-License-Identifier: Apache-2.0
// A second client of the stream, with a reader of its own: what it receives is what the page has to show.

import WebSocket from 'ws';

const READ = {
  u8: [1, 'getUint8'],
  u16: [2, 'getUint16'],
  u32: [4, 'getUint32'],
  i32: [4, 'getInt32'],
  f32: [4, 'getFloat32'],
  f64: [8, 'getFloat64'],
};

/** A frame, of which `value(name, i)` reads any number. */
function read(data) {
  const view = new DataView(data.buffer, data.byteOffset, data.byteLength);
  const head = JSON.parse(data.subarray(8, 8 + view.getUint32(4, true)).toString('utf8'));
  const arrays = Object.fromEntries(head.arrays.map((of) => [of.name, of]));
  const value = (name, i) => {
    const [bytes, method] = READ[arrays[name].type];
    return view[method](arrays[name].offset + i * bytes, true);
  };
  return {
    ...head,
    fieldNames: Object.keys(arrays).filter((name) => name !== 'xyz'),
    countOf: (name) => arrays[name].count,
    value,
  };
}

export class StreamClient {
  /** Connects to the server of the page at `url`. */
  constructor(url) {
    const address = new URL('/stream', url);
    address.protocol = 'ws:';
    address.search = new URL(url).search;
    this.socket = new WebSocket(address, 'orliq.view.1', { origin: new URL(url).origin });
    this.frames = [];
    this.hello = new Promise((done, fail) => {
      this.socket.on('error', fail);
      this.socket.on('message', (data, isBinary) =>
        isBinary ? this.#take(read(data)) : this.#hear(JSON.parse(data), done),
      );
    });
  }

  #hear(message, done) {
    if (message.type === 'hello') done(message);
  }

  send(command) {
    this.socket.send(JSON.stringify(command));
  }

  #take(frame) {
    this.frames.push(frame);
    if (this.frames.length > 4) this.frames.shift();
    this.send({ do: 'shown', frame: frame.frame });
  }

  /** The frame of an entry of the capture, which it asks for. */
  async entry(wanted) {
    this.frames = [];
    this.send({ do: 'seek', entry: wanted });
    const until = Date.now() + 20000;
    for (;;) {
      const found = this.frames.find((frame) => frame.entry === wanted);
      if (found) return found;
      if (Date.now() > until) throw new Error(`entry ${wanted} did not come`);
      await new Promise((done) => setTimeout(done, 20));
    }
  }

  close() {
    this.socket.terminate();
  }
}

/** Number of points with a return, and the box around them. */
export function extentOf(frame, sensors) {
  const box = { min: [Infinity, Infinity, Infinity], max: [-Infinity, -Infinity, -Infinity] };
  let points = 0,
    first = 0;
  frame.sensors.forEach((of, s) => {
    for (let i = first; i < first + of.points; ++i) {
      const at = [0, 1, 2].map((axis) => frame.value('xyz', 3 * i + axis));
      const away = Math.hypot(...at.map((part, axis) => part - sensors[s].origin[axis]));
      if (at.every((part) => part === 0) || away < 0.001) continue;
      ++points;
      at.forEach((part, axis) => {
        box.min[axis] = Math.min(box.min[axis], part);
        box.max[axis] = Math.max(box.max[axis], part);
      });
    }
    first += of.points;
  });
  return { box, points };
}
