// SPDX-License-Identifier: Apache-2.0
// What the person has to know: why nothing comes, a lost connection, and the program's remarks. What holds stays over
// the picture; a remark fades, and stands in the ledger's panel.

import { byId, element } from '../page/dom.js';
import { READ_MS, Remarks } from './remarks.js';

/** @import { ConnectionState, Notice } from '../types' */
/** @import { Remark } from './remarks' */

const MOST_CARDS = 3; // over the picture

/**
 * @typedef {object} Card
 * @property {Notice} notice
 * @property {number} [at] [ms] of a remark: the same text may come again
 * @property {boolean} [fading]
 * @property {() => void} [dismiss] absent: there is a button to connect at once instead
 */

export class NoticeBoard {
  /** @param {() => void} retry tries to connect at once */
  constructor(retry) {
    this.box = byId('notices');
    this.waiting = byId('waiting');
    this.list = byId('remarks');
    this.retry = retry;
    this.remarks = new Remarks();
    /** @type {Notice[]} of the program, as long as they hold */
    this.notices = [];
    /** @type {ConnectionState} */
    this.connection = 'connecting';
    this.retryAt = 0; // [ms]
    this.wasOpen = false;
    this.ended = '';
    this.hasFrame = false;
    /** @type {Set<string>} texts that the person has read */
    this.dismissed = new Set();
    this.shown = '';
    setInterval(() => this.show(), 500);
  }

  /** @param {Partial<NoticeBoard>} changes */
  change(changes) {
    Object.assign(this, changes);
    // What holds no longer is news again when it comes back.
    for (const text of this.dismissed)
      if (!this.#holding.some((notice) => notice.text === text)) this.dismissed.delete(text);
    this.show();
  }

  /** The program's list: what is bad holds, the others are its latest remarks. @param {Notice[]} notices */
  tell(notices) {
    const bad = notices.filter(({ tone }) => tone === 'bad');
    const remarks = notices.filter(({ tone }) => tone !== 'bad').map(({ text }) => text);
    this.remarks.hear(remarks, performance.now());
    this.change({ notices: bad });
    this.#list();
  }

  /** @param {string} words why a message could not be read */
  tellDamaged(words) {
    this.remarks.add('bad', `A message was left out: ${words}.`, performance.now());
    this.show();
    this.#list();
  }

  /** @returns {Notice[]} */
  get #lost() {
    if (this.connection === 'open') return [];
    if (this.connection === 'connecting' && !this.wasOpen) return [];
    const seconds = Math.max(0, Math.ceil((this.retryAt - performance.now()) / 1000));
    const when =
      this.connection === 'connecting' || seconds === 0
        ? 'Connecting …'
        : `Connecting again in ${seconds} s …`;
    if (this.ended) return [{ tone: 'plain', text: `${this.ended}\n${when}` }];
    const what = this.wasOpen
      ? 'The connection to orliq view is lost: what is shown is the last frame that came.'
      : 'orliq view does not answer.';
    return [{ tone: 'bad', text: `${what}\n${when}` }];
  }

  get #holding() {
    return [...this.#lost, ...this.notices];
  }

  /** What holds, and all remarks that are kept. @returns {Notice[]} */
  get all() {
    return [...this.#holding, ...this.remarks.kept.map(({ tone, text }) => ({ tone, text }))];
  }

  /** @returns {Card[]} */
  get #cards() {
    const now = performance.now();
    const holding = this.#holding
      .filter(({ text }) => !this.dismissed.has(text))
      .map((notice, i) => {
        const dismiss = () => this.dismissed.add(notice.text);
        return i === 0 && this.connection === 'lost' ? { notice } : { notice, dismiss };
      });
    const remarks = this.remarks
      .fresh(now)
      .map((remark) => ({
        notice: { tone: remark.tone, text: remark.text },
        at: remark.at,
        fading: now - remark.at >= READ_MS,
        dismiss: () => (remark.dismissed = true),
      }));
    return [...holding, ...remarks].slice(0, MOST_CARDS);
  }

  show() {
    const cards = this.#cards;
    const large = !this.hasFrame && this.#holding.some(({ tone }) => tone === 'bad') && cards.length > 0;
    this.waiting.hidden = this.hasFrame || cards.length > 0;
    this.waiting.textContent = this.connection === 'open' ? 'Waiting for the first frame …' : 'Connecting …';
    const text = JSON.stringify([cards, large, this.connection]);
    if (text === this.shown) return;
    this.shown = text;
    this.box.classList.toggle('large', large);
    this.box.replaceChildren(...cards.map((card) => this.#element(card)));
  }

  /** @param {Card} card */
  #element({ notice, fading, dismiss }) {
    const name = `notice ${notice.tone}${fading ? ' fading' : ''}`;
    const made = element('div', { className: name, textContent: notice.text });
    const button = dismiss
      ? { className: 'dismiss', textContent: '×', ariaLabel: 'Dismiss' }
      : { className: 'chip', textContent: 'now' };
    const act = dismiss ?? this.retry;
    made.append(
      element('button', {
        type: 'button',
        ...button,
        onclick: () => {
          act();
          this.show();
        },
      }),
    );
    return made;
  }

  /** The remarks below the ledger. */
  #list() {
    const { kept } = this.remarks;
    byId('remarks-box').hidden = kept.length === 0;
    const newest = kept[0]?.at ?? 0;
    const text = `${kept.length} ${newest}`;
    if (this.list.dataset.shown === text) return;
    this.list.dataset.shown = text;
    this.list.replaceChildren(...kept.map((remark) => this.#item(remark)));
  }

  /** @param {Remark} remark */
  #item({ tone, text, date }) {
    const time = element('time', {
      dateTime: date.toISOString(),
      textContent: date.toLocaleTimeString('en-GB'),
    });
    return element('li', { className: tone }, time, text);
  }
}
