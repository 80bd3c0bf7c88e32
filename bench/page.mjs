// What the page costs in Debian's Chromium, beside the native build. Usage: node bench/page.mjs, after scripts/page and
// scripts/build release wail_bench.

import { execFileSync } from 'node:child_process';
import { readFileSync, statSync } from 'node:fs';
import { gzipSync } from 'node:zlib';
import { launch, open, root } from '../tests/page/browser.mjs';

const kRounds = 400;
const html = `${root}build/page/wail.html`;
const row = (name, value, unit, note = '') =>
  console.log(`${name.padEnd(44)}${value.padStart(8)} ${unit.padEnd(5)} ${note}`);
const least = (values) => Math.min(...values);

row(
  'the file',
  `${Math.round(statSync(html).size / 1000)}`,
  'kB',
  `${Math.round(gzipSync(readFileSync(html)).length / 1000)} kB as a web server sends it`,
);

const browser = await launch();
const ready = [];
const sound = [];
let frames = 0;
for (let round = 0; round < 5; ++round) {
  const page = await open(browser);
  ready.push(await page.evaluate(() => performance.now())); // since the page was asked for
  sound.push(
    await page.evaluate(async () => {
      const begin = performance.now();
      document.getElementById('play').click();
      const samples = new Float32Array(2048);
      while (!samples.some((sample) => Math.abs(sample) > 1e-4)) {
        await new Promise((resolve) => setTimeout(resolve, 2));
        window.heard?.getFloatTimeDomainData(samples);
      }
      return performance.now() - begin;
    }),
  );
  if (round < 4) await page.context().close();
  else
    frames = await page.evaluate(async () => {
      let count = 0;
      for (const end = performance.now() + 3000; performance.now() < end; ++count)
        await new Promise(requestAnimationFrame);
      return count / 3;
    });
}
row('until it can be played', least(ready).toFixed(0), 'ms', 'least of 5');
row('from the click to sound', least(sound).toFixed(0), 'ms', 'least of 5');
row('the picture', frames.toFixed(0), 'fps', '1280 pixels wide, drawn without a graphics processor');

// Interleaved rounds: strokes of noise in blocks of 128 at 48 kHz, and what follows them.
const page = await open(browser);
const cost = await page.evaluate(
  async ([wasm, rounds]) => {
    const bytes = Uint8Array.from(atob(wasm), (c) => c.charCodeAt(0));
    const none = () => 0;
    const imports = {
      page: { fail: none },
      wasi_snapshot_preview1: { fd_close: none, fd_seek: none, fd_write: none },
    };
    const { exports } = (await WebAssembly.instantiate(bytes, imports)).instance;
    exports._initialize();
    const noise = Float64Array.from(
      { length: 480000 },
      (_, n) => 0.5 * (Math.random() - 0.5) * Math.exp(-(n % 24000) / 8000),
    );
    const memory = exports.allocate(1024);
    const make = () => exports.makeChannel(48000);
    const run = (channel, samples, process, View) => {
      const view = new View(exports.memory.buffer, memory, 128);
      const begin = performance.now();
      for (let at = 0; at < samples.length; at += 128) {
        view.set(samples.subarray(at, at + 128));
        process(channel, memory, 128);
      }
      return ((performance.now() - begin) * 1e6) / samples.length;
    };
    const kernels = { rendered: [exports.process, Float64Array], live: [exports.processLive, Float32Array] };
    const results = {};
    for (const [name, [process, View]] of Object.entries(kernels)) {
      const channel = make();
      const samples = View.from(noise);
      const sounding = Array.from({ length: rounds }, () => run(channel, samples, process, View));
      // The slowest of 24 stretches of 10 s of silence, each the least of some runs of the same.
      const silence = new View(noise.length);
      const stretches = new Array(24).fill(Infinity);
      for (let turn = 0; turn < 50; ++turn) {
        const fresh = make();
        run(fresh, samples, process, View);
        stretches.forEach((best, i) => (stretches[i] = Math.min(best, run(fresh, silence, process, View))));
        exports.freeChannel(fresh);
      }
      results[name] = { sound: Math.min(...sounding), silence: Math.max(...stretches) };
    }
    return results;
  },
  [readFileSync(`${root}build/page/wail.wasm`).toString('base64'), kRounds],
);
await browser.close();

const table = execFileSync(`${root}build/release/wail_bench`, { encoding: 'utf8' });
const native = [64, 256].map((block) => Number(table.match(new RegExp(`blocks of ${block} +([0-9.]+)`))[1]));
const middle = (native[0] + 2 * native[1]) / 3; // what a block costs beside its samples halves with its length
row('native, blocks of 128', middle.toFixed(2), 'ns', `a sample; ${native.join(' and ')} in blocks of 64 and 256`);
for (const [name, { sound: ns, silence }] of Object.entries(cost)) {
  row(`${name} in the browser`, ns.toFixed(2), 'ns', `${(ns / middle).toFixed(2)} of native`);
  row('    the slowest of 4 minutes of silence', silence.toFixed(2), 'ns', `${(silence / ns).toFixed(2)} of sound`);
}
