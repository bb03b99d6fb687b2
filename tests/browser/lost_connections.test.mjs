// Connections that are gone without a word while a key is down, 50 times: the gateway lets go of it.
import assert from 'node:assert/strict';
import { after, afterEach, before, test } from 'node:test';
import { Bed } from './support/bed.mjs';
import { newContext, openBrowser, processesOf } from './support/browser.mjs';
import { Panel } from './support/panel.mjs';
import { WebSocketClient } from './support/websocket.mjs';

const kEverythingIsATap = 60_000;
const kKeys = ['KL01', 'KT05', 'KL06', 'KT07', 'KTAA']; // no two halves of one channel: see lost_pointers
const kLongest = 1000; // ms from a lost socket to the release; the median of them, since a machine may stall

let bed;
before(async () => {
  bed = await Bed.lay();
  await bed.tapsTake(kEverythingIsATap);
});
afterEach(() => bed?.isAtRest());
after(() => bed?.end());

const keyOfTurn = (turn) => kKeys[turn % kKeys.length];
const median = (times) => [...times].sort((a, b) => a - b)[times.length >> 1];

// Kills what holds the key: the time until the station has heard it go up, ms.
async function timeToRelease(key, kill) {
  await bed.control.keyIsDown(`web ${key}`);
  const from = bed.control.lines.mark;
  const killed = performance.now();
  await kill();
  const at = await bed.control.lines.see(`event HARKUI#web.BUT#${key} KEY=UP`, from);
  return bed.control.lines.times[at] - killed;
}

test('24 sockets that are cut with a key down let go of it within a second', async (t) => {
  const times = [];
  for (let turn = 0; turn < 24; ++turn) {
    const client = await WebSocketClient.connect(bed.gateway.port);
    client.say({ t: 'hello', v: 1 });
    await client.sees('welcome');
    client.say({ t: 'key', key: keyOfTurn(turn), down: true, at: 1000 + turn });
    times.push(await timeToRelease(keyOfTurn(turn), () => client.kill({ reset: turn % 2 === 0 })));
  }
  t.diagnostic(`median ${median(times).toFixed(1)} ms, longest ${Math.max(...times).toFixed(1)} ms`);
  assert.ok(median(times) < kLongest);
  await bed.control.callsAre();
});

test('10 browser contexts that are closed with a key down let go of it', async () => {
  for (let turn = 0; turn < 10; ++turn) {
    const panel = await bed.panel();
    const key = keyOfTurn(turn);
    await panel.press(key);
    await timeToRelease(key, () => panel.page.context().close());
  }
  await bed.control.callsAre();
});

test('12 pages whose process is killed or crashes with a key down let go of it', async () => {
  const browser = await openBrowser();
  try {
    for (let turn = 0; turn < 12; ++turn) {
      const panel = await Panel.open(await newContext(browser), bed.gateway);
      const key = keyOfTurn(turn);
      await panel.press(key);
      await timeToRelease(key, async () => {
        if (turn % 2 === 0) {
          const session = await panel.page.context().newCDPSession(panel.page);
          session.send('Page.crash').catch(() => {}); // nobody is left to answer
        } else {
          for (const one of await processesOf(browser)) if (one.type === 'renderer') process.kill(one.id, 'SIGKILL');
        }
      });
      await panel.page.context().close();
    }
  } finally {
    await browser.close();
  }
  await bed.control.callsAre();
});

test('3 browsers that are killed with keys down let go of them', async () => {
  for (let turn = 0; turn < 3; ++turn) {
    const browser = await openBrowser();
    const panel = await Panel.open(await newContext(browser), bed.gateway);
    const key = keyOfTurn(turn);
    await panel.press(key);
    const main = (await processesOf(browser)).find((one) => one.type === 'browser').id;
    await timeToRelease(key, () => process.kill(main, 'SIGKILL'));
    await browser.close();
  }
  await bed.control.callsAre();
});

test('a browser that is stopped with a key down loses it, though its connection stays', async (t) => {
  const panel = await bed.panel();
  await panel.press('KL01');
  const renderers = (await processesOf(bed.browser)).filter((one) => one.type === 'renderer');
  const waited = await timeToRelease('KL01', () => renderers.forEach((one) => process.kill(one.id, 'SIGSTOP')));
  renderers.forEach((one) => process.kill(one.id, 'SIGCONT'));
  t.diagnostic(`${waited.toFixed(0)} ms`);
  assert.ok(waited > 2000, 'it was let go of while the page still spoke');
  await panel.holds();
  await panel.link('up');
  await panel.release();
});
