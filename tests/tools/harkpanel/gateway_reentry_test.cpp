// Sockets that answer from within: a close that reports the closed connection at once, a write by which the
// station is found lost, a wake that reads at once. Each callback does the worst it may.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tools/harkpanel/gateway_rig.h"

namespace hark::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class GatewayReentry : public GatewayTest {
 protected:
  GatewayReentry() {
    StationUp();
    (void)StationLines();
  }
  void CloseReportsAtOnce() {
    out.on_close = [this](BrowserId browser) { gateway->browser_closed(browser, now); };
  }
};

TEST_F(GatewayReentry, CloseThatReportsAtOnceEndsEachOffenderWhole) {
  CloseReportsAtOnce();
  const BrowserId stays = Join();
  KeyDown(stays, "KL09", 0);
  const std::vector<std::function<void(BrowserId)>> offences = {
      [this](BrowserId one) { SayText(one, "nonsense"); },
      [this](BrowserId one) { KeyDown(one, "KL98", 0); },
      [this](BrowserId one) {
        Say(one, {{"t", "fader"}, {"key", "KL98"}, {"to", 0}});
      },
      [this](BrowserId one) { gateway->browser_misbehaved(one, CloseCode::kBadMessage, "binary"); },
      [this](BrowserId one) {
        for (int count = 0; count < 500; ++count)
          Say(one, {{"t", "echo"}, {"n", count}});
      },
  };
  for (const auto& offence : offences) {
    const BrowserId one = Join();
    KeyDown(one, "KL01", 0);
    KeyDown(one, "KT02", 0);
    offence(one);
    EXPECT_NE(Code(one), 0);
    EXPECT_EQ(gateway->browsers(), 1U);
    EXPECT_THAT(out.down, ElementsAre("KL09"));
  }
  EXPECT_EQ(Code(stays), 0);
}

TEST_F(GatewayReentry, CloseThatReportsAtOnceWithinATickEndsAllThatAreDue) {
  CloseReportsAtOnce();
  std::vector<BrowserId> silent;
  for (int count = 0; count < 20; ++count)
    silent.push_back(count % 2 == 0 ? Open() : Join());
  AdvanceMs(121'000);
  EXPECT_EQ(gateway->browsers(), 0U);
  for (const BrowserId browser : silent)
    EXPECT_EQ(Code(browser), 4408);
}

TEST_F(GatewayReentry, CloseThatReportsAtOnceWithinShutDownIsFine) {
  CloseReportsAtOnce();
  for (int count = 0; count < 10; ++count) {
    const BrowserId browser = Join();
    KeyDown(browser, "KL0" + std::to_string(count % 3 + 1), 0);
  }
  gateway->shut_down(now);
  EXPECT_EQ(gateway->browsers(), 0U);
  EXPECT_THAT(out.down, IsEmpty());
}

TEST_F(GatewayReentry, CloseOfOneMayCloseAnother) {
  const BrowserId one = Join();
  const BrowserId two = Join();
  KeyDown(one, "KL01", 0);
  KeyDown(two, "KL02", 0);
  out.on_close = [&](BrowserId browser) {
    gateway->browser_closed(browser == one ? two : one, now);
    gateway->browser_closed(browser, now);
  };
  SayText(one, "nonsense");
  EXPECT_EQ(gateway->browsers(), 0U);
  EXPECT_THAT(out.down, IsEmpty());
}

TEST_F(GatewayReentry, StationLostByTheWriteOfAPressReleasesIt) {
  const BrowserId browser = Join();
  out.on_line = [this](const std::string& line) {
    if (line.find("KEY=DOWN") != std::string::npos) gateway->station_lost("broken pipe", now);
  };
  KeyDown(browser, "KL01", 0);
  EXPECT_THAT(gateway->keys_down(), IsEmpty());
  EXPECT_EQ(gateway->view().link(), panel_gateway::Link::kLost);
  const std::vector<Json> told = Told(browser, "released");
  ASSERT_EQ(told.size(), 1U);
  EXPECT_EQ(told[0]["why"], "station");
  out.on_line = nullptr;
  AdvanceMs(1'100);
  StationUp();
  EXPECT_THAT(out.down, IsEmpty()) << "the write may have arrived";
}

TEST_F(GatewayReentry, StationLostByTheWriteOfAReleaseIsToldAgain) {
  const BrowserId browser = Join();
  KeyDown(browser, "KL01", 0);
  KeyDown(browser, "KT02", 0);
  int ups = 0;
  out.on_line = [this, &ups](const std::string& line) {
    if (line.find("KEY=UP") != std::string::npos && ups++ == 0) gateway->station_lost("broken pipe", now);
  };
  Close(browser);
  out.on_line = nullptr;
  EXPECT_THAT(gateway->keys_down(), IsEmpty());
  AdvanceMs(1'100);
  StationUp();
  EXPECT_THAT(out.down, IsEmpty()) << "no key is left that only a lost connection was told of";
}

TEST_F(GatewayReentry, StationLostByAnyOtherWriteIsFine) {
  for (const char* part : {"FAD#", "DISP#KLAA", "SEL#SHIFT", "attach", "KEY=UP"}) {
    SCOPED_TRACE(part);
    Restart();
    StationUp();
    const BrowserId browser = Join();
    KeyDown(browser, "KL01", 0);
    out.on_line = [this, part](const std::string& line) {
      if (line.find(part) != std::string::npos) gateway->station_lost("broken pipe", now);
    };
    Say(browser, {{"t", "fader"}, {"key", "KL01"}, {"to", -60}});
    Say(browser, {{"t", "caller"}, {"label", "Desk"}});
    Say(browser, {{"t", "shift"}, {"name", "Night"}});
    KeyUp(browser, "KL01", 500);
    AdvanceMs(3'000);
    StationUp();
    EXPECT_EQ(Code(browser), 0);
    out.on_line = nullptr;
    gateway->station_lost("over", now);
    AdvanceMs(17'000);
    StationUp();
    EXPECT_THAT(out.down, IsEmpty());
    EXPECT_EQ(Shown(browser)["station"]["link"], "up");
  }
}

TEST_F(GatewayReentry, StationLostWithinItsOwnGreetingKeepsWhatIsStale) {
  const BrowserId browser = Join();
  KeyDown(browser, "KL01", 0);
  KeyDown(browser, "KT02", 0);
  gateway->station_lost("closed by the station", now);
  AdvanceMs(1'000);
  out.on_line = [this](const std::string& line) {
    if (line.find("KEY=UP") != std::string::npos) gateway->station_lost("broken pipe", now);
  };
  StationUp();
  out.on_line = nullptr;
  AdvanceMs(2'500);
  StationUp();
  EXPECT_THAT(out.down, IsEmpty());
}

TEST_F(GatewayReentry, WakeThatReadsAtOnceLosesNothing) {
  std::vector<std::string> kinds;
  out.on_wake = [&](BrowserId browser) {
    for (std::string text = gateway->take_message(browser, now); !text.empty();
         text = gateway->take_message(browser, now))
      kinds.push_back(Json::parse(text)["t"].get<std::string>());
  };
  const BrowserId browser = gateway->browser_opened(now);
  gateway->browser_said(browser, R"({"t":"hello","v":1})", now);
  EXPECT_THAT(kinds, ElementsAre("welcome", "state"));
  gateway->browser_said(browser, R"({"t":"echo","n":1})", now);
  gateway->station_said("set HARKUI#web.FAD#SPKV gain=-10", now);
  EXPECT_THAT(kinds, ElementsAre("welcome", "state", "echo", "state"));
}

TEST_F(GatewayReentry, WakeThatFindsABrowserGoneSkipsNobody) {
  std::vector<BrowserId> browsers;
  for (int count = 0; count < 6; ++count)
    browsers.push_back(Join());
  for (const BrowserId browser : browsers)
    KeyDown(browser, "KL0" + std::to_string(1 + browser % 3), 0);
  std::set<BrowserId> woken;
  out.on_wake = [&](BrowserId browser) {
    woken.insert(browser);
    gateway->browser_closed(browser, now);
    gateway->browser_closed(browsers.back(), now);
  };
  gateway->station_said("set HARKUI#web.FAD#SPKV gain=-10", now);
  out.on_wake = nullptr;
  out.woken.clear();
  gateway->station_said("set HARKUI#web.FAD#SPKV gain=-20", now);
  EXPECT_EQ(gateway->browsers(), 0U);
  EXPECT_GE(woken.size(), 5U);
  EXPECT_THAT(out.down, IsEmpty());
}

}  // namespace
}  // namespace hark::test
