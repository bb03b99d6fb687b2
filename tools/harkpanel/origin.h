// Who may open a panel's WebSocket, by the headers of its request. A browser lets any page of the world
// connect to any address that it reaches, and only tells by its Origin which page that was (RFC 6455 10.2).
#pragma once

#include <string_view>

namespace hark::panel_gateway {

// Why this upgrade is refused, as a sentence for the person at the other end; empty: it is not. `origin` is
// empty for a client that is no browser, and sends none. `token_wanted`: a browser must present a token, and
// so the name under which it found us proves nothing that the token does not. Without one the Host must be
// this machine by number or as localhost: a foreign page whose name was made to point at loopback has an
// Origin that agrees with its Host.
[[nodiscard]] std::string_view upgrade_refusal(std::string_view origin, std::string_view host,
                                               bool token_wanted);

}  // namespace hark::panel_gateway
