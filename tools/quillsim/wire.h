// The sockets under the simulators: a listening port, a connection whose bytes are cut into lines, and one
// turn of a loop for an owner without one. link.h puts them together for one station at a time, far_device.h
// for several. Nothing here blocks.
#pragma once

#include <netinet/in.h>
#include <sys/select.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/fd.h"

namespace quillsim {

// A line that was not taken.
struct Refusal {
  std::string line;  // as it came, line end included
  std::string reason;
};

// The line without CR and LF at its end.
[[nodiscard]] std::string_view without_line_end(std::string_view line);

// "a.b.c.d:port".
[[nodiscard]] std::string address_text(const sockaddr_in& address);
// What names a dotted address and a port; none when either is not one.
[[nodiscard]] std::optional<sockaddr_in> address_of(const std::string& address, int port);

// A listening port.
class Listener {
 public:
  // Port 0 picks a free one. Returns the port, or -1 with errno set; then what listened before goes on.
  [[nodiscard]] int listen(const std::string& address, int port);
  void stop() { fd_.reset(); }
  [[nodiscard]] bool listening() const { return fd_.is_open(); }

  void fill(fd_set& read, int& highest) const { (void)hark::fdset_add(fd_.get(), read, highest); }
  struct Arrival {
    hark::UniqueFd fd;  // non-blocking, and sends without delay
    std::string from;
  };
  // Who has dialled, if select(2) found somebody.
  [[nodiscard]] std::optional<Arrival> accept(const fd_set& read);

 private:
  hark::UniqueFd fd_;
};

// Who uses a wire: told of what happens on it. Each of these may send on the wire or close it.
class WireUser {
 public:
  virtual ~WireUser() = default;
  // A line with its LF.
  virtual void wire_line(std::string_view line) = 0;
  // Bytes that make no line: too long, or cut by the end of the connection.
  virtual void wire_bad_line(std::string_view line, std::string_view reason) = 0;
  virtual void wire_closed() = 0;
};

// A connected socket.
class Wire {
 public:
  // Borrows `user`, which may be under construction: nothing is told before open().
  explicit Wire(WireUser& user) : user_(user) {}
  Wire(const Wire&) = delete;
  Wire& operator=(const Wire&) = delete;

  // Takes a connected, non-blocking socket. Requires that none is open.
  void open(hark::UniqueFd fd) { fd_ = std::move(fd); }
  [[nodiscard]] bool connected() const { return fd_.is_open(); }
  void close();

  // Adds the socket when it can be served now; not for reading unless `reading`.
  void fill(fd_set& read, fd_set& write, int& highest, bool reading) const;
  void serve(const fd_set& read, const fd_set& write);

  // Sends the bytes; what the peer does not take at once waits here. False when none is connected.
  bool send_raw(std::string_view bytes);
  [[nodiscard]] std::size_t unsent() const { return unsent_.size(); }

 private:
  void read();
  void write();
  void take_bytes(std::string_view bytes);

  WireUser& user_;
  hark::UniqueFd fd_;
  bool skipping_ = false;  // inside a line that was too long, up to its LF
  std::string partial_;    // a line whose end has not come yet
  std::string unsent_;
};

// Waits for the sockets in the sets. Whether anything was ready in that time.
[[nodiscard]] bool select_once(fd_set& read, fd_set& write, int highest, int timeout_ms);

// fill, select and serve in one, for anything that is served so.
template <typename Served>
bool pump(Served& served, int timeout_ms) {
  fd_set read;
  fd_set write;
  FD_ZERO(&read);
  FD_ZERO(&write);
  int highest = -1;
  served.fill(read, write, highest);
  if (!select_once(read, write, highest, timeout_ms)) return false;
  served.serve(read, write);
  return true;
}

}  // namespace quillsim
