// What a station says of itself on the network: when, with which details, and how it takes it back. The
// witness is another host's own tool.
#include <csignal>

#include "system/net/discovery_fixture.h"

namespace hark::test {
namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

using Announcement = DiscoveryTest;

const std::string kSourceItem("RTPA=\xef\xc0\x00\x4d", 9);
constexpr char kLevelItem[] = "TRGL=\x04";

// The details of one name as the watcher's daemon has them now.
std::optional<Sighting> details(Host& watcher, const std::string& name) {
  for (Sighting& seen : watcher.look()) {
    if (seen.event == '=' && seen.name == name) return std::move(seen);
  }
  return std::nullopt;
}

testing::AssertionResult wait_items(Host& watcher, const std::string& name,
                                    const testing::Matcher<std::vector<std::string>>& want) {
  std::optional<Sighting> seen;
  const auto fits = [&] {
    seen = details(watcher, name);
    return seen.has_value() && want.Matches(seen->txt);
  };
  if (wait_until(fits)) return testing::AssertionSuccess();
  return testing::AssertionFailure() << name << " never had these items, but "
                                     << testing::PrintToString(seen ? seen->txt : std::vector<std::string>{});
}

TEST_F(Announcement, CarriesNamePortAndDetails) {
  NetStation a(net, 2);
  const Witness witness(watcher);
  Desk desk;
  Boot(a, desk);
  ASSERT_TRUE(witness.wait_there(a.host.station_name()));
  EXPECT_TRUE(wait_items(watcher, "IC 000002", UnorderedElementsAre("ALT=Main", kLevelItem, kSourceItem)));
  const std::optional<Sighting> seen = details(watcher, "IC 000002");
  ASSERT_TRUE(seen.has_value());
  EXPECT_EQ(seen->port, a.station.ctrl_port());
  EXPECT_EQ(seen->host, "host2.local");
  EXPECT_EQ(seen->address, "10.77.0.2");
  EXPECT_THAT(witness.names(), ElementsAre("IC 000002"));
  EXPECT_EQ(a.log_count("mdns failure"), 0);
  EXPECT_TRUE(a.station.ends_clean());
}

TEST_F(Announcement, LeavesOutATextThatTheSourceDoesNotHave) {
  NetStation a(net, 2);
  Desk desk;
  ASSERT_TRUE(a.host.start_discovery());
  ASSERT_TRUE(a.start());
  ASSERT_TRUE(desk.attach(a));
  ASSERT_TRUE(a.give_source("SRC 1 RTPA:\"239.192.0.77:5004\""));
  EXPECT_TRUE(wait_items(watcher, "IC 000002", UnorderedElementsAre(kLevelItem, kSourceItem)));
  EXPECT_TRUE(a.station.ends_clean());
}

TEST_F(Announcement, WaitsForAPanelWhileBrowsingDoesNot) {
  NetStation a(net, 2);
  const Witness witness(watcher);
  ASSERT_TRUE(a.host.start_discovery());
  ASSERT_TRUE(a.start());
  ASSERT_TRUE(a.give_source());
  ASSERT_TRUE(a.logged("mdns reconnected"));
  // A station that came later is known all over: an announcement from before would be, too.
  const Program gate = watcher.publish({.name = "gate"});
  EXPECT_TRUE(a.wait_entry("gate", "gate <hark:10.77.0.200>\n\tharkd 4013\n"));
  EXPECT_TRUE(witness.wait_there("gate"));
  EXPECT_THAT(witness.names(), ElementsAre("gate"));
  EXPECT_THAT(a.found(), ElementsAre("gate"));
  EXPECT_TRUE(a.station.ends_clean());
}

TEST_F(Announcement, ComesAndGoesWithAConsolesModule) {
  NetStation a(net, 2);
  const Witness witness(watcher);
  const Program gate = watcher.publish({.name = "gate"});
  ASSERT_TRUE(a.host.start_discovery());
  ASSERT_TRUE(a.start());
  Desk desk;
  ASSERT_TRUE(desk.report_module(a, 1));
  EXPECT_TRUE(witness.wait_there("IC 000002"));
  ASSERT_TRUE(a.wait_found(2));
  ASSERT_TRUE(desk.report_module(a, -1));
  EXPECT_TRUE(witness.wait_gone("IC 000002"));
  ASSERT_TRUE(a.wait_found(1));
  EXPECT_THAT(a.found(), ElementsAre("gate"));
  EXPECT_TRUE(a.station.ends_clean());
}

// Without services of its own a station renews only the details, not the announcement.
TEST_F(Announcement, TellsNewDetailsWithoutLeaving) {
  NetStation a(net, 2);
  NetStation b(net, 3);
  const Witness witness(watcher);
  Desk desk;
  ASSERT_TRUE(a.host.start_discovery());
  ASSERT_TRUE(b.host.start_discovery());
  ASSERT_TRUE(a.start());
  ASSERT_TRUE(b.start());
  ASSERT_TRUE(b.give_source());
  ASSERT_TRUE(desk.report_module(a, 1));
  const std::string port = std::to_string(a.station.ctrl_port());
  ASSERT_TRUE(b.wait_entry("IC 000002", "IC 000002 <hark:10.77.0.2>\n\tharkd " + port + "\n"));

  ASSERT_TRUE(a.give_source("SRC 1 PSNM:\"Gate one\""));
  EXPECT_TRUE(
      b.wait_entry("IC 000002", "IC 000002 <hark:10.77.0.2>;trgl=4\n\talt Gate one\n\tharkd " + port + "\n"));
  // On air the station takes its other level.
  ASSERT_TRUE(desk.send("HARK TRGLA:7"));
  ASSERT_TRUE(a.give_source("GPO 1 xLxxx"));
  EXPECT_TRUE(
      b.wait_entry("IC 000002", "IC 000002 <hark:10.77.0.2>;trgl=7\n\talt Gate one\n\tharkd " + port + "\n"));
  EXPECT_EQ(witness.events("IC 000002"), "+");
  EXPECT_TRUE(a.station.ends_clean());
  EXPECT_TRUE(b.station.ends_clean());
}

TEST_F(Announcement, FollowsTheSource) {
  NetStation a(net, 2);
  NetStation b(net, 3);
  Desk desk_a;
  Desk desk_b;
  Boot(a, desk_a);
  Boot(b, desk_b);
  ASSERT_TRUE(b.wait_entry("IC 000002", a.own_entry()));
  ASSERT_TRUE(a.give_source("SRC 1 PSNM:\"Other\" RTPA:\"239.192.0.77:5004\""));
  EXPECT_TRUE(b.wait_entry("IC 000002", a.own_entry("Other")));
  ASSERT_TRUE(desk_a.send("HARK TRGL:6"));
  EXPECT_TRUE(b.wait_entry("IC 000002", a.own_entry("Other", 6)));
  EXPECT_TRUE(a.station.ends_clean());
  EXPECT_TRUE(b.station.ends_clean());
}

TEST_F(Announcement, TakesTheNewNameOfAStation) {
  NetStation a(net, 2);
  const Witness witness(watcher);
  Desk desk;
  Boot(a, desk);
  ASSERT_TRUE(witness.wait_there("IC 000002"));
  ASSERT_TRUE(desk.send("HARK LABL:\"Studio \\\"A\\\"\""));
  EXPECT_TRUE(witness.wait_there("Studio \"A\""));
  EXPECT_TRUE(witness.wait_gone("IC 000002"));
  EXPECT_TRUE(a.station.ends_clean());
}

// The library chooses the next name by itself; the station goes on, and lists the other under the name.
TEST_F(Announcement, GetsAnotherNameWhenItsOwnIsTaken) {
  NetStation a(net, 2);
  const Witness witness(watcher);
  const Program taken = watcher.publish({.name = "IC 000002"});
  ASSERT_TRUE(witness.wait_there("IC 000002"));
  Desk desk;
  Boot(a, desk);
  EXPECT_TRUE(witness.wait_there("IC 000002 #2"));
  EXPECT_TRUE(a.wait_entry("IC 000002", "IC 000002 <hark:10.77.0.200>\n\tharkd 4013\n"));
  const std::optional<Sighting> seen = details(watcher, "IC 000002 #2");
  ASSERT_TRUE(seen.has_value());
  EXPECT_EQ(seen->port, a.station.ctrl_port());
  EXPECT_TRUE(a.station.alive());
  EXPECT_TRUE(a.station.ends_clean());
}

TEST_F(Announcement, IsTakenBackAtTheEnd) {
  NetStation a(net, 2);
  const Witness witness(watcher);
  Desk desk;
  Boot(a, desk);
  ASSERT_TRUE(witness.wait_there("IC 000002"));
  ASSERT_TRUE(a.wait_entry("IC 000002", a.own_entry()));
  EXPECT_EQ(a.station.terminate(), 0);
  // The record itself would live for more than an hour.
  EXPECT_TRUE(witness.wait_gone("IC 000002"));
  EXPECT_EQ(a.table(), "");
  EXPECT_TRUE(a.station.ends_clean());
}

TEST_F(Announcement, IsTakenBackForAStationThatWasKilled) {
  NetStation a(net, 2);
  const Witness witness(watcher);
  Desk desk;
  Boot(a, desk);
  ASSERT_TRUE(witness.wait_there("IC 000002"));
  a.station.send_signal(SIGKILL);
  ASSERT_EQ(a.station.wait_exit(), 128 + SIGKILL);
  EXPECT_TRUE(witness.wait_gone("IC 000002"));
  // Started again it is there again, and has forgotten nothing.
  ASSERT_TRUE(a.station.start());
  Desk again;
  ASSERT_TRUE(again.report_module(a, 1));
  EXPECT_TRUE(witness.wait_there("IC 000002"));
  EXPECT_TRUE(a.station.ends_clean());
}

}  // namespace
}  // namespace hark::test
