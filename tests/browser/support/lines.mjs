// Text that arrives in pieces, as lines: what a process prints, or a station says on its control port.
import { until } from './wait.mjs';

export class Lines {
  all = [];
  times = []; // when each came, on the clock of performance.now()
  #rest = '';
  #each;

  // `each` is called for every line as it comes.
  constructor(each = () => {}) {
    this.#each = each;
  }

  add(text) {
    const parts = (this.#rest + text).split(/[\r\n]+/);
    this.#rest = parts.pop();
    for (const line of parts) {
      if (line === '') continue;
      this.all.push(line);
      this.times.push(performance.now());
      this.#each(line);
    }
  }

  // Where the next line will stand: a mark for see().
  get mark() {
    return this.all.length;
  }

  // The position of the first line behind `from` that holds the text, or matches the pattern; -1 without one.
  find(wanted, from = 0) {
    const holds = typeof wanted === 'string' ? (line) => line.includes(wanted) : (line) => wanted.test(line);
    const index = this.all.slice(from).findIndex(holds);
    return index < 0 ? -1 : from + index;
  }

  // Waits for such a line; returns its position.
  async see(wanted, from = 0) {
    const what = () => `${wanted}, after:\n${this.all.slice(from).slice(-20).join('\n')}`;
    await until(what, () => this.find(wanted, from) >= 0);
    return this.find(wanted, from);
  }
}
