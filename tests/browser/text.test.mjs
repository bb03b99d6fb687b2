// Names from the network are shown as the text that they are, whatever markup is in them.
import assert from 'node:assert/strict';
import { after, afterEach, before, test } from 'node:test';
import { Bed } from './support/bed.mjs';
import { until } from './support/wait.mjs';

const kBold = '<b>x</b>';
const kImage = '<img src=x';
const kAlternate = '<i>"&amp;';
const kShift = '<u>Z</u>&';
const kCaller = '<svg/onload=hurt=1>';
const kHurt = '<img src=x onerror=hurt=1>';

const sources = `"${kBold}" <quillnet:239.192.4.213>;trgl=4;gpio=1;gpiol=1;gpiot=2
	alt ${kAlternate}
"${kImage}" <quillnet:239.192.4.210>;trgl=4
`;
const channels = `SHIFT LABL:"Plain"
HARKCH 1 LABL:"${kBold}"
HARKCH 2 LABL:"${kImage}"

SHIFT LABL:"${kShift}"
HARKCH 3 LABL:"${kBold}"
`;

let bed;
before(async () => {
  bed = await Bed.lay({ station: { name: '<s>A</s>', sources, channels } });
  await bed.tapsTake(1);
});
afterEach(() => bed?.isAtRest());
after(() => bed?.end());

// The page has no element but its own, and nothing of a name ran.
async function isUnhurt(panel) {
  assert.equal(await panel.page.evaluate(() => window.hurt), undefined);
  assert.equal(await panel.page.locator('b, i, u, s, img, svg[onload], script:not([src])').count(), 0);
}

test('labels, alternate texts and the name of the station', async () => {
  const panel = await bed.panel();
  await panel.label(1, kBold);
  await panel.label(2, kImage);
  assert.equal((await panel.channel(1).locator('.alt').textContent()).trim(), kAlternate);
  await until('the name of the station', async () => (await panel.page.textContent('body')).includes('<s>A</s>'));
  await isUnhurt(panel);
});

test('the list of calls, and the caller that is taken from it', async () => {
  const panel = await bed.panel();
  for (const name of [kCaller, kHurt]) {
    const url = `\\"${name}\\" <quillnet:239.192.9.${name.length}>`;
    bed.control.say(`CALL URL:"${url}" LISTEN:1`);
    await until(`the call of ${name}`, async () => (await panel.page.locator('#calls').textContent()).includes(name));
    await isUnhurt(panel);
    await panel.page.locator('#calls li', { hasText: name }).locator('button.take').click();
    await panel.label('AA', name.slice(0, 10));
    await isUnhurt(panel);
    bed.control.say(`CALL URL:"${url}" LISTEN:0`);
  }
  bed.control.say('HARKUI');
});

test('the names of shifts, in the file and typed by an operator', async () => {
  const panel = await bed.panel();
  const names = await panel.page.$$eval('#shift', ([field]) => [...field.list.options].map((option) => option.value));
  assert.deepEqual(names, ['Plain', kShift]);
  for (const [name, label] of [[kShift, ''], ['<br>&lt;', ''], ['Plain', kBold]]) {
    await panel.page.fill('#shift', name);
    await panel.page.click('#shift-go');
    await panel.label(1, label);
    await until(`${name} as chosen`, async () => (await panel.page.textContent('#shift-chosen')) === name);
    await isUnhurt(panel);
  }
});

test('a name beyond ASCII is told as it is written', async () => {
  const panel = await bed.panel();
  bed.control.say('CALL URL:"\\"Zoë ⚡ 東\\" <quillnet:239.192.9.77>" LISTEN:1');
  await until('the name', async () => (await panel.page.locator('#calls').textContent()).includes('Zoë ⚡ 東'));
  bed.control.say('CALL URL:"quillnet:239.192.9.77" LISTEN:0');
});
