// What a browse tells of services that come and go.
#include "addressing/dnssd/dnssd_fixture.h"

namespace hark::test {
namespace {

using testing::IsEmpty;

class Browsed : public DnssdTest {
 protected:
  Host there{net, 3};
};

TEST_F(Browsed, TellsOfServicesThatComeAndGo) {
  StartDaemon();
  ASSERT_TRUE(there.start_discovery());
  Asked browse;
  ASSERT_EQ(browse.browse(), kDNSServiceErr_NoError);
  {
    const Program service = there.publish({.name = "Gate"});
    ASSERT_TRUE(browse.wait_told());
    const Told& add = browse.told[0];
    EXPECT_EQ(add.error, kDNSServiceErr_NoError);
    EXPECT_EQ(add.flags, static_cast<DNSServiceFlags>(kDNSServiceFlagsAdd));
    EXPECT_EQ(add.interface_index, IndexOf(here));
    EXPECT_EQ(add.name, "Gate");
    EXPECT_EQ(add.type, "_hark._tcp.");
    EXPECT_EQ(add.domain, "local.");
  }
  ASSERT_TRUE(browse.wait_told(2));
  const Told& remove = browse.told[1];
  EXPECT_EQ(remove.error, kDNSServiceErr_NoError);
  EXPECT_EQ(remove.flags, 0U);
  EXPECT_EQ(remove.interface_index, IndexOf(here));
  EXPECT_EQ(remove.name, "Gate");
  EXPECT_EQ(remove.type, "_hark._tcp.");
  EXPECT_EQ(remove.domain, "local.");
  const Program again = there.publish({.name = "Gate"});
  EXPECT_TRUE(wait_until([&] { return browse.events("Gate") == "+-+"; })) << browse.events("Gate");
}

TEST_F(Browsed, TellsEachBrowseOfAllThatIsThere) {
  AnnounceMany(3);
  StartDaemon();
  Asked first;
  ASSERT_EQ(first.browse(), 0);
  EXPECT_TRUE(wait_until([&] { return first.names().size() == 3; }));
  Asked second;
  ASSERT_EQ(second.browse(0, "_hark._tcp.", "local."), 0);
  EXPECT_TRUE(wait_until([&] { return second.names().size() == 3; })) << "with dots and a domain";
  Asked other;
  ASSERT_EQ(other.browse(0, "_other._tcp"), 0);
  Asked third;
  ASSERT_EQ(third.browse(0, kType, "local"), 0);
  EXPECT_TRUE(wait_until([&] { return third.names().size() == 3; }));
  EXPECT_THAT(other.told, IsEmpty()) << "another type";
}

TEST_F(Browsed, TellsOfEachInterfaceApart) {
  ASSERT_TRUE(here.add_second_interface());
  ASSERT_TRUE(there.add_second_interface());
  StartDaemon();
  there.announce({{.name = "Gate"}});
  ASSERT_TRUE(there.start_discovery());
  Asked both;
  ASSERT_EQ(both.browse(), 0);
  ASSERT_TRUE(both.wait_told(2));
  EXPECT_EQ(both.events("Gate"), "++");
  EXPECT_NE(both.told[0].interface_index, both.told[1].interface_index);
  for (const char* interface : {"eth0", "eth1"}) {
    SCOPED_TRACE(interface);
    Asked one;
    ASSERT_EQ(one.browse(IndexOf(here, interface)), 0);
    ASSERT_TRUE(one.wait_told());
    EXPECT_EQ(one.told[0].interface_index, IndexOf(here, interface));
    Asked all;
    ASSERT_EQ(all.browse(), 0);
    ASSERT_TRUE(all.wait_told(2)) << "all that is known has been told";
    EXPECT_EQ(one.told.size(), 1U);
  }
}

TEST_F(Browsed, CountsIpv4AndIpv6OfAnInterfaceOnce) {
  ASSERT_TRUE(here.turn_ipv6_on());
  ASSERT_TRUE(there.turn_ipv6_on());
  StartDaemon();
  ASSERT_TRUE(there.start_discovery());
  Asked browse;
  ASSERT_EQ(browse.browse(), 0);
  const Witness witness(here);
  {
    const Program service = there.publish({.name = "Gate"});
    ASSERT_TRUE(wait_until([&] { return witness.events("Gate") == "++"; })) << witness.events("Gate");
    ASSERT_TRUE(browse.wait_told());
  }
  ASSERT_TRUE(wait_until([&] { return witness.events("Gate") == "++--"; })) << witness.events("Gate");
  ASSERT_TRUE(wait_until([&] { return browse.events("Gate") == "+-"; })) << browse.events("Gate");
}

TEST_F(Browsed, CountsAServiceThatLosesOneOfTwoFamiliesAsThere) {
  ASSERT_TRUE(here.turn_ipv6_on());
  ASSERT_TRUE(there.turn_ipv6_on());
  StartDaemon();
  ASSERT_TRUE(there.start_discovery());
  const Program service = there.publish({.name = "Gate"});
  Asked browse;
  ASSERT_EQ(browse.browse(), 0);
  const Witness witness(here);
  ASSERT_TRUE(wait_until([&] { return witness.events("Gate") == "++"; })) << witness.events("Gate");
  // The host's own daemon forgets what came by IPv4 when the address is gone.
  ASSERT_TRUE(here.ip("address delete 10.77.0.2/24 dev eth0\n"));
  ASSERT_TRUE(wait_until([&] { return witness.events("Gate") == "++-"; })) << witness.events("Gate");
  Asked after;
  ASSERT_EQ(after.browse(), 0);
  ASSERT_TRUE(after.wait_told()) << "what is waiting has been told";
  EXPECT_EQ(browse.events("Gate"), "+");
}

}  // namespace
}  // namespace hark::test
