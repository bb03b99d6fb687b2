#include "support/test_clock.h"

namespace hark {
namespace {

constexpr TimeUs kStart = 1'700'000'000 * kUsPerSecond;
TimeUs g_now = kStart;
TimeUs read_test_clock() { return g_now; }

}  // namespace

TestClock::TestClock() {
  g_now = kStart;
  clock_set_source(read_test_clock);
}

TestClock::~TestClock() { clock_set_source(nullptr); }

void TestClock::AdvanceUs(TimeUs us) { g_now += us; }

}  // namespace hark
