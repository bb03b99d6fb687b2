// The order of the lines: each pair of line types, in both orders, in the session and in a medium.
#include <gtest/gtest.h>

#include "cpsdp/sdp_fixture.h"

namespace hark::test {
namespace {

// The line types in the order in which they stand, the reason for one out of order, and which may repeat.
struct Line {
  std::string_view text;
  int out_of_order;
  bool repeats;
};

constexpr Line kSessionLines[] = {
    {"o=- 1 2 IN IP4 h", 6, false}, {"s=talk", 9, false},  {"i=info", 11, false},
    {"u=http://h", 13, false},      {"e=a@h", 15, true},   {"p=+1", 18, true},
    {"c=IN IP4 h", 21, false},      {"b=AS:1", 24, false}, {"t=0 0", 27, false},
    {"r=1 2 3", 29, true},          {"z=1 2", 31, true},   {"k=prompt", 33, true},
    {"a=tool:x", 35, true},
};

constexpr Line kMediaLines[] = {
    {"i=info", 41, false},  {"c=IN IP4 h", 43, false}, {"b=AS:1", 46, false},
    {"k=prompt", 49, true}, {"a=tool:x", 51, true},
};

// The reason when `lines[second]` follows `lines[first]`.
int ReasonOf(std::span<const Line> lines, std::size_t first, std::size_t second) {
  const bool good = second > first || (second == first && lines[second].repeats);
  return good ? 0 : lines[second].out_of_order;
}

TEST(CpsdpParseOrder, AllSessionLinesInTheirOrderPass) {
  std::string body = "v=0\r\n";
  for (const Line& line : kSessionLines) {
    body.append(line.text).append("\r\n");
    EXPECT_EQ(Parse(body).reason, 0) << body;
  }
}

TEST(CpsdpParseOrder, EachPairOfSessionLinesPassesInOneOrderOnly) {
  for (std::size_t first = 0; first < std::size(kSessionLines); ++first) {
    for (std::size_t second = 0; second < std::size(kSessionLines); ++second) {
      const std::string body = Lines({"v=0", kSessionLines[first].text, kSessionLines[second].text});
      SCOPED_TRACE(body);
      EXPECT_EQ(Parse(body).reason, ReasonOf(kSessionLines, first, second));
    }
  }
}

TEST(CpsdpParseOrder, EachSessionLineButTheVersionFailsAsTheFirst) {
  for (const Line& line : kSessionLines) {
    SCOPED_TRACE(line.text);
    EXPECT_EQ(Parse(Lines({line.text})).reason, line.out_of_order);
  }
  EXPECT_EQ(Parse(Lines({"m=audio 5004 RTP/AVP 0"})).reason, 38);
  EXPECT_EQ(Parse(Lines({"v=0"})).reason, 0);
}

TEST(CpsdpParseOrder, VersionBehindAnySessionLineFails) {
  EXPECT_EQ(Parse(Lines({"v=0", "v=0"})).reason, 3);
  for (const Line& line : kSessionLines) {
    SCOPED_TRACE(line.text);
    EXPECT_EQ(Parse(Lines({"v=0", line.text, "v=0"})).reason, 3);
  }
}

TEST(CpsdpParseOrder, MediumMayFollowAnySessionLine) {
  EXPECT_EQ(Parse(Lines({"v=0", "m=audio 5004 RTP/AVP 0"})).reason, 0);
  for (const Line& line : kSessionLines) {
    SCOPED_TRACE(line.text);
    const Description d = Parse(Lines({"v=0", line.text, "m=audio 5004 RTP/AVP 0"}));
    EXPECT_EQ(d.reason, 0);
    EXPECT_EQ(d.parms.m_count, 1);
  }
}

TEST(CpsdpParseOrder, EachPairOfMediaLinesPassesInOneOrderOnly) {
  for (std::size_t first = 0; first < std::size(kMediaLines); ++first) {
    for (std::size_t second = 0; second < std::size(kMediaLines); ++second) {
      const std::string body = InMedia({kMediaLines[first].text, kMediaLines[second].text});
      SCOPED_TRACE(body);
      EXPECT_EQ(Parse(body).reason, ReasonOf(kMediaLines, first, second));
    }
  }
}

TEST(CpsdpParseOrder, EachMediumStartsTheMediaLinesAgain) {
  std::string body = Session({});
  for (int medium = 0; medium < 4; ++medium) {
    body += "m=audio 5004 RTP/AVP 0\r\n";
    for (const Line& line : kMediaLines) {
      body.append(line.text).append("\r\n");
    }
  }
  const Description d = Parse(body);
  EXPECT_EQ(d.reason, 0);
  EXPECT_EQ(d.parms.m_count, 4);
}

TEST(CpsdpParseOrder, OrderIsCheckedBeforeTheWords) {
  EXPECT_EQ(Parse(Lines({"v=0", "s=x", "o=too few"})).reason, 6);
  EXPECT_EQ(Parse(Lines({"v=0", "t=0 0", "c=IN"})).reason, 21);
  EXPECT_EQ(Parse(Lines({"v=0", "v=1 2"})).reason, 3);
  EXPECT_EQ(Parse(InMedia({"b=AS:1", "c=IN"})).reason, 43);
}

TEST(CpsdpParseOrder, UnknownLineDoesNotCount) {
  EXPECT_EQ(Parse(Lines({"x=1", "v=0", "x=2", "o=- 1 2 IN IP4 h", "x=3", "s=-"})).reason, 0);
  EXPECT_EQ(Parse(InMedia({"x=1", "i=info", "x=2", "c=IN IP4 h"})).reason, 0);
}

}  // namespace
}  // namespace hark::test
