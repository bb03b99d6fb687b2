// A way to the gateway that can stop answering panels: it takes their connections, and says nothing on them. So does
// a machine that hangs, or a firewall that swallows.
import net from 'node:net';
import { once } from 'node:events';
import { freePort } from './network.mjs';

export class Doorway {
  silent = false; // towards panels; pages are handed on
  unanswered = []; // when each panel came that got no answer, on the clock of performance.now()
  #sockets = new Set();
  #server;
  #gateway;

  static async before(gateway) {
    const doorway = new Doorway();
    doorway.#gateway = gateway;
    doorway.port = await freePort();
    doorway.#server = net.createServer((near) => doorway.#take(near));
    doorway.#server.listen(doorway.port, '127.0.0.1').unref();
    await once(doorway.#server, 'listening');
    return doorway;
  }

  get url() {
    return `http://127.0.0.1:${this.port}/`;
  }

  #take(near) {
    this.#watch(near);
    near.once('data', (request) => {
      if (this.silent && request.toString().startsWith('GET /panel ')) {
        this.unanswered.push(performance.now());
        return;
      }
      const far = this.#watch(net.connect({ host: '127.0.0.1', port: this.#gateway.port }));
      far.write(request);
      near.pipe(far).pipe(near);
      near.on('close', () => far.destroy());
      far.on('close', () => near.destroy());
    });
  }

  #watch(socket) {
    this.#sockets.add(socket);
    socket.unref();
    socket.on('error', () => {}); // one side is gone: so is the other
    socket.on('close', () => this.#sockets.delete(socket));
    return socket;
  }

  // All that is connected through it is so no more.
  cut() {
    for (const socket of this.#sockets) socket.destroy();
  }

  close() {
    this.cut();
    this.#server.close();
  }
}
