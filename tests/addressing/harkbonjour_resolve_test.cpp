// What the resolve of a service answers: whose it is, and what it brings.
#include <gmock/gmock.h>

#include "bonjour_fixture.h"

namespace hark {
namespace {

using ::testing::ContainsRegex;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class BonjourResolve : public Bonjour {
 protected:
  // The resolve of `name` answers with a full name of the test's choice.
  static void Answer(const std::string& name, const std::string& full_name, unsigned interface = 0) {
    scripted_dnssd.Answer(
        Entry(name)->resolver,
        ResolveAnswer{.interface = interface, .full_name = full_name, .host = "host.local.", .port = kPort});
    EXPECT_EQ(Serve(), 0);
  }
};

TEST_F(BonjourResolve, BringsHostAndPortAndAsksForTheAddress) {
  Start(2);
  Found("Ann");
  (void)Calls();
  (void)Changes();
  clock_.AdvanceMs(7);
  Resolved("Ann", "ann-host.local.");
  const harkresolvtable_entry& entry = *Entry("Ann");
  EXPECT_EQ(entry.host, "ann-host.local.");
  EXPECT_EQ(entry.port, kPort);
  EXPECT_EQ(entry.url, "");
  EXPECT_EQ(entry.addr_time, clock_.Now());
  EXPECT_THAT(Calls(), ElementsAre("query if=2 name=ann-host.local. type=1 class=1 -> #3"));
  EXPECT_EQ(entry.addr_query, scripted_dnssd.References(DnssdKind::kQuery).at(0));
  EXPECT_EQ(File(), "Ann\n\tharkd 4013\n");
  EXPECT_EQ(Changes(), 1);
}

TEST_F(BonjourResolve, PortsOfBothBytesAreInHostOrder) {
  Start();
  Found("Ann");
  for (const int port : {1, 256, 0x1234, 65535, 0}) {
    SCOPED_TRACE(port);
    scripted_dnssd.Answer(Entry("Ann")->resolver, ResolveAnswer{.full_name = "Ann._hark._tcp.local.",
                                                                .host = "ann.local.",
                                                                .port = static_cast<std::uint16_t>(port)});
    EXPECT_EQ(Serve(), 0);
    EXPECT_EQ(Entry("Ann")->port, port);
  }
}

TEST_F(BonjourResolve, ReplyFromAnotherInterfaceIsDropped) {
  Start(2);
  Found("Ann");
  (void)Calls();
  (void)Changes();
  for (const unsigned interface : {3u, 0u}) {
    Answer("Ann", "Ann._hark._tcp.local.", interface);
    EXPECT_EQ(Entry("Ann")->host, "");
  }
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_EQ(Changes(), 0);
  Answer("Ann", "Ann._hark._tcp.local.", 2);
  EXPECT_EQ(Entry("Ann")->host, "host.local.");
}

TEST_F(BonjourResolve, BoundToNoInterfaceTakesAll) {
  Start(kAnyInterface);
  Found("Ann");
  Answer("Ann", "Ann._hark._tcp.local.", 9);
  EXPECT_EQ(Entry("Ann")->host, "host.local.");
}

TEST_F(BonjourResolve, FullNamesThatAreTheEntrys) {
  struct Row {
    const char* name;
    const char* full_name;
  };
  for (const Row& row :
       {Row{"Ann", "Ann._hark._tcp.local."}, Row{"Studio 1", "Studio\\0321._hark._tcp.local."},
        Row{"St.1", "St\\.1._hark._tcp.local."}, Row{"St.1", "St\\0461._hark._tcp.local."},
        Row{"a\\b", "a\\\\b._hark._tcp.local."}, Row{"\xff", "\\255._hark._tcp.local."},
        Row{"M\xc3\xbcller", "M\xc3\xbcller._hark._tcp.local."},
        Row{"M\xc3\xbcller", "M\\195\\188ller._hark._tcp.local."}}) {
    SCOPED_TRACE(row.full_name);
    Start();
    Found(row.name);
    Answer(row.name, row.full_name);
    EXPECT_EQ(Entry(row.name)->host, "host.local.");
    harkbonjour_cleanup();
  }
}

TEST_F(BonjourResolve, RepliesForNobodyInTheTableChangeNothing) {
  Start();
  Found("Ann");
  (void)Calls();
  (void)Changes();
  folder_.Remove("table");
  for (const char* full_name : {"Bob._hark._tcp.local.",
                                "An._hark._tcp.local.",
                                "Anna._hark._tcp.local.",
                                "ann._hark._tcp.local.",
                                "Ann._hark._tcp.studio.",
                                "Ann._hark._tcp.lokal.",
                                "Ann._hark._tcp.x.local.",
                                "Ann._hark._tcp.local",
                                "Ann._hark._tcp.",
                                "Ann.local.",
                                "Ann.",
                                "Ann",
                                "Ann\\._hark._tcp.local.",
                                "A\\nn._hark._tcp.loca.",
                                "._hark._tcp.local.",
                                "",
                                "\\",
                                "Ann\\",
                                "Ann\\9",
                                "Ann\\999._hark._tcp.local."}) {
    SCOPED_TRACE(full_name);
    Answer("Ann", full_name);
    EXPECT_EQ(Entry("Ann")->host, "");
  }
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_EQ(Changes(), 0);
  EXPECT_FALSE(folder_.Has("table"));
}

TEST_F(BonjourResolve, ReplyForADomainThatDoesNotMatchTheEntryIsIgnored) {
  Start();
  Found("Ann");
  Found("Ann", "studio.");
  Answer("Ann", "Ann._hark._tcp.other.");
  EXPECT_EQ(Entry("Ann")->host + Entry("Ann", "studio.")->host, "");
  Answer("Ann", "Ann._hark._tcp.studio.");
  EXPECT_EQ(Entry("Ann")->host, "");
  EXPECT_EQ(Entry("Ann", "studio.")->host, "host.local.") << "it goes to the station that it names";
}

TEST_F(BonjourResolve, ErrorWithoutTextsChangesNothing) {
  Start();
  Known("Ann", "10.0.0.1");
  (void)Calls();
  (void)Changes();
  scripted_dnssd.Answer(Entry("Ann")->resolver, ResolveAnswer{.error = -65537, .no_texts = true});
  (void)Printed([] { EXPECT_EQ(Serve(), 0); });
  EXPECT_EQ(Url("Ann"), "hark:10.0.0.1");
  EXPECT_EQ(Entry("Ann")->host, "Ann-host.local.");
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_EQ(Changes(), 0);
}

TEST_F(BonjourResolve, LaterReplyReplacesHostPortAndAlt) {
  Start();
  Found("Ann");
  Resolved("Ann", "one.local.", TxtOf({"ALT=One", "TRGL=\x05"}));
  Resolved("Ann", "two.local.", TxtOf({"ALT=Two"}));
  EXPECT_EQ(Entry("Ann")->host, "two.local.");
  EXPECT_EQ(Entry("Ann")->alt, "Two");
  EXPECT_EQ(Entry("Ann")->trgl, 5u) << "what a record does not tell stays";
}

TEST_F(BonjourResolve, EmptyHostIsStoredAndNothingIsAsked) {
  Start();
  Found("Ann");
  (void)Calls();
  (void)Changes();
  Resolved("Ann", "");
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_EQ(Entry("Ann")->port, kPort);
  EXPECT_EQ(Changes(), 1);
}

TEST_F(BonjourResolve, IsLoggedWithItsHostPortAndDuration) {
  Start();
  const std::string log = LogUpTo(kLogDebug, [this] {
    Found("Ann");
    clock_.AdvanceMs(250);
    Resolved("Ann", "ann-host.local.");
  });
  EXPECT_THAT(log, ContainsRegex(": lookup Ann[^ ]* at ann-host.local.:4013 \\(250ms\\)\n"));
  EXPECT_THAT(log, ContainsRegex(": resolve [^\n]+\n"));
}

TEST_F(BonjourResolve, WithoutAHookTheTableIsWrittenAllTheSame) {
  Start();
  harkbonjour_callback = nullptr;
  Known("Ann", "10.0.0.1");
  EXPECT_EQ(File(), "Ann <hark:10.0.0.1>\n\tharkd 4013\n");
}

TEST_F(BonjourResolve, FileMasksWhatAStationCallsItself) {
  Start();
  Found("#<x>\n");
  EXPECT_EQ(Names(), Texts{"#<x>\n/local."});
  EXPECT_THAT(File(), HasSubstr("??x>?\n"));
}

}  // namespace
}  // namespace hark
