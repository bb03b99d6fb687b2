// The page's connection to its gateway: opened again for ever, given up when it is silent. It knows how
// messages travel, and nothing of what they say beyond welcome, echo and refused.

const PROTOCOL = 1;
const FIRST_WAIT = 250; // ms before the next attempt, doubling
const LONGEST_WAIT = 2000;
const BEAT = 1000; // between two echoes
const CONNECTING = 6000; // until a connection is open: then it is tried anew
const SILENCE = 3000; // without an echo: the connection is dead
const TOKEN_REFUSED = 4401;

/**
 * @typedef {object} SocketEvents
 * @property {(message: object) => void} message  anything but echoes
 * @property {() => void} lost  at once, before the next attempt; a refusal has come as a message ahead of it
 * @property {() => void} tokenWanted  no further attempt until connect()
 */

export class GatewaySocket {
  #events;
  #token;
  #socket = null;
  #welcome = false;
  #wait = FIRST_WAIT;
  #again = 0; // timer of the next attempt
  #opening = 0; // timer of the present one
  #beat = 0; // timer of the echoes
  #beatAt = 0;
  #echoes = 0;
  #unanswered = null; // since when an echo has been waited for

  /**
   * @param {() => string} token  empty: none is sent
   * @param {SocketEvents} events
   */
  constructor(token, events) {
    this.#token = token;
    this.#events = events;
    window.addEventListener('online', () => this.hurry());
    document.addEventListener('visibilitychange', () => {
      if (document.visibilityState === 'visible') this.hurry();
    });
    window.addEventListener('pagehide', () => this.#leave());
    window.addEventListener('pageshow', (event) => {
      if (event.persisted) this.connect();
    });
  }

  connect() {
    clearTimeout(this.#again);
    this.#again = 0;
    if (this.#welcome) this.#events.lost();
    this.#drop();
    const scheme = location.protocol === 'https:' ? 'wss:' : 'ws:';
    const socket = new WebSocket(`${scheme}//${location.host}/panel`, 'harkpanel');
    this.#socket = socket;
    this.#opening = setTimeout(() => this.#lost(), CONNECTING);
    socket.addEventListener('open', () => this.#opened());
    socket.addEventListener('message', (event) => this.#received(socket, event.data));
    socket.addEventListener('close', (event) => {
      if (socket === this.#socket) this.#lost(event.code);
    });
  }

  /** Makes the next attempt now, if one is waited for. */
  hurry() {
    if (this.#again) this.connect();
  }

  /** False when there is nobody to tell: then it is not sent later either. */
  send(message) {
    // It may have closed already, and its event not have come.
    if (!this.#welcome || this.#socket.readyState !== WebSocket.OPEN) return false;
    this.#socket.send(JSON.stringify(message));
    return true;
  }

  #opened() {
    clearTimeout(this.#opening);
    const token = this.#token();
    this.#socket.send(JSON.stringify({ t: 'hello', v: PROTOCOL, ...(token && { token }) }));
    this.#unanswered = performance.now();
    this.#beatAt = performance.now();
    this.#beat = setInterval(() => this.#sendEcho(), BEAT);
  }

  #received(socket, text) {
    if (socket !== this.#socket) return;
    this.#unanswered = null;
    const message = JSON.parse(text);
    if (message.t === 'echo') return;
    if (message.t === 'welcome') {
      this.#welcome = true;
      this.#wait = FIRST_WAIT;
    }
    this.#events.message(message);
  }

  #sendEcho() {
    const now = performance.now();
    const late = now - this.#beatAt > 2 * BEAT;
    this.#beatAt = now;
    // This page itself may have been asleep, and its answers wait to be read.
    if (late && this.#unanswered !== null) this.#unanswered = now;
    if (this.#unanswered !== null && now - this.#unanswered > SILENCE) return this.#lost();
    if (!this.send({ t: 'echo', n: ++this.#echoes })) return;
    this.#unanswered ??= now;
  }

  // Keys are let go of while there may still be somebody to hear it.
  #lost(code) {
    this.#events.lost();
    this.#drop();
    if (code === TOKEN_REFUSED) return this.#events.tokenWanted();
    this.#again = setTimeout(() => this.connect(), this.#wait);
    this.#wait = Math.min(2 * this.#wait, LONGEST_WAIT);
  }

  #leave() {
    clearTimeout(this.#again);
    this.#again = 0;
    if (!this.#socket) return;
    this.#events.lost();
    this.#drop();
  }

  #drop() {
    clearTimeout(this.#opening);
    clearInterval(this.#beat);
    this.#welcome = false;
    this.#unanswered = null;
    const socket = this.#socket;
    this.#socket = null;
    socket?.close();
  }
}
