// SPDX-License-Identifier: Apache-2.0
// The WebSocket to the program, made anew whenever it is lost, with growing pauses.

import { MessageFault, parseFrame } from './frame.js';
import { parseMessage } from './messages.js';

/** @import { ConnectionState, Frame, Message } from '../types' */

const SUBPROTOCOL = 'orliq.view.1';
const FIRST_PAUSE_MS = 500;
const LONGEST_PAUSE_MS = 5000;
const SILENCE_MS = 30000; // a ledger comes each second: after so long without a message the other side is gone
const UNANSWERED_FRAMES = 2; // the server sends no third frame before an answer

/**
 * @typedef {object} Listener
 * @property {(state: ConnectionState, retryAt: number) => void} onState `retryAt` [ms] of performance.now()
 * @property {(message: Message) => void} onMessage
 * @property {(frame: Frame, parseMs: number) => void} onFrame
 * @property {(words: string) => void} onDamaged a message that could not be read, and why
 */

/**
 * The address of the stream of the page at `location`, its token included.
 * @param {Location | URL} location
 */
export function streamAddress(location) {
  const address = new URL('/stream', location.href);
  address.protocol = location.protocol === 'https:' ? 'wss:' : 'ws:';
  const token = new URL(location.href).searchParams.get('token');
  if (token !== null) address.searchParams.set('token', token);
  return address.href;
}

/**
 * The pause before the attempt that follows `attempts` failed ones.
 * @param {number} attempts
 * @returns {number} [ms]
 */
export const pauseBefore = (attempts) =>
  Math.min(LONGEST_PAUSE_MS, FIRST_PAUSE_MS * 2 ** Math.min(attempts, 10));

export class Connection {
  /** @param {string} address @param {Listener} listener */
  constructor(address, listener) {
    this.address = address;
    this.listener = listener;
    /** @type {WebSocket | null} */
    this.socket = null;
    this.attempts = 0; // since the last message
    this.unreadable = 0; // frames that came without a number to answer with, since the last good one
    this.timer = 0;
    this.watchdog = 0;
  }

  open() {
    clearTimeout(this.timer);
    this.listener.onState('connecting', 0);
    const socket = new WebSocket(this.address, SUBPROTOCOL);
    socket.binaryType = 'arraybuffer';
    socket.onmessage = (event) => this.#receive(event.data);
    socket.onclose = () => this.#lost(socket);
    this.socket = socket;
    this.#watch(); // a tunnel whose far end is gone takes a connection and never answers it
  }

  /** Does not wait for the end of the pause. */
  retryNow() {
    if (this.socket === null) this.open();
  }

  /** Sends a command; one that has no connection is lost. @param {object} command */
  send(command) {
    if (this.socket?.readyState === WebSocket.OPEN) this.socket.send(JSON.stringify(command));
  }

  /** @param {WebSocket} socket */
  #lost(socket) {
    if (socket !== this.socket) return;
    clearTimeout(this.watchdog);
    this.socket = null;
    const pause = pauseBefore(this.attempts++);
    this.timer = setTimeout(() => this.open(), pause);
    this.listener.onState('lost', performance.now() + pause);
  }

  #watch() {
    clearTimeout(this.watchdog);
    this.watchdog = setTimeout(() => this.#giveUp(), SILENCE_MS);
  }

  /** A connection that is of no use is lost at once: its closing may take as long as it likes. */
  #giveUp() {
    const socket = this.socket;
    if (socket === null) return;
    this.#lost(socket);
    socket.close();
  }

  /** @param {string | ArrayBuffer} data */
  #receive(data) {
    this.#watch();
    try {
      if (typeof data === 'string') this.#receiveText(data);
      else this.#receiveFrame(data);
    } catch (fault) {
      if (!(fault instanceof MessageFault)) throw fault;
      this.listener.onDamaged(fault.message);
      if (typeof data !== 'string' && ++this.unreadable >= UNANSWERED_FRAMES) this.#giveUp();
    }
  }

  /** @param {string} data */
  #receiveText(data) {
    const message = parseMessage(data);
    if (message?.type === 'hello') {
      this.attempts = 0;
      this.unreadable = 0;
      this.listener.onState('open', 0);
    }
    if (message) this.listener.onMessage(message);
  }

  /** @param {ArrayBuffer} data */
  #receiveFrame(data) {
    const receivedAt = performance.now();
    const frame = parseFrame(data, receivedAt);
    this.unreadable = 0;
    this.listener.onFrame(frame, performance.now() - receivedAt);
  }
}
