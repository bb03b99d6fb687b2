// Signs: how the panel stands with its gateway and its station, which paths are open, and hints to the
// operator.

import { setText } from './labels.js';

const TICK = 250;
const HINT_TIME = 6000;

const RELEASED_WHY = {
  silent: 'This page was not heard for a while, so its keys were let go of.',
  station: 'The station is not there: the key was let go of.',
  held: 'Keys are not assigned while one of them is held.',
};
const MODE_HINTS = {
  call: '',
  assign: (label) =>
    `Press the key that is to ${label ? `call ${label}` : 'be cleared'}. Assign again: leave it as it is.`,
  group: () => 'Press the keys of the members of the group. Group again: done.',
};

/** The sign of the link, the time until the next attempt, and the key that makes it now. */
export class LinkSign {
  #text = document.getElementById('link');
  #countdown = document.getElementById('retry-in');
  #tryNow = document.getElementById('try-now');
  #retryAt = 0;
  #timer = 0;

  /** @param {() => void} tryNow */
  constructor(tryNow) {
    this.#tryNow.addEventListener('click', tryNow);
  }

  /** @param {{link: string, why: string, retryMs: number}} station */
  showStation({ link, why, retryMs }) {
    // The text is read out when it changes: a station that is away for a night is not told of anew with each attempt.
    const lost = `Station lost: ${why || 'no reason known'}`;
    const texts = { up: 'Connected', connecting: why ? lost : 'Calling the station', lost };
    this.#show(link, texts[link] ?? link, link === 'lost' ? retryMs : 0);
  }

  /** @param {string} why  what the gateway said before it closed, if anything */
  showGateway(why) {
    this.#show('gateway', why ? `Gateway: ${why}` : 'Gateway lost, trying again', 0);
  }

  showTokenWanted() {
    this.#show('gateway', 'Token wanted', 0);
    this.#tryNow.hidden = true;
  }

  #show(link, text, retryMs) {
    document.body.dataset.link = link;
    setText(this.#text, text);
    this.#tryNow.hidden = link === 'up' || link === 'connecting';
    this.#retryAt = retryMs > 0 ? performance.now() + retryMs : 0;
    clearInterval(this.#timer);
    this.#timer = this.#retryAt ? setInterval(() => this.#count(), TICK) : 0;
    this.#count();
  }

  // Beside the sign and not in it: a live text would be read out each second.
  #count() {
    const seconds = Math.ceil((this.#retryAt - performance.now()) / 1000);
    setText(this.#countdown, this.#retryAt && seconds > 0 ? `again in ${seconds} s` : '');
  }
}

/** Whether somebody hears us, and we somebody. */
export function showOutputs({ talk, listen }) {
  showOutput('out-talk', talk);
  showOutput('out-listen', listen);
}

function showOutput(id, on) {
  const element = document.getElementById(id);
  element.dataset.on = on;
  setText(element.querySelector('.out-word'), on ? 'open' : 'closed');
}

/** A line for the operator: what to press next, or why a key went up. */
export class Hint {
  #text = document.getElementById('hint');
  #mode = '';
  #timer = 0;

  /** @param {import('./state.js').State} state */
  showMode(state) {
    const hint = MODE_HINTS[state.mode];
    this.#mode = hint && hint(state.autoAnswer.text);
    if (!this.#timer) this.#write(this.#mode);
  }

  showReleased(why) {
    this.#write(RELEASED_WHY[why] ?? `A key was let go of: ${why}`);
    clearTimeout(this.#timer);
    this.#timer = setTimeout(() => {
      this.#timer = 0;
      this.#write(this.#mode);
    }, HINT_TIME);
  }

  #write(text) {
    setText(this.#text, text);
  }
}
