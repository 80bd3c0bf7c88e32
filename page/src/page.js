// The page: what is played, the settings, and what can be kept of them.

import { makeControl } from './controls.js';
import { Display } from './display.js';
import { $, fileName, offer, say } from './dom.js';
import { Effect } from './effect.js';
import { Player } from './player.js';
import { renderChannel } from './render.js';
import { Settings, findParameter } from './settings.js';
import { loadFile, openInput } from './sources.js';
import { writeWav } from './wav.js';

const kLowestVolume = -36; // dB

const explanations = {
  'On/Off': 'Effect, or the dry sound to compare.',
  Sense: 'Lower it for louder playing.',
  Reso: 'How much the teeth ring.',
  Range: 'How far the teeth sweep.',
  Balance: 'From dry to effect.',
  Invert: 'On: louder moves the teeth down, not up.',
  Envelope: 'How slowly the sweep falls back.',
};

export class Page {
  // presets: [{ name, values }, ...]. sources: those inside. worklet: its address.
  constructor({ wasm, module, effect, presets, sources, worklet }) {
    Object.assign(this, { module, effect });
    this.parameters = effect.parameters();
    const initial = { name: 'Init', values: this.parameters.map((parameter) => parameter.initial) };
    this.presets = [initial, ...presets];
    this.settings = new Settings(this.parameters);
    this.player = new Player({ wasm, worklet, onMeters: (meters) => this.takeMeters(meters) });
    this.display = new Display({
      effect,
      player: this.player,
      values: () => this.settings.values,
      teeth: () => this.teethStrength(),
      onEndOfSweep: (isAtEnd) => this.showEndOfSweep(isAtEnd),
    });
    this.starting = Promise.resolve();
    this.firstSource = sources[0];
    for (const source of sources) this.addSource(source);
  }

  // firstPreset: its name; a link in the address overrules it.
  start(firstPreset) {
    this.makeControls();
    this.wireSettings();
    this.wireKeep();
    this.wireSources();
    this.settings.start(this.presets.find(({ name }) => name === firstPreset));
    this.readAddress();
    this.source = this.firstSource;
    this.source.radio.checked = true;
    this.display.start(this.source);
    for (const id of ['play', 'download']) $(id).disabled = false;
  }

  // ---- settings

  makeControls() {
    const valueText = (index, value) => this.effect.valueText(index, value);
    this.controls = this.parameters.map((parameter) =>
      makeControl(parameter, this.settings, { explain: explanations[parameter.name], valueText, say }),
    );
    $('controls').append(...this.controls.map(({ root }) => root));
    $('preset').append(...this.presets.map(({ name }) => new Option(name)));
  }

  wireSettings() {
    const { settings } = this;
    settings.addEventListener('change', () => {
      this.showSettings();
      this.player.setValues(settings.values);
      if (this.source) this.display.takeSettings();
    });
    $('preset').addEventListener('change', () =>
      settings.replace(this.presets.find(({ name }) => name === $('preset').value)),
    );
    $('undo').addEventListener('click', () => settings.undo());
    $('redo').addEventListener('click', () => settings.redo());
    $('less-sense').addEventListener('click', () => this.lowerSense());
    document.addEventListener('keydown', (event) => this.takeKey(event));
    addEventListener('hashchange', () => this.readAddress());
  }

  takeKey(event) {
    const { key, target } = event;
    const isTyping = target.matches('input.value');
    if ((event.ctrlKey || event.metaKey) && !isTyping && /^[zy]$/i.test(key)) {
      if (event.shiftKey || key.toLowerCase() === 'y') this.settings.redo();
      else this.settings.undo();
    } else if (key === ' ' && target.matches('body, .dial, #sources input')) $('play').click();
    else return;
    event.preventDefault();
  }

  showSettings() {
    for (const control of this.controls) control.show();
    const { name, values, past, future } = this.settings;
    const menu = $('preset');
    menu.querySelector('[data-own]')?.remove();
    const preset = this.presets.findIndex(
      (p) => p.name === name && p.values.every((value, i) => value === values[i]),
    );
    if (preset < 0) {
      const isChanged = this.presets.some((p) => p.name === name);
      const own = new Option(isChanged ? `${name}, changed` : name);
      own.dataset.own = '';
      menu.prepend(own);
    }
    menu.selectedIndex = Math.max(0, preset);
    $('undo').disabled = past.length === 0;
    $('redo').disabled = future.length === 0;
  }

  valueOf(name) {
    return this.settings.values[findParameter(this.parameters, name).index];
  }

  teethStrength() {
    if (this.valueOf('On/Off') !== 1) return 0.12;
    return (0.3 + 0.6 * this.valueOf('Reso')) * Math.min(1, 0.2 + this.valueOf('Balance'));
  }

  showEndOfSweep(isAtEnd) {
    $('end-mark').hidden = !isAtEnd;
    const sense = this.controls[findParameter(this.parameters, 'Sense').index];
    sense.root.classList.toggle('marked', isAtEnd);
    sense.mark = isAtEnd ? 'too high: the sweep stands at its end' : '';
    sense.show();
  }

  lowerSense() {
    const { index } = findParameter(this.parameters, 'Sense');
    this.settings.set(index, this.settings.values[index] - 0.2);
    this.display.endShare = 0;
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
      const { values, name } = reader.readProgram(new Uint8Array(await file.arrayBuffer()));
      this.settings.replace({ values, name: name || 'Init' });
      say(`Loaded ${file.name}.`, false);
    } catch (error) {
      say(
        `Cannot load ${file.name}: ${error.message}. Choose a program (.fxp) that was saved here or by a host with Wail.`,
      );
    }
  }

  async download() {
    const { name, channels, sampleRate } = this.source;
    if (!channels) return say('An input cannot be rendered; open a file or choose a loop.');
    $('download').disabled = true;
    say('Rendering…', false);
    const values = this.settings.values;
    const outputs = await Promise.all(
      channels.map((samples) => renderChannel(this.effect, samples, sampleRate, values)),
    );
    const { bytes, clipped } = writeWav(outputs, sampleRate, $('format').value);
    offer(bytes, `${fileName(name.replace(/\.[^.]*$/, ''))}-wail.wav`);
    $('download').disabled = false;
    const advice =
      clipped > 0 ? ` ${clipped} samples were limited to full scale; WAV float keeps them as they are.` : '';
    say(`Rendered ${name}.${advice}`, clipped > 0);
  }

  // ---- what is played

  addSource(source) {
    const label = document.createElement('label');
    source.radio = Object.assign(document.createElement('input'), { type: 'radio', name: 'source' });
    const text = Object.assign(document.createElement('span'), { textContent: source.name });
    label.append(source.radio, text);
    source.radio.addEventListener('change', () => this.choose(source));
    $('sources').append(label);
    return source;
  }

  choose(source) {
    // An input that nobody hears any more is let go.
    if (this.plugged && source !== this.plugged) {
      this.plugged.stream.getTracks().forEach((track) => track.stop());
      this.plugged.radio.parentNode.remove();
      this.plugged = null;
    }
    this.source = source;
    source.radio.checked = true;
    this.display.setSource(source);
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

  takeMeters(meters) {
    this.display.takeMeters(meters);
    // Loudspeakers clip what is beyond full scale, and a comb adds level.
    const peak = this.player.outputPeak();
    if (!(peak > 1)) return;
    this.setVolume(Math.max(kLowestVolume, Math.floor(2 * ($('volume').value - 20 * Math.log10(peak))) / 2));
    say(`The volume is at ${$('volume-text').value} now, so that nothing clips.`, false);
  }

  // One at a time: a start takes a moment.
  play() {
    return (this.starting = this.starting.then(() => this.playNow()));
  }

  async playNow() {
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
    this.display.takeSettings();
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
    return /\.fx[pb]$/i.test(file.name) ? this.loadProgram(file) : this.loadSound(file);
  }

  async loadSound(file) {
    try {
      const source = await loadFile(file);
      this.dropped?.radio.parentNode.remove();
      this.dropped = this.addSource(source);
      say(`${file.name}: ${source.buffer.duration.toFixed(1)} s, ${source.sampleRate} Hz.`, false);
      this.choose(source);
    } catch (error) {
      say(`Cannot play ${file.name}: ${error.message}. Try it as WAV, FLAC or MP3.`);
    }
  }

  async plugIn() {
    $('feedback').close();
    try {
      const input = await openInput();
      const { isPlaying } = this.player;
      if (this.plugged) this.choose(this.firstSource);
      this.plugged = this.addSource(input);
      this.choose(input);
      if (!isPlaying) await this.play();
    } catch (error) {
      say(
        `Cannot listen to a microphone or guitar: ${error.message}. Connect it, allow the microphone for this page, and plug in again.`,
      );
    }
  }
}
