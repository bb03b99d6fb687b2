// What the tests see of the PTT requests: the ports, the socket's addresses, and the reading of a datagram.
#pragma once

#include <netinet/in.h>

#include <array>
#include <cstdint>

#include "base/fd.h"
#include "routing/qncpptt.h"

namespace hark {

struct qncpptt_port {
  std::uint32_t dst = 0;    // target channel; 0 and no src: free
  std::uint32_t src = 0;    // our source channel
  TimeUs next_request = 0;  // time of the next renewal
  bool active = false;      // confirmed
  TimeUs active_until = 0;  // the confirmation's end
};

struct QncpPtt {
  std::array<qncpptt_port, qncpptt_ports_count> ports{};
  UniqueFd fd;
  in_addr_t mcast_iface_addr = 0;  // the interface in use, network order; 0: none
  unsigned mcast_iface_index = 0;  // its index
  sockaddr_in req_addr;            // where requests go: 239.192.255.4:4011. A test may point it elsewhere
  in_port_t local_port = 4012;     // host order. A test may set it to 0, for any free one

  QncpPtt();
};
extern QncpPtt qncpptt;

// Takes one datagram as terminated text.
void qncpptt_receive(const char* text, TimeUs now);

}  // namespace hark
