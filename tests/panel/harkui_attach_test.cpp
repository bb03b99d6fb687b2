// How a panel client is made, attaches, and attaches again after its connection was lost.
#include "panel/harkui_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using HarkUIAttach = HarkUITest;

TEST_F(HarkUIAttach, AttachesAndAsksForTheName) {
  Make(1, 20).HarkUI_Initialize();
  EXPECT_EQ(sent, "attach HARKUI#desk KEYS=\"1-20\" AANS:0\nHARK\n");
}

TEST_F(HarkUIAttach, KeyRangeAutoAnswerAndNameAreItsOwn) {
  struct Row {
    int first, nkeys, aans;
    const char* id;
    const char* sent;
  };
  for (const Row& row : {
           Row{1, 1, 1, "7", "attach HARKUI#7 KEYS=\"1-1\" AANS:1\nHARK\n"},
           Row{21, 10, 0, "web", "attach HARKUI#web KEYS=\"21-30\" AANS:0\nHARK\n"},
           Row{1, 90, 1, "a_b-c", "attach HARKUI#a_b-c KEYS=\"1-90\" AANS:1\nHARK\n"},
           Row{90, 1, 0, "x", "attach HARKUI#x KEYS=\"90-90\" AANS:0\nHARK\n"},
           Row{1, 4, 2, "x", "attach HARKUI#x KEYS=\"1-4\" AANS:2\nHARK\n"},
           Row{1, 4, -1, "x", "attach HARKUI#x KEYS=\"1-4\" AANS:-1\nHARK\n"},
           Row{5, 0, 0, "x", "attach HARKUI#x KEYS=\"5-4\" AANS:0\nHARK\n"},
           Row{1, 4, 0, "", "attach HARKUI# KEYS=\"1-4\" AANS:0\nHARK\n"},
           Row{1, 4, 0, "100%s", "attach HARKUI#100%s KEYS=\"1-4\" AANS:0\nHARK\n"},
       }) {
    SCOPED_TRACE(row.sent);
    Make(row.first, row.nkeys, row.aans, row.id).HarkUI_Initialize();
    EXPECT_EQ(sent, row.sent);
    EXPECT_EQ(ui->GetUIID(), row.id);
    EXPECT_EQ(ui->first_key(), row.first);
    EXPECT_EQ(ui->nkeys(), row.nkeys);
    Forget();
  }
}

TEST_F(HarkUIAttach, LongNameGoesOutWhole) {
  const std::string id(300, 'x');
  Make(1, 4, 0, id).HarkUI_Initialize();
  EXPECT_EQ(sent, "attach HARKUI#" + id + " KEYS=\"1-4\" AANS:0\nHARK\n");
  Forget();
  ui->IntercomKeyEvent(sig("KL01"), true, 5, nullptr);
  EXPECT_EQ(sent, "event HARKUI#" + id + ".BUT#KL01 KEY=DOWN T=5\n\n");
}

TEST_F(HarkUIAttach, BlanksEveryDisplay) {
  Make(21, 3).HarkUI_Initialize();
  EXPECT_THAT(displays, ElementsAre("0 /", "1 /", "2 /", "3 /"));  // the last one is the auto-answer channel
}

TEST_F(HarkUIAttach, SaysNothingBeforeItIsTold) {
  Make(1, 4);
  EXPECT_TRUE(Silent());
  EXPECT_EQ(lamp_calls, 0);
}

TEST_F(HarkUIAttach, KnowsNothingAtFirst) {
  Make(1, 2);
  for (int index = 0; index <= 2; ++index)
    EXPECT_EQ(Record(index), "/ 0") << index;
  EXPECT_EQ(ui->label(), "");
  for (const char* key : {"KL01", "KT02", "KLAA", "KTAA", "TGRP", "ASGN", "SPKM", "MICM"})
    EXPECT_EQ(ui->getindi(read_sig(key)), '\0') << key;
}

TEST_F(HarkUIAttach, AgainForgetsWhatTheStationSaid) {
  Attached(1, 4);
  for (const char* key : {"KL01", "KT04", "KLAA", "KTAA", "TGRP", "ASGN", "SPKM", "MICM"})
    Set(std::string("BUT#") + key + " IND=On");
  Set("DISP#KL02 TEXT=\"Bob\", ALT=\"Robert\", DFL=3");
  Set("DISP#KLAA TEXT=\"Ann\", ALT=\"\"");
  Forget();

  ui->HarkUI_Initialize();
  EXPECT_EQ(sent, "attach HARKUI#desk KEYS=\"1-4\" AANS:0\nHARK\n");
  EXPECT_THAT(displays, ElementsAre("0 /", "1 /", "2 /", "3 /", "4 /"));
  for (int index = 0; index <= 4; ++index)
    EXPECT_EQ(Record(index), "/ 0") << index;
  for (const char* key : {"KL01", "KT04", "KLAA", "KTAA", "TGRP", "ASGN", "SPKM", "MICM"})
    EXPECT_EQ(ui->getindi(read_sig(key)), '\0') << key;
}

TEST_F(HarkUIAttach, AgainTurnsLampsOff) {
  Attached();
  Set("BUT#KL01 IND=On");
  Set("BUT#SPKM IND=On");
  ASSERT_EQ(Lamp(kLampListen, 0), kLampOn);
  ASSERT_EQ(Lamp(kLampSpeakerMute), kLampOn);
  ui->HarkUI_Initialize();
  ui->TimerAction();
  EXPECT_EQ(Lamp(kLampListen, 0), kLampOff);
  EXPECT_EQ(Lamp(kLampSpeakerMute), kLampOff);
}

TEST_F(HarkUIAttach, AgainTakesLinesAsTheFirstTime) {
  Attached();
  Set("DISP#KL01 TEXT=\"Bob\", ALT=\"\", DFL=0");
  ui->HarkUI_Initialize();
  ui->HarkUI_Initialize();
  Forget();
  Set("DISP#KL01 TEXT=\"Bob\", ALT=\"\", DFL=0");
  Set("BUT#KL01 IND=On");
  EXPECT_THAT(displays, ElementsAre("0 Bob/"));
  EXPECT_EQ(Lamp(kLampListen, 0), kLampOn);
}

TEST_F(HarkUIAttach, LabelThatIsStillChosenGoesUpAgain) {
  chosen = "Bob";
  Attached();
  ui->IntercomKeyEvent(0, true, std::nullopt, nullptr);
  ASSERT_EQ(sent, "event HARKUI#desk.DISP#KLAA TEXT=\"Bob\"\n");
  ui->HarkUI_Initialize();
  Forget();
  ui->IntercomKeyEvent(0, true, std::nullopt, nullptr);
  EXPECT_EQ(sent, "event HARKUI#desk.DISP#KLAA TEXT=\"Bob\"\n");
}

TEST_F(HarkUIAttach, NoClientWithoutCallbacksOrForFewerThanNoKeys) {
  EXPECT_EQ(HarkUI_Create(1, 4, 0, "desk", nullptr, this), nullptr);
  EXPECT_EQ(HarkUI_Create(1, -1, 0, "desk", &callbacks, this), nullptr);
  EXPECT_NE(HarkUI_Create(1, 4, 0, "desk", &callbacks, nullptr), nullptr);
}

TEST_F(HarkUIAttach, NumberOfKeysHasALimit) {
  EXPECT_EQ(HarkUI_Create(1, kMostPanelKeys + 1, 0, "desk", &callbacks, this), nullptr);
  EXPECT_EQ(HarkUI_Create(1, 2147483647, 0, "desk", &callbacks, this), nullptr);
  Attached(1, kMostPanelKeys);
  Set("DISP#KLAA TEXT=\"Bob\"");
  EXPECT_EQ(Record(kMostPanelKeys), "Bob/ 0");
}

TEST_F(HarkUIAttach, NameThatFillsALineIsCut) {
  Make(1, 4, 0, std::string(5000, 'x')).HarkUI_Initialize();
  EXPECT_EQ(ui->GetUIID(), std::string(1900, 'x'));
  EXPECT_EQ(sent, "attach HARKUI#" + std::string(1900, 'x') + " KEYS=\"1-4\" AANS:0\nHARK\n");
}

TEST_F(HarkUIAttach, PanelWithoutKeysHasItsFunctionKeys) {
  Attached(1, 0);
  Set("BUT#MICM IND=On");
  Set("BUT#KLAA IND=On");
  Set("BUT#KL01 IND=On");
  Set("DISP#KLAA TEXT=\"Bob\"");
  EXPECT_EQ(ui->getindi(sig("MICM")), '1');
  EXPECT_EQ(ui->getindi(sig("KLAA")), '1');
  EXPECT_EQ(ui->getindi(sig("KL01")), '\0');
  EXPECT_EQ(Record(0), "Bob/ 0");
}

TEST_F(HarkUIAttach, FreeTakesAClientOrNone) {
  HarkUI_Free(nullptr);
  Attached();
  HarkUI_Free(std::move(ui));
  EXPECT_EQ(ui, nullptr);
}

}  // namespace
}  // namespace hark::test
