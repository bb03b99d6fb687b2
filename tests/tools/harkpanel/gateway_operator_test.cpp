// What browsers do beside pressing keys: faders, the caller of the auto-answer channel, shifts, echoes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tools/harkpanel/gateway_rig.h"

namespace hark::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class GatewayOperator : public GatewayTest {
 protected:
  GatewayOperator() {
    StationUp();
    (void)StationLines();
  }
};

TEST_F(GatewayOperator, FaderMovesAreSentAndShownToAll) {
  const BrowserId one = Join();
  const BrowserId two = Join();
  Say(one, {{"t", "fader"}, {"key", "KL03"}, {"to", -60}});
  EXPECT_THAT(StationLines(), ElementsAre("event HARKUI#web.FAD#KL03 dgain=-60"));
  Say(two, {{"t", "fader"}, {"key", "KL03"}, {"by", 10}});
  EXPECT_THAT(StationLines(), ElementsAre("event HARKUI#web.FAD#KL03 dgain=10"));
  Say(one, {{"t", "fader"}, {"key", "SPKV"}, {"to", -100}});
  EXPECT_THAT(StationLines(), ElementsAre("event HARKUI#web.FAD#SPKV gain=-100"));
  for (const BrowserId browser : {one, two}) {
    EXPECT_EQ(Shown(browser)["ch"]["3"]["level"], -50);
    EXPECT_EQ(Shown(browser)["speaker"], -100);
  }
}

TEST_F(GatewayOperator, FaderBeyondThePanelIsRefused) {
  for (const char* fader : {"KL21", "KL98"}) {
    const BrowserId browser = Join();
    Say(browser, {{"t", "fader"}, {"key", fader}, {"to", 0}});
    EXPECT_EQ(Code(browser), 4400) << fader;
  }
  EXPECT_THAT(StationLines(), IsEmpty());
}

TEST_F(GatewayOperator, CallerGoesToTheAutoAnswerChannelAtOnce) {
  const BrowserId browser = Join();
  Say(browser, {{"t", "caller"}, {"label", "Desk"}});
  EXPECT_THAT(StationLines(), ElementsAre("event HARKUI#web.DISP#KLAA TEXT=\"Desk\""));
}

TEST_F(GatewayOperator, ShiftIsSelectedAndMarkedForAll) {
  const BrowserId one = Join();
  const BrowserId two = Join();
  Say(one, {{"t", "shift"}, {"name", "Evening"}});
  EXPECT_THAT(StationLines(), ElementsAre("event HARKUI#web.SEL#SHIFT TEXT=\"Evening\""));
  EXPECT_EQ(Shown(two)["shifts"], Json::parse(R"({"names":["Evening"],"chosen":"Evening"})"));
  StationLost();
  AdvanceMs(1'100);
  StationUp();
  EXPECT_EQ(Shown(two)["shifts"]["chosen"], "") << "the station may have begun anew";
}

TEST_F(GatewayOperator, ShiftsOfTheChannelFileAreShownAndLookedAtNowAndThen) {
  const TempFolder folder;
  const std::string path = folder.file("harkch.conf");
  write_file(path, "SHIFT LABL:\"Morning\"\nSHIFT LABL:\"Evening\"\n");
  panel_gateway::GatewayOptions options;
  options.channel_file = path;
  Restart(options);
  StationUp();
  const BrowserId browser = Join();
  KeepAlive(browser);
  EXPECT_EQ(Shown(browser)["shifts"], Json::parse(R"({"names":["Morning","Evening"],"chosen":""})"));
  write_file(path + ".new", "SHIFT LABL:\"Night\"\n");
  std::filesystem::rename(path + ".new", path);
  AdvanceMs(3'200);
  EXPECT_EQ(Shown(browser)["shifts"]["names"], Json::parse(R"(["Night"])"));
}

TEST_F(GatewayOperator, EchoComesBackToItsSenderOnly) {
  const BrowserId one = Join();
  const BrowserId two = Join();
  Say(one, {{"t", "echo"}, {"n", 17}});
  EXPECT_THAT(Told(one, "echo"), ElementsAre(Json::parse(R"({"t":"echo","n":17})")));
  EXPECT_THAT(Told(two, "echo"), IsEmpty());
  EXPECT_THAT(StationLines(), IsEmpty());
}

TEST_F(GatewayOperator, EchoesComeBackInOrderAndAheadOfTheState) {
  const BrowserId browser = Join();
  StopReading(browser);
  StationSays("set HARKUI#web.FAD#SPKV gain=-10");
  for (int number = 0; number < 5; ++number)
    Say(browser, {{"t", "echo"}, {"n", number}});
  for (int number = 0; number < 5; ++number)
    EXPECT_EQ(Json::parse(gateway->take_message(browser, now))["n"], number);
  EXPECT_EQ(Json::parse(gateway->take_message(browser, now))["t"], "state");
}

TEST_F(GatewayOperator, TextsOfBrowsersMakeOneLineEach) {
  const BrowserId browser = Join();
  for (const char* text : {"\"", "\\", "\" QUIT", "a\" B:\"c", "\xC3\xBC\"\\"}) {
    SCOPED_TRACE(text);
    Say(browser, {{"t", "caller"}, {"label", text}});
    Say(browser, {{"t", "shift"}, {"name", text}});
    EXPECT_EQ(Code(browser), 0);
    for (const std::string& line : StationLines())
      EXPECT_TRUE(line.starts_with("event HARKUI#web.")) << line;
  }
}

}  // namespace
}  // namespace hark::test
