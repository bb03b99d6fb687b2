// Calls between stations on a network of their own: a station that loses its address, and eight stations that
// call each other at random, for half of the time over a network that loses, doubles and reorders.
#include <algorithm>
#include <array>
#include <chrono>
#include <memory>
#include <random>

#include "system/net/net_station.h"
#include "system/net/test_net.h"
#include "system/sip_relay.h"
#include "system/sip_station.h"

namespace hark::test {
namespace {

using std::chrono::steady_clock;

constexpr auto kTrafficTime = std::chrono::seconds(25);  // of each half
constexpr int kBetweenWishesMs = 25;
constexpr auto kBetweenDrops = std::chrono::seconds(2);
constexpr auto kBetweenLooks = std::chrono::milliseconds(100);
// The last word of a call is resent for 32 s, and a call that nobody answers takes as long.
constexpr int kQuietMs = 100'000;

// A station with its watch; its source's last number is the host's.
struct Party {
  Party(const TestNet& net, int host) : number(host), station(net, host) {
    const std::string text = std::to_string(host);
    station.station.write_harkd_conf("qnr_port " + net.address() + ":" + std::to_string(station.sim.port()) +
                                     "\nsip_port 5060\n");
    station.station.write_settings("HARK LABL:\"PARTY " + text + "\" DROPFLASH:300\nSRC 1 PSNM:\"P" + text +
                                   "\" RTPA:\"239.192.0." + text + ":5004\"\n");
  }
  [[nodiscard]] testing::AssertionResult connect() {
    if (!station.connect(client)) return testing::AssertionFailure() << "no client at " << number;
    if (!watch.connect(station.station.ctrl_port(), TestNet::address_of(1), station.host.address()))
      return testing::AssertionFailure() << "no watch at " << number;
    return testing::AssertionSuccess();
  }
  [[nodiscard]] std::string media() const { return "239.192.0." + std::to_string(number) + ":5004"; }
  // A wish, and the answer to it dropped: it may well be refused.
  void wish(const std::string& far, const std::string& what) {
    EXPECT_TRUE(client.send_line("CALL URL:\"hark:" + far + "\" " + what));
    while (client.has_line())
      (void)client.read_line();
  }
  // Who is in the list of calls.
  [[nodiscard]] std::vector<CallReport> calls() {
    std::vector<CallReport> found;
    const Lines lines = answers(client, "CALL");
    (void)answers(client, "UNSUB CALL");
    const auto end = std::find(lines.begin(), lines.end(), "END");
    for (auto line = std::find(lines.begin(), end, "BEGIN"); line != end; ++line) {
      for (CallReport& report : reports_of(*line))
        found.push_back(std::move(report));
    }
    return found;
  }
  // The sources that the mixer was given, in their order, by the numbers of their stations.
  [[nodiscard]] std::vector<int> heard() const {
    std::vector<int> numbers;
    const std::string start = "src_id=\"239.192.0.";
    for (const std::string& line : station.sim->received()) {
      const std::size_t at = line.find(start);
      if (line.starts_with("set hark#1.sub#1.in#") && at != std::string::npos)
        numbers.push_back(std::atoi(line.c_str() + at + start.size()));
    }
    return numbers;
  }
  [[nodiscard]] bool hears_nobody() const {
    const auto& inputs = station.sim->mixer().sub(quillsim::kSubSpeaker).inputs;
    return std::all_of(inputs.begin(), inputs.end(),
                       [](const auto& input) { return input.second.src_id.empty(); });
  }

  int number;
  NetStation station;
  Client client;
  CallWatch watch;
};

class SipNetwork : public testing::Test {
 protected:
  void SetUp() override {
    if (!net.why_not().empty()) GTEST_SKIP() << net.why_not();
  }

  TestNet net;
};

TEST_F(SipNetwork, StationThatLosesItsAddressInACallIsFreeAndCanBeCalledAgain) {
  Party a(net, 11);
  Party b(net, 12);
  a.station.station.write_log_params("0.0.0.0", 7);
  for (Party* party : {&a, &b}) {
    ASSERT_TRUE(party->station.start());
    ASSERT_TRUE(party->connect());
  }
  const std::string at_a = TestNet::address_of(11);
  const std::string at_b = TestNet::address_of(12);
  // A station that has just got an address needs some seconds to use it.
  const auto talks = [&] {
    int looks = 0;
    const bool rings = wait_until(
        [&] {
          if (looks++ % 200 == 0) a.wish(at_b, "TALK:1");
          return b.watch.letter(at_a, "LISTEN") != "0";
        },
        kSipWaitMs);
    if (!rings) return false;
    b.wish(at_a, "LISTEN:1");
    return wait_until(
        [&] { return a.watch.letter(at_b, "TALK") == "1" && b.watch.letter(at_a, "LISTEN") == "1"; },
        kSipWaitMs);
  };
  ASSERT_TRUE(talks());
  EXPECT_EQ(b.heard(), (std::vector<int>{11}));

  ASSERT_TRUE(a.station.host.ip("address flush dev eth0\n"));
  // It looks for its address every few seconds. Nobody can reach it then, and it can tell nobody.
  ASSERT_TRUE(a.station.logged("DestroyDrop hark:" + at_b + " on 2/0", 1, kSipWaitMs));
  b.wish(at_a, "LISTEN:0");
  EXPECT_TRUE(wait_until([&] { return b.calls().empty() && b.hears_nobody(); }, kSipWaitMs));
  EXPECT_EQ(b.watch.letter(at_a, "LISTEN"), "0");

  ASSERT_TRUE(a.station.host.move_to(11));
  ASSERT_TRUE(a.connect());
  EXPECT_TRUE(wait_until([&] { return a.calls().empty(); }, kSipWaitMs)) << "its lines went with its address";
  ASSERT_TRUE(talks());
  a.wish(at_b, "TALK:0");
  for (Party* party : {&a, &b}) {
    EXPECT_TRUE(wait_until([&] { return party->calls().empty() && party->hears_nobody(); }, kSipWaitMs));
    EXPECT_TRUE(party->station.station.ends_clean());
  }
}

class SipCrowd : public SipNetwork {
 protected:
  static constexpr int kFirst = 11;
  static constexpr int kCount = 8;

  void StartAll() {
    for (int number = kFirst; number < kFirst + kCount; ++number) {
      parties.push_back(std::make_unique<Party>(net, number));
      ASSERT_TRUE(relay.add(number));
      ASSERT_TRUE(parties.back()->station.host.ip(SipRelay::route()));
      ASSERT_TRUE(parties.back()->station.start());
    }
    for (const auto& party : parties) {
      ASSERT_TRUE(party->connect());
      descriptors.push_back(settled_descriptors(party->station.station, party->client));
    }
  }
  // Wishes at random for the time, by whoever, to whomever.
  void Traffic() {
    static constexpr std::array<const char*, 8> kWishes = {"TALK:1",          "LISTEN:1", "TALK:1 LISTEN:1",
                                                           "TALK:1",          "TALK:0",   "LISTEN:0",
                                                           "TALK:0 LISTEN:0", "LISTEN:1"};
    const auto end = steady_clock::now() + kTrafficTime;
    while (steady_clock::now() < end && !HasFailure()) {
      Party& party = *parties[random() % kCount];
      const int far = kFirst + static_cast<int>(random() % kCount);
      const char* wish = kWishes[random() % kWishes.size()];
      if (far != party.number) party.wish(SipRelay::address_of(far), wish);
      const auto next = steady_clock::now() + std::chrono::milliseconds(kBetweenWishesMs);
      (void)wait_until([&] {
        relay.flush();
        return steady_clock::now() >= next;
      });
    }
  }
  // Everybody drops all that he has until nobody has anything. A drop that is wished anew begins anew, so
  // that each is given its time.
  [[nodiscard]] bool AllDropped() {
    auto next = steady_clock::now();
    auto look = next;
    return wait_until(
        [&] {
          relay.flush();
          if (steady_clock::now() < look) return false;
          look = steady_clock::now() + kBetweenLooks;
          const bool wishing = steady_clock::now() >= next;
          if (wishing) next = steady_clock::now() + kBetweenDrops;
          bool free = true;
          for (const auto& party : parties) {
            for (const CallReport& call : party->calls()) {
              free = false;
              if (wishing) party->wish(call.far, "TALK:0 LISTEN:0");
            }
          }
          return free;
        },
        kQuietMs);
  }
  // What the subscriber was told of calls that are heard is what the mixer was given, call by call.
  static void ExpectAgreement(Party& party) {
    party.watch.catch_up();
    std::vector<int> shown;
    for (const CallReport& report : party.watch.reports()) {
      if (report.what == "LISTEN:1") shown.push_back(SipRelay::number_of(report.far));
    }
    (void)wait_until([&] { return party.heard().size() >= shown.size(); }, kSipWaitMs);
    EXPECT_EQ(shown, party.heard());
    EXPECT_GT(shown.size(), 10U);
    for (int far = kFirst; far < kFirst + kCount; ++far) {
      EXPECT_EQ(party.watch.letter(SipRelay::address_of(far), "TALK"), "0") << far;
      EXPECT_EQ(party.watch.letter(SipRelay::address_of(far), "LISTEN"), "0") << far;
    }
  }

  std::mt19937 random{20};
  SipRelay relay{21};
  std::vector<std::unique_ptr<Party>> parties;
  std::vector<int> descriptors;
};

TEST_F(SipCrowd, EightStationsCallEachOtherAtRandomAndNothingIsLeft) {
  ASSERT_NO_FATAL_FAILURE(StartAll());
  Traffic();
  relay.set_bad(10);
  Traffic();
  relay.set_bad(0);
  EXPECT_GT(relay.spoiled(), 20);
  EXPECT_TRUE(AllDropped());
  for (std::size_t i = 0; i < parties.size(); ++i) {
    Party& party = *parties[i];
    SCOPED_TRACE(party.number);
    EXPECT_EQ(party.calls(), std::vector<CallReport>{});
    EXPECT_TRUE(wait_until([&] { return party.hears_nobody(); }, kSipWaitMs));
    ExpectAgreement(party);
    EXPECT_TRUE(wait_until([&] { return party.station.station.open_fds() == descriptors[i]; }, kSipWaitMs));
    EXPECT_TRUE(party.station.sim.refused_nothing());
  }
  for (const auto& party : parties)
    EXPECT_TRUE(party->station.station.ends_clean()) << party->number;
}

}  // namespace
}  // namespace hark::test
