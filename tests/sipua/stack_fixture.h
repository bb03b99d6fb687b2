// The stack's facade with every event recorded as one line of text, in order.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "sipua/SipStackUA.h"

namespace hark {

// The events so far, such as "LineState 1/0 3".
inline std::vector<std::string> events_seen;

// A table with every slot filled: each notes its name and its arguments.
[[nodiscard]] ISipStackUAEvents recording_events();

class StackTest : public ::testing::Test {
 protected:
  StackTest() { events_seen.clear(); }
  ~StackTest() override {
    Stack().Finalize();
    (void)Stack().Initialize(1, nullptr);
    Stack().Finalize();
  }

  static SipStackUA& Stack() { return *SipStackUA::GetInstance(); }
  static std::vector<std::string> Events() { return std::exchange(events_seen, {}); }

  // Three slots, as the control layer has them: 1 with eight lines, 2 with two, 0 and nothing else empty.
  void StartServices() {
    ASSERT_EQ(Stack().Initialize(3, &table_), 1);
    SipServiceConfig config;
    config.lines = 8;
    Stack().ServiceCreate(1, config);
    config.lines = 2;
    Stack().ServiceCreate(2, config);
    (void)Events();
  }

  ISipStackUAEvents table_ = recording_events();
};

}  // namespace hark
