// SPDX-License-Identifier: Apache-2.0
// The keys: one table, from which they work and from which the help is written.

/** @typedef {{ keys: string[], shown: string[], does: string, action: string }} Binding */

/**
 * @param {string} action
 * @param {string[]} keys
 * @param {string} does
 * @param {string[]} [shown]
 * @returns {Binding}
 */
const key = (
  action,
  keys,
  does,
  shown = keys.map((name) => (name.length === 1 ? name.toUpperCase() : name)),
) => ({ action, keys, does, shown });

/** @type {{ title: string, keys: Binding[] }[]} */
export const KEY_TABLE = [
  {
    title: 'Camera',
    keys: [
      key('fit', ['f'], 'fit all points'),
      key('top', ['1'], 'from the top'),
      key('side', ['2'], 'from the side'),
      key('front', ['3'], 'as the sensor looks'),
      key('orbit-left', ['a'], 'orbit left'),
      key('orbit-right', ['d'], 'orbit right'),
      key('orbit-up', ['w'], 'orbit up'),
      key('orbit-down', ['s'], 'orbit down'),
      key('pan-left', ['Shift+a'], 'pan left', ['Shift A']),
      key('pan-right', ['Shift+d'], 'pan right', ['Shift D']),
      key('pan-up', ['Shift+w'], 'pan up', ['Shift W']),
      key('pan-down', ['Shift+s'], 'pan down', ['Shift S']),
      key('zoom-in', ['e', '+', '='], 'nearer', ['E', '+']),
      key('zoom-out', ['q', '-'], 'farther', ['Q', '−']),
    ],
  },
  {
    title: 'Player',
    keys: [
      key('play', [' '], 'play or pause; live: hold the frame', ['Space']),
      key('previous', ['ArrowLeft'], 'frame before', ['←']),
      key('next', ['ArrowRight'], 'next frame', ['→']),
      key('back-10', ['Shift+ArrowLeft'], 'ten frames back', ['Shift ←']),
      key('forward-10', ['Shift+ArrowRight'], 'ten frames on', ['Shift →']),
      key('first', ['Home'], 'first frame'),
      key('last', ['End'], 'last frame'),
      key('slower', ['['], 'slower'),
      key('faster', [']'], 'faster'),
      key('loop', ['l'], 'loop'),
    ],
  },
  {
    title: 'Points and page',
    keys: [
      key('measure', ['m'], 'measure between two points'),
      key('clear', ['Escape'], 'forget the marked points', ['Esc']),
      key('picture', ['k'], 'keep a PNG of the view'),
      key('dock', ['i'], 'images and motion'),
      key('side-panel', ['p'], 'panels'),
      key('ledger', ['o'], 'ledger'),
      key('theme', ['t'], 'dark or light'),
      key('help', ['?'], 'these keys'),
    ],
  },
  {
    title: 'Colour and display',
    keys: [
      key('next-mode', ['c'], 'colour by the next field'),
      key('previous-mode', ['Shift+c'], 'by the one before', ['Shift C']),
      key('next-map', ['v'], 'next colour map'),
      key('auto-limits', ['b'], 'limits: automatic or as they are'),
      key('larger', ['.'], 'larger points'),
      key('smaller', [','], 'smaller points'),
      key('null', ['n'], 'hide null points'),
      key('grid', ['g'], 'grid'),
      key('rings', ['r'], 'range rings'),
      key('axes', ['x'], 'axes'),
    ],
  },
];

const ACTIONS = new Map(
  KEY_TABLE.flatMap((group) => group.keys.flatMap((of) => of.keys.map((name) => [name, of.action]))),
);

/**
 * The action of a key; undefined without one.
 * @param {Pick<KeyboardEvent, 'key' | 'shiftKey' | 'ctrlKey' | 'altKey' | 'metaKey'>} event
 */
export function actionOf({ key: name, shiftKey, ctrlKey, altKey, metaKey }) {
  if (ctrlKey || altKey || metaKey) return undefined;
  const plain = name.length === 1 ? name.toLowerCase() : name;
  const isLetter = plain !== plain.toUpperCase() || name.length > 1;
  return ACTIONS.get(shiftKey && isLetter ? `Shift+${plain}` : plain);
}

/**
 * Whether a key typed here belongs to the element that has the focus.
 * @param {EventTarget | null} target
 * @param {string} name
 */
export function belongsTo(target, name) {
  if (!(target instanceof HTMLElement)) return false;
  if (target instanceof HTMLSelectElement) return true;
  if (target.closest('.grid-image')) return name.startsWith('Arrow');
  if (target instanceof HTMLInputElement) {
    if (target.type === 'checkbox') return name === ' ';
    return target.type !== 'range' || /^(Arrow|Home|End|Page)/.test(name);
  }
  return (
    (target instanceof HTMLButtonElement || target.tagName === 'SUMMARY') &&
    (name === ' ' || name === 'Enter')
  );
}
