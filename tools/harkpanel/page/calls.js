// The list of calls: those that ring on top, each new ring told to those who hear the page.

import { setText } from './labels.js';

/** @typedef {{url: string, name: string, talkWord: string, listenWord: string, rings: boolean}} Call */

const nameOf = (call) => call.name || call.url;
const ringingFirst = (a, b) => Number(b.rings) - Number(a.rings);

/** What a call is doing, in words. */
function wordsOf(call) {
  const parts = [];
  if (call.listenWord && call.listen !== '0') parts.push(`listen ${call.listenWord}`);
  if (call.talkWord && call.talk !== '0') parts.push(`talk ${call.talkWord}`);
  return parts.join(', ');
}

export class Calls {
  #list = document.getElementById('calls');
  #count = document.getElementById('calls-count');
  #announcement = document.getElementById('announce');
  #template = document.getElementById('call-template');
  /** @type {Map<string, HTMLElement>} by URL */
  #rows = new Map();
  #ringing = new Set();
  #shown = null;

  /** @param {(call: Call) => void} take  puts a call on the auto-answer channel */
  constructor(take) {
    this.take = take;
  }

  /** @param {Call[]} calls */
  show(calls) {
    if (calls === this.#shown) return;
    this.#shown = calls;
    const focused = this.#list.querySelector(':focus');
    const urls = new Set(calls.map((call) => call.url));
    for (const [url, row] of this.#rows) {
      if (!urls.has(url)) this.#remove(url, row);
    }
    const rows = [...calls].sort(ringingFirst).map((call) => this.#row(call));
    rows.forEach((row, place) => this.#put(row, place));
    if (focused?.isConnected) focused.focus(); // a row that moved loses it
    this.#count.textContent = calls.length ? `${calls.length}` : '';
    this.#announce(calls);
  }

  #put(row, place) {
    if (this.#list.children[place] !== row) this.#list.insertBefore(row, this.#list.children[place] ?? null);
  }

  #remove(url, row) {
    row.remove();
    this.#rows.delete(url);
  }

  #row(call) {
    const row = this.#rows.get(call.url) ?? this.#make(call.url);
    const name = nameOf(call);
    row.call = call;
    row.dataset.rings = call.rings;
    setText(row.querySelector('.call-name'), name);
    setText(row.querySelector('.call-words'), wordsOf(call));
    setText(row.querySelector('.take-name'), ` ${name} on the auto-answer channel`);
    row.querySelector('.take').disabled = !call.name;
    return row;
  }

  #make(url) {
    const row = this.#template.content.firstElementChild.cloneNode(true);
    row.dataset.url = url;
    row.querySelector('.take').addEventListener('click', () => this.take(row.call));
    this.#rows.set(url, row);
    return row;
  }

  #announce(calls) {
    const ringing = calls.filter((call) => call.rings);
    const news = ringing.filter((call) => !this.#ringing.has(call.url));
    this.#ringing = new Set(ringing.map((call) => call.url));
    if (news.length) this.#announcement.textContent = news.map((call) => `${nameOf(call)} rings`).join(', ');
    else if (!ringing.length) this.#announcement.textContent = '';
  }
}
