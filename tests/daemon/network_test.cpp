// The poll of the SIP interface's address: found, unchanged, gone, and no interface to look at.
#include "daemon/network.h"

#include <gtest/gtest.h>
#include <net/if.h>

#include "daemon/station/station.h"

namespace hark {
namespace {

constexpr char kNoNic[] = "nonic0";

class Network : public testing::Test {
 protected:
  Network() { Reset(); }
  ~Network() override { Reset(); }
  static void Reset() {
    station_reset();
    network_reset();
  }
  static std::string SipIp() { return dotted(station.sip_ip).data(); }
};

TEST_F(Network, AddressOfTheInterfaceIsTakenOnce) {
  station.ifa_name = "lo";
  EXPECT_EQ(pollnetworkconfiguration(), 1);
  EXPECT_EQ(SipIp().substr(0, 4), "127.");
  EXPECT_EQ(station.sip_iface_index, ::if_nametoindex("lo"));
  EXPECT_EQ(pollnetworkconfiguration(), 0);
}

TEST_F(Network, AddressGivenByNumberIsOverwrittenByTheInterfaces) {
  station.ifa_name = "lo";
  station.sip_ip = 0x05030201;
  EXPECT_EQ(pollnetworkconfiguration(), 1);
  EXPECT_EQ(SipIp().substr(0, 4), "127.");
}

TEST_F(Network, InterfaceThatNeverHadAnAddressLeavesTheNumberInForce) {
  station.ifa_name = kNoNic;
  station.sip_ip = 0x05030201;
  EXPECT_EQ(pollnetworkconfiguration(), 0);
  EXPECT_EQ(SipIp(), "1.2.3.5");
  EXPECT_EQ(pollnetworkconfiguration(), 0);
}

TEST_F(Network, AddressThatGoesTakesTheSipAddressAlong) {
  station.ifa_name = "lo";
  EXPECT_EQ(pollnetworkconfiguration(), 1);
  station.ifa_name = kNoNic;
  EXPECT_EQ(pollnetworkconfiguration(), 1);
  EXPECT_EQ(SipIp(), "0.0.0.0");
  EXPECT_EQ(station.sip_iface_index, 0U);
  EXPECT_EQ(pollnetworkconfiguration(), 0);
  station.ifa_name = "lo";
  EXPECT_EQ(pollnetworkconfiguration(), 1) << "and back";
}

TEST_F(Network, WithoutAnInterfaceItCannotLook) {
  station.ifa_name.clear();
  station.sip_ip = 0x05030201;
  EXPECT_EQ(pollnetworkconfiguration(), -1);
  EXPECT_EQ(SipIp(), "1.2.3.5");
}

TEST_F(Network, OnlyTheWholeNameMatches) {
  for (const char* name : {"l", "loo", "LO", "lo "}) {
    SCOPED_TRACE(name);
    Reset();
    station.ifa_name = name;
    EXPECT_EQ(pollnetworkconfiguration(), 0);
    EXPECT_EQ(SipIp(), "0.0.0.0");
  }
}

}  // namespace
}  // namespace hark
