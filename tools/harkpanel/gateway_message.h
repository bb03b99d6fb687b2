// What the gateway tells a browser, as JSON text. docs/browser-panel.md is the reference of the protocol.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/harkpanel/station_view.h"

namespace hark::panel_gateway {

// The answer to a hello: what the panel is.
[[nodiscard]] std::string welcome_message(const StationView& view);
// Those parts of the state.
[[nodiscard]] std::string state_message(const StationView& view, const Parts& parts);
// Keys that the browser holds no more, though it has not let go, and why.
[[nodiscard]] std::string released_message(const std::vector<Signature>& keys, std::string_view why);
[[nodiscard]] std::string echo_message(double number);
// A label or shift of the station as a page can say it: such text as is no UTF-8 comes to it as U+FFFD, and
// of a letter that the station has cut in two it sends nothing.
[[nodiscard]] std::string said_by_page(std::string_view text);
// The last message before the gateway closes the connection.
[[nodiscard]] std::string refused_message(std::string_view why);

}  // namespace hark::panel_gateway
