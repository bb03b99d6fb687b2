// What most tests stand on: a station with twenty keys and people who can call it, a gateway, a browser.
import { newContext, openBrowser } from './browser.mjs';
import { Gateway } from './gateway.mjs';
import { ownAddress } from './network.mjs';
import { Panel } from './panel.mjs';
import { Station } from './station.mjs';

// Who stands where; each quillnet source with a contact can ask for a call (`rings`), by the port after its `gpio`.
const kSources = `"Ext 1" <quillnet:239.192.4.213>;trgl=4;gpio=1;gpiol=1;gpiot=2
	alt Gate one
"News" <quillnet:239.192.4.210>;trgl=4
	alt Newsroom
"Desk" <quillnet:239.192.4.214>;trgl=2;gpio=2;gpiol=1;gpiot=2
"Lobby" <quillnet:239.192.4.215>;trgl=2;gpio=3;gpiol=1;gpiot=2
"Dock" <quillnet:239.192.4.217>;trgl=2;gpio=6;gpiol=1;gpiot=2
"Gate" <quillnet:239.192.4.218>;trgl=2;gpio=7;gpiol=1;gpiot=2
"Above" <quillnet:239.192.4.216>;trgl=6;gpio=4;gpiol=1;gpiot=2
"Studio A" <hark:${ownAddress(1)}>;trgl=4
"Studio B" <hark:${ownAddress(2)}>;trgl=6
`;
const kLines = [...Array(20).keys()]
  .map((i) => `"Line ${i + 1}" <quillnet:239.192.7.${i + 1}>;trgl=4;gpio=5;gpiol=1;gpiot=2\n`)
  .join('');

// Key 19 calls nobody; key 4 is of a station that may not be answered without a key.
export const kLabels = ['Ext 1', 'News', 'Studio B', 'Above', ...[...Array(14).keys()].map((i) => `Line ${i + 5}`), '',
  'Line 20'];
const shift = (name, labels) =>
  `SHIFT LABL:"${name}"\n${labels.map((label, i) => (label ? `HARKCH ${i + 1} LABL:"${label}"\n` : '')).join('')}\n`;

export const kStationA = {
  sources: kSources + kLines,
  channels: shift('Morning', kLabels) + shift('Evening', ['News', '', 'Line 3']),
};
export const kStationB = {
  number: 2,
  name: 'Studio B',
  level: 6, // above that of Studio A, which so rings here
  source: '239.192.0.88',
  sources: kSources + kLines,
  channels: shift('Morning', ['Studio A']),
};

export class Bed {
  panels = [];

  static async lay({ station = kStationA, gateway = {}, browser = true } = {}) {
    const bed = new Bed();
    bed.station = await Station.start(station);
    // What was dropped is forgotten soon, so that one test does not wait for the other.
    bed.station.control.say('HARK DROPFLASH:100');
    bed.gateway = await Gateway.start(bed.station, gateway);
    if (browser) bed.browser = await openBrowser();
    return bed;
  }

  get control() {
    return this.station.control;
  }

  // A page of its own, looked after to the end of the test.
  async panel(options = {}) {
    const panel = await Panel.open(await newContext(this.browser, options), this.gateway);
    this.panels.push(panel);
    return panel;
  }

  // From here on a press of less than `ms` is a tap. Tests of taps give it plenty, those of holds nearly nothing: then
  // it does not matter how slow the machine is.
  async tapsTake(ms) {
    this.control.say(`HARK LATCH:${ms}`);
    await this.control.ask('HARK', new RegExp(`^HARK .*LATCH:${ms} `));
  }

  // The far end behind the contact `gpio` asks for a call, or is done with it.
  rings(gpio) {
    this.station.mixer.say(`GPO ${gpio + 1} Lxxxx`);
  }

  ringsNoMore(gpio) {
    this.station.mixer.say(`GPO ${gpio + 1} Hxxxx`);
  }

  // After each test: nothing complained, no key is down, no call is up.
  async isAtRest() {
    const panels = this.panels.splice(0);
    for (const panel of panels) await panel.page.context().close();
    await this.control.noKeyIsDown();
    await this.control.callsAre().catch(async (error) => {
      await this.control.dropAll(); // the next test is not to fail for this one
      throw error;
    });
    for (const panel of panels) panel.looksHealthy();
  }

  async end() {
    await this.browser?.close();
    await this.gateway?.stop();
    await this.station?.stop();
  }
}
