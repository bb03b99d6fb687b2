// Volumes by wheel, drag and arrow keys, the speaker, and the two mutes.
import assert from 'node:assert/strict';
import { after, afterEach, before, test } from 'node:test';
import { Bed } from './support/bed.mjs';
import { until } from './support/wait.mjs';

let bed;
before(async () => {
  bed = await Bed.lay();
  await bed.tapsTake(3000);
});
afterEach(() => bed?.isAtRest());
after(() => bed?.end());

const outputOf = (panel, fader) => panel.fader(fader).locator('xpath=following::output[1]').innerText();

// A panel that listens to a channel from here on to the end of `uses`.
async function listening(number, uses) {
  const panel = await bed.panel();
  const key = `KL${`${number}`.padStart(2, '0')}`;
  await panel.tap(key);
  await panel.lamp(key, 'on');
  await uses(panel, key, bed.station.mixer.out.mark);
  await panel.tap(key);
  await panel.lamp(key, 'off');
}

test('the wheel over a channel steps its volume, the page stays where it is', async () => {
  await listening(1, async (panel, key, before) => {
    await panel.over(key);
    await panel.page.mouse.wheel(0, -100);
    await panel.level(key, 10);
    await bed.station.mixerSays('src_id="239.192.4.213", gain=10 ', before);
    await panel.page.mouse.wheel(0, 100);
    await panel.level(key, 0);
    await panel.page.mouse.wheel(0, 100);
    await panel.level(key, -10);
    await bed.station.mixerSays('src_id="239.192.4.213", gain=-10 ', before);
    assert.match(await outputOf(panel, key), /^[-−]1\.0 dB$/);
    assert.equal(await panel.page.evaluate(() => window.scrollY), 0);
  });
});

test('arrow keys step the volume, and it is told in decibels', async () => {
  await listening(2, async (panel, key, before) => {
    await panel.fader(key).focus();
    for (const level of [-10, -20, -30]) {
      await panel.page.keyboard.press('ArrowDown');
      await panel.level(key, level);
    }
    await panel.page.keyboard.press('ArrowUp');
    await panel.level(key, -20);
    await bed.station.mixerSays('src_id="239.192.4.210", gain=-20 ', before);
    assert.match(await panel.fader(key).getAttribute('aria-valuetext'), /^[-−]2\.0 dB$/);
  });
});

test('a dragged fader sets the volume, at the station and on the other panels', async () => {
  const other = await bed.panel();
  await listening(5, async (panel, key) => {
    await panel.fader(key).scrollIntoViewIfNeeded();
    const box = await panel.fader(key).boundingBox();
    const at = (part) => [box.x + box.width * part, box.y + box.height / 2];
    await panel.page.mouse.move(...at(840 / 960));
    await panel.page.mouse.down();
    for (const part of [0.8, 0.75, 0.7]) await panel.page.mouse.move(...at(part));
    await panel.page.mouse.up();
    let levels = [];
    await until(() => `one level of both panels and the mixer: ${levels}`, async () => {
      const mixed = bed.station.mixer.out.all.findLast((line) => line.includes('src_id="239.192.7.5"'));
      levels = [
        await panel.fader(key).inputValue(), await other.fader(key).inputValue(), /gain=(-?\d+)/.exec(mixed)[1],
      ].map(Number);
      return levels[0] < -100 && levels[0] > -300 && levels.every((level) => level === levels[0]);
    });
  });
});

// Drags, and two ways to end them: a mouse is let go of while the fader is disabled, a finger stays on it until after.
async function dragByMouse(panel, from, to) {
  await panel.page.mouse.move(...from);
  await panel.page.mouse.down();
  await panel.page.mouse.move(...to);
  return [() => panel.page.mouse.up(), () => {}];
}

async function dragByFinger(panel, from, to) {
  const session = await panel.page.context().newCDPSession(panel.page);
  const send = (type, ...places) =>
    session.send('Input.dispatchTouchEvent', { type, touchPoints: places.map(([x, y]) => ({ x, y, id: 1 })) });
  await send('touchStart', from);
  await send('touchMove', to);
  return [() => {}, () => send('touchEnd')];
}

// A disabled fader may hear of no end of its drag: it showed no level of others any more.
for (const [what, drag, number] of [['a mouse', dragByMouse, 7], ['a finger', dragByFinger, 8]]) {
  test(`a fader that is disabled under ${what} shows the level of others when it is back`, async () => {
    const [panel, other] = [await bed.panel({ hasTouch: true }), await bed.panel()];
    const [dragged, others] = [panel, other].map((one) => one.fader(`KL0${number}`));
    const choose = async (shift, label) => {
      await other.page.fill('#shift', shift);
      await other.page.click('#shift-go');
      for (const one of [panel, other]) await one.label(number, label);
    };
    await panel.label(number, `Line ${number}`);
    await dragged.scrollIntoViewIfNeeded();
    const box = await dragged.boundingBox();
    const at = (part) => [box.x + box.width * part, box.y + box.height / 2];
    const [endWhileDisabled, endAtLast] = await drag(panel, at(840 / 960), at(0.6));
    await until('the dragged level on the other panel', async () => Number(await others.inputValue()) < -100);

    await choose('Evening', '');
    assert.ok(await dragged.isDisabled());
    await endWhileDisabled();
    await choose('Morning', `Line ${number}`);
    assert.ok(await dragged.isEnabled());
    const low = Number(await others.inputValue());
    await others.focus();
    for (let i = 0; i < 3; ++i) await other.page.keyboard.press('ArrowUp');
    let levels = [];
    await until(() => `one level of both panels, above ${low}: ${levels}`, async () => {
      levels = [await dragged.inputValue(), await others.inputValue()].map(Number);
      return levels[0] > low && levels[0] === levels[1];
    });
    await endAtLast();
  });
}

test('a fader at rest while the routing daemon moves it follows', async () => {
  await listening(6, async (panel, key) => {
    bed.station.mixer.say('DST 1 AVOL:-125');
    await panel.sees(`output:text-matches("12\\\\.5 dB")`);
    bed.station.mixer.say('DST 1 AVOL:0');
    await panel.level(key, 0);
  });
});

test('the speaker volume goes to the mixer', async () => {
  const panel = await bed.panel();
  const before = bed.station.mixer.out.mark;
  await panel.fader('SPKV').focus();
  await panel.page.keyboard.press('ArrowDown');
  await panel.level('SPKV', -10);
  await bed.station.mixerSays('hark#1.sub#1 gain=-10', before);
  await panel.page.keyboard.press('ArrowUp');
  await panel.level('SPKV', 0);
  await bed.station.mixerSays('hark#1.sub#1 gain=0', before);
});

for (const [what, key, path] of [['microphone', 'MICM', 'hark#1.sub#2'], ['speaker', 'SPKM', 'hark#1.sub#1']]) {
  test(`the ${what} key mutes, and opens again`, async () => {
    const panel = await bed.panel();
    const other = await bed.panel();
    const before = bed.station.mixer.out.mark;
    await panel.tap(key);
    await panel.lamp(key, 'on');
    await other.lamp(key, 'on');
    const muted = await bed.station.mixerSays(`${path} gain=OFF`, before);
    await panel.tap(key);
    await panel.lamp(key, 'off');
    await other.lamp(key, 'off');
    await bed.station.mixerSays(`${path} gain=0`, muted);
  });
}
