// Fingers, mouse and keyboard on the keys of the page. Listens on the document, so that the end of a press is
// seen wherever it happens; and whatever could hide that end lets go of the keys at once.

import { Holds } from './holds.js';

const PRIMARY_BUTTON = 1; // of PointerEvent.buttons
const PRESSING_KEYS = [' ', 'Enter'];

const pointerSource = (event) => `pointer ${event.pointerId}`;
// By the place of the key: what it writes is another when Alt or AltGr comes down meanwhile.
const keyboardSource = ({ code, key }) => `keyboard ${code || key}`;

/** The key of the panel that an event is on, if it is one that can be pressed. */
function keyOf(event) {
  const element = event.target instanceof Element ? event.target.closest('button[data-key]') : null;
  return element && !element.disabled ? element : null;
}

export class Keys {
  /** @type {Map<string, HTMLButtonElement>} */
  #elements = new Map();
  #holds;
  /** @type {Set<string>} of the keyboard, that may hold something */
  #keyboard = new Set();

  /** @param {(event: import('./holds.js').KeyEvent) => boolean} tell  false: there is nobody to tell */
  constructor(tell) {
    this.#holds = new Holds(tell, (key, held) => this.#elements.get(key)?.toggleAttribute('data-held', held));
    this.#listenToPointers();
    this.#listenToKeyboard();
    this.#listenToLosses();
  }

  /** @param {HTMLButtonElement} element with its data-key */
  add(element) {
    this.#elements.set(element.dataset.key, element);
  }

  /** The element is about to go; a hold of it ends. */
  remove(element) {
    this.#letGoOf(element.dataset.key);
    this.#elements.delete(element.dataset.key);
  }

  /** A key that cannot be pressed cannot stay held either. */
  setDisabled(element, disabled) {
    if (element.disabled === disabled) return;
    if (disabled) this.#letGoOf(element.dataset.key);
    element.disabled = disabled;
  }

  /** The gateway let go of these. It is told so in turn: a new press may have crossed its message. */
  released(keys) {
    for (const key of keys) this.#holds.cancelKey(key, performance.now());
  }

  cancelAll() {
    this.#holds.cancelAll(performance.now());
  }

  // ---- pointers ----

  #listenToPointers() {
    const cancel = (event) => this.#cancel(pointerSource(event));
    document.addEventListener('pointerdown', (event) => this.#pointerDown(event), true);
    document.addEventListener('pointermove', (event) => this.#pointerMove(event), true);
    document.addEventListener('pointerup', (event) => this.#pointerUp(event), true);
    document.addEventListener('pointercancel', cancel, true);
    document.addEventListener('lostpointercapture', cancel, true); // behind a pointerup nothing is left of it
    document.addEventListener('contextmenu', (event) => {
      const onKey = event.target instanceof Element && event.target.closest('button[data-key]');
      if (onKey || this.#holds.keys().length > 0) event.preventDefault(); // a menu would take the end of a hold
    });
  }

  #pointerDown(event) {
    const element = keyOf(event);
    if (!element || event.button !== 0) return;
    this.#cancel(pointerSource(event)); // it presses anew, so an end was missed
    if (!this.#holds.press(element.dataset.key, pointerSource(event), event.timeStamp)) return;
    try {
      element.setPointerCapture(event.pointerId);
    } catch {
      this.#cancel(pointerSource(event)); // without capture, its end outside of the window would not be told
    }
  }

  // While another button is down, the end of the primary one comes as a mere move.
  #pointerMove(event) {
    if (!(event.buttons & PRIMARY_BUTTON)) this.#pointerUp(event);
  }

  #pointerUp(event) {
    this.#holds.release(pointerSource(event), event.timeStamp);
  }

  // ---- keyboard ----

  #listenToKeyboard() {
    document.addEventListener('keydown', (event) => this.#keyDown(event), true);
    document.addEventListener('keyup', (event) => this.#keyUp(event), true);
    document.addEventListener('click', (event) => this.#click(event), true);
    document.addEventListener('focusout', () => this.#cancelKeyboard());
  }

  #keyDown(event) {
    if (event.key === 'Escape') return this.cancelAll();
    if (event.key === 'Meta') return this.#cancelKeyboard(); // under it, a Mac tells of no key that goes up
    const element = keyOf(event);
    if (!element || !PRESSING_KEYS.includes(event.key)) return;
    event.preventDefault(); // neither a click nor a scrolled page
    if (event.repeat || event.ctrlKey || event.altKey || event.metaKey) return;
    const source = keyboardSource(event);
    if (this.#holds.press(element.dataset.key, source, event.timeStamp)) this.#keyboard.add(source);
  }

  #keyUp(event) {
    if (PRESSING_KEYS.includes(event.key) && keyOf(event)) event.preventDefault();
    this.#keyboard.delete(keyboardSource(event));
    this.#holds.release(keyboardSource(event), event.timeStamp);
  }

  // Screen readers and voice control click, with neither a finger nor a key: a tap.
  #click(event) {
    const element = keyOf(event);
    if (!element || event.detail !== 0) return;
    if (!this.#holds.press(element.dataset.key, 'click', event.timeStamp)) return;
    this.#holds.release('click', event.timeStamp);
  }

  // ---- what ends a hold without a word of its own ----

  #listenToLosses() {
    const cancelAll = () => this.cancelAll();
    window.addEventListener('blur', cancelAll);
    window.addEventListener('pagehide', cancelAll);
    document.addEventListener('freeze', cancelAll);
    document.addEventListener('visibilitychange', () => {
      if (document.visibilityState === 'hidden') cancelAll();
    });
  }

  #cancel(source) {
    this.#holds.cancel(source, performance.now());
  }

  #cancelKeyboard() {
    for (const source of this.#keyboard) this.#cancel(source);
    this.#keyboard.clear();
  }

  #letGoOf(key) {
    if (this.#holds.isHeld(key)) this.#holds.cancelKey(key, performance.now());
  }
}
