// Calls between two stations by the keys of their panels: who is answered at once and who rings until a key
// answers, what both panels show, and what is left when one drops or a station makes its services anew.
#include "system/panel_fixture.h"
#include "system/sip_far_end.h"
#include "system/sip_station.h"
#include "system/support/console_sim.h"

namespace hark::test {
namespace {

using testing::ElementsAre;

class SipPanels : public SipTest {
 protected:
  void SetUp() override {}
  // Each has the other as a source; `a` has it on key 1, and `b` too if it says so.
  void StartWithPanels(bool on_a_key_of_b, const std::string& tags = {}, const std::string& more = {}) {
    KnowsOther(a, b, true, tags);
    KnowsOther(b, a, on_a_key_of_b, {});
    SipTest::SetUp();
    if (HasFatalFailure()) return;
    ASSERT_TRUE(desk_b.attach(b.station.ctrl_port(), "1-4", "127.0.0.2", more));
    ASSERT_TRUE(desk_a.attach(a.station.ctrl_port(), "1-4", "127.0.0.2"));
  }
  static void KnowsOther(SipStation& station, const SipStation& other, bool on_a_key,
                         const std::string& tags) {
    station.station.write_sources(other.label() + " <" + other.url() + ">;trgl=4" + tags + "\n");
    if (on_a_key) station.station.root().write(kChannelFile, "HARKCH 1 LABL:\"" + other.label() + "\"\n");
  }
  void BothDark() {
    for (NetworkPanel* desk : {&desk_a, &desk_b}) {
      SCOPED_TRACE(desk->id());
      for (const char* key : {"KT01", "KL01", "KTAA", "KLAA"})
        EXPECT_TRUE(desk->wait_indicator(key, "Off")) << key;
    }
    BothFree();
  }

  NetworkPanel desk_a{"desk"};
  NetworkPanel desk_b{"gate"};
};

TEST_F(SipPanels, TalkKeyLightsTheKeyThatTheFarStationHasForUs) {
  ASSERT_NO_FATAL_FAILURE(StartWithPanels(true));
  ASSERT_TRUE(desk_a.press("KT01", 1000));
  EXPECT_TRUE(desk_a.wait_indicator("KT01", "On"));
  EXPECT_TRUE(desk_b.wait_indicator("KL01", "On")) << "who is on a key is answered at once";
  EXPECT_TRUE(b.hears({a.media()}));
  EXPECT_EQ(desk_a.indicator("KL01"), "Off");
  EXPECT_EQ(desk_b.indicator("KT01"), "Off");
  ASSERT_TRUE(desk_a.release("KT01", 3000));
  EXPECT_TRUE(desk_a.wait_indicator("KT01", "Off"));
  EXPECT_TRUE(desk_b.wait_indicator("KL01", "Flash")) << "the far end has dropped";
  BothDark();
}

TEST_F(SipPanels, ListenKeyIsHeardAndLightsTheFarTalkKey) {
  ASSERT_NO_FATAL_FAILURE(StartWithPanels(true));
  desk_a.tap("KL01");
  EXPECT_TRUE(desk_a.wait_indicator("KL01", "On"));
  EXPECT_TRUE(desk_b.wait_indicator("KT01", "On"));
  EXPECT_TRUE(a.hears({b.media()}));
  desk_a.tap("KL01");
  BothDark();
}

TEST_F(SipPanels, CombinedKeyTakesBothWaysAndTheFarKeyEndsOne) {
  ASSERT_NO_FATAL_FAILURE(StartWithPanels(true));
  desk_a.tap("KX01");
  for (const char* key : {"KL01", "KT01"}) {
    EXPECT_TRUE(desk_a.wait_indicator(key, "On")) << key;
    EXPECT_TRUE(desk_b.wait_indicator(key, "On")) << key;
  }
  EXPECT_TRUE(a.hears({b.media()}));
  EXPECT_TRUE(b.hears({a.media()}));
  // A call that the far end made is this side's as much: its key ends both ways of it.
  desk_b.tap("KX01");
  BothDark();
}

TEST_F(SipPanels, FarDropFlashesAtTheListenKeyUntilItIsPressedAnew) {
  ASSERT_NO_FATAL_FAILURE(StartWithPanels(true));
  a.command("HARK DROPFLASH:60000");
  desk_a.tap("KL01");
  ASSERT_TRUE(desk_a.wait_indicator("KL01", "On"));
  ASSERT_TRUE(desk_b.wait_indicator("KT01", "On"));
  b.call(a, "TALK:0");
  ASSERT_TRUE(desk_a.wait_indicator("KL01", "Flash"));
  EXPECT_TRUE(desk_b.wait_indicator("KT01", "Off"));
  EXPECT_TRUE(a.hears({})) << "it flashes, but nothing is heard";
  a.watch.forget();
  desk_a.tap("KL01");
  EXPECT_TRUE(desk_a.wait_indicator("KL01", "On"));
  EXPECT_TRUE(a.hears({b.media()}));
  EXPECT_THAT(a.told(b), testing::Contains("LISTEN:0")) << "the old line went first";
  desk_a.tap("KL01");
  BothDark();
}

TEST_F(SipPanels, PartyWithoutAKeyRingsAtTheAutoAnswerKeyUntilItIsAnsweredThere) {
  ASSERT_NO_FATAL_FAILURE(StartWithPanels(false));
  desk_a.tap("KT01");
  EXPECT_TRUE(desk_a.wait_indicator("KT01", "Flash")) << "it rings out";
  EXPECT_TRUE(desk_b.wait_indicator("KLAA", "Flash"));
  EXPECT_TRUE(desk_b.wait_display("KLAA", "TEXT=\"STUDIO A\", ALT=\"Main\""));
  EXPECT_TRUE(b.hears({}));
  desk_b.tap("KLAA");
  EXPECT_TRUE(desk_b.wait_indicator("KLAA", "On"));
  EXPECT_TRUE(desk_a.wait_indicator("KT01", "On"));
  EXPECT_TRUE(b.hears({a.media()}));
  desk_b.tap("KLAA");
  BothDark();
}

TEST_F(SipPanels, PartyThatWasUpLatelyIsAnsweredWithoutAKey) {
  ASSERT_NO_FATAL_FAILURE(StartWithPanels(false));
  desk_a.tap("KT01");
  ASSERT_TRUE(desk_b.wait_indicator("KLAA", "Flash"));
  desk_b.tap("KLAA");
  ASSERT_TRUE(desk_a.wait_indicator("KT01", "On"));
  desk_a.tap("KT01");
  BothDark();
  desk_a.tap("KT01");
  EXPECT_TRUE(desk_a.wait_indicator("KT01", "On"));
  EXPECT_TRUE(desk_b.wait_indicator("KLAA", "On"));
  EXPECT_TRUE(b.hears({a.media()}));
  desk_a.tap("KT01");
  BothDark();
}

TEST_F(SipPanels, PanelThatOffersAutoAnswerAnswersWhoIsOnNoKey) {
  ASSERT_NO_FATAL_FAILURE(StartWithPanels(false, {}, " AANS:1"));
  desk_a.tap("KX01");
  EXPECT_TRUE(desk_a.wait_indicator("KT01", "On"));
  EXPECT_TRUE(desk_a.wait_indicator("KL01", "On"));
  EXPECT_TRUE(desk_b.wait_indicator("KTAA", "On"));
  EXPECT_TRUE(desk_b.wait_indicator("KLAA", "On"));
  desk_a.tap("KX01");
  BothDark();
}

// The level is what the calling station says of itself in its call.
TEST_F(SipPanels, PartyBelowTheStationsLevelRingsUntilItsKeyAnswers) {
  a.station.write_settings("HARK LABL:\"STUDIO A\" TRGL:2 TRGLA:2\nSRC 1 PSNM:\"Main\" RTPA:\"" + a.media() +
                           "\"\n");
  ASSERT_NO_FATAL_FAILURE(StartWithPanels(true));
  desk_a.tap("KT01");
  EXPECT_TRUE(desk_b.wait_indicator("KL01", "Flash"));
  EXPECT_TRUE(desk_a.wait_indicator("KT01", "Flash"));
  desk_b.settle();
  EXPECT_EQ(desk_b.indicator("KL01"), "Flash");
  ASSERT_TRUE(desk_b.press("KL01", 1000));
  EXPECT_TRUE(desk_b.wait_indicator("KL01", "On"));
  EXPECT_TRUE(desk_a.wait_indicator("KT01", "On"));
  ASSERT_TRUE(desk_b.release("KL01", 3000));
  BothDark();
}

TEST_F(SipPanels, LatchedListenComesBackAfterARestartOfTheServices) {
  ASSERT_NO_FATAL_FAILURE(StartWithPanels(true, ";llsn=1"));
  EXPECT_TRUE(desk_a.wait_indicator("KL01", "On")) << "it opens by itself";
  EXPECT_TRUE(a.hears({b.media()}));
  a.watch.forget();
  // The level is part of what the services say of the station.
  a.command("HARK TRGL:6");
  ASSERT_TRUE(a.shows(b, "LISTEN:0"));
  ASSERT_TRUE(wait_until([&] { return a.watch.letter(b.address(), "LISTEN") == "1"; }, kSipWaitMs));
  EXPECT_TRUE(desk_a.wait_indicator("KL01", "On"));
  EXPECT_TRUE(a.hears({b.media()}));
  EXPECT_TRUE(wait_until([&] { return b.list().size() == 1; }, kSipWaitMs))
      << "of the call before nothing is left";
  EXPECT_TRUE(desk_b.wait_indicator("KT01", "On"));
  desk_a.hold("KL01");
  BothDark();
}

TEST_F(SipPanels, RestartOfTheFarServicesFlashesAndEndsTheCall) {
  ASSERT_NO_FATAL_FAILURE(StartWithPanels(true));
  desk_a.tap("KX01");
  ASSERT_TRUE(desk_a.wait_indicator("KL01", "On"));
  ASSERT_TRUE(desk_a.wait_indicator("KT01", "On"));
  b.command("HARK LABL:\"OTHER\"");
  EXPECT_TRUE(desk_a.wait_indicator("KL01", "Flash"));
  BothDark();
  desk_a.tap("KT01");
  EXPECT_TRUE(desk_a.wait_indicator("KT01", "On")) << "it can be called under its new name";
  desk_a.tap("KT01");
  BothDark();
}

// Callers that are on no key stand in the menu of a console, who came last on top.
TEST_F(SipPanels, CallersWithoutAKeyAreStackedOnTheConsole) {
  ASSERT_NO_FATAL_FAILURE(SipTest::SetUp());
  ConsoleSim console(2);
  ASSERT_TRUE(a.sim->send(console.supervisor_line()));
  ASSERT_TRUE(console.wait_panel(kSipWaitMs));
  a.command("HARK AANS:0");
  SipFarEnd far(own_address(2));
  SipFarEnd::Call call = far.invite(a.address(), kListenPort, "stacked");
  ASSERT_TRUE(far.answered(call, 180));
  EXPECT_TRUE(console.wait_menu("FAR", kSipWaitMs));
  b.call(a, "TALK:1");
  EXPECT_TRUE(console.wait_menu("STUDIO B", kSipWaitMs));
  EXPECT_TRUE(wait_until(
      [&] { return console->menu().lines.size() >= 2 && console->menu().lines[0].ends_with("STUDIO B"); },
      kSipWaitMs))
      << testing::PrintToString(console->menu().lines);
  EXPECT_TRUE(console.wait_menu("FAR"));
  far.send(call, far.request(call, "CANCEL"));
  ASSERT_TRUE(far.answered(call, 487));
  b.call(a, "TALK:0");
  BothFree();
  EXPECT_TRUE(console.refused_nothing());
}

}  // namespace
}  // namespace hark::test
