// SPDX-License-Identifier: Apache-2.0
// Debian's Chromium without a window, and the page in it.

import { chromium } from 'playwright-core';

export const FLAGS = [
  '--no-sandbox',
  '--use-angle=swiftshader',
  '--enable-unsafe-swiftshader',
  '--disable-quic',
  '--no-first-run',
  '--disable-background-networking',
  '--disable-component-update',
  '--disable-sync',
];

export const startBrowser = () => chromium.launch({ executablePath: '/usr/bin/chromium', args: FLAGS });

/** Opens the page; what it asks for elsewhere and complains of is kept in `page.strays` and `page.errors`. */
export async function openPage(
  browser,
  url,
  { width = 1280, height = 720, theme = 'dark', context = {} } = {},
) {
  const options = { viewport: { width, height }, colorScheme: theme, ...context };
  const page = await (await browser.newContext(options)).newPage();
  page.errors = [];
  page.strays = [];
  page.on('console', (message) => {
    if (['error', 'warning'].includes(message.type()) && !/GPU stall due to ReadPixels/.test(message.text()))
      page.errors.push(message.text());
  });
  page.on('pageerror', (error) => page.errors.push(String(error)));
  page.on('request', (request) => {
    if (!/^(data|blob):/.test(request.url()) && new URL(request.url()).hostname !== '127.0.0.1')
      page.strays.push(request.url());
  });
  await page.goto(url);
  return page;
}

/** What the page tells of itself. */
export const look = (page, name) => page.evaluate((of) => window.orliqView[of], name);

/** Waits until the page tells that something holds. */
export const until = (page, condition, of) =>
  page.waitForFunction(condition, of, { timeout: 60000, polling: 50 });
