// The module of the page, without a browser.

import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';
import { Effect } from '../../page/src/effect.js';
import { renderChannel } from '../../page/src/render.js';

const effect = Effect.makeNow(
  new WebAssembly.Module(readFileSync(new URL('../../build/page/wail.wasm', import.meta.url))),
);
const initial = effect.parameters().map((parameter) => parameter.initial);
const kRate = 48000; // Hz

function noise(length, amplitude) {
  let seed = 1;
  return Float64Array.from({ length }, () =>
    Math.fround((amplitude * (seed = (Math.imul(seed, 1664525) + 1013904223) | 0)) / 2 ** 31),
  );
}

test('live sound is the rendered sound to the bit, before, in and after silence', async () => {
  const input = new Float64Array(6 * kRate);
  input.set(noise(kRate, 0.3));
  input.set(noise(kRate, 0.3), 5 * kRate);
  const rendered = Float32Array.from(await renderChannel(effect, input, kRate, initial));
  const channel = effect.makeChannel(kRate);
  channel.settle();
  const live = new Float32Array(input.length);
  for (let at = 0; at < input.length; at += 128) {
    channel.liveView().set(input.subarray(at, at + 128));
    const peak = channel.processLive(128);
    assert.equal(
      peak,
      input.subarray(at, at + 128).reduce((highest, x) => Math.max(highest, Math.abs(x)), 0),
    );
    live.set(channel.liveView(), at);
  }
  assert.equal(
    live.findIndex((sample, n) => sample !== rendered[n]),
    -1,
  ); // zeros of either sign are equal
});

// The power of samples at a frequency in Hz, averaged over stretches of 2048.
function power(samples, frequency) {
  let sum = 0;
  for (let first = 0; first + 2048 <= samples.length; first += 2048) {
    let re = 0;
    let im = 0;
    for (let n = 0; n < 2048; ++n) {
      const w = 0.5 - 0.5 * Math.cos((2 * Math.PI * n) / 2048);
      re += w * samples[first + n] * Math.cos((2 * Math.PI * frequency * n) / kRate);
      im += w * samples[first + n] * Math.sin((2 * Math.PI * frequency * n) / kRate);
    }
    sum += re * re + im * im;
  }
  return sum;
}

for (const [name, values, amplitude] of [
  ['at rest', { 3: 0.2 }, 1e-6],
  ['swept up', { 3: 0.2 }, 0.9],
  ['inverted, at rest', { 5: 1 }, 1e-6],
  ['inverted, swept down', { 5: 1, 3: 0.5 }, 0.9],
])
  test(`the teeth are drawn where the comb is: ${name}`, async () => {
    let delay = 0;
    const settings = initial.map((value, index) => values[index] ?? value);
    const output = await renderChannel(
      effect,
      noise(4 * kRate, amplitude),
      kRate,
      settings,
      (channel) => (delay = channel.delay()),
    );
    const steady = output.subarray(3 * kRate);
    for (const tooth of [0, 1, 2]) {
      const peak = power(steady, (2 * tooth + 1) / (2 * delay));
      const dips = [tooth, tooth + 1].map((dip) => power(steady, dip / delay));
      assert.ok(peak > 10 * Math.max(...dips), `tooth ${tooth} at delay ${delay}`);
    }
  });
