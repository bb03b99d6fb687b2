// A held key never stays on, whatever becomes of who held it: the page, its connection, its machine, the
// gateway.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <memory>
#include <string>

#include "system/gateway_fixture.h"

namespace hark::test {
namespace {

using testing::HasSubstr;

// Less than the time in which a holder that says nothing loses its keys: what is released sooner was released
// for another reason. The station itself waits 0.4 s before a path closes.
constexpr int kAtOnceMs = 3'500;

class GatewayReleased : public PanelGatewayTest {
 protected:
  // A browser that holds the listen key of Bob, which is on.
  std::unique_ptr<Browser> Holder() {
    auto browser = Join();
    browser->down("KL01");
    EXPECT_TRUE(MixerHears("239.192.0.7"));
    EXPECT_TRUE(becomes([&] { return browser->shown(1, "listen") == "on"; }));
    return browser;
  }
};

TEST_F(GatewayReleased, KilledConnectionLetsGoAtOnce) {
  StartWithGateway();
  const auto holder = Holder();
  holder->abort();
  EXPECT_TRUE(NobodyIsOn(kAtOnceMs));
}

TEST_F(GatewayReleased, ClosedConnectionLetsGoAtOnce) {
  StartWithGateway();
  const auto holder = Holder();
  holder->close();
  EXPECT_TRUE(NobodyIsOn(kAtOnceMs));
}

TEST_F(GatewayReleased, FiftyKilledConnectionsLeaveNoKeyOn) {
  StartWithGateway();
  const auto witness = Join();
  for (int count = 0; count < 50; ++count) {
    Browser browser;
    ASSERT_TRUE(browser.join(gateway.port()));
    // Taps among them, which would latch if they were whole.
    browser.down(count % 2 == 0 ? "KL01" : "KT02", 1'000);
    if (count % 3 == 0) {
      EXPECT_TRUE(browser.round_trip());
    }
    browser.abort();
  }
  EXPECT_TRUE(witness->round_trip());
  EXPECT_TRUE(NobodyIsOn());
}

TEST_F(GatewayReleased, TwoHundredLostPointersLatchNothing) {
  StartWithGateway();
  const auto browser = Join();
  for (int count = 0; count < 200; ++count) {
    const std::string key = count % 2 == 0 ? "KL01" : "KX02";
    browser->down(key, count);
    browser->cancel(key, count + 1.0);
    // No faster than the gateway listens to anybody.
    if (count % 20 == 19) {
      EXPECT_TRUE(remains([&] { return browser->close_code() == 0; }, 200));
    }
  }
  EXPECT_TRUE(browser->round_trip());
  EXPECT_TRUE(NobodyIsOn());
  EXPECT_EQ(browser->close_code(), 0);
}

TEST_F(GatewayReleased, SilentHolderLosesItsKeyAndIsToldWhy) {
  StartWithGateway();
  const auto holder = Holder();
  const auto from = std::chrono::steady_clock::now();
  holder->freeze();
  EXPECT_TRUE(NobodyIsOn());
  EXPECT_GE(std::chrono::steady_clock::now() - from, std::chrono::seconds(3)) << "not for any other reason";
  const Json released = Json::parse(R"({"t":"released","keys":["KL01"],"why":"silent"})");
  EXPECT_TRUE(
      becomes([&] { return testing::Matches(testing::Contains(released))(holder->told("released")); }));
  EXPECT_EQ(holder->close_code(), 0);
  Works(*holder);
}

TEST_F(GatewayReleased, HolderThatSpeaksKeepsItsKey) {
  StartWithGateway();
  const auto holder = Holder();
  EXPECT_TRUE(remains([&] { return holder->shown(1, "listen") == "on"; }, 6'000));
  holder->up("KL01", 6'000);
  EXPECT_TRUE(NobodyIsOn());
}

TEST_F(GatewayReleased, KeyThatTwoHoldStaysWithTheOther) {
  StartWithGateway();
  const auto holder = Holder();
  const auto second = Join();
  second->down("KL01");
  EXPECT_TRUE(second->round_trip());
  holder->abort();
  EXPECT_TRUE(remains([&] { return second->shown(1, "listen") == "on"; }, 1'500));
  second->up("KL01", 2'000);
  EXPECT_TRUE(NobodyIsOn());
}

TEST_F(GatewayReleased, KilledGatewayLetsGoAtItsNextStart) {
  StartWithGateway();
  auto holder = Holder();
  holder->down("KT02");
  ASSERT_TRUE(becomes([&] { return holder->shown(2, "talk") == "on"; }));
  EXPECT_THAT(gateway.held(), HasSubstr("KL01"));
  EXPECT_THAT(gateway.held(), HasSubstr("KT02"));
  gateway.program.kill();
  EXPECT_TRUE(becomes([&] { return holder->close_code() == 1006; }));
  EXPECT_FALSE(CallList().empty()) << "nobody has let go yet";
  RestartGateway();
  EXPECT_TRUE(NobodyIsOn());
  EXPECT_TRUE(becomes([&] { return gateway.held().find("KL01") == std::string::npos; }));
  Works(*Join());
}

TEST_F(GatewayReleased, GatewayKilledInTheMiddleOfATapLatchesNothing) {
  StartWithGateway();
  const auto browser = Join();
  browser->down("KL01", 1'000);
  ASSERT_TRUE(MixerHears("239.192.0.7"));
  gateway.program.kill();
  RestartGateway();
  EXPECT_TRUE(NobodyIsOn());
}

TEST_F(GatewayReleased, SigtermLetsGoOfAllTellsThePagesAndEndsInOrder) {
  StartWithGateway();
  const auto holder = Holder();
  const auto second = Join();
  second->down("KT02");
  ASSERT_TRUE(becomes([&] { return second->shown(2, "talk") == "on"; }));
  EXPECT_TRUE(gateway.ends_well());
  gateway_ended_ = true;
  EXPECT_EQ(holder->wait_closed(), 1001);
  EXPECT_EQ(second->wait_closed(), 1001);
  EXPECT_TRUE(NobodyIsOn());
  EXPECT_EQ(gateway.held().find("K"), std::string::npos);
}

TEST_F(GatewayReleased, SigintDoesTheSame) {
  StartWithGateway();
  const auto holder = Holder();
  gateway.program.send_signal(SIGINT);
  EXPECT_EQ(gateway.program.wait_exit(kGatewayWaitMs), 0);
  gateway_ended_ = true;
  EXPECT_EQ(holder->wait_closed(), 1001);
  EXPECT_TRUE(NobodyIsOn());
}

TEST_F(GatewayReleased, StoppedGatewayGoesOnWhereItWas) {
  StartWithGateway();
  const auto holder = Holder();
  gateway.program.send_signal(SIGSTOP);
  // Meanwhile the finger lifts; the release waits for the gateway.
  holder->up("KL01", 1'000);
  gateway.program.send_signal(SIGCONT);
  EXPECT_TRUE(NobodyIsOn());
}

}  // namespace
}  // namespace hark::test
