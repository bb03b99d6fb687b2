// Starting discovery, starting it again, and ending it: what is registered and browsed, on which interface,
// and when the table is emptied.
#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <net/if.h>

#include "bonjour_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int kRegistrationFailed = 11001;
constexpr int kBrowseFailed = 11002;
constexpr unsigned kNoSuchInterface = 9999;

class BonjourStart : public Bonjour {};

TEST_F(BonjourStart, WithoutADaemonEachStartFailsAndNoSocketIsWatched) {
  EXPECT_EQ(harkbonjour_initialize(0, kPort, nullptr), kBrowseFailed);
  EXPECT_EQ(harkbonjour_initialize(2, kPort, "Studio A"), kRegistrationFailed);
  fd_set set;
  FD_ZERO(&set);
  EXPECT_EQ(harkbonjour_addfdset(set), -1);
  EXPECT_EQ(harkbonjour_processevents(set), 0);
  EXPECT_EQ(scripted_dnssd.Live(), 0);
}

TEST_F(BonjourStart, RegistersAndBrowsesOnTheInterface) {
  scripted_dnssd.Start();
  EXPECT_EQ(harkbonjour_initialize(7, 4013, "Studio A"), 0);
  EXPECT_THAT(Calls(),
              ElementsAre("register if=7 name=Studio A type=_hark._tcp domain= host= port=0fad txt= -> #1",
                          "browse if=7 type=_hark._tcp domain= -> #2"));
  EXPECT_STREQ(hark_svctype, "_hark._tcp");
}

TEST_F(BonjourStart, PortIsRegisteredInNetworkOrder) {
  struct Row {
    int port;
    const char* bytes;
  };
  for (const Row& row : {Row{1, "0001"}, Row{4013, "0fad"}, Row{0x1234, "1234"}, Row{65535, "ffff"}}) {
    SCOPED_TRACE(row.port);
    Start();
    EXPECT_EQ(harkbonjour_initialize(0, row.port, "A"), 0);
    EXPECT_THAT(Calls(), ::testing::Contains(::testing::HasSubstr(std::string(" port=") + row.bytes + " ")));
  }
}

TEST_F(BonjourStart, WithoutNameOrPortOnlyTheBrowseRuns) {
  struct Row {
    int port;
    const char* name;
  };
  for (const Row& row : {Row{kPort, nullptr}, Row{kPort, ""}, Row{0, "Studio A"}, Row{0, nullptr}}) {
    SCOPED_TRACE(std::to_string(row.port) + " " + (row.name != nullptr ? row.name : "null"));
    scripted_dnssd.Start();
    EXPECT_EQ(harkbonjour_initialize(0, row.port, row.name), 0);
    EXPECT_EQ(harkbonjour.client, nullptr);
    EXPECT_EQ(scripted_dnssd.Live(DnssdKind::kBrowse), 1);
    EXPECT_EQ(scripted_dnssd.Live(), 1);
    harkbonjour_cleanup();
  }
}

TEST_F(BonjourStart, StartedAgainEndsTheRegistrationMakesANewOneAndKeepsTheBrowse) {
  Start(2, "Studio A");
  EXPECT_EQ(harkbonjour_initialize(2, kPort, "Studio B"), 0);
  EXPECT_THAT(Calls(),
              ElementsAre("release #1",
                          "register if=2 name=Studio B type=_hark._tcp domain= host= port=0fad txt= -> #3"));
}

TEST_F(BonjourStart, StartedAgainWithoutNameEndsTheRegistration) {
  Start(2, "Studio A");
  EXPECT_EQ(harkbonjour_initialize(2, kPort, nullptr), 0);
  EXPECT_THAT(Calls(), ElementsAre("release #1"));
  EXPECT_EQ(harkbonjour.client, nullptr);
}

TEST_F(BonjourStart, FailedRegistrationIs11001AndStartsNoBrowse) {
  scripted_dnssd.Start();
  scripted_dnssd.SetResult(DnssdKind::kRegister, kDNSServiceErr_BadParam);
  EXPECT_EQ(harkbonjour_initialize(0, kPort, "Studio A"), kRegistrationFailed);
  EXPECT_EQ(Calls().size(), 1u);
  EXPECT_EQ(harkbonjour.client, nullptr);
  EXPECT_EQ(scripted_dnssd.Live(), 0);
}

// A flood of stations used up what the DNS-SD daemon allows one client, and a browse that nobody served kept
// it: the registration was refused for ever, and no station went any more.
TEST_F(BonjourStart, FailedRegistrationGivesBackAllThatTheBrowseHolds) {
  Start();
  Known("Ann", "10.0.0.1");
  scripted_dnssd.SetResult(DnssdKind::kRegister, kDNSServiceErr_Refused);
  EXPECT_EQ(harkbonjour_initialize(0, kPort, "Studio A"), kRegistrationFailed);
  EXPECT_EQ(scripted_dnssd.Live(), 0);
  EXPECT_TRUE(harkd_dynamicsources.empty());
  scripted_dnssd.SetResult(DnssdKind::kRegister, 0);
  EXPECT_EQ(harkbonjour_initialize(0, kPort, "Studio A"), 0);
  EXPECT_EQ(scripted_dnssd.Live(DnssdKind::kBrowse), 1);
}

TEST_F(BonjourStart, FailedBrowseIs11002AndKeepsTheRegistration) {
  scripted_dnssd.Start();
  scripted_dnssd.SetResult(DnssdKind::kBrowse, kDNSServiceErr_Unknown);
  EXPECT_EQ(harkbonjour_initialize(0, kPort, "Studio A"), kBrowseFailed);
  EXPECT_EQ(scripted_dnssd.Live(DnssdKind::kRegister), 1);
  EXPECT_EQ(harkbonjour.dnssvcBrowser, nullptr);
  scripted_dnssd.SetResult(DnssdKind::kBrowse, 0);
  (void)Calls();
  EXPECT_EQ(harkbonjour_initialize(0, kPort, "Studio A"), 0);
  EXPECT_EQ(Calls().size(), 3u) << "the registration is released and made again, and the browse runs";
  EXPECT_EQ(scripted_dnssd.Live(), 2);
}

TEST_F(BonjourStart, InstallsTheSearchAndTheTablesHookEvenWhenItFails) {
  bonjour_harkresolvtable_free_entry_callback = nullptr;
  ASSERT_EQ(HarkResolv_dynamic, nullptr);
  EXPECT_EQ(harkbonjour_initialize(0, kPort, "Studio A"), kRegistrationFailed);
  EXPECT_EQ(HarkResolv_dynamic, &HarkResolv_dynamic_callback);
  EXPECT_NE(bonjour_harkresolvtable_free_entry_callback, nullptr);
}

TEST_F(BonjourStart, InterfaceGivesItsFirstAddressAndMask) {
  Start(::if_nametoindex("lo"));
  EXPECT_EQ(harkbonjour.opinterface_ipv4addr, ::inet_addr("127.0.0.1"));
  EXPECT_EQ(harkbonjour.opinterface_ipv4mask, ::inet_addr("255.0.0.0"));
  for (const unsigned interface : {kNoSuchInterface, kAnyInterface}) {
    SCOPED_TRACE(interface);
    Start(::if_nametoindex("lo"));
    Start(interface);
    EXPECT_EQ(harkbonjour.opinterface, interface);
    EXPECT_EQ(harkbonjour.opinterface_ipv4addr, 0u);
    EXPECT_EQ(harkbonjour.opinterface_ipv4mask, 0u);
  }
}

TEST_F(BonjourStart, ChangeOfInterfaceEmptiesTheTableUntilTheBrowseRefillsIt) {
  Start(2, "Studio A");
  Known("Ann", "10.0.0.1");
  Known("Bob", "10.0.0.2");
  const DNSServiceRef browse = harkbonjour.dnssvcBrowser;
  (void)Changes();
  EXPECT_EQ(harkbonjour_initialize(3, kPort, "Studio A"), 0);
  EXPECT_THAT(Names(), IsEmpty());
  EXPECT_TRUE(folder_.Has("table"));
  EXPECT_EQ(File(), "");
  EXPECT_EQ(Changes(), 1);
  EXPECT_FALSE(scripted_dnssd.IsLive(browse));
  EXPECT_EQ(scripted_dnssd.Live(), 2) << "registration and browse";
  EXPECT_EQ(UrlOf("Ann"), "-");
  Known("Ann", "10.0.9.1");
  EXPECT_EQ(UrlOf("Ann"), "hark:10.0.9.1");
}

TEST_F(BonjourStart, SameInterfaceAgainKeepsTheStations) {
  Start(2);
  Known("Ann", "10.0.0.1");
  (void)Changes();
  EXPECT_EQ(harkbonjour_initialize(2, kPort, "Studio A"), 0);
  EXPECT_EQ(Url("Ann"), "hark:10.0.0.1");
  EXPECT_EQ(Changes(), 0);
}

TEST_F(BonjourStart, FirstStartOnAnyInterfaceLeavesTheFileOfTheFormerRun) {
  Table("Old <hark:10.9.9.9>\n");
  Start(kAnyInterface, "Studio A");
  EXPECT_EQ(File(), "Old <hark:10.9.9.9>\n");
  Found("Ann");
  EXPECT_EQ(File(), "Ann\n");
}

TEST_F(BonjourStart, CleanupEmptiesTableAndFileAndReleasesEverything) {
  Start(2, "Studio A");
  Known("Ann", "10.0.0.1");
  Found("Bob");
  (void)Changes();
  harkbonjour_cleanup();
  EXPECT_THAT(Names(), IsEmpty());
  EXPECT_TRUE(folder_.Has("table"));
  EXPECT_EQ(File(), "");
  EXPECT_EQ(Changes(), 1);
  EXPECT_EQ(scripted_dnssd.Live(), 0);
  EXPECT_EQ(harkbonjour.client, nullptr);
  EXPECT_EQ(harkbonjour.dnssvcBrowser, nullptr);
  harkbonjour_cleanup();
  EXPECT_EQ(Serve(), 0);
}

TEST_F(BonjourStart, CleanupGivesTheNameBackFirstAndEndsTheBrowseLast) {
  Start(2, "Studio A");
  Known("Ann", "10.0.0.1");
  (void)Calls();
  harkbonjour_cleanup();
  const Texts calls = Calls();
  ASSERT_EQ(calls.size(), 4u);
  EXPECT_EQ(calls.front(), "release #1");
  EXPECT_EQ(calls.back(), "release #2");
}

TEST_F(BonjourStart, CleanupWithoutAHookIsQuiet) {
  Start();
  Known("Ann", "10.0.0.1");
  harkbonjour_callback = nullptr;
  harkbonjour_cleanup();
  EXPECT_EQ(scripted_dnssd.Live(), 0);
}

TEST_F(BonjourStart, AfterCleanupTheSameStartRegistersAndBrowsesAgain) {
  Start(2, "Studio A");
  harkbonjour_cleanup();
  (void)Calls();
  EXPECT_EQ(harkbonjour_initialize(2, kPort, "Studio A"), 0);
  EXPECT_EQ(Calls().size(), 2u);
  Known("Ann", "10.0.0.1");
  EXPECT_EQ(UrlOf("Ann"), "hark:10.0.0.1");
}

TEST_F(BonjourStart, CheckAsksForTheDaemonsVersionAndPassesTheErrorOn) {
  EXPECT_EQ(harkbonjour_check(), kDnssdServiceNotRunning);
  scripted_dnssd.Start();
  EXPECT_EQ(harkbonjour_check(), 0);
  scripted_dnssd.SetPropertyResult(kDNSServiceErr_Incompatible);
  EXPECT_EQ(harkbonjour_check(), kDNSServiceErr_Incompatible);
  EXPECT_THAT(Calls(), ElementsAre("property DaemonVersion -> -65563", "property DaemonVersion -> 0",
                                   "property DaemonVersion -> -65551"));
}

}  // namespace
}  // namespace hark
