// A connected TCP socket that reads and writes lines without blocking: the common half of Client and
// FakeConsole. Private to the folder.
#pragma once

#include <deque>
#include <string>

#include "base/fd.h"

namespace hark::test {

class LineSocket {
 public:
  // Takes a connected, non-blocking socket, and forgets all of the one before.
  void open(UniqueFd fd);
  void close() { fd_.reset(); }
  [[nodiscard]] bool is_open() const { return fd_.is_open(); }
  [[nodiscard]] int fd() const { return fd_.get(); }
  // The far side has closed, or the connection broke; what had come before can still be read.
  [[nodiscard]] bool at_end() const { return at_end_; }

  // Takes what has arrived, without waiting.
  void receive();
  // Sends what the socket takes at once and cuts that off `bytes`. False when the connection is gone.
  [[nodiscard]] bool send_some(std::string& bytes) const;

  // Whole lines with their line ends, oldest first.
  [[nodiscard]] std::deque<std::string>& lines() { return lines_; }
  // What has come of a line that is not whole yet.
  [[nodiscard]] const std::string& partial() const { return partial_; }

 private:
  UniqueFd fd_;
  bool at_end_ = false;
  std::deque<std::string> lines_;
  std::string partial_;
};

// The line without the CR and LF at its end.
[[nodiscard]] std::string without_line_end(std::string line);

}  // namespace hark::test
