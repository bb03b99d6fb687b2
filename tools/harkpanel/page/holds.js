// Which keys this page holds, and by what: a finger, a mouse button, a key of the keyboard. No DOM, no
// socket. The rule above all others: a key that nothing holds any more is let go of, and nothing is ever held
// by what cannot be seen to end.

/** @typedef {{key: string, down: boolean, at: number, cancel?: boolean}} KeyEvent */

export class Holds {
  /** @type {Map<string, {sources: Set<string>, downAt: number}>} */
  #held = new Map();
  #tell;
  #show;

  /**
   * @param {(event: KeyEvent) => boolean} tell  sends it on; false: there is nobody to tell
   * @param {(key: string, held: boolean) => void} show
   */
  constructor(tell, show) {
    this.#tell = tell;
    this.#show = show;
  }

  /** Another source holds the key; it goes down with the first. False: nobody to tell, so it is not held. */
  press(key, source, at) {
    const hold = this.#held.get(key);
    if (hold) {
      hold.sources.add(source);
      return true;
    }
    if (!this.#tell({ key, down: true, at })) return false;
    this.#held.set(key, { sources: new Set([source]), downAt: at });
    this.#show(key, true);
    return true;
  }

  /** The source has let go of whatever it held; a key goes up with its last. */
  release(source, at) {
    this.#drop(source, (key, downAt) => this.#tell({ key, down: false, at: Math.max(at, downAt) }));
  }

  /** The source was lost: what only it held goes up, and never as a tap. */
  cancel(source, at) {
    this.#drop(source, (key, downAt) => this.#tellCancel(key, at, downAt));
  }

  /** Whatever holds this key: it goes up. Told even if it is not held: the gateway may think that it is. */
  cancelKey(key, at) {
    const downAt = this.#held.get(key)?.downAt ?? at;
    this.#forget(key);
    this.#tellCancel(key, at, downAt);
  }

  cancelAll(at) {
    for (const key of this.keys()) this.cancelKey(key, at);
  }

  keys() {
    return [...this.#held.keys()];
  }

  isHeld(key) {
    return this.#held.has(key);
  }

  #drop(source, tellUp) {
    for (const [key, hold] of [...this.#held]) {
      if (!hold.sources.delete(source) || hold.sources.size > 0) continue;
      this.#forget(key);
      tellUp(key, hold.downAt);
    }
  }

  #forget(key) {
    if (this.#held.delete(key)) this.#show(key, false);
  }

  #tellCancel(key, at, downAt) {
    this.#tell({ key, down: false, at: Math.max(at, downAt), cancel: true });
  }
}
