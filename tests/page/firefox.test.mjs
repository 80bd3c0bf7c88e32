// The page in Firefox, which has no audio without a device: PulseAudio lends it one that leads nowhere. Spoken to in
// WebDriver BiDi, as Playwright knows a Firefox of its own alone.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { mkdirSync, mkdtempSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { test } from 'node:test';
import { address, listen, open, launch } from './browser.mjs';

const WebSocket = createRequire(new URL('../../page/package.json', import.meta.url))('ws');
const home = mkdtempSync(`${tmpdir()}/wail-firefox-`);

function startPulseAudio() {
  const modules = ['module-null-sink', 'module-native-protocol-unix auth-anonymous=1'];
  const options = ['-n', '--daemonize=no', '--exit-idle-time=-1', ...modules.flatMap((module) => ['-L', module])];
  const server = spawn('pulseaudio', options, {
    env: { ...process.env, HOME: home, XDG_RUNTIME_DIR: home },
    stdio: 'ignore',
  });
  return { server, variables: { XDG_RUNTIME_DIR: home } };
}

// Resolves to { browser: its process, send(method, params) }.
async function startFirefox(variables) {
  mkdirSync(`${home}/profile`);
  const settings = { 'media.cubeb.sandbox': false, 'security.sandbox.content.level': 0 }; // so that it reaches PulseAudio
  const lines = Object.entries(settings).map(([name, value]) => `user_pref("${name}", ${value});\n`);
  writeFileSync(`${home}/profile/user.js`, lines.join(''));
  const options = [
    '--headless',
    '--no-remote',
    '--profile',
    `${home}/profile`,
    '--remote-debugging-port',
    '0',
    'about:blank',
  ];
  const browser = spawn('firefox-esr', options, { env: { ...process.env, HOME: home, ...variables } });
  const url = await new Promise((resolve) => {
    let said = '';
    browser.stderr.on('data', (data) => {
      said += data;
      const match = said.match(/WebDriver BiDi listening on (ws:\S+)/);
      if (match) resolve(match[1]);
    });
  });
  const socket = new WebSocket(`${url}/session`);
  await new Promise((resolve) => socket.on('open', resolve));
  const waiting = new Map();
  socket.on('message', (data) => {
    const answer = JSON.parse(data);
    waiting.get(answer.id)?.(answer);
  });
  const send = (method, params) =>
    new Promise((resolve, reject) => {
      const id = waiting.size + 1;
      waiting.set(id, ({ result, message }) => (result ? resolve(result) : reject(new Error(message))));
      socket.send(JSON.stringify({ id, method, params }));
    });
  await send('session.new', { capabilities: {} });
  return { browser, send };
}

test('Firefox plays the page, and renders the same bits as Chromium', { timeout: 60000 }, async () => {
  const { server, variables } = startPulseAudio();
  const { browser, send } = await startFirefox(variables);
  const chromium = await launch();
  try {
    const { contexts } = await send('browsingContext.getTree', {});
    const { context } = contexts[0];
    await send('script.addPreloadScript', { functionDeclaration: `${listen}` });
    await send('browsingContext.navigate', { context, url: address, wait: 'complete' });
    const run = async (action) => {
      const expression = `(${action})().then(JSON.stringify)`;
      const { result, exceptionDetails } = await send('script.evaluate', {
        expression,
        target: { context },
        awaitPromise: true,
        userActivation: true,
      });
      assert.equal(exceptionDetails, undefined);
      return JSON.parse(result.value);
    };
    const heard = await run(async () => {
      const pause = () => new Promise((resolve) => setTimeout(resolve, 20));
      const play = document.getElementById('play');
      while (play.disabled) await pause();
      play.click();
      const samples = new Float32Array(2048);
      for (let turn = 0; turn < 500 && !samples.some((sample) => Math.abs(sample) > 0.01); ++turn) {
        await pause();
        window.heard?.getFloatTimeDomainData(samples);
      }
      return { peak: Math.max(...samples), message: document.getElementById('message').textContent };
    });
    assert.equal(heard.message, '');
    assert.ok(heard.peak > 0.01);

    const render = async () => {
      const input = Float64Array.from(
        { length: 9600 },
        (_, n) => (((n * 7919) % 1000) / 1000 - 0.5) * (1 - n / 9600),
      );
      return [...(await window.wail.render(input, 48000, { sense: 0.4, range: 1, envelope: 0.9 }))];
    };
    const page = await open(chromium);
    assert.deepEqual(await run(render), await page.evaluate(render));
  } finally {
    await chromium.close();
    browser.kill();
    server.kill();
  }
});
