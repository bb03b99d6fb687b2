// System calls that fail or answer as a test tells them. The linker puts them in the place of the real ones,
// which they pass on to when a test tells nothing.
#pragma once

#include <sys/select.h>
#include <sys/types.h>

#include <vector>

namespace hark::test {

enum class SystemCall { none, socket, fcntl, setsockopt, bind, connect, recvfrom, select };

// As long as it lives, `call` fails with `error`. One at a time.
class Failing {
 public:
  Failing(SystemCall call, int error);
  ~Failing();
  Failing(const Failing&) = delete;
  Failing& operator=(const Failing&) = delete;
};

// As long as it lives, sendto takes no more than `most` bytes.
class ShortSend {
 public:
  explicit ShortSend(ssize_t most);
  ~ShortSend();
  ShortSend(const ShortSend&) = delete;
  ShortSend& operator=(const ShortSend&) = delete;
};

// Stands for select as long as it lives: tells of the descriptors that it was given, whatever the sets ask
// for, and keeps what it was asked.
class ScriptedSelect {
 public:
  struct Asked {
    int nfds;
    long wait_us;  // -1: for ever
    std::vector<int> read, write, except;
  };

  ScriptedSelect();
  ~ScriptedSelect();
  ScriptedSelect(const ScriptedSelect&) = delete;
  ScriptedSelect& operator=(const ScriptedSelect&) = delete;

  std::vector<int> read, write, except;  // what is ready
  std::vector<Asked> asked;
};

// The descriptors in a set.
[[nodiscard]] std::vector<int> In(const fd_set& set);

}  // namespace hark::test
