// Talk and listen keys under a mouse: what the page shows, what the station does, what its mixer takes in.
import assert from 'node:assert/strict';
import { after, afterEach, before, test } from 'node:test';
import { Bed } from './support/bed.mjs';

let bed;
before(async () => {
  bed = await Bed.lay();
});
afterEach(() => bed?.isAtRest());
after(() => bed?.end());

test('a tap latches listen, and the next press ends it', async () => {
  await bed.tapsTake(3000);
  const panel = await bed.panel();
  const before = bed.station.mixer.out.mark;
  await panel.tap('KL01');
  await panel.lamp('KL01', 'on');
  await bed.station.mixerSays('src_id="239.192.4.213"', before);
  await bed.control.callsAre(/239\.192\.4\.213.* LISTEN:1/);
  await bed.control.noKeyIsDown();
  await panel.tap('KL01');
  await panel.lamp('KL01', 'off');
  await bed.station.mixerSays('in#1 src_id=""', before);
});

test('a held listen key is shown as held, and ends the path when it is let go', async () => {
  await bed.tapsTake(1);
  const panel = await bed.panel();
  const before = bed.station.mixer.out.mark;
  await panel.press('KL02');
  await panel.holds('KL02');
  await panel.lamp('KL02', 'on');
  await bed.station.mixerSays('src_id="239.192.4.210"', before);
  await bed.control.keyIsDown('web KL02');
  await panel.release();
  await panel.holds();
  await panel.lamp('KL02', 'off');
  await bed.station.mixerSays('in#1 src_id=""', before);
});

test('a held talk key lets the far end hear us until it is let go', async () => {
  await bed.tapsTake(1);
  const panel = await bed.panel();
  await panel.press('KT01');
  await panel.lamp('KT01', 'on');
  await bed.control.callsAre(/239\.192\.4\.213.* TALK:1/);
  await panel.release();
  await panel.lamp('KT01', 'off');
});

test('a tap latches talk, and the next press ends it', async () => {
  await bed.tapsTake(3000);
  const panel = await bed.panel();
  await panel.tap('KT05');
  await panel.lamp('KT05', 'on');
  await bed.control.noKeyIsDown();
  await bed.control.callsAre(/239\.192\.7\.5>.* TALK:1/);
  await panel.tap('KT05');
  await panel.lamp('KT05', 'off');
});

test('the pointer may leave a held key', async () => {
  await bed.tapsTake(1);
  const panel = await bed.panel();
  await panel.press('KL06');
  await panel.lamp('KL06', 'on');
  await panel.page.mouse.move(3, 3);
  await panel.page.mouse.move(700, 400);
  await panel.holds('KL06');
  await bed.control.keyIsDown('web KL06');
  await panel.release();
  await panel.lamp('KL06', 'off');
});

test('other buttons of the mouse press nothing', async () => {
  const panel = await bed.panel();
  const presses = bed.control.presses;
  for (const button of ['right', 'middle']) {
    await panel.over('KL01');
    await panel.page.mouse.down({ button });
    await panel.page.mouse.up({ button });
  }
  await panel.tap('MICM'); // is told after whatever these would have said
  await panel.lamp('MICM', 'on');
  await panel.tap('MICM');
  await panel.lamp('MICM', 'off');
  assert.equal(bed.control.presses, presses + 2);
});

test('a key says its lamp in words, not by colour alone', async () => {
  await bed.tapsTake(1);
  const panel = await bed.panel();
  const words = () => panel.key('KL07').innerText();
  const off = await words();
  await panel.press('KL07');
  await panel.lamp('KL07', 'on');
  assert.notEqual(await words(), off);
  await panel.release();
  await panel.lamp('KL07', 'off');
  assert.equal(await words(), off);
});

test('the talk lamp of a station above our level winks', async () => {
  const panel = await bed.panel();
  await panel.lamp('KT04', 'wink');
  await panel.lamp('KL04', 'off');
});

test('a far end without talk has no talk key, and a channel of nobody has neither', async () => {
  const panel = await bed.panel();
  await panel.label(2, 'News');
  for (const [key, disabled] of [['KT01', false], ['KT02', true], ['KL02', false], ['KT19', true], ['KL19', true]]) {
    assert.equal(await panel.key(key).isDisabled(), disabled, key);
  }
});
