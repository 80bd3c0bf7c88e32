// The module of the page, without a browser.

import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';
import { Effect } from '../../page/src/effect.js';
import { renderChannel } from '../../page/src/render.js';

const wasm = readFileSync(new URL('../../build/page/wail.wasm', import.meta.url));
const effect = Effect.makeNow(new WebAssembly.Module(wasm));
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
  for (let at = 0; at < input.length; at += 128) {
    const block = input.subarray(at, at + 128);
    channel.liveView().set(block);
    assert.equal(channel.processLive(128), Math.max(...block.map(Math.abs)));
    // Zeros of either sign are equal.
    assert.ok(channel.liveView().every((sample, n) => sample === rendered[at + n]), `at ${at}`);
  }
});

// With negative feedback the comb's output is least like itself a delay ago.
test('the teeth are drawn where the comb is', async () => {
  for (const [values, amplitude, name] of [
    [{ 3: 0.2 }, 1e-6, 'at rest'],
    [{ 3: 0.2 }, 0.9, 'swept up'],
    [{ 5: 1 }, 1e-6, 'inverted, at rest'],
    [{ 5: 1, 3: 0.5 }, 0.9, 'inverted, swept down'],
  ]) {
    const settings = initial.map((value, index) => values[index] ?? value);
    let delay = 0;
    const takeDelay = (channel) => (delay = kRate * channel.delay());
    const output = await renderChannel(effect, noise(4 * kRate, amplitude), kRate, settings, takeDelay);
    const steady = output.subarray(3 * kRate);
    const likeness = (lag) => steady.subarray(lag).reduce((sum, sample, n) => sum + sample * steady[n], 0);
    const lags = Array.from({ length: 300 }, (_, i) => i + 5);
    const likenesses = lags.map(likeness);
    const measured = lags[likenesses.indexOf(Math.min(...likenesses))];
    assert.ok(Math.abs(measured - delay) < 1, `${name}: ${measured} samples, drawn at ${delay}`);
  }
});
