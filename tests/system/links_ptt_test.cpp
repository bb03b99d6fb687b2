// Requests to talk, over the real multicast group on the loopback interface. The channels are those of this
// process alone, so that tests that run side by side do not answer each other.
#include <sys/socket.h>

#include <algorithm>

#include "system/links_fixture.h"
#include "system/support/ptt_sim.h"
#include "system/support/sockets.h"

namespace hark::test {
namespace {

using testing::Each;
using testing::Ge;
using testing::IsEmpty;
using testing::SizeIs;

std::string ptt_url(int channel, const std::string& tags = ";qntb=1") {
  return "quillnet:" + ptt_channel_address(channel) + tags;
}

class PttLink : public Links {
 protected:
  [[nodiscard]] static std::string Request(int channel, bool down) {
    return quillsim::ptt_request_text({channel, down, kOwnChannel, down ? 5000 : 0});
  }
  [[nodiscard]] static std::string Status(int channel, int src) {
    return "INDI QnCH#" + std::to_string(channel) + " ifb_qnch=" + std::to_string(src);
  }
  // The talk has been asked for at the group.
  void Ask(const std::string& what, int of) {
    Call(what, "TALK:1");
    ASSERT_TRUE(listener.skip_to(call_line(what, "TALK:r")));
    ASSERT_TRUE(ptt.wait_requests(of, 1));
  }
  // So far there were requests, and behind them one release.
  [[nodiscard]] testing::AssertionResult AskedAndReleasedOnce(int of) const {
    const std::vector<std::string> texts = ptt.requests(of);
    if (texts.size() < 2 || texts.back() != Request(of, false))
      return testing::AssertionFailure() << "not released: " << testing::PrintToString(texts);
    const auto others = std::count(texts.begin(), texts.end() - 1, Request(of, true));
    if (others != static_cast<std::ptrdiff_t>(texts.size()) - 1)
      return testing::AssertionFailure() << "not only requests: " << testing::PrintToString(texts);
    return testing::AssertionSuccess();
  }

  PttSim ptt;
  const int channel = own_ptt_channel(0);
  const std::string url = ptt_url(channel);
};

TEST_F(PttLink, TalkAsksIsConfirmedAndReleases) {
  Ask(url, channel);
  EXPECT_TRUE(Reported(url, "TALK:1"));
  EXPECT_EQ(ptt->holder(channel), kOwnChannel);
  Call(url, "TALK:0");
  EXPECT_TRUE(listener.skip_to(call_line(url, "TALK:0")));
  ASSERT_TRUE(ptt.wait_release(channel));
  EXPECT_TRUE(AskedAndReleasedOnce(channel));
  EXPECT_EQ(ptt->holder(channel), 0);
  EXPECT_THAT(ptt->refused(), IsEmpty());
}

TEST_F(PttLink, RequestIsRepeatedAndThenRenewed) {
  ptt->options().answering = false;
  Ask(url, channel);
  ASSERT_TRUE(ptt.wait_requests(channel, 4)) << "two at the start, then one every two seconds";
  EXPECT_THAT(ptt.requests(channel), Each(Request(channel, true)));
  EXPECT_TRUE(StaysIn(url, 'r'));
  Drop(url);
  ASSERT_TRUE(ptt.wait_release(channel));
  EXPECT_TRUE(AskedAndReleasedOnce(channel));
}

TEST_F(PttLink, ConfirmationLastsFiveSecondsAndCanComeAgain) {
  ptt->options().answering = false;
  Ask(url, channel);
  ASSERT_TRUE(ptt->tell(channel));
  ASSERT_TRUE(Reported(url, "TALK:1"));
  const std::size_t before = ptt.requests(channel).size();
  EXPECT_TRUE(Reported(url, "TALK:0"));
  EXPECT_THAT(ptt.requests(channel), SizeIs(Ge(before + 1))) << "it is asked for all the time";
  EXPECT_TRUE(StaysIn(url, '0'));
  ASSERT_TRUE(ptt->tell(channel));
  EXPECT_TRUE(Reported(url, "TALK:1"));
  Drop(url);
  ASSERT_TRUE(ptt.wait_release(channel));
  EXPECT_TRUE(AskedAndReleasedOnce(channel));
}

TEST_F(PttLink, EachConfirmationIsReported) {
  ptt->options().answering = false;
  Ask(url, channel);
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(ptt->tell(channel));
    EXPECT_TRUE(Reported(url, "TALK:1")) << i;
  }
}

TEST_F(PttLink, SeveralAnswersToOneRequestConfirmAsOne) {
  ptt->options().copies = 3;
  Ask(url, channel);
  for (int i = 0; i < 3; ++i)
    EXPECT_TRUE(Reported(url, "TALK:1")) << i;
  Call(url, "TALK:0");
  ASSERT_TRUE(listener.skip_to(call_line(url, "TALK:0")));
  ASSERT_TRUE(ptt.wait_release(channel));
}

TEST_F(PttLink, LateAnswerToATalkThatHasEndedIsIgnored) {
  ptt->options().late = std::chrono::milliseconds(1);
  Ask(url, channel);
  Drop(url);
  ASSERT_TRUE(ptt.wait_release(channel));
  ptt.advance_ms(1);
  ASSERT_TRUE(NoCalls());
  let_it_settle(client);
  EXPECT_THAT(answers(listener, "#"), IsEmpty());
}

TEST_F(PttLink, ChannelOfSomebodyElseIsWaitedFor) {
  ptt->hold(channel, 9);
  Ask(url, channel);
  ASSERT_TRUE(ptt.wait_requests(channel, 2));
  EXPECT_TRUE(StaysIn(url, 'r'));
  ptt->hold(channel, 0);
  EXPECT_TRUE(Reported(url, "TALK:1")) << "with the next request";
}

TEST_F(PttLink, EveryFormOfAStatusConfirms) {
  ptt->options().answering = false;
  Ask(url, channel);
  const std::string rest = "QnCH#" + std::to_string(channel) + " ifb_qnch=" + std::to_string(kOwnChannel);
  const std::string small = "qnch#" + std::to_string(channel) + " ifb_qnch=" + std::to_string(kOwnChannel);
  for (const std::string& text :
       {"INDI " + rest, "EVENT " + rest, "indi " + rest, "Event " + rest, rest, "indi " + small, small,
        "INDI QnCH#" + std::to_string(channel) + " x=1,ifb_qnch=" + std::to_string(kOwnChannel)}) {
    SCOPED_TRACE(text);
    ASSERT_TRUE(ptt->send(text));
    EXPECT_TRUE(Reported(url, "TALK:1"));
  }
}

TEST_F(PttLink, WhatIsNotForThisTalkIsIgnored) {
  ptt->options().answering = false;
  const int other = own_ptt_channel(1);
  Ask(url, channel);
  const std::string name = "QnCH#" + std::to_string(channel);
  const std::string own = std::to_string(kOwnChannel);
  for (const std::string& text : {Status(other, kOwnChannel),
                                  Status(channel, kOwnChannel + 1),
                                  Status(channel, 0),
                                  Status(other, 0),
                                  std::string(),
                                  std::string("INDI "),
                                  name,
                                  "INDI " + name,
                                  "INDI " + name + " ",
                                  "INDI " + name + " ifb_qnch",
                                  "INDI " + name + " ifb_qnch=",
                                  "INDI " + name + " qnch=" + own,
                                  "INDI " + name + "0 ifb_qnch=" + own,
                                  "INDI  " + name + " ifb_qnch=" + own,
                                  "INDI EVENT " + name + " ifb_qnch=" + own,
                                  "INFO " + name + " ifb_qnch=" + own,
                                  "INDI QnCH" + std::to_string(channel) + " ifb_qnch=" + own,
                                  Request(channel, true),
                                  std::string(64, ' ') + Status(channel, kOwnChannel),
                                  '\0' + Status(channel, kOwnChannel)}) {
    SCOPED_TRACE(text);
    ASSERT_TRUE(ptt->send(text));
    EXPECT_TRUE(StaysIn(url, 'r'));
  }
  ASSERT_TRUE(ptt->tell(channel));
  EXPECT_TRUE(Reported(url, "TALK:1"));
}

TEST_F(PttLink, AnswerForAnotherChannelConfirmsThatOneAlone) {
  const int other = own_ptt_channel(1);
  const std::string other_url = ptt_url(other);
  ptt->options().answering = false;
  Ask(url, channel);
  Ask(other_url, other);
  ASSERT_TRUE(ptt->send(Status(other, kOwnChannel)));
  EXPECT_TRUE(Reported(other_url, "TALK:1"));
  EXPECT_TRUE(StaysIn(url, 'r'));
}

TEST_F(PttLink, SigtermReleasesAllChannels) {
  for (int i = 0; i < kOwnPttChannels; ++i)
    Ask(ptt_url(own_ptt_channel(i)), own_ptt_channel(i));
  EXPECT_EQ(station.terminate(), 0);
  for (int i = 0; i < kOwnPttChannels; ++i) {
    SCOPED_TRACE(i);
    ASSERT_TRUE(ptt.wait_release(own_ptt_channel(i)));
    EXPECT_TRUE(AskedAndReleasedOnce(own_ptt_channel(i)));
  }
}

TEST_F(PttLink, IfbAndRequestInOneTalkAreBothMadeAndGivenBack) {
  FarDeviceSim device({.addresses = {{3, "before"}}});
  ptt->options().answering = false;
  const std::string both = ptt_url(channel, ";qntb=1;ifb=" + device.url(3));
  Ask(both, channel);
  EXPECT_TRUE(Reported(both, "TALK:1")) << "by the destination";
  EXPECT_EQ(device->address(3), kOwnAddress);
  ASSERT_TRUE(ptt->tell(channel));
  EXPECT_TRUE(Reported(both, "TALK:1")) << "by the channel";
  Drop(both);
  EXPECT_TRUE(device.wait_address(3, "before"));
  EXPECT_TRUE(ptt.wait_release(channel));
  EXPECT_TRUE(station.ends_clean());
}

TEST_F(PttLink, NextTalkAsksAgain) {
  Ask(url, channel);
  Call(url, "TALK:0");
  ASSERT_TRUE(ptt.wait_release(channel));
  ASSERT_TRUE(NoCalls());
  ptt->forget_records();
  Ask(url, channel);
  EXPECT_TRUE(listener.skip_to(call_line(url, "TALK:1")));
}

}  // namespace
}  // namespace hark::test
