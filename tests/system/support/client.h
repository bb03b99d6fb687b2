// A client of the control port. It can connect from any local address, so that one test plays several hosts,
// and can be a bad one: partial lines, floods, a receive buffer that it never empties.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>

#include "system/support/line_socket.h"
#include "system/support/pump.h"

namespace hark::test {

class Client {
 public:
  Client() = default;
  // Connects to 127.0.0.1; see connected().
  explicit Client(int port, const std::string& source = "127.0.0.1") { (void)connect(port, source); }

  // Connects from the address `source` to `address`; a connection that was open is closed first.
  [[nodiscard]] bool connect(int port, const std::string& source = "127.0.0.1",
                             const std::string& address = "127.0.0.1");
  // Asks for a small receive buffer in the next connect, for a client that reads slowly. 0: the system's own.
  void set_receive_buffer(int bytes) { receive_buffer_ = bytes; }
  [[nodiscard]] bool connected() const { return socket_.is_open(); }
  [[nodiscard]] int fd() const { return socket_.fd(); }
  void close() { socket_.close(); }
  // Closes with a reset instead of an orderly end.
  void abort();
  // No more is sent; reading goes on.
  void finish_sending();

  // Sends the line with CR LF, or the bytes as they are. False when they could not all be sent in the time.
  bool send_line(std::string_view line, int timeout_ms = kWaitMs);
  bool send_raw(std::string_view bytes, int timeout_ms = kWaitMs);

  // The next line, without or with its line end; none when none came in time.
  [[nodiscard]] std::optional<std::string> read_line(int timeout_ms = kWaitMs);
  [[nodiscard]] std::optional<std::string> read_line_with_end(int timeout_ms = kWaitMs);
  // The very next line is `text`, line end apart.
  [[nodiscard]] testing::AssertionResult expect_line(std::string_view text, int timeout_ms = kWaitMs);
  // A line with `part` comes; those before it are dropped.
  [[nodiscard]] testing::AssertionResult skip_to(std::string_view part, int timeout_ms = kWaitMs);
  // Sends the line; the very next line that comes is `answer`.
  [[nodiscard]] testing::AssertionResult ask(std::string_view line, std::string_view answer);
  // No line and no part of one comes in this time.
  [[nodiscard]] testing::AssertionResult expect_silence(int time_ms);
  // The far side closes in time; lines that still come are kept for reading.
  [[nodiscard]] bool wait_closed(int timeout_ms = kWaitMs);
  // Whether a whole line waits to be read.
  [[nodiscard]] bool has_line();

 private:
  LineSocket socket_;
  int receive_buffer_ = 0;
};

}  // namespace hark::test
