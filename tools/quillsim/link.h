// What the simulated routing daemon and the simulated console have in common: a listening port with one
// station at a time behind it, whose bytes are cut into lines. What the lines mean is the user's business.
// None of it blocks; whoever owns it drives it from a loop with fill() and serve(), or by pump() where there
// is no loop.
#pragma once

#include <sys/select.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "base/fd.h"

namespace quillsim {

// A line that was not taken.
struct Refusal {
  std::string line;  // as it came, line end included
  std::string reason;
};

// Who uses a link: told of what happens on it. Each of these may send on the link or close it.
class LinkUser {
 public:
  virtual ~LinkUser() = default;
  virtual void link_opened(const std::string& from) = 0;
  // Another station dialled while one was connected.
  virtual void link_turned_away(const std::string& from) = 0;
  // A line with its LF.
  virtual void link_line(std::string_view line) = 0;
  // Bytes that make no line: too long, or cut by the end of the connection.
  virtual void link_bad_line(std::string_view line, std::string_view reason) = 0;
  virtual void link_closed() = 0;
};

class Link {
 public:
  // Borrows `user`, which may be under construction: nothing is told before serve().
  explicit Link(LinkUser& user) : user_(user) {}
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;

  // Starts to listen at the dotted `address`; port 0 picks a free one. Returns the port, or -1 with errno
  // set.
  [[nodiscard]] int listen(const std::string& address, int port);
  // Closes the listening socket; a connected station stays.
  void stop_listening() { listener_.reset(); }
  [[nodiscard]] bool listening() const { return listener_.is_open(); }

  // Adds the sockets that can be served now, and serves those that select(2) found ready.
  void fill(fd_set& read, fd_set& write, int& highest) const;
  void serve(const fd_set& read, const fd_set& write);
  // fill, select and serve in one. Whether anything was ready in that time.
  bool pump(int timeout_ms);

  [[nodiscard]] bool connected() const { return station_.is_open(); }
  // How many stations have been taken in since the start.
  [[nodiscard]] int connections() const { return connections_; }
  void close();
  // Sends the bytes; what the station does not take at once waits here. False when none is connected.
  bool send_raw(std::string_view bytes);
  [[nodiscard]] std::size_t unsent() const { return unsent_.size(); }
  // Off: plays a peer that hangs and reads nothing more.
  void set_reading(bool on) { reading_ = on; }

 private:
  void accept_station();
  void read_station();
  void write_station();
  void take_bytes(std::string_view bytes);

  LinkUser& user_;
  hark::UniqueFd listener_;
  hark::UniqueFd station_;
  int connections_ = 0;
  bool reading_ = true;
  bool skipping_ = false;  // inside a line that was too long, up to its LF
  std::string partial_;    // a line whose end has not come yet
  std::string unsent_;
};

}  // namespace quillsim
