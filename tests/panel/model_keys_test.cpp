// Which channel a key stands for and what a press and a release of it ask the daemon for.
#include <gmock/gmock.h>

#include "panel/model_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ModelKeys : public ModelTest {};

TEST_F(ModelKeys, PressOpensAndReleaseCloses) {
  struct Row {
    const char* key;
    std::vector<std::string> pressed, released;
  };
  for (const Row& row :
       {Row{"KL01", {Call(kBob, "LISTEN:1 VOLUME:0")}, {Call(kBob, "LISTEN:0 VOLUME:0")}},
        {"KT01", {kUnmute, Call(kBob, "TALK:1")}, {Call(kBob, "TALK:0")}},
        {"KX01", {kUnmute, Call(kBob, "TALK:1 LISTEN:1 VOLUME:0")}, {Call(kBob, "TALK:0 LISTEN:0 VOLUME:0")}},
        {"KL02", {Call(kAnn, "LISTEN:1 VOLUME:0")}, {Call(kAnn, "LISTEN:0 VOLUME:0")}},
        {"KT03", {kUnmute, Call(kCat, "TALK:1")}, {Call(kCat, "TALK:0")}}}) {
    SCOPED_TRACE(row.key);
    KeyDown(row.key);
    EXPECT_EQ(Sent(), row.pressed);
    AdvanceMs(500);
    KeyUp(row.key);
    EXPECT_EQ(Sent(), row.released);
  }
}

TEST_F(ModelKeys, KeysWithoutAChannelDoNothing) {
  Channels("SHIFT LABL:\"Day\"\nHARKCH 99 LABL:\"Bob\"\nHARKCH 98 LABL:\"Ann\"\n");
  Start(99);
  model->SetAALabel("Cat");
  model->dirty = 0;
  for (const char* key : {"KL00", "KL99", "KT99", "KX99", "KT00", "KX00", "KM01", "kl98", "KVOL", "SPKV",
                          "HDPV", "MENU", "LINA", "    "}) {
    SCOPED_TRACE(key);
    Hold(key, 500);
    EXPECT_THAT(Sent(), IsEmpty());
    EXPECT_EQ(Dirty(), 0U);
    EXPECT_EQ(model->held_key, 0U);
  }
  KeyDown("KL98");
  EXPECT_THAT(Sent(), ElementsAre(Call(kAnn, "LISTEN:1 VOLUME:0")));
}

// Signatures are taken by their number: KL0A is between KL01 and KL98, and its digits add up to 17.
TEST_F(ModelKeys, CharactersThatAreNoDigitsStandForAChannelToo) {
  Channels("SHIFT LABL:\"Day\"\nHARKCH 17 LABL:\"Bob\"\n");
  Start();
  KeyDown("KL0A");
  EXPECT_THAT(Sent(), ElementsAre(Call(kBob, "LISTEN:1 VOLUME:0")));
}

// Such a name may stand for a number that no channel has, on either side.
TEST_F(ModelKeys, NumbersBeyondTheChannelsDoNothing) {
  Start(10);
  for (const char* key : {"KL12", "KT98", "KX0z", "KL8z", "KT0!", "KL1 ", "KX2\x01"}) {
    SCOPED_TRACE(key);
    for (const bool assigning : {false, true}) {
      model->assign_mode = assigning ? AssignMode::kArmed : AssignMode::kIdle;
      Hold(key, 500);
      EXPECT_EQ(model->assign_mode == AssignMode::kArmed, assigning);
    }
    model->assign_mode = AssignMode::kIdle;
    EXPECT_THAT(Sent(), IsEmpty());
  }
}

TEST_F(ModelKeys, KeyWithoutALabelDoesNothing) {
  for (const char* key : {"KL04", "KT04", "KX04", "KLAA", "KTAA", "KXAA"}) {
    SCOPED_TRACE(key);
    Hold(key, 500);
    EXPECT_THAT(Sent(), IsEmpty());
    EXPECT_EQ(model->held_key, 0U);
  }
}

TEST_F(ModelKeys, KeyOutsideThePanelDoesNothing) {
  ShowKeys(2, 2);
  for (const char* key : {"KL01", "KT01", "KX03"}) {
    SCOPED_TRACE(key);
    Hold(key, 500);
    EXPECT_THAT(Sent(), IsEmpty());
  }
  KeyDown("KT02");
  EXPECT_THAT(Sent(), ElementsAre(kUnmute, Call(kAnn, "TALK:1")));
}

TEST_F(ModelKeys, StationThatNobodyKnowsIsNotCalled) {
  StartWithKey("LABL:\"Nobody\"", kBob);
  for (const char* key : {"KL01", "KT01", "KX01"}) {
    SCOPED_TRACE(key);
    Hold(key, 500);
    EXPECT_THAT(Sent(), IsEmpty());
  }
  EXPECT_FALSE(model->mic_mute);
}

TEST_F(ModelKeys, StationIsLookedUpAtEachPress) {
  Sources("Bob <hark:10.9.9.9>\n");
  KeyDown("KL01");
  EXPECT_THAT(Sent(), ElementsAre(Call("Bob <hark:10.9.9.9>", "LISTEN:1 VOLUME:0")));
  Sources("");
  AdvanceMs(500);
  KeyUp("KL01");
  EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(ModelKeys, WholeLineOfTheStationIsCalled) {
  StartWithKey("LABL:\"Bob\"", "\"Bob\" <hark:10.0.0.1>;trgl=2;llsn=1");
  sent.clear();
  KeyDown("KT01");
  EXPECT_THAT(Sent(), ElementsAre(kUnmute, Call("\\\"Bob\\\" <hark:10.0.0.1>;trgl=2;llsn=1", "TALK:1")));
}

TEST_F(ModelKeys, OneStarInFrontIsNotSent) {
  StartWithKey("LABL:\"*Eve\"", "*Eve <hark:10.0.0.9>");
  KeyDown("KL01");
  EXPECT_THAT(Sent(), ElementsAre(Call("Eve <hark:10.0.0.9>", "LISTEN:1 VOLUME:0")));
  StartWithKey("LABL:\"**Eve\"", "**Eve <hark:10.0.0.9>");
  KeyDown("KL01");
  EXPECT_THAT(Sent(), ElementsAre(Call("*Eve <hark:10.0.0.9>", "LISTEN:1 VOLUME:0")));
}

TEST_F(ModelKeys, ListenGoesWithTheVolumeOfTheParty) {
  listenvol_set("Bob", -120);
  KeyDown("KL01");
  EXPECT_THAT(Sent(), ElementsAre(Call(kBob, "LISTEN:1 VOLUME:-120")));
  AdvanceMs(500);
  KeyUp("KL01");
  EXPECT_THAT(Sent(), ElementsAre(Call(kBob, "LISTEN:0 VOLUME:-120")));
  KeyDown("KT01");
  EXPECT_THAT(Sent(), ElementsAre(kUnmute, Call(kBob, "TALK:1")));
}

TEST_F(ModelKeys, HeldListenKeyIsKnown) {
  struct Row {
    const char* key;
    const char* held;
  };
  for (const Row& row : {Row{"KL01", "KL01"}, {"KX02", "KL02"}}) {
    SCOPED_TRACE(row.key);
    model->held_volume_changed = true;
    KeyDown(row.key);
    EXPECT_EQ(model->held_key, read_sig(row.held));
    EXPECT_FALSE(model->held_volume_changed);
    KeyUp(row.key);
    EXPECT_EQ(model->held_key, 0U);
  }
  KeyDown("KT03");
  EXPECT_EQ(model->held_key, 0U);
}

TEST_F(ModelKeys, TalkKeyLeavesTheHeldListenKeyAlone) {
  KeyDown("KL01");
  Hold("KT02", 500);
  EXPECT_EQ(model->held_key, sig("KL01"));
}

TEST_F(ModelKeys, OpeningTalkUnmutesTheMicrophone) {
  model->mic_mute = true;
  KeyDown("KL01");
  EXPECT_TRUE(model->mic_mute);
  Sent();
  KeyDown("KT01");
  EXPECT_FALSE(model->mic_mute);
  EXPECT_NE(Dirty() & kDirtyIndicators, 0U);
  EXPECT_THAT(Sent(), ElementsAre(kUnmute, Call(kBob, "TALK:1")));
  model->mic_mute = true;
  AdvanceMs(500);
  KeyUp("KT01");
  EXPECT_TRUE(model->mic_mute);
}

// A key keeps the label that its panel shows for as long as the call on it is up: that is who it acts on.
TEST_F(ModelKeys, KeyActsOnThePartyThatItsPanelShows) {
  Report(kBobAddress, "TALK:1");
  model->SelectShift("Night");
  ShowChanges();
  ASSERT_THAT(Labels(), ElementsAre("1 Ann", "4 Zed"));
  Hold("KT01", 500);
  EXPECT_THAT(Sent(), ElementsAre(Call(kBob, "TALK:1"), Call(kBob, "TALK:0")));
  Report(kBobAddress, "TALK:0");
  ShowChanges();
  KeyDown("KT01");
  EXPECT_THAT(Sent(), ElementsAre(kUnmute, Call(kAnn, "TALK:1")));
}

}  // namespace
}  // namespace hark
