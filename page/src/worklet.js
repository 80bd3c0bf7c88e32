// The effect on the browser's audio thread: two channels, as each channel of a wider track has an effect of its own.

import { Effect, kBlock, kParameterCount } from './effect.js';

const kMetersPerSecond = 60;

class WailProcessor extends AudioWorkletProcessor {
  // One parameter each, named by its index; a block hears what it has at its first sample.
  static get parameterDescriptors() {
    return Array.from({ length: kParameterCount }, (_, index) => ({
      name: `${index}`,
      minValue: 0,
      maxValue: 1,
      automationRate: 'k-rate',
    }));
  }

  constructor({ processorOptions }) {
    super();
    const effect = Effect.makeNow(new WebAssembly.Module(processorOptions.wasm));
    this.channels = [effect.makeChannel(sampleRate), effect.makeChannel(sampleRate)];
    this.views = this.channels.map((channel) => channel.liveView());
    this.values = new Float32Array(kParameterCount).fill(NaN);
    this.isNew = true;
    this.meters = new Float32Array(3); // level in since the last ones, sweep, delay in seconds
    this.framesToMeters = 0;
  }

  process([input], [output], parameters) {
    this.#setParameters(parameters);
    for (let c = 0; c < output.length; ++c) {
      const view = this.views[c];
      if (input.length === 0) view.fill(0);
      else view.set(input[Math.min(c, input.length - 1)]);
      const level = this.channels[c].processLive(kBlock);
      if (level > this.meters[0]) this.meters[0] = level;
      output[c].set(view);
    }
    this.framesToMeters -= kBlock;
    if (this.framesToMeters <= 0) this.#sendMeters();
    return true;
  }

  #setParameters(parameters) {
    for (let index = 0; index < kParameterCount; ++index) {
      const value = parameters[index][0];
      if (value === this.values[index]) continue;
      this.values[index] = value;
      for (const channel of this.channels) channel.set(index, value);
    }
    if (this.isNew) for (const channel of this.channels) channel.settle();
    this.isNew = false;
  }

  #sendMeters() {
    this.framesToMeters += sampleRate / kMetersPerSecond;
    this.meters[1] = this.channels[0].sweep();
    this.meters[2] = this.channels[0].delay();
    this.port.postMessage(this.meters);
    this.meters[0] = 0;
  }
}

registerProcessor('wail', WailProcessor);
