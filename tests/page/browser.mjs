// A browser that opens the page from disk, and what the tests ask of it.

import { execFileSync } from 'node:child_process';
import { mkdtempSync, readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { fileURLToPath, pathToFileURL } from 'node:url';

const require = createRequire(new URL('../../page/package.json', import.meta.url));
const { chromium } = require('playwright-core');
export const axeSource = readFileSync(require.resolve('axe-core/axe.min.js'), 'utf8');

export const root = fileURLToPath(new URL('../../', import.meta.url));
export const folder = mkdtempSync(`${tmpdir()}/wail-page-`);
export const address = pathToFileURL(`${root}build/page/wail.html`).href;

// No request of the browser's own, and a microphone that beeps.
const kFlags =
  'no-sandbox disable-gpu disable-quic no-first-run disable-background-networking disable-component-update ' +
  'disable-sync use-fake-device-for-media-stream';

// Runs the program with a line of options.
export const wail = (line) =>
  execFileSync(`${root}build/release/wail`, line.split(' '), { encoding: 'utf8', stdio: 'pipe' });
export const launch = () =>
  chromium.launch({
    executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium',
    args: kFlags.split(' ').map((flag) => `--${flag}`),
  });

// Everything that is to be heard also reaches this analyser, whatever the page does with it.
export function listen() {
  const connect = AudioNode.prototype.connect;
  AudioNode.prototype.connect = function (to, ...more) {
    if (to instanceof AudioDestinationNode) {
      window.heard = new AnalyserNode(to.context, { fftSize: 2048, smoothingTimeConstant: 0 });
      connect.call(this, window.heard);
    }
    return connect.call(this, to, ...more);
  };
}

// Opens the page, ready to play. options: those of a browser context, and hash, and before: scripts that run first.
// page.faults collects console errors, uncaught errors and requests to anywhere.
export async function open(browser, { hash = '', before = listen, ready = '#play:enabled', ...options } = {}) {
  const context = await browser.newContext(options);
  const page = await context.newPage();
  page.faults = [];
  page.on('console', (message) => ['error', 'warning'].includes(message.type()) && page.faults.push(message.text()));
  page.on('pageerror', (error) => page.faults.push(error.message));
  page.on('request', (request) => /^(file|data|blob):/.test(request.url()) || page.faults.push(request.url()));
  for (const script of [before].flat()) await page.addInitScript(script);
  await page.goto(address + hash);
  await page.waitForSelector(ready);
  return page;
}

// Resolves to the highest magnitude heard within some time, in ms.
export const loudness = (page, time = 500) =>
  page.evaluate(async (milliseconds) => {
    let peak = 0;
    const samples = new Float32Array(2048);
    for (const end = performance.now() + milliseconds; performance.now() < end;) {
      window.heard?.getFloatTimeDomainData(samples);
      peak = samples.reduce((highest, sample) => Math.max(highest, Math.abs(sample)), peak);
      await new Promise((resolve) => setTimeout(resolve, 10));
    }
    return peak;
  }, time);

// Resolves to the mean spectrum heard, in dB, as 64 bands.
export const spectrum = (page) =>
  page.evaluate(async () => {
    await new Promise((resolve) => setTimeout(resolve, 700));
    const sums = new Float64Array(64);
    const bins = new Float32Array(1024);
    for (let turn = 0; turn < 8; ++turn) {
      window.heard.getFloatFrequencyData(bins);
      bins.subarray(0, 512).forEach((level, bin) => (sums[bin >> 3] += Math.max(level, -120) / 64));
      await new Promise((resolve) => setTimeout(resolve, 20));
    }
    return [...sums];
  });

export const distance = (a, b) => a.reduce((sum, level, band) => sum + Math.abs(level - b[band]), 0) / a.length;

// Resolves to the file that an action downloads.
export async function download(page, action) {
  const [file] = await Promise.all([page.waitForEvent('download'), action()]);
  const path = `${folder}/${file.suggestedFilename()}`;
  await file.saveAs(path);
  return path;
}

// The bytes of the samples in a WAV file.
export function dataOf(file) {
  const bytes = readFileSync(file);
  let at = 12;
  while (bytes.toString('latin1', at, at + 4) !== 'data') at += 8 + bytes.readUInt32LE(at + 4);
  return bytes.subarray(at + 8, at + 8 + bytes.readUInt32LE(at + 4));
}

// The values on the page as the effect shows them, such as "On/Off on, Sense 4.50".
export const shown = (page) =>
  page.$$eval('.control', (controls) =>
    controls
      .map((c) => `${c.querySelector('.name').textContent} ${c.querySelector('.value').firstChild.textContent}`)
      .join(', '),
  );

// Waits until the page's message matches.
export const says = (page, pattern) => page.locator('#message', { hasText: pattern }).waitFor();
