// SPDX-License-Identifier: Apache-2.0
// The account of packets and frames, as the program words it. Of many sensors each is folded to one line: the first
// that is wrong with it, if anything is.

import { byId, element } from '../page/dom.js';

/** @import { Ledger } from '../types' */

const SHORT_TEXT = 26; // characters that are not worth a second line
const UNFOLDED_GROUPS = 2; // that fit below each other

/** @typedef {Ledger['groups'][number]} LedgerGroup */

/** A text that is long stands below its label. @param {LedgerGroup['rows'][number]} row */
function rowElement({ label, text, tone }) {
  const isLong = text.length > SHORT_TEXT;
  const head = element('th', { scope: 'row', textContent: label });
  if (!isLong) return element('tr', { className: tone }, head, element('td', { textContent: text }));
  head.colSpan = 2;
  head.append(element('p', { textContent: text }));
  return element('tr', { className: tone }, head);
}

export class LedgerPanel {
  constructor() {
    this.box = byId('ledger');
    this.shown = '';
    /** @type {Map<string, boolean>} titles of the groups that the person folded or unfolded */
    this.folds = new Map();
  }

  /** @param {LedgerGroup[]} groups */
  show(groups) {
    const text = JSON.stringify(groups);
    if (text === this.shown) return;
    this.shown = text;
    this.box.replaceChildren(...groups.map((group) => this.#group(group, groups.length <= UNFOLDED_GROUPS)));
  }

  /** @param {LedgerGroup} group @param {boolean} open unless the person wants it otherwise */
  #group({ title, rows }, open) {
    const bad = rows.find((row) => row.tone === 'bad');
    const told = bad ? `${bad.text} ${bad.label}` : (rows[0]?.text ?? ''); // when folded
    const summary = element(
      'summary',
      {},
      element('b', { textContent: title }),
      element('span', { className: bad ? 'bad' : '', textContent: told, title: told }),
    );
    summary.addEventListener('click', () => this.folds.set(title, !group.open));
    const body = element('tbody', {}, ...rows.map(rowElement));
    const group = element(
      'details',
      { className: 'group', open: this.folds.get(title) ?? open },
      summary,
      element('table', { className: 'ledger-rows' }, body),
    );
    return group;
  }

  get text() {
    return this.box.innerText;
  }
}
