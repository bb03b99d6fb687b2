// The calls of a station, from its list and its reports.
#include "tools/control/call_list.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace hark::test {
namespace {

using control::Call;
using control::CallList;
using testing::ElementsAre;
using testing::IsEmpty;

// Failures show calls as lines.
std::string ToText(const Call& call) {
  return call.url + " (" + call.name + ") T" + call.talk + " L" + call.listen + " " +
         std::to_string(call.volume);
}

class CallListTest : public testing::Test {
 protected:
  bool Receive(const std::string& line) { return list_.receive(line); }

  // Whether any of the lines changed the calls.
  bool ReceiveBatch(const std::vector<std::string>& lines) {
    bool changed = Receive("BEGIN");
    for (const std::string& line : lines)
      changed |= Receive(line);
    return Receive("END") || changed;
  }

  std::vector<std::string> Calls() const {
    std::vector<std::string> texts;
    for (const Call& call : list_.calls())
      texts.push_back(ToText(call));
    return texts;
  }

  CallList list_;
};

TEST_F(CallListTest, ReportsAddChangeAndEndACall) {
  EXPECT_TRUE(Receive(R"(CALL URL:"\"Desk\" <hark:10.0.0.2>" TALK:R)"));
  EXPECT_THAT(Calls(), ElementsAre("\"Desk\" <hark:10.0.0.2> (Desk) TR L0 0"));
  EXPECT_TRUE(list_.calls()[0].rings());

  EXPECT_TRUE(Receive(R"(CALL URL:"\"Desk\" <hark:10.0.0.2>" TALK:1)"));
  EXPECT_THAT(Calls(), ElementsAre("\"Desk\" <hark:10.0.0.2> (Desk) T1 L0 0"));
  EXPECT_FALSE(list_.calls()[0].rings());

  EXPECT_TRUE(Receive(R"(CALL URL:"\"Desk\" <hark:10.0.0.2>" TALK:0)"));
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(CallListTest, AReportKeepsWhatItDoesNotName) {
  EXPECT_TRUE(Receive("CALL URL:\"hark:10.0.0.2\" LISTEN:1 VOLUME:-60"));
  EXPECT_TRUE(Receive("CALL URL:\"hark:10.0.0.2\" TALK:r"));
  EXPECT_THAT(Calls(), ElementsAre("hark:10.0.0.2 (hark:10.0.0.2) Tr L1 -60"));
  EXPECT_TRUE(Receive("CALL URL:\"hark:10.0.0.2\" VOLUME:-70"));
  EXPECT_TRUE(Receive("CALL URL:\"hark:10.0.0.2\" LISTEN:0"));
  EXPECT_THAT(Calls(), ElementsAre("hark:10.0.0.2 (hark:10.0.0.2) Tr L0 -70"));
  EXPECT_TRUE(Receive("CALL URL:\"hark:10.0.0.2\" TALK:0"));
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(CallListTest, ADroppedCallStaysUntilItIsToldOff) {
  Receive("CALL URL:\"hark:10.0.0.2\" LISTEN:1");
  EXPECT_TRUE(Receive("CALL URL:\"hark:10.0.0.2\" LISTEN:d"));
  EXPECT_THAT(Calls(), ElementsAre("hark:10.0.0.2 (hark:10.0.0.2) T0 Ld 0"));
  EXPECT_TRUE(Receive("CALL URL:\"hark:10.0.0.2\" LISTEN:0"));
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(CallListTest, WhatChangesNothingSaysSo) {
  Receive("CALL URL:\"hark:10.0.0.2\" TALK:1");
  for (const char* line : {"CALL URL:\"hark:10.0.0.2\" TALK:1", "CALL URL:\"hark:10.0.0.2\" LISTEN:0",
                           "CALL URL:\"hark:10.0.0.2\"", "CALL URL:\"hark:10.0.0.3\" TALK:0",
                           "CALL URL:\"hark:10.0.0.3\" VOLUME:-60", "CALL TALK:0", "HARK LABL:\"Studio A\"",
                           "ERROR 3001 call failed", "END", "begin", "", "CALL"}) {
    SCOPED_TRACE(line);
    EXPECT_FALSE(Receive(line));
    EXPECT_THAT(Calls(), ElementsAre("hark:10.0.0.2 (hark:10.0.0.2) T1 L0 0"));
  }
}

TEST_F(CallListTest, CallsAreInTheOrderInWhichTheyCame) {
  Receive("CALL URL:\"hark:10.0.0.3\" TALK:1");
  Receive("CALL URL:\"hark:10.0.0.2\" TALK:1");
  Receive("CALL URL:\"hark:10.0.0.4\" TALK:1");
  Receive("CALL URL:\"hark:10.0.0.3\" TALK:d");
  Receive("CALL URL:\"hark:10.0.0.2\" TALK:0");
  EXPECT_THAT(Calls(),
              ElementsAre("hark:10.0.0.3 (hark:10.0.0.3) Td L0 0", "hark:10.0.0.4 (hark:10.0.0.4) T1 L0 0"));
}

TEST_F(CallListTest, TheTwoDirectionsOfAnAddressAreOneCallWhateverTheirTags) {
  EXPECT_TRUE(ReceiveBatch({"CALL URL:\"quillnet:239.192.4.210\" TALK:S",
                            "CALL URL:\"quillnet:239.192.4.210;trgl=4\" LISTEN:1 VOLUME:-60"}));
  EXPECT_THAT(Calls(), ElementsAre("quillnet:239.192.4.210 (quillnet:239.192.4.210) TS L1 -60"));
  EXPECT_TRUE(Receive("CALL URL:\"quillnet:239.192.4.210;trgl=4\" LISTEN:0"));
  EXPECT_THAT(Calls(), ElementsAre("quillnet:239.192.4.210 (quillnet:239.192.4.210) TS L0 -60"));
}

TEST_F(CallListTest, AListReplacesWhatWasKnown) {
  Receive("CALL URL:\"hark:10.0.0.2\" TALK:1");
  EXPECT_TRUE(
      ReceiveBatch({"CALL URL:\"hark:10.0.0.3\" TALK:1", "CALL URL:\"hark:10.0.0.4\" LISTEN:R VOLUME:0"}));
  EXPECT_THAT(Calls(),
              ElementsAre("hark:10.0.0.3 (hark:10.0.0.3) T1 L0 0", "hark:10.0.0.4 (hark:10.0.0.4) T0 LR 0"));
  // The same again is no news.
  EXPECT_FALSE(
      ReceiveBatch({"CALL URL:\"hark:10.0.0.3\" TALK:1", "CALL URL:\"hark:10.0.0.4\" LISTEN:R VOLUME:0"}));
  // A line that is listed as off is not up.
  EXPECT_TRUE(
      ReceiveBatch({"CALL URL:\"hark:10.0.0.3\" TALK:0", "CALL URL:\"hark:10.0.0.4\" LISTEN:R VOLUME:0"}));
  EXPECT_THAT(Calls(), ElementsAre("hark:10.0.0.4 (hark:10.0.0.4) T0 LR 0"));
}

TEST_F(CallListTest, NothingIsReplacedBeforeTheListsEnd) {
  Receive("CALL URL:\"hark:10.0.0.2\" TALK:1");
  EXPECT_FALSE(Receive("BEGIN"));
  EXPECT_FALSE(Receive("CALL URL:\"hark:10.0.0.3\" TALK:1"));
  EXPECT_THAT(Calls(), ElementsAre("hark:10.0.0.2 (hark:10.0.0.2) T1 L0 0"));
  EXPECT_TRUE(Receive("END"));
  EXPECT_THAT(Calls(), ElementsAre("hark:10.0.0.3 (hark:10.0.0.3) T1 L0 0"));
}

TEST_F(CallListTest, AnEmptyListEndsAllCalls) {
  Receive("CALL URL:\"hark:10.0.0.2\" TALK:1");
  EXPECT_TRUE(ReceiveBatch({}));
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_FALSE(ReceiveBatch({}));
}

TEST_F(CallListTest, ABatchOfAnotherObjectIsIgnoredWhole) {
  Receive("CALL URL:\"hark:10.0.0.2\" TALK:1");
  const std::vector<std::vector<std::string>> batches = {
      {"GPI 1 hhhhh"},
      {"CALL URL:\"hark:10.0.0.3\" TALK:1", "GPI 1 hhhhh"},
      {"GPI 1 hhhhh", "CALL URL:\"hark:10.0.0.3\" TALK:1"},
      {"CALL TALK:1"},
      {"indi HARKUI#desk.FP"},
  };
  for (const std::vector<std::string>& batch : batches) {
    SCOPED_TRACE(batch[0]);
    EXPECT_FALSE(ReceiveBatch(batch));
    EXPECT_THAT(Calls(), ElementsAre("hark:10.0.0.2 (hark:10.0.0.2) T1 L0 0"));
  }
  // And the next list counts again.
  EXPECT_TRUE(ReceiveBatch({"CALL URL:\"hark:10.0.0.3\" TALK:1"}));
  EXPECT_THAT(Calls(), ElementsAre("hark:10.0.0.3 (hark:10.0.0.3) T1 L0 0"));
}

TEST_F(CallListTest, ASecondBeginStartsTheListAnew) {
  Receive("BEGIN");
  Receive("CALL URL:\"hark:10.0.0.2\" TALK:1");
  Receive("GPI 1 hhhhh");
  EXPECT_TRUE(ReceiveBatch({"CALL URL:\"hark:10.0.0.3\" TALK:1"}));
  EXPECT_THAT(Calls(), ElementsAre("hark:10.0.0.3 (hark:10.0.0.3) T1 L0 0"));
}

TEST_F(CallListTest, ClearForgetsTheCallsAndAListThatHasBegun) {
  Receive("CALL URL:\"hark:10.0.0.2\" TALK:1");
  Receive("BEGIN");
  Receive("CALL URL:\"hark:10.0.0.3\" TALK:1");
  list_.clear();
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_FALSE(Receive("END"));
  EXPECT_TRUE(Receive("CALL URL:\"hark:10.0.0.4\" TALK:1"));
  EXPECT_THAT(Calls(), ElementsAre("hark:10.0.0.4 (hark:10.0.0.4) T1 L0 0"));
}

// Without a limit somebody who pretends to be a station fills the memory.
TEST_F(CallListTest, KeepsNoMoreCallsThanAnyStationHasLines) {
  for (std::size_t i = 0; i < control::kMostCalls; ++i)
    EXPECT_TRUE(Receive("CALL URL:\"hark:h" + std::to_string(i) + "\" TALK:1"));
  EXPECT_FALSE(Receive("CALL URL:\"hark:more\" TALK:1"));
  EXPECT_EQ(list_.calls().size(), control::kMostCalls);
  EXPECT_TRUE(Receive("CALL URL:\"hark:h0\" TALK:0"));
  EXPECT_TRUE(Receive("CALL URL:\"hark:more\" TALK:1"));
}

}  // namespace
}  // namespace hark::test
