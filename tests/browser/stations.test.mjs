// Two stations, each with its panel: what is pressed on one rings on the other, and is answered there.
import { after, afterEach, before, test } from 'node:test';
import { Bed, kStationB } from './support/bed.mjs';
import { newContext } from './support/browser.mjs';
import { Panel } from './support/panel.mjs';

let a;
let b;
before(async () => {
  a = await Bed.lay();
  b = await Bed.lay({ station: kStationB, browser: false });
});
afterEach(async () => {
  await a?.isAtRest();
  await b?.isAtRest();
});
after(async () => {
  await a?.end();
  await b?.end();
});

test('a call rings on the panel of the other station, and holding a key answers it', async () => {
  await a.tapsTake(3000);
  await b.tapsTake(1);
  const caller = await a.panel();
  const called = await Panel.open(await newContext(a.browser), b.gateway);
  b.panels.push(called);
  const [mixerA, mixerB] = [a.station.mixer.out.mark, b.station.mixer.out.mark];

  // A asks to hear B, so B is asked to talk.
  await caller.tap('KL03');
  await caller.lamp('KL03', 'flash');
  await called.lamp('KT01', 'flash');
  await caller.tap('KT03');
  await caller.lamp('KT03', 'flash');
  await called.lamp('KL01', 'flash');
  await called.sees('#calls li[data-rings=true]');

  // One key answers both directions, as long as it is held.
  await called.press('KT01');
  await caller.lamp('KL03', 'on');
  await caller.lamp('KT03', 'on');
  await called.lamp('KL01', 'on');
  await called.lamp('KT01', 'on');
  await a.station.mixerSays('src_id="239.192.0.88', mixerA);
  await b.station.mixerSays('src_id="239.192.0.77', mixerB);

  await called.release();
  await a.station.mixerSays('in#1 src_id=""', mixerA);
  await caller.lamp('KL03', 'off');
  await caller.tap('KT03');
  await caller.lamp('KT03', 'wink'); // dark, that is, for one above our level
  await b.station.mixerSays('in#1 src_id=""', mixerB);
  await called.lamp('KL01', 'off');
});
