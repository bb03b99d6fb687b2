// The socket at which browsers come in.
#pragma once

#include <string>

#include "base/fd.h"
#include "tools/control/station_address.h"

namespace hark::panel_gateway {

// Listens at an address in numbers, or at localhost. `address.port` becomes the port that it is. Not open:
// `error` says why.
[[nodiscard]] UniqueFd listen_at(control::HostPort& address, std::string& error);

}  // namespace hark::panel_gateway
