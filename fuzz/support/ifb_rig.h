// The IFB link without a network: connections that are open but go nowhere, so that what would be sent stays
// queued and can be read.
#pragma once

#include <string>
#include <vector>

#include "routing/qnrifb_private.h"

namespace hark::fuzz {

// A connection to `to`, the newest one, that counts as established and writes nowhere.
qnrifb_remote_connection& open_ifb_connection(const IfbAddress& to);

// What a set request of the queue does: which destination gets what.
struct IfbRequest {
  std::string password;
  int dst = 0;
  std::string value;  // as a far daemon reads it
};

// The set requests in the queue of the connection from `from` on. Checks that nothing else is in there but
// whole queries, and that the positions of the queue are in order.
[[nodiscard]] std::vector<IfbRequest> ifb_requests(const qnrifb_remote_connection& conn, std::size_t from);

// Checks that ports and connections know each other: each used port stands in the list of its connection,
// once, and nobody else does.
void check_ifb_links();

// Puts the link back to its start, with all destinations given back on the way.
void reset_ifb();

}  // namespace hark::fuzz
