// The traces of the user agent: where each step of a call could be followed. They go nowhere; who needs them
// gives bogus_print a body for the build at hand.
#pragma once

#include <cstdint>

namespace hark {

inline void bogus_print(const char* format, ...) __attribute__((format(printf, 1, 2)));
inline void bogus_print(const char* /*format*/, ...) {}

// A handle or an address as traces print it.
[[nodiscard]] inline unsigned trace_handle(const void* handle) {
  return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(handle));
}

}  // namespace hark
