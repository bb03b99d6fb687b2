// The daemon's version, by which a user of the library looks whether there is a daemon.
#include <array>
#include <cstdio>

#include "addressing/dnssd/dnssd_fixture.h"

namespace hark::test {
namespace {

class Property : public DnssdTest {};

constexpr std::uint32_t kUntouched = 0x5a5a5a5a;

TEST_F(Property, IsTheDaemonsVersion) {
  StartDaemon();
  unsigned major = 0;
  unsigned minor = 0;
  const std::string told = here.output_of({"avahi-daemon", "--version"});
  ASSERT_EQ(std::sscanf(told.c_str(), "avahi-daemon %u.%u", &major, &minor), 2) << told;
  std::uint32_t version = 0;
  EXPECT_EQ(daemon_version(&version), kDNSServiceErr_NoError);
  EXPECT_EQ(version, major * 10000 + minor * 100);
}

TEST_F(Property, TellsTheSizeOfWhatItWrote) {
  StartDaemon();
  std::array<std::uint32_t, 2> room{kUntouched, kUntouched};
  std::uint32_t size = sizeof room;
  EXPECT_EQ(DNSServiceGetProperty(kDnssdDaemonVersion, room.data(), &size), kDNSServiceErr_NoError);
  EXPECT_EQ(size, sizeof(std::uint32_t));
  EXPECT_NE(room[0], kUntouched);
  EXPECT_EQ(room[1], kUntouched);
}

TEST_F(Property, NeedsRoomForANumber) {
  StartDaemon();
  std::uint32_t number = kUntouched;
  for (std::uint32_t size = 0; size < sizeof number; ++size) {
    SCOPED_TRACE(size);
    std::uint32_t room = size;
    EXPECT_EQ(DNSServiceGetProperty(kDnssdDaemonVersion, &number, &room), kDNSServiceErr_BadParam);
  }
  std::uint32_t size = sizeof number;
  EXPECT_EQ(DNSServiceGetProperty(kDnssdDaemonVersion, nullptr, &size), kDNSServiceErr_BadParam);
  EXPECT_EQ(DNSServiceGetProperty(kDnssdDaemonVersion, &number, nullptr), kDNSServiceErr_BadParam);
  EXPECT_EQ(number, kUntouched);
}

TEST_F(Property, IsTheOnlyOne) {
  StartDaemon();
  for (const char* name :
       {"", "daemonversion", "DaemonVersion ", "Other", static_cast<const char*>(nullptr)}) {
    SCOPED_TRACE(name != nullptr ? name : "(null)");
    std::uint32_t number = kUntouched;
    std::uint32_t size = sizeof number;
    EXPECT_EQ(DNSServiceGetProperty(name, &number, &size), kDNSServiceErr_Unsupported);
    EXPECT_EQ(number, kUntouched);
  }
}

TEST_F(Property, LeavesNoDescriptorBehind) {
  StartDaemon();
  const int before = count_descriptors();
  for (int i = 0; i < 10; ++i)
    EXPECT_EQ(daemon_version(), kDNSServiceErr_NoError);
  EXPECT_EQ(count_descriptors(), before);
}

TEST_F(Property, IsNotThereWithoutABus) {
  const int before = count_descriptors();
  EXPECT_EQ(daemon_version(), kDnssdServiceNotRunning);
  EXPECT_EQ(count_descriptors(), before);
}

TEST_F(Property, IsNotThereWithoutADaemon) {
  ASSERT_TRUE(here.start_bus());
  const int before = count_descriptors();
  EXPECT_EQ(daemon_version(), kDnssdServiceNotRunning);
  EXPECT_EQ(count_descriptors(), before);
}

// What was known of a daemon is worth nothing when it is gone.
TEST_F(Property, IsGoneWithTheDaemonThatReferencesAreOpenTo) {
  StartDaemon();
  Asked browse;
  ASSERT_EQ(browse.browse(), 0);
  ASSERT_EQ(daemon_version(), kDNSServiceErr_NoError);
  here.kill_avahi();
  EXPECT_TRUE(wait_until([] { return daemon_version() == kDnssdServiceNotRunning; }));
  ASSERT_TRUE(here.start_avahi());
  EXPECT_TRUE(Reachable()) << "while the lost reference is still open";
  EXPECT_EQ(browse.process(), kDnssdServiceNotRunning);
}

}  // namespace
}  // namespace hark::test
