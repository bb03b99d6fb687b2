// The gateway and a station that turns it away, ends, comes back or stands still.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <string>
#include <vector>

#include "system/gateway_fixture.h"

namespace hark::test {
namespace {

using testing::HasSubstr;

// The gateway waits up to 16 s between two attempts.
constexpr int kBackOffMs = 60'000;

class GatewayStations : public PanelGatewayTest {
 protected:
  bool Becomes(Browser& browser, const std::string& link, int timeout_ms = kBackOffMs) {
    return becomes([&] { return browser.station("link") == link; }, timeout_ms);
  }
};

TEST_F(GatewayStations, HostWithSevenConnectionsIsToldSoAndLetInOnceThereIsRoom) {
  ExpectLog("rejecting 127.0.0.1: host connection limit");
  StartWithPanel();  // its panel is one of the seven
  std::vector<Client> clients;
  for (int count = 0; count < 6; ++count) {
    clients.push_back(Connect());
    EXPECT_TRUE(clients.back().ask("VER", kVersion));
  }
  ASSERT_TRUE(gateway.start(station.ctrl_port()));
  ASSERT_TRUE(gateway.wait_said("station: lost, too many connections from this host; again in "));
  Browser browser;
  ASSERT_TRUE(browser.join(gateway.port()));
  ASSERT_TRUE(becomes([&] { return browser.station("why") == "too many connections from this host"; }));
  browser.down("KL01");
  EXPECT_TRUE(becomes([&] { return !browser.told("released").empty(); }));
  EXPECT_EQ(browser.told("released")[0]["why"], "station");

  // A slot counts for its host until another host has taken it.
  clients[3].close();
  let_it_settle(client);
  Client elsewhere = Connect("127.0.0.3");
  EXPECT_TRUE(elsewhere.ask("VER", kVersion));
  EXPECT_TRUE(Becomes(browser, "up"));
  EXPECT_TRUE(becomes([&] { return browser.shown(4, "text") == "Mic"; }));
  Works(browser);
}

TEST_F(GatewayStations, FullStationIsShownAsBusy) {
  ExpectLog("rejecting 127.0.0.1: global connection limit");
  StartWithPanel();
  std::vector<Client> clients;
  for (int count = 0; count < 14; ++count) {
    clients.push_back(Connect(count < 7 ? "127.0.0.2" : "127.0.0.3"));
    EXPECT_TRUE(clients.back().ask("VER", kVersion));
  }
  ASSERT_TRUE(gateway.start(station.ctrl_port()));
  ASSERT_TRUE(gateway.wait_said("station: lost, server busy; again in "));
  Browser browser;
  ASSERT_TRUE(browser.join(gateway.port()));
  ASSERT_TRUE(becomes([&] { return browser.station("why") == "server busy"; }));
  clients.pop_back();
  EXPECT_TRUE(Becomes(browser, "up"));
}

TEST_F(GatewayStations, PageThatAsksForItIsConnectedWithoutWaiting) {
  ASSERT_TRUE(gateway.start(station.ctrl_port()));
  ASSERT_TRUE(gateway.wait_said("station: lost, connection refused; again in 1 s"));
  Browser browser;
  ASSERT_TRUE(browser.join(gateway.port()));
  EXPECT_TRUE(gateway.wait_said("again in 8 s"));
  StartReadyForCalls();
  client = Connect("127.0.0.9");
  EXPECT_TRUE(becomes([&] {
    (void)browser.say({{"t", "retry"}});
    return browser.round_trip() && browser.station("link") == "up";
  }));
  EXPECT_TRUE(becomes([&] { return browser.station("why").empty(); }));
}

TEST_F(GatewayStations, ThatEndsWithAKeyHeldComesBackWithNothingOn) {
  StartWithGateway();
  const auto browser = Join();
  browser->down("KL01");
  ASSERT_TRUE(becomes([&] { return browser->shown(1, "listen") == "on"; }));
  ASSERT_EQ(station.terminate(), 0);
  ASSERT_TRUE(Becomes(*browser, "lost"));
  EXPECT_NE(browser->station("why"), "");
  EXPECT_EQ(browser->shown(1, "listen"), "off");
  EXPECT_EQ(browser->shown(1, "text"), "Bob") << "texts stay";
  const Json released = Json::parse(R"({"t":"released","keys":["KL01"],"why":"station"})");
  EXPECT_TRUE(
      becomes([&] { return testing::Matches(testing::Contains(released))(browser->told("released")); }));
  browser->down("KT02");
  EXPECT_TRUE(becomes([&] { return browser->told("released").size() == 2U; }));

  ASSERT_TRUE(station.start());
  ASSERT_TRUE(sim.wait_mixer());
  client = Connect("127.0.0.9");
  EXPECT_TRUE(Becomes(*browser, "up"));
  ASSERT_TRUE(becomes([&] { return browser->shown(4, "text") == "Mic"; }));
  EXPECT_TRUE(NobodyIsOn());
  ASSERT_TRUE(becomes([&] { return answers(client, "CALL") == Lines({"BEGIN", "END"}); }));
  EXPECT_THAT(answers(client, "UNSUB CALL"), testing::ElementsAre());
  Works(*browser);
}

TEST_F(GatewayStations, ThatIsKilledAgainAndAgainIsFoundEachTime) {
  StartWithGateway();
  const auto browser = Join();
  for (int turn = 0; turn < 3; ++turn) {
    SCOPED_TRACE(turn);
    browser->down("KL01");
    EXPECT_TRUE(browser->round_trip());
    station.send_signal(SIGKILL);
    EXPECT_EQ(station.wait_exit(), 128 + SIGKILL);
    ASSERT_TRUE(Becomes(*browser, "lost"));
    ASSERT_TRUE(station.start());
    ASSERT_TRUE(sim.wait_mixer());
    ASSERT_TRUE(Becomes(*browser, "up"));
    ASSERT_TRUE(becomes([&] { return browser->shown(4, "text") == "Mic"; }));
  }
  client = Connect("127.0.0.9");
  EXPECT_TRUE(NobodyIsOn());
}

TEST_F(GatewayStations, ThatStandsStillLosesNoReleaseAndNoBrowser) {
  StartWithGateway();
  const auto browser = Join();
  browser->down("KL01");
  ASSERT_TRUE(becomes([&] { return browser->shown(1, "listen") == "on"; }));
  station.send_signal(SIGSTOP);
  browser->up("KL01", 5'000);
  for (int count = 0; count < 20; ++count)
    EXPECT_TRUE(browser->round_trip());
  browser->down("KT02", 6'000);
  browser->cancel("KT02", 6'010);
  EXPECT_TRUE(browser->round_trip());
  EXPECT_EQ(browser->close_code(), 0);
  station.send_signal(SIGCONT);
  EXPECT_TRUE(NobodyIsOn());
  EXPECT_TRUE(Becomes(*browser, "up"));
  Works(*browser);
}

// It keeps its connection, so that nothing but its silence tells.
TEST_F(GatewayStations, ThatHangsIsShownAsLostAndIsBackWhenItGoesOn) {
  StartWithGateway();
  const auto browser = Join();
  browser->down("KL01");
  ASSERT_TRUE(becomes([&] { return browser->shown(1, "listen") == "on"; }));
  station.send_signal(SIGSTOP);
  EXPECT_TRUE(Becomes(*browser, "lost"));
  EXPECT_EQ(browser->state()["station"]["why"], "does not answer");
  station.send_signal(SIGCONT);
  EXPECT_TRUE(Becomes(*browser, "up"));
  EXPECT_TRUE(NobodyIsOn());
  Works(*browser);
}

TEST_F(GatewayStations, GatewayReadsAllThatTheStationSays) {
  StartWithGateway();
  const auto browser = Join();
  // A client that reads too slowly would be closed by the station.
  for (int turn = 0; turn < 400; ++turn)
    ASSERT_TRUE(client.send_line("HARK DIML:-" + std::to_string(turn % 100)));
  let_it_settle(client);
  EXPECT_TRUE(browser->round_trip());
  EXPECT_EQ(browser->station("link"), "up");
  EXPECT_THAT(gateway.program.output(), testing::Not(HasSubstr("lost")));
  Works(*browser);
}

TEST_F(GatewayStations, TwoGatewaysOfDifferentNamesShareAStation) {
  StartWithGateway();
  const auto one = Join();
  // Its output goes to a place of its own.
  const TempRoot root;
  GatewayProcess guest(root);
  ASSERT_TRUE(guest.start(station.ctrl_port(), {"--id", "guest"}));
  Browser two;
  ASSERT_TRUE(two.join(guest.port()));
  ASSERT_TRUE(becomes([&] { return two.shown(4, "text") == "Mic"; }));
  one->down("KL01");
  EXPECT_TRUE(becomes([&] { return two.shown(1, "listen") == "on"; }));
  one->up("KL01", 1'000);
  EXPECT_TRUE(becomes([&] { return two.shown(1, "listen") == "off"; }));
  EXPECT_TRUE(guest.ends_well());
}

}  // namespace
}  // namespace hark::test
