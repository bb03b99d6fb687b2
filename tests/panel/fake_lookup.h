// A DNS-SD look-up of one service that answers as a test says, in place of the library's.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace hark {

// Labels that were asked for, and what is answered; it may make the station known.
extern std::vector<std::string> lookups_asked;
extern std::function<int(const std::string& label)> lookup_answer;

}  // namespace hark
