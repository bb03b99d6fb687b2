// Asking for a station now: what a key does that has no address for its label.
#include <gmock/gmock.h>

#include "bonjour_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr int kAtOnce = 1;
constexpr int kOnItsWay = 0;
constexpr int kFailed = -1;

class BonjourLookup : public Bonjour {};

TEST_F(BonjourLookup, UnknownStationIsEnteredAndResolvedOnTheInterface) {
  Start(2);
  EXPECT_EQ(harkbonjour_lookupservice("Ann"), kOnItsWay);
  EXPECT_THAT(Names(), ElementsAre("Ann/local."));
  EXPECT_EQ(File(), "Ann\n");
  EXPECT_THAT(Calls(), ElementsAre("resolve if=2 name=Ann type=_hark._tcp domain=local. -> #2"));
  EXPECT_EQ(Entry("Ann")->lookup_time, clock_.Now());
}

TEST_F(BonjourLookup, ItsAnswersMakeTheStationKnown) {
  Start();
  EXPECT_EQ(harkbonjour_lookupservice("Ann"), kOnItsWay);
  Resolved("Ann", "ann.local.", TxtOf({"ALT=Main"}));
  HasAddress("Ann", "10.0.0.1");
  EXPECT_EQ(UrlOf("Ann"), "hark:10.0.0.1");
}

TEST_F(BonjourLookup, StationThatWasOnlyAskedForIsLearnedUntilItIsAnnounced) {
  Start();
  EXPECT_EQ(harkbonjour_lookupservice("Ann"), kOnItsWay);
  EXPECT_TRUE(Entry("Ann")->learned);
  const DNSServiceRef resolver = Entry("Ann")->resolver;
  Found("Ann");
  EXPECT_FALSE(Entry("Ann")->learned);
  EXPECT_EQ(Entry("Ann")->resolver, resolver);
  EXPECT_EQ(scripted_dnssd.Live(DnssdKind::kResolve), 1);
}

TEST_F(BonjourLookup, DiscoveredStationStaysDiscovered) {
  Start();
  Known("Ann", "10.0.0.1");
  (void)harkbonjour_lookupservice("Ann");
  EXPECT_FALSE(Entry("Ann")->learned);
}

TEST_F(BonjourLookup, HostThatIsKnownIsAskedForAgain) {
  Start(2);
  Known("Ann", "10.0.0.1");
  (void)Calls();
  clock_.AdvanceMs(5000);
  EXPECT_EQ(harkbonjour_lookupservice("Ann"), kOnItsWay);
  EXPECT_THAT(Calls(), ElementsAre("query if=2 name=Ann-host.local. type=1 class=1 -> #4", "release #3"));
  EXPECT_EQ(Entry("Ann")->addr_time, clock_.Now());
  HasAddress("Ann", "10.0.0.7");
  EXPECT_EQ(UrlOf("Ann"), "hark:10.0.0.7");
}

TEST_F(BonjourLookup, HostThatIsAnAddressGivesItAtOnceAndTheFileTellsIt) {
  Start();
  Found("Ann");
  Resolved("Ann", "1.2.3");
  Entry("Ann")->url = "hark:10.9.9.9";
  harkresolvtable_write(harkd_dynamicsources);
  (void)Calls();
  EXPECT_EQ(harkbonjour_lookupservice("Ann"), kAtOnce);
  EXPECT_EQ(Url("Ann"), "hark:1.2.0.3");
  EXPECT_THAT(File(), HasSubstr("Ann <hark:1.2.0.3>\n"));
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(BonjourLookup, StationWhoseResolveHasNotAnsweredCannotBeAskedFor) {
  Start();
  Found("Ann");
  (void)Calls();
  EXPECT_EQ(harkbonjour_lookupservice("Ann"), kFailed);
  EXPECT_THAT(Calls(), IsEmpty()) << "its resolve still runs";
}

TEST_F(BonjourLookup, FailedQueryIsAFailureAndKeepsTheFormerOne) {
  Start();
  Known("Ann", "10.0.0.1");
  scripted_dnssd.SetResult(DnssdKind::kQuery, kDNSServiceErr_NoMemory);
  EXPECT_EQ(harkbonjour_lookupservice("Ann"), kFailed);
  HasAddress("Ann", "10.0.0.2");
  EXPECT_EQ(Url("Ann"), "hark:10.0.0.2");
}

TEST_F(BonjourLookup, FailedResolveIsAFailureAndMayBeRepeated) {
  EXPECT_EQ(harkbonjour_lookupservice("Ann"), kFailed) << "no daemon";
  Start();
  scripted_dnssd.SetResult(DnssdKind::kResolve, kDNSServiceErr_BadParam);
  EXPECT_EQ(harkbonjour_lookupservice("Ann"), kFailed);
  EXPECT_TRUE(Entry("Ann") == nullptr || Entry("Ann")->resolver == nullptr);
  EXPECT_EQ(Serve(), 0);
  scripted_dnssd.SetResult(DnssdKind::kResolve, 0);
  EXPECT_EQ(harkbonjour_lookupservice("Ann"), kOnItsWay);
}

TEST_F(BonjourLookup, StationThatWasAskedForGoesWithItsRemoval) {
  Start();
  EXPECT_EQ(harkbonjour_lookupservice("Ann"), kOnItsWay);
  Gone("Ann");
  EXPECT_THAT(Names(), IsEmpty());
  EXPECT_EQ(scripted_dnssd.Live(), 1);
}

TEST_F(BonjourLookup, NoLabelIsAFailureAndEntersNothing) {
  Start();
  EXPECT_EQ(harkbonjour_lookupservice(""), kFailed);
  EXPECT_EQ(harkbonjour_lookupservice(nullptr), kFailed);
  EXPECT_THAT(Names(), IsEmpty());
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(BonjourLookup, DomainIsTheLocalOne) {
  Start();
  Found("Ann", "studio.");
  EXPECT_EQ(harkbonjour_lookupservice("Ann"), kOnItsWay);
  EXPECT_THAT(Names(), ElementsAre("Ann/local.", "Ann/studio."));
}

TEST_F(BonjourLookup, IsLogged) {
  Start();
  EXPECT_THAT(LogUpTo(kLogDebug, [] { (void)harkbonjour_lookupservice("Ann"); }), HasSubstr(": lookup Ann"));
  scripted_dnssd.SetResult(DnssdKind::kResolve, kDNSServiceErr_NoMemory);
  EXPECT_THAT(LogUpTo(kLogDebug, [] { (void)harkbonjour_lookupservice("Bob"); }),
              Not(HasSubstr(": lookup Bob")));
}

}  // namespace
}  // namespace hark
