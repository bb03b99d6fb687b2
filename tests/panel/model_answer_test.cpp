// Who is answered at once when they call, and with what.
#include <gmock/gmock.h>

#include "panel/model_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

int some_autoanswer() { return 2; }
int no_autoanswer() { return 0; }

class ModelAnswer : public ModelTest {
 protected:
  bool Answers(const std::string& url, const std::string& fields = "TALK:R") {
    Sent();
    Report(url, fields);
    return !Sent().empty();
  }
  void ForgetParties() {
    model->connections.clear();
    model->callstack = {};
  }
};

TEST_F(ModelAnswer, StationOnAKeyIsAnsweredAtOnce) {
  Report(kBobAddress, "TALK:R");
  EXPECT_THAT(Sent(), ElementsAre(Call(kBobAddress, "TALK:1")));
}

TEST_F(ModelAnswer, WhatRingsIsTurnedOn) {
  listenvol_set("Bob", -120);
  struct Row {
    const char* fields;
    std::vector<std::string> sent;
  };
  for (const Row& row : {Row{"TALK:R", {Call(kBobAddress, "TALK:1")}},
                         {"LISTEN:R", {Call(kBobAddress, "LISTEN:1 VOLUME:-120")}},
                         {"TALK:R LISTEN:R", {Call(kBobAddress, "TALK:1 LISTEN:1 VOLUME:-120")}},
                         {"TALK:R LISTEN:1", {Call(kBobAddress, "TALK:1")}},
                         {"TALK:0 LISTEN:R", {Call(kBobAddress, "LISTEN:1 VOLUME:-120")}},
                         {"TALK:1", {}},
                         {"TALK:r", {}},
                         {"TALK:d", {}},
                         {"TALK:0", {}},
                         {"LISTEN:1", {}},
                         {"LISTEN:r", {}},
                         {"LISTEN:d", {}},
                         {"LISTEN:0", {}},
                         {"VOLUME:5", {}}}) {
    SCOPED_TRACE(row.fields);
    ForgetParties();
    Report(kBobAddress, row.fields);
    EXPECT_EQ(Sent(), row.sent);
  }
}

TEST_F(ModelAnswer, StateThatRangBeforeIsNotAnsweredAgain) {
  Report(kBobAddress, "TALK:R");
  Sent();
  EXPECT_FALSE(Answers(kBobAddress, "LISTEN:1"));
}

TEST_F(ModelAnswer, GoesToTheUrlAsItCame) {
  Indicate(R"(CALL URL:"\"Bob\" <hark:10.0.0.1>;trgl=9;x=\"y\"" TALK:R)");
  EXPECT_THAT(Sent(), ElementsAre(Call(R"(\"Bob\" <hark:10.0.0.1>;trgl=9;x=\"y\")", "TALK:1")));
}

TEST_F(ModelAnswer, StationWithoutAKeyIsAnsweredIfAutoAnswerIsPossible) {
  struct Row {
    int setting;
    int (*panels)();
    bool answers;
  };
  for (const Row& row : {Row{-1, no_autoanswer, false},
                         {-1, some_autoanswer, true},
                         {0, no_autoanswer, false},
                         {0, some_autoanswer, false},
                         {1, no_autoanswer, true},
                         {1, some_autoanswer, true},
                         {2, no_autoanswer, true}}) {
    SCOPED_TRACE(row.setting);
    ForgetParties();
    station.harkui_aans = row.setting;
    harkd_has_autoanswer_callback = row.panels;
    EXPECT_EQ(Answers(kZedAddress), row.answers);
    EXPECT_TRUE(Answers(kBobAddress)) << "a key is enough";
  }
}

// The level in the URL is one above the far end's; without one nothing is held against it.
TEST_F(ModelAnswer, StationOfALowerLevelIsNotAnswered) {
  struct Row {
    int level;
    const char* tags;
    bool answers;
  };
  for (const Row& row : {Row{3, "", true},
                         {3, ";trgl=0", true},
                         {3, ";trgl=1", false},
                         {3, ";trgl=3", false},
                         {3, ";trgl=4", true},
                         {3, ";trgl=5", true},
                         {3, ";x=y;trgl=2", false},
                         {3, ";trgl=0x2", false},
                         {0, ";trgl=1", true},
                         {9, ";trgl=9", false},
                         {9, ";trgl=10", true},
                         {3, ";trgl=-9999999999999999999999999", true},
                         {3, ";trgl=9999999999999999999999999", true},
                         {9, "", true}}) {
    SCOPED_TRACE(std::to_string(row.level) + row.tags);
    station.harkd_trgl_normal = row.level;
    ForgetParties();
    EXPECT_EQ(Answers(kBobAddress + std::string(row.tags)), row.answers);
    station.harkui_aans = 1;
    ForgetParties();
    EXPECT_EQ(Answers(kZedAddress + std::string(row.tags)), row.answers) << "auto-answer";
    station.harkui_aans = -1;
  }
}

TEST_F(ModelAnswer, LevelIsThatOfTheOnAirState) {
  station.harkd_trgl_normal = 1;
  station.harkd_trgl_onair = 5;
  EXPECT_TRUE(Answers(std::string(kBobAddress) + ";trgl=3"));
  ForgetParties();
  station.harkd_onair = true;
  EXPECT_FALSE(Answers(std::string(kBobAddress) + ";trgl=3"));
  EXPECT_FALSE(Answers(std::string(kBobAddress) + ";trgl=5"));
  EXPECT_TRUE(Answers(std::string(kBobAddress) + ";trgl=6"));
}

TEST_F(ModelAnswer, LevelOfTheSourceFileDoesNotCount) {
  Sources("Bob <hark:10.0.0.1>;trgl=1\n");
  EXPECT_TRUE(Answers(kBobAddress));
}

// Who was up within the time of a recent call is answered without a key, and whatever its level.
TEST_F(ModelAnswer, RecentPartyIsAnsweredAgain) {
  const std::string low = std::string(kZedAddress) + ";trgl=1";
  Report(low, "TALK:1");
  Report(low, "TALK:0");
  model->callstack = {};
  AdvanceMs(59'999);
  EXPECT_TRUE(Answers(low));
}

TEST_F(ModelAnswer, PartyOfAnEarlierTimeIsNotAnsweredAgain) {
  for (const long passed : {60'000L, 60'001L, 600'000L}) {
    SCOPED_TRACE(passed);
    ForgetParties();
    Report(kZedAddress, "TALK:1");
    Report(kZedAddress, "TALK:0");
    model->callstack = {};
    AdvanceMs(passed);
    EXPECT_FALSE(Answers(kZedAddress));
  }
}

TEST_F(ModelAnswer, PartyThatWasNeverUpIsNotRecent) {
  EXPECT_FALSE(Answers(kZedAddress));
  Report(kZedAddress, "TALK:0");
  EXPECT_FALSE(Answers(kZedAddress));
}

// To answer counts as contact, though the call may never get up.
TEST_F(ModelAnswer, AnsweredPartyIsRecentBeforeItIsUp) {
  station.harkui_aans = 1;
  ASSERT_TRUE(Answers(kZedAddress));
  station.harkui_aans = 0;
  EXPECT_TRUE(Answers(kZedAddress, "LISTEN:R"));
  Report(kZedAddress, "TALK:0 LISTEN:0");
  AdvanceMs(1000);
  EXPECT_TRUE(Answers(kZedAddress));
}

TEST_F(ModelAnswer, PartyThatIsOnInTheCallStackIsAnswered) {
  struct Row {
    unsigned status;
    bool answers;
  };
  const std::string low = std::string(kZedAddress) + ";trgl=1";
  for (const Row& row : {Row{1, true},
                         {16, true},
                         {17, true},
                         {16 | 8, true},
                         {0, false},
                         {2, false},
                         {4, false},
                         {8, false},
                         {32, false},
                         {64, false},
                         {128, false}}) {
    SCOPED_TRACE(row.status);
    ForgetParties();
    model->callstack_add("Zed", row.status);
    EXPECT_EQ(Answers(low), row.answers);
  }
}

TEST_F(ModelAnswer, AnotherPartyInTheCallStackDoesNotCount) {
  model->callstack_add("Yan", kTalkOn);
  EXPECT_FALSE(Answers(kZedAddress));
}

}  // namespace
}  // namespace hark
