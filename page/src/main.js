// Starts the page, with all that is inside its one file.

import wasm from 'wail.wasm';
import workletSource from 'worklet';
import guitar from 'guitar.flac';
import drums from 'drums.flac';
import tabla from 'tabla.flac';
import presetFiles from 'presets';

import { say } from './dom.js';
import { Effect } from './effect.js';
import { Page } from './page.js';
import { renderChannel } from './render.js';
import { findParameter, valueOf } from './settings.js';
import { loadLoops } from './sources.js';

const kLoops = [
  ['Guitar', guitar],
  ['Drums', drums],
  ['Tabla', tabla],
];
const kFirstPreset = 'Funk Quack';

// The smallest module with a vector in it.
const kVectorModule = [
  0, 97, 115, 109, 1, 0, 0, 0, 1, 5, 1, 96, 0, 1, 123, 3, 2, 1, 0, 10, 10, 1, 8, 0, 65, 0, 253, 15, 253, 98, 11,
];

// What this browser has not got; null if it has it all.
function whatIsMissing() {
  if (!globalThis.WebAssembly) return 'WebAssembly';
  if (!WebAssembly.validate(Uint8Array.from(kVectorModule))) return 'WebAssembly SIMD';
  if (!globalThis.AudioWorkletNode)
    return isSecureContext ? 'AudioWorklet' : 'AudioWorklet on this address, which needs https or a file on disk';
  return null;
}

// For scripts: window.wail.render(samples, sampleRate, settings). samples: one channel, a Float64Array. sampleRate: Hz.
// settings: parameters by name, such as { sense: 0.4, "on-off": "on" }; those left out have their defaults. Resolves to
// the samples that `wail render --block 128` makes of them, a Float64Array; rejects with an Error that says what is
// wrong.
function makeRender(effect) {
  const parameters = effect.parameters();
  return async (samples, sampleRate, settings = {}) => {
    const values = parameters.map(({ initial }) => initial);
    for (const [name, value] of Object.entries(settings)) {
      const parameter = findParameter(parameters, name);
      values[parameter.index] = valueOf(parameter, value);
    }
    return renderChannel(effect, Float64Array.from(samples), sampleRate, values);
  };
}

async function start() {
  const missing = whatIsMissing();
  if (missing)
    return say(`This browser lacks ${missing}. A Chrome, Edge, Firefox or Safari from 2023 on plays Wail.`);
  const module = await WebAssembly.compile(wasm);
  const effect = await Effect.make(module);
  window.wail = { render: makeRender(effect) };
  const presets = presetFiles.map((bytes) => effect.readProgram(bytes));
  const worklet = `data:text/javascript;base64,${btoa(workletSource)}`;
  const sources = await loadLoops(kLoops);
  new Page({ wasm, module, effect, presets, sources, worklet }).start(kFirstPreset);
}

start().catch((error) => say(`The page could not start: ${error.message}. Reload it, or try another browser.`));
