// SPDX-License-Identifier: Apache-2.0
// What is measured of a page, and of a bare three.js loop in the same browser.

import { build } from 'esbuild';

/** The value below which this share of them lies. */
export const at = (values, share) =>
  [...values].sort((a, b) => a - b)[Math.floor(share * (values.length - 1))] ?? NaN;
export const median = (values) => at(values, 0.5);

/** Looks at an open page for a while; times in ms, of the frames drawn meanwhile (of at most the last 240). */
export async function watchPage(page, seconds) {
  const look = () =>
    page.evaluate(() => ({
      now: performance.now(),
      shown: window.orliqView.framesShown,
      skipped: window.orliqView.framesSkipped + window.orliqView.framesSuperseded,
    }));
  const before = await look();
  await new Promise((done) => setTimeout(done, 1000 * seconds));
  const after = await look();
  const shown = after.shown - before.shown;
  const facts = await page.evaluate(
    (count) => ({
      points: window.orliqView.points,
      size: document.querySelector('#stage').getBoundingClientRect().toJSON(),
      prepare: window.orliqView.lastTimes('prepare', count),
      oneClock: window.orliqView.lastTimes('oneClock', count),
    }),
    shown,
  );
  const perSecond = (1000 * shown) / (after.now - before.now);
  return { ...facts, shown, perSecond, skipped: after.skipped - before.skipped };
}

/** What the browser can draw at most: frames per second of `points` points on a canvas of this size [CSS pixels]. */
export async function measureBareLoop(browser, { points, width, height, seconds }) {
  const { outputFiles } = await build({
    entryPoints: [new URL('bare-loop.js', import.meta.url).pathname],
    bundle: true,
    write: false,
    minify: true,
  });
  const page = await browser.open('about:blank');
  await page.evaluate(`() => {${outputFiles[0].text}; document.body.style.margin = 0;}`);
  const perSecond = await page.evaluate((of) => window.runBareLoop(of), { points, width, height, seconds });
  await page.close();
  return perSecond;
}
