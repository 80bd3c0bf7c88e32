// Sound through the effect as fast as the machine can, the very samples of `wail render --block 128`.

import { kBlock } from './effect.js';

const kBlocksAtOnce = 2048; // some milliseconds; then the page has its turn

// samples: one channel, a Float64Array, left as it is. values: by parameter index. onBlock(channel): after each.
// Returns a Float64Array.
export async function renderChannel(effect, samples, sampleRate, values, onBlock = () => {}) {
  const channel = effect.makeChannel(sampleRate);
  const output = new Float64Array(samples.length);
  try {
    values.forEach((value, index) => channel.set(index, value));
    channel.settle();
    for (let at = 0, blocks = 1; at < samples.length; at += kBlock, ++blocks) {
      const input = samples.subarray(at, at + kBlock);
      const view = channel.view();
      view.set(input);
      channel.process(input.length);
      output.set(view.subarray(0, input.length), at);
      onBlock(channel);
      if (blocks % kBlocksAtOnce === 0) await new Promise((resolve) => setTimeout(resolve));
    }
  } finally {
    channel.free();
  }
  return output;
}
