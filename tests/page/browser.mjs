// Browsers that open the page from disk, and what the tests ask of it.

import { execFileSync, spawn } from 'node:child_process';
import { mkdtempSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { fileURLToPath, pathToFileURL } from 'node:url';

export const require = createRequire(new URL('../../page/package.json', import.meta.url));
const { chromium, firefox } = require('playwright-core');

export const root = fileURLToPath(new URL('../../', import.meta.url));
export const folder = mkdtempSync(`${tmpdir()}/wail-page-`);
const address = pathToFileURL(`${root}build/page/wail.html`).href;

// No request of the browser's own, and a microphone that beeps.
const kFlags =
  'no-sandbox disable-gpu disable-quic no-first-run disable-background-networking disable-component-update ' +
  'disable-sync use-fake-device-for-media-stream';

// Runs the program with a line of options.
export const wail = (line) =>
  execFileSync(`${root}build/release/wail`, line.split(' '), { encoding: 'utf8', stdio: 'pipe' });

export const launchChromium = () =>
  chromium.launch({
    executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium',
    args: kFlags.split(' ').map((flag) => `--${flag}`),
  });

// Firefox has no audio without a device: PulseAudio lends it one that leads nowhere.
export async function launchFirefox() {
  const env = { ...process.env, HOME: folder, XDG_RUNTIME_DIR: folder };
  const modules = ['--load=module-null-sink', '--load=module-native-protocol-unix auth-anonymous=1'];
  const options = ['-n', '--daemonize=no', '--exit-idle-time=-1', ...modules];
  const server = spawn('pulseaudio', options, { env, stdio: 'ignore' });
  const browser = await firefox.launch({
    channel: 'moz-firefox',
    executablePath: process.env.FIREFOX ?? '/usr/bin/firefox-esr',
    env,
    firefoxUserPrefs: { 'media.cubeb.sandbox': false, 'security.sandbox.content.level': 0 }, // it reaches PulseAudio
  });
  return browser.on('disconnected', () => server.kill());
}

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

// Opens the page, ready to play. options: those of a browser context, and hash, and before: a script that runs first.
// page.faults collects console errors, uncaught errors and requests to anywhere.
export async function open(browser, { hash = '', before = listen, ready = '#play:enabled', ...options } = {}) {
  const context = await browser.newContext(options);
  const page = await context.newPage();
  page.faults = [];
  page.on('console', (message) => ['error', 'warning'].includes(message.type()) && page.faults.push(message.text()));
  page.on('pageerror', (error) => page.faults.push(error.message));
  page.on('request', (request) => /^(file|data|blob):/.test(request.url()) || page.faults.push(request.url()));
  await page.addInitScript(before);
  await page.goto(address + hash);
  await page.waitForSelector(ready);
  return page;
}
