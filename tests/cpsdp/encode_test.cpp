// The session part of an encoded description: each line and its condition, and what cannot be encoded.
#include <gtest/gtest.h>

#include <limits>

#include "cpsdp/sdp_fixture.h"

namespace hark::test {
namespace {

// The smallest description there is.
constexpr std::string_view kBare = "v=0\r\no= 0 0 IN IP4 \r\ns=\r\nt=0 0\r\n";

// The bare description with `lines` in front of its t= line.
std::string BareWith(std::string_view lines) {
  std::string text(kBare);
  return text.insert(text.find("t="), lines);
}

TEST(CpsdpEncode, EmptyRecordGivesTheLinesThatAreAlwaysWritten) {
  const Encoded encoded = Encode(Description{});
  EXPECT_EQ(encoded.error, 0);
  EXPECT_EQ(encoded.text, kBare);
}

TEST(CpsdpEncode, NullRecordIsRefused) {
  std::uint32_t length = 7;
  std::array<char, 64> out{};
  EXPECT_EQ(CPSDP_EncodeSession(nullptr, "", out, length), kEncodeNoSession);
  EXPECT_EQ(kEncodeNoSession, 2176);
  EXPECT_EQ(length, 0U);
  EXPECT_EQ(out[0], '\0');
}

TEST(CpsdpEncode, OriginHasItsNumbersSigned) {
  Description d;
  d.parms.o_username = d.Add("me");
  d.parms.o_address = d.Add("host");
  d.parms.o_session_id = std::numeric_limits<std::int32_t>::min();
  d.parms.o_session_version = std::numeric_limits<std::int32_t>::max();
  EXPECT_EQ(Encode(d).text, "v=0\r\no=me -2147483648 2147483647 IN IP4 host\r\ns=\r\nt=0 0\r\n");
}

TEST(CpsdpEncode, OriginOfAnyTypeButIp6IsIp4) {
  for (const std::uint32_t type : {0U, 1U, 2U, 99U}) {
    SCOPED_TRACE(type);
    Description d;
    d.parms.o_addr_type = static_cast<cpsdp_addr_type>(type);
    const Encoded encoded = Encode(d);
    EXPECT_EQ(encoded.error, 0);
    EXPECT_NE(encoded.text.find(type == 1 ? " IN IP6 \r\n" : " IN IP4 \r\n"), std::string::npos)
        << encoded.text;
  }
}

TEST(CpsdpEncode, SessionLineIsWrittenWhenItHasAText) {
  struct Row {
    cpsdp_text cpsdp_parms::*field;
    std::string_view line;
    bool behind_time;
  };
  const Row rows[] = {
      {&cpsdp_parms::i_info, "i=text\r\n", false},
      {&cpsdp_parms::u_uri, "u=text\r\n", false},
      {&cpsdp_parms::c_address, "c=IN IP4 text\r\n", false},
      {&cpsdp_parms::b_type, "b=text:0\r\n", false},
      {&cpsdp_parms::r_repeat, "r=text\r\n", true},
      {&cpsdp_parms::z_zone, "z=text\r\n", true},
      {&cpsdp_parms::k_key, "k=text\r\n", true},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.line);
    Description d;
    d.parms.*row.field = d.Add("text");
    EXPECT_EQ(Encode(d).text, row.behind_time ? std::string(kBare).append(row.line) : BareWith(row.line));
  }
}

TEST(CpsdpEncode, NameIsWrittenWithAndWithoutText) {
  Description d;
  d.parms.s_name = d.Add("two  words");
  EXPECT_EQ(Encode(d).text, "v=0\r\no= 0 0 IN IP4 \r\ns=two  words\r\nt=0 0\r\n");
}

TEST(CpsdpEncode, EmailsAndPhonesAreWrittenForAllTheirEntries) {
  Description d;
  d.parms.e_count = 2;
  d.parms.e_email[1] = d.Add("two@h");
  d.parms.p_count = 2;
  d.parms.p_phone[0] = d.Add("+1");
  EXPECT_EQ(Encode(d).text, BareWith("e=\r\ne=two@h\r\np=+1\r\np=\r\n"));
  d.parms.e_count = 1;
  d.parms.p_count = 0;
  EXPECT_EQ(Encode(d).text, BareWith("e=\r\n"));
}

TEST(CpsdpEncode, ConnectionHasItsAddressType) {
  struct Row {
    std::uint32_t type;
    int error;
    std::string_view line;
  };
  const Row rows[] = {{0, 0, "c=IN IP4 h\r\n"}, {1, 0, "c=IN IP6 h\r\n"}, {2, 2065, ""}, {77, 2065, ""}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.type);
    Description d;
    d.parms.c_address = d.Add("h");
    d.parms.c_addr_type = static_cast<cpsdp_addr_type>(row.type);
    const Encoded encoded = Encode(d);
    EXPECT_EQ(encoded.error, row.error);
    EXPECT_EQ(encoded.text, row.error == 0 ? BareWith(row.line) : "");
    // Without an address there is no line whose type could be wrong.
    d.parms.c_address = {};
    EXPECT_EQ(Encode(d).text, kBare);
  }
}

TEST(CpsdpEncode, BandwidthHasItsValueUnsigned) {
  Description d;
  d.parms.b_type = d.Add("AS");
  d.parms.b_value = std::numeric_limits<std::uint32_t>::max();
  EXPECT_EQ(Encode(d).text, BareWith("b=AS:4294967295\r\n"));
}

TEST(CpsdpEncode, BandwidthValueWithoutTypeIsNotWritten) {
  Description d;
  d.parms.b_value = 128;
  EXPECT_EQ(Encode(d).text, kBare);
}

TEST(CpsdpEncode, TimeIsAlwaysZero) {
  Description d;
  d.parms.t_start = 3034423619;
  d.parms.t_stop = 3042462419;
  EXPECT_EQ(Encode(d).text, kBare);
}

TEST(CpsdpEncode, AttributeWithoutTextIsPassedOver) {
  Description d;
  d.parms.a_count = 3;
  d.parms.a_attr[0] = d.Add("tool:x");
  d.parms.a_attr[2] = d.Add("recvonly");
  EXPECT_EQ(Encode(d).text, std::string(kBare) + "a=tool:x\r\na=recvonly\r\n");
  d.parms.a_count = 2;
  EXPECT_EQ(Encode(d).text, std::string(kBare) + "a=tool:x\r\n");
}

TEST(CpsdpEncode, LinesStandInTheirOrder) {
  const std::string body =
      Lines({"v=0", "o=me 1 2 IN IP6 h", "s=name", "i=info", "u=uri", "e=1", "e=2", "p=3", "p=4",
             "c=IN IP6 c", "b=AS:5", "t=0 0", "r=6 7", "z=8 9", "k=10", "a=11", "a=12:13", "m=audio 1 udp"});
  const Description d = Parse(body);
  ASSERT_EQ(d.reason, 0);
  EXPECT_EQ(Encode(d).text, body);
}

TEST(CpsdpEncode, CountsAboveTheArraysAreHeldToThem) {
  Description d;
  d.parms.e_count = 255;
  d.parms.p_count = 3;
  d.parms.a_count = 255;
  d.parms.a_attr.fill(d.Add("x"));
  EXPECT_EQ(Encode(d).text, BareWith("e=\r\ne=\r\np=\r\np=\r\n") + Times(16, "a=x\r\n"));
}

TEST(CpsdpEncode, TextBehindThePoolIsNotRead) {
  Description d;
  d.parms.s_name = d.Add("abc");
  d.parms.s_name.length = 255;
  d.parms.o_username = {.length = 5, .offset = 65000};
  EXPECT_EQ(Encode(d).text, "v=0\r\no= 0 0 IN IP4 \r\ns=abc\r\nt=0 0\r\n");
}

}  // namespace
}  // namespace hark::test
