// Services that are announced: what the callback is told, what others on the network see of them, and what
// an update of the TXT record changes.
#include <arpa/inet.h>

#include <algorithm>

#include "addressing/dnssd/dnssd_fixture.h"

namespace hark::test {
namespace {

using testing::ElementsAre;

class Registered : public DnssdTest {
 protected:
  void SetUp() override {
    DnssdTest::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    StartDaemon();
  }

  // What the network tells of a service's TXT record, as it is on the wire.
  [[nodiscard]] static testing::AssertionResult HasTxt(const std::string& full_name, const std::string& txt) {
    Asked record;
    if (const auto error = record.query(full_name.c_str(), kDNSServiceType_TXT); error != 0)
      return testing::AssertionFailure() << "error " << error;
    // The daemon tells of what it announces and of what its cache still holds, a former record among that, in
    // either order: the record stands when the last that is told of it is that it is there.
    const auto stands = [&] {
      const auto last = std::find_if(record.told.rbegin(), record.told.rend(),
                                     [&](const Told& told) { return told.data == txt; });
      return last != record.told.rend() && last->is_add();
    };
    if (wait_until(stands)) return testing::AssertionSuccess();
    testing::AssertionResult missing = testing::AssertionFailure() << "told:";
    for (const Told& told : record.told)
      missing << (told.is_add() ? " +" : " -") << told.data;
    return missing;
  }
};

TEST_F(Registered, TellsWhereItStands) {
  Asked service;
  ASSERT_EQ(service.announce({.name = "Gate"}), kDNSServiceErr_NoError);
  EXPECT_THAT(service.told, testing::IsEmpty()) << "only DNSServiceProcessResult calls back";
  ASSERT_TRUE(service.wait_told());
  const Told& told = service.told[0];
  EXPECT_EQ(told.error, kDNSServiceErr_NoError);
  EXPECT_EQ(told.name, "Gate");
  EXPECT_EQ(told.type, "_hark._tcp.");
  EXPECT_EQ(told.domain, "local.");
}

TEST_F(Registered, IsSeenByOthersUntilItIsDeallocated) {
  Host there(net, 3);
  ASSERT_TRUE(there.made());
  ASSERT_TRUE(there.start_discovery());
  const Witness witness(there);
  Asked service;
  ASSERT_EQ(service.announce({.name = "Gate", .port = 0x1234, .txt = txt_of({"ALT=x"})}), 0);
  ASSERT_TRUE(witness.wait_there("Gate"));
  const std::vector<Sighting> seen = there.look();
  ASSERT_EQ(seen.size(), 2U) << "it came, and its details";
  EXPECT_EQ(seen[1].host, "host2.local");
  EXPECT_EQ(seen[1].address, "10.77.0.2");
  EXPECT_EQ(seen[1].port, 0x1234);
  EXPECT_THAT(seen[1].txt, ElementsAre("ALT=x"));
  service.end();
  EXPECT_TRUE(witness.wait_gone("Gate"));
}

TEST_F(Registered, HasTheNameOfTheHostIfNoneIsGiven) {
  for (const char* name : {static_cast<const char*>(nullptr), ""}) {
    Asked service;
    ASSERT_EQ(service.announce({.name = name}), 0);
    ASSERT_TRUE(service.wait_told());
    EXPECT_EQ(service.told[0].name, "host2");
  }
}

TEST_F(Registered, TakesTypeAndDomainWithAndWithoutTheDotAtTheEnd) {
  struct Row {
    const char* type;
    const char* domain;
  };
  for (const Row& row : {Row{"_hark._tcp", "local"}, Row{"_hark._tcp.", "local."}, Row{"_hark._tcp", ""},
                         Row{"_hark._tcp.", nullptr}}) {
    SCOPED_TRACE(row.type + (row.domain != nullptr ? std::string(row.domain) : "(null)"));
    Asked service;
    ASSERT_EQ(service.announce({.name = "Gate", .domain = row.domain, .type = row.type}), 0);
    ASSERT_TRUE(service.wait_told());
    EXPECT_EQ(service.told[0].error, 0);
    EXPECT_EQ(service.told[0].type, "_hark._tcp.");
    EXPECT_EQ(service.told[0].domain, "local.");
  }
}

TEST_F(Registered, PointsAtAnotherHostIfOneIsGiven) {
  for (const char* host : {"other.local", "other.local."}) {
    SCOPED_TRACE(host);
    Asked service;
    ASSERT_EQ(service.announce({.name = "Gate", .host = host}), 0);
    ASSERT_TRUE(service.wait_told());
    Asked details;
    ASSERT_EQ(details.resolve("Gate"), 0);
    ASSERT_TRUE(details.wait_told());
    EXPECT_EQ(details.told[0].host, "other.local.");
  }
}

TEST_F(Registered, NeedsNoCallback) {
  DNSServiceRef ref = nullptr;
  ASSERT_EQ(DNSServiceRegister(&ref, 0, 0, "Gate", kType, nullptr, nullptr, htons(4013), 0, nullptr, nullptr,
                               nullptr),
            kDNSServiceErr_NoError);
  Asked browse;
  ASSERT_EQ(browse.browse(), 0);
  EXPECT_TRUE(wait_until([&] { return browse.events("Gate") == "+"; }));
  DNSServiceRefDeallocate(ref);
  EXPECT_TRUE(wait_until([&] { return browse.events("Gate") == "+-"; }));
}

TEST_F(Registered, IsOnTheGivenInterfaceOnly) {
  Asked service;
  ASSERT_EQ(service.announce({.name = "Gate", .interface_index = IndexOf(here)}), 0);
  ASSERT_TRUE(service.wait_told());
  Asked browse;
  ASSERT_EQ(browse.browse(IndexOf(here)), 0);
  ASSERT_TRUE(browse.wait_told());
  EXPECT_EQ(browse.told[0].interface_index, IndexOf(here));
}

TEST_F(Registered, HasOneEmptyTextIfNoneIsGiven) {
  Asked service;
  ASSERT_EQ(service.announce({.name = "Gate"}), 0);
  ASSERT_TRUE(service.wait_told());
  EXPECT_TRUE(HasTxt("Gate._hark._tcp.local.", std::string(1, '\0')));
}

TEST_F(Registered, GetsATextThatIsUpdatedBeforeItStands) {
  Asked service;
  ASSERT_EQ(service.announce({.name = "Gate", .txt = txt_of({"ALT=old"})}), 0);
  const std::string txt = txt_of({"ALT=new", "TRGL=\x05"});
  EXPECT_EQ(service.update(txt), kDNSServiceErr_NoError);
  ASSERT_TRUE(service.wait_told());
  EXPECT_EQ(service.told[0].error, kDNSServiceErr_NoError);
  EXPECT_TRUE(HasTxt("Gate._hark._tcp.local.", txt));
}

TEST_F(Registered, GetsATextThatIsUpdatedLater) {
  Host there(net, 3);
  ASSERT_TRUE(there.made());
  ASSERT_TRUE(there.start_discovery());
  Asked service;
  ASSERT_EQ(service.announce({.name = "Gate", .txt = txt_of({"ALT=old"})}), 0);
  ASSERT_TRUE(service.wait_told());
  const std::string txt = txt_of({"TRGL=\x05", "ALT=new"});
  ASSERT_EQ(service.update(txt), kDNSServiceErr_NoError);
  EXPECT_TRUE(HasTxt("Gate._hark._tcp.local.", txt));
  EXPECT_TRUE(wait_until([&] {
    const std::vector<Sighting> seen = there.look();
    return seen.size() == 2 && seen[1].txt.size() == 2;
  }));
  ASSERT_EQ(service.update(""), kDNSServiceErr_NoError);
  EXPECT_TRUE(HasTxt("Gate._hark._tcp.local.", std::string(1, '\0')));
}

TEST_F(Registered, HasTheLastOfSeveralTexts) {
  Asked service;
  ASSERT_EQ(service.announce({.name = "Gate", .txt = txt_of({"ALT=old"})}), 0);
  for (const char* text : {"ALT=1", "ALT=2", "ALT=3"})
    EXPECT_EQ(service.update(txt_of({text})), kDNSServiceErr_NoError);
  EXPECT_TRUE(HasTxt("Gate._hark._tcp.local.", txt_of({"ALT=3"})));
}

// A daemon that has just started still asks whether its host's name is free.
TEST_F(Registered, WaitsForTheHostsOwnName) {
  here.stop_avahi();
  here.launch_avahi();
  ASSERT_TRUE(Reachable());
  Asked service;
  Asked unnamed;
  ASSERT_EQ(service.announce({.name = "Gate", .txt = txt_of({"ALT=old"})}), kDNSServiceErr_NoError);
  ASSERT_EQ(unnamed.announce({.port = 5000}), kDNSServiceErr_NoError);
  EXPECT_EQ(service.update(txt_of({"ALT=new"})), kDNSServiceErr_NoError);
  ASSERT_TRUE(service.wait_told());
  EXPECT_EQ(service.told[0].error, kDNSServiceErr_NoError);
  ASSERT_TRUE(unnamed.wait_told());
  EXPECT_EQ(unnamed.told[0].name, "host2");
  EXPECT_TRUE(HasTxt("Gate._hark._tcp.local.", txt_of({"ALT=new"})));
}

TEST_F(Registered, FollowsItsHostToANewName) {
  Asked service;
  ASSERT_EQ(service.announce({.name = "Gate", .txt = txt_of({"ALT=old"})}), 0);
  ASSERT_TRUE(service.wait_told());
  ASSERT_EQ(service.update(txt_of({"ALT=new"})), 0);
  Asked details;
  ASSERT_EQ(details.resolve("Gate"), 0);
  ASSERT_TRUE(
      wait_until([&] { return !details.told.empty() && details.told.back().host == "host2.local."; }));
  ASSERT_EQ(here.output_of({"avahi-set-host-name", "renamed"}), "");
  EXPECT_TRUE(wait_until([&] { return details.told.back().host == "renamed.local."; }))
      << details.told.back().host;
  EXPECT_TRUE(wait_until([&] { return details.told.back().data == txt_of({"ALT=new"}); }))
      << details.told.back().data;
  EXPECT_EQ(service.told.back().error, kDNSServiceErr_NoError);
  EXPECT_EQ(service.told.back().name, "Gate");
}

TEST_F(Registered, HasNoOtherRecordsToUpdate) {
  Asked service;
  ASSERT_EQ(service.announce({.name = "Gate"}), 0);
  int something = 0;
  const std::string txt = txt_of({"ALT=x"});
  const auto length = static_cast<std::uint16_t>(txt.size());
  EXPECT_EQ(DNSServiceUpdateRecord(service.ref(), reinterpret_cast<DNSRecordRef>(&something), 0, length,
                                   txt.data(), 0),
            kDNSServiceErr_BadReference);
  EXPECT_EQ(DNSServiceUpdateRecord(nullptr, nullptr, 0, length, txt.data(), 0), kDNSServiceErr_BadReference);
  Asked browse;
  ASSERT_EQ(browse.browse(), 0);
  EXPECT_EQ(browse.update(txt), kDNSServiceErr_BadReference);
}

}  // namespace
}  // namespace hark::test
