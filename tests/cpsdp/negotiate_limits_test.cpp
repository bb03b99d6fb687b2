// The limits of negotiation: an answer pool without room, full tables, and records that count more than there
// is.
#include <gtest/gtest.h>

#include "cpsdp/sdp_fixture.h"

namespace hark::test {
namespace {

// One format of each kind that gets a text of its own.
const std::string kLocal = Lines({"v=0", "o=harkd 7 8 IN IP4 192.0.2.70", "s=-", "c=IN IP4 192.0.2.71",
                                  "t=0 0", "m=audio 6000 udp 18 101", "c=IN IP4 192.0.2.72",
                                  "a=rtpmap:101 telephone-event/8000", "a=fmtp:101 0-11"});
const std::string kOffer = Session(
    {"m=audio 1 udp 18 101", "c=IN IP4 192.0.2.9", "a=rtpmap:101 telephone-event/8000", "a=fmtp:101 0-15"});

Answer NegotiateIn(std::size_t room, std::string_view local, std::string_view offered) {
  const Description ours = Parse(local);
  Description theirs = Parse(offered);
  return Negotiate(ours, theirs, room);
}

TEST(CpsdpNegotiateLimits, AnswerFitsIntoAPoolOfExactlyItsSize) {
  const Answer wide = NegotiateIn(4096, kLocal, kOffer);
  const Answer exact = NegotiateIn(wide.pool_len, kLocal, kOffer);
  EXPECT_EQ(exact.pool_len, wide.pool_len);
  EXPECT_EQ(Encode(exact).text, Encode(wide).text);
  EXPECT_NE(Encode(exact).text, "");
}

TEST(CpsdpNegotiateLimits, AnswerIsMadeInAPoolOfAnySize) {
  const std::uint32_t full = NegotiateIn(4096, kLocal, kOffer).pool_len;
  for (std::size_t room = 0; room <= full; ++room) {
    SCOPED_TRACE(room);
    const Answer answer = NegotiateIn(room, kLocal, kOffer);
    EXPECT_EQ(answer.rejected, 0);
    EXPECT_EQ(answer.parms.m_count, 1);
    EXPECT_EQ(answer.Formats(), "18/18 101/101");
    EXPECT_EQ(Encode(answer).error, 0);
  }
}

TEST(CpsdpNegotiateLimits, TextsOfAnAnswerAreWholeOrAbsent) {
  const Answer wide = NegotiateIn(4096, kLocal, kOffer);
  for (std::size_t room = 0; room <= wide.pool_len; ++room) {
    SCOPED_TRACE(room);
    const Answer answer = NegotiateIn(room, kLocal, kOffer);
    const auto same_or_none = [&](const cpsdp_text& text, const cpsdp_text& whole) {
      EXPECT_LE(text.offset + text.length, answer.pool_len);
      if (text.empty()) return;
      EXPECT_EQ(answer.Text(text), wide.Text(whole));
    };
    same_or_none(answer.parms.o_address, wide.parms.o_address);
    same_or_none(answer.parms.s_name, wide.parms.s_name);
    same_or_none(answer.parms.c_address, wide.parms.c_address);
    for (std::size_t i = 0; i < 2; ++i) {
      same_or_none(answer.Medium().rtp_name[i], wide.Medium().rtp_name[i]);
      same_or_none(answer.Medium().fmtp[i], wide.Medium().fmtp[i]);
    }
  }
}

TEST(CpsdpNegotiateLimits, OfferOfTheLargestBodyGetsAWholeAnswer) {
  std::string offer = kOffer;
  const std::size_t rest = kCpsdpMaxEncoded - offer.size();
  for (std::size_t left = rest; left > 4;) {
    const std::size_t line = left > 132 ? 128 : left;
    offer += "a=" + std::string(line - 4, 'x') + "\r\n";
    left -= line;
  }
  const Answer answer = NegotiateIn(offer.size() + kCpsdpAnswerAdds, kLocal, offer);
  EXPECT_EQ(Encode(answer).text, Encode(NegotiateIn(4096, kLocal, kOffer)).text);
  EXPECT_NE(Encode(answer).text.find("o=harkd 7 8 IN IP4 192.0.2.70"), std::string::npos);
}

// Each local description has one text only that the answer needs.
TEST(CpsdpNegotiateLimits, TextThatDoesNotFitIsLeftOut) {
  struct Row {
    std::string_view what;
    std::string local;
    cpsdp_text (*text)(const Answer& answer);
    std::string_view value;
  };
  const Row rows[] = {
      {"connection", Lines({"v=0", "c=IN IP4 ours", "m=audio 1 udp 8"}),
       [](const Answer& answer) { return answer.parms.c_address; }, "ours"},
      {"medium's connection", Lines({"v=0", "m=audio 1 udp 8", "c=IN IP4 ours"}),
       [](const Answer& answer) { return answer.Medium().c_address; }, "ours"},
      {"annexb", Lines({"v=0", "m=audio 1 udp 18"}),
       [](const Answer& answer) { return answer.Medium().fmtp[0]; }, "annexb=yes"},
      {"events", Lines({"v=0", "m=audio 1 udp 101", "a=rtpmap:101 telephone-event/8000", "a=fmtp:101 0-11"}),
       [](const Answer& answer) { return answer.Medium().fmtp[0]; }, "0-11"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    const std::size_t full = kOffer.size() + row.value.size();
    const Answer whole = NegotiateIn(full, row.local, kOffer);
    EXPECT_EQ(whole.Text(row.text(whole)), row.value);
    EXPECT_EQ(whole.pool_len, full);
    EXPECT_EQ(whole.Text(whole.parms.s_name), "-");
    for (std::size_t room = kOffer.size(); room < full; ++room) {
      const Answer less = NegotiateIn(room, row.local, kOffer);
      EXPECT_EQ(row.text(less).length, 0) << room;
      EXPECT_EQ(less.Text(less.parms.s_name), "-");
    }
  }
}

TEST(CpsdpNegotiateLimits, SixteenFormatsOfOneNameGiveSixteenEntries) {
  std::string formats;
  std::string maps;
  std::string common;
  for (int number = 100; number < 116; ++number) {
    const std::string text = std::to_string(number);
    formats += " " + text;
    maps += "a=rtpmap:" + text + " L24/48000\r\n";
    common += (common.empty() ? "100/" : " 100/") + text;
  }
  const std::string body = Session({"m=audio 1 udp" + formats}) + maps;
  const Answer answer = Negotiate(body, body);
  EXPECT_EQ(answer.Medium().fmt_count, 16);
  EXPECT_EQ(answer.Formats(), common);
}

TEST(CpsdpNegotiateLimits, FormatsStopAtSixteen) {
  for (const std::uint16_t count : {std::uint16_t{17}, std::uint16_t{65535}}) {
    SCOPED_TRACE(count);
    Description local = Parse(Session({"m=audio 1 udp 0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15"}));
    Description offer = Parse(Session({"m=audio 1 udp 15 14 13 12 11 10 9 8 7 6 5 4 3 2 1 0"}));
    local.parms.media[0]->fmt_count = count;
    offer.parms.media[0]->fmt_count = count;
    const Answer answer = Negotiate(local, offer);
    EXPECT_EQ(answer.Medium().fmt_count, 16);
    EXPECT_EQ(answer.Formats().substr(0, 11), "15/15 14/14");
    EXPECT_EQ(Encode(answer).error, 0);
  }
}

// Fifteen common formats, and a telephone-event of another rate that is noted at the last place of the
// arrays.
TEST(CpsdpNegotiateLimits, EventsAtTheLastPlaceChangeNoFormat) {
  const Answer answer =
      Negotiate(Session({"m=audio 1 udp 101" + Times(15, " 0"), "a=rtpmap:101 telephone-event/8000"}),
                Session({"m=audio 1 udp 0 101", "a=rtpmap:101 telephone-event/48000", "a=fmtp:101 0-15"}));
  EXPECT_EQ(answer.Medium().fmt_count, 15);
  for (std::size_t i = 0; i < 15; ++i) {
    EXPECT_EQ(answer.Fmtp(i), "") << i;
  }
}

TEST(CpsdpNegotiateLimits, CountsAboveTheArraysAreHeldToThem) {
  Description local = Parse(kLocal);
  Description offer = Parse(kOffer);
  for (Description* side : {&local, &offer}) {
    side->parms.e_count = 255;
    side->parms.p_count = 255;
    side->parms.a_count = 255;
    side->parms.m_count = 255;
    side->parms.media[0]->a_count = 255;
  }
  const Answer answer = Negotiate(local, offer);
  EXPECT_EQ(answer.Formats(), "18/18 101/101");
  EXPECT_LE(answer.parms.m_count, kCpsdpMaxMedia);
  EXPECT_EQ(Encode(answer).error, 0);
}

TEST(CpsdpNegotiateLimits, EmptyRecordsGiveAnEmptyAnswer) {
  const Description local;
  Description offer;
  const Answer answer = Negotiate(local, offer, 0);
  EXPECT_EQ(answer.rejected, 0);
  EXPECT_EQ(answer.parms.m_count, 0);
  EXPECT_EQ(answer.pool_len, 0U);
  EXPECT_EQ(Encode(answer).text, Encode(Description{}).text);
}

}  // namespace
}  // namespace hark::test
