// The picture as it lives: what is going to be heard while nothing plays, and what is heard while it plays.

import { $ } from './dom.js';
import { Picture } from './picture.js';
import { renderChannel } from './render.js';
import { kBins } from './spectrum.js';

const kShortestWindow = 5; // s, of what the picture shows: on a phone
const kLongestWindow = 11; // s: on a wide screen
const kFullWidth = 1000; // CSS pixels
const kEndOfSweep = 0.97; // from here on the teeth hardly move
const kTooLongAtEnd = 0.35; // share of the time, from which Sense is too high
const kForget = 0.01; // of that share, with each of the meters
const kStillMilliseconds = 500; // between two pictures of an input, if motion is to be reduced

export class Display {
  // effect: to render with. values(): of the parameters. teeth(): how strongly the teeth are drawn, 0 .. 1.
  // onEndOfSweep(isAtEnd): called when the sweep begins to stand at its end for too long, or no longer does.
  constructor({ effect, player, values, teeth, onEndOfSweep }) {
    Object.assign(this, { effect, player, values, teeth, onEndOfSweep });
    this.picture = new Picture($('picture'));
    this.decibels = new Float32Array(kBins);
    this.meters = null; // of the sound that plays
    this.endShare = 0;
    this.isAtEnd = false;
    this.motion = matchMedia('(prefers-reduced-motion: reduce)');
  }

  // source: what is played, or is going to be.
  start(source) {
    this.setSource(source);
    const redraw = () => this.drawAnew();
    new ResizeObserver(redraw).observe($('picture'));
    matchMedia('(prefers-color-scheme: dark)').addEventListener('change', redraw);
    this.motion.addEventListener('change', redraw);
    const frame = () => {
      this.drawFrame();
      requestAnimationFrame(frame);
    };
    requestAnimationFrame(frame);
  }

  setSource(source) {
    this.source = source;
    this.drawAnew();
  }

  takeMeters(meters) {
    this.meters = meters;
    this.endShare += kForget * ((meters[1] >= kEndOfSweep ? 1 : 0) - this.endShare);
  }

  drawAnew() {
    const longest = Math.max(kShortestWindow, kLongestWindow * Math.min(1, $('picture').clientWidth / kFullWidth));
    const duration = this.source.buffer?.duration ?? longest;
    // Whole rounds of a loop, so that it is painted over itself.
    this.seconds = duration > 1.5 * longest ? longest : duration * Math.max(1, Math.round(longest / duration));
    this.picture.reset(this.seconds, kEndOfSweep);
    const { level, output, sweep, ratio } = this.picture;
    const rows = document.querySelectorAll('.rows span');
    [level, output, sweep].forEach(({ top }, i) => (rows[i].style.top = `${top / ratio + 8}px`));
    this.sketchSoon();
  }

  // The settings have changed. What plays shows that by itself.
  takeSettings() {
    if (!this.isLive) this.sketchSoon();
  }

  // Only the last of many changes is worth a sketch.
  async sketchSoon() {
    this.sketchIsStale = true;
    if (this.isSketching) return;
    this.isSketching = true;
    while (this.sketchIsStale && this.source.channels) {
      this.sketchIsStale = false;
      await this.sketch();
    }
    this.isSketching = false;
  }

  async sketch() {
    const { seconds, teeth } = this;
    const { channels, sampleRate } = this.source;
    const input = Float64Array.from(
      { length: Math.round(seconds * sampleRate) },
      (_, n) => channels[0][n % channels[0].length],
    );
    const blocks = [];
    const output = await renderChannel(this.effect, input, sampleRate, this.values(), (channel) =>
      blocks.push({ sweep: channel.sweep(), delay: channel.delay() }),
    );
    this.endShare = blocks.filter(({ sweep }) => sweep >= kEndOfSweep).length / blocks.length;
    this.tellEndOfSweep();
    await this.picture.sketch({ input, output, blocks, sampleRate, teeth: teeth() }, () => this.isLive);
  }

  get isLive() {
    return this.player.isPlaying && (!this.motion.matches || !this.source.channels);
  }

  drawFrame() {
    if (!this.isLive || !this.meters) return;
    const now = performance.now();
    if (this.motion.matches && now - this.lastFrame < kStillMilliseconds) return;
    this.lastFrame = now;
    this.player.analyser.getFloatFrequencyData(this.decibels);
    const { meters, decibels } = this;
    const teeth = this.teeth();
    this.picture.paint(this.player.position, { meters, decibels, sampleRate: this.player.sampleRate, teeth });
    this.picture.show(this.motion.matches ? null : { teeth });
    this.tellEndOfSweep();
  }

  tellEndOfSweep() {
    const isAtEnd = this.endShare > kTooLongAtEnd;
    if (isAtEnd !== this.isAtEnd) this.onEndOfSweep(isAtEnd);
    this.isAtEnd = isAtEnd;
  }
}
