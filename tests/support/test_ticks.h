// A tick counter that stands until a test moves it, behind every time that the user agent's timers read.
#pragma once

#include <unistd.h>

#include <cstdint>

#include "base/clock.h"

namespace hark {

class TestTicks {
 public:
  explicit TestTicks(std::int32_t start = 0) {
    g_ticks = start;
    g_reads = 0;
    clock_set_tick_source([] {
      ++g_reads;
      return g_ticks;
    });
  }
  ~TestTicks() { clock_set_tick_source(nullptr); }
  TestTicks(const TestTicks&) = delete;
  TestTicks& operator=(const TestTicks&) = delete;

  void Set(std::int32_t ticks) { g_ticks = ticks; }
  // Wraps as the counter does.
  void Advance(std::uint32_t ticks) {
    g_ticks = static_cast<std::int32_t>(static_cast<std::uint32_t>(g_ticks) + ticks);
  }
  // Moves by whole ticks; what is left of `ms` is lost.
  void AdvanceMs(std::uint32_t ms) { Advance(ms / MsPerTick()); }

  [[nodiscard]] static std::uint32_t MsPerTick() {
    return static_cast<std::uint32_t>(1000 / ::sysconf(_SC_CLK_TCK));
  }
  // How often the counter was read.
  [[nodiscard]] static unsigned Reads() { return g_reads; }

 private:
  static inline std::int32_t g_ticks = 0;
  static inline unsigned g_reads = 0;
};

}  // namespace hark
