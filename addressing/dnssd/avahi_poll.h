// The event loop that libavahi-client asks for, bridged to one descriptor: it is readable whenever run() has
// something to do, so that it can stand in the select set of another loop. Single-threaded; nothing waits.
#pragma once

#include <avahi-common/watch.h>

#include <list>

#include "base/fd.h"

namespace hark {
class AvahiPollLoop;
}

// The library's opaque records. A callback may free any of them, its own too: they go when no callback runs.
struct AvahiWatch {
  hark::AvahiPollLoop* loop;
  int fd;
  AvahiWatchEvent wanted;
  AvahiWatchEvent happened;
  AvahiWatchCallback callback;
  void* userdata;
  bool freed;
};

struct AvahiTimeout {
  hark::AvahiPollLoop* loop;
  hark::UniqueFd timer;
  AvahiTimeoutCallback callback;
  void* userdata;
  bool freed;
};

namespace hark {

class AvahiPollLoop {
 public:
  AvahiPollLoop();
  AvahiPollLoop(const AvahiPollLoop&) = delete;
  AvahiPollLoop& operator=(const AvahiPollLoop&) = delete;

  // Whether the system gave the descriptors for it.
  [[nodiscard]] bool is_usable() const { return epoll_.is_open() && wake_.is_open(); }
  [[nodiscard]] const AvahiPoll* api() const { return &api_; }
  // Readable while there is something to do. Owned by the loop.
  [[nodiscard]] int fd() const { return epoll_.get(); }

  // Calls back for all that is ready now.
  void run();

  // Keeps fd() readable until it is put back: for what the user of the loop still has to hand on.
  void set_wake(bool on);

 private:
  static AvahiWatch* watch_new(const AvahiPoll* api, int fd, AvahiWatchEvent wanted,
                               AvahiWatchCallback callback, void* userdata);
  static void watch_update(AvahiWatch* watch, AvahiWatchEvent wanted);
  static AvahiWatchEvent watch_get_events(AvahiWatch* watch);
  static void watch_free(AvahiWatch* watch);
  static AvahiTimeout* timeout_new(const AvahiPoll* api, const timeval* when, AvahiTimeoutCallback callback,
                                   void* userdata);
  static void timeout_update(AvahiTimeout* timeout, const timeval* when);
  static void timeout_free(AvahiTimeout* timeout);

  // Asks for what all watches of `fd` want together: epoll(7) takes a descriptor once.
  void watch_descriptor(int fd);
  bool run_round();
  void dispatch(int fd, unsigned events);
  void sweep();

  AvahiPoll api_{};
  UniqueFd epoll_;
  UniqueFd wake_;
  bool waking_ = false;
  bool running_ = false;
  std::list<AvahiWatch> watches_;
  std::list<AvahiTimeout> timeouts_;
};

}  // namespace hark
