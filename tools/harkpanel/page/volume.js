// Faders: drag and arrow keys, the wheel over a channel, the level in words. A fader sends at most one
// message a frame, and a level from the station waits while a finger is on it.

const CLICK = 10; // tenths of a dB: one step of the station's scale
const QUIET = 400; // ms after the last touch, before the fader shows the station's level again
const SPEAKER_OFF = -799; // a speaker level below it is off
const MOST_CLICKS = 20; // waiting to be sent, one a frame
const WHEEL_PAUSE = 200; // ms without a wheel event: a new turn
const NOTCH = 110; // px of a wheel with notches, roughly: browsers say 100 to 120
const COARSE = 50; // px in one event: a wheel with notches
const SMOOTH = 40; // px of a touch pad for one step
const LINE = 36; // px of a line, where a wheel counts in those

const STEPS = {
  ArrowUp: 1, ArrowRight: 1, ArrowDown: -1, ArrowLeft: -1, PageUp: 6, PageDown: -6,
};

/** A level as text: "-6.0 dB". */
export function levelText(fader, level) {
  if (fader === 'SPKV' && level < SPEAKER_OFF) return 'off';
  const sign = level > 0 ? '+' : '';
  return `${sign}${(level / 10).toFixed(1)} dB`;
}

/** How many steps a wheel has turned, up or down: a notch is one, and of a touch pad so many pixels. */
class Wheel {
  #rest = 0;
  #at = -Infinity;

  steps(event) {
    const px = -event.deltaY * (event.deltaMode === WheelEvent.DOM_DELTA_PIXEL ? 1 : LINE);
    if (event.timeStamp - this.#at > WHEEL_PAUSE || px * this.#rest < 0) this.#rest = 0;
    this.#at = event.timeStamp;
    if (Math.abs(px) >= COARSE) return Math.sign(px) * Math.max(1, Math.round(Math.abs(px) / NOTCH));
    this.#rest += px;
    const steps = Math.trunc(this.#rest / SMOOTH);
    this.#rest -= steps * SMOOTH;
    return steps;
  }
}

export class Fader {
  #input;
  #output;
  #send;
  #name;
  #level = 0; // as the station says
  #to = null; // waiting to be sent
  #clicks = 0; // the same, of steps
  #frame = 0;
  #touched = false; // a pointer is on it
  #quiet = 0; // timer
  #drawn = null;

  /**
   * @param {HTMLInputElement} input with its data-fader
   * @param {HTMLOutputElement} output
   * @param {(message: object) => boolean} send
   */
  constructor(input, output, send) {
    this.#input = input;
    this.#output = output;
    this.#send = send;
    this.#name = input.dataset.fader;
    input.addEventListener('input', () => this.#dragged());
    input.addEventListener('keydown', (event) => this.#keyDown(event));
    input.addEventListener('pointerdown', () => { this.#touched = true; });
    for (const end of ['pointerup', 'pointercancel', 'lostpointercapture', 'change', 'blur']) {
      input.addEventListener(end, () => this.#letGo());
    }
    this.#draw(0);
  }

  /** Turns the wheel over this element into steps. */
  listenToWheel(element) {
    const wheel = new Wheel();
    element.addEventListener('wheel', (event) => {
      if (this.#input.disabled || event.ctrlKey || event.deltaY === 0) return;
      event.preventDefault(); // the page stays where it is
      this.step(wheel.steps(event));
    }, { passive: false });
  }

  /** The level that the station says. */
  show(level) {
    this.#level = level;
    if (this.#input.disabled) this.#touched = false; // it is told of no end of a drag
    if (!this.#touched && !this.#quiet) this.#draw(level);
  }

  /** Moves by steps of the station's own scale. */
  step(steps) {
    this.#clicks = Math.max(-MOST_CLICKS, Math.min(MOST_CLICKS, this.#clicks + steps));
    this.#ask();
  }

  #dragged() {
    this.#to = Number(this.#input.value);
    this.#drawn = this.#to;
    this.#clicks = 0;
    this.#write(this.#to);
    this.#hush();
    this.#ask();
  }

  #keyDown(event) {
    const steps = STEPS[event.key];
    if (!steps || event.ctrlKey || event.altKey || event.metaKey) return;
    event.preventDefault(); // the browser's step is not always the station's
    this.step(steps);
  }

  #letGo() {
    if (!this.#touched) return;
    this.#touched = false;
    this.#hush();
  }

  #hush() {
    clearTimeout(this.#quiet);
    this.#quiet = setTimeout(() => {
      this.#quiet = 0;
      this.show(this.#level);
    }, QUIET);
  }

  #ask() {
    this.#frame ||= requestAnimationFrame(() => this.#flush());
  }

  #flush() {
    this.#frame = 0;
    if (this.#to !== null) {
      this.#send({ t: 'fader', key: this.#name, to: this.#to });
      this.#to = null;
    } else if (this.#clicks !== 0) {
      const click = Math.sign(this.#clicks);
      this.#clicks -= click;
      this.#send({ t: 'fader', key: this.#name, by: click * CLICK });
    }
    if (this.#clicks !== 0) this.#ask();
  }

  #draw(level) {
    if (level === this.#drawn) return;
    this.#drawn = level;
    this.#input.value = level;
    this.#write(level);
  }

  #write(level) {
    const text = levelText(this.#name, level);
    this.#output.textContent = text;
    this.#input.setAttribute('aria-valuetext', text);
    const { min, max } = this.#input;
    const part = Math.max(0, Math.min(1, (level - min) / (max - min)));
    this.#input.style.setProperty('--level', part.toFixed(4));
  }
}
