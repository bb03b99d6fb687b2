// The three layouts: everything is there, large enough for a finger, and nothing runs out of the screen.
import assert from 'node:assert/strict';
import { after, afterEach, before, test } from 'node:test';
import { Bed, kStationA } from './support/bed.mjs';
import { kSizes } from './support/browser.mjs';

const kLeastTarget = 48; // CSS pixels
const kWide = 'WWWWWWWWWW'; // the widest label that there is

let bed;
before(async () => {
  const channels = kStationA.channels.replace('"Line 5"', `"${kWide}"`);
  const sources = `${kStationA.sources}"${kWide}" <quillnet:239.192.8.1>\n\talt ${kWide}\n`;
  bed = await Bed.lay({ station: { ...kStationA, sources, channels } });
});
afterEach(() => bed?.isAtRest());
after(() => bed?.end());

// Keys, buttons and sliders that are shown and smaller than a finger.
const tooSmall = (page) =>
  page.$$eval('button, input', (elements, least) => elements
    .map((element) => [element, element.getBoundingClientRect()])
    .filter(([element, box]) => element.checkVisibility() && (box.width < least || box.height < least))
    .map(([{ id, dataset }, box]) => `${dataset.key ?? dataset.fader ?? id}: ${box.width}x${box.height}`),
  kLeastTarget - 0.01);

const runsOver = (page) => page.evaluate(() => document.documentElement.scrollWidth - window.innerWidth);

// Channels whose keys cannot be scrolled to and hit in their middle.
const unreachable = (page) =>
  page.$$eval('section.channel button[data-key]', (keys) => keys
    .filter((key) => {
      key.scrollIntoView({ block: 'center' });
      const box = key.getBoundingClientRect();
      const hit = document.elementFromPoint(box.x + box.width / 2, box.y + box.height / 2);
      return hit === null || hit.closest('button') !== key;
    })
    .map((key) => key.dataset.key));

// Texts that stick out of their channel.
const sticksOut = (page) =>
  page.$$eval('section.channel .label, section.channel .alt', (texts) => texts
    .filter((text) => {
      if (text.textContent === '') return false;
      const [inner, outer] = [text.getBoundingClientRect(), text.closest('section').getBoundingClientRect()];
      return inner.left < outer.left - 1 || inner.right > outer.right + 1;
    })
    .map((text) => text.textContent));

const columns = (page) =>
  page.$$eval('section.channel[data-channel]:not([data-channel="AA"])', (channels) =>
    new Set(channels.map((channel) => Math.round(channel.getBoundingClientRect().left))).size);

for (const [name, size] of Object.entries(kSizes)) {
  test(`on a ${name} all twenty channels can be reached, and nothing is too small or too wide`, async () => {
    const panel = await bed.panel(size);
    await panel.label(5, kWide);
    assert.equal(await panel.page.locator('section.channel').count(), 21);
    assert.deepEqual(await tooSmall(panel.page), []);
    assert.equal(await runsOver(panel.page), 0);
    assert.deepEqual(await unreachable(panel.page), []);
    assert.deepEqual(await sticksOut(panel.page), []);
    for (const part of ['#link', '#calls', '#shift', '#shift-go', 'section.speaker', 'button[data-key=TGRP]']) {
      await panel.page.locator(part).scrollIntoViewIfNeeded();
    }
  });
}

test('a key that gets the focus by Tab is not covered', async () => {
  for (const size of Object.values(kSizes)) {
    const panel = await bed.panel(size);
    await panel.label(5, kWide);
    for (const step of ['Tab', 'Shift+Tab']) {
      for (let i = 0; i < 75; ++i) {
        await panel.page.keyboard.press(step);
        const covered = await panel.page.evaluate(() => {
          const focused = document.activeElement;
          if (!focused.matches('section.channel button')) return null;
          const box = focused.getBoundingClientRect();
          const hit = document.elementFromPoint(box.x + box.width / 2, box.y + box.height / 2);
          return focused.contains(hit) ? null : focused.dataset.key;
        });
        assert.equal(covered, null, `${size.viewport.width}, ${step}`);
      }
    }
  }
});

test('keys stay in their place while calls come and go', async () => {
  for (const size of Object.values(kSizes)) {
    const panel = await bed.panel(size);
    const places = () => panel.page.$$eval('button[data-key]', (keys) => keys.map((key) => {
      const { x, y } = key.getBoundingClientRect();
      return `${key.dataset.key} ${x} ${y + window.scrollY}`;
    }));
    await panel.label(5, kWide);
    const before = await places();
    for (const contact of [2, 3, 6, 7]) bed.rings(contact);
    await panel.sees('#calls li:nth-child(4)');
    await panel.lamp('KLAA', 'flash');
    assert.deepEqual(await places(), before, `${size.viewport.width}`);
    for (const contact of [2, 3, 6, 7]) bed.ringsNoMore(contact);
    await panel.lamp('KLAA', 'off');
  }
});

test('at the widths where the layouts meet nothing is too small or too wide', async () => {
  const panel = await bed.panel();
  await panel.label(5, kWide);
  for (const width of [320, 360, 599, 600, 844, 1099, 1100, 1920]) {
    await panel.page.setViewportSize({ width, height: 700 });
    assert.deepEqual(await tooSmall(panel.page), [], `${width}`);
    assert.equal(await runsOver(panel.page), 0, `${width}`);
    assert.deepEqual(await sticksOut(panel.page), [], `${width}`);
  }
});

test('each size has a layout of its own', async () => {
  const panel = await bed.panel();
  const seen = [];
  for (const { viewport } of Object.values(kSizes)) {
    await panel.page.setViewportSize(viewport);
    seen.push(await columns(panel.page));
  }
  assert.ok(seen[0] < seen[1] && seen[1] < seen[2], `columns: ${seen}`);
});

test('lamps do not flash for who wants less motion', async () => {
  const flashes = async (reducedMotion) => {
    const panel = await bed.panel({ reducedMotion });
    await panel.tap('ASGN');
    await panel.lamp('ASGN', 'flash');
    const moving = await panel.page.evaluate(() =>
      document.getAnimations().filter((one) => one.playState === 'running').length);
    await panel.tap('ASGN');
    await panel.lamp('ASGN', 'off');
    return moving > 0;
  };
  assert.equal(await flashes('no-preference'), true);
  assert.equal(await flashes('reduce'), false);
});
