// A TCP port that answers to no connect: its queue is full, so that whoever dials it hangs until he gives up.
#pragma once

#include <vector>

#include "base/fd.h"

namespace hark::test {

class DeafPort {
 public:
  DeafPort();
  [[nodiscard]] int port() const { return port_; }
  // Whether the queue is full indeed.
  [[nodiscard]] bool is_deaf() const { return deaf_; }

 private:
  UniqueFd listener_;
  std::vector<UniqueFd> queue_;
  int port_ = -1;
  bool deaf_ = false;
};

}  // namespace hark::test
