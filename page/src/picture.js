// The picture of the sound: level in, the output's spectrogram with the teeth of the comb over it, and how far they
// are swept, side by side in time. It stands still; a head runs over it from left to right and paints it anew.

import { kBlock } from './effect.js';
import { kBins, kFftSize, spectrum } from './spectrum.js';

const kLowest = 50; // Hz
const kHighest = 12000; // Hz
const kKnee = 500; // Hz: below it the scale is linear, above it logarithmic, much as one hears
const kFloor = -92; // dB, the lightest
const kCeiling = -30; // dB, the darkest
const kTilt = 3; // dB an octave, about 1 kHz: the fall of most sounds
const kMostTeeth = 16;
const kSliceMilliseconds = 10; // of a sketch, in one frame
const kLabels = [200, 500, 1000, 2000, 5000, 10000]; // Hz

const warp = (frequency) => Math.log(1 + frequency / kKnee);
const unwarp = (warped) => kKnee * (Math.exp(warped) - 1);

export class Picture {
  // canvas: fills its box. Its colours are those of its style.
  constructor(canvas) {
    this.canvas = canvas;
    this.context = canvas.getContext('2d', { alpha: false });
    this.paper = document.createElement('canvas');
    this.ink = this.paper.getContext('2d', { alpha: false, willReadFrequently: true });
    this.decibels = new Float32Array(kBins);
    this.last = null; // column painted last
    this.lastX = 0;
  }

  // To the canvas's present size and style, all blank. seconds: what the width shows. endOfSweep: the sweep from
  // which it counts as at its end.
  reset(seconds, endOfSweep) {
    const ratio = Math.min(window.devicePixelRatio || 1, 2);
    const box = this.canvas.getBoundingClientRect();
    const width = Math.max(1, Math.round(box.width * ratio));
    const height = Math.max(1, Math.round(box.height * ratio));
    for (const canvas of [this.canvas, this.paper]) Object.assign(canvas, { width, height });
    Object.assign(this, { ratio, width, height, seconds, endOfSweep, last: null, sketching: null });
    const gap = Math.round(14 * ratio);
    const band = Math.round(Math.min(64 * ratio, height * 0.15));
    this.level = { top: 0, height: band };
    this.sweep = { top: height - band, height: band };
    this.output = { top: band + gap, height: height - 2 * (band + gap) };
    this.#readStyle();
    this.ink.fillStyle = this.colours.page;
    this.ink.fillRect(0, 0, width, height);
    for (const area of [this.level, this.output, this.sweep]) this.#clear(area, 0, width);
    this.show(null);
  }

  // Paints what a moment of the sound gives, position seconds from its beginning. column: { meters: level, sweep, and
  // delay in s; decibels: the output's spectrum; sampleRate in Hz; teeth: how strongly they are drawn, 0 .. 1 }.
  paint(position, column) {
    const x = Math.floor(((position % this.seconds) / this.seconds) * this.width);
    if (this.last && x === this.lastX) return;
    // A step back is a new round; a long one forward a page that slept.
    const goesOn = this.last && x > this.lastX && x - this.lastX < this.width / 8;
    const from = goesOn ? this.lastX : Math.max(0, Math.floor(x - this.ratio));
    this.#paintColumns(from, x, column, this.last ?? column);
    this.last = column;
    this.lastX = x;
  }

  // Brings what was painted to the screen, with the head and the comb at this moment, if it plays.
  show(head) {
    const { context, ratio } = this;
    context.drawImage(this.paper, 0, 0);
    if (head && this.last) this.#showHead(head);
    context.font = `${11 * ratio}px system-ui, sans-serif`;
    context.textBaseline = 'middle';
    for (const frequency of kLabels) {
      const text = frequency < 1000 ? `${frequency} Hz` : `${frequency / 1000} kHz`;
      this.#label(text, 10 * ratio, this.#yOf(frequency));
    }
  }

  // Paints all of a sound ahead, until another picture is begun. sound: { input, output: one channel of what the width
  // shows; blocks: for each 128 samples its { sweep, delay }; sampleRate in Hz; teeth }. isLive(): if it plays, so that
  // the picture is shown anyway.
  async sketch(sound, isLive) {
    const mine = (this.sketching = {});
    const step = Math.max(1, Math.round(1.5 * this.ratio));
    let before = null;
    let begin = performance.now();
    for (let x = 0; x < this.width; x += step) {
      const column = this.#columnOf(sound, x, step);
      this.#paintColumns(x, Math.min(this.width, x + step), column, before ?? column);
      before = column;
      if (performance.now() - begin < kSliceMilliseconds) continue;
      if (!isLive()) this.show(null);
      await new Promise(requestAnimationFrame);
      if (this.sketching !== mine) return;
      begin = performance.now();
    }
    if (!isLive()) this.show(null);
  }

  #columnOf({ input, output, blocks, sampleRate, teeth }, x, width) {
    const samplesPerPixel = (this.seconds * sampleRate) / this.width;
    const middle = Math.floor((x + width / 2) * samplesPerPixel);
    const span = Math.ceil(width * samplesPerPixel);
    const level = input.subarray(Math.max(0, middle - span), middle + span).reduce(louder, 0);
    spectrum(output, middle - kFftSize / 2, this.decibels);
    const { sweep, delay } = blocks[Math.min(blocks.length - 1, Math.floor(middle / kBlock))];
    return { meters: [level, sweep, delay], decibels: this.decibels, sampleRate, teeth };
  }

  #readStyle() {
    const style = getComputedStyle(this.canvas);
    const colour = (name) => style.getPropertyValue(name).trim();
    this.colours = {
      page: colour('--page'),
      area: colour('--p0'),
      level: colour('--level'),
      teeth: colour('--accent'),
      label: colour('--muted'),
    };
    const stops = ['--p0', '--p1', '--p2', '--p3'].map((name) => rgbOf(colour(name)));
    this.shades = Uint8Array.from({ length: 256 * 3 }, (_, i) => {
      const place = (Math.floor(i / 3) / 255) * (stops.length - 1);
      const stop = Math.min(Math.floor(place), stops.length - 2);
      const [low, high] = [stops[stop][i % 3], stops[stop + 1][i % 3]];
      return Math.round(low + (high - low) * (place - stop));
    });
  }

  #clear({ top, height }, from, to) {
    this.ink.fillStyle = this.colours.area;
    this.ink.fillRect(from, top, to - from, height);
  }

  // Columns from .. to, all alike. before: the column to their left, from which the teeth go on.
  #paintColumns(from, to, column, before) {
    const width = to - from;
    if (width <= 0) return;
    const [level, sweep] = column.meters;
    for (const area of [this.level, this.sweep]) this.#clear(area, from, to);
    this.ink.fillStyle = this.colours.level;
    const bar = (area, share) => {
      const height = Math.round(area.height * Math.min(1, share));
      this.ink.fillRect(from, area.top + area.height - height, width, height);
    };
    // Square root: soft playing shows too.
    bar(this.level, Math.sqrt(level));
    if (sweep >= this.endOfSweep) this.#markEnd(from, width);
    else bar(this.sweep, sweep);
    this.#paintSpectrum(from, width, column);
    this.#paintTeeth(from, to, column, before);
  }

  // The sweep stands at its end: unlike any height that it reaches.
  #markEnd(from, width) {
    const { top, height } = this.sweep;
    this.ink.fillStyle = this.colours.teeth;
    this.ink.globalAlpha = 0.3;
    this.ink.fillRect(from, top, width, height);
    this.ink.globalAlpha = 1;
    this.ink.fillRect(from, top, width, Math.round(4 * this.ratio));
  }

  #paintSpectrum(from, width, { decibels, sampleRate }) {
    const { top, height } = this.output;
    if (this.strip?.width !== width || this.strip.height !== height)
      this.strip = this.ink.createImageData(width, height);
    const { data } = this.strip;
    for (let row = 0, at = 0; row < height; ++row) {
      const shade = 3 * this.#shadeAt(row, decibels, sampleRate);
      for (let i = 0; i < width; ++i, at += 4) {
        data[at] = this.shades[shade];
        data[at + 1] = this.shades[shade + 1];
        data[at + 2] = this.shades[shade + 2];
        data[at + 3] = 255;
      }
    }
    this.ink.putImageData(this.strip, from, top);
  }

  #shadeAt(row, decibels, sampleRate) {
    const frequency = this.#frequencyAt(row);
    const bin = (frequency / sampleRate) * kFftSize;
    const low = Math.min(Math.floor(bin), kBins - 2);
    const level = decibels[low] + (decibels[low + 1] - decibels[low]) * (bin - low);
    const tilted = level + kTilt * Math.log2(Math.max(frequency, 100) / 1000);
    const share = (tilted - kFloor) / (kCeiling - kFloor);
    return share > 0 ? Math.min(255, Math.round(255 * share)) : 0; // NaN and -Infinity are silence
  }

  #paintTeeth(from, to, column, before) {
    const { ink } = this;
    const { top, height } = this.output;
    ink.save();
    ink.beginPath();
    ink.rect(from, top, to - from, height);
    ink.clip();
    ink.strokeStyle = this.colours.teeth;
    ink.lineWidth = 1.5 * this.ratio;
    for (let tooth = 0; tooth < kMostTeeth; ++tooth) {
      const y = this.#yOf(toothFrequency(tooth, column));
      if (!(y > top - height)) break;
      ink.globalAlpha = column.teeth * toothStrength(tooth);
      ink.beginPath();
      ink.moveTo(from, this.#yOf(toothFrequency(tooth, before)));
      ink.lineTo(to, y);
      ink.stroke();
    }
    ink.restore();
  }

  // A clear gap before what an earlier turn has left, and the comb as it stands.
  #showHead({ teeth }) {
    const { context, ratio, lastX } = this;
    for (const { top, height } of [this.level, this.output, this.sweep]) {
      const gap = context.createLinearGradient(lastX, 0, lastX + 40 * ratio, 0);
      gap.addColorStop(0, this.colours.area);
      gap.addColorStop(1, `${this.colours.area}00`);
      context.fillStyle = gap;
      context.fillRect(lastX, top, 40 * ratio, height);
    }
    context.fillStyle = this.colours.teeth;
    for (let tooth = 0; tooth < kMostTeeth; ++tooth) {
      const y = this.#yOf(toothFrequency(tooth, this.last));
      if (!(y > this.output.top)) break;
      context.globalAlpha = Math.max(0.3, teeth * toothStrength(tooth));
      context.fillRect(lastX, y - ratio, 14 * ratio, 2 * ratio);
    }
    context.globalAlpha = 1;
    context.fillRect(lastX, this.output.top, ratio, this.output.height);
  }

  #label(text, x, y) {
    const { context, ratio } = this;
    const width = context.measureText(text).width;
    context.fillStyle = this.colours.area;
    context.globalAlpha = 0.8;
    context.beginPath();
    context.roundRect(x - 4 * ratio, y - 9 * ratio, width + 8 * ratio, 17 * ratio, 5 * ratio);
    context.fill();
    context.globalAlpha = 1;
    context.fillStyle = this.colours.label;
    context.fillText(text, x, y);
  }

  #frequencyAt(row) {
    const share = 1 - (row + 0.5) / this.output.height;
    return unwarp(warp(kLowest) + share * (warp(kHighest) - warp(kLowest)));
  }

  #yOf(frequency) {
    const share = (warp(frequency) - warp(kLowest)) / (warp(kHighest) - warp(kLowest));
    return this.output.top + this.output.height * (1 - share);
  }
}

// Hz. A comb with negative feedback, v(n) = x(n) - g v(n - p), peaks at odd multiples of half its rate 1 / p.
function toothFrequency(tooth, { meters }) {
  return (2 * tooth + 1) / (2 * meters[2]);
}

// The higher, the fainter: far up they are too many to be told apart.
function toothStrength(tooth) {
  return 1 / (1 + 0.15 * tooth);
}

function louder(peak, sample) {
  return Math.max(peak, Math.abs(sample));
}

function rgbOf(hex) {
  return [1, 3, 5].map((at) => Number.parseInt(hex.slice(at, at + 2), 16));
}
