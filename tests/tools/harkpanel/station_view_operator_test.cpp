// What an operator does, as the station is told of it: keys, faders, the caller of the auto-answer channel,
// shifts.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <charconv>
#include <string>

#include "panel/vol_step.h"
#include "tools/harkpanel/gateway_rig.h"
#include "tools/harkpanel/station_view.h"

namespace hark::panel_gateway {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class OperatorTest : public testing::Test {
 protected:
  OperatorTest() {
    view.connecting();
    view.connected();
    view.receive(test::kSettings);
    (void)view.take_changes();
    sent.clear();
  }
  // The lines since the last call, empty ones left out.
  test::Lines Sent() {
    test::Lines lines;
    for (std::size_t end = 0; (end = sent.find('\n')) != std::string::npos; sent.erase(0, end + 1))
      if (end > 0) lines.push_back(sent.substr(0, end));
    EXPECT_EQ(sent, "") << "a line without its end";
    return lines;
  }

  std::string sent;
  StationView view{"web", 1, 3, false, ShiftNames(), [this](const char* text) { sent += text; }};
};

TEST_F(OperatorTest, KeysGoWithTheirTimes) {
  view.key(sig("KL01"), true, 1000);
  view.key(sig("KL01"), false, 4294967295U);
  view.key(kGroupTalk, true, 0);
  EXPECT_THAT(Sent(), ElementsAre("event HARKUI#web.BUT#KL01 KEY=DOWN T=1000",
                                  "event HARKUI#web.BUT#KL01 KEY=UP T=4294967295",
                                  "event HARKUI#web.BUT#TGRP KEY=DOWN T=0"));
}

TEST_F(OperatorTest, SpeakerIsSetToItsLevel) {
  view.fader_to(kSpeakerVolume, -60);
  EXPECT_THAT(Sent(), ElementsAre("event HARKUI#web.FAD#SPKV gain=-60"));
  EXPECT_EQ(view.speaker_level(), -60);
  EXPECT_TRUE(view.take_changes().speaker);
  view.fader_by(kSpeakerVolume, 10);
  EXPECT_THAT(Sent(), ElementsAre("event HARKUI#web.FAD#SPKV gain=-50"));
  view.receive("set HARKUI#web.FAD#SPKV gain=-240");
  view.fader_by(kSpeakerVolume, -10);
  EXPECT_THAT(Sent(), ElementsAre("event HARKUI#web.FAD#SPKV gain=-270")) << "by the scale of all faders";
}

// The station's own level of a channel, moved by what it was told, as all its panels are.
TEST_F(OperatorTest, ChannelEndsAtTheLevelThatWasAskedForWhateverTheOrder) {
  int station = 0;
  const auto follow = [&] {
    for (const std::string& line : Sent()) {
      const std::string front = "event HARKUI#web.FAD#KL02 dgain=";
      ASSERT_TRUE(line.starts_with(front)) << line;
      int delta = 0;
      std::from_chars(line.data() + front.size(), line.data() + line.size(), delta);
      station = vol_step(station, delta);
    }
  };
  for (const int to : {-60, -70, 0, 120, -240, -840, 10, -300, -540, 0}) {
    SCOPED_TRACE(to);
    view.fader_to(sig("KL02"), to);
    follow();
    EXPECT_EQ(station, to);
    EXPECT_EQ(view.channel(1).level, to);
  }
  for (const int by : {10, 10, -10, -100, 1000, 10, -1000, -10, 10}) {
    SCOPED_TRACE(by);
    view.fader_by(sig("KL02"), by);
    follow();
    EXPECT_EQ(view.channel(1).level, station);
  }
  EXPECT_EQ(view.channel(0).level, 0);
  EXPECT_EQ(view.channel(2).level, 0);
}

TEST_F(OperatorTest, LevelBetweenTheStepsOfTheScaleEndsAtOneOfThem) {
  view.fader_to(sig("KL01"), -1000);
  EXPECT_EQ(view.channel(0).level, kQuietestVolume);
  view.fader_to(sig("KL01"), -250);
  const int level = view.channel(0).level;
  EXPECT_EQ(level, vol_step(level, 0)) << "it is on the scale";
  EXPECT_NEAR(level, -250, 30);
}

TEST_F(OperatorTest, ReportOfTheStationCountsForTheNextStep) {
  view.receive("set HARKUI#web.FAD#KL01 gain=-125");
  view.fader_to(sig("KL01"), -60);
  EXPECT_THAT(Sent(), ElementsAre("event HARKUI#web.FAD#KL01 dgain=65"));
}

TEST_F(OperatorTest, CallerIsPutOnTheAutoAnswerChannelAtOnce) {
  view.choose_caller("Desk");
  EXPECT_THAT(Sent(), ElementsAre("event HARKUI#web.DISP#KLAA TEXT=\"Desk\""));
  // What the station chooses itself is not overruled by the next key.
  view.receive("set HARKUI#web.DISP#KLAA TEXT=\"Gate\", ALT=\"\"");
  view.key(sig("KLAA"), true, 5);
  EXPECT_THAT(Sent(), ElementsAre("event HARKUI#web.BUT#KLAA KEY=DOWN T=5"));
  EXPECT_EQ(view.auto_answer().text, "Gate");
}

TEST_F(OperatorTest, CallerCanBeTakenAwayAgain) {
  view.receive("set HARKUI#web.DISP#KLAA TEXT=\"Gate\", ALT=\"\"");
  view.choose_caller("");
  EXPECT_THAT(Sent(), ElementsAre("event HARKUI#web.DISP#KLAA TEXT=\"\""));
}

TEST_F(OperatorTest, KeysBeforeAnyChoiceCarryNoLabel) {
  view.receive("set HARKUI#web.DISP#KLAA TEXT=\"Gate\", ALT=\"\"");
  view.key(sig("KL01"), true, 5);
  EXPECT_THAT(Sent(), ElementsAre("event HARKUI#web.BUT#KL01 KEY=DOWN T=5"));
}

TEST_F(OperatorTest, ShiftIsSelectedByNameAndThenKnown) {
  view.select_shift("Evening");
  EXPECT_THAT(Sent(), ElementsAre("event HARKUI#web.SEL#SHIFT TEXT=\"Evening\""));
  EXPECT_EQ(view.shifts().chosen(), "Evening");
  EXPECT_THAT(view.shifts().names(), ElementsAre("Evening"));
  EXPECT_TRUE(view.take_changes().shifts);
}

TEST_F(OperatorTest, ShiftsThatTheStationTellsAreOffered) {
  view.receive("add HARKUI#web.SEL#SHIFT TEXT=\"Morning\", ALT=\"\"");
  view.receive("add HARKUI#web.SEL#SHIFT TEXT=\"Night\", ALT=\"\"");
  EXPECT_THAT(view.shifts().names(), ElementsAre("Morning", "Night"));
  EXPECT_TRUE(view.take_changes().shifts);
  view.receive("remove HARKUI#web.SEL#SHIFT");
  EXPECT_THAT(view.shifts().names(), IsEmpty());
}

TEST_F(OperatorTest, NoTextMakesASecondLine) {
  for (const char* text : {"\"", "\\", "\\\"", "a\" B:\"c", "\"\"\"\"\"\"\"\"\"\""}) {
    SCOPED_TRACE(text);
    view.choose_caller(text);
    view.select_shift(text);
    for (const std::string& line : Sent())
      EXPECT_TRUE(line.starts_with("event HARKUI#web.")) << line;
  }
}

}  // namespace
}  // namespace hark::panel_gateway
