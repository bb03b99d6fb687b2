#include "system/deaf_port.h"

#include <poll.h>

#include "system/support/sockets.h"

namespace hark::test {
namespace {

constexpr int kMost = 8;
constexpr int kSettleMs = 100;  // over loopback a connect that is taken is taken at once

bool connects(int fd, const sockaddr_in& at) {
  if (::connect(fd, reinterpret_cast<const sockaddr*>(&at), sizeof at) == 0) return true;
  pollfd wait{fd, POLLOUT, 0};
  return ::poll(&wait, 1, kSettleMs) > 0;
}

}  // namespace

DeafPort::DeafPort() : listener_(bound_socket(SOCK_STREAM, "127.0.0.1", 0)) {
  if (::listen(listener_.get(), 0) != 0) return;
  port_ = port_of(listener_.get());
  const sockaddr_in at = ipv4("127.0.0.1", port_);
  for (int i = 0; i < kMost && !deaf_; ++i) {
    queue_.push_back(bound_socket(SOCK_STREAM, "127.0.0.1", 0));
    deaf_ = !connects(queue_.back().get(), at);
  }
}

}  // namespace hark::test
