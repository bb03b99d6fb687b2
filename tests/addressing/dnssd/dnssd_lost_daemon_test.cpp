// The DNS-SD daemon is not there, dies, hangs and comes back.
#include <poll.h>

#include <memory>

#include "addressing/dnssd/lost_fixture.h"

namespace hark::test {
namespace {

using testing::IsEmpty;

class DaemonLost : public LostTest {};

TEST_F(DaemonLost, IsToldAtOnceWhenThereIsNoBus) {
  ExpectAllRefused();
  StartDaemon();
  ExpectWorks();
}

TEST_F(DaemonLost, IsToldAtOnceWhenOnlyTheBusIsThere) {
  ASSERT_TRUE(here.start_bus());
  const int before = count_descriptors();
  ExpectAllRefused();
  EXPECT_EQ(count_descriptors(), before);
  ASSERT_TRUE(here.start_avahi());
  ExpectWorks();
}

TEST_F(DaemonLost, IsToldToEveryReferenceWhenItIsKilled) {
  StartDaemon();
  const int before = count_descriptors();
  OpenAll();
  here.kill_avahi();
  ExpectAllLost();
  ExpectAllRefused();
  ASSERT_TRUE(here.start_avahi());
  ExpectWorks();
  for (Asked* asked : All())
    EXPECT_EQ(asked->process(), kDnssdServiceNotRunning) << "a lost reference stays lost";
  ExpectNothingTold();
  EndAll();
  EXPECT_EQ(count_descriptors(), before);
}

TEST_F(DaemonLost, IsToldAfterAnOrderlyRestart) {
  StartDaemon();
  OpenAll();
  here.stop_avahi();
  ASSERT_TRUE(here.start_avahi());
  ExpectAllLost();
  EndAll();
  ASSERT_TRUE(Reachable());
  OpenAll();
}

TEST_F(DaemonLost, IsToldWhileRepliesWait) {
  constexpr std::size_t kMany = 50;
  AnnounceMany(kMany);
  StartDaemon();
  ASSERT_EQ(browse.browse(), 0);
  ASSERT_TRUE(browse.wait_told(kMany));
  bool lost = false;
  int told_after = 0;
  Asked late;
  late.then = [&] {
    if (lost) ++told_after;
    // Others are served while the daemon ends; what they are told until then is no matter.
    here.kill_avahi();
    for (int i = 0; i < 5'000 && daemon_version() != kDnssdServiceNotRunning; ++i)
      (void)::poll(nullptr, 0, 1);
    lost = true;
  };
  ASSERT_EQ(late.browse(), 0);
  ASSERT_TRUE(late.wait_lost());
  EXPECT_TRUE(lost);
  EXPECT_EQ(told_after, 0);
  EXPECT_EQ(late.process(), kDnssdServiceNotRunning);
  EXPECT_EQ(told_after, 0) << "after the loss nothing is told";
}

TEST_F(DaemonLost, HoldsUpOneCallOnlyWhenItHangs) {
  StartDaemon();
  OpenAll();
  here.pause_avahi();
  Asked more;
  EXPECT_LT(seconds_of([&] { EXPECT_EQ(more.browse(), kDnssdServiceNotRunning); }), kLongestCall);
  ExpectAllRefused();
  ExpectAllLost();
  EXPECT_LT(seconds_of([&] { EndAll(); }), kAtOnce);
  here.resume_avahi();
  ExpectWorks();
}

TEST_F(DaemonLost, HoldsUpNoProcessingWhenItHangs) {
  StartDaemon();
  OpenAll();
  here.pause_avahi();
  const double seconds = seconds_of([&] {
    for (int i = 0; i < 100; ++i) {
      for (Asked* asked : All())
        EXPECT_EQ(asked->process(), kDNSServiceErr_NoError);
    }
  });
  EXPECT_LT(seconds, kAtOnce);
  here.resume_avahi();
  // It was slow, and is not lost.
  Asked more;
  ASSERT_EQ(more.announce({.name = "Again"}), 0);
  EXPECT_TRUE(wait_until([&] { return browse.events("Again") == "+"; }));
}

TEST_F(DaemonLost, HoldsUpAnUpdateForABoundedTimeWhenItHangs) {
  StartDaemon();
  OpenAll();
  here.pause_avahi();
  EXPECT_LT(seconds_of([&] { EXPECT_EQ(service.update(txt_of({"ALT=x"})), kDnssdServiceNotRunning); }),
            kLongestCall);
  ExpectAllLost();
  here.resume_avahi();
  ExpectWorks();
  ExpectNothingTold();
}

class DaemonHangs : public LostTest {
 protected:
  static constexpr int kReferences = 100;
};

TEST_F(DaemonHangs, AndAHundredReferencesEndInBoundedTimeInEachState) {
  AnnounceMany(1);
  for (const bool told : {false, true}) {
    SCOPED_TRACE(told ? "all were told" : "just started");
    StartDaemon();
    const int before = count_descriptors();
    std::vector<std::unique_ptr<Asked>> all;
    for (int i = 0; i < kReferences; i += 4) {
      for (int kind = 0; kind < 4; ++kind)
        all.push_back(std::make_unique<Asked>());
      const auto last = all.end();
      const std::string name = "T" + std::to_string(i);
      ASSERT_EQ((*(last - 1))->announce({.name = name.c_str()}), 0);
      ASSERT_EQ((*(last - 2))->browse(), 0);
      ASSERT_EQ((*(last - 3))->resolve("S0"), 0);
      ASSERT_EQ((*(last - 4))->query("host2.local."), 0);
    }
    for (const auto& asked : all) {
      if (told) {
        ASSERT_TRUE(asked->wait_told());
      }
    }
    here.pause_avahi();
    EXPECT_LT(seconds_of([&] { all.clear(); }), 2 + kAtOnce) << "of all together";
    EXPECT_EQ(count_descriptors(), before);
    here.kill_avahi();
    here.kill_bus();
  }
}

TEST_F(DaemonHangs, AndAHundredLostReferencesEndAtOnce) {
  StartDaemon();
  std::vector<std::unique_ptr<Asked>> all;
  for (int i = 0; i < kReferences; ++i) {
    all.push_back(std::make_unique<Asked>());
    ASSERT_EQ(all.back()->browse(), 0);
  }
  here.pause_avahi();
  Asked more;
  ASSERT_EQ(more.resolve("Gate"), kDnssdServiceNotRunning);
  EXPECT_LT(seconds_of([&] { all.clear(); }), kAtOnce);
}

TEST_F(DaemonHangs, FromTheFirstCallOn) {
  StartDaemon();
  here.pause_avahi();
  const int before = count_descriptors();
  ExpectAllRefused();
  EXPECT_EQ(count_descriptors(), before);
  here.resume_avahi();
  ExpectWorks();
}

}  // namespace
}  // namespace hark::test
