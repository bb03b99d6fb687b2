// A panel client on a real station, from the key to the mixer and back to the lamp: what it shows when it
// attaches, keys that are held and tapped, faders, mutes, and what a panel beside it does.
#include "system/harkui_panel.h"

namespace hark::test {
namespace {

using testing::ElementsAre;
using testing::Optional;

using HarkUIPanelKeys = HarkUIPanelTest;

TEST_F(HarkUIPanelKeys, AttachShowsLabelsLampsLevelsAndTheName) {
  EXPECT_EQ(mine.ui().label(), "STUDIO A");
  EXPECT_EQ(mine.display(0), "Bob/");
  EXPECT_EQ(mine.display(1), "Ann/Anna B.");
  EXPECT_EQ(mine.display(2), "Low/");
  EXPECT_EQ(mine.display(3), "Mic/");
  EXPECT_EQ(mine.display(4), "/");
  EXPECT_EQ(mine.display(19), "/");
  EXPECT_EQ(mine.display(20), "/");
  EXPECT_EQ(mine.display(21), "-");
  EXPECT_EQ(mine.ui().record(3).dfl, 1U) << "nobody can talk to it";
  EXPECT_EQ(mine.ui().record(0).dfl, 0U);
  for (int index = 0; index < 20; ++index) {
    EXPECT_EQ(mine.lamp(kLampTalk, index), kLampOff) << index;
    EXPECT_EQ(mine.lamp(kLampListen, index), kLampOff) << index;
  }
  for (const char* key : {"KL01", "KT20", "KLAA", "KTAA", "TGRP", "ASGN", "SPKM", "MICM"})
    EXPECT_EQ(mine.ui().getindi(read_sig(key)), '0') << key;
  for (const char* fader : {"SPKV", "KL01", "KL20"})
    EXPECT_THAT(mine.fader(fader), Optional(0)) << fader;
}

TEST_F(HarkUIPanelKeys, StationKnowsThePanelByItsNameAndKeys) {
  ASSERT_TRUE(client.send_line("SUB HARKUI"));
  EXPECT_TRUE(client.skip_to("add HARKUI#mine.FP KEYS:\"1-20\""));
}

TEST_F(HarkUIPanelKeys, HeldListenIsHeardAndLitUntilItIsLetGo) {
  mine.press("KL01", 1000);
  EXPECT_TRUE(mine.wait_lamp(kLampListen, 0, kLampOn));
  EXPECT_TRUE(MixerGets("sub#1.in#1 src_id=\"239.192.0.7\", gain=0"));
  EXPECT_EQ(mine.lamp(kLampTalk, 0), kLampOff);
  mine.release("KL01", 2000);
  EXPECT_TRUE(mine.wait_lamp(kLampListen, 0, kLampOff));
  EXPECT_TRUE(MixerGets("sub#1.in#1 src_id=\"\", gain=0"));
  EXPECT_THAT(CallList(), ElementsAre());
}

TEST_F(HarkUIPanelKeys, HeldTalkClosesTheContactAndIsLit) {
  EXPECT_THAT(answers(client, "SUB GPI 4"), ElementsAre("GPI 4 hhhhh"));
  mine.press("KT01", 1000);
  EXPECT_TRUE(client.expect_line("GPI 4 Lhhhh"));
  EXPECT_TRUE(mine.wait_lamp(kLampTalk, 0, kLampOn));
  mine.release("KT01", 2000);
  EXPECT_TRUE(client.expect_line("GPI 4 Hhhhh"));
  EXPECT_TRUE(mine.wait_lamp(kLampTalk, 0, kLampOff));
}

TEST_F(HarkUIPanelKeys, TapLatchesAndTheNextEnds) {
  mine.tap("KL01");
  ASSERT_TRUE(mine.wait_lamp(kLampListen, 0, kLampOn));
  // Another call comes and goes: time enough for this one to have ended.
  mine.hold("KL02");
  ASSERT_TRUE(mine.wait_lamp(kLampListen, 1, kLampOn));
  ASSERT_TRUE(mine.wait_lamp(kLampListen, 1, kLampOff));
  EXPECT_EQ(mine.lamp(kLampListen, 0), kLampOn);
  mine.tap("KL01");
  EXPECT_TRUE(mine.wait_lamp(kLampListen, 0, kLampOff));
}

TEST_F(HarkUIPanelKeys, WithoutATimeTheStationsOwnClockIsTaken) {
  EXPECT_THAT(answers(client, "HARK LATCH:60000"), ElementsAre());
  mine.ui().IntercomKeyEvent(sig("KL01"), true, std::nullopt, nullptr);
  mine.ui().IntercomKeyEvent(sig("KL01"), false, std::nullopt, nullptr);
  mine.hold("KL02");
  mine.tap("KL03");
  ASSERT_TRUE(mine.wait_lamp(kLampListen, 2, kLampOn));
  EXPECT_EQ(mine.lamp(kLampListen, 0), kLampOn);
}

TEST_F(HarkUIPanelKeys, EachPanelSeesWhatTheOtherDoes) {
  panel.tap("KL02");
  EXPECT_TRUE(mine.wait_lamp(kLampListen, 1, kLampOn));
  mine.tap("KT01");
  EXPECT_TRUE(panel.wait_indicator("KT01", "On"));
  mine.hold("KL02");
  EXPECT_TRUE(panel.wait_indicator("KL02", "Off"));
  panel.hold("KT01");
  EXPECT_TRUE(mine.wait_lamp(kLampTalk, 0, kLampOff));
  ASSERT_TRUE(panel.tell("DISP#KL09 TEXT=\"Cal\""));
  EXPECT_TRUE(mine.wait_display(8, "Cal/"));
}

TEST_F(HarkUIPanelKeys, PanelOfOtherKeysCountsFromItsFirst) {
  HarkUIPanel half("half", 3, 2);
  ASSERT_TRUE(half.attach(station.ctrl_port(), "127.0.0.4"));
  EXPECT_EQ(half.display(0), "Low/");
  EXPECT_EQ(half.display(1), "Mic/");
  EXPECT_EQ(half.display(HarkUIPanel::kAutoAnswer), "/");
  half.tap("KL04");
  EXPECT_TRUE(half.wait_lamp(kLampListen, 1, kLampOn));
  EXPECT_TRUE(mine.wait_lamp(kLampListen, 3, kLampOn));
  mine.tap("KL01");
  ASSERT_TRUE(mine.wait_lamp(kLampListen, 0, kLampOn));
  half.settle();
  EXPECT_EQ(half.lamp(kLampListen, 0), kLampOff) << "key 1 is none of its keys";
  half.leave();
}

TEST_F(HarkUIPanelKeys, FaderMovesTheMixerAndTheMixerMovesTheFader) {
  mine.tap("KL02");
  ASSERT_TRUE(mine.wait_lamp(kLampListen, 1, kLampOn));
  mine.ui().IntercomFaderMoved(sig("KL02"), -120, false);
  EXPECT_TRUE(MixerGets("sub#1.in#1 gain=-120"));
  ASSERT_TRUE(sim->send("DST 1 AVOL:-125"));
  EXPECT_TRUE(mine.wait_fader("KL02", -125));
  EXPECT_THAT(mine.fader("KL01"), Optional(0));
}

TEST_F(HarkUIPanelKeys, KnobStepsTheLevelThatAllPanelsAreToldNext) {
  mine.tap("KL01");
  ASSERT_TRUE(mine.wait_lamp(kLampListen, 0, kLampOn));
  for (const int gain : {-10, -20, -30}) {
    SCOPED_TRACE(gain);
    mine.ui().IntercomFaderMoved(sig("KL01"), -10, true);
    EXPECT_TRUE(MixerGets("sub#1.in#1 gain=" + std::to_string(gain)));
  }
  // A step of a channel is told with the next level that is.
  mine.ui().IntercomFaderMoved(sig("SPKV"), -60, false);
  EXPECT_TRUE(mine.wait_fader("KL01", -30));
  EXPECT_TRUE(panel.wait_fader("KL01", "-30"));
  EXPECT_THAT(mine.fader("KL02"), Optional(0));
}

TEST_F(HarkUIPanelKeys, SpeakerLevelGoesBothWays) {
  mine.ui().IntercomFaderMoved(sig("SPKV"), -100, false);
  EXPECT_TRUE(MixerGets("sub#1 gain=-100"));
  EXPECT_TRUE(panel.wait_fader("SPKV", "-100"));
  ASSERT_TRUE(panel.tell("FAD#SPKV gain=-60"));
  EXPECT_TRUE(mine.wait_fader("SPKV", -60));
}

TEST_F(HarkUIPanelKeys, MutesAreLitAndSilence) {
  mine.tap("SPKM");
  EXPECT_TRUE(MixerGets("sub#1 gain=OFF"));
  EXPECT_TRUE(mine.wait_lamp(kLampSpeakerMute, 0, kLampOn));
  EXPECT_EQ(mine.lamp(kLampMicMute), kLampOff);
  mine.tap("SPKM");
  EXPECT_TRUE(mine.wait_lamp(kLampSpeakerMute, 0, kLampOff));
  mine.tap("MICM");
  EXPECT_TRUE(MixerGets("sub#2 gain=OFF"));
  EXPECT_TRUE(mine.wait_lamp(kLampMicMute, 0, kLampOn));
  EXPECT_EQ(mine.lamp(kLampSpeakerMute), kLampOff);
  mine.press("KT01", 5000);
  EXPECT_TRUE(mine.wait_lamp(kLampMicMute, 0, kLampOff)) << "who talks is heard";
}

TEST_F(HarkUIPanelKeys, StationOfAHigherLevelWinks) {
  Replace(kSourceFile, "Bob <quillnet:239.192.0.7>;trgl=9;gpio=3;gpiot=1;gpiol=2\n");
  ASSERT_TRUE(wait_until([&] { return mine.ui().record(0).dfl == 2; }));
  const auto winks = [&](int index) {
    int count = 0;
    for (int step = 0; step < 128; ++step) {
      mine.ui().TimerAction();
      if (mine.lamp(kLampTalk, index) == kLampPulse) ++count;
    }
    return count;
  };
  EXPECT_EQ(winks(0), 4);
  EXPECT_EQ(winks(1), 0);
}

}  // namespace
}  // namespace hark::test
