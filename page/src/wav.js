// WAV files, as exact as their samples: decoders of browsers give floats, and not of every sample the nearest.

const kPcm = 1;
const kFloat = 3;
const kExtensible = 0xfffe;

// Returns { sampleRate, channels: [Float64Array, ...] }, full scale 1; null if the bytes are not a WAV file of
// integers or floats. bytes: an ArrayBuffer.
export function readWav(bytes) {
  const view = new DataView(bytes);
  const tag = (at) => (at + 4 <= bytes.byteLength ? String.fromCharCode(...new Uint8Array(bytes, at, 4)) : '');
  if (tag(0) !== 'RIFF' || tag(8) !== 'WAVE') return null;
  let format = null;
  for (let at = 12; at + 8 <= bytes.byteLength;) {
    const size = view.getUint32(at + 4, true);
    if (tag(at) === 'fmt ' && size >= 16 && at + 8 + size <= bytes.byteLength)
      format = readFormat(view, at + 8, size);
    if (tag(at) === 'data')
      return format && readSamples(view, at + 8, Math.min(size, bytes.byteLength - at - 8), format);
    at += 8 + size + (size % 2);
  }
  return null;
}

function readFormat(view, at, size) {
  const kind = view.getUint16(at, true);
  return {
    kind: kind === kExtensible && size >= 40 ? view.getUint16(at + 24, true) : kind,
    channels: view.getUint16(at + 2, true),
    sampleRate: view.getUint32(at + 4, true),
    bytes: view.getUint16(at + 14, true) / 8,
  };
}

const readers = {
  [`${kPcm} 1`]: (view, at) => (view.getUint8(at) - 128) / 2 ** 7,
  [`${kPcm} 2`]: (view, at) => view.getInt16(at, true) / 2 ** 15,
  [`${kPcm} 3`]: (view, at) => (view.getUint16(at, true) + view.getInt8(at + 2) * 2 ** 16) / 2 ** 23,
  [`${kPcm} 4`]: (view, at) => view.getInt32(at, true) / 2 ** 31,
  [`${kFloat} 4`]: (view, at) => view.getFloat32(at, true),
  [`${kFloat} 8`]: (view, at) => view.getFloat64(at, true),
};

function readSamples(view, start, size, { kind, channels, sampleRate, bytes }) {
  const read = readers[`${kind} ${bytes}`];
  if (!read || channels === 0 || sampleRate === 0) return null;
  const frames = Math.floor(size / (channels * bytes));
  const samples = Array.from({ length: channels }, () => new Float64Array(frames));
  for (let i = 0, at = start; i < frames; ++i)
    for (let c = 0; c < channels; ++c, at += bytes) samples[c][i] = read(view, at);
  return { sampleRate, channels: samples };
}

const kRound = 1.5 * 2 ** 52; // a double of this size has no fraction
const kFullScale = 2 ** 23;

// channels: Float64Arrays of one length. format: 'pcm24', rounded to nearest and limited to full scale, or 'float'.
// Returns { bytes, clipped: how many samples were limited }.
export function writeWav(channels, sampleRate, format) {
  const isFloat = format === 'float';
  const frames = channels[0].length;
  const frameBytes = channels.length * (isFloat ? 4 : 3);
  const dataBytes = frames * frameBytes;
  const bytes = new ArrayBuffer((isFloat ? 58 : 44) + dataBytes + (dataBytes % 2));
  const view = new DataView(bytes);
  let at = 0;
  const tag = (text) => [...text].forEach((c) => view.setUint8(at++, c.charCodeAt(0)));
  const long = (value) => (view.setUint32(at, value, true), (at += 4));
  const short = (value) => (view.setUint16(at, value, true), (at += 2));
  tag('RIFF');
  long(bytes.byteLength - 8);
  tag('WAVEfmt ');
  long(isFloat ? 18 : 16);
  short(isFloat ? kFloat : kPcm);
  short(channels.length);
  long(sampleRate);
  long(sampleRate * frameBytes);
  short(frameBytes);
  short(isFloat ? 32 : 24);
  if (isFloat) {
    short(0); // no more of the format
    tag('fact');
    long(4);
    long(frames);
  }
  tag('data');
  long(dataBytes);

  let clipped = 0;
  for (let i = 0; i < frames; ++i)
    for (const channel of channels) {
      if (isFloat) {
        view.setFloat32(at, channel[i], true);
        at += 4;
      } else {
        const rounded = channel[i] * kFullScale + kRound - kRound;
        const value = Math.max(-kFullScale, Math.min(kFullScale - 1, rounded));
        if (value !== rounded) ++clipped;
        view.setUint16(at, value & 0xffff, true);
        view.setInt8(at + 2, value >> 16);
        at += 3;
      }
    }
  return { bytes, clipped };
}

// The sample rate that a file of another kind says of itself, in Hz, so that it is decoded at its own; null if it is
// not FLAC, Ogg or MP3.
export function sniffSampleRate(bytes) {
  const head = new Uint8Array(bytes, 0, Math.min(bytes.byteLength, 4096));
  const text = String.fromCharCode(...head);
  const view = new DataView(bytes);
  if (text.startsWith('fLaC')) return view.getUint32(18) >>> 12;
  if (text.startsWith('OggS')) {
    const vorbis = text.indexOf('\x01vorbis');
    if (vorbis >= 0) return view.getUint32(vorbis + 12, true);
    return text.includes('OpusHead') ? 48000 : null;
  }
  return mp3SampleRate(head, text);
}

function mp3SampleRate(head, text) {
  // The tag before the sound counts its bytes in sevens of bits.
  const tagBytes = text.startsWith('ID3')
    ? 10 + head.subarray(6, 10).reduce((sum, seven) => sum * 128 + seven, 0)
    : 0;
  const at = tagBytes < head.length ? tagBytes : 0;
  if (head[at] !== 0xff || (head[at + 1] & 0xe0) !== 0xe0) return null;
  const rate = [44100, 48000, 32000][(head[at + 2] >> 2) & 3];
  const halvings = { 3: 0, 2: 1, 0: 2 }[(head[at + 1] >> 3) & 3];
  return rate && halvings !== undefined ? rate / 2 ** halvings : null;
}
