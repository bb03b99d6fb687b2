// The limits of the parser: long words, many words, long texts, many formats, attributes and media, and
// numbers at the ends of their fields.
#include <gtest/gtest.h>

#include <limits>

#include "cpsdp/sdp_fixture.h"

namespace hark::test {
namespace {

TEST(CpsdpParseLimits, WordOf129CharactersPassesAndOf130Fails) {
  struct Row {
    std::string head;  // the line before the word
    std::string tail;
  };
  const Row rows[] = {
      {Lines({"v=0"}) + "s=", ""},
      {Lines({"v=0"}) + "s=x ", " y"},
      {Lines({"v=0"}) + "o=", " 1 2 IN IP4 h"},
      {Lines({"v=0"}) + "o=- 1 2 IN IP4 ", ""},
      {Lines({"v=0"}) + "u=", ""},
      {Lines({"v=0"}) + "x=", ""},
      {Session({}) + "a=", ""},
      {InMedia({}) + "a=rtpmap:96 ", ""},
      {InMedia({}) + "a=fmtp:96 a ", ""},
      {InMedia({}) + "a=", " x"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.head + "..." + row.tail);
    EXPECT_EQ(Parse(row.head + Times(kCpsdpMaxToken, "x") + row.tail + "\r\n").reason, 0);
    EXPECT_EQ(Parse(row.head + Times(kCpsdpMaxToken + 1, "x") + row.tail + "\r\n").reason, 10);
    EXPECT_EQ(Parse(row.head + Times(400, "x") + row.tail + "\r\n").reason, 10);
  }
}

TEST(CpsdpParseLimits, WordOf129CharactersIsKeptWhole) {
  const std::string word = Times(129, "x");
  const Description d = Parse(Lines({"v=0", "s=-", "u=" + word}));
  ASSERT_EQ(d.reason, 0);
  EXPECT_EQ(d.Text(d.parms.u_uri), word);
}

TEST(CpsdpParseLimits, WordsBehindThe32ndStillCountForATextOfTheWholeLine) {
  for (const std::size_t words : {31U, 32U, 33U, 34U, 100U}) {
    SCOPED_TRACE(words);
    const std::string text = Times(words - 1, "x ") + "y";
    const Description d = Parse(Session({"a=" + text, "m=audio 1 udp 0", "i=" + text, "a=" + text}));
    ASSERT_EQ(d.reason, 0);
    EXPECT_EQ(d.Text(d.parms.a_attr[0]), text);
    EXPECT_EQ(d.Text(d.Medium().i_info), text);
    EXPECT_EQ(d.Text(d.Medium().a_attr[0]), text);
  }
}

TEST(CpsdpParseLimits, WordsBehindThe32ndCountAsWords) {
  const std::string words = Times(40, " 1");
  EXPECT_EQ(Parse("v=" + words + "\r\n").reason, 4);
  EXPECT_EQ(Parse("v=0\r\no=" + words + "\r\n").reason, 7);
  EXPECT_EQ(Parse("v=0\r\nt=" + words + "\r\n").reason, 28);
  EXPECT_EQ(Parse(Session({"m=audio 1 udp" + words})).reason, 40);
  EXPECT_EQ(Parse(Session({"m=audio 1 udp" + Times(29, " 1")})).reason, 40);
  EXPECT_EQ(Parse(Session({"m=audio 1 udp" + Times(30, " 1")})).reason, 40);
  EXPECT_EQ(Parse(InMedia({"a=fmtp:96" + words})).reason, 0);
}

TEST(CpsdpParseLimits, LongWordBehindThe32ndFails) {
  EXPECT_EQ(Parse("v=0\r\ns=" + Times(40, "x ") + Times(130, "y") + "\r\n").reason, 10);
}

TEST(CpsdpParseLimits, TextOfAWholeLineIsCutTo255Characters) {
  for (const std::size_t length : {254U, 255U, 256U, 259U, 1000U}) {
    SCOPED_TRACE(length);
    std::string text = Times(100, Times(99, "x") + " ").substr(0, length);
    text.back() = 'y';
    const std::string kept = text.substr(0, kCpsdpMaxText);
    const Description d = Parse(Lines({"v=0", "s=" + text, "i=" + text, "r=" + text, "z=" + text, "a=" + text,
                                       "m=audio 1 udp 0", "i=" + text, "a=" + text}));
    ASSERT_EQ(d.reason, 0);
    EXPECT_EQ(d.Text(d.parms.s_name), kept);
    EXPECT_EQ(d.Text(d.parms.i_info), kept);
    EXPECT_EQ(d.Text(d.parms.r_repeat), kept);
    EXPECT_EQ(d.Text(d.parms.z_zone), kept);
    EXPECT_EQ(d.Text(d.parms.a_attr[0]), kept);
    EXPECT_EQ(d.Text(d.Medium().i_info), kept);
    EXPECT_EQ(d.Text(d.Medium().a_attr[0]), kept);
  }
}

TEST(CpsdpParseLimits, FmtpOf255CharactersPassesAndOf256Fails) {
  const std::string text = Times(127, "x") + " " + Times(127, "y");
  const Description d = Parse(InMedia({"a=fmtp:96 " + text}));
  ASSERT_EQ(d.reason, 0);
  EXPECT_EQ(d.Text(d.Medium().fmtp[2]), text);
  EXPECT_EQ(Parse(InMedia({"a=fmtp:96 " + text + "z"})).reason, 55);
  EXPECT_EQ(Parse(InMedia({"a=fmtp:96 " + Times(300, "x ")})).reason, 55);
}

TEST(CpsdpParseLimits, SixteenFormatsPassAndSeventeenFail) {
  const std::string_view line = "m=audio 1 udp 0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15";
  const Description d = Parse(Session({line}));
  ASSERT_EQ(d.reason, 0);
  EXPECT_EQ(d.Medium().fmt_count, 16);
  EXPECT_EQ(d.Medium().fmt[15], 15);
  const Description more = Parse(Session({std::string(line) + " 16"}));
  EXPECT_EQ(more.reason, 40);
  EXPECT_EQ(more.parms.m_count, 0);
}

TEST(CpsdpParseLimits, SixteenAttributesPassAndSeventeenFail) {
  const Description d =
      Parse(Session({}) + Times(16, "a=x\r\n") + "m=audio 1 udp 0\r\n" + Times(16, "a=y\r\n"));
  ASSERT_EQ(d.reason, 0);
  EXPECT_EQ(d.parms.a_count, 16);
  EXPECT_EQ(d.Medium().a_count, 16);
  EXPECT_EQ(d.Text(d.Medium().a_attr[15]), "y");
  EXPECT_EQ(Parse(Session({}) + Times(17, "a=x\r\n")).reason, 37);
  EXPECT_EQ(Parse(InMedia({}) + Times(17, "a=x\r\n")).reason, 53);
}

TEST(CpsdpParseLimits, AttributesWithFieldsDoNotCountAsAttributes) {
  const std::string body = InMedia({}) + Times(16, "a=x\r\n") +
                           Times(20, Lines({"a=rtpmap:96 x/1", "a=fmtp:96 y", "a=ptime:1", "a=sendonly"}));
  const Description d = Parse(body);
  EXPECT_EQ(d.reason, 0);
  EXPECT_EQ(d.Medium().a_count, 16);
}

TEST(CpsdpParseLimits, FourMediaPassAndTheFifthFailsWithFourRecords) {
  const std::string four = Session({}) + Times(4, "m=audio 1 udp 0\r\n");
  EXPECT_EQ(Parse(four).reason, 0);
  for (const std::string_view fifth : {"m=audio 1 udp 0\r\n", "m=", "m=\r\n", "m=audio 1\r\n"}) {
    SCOPED_TRACE(fifth);
    const Description d = Parse(four + std::string(fifth));
    EXPECT_EQ(d.reason, 1);
    EXPECT_EQ(d.parms.m_count, 4);
    for (std::size_t i = 0; i < kCpsdpMaxMedia; ++i) {
      EXPECT_NE(d.parms.media[i], nullptr);
    }
  }
}

TEST(CpsdpParseLimits, SignedNumbersAreHeldToTheirField) {
  constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
  constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
  struct Row {
    std::string_view text;
    std::int32_t number;
  };
  const Row rows[] = {
      {"2147483647", kMax},
      {"2147483648", kMax},
      {"99999999999999999999999", kMax},
      {"18446744073709551621", kMax},
      {"-2147483648", kMin},
      {"-2147483649", kMin},
      {"-99999999999999999999999", kMin},
      {"0", 0},
      {"-1", -1},
      {"007", 7},
      {"12x", 12},
      {"x", 0},
      {"-", 0},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    const std::string text(row.text);
    const Description d = Parse(Lines({"v=0", "o=- " + text + " " + text + " IN IP4 h"}));
    ASSERT_EQ(d.reason, 0);
    EXPECT_EQ(d.parms.o_session_id, row.number);
    EXPECT_EQ(d.parms.o_session_version, row.number);
  }
}

TEST(CpsdpParseLimits, UnsignedNumbersAreHeldToTheirField) {
  struct Row {
    std::string_view text;
    std::uint32_t number;
  };
  constexpr std::uint32_t kMax = std::numeric_limits<std::uint32_t>::max();
  const Row rows[] = {
      {"4294967295", kMax},
      {"4294967296", kMax},
      {"99999999999999999999999", kMax},
      {"4294967294", kMax - 1},
      {"18446744073709551621", kMax},
      {"0", 0},
      {"007", 7},
      {"12x", 12},
      {"x", 0},
      {"-5", 0},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    const std::string text(row.text);
    const Description d = Parse(Lines({"v=0", "b=AS:" + text, "t=" + text + " " + text, "m=audio 1 udp 96",
                                       "b=AS:" + text, "a=rtpmap:96 x/" + text + "/2"}));
    ASSERT_EQ(d.reason, 0);
    EXPECT_EQ(d.parms.b_value, row.number);
    EXPECT_EQ(d.parms.t_start, row.number);
    EXPECT_EQ(d.parms.t_stop, row.number);
    EXPECT_EQ(d.Medium().b_value, row.number);
    EXPECT_EQ(d.Medium().rtp_rate[0], row.number);
  }
}

TEST(CpsdpParseLimits, NumbersOfSixteenBitsAreHeldToTheirField) {
  struct Row {
    std::string_view text;
    std::uint16_t number;
  };
  const Row rows[] = {{"65535", 65535},
                      {"65536", 65535},
                      {"4294967296", 65535},
                      {"99999999999999999999999", 65535},
                      {"65534", 65534},
                      {"18446744073709551621", 65535},
                      {"0", 0},
                      {"-5", 0},
                      {"x", 0}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    const std::string text(row.text);
    const Description d =
        Parse(Lines({"v=0", "m=audio " + text + "/" + text + " udp " + text, "a=ptime:" + text}));
    ASSERT_EQ(d.reason, 0);
    EXPECT_EQ(d.Medium().m_port, row.number);
    EXPECT_EQ(d.Medium().m_nports, row.number);
    EXPECT_EQ(d.Medium().fmt[0], row.number);
    EXPECT_EQ(d.Medium().ptime, row.number);
  }
}

}  // namespace
}  // namespace hark::test
