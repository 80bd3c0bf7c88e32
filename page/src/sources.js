// What can be played: { name, sampleRate, buffer: AudioBuffer, channels: [Float64Array, ...] }, or { name, stream }.

import { readWav, sniffSampleRate } from './wav.js';

const kLoopRate = 44100; // Hz, of the loops inside
const kUsualRate = 48000; // Hz, of a file that does not say

// loops: [[name, bytes], ...] of what the browser decodes.
export async function loadLoops(loops) {
  const decoder = new OfflineAudioContext(1, 1, kLoopRate);
  const decode = async ([name, bytes]) => fromBuffer(name, await decoder.decodeAudioData(bytes.slice().buffer));
  return [...(await Promise.all(loops.map(decode))), strokesOfNoise()];
}

// A file of any kind that the browser decodes, at its own sample rate if that can be found out. Throws Error that says
// what is wrong.
export async function loadFile(file) {
  const bytes = await file.arrayBuffer();
  const wav = readWav(bytes);
  if (wav) return fromWav(file.name, wav);
  const decoder = new OfflineAudioContext(1, 1, sniffSampleRate(bytes) ?? kUsualRate);
  try {
    return fromBuffer(file.name, await decoder.decodeAudioData(bytes));
  } catch {
    throw new Error('this browser cannot decode it');
  }
}

// A microphone or guitar, without anything done to its sound. Throws Error that says what is wrong.
export async function openInput() {
  const audio = { echoCancellation: false, noiseSuppression: false, autoGainControl: false, latency: 0 };
  const reasons = { NotFoundError: 'there is none', NotAllowedError: 'the browser did not allow it' };
  try {
    return { name: 'Input', stream: await navigator.mediaDevices.getUserMedia({ audio }) };
  } catch (error) {
    throw new Error(reasons[error.name] ?? error.message);
  }
}

function fromBuffer(name, buffer) {
  const channels = Array.from({ length: buffer.numberOfChannels }, (_, c) =>
    Float64Array.from(buffer.getChannelData(c)),
  );
  return { name, buffer, channels, sampleRate: buffer.sampleRate };
}

function fromWav(name, { channels, sampleRate }) {
  const length = channels[0].length;
  if (length === 0) throw new Error('it is empty');
  const buffer = new AudioBuffer({ numberOfChannels: channels.length, length, sampleRate });
  channels.forEach((samples, c) => buffer.copyToChannel(Float32Array.from(samples), c));
  return { name, buffer, channels, sampleRate };
}

// Strokes that fade over a second: every tooth shows in their spectrum.
function strokesOfNoise() {
  const samples = new Float64Array(6 * kLoopRate);
  let seed = 1; // of a linear congruential generator; W. H. Press et al., "Numerical Recipes"
  for (let n = 0; n < samples.length; ++n) {
    seed = (Math.imul(seed, 1664525) + 1013904223) | 0;
    const time = (n / kLoopRate) % 1.5;
    samples[n] = 0.25 * (seed / 2 ** 31) * Math.max(0, 1 - time / 1.2) ** 2;
  }
  return fromWav('Noise', { channels: [samples], sampleRate: kLoopRate });
}
