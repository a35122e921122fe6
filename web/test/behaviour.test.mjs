// SPDX-License-Identifier: Apache-2.0
// How the page bears what a server may do to it; only the mock can do all of this.
import assert from 'node:assert/strict';
import { describe, test } from 'node:test';
import { look, until } from './browser.mjs';
import { encodeFrame } from './mock-server.mjs';
import { open, page, reached, serveAgain, server, shown } from './session.mjs';

describe('the connection', () => {
  test('is made again by itself when the server is back, and the page says meanwhile that it is lost', async () => {
    const port = await open('capture', {}, /WebSocket connection to .* failed/);
    await server.close();
    await until(page, () => document.querySelector('#state').textContent === 'connection lost');
    assert.match(await page.locator('#notices').innerText(), /connection to orliq view is lost[^]*Connect/);
    await serveAgain('capture', port);
    const before = await look(page, 'framesShown');
    await until(
      page,
      (count) => window.orliqView.state === 'open' && window.orliqView.framesShown > count,
      before,
    );
    assert.equal(await page.locator('#notices').innerText(), '');
  });

  test('that was ended by the program says what the program said', async () => {
    await open('live', {}, /WebSocket connection to .* failed/);
    await server.end('orliq view was ended');
    await until(page, () =>
      /orliq view was ended\nConnecting again/.test(document.querySelector('#notices').innerText),
    );
  });

  test('to another source shows that one, also when the picture was held, and forgets what was marked', async () => {
    const port = await open('live', {}, /WebSocket connection to .* failed/);
    await page.locator('#range-image').click();
    await page.fill('#limit-lo', '-10');
    await page.fill('#limit-hi', 'Infinity');
    await page.press('#limit-hi', 'Enter');
    assert.equal(await page.getAttribute('#limit-hi', 'aria-invalid'), 'true');
    await page.fill('#limit-hi', '200');
    await page.press('#limit-hi', 'Enter');
    assert.deepEqual(await look(page, 'limits'), { lo: -10, hi: 200 });
    await page.evaluate(() => document.activeElement.blur());
    await page.keyboard.press(' ');
    await until(page, () => document.querySelector('#state').textContent === 'held');
    await server.close();
    await serveAgain('capture', port);
    await until(page, () => window.orliqView.state === 'open' && window.orliqView.entry === 0);
    assert.equal(await look(page, 'picked'), null);
    assert.notEqual((await look(page, 'limits')).lo, -10);
  });

  test('to the same source again keeps what was chosen of it, and the picture', async () => {
    const port = await open('pair', {}, /WebSocket connection to .* failed/);
    const box = page.locator('#sensors input').first();
    await box.uncheck();
    await page.selectOption('#dock-sensor', '1');
    const { camera, drawn } = await page.evaluate(() => ({ ...window.orliqView }));
    await server.close();
    await until(page, () => window.orliqView.state === 'lost');
    await serveAgain('pair', port);
    await until(page, () => window.orliqView.state === 'open');
    assert.deepEqual(await page.evaluate(() => [window.orliqView.camera, window.orliqView.drawn]), [
      camera,
      drawn,
    ]);
    assert.deepEqual([await box.isChecked(), await page.inputValue('#dock-sensor')], [false, '1']);
  });
});

describe('messages', () => {
  test('with places that are no numbers leave the others to be seen', async () => {
    await open('silent');
    const xyz = new Float32Array(3000).map((_, i) => (i % 5 === 0 ? NaN : i % 7 === 0 ? Infinity : i % 11));
    server.broadcast(
      encodeFrame({ frame: 1, time: -1e300, points: 1000, sensors: [{ points: 1000 }] }, { xyz }),
    );
    await until(page, () => window.orliqView.frame === 1);
    const { drawn, camera, limits } = await page.evaluate(() => ({ ...window.orliqView }));
    assert.ok(drawn.points > 0 && drawn.box.max[0] === 10, JSON.stringify(drawn));
    assert.ok([...camera.position, limits.lo, limits.hi].every((part) => Math.abs(part) < 100));
    const [download] = await Promise.all([page.waitForEvent('download'), page.keyboard.press('k')]);
    assert.match(download.suggestedFilename(), /\.png$/);
  });

  test('that are damaged are counted and told, and the page goes on', async () => {
    await open('capture');
    server.broadcast('{"type":');
    server.broadcast(Buffer.from('OVF1 and then nothing'));
    await until(page, () => window.orliqView.damaged === 2);
    assert.match(await page.locator('#notices').innerText(), /left out: a frame whose header does not fit/);
    assert.equal(await page.locator('#stat-damaged').innerText(), '2');
    await page.keyboard.press('ArrowRight');
    await until(page, () => window.orliqView.entry === 1 && window.orliqView.state === 'open');
  });

  test('without an end are not waited for: after two frames that cannot be answered the connection is another', async () => {
    await open('capture');
    const of = server.clients.values().next().value;
    for (let i = 0; i < 2; ++i) server.broadcast(Buffer.from('no frame at all'));
    await until(page, () => window.orliqView.damaged === 2 && window.orliqView.state === 'open');
    await reached(() => !server.clients.has(of));
  });

  test('of a frame without points leave an empty picture, and the next frame is drawn', async () => {
    await open('capture');
    const head = { frame: 900, skipped: 0, time: 0, entry: 7, points: 0, sensors: [{ points: 0 }] };
    server.broadcast(
      encodeFrame(head, {
        xyz: new Float32Array(0),
        ring: new Uint16Array(0),
        intensity: new Uint16Array(0),
      }),
    );
    await until(page, () => window.orliqView.frame === 900);
    assert.deepEqual(await look(page, 'drawn'), { box: null, points: 0 });
    await page.keyboard.press('1');
    await page.keyboard.press('End');
    await until(page, () => window.orliqView.entry === 23 && window.orliqView.drawn.points > 1000);
  });
});

describe('a live source', () => {
  test('is held on the page alone: the picture stays, the frames go on, and the newest is shown afterwards', async () => {
    await open('live');
    const answered = shown().length;
    await page.keyboard.press(' ');
    const frame = await page.evaluate(
      () => new Promise((done) => setTimeout(() => done(window.orliqView.frame), 500)),
    );
    const pictures = await look(page, 'pictures');
    await page.keyboard.press('d'); // the camera may turn around it
    await until(page, (count) => window.orliqView.pictures > count, pictures);
    const note = () => Number.parseInt(document.querySelector('#freeze-note').textContent.match(/\d+/), 10);
    const since = await page.evaluate(note);
    await until(
      page,
      (count) => Number(document.querySelector('#freeze-note').textContent.match(/\d+/)) > count + 3,
      since,
    );
    assert.equal(await look(page, 'frame'), frame);
    assert.ok(shown().length >= answered + 3);
    await page.click('#freeze');
    await until(page, (held) => window.orliqView.frame > held + 3, frame);
    assert.ok(!server.commands.some((command) => ['pause', 'play'].includes(command.do)));
  });

  test('has each frame answered once, in order, after it was drawn', async () => {
    await open('live');
    await until(page, () => window.orliqView.framesShown >= 5);
    const answers = shown();
    assert.deepEqual(
      answers,
      [...new Set(answers)].sort((a, b) => a - b),
    );
    assert.ok(answers.length >= 4);
  });

  test('that is silent says why, in the words of the program and in the middle of the page', async () => {
    await open('silent');
    const first = server.notices;
    const card = page.locator('#notices.large .notice.bad');
    assert.equal((await card.innerText()).replace(/\n?×$/, ''), server.notices[0].text);
    await card.locator('.dismiss').click();
    await until(page, () => document.querySelector('#notices').innerText === '');
    server.notices = [{ tone: 'bad', text: 'another one' }];
    server.broadcast(server.ledger());
    await until(page, () => document.querySelector('#notices.large')?.innerText.startsWith('another one'));
    server.notices = [];
    server.broadcast(server.ledger());
    await until(page, () => document.querySelector('#notices').innerText === '');
    server.notices = first;
    server.broadcast(server.ledger());
    await until(page, () =>
      document.querySelector('#notices.large')?.innerText.startsWith('nothing arrived'),
    );
    server.notices = [];
    server.broadcast(server.ledger());
    await until(page, () => document.querySelector('#notices').innerText === '');
    assert.equal(await page.locator('#waiting').innerText(), 'Waiting for the first frame …');
  });

  /** In the page: what a hidden tab is to it. No refresh of the screen comes until it is looked at again. */
  function hideTab() {
    const refresh = window.requestAnimationFrame;
    const waiting = [];
    const setHidden = (hidden) => {
      Object.defineProperty(document, 'hidden', { value: hidden, configurable: true });
      document.dispatchEvent(new Event('visibilitychange'));
    };
    window.requestAnimationFrame = (callback) => waiting.push(callback);
    setHidden(true);
    window.showTab = () => {
      window.requestAnimationFrame = refresh;
      setHidden(false);
      for (const callback of waiting) refresh(callback);
    };
  }

  test('of a page in a hidden tab holds two frames and no more, and is shown at its newest afterwards', async () => {
    await open('live');
    await page.evaluate(hideTab);
    const later = (frames, from = server.frame) => reached(() => server.frame > from + frames);
    await later(5);
    const answered = shown().length;
    await later(15);
    assert.equal(shown().length, answered);
    assert.equal(server.clients.values().next().value.underWay.length, 2);
    const hiddenUntil = server.frame;
    await page.evaluate(() => window.showTab());
    await until(page, (frame) => window.orliqView.frame > frame, hiddenUntil);
    const [timed, drawn] = await page.evaluate(() => {
      const { times, framesShown } = window.orliqView;
      return [times.latency.count, framesShown];
    });
    assert.equal(timed, drawn - 1, 'how long the tab was hidden is no latency');
  });

  test('has remarks: three over the picture, the newest first, which fade, and all of them in a list', async () => {
    await open('live');
    await page.clock.install();
    server.notices = ['one', 'two', 'three', 'four'].map((text) => ({ tone: 'plain', text }));
    server.broadcast(server.ledger());
    const over = (words) =>
      until(
        page,
        (of) =>
          [...document.querySelectorAll('.notice')].map((card) => card.firstChild.data).join(' ') === of,
        words,
      );
    await over('four three two');
    await page.locator('.dismiss').nth(1).click();
    await over('four two one');
    const list = page.locator('#remarks li');
    assert.deepEqual(
      (await list.allInnerTexts()).map((text) => text.replace(/^[\d:]+\s+/, '')),
      ['four', 'three', 'two', 'one'],
    );
    server.notices.push({ tone: 'bad', text: 'nothing arrives' });
    server.broadcast(server.ledger());
    await over('nothing arrives four two');
    await page.clock.fastForward(16000);
    await over('nothing arrives');
    assert.equal(await list.count(), 4);
  });

  test('has its ledger and motion beside the points', async () => {
    await open('live');
    assert.match(await look(page, 'ledger'), /front\s+received\s+[\d,]+ packets/);
    await until(page, () => /ω .* rad\/s/.test(document.querySelector('#imu-values').textContent));
  });

  test('is played no faster by a page that draws slowly: it is given fewer frames', async () => {
    await open('live');
    await page.evaluate(() => {
      const end = performance.now() + 1500;
      while (performance.now() < end);
    });
    await until(page, () => window.orliqView.framesSkipped > 3);
  });
});
