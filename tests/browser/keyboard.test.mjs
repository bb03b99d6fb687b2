// The panel without a mouse: Tab reaches all of it, Space and Enter press and hold.
import assert from 'node:assert/strict';
import { after, afterEach, before, test } from 'node:test';
import { Bed, kLabels } from './support/bed.mjs';

let bed;
before(async () => {
  bed = await Bed.lay();
});
afterEach(() => bed?.isAtRest());
after(() => bed?.end());

test('Tab reaches each key, fader and field, and the way back too', async () => {
  const panel = await bed.panel();
  await panel.label(1, kLabels[0]);
  await panel.page.evaluate(() => {
    window.nameOf = ({ id, dataset }) => dataset.key ?? (dataset.fader ? `fader ${dataset.fader}` : id);
  });
  const all = new Set(await panel.page.$$eval('button, input', (elements) => elements
    .filter((element) => element.checkVisibility() && !element.disabled)
    .map((element) => window.nameOf(element))));
  const least = [
    'KL01', 'KT20', 'KLAA', 'ASGN', 'TGRP', 'SPKM', 'MICM', 'fader KL01', 'fader SPKV', 'shift', 'shift-go',
  ];
  assert.deepEqual(least.filter((one) => !all.has(one)), []);
  for (const step of ['Tab', 'Shift+Tab']) {
    const reached = new Set();
    for (let i = 0; i < all.size + 5; ++i) {
      await panel.page.keyboard.press(step);
      reached.add(await panel.page.evaluate(() => window.nameOf(document.activeElement)));
    }
    assert.deepEqual([...all].filter((key) => !reached.has(key)), [], step);
  }
});

test('the key that has the focus can be seen to have it', async () => {
  const panel = await bed.panel();
  const look = () => panel.key('KL01').evaluate((key) => {
    const { outlineStyle, outlineWidth, boxShadow } = getComputedStyle(key);
    return `${outlineStyle === 'none' ? 'no outline' : outlineWidth} ${boxShadow}`;
  });
  const without = await look();
  await panel.page.locator('button[data-key="KT01"]').focus();
  for (let i = 0; i < 3 && (await panel.page.evaluate(() => document.activeElement.dataset.key)) !== 'KL01'; ++i) {
    await panel.page.keyboard.press('Tab');
  }
  assert.notEqual(await look(), without);
});

for (const [name, code] of [['Space', 'Space'], ['Enter', 'Enter']]) {
  test(`${name} holds the key that has the focus, however often it repeats`, async () => {
    await bed.tapsTake(1);
    const panel = await bed.panel();
    const { presses, releases } = bed.control;
    await panel.key('KL01').focus();
    await panel.page.keyboard.down(code);
    await panel.holds('KL01');
    await panel.lamp('KL01', 'on');
    for (let i = 0; i < 10; ++i) await panel.page.keyboard.down(code); // as a keyboard repeats
    await panel.holds('KL01');
    await panel.page.keyboard.up(code);
    await panel.holds();
    await panel.lamp('KL01', 'off');
    assert.deepEqual([bed.control.presses, bed.control.releases], [presses + 1, releases + 1]);
  });
}

test('Space taps: the key latches, and is pressed once only', async () => {
  await bed.tapsTake(3000);
  const panel = await bed.panel();
  const { presses } = bed.control;
  await panel.key('KL02').focus();
  await panel.page.keyboard.press('Space');
  await panel.lamp('KL02', 'on');
  await bed.control.noKeyIsDown();
  await bed.control.callsAre(/4\.210.* LISTEN:1/);
  await panel.page.keyboard.press('Space');
  await panel.lamp('KL02', 'off');
  assert.equal(bed.control.presses, presses + 2);
});

const kSpace = { key: ' ', code: 'Space', text: ' ', windowsVirtualKeyCode: 32 };
const kEnter = { key: 'Enter', code: 'Enter', text: '\r', windowsVirtualKeyCode: 13 };
const kAlt = { key: 'Alt', code: 'AltLeft', windowsVirtualKeyCode: 18 };
const kAltGr = { key: 'AltGraph', code: 'AltRight', windowsVirtualKeyCode: 225 };
const kAltDown = 1; // of the modifiers; they have no bit for AltGr

// With Alt down many layouts write a no-break space for Space. Its release was taken for that of some other key, so
// that the hold never ended.
for (const [what, pressed, other, modifiers, released] of [
  ['Space, with Alt down', kSpace, kAlt, kAltDown, '\u00a0'],
  ['Space, with AltGr down', kSpace, kAltGr, 0, '\u00a0'],
  ['Enter, with Alt down', kEnter, kAlt, kAltDown, 'Enter'],
  ['Enter, with AltGr down', kEnter, kAltGr, 0, 'Enter'],
]) {
  test(`${what} when it is let go of, leaves no key down`, async () => {
    await bed.tapsTake(1);
    const panel = await bed.panel();
    const session = await panel.page.context().newCDPSession(panel.page);
    const send = (type, key) => session.send('Input.dispatchKeyEvent', { type, ...key });
    await panel.key('KL01').focus();
    await send('keyDown', pressed);
    await panel.holds('KL01');
    await panel.lamp('KL01', 'on');
    await send('rawKeyDown', { ...other, modifiers });
    await send('keyUp', { ...pressed, key: released, text: undefined, modifiers });
    await panel.holds();
    await bed.control.noKeyIsDown();
    await panel.lamp('KL01', 'off');
    await send('keyUp', other);
    await bed.control.callsAre();
  });
}

for (const [what, menuKey] of [['the menu key', 'ContextMenu'], ['Shift and F10', 'Shift+F10']]) {
  test(`${what} opens no menu while Space holds a key, which would take its release`, async () => {
    await bed.tapsTake(1);
    const panel = await bed.panel();
    await panel.watchMenus();
    await panel.key('KL01').focus();
    await panel.page.keyboard.down('Space');
    await panel.lamp('KL01', 'on');
    await panel.page.keyboard.press(menuKey);
    await panel.menusWere(true);
    await panel.page.keyboard.up('Space');
    await panel.holds();
    await bed.control.noKeyIsDown();
    await panel.lamp('KL01', 'off');
  });
}

test('a menu that the mouse opens elsewhere while Space holds a key ends that hold', async () => {
  await bed.tapsTake(1);
  const panel = await bed.panel();
  await panel.key('KL01').focus();
  await panel.page.keyboard.down('Space');
  await panel.lamp('KL01', 'on');
  await panel.page.locator('h1').click({ button: 'right' });
  await panel.holds();
  await bed.control.noKeyIsDown();
  await panel.lamp('KL01', 'off');
  await panel.page.keyboard.up('Space');
});

test('Escape lets go of a held key, and does not latch it', async () => {
  await bed.tapsTake(3000);
  const panel = await bed.panel();
  await panel.key('KL01').focus();
  await panel.page.keyboard.down('Space');
  await panel.lamp('KL01', 'on');
  await panel.page.keyboard.press('Escape');
  await panel.holds();
  await panel.lamp('KL01', 'off');
  await panel.page.keyboard.up('Space');
});

test('Enter in the field of the shift selects it and presses no key', async () => {
  const panel = await bed.panel();
  const { presses } = bed.control;
  for (const [name, label] of [['Evening', 'News'], ['Morning', 'Ext 1']]) {
    await panel.page.locator('#shift').focus();
    await panel.page.locator('#shift').fill(name);
    await panel.page.keyboard.press('Enter');
    await panel.label(1, label);
  }
  assert.equal(bed.control.presses, presses);
});
