// The host of a station becomes an address: at once, or by a query for its record.
#include <gmock/gmock.h>

#include "bonjour_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class BonjourQuery : public Bonjour {
 protected:
  // Ann is found, resolved, and her address is asked for.
  void Asked(unsigned interface = kAnyInterface) {
    Start(interface);
    Found("Ann");
    Resolved("Ann", "ann.local.");
    (void)Calls();
    (void)Changes();
  }
  static void Answer(QueryAnswer answer) {
    scripted_dnssd.Answer(Entry("Ann")->addr_query, std::move(answer));
    EXPECT_EQ(Serve(), 0);
  }
};

TEST_F(BonjourQuery, AddressBecomesTheUrl) {
  Asked();
  HasAddress("Ann", "10.1.2.3");
  EXPECT_EQ(Url("Ann"), "hark:10.1.2.3");
  EXPECT_EQ(File(), "Ann <hark:10.1.2.3>\n\tharkd 4013\n");
  EXPECT_EQ(Changes(), 1);
  EXPECT_EQ(UrlOf("Ann"), "hark:10.1.2.3");
}

TEST_F(BonjourQuery, LongestAddressIsWhole) {
  Asked();
  HasAddress("Ann", "255.255.255.255");
  EXPECT_EQ(Url("Ann"), "hark:255.255.255.255");
  HasAddress("Ann", "0.0.0.0");
  EXPECT_EQ(Url("Ann"), "hark:0.0.0.0");
}

TEST_F(BonjourQuery, LaterAnswerReplacesTheAddress) {
  Asked();
  HasAddress("Ann", "10.1.2.3");
  HasAddress("Ann", "10.1.2.4");
  EXPECT_EQ(Url("Ann"), "hark:10.1.2.4");
  EXPECT_EQ(Changes(), 2);
}

TEST_F(BonjourQuery, AnswerIsOfItsStationOnly) {
  Start();
  Known("Ann", "10.0.0.1");
  Known("Bob", "10.0.0.2");
  HasAddress("Ann", "10.0.0.3");
  EXPECT_EQ(Url("Ann"), "hark:10.0.0.3");
  EXPECT_EQ(Url("Bob"), "hark:10.0.0.2");
}

TEST_F(BonjourQuery, AnswersThatAreNoAddressAreIgnored) {
  Asked();
  HasAddress("Ann", "10.1.2.3");
  (void)Changes();
  const std::string other = Raw("10.9.9.9");
  const QueryAnswer rows[] = {
      {.error = -65537, .rdata = other},
      {.flags = 0, .error = -65554, .no_texts = true},
      {.type = kDNSServiceType_AAAA, .rdata = other},
      {.type = kDNSServiceType_CNAME, .rdata = other},
      {.type = 0, .rdata = other},
      {.rdata = ""},
      {.rdata = other.substr(0, 1)},
      {.rdata = other.substr(0, 3)},
      {.flags = 0, .rdata = other},
      {.flags = kDNSServiceFlagsMoreComing, .rdata = other},
  };
  int number = 0;
  for (const QueryAnswer& row : rows) {
    SCOPED_TRACE(++number);
    (void)Printed([&] { Answer(row); });
    EXPECT_EQ(Url("Ann"), "hark:10.1.2.3");
    EXPECT_EQ(Changes(), 0);
  }
}

TEST_F(BonjourQuery, FirstFourBytesOfARecordCount) {
  Asked();
  Answer({.flags = kDNSServiceFlagsAdd | kDNSServiceFlagsMoreComing, .rdata = Raw("10.1.2.3") + "more"});
  EXPECT_EQ(Url("Ann"), "hark:10.1.2.3");
}

TEST_F(BonjourQuery, QueryReplacedBeforeItsAnswerIsReleased) {
  Asked(2);
  const DNSServiceRef first = Entry("Ann")->addr_query;
  Resolved("Ann", "other.local.");
  EXPECT_THAT(Calls(), ElementsAre("query if=2 name=other.local. type=1 class=1 -> #4", "release #3"));
  EXPECT_FALSE(scripted_dnssd.IsLive(first));
  EXPECT_EQ(scripted_dnssd.Live(DnssdKind::kQuery), 1);
  HasAddress("Ann", "10.1.2.3");
  EXPECT_EQ(Url("Ann"), "hark:10.1.2.3");
}

TEST_F(BonjourQuery, ChangeOfHostKeepsTheAddressUntilTheNewOneIsKnown) {
  Asked();
  HasAddress("Ann", "10.1.2.3");
  Resolved("Ann", "other.local.");
  EXPECT_EQ(Url("Ann"), "hark:10.1.2.3");
  HasAddress("Ann", "10.1.2.4");
  EXPECT_EQ(Url("Ann"), "hark:10.1.2.4");
}

TEST_F(BonjourQuery, AddressThatStandsForTheHostIsTakenAtOnce) {
  Start();
  Found("Ann");
  (void)Calls();
  (void)Changes();
  Resolved("Ann", "1.2.3");
  EXPECT_EQ(Url("Ann"), "hark:1.2.0.3");
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_EQ(File(), "Ann <hark:1.2.0.3>\n\tharkd 4013\n");
  EXPECT_EQ(Changes(), 1);
  Resolved("Ann", "255.255.255");
  EXPECT_EQ(Url("Ann"), "hark:255.255.0.255");
}

TEST_F(BonjourQuery, FullAddressThatStandsForTheHostIsAskedFor) {
  Start();
  Found("Ann");
  (void)Calls();
  Resolved("Ann", "10.1.2.3");
  EXPECT_EQ(Url("Ann"), "");
  EXPECT_THAT(Calls(), ElementsAre("query if=0 name=10.1.2.3 type=1 class=1 -> #3"));
  HasAddress("Ann", "10.1.2.3");
  EXPECT_EQ(Url("Ann"), "hark:10.1.2.3");
}

TEST_F(BonjourQuery, FailedQueryLeavesTheFormerOneAndTheTableIsWritten) {
  Asked();
  HasAddress("Ann", "10.1.2.3");
  const DNSServiceRef former = Entry("Ann")->addr_query;
  scripted_dnssd.SetResult(DnssdKind::kQuery, kDNSServiceErr_NoMemory);
  (void)Changes();
  Resolved("Ann", "other.local.", TxtOf({"ALT=Two"}));
  EXPECT_EQ(Entry("Ann")->addr_query, former);
  EXPECT_TRUE(scripted_dnssd.IsLive(former));
  EXPECT_THAT(File(), HasSubstr("\talt Two\n"));
  EXPECT_EQ(Changes(), 1);
}

TEST_F(BonjourQuery, FirstQueryThatFailsLeavesNone) {
  Start();
  Found("Ann");
  scripted_dnssd.SetResult(DnssdKind::kQuery, kDNSServiceErr_NoMemory);
  Resolved("Ann", "ann.local.");
  EXPECT_EQ(Entry("Ann")->addr_query, nullptr);
  EXPECT_EQ(Serve(), 0);
}

TEST_F(BonjourQuery, AddressIsLoggedAtInfoLevel) {
  Asked();
  const auto answer = [] { HasAddress("Ann", "10.1.2.3"); };
  const std::string log = LogUpTo(kLogInfo, answer);
  EXPECT_THAT(log, HasSubstr(": updaddr Ann at "));
  EXPECT_THAT(log, HasSubstr("10.1.2.3\n"));
  EXPECT_THAT(LogUpTo(kLogNotice, answer), Not(HasSubstr("updaddr")));
}

}  // namespace
}  // namespace hark
