// SPDX-License-Identifier: Apache-2.0
// What keys and buttons do.

import { drawSnapshot, saveAsPng } from '../scene/snapshot.js';
import { byId, setPressed } from './dom.js';
import { actionOf, belongsTo } from './keys.js';

/** @import { App } from './app' */

const ORBIT_STEP = 0.1; // [rad]
const PAN_STEP = 0.06; // of the distance to what the camera looks at
const LAST_TIME = 8e12; // [s] that has a date
const ZOOM_STEP = 0.85;
const PANELS_FIT_FROM = 760; // [CSS pixels] of the window: below it panels cover the picture

/** @typedef {Record<string, () => void>} Actions */

/** @param {App} app @returns {Actions} */
function playerActions({ panels: { player } }) {
  return {
    previous: () => player.step(-1),
    next: () => player.step(1),
    'back-10': () => player.step(-10),
    'forward-10': () => player.step(10),
    first: () => player.seekEnd('first'),
    last: () => player.seekEnd('last'),
    slower: () => player.changeSpeed(-1),
    faster: () => player.changeSpeed(1),
    loop: () => player.loop(),
  };
}

/** @param {App} app @returns {Actions} */
function cameraActions({ picture }) {
  const { views } = picture;
  return {
    fit: () => picture.lookFrom('fit'),
    top: () => picture.lookFrom('top'),
    side: () => picture.lookFrom('side'),
    front: () => picture.lookFrom('front'),
    'orbit-left': () => views.orbit(ORBIT_STEP, 0),
    'orbit-right': () => views.orbit(-ORBIT_STEP, 0),
    'orbit-up': () => views.orbit(0, ORBIT_STEP),
    'orbit-down': () => views.orbit(0, -ORBIT_STEP),
    'pan-left': () => views.pan(-PAN_STEP, 0),
    'pan-right': () => views.pan(PAN_STEP, 0),
    'pan-up': () => views.pan(0, PAN_STEP),
    'pan-down': () => views.pan(0, -PAN_STEP),
    'zoom-in': () => views.zoom(ZOOM_STEP),
    'zoom-out': () => views.zoom(1 / ZOOM_STEP),
  };
}

/** @param {App} app @returns {Actions} */
function displayActions(app) {
  const { display } = app.panels;
  return {
    'next-mode': () => display.nextMode(1),
    'previous-mode': () => display.nextMode(-1),
    'next-map': () => display.nextMap(),
    'auto-limits': () => app.setLimits(app.picture.handLimits ? null : app.picture.cloud.limits),
    larger: () => display.resize(1),
    smaller: () => display.resize(-1),
    null: () => display.toggle('hideNull'),
    grid: () => display.toggle('grid'),
    rings: () => display.toggle('rings'),
    axes: () => display.toggle('axes'),
  };
}

/** The picture as a file. @param {App} app */
function savePicture({ viewer, picture: { cloud }, hello, onScreen }) {
  const frame = onScreen?.entry ?? onScreen?.number ?? 0;
  const title = hello?.title ?? '';
  const time =
    onScreen?.time && Math.abs(onScreen.time) < LAST_TIME
      ? `   ${new Date(onScreen.time * 1000).toISOString()}`
      : '';
  const name = `${title.replace(/[^A-Za-z0-9._-]+/g, '-') || 'orliq'}-${frame}.png`;
  saveAsPng(drawSnapshot(viewer, `${title}   frame ${frame}${time}`, cloud), name);
}

/** @param {App} app @param {'dock' | 'panels'} part @param {boolean} shown */
function showPart(app, part, shown) {
  app.settings.set(part, shown);
  setPart(part, shown);
  if (part === 'dock') app.showImages();
}

/** @param {'dock' | 'panels'} part @param {boolean} shown */
function setPart(part, shown) {
  document.body.classList.toggle(`no-${part}`, !shown);
  const button = document.querySelector(`.tool[data-action=${part === 'dock' ? 'dock' : 'side-panel'}]`);
  if (button instanceof HTMLElement) setPressed(button, shown);
}

/** @param {App} app */
const panelsShown = (app) => app.settings.values.panels ?? window.innerWidth >= PANELS_FIT_FROM;

/** @param {App} app @returns {Actions} */
function pageActions(app) {
  const ledger = () => /** @type {HTMLDetailsElement} */ (document.querySelector('[data-panel=ledger]'));
  return {
    measure: () => app.selection.toggleMeasuring(),
    clear: () => app.selection.clear(),
    picture: () => savePicture(app),
    theme: () => app.theme.toggle(),
    help: () => app.panels.help.toggle(),
    dock: () => showPart(app, 'dock', !app.settings.values.dock),
    'side-panel': () => showPart(app, 'panels', !panelsShown(app)),
    ledger: () => {
      const open = !(ledger().open && panelsShown(app));
      ledger().open = open;
      if (open) showPart(app, 'panels', true);
    },
    play: () => (app.hello?.source === 'live' ? hold(app) : app.panels.player.play()),
  };
}

/** Keeps the picture of a live source, or goes on. @param {App} app */
function hold(app) {
  app.flow.hold(!app.flow.held);
  app.showState();
  app.showFigures();
  app.viewer.ask();
}

/** Folded panels stay folded. @param {App} app */
function keepFolds({ settings }) {
  for (const panel of /** @type {NodeListOf<HTMLDetailsElement>} */ (
    document.querySelectorAll('details.panel')
  )) {
    const name = panel.dataset.panel ?? '';
    panel.open = !settings.values.closed.includes(name);
    panel.addEventListener('toggle', () => {
      settings.set('closed', [
        ...settings.values.closed.filter((other) => other !== name),
        ...(panel.open ? [] : [name]),
      ]);
    });
  }
}

/** What was used with the mouse gives the keys back to the page; whoever goes by keys keeps the place. */
function giveKeysBack() {
  let byPointer = false;
  document.addEventListener(
    'pointerdown',
    () => {
      byPointer = true;
    },
    true,
  );
  document.addEventListener(
    'keydown',
    () => {
      byPointer = false;
    },
    true,
  );
  document.addEventListener('mousedown', (event) => {
    if (event.target instanceof Element && event.target.closest('.tool, .chip, summary'))
      event.preventDefault();
  });
  document.addEventListener('change', ({ target }) => {
    const isText = target instanceof HTMLInputElement && target.type === 'text';
    if (byPointer && !isText && target instanceof HTMLElement) target.blur();
  });
}

/** Joins keys and buttons to what they do. @param {App} app */
export function connectActions(app) {
  /** @type {Actions} */
  const actions = {
    ...playerActions(app),
    ...cameraActions(app),
    ...displayActions(app),
    ...pageActions(app),
  };
  document.addEventListener('click', (event) => {
    const button = event.target instanceof Element ? event.target.closest('[data-action]') : null;
    if (button instanceof HTMLElement) actions[button.dataset.action ?? '']?.();
  });
  document.addEventListener('keydown', (event) => {
    const action = actionOf(event);
    if (!action || belongsTo(event.target, event.key)) return;
    if (byId('help', HTMLDialogElement).open && action !== 'help') return;
    event.preventDefault();
    actions[action]();
  });
  setPart('dock', app.settings.values.dock);
  setPart('panels', panelsShown(app));
  keepFolds(app);
  giveKeysBack();
}
