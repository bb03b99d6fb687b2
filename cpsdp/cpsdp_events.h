// The value lists of telephone events as bits, and back as text. The negotiation's own.
#pragma once

#include <span>

#include "cpsdp/cpsdp.h"

namespace hark {

// Writes the bits as ranges such as "0-11,16"; those for which there is no room are left out. Returns the
// length.
[[nodiscard]] std::size_t cpsdp_write_event_list(const std::bitset<kEventBits>& bitmap, std::span<char> out);

}  // namespace hark
