// What the browse tells: stations come, go, and come again.
#include <gmock/gmock.h>

#include "addressing/learn.h"
#include "bonjour_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class BonjourBrowse : public Bonjour {
 protected:
  static int Answer(const BrowseAnswer& answer) {
    scripted_dnssd.Answer(harkbonjour.dnssvcBrowser, answer);
    return Serve();
  }
};

TEST_F(BonjourBrowse, FoundStationIsEnteredAndResolved) {
  Start();
  Found("Ann");
  EXPECT_THAT(Names(), ElementsAre("Ann/local."));
  EXPECT_EQ(File(), "Ann\n");
  EXPECT_THAT(Calls(), ElementsAre("resolve if=0 name=Ann type=_hark._tcp domain=local. -> #2"));
  EXPECT_EQ(Entry("Ann")->resolver, scripted_dnssd.References(DnssdKind::kResolve).at(0));
  EXPECT_EQ(Entry("Ann")->lookup_time, clock_.Now());
  EXPECT_FALSE(Entry("Ann")->learned);
}

TEST_F(BonjourBrowse, ResolveTakesTheRepliesInterfaceNameTypeAndDomain) {
  Start();
  EXPECT_EQ(Answer({.interface = 5, .name = "Studio A.1", .type = "_hark._tcp.", .domain = "studio.net."}),
            0);
  EXPECT_THAT(Calls(), ElementsAre("resolve if=5 name=Studio A.1 type=_hark._tcp. domain=studio.net. -> #2"));
}

TEST_F(BonjourBrowse, ReplyFromAnotherInterfaceIsDropped) {
  Start(2);
  Found("Ann");
  (void)Calls();
  const std::string file = File();
  EXPECT_EQ(Answer({.interface = 3, .name = "Bob"}), 0);
  EXPECT_EQ(Answer({.interface = 0, .name = "Bob"}), 0);
  EXPECT_EQ(Answer({.flags = 0, .interface = 3, .name = "Ann"}), 0);
  EXPECT_THAT(Names(), ElementsAre("Ann/local."));
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_EQ(File(), file);
}

TEST_F(BonjourBrowse, BoundToNoInterfaceTakesRepliesFromAll) {
  Start(kAnyInterface);
  EXPECT_EQ(Answer({.interface = 3, .name = "Ann"}), 0);
  EXPECT_EQ(Answer({.interface = 4, .name = "Bob"}), 0);
  EXPECT_EQ(Answer({.flags = 0, .interface = 5, .name = "Ann"}), 0);
  EXPECT_THAT(Names(), ElementsAre("Bob/local."));
}

TEST_F(BonjourBrowse, ReannouncedStationKeepsItsResolver) {
  Start();
  Found("Ann");
  const DNSServiceRef resolver = Entry("Ann")->resolver;
  const TimeUs lookup = Entry("Ann")->lookup_time;
  (void)Calls();
  clock_.AdvanceMs(100);
  Found("Ann");
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_EQ(Entry("Ann")->resolver, resolver);
  EXPECT_EQ(Entry("Ann")->lookup_time, lookup);
  EXPECT_EQ(harkd_dynamicsources.size(), 1u);
}

TEST_F(BonjourBrowse, StationOfTheSameNameInAnotherDomainIsAnother) {
  Start();
  Found("Ann");
  Found("Ann", "studio.");
  EXPECT_THAT(Names(), ElementsAre("Ann/studio.", "Ann/local."));
  Gone("Ann", "studio.");
  EXPECT_THAT(Names(), ElementsAre("Ann/local."));
  EXPECT_EQ(scripted_dnssd.Live(DnssdKind::kResolve), 1);
}

TEST_F(BonjourBrowse, FailedResolveLeavesTheStationWithoutUrlUntilItIsAnnouncedAgain) {
  Start();
  scripted_dnssd.SetResult(DnssdKind::kResolve, kDNSServiceErr_NoMemory);
  Found("Ann");
  EXPECT_THAT(Names(), ElementsAre("Ann/local."));
  EXPECT_EQ(Entry("Ann")->resolver, nullptr);
  EXPECT_EQ(Url("Ann"), "");
  EXPECT_EQ(Serve(), 0);
  scripted_dnssd.SetResult(DnssdKind::kResolve, 0);
  Found("Ann");
  EXPECT_NE(Entry("Ann")->resolver, nullptr);
  EXPECT_EQ(harkd_dynamicsources.size(), 1u);
}

TEST_F(BonjourBrowse, GoneStationIsRemovedWithItsReferences) {
  Start();
  Known("Ann", "10.0.0.1");
  Found("Bob");
  EXPECT_EQ(scripted_dnssd.Live(), 4);
  Gone("Ann");
  EXPECT_THAT(Names(), ElementsAre("Bob/local."));
  EXPECT_EQ(File(), "Bob\n");
  EXPECT_EQ(scripted_dnssd.Live(), 2) << "the browse and the resolve of Bob";
  EXPECT_EQ(UrlOf("Ann"), "-");
}

TEST_F(BonjourBrowse, RemovalOfAnUnknownInstanceChangesNothing) {
  Start();
  Known("Ann", "10.0.0.1");
  (void)Calls();
  (void)Changes();
  folder_.Remove("table");
  Gone("Bob");
  Gone("ann");
  Gone("Ann", "studio.");
  Gone("Ann", "");
  Gone("");
  EXPECT_THAT(Names(), ElementsAre("Ann/local."));
  EXPECT_EQ(Url("Ann"), "hark:10.0.0.1");
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_EQ(Changes(), 0);
  EXPECT_FALSE(folder_.Has("table")) << "nothing is written";
}

TEST_F(BonjourBrowse, SecondRemovalChangesNothing) {
  Start();
  Found("Ann");
  Gone("Ann");
  (void)Calls();
  Gone("Ann");
  EXPECT_THAT(Names(), IsEmpty());
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(BonjourBrowse, AnnouncementOfALearnedStationMakesItADiscoveredOne) {
  Start();
  HarkResolvInfo info;
  harkurl_info url;
  (void)HarkResolvURL_DynamicLearn("Ann <hark:10.0.0.9>", info, url);
  ASSERT_NE(Entry("Ann"), nullptr);
  ASSERT_TRUE(Entry("Ann")->learned);
  Found("Ann");
  EXPECT_FALSE(Entry("Ann")->learned);
  EXPECT_NE(Entry("Ann")->resolver, nullptr);
  EXPECT_EQ(Url("Ann"), "hark:10.0.0.9") << "what was learned stands until discovery knows better";
}

TEST_F(BonjourBrowse, ComingAndGoingIsLoggedAtNoticeLevel) {
  Start(2);
  const auto come_and_go = [] {
    (void)Answer({.interface = 2, .name = "Ann", .type = "_hark._tcp.", .domain = "local."});
    (void)Answer({.flags = 0, .interface = 2, .name = "Ann", .type = "_hark._tcp.", .domain = "local."});
    (void)Answer({.interface = 3, .name = "Far", .type = "_hark._tcp.", .domain = "local."});
  };
  const std::string log = LogUpTo(kLogNotice, come_and_go);
  EXPECT_THAT(log, HasSubstr(": add Ann._hark._tcp.local.\n"));
  EXPECT_THAT(log, HasSubstr(": rmv Ann._hark._tcp.local.\n"));
  EXPECT_THAT(log, HasSubstr(": add Far._hark._tcp.local.\n")) << "also of an interface that is not ours";
  EXPECT_EQ(LogUpTo(kLogWarning, come_and_go), "");
}

TEST_F(BonjourBrowse, StartedResolveIsLoggedAtInfoLevel) {
  Start();
  const auto come_and_go = [] {
    Found("Ann");
    Gone("Ann");
  };
  EXPECT_THAT(LogUpTo(kLogInfo, come_and_go), HasSubstr(": lookup Ann._hark._tcp.local.\n"));
  EXPECT_THAT(LogUpTo(kLogNotice, come_and_go), Not(HasSubstr("lookup")));
  scripted_dnssd.SetResult(DnssdKind::kResolve, kDNSServiceErr_NoMemory);
  EXPECT_THAT(LogUpTo(kLogInfo, come_and_go), Not(HasSubstr("lookup")));
}

TEST_F(BonjourBrowse, ErrorIsPrintedAndTheBrowseGoesOn) {
  Start(2);
  for (const DNSServiceErrorType error : {-65537, -65563}) {
    SCOPED_TRACE(error);
    const std::string printed = Printed([&] {
      EXPECT_EQ(Answer({.flags = 0, .interface = 2, .error = error, .no_texts = true}), 0);
      EXPECT_EQ(Answer({.interface = 2, .error = error, .no_texts = true}), 0);
    });
    const std::string line = "Error code " + std::to_string(error) + "\n";
    EXPECT_EQ(printed, line + line);
  }
  EXPECT_THAT(Names(), IsEmpty());
  EXPECT_EQ(Printed([] { Found("Ann"); }), "");
  EXPECT_THAT(Names(), ElementsAre("Ann/local."));
}

TEST_F(BonjourBrowse, HookIsToldOfEachStationThatComesOrGoesAndOfNothingElse) {
  Start(2);
  Found("Ann");
  EXPECT_EQ(Changes(), 1);
  Found("Ann");
  EXPECT_EQ(Answer({.interface = 3, .name = "Far"}), 0);
  Gone("Bob");
  EXPECT_EQ(Changes(), 0);
  Gone("Ann");
  EXPECT_EQ(Changes(), 1);
  harkbonjour_callback = nullptr;
  Found("Ann");
  Gone("Ann");
  EXPECT_EQ(Changes(), 0);
}

TEST_F(BonjourBrowse, ManyAnswersInOnePassAreTakenInTheirOrder) {
  Start();
  QueueFound("Ann");
  QueueFound("Bob");
  QueueGone("Ann");
  QueueFound("Cat");
  QueueFound("Ann");
  QueueGone("Bob");
  EXPECT_EQ(Serve(), 0);
  EXPECT_THAT(Names(), ElementsAre("Ann/local.", "Cat/local."));
  EXPECT_EQ(scripted_dnssd.Live(), 3);
}

}  // namespace
}  // namespace hark
