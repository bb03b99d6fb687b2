// Counts what the program and its libraries take from the heap. The program has one thread, so that counting
// is one addition: an atomic one would weigh on the library that allocates most.
#pragma once

#include <cstdint>

namespace hark::bench {

/// Calls of malloc, calloc and realloc since the start, under which every operator new is too.
std::uint64_t allocation_tally();

}  // namespace hark::bench
