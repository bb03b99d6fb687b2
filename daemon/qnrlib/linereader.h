// Cuts what a socket delivers into lines, with the one limit that holds everywhere: 2000 bytes. Used for the
// control port's connections and for the routing daemon.
#pragma once

#include <sys/types.h>

#include <cstddef>

#include "base/text.h"

namespace hark {

class LineReader {
 public:
  // One recv(2) of what has come behind what is still unread. The result is recv's; 0 and below mean that the
  // connection is gone, and what was unread is dropped. A line of 2000 bytes without an end leaves no room,
  // so that recv is asked for 0 bytes and gives 0: this is how the limit ends a connection.
  [[nodiscard]] ssize_t receive(int fd);

  // The next whole line, without its end; any run of CR and LF ends one. Null when only a part of one is
  // left, which waits for the next receive. Valid until the next call.
  [[nodiscard]] const char* next();

  // Drops what is unread, for a new connection.
  void clear() { head_ = tail_ = 0; }

 private:
  LineBuffer text_{};
  std::size_t head_ = 0;  // next unread byte
  std::size_t tail_ = 0;  // end of what was received
};

}  // namespace hark
