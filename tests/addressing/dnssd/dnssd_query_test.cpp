// What a record query tells.
#include "addressing/dnssd/dnssd_fixture.h"

namespace hark::test {
namespace {

class Queried : public DnssdTest {
 protected:
  void SetUp() override {
    DnssdTest::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    StartDaemon();
    ASSERT_TRUE(there.start_discovery());
  }

  Host there{net, 3};
};

TEST_F(Queried, TellsAnAddress) {
  struct Row {
    std::string name;
    std::uint32_t interface_index;
  };
  for (const Row& row : {Row{"host3.local.", 0}, Row{"host3.local", IndexOf(here)}}) {
    SCOPED_TRACE(row.name);
    Asked address;
    ASSERT_EQ(address.query(row.name.c_str(), kDNSServiceType_A, row.interface_index),
              kDNSServiceErr_NoError);
    ASSERT_TRUE(address.wait_told());
    const Told& told = address.told[0];
    EXPECT_EQ(told.error, kDNSServiceErr_NoError);
    EXPECT_EQ(told.flags & kDNSServiceFlagsAdd, static_cast<DNSServiceFlags>(kDNSServiceFlagsAdd));
    EXPECT_EQ(told.interface_index, IndexOf(here));
    EXPECT_EQ(told.name, "host3.local.");
    EXPECT_EQ(told.record_type, kDNSServiceType_A);
    EXPECT_EQ(told.record_class, kDNSServiceClass_IN);
    EXPECT_EQ(told.data, "\x0a\x4d" + std::string("\0\x03", 2));
    EXPECT_GT(told.ttl, 0U);
  }
}

TEST_F(Queried, TellsTheOwnAddress) {
  Asked address;
  ASSERT_EQ(address.query("host2.local."), 0);
  ASSERT_TRUE(address.wait_told());
  EXPECT_EQ(address.told[0].data, "\x0a\x4d" + std::string("\0\x02", 2));
}

TEST_F(Queried, TellsOfARecordThatIsWithdrawnAndOfItsSuccessor) {
  Asked address;
  ASSERT_EQ(address.query("host3.local."), 0);
  ASSERT_TRUE(address.wait_told());
  there.stop_avahi();
  ASSERT_TRUE(address.wait_told(2));
  EXPECT_FALSE(address.told[1].is_add());
  EXPECT_EQ(address.told[1].data, address.told[0].data);
  EXPECT_EQ(address.told[1].name, "host3.local.");
  ASSERT_TRUE(there.move_to(9));
  ASSERT_TRUE(there.start_avahi());
  ASSERT_TRUE(address.wait_told(3));
  EXPECT_TRUE(address.told[2].is_add());
  EXPECT_EQ(address.told[2].data, "\x0a\x4d" + std::string("\0\x09", 2));
}

TEST_F(Queried, WaitsForAHostThatIsNotThereYet) {
  Asked address;
  ASSERT_EQ(address.query("host4.local."), 0);
  Asked known;
  ASSERT_EQ(known.query("host3.local."), 0);
  ASSERT_TRUE(known.wait_told());
  EXPECT_THAT(address.told, testing::IsEmpty());
  Host late(net, 4);
  ASSERT_TRUE(late.made());
  ASSERT_TRUE(late.start_discovery());
  ASSERT_TRUE(address.wait_told());
  EXPECT_EQ(address.told[0].data, "\x0a\x4d" + std::string("\0\x04", 2));
}

}  // namespace
}  // namespace hark::test
