// The effect as the WebAssembly module has it (page/Page.cpp). Used by the page and by the audio worklet, which
// has little of the browser's library.

export const kParameterCount = 7;
export const kBlock = 128; // frames, as browsers cut sound

const kProgramNameBytes = 28;
const kProgramBytes = 4 * kParameterCount + kProgramNameBytes;

// What the C library would write goes nowhere.
const refuse = () => 52; // ENOSYS
const system = { fd_close: refuse, fd_seek: refuse, fd_write: refuse };

// A module instance; all its channels live in one thread.
export class Effect {
  // module: a WebAssembly.Module. Never blocks the page for long, hence a promise.
  static async make(module) {
    const effect = new Effect();
    return effect.#start(await WebAssembly.instantiate(module, effect.#imports()));
  }

  // At once; only off the page's own thread.
  static makeNow(module) {
    const effect = new Effect();
    return effect.#start(new WebAssembly.Instance(module, effect.#imports()));
  }

  // Throws if the effect does not take the rate, in Hz.
  makeChannel(sampleRate) {
    return new Channel(this.exports, sampleRate);
  }

  parameters() {
    return Array.from({ length: kParameterCount }, (_, index) => ({
      index,
      name: this.#text(this.exports.parameterName(index)),
      initial: this.exports.parameterInitial(index),
      isSwitch: this.exports.parameterIsSwitch(index) !== 0,
    }));
  }

  // A value as the effect shows it.
  valueText(index, value) {
    return this.#text(this.exports.parameterText(index, value)).trim();
  }

  // bytes: of a program file (.fxp). Throws Error that says what is wrong; the instance is of no use then.
  readProgram(bytes) {
    const copy = this.exports.allocate(bytes.length);
    new Uint8Array(this.exports.memory.buffer, copy, bytes.length).set(bytes);
    this.exports.readProgram(copy, bytes.length);
    this.exports.release(copy);
    const program = this.#program();
    return { values: Array.from(program.values), name: this.#text(program.name.byteOffset) };
  }

  // The bytes of a program file (.fxp).
  writeProgram({ values, name }) {
    const program = this.#program();
    program.values.set(values);
    program.name.fill(0).set(new TextEncoder().encode(name).subarray(0, kProgramNameBytes - 1));
    const file = this.exports.writeProgram();
    return new Uint8Array(this.exports.memory.buffer, file, this.exports.writtenSize()).slice();
  }

  #imports() {
    return {
      page: {
        fail: (message) => {
          throw new Error(this.#text(message));
        },
      },
      wasi_snapshot_preview1: system,
    };
  }

  #start(instance) {
    this.exports = instance.exports;
    this.exports._initialize();
    return this;
  }

  #text(address) {
    const bytes = new Uint8Array(this.exports.memory.buffer, address);
    return String.fromCharCode(...bytes.subarray(0, bytes.subarray(0, 256).indexOf(0)));
  }

  #program() {
    const { buffer } = this.exports.memory;
    const address = this.exports.programData();
    return {
      values: new Float32Array(buffer, address, kParameterCount),
      name: new Uint8Array(buffer, address + kProgramBytes - kProgramNameBytes, kProgramNameBytes),
    };
  }
}

// One channel of sound.
class Channel {
  constructor(exports, sampleRate) {
    this.exports = exports;
    this.address = exports.makeChannel(sampleRate);
    if (this.address === 0)
      throw new Error(`the effect does not work at ${sampleRate} Hz; it takes 62.5 Hz to 3.072 MHz`);
    this.samples = exports.allocate(8 * kBlock);
  }

  free() {
    this.exports.freeChannel(this.address);
    this.exports.release(this.samples);
  }

  // The next block glides there.
  set(index, value) {
    this.exports.setParameter(this.address, index, value);
  }

  // Values set before are there at once.
  settle() {
    this.exports.settle(this.address);
  }

  // The channel's own block of 128 samples, doubles, and processing frames of them in place. A view is valid
  // until the next channel is made.
  view() {
    return new Float64Array(this.exports.memory.buffer, this.samples, kBlock);
  }
  process(frames) {
    this.exports.process(this.address, this.samples, frames);
  }

  // The same in floats, as fast in silence as in sound. Returns the highest magnitude of the input.
  liveView() {
    return new Float32Array(this.exports.memory.buffer, this.samples, kBlock);
  }
  processLive(frames) {
    return this.exports.processLive(this.address, this.samples, frames);
  }

  // How far the teeth are swept, 0 .. 1, and the delay of the comb in seconds.
  sweep() {
    return this.exports.sweep(this.address);
  }
  delay() {
    return this.exports.delay(this.address);
  }
}
