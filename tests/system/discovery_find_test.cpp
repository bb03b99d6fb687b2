// Stations that find each other: what stands in the file of stations, and what the panels show of it.
#include "system/net/discovery_fixture.h"

namespace hark::test {
namespace {

using testing::ElementsAre;

class Finding : public DiscoveryTest {
 protected:
  NetStation a{net, 2};
  NetStation b{net, 3};
  Desk desk_a;
  Desk desk_b;
};

TEST_F(Finding, IsMutualAndEndsWithTheStation) {
  Boot(a, desk_a);
  Boot(b, desk_b);
  EXPECT_TRUE(a.wait_entry("IC 000003", b.own_entry()));
  EXPECT_TRUE(b.wait_entry("IC 000002", a.own_entry()));
  // A station browses for its own kind, and so finds itself as well.
  EXPECT_TRUE(a.wait_entry("IC 000002", a.own_entry()));
  EXPECT_TRUE(b.station.ends_clean());
  EXPECT_EQ(b.table(), "");
  EXPECT_TRUE(a.wait_entry("IC 000003", ""));
  EXPECT_THAT(a.found(), ElementsAre("IC 000002"));
  EXPECT_EQ(a.log_count("]: add IC 000003._hark._tcp.local.\n"), 1);
  EXPECT_EQ(a.log_count("]: rmv IC 000003._hark._tcp.local.\n"), 1);
  EXPECT_TRUE(a.station.ends_clean());
}

TEST_F(Finding, ShowsOnTheKeysOfAPanel) {
  Boot(a, desk_a);
  ASSERT_TRUE(desk_a.assign("KL01", "IC 000003"));
  ASSERT_TRUE(desk_a.wait_display("KL01", R"(TEXT="IC 000003", ALT="", DFL=0)"));
  Boot(b, desk_b);
  EXPECT_TRUE(desk_a.wait_display("KL01", R"(TEXT="IC 000003", ALT="Main", DFL=0)"));
  // Above our own level: it may not answer by itself.
  ASSERT_TRUE(desk_b.send("HARK TRGL:6"));
  EXPECT_TRUE(desk_a.wait_display("KL01", R"(TEXT="IC 000003", ALT="Main", DFL=2)"));
  EXPECT_TRUE(b.station.ends_clean());
  EXPECT_TRUE(desk_a.wait_display("KL01", R"(TEXT="IC 000003", ALT="", DFL=0)"));
  EXPECT_TRUE(a.station.ends_clean());
}

TEST_F(Finding, IsForgottenOnTheKeysWithTheDaemon) {
  Boot(a, desk_a);
  Boot(b, desk_b);
  ASSERT_TRUE(desk_a.assign("KL01", "IC 000003"));
  ASSERT_TRUE(desk_a.wait_display("KL01", R"(TEXT="IC 000003", ALT="Main", DFL=0)"));
  a.host.kill_avahi();
  EXPECT_TRUE(desk_a.wait_display("KL01", R"(TEXT="IC 000003", ALT="", DFL=0)"));
  ASSERT_TRUE(a.host.start_avahi());
  EXPECT_TRUE(desk_a.wait_display("KL01", R"(TEXT="IC 000003", ALT="Main", DFL=0)"));
  EXPECT_TRUE(a.station.ends_clean());
  EXPECT_TRUE(b.station.ends_clean());
}

TEST_F(Finding, IsTheSameInEitherOrder) {
  Boot(b, desk_b);
  Boot(a, desk_a);
  EXPECT_TRUE(a.wait_entry("IC 000003", b.own_entry()));
  EXPECT_TRUE(b.wait_entry("IC 000002", a.own_entry()));
  EXPECT_TRUE(a.station.ends_clean());
  EXPECT_TRUE(b.station.ends_clean());
}

// A key's station that nobody has announced is asked for, and waits in the file for its answer.
TEST_F(Finding, BeginsWithAKeyThatIsPressed) {
  Boot(a, desk_a);
  ASSERT_TRUE(a.wait_entry("IC 000002", a.own_entry()));
  ASSERT_TRUE(desk_a.assign("KL01", "IC 000003"));
  ASSERT_TRUE(desk_a.wait_display("KL01", R"(TEXT="IC 000003", ALT="", DFL=0)"));
  ASSERT_TRUE(desk_a.tap("KL01"));
  EXPECT_TRUE(a.wait_entry("IC 000003", "IC 000003\n"));
  EXPECT_LT(desk_a.answer_ms(), kWaitMs);
  Boot(b, desk_b);
  EXPECT_TRUE(a.wait_entry("IC 000003", b.own_entry()));
  EXPECT_TRUE(desk_a.wait_display("KL01", R"(TEXT="IC 000003", ALT="Main", DFL=0)"));
  EXPECT_TRUE(b.station.ends_clean());
  EXPECT_TRUE(a.wait_entry("IC 000003", ""));
  EXPECT_TRUE(a.station.ends_clean());
}

TEST_F(Finding, TakesOverANewStartOfAStation) {
  Boot(a, desk_a);
  Boot(b, desk_b);
  ASSERT_TRUE(a.wait_entry("IC 000003", b.own_entry()));
  EXPECT_TRUE(b.station.ends_clean());
  ASSERT_TRUE(a.wait_entry("IC 000003", ""));
  Desk again;
  Start(b, again);
  EXPECT_TRUE(a.wait_entry("IC 000003", b.own_entry()));
  EXPECT_TRUE(a.station.ends_clean());
  EXPECT_TRUE(b.station.ends_clean());
}

TEST_F(Finding, IsOfItsOwnKindOnly) {
  Boot(a, desk_a);
  const Program printer = watcher.publish({.name = "printer", .type = "_ipp._tcp"});
  const Program udp = watcher.publish({.name = "datagrams", .type = "_hark._udp"});
  const Program gate = watcher.publish({.name = "gate"});
  ASSERT_TRUE(a.wait_found(2));
  EXPECT_THAT(a.found(), ElementsAre("IC 000002", "gate"));
  EXPECT_TRUE(a.station.ends_clean());
}

}  // namespace
}  // namespace hark::test
