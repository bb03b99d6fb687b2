// A program that a test runs, with what it prints, and folders for its files. Whatever happens to the test, none of
// them outlives it, and none keeps it from ending.
import { spawn } from 'node:child_process';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { Lines } from './lines.mjs';
import { until } from './wait.mjs';

const running = new Set();
const folders = [];

export function temporaryFolder(name) {
  folders.push(fs.mkdtempSync(path.join(os.tmpdir(), `${name}.`)));
  return folders.at(-1);
}

process.on('exit', () => {
  for (const program of running) program.child.kill('SIGKILL');
  for (const folder of folders) {
    try {
      fs.rmSync(folder, { recursive: true, force: true, maxRetries: 5 });
    } catch (error) {
      console.error(`left behind: ${folder}: ${error.message}`);
    }
  }
});
for (const signal of ['SIGTERM', 'SIGINT', 'SIGHUP']) process.on(signal, () => process.exit(1));

export class Program {
  out = new Lines(); // of both outputs

  constructor(file, args, environment = {}) {
    this.name = file.split('/').pop();
    this.child = spawn(file, args, { env: { ...process.env, ...environment }, stdio: ['pipe', 'pipe', 'pipe'] });
    running.add(this);
    this.child.unref();
    this.child.on('error', (error) => this.out.add(`${this.name} cannot be started: ${error.message}\n`));
    this.child.on('exit', () => running.delete(this));
    this.child.stdin.on('error', () => {}); // it ended before it was told to: seen by its status
    this.child.stdin.unref();
    for (const stream of [this.child.stdout, this.child.stderr]) {
      stream.unref();
      stream.setEncoding('utf8');
      stream.on('data', (text) => this.out.add(text));
    }
  }

  get pid() {
    return this.child.pid;
  }

  get ended() {
    return this.child.exitCode !== null || this.child.signalCode !== null;
  }

  say(line) {
    this.child.stdin.write(`${line}\n`);
  }

  // Waits for such a line of output; fails at once when the program ends without it.
  async see(wanted, from = 0) {
    const told = () => `${wanted} of ${this.name}, after:\n${this.out.all.slice(from).slice(-30).join('\n')}`;
    await until(told, () => {
      if (this.out.find(wanted, from) >= 0) return true;
      if (this.ended) throw new Error(`${this.name} ended; it never printed: ${told()}`);
      return false;
    });
    return this.out.find(wanted, from);
  }

  // Ends it; returns its exit status, or the name of the signal that ended it.
  async end(signal = 'SIGTERM') {
    this.child.kill(signal);
    await until(`the end of ${this.name}`, () => this.ended);
    return this.child.exitCode ?? this.child.signalCode;
  }
}
