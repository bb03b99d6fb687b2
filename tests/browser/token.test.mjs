// A gateway with a token: the page asks for it, and without the right one shows and presses nothing.
import assert from 'node:assert/strict';
import { after, afterEach, before, test } from 'node:test';
import { Bed } from './support/bed.mjs';
import { newContext } from './support/browser.mjs';
import { Gateway } from './support/gateway.mjs';
import { Panel } from './support/panel.mjs';
import { WebSocketClient } from './support/websocket.mjs';

const kToken = 'a token & more%';

let bed;
before(async () => {
  bed = await Bed.lay({ gateway: { token: kToken } });
  await bed.tapsTake(1);
});
afterEach(() => bed?.isAtRest());
after(() => bed?.end());

// `prepare` runs in the page before its own scripts.
async function openPage({ url = bed.gateway.url, prepare = () => {} } = {}) {
  const panel = new Panel(await (await newContext(bed.browser)).newPage());
  bed.panels.push(panel);
  await panel.page.addInitScript(prepare);
  await panel.page.goto(url);
  return panel;
}

const inAddress = () => `${bed.gateway.url}#token=${encodeURIComponent(kToken)}`;

async function give(panel, token) {
  await panel.page.locator('#token input').fill(token);
  await panel.page.locator('#token button').click();
}

test('the page asks for the token, refuses a wrong one, and works with the right one', async () => {
  const panel = await openPage();
  await panel.page.locator('#token').waitFor();
  assert.equal(await panel.page.locator('section.channel[data-channel="1"]').count(), 0);
  await give(panel, 'not the token');
  await panel.sees('#token:has-text("does not know")');
  assert.equal(await panel.page.locator('section.channel[data-channel="1"]').count(), 0);
  await give(panel, kToken);
  await panel.link('up');
  await panel.page.locator('#token').waitFor({ state: 'hidden' });
  await panel.press('KL01');
  await panel.lamp('KL01', 'on');
  await panel.release();
  await panel.lamp('KL01', 'off');

  await panel.page.reload(); // it is kept for this tab
  await panel.link('up');
  const other = await panel.page.context().newPage(); // and for no other
  await other.goto(bed.gateway.url);
  await other.locator('#token').waitFor();
});

test('a token in the address is taken, and does not stay there', async () => {
  const panel = await openPage({ url: inAddress() });
  await panel.link('up');
  assert.equal(panel.page.url(), bed.gateway.url);
});

// A browser that blocks cookies lets pages store nothing: each access throws. The page said no word to its gateway
// then, whether that wanted a token or not.
function denyStorage() {
  const get = () => { throw new DOMException('access is denied', 'SecurityError'); };
  Object.defineProperty(window, 'sessionStorage', { get });
}

async function works(panel) {
  await panel.link('up');
  await panel.press('KL01');
  await panel.lamp('KL01', 'on');
  await panel.release();
  await panel.lamp('KL01', 'off');
}

test('without storage the page asks for the token, and keeps it until it is loaded anew', async () => {
  const panel = await openPage({ prepare: denyStorage });
  await assert.rejects(panel.page.evaluate(() => sessionStorage.length), /denied/);
  await panel.page.locator('#token').waitFor();
  await give(panel, 'not the token');
  await panel.sees('#token:has-text("does not know")');
  await give(panel, kToken);
  await works(panel);

  await bed.gateway.kill();
  await panel.link('gateway');
  await bed.gateway.run();
  await works(panel); // it has told the token by itself

  await panel.page.reload();
  await panel.page.locator('#token').waitFor();
  await give(panel, kToken);
  await works(panel);
});

test('without storage a token in the address is taken', async () => {
  const panel = await openPage({ url: inAddress(), prepare: denyStorage });
  await works(panel);
  assert.equal(panel.page.url(), bed.gateway.url);
});

test('without storage the page works with a gateway that wants no token', async () => {
  const gateway = await Gateway.start(bed.station, { options: ['--id', 'open'] });
  try {
    const panel = await openPage({ url: gateway.url, prepare: denyStorage });
    await works(panel);
    assert.equal(await panel.page.locator('#token').isVisible(), false);
    await panel.page.context().close();
  } finally {
    await gateway.stop();
  }
});

for (const [what, hello] of [
  ['no token', { t: 'hello', v: 1 }],
  ['a wrong token', { t: 'hello', v: 1, token: 'a token & mor' }],
  ['more than the token', { t: 'hello', v: 1, token: `${kToken}!` }],
]) {
  test(`with ${what} a browser is told nothing but the refusal`, async () => {
    const client = await WebSocketClient.connect(bed.gateway.port);
    client.say(hello);
    assert.equal(await client.closed(), 4401);
    assert.deepEqual(client.messages.map((message) => message.t), ['refused']);
  });
}

test('a key before the token presses nothing', async () => {
  const client = await WebSocketClient.connect(bed.gateway.port);
  const { presses } = bed.control;
  client.say({ t: 'key', key: 'KL01', down: true, at: 1 });
  await client.closed();
  assert.deepEqual(client.messages.filter((message) => message.t !== 'refused'), []);
  assert.equal(bed.control.presses, presses);
});
