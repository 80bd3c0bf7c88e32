// The page: what is played, the settings, the picture, and what can be kept of it.

import wasm from 'wail.wasm';
import workletSource from 'worklet';
import guitar from 'guitar.flac';
import drums from 'drums.flac';
import tabla from 'tabla.flac';
import presetFiles from 'presets';

import { makeControl } from './controls.js';
import { Effect } from './effect.js';
import { Picture, kEndOfSweep } from './picture.js';
import { Player } from './player.js';
import { renderChannel } from './render.js';
import { Settings, findParameter, valueOf } from './settings.js';
import { kBins } from './spectrum.js';
import { readWav, sniffSampleRate, writeWav } from './wav.js';

const kShortestWindow = 6; // s, of what the picture shows
const kLongestWindow = 12; // s
const kLoopRate = 44100; // Hz, of the loops inside
const kFirstPreset = 'Funk Quack';
const kDeepRange = 'Sense';

const explanations = {
  'On/Off': 'Effect, or the dry sound to compare.',
  Sense: 'How loud you need to play for a full sweep.',
  Reso: 'How much the teeth ring.',
  Range: 'How far the teeth sweep.',
  Balance: 'From dry to effect.',
  Invert: 'On: louder moves the teeth down, not up.',
  Envelope: 'How slowly the sweep falls back.',
};

const $ = (id) => document.getElementById(id);

// Says what is wrong and what to do about it, or what was done. What plays goes on.
function say(text, isTrouble = true) {
  $('message').textContent = text;
  $('message').classList.toggle('trouble', isTrouble);
}

const whatIsMissing = () => {
  if (!globalThis.WebAssembly) return 'WebAssembly';
  // A module of one function that uses a 128-bit vector.
  const simd = [0, 97, 115, 109, 1, 0, 0, 0, 1, 5, 1, 96, 0, 1, 123, 3, 2, 1, 0, 10, 10, 1, 8, 0, 65, 0, 253, 15, 253, 98, 11];
  if (!WebAssembly.validate(Uint8Array.from(simd))) return 'WebAssembly SIMD';
  if (!globalThis.AudioWorkletNode) return globalThis.isSecureContext ? 'AudioWorklet' : 'AudioWorklet, which needs https or a file opened from disk';
  return null;
};

class Page {
  constructor(module, effect, presets) {
    Object.assign(this, { module, effect, presets });
    this.parameters = effect.parameters();
    this.settings = new Settings(this.parameters);
    this.player = new Player({ wasm, worklet: `data:text/javascript;base64,${btoa(workletSource)}`, onMeters: (meters) => this.takeMeters(meters) });
    this.picture = new Picture($('picture'));
    this.meters = [0, 0, 1];
    this.decibels = new Float32Array(kBins);
    this.endShare = 0; // of the recent past, that the sweep stood at its end
    this.motion = matchMedia('(prefers-reduced-motion: reduce)');
  }

  async start() {
    this.makeControls();
    this.makePresetMenu();
    this.wireSettings();
    this.wireKeep();
    this.wireSources();
    this.settings.replace(this.preset(kFirstPreset));
    this.settings.past = [];
    this.readAddress();
    this.showSettings();
    const [first, ...others] = await this.loadLoops();
    this.choose(first);
    await others;
    $('play').disabled = false;
    $('download').disabled = false;
    new ResizeObserver(() => this.drawAnew()).observe($('picture'));
    matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () => this.drawAnew());
    this.motion.addEventListener('change', () => this.drawAnew());
    const frame = () => {
      this.drawFrame();
      requestAnimationFrame(frame);
    };
    requestAnimationFrame(frame);
  }

  // ---- settings

  makeControls() {
    const valueText = (index, value) => this.effect.valueText(index, value);
    this.controls = this.parameters.map((parameter) =>
      makeControl(parameter, this.settings, { explain: explanations[parameter.name], valueText, say }),
    );
    $('controls').append(...this.controls.map(({ root }) => root));
    this.sense = this.controls[findParameter(this.parameters, kDeepRange).index];
  }

  preset(name) {
    return this.presets.find((preset) => preset.name === name) ?? this.presets[0];
  }

  makePresetMenu() {
    const initial = { name: 'Init', values: this.parameters.map((parameter) => parameter.initial) };
    this.presets = [initial, ...this.presets];
    $('preset').append(...this.presets.map(({ name }) => new Option(name)));
    $('preset').addEventListener('change', () => this.settings.replace(this.preset($('preset').value)));
  }

  wireSettings() {
    const settings = this.settings;
    settings.addEventListener('change', () => {
      this.showSettings();
      this.player.setValues(settings.values);
      this.sketchSoon();
    });
    $('undo').addEventListener('click', () => settings.undo());
    $('redo').addEventListener('click', () => settings.redo());
    $('less-sense').addEventListener('click', () => this.lowerSense());
    document.addEventListener('keydown', (event) => {
      const isTyping = event.target.matches('input:not([type=radio], [type=range]), select');
      if ((event.ctrlKey || event.metaKey) && !isTyping && /^[zy]$/i.test(event.key)) {
        if (event.shiftKey || event.key.toLowerCase() === 'y') settings.redo();
        else settings.undo();
        event.preventDefault();
      }
      if (event.key === ' ' && event.target.matches('body, .dial, #sources input')) {
        $('play').click();
        event.preventDefault();
      }
    });
    addEventListener('hashchange', () => this.readAddress());
  }

  showSettings() {
    for (const control of this.controls) control.show();
    const { name, values } = this.settings;
    const isPreset = this.presets.some((p) => p.name === name && p.values.every((value, i) => value === values[i]));
    const menu = $('preset');
    menu.querySelector('[data-own]')?.remove();
    if (!isPreset) {
      const own = new Option(`${name}, changed`, name);
      own.dataset.own = '';
      menu.prepend(own);
    }
    menu.selectedIndex = isPreset ? [...menu.options].findIndex((option) => option.value === name) : 0;
    $('undo').disabled = this.settings.past.length === 0;
    $('redo').disabled = this.settings.future.length === 0;
  }

  get teeth() {
    const value = (name) => this.settings.values[findParameter(this.parameters, name).index];
    if (value('On/Off') !== 1) return 0.12;
    return (0.3 + 0.6 * value('Reso')) * Math.min(1, 0.2 + value('Balance'));
  }

  lowerSense() {
    const { index } = findParameter(this.parameters, 'Sense');
    this.settings.set(index, this.settings.values[index] - 0.2);
    this.endShare = 0;
  }

  readAddress() {
    const link = location.hash.slice(1);
    if (link === '') return;
    try {
      this.settings.replace(this.settings.readLink(link));
    } catch (error) {
      say(`The link's settings cannot be used: ${error.message}. Copy it again from where it was made.`);
    }
  }

  // ---- what can be kept

  wireKeep() {
    $('link').addEventListener('click', () => this.copyLink());
    $('save').addEventListener('click', () => {
      const { values, name } = this.settings;
      offer(this.effect.writeProgram({ values, name }), `${fileName(name)}.fxp`);
    });
    $('load').addEventListener('click', () => $('fxp').click());
    $('fxp').addEventListener('change', () => this.takeFile($('fxp')));
    $('download').addEventListener('click', () => this.download());
  }

  async copyLink() {
    history.replaceState(null, '', `#${this.settings.link()}`);
    try {
      await navigator.clipboard.writeText(location.href);
      say('The link with these settings is on the clipboard.', false);
    } catch {
      say('The link with these settings is in the address bar; copy it from there.', false);
    }
  }

  async loadProgram(file) {
    try {
      // Of its own: what fails leaves an instance of no use.
      const reader = await Effect.make(this.module);
      const program = reader.readProgram(new Uint8Array(await file.arrayBuffer()));
      this.settings.replace({ ...program, name: program.name || 'Init' });
      say(`Loaded ${file.name}.`, false);
    } catch (error) {
      say(`Cannot load ${file.name}: ${error.message}. Choose a program (.fxp) that was saved here or by a host with Wail.`);
    }
  }

  async download() {
    const source = this.source;
    const format = $('format').value;
    if (!source.channels) return say('Only a recording can be rendered; open a file or choose a loop.');
    $('download').disabled = true;
    say('Rendering…', false);
    const values = this.settings.values;
    const outputs = [];
    for (const channel of source.channels) outputs.push(await renderChannel(this.effect, channel, source.sampleRate, values));
    const { bytes, clipped } = writeWav(outputs, source.sampleRate, format);
    offer(bytes, `${fileName(source.name.replace(/\.[^.]*$/, ''))}-wail.wav`);
    $('download').disabled = false;
    const place = `Rendered ${source.name}.`;
    if (clipped > 0) say(`${place} ${clipped} samples were limited to full scale; WAV float keeps them as they are.`);
    else say(place, false);
  }

  // ---- what is played

  async loadLoops() {
    const decoder = new OfflineAudioContext(1, 1, kLoopRate);
    const load = async (name, bytes) => fromBuffer(name, await decoder.decodeAudioData(bytes.slice().buffer));
    const sources = [];
    for (const [name, bytes] of [['Guitar', guitar], ['Drums', drums], ['Tabla', tabla]]) sources.push(await load(name, bytes));
    for (const source of sources) this.addSource(source);
    return sources;
  }

  addSource(source) {
    const label = document.createElement('label');
    const radio = Object.assign(document.createElement('input'), { type: 'radio', name: 'source' });
    const text = document.createElement('span');
    text.textContent = source.name;
    label.append(radio, text);
    source.radio = radio;
    radio.addEventListener('change', () => this.choose(source));
    $('sources').append(label);
    return source;
  }

  choose(source) {
    this.source = source;
    source.radio.checked = true;
    this.drawAnew();
    if (this.player.isPlaying) this.play();
  }

  wireSources() {
    $('play').addEventListener('click', () => (this.player.isPlaying ? this.pause() : this.play()));
    $('open').addEventListener('click', () => $('file').click());
    $('file').addEventListener('change', () => this.takeFile($('file')));
    $('plug').addEventListener('click', () => $('feedback').showModal());
    $('plug-cancel').addEventListener('click', () => $('feedback').close());
    $('plug-now').addEventListener('click', () => this.plugIn());
    $('volume').addEventListener('input', () => this.setVolume(Number($('volume').value)));
    this.setVolume(Number($('volume').value));
    for (const type of ['dragenter', 'dragover', 'dragleave', 'drop'])
      addEventListener(type, (event) => {
        event.preventDefault();
        document.body.classList.toggle('dropping', type === 'dragenter' || type === 'dragover');
        if (type === 'drop' && event.dataTransfer.files.length > 0) this.take(event.dataTransfer.files[0]);
      });
  }

  setVolume(decibels) {
    $('volume').value = decibels;
    $('volume-text').textContent = `${decibels.toFixed(1).replace('-', '−')} dB`;
    $('volume').setAttribute('aria-valuetext', `${decibels.toFixed(1)} dB`);
    this.player.setVolume(10 ** (decibels / 20));
  }

  async play() {
    const { source } = this;
    try {
      this.player.setValues(this.settings.values);
      if (this.playing === source) await this.player.resume();
      else await this.player.play(source.stream ?? source.buffer);
      this.playing = source;
    } catch (error) {
      say(`Cannot play: ${error.message}. Reload the page, or try another browser.`);
    }
    this.showPlaying();
  }

  async pause() {
    const paused = this.player.pause();
    this.showPlaying();
    await paused;
    if (!this.player.isPlaying) this.sketchSoon();
  }

  showPlaying() {
    $('play').textContent = this.player.isPlaying ? 'Pause' : 'Play';
  }

  takeFile(input) {
    const [file] = input.files;
    input.value = '';
    if (file) this.take(file);
  }

  take(file) {
    return /\.fxp$/i.test(file.name) ? this.loadProgram(file) : this.loadSound(file);
  }

  async loadSound(file) {
    try {
      const bytes = await file.arrayBuffer();
      const wav = readWav(bytes);
      const decoder = (rate) => new OfflineAudioContext(1, 1, rate);
      const source = wav ? fromWav(file.name, wav) : fromBuffer(file.name, await decoder(sniffSampleRate(bytes) ?? 48000).decodeAudioData(bytes));
      if (source.buffer.length === 0) throw new Error('it is empty');
      this.dropped?.radio.parentNode.remove();
      this.dropped = this.addSource(source);
      say(`${file.name}: ${source.buffer.duration.toFixed(1)} s, ${source.sampleRate} Hz.`, false);
      this.choose(source);
    } catch (error) {
      const reason = error.name === 'EncodingError' ? 'this browser cannot decode it' : error.message;
      say(`Cannot play ${file.name}: ${reason}. Try it as WAV, FLAC or MP3.`);
    }
  }

  async plugIn() {
    $('feedback').close();
    try {
      const audio = { echoCancellation: false, noiseSuppression: false, autoGainControl: false, latency: 0 };
      const stream = await navigator.mediaDevices.getUserMedia({ audio });
      this.plugged?.radio.parentNode.remove();
      this.plugged = this.addSource({ name: 'Input', stream });
      this.choose(this.plugged);
      if (!this.player.isPlaying) await this.play();
    } catch (error) {
      const reason = error.name === 'NotFoundError' ? 'there is none' : error.name === 'NotAllowedError' ? 'the browser did not allow it' : error.message;
      say(`Cannot listen to a microphone or guitar: ${reason}. Connect it, allow the microphone for this page, and plug in again.`);
    }
  }

  // ---- the picture

  get seconds() {
    const duration = this.source.buffer?.duration ?? kLongestWindow;
    return duration < kShortestWindow ? duration * Math.ceil(kShortestWindow / duration) : Math.min(duration, kLongestWindow);
  }

  drawAnew() {
    if (!this.source) return;
    this.picture.reset(this.seconds);
    const rows = document.querySelectorAll('.rows span');
    [this.picture.level, this.picture.output, this.picture.sweep].forEach(({ top }, i) => (rows[i].style.top = `${top / this.picture.ratio + 8}px`));
    this.sketchSoon();
  }

  get isLive() {
    return this.player.isPlaying && (!this.motion.matches || !this.source.channels);
  }

  // While nothing moves, the picture shows what is going to be heard.
  async sketchSoon() {
    this.sketchIsStale = true;
    if (this.isSketching || !this.source) return;
    this.isSketching = true;
    while (this.sketchIsStale && !this.isLive && this.source.channels) {
      this.sketchIsStale = false;
      await this.sketch();
    }
    this.isSketching = false;
  }

  async sketch() {
    const { source, seconds } = this;
    const frames = Math.round(seconds * source.sampleRate);
    const input = Float64Array.from({ length: frames }, (_, n) => source.channels[0][n % source.channels[0].length]);
    const blocks = [];
    const output = await renderChannel(this.effect, input, source.sampleRate, this.settings.values, (channel) =>
      blocks.push({ sweep: channel.sweep(), delay: channel.delay() }),
    );
    const atEnd = blocks.filter(({ sweep }) => sweep >= kEndOfSweep).length;
    this.showEndOfSweep(atEnd / blocks.length);
    await this.picture.sketch({ input, output, blocks, sampleRate: source.sampleRate, teeth: this.teeth });
  }

  takeMeters(meters) {
    this.meters = meters;
    this.endShare += 0.01 * ((meters[1] >= kEndOfSweep ? 1 : 0) - this.endShare);
  }

  drawFrame() {
    if (!this.isLive || !this.player.analyser) return;
    const now = performance.now();
    if (this.motion.matches && now - this.lastFrame < 500) return;
    this.lastFrame = now;
    this.picture.stopSketch();
    this.player.analyser.getFloatFrequencyData(this.decibels);
    const { meters, decibels, teeth } = this;
    this.picture.paint(this.player.position, { meters, decibels, sampleRate: this.player.sampleRate, teeth });
    this.picture.show(this.motion.matches ? null : { teeth });
    this.showEndOfSweep(this.endShare);
    this.keepBelowFullScale();
  }

  showEndOfSweep(share) {
    const isAtEnd = share > 0.35;
    if ($('end-mark').hidden === !isAtEnd) return;
    $('end-mark').hidden = !isAtEnd;
    this.sense.root.classList.toggle('marked', isAtEnd);
    this.sense.mark = isAtEnd ? 'too high: the sweep stands at its end' : '';
    this.sense.show();
  }

  // Loudspeakers clip what is beyond full scale, and a comb adds level.
  keepBelowFullScale() {
    this.waveform ??= new Float32Array(this.player.outputAnalyser.fftSize);
    this.player.outputAnalyser.getFloatTimeDomainData(this.waveform);
    const peak = this.waveform.reduce((highest, sample) => Math.max(highest, Math.abs(sample)), 0);
    if (peak > 1) this.setVolume(Math.max(-36, Math.floor(2 * (Number($('volume').value) - 20 * Math.log10(peak))) / 2));
  }
}

function fromBuffer(name, buffer) {
  const channels = Array.from({ length: buffer.numberOfChannels }, (_, c) => Float64Array.from(buffer.getChannelData(c)));
  return { name, buffer, channels, sampleRate: buffer.sampleRate };
}

function fromWav(name, { channels, sampleRate }) {
  const length = channels[0].length;
  if (length === 0) throw new Error('it is empty');
  const buffer = new AudioBuffer({ numberOfChannels: channels.length, length, sampleRate });
  channels.forEach((samples, c) => buffer.copyToChannel(Float32Array.from(samples), c));
  return { name, buffer, channels, sampleRate };
}

function fileName(text) {
  return text.trim().toLowerCase().replace(/[^a-z0-9._-]+/g, '-').replace(/^[-.]+|[-.]+$/g, '') || 'wail';
}

function offer(bytes, name) {
  const link = document.createElement('a');
  link.href = URL.createObjectURL(new Blob([bytes], { type: 'application/octet-stream' }));
  link.download = name;
  link.click();
  setTimeout(() => URL.revokeObjectURL(link.href), 60000);
}

async function start() {
  const missing = whatIsMissing();
  if (missing) return say(`This browser lacks ${missing}. A Chrome, Edge, Firefox or Safari from 2023 on plays Wail.`);
  const module = await WebAssembly.compile(wasm);
  const effect = await Effect.make(module);
  const parameters = effect.parameters();
  const presets = presetFiles.map((bytes) => effect.readProgram(bytes));

  // For scripts. samples: one channel, a Float64Array. sampleRate: Hz. settings: parameters by name, such as
  // { sense: 0.4, "on-off": "on" }; those left out have their defaults. Resolves to the samples that
  // `wail render --block 128` makes of them, a Float64Array; rejects with an Error that says what is wrong.
  const render = async (samples, sampleRate, settings = {}) => {
    const values = parameters.map(({ initial }) => initial);
    for (const [name, value] of Object.entries(settings)) {
      const parameter = findParameter(parameters, name);
      values[parameter.index] = valueOf(parameter, value);
    }
    return renderChannel(effect, samples, sampleRate, values);
  };
  window.wail = { render };

  await new Page(module, effect, presets).start();
}

start().catch((error) => say(`The page could not start: ${error.message}. Reload it, or try another browser.`));
