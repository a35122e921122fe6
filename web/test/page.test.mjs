// SPDX-License-Identifier: Apache-2.0
// The page shows what the server of a capture sends. Against the mock, or against the server whose page is at
// ORLIQ_VIEW_URL, which plays a capture of at least six entries.
import assert from 'node:assert/strict';
import { readFile } from 'node:fs/promises';
import { after, afterEach, before, describe, test } from 'node:test';
import { look, openPage, startBrowser, until } from './browser.mjs';
import { MockServer } from './mock-server.mjs';
import { StreamClient, extentOf } from './stream-client.mjs';

let mock, url, browser, page, client;

before(async () => {
  mock = process.env.ORLIQ_VIEW_URL ? null : new MockServer('capture');
  url = process.env.ORLIQ_VIEW_URL ?? `http://127.0.0.1:${await mock.listen()}/`;
  browser = await startBrowser();
  page = await openPage(browser, url);
  client = new StreamClient(url);
  await client.hello;
  client.send({ do: 'pause' });
  await until(page, () => window.orliqView.framesShown > 0);
});

afterEach(() =>
  assert.deepEqual(
    [page.errors, page.strays],
    [[], []],
    'nothing is complained of, and nothing asked for elsewhere',
  ),
);

after(async () => {
  client?.close();
  await browser?.close();
  await mock?.close();
});

/** Asks for an entry by the second client and waits until the page shows it too. */
async function show(entry) {
  const frame = await client.entry(entry);
  await until(
    page,
    (wanted) => window.orliqView.entry === wanted && window.orliqView.player.entry === wanted,
    entry,
  );
  return frame;
}

/** Grey number `shade` of 256: of the map "grey" lightness rises evenly, and light is its third power. */
function grey(shade) {
  const light = (0.28 + (0.7 * shade) / 255) ** 3;
  return Math.round(255 * (1.055 * light ** (1 / 2.4) - 0.055));
}

/** Clicks a point that is to be seen, in its very middle, and returns what the page says of it. */
async function pickSomePoint(from = 1) {
  const { x, y, width, height } = await page.locator('#stage > canvas').boundingBox();
  const clickAt = async (spot) => {
    await page.keyboard.press('Escape');
    await page.mouse.click(x + spot.x, y + spot.y);
    return look(page, 'picked');
  };
  for (let tries = from; tries < 100; ++tries) {
    const [u, v] = [(tries * 0.618034) % 1, (tries * 0.414214) % 1];
    const picked = await clickAt({ x: width * (0.2 + 0.6 * u), y: height * (0.25 + 0.4 * v) });
    if (!picked) continue;
    // Picked again there, it is the one in front: no other covers its middle.
    const again = await clickAt(
      await page.evaluate((place) => window.orliqView.project(place), picked.position),
    );
    if (again?.index === picked.index) return again;
  }
  throw new Error('no point to be seen');
}

/** Some point is on the screen in the colour that the page tells of it. */
async function hasToldColour(mode, from) {
  const { index, position } = await pickSomePoint(from);
  await page.keyboard.press('Escape');
  const [seen, told] = await page.evaluate(
    ([place, i]) => {
      const at = window.orliqView.project(place);
      return [window.orliqView.colourAt(at.x, at.y), window.orliqView.colourOf(i)];
    },
    [position, index],
  );
  const off = Math.max(...seen.map((part, i) => Math.abs(part - told[i])));
  assert.ok(off <= 3, `${mode}: ${seen} instead of ${told}`); // a shade, where 32 bits round otherwise
}

describe('the page', () => {
  test('draws the points that were sent: their number and the box around them', async () => {
    const { sensors } = await client.hello;
    const frame = await show(2);
    const sent = extentOf(frame, sensors);
    assert.ok(sent.points > 1000);
    assert.deepEqual(await look(page, 'drawn'), sent);
    assert.equal(await look(page, 'points'), frame.points);
  });

  test('reads every field of a clicked point exactly', async () => {
    const frame = await show(3);
    const { index, entry, fields } = await pickSomePoint();
    const told = Object.fromEntries(fields.map(({ name, value }) => [name, value]));
    assert.equal(entry, 3);
    assert.deepEqual(
      [told.x, told.y, told.z],
      [0, 1, 2].map((axis) => frame.value('xyz', 3 * index + axis)),
    );
    for (const name of frame.fieldNames) {
      const count = frame.countOf(name);
      const sent = Array.from({ length: count }, (_, part) => frame.value(name, count * index + part));
      assert.deepEqual(told[name], count === 1 ? sent[0] : sent, name);
    }
    assert.ok((await page.locator('#point-fields').innerText()).includes(`intensity\t${told.intensity}`));
  });

  test('draws a point in the colour that its value has between limits set by hand', async () => {
    const frame = await show(1);
    await page.selectOption('#mode', 'ring');
    await page.selectOption('#map', 'grey');
    await page.fill('#limit-lo', '-10');
    await page.fill('#limit-hi', '200');
    await page.press('#limit-hi', 'Enter');
    await page.evaluate(() => document.activeElement.blur());
    for (let i = 0; i < 2; ++i) await page.keyboard.press('.'); // points of three pixels have a middle
    for (let tries = 1; tries < 40; tries += 6) {
      const { index, position } = await pickSomePoint(tries);
      const ring = frame.value('ring', index);
      const expected = grey(Math.floor(((ring + 10) / 210) * 255 + 0.5));
      await page.keyboard.press('Escape'); // the mark lies over the point
      const seen = await page.evaluate((place) => {
        const at = window.orliqView.project(place);
        return window.orliqView.colourAt(at.x, at.y);
      }, position);
      const off = Math.max(...seen.map((part) => Math.abs(part - expected)));
      assert.ok(off <= 1, `${seen} instead of ${expected} of ring ${ring}`);
      assert.deepEqual(
        await page.evaluate((i) => window.orliqView.colourOf(i), index),
        Array(3).fill(expected),
      );
    }
    assert.deepEqual(await look(page, 'limits'), { lo: -10, hi: 200 });
    await page.click('#limits-auto');
    assert.notDeepEqual(await look(page, 'limits'), { lo: -10, hi: 200 });
  });

  test('draws a point in the same colour as it is told for every field', async () => {
    await page.selectOption('#map', 'dusk');
    for (const mode of await look(page, 'modes')) {
      await page.selectOption('#mode', mode);
      for (const from of [1, 8, 15, 22, 29]) await hasToldColour(mode, from);
    }
  });

  test('measures between two points', async () => {
    await page.keyboard.press('1');
    const from = await pickSomePoint();
    await page.keyboard.press('m');
    const spot = await page.evaluate((place) => window.orliqView.project(place), from.position);
    const { x, y } = await page.locator('#stage > canvas').boundingBox();
    await page.mouse.click(x + spot.x, y + spot.y);
    const first = await look(page, 'picked');
    assert.equal(await look(page, 'distance'), null);
    await page.locator('#range-image').click();
    const second = await look(page, 'picked');
    const expected = Math.hypot(...first.position.map((part, axis) => part - second.position[axis]));
    assert.equal(await look(page, 'distance'), expected);
    assert.ok((await page.locator('#distance').innerText()).includes(expected.toFixed(3)));
    await page.keyboard.press('Escape');
  });

  test('shows the entry that slider, steps and keys ask for', async () => {
    await show(0);
    const shows = (entry) => until(page, (wanted) => window.orliqView.entry === wanted, entry);
    await page.locator('#seek').evaluate((slider) => {
      for (const value of [1, 3, 2]) {
        slider.value = String(value); // dragged faster than it is asked for
        slider.dispatchEvent(new Event('input'));
      }
    });
    await shows(2);
    await page.locator('#seek').fill('4');
    await shows(4);
    await page.evaluate(() => document.activeElement.blur());
    await page.keyboard.press('ArrowRight');
    await shows(5);
    await page.click('[data-action=previous]');
    await shows(4);
    await page.keyboard.press('Home');
    await shows(0);
    assert.equal(await page.locator('#seek').inputValue(), '0');
    assert.match(await page.locator('#entry').innerText(), /^0 \/ \d+$/);
  });

  test('plays and pauses, and sets speed and loop', async () => {
    const isNow = (name, value) =>
      until(page, ([of, wanted]) => window.orliqView.player[of] === wanted, [name, value]);
    client.send({ do: 'loop', on: true }); // a short capture would end meanwhile
    await isNow('loop', true);
    await isNow('playing', false);
    const before = await look(page, 'framesShown');
    await page.keyboard.press(' ');
    await isNow('playing', true);
    await until(page, (count) => window.orliqView.framesShown > count + 2, before);
    await page.click('#play');
    await isNow('playing', false);
    await page.evaluate(() => document.activeElement.blur());
    await page.keyboard.press('l');
    await isNow('loop', false);
    await page.selectOption('#speed', '2');
    await isNow('speed', 2);
    await page.evaluate(() => document.activeElement.blur());
    await page.keyboard.press('[');
    await isNow('speed', 1);
  });

  test('keeps a PNG of the view, with the points in it', async () => {
    const { position } = await pickSomePoint();
    await page.keyboard.press('Escape');
    const [download] = await Promise.all([page.waitForEvent('download'), page.keyboard.press('k')]);
    assert.match(download.suggestedFilename(), /\.png$/);
    const bytes = [...(await readFile(await download.path()))];
    const [width, inFile, onScreen] = await page.evaluate(
      async ([numbers, place]) => {
        const image = await createImageBitmap(new Blob([Uint8Array.from(numbers)], { type: 'image/png' }));
        const pen = new OffscreenCanvas(image.width, image.height).getContext('2d');
        pen.drawImage(image, 0, 0);
        const { x, y } = window.orliqView.project(place);
        return [
          image.width,
          [...pen.getImageData(x, y, 1, 1).data].slice(0, 3),
          window.orliqView.colourAt(x, y),
        ];
      },
      [bytes, position],
    );
    assert.equal(width, Math.round((await page.locator('#stage > canvas').boundingBox()).width));
    assert.deepEqual(inFile, onScreen);
  });

  test('draws nothing while nothing changes', async () => {
    const settled = await page.evaluate(async () => {
      const pause = (ms) => new Promise((done) => setTimeout(done, ms));
      for (let last = -1; last !== window.orliqView.pictures; await pause(300))
        last = window.orliqView.pictures;
      const from = window.orliqView.pictures;
      await pause(700);
      return window.orliqView.pictures - from;
    });
    assert.equal(settled, 0);
  });
});
