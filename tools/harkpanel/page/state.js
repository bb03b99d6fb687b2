// What the gateway has told of the station, and the questions that the page asks of it. No DOM.

/** @typedef {'off' | 'on' | 'flash' | 'wink'} Lamp */

const NOTHING_KNOWN = Object.freeze({
  station: { link: 'connecting', name: '', why: '', retryMs: 0 },
  channels: [],
  autoAnswer: { text: '', alt: '', listen: 'off', talk: 'off' },
  keys: { TGRP: 'off', ASGN: 'off', SPKM: 'off', MICM: 'off' },
  speaker: 0,
  outputs: { talk: false, listen: false },
  calls: [],
  shifts: { names: [], chosen: '' },
});

export class State {
  #sections = NOTHING_KNOWN;
  /** @type {Map<number, object>} */
  channels = new Map();

  /** Takes a state message over: sections come whole, of the channels those that have changed. */
  merge(message) {
    const { t: _, channels, ...sections } = message;
    this.#sections = { ...this.#sections, ...sections };
    for (const channel of channels ?? []) this.channels.set(channel.n, channel);
  }

  /** The gateway is gone: what it showed stays to be read, but no lamp is known any more. */
  darken() {
    const { autoAnswer, keys } = this.#sections;
    this.#sections = {
      ...this.#sections,
      autoAnswer: { ...autoAnswer, listen: 'off', talk: 'off' },
      keys: Object.fromEntries(Object.keys(keys).map((key) => [key, 'off'])),
      outputs: { talk: false, listen: false },
      calls: [],
    };
    for (const [n, channel] of this.channels) {
      this.channels.set(n, { ...channel, listen: 'off', talk: 'off' });
    }
  }

  get station() { return this.#sections.station; }
  get autoAnswer() { return this.#sections.autoAnswer; }
  get keys() { return this.#sections.keys; }
  get speaker() { return this.#sections.speaker; }
  get outputs() { return this.#sections.outputs; }
  get calls() { return this.#sections.calls; }
  get shifts() { return this.#sections.shifts; }

  /** What channel keys are for at present. @returns {'call' | 'assign' | 'group'} */
  get mode() {
    if (this.keys.TGRP === 'flash') return 'group';
    return this.keys.ASGN === 'flash' ? 'assign' : 'call';
  }

  /** Level of a fader in tenths of a dB. */
  level(fader) {
    return fader === 'SPKV' ? this.speaker : this.channels.get(Number(fader.slice(2)))?.level ?? 0;
  }

  /** The call of the station with this label, if one is up. */
  callOf(label) {
    return label ? this.calls.find((call) => call.name === label) : undefined;
  }
}
