// What is heard: source -> effect -> volume -> loudspeaker, with an analyser behind the volume and one before it.

import { kFftSize } from './spectrum.js';

const kFadeSeconds = 0.02; // around a pause
const kPatienceMilliseconds = 4000; // for the browser to start its sound

export class Player {
  #context = null; // of the source's sample rate, so that nothing is resampled on its way to the effect
  #stream = null;

  // wasm: the module's bytes. worklet: its address. onMeters: called with [level, sweep, delay in s] as they come.
  constructor({ wasm, worklet, onMeters }) {
    Object.assign(this, { wasm, worklet, onMeters });
    this.values = [];
    this.volume = 1;
    this.waveform = new Float32Array(kFftSize);
    this.isPlaying = false;
  }

  // source: an AudioBuffer, which is looped, or a MediaStream, which this player ends. Plays it from its beginning.
  // Throws Error that says why it cannot.
  async play(source) {
    const isStream = source instanceof MediaStream;
    await this.#open(isStream ? undefined : source.sampleRate);
    this.#endSource();
    if (isStream) {
      this.#stream = source;
      this.source = this.#context.createMediaStreamSource(source);
    } else {
      this.source = new AudioBufferSourceNode(this.#context, { buffer: source, loop: true });
      this.source.start();
    }
    this.source.connect(this.effect);
    this.startedAt = this.#context.currentTime;
    await this.resume();
  }

  // Throws Error if there is nothing to play on.
  async resume() {
    const isLate = new Promise((resolve) => setTimeout(resolve, kPatienceMilliseconds, true));
    if (await Promise.race([this.#context.resume(), isLate]))
      throw new Error('the browser starts no sound; check that a loudspeaker is connected');
    this.isPlaying = true;
    this.#fadeTo(this.volume);
  }

  async pause() {
    this.isPlaying = false;
    this.#fadeTo(0);
    await new Promise((resolve) => setTimeout(resolve, 4000 * kFadeSeconds));
    if (!this.isPlaying) await this.#context.suspend();
  }

  // Seconds since the source began.
  get position() {
    return this.#context ? this.#context.currentTime - this.startedAt : 0;
  }
  get sampleRate() {
    return this.#context?.sampleRate;
  }

  setValues(values) {
    this.values = values;
    values.forEach((value, index) => this.effect && (this.effect.parameters.get(`${index}`).value = value));
  }

  setVolume(volume) {
    this.volume = volume;
    if (this.isPlaying && this.#context) this.#fadeTo(volume);
  }

  // The highest magnitude of the last moments, behind the volume.
  outputPeak() {
    this.outputAnalyser.getFloatTimeDomainData(this.waveform);
    return this.waveform.reduce((peak, sample) => Math.max(peak, Math.abs(sample)), 0);
  }

  #fadeTo(volume) {
    this.gain.gain.setTargetAtTime(volume, this.#context.currentTime, kFadeSeconds / 2);
  }

  async #open(sampleRate) {
    if (this.#context && (this.#context.sampleRate === sampleRate || (!sampleRate && this.hasOwnRate))) return;
    const context = new AudioContext({ latencyHint: 'interactive', sampleRate });
    await context.audioWorklet.addModule(this.worklet);
    this.#endSource();
    await this.#context?.close();
    this.#context = context;
    this.hasOwnRate = !sampleRate;
    this.effect = new AudioWorkletNode(context, 'wail', {
      channelCount: 2,
      channelCountMode: 'clamped-max',
      outputChannelCount: [2],
      parameterData: { ...this.values },
      processorOptions: { wasm: this.wasm },
    });
    this.effect.port.onmessage = ({ data }) => this.onMeters(data);
    this.gain = new GainNode(context, { gain: 0 });
    this.analyser = new AnalyserNode(context, { fftSize: kFftSize, smoothingTimeConstant: 0 });
    this.outputAnalyser = new AnalyserNode(context, { fftSize: kFftSize, smoothingTimeConstant: 0 });
    this.effect.connect(this.analyser).connect(this.gain).connect(this.outputAnalyser).connect(context.destination);
  }

  #endSource() {
    this.source?.disconnect();
    this.source?.stop?.();
    this.#stream?.getTracks().forEach((track) => track.stop());
    this.source = this.#stream = null;
  }
}
