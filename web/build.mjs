// SPDX-License-Identifier: Apache-2.0
// Makes dist/: one HTML file with its script and style inside, the policy that allows these alone, and the
// licences of what is in it. The same sources give the same bytes.

import { createHash } from 'node:crypto';
import { mkdir, readFile, readdir, writeFile } from 'node:fs/promises';
import { build } from 'esbuild';

const web = new URL('./', import.meta.url);
const at = (/** @type {string} */ path) => new URL(path, web);

async function bundleScript() {
  const result = await build({
    entryPoints: [at('src/main.js').pathname],
    bundle: true,
    minify: true,
    write: false,
    metafile: true,
    format: 'iife',
    target: 'es2022',
    charset: 'ascii',
    legalComments: 'none',
    absWorkingDir: at('.').pathname,
    define: { __THREE_DEVTOOLS__: 'undefined' },
  });
  // Inside of HTML a script ends at the first closing tag, wherever it stands.
  const script = result.outputFiles[0].text.replaceAll('</script', '<\\/script');
  return { script, inputs: Object.keys(result.metafile.inputs) };
}

async function bundleStyle() {
  const names = (await readdir(at('src/style/'))).filter((name) => name.endsWith('.css')).sort();
  const first = ['theme.css', 'layout.css'];
  const ordered = [...first, ...names.filter((name) => !first.includes(name))];
  const contents = (await Promise.all(ordered.map((name) => readFile(at(`src/style/${name}`), 'utf8')))).join(
    '\n',
  );
  const result = await build({
    stdin: { contents, loader: 'css' },
    minify: true,
    write: false,
    target: 'es2022',
    legalComments: 'none',
  });
  return result.outputFiles[0].text;
}

/** @param {string} text */
const hashOf = (text) => `'sha256-${createHash('sha256').update(text).digest('base64')}'`;

/** @param {string} script @param {string} style */
const policyOf = (script, style) =>
  [
    "default-src 'none'",
    `script-src ${hashOf(script)}`,
    `style-src ${hashOf(style)}`,
    "connect-src 'self'",
    'img-src data: blob:',
    "base-uri 'none'",
    "form-action 'none'",
  ].join('; ');

/** The packages whose files are in the bundle. @param {string[]} inputs */
const packagesOf = (inputs) =>
  [
    ...new Set(inputs.flatMap((input) => input.match(/node_modules\/((?:@[^/]+\/)?[^/]+)\//)?.[1] ?? [])),
  ].sort();

/** @param {string} name */
async function licenceOf(name) {
  const { version, license } = JSON.parse(await readFile(at(`node_modules/${name}/package.json`), 'utf8'));
  const text = await readFile(at(`node_modules/${name}/LICENSE`), 'utf8');
  return `${name} ${version} (${license})\n\n${text.replaceAll('\r', '').trim()}\n`;
}

const { script, inputs } = await bundleScript();
const style = await bundleStyle();
const policy = policyOf(script, style);
const parts = {
  '<!-- csp -->': `<meta http-equiv="Content-Security-Policy" content="${policy}">`,
  '<!-- style -->': `<style>${style}</style>`,
  '<!-- script -->': `<script>${script}</script>`,
};
let page = (await readFile(at('src/index.html'), 'utf8')).replaceAll(/>\n\s*</g, '>\n<');
for (const [place, part] of Object.entries(parts)) page = page.replace(place, () => part);

const licences = [
  'This page is part of orliq, licensed under the Apache License 2.0. It contains:\n',
  ...(await Promise.all(packagesOf(inputs).map(licenceOf))),
].join('\n');
await mkdir(at('dist/'), { recursive: true });
await writeFile(at('dist/view.html'), page);
await writeFile(at('dist/view.csp'), `${policy}\n`);
await writeFile(at('dist/licences.txt'), licences);
console.log(`dist/view.html ${Buffer.byteLength(page).toLocaleString('en')} bytes`);
