// SPDX-License-Identifier: Apache-2.0
// Dark or light: as the system, unless the person has chosen.

/** @import { Settings } from './settings' */

export class Theme {
  /** @param {Settings} settings @param {() => void} changed */
  constructor(settings, changed) {
    this.settings = settings;
    this.changed = changed;
    this.system = matchMedia('(prefers-color-scheme: light)');
    this.system.addEventListener('change', () => this.apply());
  }

  /** @returns {'dark' | 'light'} */
  get current() {
    const { theme } = this.settings.values;
    if (theme !== 'system') return theme;
    return this.system.matches ? 'light' : 'dark';
  }

  apply() {
    document.documentElement.dataset.theme = this.current;
    this.changed();
  }

  /** The other one. What the system has anyway is not kept as a choice. */
  toggle() {
    const wanted = this.current === 'dark' ? 'light' : 'dark';
    this.settings.set('theme', wanted === (this.system.matches ? 'light' : 'dark') ? 'system' : wanted);
    this.apply();
  }
}
