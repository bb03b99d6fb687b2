// Which formats of an offer are common, what the answer says of each, and G.729's annexb.
#include <gtest/gtest.h>

#include "cpsdp/sdp_fixture.h"

namespace hark::test {
namespace {

// One audio medium of the formats, with the attribute lines.
std::string Audio(std::string_view formats, std::initializer_list<std::string_view> lines = {}) {
  return Session({"m=audio 5004 RTP/AVP " + std::string(formats)}) + Lines(lines);
}

TEST(CpsdpNegotiateFormats, NothingInCommonGivesAMediumWithOurPortAndNoFormats) {
  const Answer answer =
      Negotiate(Session({"m=audio 6000 RTP/AVP 96", "a=rtpmap:96 L24/48000/2"}), Audio("0"));
  EXPECT_EQ(answer.rejected, 0);
  ASSERT_EQ(answer.parms.m_count, 1);
  EXPECT_EQ(answer.Medium().fmt_count, 0);
  EXPECT_EQ(answer.Medium().m_port, 6000);
  EXPECT_EQ(Encode(answer).error, 0);
}

TEST(CpsdpNegotiateFormats, NumbersBelow96AreComparedAsNumbers) {
  struct Row {
    std::string_view local;
    std::string_view offered;
    std::string_view common;
  };
  const Row rows[] = {
      {"0", "0", "0/0"},
      {"0 8", "8 0", "8/8 0/0"},
      {"8", "0 8 3", "8/8"},
      {"0", "8", ""},
      {"95", "95", "95/95"},
      {"96", "96", ""},
      {"0 8 3", "3 9 0", "3/3 0/0"},
      {"0 0", "0", "0/0 0/0"},
      {"0", "0 0", "0/0"},
      {"0 0", "0 0", "0/0 0/0"},
      {"", "0", ""},
      {"0", "", ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.offered) + " to local " + std::string(row.local));
    EXPECT_EQ(Negotiate(Audio(row.local), Audio(row.offered)).Formats(), row.common);
  }
}

TEST(CpsdpNegotiateFormats, NamesOfNumbersBelow96AreNotLookedAt) {
  EXPECT_EQ(Negotiate(Audio("5", {"a=rtpmap:5 one/8000"}), Audio("5", {"a=rtpmap:5 two/16000"})).Formats(),
            "5/5");
  EXPECT_EQ(Negotiate(Audio("5", {"a=rtpmap:5 one/8000"}), Audio("6", {"a=rtpmap:6 one/8000"})).Formats(),
            "");
  EXPECT_EQ(Negotiate(Audio("96", {"a=rtpmap:96 one/8000"}), Audio("95", {"a=rtpmap:95 one/8000"})).Formats(),
            "");
}

TEST(CpsdpNegotiateFormats, DynamicFormatOfTheSameNameAndRateIsCommonUnderBothNumbers) {
  const Answer answer =
      Negotiate(Audio("96", {"a=rtpmap:96 L24/48000/2"}), Audio("97", {"a=rtpmap:97 L24/48000/2"}));
  ASSERT_EQ(answer.Medium().fmt_count, 1);
  EXPECT_EQ(answer.Medium().fmt[0], 97);
  EXPECT_EQ(answer.Medium().fmt_local[0], 96);
  EXPECT_EQ(answer.Text(answer.Medium().rtp_name[0]), "L24");
  EXPECT_EQ(answer.Medium().rtp_rate[0], 48000U);
  EXPECT_EQ(answer.Text(answer.Medium().rtp_param[0]), "2");
}

// The local description has 96 with the first map, the offer 97 with the second one.
TEST(CpsdpNegotiateFormats, DynamicFormatsAreComparedByNameAndRate) {
  struct Row {
    std::string_view local;
    std::string_view offered;
    bool common;
  };
  const Row rows[] = {
      {"L24/48000", "L24/48000", true},
      {"L24/48000", "l24/48000", true},
      {"opus/48000/2", "OPUS/48000", true},
      {"L24/48000", "L24/44100", false},
      {"L24/48000", "L16/48000", false},
      {"L24/48000", "L24/0", false},
      // Kept: the names are compared over the length of the offered one.
      {"L24/48000", "L2/48000", true},
      {"L24/48000", "L/48000", true},
      {"L24/48000", "24/48000", false},
      {"L2/48000", "L24/48000", false},
      {"L24/48000", "/48000", false},
      {"/48000", "/48000", false},
      {"/48000", "L24/48000", false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.offered) + " to local " + std::string(row.local));
    const Answer answer = Negotiate(Audio("96", {"a=rtpmap:96 " + std::string(row.local)}),
                                    Audio("97", {"a=rtpmap:97 " + std::string(row.offered)}));
    EXPECT_EQ(answer.Formats(), row.common ? "97/96" : "");
  }
}

TEST(CpsdpNegotiateFormats, SameDynamicNumberOfAnotherCodecIsNotCommon) {
  EXPECT_EQ(
      Negotiate(Audio("96", {"a=rtpmap:96 L24/48000"}), Audio("96", {"a=rtpmap:96 opus/48000"})).Formats(),
      "");
  EXPECT_EQ(Negotiate(Audio("96"), Audio("96")).Formats(), "");
}

TEST(CpsdpNegotiateFormats, DynamicOfferFindsAStaticLocalFormatThatHasAName) {
  const std::string offer = Audio("97", {"a=rtpmap:97 PCMU/8000"});
  EXPECT_EQ(Negotiate(Audio("0", {"a=rtpmap:0 PCMU/8000"}), offer).Formats(), "97/0");
  EXPECT_EQ(Negotiate(Audio("0"), offer).Formats(), "");
  EXPECT_EQ(Negotiate(Audio("97", {"a=rtpmap:97 PCMU/8000"}), Audio("0", {"a=rtpmap:0 PCMU/8000"})).Formats(),
            "");
}

TEST(CpsdpNegotiateFormats, AnswerKeepsTheOrderOfTheOffer) {
  const Answer answer =
      Negotiate(Audio("0 8 96 98", {"a=rtpmap:96 L24/48000/2", "a=rtpmap:98 opus/48000/2"}),
                Audio("110 9 8 111 0", {"a=rtpmap:110 opus/48000/2", "a=rtpmap:111 L24/48000/2"}));
  EXPECT_EQ(answer.Formats(), "110/98 8/8 111/96 0/0");
}

// Kept: the search goes on behind a match, and a local format is used once.
TEST(CpsdpNegotiateFormats, RepeatedLocalNameGivesAnEntryEach) {
  const std::string local =
      Audio("96 97 98", {"a=rtpmap:96 L24/48000", "a=rtpmap:97 L24/44100", "a=rtpmap:98 L24/48000"});
  EXPECT_EQ(Negotiate(local, Audio("100", {"a=rtpmap:100 L24/48000"})).Formats(), "100/96 100/98");
  // The first offered one has used both.
  EXPECT_EQ(
      Negotiate(local, Audio("100 101", {"a=rtpmap:100 L24/48000", "a=rtpmap:101 L24/48000"})).Formats(),
      "100/96 100/98");
  EXPECT_EQ(
      Negotiate(local, Audio("100 101", {"a=rtpmap:100 L24/44100", "a=rtpmap:101 L24/48000"})).Formats(),
      "100/97 101/96 101/98");
}

TEST(CpsdpNegotiateFormats, LocalFormatIsUsedOnceWithinAMediumAndAgainInTheNext) {
  const std::string_view map = "a=rtpmap:96 L24/48000";
  const Answer answer = Negotiate(Session({"m=audio 1 udp 96", map}),
                                  Session({"m=audio 2 udp 96 97", map, "a=rtpmap:97 L24/48000",
                                           "m=audio 3 udp 98", "a=rtpmap:98 L24/48000"}));
  EXPECT_EQ(answer.Formats(0), "96/96");
  EXPECT_EQ(answer.Formats(1), "98/96");
}

TEST(CpsdpNegotiateFormats, NameAndRateOfTheAnswerAreTheOffers) {
  const Answer answer = Negotiate(Audio("5 96", {"a=rtpmap:5 ours/1", "a=rtpmap:96 Opus/48000"}),
                                  Audio("5 97", {"a=rtpmap:5 theirs/2", "a=rtpmap:97 oPUS/48000"}));
  ASSERT_EQ(answer.Formats(), "5/5 97/96");
  EXPECT_EQ(answer.Text(answer.Medium().rtp_name[0]), "theirs");
  EXPECT_EQ(answer.Medium().rtp_rate[0], 2U);
  EXPECT_EQ(answer.Text(answer.Medium().rtp_name[1]), "oPUS");
}

TEST(CpsdpNegotiateFormats, ParametersAreKeptWhenTheyAreCommonAndDroppedOtherwise) {
  struct Row {
    std::string_view local;
    std::string_view offered;
    std::string_view answered;
  };
  const Row rows[] = {
      {"/2", "/2", "2"},    {"/2", "", ""},     {"", "/2", ""},    {"/2", "/1", ""},
      {"/ab", "/AB", "AB"}, {"/22", "/2", "2"}, {"/2", "/22", ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.offered) + " to local " + std::string(row.local));
    const Answer answer = Negotiate(Audio("96", {"a=rtpmap:96 L24/48000" + std::string(row.local)}),
                                    Audio("97", {"a=rtpmap:97 L24/48000" + std::string(row.offered)}));
    ASSERT_EQ(answer.Formats(), "97/96");
    EXPECT_EQ(answer.Text(answer.Medium().rtp_param[0]), row.answered);
  }
}

TEST(CpsdpNegotiateFormats, FmtpIsTheOffersOrNone) {
  const std::string_view map = "a=rtpmap:96 L24/48000";
  struct Row {
    std::string_view local;
    std::string_view offered;
    std::string_view answered;
  };
  const Row rows[] = {{"a=fmtp:96 ours", "a=fmtp:96 theirs", "theirs"},
                      {"a=mid:1", "a=fmtp:96 theirs; x", "theirs; x"},
                      {"a=fmtp:96 ours", "a=mid:1", ""},
                      {"a=mid:1", "a=mid:1", ""}};
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.offered) + " to local " + std::string(row.local));
    const Answer answer = Negotiate(Audio("96", {map, row.local}), Audio("96", {map, row.offered}));
    ASSERT_EQ(answer.Formats(), "96/96");
    EXPECT_EQ(answer.Fmtp(0), row.answered);
  }
}

TEST(CpsdpNegotiateFormats, TextsFollowTheirFormatWhenItMoves) {
  const Answer answer = Negotiate(Audio("98", {"a=rtpmap:98 L24/48000/2"}),
                                  Audio("0 96 97", {"a=rtpmap:96 opus/48000", "a=fmtp:96 x",
                                                    "a=rtpmap:97 L24/48000/2", "a=fmtp:97 y", "a=fmtp:0 z"}));
  ASSERT_EQ(answer.Formats(), "97/98");
  EXPECT_EQ(answer.Text(answer.Medium().rtp_name[0]), "L24");
  EXPECT_EQ(answer.Text(answer.Medium().rtp_param[0]), "2");
  EXPECT_EQ(answer.Fmtp(0), "y");
}

TEST(CpsdpNegotiateFormats, G729SaysAnnexbUnlessOneSideRefusesIt) {
  const std::string_view texts[] = {"", "annexb=yes", "annexb=no", "annexb=no;x", "annexb=n", "x"};
  for (const std::string_view local : texts) {
    for (const std::string_view offered : texts) {
      SCOPED_TRACE("'" + std::string(offered) + "' to local '" + std::string(local) + "'");
      const Answer answer = Negotiate(Audio("0 18", {"a=fmtp:18 " + std::string(local)}),
                                      Audio("18 0", {"a=fmtp:18 " + std::string(offered)}));
      ASSERT_EQ(answer.Formats(), "18/18 0/0");
      const bool refused = local == "annexb=no" || offered == "annexb=no";
      EXPECT_EQ(answer.Fmtp(0), refused ? "annexb=no" : "annexb=yes");
      EXPECT_EQ(answer.Fmtp(1), "");
    }
  }
}

TEST(CpsdpNegotiateFormats, AnnexbIsSaidForTheCommonFormat18Only) {
  const Answer behind = Negotiate(Audio("18 0"), Audio("8 0 18"));
  ASSERT_EQ(behind.Formats(), "0/0 18/18");
  EXPECT_EQ(behind.Fmtp(0), "");
  EXPECT_EQ(behind.Fmtp(1), "annexb=yes");
  const Answer none = Negotiate(Audio("0"), Audio("18 0", {"a=fmtp:18 annexb=no"}));
  ASSERT_EQ(none.Formats(), "0/0");
  EXPECT_EQ(none.Fmtp(0), "");
  const Answer dynamic = Negotiate(Audio("96", {"a=rtpmap:96 G729/8000"}),
                                   Audio("97", {"a=rtpmap:97 G729/8000", "a=fmtp:97 annexb=no"}));
  ASSERT_EQ(dynamic.Formats(), "97/96");
  EXPECT_EQ(dynamic.Fmtp(0), "annexb=no");
}

TEST(CpsdpNegotiateFormats, AnnexbOfOneMediumDoesNotReachTheNext) {
  const Answer answer = Negotiate(Session({"m=audio 1 udp 18"}),
                                  Session({"m=audio 2 udp 18", "a=fmtp:18 annexb=no", "m=audio 3 udp 18"}));
  EXPECT_EQ(answer.Fmtp(0, 0), "annexb=no");
  EXPECT_EQ(answer.Fmtp(0, 1), "annexb=yes");
}

}  // namespace
}  // namespace hark::test
