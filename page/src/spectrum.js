// The spectrum of one stretch of sound, in dB, as the browser's AnalyserNode has it, so that what is worked out
// beforehand looks like what is measured while it plays: a Blackman window, magnitudes over the length.
// Source: J. W. Cooley and J. W. Tukey, "An Algorithm for the Machine Calculation of Complex Fourier Series".

export const kFftSize = 2048;
export const kBins = kFftSize / 2;

const kScale = 1 / kFftSize ** 2;
const kBits = Math.log2(kFftSize);
const turn = (2 * Math.PI) / kFftSize;
const table = (f, Type = Float64Array) => Type.from({ length: kFftSize }, (_, n) => f(n));
const window = table((n) => 0.42 - 0.5 * Math.cos(turn * n) + 0.08 * Math.cos(2 * turn * n));
const cosines = table((n) => Math.cos(turn * n));
const sines = table((n) => -Math.sin(turn * n));
const reversed = table((n) => {
  let r = 0;
  for (let bit = 0; bit < kBits; ++bit) r |= ((n >> bit) & 1) << (kBits - 1 - bit);
  return r;
}, Uint16Array);
const re = new Float64Array(kFftSize);
const im = new Float64Array(kFftSize);

// samples: from index first on; outside of them there is silence. decibels: kBins floats, overwritten.
export function spectrum(samples, first, decibels) {
  re.fill(0);
  im.fill(0);
  const end = Math.min(kFftSize, samples.length - first);
  for (let n = Math.max(0, -first); n < end; ++n) re[reversed[n]] = window[n] * samples[first + n];
  for (let half = 1; half < kFftSize; half *= 2) butterflies(half);
  for (let bin = 0; bin < kBins; ++bin)
    decibels[bin] = 10 * Math.log10((re[bin] * re[bin] + im[bin] * im[bin]) * kScale + 1e-24);
}

function butterflies(half) {
  const stride = kFftSize / (2 * half);
  for (let start = 0; start < kFftSize; start += 2 * half)
    for (let k = 0; k < half; ++k) {
      const a = start + k;
      const b = a + half;
      const c = cosines[k * stride];
      const s = sines[k * stride];
      const tr = c * re[b] - s * im[b];
      const ti = c * im[b] + s * re[b];
      re[b] = re[a] - tr;
      im[b] = im[a] - ti;
      re[a] += tr;
      im[a] += ti;
    }
}
