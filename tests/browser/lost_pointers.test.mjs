// A held key whose finger is lost, in all ways that there are, 200 times: it goes up, and never as a tap that latches.
import assert from 'node:assert/strict';
import { after, afterEach, before, test } from 'node:test';
import { Bed } from './support/bed.mjs';
import { WindowedBrowser } from './support/browser.mjs';
import { Fingers, Panel } from './support/panel.mjs';

// Any release that counts as the operator's own would latch: losing a finger must not.
const kEverythingIsATap = 60_000;
// No two halves of one channel: a press takes the other half along while that is still on, and leaves it on.
const kKeys = ['KL01', 'KT05', 'KL06', 'KT07', 'KL08', 'KTAA', 'TGRP', 'KT11'];

let bed;
before(async () => {
  bed = await Bed.lay();
  await bed.tapsTake(kEverythingIsATap);
});
afterEach(() => bed?.isAtRest());
after(() => bed?.end());

const keyOfTurn = (turn) => kKeys[turn % kKeys.length];

// The station has heard the key go down; then it is lost, and the station has heard it go up.
async function loses(key, press, lose, what) {
  const { presses, releases } = bed.control;
  await press(key);
  await bed.control.keyIsDown(`web ${key}`);
  await lose(key);
  await bed.control.noKeyIsDown();
  assert.deepEqual([bed.control.presses - presses, bed.control.releases - releases], [1, 1], `${what}, ${key}`);
}

// Ways to lose a key that leave the page as it is. Each takes the panel, presses the key, and loses it.
const ways = {
  'the screen takes the finger away': (panel, key) =>
    loses(key, () => panel.fingers.press(key), () => panel.fingers.lose(), 'touch'),

  'two fingers are taken away at once': async (panel, key) => {
    const other = key === 'KL09' ? 'KL10' : 'KL09';
    await panel.fingers.press(key, other);
    await bed.control.keyIsDown(`web ${key}`);
    await bed.control.keyIsDown(`web ${other}`);
    await panel.fingers.lose();
    await bed.control.noKeyIsDown();
  },

  'another element takes the pointer': async (panel, key) => {
    await panel.page.evaluate(() => {
      addEventListener('pointerdown', (event) => { window.pointer = event.pointerId; }, true);
    });
    await loses(key, () => panel.press(key), async () => {
      await panel.page.mouse.move(5, 5); // from here on the pointer is captured
      await panel.key(key).evaluate((element) => element.releasePointerCapture(window.pointer));
      await panel.page.mouse.move(6, 6); // and with this no more
    }, 'capture');
    await panel.release();
  },

  'the focus goes elsewhere on the page while Space is down': async (panel, key) => {
    await panel.key(key).focus();
    await loses(key, () => panel.page.keyboard.down('Space'), () => panel.page.locator('#shift').focus(), 'focus');
    await panel.page.keyboard.up('Space');
  },

  'the focus is nowhere while Enter is down': async (panel, key) => {
    await panel.key(key).focus();
    const blur = () => panel.key(key).evaluate((one) => one.blur());
    await loses(key, () => panel.page.keyboard.down('Enter'), blur, 'blur');
    await panel.page.keyboard.up('Enter');
  },

  'the window loses the focus': async (panel, key) => {
    await loses(key, () => panel.press(key), async () => {
      await panel.fingers.session.send('Emulation.setFocusEmulationEnabled', { enabled: false });
      await panel.behind.bringToFront();
    }, 'window');
    await panel.release();
    await panel.page.bringToFront();
    await panel.fingers.session.send('Emulation.setFocusEmulationEnabled', { enabled: true });
  },
};

test('160 fingers, pointers and keys of the keyboard that are lost leave no key down', async () => {
  const panel = await bed.panel({ hasTouch: true });
  panel.fingers = await Fingers.on(panel);
  panel.behind = await panel.page.context().newPage();
  await panel.page.bringToFront();
  const names = Object.keys(ways);
  for (let turn = 0; turn < 160; ++turn) {
    await ways[names[turn % names.length]](panel, keyOfTurn(turn + Math.floor(turn / names.length)));
  }
  await panel.holds();
  await bed.control.callsAre();
});

test('10 menus that open over a held key end with it up', async () => {
  const panel = await bed.panel();
  for (let turn = 0; turn < 10; ++turn) {
    const key = keyOfTurn(turn);
    await panel.press(key);
    await bed.control.keyIsDown(`web ${key}`);
    await panel.page.mouse.down({ button: 'right' });
    await panel.page.mouse.up({ button: 'left' });
    await bed.control.noKeyIsDown();
    await panel.page.mouse.up({ button: 'right' });
    // This release is the operator's own: what it latched ends with the next press.
    await panel.tap(key);
    await bed.control.noKeyIsDown();
  }
  await bed.control.callsAre();
});

// A menu that opens beside the key, from where its pointer has gone or by another pointer, takes the end of a hold too.
for (const [what, press, release] of [
  ['the mouse itself, which has left its key', (panel) => panel.press('KL06'), (panel) => panel.release()],
  ['a mouse beside a finger', (panel) => panel.fingers.press('KL06'), (panel) => panel.fingers.release('KL06')],
]) {
  test(`no menu is opened by ${what}, and one is when the key is up`, async () => {
    const panel = await bed.panel({ hasTouch: true });
    panel.fingers = await Fingers.on(panel);
    const heading = await panel.page.locator('h1').boundingBox();
    const rightClick = async () => {
      await panel.page.mouse.move(heading.x + 5, heading.y + 5);
      await panel.page.mouse.down({ button: 'right' });
      await panel.page.mouse.up({ button: 'right' });
    };
    await panel.watchMenus();
    await press(panel);
    await bed.control.keyIsDown('web KL06');
    await rightClick();
    await panel.menusWere(true);
    await release(panel);
    await panel.holds();
    await bed.control.noKeyIsDown();
    await rightClick();
    await panel.menusWere(true, false);
    await panel.tap('KL06'); // it had latched
    await bed.control.callsAre();
  });
}

test('12 pages that are hidden, frozen or behind another window hold no key', async () => {
  const windowed = await WindowedBrowser.open();
  try {
    const panel = await Panel.open(windowed.context, bed.gateway);
    const behind = await windowed.context.newPage();
    await panel.page.bringToFront();
    const session = await windowed.context.newCDPSession(panel.page);
    const { windowId } = await session.send('Browser.getWindowForTarget');
    const setWindow = (windowState) => session.send('Browser.setWindowBounds', { windowId, bounds: { windowState } });
    const setLife = (state) => session.send('Page.setWebLifecycleState', { state });
    // Each with its way back. A frozen page loses its connection, and makes a new one when it lives again.
    const ends = [
      [() => behind.bringToFront(), () => {}],
      [() => setWindow('minimized'), () => setWindow('normal')],
      [() => setLife('frozen'), () => Promise.all([panel.page.waitForEvent('websocket'), setLife('active')])],
    ];
    for (let turn = 0; turn < 12; ++turn) {
      const [hide, comeBack] = ends[turn % ends.length];
      await loses(keyOfTurn(turn), (key) => panel.press(key), hide, `hidden, turn ${turn}`);
      await comeBack();
      await behind.bringToFront();
      await panel.page.bringToFront();
      await panel.link('up');
      await panel.release();
    }
    await bed.control.callsAre();
    panel.looksHealthy();
  } finally {
    await windowed.close();
  }
});

test('18 pages that are closed, reloaded or left hold no key', async () => {
  let panel = await bed.panel();
  const ends = [
    (page) => page.reload(),
    (page) => page.goto('about:blank'),
    (page) => page.close(),
  ];
  for (let turn = 0; turn < 18; ++turn) {
    const leave = () => ends[turn % ends.length](panel.page);
    await loses(keyOfTurn(turn), (key) => panel.press(key), leave, `left, turn ${turn}`);
    if (panel.page.isClosed()) {
      panel = await bed.panel();
    } else {
      await panel.release();
      await panel.page.goto(bed.gateway.url);
      await panel.link('up');
    }
    assert.deepEqual(await panel.held(), []);
  }
  await bed.control.callsAre();
});

test('a held key whose channel is taken away by another shift goes up', async () => {
  const panel = await bed.panel();
  const other = await bed.panel();
  const choose = async (name, label) => {
    await other.page.fill('#shift', name);
    await other.page.click('#shift-go');
    await other.label(2, label);
  };
  await panel.label(20, 'Line 20');
  await panel.press('KL20');
  await panel.lamp('KL20', 'on');
  await choose('Evening', '');
  await panel.release();
  await bed.control.noKeyIsDown();
  await panel.holds();
  await bed.control.dropAll();
  await panel.label(20, '');
  await choose('Morning', 'News');
});
