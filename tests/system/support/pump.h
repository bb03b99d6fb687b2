// The waits of the system tests. A test is one thread: while it waits for its condition, every peer that it
// has made (simulated routing daemons, consoles, log sinks) is served, so that none of them needs a thread of
// its own. No wait is longer than its limit, and none is a bare sleep.
#pragma once

#include <sys/select.h>

#include <functional>

namespace hark::test {

// Long enough for a loaded machine under sanitizers; a condition that holds ends the wait at once.
inline constexpr int kWaitMs = 10'000;

// Something with sockets that wants to be served while a test waits. It registers itself as long as it lives.
class Pumped {
 public:
  Pumped();
  Pumped(const Pumped&) = delete;
  Pumped& operator=(const Pumped&) = delete;
  virtual ~Pumped();

  virtual void fill(fd_set& read, fd_set& write, int& highest) const = 0;
  virtual void serve(const fd_set& read, const fd_set& write) = 0;
};

// Serves all peers once, waiting for them no longer than this.
void pump_once(int timeout_ms);

// Serves all peers until `condition` holds: true, or the time is over: false.
[[nodiscard]] bool wait_until(const std::function<bool()>& condition, int timeout_ms = kWaitMs);

// Serves all peers for the whole time: whether `condition` held at every look. For what must not happen.
[[nodiscard]] bool stays(const std::function<bool()>& condition, int time_ms);

}  // namespace hark::test
