// Discovery in the main loop: its descriptors, its results, and the loss of the daemon.
#include <gmock/gmock.h>
#include <sys/resource.h>

#include <set>

#include "bonjour_fixture.h"

namespace hark {
namespace {

using ::testing::HasSubstr;

// What the select set gets, and the highest.
struct Watched {
  std::set<int> descriptors;
  int highest;
};

Watched Watch() {
  fd_set set;
  FD_ZERO(&set);
  Watched watched{{}, harkbonjour_addfdset(set)};
  for (int fd = 0; fd < FD_SETSIZE; ++fd) {
    if (FD_ISSET(fd, &set)) watched.descriptors.insert(fd);
  }
  return watched;
}

std::set<int> Descriptors(const std::vector<DNSServiceRef>& references) {
  std::set<int> descriptors;
  for (DNSServiceRef ref : references)
    descriptors.insert(DNSServiceRefSockFD(ref));
  return descriptors;
}

class BonjourLoop : public Bonjour {
 protected:
  // What is served and printed on stderr; the result must be a failure.
  static std::string FailedServe() {
    return Errors([] { EXPECT_EQ(Serve(), -1); });
  }
};

TEST_F(BonjourLoop, WatchesEveryReference) {
  Start(0, "Studio A");
  Known("Ann", "10.0.0.1");
  Found("Bob");
  (void)harkbonjour_lookupservice("Cat");
  const Watched watched = Watch();
  std::set<int> all;
  for (const DnssdKind kind :
       {DnssdKind::kRegister, DnssdKind::kBrowse, DnssdKind::kResolve, DnssdKind::kQuery}) {
    const std::set<int> some = Descriptors(scripted_dnssd.References(kind));
    EXPECT_FALSE(some.empty());
    all.insert(some.begin(), some.end());
  }
  EXPECT_EQ(all.size(), 6u);
  EXPECT_EQ(watched.descriptors, all);
  EXPECT_EQ(watched.highest, *all.rbegin());
}

TEST_F(BonjourLoop, KeepsWhatOthersPutIntoTheSet) {
  Start();
  fd_set set;
  FD_ZERO(&set);
  FD_SET(1000, &set);
  EXPECT_LT(harkbonjour_addfdset(set), 1000);
  EXPECT_TRUE(FD_ISSET(1000, &set));
}

TEST_F(BonjourLoop, WithoutReferencesThereIsNoHighest) {
  EXPECT_EQ(Watch().highest, -1);
  Start();
  harkbonjour_cleanup();
  EXPECT_EQ(Watch().highest, -1);
  EXPECT_TRUE(Watch().descriptors.empty());
}

TEST_F(BonjourLoop, OneDescriptorForAllIsWatchedOnce) {
  scripted_dnssd.ShareDescriptor();
  Start(0, "Studio A");
  Known("Ann", "10.0.0.1");
  const Watched watched = Watch();
  EXPECT_EQ(watched.descriptors.size(), 1u);
  EXPECT_EQ(watched.highest, *watched.descriptors.begin());
}

TEST_F(BonjourLoop, DescriptorThatNoSetCanHoldIsLeftOut) {
  rlimit limit{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
  if (limit.rlim_max != RLIM_INFINITY && limit.rlim_max < 1100) GTEST_SKIP() << "no descriptors beyond 1024";
  const rlimit before = limit;
  limit.rlim_cur = 1100;
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
  Start();
  const int browse = DNSServiceRefSockFD(harkbonjour.dnssvcBrowser);
  scripted_dnssd.SetLowestDescriptor(1024);
  Found("Ann");
  ASSERT_GE(DNSServiceRefSockFD(Entry("Ann")->resolver), 1024);
  QueueResolved("Ann", "ann.local.");
  EXPECT_EQ(Watch().descriptors, std::set<int>{browse});
  EXPECT_EQ(Watch().highest, browse);
  EXPECT_EQ(Serve(), 0);
  EXPECT_EQ(Entry("Ann")->host, "");
  scripted_dnssd.SetLowestDescriptor(0);
  EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
}

TEST_F(BonjourLoop, OnlyWhatIsReadyIsServed) {
  Start(0, "Studio A");
  Known("Ann", "10.0.0.1");
  Known("Bob", "10.0.0.2");
  (void)scripted_dnssd.TakeCalls();
  EXPECT_EQ(Serve(), 0);
  EXPECT_TRUE(scripted_dnssd.TakeCalls().empty());
  HasAddress("Bob", "10.0.0.3");
  EXPECT_EQ(scripted_dnssd.TakeCalls().size(), 1u);
}

TEST_F(BonjourLoop, AllThatIsReadyIsServedInOnePass) {
  Start(0, "Studio A");
  Known("Ann", "10.0.0.1");
  Known("Bob", "10.0.0.2");
  scripted_dnssd.Answer(harkbonjour.client, RegisterAnswer{.name = "Studio A"});
  QueueFound("Cat");
  QueueResolved("Ann", "ann.local.");
  QueueAddress("Bob", "10.0.0.3");
  EXPECT_EQ(Serve(), 0);
  EXPECT_FALSE(scripted_dnssd.HasAnswers());
  EXPECT_EQ(Url("Bob"), "hark:10.0.0.3");
  EXPECT_EQ(Entry("Ann")->host, "ann.local.");
  EXPECT_EQ(Url("Cat"), "");
}

TEST_F(BonjourLoop, EachKindOfReferenceHasItsErrorText) {
  struct Row {
    DnssdKind kind;
    DNSServiceErrorType error;
    const char* text;
  };
  for (const Row& row :
       {Row{DnssdKind::kRegister, -65563, "DNSServiceProcessResult(client) returned -65563\n"},
        Row{DnssdKind::kBrowse, -65537, "DNSServiceProcessResult(dnssvcBrowser) returned -65537\n"},
        Row{DnssdKind::kResolve, -65563, "DNSServiceProcessResult(resolver) returned -65563\n"},
        Row{DnssdKind::kQuery, -1, "DNSServiceProcessResult(dnssvcAddrInfo) returned -1\n"}}) {
    SCOPED_TRACE(row.text);
    Start(0, "Studio A");
    Known("Ann", "10.0.0.1");
    scripted_dnssd.FailProcess(scripted_dnssd.References(row.kind).at(0), row.error);
    EXPECT_EQ(FailedServe(), row.text);
    harkbonjour_cleanup();
  }
}

TEST_F(BonjourLoop, LossOfTheDaemonFailsEveryReference) {
  for (const bool share : {false, true}) {
    SCOPED_TRACE(share);
    scripted_dnssd.Reset();
    if (share) scripted_dnssd.ShareDescriptor();
    Start(0, "Studio A");
    Known("Ann", "10.0.0.1");
    scripted_dnssd.LoseDaemon();
    const std::string errors = FailedServe();
    for (const char* kind : {"client", "dnssvcBrowser", "resolver", "dnssvcAddrInfo"})
      EXPECT_THAT(errors, HasSubstr("DNSServiceProcessResult(" + std::string(kind) + ") returned -65563\n"));
    harkbonjour_cleanup();
    EXPECT_EQ(scripted_dnssd.Live(), 0);
  }
}

TEST_F(BonjourLoop, FailureStaysUntilTheNextStart) {
  Start(0, "Studio A");
  scripted_dnssd.FailProcess(harkbonjour.client, -65563);
  (void)FailedServe();
  fd_set nothing_ready;
  FD_ZERO(&nothing_ready);
  EXPECT_EQ(harkbonjour_processevents(nothing_ready), -1);
  harkbonjour_cleanup();
  EXPECT_EQ(harkbonjour_processevents(nothing_ready), -1);
  EXPECT_EQ(harkbonjour_initialize(0, kPort, "Studio A"), 0);
  EXPECT_EQ(harkbonjour_processevents(nothing_ready), 0);
  Known("Ann", "10.0.0.1");
}

TEST_F(BonjourLoop, StartThatFailsClearsTheFailureToo) {
  Start();
  scripted_dnssd.LoseDaemon();
  (void)FailedServe();
  harkbonjour_cleanup();
  EXPECT_EQ(harkbonjour_initialize(0, kPort, nullptr), 11002);
  EXPECT_EQ(Serve(), 0);
  scripted_dnssd.Start();
  EXPECT_EQ(harkbonjour_initialize(0, kPort, "Studio A"), 0);
  EXPECT_EQ(scripted_dnssd.Live(), 2);
}

TEST_F(BonjourLoop, FailureOfOneReferenceLeavesTheAnswersOfTheOthers) {
  Start();
  Known("Ann", "10.0.0.1");
  Known("Bob", "10.0.0.2");
  scripted_dnssd.FailProcess(Entry("Ann")->resolver, -65563);
  QueueAddress("Bob", "10.0.0.3");
  QueueAddress("Ann", "10.0.0.4");
  EXPECT_EQ(FailedServe(), "DNSServiceProcessResult(resolver) returned -65563\n");
  EXPECT_EQ(Url("Bob"), "hark:10.0.0.3");
  EXPECT_EQ(Url("Ann"), "hark:10.0.0.4");
}

}  // namespace
}  // namespace hark
