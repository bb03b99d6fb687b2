// What the parts of call modification share among themselves.
#pragma once

#include <climits>
#include <cstddef>
#include <span>

#include "addressing/harkurl.h"
#include "callctl/line_table.h"

namespace hark {

// One direction that a request is about.
struct CallSide {
  int kind;  // kListenKind or kTalkKind
  std::span<HarkLine> table;
  [[nodiscard]] HarkLine& line(int i) const { return table[static_cast<std::size_t>(i)]; }
  [[nodiscard]] std::uint8_t direction() const { return kind == kListenKind ? 2 : 1; }
};
[[nodiscard]] CallSide call_side(int kind);

// The line of the request, -1 for none. A far-dropped line that is wanted again is freed first, which reports
// it off; then there is none, unless who heard of it has begun the call anew.
[[nodiscard]] int find_for_wish(const CallSide& side, const char* url, char wish);

// Starts the timed drop: the line dies after the local drop delay, unless it is wanted again before.
void sipctrl_line_drop(HarkLine& line);

// The trigger level of the URL, zero-based, into the line; 3 when none is given.
void set_trigger_level(HarkLine& line, const harkurl_info& info);

// A call to a source of the routing network. 0, or negative.
[[nodiscard]] int sipctrl_modifycall_harkquillnet(const CallSide& side, const harkurl_info& info, char wish);

}  // namespace hark
