// Text that came from the network, made fit for a terminal: names and addresses are what others say of
// themselves, and must not move a cursor or paint a window's title.
#pragma once

#include <chrono>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace hark::ctl {

// `text` with control characters, bytes that are no UTF-8, and marks that turn the direction of writing
// replaced by "\xNN" or "\uNNNN".
[[nodiscard]] std::string printable(std::string_view text);

// A JSON value in one line of ASCII.
[[nodiscard]] std::string json_line(const nlohmann::ordered_json& value);

// Tenths of a dB for people: "-6.0 dB".
[[nodiscard]] std::string gain_text(int tenth_db);

// The rows with each column as wide as its widest text, by characters; the last one as it is.
[[nodiscard]] std::vector<std::string> aligned(const std::vector<std::vector<std::string>>& rows);

using WallTime = std::chrono::system_clock::time_point;
// ISO 8601 with milliseconds, UTC: "2026-11-21T20:46:29.123Z".
[[nodiscard]] std::string utc_text(WallTime time);
// The same moment on the clock of the room: "21:46:29.123".
[[nodiscard]] std::string clock_text(WallTime time);

}  // namespace hark::ctl
