// The DNS-SD daemons of the simulated hosts, with their own tools as witnesses: what one announces the others
// see, whatever happens to it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "system/net/host.h"
#include "system/net/test_net.h"

namespace hark::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class DnsSdDaemons : public testing::Test {
 protected:
  void SetUp() override {
    if (!net.why_not().empty()) GTEST_SKIP() << net.why_not();
    ASSERT_TRUE(a.made());
    ASSERT_TRUE(b.made());
  }

  TestNet net;
  Host a{net, 2};
  Host b{net, 3};
};

TEST_F(DnsSdDaemons, SeeWhatOthersAnnounce) {
  const std::string odd = "a \"b\\c. <d>; ü";
  b.announce({{.name = "plain", .txt = {"ALT=Gate one"}}, {.name = odd, .port = 4099, .txt = {"TRGL=\x04"}}});
  ASSERT_TRUE(a.start_discovery());
  const Witness witness(a);
  ASSERT_TRUE(b.start_discovery());
  EXPECT_TRUE(witness.wait_there("plain"));
  EXPECT_TRUE(witness.wait_there(odd));
  const auto details = [&] {
    const auto all = a.look();
    return std::count_if(all.begin(), all.end(), [](const Sighting& seen) { return seen.event == '='; });
  };
  ASSERT_TRUE(wait_until([&] { return details() == 2; }));
  for (const Sighting& seen : a.look()) {
    EXPECT_EQ(seen.interface, "eth0");
    if (seen.event != '=') continue;
    EXPECT_EQ(seen.host, "host3.local");
    EXPECT_EQ(seen.address, "10.77.0.3");
    EXPECT_EQ(seen.port, seen.name == odd ? 4099 : 4013);
    EXPECT_THAT(seen.txt, ElementsAre(seen.name == odd ? "TRGL=\x04" : "ALT=Gate one"));
  }
  b.stop_avahi();
  EXPECT_TRUE(witness.wait_gone("plain"));
  EXPECT_EQ(witness.events("plain"), "+-");
  EXPECT_THAT(witness.names(), IsEmpty());
}

TEST_F(DnsSdDaemons, PublishForATimeOnly) {
  ASSERT_TRUE(a.start_discovery());
  ASSERT_TRUE(b.start_discovery());
  const Witness witness(a);
  {
    const Program publisher = b.publish({.name = "--for a time", .txt = {"RTPA=\xef\xc0\x01\x4d"}});
    EXPECT_TRUE(witness.wait_there("--for a time"));
    ASSERT_TRUE(wait_until([&] { return witness.seen().size() == 2; }));
    EXPECT_THAT(witness.seen().back().txt, ElementsAre("RTPA=\xef\xc0\x01\x4d"));
  }
  EXPECT_TRUE(witness.wait_gone("--for a time"));
}

TEST_F(DnsSdDaemons, CarryAnyName) {
  const std::vector<std::string> names = {"\t<#\"\\", "..",     "\\046", std::string(63, 'x'),
                                          " a ",      "\x01\n", "東京;"};
  ASSERT_TRUE(a.start_discovery());
  ASSERT_TRUE(b.start_discovery());
  const Witness witness(a);
  std::vector<Announced> services;
  for (const std::string& name : names)
    services.push_back({.name = name});
  const std::vector<Program> publishers = b.publish_all(services);
  EXPECT_TRUE(wait_until([&] { return witness.names().size() == names.size(); }));
  EXPECT_THAT(witness.names(), testing::UnorderedElementsAreArray(names));
}

TEST_F(DnsSdDaemons, StartAgainAfterTheyWereKilled) {
  ASSERT_TRUE(a.start_discovery());
  const Witness witness(a);
  b.announce({{.name = "gate"}});
  ASSERT_TRUE(b.start_discovery());
  ASSERT_TRUE(witness.wait_there("gate"));
  b.kill_avahi();
  EXPECT_FALSE(b.avahi().alive());
  ASSERT_TRUE(b.start_avahi());
  b.kill_avahi();
  b.kill_bus();
  ASSERT_TRUE(b.start_discovery());
  b.pause_avahi();
  b.resume_avahi();
  EXPECT_THAT(witness.names(), ElementsAre("gate"));
  b.stop_avahi();
  EXPECT_TRUE(witness.wait_gone("gate"));
}

TEST_F(DnsSdDaemons, LoseAllWithTheirNetworkAndFindItAgain) {
  ASSERT_TRUE(a.start_discovery());
  const Witness witness(a);
  b.announce({{.name = "gate"}});
  ASSERT_TRUE(b.start_discovery());
  ASSERT_TRUE(witness.wait_there("gate"));
  ASSERT_TRUE(a.link_down());
  EXPECT_TRUE(witness.wait_gone("gate"));
  ASSERT_TRUE(a.link_up());
  EXPECT_TRUE(witness.wait_there("gate"));
  ASSERT_TRUE(a.ip("address flush dev eth0\n"));
  EXPECT_TRUE(witness.wait_gone("gate"));
  ASSERT_TRUE(a.move_to(22));
  EXPECT_TRUE(witness.wait_there("gate"));
  ASSERT_TRUE(a.replug(22));
  EXPECT_TRUE(wait_until([&] { return witness.events("gate") == "+-+-+-+"; })) << witness.events("gate");
}

TEST_F(DnsSdDaemons, AreApartOnTheSecondSegment) {
  ASSERT_TRUE(a.add_second_interface());
  ASSERT_TRUE(b.add_second_interface());
  b.announce({{.name = "gate"}});
  ASSERT_TRUE(a.start_discovery());
  const Witness witness(a);
  ASSERT_TRUE(b.start_discovery());
  EXPECT_TRUE(wait_until([&] {
    std::vector<std::string> interfaces;
    for (const Sighting& seen : witness.seen()) {
      if (seen.event == '+') interfaces.push_back(seen.interface);
    }
    std::sort(interfaces.begin(), interfaces.end());
    return interfaces == std::vector<std::string>{"eth0", "eth1"};
  }));
}

}  // namespace
}  // namespace hark::test
