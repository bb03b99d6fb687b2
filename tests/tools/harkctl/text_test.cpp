// What harkctl does with text from the network before a person sees it.
#include "tools/harkctl/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace hark::ctl {
namespace {

using std::string_literals::operator""s;

TEST(Text, WhatCanBeReadStaysAsItIs) {
  for (const char* text : {"", "Studio A", "a\\032b \"x\"", "Zürich", "東京 \xF0\x9F\x8E\x99", "~"}) {
    EXPECT_EQ(printable(text), text);
  }
}

TEST(Text, WhatWouldActOnATerminalIsEscaped) {
  const struct {
    std::string text;
    const char* shown;
  } kRows[] = {
      {"\x1b[2J", "\\x1b[2J"},
      {"a\0b"s, "a\\x00b"},
      {"\r\n\t", "\\x0d\\x0a\\x09"},
      {"\x7f", "\\x7f"},
      // CSI and OSC as single characters, and as bytes that are no UTF-8
      {"\xC2\x9B"
       "2J",
       "\\u009b2J"},
      {"\x9B"
       "2J",
       "\\x9b2J"},
      // marks that turn the direction of writing
      {"\xE2\x80\xAEgpj", "\\u202egpj"},
      {"\xE2\x81\xA6x", "\\u2066x"},
      {"\xE2\x80\xA8x", "\\u2028x"},
      // cut, longer than needed, half of a pair, beyond the last
      {"\xC3", "\\xc3"},
      {"\xE2\x80", "\\xe2\\x80"},
      {"\xC0\x9B", "\\xc0\\x9b"},
      {"\xE0\x82\x9B", "\\xe0\\x82\\x9b"},
      {"\xED\xA0\x80", "\\xed\\xa0\\x80"},
      {"\xF4\x90\x80\x80", "\\xf4\\x90\\x80\\x80"},
      {"\xFF", "\\xff"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.shown);
    EXPECT_EQ(printable(row.text), row.shown);
  }
}

TEST(Text, JsonIsOneLineOfAscii) {
  EXPECT_EQ(json_line({{"b", "\x1b\n\x7fü"}, {"a", 1}}), "{\"b\":\"\\u001b\\n\\u007f\\u00fc\",\"a\":1}");
  // What is no UTF-8 does not end the program.
  EXPECT_EQ(json_line("\xFF"), "\"\\ufffd\"");
}

TEST(Text, GainsHaveASignAndOneDigit) {
  const struct {
    int tenth_db;
    const char* text;
  } kRows[] = {{0, "0.0 dB"}, {-5, "-0.5 dB"}, {120, "12.0 dB"}, {-1000, "-100.0 dB"}, {-61, "-6.1 dB"}};
  for (const auto& row : kRows)
    EXPECT_EQ(gain_text(row.tenth_db), row.text);
}

TEST(Text, ColumnsAreAsWideAsTheirWidestText) {
  EXPECT_THAT(aligned({{"Zürich", "x", "end"}, {"B", "long", ""}, {"short"}}),
              testing::ElementsAre("Zürich  x     end", "B       long  ", "short"));
  EXPECT_TRUE(aligned({}).empty());
}

TEST(Text, TimesHaveMilliseconds) {
  const WallTime time{std::chrono::milliseconds(1'795'293'989'007)};
  EXPECT_EQ(utc_text(time), "2026-11-21T20:46:29.007Z");
  EXPECT_EQ(utc_text(WallTime{std::chrono::milliseconds(-1)}), "1969-12-31T23:59:59.999Z");
  EXPECT_THAT(clock_text(time), testing::EndsWith(":29.007"));
  EXPECT_EQ(clock_text(time).size(), 12U);
}

}  // namespace
}  // namespace hark::ctl
