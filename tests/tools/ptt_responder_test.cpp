// The simulated device at the multicast group: what it reads, and what it tells the group in time that the
// test moves.
#include "tools/quillsim/ptt_responder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "system/support/ptt_sim.h"
#include "system/support/pump.h"

namespace quillsim {
namespace {

using hark::test::own_ptt_channel;
using hark::test::PttListener;
using hark::test::PttSim;
using hark::test::wait_until;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr int kShortMs = 50;
constexpr int kLeaseMs = 5000;

TEST(PttRequests, AreReadToTheLetterAndWrittenBack) {
  const std::vector<std::string> rows = {"EVENT QnCH#1 ptt=[DOWN,1,5000]",
                                         "EVENT QnCH#32767 ptt=[DOWN,32767,1]", "EVENT QnCH#5 ptt=[UP,7,0]"};
  for (const std::string& row : rows) {
    SCOPED_TRACE(row);
    const std::optional<PttRequest> request = parse_ptt_request(row);
    ASSERT_TRUE(request);
    EXPECT_EQ(ptt_request_text(*request), row);
  }
  EXPECT_EQ(parse_ptt_request("EVENT QnCH#5 ptt=[DOWN,7,5000]"), (PttRequest{5, true, 7, 5000}));
}

TEST(PttRequests, OtherTextIsNone) {
  for (const char* row :
       {"", "EVENT", "event QnCH#1 ptt=[DOWN,1,5000]", "INDI QnCH#1 ptt=[DOWN,1,5000]",
        "EVENT QnCH#0 ptt=[DOWN,1,5000]", "EVENT QnCH#32768 ptt=[DOWN,1,5000]",
        "EVENT QnCH#1 ptt=[DOWN,0,5000]", "EVENT QnCH#1 ptt=[DOWN,32768,5000]", "EVENT QnCH#1 ptt=[DOWN,1,0]",
        "EVENT QnCH#1 ptt=[UP,1,5000]", "EVENT QnCH#1 ptt=[UP,1]", "EVENT QnCH#1 ptt=[down,1,5000]",
        "EVENT QnCH#1 ptt=[DOWN,1,5000", "EVENT QnCH#1 ptt=[DOWN,1,5000]\n",
        "EVENT QnCH#1 ptt=[DOWN, 1,5000]", "EVENT QnCH#1 ifb_qnch=1", "EVENT QnCH#01 ptt=[DOWN,1,5000]"}) {
    EXPECT_EQ(parse_ptt_request(row), std::nullopt) << row;
  }
}

class PttResponderTest : public testing::Test {
 protected:
  void Ask(int src, bool down = true) {
    const std::size_t before = ptt_->requests().size();
    ASSERT_TRUE(listener_.request({channel_, down, src, down ? kLeaseMs : 0}));
    ASSERT_TRUE(wait_until([&] { return ptt_->requests().size() > before; }));
  }
  [[nodiscard]] std::string Indi(int src) const { return Named("INDI", channel_, src); }
  [[nodiscard]] std::string Event(int src) const { return Named("EVENT", channel_, src); }
  [[nodiscard]] static std::string Named(const std::string& word, int channel, int src) {
    return word + " QnCH#" + std::to_string(channel) + " ifb_qnch=" + std::to_string(src);
  }
  // What the group has been told of the channel so far, once `count` texts have come and no more do.
  [[nodiscard]] std::vector<std::string> Told(std::size_t count) {
    EXPECT_TRUE(wait_until([&] { return listener_.texts(channel_).size() >= count; }));
    hark::test::pump_once(kShortMs);
    return listener_.texts(channel_);
  }

  const int channel_ = own_ptt_channel(0);
  PttSim ptt_;
  PttListener listener_;
};

TEST_F(PttResponderTest, WhoAsksFirstHoldsTheChannelUntilTheRelease) {
  Ask(7);
  EXPECT_EQ(ptt_->holder(channel_), 7);
  Ask(8);
  EXPECT_EQ(ptt_->holder(channel_), 7);
  Ask(8, false);
  EXPECT_EQ(ptt_->holder(channel_), 7);
  Ask(7, false);
  EXPECT_EQ(ptt_->holder(channel_), 0);
  EXPECT_THAT(Told(3), ElementsAre(Indi(7), Indi(7), Event(0)));
}

TEST_F(PttResponderTest, LeaseEndsUnlessItIsRenewed) {
  Ask(7);
  ptt_.advance_ms(kLeaseMs - 1);
  Ask(7);
  ptt_.advance_ms(kLeaseMs - 1);
  EXPECT_EQ(ptt_->holder(channel_), 7);
  ptt_.advance_ms(1);
  EXPECT_EQ(ptt_->holder(channel_), 0);
  EXPECT_THAT(Told(3), ElementsAre(Indi(7), Indi(7), Event(0)));
  EXPECT_EQ(ptt_->due(), std::nullopt);
}

TEST_F(PttResponderTest, KeepsSilentWhenToldSo) {
  ptt_->options().answering = false;
  Ask(7);
  EXPECT_EQ(ptt_->holder(channel_), 7);
  ptt_.advance_ms(kLeaseMs);
  EXPECT_EQ(ptt_->holder(channel_), 0);
  EXPECT_THAT(Told(0), IsEmpty());
  EXPECT_TRUE(ptt_->tell(channel_));
  EXPECT_THAT(Told(1), ElementsAre(Event(0)));
}

TEST_F(PttResponderTest, AnswersLateAndSeveralTimes) {
  ptt_->options().late = std::chrono::milliseconds(100);
  ptt_->options().copies = 3;
  Ask(7);
  EXPECT_NE(ptt_->due(), std::nullopt);
  Ask(7, false);
  ptt_.advance_ms(99);
  EXPECT_THAT(Told(1), ElementsAre(Event(0)));
  ptt_.advance_ms(1);
  EXPECT_THAT(Told(4), ElementsAre(Event(0), Indi(7), Indi(7), Indi(7))) << "what was true when it was asked";
}

TEST_F(PttResponderTest, AnswersForAnotherChannel) {
  const int other = own_ptt_channel(1);
  ptt_->options().answer_channel = other;
  Ask(7);
  ASSERT_TRUE(listener_.wait_text(Named("INDI", other, 7)));
  EXPECT_THAT(Told(0), IsEmpty());
}

TEST_F(PttResponderTest, SomebodyElseHoldsWithoutALease) {
  ptt_->hold(channel_, 9);
  ptt_.advance_ms(2 * kLeaseMs);
  Ask(7);
  EXPECT_EQ(ptt_->holder(channel_), 9);
  ptt_->hold(channel_, 0);
  Ask(7);
  EXPECT_EQ(ptt_->holder(channel_), 7);
  EXPECT_THAT(Told(4), ElementsAre(Event(9), Indi(9), Event(0), Indi(7)));
}

TEST_F(PttResponderTest, OtherChannelsAreNotSeenAndOtherTextIsRefused) {
  PttSim everybody({.channels = {own_ptt_channel(3)}});
  ASSERT_TRUE(listener_.request({own_ptt_channel(3), true, 1, kLeaseMs}));
  ASSERT_TRUE(everybody.wait_requests(own_ptt_channel(3), 1));
  EXPECT_THAT(everybody.requests(own_ptt_channel(0)), IsEmpty());
  PttSim elsewhere({.channels = {own_ptt_channel(2)}});
  const std::string marked = "nonsense of " + std::to_string(channel_);
  ASSERT_TRUE(listener_.send_raw(marked));
  const auto refused = [&] {
    for (const Refusal& refusal : ptt_->refused())
      if (refusal.line == marked) return true;
    return false;
  };
  ASSERT_TRUE(wait_until(refused));
  EXPECT_TRUE(ptt_->ever_refused());
  EXPECT_THAT(elsewhere->requests(), IsEmpty());
}

TEST_F(PttResponderTest, WaitsTellWhatTheyMiss) {
  EXPECT_FALSE(ptt_.wait_requests(channel_, 1, kShortMs));
  Ask(7);
  EXPECT_TRUE(ptt_.wait_requests(channel_, 1));
  EXPECT_THAT(ptt_.wait_release(channel_, kShortMs).message(), HasSubstr("ptt=[DOWN,7,5000]"));
  Ask(7, false);
  EXPECT_TRUE(ptt_.wait_release(channel_));
  EXPECT_FALSE(listener_.wait_text("EVENT nothing", kShortMs));
}

TEST(PttResponder, TellsItsPrinter) {
  std::vector<std::string> printed;
  PttResponder ptt({.channels = {own_ptt_channel(0)}},
                   [&](const std::string& line) { printed.push_back(line); });
  const std::string name = "QnCH#" + std::to_string(own_ptt_channel(0));
  EXPECT_FALSE(ptt.open("localhost"));
  EXPECT_FALSE(ptt.open("192.0.2.99")) << "no interface of this host";
  EXPECT_FALSE(ptt.is_open());
  EXPECT_FALSE(ptt.send("x"));
  ptt.hold(own_ptt_channel(0), 9);
  ptt.hold(own_ptt_channel(0), 0);
  EXPECT_THAT(printed,
              ElementsAre("ptt " + name + " held by 9, somebody else", "ptt " + name + " free, given back"));
}

}  // namespace
}  // namespace quillsim
