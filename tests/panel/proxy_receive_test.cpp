// The lines of a network panel: how an object is named, and what each object's line does in the model.
#include "daemon/station/listenvol.h"
#include "panel/proxy_fixture.h"

namespace hark {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kTalkDown[] = "event HARKUI#p0.BUT#KT01 KEY=DOWN\r\n";
constexpr char kTalkUp[] = "event HARKUI#p0.BUT#KT01 KEY=UP\r\n";
constexpr char kTalkOn[] = "CALL URL:\"Bob <hark:10.0.0.7>\" TALK:1\n";
constexpr char kTalkOff[] = "CALL URL:\"Bob <hark:10.0.0.7>\" TALK:0\n";
constexpr char kMicOpen[] = "IO MICV:0\n";

class ProxyReceive : public ProxyTest {
 protected:
  void SetUp() override {
    Labels({"Bob", "Ann"});
    AttachUpToDate(HarkUIProxy::kNetworkPanel);
  }
  // The commands and events that a line of the panel gives.
  std::vector<std::string> After(const std::string& line) {
    panels[0]->harkui_receive(line.c_str());
    return Commands();
  }
};

TEST_F(ProxyReceive, PressTalksAndIsEchoed) {
  EXPECT_THAT(After("HARKUI#p0.BUT#KT01 KEY=DOWN T=1000"), ElementsAre(kMicOpen, kTalkOn, kTalkDown));
  EXPECT_THAT(After("HARKUI#p0.BUT#KT01 KEY=UP T=1200"), ElementsAre(kTalkOff, kTalkUp));
  EXPECT_EQ(Sent(), "");
}

TEST_F(ProxyReceive, ObjectsAreNamedWithAndWithoutThePanel) {
  for (const char* line : {
           "HARKUI#p0.BUT#KT03 KEY=DOWN",
           "harkui#p0.but#KT03 key=DOWN",
           "HarkUI#p0.But#KT03 KEY:D",
           "BUT#KT03 KEY=DOWN",
           "but#KT03 KEY=D",
           "HARKUI#xy.BUT#KT03 KEY=DOWN",  // another panel of an id as long as ours
           "HARKUI#p0 BUT#KT03 KEY=DOWN",
           "BUT#KT03 KEY=Dxy",
           "BUT#KT03 KEY:\"DOWN\"",
           "BUT#KT03 T=5, KEY=DOWN",
       }) {
    EXPECT_THAT(After(line), ElementsAre("event HARKUI#p0.BUT#KT03 KEY=DOWN\r\n")) << line;
  }
}

TEST_F(ProxyReceive, LinesThatNameNothingAreDropped) {
  for (const char* line : {
           "",
           "HARKUI#",
           "HARKUI#p",
           "HARKUI#p0",
           "HARKUI#p0.",
           "HARKUI#long.BUT#KT03 KEY=DOWN",
           "HARKUI#x.BUT#KT03 KEY=DOWN",
           "HARKUI#xy BUT#KT03 KEY=DOWN",
           "HARKUI#xyzBUT#KT03 KEY=DOWN",
           "HARKUI#p0..BUT#KT03 KEY=DOWN",
           "KT03 KEY=DOWN",
           "BUT#",
           "BUT#KT03",
           "BUT#KT0 KEY=DOWN",
           "BUT#KT003 KEY=DOWN",
           "BUT#KT03KEY=DOWN",
           "BUT#KT03,KEY=DOWN",
           "BUT#KT03 ",
           "BUT#KT03 T=5",
           "BUT#KT03 KEY=X",
           "BUT#KT01 KEY=X",
           "BUT#KT03 KEY=",
           "BUT#KT03 KEY=down",
           "BUT#KT03 KEY=1",
           "BUTTON#KT03 KEY=DOWN",
           "LED#KT03 KEY=DOWN",
           "FAD#",
           "FAD#SPKV",
           "FAD#SPKVgain=5",
           "FAD#SPKV,gain=5",
           "FAD#SPKV ",
           "FAD#SPKV level=5",
           "DISP#",
           "DISP#KL03",
           "DISP#KL03TEXT=\"x\"",
           "DISP#KL03,TEXT=\"x\"",
           "DISP#KL03 ",
           "SEL#SHIFT",
           "SEL#SHIFT,TEXT=\"x\"",
           "SEL#SHIFTTEXT=\"x\"",
           "SEL#SHIFT ",
           "SEL#SHIFT ALT=\"x\"",
           "SEL#CHSEL TEXT=\"x\"",
           "SEL#CALLS TEXT=\"x\"",
           "FP KEY=DOWN",
       }) {
    EXPECT_THAT(After(line), IsEmpty()) << line;
    EXPECT_EQ(Model().dirty, 0U) << line;
    EXPECT_EQ(Sent(), "") << line;
  }
  EXPECT_FALSE(Model().table().entries[2].label.has_value());
  EXPECT_STREQ(Model().shift.data(), "Day");
}

TEST_F(ProxyReceive, KeysOfNoUseAreEchoedAllTheSame) {
  for (const char* key : {"KT04", "KL88", "KTAA", "ZZZZ", "SPKV"}) {
    EXPECT_THAT(After(std::string("BUT#") + key + " KEY=UP"),
                ElementsAre(std::string("event HARKUI#p0.BUT#") + key + " KEY=UP\r\n"));
  }
}

TEST_F(ProxyReceive, TimeOfThePanelDecidesWhatIsATap) {
  struct Row {
    const char* down;
    const char* up;
    bool tap;
  };
  for (const Row& row : {
           Row{"1000", "1199", true},
           Row{"1000", "1200", false},
           Row{"0x3E8", "1199", true},
           Row{"1000", "0x4B0", false},
           Row{"01750", "01751", true},
           Row{"4294967290", "50", true},  // the panel's counter starts anew
           Row{"1000", "999", false},
       }) {
    SCOPED_TRACE(row.up);
    After(std::string("BUT#KT01 KEY=DOWN T=") + row.down);
    clock.AdvanceMs(50'000);
    const std::vector<std::string> up = After(std::string("BUT#KT01 KEY=UP T=") + row.up);
    if (row.tap)
      EXPECT_THAT(up, ElementsAre(kTalkUp));
    else
      EXPECT_THAT(up, ElementsAre(kTalkOff, kTalkUp));
  }
}

TEST_F(ProxyReceive, WithoutATimeTheClockOfTheDaemonDecides) {
  After("BUT#KT01 KEY=DOWN");
  clock.AdvanceMs(199);
  EXPECT_THAT(After("BUT#KT01 KEY=UP"), ElementsAre(kTalkUp));
  After("BUT#KT01 KEY=DOWN");
  clock.AdvanceMs(200);
  EXPECT_THAT(After("BUT#KT01 KEY=UP"), ElementsAre(kTalkOff, kTalkUp));
}

TEST_F(ProxyReceive, FaderSetsALevel) {
  EXPECT_THAT(After("HARKUI#p0.FAD#SPKV gain=-100"), ElementsAre("IO SPKV:-100\n"));
  EXPECT_EQ(Model().spk_volume, -100);
  EXPECT_EQ(Model().dirty, kDirtyFaders);
  EXPECT_THAT(After("fad#SPKV GAIN:\"-50\""), ElementsAre("IO SPKV:-50\n"));
  EXPECT_THAT(After("FAD#SPKV gain=0x20"), ElementsAre("IO SPKV:32\n"));
  EXPECT_THAT(After("FAD#HDPV gain=-30"), ElementsAre("IO HDPV:-30\n"));
  EXPECT_THAT(After("FAD#KL01 gain=-120"), ElementsAre("CALL URL:\"Bob <hark:10.0.0.7>\" VOLUME:-120\n"));
  EXPECT_EQ(listenvol_get("Bob"), -120);
  EXPECT_THAT(After("FAD#KL03 gain=-120"), IsEmpty());
}

TEST_F(ProxyReceive, FaderOfAMutedSpeakerTakesEffectWhenTheMuteEnds) {
  After("BUT#SPKM KEY=DOWN");
  EXPECT_THAT(After("FAD#SPKV gain=-100"), IsEmpty());
  EXPECT_THAT(After("BUT#SPKM KEY=DOWN"),
              ElementsAre("IO SPKV:-100\n", "event HARKUI#p0.BUT#SPKM KEY=DOWN\r\n"));
}

TEST_F(ProxyReceive, FaderMovesALevelAlongItsScale) {
  EXPECT_THAT(After("FAD#SPKV dgain=-10"), ElementsAre("IO SPKV:-10\n"));
  EXPECT_THAT(After("FAD#SPKV dgain=-10"), ElementsAre("IO SPKV:-20\n"));
  EXPECT_THAT(After("FAD#SPKV dgain=-240"), ElementsAre("IO SPKV:-270\n"));
  EXPECT_THAT(After("FAD#HDPV dgain=10"), ElementsAre("IO HDPV:10\n"));
  EXPECT_THAT(After("FAD#KL01 dgain=20"), ElementsAre("CALL URL:\"Bob <hark:10.0.0.7>\" VOLUME:20\n"));
  EXPECT_THAT(After("FAD#SPKV gain=-5 dgain=-10"), ElementsAre("IO SPKV:-5\n"));
}

TEST_F(ProxyReceive, FaderWithoutALevelDoesNothing) {
  for (const char* line : {"FAD#SPKV gain=1000", "FAD#KT01 dgain=10", "FAD#ZZZZ dgain=10",
                           "FAD#KL91 dgain=10", "FAD#KL00 dgain=10"}) {
    EXPECT_THAT(After(line), IsEmpty()) << line;
  }
  EXPECT_EQ(Model().spk_volume, 0);
}

TEST_F(ProxyReceive, VolumeOfNoHeldKeyIsTheSpeakers) {
  EXPECT_THAT(After("FAD#KVOL gain=-100"), ElementsAre("IO SPKV:-100\n"));
  EXPECT_EQ(Model().spk_volume, -100);
  EXPECT_FALSE(Model().held_volume_changed);
  EXPECT_THAT(After("FAD#KVOL dgain=-10"), ElementsAre("IO SPKV:-10\n"));
}

TEST_F(ProxyReceive, VolumeOfTheHeldKeyKeepsItsListenUpAfterTheRelease) {
  After("BUT#KL01 KEY=DOWN T=1000");
  EXPECT_EQ(Model().held_key, sig("KL01"));
  EXPECT_THAT(After("FAD#KVOL gain=-100"), ElementsAre("CALL URL:\"Bob <hark:10.0.0.7>\" VOLUME:-100\n"));
  EXPECT_TRUE(Model().held_volume_changed);
  EXPECT_THAT(After("FAD#KVOL dgain=10"), ElementsAre("CALL URL:\"Bob <hark:10.0.0.7>\" VOLUME:10\n"));
  EXPECT_THAT(After("BUT#KL01 KEY=UP T=9000"), ElementsAre("event HARKUI#p0.BUT#KL01 KEY=UP\r\n"));
  EXPECT_EQ(Model().held_key, 0U);
}

TEST_F(ProxyReceive, AnotherFaderLeavesTheHeldKeyAlone) {
  After("BUT#KL01 KEY=DOWN T=1000");
  After("FAD#SPKV gain=-100");
  EXPECT_FALSE(Model().held_volume_changed);
  EXPECT_THAT(After("BUT#KL01 KEY=UP T=9000"),
              ElementsAre("CALL URL:\"Bob <hark:10.0.0.7>\" LISTEN:0 VOLUME:0\n",
                          "event HARKUI#p0.BUT#KL01 KEY=UP\r\n"));
}

TEST_F(ProxyReceive, DisplayLineAssignsAKey) {
  EXPECT_THAT(After("HARKUI#p0.DISP#KL03 TEXT=\"Hall\""), IsEmpty());
  EXPECT_EQ(Model().table().label(2), "Hall");
  EXPECT_EQ(Model().dirty, kDirtyLabels);
  After("disp#KL03 text:\"Robertson jr.\"");
  EXPECT_EQ(Model().table().label(2), "Robertson ");
  After("DISP#KL90 TEXT=Ann");
  EXPECT_EQ(Model().table().label(89), "Ann");
  After("DISP#KL03 TEXT=\"\"");
  EXPECT_EQ(Model().table().label(2), "");
  EXPECT_EQ(Model().table().label(0), "Bob");
}

TEST_F(ProxyReceive, DisplayLineSetsTheAutoAnswerLabel) {
  After("DISP#KLAA TEXT=\"Stranger from afar\"");
  EXPECT_STREQ(Model().aa_label.data(), "Stranger f");
  EXPECT_EQ(Model().dirty, kDirtyLabels);
  After("DISP#KLAA TEXT=\"\"");
  EXPECT_STREQ(Model().aa_label.data(), "");
}

TEST_F(ProxyReceive, DisplayLineOfNoKeyAssignsNothing) {
  for (const char* key : {"KL00", "KL91", "KL98", "KL99", "KT03", "KX03", "KTAA", "ZZZZ"}) {
    After(std::string("DISP#") + key + " TEXT=\"Hall\"");
    EXPECT_FALSE(Model().table().has_label("Hall")) << key;
    EXPECT_STREQ(Model().aa_label.data(), "") << key;
  }
}

TEST_F(ProxyReceive, ShiftIsSelectedByItsLabel) {
  Channels("SHIFT LABL:\"Day\"\nHARKCH 1 LABL:\"Bob\"\nSHIFT LABL:\"Late Night\"\nHARKCH 1 LABL:\"Ann\"\n");
  After("HARKUI#p0.SEL#SHIFT TEXT=\"Late Night\"");
  EXPECT_STREQ(Model().shift.data(), "Late Night");
  EXPECT_EQ(Model().table().label(0), "Ann");
  After("sel#shift text=Day");
  EXPECT_STREQ(Model().shift.data(), "Day");
  After("SEL#SHIFT TEXT=\"Late Nights\"");
  EXPECT_STREQ(Model().shift.data(), "Late Night");
}

TEST_F(ProxyReceive, EventIsNamedAfterThePanelThatItCameFrom) {
  Attach(HarkUIProxy::kNetworkPanel).harkui_receive("HARKUI#p0.BUT#KT03 KEY=DOWN");
  EXPECT_THAT(Commands(), ElementsAre("event HARKUI#p1.BUT#KT03 KEY=DOWN\r\n"));
  EXPECT_EQ(panels[1]->GetUIID(), "p1");
}

}  // namespace
}  // namespace hark
