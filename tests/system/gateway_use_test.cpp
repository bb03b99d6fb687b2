// A day at a desk: keys, a caller, faders, shifts, seen by two browsers and by a panel of metal alike.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "system/gateway_fixture.h"

namespace hark::test {
namespace {

class GatewayUse : public PanelGatewayTest {};

TEST_F(GatewayUse, TapLatchesAndHoldDoesNot) {
  StartWithGateway();
  const auto browser = Join();
  const auto second = Join();
  browser->tap("KL01");
  EXPECT_TRUE(MixerHears("239.192.0.7"));
  EXPECT_TRUE(becomes([&] { return second->shown(1, "listen") == "on"; }));
  EXPECT_TRUE(remains([&] { return second->shown(1, "listen") == "on"; }, 1'500)) << "it is latched";
  EXPECT_TRUE(panel.wait_indicator("KL01", "On"));
  second->tap("KL01");
  EXPECT_TRUE(becomes([&] { return browser->shown(1, "listen") == "off"; }));
  browser->hold("KT01");
  EXPECT_TRUE(NobodyIsOn());
  EXPECT_TRUE(becomes([&] { return browser->shown(1, "talk") == "off"; }));
}

TEST_F(GatewayUse, LampsTextsAndRightsAreTheStations) {
  StartWithGateway();
  const auto browser = Join();
  EXPECT_EQ(browser->shown(1, "text"), "Bob");
  EXPECT_EQ(browser->shown(2, "alt"), "Anna B.");
  EXPECT_EQ(browser->shown(5, "text"), "");
  EXPECT_EQ(browser->state()["ch"]["4"]["noTalk"], true);
  EXPECT_EQ(browser->state()["ch"]["1"]["noTalk"], false);
  EXPECT_EQ(browser->station("name"), "STUDIO A");
  // Cal asks to be talked to.
  EXPECT_TRUE(sim->send("GPO 6 Lxxxx"));
  EXPECT_TRUE(becomes([&] { return browser->state()["autoAnswer"].value("talk", "") == "flash"; }));
  EXPECT_TRUE(sim->send("GPO 6 Hxxxx"));
  EXPECT_TRUE(becomes([&] { return browser->state()["autoAnswer"].value("talk", "") == "off"; }));
}

TEST_F(GatewayUse, WhoRingsIsListedAndAnsweredOnTheAutoAnswerChannel) {
  StartWithGateway();
  const auto browser = Join();
  EXPECT_TRUE(sim->send("GPO 6 Lxxxx"));
  ASSERT_TRUE(becomes([&] { return browser->state()["calls"].size() == 1U; }));
  const Json call = browser->state()["calls"][0];
  EXPECT_EQ(call["name"], "Cal");
  EXPECT_EQ(call["rings"], true);
  EXPECT_TRUE(browser->say({{"t", "caller"}, {"label", "Cal"}}));
  EXPECT_TRUE(becomes([&] { return browser->state()["autoAnswer"].value("text", "") == "Cal"; }));
  browser->down("KLAA");
  EXPECT_TRUE(MixerHears("239.192.0.9"));
  EXPECT_TRUE(becomes([&] { return browser->state()["autoAnswer"].value("listen", "") == "on"; }));
  EXPECT_TRUE(becomes([&] { return browser->state()["outputs"].value("listen", false); }));
  EXPECT_TRUE(sim->send("GPO 6 Hxxxx"));
  browser->up("KLAA", 1'000);
  EXPECT_TRUE(NobodyIsOn());
  EXPECT_TRUE(becomes([&] { return browser->state()["calls"].empty(); }));
}

TEST_F(GatewayUse, FadersAndMutesAreSharedByAll) {
  StartWithGateway();
  const auto browser = Join();
  const auto second = Join();
  EXPECT_TRUE(browser->say({{"t", "fader"}, {"key", "SPKV"}, {"to", -60}}));
  EXPECT_TRUE(becomes([&] { return second->state()["speaker"] == -60; }));
  EXPECT_TRUE(MixerGets("sub#1 gain=-60"));
  EXPECT_TRUE(panel.wait_fader("SPKV", "-60"));
  EXPECT_TRUE(second->say({{"t", "fader"}, {"key", "KL01"}, {"to", -120}}));
  EXPECT_TRUE(becomes([&] { return browser->state()["ch"]["1"]["level"] == -120; }));
  browser->tap("MICM");
  EXPECT_TRUE(becomes([&] { return second->state()["keys"]["MICM"] == "on"; }));
  browser->tap("MICM");
  EXPECT_TRUE(becomes([&] { return second->state()["keys"]["MICM"] == "off"; }));
}

TEST_F(GatewayUse, ShiftIsChosenByName) {
  StartWithGateway();
  const auto browser = Join();
  Replace(kChannelFile,
          std::string("SHIFT LABL:\"Day\"\n") + kKeys + "\nSHIFT LABL:\"Night\"\nHARKCH 1 LABL:\"Cal\"\n\n");
  EXPECT_TRUE(
      becomes([&] { return browser->state()["shifts"]["names"] == Json::parse(R"(["Day","Night"])"); }));
  EXPECT_TRUE(browser->say({{"t", "shift"}, {"name", "Night"}}));
  EXPECT_TRUE(becomes([&] { return browser->shown(1, "text") == "Cal"; }));
  EXPECT_TRUE(becomes([&] { return browser->state()["shifts"]["chosen"] == "Night"; }));
}

}  // namespace
}  // namespace hark::test
