// The addresses of a host. A name goes to the system's resolver in a thread of its own, since the resolver
// may take many seconds to find that its servers are away; a number is read at once.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include <memory>
#include <string>
#include <vector>

#include "tools/control/station_address.h"

namespace hark::panel_gateway {

struct SocketAddress {
  sockaddr_storage storage{};
  socklen_t size = 0;
};

class HostLookup {
 public:
  enum class State { kIdle, kBusy, kFound, kFailed };

  // Begins to look `target` up. An answer that is still out is waited for further: there is never more than
  // one thread.
  void start(const control::HostPort& target);
  // Looks whether the answer is there.
  State poll();
  // With the port; valid when it has been found.
  [[nodiscard]] const std::vector<SocketAddress>& addresses() const { return addresses_; }

 private:
  struct Job;
  static void* run(void* job);

  State state_ = State::kIdle;
  std::shared_ptr<Job> job_;  // shared with the thread, which may outlive this
  std::vector<SocketAddress> addresses_;
};

}  // namespace hark::panel_gateway
