// Names that others have: a new one is taken, or the caller is told, as it wishes; and names of all kinds
// that are free.
#include <algorithm>

#include "addressing/dnssd/dnssd_fixture.h"

namespace hark::test {
namespace {

class TakenName : public DnssdTest {
 protected:
  void SetUp() override {
    DnssdTest::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    StartDaemon();
  }
};

TEST_F(TakenName, OfTheSameHostGetsANumber) {
  Asked first;
  ASSERT_EQ(first.announce({.name = "Gate"}), 0);
  ASSERT_TRUE(first.wait_told());
  Asked second;
  Asked third;
  std::uint16_t port = 5000;
  for (Asked* service : {&second, &third}) {
    ASSERT_EQ(service->announce({.name = "Gate", .port = ++port}), 0);
    ASSERT_TRUE(service->wait_told());
    EXPECT_EQ(service->told[0].error, 0);
  }
  EXPECT_EQ(second.told[0].name, "Gate #2");
  EXPECT_EQ(third.told[0].name, "Gate #3");
  EXPECT_EQ(first.told.size(), 1U);
}

// The same name for the same port is the same service, told twice.
TEST_F(TakenName, OfTheSameServiceIsShared) {
  Asked first;
  ASSERT_EQ(first.announce({.name = "Gate"}), 0);
  ASSERT_TRUE(first.wait_told());
  Asked second;
  ASSERT_EQ(second.announce({.name = "Gate", .flags = kDNSServiceFlagsNoAutoRename}), 0);
  ASSERT_TRUE(second.wait_told());
  EXPECT_EQ(second.told[0].error, 0);
  EXPECT_EQ(second.told[0].name, "Gate");
}

TEST_F(TakenName, OfAnotherHostGetsANumber) {
  Host there(net, 3);
  ASSERT_TRUE(there.made());
  ASSERT_TRUE(there.start_discovery());
  const Program other = there.publish({.name = "Gate"});
  Asked service;
  ASSERT_EQ(service.announce({.name = "Gate"}), 0);
  ASSERT_TRUE(service.wait_told());
  EXPECT_EQ(service.told[0].error, 0);
  EXPECT_EQ(service.told[0].name, "Gate #2");
  ASSERT_EQ(service.update(txt_of({"ALT=x"})), 0) << "an update finds it by its new name";
  Asked details;
  ASSERT_EQ(details.resolve("Gate #2"), 0);
  EXPECT_TRUE(
      wait_until([&] { return !details.told.empty() && details.told.back().data == txt_of({"ALT=x"}); }));
}

TEST_F(TakenName, OfTheSameHostIsToldIfItShallStay) {
  Asked first;
  ASSERT_EQ(first.announce({.name = "Gate"}), 0);
  ASSERT_TRUE(first.wait_told());
  Asked second;
  ASSERT_EQ(second.announce({.name = "Gate", .port = 5000, .flags = kDNSServiceFlagsNoAutoRename}),
            kDNSServiceErr_NoError)
      << "a conflict is told by the callback";
  ASSERT_TRUE(second.wait_told());
  EXPECT_EQ(second.told[0].error, kDNSServiceErr_NameConflict);
}

TEST_F(TakenName, OfAnotherHostIsToldIfItShallStay) {
  Host there(net, 3);
  ASSERT_TRUE(there.made());
  ASSERT_TRUE(there.start_discovery());
  const Program other = there.publish({.name = "Gate"});
  Asked service;
  ASSERT_EQ(service.announce({.name = "Gate", .flags = kDNSServiceFlagsNoAutoRename}), 0);
  ASSERT_TRUE(service.wait_told());
  EXPECT_EQ(service.told[0].error, kDNSServiceErr_NameConflict);
  EXPECT_EQ(service.told.size(), 1U);
}

class OddName : public TakenName {
 protected:
  [[nodiscard]] static const std::vector<std::string>& Names() {
    static const std::vector<std::string> names = {
        "Gate",
        "two words",
        " blanks around ",
        "a.b.c",
        ".",
        "ends in a dot.",
        "a\\b",
        "\\",
        "ends in \\",
        "back\\046slash",
        "Gr\xc3\xbcn \xe6\x9d\xb1\xe4\xba\xac",
        "50% %s %n",
        "tab\tand\nline",
        "\x01\x7f",
        std::string(63, 'x'),
        std::string(63, '.'),
        std::string(63, '\\'),
        std::string(61, ' ') + "\xc3\xbc",
    };
    return names;
  }
};

TEST_F(OddName, GoesThroughRegisterBrowseAndResolveUnchanged) {
  std::vector<std::unique_ptr<Asked>> services;
  Asked browse;
  ASSERT_EQ(browse.browse(), 0);
  for (const std::string& name : Names()) {
    services.push_back(std::make_unique<Asked>());
    ASSERT_EQ(services.back()->announce({.name = name.c_str()}), 0) << name;
  }
  std::vector<std::string> sorted = Names();
  std::sort(sorted.begin(), sorted.end());
  EXPECT_TRUE(wait_until([&] { return browse.names() == sorted; })) << testing::PrintToString(browse.names());
  for (std::size_t i = 0; i < Names().size(); ++i) {
    const std::string& name = Names()[i];
    SCOPED_TRACE(name);
    ASSERT_TRUE(services[i]->wait_told());
    EXPECT_EQ(services[i]->told[0].error, 0);
    EXPECT_EQ(services[i]->told[0].name, name);
    EXPECT_EQ(browse.events(name), "+");
    Asked details;
    ASSERT_EQ(details.resolve(name.c_str()), 0);
    ASSERT_TRUE(details.wait_told());
    EXPECT_THAT(labels_of(details.told[0].name), testing::ElementsAre(name, "_hark", "_tcp", "local", ""));
    Asked record;
    ASSERT_EQ(record.query(details.told[0].name.c_str(), kDNSServiceType_SRV), 0);
    EXPECT_TRUE(record.wait_told()) << "the full name asks for the same";
  }
}

TEST_F(OddName, IsEscapedInTheFullName) {
  struct Row {
    const char* name;
    const char* full;
  };
  for (const Row& row : {Row{"Gate", "Gate._hark._tcp.local."}, Row{"a.b", "a\\.b._hark._tcp.local."},
                         Row{"a\\b", "a\\\\b._hark._tcp.local."}, Row{"a b", "a\\032b._hark._tcp.local."}}) {
    SCOPED_TRACE(row.name);
    Asked service;
    ASSERT_EQ(service.announce({.name = row.name}), 0);
    Asked details;
    ASSERT_EQ(details.resolve(row.name), 0);
    ASSERT_TRUE(details.wait_told());
    EXPECT_EQ(details.told[0].name, row.full);
  }
}

// As dns_sd.h has it: a name of more than 63 bytes is cut, unless it shall stay as it is.
TEST_F(OddName, IsCutTo63BytesIfItMayBeChanged) {
  struct Row {
    std::string given;
    std::string taken;
  };
  for (const Row& row : {Row{std::string(64, 'x'), std::string(63, 'x')},
                         Row{std::string(62, 'x') + "\xc3\xbc", std::string(62, 'x')}}) {
    SCOPED_TRACE(row.given);
    Asked service;
    ASSERT_EQ(service.announce({.name = row.given.c_str()}), 0);
    ASSERT_TRUE(service.wait_told());
    EXPECT_EQ(service.told[0].error, 0);
    EXPECT_EQ(service.told[0].name, row.taken);
  }
  Asked fixed;
  EXPECT_EQ(fixed.announce({.name = std::string(64, 'x').c_str(), .flags = kDNSServiceFlagsNoAutoRename}),
            kDNSServiceErr_BadParam);
}

TEST_F(OddName, Of63BytesKeepsThatLengthWithANumber) {
  const std::string name(63, 'x');
  Asked first;
  ASSERT_EQ(first.announce({.name = name.c_str()}), 0);
  ASSERT_TRUE(first.wait_told());
  Asked second;
  ASSERT_EQ(second.announce({.name = name.c_str(), .port = 5000}), 0);
  ASSERT_TRUE(second.wait_told());
  EXPECT_EQ(second.told[0].error, 0);
  EXPECT_EQ(second.told[0].name, std::string(60, 'x') + " #2");
}

}  // namespace
}  // namespace hark::test
