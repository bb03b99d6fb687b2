// What browsers are told of the station: the whole once, then what changed, to all of them alike.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/harkpanel/gateway_rig.h"

namespace hark::test {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

class GatewayState : public GatewayTest {
 protected:
  GatewayState() {
    StationUp();
    browser = Join();
  }
  // The one state message that came since the last call.
  Json OneState(BrowserId of) {
    const std::vector<Json> told = Told(of, "state");
    EXPECT_THAT(told, SizeIs(1));
    return told.empty() ? Json::object() : told[0];
  }
  static std::set<std::string> Sections(const Json& state) {
    std::set<std::string> sections;
    for (const auto& [name, section] : state.items())
      if (name != "t") sections.insert(name);
    return sections;
  }

  BrowserId browser = 0;
};

TEST_F(GatewayState, ChangeIsToldToAllAndNothingElseIs) {
  const BrowserId other = Join();
  StationSays("set HARKUI#web.DISP#KL02 TEXT=\"News\", ALT=\"Newsroom\", DFL=3");
  for (const BrowserId one : {browser, other}) {
    const Json state = OneState(one);
    EXPECT_EQ(Sections(state), std::set<std::string>({"channels"}));
    EXPECT_EQ(
        state["channels"],
        Json::parse(
            R"([{"n":2,"text":"News","alt":"Newsroom","listen":"off","talk":"wink","noTalk":true,"level":0}])"));
  }
}

TEST_F(GatewayState, LineThatChangesNothingIsToldToNobody) {
  StationSays("set HARKUI#web.DISP#KL02 TEXT=\"News\", ALT=\"\", DFL=0");
  (void)Told(browser);
  StationSays("set HARKUI#web.DISP#KL02 TEXT=\"News\", ALT=\"\", DFL=0");
  StationSays("set HARKUI#web.BUT#KL02 IND=Off");
  StationSays("VER SVER:1.3.6.4");
  EXPECT_THAT(Told(browser), IsEmpty());
}

TEST_F(GatewayState, EachSectionComesWholeWhenItChanges) {
  struct Row {
    const char* line;
    const char* section;
    const char* json;
  };
  for (const Row& row : {
           Row{"set HARKUI#web.BUT#MICM IND=On", "keys",
               R"({"TGRP":"off","ASGN":"off","SPKM":"off","MICM":"on"})"},
           Row{"set HARKUI#web.BUT#ASGN IND=Flash", "keys",
               R"({"TGRP":"off","ASGN":"flash","SPKM":"off","MICM":"on"})"},
           Row{"set HARKUI#web.FAD#SPKV gain=-60", "speaker", "-60"},
           Row{"SET Intercom listen=ON", "outputs", R"({"talk":false,"listen":true})"},
           Row{"SET Intercom talk=ON", "outputs", R"({"talk":true,"listen":true})"},
           Row{"set HARKUI#web.BUT#KLAA IND=Flash", "autoAnswer",
               R"({"text":"","alt":"","listen":"flash","talk":"off"})"},
           Row{"set HARKUI#web.DISP#KLAA TEXT=\"Desk\", ALT=\"d\"", "autoAnswer",
               R"({"text":"Desk","alt":"d","listen":"flash","talk":"off"})"},
       }) {
    SCOPED_TRACE(row.line);
    StationSays(row.line);
    const Json state = OneState(browser);
    EXPECT_EQ(Sections(state), std::set<std::string>({row.section}));
    EXPECT_EQ(state[row.section], Json::parse(row.json));
  }
}

TEST_F(GatewayState, CallsShowWhoRings) {
  for (const char* line : {"BEGIN", "CALL URL:\"\\\"Studio B\\\" <hark:10.0.0.7>;trgl=4\" TALK:S",
                           "CALL URL:\"\\\"Studio B\\\" <hark:10.0.0.7>;trgl=4\" LISTEN:R VOLUME:0", "END"})
    StationSays(line);
  ASSERT_THAT(Shown(browser)["calls"], SizeIs(1));
  const Json call = Shown(browser)["calls"][0];
  EXPECT_EQ(call["name"], "Studio B");
  EXPECT_EQ(call["url"], "\"Studio B\" <hark:10.0.0.7>;trgl=4");
  EXPECT_EQ(call["talk"], "S");
  EXPECT_EQ(call["listen"], "R");
  EXPECT_EQ(call["talkWord"], "seized");
  EXPECT_EQ(call["listenWord"], "rings in");
  EXPECT_EQ(call["rings"], true);
  for (const char* line : {"BEGIN", "END"})
    StationSays(line);
  EXPECT_THAT(Shown(browser)["calls"], IsEmpty());
}

TEST_F(GatewayState, StationTellsItsNameAndItsLoss) {
  EXPECT_EQ(Shown(browser)["station"]["link"], "up");
  EXPECT_EQ(Shown(browser)["station"]["name"], "Studio A");
  StationSays("set HARKUI#web.DISP#KL01 TEXT=\"News\", ALT=\"\", DFL=0");
  StationSays("set HARKUI#web.BUT#KL01 IND=On");
  StationLost();
  EXPECT_EQ(Shown(browser)["station"]["link"], "lost");
  EXPECT_EQ(Shown(browser)["station"]["name"], "Studio A");
  EXPECT_EQ(Shown(browser)["station"]["why"], "closed by the station");
  EXPECT_EQ(Shown(browser)["station"]["retryMs"], 1000);
  EXPECT_EQ(Shown(browser)["ch"]["1"]["text"], "News");
  EXPECT_EQ(Shown(browser)["ch"]["1"]["listen"], "off");
  AdvanceMs(1'100);
  EXPECT_EQ(Shown(browser)["station"]["link"], "connecting");
  StationUp("HARK LABL:\"Studio B\" LATCH:200");
  EXPECT_EQ(Shown(browser)["station"]["link"], "up");
  EXPECT_EQ(Shown(browser)["station"]["name"], "Studio B");
  StationSays("set HARKUI#web.BUT#KL01 IND=On");
  EXPECT_EQ(Shown(browser)["ch"]["1"]["listen"], "on");
}

TEST_F(GatewayState, NewcomerAndOldOneSeeTheSame) {
  for (const char* line :
       {"set HARKUI#web.DISP#KL01 TEXT=\"Ext 1\", ALT=\"Gate one\", DFL=0",
        "set HARKUI#web.DISP#KL03 TEXT=\"News\", ALT=\"\", DFL=2", "set HARKUI#web.BUT#KT01 IND=Flash",
        "set HARKUI#web.FAD#KL01 gain=-60", "SET Intercom talk=ON", "CALL URL:\"hark:10.0.0.7\" LISTEN:1"})
    StationSays(line);
  Say(browser, {{"t", "shift"}, {"name", "Night"}});
  const BrowserId newcomer = Join();
  EXPECT_EQ(Shown(newcomer), Shown(browser));
  EXPECT_EQ(Shown(newcomer)["ch"]["1"]["level"], -60);
}

TEST_F(GatewayState, ChangesWhileABrowserDoesNotReadComeTogetherAndOnce) {
  StopReading(browser);
  for (const char* line : {"set HARKUI#web.BUT#KL01 IND=On", "set HARKUI#web.FAD#SPKV gain=-10",
                           "set HARKUI#web.FAD#SPKV gain=-20", "set HARKUI#web.BUT#KL02 IND=On",
                           "set HARKUI#web.BUT#KL01 IND=Off"})
    StationSays(line);
  ReadAgain(browser);
  const Json state = OneState(browser);
  EXPECT_EQ(state["speaker"], -20);
  EXPECT_THAT(state["channels"], SizeIs(2));
  EXPECT_EQ(Shown(browser)["ch"]["1"]["listen"], "off");
  EXPECT_EQ(Shown(browser)["ch"]["2"]["listen"], "on");
}

TEST_F(GatewayState, LampsCostTrafficOnlyWhenTheyChange) {
  StationSays("set HARKUI#web.BUT#KL01 IND=Flash");
  (void)Told(browser);
  AdvanceMs(30'000);
  EXPECT_THAT(Told(browser), IsEmpty()) << "the page flashes by itself";
}

}  // namespace
}  // namespace hark::test
