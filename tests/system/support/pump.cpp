#include "system/support/pump.h"

#include <algorithm>
#include <chrono>
#include <vector>

namespace hark::test {
namespace {

using Clock = std::chrono::steady_clock;

// A look at conditions that no socket of ours announces: files, a process that ends, a client's own socket.
constexpr int kLookMs = 2;

std::vector<Pumped*>& peers() {
  static std::vector<Pumped*> list;
  return list;
}

Clock::time_point end_of(int timeout_ms) { return Clock::now() + std::chrono::milliseconds(timeout_ms); }

}  // namespace

Pumped::Pumped() { peers().push_back(this); }

Pumped::~Pumped() { std::erase(peers(), this); }

void pump_once(int timeout_ms) {
  fd_set read;
  fd_set write;
  FD_ZERO(&read);
  FD_ZERO(&write);
  int highest = -1;
  for (const Pumped* peer : peers())
    peer->fill(read, write, highest);
  timeval timeout{};
  timeout.tv_sec = timeout_ms / 1000;
  timeout.tv_usec = static_cast<suseconds_t>(timeout_ms % 1000) * 1000;
  if (::select(highest + 1, &read, &write, nullptr, &timeout) <= 0) return;
  for (Pumped* peer : peers())
    peer->serve(read, write);
}

bool wait_until(const std::function<bool()>& condition, int timeout_ms) {
  const auto end = end_of(timeout_ms);
  while (!condition()) {
    if (Clock::now() >= end) return false;
    pump_once(kLookMs);
  }
  return true;
}

bool stays(const std::function<bool()>& condition, int time_ms) {
  const auto end = end_of(time_ms);
  do {
    if (!condition()) return false;
    pump_once(kLookMs);
  } while (Clock::now() < end);
  return condition();
}

}  // namespace hark::test
