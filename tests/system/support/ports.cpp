#include "system/support/ports.h"

#include <fcntl.h>
#include <unistd.h>

#include "system/support/sockets.h"

namespace hark::test {
namespace {

constexpr int kFirst = 12000;
constexpr int kCount = 18000;
constexpr int kStep = 4;  // each choice owns so many numbers

// A file with a byte for each number, which is never written: who has locked the byte has the number, until
// its process ends. A port that is free now may be the choice of a test beside this one, which has yet to use
// it.
constexpr char kLockFile[] = "/tmp/harkd-test-ports";

// Whether the numbers of that choice are this process's own.
bool lock(int candidate) {
  static const int file = ::open(kLockFile, O_RDWR | O_CREAT | O_CLOEXEC, 0666);
  struct flock numbers {};
  numbers.l_type = F_WRLCK;
  numbers.l_whence = SEEK_SET;
  numbers.l_start = candidate;
  numbers.l_len = kStep;
  return file < 0 || ::fcntl(file, F_SETLK, &numbers) == 0;
}

// Each process starts elsewhere, so that tests that run side by side seldom meet.
int next_candidate() {
  static int turn = static_cast<int>(::getpid() % (kCount / kStep)) * 37;
  return kFirst + turn++ % (kCount / kStep) * kStep;
}

}  // namespace

int free_tcp_port() {
  for (int tries = 0; tries < kCount / kStep; ++tries) {
    const int port = next_candidate();
    if (lock(port) && bound_socket(SOCK_STREAM, "0.0.0.0", port).is_open()) return port;
  }
  return -1;
}

int free_sip_base(const std::string& address) {
  for (int tries = 0; tries < kCount / kStep; ++tries) {
    const int base = next_candidate();
    if (!lock(base)) continue;
    const UniqueFd listen = bound_socket(SOCK_DGRAM, address, base + 1);
    const UniqueFd talk = bound_socket(SOCK_DGRAM, address, base + 2);
    if (listen.is_open() && talk.is_open()) return base;
  }
  return -1;
}

}  // namespace hark::test
