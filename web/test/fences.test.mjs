// SPDX-License-Identifier: Apache-2.0
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { DrawnFences } from '../src/scene/drawnFences.js';

/** A graphics processor that has drawn as many pictures as it is told. */
class Processor {
  SIGNALED = 1;
  pictures = 0;
  drawn = 0;
  lost = false;
  kept = new Set();
  fenceSync() {
    this.kept.add(++this.pictures);
    return this.pictures;
  }
  flush() {}
  isContextLost = () => this.lost;
  getSyncParameter = (fence) => (fence <= this.drawn ? this.SIGNALED : 0);
  deleteSync = (fence) => this.kept.delete(fence);
}

test('pictures are told in their order, each when it is drawn, and all when the context is lost', (t) => {
  t.mock.timers.enable({ apis: ['setTimeout'] });
  const gl = new Processor();
  const fences = new DrawnFences(gl);
  const told = [];
  fences.after(() => told.push('first'));
  t.mock.timers.tick(1);
  fences.after(() => told.push('second'));
  gl.drawn = 2; // between two looks at the first
  t.mock.timers.tick(1);
  assert.deepEqual(told, []);
  t.mock.timers.tick(1);
  assert.deepEqual(told, ['first', 'second']);

  fences.after(() => told.push('third'));
  fences.after(() => told.push('fourth'));
  gl.drawn = 3;
  t.mock.timers.tick(2);
  assert.deepEqual(told.slice(2), ['third']);
  gl.lost = true;
  t.mock.timers.tick(2);
  assert.deepEqual(told.slice(3), ['fourth']);
  assert.equal(gl.kept.size, 0);
});
