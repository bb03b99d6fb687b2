// The table changes while it is walked: an answer takes entries out, puts others in, or its hook asks for
// more, and the references of those entries are ready too. With a descriptor for each reference, and with one
// for all, as different libraries have it.
#include <gmock/gmock.h>
#include <unistd.h>

#include "bonjour_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class BonjourWalk : public Bonjour, public ::testing::WithParamInterface<bool> {
 protected:
  BonjourWalk() {
    if (GetParam()) scripted_dnssd.ShareDescriptor();
  }
  // Four stations, all references of all of them ready.
  void FourStationsReady() {
    Start();
    for (const char* name : {"Ann", "Bob", "Cat", "Dan"})
      Known(name, "10.0.0.1");
  }
  // How many references there are while no name is registered.
  static int References() {
    int references = 1;
    for (const harkresolvtable_entry& entry : harkd_dynamicsources)
      references += (entry.resolver != nullptr ? 1 : 0) + (entry.addr_query != nullptr ? 1 : 0);
    return references;
  }
  static void AllAnswer() {
    for (const harkresolvtable_entry& entry : harkd_dynamicsources) {
      QueueResolved(entry.name, "new-host.local.");
      QueueAddress(entry.name, "10.0.0.2");
    }
  }
};

TEST_P(BonjourWalk, EntriesThatTheBrowseTakesOutAreNotServed) {
  const std::vector<Texts> rows = {
      {"Dan"},        {"Bob"},        {"Ann"},        {"Dan", "Cat"},        {"Ann", "Bob"},
      {"Dan", "Ann"}, {"Bob", "Cat"}, {"Ann", "Cat"}, {"Ann", "Bob", "Cat"}, {"Ann", "Bob", "Cat", "Dan"}};
  for (const Texts& gone : rows) {
    SCOPED_TRACE(::testing::PrintToString(gone));
    FourStationsReady();
    for (const std::string& name : gone)
      QueueGone(name);
    AllAnswer();
    EXPECT_EQ(Serve(), 0);
    EXPECT_EQ(harkd_dynamicsources.size(), 4 - gone.size());
    for (const harkresolvtable_entry& entry : harkd_dynamicsources)
      EXPECT_EQ(entry.host, "new-host.local.");
    EXPECT_EQ(scripted_dnssd.Live(), 1 + 2 * static_cast<int>(harkd_dynamicsources.size()));
    EXPECT_FALSE(scripted_dnssd.HasAnswers());
    harkbonjour_cleanup();
  }
}

TEST_P(BonjourWalk, EntriesThatTheBrowseTakesOutAfterTheirAnswersAreGone) {
  FourStationsReady();
  AllAnswer();
  for (const char* name : {"Ann", "Bob", "Cat", "Dan"})
    QueueGone(name);
  EXPECT_EQ(Serve(), 0);
  EXPECT_THAT(Names(), IsEmpty());
  EXPECT_EQ(scripted_dnssd.Live(), 1);
}

TEST_P(BonjourWalk, EntriesThatComeAreServedInALaterPass) {
  FourStationsReady();
  QueueFound("Eve");
  QueueGone("Bob");
  QueueFound("Fay");
  QueueFound("Bob");
  AllAnswer();
  EXPECT_EQ(Serve(), 0);
  EXPECT_THAT(Names(), ElementsAre("Bob/local.", "Fay/local.", "Eve/local.", "Dan/local.", "Cat/local.",
                                   "Ann/local."));
  EXPECT_EQ(Url("Bob"), "");
  Resolved("Eve", "eve.local.");
  HasAddress("Eve", "10.0.0.9");
  EXPECT_EQ(UrlOf("Eve"), "hark:10.0.0.9");
}

// A station that came back within the answer has a new resolve, whose descriptor often has the number of the
// one that went: it is ready in the set, and asking the library for its result would wait forever.
TEST_P(BonjourWalk, NewReferenceWithTheNumberOfAGoneOneIsNotServed) {
  Start();
  Found("Ann");
  const int number = DNSServiceRefSockFD(Entry("Ann")->resolver);
  QueueResolved("Ann", "ann.local.");
  QueueGone("Ann");
  QueueFound("Ann");
  EXPECT_EQ(Serve(), 0);
  EXPECT_EQ(DNSServiceRefSockFD(Entry("Ann")->resolver), number) << "the case that this is about";
  EXPECT_EQ(Entry("Ann")->host, "") << "the answer was for the one that went";
}

// Likewise the query that takes the place of one whose answer was there.
TEST_P(BonjourWalk, NewQueryWithTheNumberOfAReplacedOneIsNotServed) {
  Start();
  Known("Ann", "10.0.0.1");
  Known("Bob", "10.0.0.1");
  for (const char* name : {"Ann", "Bob"}) {
    QueueResolved(name, "other.local.");
    QueueAddress(name, "10.0.0.2");
  }
  EXPECT_EQ(Serve(), 0);
  EXPECT_EQ(Entry("Ann")->host + Entry("Bob")->host, "other.local.other.local.");
  EXPECT_EQ(scripted_dnssd.Live(DnssdKind::kQuery), 2);
}

void LookUpEverybody() {
  static bool inside = false;
  if (inside) return;
  inside = true;
  for (const char* label : {"Ann", "Cat", "New", "Dan"})
    (void)harkbonjour_lookupservice(label);
  inside = false;
}

TEST_P(BonjourWalk, HookMayAskForStations) {
  FourStationsReady();
  harkbonjour_callback = LookUpEverybody;
  AllAnswer();
  EXPECT_EQ(Serve(), 0);
  EXPECT_THAT(Names(), ElementsAre("New/local.", "Dan/local.", "Cat/local.", "Bob/local.", "Ann/local."));
  EXPECT_EQ(scripted_dnssd.Live(DnssdKind::kResolve), 5);
  EXPECT_EQ(scripted_dnssd.Live(DnssdKind::kQuery), 4);
  for (int pass = 0; pass < 4; ++pass)
    EXPECT_EQ(Serve(), 0);
  EXPECT_FALSE(scripted_dnssd.HasAnswers());
  for (const char* name : {"Ann", "Bob", "Cat", "Dan"})
    EXPECT_EQ(Entry(name)->host, "new-host.local.");
  harkbonjour_callback = nullptr;
  HasAddress("Ann", "10.0.0.5");
  EXPECT_EQ(Url("Ann"), "hark:10.0.0.5");
}

TEST_P(BonjourWalk, HookMayAskForStationsWhileOthersGo) {
  FourStationsReady();
  harkbonjour_callback = LookUpEverybody;
  AllAnswer();
  QueueGone("Ann");
  QueueGone("Dan");
  QueueGone("New");
  EXPECT_EQ(Serve(), 0);
  for (int pass = 0; pass < 3; ++pass)
    EXPECT_EQ(Serve(), 0);
  EXPECT_EQ(scripted_dnssd.Live(), References());
}

TEST_P(BonjourWalk, HookMayAskForStationsWhileTheTableIsEmptied) {
  FourStationsReady();
  harkbonjour_callback = LookUpEverybody;
  harkbonjour_cleanup();
  harkbonjour_callback = nullptr;
  harkbonjour_cleanup();
  EXPECT_EQ(scripted_dnssd.Live(), 0);
}

TEST_P(BonjourWalk, LostDaemonIsSeenWhateverElseIsReady) {
  FourStationsReady();
  AllAnswer();
  QueueGone("Bob");
  scripted_dnssd.LoseDaemon();
  (void)Errors([] { EXPECT_EQ(Serve(), -1); });
  harkbonjour_cleanup();
  EXPECT_THAT(Names(), IsEmpty());
}

// As many stations as there is room for, all but the last known by having been asked for: S0 is the oldest.
void FillTheTable() {
  table_file.clear();
  for (int i = 0; i < 1000; ++i)
    (void)harkbonjour_lookupservice(("S" + std::to_string(i)).c_str());
}

// Each of these makes the oldest be forgotten.
void AskForThreeMore() {
  static int asked = 0;
  for (int i = 0; i < 3; ++i)
    (void)harkbonjour_lookupservice(("T" + std::to_string(asked++)).c_str());
}

TEST_P(BonjourWalk, HookMayAskForMoreStationsThanThereIsRoomFor) {
  Start();
  FillTheTable();
  Known("Ann", "10.0.0.1");
  Known("Bob", "10.0.0.1");
  harkbonjour_callback = AskForThreeMore;
  for (const char* name : {"Ann", "Bob"})
    QueueAddress(name, "10.0.0.2");
  for (const char* name : {"S0", "S3", "S4", "S500", "S999", "Ann"})
    QueueResolved(name, "host.local.");
  EXPECT_EQ(Serve(), 0);
  EXPECT_EQ(Serve(), 0);
  EXPECT_EQ(Entry("S0"), nullptr) << "the oldest";
  for (const char* name : {"Ann", "S500", "S999"})
    EXPECT_EQ(Entry(name)->host, "host.local.");
  EXPECT_EQ(Url("Bob"), "hark:10.0.0.2");
  EXPECT_FALSE(scripted_dnssd.HasAnswers());
  EXPECT_EQ(scripted_dnssd.Live(), References());
}

TEST_P(BonjourWalk, HookMayMakeTheStationBeForgottenWhoseAnswerIsServed) {
  Start();
  FillTheTable();
  QueueResolved("S0", "host.local.");
  EXPECT_EQ(Serve(), 0);
  harkbonjour_callback = AskForThreeMore;
  QueueAddress("S0", "10.0.0.1");
  EXPECT_EQ(Serve(), 0);
  EXPECT_EQ(Entry("S0"), nullptr);
  QueueResolved("S3", "host.local.");
  EXPECT_EQ(Serve(), 0);
  EXPECT_EQ(Entry("S3"), nullptr);
  EXPECT_EQ(scripted_dnssd.Live(), References());
}

// A connection is closed and a key asks for a station between the look at the descriptors and the serving of
// the ready ones: the question's descriptor gets the number of the connection's.
TEST_P(BonjourWalk, ReferenceMadeBehindTheLookAtTheDescriptorsIsNotServed) {
  Start();
  Known("Ann", "10.0.0.1");
  scripted_dnssd.SetResult(DnssdKind::kResolve, kDNSServiceErr_NoMemory);
  Found("Cat");
  scripted_dnssd.SetResult(DnssdKind::kResolve, 0);
  for (const char* label : {"Ann", "Bob", "Cat"}) {
    SCOPED_TRACE(label);
    fd_set set;
    FD_ZERO(&set);
    (void)harkbonjour_addfdset(set);
    FD_ZERO(&set);
    const int connection = ::dup(STDERR_FILENO);
    FD_SET(connection, &set);
    ::close(connection);
    EXPECT_EQ(harkbonjour_lookupservice(label), 0);
    const bool known = !Entry(label)->host.empty();
    const DNSServiceRef made = known ? Entry(label)->addr_query : Entry(label)->resolver;
    ASSERT_TRUE(GetParam() || DNSServiceRefSockFD(made) == connection) << "the case that this is about";
    (void)scripted_dnssd.TakeCalls();
    EXPECT_EQ(harkbonjour_processevents(set), 0);
    EXPECT_EQ(scripted_dnssd.TakeCalls(), Texts());
  }
}

INSTANTIATE_TEST_SUITE_P(Library, BonjourWalk, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool>& library) {
                           return library.param ? "OneDescriptorForAll" : "OwnDescriptors";
                         });

}  // namespace
}  // namespace hark
