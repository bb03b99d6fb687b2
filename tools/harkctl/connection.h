// A connection to a control port: lines out and in, with an end to every wait.
#pragma once

#include <deque>
#include <string>
#include <string_view>

#include "base/fd.h"
#include "tools/control/line_splitter.h"
#include "tools/control/station_address.h"
#include "tools/harkctl/wait.h"

namespace hark::ctl {

class Connection {
 public:
  explicit Connection(Interrupts interrupts = {}) : interrupts_(std::move(interrupts)) {}

  // Connects, and closes what was open before. What went wrong; empty: nothing.
  [[nodiscard]] std::string open(const control::HostPort& place, Deadline deadline);
  void close();
  [[nodiscard]] bool is_open() const { return fd_.is_open(); }

  // Sends the bytes. Whether all went out; otherwise failure() tells why, unless the wait was interrupted.
  [[nodiscard]] bool send(std::string_view bytes, Deadline deadline);

  enum class Got { kLine, kTimeout, kLost, kInterrupted };
  // The next line. What has come is given before kLost; failure() then tells why.
  [[nodiscard]] Got read(std::string& line, Deadline deadline);

  // Why the connection was lost.
  [[nodiscard]] const std::string& failure() const { return failure_; }

 private:
  [[nodiscard]] std::string try_address(const struct Address& address, Deadline deadline);
  [[nodiscard]] bool receive();

  Interrupts interrupts_;
  UniqueFd fd_;
  control::LineSplitter splitter_;
  std::deque<std::string> lines_;
  std::string failure_;
};

}  // namespace hark::ctl
