// harkpanel for one station, which a test may kill and start again at the same address.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { freePort } from './network.mjs';
import { Program } from './process.mjs';

const harkpanel = process.env.HARKPANEL;

export class Gateway {
  static async start(station, { options = [], token = '' } = {}) {
    const gateway = new Gateway();
    gateway.station = station;
    gateway.port = await freePort();
    gateway.options = ['--station', station.place, '--listen', `127.0.0.1:${gateway.port}`, ...options];
    if (token !== '') {
      const file = path.join(station.root, 'token');
      fs.writeFileSync(file, `${token}\n`, { mode: 0o600 });
      gateway.options.push('--token', file);
    }
    await gateway.run();
    return gateway;
  }

  get url() {
    return `http://127.0.0.1:${this.port}/`;
  }

  async run() {
    this.program = new Program(harkpanel, this.options, { HARK_ROOT: this.station.root });
    await this.program.see(`listening on ${this.url}`);
    await this.program.see('station: connected');
  }

  // Without a chance to let go of anything.
  async kill() {
    assert.equal(await this.program.end('SIGKILL'), 'SIGKILL');
  }

  async stop() {
    if (this.program.ended) return;
    assert.equal(await this.program.end(), 0, this.program.out.all.slice(-30).join('\n'));
    const bad = this.program.out.find(/Sanitizer|runtime error/);
    assert.equal(bad, -1, this.program.out.all.slice(Math.max(bad, 0), bad + 30).join('\n'));
  }
}
