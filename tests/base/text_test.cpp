// Text in fixed buffers stays inside its buffer and keeps its NUL, whatever is asked for; and the readers of
// numbers and prefixes agree on what they do with what is not one.
#include "base/text.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace hark {
namespace {

// A buffer whose last bytes must stay as they are.
struct Guarded {
  std::array<char, 16> bytes;
  Guarded() { bytes.fill('#'); }
  std::span<char> First(std::size_t n) { return std::span(bytes).first(n); }
  [[nodiscard]] bool UntouchedFrom(std::size_t n) const {
    return std::string(bytes.data() + n, bytes.size() - n) == std::string(bytes.size() - n, '#');
  }
};

TEST(FormatText, GivesTheLengthOfWhatStandsInTheBuffer) {
  struct Row {
    std::size_t room;
    const char* text;
    const char* want;
  };
  for (const Row& row :
       {Row{8, "", ""}, Row{8, "abc", "abc"}, Row{8, "abcdefg", "abcdefg"}, Row{8, "abcdefgh", "abcdefg"},
        Row{8, "abcdefghijkl", "abcdefg"}, Row{1, "abc", ""}}) {
    SCOPED_TRACE(std::string(row.text) + " in " + std::to_string(row.room));
    Guarded out;
    EXPECT_EQ(format_text(out.First(row.room), "%s", row.text), static_cast<int>(std::strlen(row.want)));
    EXPECT_STREQ(out.bytes.data(), row.want);
    EXPECT_TRUE(out.UntouchedFrom(row.room));
  }
}

TEST(FormatText, EmptyBufferTakesNothing) {
  Guarded out;
  EXPECT_EQ(format_text(out.First(0), "%s", "abc"), 0);
  EXPECT_TRUE(out.UntouchedFrom(0));
}

TEST(CopyText, CopiesWhatFitsAndTerminates) {
  struct Row {
    std::size_t room;
    const char* text;
    const char* want;
  };
  for (const Row& row : {Row{4, "", ""}, Row{4, "abc", "abc"}, Row{4, "abcd", "abc"}, Row{1, "abc", ""}}) {
    SCOPED_TRACE(std::string(row.text) + " in " + std::to_string(row.room));
    Guarded out;
    EXPECT_EQ(copy_text(out.First(row.room), row.text), static_cast<int>(std::strlen(row.want)));
    EXPECT_STREQ(out.bytes.data(), row.want);
    EXPECT_TRUE(out.UntouchedFrom(row.room));
  }
}

TEST(CopyText, EmptyBufferTakesNothing) {
  Guarded out;
  EXPECT_EQ(copy_text(out.First(0), "abc"), 0);
  EXPECT_TRUE(out.UntouchedFrom(0));
}

TEST(FieldText, EndsAtTheNulOrAtTheFieldsEnd) {
  EXPECT_EQ(field_text(std::array<char, 4>{'a', 'b', 0, 'c'}), "ab");
  EXPECT_EQ(field_text(std::array<char, 4>{'a', 'b', 'c', 'd'}), "abcd");
  EXPECT_EQ(field_text(std::array<char, 4>{}), "");
  EXPECT_EQ(field_text(std::span<const char>()), "");
}

TEST(StartsWithNocase, KnowsAPrefixInAnyCase) {
  struct Row {
    const char* text;
    const char* prefix;
    bool want;
  };
  for (const Row& row :
       {Row{"SUB GPI", "SUB ", true}, Row{"sub GPI", "SUB ", true}, Row{"SuB ", "sUb ", true},
        Row{"anything", "", true}, Row{"", "", true}, Row{"SUB", "SUB ", false}, Row{"", "SUB ", false},
        Row{"XSUB ", "SUB ", false}, Row{"SUB\tGPI", "SUB ", false}, Row{"[", "{", false}}) {
    SCOPED_TRACE(std::string(row.text) + " / " + row.prefix);
    EXPECT_EQ(starts_with_nocase(row.text, row.prefix), row.want);
  }
}

TEST(EqualNocase, TakesTheWholeText) {
  struct Row {
    const char* text;
    const char* other;
    bool want;
  };
  for (const Row& row :
       {Row{"CFG", "CFG", true}, Row{"cFg", "CFG", true}, Row{"", "", true}, Row{"CFG ", "CFG", false},
        Row{"CF", "CFG", false}, Row{"", "CFG", false}, Row{"CFG", "", false}, Row{"@", "`", false}}) {
    SCOPED_TRACE(std::string(row.text) + " / " + row.other);
    EXPECT_EQ(equal_nocase(row.text, row.other), row.want);
  }
}

TEST(ParseInt, ReadsTheNumberAtTheStart) {
  struct Row {
    const char* text;
    int want;
  };
  for (const Row& row :
       {Row{"0", 0}, Row{"17", 17}, Row{"-240", -240}, Row{"+5", 5}, Row{"  12", 12}, Row{"12abc", 12},
        Row{"010", 10}, Row{"2147483647", 2147483647}, Row{"-2147483648", -2147483647 - 1}, Row{"", 0},
        Row{"abc", 0}, Row{"-", 0}, Row{"0x10", 0}, Row{"2147483648", 2147483647},
        Row{"-2147483649", -2147483647 - 1}, Row{"99999999999999999999999", 2147483647},
        Row{"-99999999999999999999999", -2147483647 - 1}}) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(parse_int(row.text), row.want);
  }
  EXPECT_EQ(parse_int(nullptr), 0);
}

TEST(TextWriter, AppendsOneBehindTheOther) {
  LineBuffer out;
  TextWriter writer(out);
  EXPECT_STREQ(out.data(), "");
  writer.append("%s", "GPI");
  writer.append(" %d", 3);
  EXPECT_STREQ(out.data(), "GPI 3");
  EXPECT_EQ(writer.length(), 5);
  EXPECT_EQ(writer.rest().data(), out.data() + 5);
  EXPECT_EQ(writer.rest().size(), out.size() - 5);
}

TEST(TextWriter, WhatDoesNotFitIsCutAndNothingFollowsIt) {
  Guarded out;
  TextWriter writer(out.First(6));
  writer.append("%s", "abcd");
  writer.append("%s", "efgh");
  EXPECT_STREQ(out.bytes.data(), "abcde");
  EXPECT_EQ(writer.length(), 5);
  writer.append("%s", "i");
  EXPECT_STREQ(out.bytes.data(), "abcde");
  EXPECT_EQ(writer.length(), 5);
  EXPECT_TRUE(out.UntouchedFrom(6));
}

TEST(TextWriter, CountsWhatTheCallerPutIntoTheRest) {
  LineBuffer out;
  TextWriter writer(out);
  writer.append("%s", "ab");
  writer.advance(copy_text(writer.rest(), "cd"));
  writer.append("%s", "ef");
  EXPECT_STREQ(out.data(), "abcdef");
  EXPECT_EQ(writer.length(), 6);
}

TEST(TextWriter, EmptyBufferTakesNothing) {
  Guarded out;
  TextWriter writer(out.First(0));
  writer.append("%s", "abc");
  EXPECT_EQ(writer.length(), 0);
  EXPECT_TRUE(out.UntouchedFrom(0));
}

TEST(LineBuffer, HoldsTheLongestLineAndItsNul) {
  LineBuffer out;
  const std::string longest(2000, 'x');
  EXPECT_EQ(copy_text(out, longest + "y"), 2000);
  EXPECT_EQ(out.data(), longest);
}

}  // namespace
}  // namespace hark
