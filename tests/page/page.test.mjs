// The page in a real browser, opened from disk. Needs scripts/page and build/release/wail.

import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { readFileSync, readdirSync, writeFileSync } from 'node:fs';
import { after, before, test } from 'node:test';
import { axeSource, dataOf, distance, download, folder, launch, listen, loudness } from './browser.mjs';
import { open, root, says, shown, spectrum, wail } from './browser.mjs';

let browser;
before(async () => (browser = await launch()));
after(() => browser.close());

// A test with a page of its own, on which nothing may go wrong that the test does not expect.
const pageTest = (name, options, body) =>
  test(name, { timeout: 60000 }, async () => {
    const page = await open(browser, options);
    await body(page);
    assert.deepEqual(page.faults, []);
    await page.context().close();
  });

const sox = (line) => execFileSync('sox', line.split(' '));
const settings = async (page) => {
  await page.click('#link');
  return Object.fromEntries(new URLSearchParams(new URL(page.url()).hash.slice(1)));
};
// "Name: --sense 0.45 --invert off" as { name, sense: '0.45', invert: 'off' }.
const settingsOfProgram = (file) => {
  const text = wail(`preset show ${file}`);
  const options = [...text.matchAll(/--(\S+) (\S+)/g)].map(([, key, value]) => [key, value]);
  return { ...Object.fromEntries(options), name: text.split(':')[0] };
};
const optionsOf = ({ name, ...values }) =>
  Object.entries(values)
    .map(([key, value]) => `--${key} ${value}`)
    .join(' ');
const base64 = (bytes) => bytes.toString('base64');
const dial = (page, name) => page.getByRole('slider', { name, exact: true });

pageTest('plays within a second of the click, without a request', {}, async (page) => {
  const begin = Date.now();
  await page.click('#play');
  await page.waitForFunction(() => {
    const samples = new Float32Array(2048);
    window.heard?.getFloatTimeDomainData(samples);
    return samples.some((sample) => Math.abs(sample) > 0.001);
  });
  assert.ok(Date.now() - begin < 1000, `${Date.now() - begin} ms`);
  await page.click('#play');
  await page.waitForTimeout(300);
  assert.equal(await page.textContent('#play'), 'Play');
  for (const source of ['Drums', 'Tabla', 'Noise']) {
    await page.getByRole('radio', { name: source }).check();
    await page.click('#play');
    assert.ok((await loudness(page)) > 0.01, source);
    await page.click('#play');
  }
});

// Noise that repeats often enough for the analyser to tell its harmonics apart has a spectrum that stands still.
pageTest('every control changes what is heard, from the keyboard alone, and undo takes it back', {}, async (page) => {
  const file = `${folder}/steady.wav`;
  sox(`-R -n -r 44100 -c 1 -b 24 ${file} synth 512s whitenoise gain -20 repeat 399`);
  await page.setInputFiles('#file', file);
  await page.focus('#play');
  await page.keyboard.press('Enter');
  const before = await spectrum(page);
  assert.ok(distance(before, await spectrum(page)) < 0.5, 'it stands still');
  const focused = () =>
    page.evaluate(() => document.activeElement.matches('#controls [role]') && document.activeElement.role);
  await page.focus('#preset');
  for (const name of ['On/Off', 'Sense', 'Reso', 'Range', 'Balance', 'Invert', 'Envelope']) {
    do await page.keyboard.press('Tab');
    while (!(await focused()));
    await page.keyboard.press((await focused()) === 'switch' ? 'Space' : 'Home');
    assert.ok(distance(before, await spectrum(page)) > 1, `${name} changes the sound`);
    await page.keyboard.press('Control+z');
    assert.ok(distance(before, await spectrum(page)) < 0.5, `undo of ${name} takes it back`);
  }
});

pageTest(
  'values go by keys, by a typed number, by a drag, and back to the default by a double click',
  {},
  async (page) => {
    const sense = dial(page, 'Sense');
    await sense.focus();
    for (const key of ['End', 'PageDown', 'ArrowLeft', 'Shift+ArrowDown']) await page.keyboard.press(key);
    assert.equal(await sense.getAttribute('aria-valuetext'), '8.89');
    await page.keyboard.type('2.5');
    await page.keyboard.press('Enter');
    assert.equal((await settings(page)).sense, '0.25');
    await page.getByRole('button', { name: 'type a value for Sense' }).click();
    await page.keyboard.type('11');
    await page.keyboard.press('Enter');
    await says(page, /type a number from 0 to 10/);
    const box = await sense.boundingBox();
    await page.mouse.move(box.x + 40, box.y + 40);
    await page.mouse.down();
    await page.mouse.move(box.x + 40, box.y - 15, { steps: 5 });
    await page.mouse.up();
    assert.equal((await settings(page)).sense, '0.5');
    await page.click('#undo');
    assert.equal((await settings(page)).sense, '0.25', 'a drag is undone at once');
    await sense.dblclick();
    assert.equal((await settings(page)).sense, '0.84210527');
  },
);

pageTest('presets are those of the program, and a link carries them', {}, async (page) => {
  for (const file of readdirSync(`${root}presets`).filter((name) => name.endsWith('.fxp'))) {
    const expected = settingsOfProgram(`${root}presets/${file}`);
    await page.selectOption('#preset', expected.name);
    assert.deepEqual(await settings(page), expected);
  }
  await dial(page, 'Reso').focus();
  await page.keyboard.type('1.2345');
  await page.keyboard.press('Enter');
  const expected = await settings(page);
  assert.equal(expected.reso, '0.12345');
  const other = await open(browser, { hash: new URL(page.url()).hash });
  assert.equal(await shown(other), await shown(page));
  assert.deepEqual(await settings(other), expected);
});

pageTest('program files go to the program and come from it', {}, async (page) => {
  const written = `${folder}/written.fxp`;
  wail(`preset write --sense 0.3 --invert on --name Mine -o ${written}`);
  await page.setInputFiles('#fxp', written);
  await says(page, /^Loaded/);
  assert.deepEqual(await settings(page), settingsOfProgram(written));
  await page.getByRole('switch', { name: 'On/Off' }).click();
  const saved = await download(page, () => page.click('#save'));
  assert.deepEqual(settingsOfProgram(saved), await settings(page));
  assert.equal(readFileSync(saved).length, readFileSync(written).length);
});

pageTest('what is dropped is rendered as wail renders it, to the bit', {}, async (page) => {
  const files = [
    ['16', '44100', 'wav', 'pcm24'],
    ['24', '96000', 'wav', 'float'],
    ['32', '48000', 'wav', 'pcm24'],
    ['24', '22050', 'flac', 'float'], // decoded by the browser
  ];
  for (const [bits, rate, kind, format] of files) {
    const name = `in-${bits}.${kind}`;
    const input = `${folder}/${name}`;
    sox(`-D /usr/share/sonic-pi/samples/loop_amen.flac -r ${rate} -b ${bits} ${input} gain -3`);
    const makeTransfer = ([text, name]) => {
      const data = new DataTransfer();
      data.items.add(new File([Uint8Array.from(atob(text), (c) => c.charCodeAt(0))], name));
      return data;
    };
    const dataTransfer = await page.evaluateHandle(makeTransfer, [base64(readFileSync(input)), name]);
    await page.dispatchEvent('body', 'drop', { dataTransfer });
    await says(page, new RegExp(`^${name}.*${rate} Hz`));
    await page.selectOption('#format', format);
    const rendered = await download(page, () => page.click('#download'));
    const expected = `${folder}/expected.wav`;
    wail(`render ${input} -o ${expected} --block 128 --format wav/${format} ${optionsOf(await settings(page))}`);
    assert.ok(dataOf(rendered).equals(dataOf(expected)), `${name} at ${rate} Hz to ${format}`);
    assert.equal(`${execFileSync('soxi', ['-r', rendered])}`, `${rate}\n`);
  }
});

pageTest('window.wail renders doubles as wail does, and says what it cannot', {}, async (page) => {
  const input = `${folder}/doubles.wav`;
  sox(`-D /usr/share/sonic-pi/samples/loop_tabla.flac -e float -b 64 ${input} remix 1`);
  const expected = `${folder}/doubles-wail.wav`;
  wail(`render ${input} -o ${expected} --block 128 --format wav/double --sense 0.9 --reso 0.95 --invert on`);
  const rendered = await page.evaluate(
    async (text) => {
      const bytes = Uint8Array.from(atob(text), (c) => c.charCodeAt(0));
      const settings = { sense: 0.9, Reso: 0.95, invert: 'on' };
      const output = await window.wail.render(new Float64Array(bytes.buffer), 44100, settings);
      return btoa(Array.from(new Uint8Array(output.buffer), (byte) => String.fromCharCode(byte)).join(''));
    },
    base64(dataOf(input)),
  );
  assert.ok(Buffer.from(rendered, 'base64').equals(dataOf(expected)));
  const refusal = (...args) => page.evaluate((a) => window.wail.render(...a).catch((error) => error.message), args);
  assert.match(await refusal([0], 44100, { sens: 1 }), /no parameter 'sens'; there are on-off, sense/);
  assert.match(await refusal([0], 44100, { sense: 1.1 }), /'sense': '1.1' is not a number from 0 to 1/);
  assert.match(await refusal([0], 10, {}), /takes 62.5 Hz to 3.072 MHz/);
});

pageTest('what is invalid leaves what plays as it is, and says what to do', { hash: '#sense=2' }, async (page) => {
  await says(page, /link.*'sense': '2' is not a number from 0 to 1.*Copy it again/);
  await page.click('#play');
  const before = await shown(page);
  const bad = {
    'noise.mp3': 'no sound',
    'empty.wav': '',
    'cut.fxp': readFileSync(`${root}presets/metal-box.fxp`).subarray(0, 50),
    'other.fxp': 'no program',
  };
  for (const [name, content] of Object.entries(bad)) {
    writeFileSync(`${folder}/${name}`, content);
    await page.setInputFiles(name.endsWith('.fxp') ? '#fxp' : '#file', `${folder}/${name}`);
    await says(page, new RegExp(`Cannot (play|load) ${name}: .*[.] (Try|Choose)`));
  }
  await page.click('#plug');
  await page.getByRole('button', { name: 'Plug in', exact: true }).click();
  await says(page, /Cannot listen.*plug in again/);
  assert.equal(await shown(page), before);
  assert.ok((await loudness(page)) > 0.01, 'it still plays');
});

// Chromium's own microphone for tests beeps.
pageTest(
  'an input is heard through the effect as it is, after a warning',
  {
    before: [
      listen,
      () => {
        const { mediaDevices } = navigator;
        const ask = mediaDevices.getUserMedia.bind(mediaDevices);
        mediaDevices.getUserMedia = async (constraints) => (window.input = await ask((window.asked = constraints)));
      },
    ],
    permissions: ['microphone'],
  },
  async (page) => {
    await page.click('#plug');
    assert.match(await page.textContent('dialog[open]'), /Use headphones/);
    assert.equal(await page.evaluate(() => window.asked), undefined);
    await page.click('#plug-now');
    await page.getByRole('radio', { name: 'Input' }).waitFor();
    const { echoCancellation, noiseSuppression, autoGainControl } = await page.evaluate(() => window.asked.audio);
    assert.deepEqual([echoCancellation, noiseSuppression, autoGainControl], [false, false, false]);
    assert.ok((await loudness(page, 2000)) > 0.01);
    await page.getByRole('radio', { name: 'Guitar' }).check();
    assert.equal(await page.evaluate(() => window.input.active), false, 'the input is let go');
  },
);

pageTest('the picture lives while it plays, and stands still when motion is to be reduced', {}, async (page) => {
  const picture = () => page.evaluate(() => document.getElementById('picture').toDataURL());
  for (const reducedMotion of ['no-preference', 'reduce']) {
    await page.emulateMedia({ reducedMotion });
    await page.waitForTimeout(1500);
    if (reducedMotion === 'no-preference') await page.click('#play');
    const before = await picture();
    await page.waitForTimeout(300);
    assert.equal((await picture()) === before, reducedMotion === 'reduce');
  }
  const before = await picture();
  await dial(page, 'Range').press('Home');
  await page.waitForTimeout(1500);
  assert.notEqual(await picture(), before, 'it shows what the settings will do');
});

test('a browser without AudioWorklet is told what it lacks', async () => {
  const page = await open(browser, { before: () => delete window.AudioWorkletNode, ready: '#message:not(:empty)' });
  await says(page, /lacks AudioWorklet.*from 2023 on/);
});

for (const colorScheme of ['light', 'dark'])
  pageTest(
    `no fault of accessibility, and nothing out of sight, in ${colorScheme}`,
    { colorScheme, hash: '#sense=1' },
    async (page) => {
      await page.evaluate(axeSource);
      for (const width of [1600, 360]) {
        await page.setViewportSize({ width, height: 900 });
        await page.waitForSelector('#end-mark:visible'); // Sense is too high
        assert.equal(await page.evaluate(() => document.documentElement.scrollWidth), width);
        for (const open of [false, true]) {
          if (open) await page.click('#plug');
          const { violations } = await page.evaluate(() => window.axe.run());
          assert.deepEqual(
            violations.map(({ id, nodes }) => `${id}: ${nodes[0].html}`),
            [],
          );
        }
        await page.click('#plug-cancel');
        await page.screenshot({ path: `${root}build/page/${colorScheme}-${width}.png`, fullPage: true });
      }
    },
  );
