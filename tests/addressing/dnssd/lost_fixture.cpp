#include "addressing/dnssd/lost_fixture.h"

namespace hark::test {

void LostTest::ExpectAllRefused() {
  EXPECT_LT(seconds_of([] { EXPECT_EQ(daemon_version(), kDnssdServiceNotRunning); }), kLongestCall);
  const double rest = seconds_of([] {
    Asked asked;
    for (int i = 0; i < 10; ++i) {
      EXPECT_EQ(asked.browse(), kDnssdServiceNotRunning);
      EXPECT_EQ(asked.resolve("Gate"), kDnssdServiceNotRunning);
      EXPECT_EQ(asked.query("host2.local."), kDnssdServiceNotRunning);
      EXPECT_EQ(asked.announce({.name = "Gate"}), kDnssdServiceNotRunning);
      EXPECT_EQ(daemon_version(), kDnssdServiceNotRunning);
    }
    EXPECT_FALSE(asked.is_open());
  });
  EXPECT_LT(rest, kAtOnce);
}

void LostTest::ExpectWorks(const char* name) {
  ASSERT_TRUE(Reachable());
  Asked watching;
  ASSERT_EQ(watching.browse(), 0);
  Asked announced;
  ASSERT_EQ(announced.announce({.name = name}), 0);
  EXPECT_TRUE(wait_until([&] { return watching.events(name) == "+"; }));
}

void LostTest::OpenAll() {
  ASSERT_EQ(service.announce({.name = "Gate"}), 0);
  ASSERT_EQ(browse.browse(), 0);
  ASSERT_EQ(details.resolve("Gate"), 0);
  ASSERT_EQ(address.query("host2.local."), 0);
  for (const Asked* asked : All())
    ASSERT_TRUE(asked->wait_told());
}

void LostTest::ExpectAllLost() {
  for (Asked* asked : All()) {
    ASSERT_TRUE(asked->wait_lost());
    asked->told.clear();
  }
  for (int i = 0; i < 3; ++i) {
    for (Asked* asked : All()) {
      EXPECT_TRUE(asked->is_ready());
      EXPECT_EQ(asked->process(), kDnssdServiceNotRunning);
    }
  }
  EXPECT_EQ(service.update(txt_of({"ALT=x"})), kDnssdServiceNotRunning);
}

void LostTest::ExpectNothingTold() {
  for (const Asked* asked : All())
    EXPECT_THAT(asked->told, testing::IsEmpty());
}

void LostTest::EndAll() {
  for (Asked* asked : All())
    asked->end();
}

}  // namespace hark::test
