// Callers, the auto-answer channel, assigning, the group, and shifts.
import assert from 'node:assert/strict';
import { after, afterEach, before, test } from 'node:test';
import { Bed } from './support/bed.mjs';
import { Fingers } from './support/panel.mjs';
import { until } from './support/wait.mjs';

let bed;
before(async () => {
  bed = await Bed.lay();
});
afterEach(() => bed?.isAtRest());
after(() => bed?.end());

// Who was answered is answered by itself for a minute, so each test has callers of its own, by their contacts.
const kDesk = 2;
const kLobby = 3;
const kDock = 6;
const kGate = 7;

const saved = () => bed.station.read('harkch.conf');

test('a caller without a key rings on the auto-answer channel, and holding its key answers', async () => {
  await bed.tapsTake(1);
  const panel = await bed.panel();
  const before = bed.station.mixer.out.mark;
  bed.rings(kLobby);
  await panel.lamp('KLAA', 'flash');
  await panel.label('AA', 'Lobby');
  await panel.sees('#calls li[data-rings=true]:has-text("Lobby")');
  await panel.press('KLAA');
  await panel.lamp('KLAA', 'on');
  await bed.station.mixerSays('src_id="239.192.4.215"', before);
  await panel.release();
  await panel.lamp('KLAA', 'off');
  bed.ringsNoMore(kLobby);
});

test('talk of the auto-answer channel talks to the caller', async () => {
  await bed.tapsTake(1);
  const panel = await bed.panel();
  bed.rings(kDock);
  await panel.label('AA', 'Dock');
  await panel.press('KTAA');
  await panel.lamp('KTAA', 'on');
  await bed.control.callsAre(/4\.217.* TALK:1/, /4\.217.* LISTEN:1/);
  await panel.release();
  bed.ringsNoMore(kDock);
});

test('a caller taken from the list is on the auto-answer channel', async () => {
  await bed.tapsTake(1);
  const panel = await bed.panel();
  const before = bed.station.mixer.out.mark;
  bed.rings(kGate);
  await panel.label('AA', 'Gate');
  bed.rings(kDesk);
  await panel.label('AA', 'Desk');
  await panel.page.locator('#calls li', { hasText: 'Gate' }).locator('button.take').click();
  await panel.label('AA', 'Gate');
  await panel.press('KLAA');
  await bed.station.mixerSays('src_id="239.192.4.218"', before);
  await bed.control.callsAre(/4\.218.* LISTEN:1/, /4\.214.* LISTEN:R/);
  await panel.release();
  bed.ringsNoMore(kGate);
  bed.ringsNoMore(kDesk);
  await until('an empty list', async () => (await panel.page.locator('#calls li').count()) === 0);
});

test('a caller is assigned to a key of nobody, and stays there', async () => {
  await bed.tapsTake(1);
  const panel = await bed.panel();
  bed.rings(kDesk);
  await panel.label('AA', 'Desk');
  await panel.tap('ASGN');
  await panel.lamp('ASGN', 'flash');
  await until('a key of nobody that can be pressed', () => panel.key('KL19').isEnabled());
  await panel.tap('KL19');
  await panel.label(19, 'Desk');
  await panel.lamp('ASGN', 'off');
  await until('the file', () => saved().includes('HARKCH 19 LABL:"Desk"'));
  bed.ringsNoMore(kDesk);
});

// While keys are assigned, the release of one assigns it: the key that was held got a label, and its call stayed up.
test('Assign under a second finger is not held, and the call of the first ends with its release', async () => {
  await bed.tapsTake(1);
  const panel = await bed.panel({ hasTouch: true });
  const fingers = await Fingers.on(panel);
  const [{ presses }, before] = [bed.control, saved()];
  await fingers.press('KL08');
  await panel.lamp('KL08', 'on');
  await fingers.press('ASGN');
  await panel.sees('#hint:has-text("not assigned while")');
  await panel.holds('KL08');
  await fingers.release('KL08');
  await panel.lamp('KL08', 'off');
  await panel.holds();
  await bed.control.callsAre();
  await fingers.release('ASGN');
  await bed.control.noKeyIsDown();
  assert.equal(bed.control.presses, presses + 1);
  assert.equal(saved(), before);

  await fingers.tap('ASGN'); // now it may be
  await panel.lamp('ASGN', 'flash');
  await fingers.tap('ASGN');
  await panel.lamp('ASGN', 'off');
});

for (const [how, press, release] of [
  ['the mouse', (panel) => panel.press('ASGN'), (panel) => panel.release()],
  ['Space', async (panel) => {
    await panel.key('ASGN').focus();
    await panel.page.keyboard.down('Space');
  }, (panel) => panel.page.keyboard.up('Space')],
]) {
  test(`Assign by ${how} is not held while a key of another page is`, async () => {
    await bed.tapsTake(1);
    const [panel, other] = [await bed.panel(), await bed.panel()];
    const [{ presses }, before] = [bed.control, saved()];
    await panel.press('KT09');
    await panel.lamp('KT09', 'on');
    await press(other);
    await other.sees('#hint:has-text("not assigned while")');
    await other.holds();
    await panel.holds('KT09');
    assert.equal(await panel.page.locator('#hint').innerText(), ''); // it pressed nothing
    await panel.release();
    await panel.lamp('KT09', 'off');
    await bed.control.callsAre();
    await release(other);
    await bed.control.noKeyIsDown();
    assert.equal(bed.control.presses, presses + 1);
    assert.equal(saved(), before);
  });
}

test('the group is chosen by keys, talked to by one, and saved', async () => {
  await bed.tapsTake(1);
  const panel = await bed.panel();
  await panel.tap('ASGN');
  await panel.lamp('ASGN', 'flash');
  await panel.tap('TGRP');
  await panel.lamp('TGRP', 'flash');
  for (const number of ['01', '05']) {
    await panel.tap(`KT${number}`);
    await panel.lamp(`KT${number}`, 'on');
    await panel.lamp(`KL${number}`, 'on');
  }
  await panel.tap('TGRP');
  await panel.lamp('TGRP', 'off');
  for (const name of ['Ext 1', 'Line 5']) await until('the file', () => saved().includes(`HARKGR 1 LABL:"${name}"`));

  await panel.press('TGRP');
  await panel.lamp('TGRP', 'on');
  await panel.lamp('KT01', 'on');
  await panel.lamp('KT05', 'on');
  await bed.control.callsAre(/4\.213.* TALK:1/, /7\.5>.* TALK:1/);
  await panel.release();
  await panel.lamp('TGRP', 'off');
  await panel.lamp('KT05', 'off');
});

test('a shift is chosen by name, on all panels', async () => {
  const [panel, other] = [await bed.panel(), await bed.panel()];
  const choose = async (name) => {
    await panel.page.fill('#shift', name);
    await panel.page.click('#shift-go');
  };
  await panel.label(2, 'News');
  const offered = await panel.page.$$eval('#shift', ([field]) => [...field.list.options].map((option) => option.value));
  assert.deepEqual(offered, ['Morning', 'Evening']);
  await choose('Evening');
  for (const one of [panel, other]) {
    await one.label(1, 'News');
    await one.label(2, '');
    await one.label(3, 'Line 3');
    await until('the name of the shift', async () => (await one.page.textContent('#shift-chosen')) === 'Evening');
  }
  await choose('Night'); // there is none yet: it has no keys
  await other.label(1, '');
  await choose('Morning');
  await other.label(1, 'Ext 1');
  await panel.label(2, 'News');
});
