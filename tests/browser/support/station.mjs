// A station as it runs in a studio: harkd beside a simulated routing daemon, which shows what its mixer takes in.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { Control } from './control.mjs';
import { freePort, ownAddress } from './network.mjs';
import { Program, temporaryFolder } from './process.mjs';

const harkd = process.env.HARKD;
const quillsim = process.env.QUILLSIM;

export class Station {
  control = null; // a client of its control port, with the count of keys

  // `number`: 1 to 3 within this test. `sources` and `channels`: its two files.
  static async start({
    number = 1, name = 'Studio A', level = 4, source = '239.192.0.77', sources = '', channels = '',
  }) {
    const station = new Station();
    station.name = name;
    station.address = ownAddress(number);
    station.port = await freePort();
    station.root = temporaryFolder('hark-browser');
    for (const folder of ['etc/Orfe/hark', 'etc/Orfe/EngConf', 'var/run', 'var/tmp']) {
      fs.mkdirSync(path.join(station.root, folder), { recursive: true });
    }
    station.write('hark_sources', sources);
    station.write('harkch.conf', channels);
    station.mixer = new Program(quillsim, [
      '--listen', '127.0.0.1:0', '--strict',
      '--greet', `HARK LABL:"${name}" TRGL:${level}`,
      '--greet', `SRC 1 PSNM:"${name}" RTPA:"${source}"`,
    ]);
    const at = await station.mixer.see('listening on');
    station.routingPort = /127\.0\.0\.1:(\d+)/.exec(station.mixer.out.all[at])[1];
    await station.run();
    return station;
  }

  get place() {
    return `127.0.0.1:${this.port}`;
  }

  write(file, text) {
    fs.writeFileSync(path.join(this.root, 'etc/Orfe/hark', file), text);
  }

  read(file) {
    return fs.readFileSync(path.join(this.root, 'etc/Orfe/hark', file), 'utf8');
  }

  // Starts the daemon, again too, and waits until it knows its source, so that it can make calls.
  async run() {
    this.daemon = new Program(
      harkd,
      ['-debug', '-i', 'none0', '-sip_ip', this.address, '-ctrl_port', `${this.port}`, '-qnr_port', this.routingPort],
      // It is not announced on the network of the machine that runs the tests.
      { HARK_ROOT: this.root, DBUS_SYSTEM_BUS_ADDRESS: 'unix:path=/nonexistent' },
    );
    await this.daemon.see('harkqnr_ctrl < SRC 1');
    this.control = await Control.connect(this.port);
  }

  // Ends the daemon in order; its routing daemon stays.
  async endDaemon() {
    this.control.close();
    assert.equal(await this.daemon.end(), 0, this.daemon.out.all.slice(-30).join('\n'));
    this.looksHealthy();
  }

  looksHealthy() {
    const bad = this.daemon.out.find(/Sanitizer|runtime error/);
    assert.equal(bad, -1, this.daemon.out.all.slice(Math.max(bad, 0), bad + 30).join('\n'));
  }

  // Waits until the mixer was told so, by a line behind `from`.
  async mixerSays(text, from = 0) {
    return this.mixer.see(text, from);
  }

  async stop() {
    if (!this.daemon.ended) await this.endDaemon();
    await this.mixer.end();
  }
}
