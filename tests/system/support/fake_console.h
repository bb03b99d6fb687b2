// The mixing console's side of the connection that the station makes: listens, takes one station at a time,
// keeps what it says. Refusing is a port where nobody listens; it stays ours all the same, so that no test
// that runs at the same time can listen there meanwhile.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "system/support/line_socket.h"
#include "system/support/pump.h"

namespace hark::test {

class FakeConsole : public Pumped {
 public:
  // Port 0 picks a free one. See listening().
  explicit FakeConsole(std::string address = "127.0.0.1", int port = 0);

  [[nodiscard]] const std::string& address() const { return address_; }
  [[nodiscard]] int port() const { return port_; }
  [[nodiscard]] bool listening() const { return listener_.is_open(); }
  // Closes the listening port; the connection stays. accept() opens the same port again.
  void refuse() { listener_.reset(); }
  [[nodiscard]] bool accept();

  [[nodiscard]] bool connected() const { return station_.is_open(); }
  // How many connections have been made since the start.
  [[nodiscard]] int connections() const { return connections_; }
  void close_connection() { station_.close(); }
  // All lines that the station sent on any connection, without their line ends.
  [[nodiscard]] const std::vector<std::string>& lines() const { return lines_; }
  // Sends the line with CR LF. False when it could not be sent in time.
  bool send_line(std::string_view line);
  [[nodiscard]] testing::AssertionResult wait_line(const std::string& line, int timeout_ms = kWaitMs) const;

  void fill(fd_set& read, fd_set& write, int& highest) const override;
  void serve(const fd_set& read, const fd_set& write) override;

 private:
  void accept_station();
  void read_station();

  std::string address_;
  UniqueFd reserved_;  // bound to the port, never listening
  UniqueFd listener_;
  int port_ = 0;
  int connections_ = 0;
  LineSocket station_;
  std::vector<std::string> lines_;
};

}  // namespace hark::test
