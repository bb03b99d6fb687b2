// What start-up, loop and shut-down share.
#pragma once

#include <csignal>
#include <cstdint>

#include "base/fd.h"

namespace hark {

struct HarkdState {
  UniqueFd listen_fd;
  std::uint32_t panel_outputs = 255;  // as last told: all at rest
};
extern HarkdState harkd;

// Set by the handler of SIGTERM, which does nothing else: the loop logs.
extern volatile std::sig_atomic_t bStopSignaled;

// Dials the routing daemon, unless it is connected or none is wanted. One that is down is no error: the slow
// section of the loop comes here again.
void dial_routing_daemon();

}  // namespace hark
