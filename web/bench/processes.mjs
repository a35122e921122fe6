// SPDX-License-Identifier: Apache-2.0
// The programs that a benchmark starts, what they cost, and their end.

import { spawn } from 'node:child_process';
import { createSocket } from 'node:dgram';
import { mkdtempSync, readFileSync, readdirSync, rmSync } from 'node:fs';
import { once } from 'node:events';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

const TICKS = 100; // of a second, in which the system counts processor time
const GRACE_MS = 5000; // to end by itself

const started = new Set();
const folders = [];

/** A folder of this run, which goes with it. */
export function makeFolder() {
  const folder = mkdtempSync(join(tmpdir(), 'orliq-bench-'));
  folders.push(folder);
  return folder;
}

/** UDP ports of this machine that are free now. */
export async function freePorts(count) {
  const sockets = Array.from({ length: count }, () => createSocket('udp4'));
  for (const socket of sockets) {
    socket.bind(0, '127.0.0.1');
    await once(socket, 'listening');
  }
  const ports = sockets.map((socket) => socket.address().port);
  for (const socket of sockets) socket.close();
  return ports;
}

/** Starts a program; `texts` is what it has written so far. `files`: what it gets beyond its outputs. */
export function start(path, args, files = []) {
  const child = spawn(path, args, { stdio: ['ignore', 'pipe', 'pipe', ...files] });
  const texts = { out: '', err: '' };
  child.stdout.on('data', (part) => (texts.out += part));
  child.stderr.on('data', (part) => (texts.err += part));
  const over = new Promise((done) => child.on('close', done));
  const program = { child, texts, over };
  child.on('error', (fault) => (texts.err += fault));
  started.add(program);
  over.then(() => started.delete(program));
  return program;
}

/** Interrupts it and waits for its end; returns what it wrote. */
export async function end({ child, texts, over }) {
  child.kill('SIGINT');
  const last = setTimeout(() => child.kill('SIGKILL'), GRACE_MS);
  await over;
  clearTimeout(last);
  return texts.out;
}

/** Ends what was started here, and nothing else. */
export async function endAll() {
  await Promise.all([...started].map(end));
  for (const folder of folders.splice(0)) rmSync(folder, { recursive: true, force: true, maxRetries: 5 });
}

/** What a program says sooner or later. */
export async function said({ child, texts }, pattern, seconds = 20) {
  const deadline = Date.now() + 1000 * seconds;
  while (!pattern.test(texts.err)) {
    if (child.exitCode !== null || Date.now() > deadline) throw new Error(`no ${pattern} but: ${texts.err}`);
    await new Promise((done) => setTimeout(done, 50));
  }
  return texts.err.match(pattern)[1];
}

/** [s] of processor time of each kind of thread so far. */
function threadSeconds(pid) {
  const seconds = {};
  for (const thread of readdirSync(`/proc/${pid}/task`)) {
    const [, name, rest] = readFileSync(`/proc/${pid}/task/${thread}/stat`, 'utf8').match(/\((.*)\) (.*)/s);
    const numbers = rest.split(' ');
    const kind = name.replace(/-\d+$/, '');
    seconds[kind] = (seconds[kind] ?? 0) + (Number(numbers[11]) + Number(numbers[12])) / TICKS;
  }
  return seconds;
}

/** Begins to look at a process; the function that it returns tells the cores that each kind of thread has used since. */
export function watchThreads({ child: { pid } }) {
  const before = threadSeconds(pid);
  const from = performance.now();
  return () => {
    const passed = (performance.now() - from) / 1000;
    const now = Object.entries(threadSeconds(pid));
    return Object.fromEntries(now.map(([kind, seconds]) => [kind, (seconds - (before[kind] ?? 0)) / passed]));
  };
}
