// The library in a loop of its user's: one descriptor for everything, no thread, no call that waits.
#include <poll.h>

#include <memory>

#include "addressing/dnssd/dnssd_fixture.h"

namespace hark::test {
namespace {

using testing::IsEmpty;

class InALoop : public DnssdTest {};

TEST_F(InALoop, ReturnsAtOnceWhenNothingWaits) {
  StartDaemon();
  Asked browse;
  ASSERT_EQ(browse.browse(), 0);
  ASSERT_TRUE(wait_until([&] { return !browse.is_ready(); }));
  const double seconds = seconds_of([&] {
    for (int i = 0; i < 100; ++i)
      EXPECT_EQ(DNSServiceProcessResult(browse.ref()), kDNSServiceErr_NoError);
  });
  EXPECT_LT(seconds, 1) << "of a hundred calls";
  EXPECT_THAT(browse.told, IsEmpty());
}

TEST_F(InALoop, TellsNothingToAReferenceThatOthersRepliesCameFor) {
  AnnounceMany(3);
  StartDaemon();
  Asked quiet;
  ASSERT_EQ(quiet.browse(0, "_other._tcp"), 0);
  Asked browse;
  ASSERT_EQ(browse.browse(), 0);
  ASSERT_TRUE(wait_until([&] { return browse.is_ready() || !browse.told.empty(); }));
  EXPECT_EQ(quiet.process(), kDNSServiceErr_NoError);
  EXPECT_TRUE(browse.wait_told(3));
  EXPECT_THAT(quiet.told, IsEmpty());
}

TEST_F(InALoop, HasOneDescriptorForAllReferencesAndNoThread) {
  AnnounceMany(1);
  StartDaemon();
  const int threads = count_threads();
  const int before = count_descriptors();
  std::vector<std::unique_ptr<Asked>> all;
  const auto one_more = [&](auto start) {
    all.push_back(std::make_unique<Asked>());
    EXPECT_EQ(start(*all.back()), kDNSServiceErr_NoError);
  };
  one_more([](Asked& asked) { return asked.browse(); });
  const int with_one = count_descriptors();
  for (int i = 0; i < 50; ++i) {
    one_more([](Asked& asked) { return asked.browse(); });
    one_more([](Asked& asked) { return asked.resolve("S0"); });
    one_more([](Asked& asked) { return asked.query("host2.local."); });
    one_more([&](Asked& asked) { return asked.announce({.name = ("T" + std::to_string(i)).c_str()}); });
  }
  for (const auto& asked : all) {
    EXPECT_EQ(asked->fd(), all[0]->fd());
    EXPECT_TRUE(asked->wait_told());
  }
  EXPECT_GE(all[0]->fd(), 0);
  // What libavahi-client plans for later takes a descriptor while it waits.
  EXPECT_LE(count_descriptors(), with_one + 2);
  EXPECT_EQ(count_threads(), threads);
  all.clear();
  EXPECT_EQ(count_descriptors(), before);
}

TEST_F(InALoop, LeavesNoDescriptorBehind) {
  AnnounceMany(1);
  StartDaemon();
  const int before = count_descriptors();
  for (int i = 0; i < 10; ++i) {
    Asked browse;
    ASSERT_EQ(browse.browse(), 0);
    Asked details;
    ASSERT_EQ(details.resolve("S0"), 0);
    if (i % 2 == 0) {
      ASSERT_TRUE(details.wait_told());
    }
    EXPECT_GT(count_descriptors(), before);
    browse.end();
    details.end();
    EXPECT_EQ(count_descriptors(), before);
  }
}

TEST_F(InALoop, StaysReadyUntilAllIsTold) {
  constexpr std::size_t kMany = 100;
  AnnounceMany(kMany);
  StartDaemon();
  Asked first;
  ASSERT_EQ(first.browse(), 0);
  ASSERT_TRUE(wait_until([&] { return first.names().size() == kMany; }, 30'000));
  // Of all that the daemon knows a browse is told at once; who takes long over one ends the round with it.
  DNSServiceRef ref = nullptr;
  std::size_t told = 0;
  const auto count = [](DNSServiceRef, DNSServiceFlags, std::uint32_t, DNSServiceErrorType, const char*,
                        const char*, const char*, void* context) {
    if (++*static_cast<std::size_t*>(context) == 1) (void)::poll(nullptr, 0, 50);
  };
  ASSERT_EQ(DNSServiceBrowse(&ref, 0, 0, kType, nullptr, count, &told), 0);
  int rounds_with_more = 0;
  ASSERT_TRUE(wait_until([&] {
    if (!first.is_ready()) return told == kMany;
    const std::size_t before = told;
    EXPECT_EQ(DNSServiceProcessResult(ref), kDNSServiceErr_NoError);
    if (told > before && told < kMany && first.is_ready()) ++rounds_with_more;
    return told == kMany;
  }));
  EXPECT_GT(rounds_with_more, 0);
  EXPECT_TRUE(wait_until([&] { return !first.is_ready(); })) << "nothing is left";
  DNSServiceRefDeallocate(ref);
}

TEST_F(InALoop, IsNotReadyForRepliesThatAreDroppedWithTheirReference) {
  AnnounceMany(20);
  StartDaemon();
  Asked other;
  ASSERT_EQ(other.browse(0, "_other._tcp"), 0);
  Asked all;
  ASSERT_EQ(all.browse(), 0);
  ASSERT_TRUE(all.wait_told(20));
  ASSERT_TRUE(wait_until([&] { return !other.is_ready(); }));
  // Processed by nobody: the other one takes its replies from the daemon, and leaves them waiting.
  DNSServiceRef ref = nullptr;
  const auto never = [](DNSServiceRef, DNSServiceFlags, std::uint32_t, DNSServiceErrorType, const char*,
                        const char*, const char*, void*) { ADD_FAILURE() << "it was never processed"; };
  ASSERT_EQ(DNSServiceBrowse(&ref, 0, 0, kType, nullptr, never, nullptr), 0);
  EXPECT_TRUE(stays(
      [&] {
        (void)other.process();
        return true;
      },
      200));
  EXPECT_TRUE(other.is_ready());
  DNSServiceRefDeallocate(ref);
  EXPECT_TRUE(wait_until([&] { return !other.is_ready(); }));
}

}  // namespace
}  // namespace hark::test
