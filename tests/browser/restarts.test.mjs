// The station, or the gateway, ends under the page and comes back.
import assert from 'node:assert/strict';
import { after, afterEach, before, test } from 'node:test';
import { Bed } from './support/bed.mjs';
import { newContext } from './support/browser.mjs';
import { Doorway } from './support/doorway.mjs';
import { Panel } from './support/panel.mjs';
import { until } from './support/wait.mjs';

const kEverythingIsATap = 60_000;
// ms that an attempt to a silent gateway may take, the pause behind it and a slow machine; the page's limit is half.
const kNextAttempt = 12_000;
const kRightAgain = 1000; // ms from the reconnection to a page that is right

let bed;
before(async () => {
  bed = await Bed.lay();
});
afterEach(() => bed?.isAtRest());
after(() => bed?.end());

test('a station that restarts is shown as lost, and all is right again within a second of its return', async (t) => {
  const panel = await bed.panel();
  const times = [];
  for (let turn = 0; turn < 3; ++turn) {
    await bed.tapsTake(kEverythingIsATap);
    await panel.press('KL01');
    await panel.lamp('KL01', 'on');
    const from = bed.gateway.program.out.mark;
    await bed.station.endDaemon();
    await panel.link('lost');
    assert.match(await panel.page.locator('#link').innerText(), /lost/i);
    assert.deepEqual(await panel.held(), []);
    await panel.lamp('KL01', 'off');
    await panel.label(1, 'Ext 1'); // greyed, but there

    await bed.station.run();
    const at = await bed.gateway.program.see('station: connected', from);
    await panel.link('up');
    await panel.lamp('KT04', 'wink'); // what only the station can have said
    times.push(performance.now() - bed.gateway.program.out.times[at]);
    await bed.control.callsAre();
    await panel.lamp('KL01', 'off');
    assert.deepEqual(await panel.held(), []);
    await panel.release();
  }
  t.diagnostic(`right again after ${times.map((time) => time.toFixed(0))} ms`);
  assert.ok([...times].sort((a, b) => a - b)[1] < kRightAgain, `${times}`);

  // It works as before.
  await bed.tapsTake(1);
  await panel.press('KL01');
  await panel.lamp('KL01', 'on');
  await panel.release();
  await panel.lamp('KL01', 'off');
});

test('a key that is pressed while the station is lost does nothing, then and later', async () => {
  const panel = await bed.panel();
  await bed.station.endDaemon();
  await panel.link('lost');
  await panel.press('KL01');
  await panel.holds();
  await bed.station.run();
  await panel.link('up');
  await panel.release();
  await panel.lamp('KL01', 'off');
  await bed.control.callsAre();
  assert.equal(bed.control.presses, 0);
});

test('a gateway that is killed with keys down lets go of them at its next start', async () => {
  await bed.tapsTake(kEverythingIsATap);
  const panel = await bed.panel();
  await panel.press('KL01');
  await panel.lamp('KL01', 'on');
  await panel.key('KT05').focus();
  await panel.page.keyboard.down('Space');
  await panel.lamp('KT05', 'on');
  await bed.gateway.kill();
  await panel.link('gateway');
  assert.deepEqual(await panel.held(), []);
  assert.deepEqual([...bed.control.down].sort(), ['web KL01', 'web KT05']);

  await bed.gateway.run();
  await bed.control.noKeyIsDown();
  await bed.control.callsAre();
  await panel.link('up');
  for (const key of ['KL01', 'KT05']) await panel.lamp(key, 'off');
  assert.deepEqual(await panel.held(), []);
  await panel.page.keyboard.up('Space');
  await panel.release();
});

test('a gateway that ends in order lets go of its keys itself', async () => {
  await bed.tapsTake(kEverythingIsATap);
  const panel = await bed.panel();
  await panel.press('KL01');
  await panel.lamp('KL01', 'on');
  await bed.gateway.stop();
  await bed.control.noKeyIsDown();
  await bed.control.callsAre();
  await panel.link('gateway');
  await panel.release();
  await bed.gateway.run();
  await panel.link('up');
});

test('a page without its gateway finds it again, and works', async () => {
  await bed.tapsTake(1);
  const panel = await bed.panel();
  await bed.gateway.kill();
  await panel.link('gateway');
  await panel.press('KL02');
  assert.deepEqual(await panel.held(), []);
  await panel.release();
  await bed.gateway.run();
  await panel.link('up');
  await panel.press('KL02');
  await panel.lamp('KL02', 'on');
  await panel.release();
  await panel.lamp('KL02', 'off');
});

// A machine that takes connections and answers none held the page up for as long as its browser waits: minutes.
test('a page whose first attempt is never answered makes another, and works', async (t) => {
  await bed.tapsTake(1);
  const doorway = await Doorway.before(bed.gateway);
  try {
    doorway.silent = true;
    const opening = Panel.open(await newContext(bed.browser), doorway);
    await until('an attempt', () => doorway.unanswered.length > 0);
    doorway.silent = false;
    const panel = await opening;
    bed.panels.push(panel);
    const waited = performance.now() - doorway.unanswered[0];
    t.diagnostic(`up after ${waited.toFixed(0)} ms`);
    assert.equal(doorway.unanswered.length, 1);
    assert.ok(waited < kNextAttempt, `${waited} ms`);
    await panel.press('KL01');
    await panel.lamp('KL01', 'on');
    await panel.release();
    await panel.lamp('KL01', 'off');
  } finally {
    doorway.close();
  }
});

test('a gateway that falls silent leaves no key down, and the page tries again until it answers', async (t) => {
  await bed.tapsTake(kEverythingIsATap);
  const doorway = await Doorway.before(bed.gateway);
  try {
    const panel = await Panel.open(await newContext(bed.browser), doorway);
    bed.panels.push(panel);
    await panel.press('KL01');
    await panel.lamp('KL01', 'on');
    doorway.silent = true;
    doorway.cut();
    await panel.link('gateway');
    await panel.holds();
    await panel.release();
    await bed.control.noKeyIsDown();
    await bed.control.callsAre();

    await until('two attempts', () => doorway.unanswered.length >= 2);
    const waited = doorway.unanswered[1] - doorway.unanswered[0];
    t.diagnostic(`${waited.toFixed(0)} ms between two attempts`);
    assert.ok(waited < kNextAttempt, `${waited} ms`);
    await panel.link('gateway');
    const { presses } = bed.control;
    await panel.tap('KL02'); // nobody is told, then or later
    doorway.silent = false;
    await panel.link('up');
    await panel.tap('MICM');
    await panel.lamp('MICM', 'on');
    await panel.tap('MICM');
    await panel.lamp('MICM', 'off');
    assert.equal(bed.control.presses, presses + 2);
  } finally {
    doorway.close();
  }
});
