// Counts what this program takes from the heap: every malloc, calloc and realloc, and with them every
// operator new.
#pragma once

#include <cstdint>

namespace hark::bench {

// How many times memory was taken so far.
[[nodiscard]] std::uint64_t allocations();

}  // namespace hark::bench
