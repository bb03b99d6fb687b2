// What happens to the stations that were found when the network itself changes: an address, a cable, another
// interface.
#include "system/net/discovery_fixture.h"

namespace hark::test {
namespace {

using testing::ElementsAre;

class NetworkChange : public DiscoveryTest {
 protected:
  void SetUp() override {
    DiscoveryTest::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    Boot(a, desk_a);
    Boot(b, desk_b);
    ASSERT_TRUE(KnowEachOther());
  }
  [[nodiscard]] testing::AssertionResult KnowEachOther() {
    if (testing::AssertionResult there = a.wait_entry("IC 000003", b.own_entry(), kChangeMs); !there)
      return there;
    return b.wait_entry("IC 000002", a.own_entry(), kChangeMs);
  }

  // The station looks every 3 s; its DNS-SD daemon then needs to settle its own name again.
  static constexpr int kChangeMs = 20'000;

  NetStation a{net, 2};
  NetStation b{net, 3};
  Desk desk_a;
  Desk desk_b;
};

TEST_F(NetworkChange, OfTheAddressEmptiesTheFileAndFillsItAgain) {
  ASSERT_TRUE(a.host.ip("address flush dev eth0\n"));
  EXPECT_TRUE(a.wait_entry("IC 000003", "")) << "nobody can be reached";
  ASSERT_TRUE(a.host.move_to(22));
  EXPECT_EQ(a.host.address(), "10.77.0.22");
  EXPECT_TRUE(KnowEachOther());
  EXPECT_TRUE(a.station.ends_clean());
  EXPECT_TRUE(b.station.ends_clean());
}

TEST_F(NetworkChange, OfTheAddressAtOnceReachesTheOthers) {
  ASSERT_TRUE(a.host.move_to(22));
  EXPECT_TRUE(KnowEachOther());
  EXPECT_TRUE(a.station.ends_clean());
  EXPECT_TRUE(b.station.ends_clean());
}

TEST_F(NetworkChange, OfTheCableIsSurvived) {
  ASSERT_TRUE(a.host.link_down());
  EXPECT_TRUE(a.wait_entry("IC 000003", ""));
  ASSERT_TRUE(a.host.link_up());
  EXPECT_TRUE(KnowEachOther());
  EXPECT_TRUE(a.station.ends_clean());
  EXPECT_TRUE(b.station.ends_clean());
}

// A new interface of the same name has another index, to which everything has to be bound anew. The station
// notices it by its address, which is why that is another, too.
TEST_F(NetworkChange, OfTheInterfaceIsFollowed) {
  ASSERT_TRUE(a.host.replug(22));
  EXPECT_TRUE(a.wait_entry("IC 000003", ""));
  EXPECT_TRUE(KnowEachOther());
  EXPECT_TRUE(a.station.ends_clean());
  EXPECT_TRUE(b.station.ends_clean());
}

class SecondInterface : public DiscoveryTest {
 protected:
  NetStation a{net, 2};
  Host both{net, 3};
};

TEST_F(SecondInterface, IsNotLookedAt) {
  ASSERT_TRUE(a.host.add_second_interface());
  ASSERT_TRUE(both.add_second_interface());
  ASSERT_TRUE(both.link_down());
  both.announce({{.name = "elsewhere"}});
  ASSERT_TRUE(both.start_discovery());
  Desk desk;
  Boot(a, desk);
  const Witness witness(a.host);
  ASSERT_TRUE(witness.wait_there("elsewhere"));
  const Program gate = watcher.publish({.name = "gate"});
  EXPECT_TRUE(a.wait_entry("gate", "gate <hark:10.77.0.200>\n\tharkd 4013\n"));
  ASSERT_TRUE(a.wait_entry("IC 000002", a.own_entry()));
  EXPECT_THAT(a.found(), ElementsAre("IC 000002", "gate"));
  EXPECT_TRUE(a.station.ends_clean());
}

}  // namespace
}  // namespace hark::test
