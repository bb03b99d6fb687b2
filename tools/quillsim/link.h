// What the simulated routing daemon and the simulated console have in common: a listening port with one
// station at a time behind it. What its lines mean is the user's business. Whoever owns it drives it from a
// loop with fill() and serve(), or by pump() where there is no loop.
#pragma once

#include <sys/select.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "tools/quillsim/wire.h"

namespace quillsim {

// Who uses a link. Each of these may send on the link or close it.
class LinkUser : public WireUser {
 public:
  virtual void link_opened(const std::string& from) = 0;
  // Another station dialled while one was connected.
  virtual void link_turned_away(const std::string& from) = 0;
};

class Link {
 public:
  // Borrows `user`, which may be under construction: nothing is told before serve().
  explicit Link(LinkUser& user) : user_(user) {}
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;

  // Starts to listen at the dotted `address`; port 0 picks a free one. Returns the port, or -1 with errno
  // set.
  [[nodiscard]] int listen(const std::string& address, int port) { return listener_.listen(address, port); }
  // Closes the listening socket; a connected station stays.
  void stop_listening() { listener_.stop(); }
  [[nodiscard]] bool listening() const { return listener_.listening(); }

  // Adds the sockets that can be served now, and serves those that select(2) found ready.
  void fill(fd_set& read, fd_set& write, int& highest) const;
  void serve(const fd_set& read, const fd_set& write);
  // fill, select and serve in one. Whether anything was ready in that time.
  bool pump(int timeout_ms) { return quillsim::pump(*this, timeout_ms); }

  [[nodiscard]] bool connected() const { return station_.connected(); }
  // How many stations have been taken in since the start.
  [[nodiscard]] int connections() const { return connections_; }
  void close() { station_.close(); }
  // Sends the bytes; what the station does not take at once waits here. False when none is connected.
  bool send_raw(std::string_view bytes) { return station_.send_raw(bytes); }
  [[nodiscard]] std::size_t unsent() const { return station_.unsent(); }
  // Off: plays a peer that hangs and reads nothing more.
  void set_reading(bool on) { reading_ = on; }

 private:
  LinkUser& user_;
  Listener listener_;
  Wire station_{user_};
  int connections_ = 0;
  bool reading_ = true;
};

}  // namespace quillsim
