// SPDX-License-Identifier: Apache-2.0
// Play, pause, step, slider, speed and loop of a capture; hold of a live source.

import { byId, setPressed, setText } from '../page/dom.js';

/** @import { Player } from '../types' */

const SEEK_PAUSE_MS = 80; // between two requests while the slider is dragged
const SPEEDS = [0.1, 0.25, 0.5, 1, 2, 5, 10];

export class PlayerBar {
  /** @param {(command: object) => void} send */
  constructor(send) {
    this.send = send;
    /** @type {Player | null} */
    this.player = null;
    this.slider = byId('seek', HTMLInputElement);
    this.speed = byId('speed', HTMLSelectElement);
    this.timer = 0;
    this.wanted = -1; // entry that the slider asks for next
    this.dragging = false;
    this.slider.addEventListener('pointerdown', () => (this.dragging = true));
    for (const end of ['pointerup', 'pointercancel'])
      window.addEventListener(end, () => (this.dragging = false));
    this.slider.addEventListener('input', () => this.#seek(Number(this.slider.value)));
    this.speed.addEventListener('change', () => this.send({ do: 'speed', factor: Number(this.speed.value) }));
  }

  /** @param {'live' | 'capture'} source @param {number | undefined} entries */
  setSource(source, entries) {
    byId('player').hidden = source !== 'capture';
    byId('live').hidden = source !== 'live';
    this.player = null;
    if (entries) this.slider.max = String(entries - 1);
  }

  /** @param {Player} player */
  show(player) {
    this.player = player;
    this.slider.max = String(Math.max(0, player.entries - 1));
    byId('play-icon').setAttribute('href', player.playing ? '#i-pause' : '#i-play');
    byId('play').setAttribute('aria-label', player.playing ? 'Pause' : 'Play');
    setPressed(byId('loop'), player.loop);
    this.#showSpeed(player.speed);
  }

  /** @param {number} speed */
  #showSpeed(speed) {
    const value = String(speed);
    if (![...this.speed.options].some((option) => option.value === value))
      this.speed.add(new Option(`${value}×`, value));
    this.speed.value = value;
  }

  /** The entry that is on the screen. @param {number | undefined} entry */
  showEntry(entry) {
    if (entry === undefined || this.player === null) return;
    if (this.timer === 0 && !this.dragging) this.slider.value = String(entry);
    setText(byId('entry'), `${entry} / ${this.player.entries - 1}`);
  }

  /**
   * At once, and then not more often than the pause allows; the last request is always made.
   * @param {number} entry
   */
  #seek(entry) {
    if (this.timer !== 0) {
      this.wanted = entry;
      return;
    }
    this.send({ do: 'seek', entry });
    this.timer = setTimeout(() => {
      this.timer = 0;
      if (this.wanted >= 0) this.#seek(this.wanted);
      this.wanted = -1;
    }, SEEK_PAUSE_MS);
  }

  play() {
    this.send({ do: this.player?.playing ? 'pause' : 'play' });
  }

  /** @param {number} by */
  step(by) {
    this.send({ do: 'step', by });
  }

  /** @param {'first' | 'last'} end */
  seekEnd(end) {
    if (this.player) this.send({ do: 'seek', entry: end === 'first' ? 0 : this.player.entries - 1 });
  }

  loop() {
    this.send({ do: 'loop', on: !this.player?.loop });
  }

  /** @param {1 | -1} way */
  changeSpeed(way) {
    const now = this.player?.speed ?? 1;
    const next = way > 0 ? SPEEDS.find((speed) => speed > now) : SPEEDS.findLast((speed) => speed < now);
    if (next !== undefined) this.send({ do: 'speed', factor: next });
  }

  /** @param {boolean} held @param {number} heldBack frames that came meanwhile */
  showHeld(held, heldBack) {
    const button = byId('freeze');
    setPressed(button, held);
    byId('freeze-icon').setAttribute('href', held ? '#i-play' : '#i-pause');
    setText(byId('freeze-text'), held ? 'Go on' : 'Hold');
    setText(byId('freeze-note'), held ? `the stream goes on: ${heldBack} newer frames` : '');
  }
}
