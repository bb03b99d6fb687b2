// Channels: a card for each, made once and then only changed in place, since a finger may be on it. The
// auto-answer channel is one more, without a fader.

import { channelWord, showLamp } from './lamps.js';
import { setText, showLabel, watchLabel } from './labels.js';
import { Fader } from './volume.js';

const AUTO_ANSWER = 'AA';
const twoDigits = (n) => String(n).padStart(2, '0');

/** One card of the page: names, the two halves of its key, and a fader where it has one. */
class Card {
  #keys;
  #fader = null;

  /**
   * @param {HTMLElement} element
   * @param {string} number two digits, or AA
   * @param {import('./keys.js').Keys} keys
   */
  constructor(element, number, keys) {
    this.element = element;
    this.#keys = keys;
    this.label = element.querySelector('.label');
    this.alt = element.querySelector('.alt');
    this.talk = this.#half('.talk', `KT${number}`);
    this.listen = this.#half('.listen', `KL${number}`);
    watchLabel(this.label);
    watchLabel(this.alt);
  }

  addFader(number, send) {
    const input = this.element.querySelector('input');
    input.dataset.fader = `KL${number}`;
    this.#fader = new Fader(input, this.element.querySelector('output'), send);
    this.#fader.listenToWheel(this.element);
  }

  /** Names of its parts, for those who hear the page. */
  name(text) {
    for (const half of [this.talk, this.listen]) setText(half.querySelector('.for'), `${text}, `);
    this.element.querySelector('input')?.setAttribute('aria-label', `${text}, volume`);
  }

  /** @param {object} channel of a state message; `mode`, `call`: see State */
  show(channel, mode, call) {
    showLabel(this.label, channel.text);
    showLabel(this.alt, channel.alt);
    const barred = channel.noTalk && mode === 'call' && channel.talk === 'off';
    showLamp(this.talk, channel.talk, barred ? 'no talk' : channelWord(channel.talk, mode, call?.talk));
    showLamp(this.listen, channel.listen, channelWord(channel.listen, mode, call?.listen));
    this.element.toggleAttribute('data-empty', channel.text === '');
    this.element.toggleAttribute('data-rings', channel.talk === 'flash' || channel.listen === 'flash');
  }

  /** A key of no use cannot be pressed; while keys are assigned or grouped, each of them is of use. */
  enable(channel, mode) {
    const empty = channel.text === '';
    this.#keys.setDisabled(this.talk, mode === 'call' && (empty || channel.noTalk));
    this.#keys.setDisabled(this.listen, mode === 'call' && empty);
    this.element.querySelector('input').disabled = empty;
    this.#fader.show(channel.level);
  }

  remove() {
    this.#keys.remove(this.talk);
    this.#keys.remove(this.listen);
    this.element.remove();
  }

  #half(selector, key) {
    const element = this.element.querySelector(selector);
    element.dataset.key = key;
    this.#keys.add(element);
    return element;
  }
}

export class Channels {
  #grid;
  #keys;
  #send;
  /** @type {Map<number, Card>} */
  #cards = new Map();
  #autoAnswer;

  /**
   * @param {import('./keys.js').Keys} keys
   * @param {(message: object) => boolean} send
   */
  constructor(keys, send) {
    this.#grid = document.getElementById('channels');
    this.#keys = keys;
    this.#send = send;
    this.#autoAnswer = new Card(document.querySelector('.auto-answer'), AUTO_ANSWER, keys);
  }

  /** The panel has the channels first to last; cards that are there already stay. */
  lay(first, last) {
    for (const [n, card] of this.#cards) {
      if (n >= first && n <= last) continue;
      card.remove();
      this.#cards.delete(n);
    }
    for (let n = first; n <= last; ++n) {
      const { element } = this.#cards.get(n) ?? this.#make(n);
      const there = this.#grid.children[n - first] ?? null;
      if (there !== element) this.#grid.insertBefore(element, there); // one that is moved loses the focus
    }
  }

  /** @param {import('./state.js').State} state */
  show(state) {
    const { mode } = state;
    this.#grid.dataset.mode = mode;
    for (const [n, card] of this.#cards) {
      const channel = state.channels.get(n);
      if (!channel) continue;
      card.name(channel.text || `Channel ${n}`);
      card.element.setAttribute('aria-label', `Channel ${n}${channel.text && `, ${channel.text}`}`);
      card.show(channel, mode, state.callOf(channel.text));
      card.enable(channel, mode);
    }
  }

  /** @param {import('./state.js').State} state */
  showAutoAnswer(state) {
    const { autoAnswer } = state;
    this.#autoAnswer.name(`Auto-answer ${autoAnswer.text}`.trim());
    this.#autoAnswer.show(autoAnswer, 'call', state.callOf(autoAnswer.text));
  }

  #make(n) {
    const template = document.getElementById('channel-template');
    const element = template.content.firstElementChild.cloneNode(true);
    element.dataset.channel = n;
    element.querySelector('.number').textContent = n;
    const card = new Card(element, twoDigits(n), this.#keys);
    card.addFader(twoDigits(n), this.#send);
    this.#cards.set(n, card);
    return card;
  }
}
