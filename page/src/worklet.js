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

  // Makes no objects of its own: what the browser had to collect would cost time in some later block.
  process(inputs, outputs, parameters) {
    const input = inputs[0];
    const output = outputs[0];
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
      for (let c = 0; c < this.channels.length; ++c) this.channels[c].set(index, value);
    }
    if (!this.isNew) return;
    this.isNew = false;
    for (const channel of this.channels) channel.settle();
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
