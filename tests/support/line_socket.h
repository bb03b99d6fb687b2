// One end of a socket pair for code that reads and writes text lines on a socket: the test holds the other
// end, sees the lines that were sent, and sends lines of its own. Nothing here waits.
#pragma once

#include <string>
#include <vector>

#include "base/fd.h"

namespace hark {

class LineSocket {
 public:
  LineSocket();

  // The product's end. The product closes it if it owns it: then take it with ReleaseFd.
  [[nodiscard]] int fd() const { return product_.get(); }
  [[nodiscard]] int ReleaseFd() { return product_.release(); }

  // Everything that was sent since the last call, cut into lines without their ends.
  [[nodiscard]] std::vector<std::string> Lines();
  // The same, byte for byte.
  [[nodiscard]] std::string Text();
  // Sends to the product.
  void Send(const std::string& text);
  // Closes the test's end: the product sees the connection end.
  void Close() { test_.reset(); }

 private:
  UniqueFd product_;
  UniqueFd test_;
};

// Stands for the routing daemon: what Lines() gives is what the mixer was told. Connected at construction,
// with the greeting already taken off; disconnected at destruction.
class RecordingMixer : public LineSocket {
 public:
  RecordingMixer();
  ~RecordingMixer();
};

}  // namespace hark
