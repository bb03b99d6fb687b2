// axe-core finds nothing on the page, in each state that an operator meets, on phone and desk, dark and light.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import { createRequire } from 'node:module';
import { after, afterEach, before, test } from 'node:test';
import { Bed } from './support/bed.mjs';
import { kSizes, newContext } from './support/browser.mjs';
import { Gateway } from './support/gateway.mjs';
import { Panel } from './support/panel.mjs';

const axe = fs.readFileSync(createRequire(import.meta.url).resolve('axe-core/axe.min.js'), 'utf8');
const kDesk = 2;

let bed;
before(async () => {
  bed = await Bed.lay();
  await bed.tapsTake(3000);
});
afterEach(() => bed?.isAtRest());
after(() => bed?.end());

async function isClean(page, where) {
  if (!(await page.evaluate(() => 'axe' in window))) await page.evaluate(axe);
  const found = await page.evaluate(async () => {
    const { violations } = await window.axe.run(document, { resultTypes: ['violations'] });
    return violations.map(({ id, help, nodes }) => `${id}: ${help}: ${nodes.map((node) => node.html).join(' | ')}`);
  });
  assert.deepEqual(found, [], where);
}

// The page in both colour schemes; a lamp that is in the middle of its flash has a colour of that moment only, so the
// animations stand still.
async function isCleanInBoth(panel, where) {
  for (const colorScheme of ['dark', 'light']) {
    await panel.page.emulateMedia({ colorScheme, reducedMotion: 'reduce' });
    await isClean(panel.page, `${where}, ${colorScheme}`);
  }
}

for (const name of ['phone', 'tablet', 'desk']) {
  test(`a ${name}, idle and in calls, assigning, and with a lost station`, async () => {
    const panel = await bed.panel(kSizes[name]);
    await isCleanInBoth(panel, 'idle');

    for (const key of ['KL01', 'KT05', 'MICM', 'SPKM']) {
      await panel.tap(key);
      await panel.lamp(key, 'on');
    }
    bed.rings(kDesk);
    await panel.lamp('KLAA', 'flash');
    await panel.tap('ASGN');
    await panel.lamp('ASGN', 'flash');
    await isCleanInBoth(panel, 'in calls, assigning');
    await panel.tap('ASGN');
    await panel.lamp('ASGN', 'off');
    await panel.press('KT06');
    await panel.holds('KT06');
    await isCleanInBoth(panel, 'with a held key');
    await panel.page.keyboard.press('Escape');
    await panel.release();
    bed.ringsNoMore(kDesk);
    await panel.lamp('KLAA', 'off');

    await bed.station.endDaemon();
    await panel.link('lost');
    await isCleanInBoth(panel, 'lost');
    await bed.station.run();
    await panel.link('up');
    await bed.tapsTake(3000);
  });
}

test('the question for the token, and a lost gateway', async () => {
  const gateway = await Gateway.start(bed.station, { token: 'some token', options: ['--id', 'asks'] });
  const panel = new Panel(await (await newContext(bed.browser, kSizes.phone)).newPage());
  bed.panels.push(panel);
  await panel.page.goto(gateway.url);
  await panel.page.locator('#token').waitFor();
  await isCleanInBoth(panel, 'token');
  await panel.page.locator('#token input').fill('some token');
  await panel.page.locator('#token button').click();
  await panel.link('up');
  await gateway.stop();
  await panel.link('gateway');
  await isCleanInBoth(panel, 'no gateway');
});
