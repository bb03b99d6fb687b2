// Callbacks that change what is open: they end their own reference, others and all, and start new ones.
#include <algorithm>
#include <memory>

#include "addressing/dnssd/dnssd_fixture.h"

namespace hark::test {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

constexpr int kServices = 5;

class Reentrant : public DnssdTest {
 protected:
  void SetUp() override {
    DnssdTest::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    AnnounceMany(kServices);
    StartDaemon();
    // The daemon's own services stand; a browse is told of all of them in one go.
    Asked browse;
    ASSERT_EQ(browse.browse(), 0);
    ASSERT_TRUE(browse.wait_told(kServices));
  }
  // A browse that comes later has been told all, and so have those before it.
  static void Settle() {
    Asked after;
    ASSERT_EQ(after.browse(), 0);
    ASSERT_TRUE(after.wait_told(kServices));
  }
};

TEST_F(Reentrant, EndsItsOwnReference) {
  Asked browse;
  browse.then = [&] { browse.end(); };
  ASSERT_EQ(browse.browse(), 0);
  ASSERT_TRUE(browse.wait_told());
  EXPECT_FALSE(browse.is_open());
  Settle();
  EXPECT_THAT(browse.told, SizeIs(1)) << "nothing is told of a reference that is gone";
}

TEST_F(Reentrant, EndsAnotherReferenceThatWasToBeTold) {
  Asked first;
  Asked second;
  first.then = [&] { second.end(); };
  second.then = [&] { first.end(); };
  ASSERT_EQ(first.browse(), 0);
  ASSERT_EQ(second.browse(), 0);
  ASSERT_TRUE(wait_until([&] { return first.told.size() + second.told.size() >= kServices; }));
  Settle();
  EXPECT_NE(first.is_open(), second.is_open());
  EXPECT_THAT((first.is_open() ? first : second).told, SizeIs(kServices));
  EXPECT_THAT((first.is_open() ? second : first).told, IsEmpty());
}

TEST_F(Reentrant, EndsAllReferencesOfAllKinds) {
  const int before = count_descriptors();
  Asked service;
  Asked details;
  Asked address;
  Asked browse;
  browse.then = [&] {
    for (Asked* asked : {&service, &details, &address, &browse})
      asked->end();
  };
  ASSERT_EQ(service.announce({.name = "Gate"}), 0);
  ASSERT_EQ(details.resolve("S0"), 0);
  ASSERT_EQ(address.query("host2.local."), 0);
  ASSERT_EQ(browse.browse(), 0);
  ASSERT_TRUE(browse.wait_told());
  EXPECT_EQ(browse.result, kDNSServiceErr_NoError);
  EXPECT_EQ(count_descriptors(), before);
  Settle();
  EXPECT_THAT(browse.told, SizeIs(1));
}

TEST_F(Reentrant, EndsItsOwnReferenceOfEachKind) {
  for (const int kind : {0, 1, 2, 3}) {
    SCOPED_TRACE(kind);
    Asked asked;
    asked.then = [&] { asked.end(); };
    switch (kind) {
      case 0:
        ASSERT_EQ(asked.announce({.name = "Gate"}), 0);
        break;
      case 1:
        ASSERT_EQ(asked.resolve("S0"), 0);
        break;
      case 2:
        ASSERT_EQ(asked.query("host2.local."), 0);
        break;
      default:
        ASSERT_EQ(asked.browse(), 0);
    }
    ASSERT_TRUE(asked.wait_told());
    EXPECT_FALSE(asked.is_open());
    EXPECT_EQ(asked.result, kDNSServiceErr_NoError);
  }
}

TEST_F(Reentrant, StartsNewReferences) {
  std::vector<std::unique_ptr<Asked>> details;
  std::vector<std::unique_ptr<Asked>> addresses;
  Asked browse;
  const auto ask_address = [&](const Told& told) {
    addresses.push_back(std::make_unique<Asked>());
    EXPECT_EQ(addresses.back()->query(told.host.c_str(), kDNSServiceType_A, told.interface_index), 0);
  };
  browse.then = [&] {
    const Told& seen = browse.told.back();
    details.push_back(std::make_unique<Asked>());
    Asked& one = *details.back();
    one.then = [&] { ask_address(one.told.back()); };
    EXPECT_EQ(one.resolve(seen.name.c_str(), seen.domain.c_str(), seen.interface_index), 0);
  };
  ASSERT_EQ(browse.browse(), 0);
  EXPECT_TRUE(wait_until([&] {
    return addresses.size() == kServices && std::all_of(addresses.begin(), addresses.end(),
                                                        [](const auto& one) { return !one->told.empty(); });
  }));
  EXPECT_EQ(browse.names().size(), static_cast<std::size_t>(kServices));
}

TEST_F(Reentrant, EndsAndStartsItsReferenceAnew) {
  Asked browse;
  int rounds = 0;
  browse.then = [&] {
    browse.end();
    if (++rounds < 20) {
      EXPECT_EQ(browse.browse(), 0);
    }
  };
  ASSERT_EQ(browse.browse(), 0);
  ASSERT_TRUE(wait_until([&] { return rounds == 20; }));
  EXPECT_THAT(browse.told, SizeIs(20));
}

TEST_F(Reentrant, ProcessesReferencesWhileOneIsProcessed) {
  Asked first;
  Asked second;
  first.then = [&] {
    EXPECT_EQ(DNSServiceProcessResult(second.ref()), kDNSServiceErr_NoError);
    EXPECT_EQ(DNSServiceProcessResult(first.ref()), kDNSServiceErr_NoError);
  };
  ASSERT_EQ(first.browse(), 0);
  ASSERT_EQ(second.browse(), 0);
  ASSERT_TRUE(first.wait_told(kServices));
  ASSERT_TRUE(second.wait_told(kServices));
  Settle();
  EXPECT_THAT(first.told, SizeIs(kServices));
  EXPECT_THAT(second.told, SizeIs(kServices));
}

TEST_F(Reentrant, AsksForTheDaemonsVersion) {
  Asked browse;
  DNSServiceErrorType error = -1;
  browse.then = [&] { error = daemon_version(); };
  ASSERT_EQ(browse.browse(), 0);
  ASSERT_TRUE(browse.wait_told(kServices));
  EXPECT_EQ(error, kDNSServiceErr_NoError);
}

TEST_F(Reentrant, UpdatesItsOwnRecord) {
  Asked service;
  service.then = [&] { EXPECT_EQ(service.update(txt_of({"ALT=x"})), 0); };
  ASSERT_EQ(service.announce({.name = "Gate"}), 0);
  ASSERT_TRUE(service.wait_told());
  Asked details;
  ASSERT_EQ(details.resolve("Gate"), 0);
  EXPECT_TRUE(
      wait_until([&] { return !details.told.empty() && details.told.back().data == txt_of({"ALT=x"}); }));
}

}  // namespace
}  // namespace hark::test
