// The station's settings at start, its service name and interface, and the small readings of its state.
#include "daemon/station/station.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <net/if.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

namespace hark {
namespace {

class StationSettings : public ::testing::Test {
 protected:
  StationSettings() { station_reset(); }
  ~StationSettings() override { station_reset(); }
};

void ExpectDefaults() {
  EXPECT_EQ(station.appName, "harkd");
  EXPECT_EQ(station.ApplicationSettingsFolder, "/etc/Orfe/hark");
  EXPECT_EQ(station.harkconfig_file, "/etc/Orfe/hark/harkd.conf");
  EXPECT_EQ(station.harkd_iface_name, "eth0");
  EXPECT_EQ(station.harkd_ifa_name_default, "eth0");
  EXPECT_EQ(station.hark_nkeys, 90);
  EXPECT_EQ(station.sip_port, 5060);
  EXPECT_EQ(station.ctrl_port, 4013);
  EXPECT_EQ(station.harkd_qnrd_port, 4010);
  EXPECT_EQ(station.harkd_qnrd_ipv4, htonl(INADDR_LOOPBACK));
  EXPECT_EQ(station.harkd_qnrd_io_min, 1);
  EXPECT_EQ(station.harkd_qnrd_io_max, 8);
  EXPECT_EQ(station.harkd_qnrd_io_src, 1);
  EXPECT_EQ(station.harkd_qnrd_gpio_base, 1);
  EXPECT_EQ(station.tcp_backlog, 17);
  EXPECT_FALSE(station.dbg);
  EXPECT_EQ(station.sip_ip, 0U);
  EXPECT_EQ(station.sip_iface_index, 0U);
  EXPECT_STREQ(station.harkd_alt.data(), "");
  EXPECT_STREQ(station.announced_svcname.data(), "");
  EXPECT_FALSE(station.svcname_configured);
  EXPECT_EQ(station.harkd_qnsrcch, 0U);
  EXPECT_EQ(station.harkd_qnprevch, 0U);
  EXPECT_FALSE(station.harkd_onair);
  EXPECT_EQ(station.harkd_trgl_normal, 3);
  EXPECT_EQ(station.harkd_trgl_onair, 3);
  EXPECT_EQ(station.harkd_ifbgain, -240);
  EXPECT_EQ(station.harkd_extc, 0);
  EXPECT_EQ(station.hark_fardrop_timeout, 5'000'000);
  EXPECT_EQ(station.hark_localdrop_delay_us, 400'000);
  EXPECT_EQ(station.hark_recentcall_timeout_us, 60'000'000);
  EXPECT_EQ(station.harkui_tap_time_ms, 200);
  EXPECT_EQ(station.harkui_aans, -1);
  EXPECT_FALSE(station.networkconfig_dirty);
  EXPECT_FALSE(station.sipservices_dirty);
  EXPECT_FALSE(station.bonjour_txt_dirty);
}

TEST_F(StationSettings, StartAtTheirDefaults) { ExpectDefaults(); }

TEST_F(StationSettings, PolledInterfaceStartsAsTheDefaultOne) { EXPECT_EQ(station.ifa_name, "eth0"); }

TEST_F(StationSettings, ResetPutsTheDefaultsBack) {
  station.appName = "x";
  station.ifa_name = "lo";
  station.hark_nkeys = 1;
  station.sip_port = 1;
  station.harkd_qnrd_ipv4 = 0;
  station.harkd_qnrd_gpio_base = 9;
  station.harkd_onair = true;
  station.harkd_trgl_normal = 0;
  station.harkui_aans = 1;
  station.networkconfig_dirty = station.sipservices_dirty = station.bonjour_txt_dirty = true;
  (void)harkd_set_svcname("Studio A");
  station_reset();
  ExpectDefaults();
}

TEST_F(StationSettings, TriggerLevelFollowsTheOnAirState) {
  station.harkd_trgl_normal = 1;
  station.harkd_trgl_onair = 5;
  EXPECT_EQ(harkd_get_trgl(), 1);
  station.harkd_onair = true;
  EXPECT_EQ(harkd_get_trgl(), 5);
}

TEST_F(StationSettings, NewServiceNameAsksForANewAnnouncement) {
  EXPECT_EQ(harkd_set_svcname("Studio A"), 1);
  EXPECT_STREQ(station.harkd_svcname.data(), "Studio A");
  EXPECT_TRUE(station.svcname_configured);
  EXPECT_TRUE(station.harkbonjour_init);
}

TEST_F(StationSettings, SameServiceNameChangesNothing) {
  ASSERT_EQ(harkd_set_svcname("Studio A"), 1);
  station.harkbonjour_init = false;
  station.svcname_configured = false;
  EXPECT_EQ(harkd_set_svcname("Studio A"), 0);
  EXPECT_FALSE(station.harkbonjour_init);
  EXPECT_FALSE(station.svcname_configured);
}

TEST_F(StationSettings, ServiceNameIsCutAtTenCharacters) {
  EXPECT_EQ(harkd_set_svcname("1234567890A"), 1);
  EXPECT_STREQ(station.harkd_svcname.data(), "1234567890");
  EXPECT_EQ(harkd_set_svcname("1234567890"), 0);
}

TEST_F(StationSettings, ShorterServiceNameReplacesALongerOneWhole) {
  ASSERT_EQ(harkd_set_svcname("1234567890"), 1);
  EXPECT_EQ(harkd_set_svcname("12"), 1);
  EXPECT_STREQ(station.harkd_svcname.data(), "12");
}

TEST_F(StationSettings, CaseOfTheServiceNameCounts) {
  ASSERT_EQ(harkd_set_svcname("studio"), 1);
  EXPECT_EQ(harkd_set_svcname("Studio"), 1);
}

TEST_F(StationSettings, EmptyServiceNameIsAChangeButNotAConfiguredOne) {
  station.harkd_svcname = {"x"};
  EXPECT_EQ(harkd_set_svcname(""), 1);
  EXPECT_STREQ(station.harkd_svcname.data(), "");
  EXPECT_FALSE(station.svcname_configured);
  EXPECT_TRUE(station.harkbonjour_init);
}

TEST_F(StationSettings, AnotherInterfaceAsksForALookAtTheNetwork) {
  struct Row {
    const char* from;
    const char* to;  // null: none
    bool changed;
  };
  for (const Row& row : {Row{"eth0", "eth1", true}, Row{"eth0", nullptr, true}, Row{"", "eth0", true},
                         Row{"eth0", "eth", true}, Row{"eth0", "eth0", false}, Row{"", nullptr, false}}) {
    SCOPED_TRACE(std::string(row.from) + " / " + (row.to != nullptr ? row.to : "(null)"));
    station.ifa_name = row.from;
    station.networkconfig_dirty = false;
    harkd_set_ifid(row.to);
    EXPECT_EQ(station.ifa_name, row.to != nullptr ? row.to : "");
    EXPECT_EQ(station.networkconfig_dirty, row.changed);
  }
}

// "IC " and the last three bytes of an interface's hardware address, as the kernel's own file shows it.
std::string NameOf(const std::filesystem::path& interface) {
  std::string address;
  std::ifstream(interface / "address") >> address;
  std::array<unsigned, 6> bytes{};
  if (std::sscanf(address.c_str(), "%x:%x:%x:%x:%x:%x", &bytes[0], &bytes[1], &bytes[2], &bytes[3], &bytes[4],
                  &bytes[5]) != 6) {
    return "";
  }
  std::array<char, 16> name{};
  std::snprintf(name.data(), name.size(), "IC %02X%02X%02X", bytes[3], bytes[4], bytes[5]);
  return name.data();
}

TEST_F(StationSettings, DefaultServiceNameIsMadeOfTheHardwareAddress) {
  int seen = 0;
  std::error_code missing;
  for (const auto& interface : std::filesystem::directory_iterator("/sys/class/net", missing)) {
    const std::string want = NameOf(interface.path());
    if (want.empty()) continue;
    ++seen;
    SCOPED_TRACE(interface.path());
    station.harkd_iface_name = interface.path().filename();
    Label name{};
    harkd_mkdefaultsvcname(name.data(), name.size());
    EXPECT_EQ(want, name.data());
    EXPECT_EQ(want.size(), 9U);
  }
  if (seen == 0) GTEST_SKIP() << "no interface to be seen here: the default service name is not checked";
}

TEST_F(StationSettings, DefaultServiceNameStaysInItsBuffer) {
  station.harkd_iface_name = "lo";
  for (std::size_t size = 1; size < 12; ++size) {
    const auto name = std::make_unique<char[]>(size);  // exact, so that a sanitizer sees a byte too many
    harkd_mkdefaultsvcname(name.get(), size);
    EXPECT_EQ(std::string("IC 000000").substr(0, size - 1), name.get()) << size;
  }
}

TEST_F(StationSettings, MissingInterfaceGivesNoDefaultServiceNameAndPrintsTheReason) {
  station.harkd_iface_name = "no_such_if0";
  Label name{"before"};
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  harkd_mkdefaultsvcname(name.data(), name.size());
  const std::string printed = testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr();
  EXPECT_STREQ(name.data(), "");
  EXPECT_EQ(printed, "SIOCGIFHWADDR(no_such_if0): No such device\n");
}

TEST(HardwareAddress, OfTheLoopbackIsAllZeros) {
  std::array<unsigned char, 6> address{1, 2, 3, 4, 5, 6};
  EXPECT_TRUE(read_hardware_address("lo", address));
  EXPECT_EQ(address, (std::array<unsigned char, 6>{}));
}

TEST(HardwareAddress, IsMissingForANameThatIsNoInterface) {
  const std::string far_too_long(IFNAMSIZ * 3, 'x');
  for (const char* name : {"no_such_if0", "", far_too_long.c_str()}) {
    SCOPED_TRACE(name);
    std::array<unsigned char, 6> address{};
    errno = 0;
    EXPECT_FALSE(read_hardware_address(name, address));
    EXPECT_NE(errno, 0);
  }
}

TEST_F(StationSettings, LocalSourceIsAnAddressOrAWidenedChannel) {
  struct Row {
    in_addr_t stored;  // host order
    in_addr_t want;
  };
  for (const Row& row : {Row{0, 0}, Row{1234, 0xEFC004D2}, Row{1, 0xEFC00001}, Row{0xFFFF, 0xEFC0FFFF},
                         Row{0x10000, 0x10000}, Row{0xEFC004D2, 0xEFC004D2}, Row{0x0A010203, 0x0A010203}}) {
    SCOPED_TRACE(row.stored);
    station.harkd_qnsrcch = htonl(row.stored);
    EXPECT_EQ(local_source_address(), row.want);
  }
}

TEST(Dotted, WritesAnAddressInNetworkOrder) {
  for (const char* text : {"0.0.0.0", "1.2.3.4", "127.0.0.1", "239.192.4.210", "255.255.255.255"}) {
    EXPECT_STREQ(dotted(inet_addr(text)).data(), text);
  }
}

}  // namespace
}  // namespace hark
