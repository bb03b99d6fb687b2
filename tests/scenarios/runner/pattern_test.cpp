// The patterns of scenarios: what matches, what does not, and what is captured.
#include "scenarios/runner/pattern.h"

#include <gtest/gtest.h>

#include "scenarios/runner/sip_text.h"

namespace hark::test {
namespace {

struct Row {
  const char* pattern;
  const char* text;
  bool matches;
};

TEST(Pattern, MatchesTheWholeTextOnly) {
  const Row rows[] = {
      {"", "", true},         {"abc", "abc", true},         {"*", "", true},
      {"a*c", "abbc", true},  {"*;tag=*", "x;tag=1", true}, {"$host:*", "10.0.0.1:5060", true},
      {"{x};", "tag;", true}, {"abc", "abcd", false},       {"abc", "ab", false},
      {"a*c", "abcd", false}, {"$host", "10.0.0.2", false}, {"{x}", "", false},
      {"{x}", "a b", false},  {"{x}", "a;b", false},        {"", "a", false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.pattern) + " against " + row.text);
    Variables variables{{"host", "10.0.0.1"}};
    EXPECT_EQ(Matches(row.pattern, row.text, variables, 1), row.matches);
  }
}

TEST(Pattern, CapturesWordsOnlyWhenAllMatches) {
  Variables variables;
  EXPECT_TRUE(Matches("<sip:{user}@{host}>*", "<sip:far@10.0.0.1:5070>;tag=1", variables, 1));
  EXPECT_EQ(variables["user"], "far");
  EXPECT_EQ(variables["host"], "10.0.0.1:5070");
  EXPECT_FALSE(Matches("{user} x", "near y", variables, 1));
  EXPECT_EQ(variables["user"], "far");
}

TEST(Pattern, ValueOfAVariableIsLiteral) {
  Variables variables{{"star", "*"}};
  EXPECT_TRUE(Matches("$star", "*", variables, 1));
  EXPECT_FALSE(Matches("$star", "x", variables, 1));
}

TEST(Pattern, UnknownVariableFailsWithItsLine) {
  Variables variables;
  try {
    (void)Matches("$nothing", "x", variables, 7);
    FAIL();
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.line, 7);
  }
}

TEST(SipText, RefusesAMessageWhoseLengthIsNotThatOfItsBody) {
  const std::string head = "SIP/2.0 200 OK\r\nCSeq: 4 BYE\r\nContent-Length: ";
  const auto whole = SipText::Parse(head + "2\r\n\r\nhi");
  ASSERT_TRUE(whole);
  EXPECT_EQ(whole->status(), 200U);
  EXPECT_EQ(whole->method(), "BYE");
  EXPECT_EQ(whole->cseq(), 4U);
  EXPECT_FALSE(SipText::Parse(head + "3\r\n\r\nhi"));
  EXPECT_FALSE(SipText::Parse("SIP/2.0 200 OK\r\nCSeq: 4 BYE\r\n\r\n"));
}

TEST(SipText, DescriptionComesBackAsItsEntries) {
  const std::string entries = "97=L24/48000/2|101=telephone-event/8000 0-15";
  EXPECT_EQ(EntriesOf(DescriptionOf(entries, "192.0.2.1", 9000)), entries);
}

}  // namespace
}  // namespace hark::test
