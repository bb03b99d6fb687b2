// Many stations, and a DNS-SD daemon that is lost again and again: nothing is forgotten, nothing grows.
#include <iostream>

#include "system/net/discovery_fixture.h"

namespace hark::test {
namespace {

class ManyStations : public DiscoveryTest {
 protected:
  // A host that announces stations "first" to "first + count - 1", each with all details.
  void Announce(Host& host, int first, int count) {
    std::vector<Announced> services;
    for (int i = first; i < first + count; ++i) {
      services.push_back({.name = NameOf(i),
                          .port = 5000 + i,
                          .txt = {"ALT=Alt " + std::to_string(i), "TRGL=\x04", "RTPA=\xef\xc0\x01\x01"}});
    }
    host.announce(services);
    ASSERT_TRUE(host.made());
    ASSERT_TRUE(host.start_discovery());
  }
  static std::string NameOf(int i) { return "Studio " + std::to_string(i); }
  // How many of the first `count` are in the file with all that was announced of them.
  [[nodiscard]] int Complete(int count, const std::string& address) const {
    int complete = 0;
    const std::string table = "\n" + a.table();
    for (int i = 0; i < count; ++i) {
      const std::string entry = "\n" + NameOf(i) + " <hark:" + address + ">;trgl=4\n\talt Alt " +
                                std::to_string(i) + "\n\tharkd " + std::to_string(5000 + i) +
                                "\n\trtpa 239.192.1.1\n";
      if (table.find(entry) != std::string::npos) ++complete;
    }
    return complete;
  }
  void Report(const std::string& what) {
    RecordProperty(what + "_kib", static_cast<int>(a.station.resident_kib()));
    std::cout << what << ": " << a.station.resident_kib() << " KiB, " << a.station.open_fds()
              << " descriptors, " << a.station.cpu_ms() << " ms of CPU\n";
  }

  NetStation a{net, 2};
  Desk desk;
};

TEST_F(ManyStations, AreAllFound) {
  constexpr int kCount = 500;
  constexpr int kLimitMs = 120'000;
  Host others(net, 3);
  Announce(others, 0, kCount);
  Boot(a, desk);
  Report("before");
  const int descriptors = a.station.open_fds();
  EXPECT_TRUE(wait_until([&] { return Complete(kCount, "10.77.0.3") == kCount; }, kLimitMs))
      << Complete(kCount, "10.77.0.3") << " of " << kCount;
  Report("all");
  EXPECT_LT(a.station.open_fds(), descriptors + 20);
  EXPECT_EQ(a.threads(), 1);
  EXPECT_LT(desk.answer_ms(), kNotHeldUpMs);
  // They all go at once.
  others.stop_avahi();
  EXPECT_TRUE(a.wait_found(1, kLimitMs));
  Report("none");
  EXPECT_TRUE(a.station.ends_clean());
}

// The daemon dies at any moment: while the station connects, asks, and takes in answers.
TEST_F(ManyStations, AreFoundAgainAfterAHundredRestartsOfTheDaemon) {
  constexpr int kCount = 50;
  constexpr int kRestarts = 100;
  Host others(net, 3);
  Announce(others, 0, kCount);
  Boot(a, desk);
  ASSERT_TRUE(wait_until([&] { return Complete(kCount, "10.77.0.3") == kCount; }, 20'000));
  const int descriptors = a.station.open_fds();
  Report("before");
  int waited_for = 0;
  for (int i = 0; i < kRestarts; ++i) {
    a.host.kill_avahi();
    a.host.launch_avahi();
    const int reconnected = a.log_count("mdns reconnected");
    if (i % 2 == 0) {
      // So many are back, from none to all.
      const auto come_back = [&] {
        return a.log_count("mdns reconnected") > reconnected && Complete(kCount, "10.77.0.3") >= i / 2;
      };
      if (wait_until(come_back, 4'000)) ++waited_for;
    } else {
      (void)wait_until([&] { return a.host.avahi().said("Network interface enumeration completed"); }, 200);
    }
    ASSERT_TRUE(a.station.alive()) << "restart " << i;
  }
  EXPECT_TRUE(wait_until([&] { return Complete(kCount, "10.77.0.3") == kCount; }, 20'000))
      << Complete(kCount, "10.77.0.3") << " of " << kCount;
  Report("behind");
  EXPECT_LE(a.station.open_fds(), descriptors);
  EXPECT_EQ(a.threads(), 1);
  EXPECT_GT(a.log_count("mdns failure"), kRestarts / 4);
  EXPECT_GT(waited_for, kRestarts / 10) << "the daemon never lived long enough";
  std::cout << waited_for << " times the stations were back before the next restart\n";
  EXPECT_LT(desk.answer_ms(), kHeldUpOnceMs);
  EXPECT_TRUE(a.station.ends_clean());
}

}  // namespace
}  // namespace hark::test
