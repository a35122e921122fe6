// SPDX-License-Identifier: Apache-2.0
// The page: what comes from the program goes to the picture and the panels, what the person does goes back.

import { ImagePanel } from '../images/imagePanel.js';
import { DisplayPanel } from '../panels/displayPanel.js';
import { HelpOverlay } from '../panels/helpOverlay.js';
import { ImuStrip } from '../panels/imuStrip.js';
import { LedgerPanel } from '../panels/ledgerPanel.js';
import { Legend } from '../panels/legend.js';
import { NoticeBoard } from '../panels/noticeBoard.js';
import { PlayerBar } from '../panels/playerBar.js';
import { StatusBar } from '../panels/statusBar.js';
import { Connection, streamAddress } from '../protocol/connection.js';
import { Picture } from '../scene/picture.js';
import { listenForClicks } from '../scene/pointer.js';
import { Viewer } from '../scene/viewer.js';
import { byId, setText } from './dom.js';
import { FrameFlow } from './frameFlow.js';
import { Latency, Rate, Times } from './measurements.js';
import { Selection } from './selection.js';
import { Settings } from './settings.js';
import { Theme } from './theme.js';

/** @import { ConnectionState, Frame, Hello, Message } from '../types' */
/** @import { Taken } from './frameFlow' */

/** @type {Record<string, string>} */
const STATE_WORDS = { open: 'connected', lost: 'connection lost' };
const FIGURES_MS = 250; // between two looks at rate and age

export class App {
  constructor() {
    this.settings = new Settings();
    this.viewer = new Viewer(byId('stage'));
    this.picture = new Picture(this.viewer, this.settings);
    this.selection = new Selection(this.picture);
    this.theme = new Theme(this.settings, () => this.#themeChanged());
    this.connection = new Connection(streamAddress(location), {
      onState: (state, retryAt) => this.#setState(state, retryAt),
      onMessage: (message) => this.#receive(message),
      onFrame: (frame, parseMs) => this.#receiveFrame(frame, parseMs),
      onDamaged: (words) => this.#noteDamaged(words),
    });
    this.send = (/** @type {object} */ command) => this.connection.send(command);
    this.flow = new FrameFlow((frame) => this.send({ do: 'shown', frame }));
    this.panels = this.#makePanels();
    this.latency = new Latency();
    this.times = { prepare: new Times(), render: new Times(), ...this.latency.times };
    this.rate = new Rate();
    this.figuresAt = 0; // [ms] when they were shown last
    this.visibleSince = 0; // [ms] a hidden page draws nothing
    this.counts = { shown: 0, superseded: 0, damaged: 0, pointsDrawn: 0 };
    /** @type {Hello | null} */
    this.hello = null;
    /** @type {Frame | null} */
    this.onScreen = null;
    this.drawnAt = 0; // [ms] the frame on the screen
    /** @type {ConnectionState} */
    this.state = 'connecting';
    this.viewer.onBefore = () => this.#beforePicture();
  }

  #makePanels() {
    return {
      display: new DisplayPanel(this.settings, {
        look: () => this.#lookChanged(),
        mode: (key) => this.setMode(key),
        limits: (limits) => this.setLimits(limits),
        sensor: (s, visible) => this.setSensorVisible(s, visible),
      }),
      images: new ImagePanel({
        point: (index) => this.selection.pick(index),
        hover: (index) => this.panels.images.read(this.selection.hover(index)),
      }),
      help: new HelpOverlay(),
      imu: new ImuStrip(),
      ledger: new LedgerPanel(),
      legend: new Legend(),
      notices: new NoticeBoard(() => this.connection.retryNow()),
      player: new PlayerBar(this.send),
      status: new StatusBar(),
    };
  }

  start() {
    this.panels.images.choice.addEventListener('change', () => this.#imageSensorChanged());
    listenForClicks(
      this.viewer.canvas,
      (click) => this.selection.click(click),
      (click) => this.#turnAround(click),
    );
    document.addEventListener('visibilitychange', () => {
      if (!document.hidden) this.visibleSince = performance.now();
    });
    this.theme.apply();
    this.connection.open();
    setInterval(() => this.#showFiguresWithoutPictures(), FIGURES_MS);
  }

  /** @param {ConnectionState} state @param {number} retryAt [ms] */
  #setState(state, retryAt) {
    this.state = state;
    const { notices } = this.panels;
    // Notices are of a connection: they may no longer hold when it is gone.
    notices.change({
      connection: state,
      retryAt,
      wasOpen: notices.wasOpen || state === 'open',
      ...(state === 'open' ? { ended: '' } : { notices: [] }),
    });
    this.showState();
  }

  showState() {
    const at = byId('state');
    const shown =
      this.state === 'open' ? (this.flow.held ? 'held' : (this.hello?.source ?? 'open')) : this.state;
    at.dataset.state = shown;
    setText(at, STATE_WORDS[shown] ?? shown);
  }

  /** @param {Message} message */
  #receive(message) {
    const { panels } = this;
    if (message.type === 'hello') this.#begin(message);
    if (message.type === 'player') {
      panels.player.show(message);
      panels.player.showEntry(this.picture.cloud.frame?.entry ?? message.entry);
    }
    if (message.type === 'ledger') {
      panels.ledger.show(message.groups);
      panels.notices.tell(message.notices);
    }
    if (message.type === 'imu' && this.hello?.sensors[message.sensor])
      panels.imu.add(message.sensor, message.samples);
    if (message.type === 'end') panels.notices.change({ ended: message.text });
  }

  /** @param {Hello} hello */
  #begin(hello) {
    const same = JSON.stringify(hello) === JSON.stringify(this.hello);
    this.hello = hello;
    this.flow.reset();
    if (!same) this.#forget();
    this.picture.begin(hello, same);
    this.#showModes();
    const { panels } = this;
    if (!same) {
      panels.display.setSensors(hello.sensors);
      panels.images.setSensors(hello.sensors);
    }
    panels.player.setSource(hello.source, hello.entries);
    panels.imu.reset();
    panels.help.program.textContent = hello.program;
    setText(byId('title'), hello.title);
    document.title = hello.title ? `${hello.title} · orliq view` : 'orliq view';
    this.showState();
  }

  /** What was of another source: also that its picture was held, which a capture has no button to end. */
  #forget() {
    this.flow.hold(false);
    this.selection.clear();
    this.onScreen = null;
    this.panels.notices.change({ hasFrame: false });
  }

  /** @param {Frame} frame @param {number} parseMs */
  #receiveFrame(frame, parseMs) {
    if (this.flow.newest && !this.flow.held) ++this.counts.superseded;
    if (this.flow.receive(frame, parseMs)) this.viewer.ask();
  }

  /** @param {string} words */
  #noteDamaged(words) {
    ++this.counts.damaged;
    this.panels.notices.tellDamaged(words);
    this.showFigures();
  }

  /** @returns {import('../scene/viewer').Drawing | null} null without a new frame */
  #beforePicture() {
    const taken = this.flow.take();
    if (taken === null) return null;
    const started = performance.now();
    const isFirst = this.picture.show(taken.frame);
    this.times.prepare.add(taken.parseMs + performance.now() - started);
    if (isFirst) this.#showModes();
    this.picture.lookFirst();
    return { meanwhile: () => this.#showBeside(taken.frame), done: () => this.#drawn(taken) };
  }

  /**
   * What stands beside the cloud changes together with it, in one refresh of the screen: each one more would be
   * another drawing of the whole page. @param {Frame} frame
   */
  #showBeside(frame) {
    this.panels.notices.change({ hasFrame: true });
    this.panels.player.showEntry(frame.entry);
    this.showColours();
    this.showImages();
    this.panels.imu.showNew(this.panels.images.sensor);
    this.showFigures();
  }

  #showModes() {
    this.panels.display.setModes(this.picture.modes, this.picture.cloud.mode.key);
  }

  /** @param {Taken} taken */
  #drawn({ frame, answers }) {
    const now = performance.now();
    for (const number of answers) this.flow.answer(number);
    ++this.counts.shown;
    this.onScreen = frame;
    this.drawnAt = now;
    this.rate.add(now);
    this.times.render.add(this.viewer.renderMs);
    if (frame.receivedAt >= this.visibleSince) this.latency.add(frame, now);
  }

  showColours() {
    const { cloud, sensors, handLimits, scaleText } = this.picture;
    this.panels.legend.show(cloud.mode, cloud.limits, cloud.map, sensors);
    this.panels.display.showLimits(cloud.limits, handLimits === null, cloud.mode);
    setText(byId('grid-scale'), scaleText);
  }

  showImages() {
    const { cloud, sensors } = this.picture;
    if (cloud.frame && this.settings.values.dock) this.panels.images.show(cloud.frame, sensors, cloud.map);
  }

  /** Shows them unless pictures have just done so. */
  #showFiguresWithoutPictures() {
    if (document.hidden) return;
    if (performance.now() - this.figuresAt < 2 * FIGURES_MS) return;
    this.showFigures();
    if (!this.flow.held) this.panels.imu.showNew(this.panels.images.sensor);
  }

  showFigures() {
    this.figuresAt = performance.now();
    const { onScreen, counts, flow } = this;
    const now = performance.now();
    this.panels.player.showHeld(flow.held, flow.heldBack);
    this.panels.status.show({
      frame: onScreen?.number ?? null,
      points: onScreen?.points ?? 0,
      rate: this.rate.of(now),
      shown: counts.shown,
      skipped: (onScreen?.skipped ?? 0) + counts.superseded,
      latency: this.times.latency.last,
      since: onScreen ? now - this.drawnAt : 0,
      damaged: counts.damaged,
      live: this.hello?.source === 'live',
    });
  }

  /** @param {string} key */
  setMode(key) {
    this.picture.setMode(key);
    this.showColours();
  }

  /** @param {import('../types').Limits | null} limits */
  setLimits(limits) {
    this.picture.setLimits(limits);
    this.showColours();
  }

  /** @param {number} s @param {boolean} visible */
  setSensorVisible(s, visible) {
    this.picture.cloud.setVisible(s, visible);
    this.viewer.ask();
  }

  #lookChanged() {
    this.picture.applySettings();
    this.showColours();
    this.showImages();
  }

  #imageSensorChanged() {
    this.panels.images.reset();
    this.panels.imu.show(this.panels.images.sensor);
    this.showImages();
  }

  #themeChanged() {
    this.picture.applyTheme();
    this.panels.imu.show(this.panels.images.sensor);
  }

  /** @param {import('../scene/pointer').Click} click */
  #turnAround(click) {
    const { frame } = this.picture.cloud;
    const index = this.selection.pointAt(click);
    if (!frame || index < 0) return;
    const [x, y, z] = frame.xyz.subarray(3 * index, 3 * index + 3);
    this.viewer.controls.target.set(x, y, z);
    this.viewer.controls.update();
    this.viewer.ask();
  }
}
