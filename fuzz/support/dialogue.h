// An input of several lines as what is said to a station: by whom, and when. One line feed or carriage return
// ends a line. The first character of a line tells what it is:
//
//   @ms   the clock moves by so many ms, and the loop makes a pass
//   !     from the daemon itself
//   &     from the second client
//   *     from the console
//   <     from the routing daemon
//   >     from the first client
//
// Any other line is from the sender that the target is about.
#pragma once

#include <string_view>

#include "support/station_rig.h"

namespace hark::fuzz {

void run_dialogue(std::string_view input, Sender sender);

}  // namespace hark::fuzz
