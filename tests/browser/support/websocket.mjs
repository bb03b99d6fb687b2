// A small WebSocket client (RFC 6455), for what no browser would do: to say wrong things, and to be gone without a
// word.
import crypto from 'node:crypto';
import net from 'node:net';
import { until } from './wait.mjs';

const kText = 1;
const kClose = 8;

export class WebSocketClient {
  messages = []; // what came, read as JSON
  status = 0; // of the answer to the upgrade
  closeCode = 0; // of the close frame that came
  #buffer = Buffer.alloc(0);

  // `headers`: further header lines. Waits for the answer to the upgrade.
  static async connect(port, headers = []) {
    const client = new WebSocketClient();
    client.socket = net.connect({ host: '127.0.0.1', port });
    client.socket.on('error', () => {});
    client.socket.on('data', (data) => client.#take(data));
    const request = [
      'GET /panel HTTP/1.1',
      `Host: 127.0.0.1:${port}`,
      'Upgrade: websocket',
      'Connection: Upgrade',
      `Sec-WebSocket-Key: ${crypto.randomBytes(16).toString('base64')}`,
      'Sec-WebSocket-Version: 13',
      'Sec-WebSocket-Protocol: harkpanel',
      ...headers,
    ];
    client.socket.write(`${request.join('\r\n')}\r\n\r\n`);
    await until('an answer to the upgrade', () => client.status !== 0 || client.socket.destroyed);
    return client;
  }

  #take(data) {
    this.#buffer = Buffer.concat([this.#buffer, data]);
    if (this.status === 0) {
      const end = this.#buffer.indexOf('\r\n\r\n');
      if (end < 0) return;
      this.status = Number(/^HTTP\/1\.1 (\d+)/.exec(this.#buffer.toString())?.[1] ?? -1);
      this.#buffer = this.#buffer.subarray(end + 4);
    }
    if (this.status === 101) while (this.#takeFrame());
  }

  // A server's frames are not masked.
  #takeFrame() {
    const buffer = this.#buffer;
    if (buffer.length < 2) return false;
    let size = buffer[1];
    let at = 2;
    if (size === 126) {
      if (buffer.length < 4) return false;
      size = buffer.readUInt16BE(2);
      at = 4;
    }
    if (buffer.length < at + size) return false;
    const body = buffer.subarray(at, at + size);
    const kind = buffer[0] & 15;
    if (kind === kText) this.messages.push(JSON.parse(body.toString()));
    if (kind === kClose && size >= 2) this.closeCode = body.readUInt16BE(0);
    this.#buffer = buffer.subarray(at + size);
    return true;
  }

  // Up to 125 bytes; a client's frames are masked.
  say(message) {
    const body = Buffer.from(JSON.stringify(message));
    const mask = crypto.randomBytes(4);
    const frame = Buffer.concat([Buffer.from([0x80 | kText, 0x80 | body.length]), mask, body]);
    for (let i = 0; i < body.length; ++i) frame[6 + i] ^= mask[i % 4];
    this.socket.write(frame);
  }

  async sees(kind) {
    await until(`a message "${kind}"`, () => this.messages.some((message) => message.t === kind));
    return this.messages.find((message) => message.t === kind);
  }

  async closed() {
    await until('a close', () => this.closeCode !== 0 || this.socket.destroyed);
    return this.closeCode;
  }

  // Gone, without a close frame: with a reset, or by an end of the stream.
  kill({ reset = true } = {}) {
    if (reset) this.socket.resetAndDestroy();
    else this.socket.destroy();
  }
}
