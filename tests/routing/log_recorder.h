// Stands for the log, by linking: what would be sent is kept with its level, which the log's own copy on
// stderr does not show.
#pragma once

#include <string>
#include <vector>

namespace hark {

// Each message as "level text", in order.
extern std::vector<std::string> logged;

// How many of the messages begin with `start`.
[[nodiscard]] int LoggedCount(const std::string& start);

}  // namespace hark
