// A source of timers with two clients that note what they are told, on a tick counter that only the test
// moves.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "sipua/TimerSource.h"
#include "support/test_ticks.h"

namespace hark {

using Told = std::vector<std::string>;

// A client that notes what it is told, as its name and the id.
class Client : public TimerClient {
 public:
  Client(std::string name, TimerSource* source, Told& told)
      : TimerClient(OnTimerCallback, this, source), name_(std::move(name)), told_(told) {}

  std::function<void()> on_timer;  // what it does then

 private:
  static void OnTimerCallback(void* ctx, unsigned long id, void* data) {
    auto& self = *static_cast<Client*>(ctx);
    const std::string word = data != nullptr ? *static_cast<std::string*>(data) : "";
    self.told_.push_back(self.name_ + std::to_string(id) + word);
    const std::function<void()> act = self.on_timer;  // it may end its client
    if (act) act();
  }

  std::string name_;
  Told& told_;
};

class TimerSourceTest : public ::testing::Test {
 protected:
  TimerSourceTest() { Timer64::Reset(); }
  ~TimerSourceTest() override { Timer64::Reset(); }

  // One call, and what it told.
  Told Dispatch() {
    told_.clear();
    source_.DispatchTimerEvents();
    return told_;
  }
  // Calls until one tells nothing.
  Told DispatchAll() {
    Told all;
    while (!Dispatch().empty() && all.size() < 100'000)
      all.insert(all.end(), told_.begin(), told_.end());
    return all;
  }
  // Leaves `count` entries that are used again.
  void UseEntries(unsigned count) {
    for (unsigned id = 0; id < count; ++id)
      (void)source_.SetTimer(0, id, nullptr, nullptr);
    for (unsigned id = 0; id < count; ++id)
      source_.CancelTimer(id, nullptr);
  }

  TestTicks ticks_;
  Told told_;
  TimerSource source_;
  Client a_{"a", &source_, told_};
  Client b_{"b", &source_, told_};
};

}  // namespace hark
