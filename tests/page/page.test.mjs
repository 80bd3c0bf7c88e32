// The page in Chromium, and where browsers differ in Firefox too. Needs scripts/page and build/release/wail.

import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { readFileSync, readdirSync, writeFileSync } from 'node:fs';
import { after, before, test } from 'node:test';
import { folder, launchChromium, launchFirefox, open, require, root, wail } from './browser.mjs';

let chromium;
let firefox;
before(async () => ([chromium, firefox] = await Promise.all([launchChromium(), launchFirefox()])));
after(() => Promise.all([chromium.close(), firefox.close()]));

// A test with a page of its own in Chromium, on which nothing may go wrong that the test does not expect.
function pageTest(name, options, body, browser = () => chromium) {
  test(name, { timeout: 60000 }, async () => {
    const page = await open(browser(), options);
    await body(page);
    assert.deepEqual(page.faults, []);
    await page.context().close();
  });
}

// The same in both browsers.
function pageTests(name, body) {
  pageTest(`${name}, in Chromium`, {}, body);
  pageTest(`${name}, in Firefox`, {}, body, () => firefox);
}

// Resolves to what is heard within some time, in ms: its highest magnitude, and its mean spectrum in dB, in 64 bands.
const hear = (page, time = 500) =>
  page.evaluate(async (milliseconds) => {
    const samples = new Float32Array(2048);
    const bins = new Float32Array(512);
    const bands = new Float64Array(64);
    let peak = 0;
    let turns = 0;
    for (const end = performance.now() + milliseconds; performance.now() < end; ++turns) {
      await new Promise((resolve) => setTimeout(resolve, 20));
      window.heard?.getFloatTimeDomainData(samples);
      window.heard?.getFloatFrequencyData(bins);
      peak = samples.reduce((highest, sample) => Math.max(highest, Math.abs(sample)), peak);
      bins.forEach((level, bin) => (bands[bin >> 3] += Math.max(level, -120) / 8));
    }
    return { peak, bands: Array.from(bands, (sum) => sum / turns) };
  }, time);

// Waits until the page's message matches.
const says = (page, pattern) => page.locator('#message', { hasText: pattern }).waitFor();
const sox = (line) => execFileSync('sox', line.split(' '));
const dial = (page, name) => page.getByRole('slider', { name, exact: true });
const press = async (page, keys) => {
  for (const key of keys.split(' ')) await page.keyboard.press(key);
};

// The settings as the page's link has them and the program writes them: "Name: --on-off on --sense 0.45 ...".
async function settings(page) {
  await page.click('#link');
  const { name, ...values } = Object.fromEntries(new URLSearchParams(new URL(page.url()).hash.slice(1)));
  const options = Object.entries(values).map(([key, value]) => `--${key} ${value}`);
  return `${name}: ${options.join(' ')}`;
}
const settingsOfFile = (file) => wail(`preset show ${file}`).trim();

// Resolves to the file that a click downloads.
async function download(page, button) {
  const [file] = await Promise.all([page.waitForEvent('download'), page.click(button)]);
  const path = `${folder}/${file.suggestedFilename()}`;
  await file.saveAs(path);
  return path;
}

// The bytes of the samples in a WAV file.
function dataOf(file) {
  const bytes = readFileSync(file);
  const at = bytes.indexOf('data');
  return bytes.subarray(at + 8, at + 8 + bytes.readUInt32LE(at + 4));
}

// Firefox takes its time to start any sound.
pageTests('plays every source soon after the click, without a request', async (page) => {
  const milliseconds = page.context().browser() === firefox ? 10000 : 1000;
  for (const source of ['Guitar', 'Drums', 'Tabla', 'Noise']) {
    await page.getByRole('radio', { name: source }).check();
    const begin = Date.now();
    await page.click('#play');
    await page.locator('#play', { hasText: 'Pause' }).waitFor();
    await page.waitForTimeout(60); // for what the analyser has from before
    while ((await hear(page, 20)).peak < 0.01) assert.ok(Date.now() - begin < milliseconds, `${source} is late`);
    await page.click('#play');
    assert.equal(await page.textContent('#play'), 'Play');
    await page.waitForFunction(() => window.heard.context.state === 'suspended');
  }
});

// Noise that repeats often enough for the analyser to tell its harmonics apart has a spectrum that stands still. On the
// right alone, which has an effect of its own.
pageTest('every control changes what is heard, from the keyboard alone, and undo takes it back', {}, async (page) => {
  const file = `${folder}/steady.wav`;
  sox(`-R -n -r 44100 -c 2 -b 24 ${file} synth 512s whitenoise gain -20 repeat 399 remix 0 1`);
  await page.setInputFiles('#file', file);
  await page.focus('#play');
  await page.keyboard.press('Enter');
  const spectrum = async () => (await page.waitForTimeout(600), (await hear(page, 200)).bands);
  const before = await spectrum();
  const change = async () =>
    (await spectrum()).reduce((sum, level, band) => sum + Math.abs(level - before[band]) / 64, 0);
  const focused = () =>
    page.evaluate(() => document.activeElement.matches('#controls [role]') && document.activeElement.role);
  await page.focus('#preset');
  for (const name of ['On/Off', 'Sense', 'Reso', 'Range', 'Balance', 'Invert', 'Envelope']) {
    do await page.keyboard.press('Tab');
    while (!(await focused()));
    await page.keyboard.press((await focused()) === 'switch' ? 'Space' : 'Home');
    assert.ok((await change()) > 1, `${name} changes the sound`);
    await page.keyboard.press('Control+z');
    assert.ok((await change()) < 0.5, `undo of ${name} takes it back`);
  }
});

pageTest('values go by keys, by a typed number, by a drag, and back to the default', {}, async (page) => {
  const sense = dial(page, 'Sense');
  const shows = async (value, what) => assert.equal(await sense.getAttribute('aria-valuetext'), value, what);
  await sense.focus();
  for (const [keys, value] of [
    ['End PageDown ArrowLeft Shift+ArrowDown', '8.89'],
    ['2 . 5 Enter', '2.50'],
    ['7 , 5 Enter', '7.50'],
    ['9 Escape', '7.50'],
    ['Backspace', '8.42'],
    ['Control+z', '7.50'],
    ['Control+Shift+z', '8.42'],
    ['1 1 Enter', '8.42'],
  ]) {
    await press(page, keys);
    await shows(value, keys);
  }
  await says(page, /type a number from 0 to 10/);
  await page.getByRole('button', { name: 'type a value for Sense' }).click();
  await press(page, '2 . 5 Enter');
  const box = await sense.boundingBox();
  const drag = async (x, y) => {
    await page.mouse.move(box.x + 40, box.y + 40);
    await page.mouse.down();
    await page.mouse.move(box.x + 40 + x, box.y + 40 + y, { steps: 5 });
    await page.mouse.up();
  };
  await drag(0, -55);
  await shows('5.00');
  await page.keyboard.down('Shift');
  await drag(55, 0);
  await page.keyboard.up('Shift');
  await shows('5.50', 'Shift is for fine steps');
  await page.click('#undo');
  await page.click('#undo');
  await shows('2.50', 'each drag is undone at once');
  await sense.dblclick();
  await shows('8.42');
  await sense.press('Space');
  await page.locator('#play', { hasText: 'Pause' }).waitFor();
});

pageTest('presets and program files are those of the program, and a link carries them', {}, async (page) => {
  for (const file of readdirSync(`${root}presets`).filter((name) => name.endsWith('.fxp'))) {
    const expected = settingsOfFile(`${root}presets/${file}`);
    await page.selectOption('#preset', expected.split(':')[0]);
    assert.equal(await settings(page), expected);
    assert.equal(await page.textContent('#preset option:checked'), expected.split(':')[0]);
  }
  const written = `${folder}/written.fxp`;
  wail(`preset write --sense 0.3 --invert on --name Mine -o ${written}`);
  await page.setInputFiles('#fxp', written);
  await says(page, /^Loaded/);
  assert.equal(await settings(page), settingsOfFile(written));

  await page.getByRole('switch', { name: 'On/Off' }).click();
  await dial(page, 'Reso').focus();
  await press(page, '1 . 2 3 4 5 Enter');
  const expected = await settings(page);
  assert.match(expected, /^Mine: --on-off off --sense 0.3 --reso 0.12345 /);
  const saved = await download(page, '#save');
  assert.equal(settingsOfFile(saved), expected);
  assert.equal(readFileSync(saved).length, readFileSync(written).length);
  const other = await open(chromium, { hash: new URL(page.url()).hash });
  assert.equal(await dial(other, 'Reso').getAttribute('aria-valuetext'), '1.23');
  assert.equal(await settings(other), expected);
});

// Loud enough that 24 bits are limited at both ends.
pageTest('what is dropped is rendered as wail renders it, to the bit', {}, async (page) => {
  const options = (await settings(page)).split(': ')[1];
  for (const [name, rate, bits, format, decibels] of [
    ['in16.wav', '44100', '16', 'pcm24', 0],
    ['in24.wav', '96000', '24', 'float', -3],
    ['in32.wav', '48000', '32', 'pcm24', 0],
    ['in.flac', '22050', '24', 'float', -3], // decoded by the browser
  ]) {
    const input = `${folder}/${name}`;
    sox(`-D /usr/share/sonic-pi/samples/loop_amen.flac -r ${rate} -b ${bits} ${input} gain -n ${decibels}`);
    await page.locator('body').drop({ files: input });
    await says(page, new RegExp(`^${name}.*${rate} Hz`));
    await page.selectOption('#format', format);
    const rendered = await download(page, '#download');
    await says(page, format === 'float' ? `Rendered ${name}.` : /[1-9]\d* samples were limited/);
    const expected = `${folder}/expected.wav`;
    wail(`render ${input} -o ${expected} --block 128 --format wav/${format} ${options}`);
    assert.ok(dataOf(rendered).equals(dataOf(expected)), `${name} at ${rate} Hz to ${format}`);
    for (const field of ['-r', '-c', '-s', '-b'])
      assert.equal(`${execFileSync('soxi', [field, rendered])}`, `${execFileSync('soxi', [field, expected])}`, field);
  }
});

pageTests('window.wail renders doubles as wail does, and says what it cannot', async (page) => {
  const input = `${folder}/doubles.wav`;
  sox(`-D /usr/share/sonic-pi/samples/loop_tabla.flac -e float -b 64 ${input} remix 1 gain -1`);
  const expected = `${folder}/doubles-wail.wav`;
  wail(`render ${input} -o ${expected} --block 128 --format wav/double --sense 0.9 --reso 0.95 --invert on`);
  const render = (...args) => page.evaluate((a) => window.wail.render(...a).catch(({ message }) => message), args);
  const samples = new Float64Array(new Uint8Array(dataOf(input)).buffer);
  const rendered = await render(samples, 44100, { sense: 0.9, Reso: 0.95, invert: 'on' });
  assert.ok(Buffer.from(rendered.buffer).equals(dataOf(expected)));
  assert.match(await render([0], 44100, { sens: 1 }), /no parameter 'sens'; there are on-off, sense/);
  assert.match(await render([0], 44100, { sense: 1.1 }), /'sense': '1.1' is not a number from 0 to 1/);
  assert.match(await render([0], 10, {}), /takes 62.5 Hz to 3.072 MHz/);
});

pageTest('what is invalid leaves what plays as it is, and says what to do', { hash: '#sense=2' }, async (page) => {
  await says(page, /link.*'sense': '2' is not a number from 0 to 1.*Copy it again/);
  await page.click('#play');
  const before = await settings(page);
  for (const [name, content] of [
    ['noise.mp3', 'no sound'],
    ['empty.wav', ''],
    ['cut.fxp', readFileSync(`${root}presets/metal-box.fxp`).subarray(0, 50)],
    ['other.fxp', 'no program'],
  ]) {
    writeFileSync(`${folder}/${name}`, content);
    await page.setInputFiles(name.endsWith('.fxp') ? '#fxp' : '#file', `${folder}/${name}`);
    await says(page, new RegExp(`Cannot (play|load) ${name}: .*[.] (Try|Choose)`));
  }
  await page.click('#plug');
  await page.getByRole('button', { name: 'Plug in', exact: true }).click();
  await says(page, /Cannot listen.*plug in again/);
  assert.equal(await settings(page), before);
  assert.ok((await hear(page)).peak > 0.01, 'it still plays');
});

// Chromium's own microphone for tests beeps once a second.
pageTest('an input is heard as it is, after a warning', { permissions: ['microphone'] }, async (page) => {
  await page.evaluate(() => {
    const { mediaDevices } = navigator;
    const ask = mediaDevices.getUserMedia.bind(mediaDevices);
    mediaDevices.getUserMedia = async (constraints) => (window.input = await ask((window.asked = constraints)));
  });
  await page.click('#plug');
  assert.match(await page.textContent('dialog[open]'), /Use headphones/);
  assert.equal(await page.evaluate(() => window.asked), undefined);
  await page.click('#plug-now');
  await page.getByRole('radio', { name: 'Input' }).waitFor();
  const { echoCancellation, noiseSuppression, autoGainControl } = await page.evaluate(() => window.asked.audio);
  assert.deepEqual([echoCancellation, noiseSuppression, autoGainControl], [false, false, false]);
  assert.ok((await hear(page, 2000)).peak > 0.01);
  await page.getByRole('radio', { name: 'Guitar' }).check();
  assert.equal(await page.evaluate(() => window.input.active), false, 'the input is let go');
});

pageTest('the picture lives while it plays, and stands still when motion is to be reduced', {}, async (page) => {
  const picture = () => page.evaluate(() => document.getElementById('picture').toDataURL());
  await page.click('#play');
  for (const reducedMotion of ['no-preference', 'reduce']) {
    await page.emulateMedia({ reducedMotion });
    await page.waitForTimeout(1500);
    const before = await picture();
    await page.waitForTimeout(600);
    assert.equal((await picture()) === before, reducedMotion === 'reduce');
  }
  const before = await picture();
  await dial(page, 'Range').press('Home');
  await page.waitForTimeout(1500);
  assert.notEqual(await picture(), before, 'it shows what the settings will do');
});

test('a browser without AudioWorklet is told what it lacks', async () => {
  const page = await open(chromium, { before: () => delete window.AudioWorkletNode, ready: '#message:not(:empty)' });
  await says(page, /lacks AudioWorklet.*from 2023 on/);
});

// Sense is too high here, which the page marks.
for (const colorScheme of ['light', 'dark'])
  pageTest(`accessible, and all in sight: ${colorScheme}`, { colorScheme, hash: '#sense=1' }, async (page) => {
    await page.addScriptTag({ path: require.resolve('axe-core/axe.min.js') });
    for (const width of [1600, 360]) {
      await page.setViewportSize({ width, height: 900 });
      await page.waitForSelector('#end-mark:visible');
      assert.equal(await page.evaluate(() => document.documentElement.scrollWidth), width);
      for (const button of ['#link', '#plug']) {
        await page.click(button);
        const { violations } = await page.evaluate(() => window.axe.run());
        assert.deepEqual(violations.map(({ id, nodes }) => `${id}: ${nodes[0].html}`), []);
      }
      await page.click('#plug-cancel');
      await page.screenshot({ path: `${root}build/page/${colorScheme}-${width}.png`, fullPage: true });
    }
    await page.click('#less-sense');
    assert.match(await dial(page, 'Sense').getAttribute('aria-valuetext'), /^8.00/);
  });
