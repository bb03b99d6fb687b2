// A client of a station's control port, which also keeps count of the keys that are down there, of all panels.
import net from 'node:net';
import { Lines } from './lines.mjs';
import { until } from './wait.mjs';

export class Control {
  lines = new Lines((line) => this.#take(line));
  down = new Set(); // "web KL01"
  presses = 0;
  releases = 0;
  #socket;

  // Not from the address of the gateway: a station counts the connections of each.
  static async connect(port, from = '127.0.0.2') {
    const control = new Control();
    control.#socket = net.connect({ host: '127.0.0.1', port, localAddress: from });
    control.#socket.setEncoding('utf8');
    control.#socket.unref();
    control.#socket.on('data', (text) => control.lines.add(text));
    control.#socket.on('error', () => {}); // the station ended
    await until('a connection to the control port', () => !control.#socket.pending || control.#socket.destroyed);
    if (control.#socket.destroyed) throw new Error(`the control port ${port} does not answer`);
    control.say('SUB HARKUI');
    return control;
  }

  #take(line) {
    const event = /^event HARKUI#([\w-]+)\.BUT#(\w+) KEY=(\w)/.exec(line);
    if (event === null) return;
    const key = `${event[1]} ${event[2]}`;
    if (event[3] === 'D') {
      this.presses++;
      this.down.add(key);
    } else {
      this.releases++;
      this.down.delete(key);
    }
  }

  say(line) {
    this.#socket.write(`${line}\r\n`);
  }

  // Sends the line, and returns the first line after it that holds the text.
  async ask(line, wanted) {
    const from = this.lines.mark;
    this.say(line);
    return this.lines.all[await this.lines.see(wanted, from)];
  }

  // The calls that are up: the lines of the list.
  async calls() {
    const from = this.lines.mark;
    this.say('CALL');
    const end = await this.lines.see(/^END$/, from);
    return this.lines.all.slice(this.lines.find(/^BEGIN$/, from) + 1, end);
  }

  async dropAll() {
    for (const call of await this.calls()) this.say(`${call.replace(/ (TALK|LISTEN|VOLUME):.*$/, '')} LISTEN:0 TALK:0`);
  }

  // Waits until each call of the list matches one of these, and none is missing; in any order.
  async callsAre(...patterns) {
    let calls = [];
    await until(() => `calls ${patterns.join(', ')}; there are: ${calls.join(' / ')}`, async () => {
      calls = await this.calls();
      return calls.length === patterns.length && patterns.every((one) => calls.some((call) => one.test(call)));
    });
  }

  async noKeyIsDown() {
    await until(() => `all keys up; down are ${[...this.down]}`, () => this.down.size === 0);
  }

  async keyIsDown(key) {
    await until(() => `${key} down; down are ${[...this.down]}`, () => this.down.has(key));
  }

  // How many panels are attached.
  async panels() {
    const from = this.lines.mark;
    this.say('HARKUI');
    await this.ask('VER', /^VER /);
    return this.lines.all.slice(from).filter((line) => line.startsWith('add HARKUI#')).length;
  }

  close() {
    this.#socket.destroy();
  }
}
