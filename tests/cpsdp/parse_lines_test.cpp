// How a body is cut: line ends, blanks, texts of a whole line, and line types that nobody knows.
#include <gtest/gtest.h>

#include "cpsdp/sdp_fixture.h"

namespace hark::test {
namespace {

TEST(CpsdpParseLines, AnyMixOfCrAndLfEndsALine) {
  const std::string_view ends[] = {"\r\n", "\n", "\r", "\n\r", "\r\n\r\n", "\n\n\n", "\r\r", "\r\n\n\r\n"};
  for (const std::string_view end : ends) {
    SCOPED_TRACE(testing::PrintToString(end));
    std::string body;
    for (const std::string_view line :
         {"v=0", "o=me 1 2 IN IP4 h", "s=two words", "m=audio 5004 RTP/AVP 96", "a=fmtp:96 x y", "a=z"}) {
      body.append(line).append(end);
    }
    const Description d = Parse(body);
    ASSERT_EQ(d.reason, 0);
    EXPECT_EQ(d.Text(d.parms.o_address), "h");
    EXPECT_EQ(d.Text(d.parms.s_name), "two words");
    ASSERT_EQ(d.parms.m_count, 1);
    EXPECT_EQ(d.Medium().fmt_count, 1);
    EXPECT_EQ(d.Text(d.Medium().fmtp[0]), "x y");
    ASSERT_EQ(d.Medium().a_count, 1);
    EXPECT_EQ(d.Text(d.Medium().a_attr[0]), "z");
  }
}

TEST(CpsdpParseLines, LineOfBlanksEndsTheDescription) {
  const Description d = Parse("v=0\r\n  \r\ns=talk\r\n");
  EXPECT_EQ(d.reason, 0);
  EXPECT_TRUE(d.parms.s_name.empty());
}

TEST(CpsdpParseLines, LastLineNeedsItsEnd) {
  const std::string_view bodies[] = {
      "v=0", "v=", "v=0 ", "v=0\r\ns=", "v=0\r\ns=a b", "x=", "v=0\r\nx=word", "v=0\r\nm=audio 1 udp 0"};
  for (const std::string_view body : bodies) {
    SCOPED_TRACE(body);
    EXPECT_EQ(Parse(body).reason, 2);
    EXPECT_NE(Parse(std::string(body) + "\n").reason, 2);
  }
}

TEST(CpsdpParseLines, RunOfBlanksAndTabsSeparatesOnce) {
  const Description d =
      Parse("v=0\r\no= me  1\t2 \t IN   IP4 h \t\r\nt=\t5  6\r\nm= audio  9\tudp   0  1 \r\n");
  ASSERT_EQ(d.reason, 0);
  EXPECT_EQ(d.Text(d.parms.o_username), "me");
  EXPECT_EQ(d.parms.o_session_version, 2);
  EXPECT_EQ(d.Text(d.parms.o_address), "h");
  EXPECT_EQ(d.parms.t_start, 5U);
  EXPECT_EQ(d.parms.t_stop, 6U);
  EXPECT_EQ(d.Medium().m_port, 9);
  EXPECT_EQ(d.Medium().fmt_count, 2);
  EXPECT_EQ(d.Medium().fmt[1], 1);
}

// Kept: the length of a whole line's text is that of its words and one for each gap, so a doubled blank costs
// one character at the end.
TEST(CpsdpParseLines, DoubledBlankShortensAWholeLine) {
  struct Row {
    std::string_view value;
    std::string_view text;
  };
  const Row rows[] = {
      {"one", "one"},
      {"one two", "one two"},
      {"one  two", "one  tw"},
      {"a   bcd", "a   b"},
      {"a  b  cdef", "a  b  cd"},
      {"a\t\tbc", "a\t\tb"},
      {"  lead", "lead"},
      {" a  bc", "a  b"},
      {"", ""},
      {"   ", ""},
      {"\t", ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.value);
    const std::string value(row.value);
    const Description d = Parse("v=0\r\ns=" + value + "\r\ni=" + value + "\r\nr=" + value + "\r\nz=" + value +
                                "\r\nm=audio 1 udp 0\r\ni=" + value + "\r\n");
    // r= without t= is in its order, too.
    ASSERT_EQ(d.reason, 0);
    EXPECT_EQ(d.Text(d.parms.s_name), row.text);
    EXPECT_EQ(d.Text(d.parms.i_info), row.text);
    EXPECT_EQ(d.Text(d.parms.r_repeat), row.text);
    EXPECT_EQ(d.Text(d.parms.z_zone), row.text);
    EXPECT_EQ(d.Text(d.Medium().i_info), row.text);
  }
}

TEST(CpsdpParseLines, DoubledBlankShortensAnAttribute) {
  const Description d = Parse(Session({"a=tool: a  bc", "m=audio 1 udp 0", "a=mid:  xyz"}));
  ASSERT_EQ(d.reason, 0);
  EXPECT_EQ(d.Text(d.parms.a_attr[0]), "tool: a  b");
  EXPECT_EQ(d.Text(d.Medium().a_attr[0]), "mid:  xy");
}

TEST(CpsdpParseLines, UnknownSessionLineIsReportedAndPassedOver) {
  for (const std::string_view line : {"x=1 2 3", "V=0", "O=x", "?=", "===", "j=a  b", "w=0"}) {
    SCOPED_TRACE(line);
    testing::internal::CaptureStdout();
    const Description d = Parse(Lines({"v=0", line, "s=talk"}));
    const std::string report = testing::internal::GetCapturedStdout();
    EXPECT_EQ(d.reason, 0);
    EXPECT_EQ(d.Text(d.parms.s_name), "talk");
    EXPECT_NE(report.find("UXP"), std::string::npos) << report;
  }
}

TEST(CpsdpParseLines, UnknownMediaLineIsReportedAndPassedOver) {
  for (const std::string_view line :
       {"v=0", "o=x", "s=x", "u=", "e=", "p=", "t=1", "r=", "z=", "x=1", "I=x"}) {
    SCOPED_TRACE(line);
    testing::internal::CaptureStdout();
    const Description d = Parse(InMedia({line, "i=info", line, "a=mid:1", line}));
    const std::string report = testing::internal::GetCapturedStdout();
    EXPECT_EQ(d.reason, 0);
    EXPECT_EQ(d.Text(d.Medium().i_info), "info");
    EXPECT_EQ(d.Medium().a_count, 1);
    EXPECT_EQ(d.Text(d.parms.s_name), "-");
    EXPECT_NE(report.find("UXP"), std::string::npos) << report;
  }
}

TEST(CpsdpParseLines, KnownLinesAreNotReported) {
  testing::internal::CaptureStdout();
  const Description d =
      Parse(InMedia({"i=info", "c=IN IP4 h", "b=AS:1", "k=prompt", "a=rtpmap:96 L24/48000"}));
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(d.reason, 0);
}

TEST(CpsdpParseLines, UnknownLineMustStillBeALine) {
  EXPECT_EQ(Parse("v=0\r\nx=" + Times(130, "y") + "\r\n").reason, 10);
  EXPECT_EQ(Parse(InMedia({}) + "x=" + Times(130, "y") + "\r\n").reason, 10);
  EXPECT_EQ(Parse(InMedia({}) + "x=y").reason, 2);
}

}  // namespace
}  // namespace hark::test
