// Keys of a network panel, from the event on its connection to the command at the mixer, the contact of the
// far station, and the lamp at the panel: talk, listen, latching, dropping, faders and mutes.
#include "system/panel_fixture.h"

namespace hark::test {
namespace {

using testing::ElementsAre;

std::string call(const char* url, const std::string& what) {
  return std::string("CALL URL:\"") + url + "\" " + what;
}

class PanelKeys : public PanelTest {
 protected:
  void SetUp() override { StartWithPanel(); }
};

TEST_F(PanelKeys, ListenIsHeardAndLit) {
  ASSERT_TRUE(panel.press("KL01", 1000));
  EXPECT_TRUE(panel.wait_indicator("KL01", "On"));
  EXPECT_TRUE(MixerGets("sub#1.in#1 src_id=\"239.192.0.7\", gain=0"));
  EXPECT_EQ(panel.indicator("KT01"), "Off");
  ASSERT_TRUE(panel.release("KL01", 2000));
  EXPECT_TRUE(panel.wait_indicator("KL01", "Off"));
  EXPECT_TRUE(MixerGets("sub#1.in#1 src_id=\"\", gain=0"));
  EXPECT_THAT(CallList(), ElementsAre());
}

TEST_F(PanelKeys, TalkClosesTheContactAndIsLit) {
  EXPECT_THAT(answers(client, "SUB GPI 4"), ElementsAre("GPI 4 hhhhh"));
  ASSERT_TRUE(panel.press("KT01", 1000));
  EXPECT_TRUE(client.expect_line("GPI 4 Lhhhh"));
  EXPECT_TRUE(panel.wait_indicator("KT01", "On"));
  EXPECT_EQ(panel.indicator("KL01"), "Off");
  ASSERT_TRUE(panel.release("KT01", 2000));
  EXPECT_TRUE(client.expect_line("GPI 4 Hhhhh"));
  EXPECT_TRUE(panel.wait_indicator("KT01", "Off"));
}

TEST_F(PanelKeys, CombinedKeyTakesBothDirections) {
  panel.tap("KX02");
  EXPECT_TRUE(panel.wait_indicator("KL02", "On"));
  EXPECT_TRUE(panel.wait_indicator("KT02", "On"));
  EXPECT_THAT(CallList(), ElementsAre(call(kAnn, "TALK:1"), call(kAnn, "LISTEN:1 VOLUME:0")));
  panel.tap("KX02");
  EXPECT_TRUE(panel.wait_indicator("KL02", "Off"));
  EXPECT_TRUE(panel.wait_indicator("KT02", "Off"));
}

TEST_F(PanelKeys, ReleasesByTheTimeThatThePanelGives) {
  struct Row {
    const char* down;
    const char* up;
    bool latches;
  };
  for (const Row& row : {
           Row{"T=1000", "T=1000", true}, Row{"T=1000", "T=1199", true}, Row{"T:5000,", "T:\"5100\"", true},
           Row{"T=0x400", "T=0x410", true},
           Row{"T=4294967290", "T=50", true},  // the panel's clock has run over
           Row{"T=1000", "T=1200", false}, Row{"T=1000", "T=100000", false},
           Row{"T=1000", "T=999", false},  // a clock that goes back is a long time
       }) {
    SCOPED_TRACE(std::string(row.down) + " " + row.up);
    ASSERT_TRUE(panel.tell(std::string("BUT#KL01 KEY=DOWN ") + row.down));
    ASSERT_TRUE(panel.tell(std::string("BUT#KL01 KEY=UP ") + row.up));
    // Ann's call is dropped later: its end shows that Bob's would have ended as well.
    panel.hold("KL02");
    ASSERT_TRUE(panel.wait_indicator("KL02", "On"));
    ASSERT_TRUE(panel.wait_indicator("KL02", "Off"));
    EXPECT_EQ(panel.indicator("KL01"), row.latches ? "On" : "Off");
    if (row.latches) panel.hold("KL01");
    ASSERT_TRUE(panel.wait_indicator("KL01", "Off"));
  }
}

TEST_F(PanelKeys, WithoutATimeTheStationsOwnClockIsTaken) {
  ASSERT_TRUE(panel.tell("BUT#KL01 KEY=DOWN\r\nHARKUI#desk.BUT#KL01 KEY=UP"));
  panel.hold("KL02");
  ASSERT_TRUE(panel.wait_indicator("KL02", "On"));
  ASSERT_TRUE(panel.wait_indicator("KL02", "Off"));
  EXPECT_EQ(panel.indicator("KL01"), "On");
}

TEST_F(PanelKeys, ALatchedCallEndsWithTheNextTapToo) {
  panel.tap("KL01");
  ASSERT_TRUE(panel.wait_indicator("KL01", "On"));
  panel.tap("KL01");
  EXPECT_TRUE(panel.wait_indicator("KL01", "Off"));
}

TEST_F(PanelKeys, NothingLatchesWhenTheStationSaysSo) {
  EXPECT_THAT(answers(client, "HARK LATCH:0"), ElementsAre());
  panel.tap("KL01");
  ASSERT_TRUE(panel.wait_indicator("KL01", "On"));
  EXPECT_TRUE(panel.wait_indicator("KL01", "Off"));
}

TEST_F(PanelKeys, AListenEndsOnlyAfterItsDelay) {
  // In one piece, so that the second press comes within that time. It keeps the call, and nothing is told
  // anew.
  ASSERT_TRUE(
      panel.tell("BUT#KL01 KEY=DOWN T=1000\r\nHARKUI#desk.BUT#KL01 KEY=UP T=2000\r\n"
                 "HARKUI#desk.BUT#KL01 KEY=DOWN T=9000"));
  ASSERT_TRUE(panel.wait_indicator("KL01", "On"));
  panel.forget();
  panel.hold("KL02");
  ASSERT_TRUE(panel.wait_indicator("KL02", "On"));
  ASSERT_TRUE(panel.wait_indicator("KL02", "Off"));
  EXPECT_EQ(count_of(panel.lines(), "set HARKUI#desk.BUT#KL01"), 0);
  EXPECT_EQ(sim.count("set hark#1.sub#1.in#1 src_id=\"\", gain=0"), 0);
  EXPECT_EQ(sim.count("set hark#1.sub#1.in#1 src_id=\"239.192.0.7\", gain=0"), 1);
}

TEST_F(PanelKeys, TalkOnAPartyThatIsHeardTakesTheListenAlong) {
  panel.tap("KL01");
  ASSERT_TRUE(panel.wait_indicator("KL01", "On"));
  ASSERT_TRUE(panel.press("KT01", 9000));
  EXPECT_TRUE(Traced("< " + call(kBob, "TALK:1 LISTEN:1 VOLUME:0")));
  EXPECT_TRUE(panel.wait_indicator("KT01", "On"));
}

TEST_F(PanelKeys, PartyWithoutAWayToBeTalkedToIsHeardOnly) {
  panel.tap("KT04");
  panel.settle();
  EXPECT_THAT(CallList(), ElementsAre());
  panel.tap("KX04");
  EXPECT_TRUE(panel.wait_indicator("KL04", "On"));
  EXPECT_THAT(CallList(), ElementsAre(call(kMic, "LISTEN:1 VOLUME:0")));
}

TEST_F(PanelKeys, TakenEventsAreToldToWhoSubscribed) {
  ASSERT_TRUE(client.send_line("SUB HARKUI"));
  ASSERT_TRUE(client.skip_to("add HARKUI#desk.FP "));
  ASSERT_TRUE(panel.press("KL01", 1000));
  EXPECT_TRUE(client.expect_line("event HARKUI#desk.BUT#KL01 KEY=DOWN"));
  ASSERT_TRUE(panel.tell("BUT#KL01 KEY=X"));
  ASSERT_TRUE(panel.tell("BUT#KL01 T=1000"));
  ASSERT_TRUE(panel.tell("BUT#ASGN KEY=Dwarf"));
  ASSERT_TRUE(panel.release("KL01", 2000));
  EXPECT_TRUE(client.expect_line("event HARKUI#desk.BUT#ASGN KEY=DOWN")) << "only the first letter counts";
  EXPECT_TRUE(client.expect_line("event HARKUI#desk.BUT#KL01 KEY=UP"));
}

TEST_F(PanelKeys, FaderOfAKeyMovesTheMixerAndIsRemembered) {
  panel.tap("KL01");
  ASSERT_TRUE(panel.wait_indicator("KL01", "On"));
  ASSERT_TRUE(panel.tell("FAD#KL01 gain=-120"));
  EXPECT_TRUE(MixerGets("sub#1.in#1 gain=-120"));
  panel.hold("KL01");
  ASSERT_TRUE(panel.wait_indicator("KL01", "Off"));
  panel.tap("KL01");
  ASSERT_TRUE(panel.wait_indicator("KL01", "On"));
  EXPECT_THAT(CallList(), ElementsAre(call(kBob, "LISTEN:1 VOLUME:-120")));
}

TEST_F(PanelKeys, RotaryOfAKeySteps) {
  panel.tap("KL01");
  ASSERT_TRUE(panel.wait_indicator("KL01", "On"));
  for (const char* gain : {"-10", "-20", "-30"}) {
    ASSERT_TRUE(panel.tell("FAD#KL01 dgain=-10"));
    EXPECT_TRUE(MixerGets(std::string("sub#1.in#1 gain=") + gain));
  }
}

TEST_F(PanelKeys, LevelReportedByTheMixerIsShownOnTheFader) {
  panel.tap("KL02");
  ASSERT_TRUE(panel.wait_indicator("KL02", "On"));
  panel.forget();
  ASSERT_TRUE(sim->send("DST 1 AVOL:-125"));
  EXPECT_TRUE(panel.wait_fader("KL02", "-125"));
  panel.settle();
  EXPECT_EQ(count_of(panel.lines(), "set HARKUI#desk.BUT#"), 0) << "a level changes no lamp";
}

TEST_F(PanelKeys, VolumeSetWhileTheKeyIsHeldKeepsTheListen) {
  ASSERT_TRUE(panel.press("KL01", 1000));
  ASSERT_TRUE(panel.tell("FAD#KVOL gain=-60"));
  ASSERT_TRUE(panel.release("KL01", 9000));
  EXPECT_TRUE(MixerGets("sub#1.in#1 gain=-60"));
  panel.hold("KL02");
  ASSERT_TRUE(panel.wait_indicator("KL02", "On"));
  ASSERT_TRUE(panel.wait_indicator("KL02", "Off"));
  EXPECT_EQ(panel.indicator("KL01"), "On");
}

TEST_F(PanelKeys, VolumeWithoutAHeldKeyIsTheSpeakers) {
  ASSERT_TRUE(panel.tell("FAD#KVOL gain=-100"));
  EXPECT_TRUE(MixerGets("sub#1 gain=-100"));
  EXPECT_TRUE(panel.wait_fader("SPKV", "-100"));
}

TEST_F(PanelKeys, MutesAreLitAndSilence) {
  ASSERT_TRUE(panel.tell("FAD#SPKV gain=-70"));
  ASSERT_TRUE(panel.press("SPKM", 1000));
  EXPECT_TRUE(MixerGets("sub#1 gain=OFF"));
  EXPECT_TRUE(panel.wait_indicator("SPKM", "On"));
  ASSERT_TRUE(panel.release("SPKM", 1100));
  ASSERT_TRUE(panel.tell("FAD#SPKV gain=-80"));
  EXPECT_TRUE(panel.wait_fader("SPKV", "-80"));
  EXPECT_EQ(sim.count("set hark#1.sub#1 gain=-80"), 0) << "a muted speaker stays muted";
  ASSERT_TRUE(panel.press("SPKM", 3000));
  EXPECT_TRUE(MixerGets("sub#1 gain=-80"));
  EXPECT_TRUE(panel.wait_indicator("SPKM", "Off"));

  ASSERT_TRUE(panel.press("MICM", 4000));
  EXPECT_TRUE(MixerGets("sub#2 gain=OFF"));
  EXPECT_TRUE(panel.wait_indicator("MICM", "On"));
  ASSERT_TRUE(panel.press("KT01", 5000));
  EXPECT_TRUE(MixerGets("sub#2 gain=0")) << "who talks is heard";
  EXPECT_TRUE(panel.wait_indicator("MICM", "Off"));
}

TEST_F(PanelKeys, FlagsOfAKeyHoldForItsEvents) {
  Replace(
      kChannelFile,
      "HARKCH 1 LABL:\"Bob\" FLAGS:1\nHARKCH 2 LABL:\"Ann\" FLAGS:\"0xC\"\nHARKCH 5 LABL:\"Cal\" FLAGS:2\n");
  ASSERT_TRUE(panel.wait_display("KL05", "TEXT=\"Cal\", ALT=\"\", DFL=0"));
  EXPECT_EQ(panel.display("KL01"), "TEXT=\"Bob\", ALT=\"\", DFL=1");
  panel.tap("KT01");  // barred
  panel.tap("KL05");  // barred
  panel.tap("KX02");  // may not latch
  ASSERT_TRUE(panel.wait_indicator("KL02", "On"));
  ASSERT_TRUE(panel.wait_indicator("KL02", "Off"));
  ASSERT_TRUE(panel.wait_indicator("KT02", "Off"));
  EXPECT_EQ(panel.indicator("KT01"), "Off");
  EXPECT_EQ(panel.indicator("KL05"), "Off");
  EXPECT_THAT(CallList(), ElementsAre());
}

TEST_F(PanelKeys, LatchedListenOpensByItselfAndAgainAfterARestartOfTheServices) {
  Replace(kSourceFile, "Bob <quillnet:239.192.0.7>;llsn=1\nAnn <quillnet:239.192.0.8>\n");
  ASSERT_TRUE(panel.wait_display("KL01", "TEXT=\"Bob\", ALT=\"\", DFL=9"));
  EXPECT_TRUE(panel.wait_indicator("KL01", "On"));
  EXPECT_EQ(sim.count("set hark#1.sub#1.in#1 src_id=\"239.192.0.7\", gain=0"), 1);
  EXPECT_THAT(answers(client, "HARK TRGL:6"), ElementsAre());
  ASSERT_TRUE(
      wait_until([&] { return sim.count("set hark#1.sub#1.in#1 src_id=\"239.192.0.7\", gain=0") == 2; }));
  EXPECT_TRUE(panel.wait_indicator("KL01", "On"));
}

}  // namespace
}  // namespace hark::test
