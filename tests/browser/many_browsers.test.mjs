// Twenty browsers on one gateway: one panel at the station, and all show the same.
import assert from 'node:assert/strict';
import { after, afterEach, before, test } from 'node:test';
import { Bed } from './support/bed.mjs';
import { kSizes } from './support/browser.mjs';
import { until } from './support/wait.mjs';

const kBrowsers = 20;
const sizes = Object.values(kSizes);

let bed;
let panels;
before(async () => {
  bed = await Bed.lay();
  await bed.tapsTake(1);
  panels = await Promise.all([...Array(kBrowsers).keys()].map((i) => bed.panel(sizes[i % sizes.length])));
});
after(async () => {
  await bed?.isAtRest();
  await bed?.end();
});
// Between two tests all pages stay.
afterEach(async () => {
  await bed.control.noKeyIsDown();
  await bed.control.callsAre();
});

const all = (what) => Promise.all(panels.map(what));

test('the station sees one panel', async () => {
  assert.equal(await bed.control.panels(), 1);
});

test('what one presses, all show', async () => {
  for (const presser of [panels[0], panels[7], panels[19]]) {
    await presser.press('KL01');
    await all((panel) => panel.lamp('KL01', 'on'));
    await all((panel) => panel.sees('#calls li:has-text("Ext 1")'));
    await presser.release();
    await all((panel) => panel.lamp('KL01', 'off'));
  }
});

test('a key that several hold stays down until the last has let go', async () => {
  const { presses, releases } = bed.control;
  const holders = panels.slice(0, 5);
  for (const panel of holders) await panel.press('KT05');
  await all((panel) => panel.lamp('KT05', 'on'));
  for (const panel of holders.slice(1)) {
    await panel.release();
    assert.deepEqual(await panel.held(), []);
  }
  await bed.control.callsAre(/7\.5>.* TALK:1/);
  assert.deepEqual([bed.control.presses - presses, bed.control.releases - releases], [1, 0]);
  await holders[0].release();
  await all((panel) => panel.lamp('KT05', 'off'));
});

test('each may hold a key of its own at the same time', async () => {
  const talkers = panels.slice(0, 14).map((panel, i) => [panel, `KT${`${i + 5}`.padStart(2, '0')}`]);
  await Promise.all(talkers.map(([panel, key]) => panel.press(key)));
  for (const [, key] of talkers) await all((panel) => panel.lamp(key, 'on'));
  await Promise.all(talkers.map(([panel]) => panel.release()));
  for (const [, key] of talkers) await all((panel) => panel.lamp(key, 'off'));
});

test('all have one level, whoever turns it', async () => {
  for (const panel of panels.slice(0, 10)) {
    await panel.fader('KL06').focus();
    await panel.page.keyboard.press('ArrowDown');
  }
  await all((panel) => panel.level('KL06', -100));
});

test('nineteen that leave take nothing from the last', async () => {
  const [last, ...others] = panels;
  await last.press('KL02');
  await last.lamp('KL02', 'on');
  await Promise.all(others.map((panel) => panel.page.context().close()));
  bed.panels = [last];
  await bed.control.callsAre(/4\.210.* LISTEN:1/);
  await last.holds('KL02');
  await last.release();
  await last.lamp('KL02', 'off');
  await until('one panel', async () => (await bed.control.panels()) === 1);
});
