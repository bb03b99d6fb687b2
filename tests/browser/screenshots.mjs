// Takes the pictures of the three layouts, idle and in a call, and of harkctl: `node screenshots.mjs FOLDER`. Two stations
// run, so that what the pictures show is what an operator would see.
import { spawnSync } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { Bed, kStationB } from './support/bed.mjs';
import { kSizes, newContext } from './support/browser.mjs';
import { Panel } from './support/panel.mjs';

const [folder] = process.argv.slice(2);
if (folder === undefined) {
  console.error('usage: node screenshots.mjs FOLDER');
  process.exit(2);
}
fs.mkdirSync(folder, { recursive: true });

// A crew of a day: who is on the keys of Studio A.
const people = ['Control', 'Studio B', 'Newsroom', 'Producer', 'Outside 1', 'Outside 2', 'Sports', 'Weather', 'Archive',
  'Engineer', 'Edit 1', 'Edit 2', 'Phones', 'Concert', 'Gallery', 'Traffic'];
const alternate = {
  Control: 'Room 2.04', Newsroom: 'Desk', Producer: 'Ines', 'Outside 1': 'Harbour', Engineer: 'On call',
};
const kLoud = 'Control'; // above our level: its lamp winks
const kCaller = 7; // the contact of Reception, which has no key

const { sources: base } = kStationB;
const address = (n) => `239.192.6.${n + 1}`;
const lines = people
  .filter((name) => name !== 'Studio B')
  .map((name, n) => `"${name}" <quillnet:${address(n)}>;trgl=${name === kLoud ? 6 : 4};gpio=5;gpiol=1;gpiot=2\n` +
    (alternate[name] ? `\talt ${alternate[name]}\n` : ''))
  .join('');
const reception = `"Reception" <quillnet:239.192.6.99>;trgl=2;gpio=${kCaller};gpiol=1;gpiot=2\n`;
const studios = base.split('\n').filter((line) => line.startsWith('"Studio')).join('\n');
const channels = `SHIFT LABL:"Morning"\n${people.map((name, i) => `HARKCH ${i + 1} LABL:"${name}"\n`).join('')}\n` +
  'SHIFT LABL:"Evening"\nHARKCH 1 LABL:"Control"\n\n';

const a = await Bed.lay({ station: { sources: `${lines}${reception}${studios}\n`, channels } });
const b = await Bed.lay({ station: kStationB, browser: false });
await a.tapsTake(3000);
await b.tapsTake(3000);

// A lamp that flashes is taken while it is lit: the animations stand at their first moment.
async function take(name, state) {
  const { page } = panels[name];
  await page.mouse.move(0, 0);
  await page.evaluate(() => {
    window.scrollTo(0, 0);
    for (const one of document.getAnimations()) {
      one.pause();
      one.currentTime = 0;
    }
  });
  const file = path.join(folder, `${name}-${state}.png`);
  await page.screenshot({ path: file });
  await page.evaluate(() => document.getAnimations().forEach((one) => one.play()));
  console.log(file);
}

// What harkctl says of station A, as in a terminal.
async function takeTerminal(name, commands) {
  const text = commands.map((words) => {
    const { stdout } = spawnSync(process.env.HARKCTL, ['--station', a.station.place, ...words], { encoding: 'utf8' });
    return `$ harkctl ${words.join(' ')}\n${stdout}`;
  }).join('\n').replaceAll(a.station.place, '127.0.0.1:4013');
  const context = await newContext(a.browser, { viewport: { width: 820, height: 200 } });
  const page = await context.newPage();
  await page.setContent('<pre></pre>');
  const terminal = page.locator('pre');
  await terminal.evaluate((pre, said) => {
    pre.textContent = said;
    pre.style.cssText = 'margin: 0; padding: 16px; width: max-content; background: #0d1014; color: #dfe6ee; ' +
      'font: 15px/1.5 "DejaVu Sans Mono", monospace';
  }, text.trimEnd());
  const file = path.join(folder, `${name}.png`);
  await terminal.screenshot({ path: file });
  console.log(file);
}

const panels = {};
for (const [name, size] of Object.entries(kSizes)) {
  panels[name] = await a.panel({ ...size, colorScheme: 'dark' });
  await panels[name].label(1, people[0]);
}
const far = await Panel.open(await newContext(a.browser), b.gateway);

const shift = panels.desk.page;
await shift.fill('#shift', 'Morning');
await shift.click('#shift-go');
for (const panel of Object.values(panels)) await panel.sees('#shift-chosen:text-is("Morning")');
for (const name of Object.keys(kSizes)) await take(name, 'idle');

// Studio B is talked with, the newsroom is listened to, the producer hears us, and the reception rings.
const near = panels.desk;
for (const key of ['KL02', 'KT02']) {
  await near.tap(key);
  await near.lamp(key, 'flash');
}
await far.press('KT01');
for (const key of ['KL02', 'KT02']) await near.lamp(key, 'on');
for (const key of ['KL03', 'KT04']) {
  await near.tap(key);
  await near.lamp(key, 'on');
}
a.rings(kCaller);
for (const panel of Object.values(panels)) await panel.lamp('KLAA', 'flash');
for (const name of Object.keys(kSizes)) await take(name, 'call');
await takeTerminal('harkctl', [['status'], ['calls'], ['panels']]);

await far.release();
await a.end();
await b.end();
