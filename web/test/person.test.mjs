// SPDX-License-Identifier: Apache-2.0
// What a person sees and does; the mock shows what the eye would have to judge.
import assert from 'node:assert/strict';
import { describe, test } from 'node:test';
import { look, until } from './browser.mjs';
import { close, open, page } from './session.mjs';

describe('the picture', () => {
  /** The colour at a place of the cloud, of a picture drawn for it. */
  const colourAt = (place) =>
    page.evaluate((of) => {
      const { x, y } = window.orliqView.project(of);
      return window.orliqView.colourAt(x, y).join(' ');
    }, place);

  test('has null points when they are asked for', async () => {
    await open('capture');
    for (const key of 'gxr') await page.keyboard.press(key); // nothing but points
    const background = await colourAt([0, 0, 0]);
    await page.keyboard.press('n');
    assert.notEqual(await colourAt([0, 0, 0]), background);
    await page.keyboard.press('n');
    assert.equal(await colourAt([0, 0, 0]), background);
  });

  test('is drawn again when the browser has taken the graphics memory away', async () => {
    await open('capture', {}, /CONTEXT_LOST_WEBGL|THREE.WebGLRenderer: Context (Lost|Restored)/);
    await page.locator('#range-image').click();
    const { position } = await look(page, 'picked');
    await page.keyboard.press('Escape');
    const before = await colourAt(position);
    await page.evaluate(async () => {
      const lose = document
        .querySelector('#stage > canvas')
        .getContext('webgl2')
        .getExtension('WEBGL_lose_context');
      lose.loseContext();
      await new Promise((done) => setTimeout(done, 100));
      lose.restoreContext();
      await new Promise((done) => setTimeout(done, 300));
    });
    assert.equal(await colourAt(position), before);
  });

  test('by time counts from the first point of the frame, to less than a millisecond', async () => {
    await open('live');
    await page.keyboard.press(' ');
    await page.selectOption('#mode', 'time');
    const { lo, hi } = await look(page, 'limits');
    assert.ok(lo > 0.0015 && lo < 0.0025 && hi > 0.095 && hi < 0.1, `${lo} to ${hi}`); // 2 and 98 of 100 ms
    await page.locator('#range-image').click({ position: { x: 200, y: 100 } });
    const { index, position } = await look(page, 'picked');
    await page.keyboard.press('Escape');
    const seen = await colourAt(position);
    const told = await page.evaluate((i) => window.orliqView.colourOf(i), index);
    const off = Math.max(...seen.split(' ').map((part, i) => Math.abs(part - told[i])));
    assert.ok(off <= 4, `${seen} instead of ${told}`);
  });

  test('leaves out a sensor that is switched off', async () => {
    await open('pair');
    const { position } = await page
      .locator('#range-image')
      .click()
      .then(() => look(page, 'picked'));
    await page.keyboard.press('Escape');
    const before = await colourAt(position);
    await page.locator('#sensors input').first().uncheck();
    assert.notEqual(await colourAt(position), before);
  });
});

describe('the images', () => {
  test('show each point in its row and column, and point to it in the cloud', async () => {
    await open('capture', { width: 1920, height: 1300 }); // where a cell is larger than a pixel
    assert.deepEqual(await look(page, 'imageSize'), { width: 256, height: 192 });
    const image = page.locator('#range-image');
    const [width, height] = await image.evaluate((canvas) => [canvas.clientWidth, canvas.clientHeight]);
    const position = { x: (width * 100.5) / 256, y: (height * 150.5) / 192 };
    await image.hover({ position });
    assert.match(await page.locator('#image-readout').innerText(), /ring 150 +column 100 +range/);
    await image.click({ position });
    const { index, fields } = await look(page, 'picked');
    assert.equal(index, 100 * 192 + 150); // the mock sends column by column
    assert.equal(fields.find(({ name }) => name === 'column').value, 100);

    await image.focus(); // by keys: from the middle, column 128 and row 96
    for (const key of ['ArrowRight', 'Shift+ArrowRight', 'ArrowUp', 'Enter']) await page.keyboard.press(key);
    assert.equal((await look(page, 'picked')).index, 139 * 192 + 95);
    for (let i = 0; i < 12; ++i) await page.keyboard.press('Shift+ArrowRight');
    await page.keyboard.press('Enter');
    assert.equal((await look(page, 'picked')).index, 255 * 192 + 95);
    assert.equal(await look(page, 'entry'), 0, 'arrows in an image are no steps of the player');
  });
});

/** In the page: the share of points that is in the picture, and how much of its width or height they take. */
function spreadOnScreen() {
  const { clientWidth: width, clientHeight: height } = document.querySelector('#stage');
  const places = [];
  for (let i = 0; i < window.orliqView.points; i += 97) {
    const place = window.orliqView.position(i);
    if (place.some((part) => part !== 0)) places.push(window.orliqView.project(place));
  }
  const inside = places.filter((at) => at && at.x > 0 && at.y > 0 && at.x < width && at.y < height);
  const span = (axis) =>
    Math.max(...inside.map((at) => at[axis])) - Math.min(...inside.map((at) => at[axis]));
  return { inside: inside.length / places.length, fills: Math.max(span('x') / width, span('y') / height) };
}

describe('the person', () => {
  test('finds what was chosen again after loading the page anew', async () => {
    await open('capture');
    for (const key of ['t', 'c', 'g', '.']) await page.keyboard.press(key);
    const before = await page.evaluate(() => [document.documentElement.dataset.theme, window.orliqView.mode]);
    assert.deepEqual(before, ['light', 'ring']);
    await page.reload();
    await until(page, () => window.orliqView?.framesShown > 0);
    assert.deepEqual(
      await page.evaluate(() => [document.documentElement.dataset.theme, window.orliqView.mode]),
      before,
    );
    assert.deepEqual([await page.isChecked('#show-grid'), await page.inputValue('#size')], [false, '2.5']);
  });

  test('can do without a store of the browser, and with one that holds nonsense', async () => {
    const nonsense = JSON.stringify({
      theme: 5,
      mode: 'toString',
      size: 'x',
      limits: [1],
      closed: {},
      map: '__proto__',
    });
    await open('capture');
    await page.evaluate((text) => localStorage.setItem('orliq.view', text), nonsense);
    await page.reload();
    await until(page, () => window.orliqView?.framesShown > 0);
    assert.equal(await look(page, 'mode'), 'intensity');
    await page.addInitScript(() =>
      Object.defineProperty(window, 'localStorage', {
        get() {
          throw new Error('forbidden');
        },
      }),
    );
    await page.reload();
    await until(page, () => window.orliqView?.framesShown > 0);
    await page.keyboard.press('t');
    assert.equal(await page.evaluate(() => document.documentElement.dataset.theme), 'light');
  });

  test('finds all keys in the overlay, and each of them does something without complaint', async () => {
    await open('capture');
    await page.keyboard.press('?');
    const keys = await page.locator('#help kbd').allInnerTexts();
    assert.ok(keys.length > 40 && (await page.locator('#help').isVisible()));
    await page.keyboard.press('Escape');
    assert.ok(!(await page.locator('#help').isVisible()));
    for (const key of 'f123adwseqADWScvbngrxmiopt[].,l+-') await page.keyboard.press(key);
    for (const key of ['Home', 'End', 'ArrowLeft', 'Shift+ArrowLeft', 'Shift+ArrowRight', 'Escape'])
      await page.keyboard.press(key);
    await until(page, () => window.orliqView.entry === 22);
  });

  test('turns, moves and nears the camera by keys and by dragging', async () => {
    await open('capture');
    const camera = () => look(page, 'camera');
    const distance = ({ position, target }) =>
      Math.hypot(...position.map((part, axis) => part - target[axis]));
    await page.keyboard.press('1');
    const top = await camera();
    assert.ok(
      Math.hypot(top.position[0] - top.target[0], top.position[1] - top.target[1]) < 0.05 &&
        top.position[2] > top.target[2],
    );
    await page.keyboard.press('e');
    assert.ok(Math.abs(distance(await camera()) / distance(top) - 0.85) < 1e-6);
    await page.keyboard.press('3');
    const front = await camera();
    assert.ok(front.position[0] < front.target[0] && Math.abs(front.position[1] - front.target[1]) < 0.01);
    for (const key of ['2', '1', '3']) {
      await page.keyboard.press(key);
      const { inside, fills } = await page.evaluate(spreadOnScreen);
      assert.ok(
        inside > 0.985 && fills > 0.6,
        `${inside} of the points in the picture, filling ${fills} of it`,
      );
    }
    await page.mouse.move(300, 200);
    await page.mouse.down();
    await page.mouse.move(420, 230, { steps: 3 });
    await page.mouse.up();
    assert.notDeepEqual((await camera()).position, front.position);
    assert.equal(await look(page, 'picked'), null, 'the end of a drag picks nothing');
  });

  for (const [width, height] of [
    [1280, 720],
    [1920, 1080],
    [390, 844],
  ]) {
    test(`sees all controls at ${width} x ${height}, in dark and light`, async () => {
      for (const theme of ['dark', 'light']) {
        await open('capture', { width, height, theme });
        const outside = await page.evaluate(() =>
          [
            ...document.querySelectorAll(
              '.topbar button, .bottombar button, .bottombar select, .bottombar dd, .stage > canvas',
            ),
          ]
            .filter((of) => of.checkVisibility() && of.offsetParent !== null)
            .filter((of) => {
              const r = of.getBoundingClientRect();
              return (
                r.left < 0 ||
                r.top < 0 ||
                r.right > innerWidth + 0.5 ||
                r.bottom > innerHeight + 0.5 ||
                r.width < 1
              );
            })
            .map((of) => of.id || of.dataset.action || of.tagName),
        );
        assert.deepEqual(outside, []);
        const unnamed = await page.evaluate(() =>
          [...document.querySelectorAll('button, input, select')]
            .filter((of) => !(of.getAttribute('aria-label') || of.textContent.trim() || of.labels?.length))
            .map((of) => of.id),
        );
        assert.deepEqual(unnamed, []);
        if (theme === 'dark') {
          await close();
        }
      }
    });
  }
});
