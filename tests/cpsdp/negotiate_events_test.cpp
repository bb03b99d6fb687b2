// The telephone-events of an answer: lists of values as bits, and the values that both sides have as a list.
#include <gtest/gtest.h>

#include <bitset>

#include "cpsdp/sdp_fixture.h"

namespace hark::test {
namespace {

std::bitset<256> Bits(std::string_view list) {
  const std::vector<char> exact(list.begin(), list.end());
  std::bitset<256> bits;
  cpsdp_map_list_of_telephone_event_values({exact.data(), exact.size()}, bits);
  return bits;
}

// The bits as "1 2 3".
std::string Written(const std::bitset<256>& bits) {
  std::string text;
  for (std::size_t i = 0; i < bits.size(); ++i) {
    if (bits[i]) {
      text.append(text.empty() ? "" : " ").append(std::to_string(i));
    }
  }
  return text;
}

TEST(CpsdpEvents, ListIsReadAsBits) {
  struct Row {
    std::string_view list;
    std::string_view bits;
  };
  const Row rows[] = {
      {"0", "0"},
      {"5", "5"},
      {"0-3", "0 1 2 3"},
      {"1,3,5-7", "1 3 5 6 7"},
      {"5-7,6-8", "5 6 7 8"},
      {"7,1", "1 7"},
      {"9-9", "9"},
      {"007", "7"},
      {"254-255", "254 255"},
      {" 1, 2", "1 2"},
      // It ends at what cannot be read.
      {"", ""},
      {"x", ""},
      {",1", ""},
      {"-", ""},
      {"1,", "1"},
      {"1,,2", "1"},
      {"1,x", "1"},
      {"1;2", "1"},
      {"1 ,2", "1"},
      {"1,2-", "1"},
      {"2-x,3", ""},
      {"1-2-3,4", "1 2"},
      {"1-2x,4", "1 2"},
      {"3-1", ""},
      {"3-1,5", "5"},
      // Values without a bit.
      {"256", ""},
      {"1,256,2", "1 2"},
      {"253-300,1", "1 253 254 255"},
      {"300-400,1", "1"},
      {"254-99999999999999999999", "254 255"},
      {"99999999999999999999,1", "1"},
      {"18446744073709551617,2", "2"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.list);
    EXPECT_EQ(Written(Bits(row.list)), row.bits);
  }
}

TEST(CpsdpEvents, HugeRangeSetsAllBits) {
  EXPECT_TRUE(Bits("0-255").all());
  EXPECT_TRUE(Bits("0-18446744073709551615").all());
}

TEST(CpsdpEvents, ListIsReadFor256Items) {
  EXPECT_EQ(Written(Bits(Times(255, "0,") + "7")), "0 7");
  EXPECT_EQ(Written(Bits(Times(256, "0,") + "7")), "0");
}

constexpr std::string_view kMap = "a=rtpmap:101 telephone-event/8000";

// A description whose only format is a telephone-event with the list.
std::string Events(std::string_view list) {
  return Session({"m=audio 5004 RTP/AVP 101", kMap, "a=fmtp:101 " + std::string(list)});
}

struct CommonRow {
  std::string_view offered;
  std::string_view local;
  std::string_view answered;
};

void CheckBothWays(std::span<const CommonRow> rows) {
  for (const CommonRow& row : rows) {
    SCOPED_TRACE(std::string(row.offered) + " and " + std::string(row.local));
    const Answer answer = Negotiate(Events(row.local), Events(row.offered));
    ASSERT_EQ(answer.Formats(), "101/101");
    EXPECT_EQ(answer.Fmtp(0), row.answered);
    EXPECT_EQ(Negotiate(Events(row.offered), Events(row.local)).Fmtp(0), row.answered);
  }
}

TEST(CpsdpNegotiateEvents, CommonValuesAreWrittenAsRanges) {
  const CommonRow rows[] = {
      {"0-15", "0-11", "0-11"},
      {"0-15", "0-15", "0-15"},
      {"0-15,66", "0-11,66,70", "0-11,66"},
      {"0-15,66,70-72", "0-255", "0-15,66,70-72"},
      {"0-15", "8-20", "0,8-15"},
      {"0,2,4", "0-3", "0,2"},
      {"0-10,12-20", "5-15", "0,5-10,12-15"},
      {"0-1", "0-1", "0-1"},
      {"0", "0", "0"},
      {"0,2", "0,2", "0,2"},
      {"0,2-3", "0,2-3", "0,2-3"},
  };
  CheckBothWays(rows);
}

// Kept: value 0 counts as part of the first range.
TEST(CpsdpNegotiateEvents, ValueZeroIsAlwaysInTheAnswer) {
  const CommonRow rows[] = {
      {"1-15", "1-15", "0-15"}, {"0-15", "1-5,8", "0-5,8"}, {"1", "1", "0-1"},    {"16", "16", "0,16"},
      {"1-3", "4-6", "0"},      {"x", "0-15", "0"},         {"2", "0-15", "0,2"},
  };
  CheckBothWays(rows);
}

TEST(CpsdpNegotiateEvents, ListsReachToTheLastValues) {
  const CommonRow rows[] = {
      {"0-255", "0-255", "0-255"},
      {"0-254", "0-255", "0-254"},
      {"250-255", "0-255", "0,250-255"},
      {"0,254", "0-255", "0,254"},
      {"253", "0-255", "0,253"},
      {"254-255", "0-255", "0,254-255"},
      {"0-252,254-255", "0-255", "0-252,254-255"},
      // Kept: the search for the next range ends at 254, so that a lone 255 is not found.
      {"0,255", "0-255", "0"},
      {"0-3,255", "0-255", "0-3"},
  };
  CheckBothWays(rows);
}

TEST(CpsdpNegotiateEvents, NameIsReadInAnyCase) {
  const Answer answer =
      Negotiate(Session({"m=audio 1 udp 100", "a=rtpmap:100 Telephone-Event/8000", "a=fmtp:100 0-11"}),
                Session({"m=audio 1 udp 101", "a=rtpmap:101 TELEPHONE-EVENT/8000", "a=fmtp:101 0-15"}));
  ASSERT_EQ(answer.Formats(), "101/100");
  EXPECT_EQ(answer.Fmtp(0), "0-11");
}

TEST(CpsdpNegotiateEvents, ListStaysBesideOtherFormats) {
  const Answer answer = Negotiate(
      Session({"m=audio 1 udp 101 96", kMap, "a=fmtp:101 0-11", "a=rtpmap:96 L24/48000"}),
      Session({"m=audio 1 udp 97 0 101", "a=rtpmap:97 L24/48000", "a=fmtp:97 x", kMap, "a=fmtp:101 0-15"}));
  ASSERT_EQ(answer.Formats(), "97/96 101/101");
  EXPECT_EQ(answer.Fmtp(0), "x");
  EXPECT_EQ(answer.Fmtp(1), "0-11");
}

TEST(CpsdpNegotiateEvents, FormatThatIsNotCommonGivesNoList) {
  const Answer answer =
      Negotiate(Session({"m=audio 1 udp 0 101"}), Session({"m=audio 1 udp 0 101", kMap, "a=fmtp:101 0-15"}));
  ASSERT_EQ(answer.Formats(), "0/0");
  EXPECT_EQ(answer.Fmtp(0), "");
}

TEST(CpsdpNegotiateEvents, SideWithoutListLeavesValueZero) {
  const std::string none = Session({"m=audio 1 RTP/AVP 101", kMap});
  for (const auto& [local, offer] :
       {std::pair(none, Events("0-15")), std::pair(Events("0-15"), none), std::pair(none, none)}) {
    const Answer answer = Negotiate(local, offer);
    ASSERT_EQ(answer.Formats(), "101/101");
    EXPECT_EQ(answer.Fmtp(0), "0");
  }
}

// Kept: without a list of its own a format reads what stands at the start of its pool.
TEST(CpsdpNegotiateEvents, FormatWithoutListReadsTheStartOfItsPool) {
  testing::internal::CaptureStdout();
  const std::string none = "7=x\r\n" + Session({"m=audio 1 RTP/AVP 101", kMap});
  EXPECT_EQ(Negotiate(none, Events("0-15")).Fmtp(0), "0,7");
  EXPECT_EQ(Negotiate(Events("0-15"), none).Fmtp(0), "0,7");
  (void)testing::internal::GetCapturedStdout();
}

TEST(CpsdpNegotiateEvents, ListEndsWithItsText) {
  // Digits stand right behind both lists in their pools.
  Description local = Parse(Events("0-1"));
  Description offer = Parse(Events("0-1"));
  local.parms.media[0]->fmtp[0] = local.Add("0-1");
  (void)local.Add("5,9-20");
  offer.parms.media[0]->fmtp[0] = offer.Add("0-1");
  (void)offer.Add("5,9-20");
  EXPECT_EQ(Negotiate(local, offer).Fmtp(0), "0-1");
}

// Kept: the pair is noted by its names alone, before the rates are compared, and the last such pair wins.
TEST(CpsdpNegotiateEvents, LastPairOfTheNameGetsTheList) {
  const std::string_view lines[] = {"a=rtpmap:101 telephone-event/8000",
                                    "a=rtpmap:102 telephone-event/48000"};
  const Answer answer =
      Negotiate(Session({"m=audio 1 udp 101 102", lines[0], "a=fmtp:101 0-5", lines[1], "a=fmtp:102 0-9"}),
                Session({"m=audio 1 udp 101 102", lines[0], "a=fmtp:101 0-15", lines[1], "a=fmtp:102 0-15"}));
  ASSERT_EQ(answer.Formats(), "101/101 102/102");
  EXPECT_EQ(answer.Fmtp(0), "0-15");
  EXPECT_EQ(answer.Fmtp(1), "0-9");
}

TEST(CpsdpNegotiateEvents, PairOfAnotherRateWritesItsListAtItsPlace) {
  const Answer answer =
      Negotiate(Session({"m=audio 1 udp 101 0", "a=rtpmap:101 telephone-event/48000", "a=fmtp:101 0-5"}),
                Session({"m=audio 1 udp 101 0", kMap, "a=fmtp:101 0-15"}));
  ASSERT_EQ(answer.Formats(), "0/0");
  EXPECT_EQ(answer.Fmtp(0), "0-5");
}

TEST(CpsdpNegotiateEvents, PairOfAnotherRateAtTheEndChangesNoFormat) {
  const Answer answer =
      Negotiate(Session({"m=audio 1 udp 0 101", "a=rtpmap:101 telephone-event/48000", "a=fmtp:101 0-5"}),
                Session({"m=audio 1 udp 0 101", kMap, "a=fmtp:101 0-15"}));
  ASSERT_EQ(answer.Formats(), "0/0");
  EXPECT_EQ(answer.Fmtp(0), "");
  EXPECT_EQ(Encode(answer).error, 0);
}

TEST(CpsdpNegotiateEvents, ListOfOneMediumDoesNotReachTheNext) {
  const Answer answer = Negotiate(Session({"m=audio 1 udp 101 0", kMap, "a=fmtp:101 0-11"}),
                                  Session({"m=audio 1 udp 101", kMap, "a=fmtp:101 0-15", "m=audio 1 udp 0",
                                           "m=audio 2 udp 0 101", kMap, "a=fmtp:101 0-3"}));
  EXPECT_EQ(answer.Fmtp(0, 0), "0-11");
  EXPECT_EQ(answer.Fmtp(0, 1), "");
  EXPECT_EQ(answer.Fmtp(0, 2), "");
  EXPECT_EQ(answer.Fmtp(1, 2), "0-3");
}

// A hundred single values in common, of which only 63 fit into a text.
TEST(CpsdpNegotiateEvents, RangesBehindTheLongestTextAreLeftOut) {
  std::string offered = "220-254";
  std::string locals = "0-219";
  std::string answered = "0";
  for (int value = 100; value < 220; value += 2) {
    offered.append(",").append(std::to_string(value));
  }
  for (int value = 220; value < 256; value += 2) {
    locals.append(",").append(std::to_string(value));
  }
  for (int value = 100; answered.size() + 4 <= kCpsdpMaxText; value += 2) {
    answered.append(",").append(std::to_string(value));
  }
  Description local = Parse(Events("0"));
  Description offer = Parse(Events("0"));
  local.parms.media[0]->fmtp[0] = local.Add(locals);
  offer.parms.media[0]->fmtp[0] = offer.Add(offered);
  EXPECT_EQ(Negotiate(local, offer, 4096).Fmtp(0), answered);
}

}  // namespace
}  // namespace hark::test
