// Ports and addresses that no other test uses at the same time.
import net from 'node:net';

const given = new Set();
// Below those that the kernel hands out by itself: a program that is started again finds its port still free.
const kFirst = 20_000;
const kCount = 12_000;
let next = (process.pid * 37) % kCount;

function isFree(port) {
  return new Promise((resolve) => {
    const probe = net.createServer();
    probe.once('error', () => resolve(false));
    probe.listen(port, '0.0.0.0', () => probe.close(() => resolve(true)));
  });
}

export async function freePort() {
  for (let tried = 0; tried < kCount; ++tried) {
    next = (next + 1) % kCount;
    const port = kFirst + next;
    if (!given.has(port) && (await isFree(port))) {
      given.add(port);
      return port;
    }
  }
  throw new Error('no free port');
}

// SIP has its own ports, so each station has an address of this process's own: `n` is 1 to 3.
export function ownAddress(n) {
  const pid = process.pid;
  return `127.${1 + ((pid >> 14) % 254)}.${(pid >> 6) & 255}.${(pid & 63) * 4 + n}`;
}
