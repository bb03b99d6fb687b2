// The gateway's sockets, by libwebsockets: pages over HTTP, browsers over WebSocket, and the one connection
// to the station, in one loop.
#pragma once

#include <memory>
#include <string>

#include "tools/harkpanel/options.h"

namespace hark::panel_gateway {

class HeldFile;

// Runs until SIGTERM, SIGINT or SIGHUP. Prints "listening on http://ADDR:PORT/" once it does. Returns the
// exit status; what went wrong at the start is on stderr.
[[nodiscard]] int run_gateway(const Options& options, std::unique_ptr<HeldFile> held);

}  // namespace hark::panel_gateway
