// Fingers on a touch screen, several at once, each on a key of its own.
import assert from 'node:assert/strict';
import { after, afterEach, before, test } from 'node:test';
import { Bed } from './support/bed.mjs';
import { kSizes } from './support/browser.mjs';
import { Fingers } from './support/panel.mjs';

let bed;
before(async () => {
  bed = await Bed.lay();
});
afterEach(() => bed?.isAtRest());
after(() => bed?.end());

const downAtStation = () => [...bed.control.down].map((key) => key.replace('web ', '')).sort();

async function panelWithFingers() {
  const panel = await bed.panel({ ...kSizes.desk, hasTouch: true });
  return [panel, await Fingers.on(panel)];
}

test('three fingers hold three keys, and each lets go of its own', async () => {
  await bed.tapsTake(1);
  const [panel, fingers] = await panelWithFingers();
  await fingers.press('KL01');
  await fingers.press('KT05', 'KL06');
  await panel.holds('KL01', 'KL06', 'KT05');
  for (const key of ['KL01', 'KL06', 'KT05']) await panel.lamp(key, 'on');
  assert.deepEqual(downAtStation(), ['KL01', 'KL06', 'KT05']);
  await fingers.release('KT05');
  await panel.lamp('KT05', 'off');
  await panel.holds('KL01', 'KL06');
  await fingers.release('KL01');
  await panel.lamp('KL01', 'off');
  assert.deepEqual(downAtStation(), ['KL06']);
  await fingers.release('KL06');
  await panel.lamp('KL06', 'off');
});

test('ten fingers at once press ten keys', async () => {
  await bed.tapsTake(1);
  const [panel, fingers] = await panelWithFingers();
  // A station listens to eight at a time: talk has more.
  const keys = ['05', '06', '07', '08', '09', '10', '11', '12', '13', '14'].map((number) => `KT${number}`);
  await fingers.press(...keys);
  for (const key of keys) await panel.lamp(key, 'on');
  assert.deepEqual(downAtStation(), keys);
  for (const key of keys) await fingers.release(key);
  for (const key of keys) await panel.lamp(key, 'off');
});

test('a key with two fingers on it stays down until the second is gone', async () => {
  await bed.tapsTake(1);
  const [panel, fingers] = await panelWithFingers();
  const { presses, releases } = bed.control;
  await fingers.press('KL01');
  await panel.lamp('KL01', 'on');
  await fingers.session.send('Input.dispatchTouchEvent', {
    type: 'touchStart',
    touchPoints: [...fingers.points, { ...fingers.points[0], x: fingers.points[0].x + 8, id: 77 }],
  });
  await fingers.release('KL01');
  await fingers.tap('KT05'); // is told after whatever the release would have said
  await bed.control.callsAre(/4\.213.* LISTEN:1/);
  assert.deepEqual(downAtStation(), ['KL01']);
  await fingers.session.send('Input.dispatchTouchEvent', { type: 'touchEnd', touchPoints: [] });
  await panel.lamp('KL01', 'off');
  assert.equal(bed.control.presses, presses + 2);
  await bed.control.noKeyIsDown();
  assert.equal(bed.control.releases, releases + 2);
});

test('a tap with a finger latches', async () => {
  await bed.tapsTake(3000);
  const [panel, fingers] = await panelWithFingers();
  await fingers.tap('KL01');
  await panel.lamp('KL01', 'on');
  await bed.control.noKeyIsDown();
  await bed.control.callsAre(/4\.213.* LISTEN:1/);
  await fingers.tap('KL01');
  await panel.lamp('KL01', 'off');
});

test('a finger that slides off its key still holds it, and does not scroll the page', async () => {
  await bed.tapsTake(1);
  const panel = await bed.panel(kSizes.phone);
  const fingers = await Fingers.on(panel);
  await panel.scrollTo('KL01');
  const top = await panel.page.evaluate(() => window.scrollY);
  await fingers.press('KL01');
  const [{ x, y }] = fingers.points;
  for (const way of [40, 120, 200]) await fingers.slide('KL01', x, y - way);
  await panel.lamp('KL01', 'on');
  await panel.holds('KL01');
  assert.equal(await panel.page.evaluate(() => window.scrollY), top);
  await fingers.release('KL01');
  await panel.lamp('KL01', 'off');
});

test('a finger that rests long on a key opens no menu and selects no text', async () => {
  await bed.tapsTake(1);
  const panel = await bed.panel(kSizes.phone);
  const fingers = await Fingers.on(panel);
  await panel.watchMenus();
  await panel.scrollTo('KL01');
  await fingers.press('KL01');
  await panel.lamp('KL01', 'on');
  await panel.key('KL01').dispatchEvent('contextmenu', { bubbles: true, cancelable: true });
  const menus = await panel.menus();
  const selected = await panel.page.evaluate(() => `${window.getSelection()}`);
  assert.ok(menus.length > 0 && menus.every((prevented) => prevented));
  assert.equal(selected, '');
  await panel.holds('KL01');
  await fingers.release('KL01');
  await panel.lamp('KL01', 'off');
});
