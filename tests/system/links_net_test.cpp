// Requests to talk on a network where the stations and the device are hosts of their own: the group on a real
// interface, two stations that want the same channel, and floods that would disturb others on the loopback
// interface.
#include <optional>
#include <random>

#include "system/net/net_station.h"
#include "system/net/test_net.h"
#include "system/station_fixture.h"
#include "system/support/ptt_sim.h"

namespace hark::test {
namespace {

constexpr int kChannel = 200;

class LinksOnTheNetwork : public testing::Test {
 protected:
  void SetUp() override {
    if (!net.why_not().empty()) GTEST_SKIP() << net.why_not();
    ptt.emplace(quillsim::PttOptions{.channels = {kChannel}}, net.address());
  }

  TestNet net;
  std::optional<PttSim> ptt;  // at the test's own address
};

// A station whose source has this number, and who uses it.
struct Talker {
  Talker(const TestNet& net, int host, int source) : station(net, host) {
    station.station.write_settings("HARK LABL:\"TALKER\"\nSRC 1 PSNM:\"Main\" RTPA:\"239.192.0." +
                                   std::to_string(source) + ":5004\"\n");
  }
  void Start() {
    ASSERT_TRUE(station.start());
    ASSERT_TRUE(station.connect(client));
    ASSERT_EQ(answers(client, "CALL"), (Lines{"BEGIN", "END"}));
  }
  void Talk(const std::string& what) { ASSERT_TRUE(client.send_line(Line(what))); }
  // What comes next of the talk; confirmations that are said again are passed over.
  [[nodiscard]] testing::AssertionResult Reported(const std::string& what) {
    return client.skip_to(Line(what));
  }
  [[nodiscard]] static std::string Line(const std::string& what) {
    return "CALL URL:\"quillnet:" + ptt_channel_address(kChannel) + ";qntb=1\" " + what;
  }

  NetStation station;
  Client client;
};

TEST_F(LinksOnTheNetwork, TwoStationsWantOneChannelAndTalkOneBehindTheOther) {
  Talker first(net, 2, 1);
  Talker second(net, 3, 2);
  ASSERT_NO_FATAL_FAILURE(first.Start());
  ASSERT_NO_FATAL_FAILURE(second.Start());
  first.Talk("TALK:1");
  ASSERT_TRUE(first.Reported("TALK:r"));
  ASSERT_TRUE(first.Reported("TALK:1"));
  EXPECT_EQ((*ptt)->holder(kChannel), 1);

  second.Talk("TALK:1");
  ASSERT_TRUE(second.Reported("TALK:r"));
  const auto second_asked = [&] {
    int count = 0;
    for (const quillsim::PttRequest& request : (*ptt)->requests())
      count += request.src == 2 ? 1 : 0;
    return count >= 2;
  };
  ASSERT_TRUE(wait_until(second_asked));
  let_it_settle(first.client);
  EXPECT_EQ(answers(second.client, "#"), Lines{}) << "it is not confirmed by what the first is told";
  EXPECT_EQ((*ptt)->holder(kChannel), 1);

  first.Talk("TALK:0");
  ASSERT_TRUE(first.Reported("TALK:0"));
  EXPECT_TRUE(second.Reported("TALK:1")) << "with its next request";
  EXPECT_EQ((*ptt)->holder(kChannel), 2);
  EXPECT_TRUE(first.station.station.ends_clean());
  EXPECT_TRUE(second.station.station.ends_clean());
  EXPECT_TRUE(wait_until([&] { return (*ptt)->holder(kChannel) == 0; })) << "released at the end";
}

TEST_F(LinksOnTheNetwork, FloodsOfGarbageAtTheGroupAreSurvived) {
  Talker talker(net, 2, 1);
  ASSERT_NO_FATAL_FAILURE(talker.Start());
  (*ptt)->options().answering = false;
  talker.Talk("TALK:1");
  ASSERT_TRUE(talker.Reported("TALK:r"));
  const int descriptors = settled_descriptors(talker.station.station, talker.client);
  std::mt19937 random(1);
  const std::string head = "INDI QnCH#" + std::to_string(kChannel) + " ifb_qnch=";
  for (int i = 0; i < 20'000; ++i) {
    std::string text = i % 3 == 0 ? head : std::string();
    for (std::size_t size = i % 100 == 0 ? 30'000 : random() % 100; size > 0; --size)
      text.push_back(static_cast<char>(random() % 256));
    // Might be ours by chance: a digit is not sent where the number of a source is expected.
    if (text.starts_with(head) && text.size() > head.size()) text[head.size()] = '\0';
    (void)(*ptt)->send(text);
    if (i % 2'000 != 0) continue;
    EXPECT_EQ(answers(talker.client, "#"), Lines{}) << "confirmed by garbage";
  }
  // What was sent last may have found the station's buffer full.
  EXPECT_TRUE(wait_until([&] { return (*ptt)->tell(kChannel) && talker.client.has_line(); }));
  EXPECT_TRUE(talker.Reported("TALK:1"));
  EXPECT_TRUE(wait_until([&] { return talker.station.station.open_fds() == descriptors; }));
  EXPECT_TRUE(talker.station.station.ends_clean());
}

TEST_F(LinksOnTheNetwork, GroupIsJoinedAnewWhenTheAddressMoves) {
  Talker talker(net, 2, 1);
  talker.station.station.write_log_params("0.0.0.0", 7);
  ASSERT_NO_FATAL_FAILURE(talker.Start());
  const std::string joined = "qncpptt joined 239.192.255.4 on ";
  ASSERT_TRUE(talker.station.logged(joined + TestNet::address_of(2)));
  ASSERT_TRUE(talker.station.host.move_to(9));
  ASSERT_TRUE(talker.station.logged(joined + TestNet::address_of(9)));
  ASSERT_TRUE(talker.station.connect(talker.client));
  ASSERT_EQ(answers(talker.client, "CALL"), (Lines{"BEGIN", "END"}));
  talker.Talk("TALK:1");
  EXPECT_TRUE(talker.Reported("TALK:r"));
  EXPECT_TRUE(talker.Reported("TALK:1"));
  EXPECT_TRUE(talker.station.station.ends_clean());
}

}  // namespace
}  // namespace hark::test
