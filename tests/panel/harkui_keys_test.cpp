// What a key, a shift, a fader and a label that the panel has chosen by itself send to the station.
#include "panel/harkui_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using HarkUIKeys = HarkUITest;
using HarkUIShift = HarkUITest;
using HarkUIFader = HarkUITest;
using HarkUIChosenLabel = HarkUITest;

TEST_F(HarkUIKeys, EventWithTimeIsALineAndAnEmptyOne) {
  Attached();
  ui->IntercomKeyEvent(sig("KL01"), true, 1000, nullptr);
  EXPECT_EQ(sent, "event HARKUI#desk.BUT#KL01 KEY=DOWN T=1000\n\n");
  Forget();
  ui->IntercomKeyEvent(sig("KL01"), false, 1150, nullptr);
  EXPECT_EQ(sent, "event HARKUI#desk.BUT#KL01 KEY=UP T=1150\n\n");
}

TEST_F(HarkUIKeys, EventWithoutTimeIsALine) {
  Attached();
  ui->IntercomKeyEvent(sig("KT03"), true, std::nullopt, nullptr);
  ui->IntercomKeyEvent(sig("KT03"), false, std::nullopt, nullptr);
  EXPECT_EQ(sent, "event HARKUI#desk.BUT#KT03 KEY=DOWN\nevent HARKUI#desk.BUT#KT03 KEY=UP\n");
}

TEST_F(HarkUIKeys, TimeIsAnyNumberOfTheClock) {
  Attached();
  struct Row {
    std::uint32_t time;
    const char* text;
  };
  for (const Row& row :
       {Row{0, "0"}, Row{1, "1"}, Row{2147483648U, "2147483648"}, Row{4294967295U, "4294967295"}}) {
    SCOPED_TRACE(row.text);
    ui->IntercomKeyEvent(sig("KL01"), true, row.time, nullptr);
    EXPECT_EQ(sent, std::string("event HARKUI#desk.BUT#KL01 KEY=DOWN T=") + row.text + "\n\n");
    Forget();
  }
}

TEST_F(HarkUIKeys, EveryKeyGoesUpUnderItsName) {
  Attached(1, 4);
  for (const char* key :
       {"KL01", "KT04", "KX02", "KL90", "KLAA", "KTAA", "KXAA", "TGRP", "ASGN", "SPKM", "MICM", "MENU"}) {
    SCOPED_TRACE(key);
    ui->IntercomKeyEvent(read_sig(key), true, 7, "not a shift");
    EXPECT_EQ(sent, std::string("event HARKUI#desk.BUT#") + key + " KEY=DOWN T=7\n\n");
    Forget();
  }
}

TEST_F(HarkUIKeys, LightsNoLampByItself) {
  Attached();
  ui->IntercomKeyEvent(sig("KL01"), true, 5, nullptr);
  ui->UpdateKeyIndicators();
  EXPECT_EQ(Lamp(kLampListen, 0), kLampOff);
  EXPECT_EQ(ui->getindi(sig("KL01")), '\0');
}

TEST_F(HarkUIShift, SelectsTheShift) {
  Attached();
  ui->IntercomKeyEvent(kShiftKey, true, 1000, "Evening");
  EXPECT_EQ(sent, "event HARKUI#desk.SEL#SHIFT TEXT=\"Evening\"\n");
}

TEST_F(HarkUIShift, IsNoKeyEventInAnyDirection) {
  Attached();
  ui->IntercomKeyEvent(kShiftKey, false, std::nullopt, "Evening");
  EXPECT_EQ(sent, "event HARKUI#desk.SEL#SHIFT TEXT=\"Evening\"\n");
}

TEST_F(HarkUIShift, NameIsEscapedAndHasAtMostTwentyBytes) {
  Attached();
  struct Row {
    std::string name;
    std::string text;
  };
  for (const Row& row : {
           Row{"", ""},
           Row{"a b", "a b"},
           Row{"the \"A\" crew", "the \\\"A\\\" crew"},
           Row{"back\\slash", "back\\\\slash"},
           Row{std::string(20, 'x'), std::string(20, 'x')},
           Row{std::string(21, 'x'), std::string(20, 'x')},
           Row{std::string(500, 'x'), std::string(20, 'x')},
           Row{std::string(18, 'x') + "\"", std::string(18, 'x') + "\\\""},
           Row{std::string(19, 'x') + "\"", std::string(19, 'x')},  // no room for both bytes of it
           Row{std::string(19, 'x') + "\\y", std::string(19, 'x')},
           Row{std::string(11, '"'), "\\\"\\\"\\\"\\\"\\\"\\\"\\\"\\\"\\\"\\\""},
           Row{"100%s", "100%s"},
       }) {
    SCOPED_TRACE(row.name);
    ui->IntercomKeyEvent(kShiftKey, true, 5, row.name.c_str());
    EXPECT_EQ(sent, "event HARKUI#desk.SEL#SHIFT TEXT=\"" + row.text + "\"\n");
    Forget();
  }
}

TEST_F(HarkUIShift, NoNameIsAnEmptyOne) {
  Attached();
  ui->IntercomKeyEvent(kShiftKey, true, 5, nullptr);
  EXPECT_EQ(sent, "event HARKUI#desk.SEL#SHIFT TEXT=\"\"\n");
}

TEST_F(HarkUIShift, TakesNoChosenLabelAlong) {
  chosen = "Bob";
  Attached();
  ui->IntercomKeyEvent(kShiftKey, true, 5, "Evening");
  EXPECT_EQ(sent, "event HARKUI#desk.SEL#SHIFT TEXT=\"Evening\"\n");
  EXPECT_THAT(buffer_sizes, ElementsAre());
  EXPECT_EQ(Record(4), "/ 0");
}

TEST_F(HarkUIChosenLabel, GoesUpAheadOfTheNextKeyAndOnce) {
  Attached();
  chosen = "Bob";
  EXPECT_EQ(sent, "");
  ui->IntercomKeyEvent(sig("KLAA"), true, 5, nullptr);
  EXPECT_EQ(sent, "event HARKUI#desk.DISP#KLAA TEXT=\"Bob\"\nevent HARKUI#desk.BUT#KLAA KEY=DOWN T=5\n\n");
  Forget();
  ui->IntercomKeyEvent(sig("KLAA"), false, 9, nullptr);
  EXPECT_EQ(sent, "event HARKUI#desk.BUT#KLAA KEY=UP T=9\n\n");
}

TEST_F(HarkUIChosenLabel, OnlyAKeyTakesItUp) {
  Attached();
  chosen = "Bob";
  ui->TimerAction();
  ui->UpdateKeyIndicators();
  Set("BUT#KL02 IND=On");
  Set("DISP#KL02 TEXT=\"Ann\"");
  ui->IntercomFaderMoved(sig("KL01"), -60, false);
  EXPECT_EQ(sent, "event HARKUI#desk.FAD#KL01 gain=-60\n");
  EXPECT_THAT(buffer_sizes, ElementsAre());
}

TEST_F(HarkUIChosenLabel, GoesUpWithAnyKey) {
  Attached();
  for (const char* key : {"KL01", "KT02", "ASGN", "MICM"}) {
    SCOPED_TRACE(key);
    chosen = std::string("with ") + key;
    ui->IntercomKeyEvent(read_sig(key), false, std::nullopt, nullptr);
    EXPECT_EQ(sent, "event HARKUI#desk.DISP#KLAA TEXT=\"" + chosen + "\"\nevent HARKUI#desk.BUT#" + key +
                        " KEY=UP\n");
    Forget();
  }
}

TEST_F(HarkUIChosenLabel, KeyZeroSendsNothingElse) {
  Attached();
  chosen = "Bob";
  ui->IntercomKeyEvent(0, true, 5, nullptr);
  EXPECT_EQ(sent, "event HARKUI#desk.DISP#KLAA TEXT=\"Bob\"\n");
  Forget();
  ui->IntercomKeyEvent(0, true, 5, nullptr);
  ui->IntercomKeyEvent(0, false, std::nullopt, nullptr);
  EXPECT_TRUE(Silent());
}

TEST_F(HarkUIChosenLabel, IsKeptAsTheChannelsText) {
  Attached();
  chosen = "Bob";
  ui->IntercomKeyEvent(0, true, 5, nullptr);
  EXPECT_STREQ(ui->record(4).text.data(), "Bob");
}

TEST_F(HarkUIChosenLabel, ThatTheStationShowsAlreadyStaysHere) {
  Attached();
  Set("DISP#KLAA TEXT=\"Bob\", ALT=\"\"");
  Forget();
  chosen = "Bob";
  ui->IntercomKeyEvent(0, true, 5, nullptr);
  EXPECT_TRUE(Silent());
}

TEST_F(HarkUIChosenLabel, GoesUpAgainWhenTheStationShowedAnother) {
  Attached();
  chosen = "Bob";
  ui->IntercomKeyEvent(0, true, 5, nullptr);
  Set("DISP#KLAA TEXT=\"Ann\", ALT=\"\"");
  Forget();
  ui->IntercomKeyEvent(0, true, 5, nullptr);
  EXPECT_EQ(sent, "event HARKUI#desk.DISP#KLAA TEXT=\"Bob\"\n");
}

TEST_F(HarkUIChosenLabel, EachDifferenceCounts) {
  Attached();
  for (const char* label : {"Bob", "bob", "Bob 2", "Bob", "", "0123456789", "012345678"}) {
    SCOPED_TRACE(label);
    chosen = label;
    ui->IntercomKeyEvent(0, true, 5, nullptr);
    EXPECT_EQ(sent, std::string("event HARKUI#desk.DISP#KLAA TEXT=\"") + label + "\"\n");
    Forget();
  }
}

TEST_F(HarkUIChosenLabel, HasRoomForTenCharacters) {
  Attached();
  chosen = "0123456789abc";
  ui->IntercomKeyEvent(0, true, 5, nullptr);
  EXPECT_THAT(buffer_sizes, ElementsAre(kPanelTextSize));
  EXPECT_EQ(sent, "event HARKUI#desk.DISP#KLAA TEXT=\"0123456789\"\n");
  EXPECT_EQ(kPanelTextSize, 11);
}

TEST_F(HarkUIFader, SendsALevelOrAMove) {
  Attached();
  struct Row {
    const char* key;
    int value;
    bool relative;
    const char* text;
  };
  for (const Row& row : {
           Row{"KL01", -60, false, "FAD#KL01 gain=-60"},
           Row{"KL01", -10, true, "FAD#KL01 dgain=-10"},
           Row{"KL04", 10, true, "FAD#KL04 dgain=10"},
           Row{"SPKV", 0, false, "FAD#SPKV gain=0"},
           Row{"SPKV", 120, false, "FAD#SPKV gain=120"},
           Row{"KVOL", 0, true, "FAD#KVOL dgain=0"},
           Row{"HDPV", -1000, false, "FAD#HDPV gain=-1000"},
           Row{"KL90", 2147483647, false, "FAD#KL90 gain=2147483647"},
       }) {
    SCOPED_TRACE(row.text);
    ui->IntercomFaderMoved(read_sig(row.key), row.value, row.relative);
    EXPECT_EQ(sent, std::string("event HARKUI#desk.") + row.text + "\n");
    Forget();
  }
}

TEST_F(HarkUIFader, OwnMoveCallsNothingBack) {
  Attached();
  ui->IntercomFaderMoved(sig("KL01"), -60, false);
  EXPECT_THAT(faders, ElementsAre());
}

}  // namespace
}  // namespace hark::test
