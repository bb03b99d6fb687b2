// What a resolve tells: the full name, the host, the port as on the wire, and the TXT record byte by byte.
#include <arpa/inet.h>

#include "addressing/dnssd/dnssd_fixture.h"

namespace hark::test {
namespace {

using testing::IsEmpty;

class Resolved : public DnssdTest {};

TEST_F(Resolved, TellsAllOfAService) {
  Host there(net, 3);
  ASSERT_TRUE(there.made());
  there.announce({{.name = "Gate", .port = 0x1234, .txt = {"ALT=x"}}});
  StartDaemon();
  ASSERT_TRUE(there.start_discovery());
  Asked details;
  ASSERT_EQ(details.resolve("Gate"), kDNSServiceErr_NoError);
  ASSERT_TRUE(details.wait_told());
  const Told& told = details.told[0];
  EXPECT_EQ(told.error, kDNSServiceErr_NoError);
  EXPECT_EQ(told.interface_index, IndexOf(here));
  EXPECT_EQ(told.name, "Gate._hark._tcp.local.");
  EXPECT_EQ(told.host, "host3.local.");
  EXPECT_EQ(told.port, htons(0x1234));
  EXPECT_EQ(told.data, txt_of({"ALT=x"}));
}

TEST_F(Resolved, TakesWhatABrowseTold) {
  here.announce({{.name = "a.b \\ c"}});
  StartDaemon();
  Asked browse;
  ASSERT_EQ(browse.browse(), 0);
  ASSERT_TRUE(browse.wait_told());
  const Told& seen = browse.told[0];
  Asked details;
  ASSERT_EQ(details.resolve(seen.name.c_str(), seen.domain.c_str(), seen.interface_index), 0);
  ASSERT_TRUE(details.wait_told());
  EXPECT_EQ(labels_of(details.told[0].name)[0], "a.b \\ c");
}

TEST_F(Resolved, TellsAgainWhenTheServiceChanges) {
  StartDaemon();
  Asked service;
  ASSERT_EQ(service.announce({.name = "Gate", .txt = txt_of({"ALT=old"})}), 0);
  Asked details;
  ASSERT_EQ(details.resolve("Gate"), 0);
  ASSERT_TRUE(details.wait_told());
  EXPECT_EQ(details.told[0].data, txt_of({"ALT=old"}));
  ASSERT_TRUE(service.wait_told());
  ASSERT_EQ(service.update(txt_of({"ALT=new"})), 0);
  EXPECT_TRUE(wait_until([&] { return details.told.back().data == txt_of({"ALT=new"}); }));
}

TEST_F(Resolved, WaitsForAServiceThatIsNotThereYet) {
  StartDaemon();
  Asked details;
  ASSERT_EQ(details.resolve("Gate"), 0);
  // The daemon gives up asking for what is not there within 5 s.
  EXPECT_TRUE(stays([&] { return details.told.empty() && details.result == 0; }, 6'000));
  Asked service;
  ASSERT_EQ(service.announce({.name = "Gate"}), 0);
  EXPECT_TRUE(details.wait_told());
}

TEST_F(Resolved, StaysQuietOfAServiceOnAnotherInterface) {
  ASSERT_TRUE(here.add_second_interface());
  StartDaemon();
  Asked service;
  ASSERT_EQ(service.announce({.name = "Gate", .interface_index = IndexOf(here)}), 0);
  ASSERT_TRUE(service.wait_told());
  Asked elsewhere;
  ASSERT_EQ(elsewhere.resolve("Gate", "local.", IndexOf(here, "eth1")), 0);
  Asked details;
  ASSERT_EQ(details.resolve("Gate", "local.", IndexOf(here)), 0);
  ASSERT_TRUE(details.wait_told());
  EXPECT_EQ(details.told[0].interface_index, IndexOf(here));
  EXPECT_THAT(elsewhere.told, IsEmpty());
}

struct TxtRow {
  const char* what;
  std::vector<std::string> items;
};

std::vector<TxtRow> txt_rows() {
  return {
      {"one", {"ALT=Gate"}},
      {"in order", {"ALT=Gate", "TRGL=\x05", "RTPA=\xef\xc0\x01\x4d"}},
      {"in another order", {"RTPA=\xef\xc0\x01\x4d", "TRGL=\x05", "ALT=Gate"}},
      {"doubled keys", {"ALT=first", "alt=second", "ALT=first", "ALT=third"}},
      {"no value", {"ALT=", "TRGL", "RTPA="}},
      {"no key", {"=x", "="}},
      {"binary", {std::string("TRGL=\0", 6), std::string("RTPA=\0\xff\x80\0", 9), "\x01\xff"}},
      {"not UTF-8", {"ALT=M\xfcnchen"}},
      {"the longest item", {std::string(255, 'x'), "A=" + std::string(253, '\xff')}},
      {"a thousand bytes",
       {std::string(249, 'a'), std::string(249, 'b'), std::string(249, 'c'), std::string(249, 'd')}},
  };
}

// The record query tells the bytes on the wire: both ways are compared with it.
TEST_F(Resolved, HasTheTextByteByByteInItsOrder) {
  StartDaemon();
  std::vector<std::unique_ptr<Asked>> services;
  for (const TxtRow& row : txt_rows()) {
    services.push_back(std::make_unique<Asked>());
    ASSERT_EQ(services.back()->announce({.name = row.what, .txt = txt_of(row.items)}), 0) << row.what;
  }
  for (const TxtRow& row : txt_rows()) {
    SCOPED_TRACE(row.what);
    const std::string want = txt_of(row.items);
    Asked details;
    ASSERT_EQ(details.resolve(row.what), 0);
    ASSERT_TRUE(details.wait_told());
    EXPECT_EQ(details.told[0].data, want);
    Asked record;
    ASSERT_EQ(record.query(details.told[0].name.c_str(), kDNSServiceType_TXT), 0);
    ASSERT_TRUE(record.wait_told());
    EXPECT_EQ(record.told[0].data, want) << "on the wire";
  }
}

// RFC 6763 section 6.1: empty items are ignored.
TEST_F(Resolved, MayLackItemsWithoutAnything) {
  StartDaemon();
  Asked service;
  ASSERT_EQ(service.announce({.name = "Gate", .txt = txt_of({"", "ALT=x", "", "TRGL=\x05", ""})}), 0);
  Asked only_empty;
  ASSERT_EQ(only_empty.announce({.name = "Empty", .txt = txt_of({""})}), 0);
  const auto without_empty = [](std::string txt) {
    std::erase(txt, '\0');
    return txt;
  };
  Asked details;
  ASSERT_EQ(details.resolve("Gate"), 0);
  ASSERT_TRUE(details.wait_told());
  EXPECT_EQ(without_empty(details.told[0].data), txt_of({"ALT=x", "TRGL=\x05"}));
  Asked empty;
  ASSERT_EQ(empty.resolve("Empty"), 0);
  ASSERT_TRUE(empty.wait_told());
  EXPECT_EQ(empty.told[0].data, txt_of({""}));
}

}  // namespace
}  // namespace hark::test
