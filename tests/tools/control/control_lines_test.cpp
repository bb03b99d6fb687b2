// What the lines of a control port say.
#include "tools/control/control_lines.h"

#include <gtest/gtest.h>

#include <climits>
#include <optional>
#include <string>
#include <string_view>

#include "daemon/qnrlib/tagtext.h"

namespace hark::test {
namespace {

using control::CallReport;
using control::name_of;
using control::number_of;
using control::quoted;
using control::read_call;
using control::read_error;
using control::tag_of;
using control::word_of;

using Letter = std::optional<char>;
using Number = std::optional<int>;

TEST(ControlLines, AReportTellsTheUrlAndWhatTheLineNames) {
  struct Row {
    const char* line;
    std::string url;
    Letter talk;
    Letter listen;
    Number volume;
  };
  const Row rows[] = {
      {"CALL URL:\"hark:10.0.0.2\" TALK:1 LISTEN:R VOLUME:-60", "hark:10.0.0.2", '1', 'R', -60},
      {"CALL URL:\"hark:10.0.0.2\" TALK:r", "hark:10.0.0.2", 'r', {}, {}},
      {"CALL URL:\"hark:10.0.0.2\" LISTEN:d", "hark:10.0.0.2", {}, 'd', {}},
      {"CALL URL:\"hark:10.0.0.2\" VOLUME:0", "hark:10.0.0.2", {}, {}, 0},
      {"CALL URL:\"hark:10.0.0.2\"", "hark:10.0.0.2", {}, {}, {}},
      {"CALL LISTEN=S, url=hark:10.0.0.2", "hark:10.0.0.2", {}, 'S', {}},
      {R"(CALL URL:"\"Studio A\" <hark:10.0.0.2;trgl=4;label=Studio\\032A>" TALK:R)",
       R"("Studio A" <hark:10.0.0.2;trgl=4;label=Studio\032A>)",
       'R',
       {},
       {}},
      {"CALL URL:\"a TALK:1 b\" LISTEN:0", "a TALK:1 b", {}, '0', {}},
      {"CALL URL:\"a\" TALK: LISTEN:\"\" VOLUME:", "a", {}, {}, 0},
      {"CALL URL:\"a\" VOLUME:99999999999999999999", "a", {}, {}, INT_MAX},
      {"CALL URL:\"a\" VOLUME:-99999999999999999999", "a", {}, {}, INT_MIN},
      {"CALL URL:\"never closed TALK:1", "never closed TALK:1", {}, {}, {}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.line);
    const std::optional<CallReport> report = read_call(row.line);
    ASSERT_TRUE(report.has_value());
    EXPECT_EQ(report->url, row.url);
    EXPECT_EQ(report->talk, row.talk);
    EXPECT_EQ(report->listen, row.listen);
    EXPECT_EQ(report->volume, row.volume);
  }
}

TEST(ControlLines, WhatIsNoReportOfACallGivesNothing) {
  for (const char* line :
       {"", "CALL", "CALL ", "CALL TALK:1", "CALL URL", "CALL URL:\"\" TALK:1", "CALL URL: TALK:1",
        "CALLS URL:\"a\" TALK:1", "call URL:\"a\"", " CALL URL:\"a\"", "BEGIN", "END", "HARK URL:\"a\"",
        "CALL XURL:\"a\"", "CALL X:\" URL:a\"", "ERROR 3001 call failed"}) {
    SCOPED_TRACE(line);
    EXPECT_FALSE(read_call(line).has_value());
  }
}

TEST(ControlLines, AUrlIsKnownByItsNameThenItsLabelThenItsAddress) {
  struct Row {
    std::string url;
    std::string name;
  };
  const Row rows[] = {
      {R"("Studio A" <hark:10.0.0.2;trgl=4;label=Desk>)", "Studio A"},
      {R"("Ext 1" <quillnet:239.192.4.213>;trgl=4;gpio=1)", "Ext 1"},
      {"Gate <quillnet:239.192.4.213>", "Gate"},
      {R"(<hark:10.0.0.2;trgl=4;label=Studio\032A>)", "Studio A"},
      {"hark:10.0.0.2;label=Desk;trgl=4", "Desk"},
      {R"("" <hark:10.0.0.2;label=Desk>)", "Desk"},
      {R"("  " <hark:10.0.0.2;label=Desk>)", "Desk"},
      {"hark:10.0.0.2;label=;trgl=4", "hark:10.0.0.2"},
      {"hark:10.0.0.2;labels=Desk", "hark:10.0.0.2"},
      {"*hark:10.0.0.2", "hark:10.0.0.2"},
      {"<quillnet:239.192.4.210;trgl=4>", "quillnet:239.192.4.210"},
      {"quillnet:239.192.4.210", "quillnet:239.192.4.210"},
      {"sip:hark-listen@10.0.0.2:5061", "sip:hark-listen@10.0.0.2:5061"},
      {"whatever", "whatever"},
      {";label=Desk", "Desk"},
      {";trgl=4", ";trgl=4"},
      {"<", "<"},
      {"*", "*"},
      {"", ""},
      {"\"\x1B[2J\" <hark:10.0.0.2>", " [2J"},
      {R"(hark:10.0.0.2;label=a\027\127b)", "a  b"},
      {"hark:\n10.0.0.2", "hark: 10.0.0.2"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.url);
    EXPECT_EQ(name_of(row.url), row.name);
  }
}

TEST(ControlLines, ALongLabelIsCut) {
  const std::string name = name_of("hark:10.0.0.2;label=" + std::string(5000, 'x'));
  EXPECT_EQ(name, std::string(255, 'x'));
}

TEST(ControlLines, ValuesOfTagsAreUnescaped) {
  const std::string line = R"(HARK LABL:"the \"A\" \\" TRGL:4 DIML:-240 LATCH=0x64, NONE:)";
  EXPECT_EQ(tag_of(line, "LABL"), R"(the "A" \)");
  EXPECT_EQ(tag_of(line, "labl"), R"(the "A" \)");
  EXPECT_EQ(tag_of(line, "TRGL"), "4");
  EXPECT_EQ(tag_of(line, "NONE"), "");
  EXPECT_EQ(tag_of(line, "TRG"), std::nullopt);
  EXPECT_EQ(tag_of(line, "TRGLA"), std::nullopt);
  EXPECT_EQ(tag_of("", "LABL"), std::nullopt);

  EXPECT_EQ(number_of(line, "DIML"), -240);
  EXPECT_EQ(number_of(line, "LATCH"), 100);
  EXPECT_EQ(number_of(line, "LABL"), 0);
  EXPECT_EQ(number_of(line, "NONE"), 0);
  EXPECT_EQ(number_of(line, "TRGLA"), std::nullopt);
}

TEST(ControlLines, ErrorsAreToldInWords) {
  struct Row {
    const char* line;
    const char* words;
  };
  const Row rows[] = {
      {QNR_ERROR_BADCOMMAND, "bad command"},
      {QNR_ERROR_SERVERBUSY, "server busy"},
      {QNR_ERROR_HOSTCONNLIMIT, "too many connections from this host"},
      {"ERROR 3001 call failed", "call failed"},
      {"ERROR   3001   call failed", "call failed"},
      {"ERROR 20011 other", "other"},
      {"ERROR out of order", "out of order"},
      {"ERROR 4711", "error 4711"},
      {"ERROR ", "error"},
      {"ERROR", "error"},
      {"ERROR 1 a\x1B[2Jb", "a [2Jb"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.line);
    std::string line = row.line;
    line.resize(line.find_last_not_of("\r\n") + 1);  // lines come without their end
    EXPECT_EQ(read_error(line), row.words);
  }
  for (const char* line : {"", "ERR", "ERRORS 1 x", "error 1000 bad command", " ERROR 1 x", "HARK ERROR:1"}) {
    SCOPED_TRACE(line);
    EXPECT_EQ(read_error(line), std::nullopt);
  }
}

TEST(ControlLines, QuotedTextIsReadBackAsItWas) {
  struct Row {
    std::string_view text;
    std::string_view written;
  };
  const Row rows[] = {
      {"", R"("")"},
      {"Studio A", R"("Studio A")"},
      {R"(the "A" \)", R"("the \"A\" \\")"},
      {"a, b TALK:1", R"("a, b TALK:1")"},
      {"M\xC3\xBCnchen", "\"M\xC3\xBCnchen\""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(quoted(row.text), row.written);
    EXPECT_EQ(tag_of("X " + std::string("T:") + quoted(row.text), "T"), row.text);
  }
}

TEST(ControlLines, QuotedTextHoldsNoLineEnd) {
  using namespace std::string_view_literals;
  EXPECT_EQ(quoted("a\r\nQUIT\n\t\x7F\0b"sv), R"("a  QUIT    b")");
}

TEST(ControlLines, EachStateHasItsWord) {
  struct Row {
    char letter;
    std::string_view word;
  };
  const Row rows[] = {{'0', "off"},     {'1', "on"},     {'R', "rings in"}, {'r', "rings out"},
                      {'C', "calling"}, {'S', "seized"}, {'d', "dropped"},  {'D', "?"},
                      {'c', "?"},       {'\0', "?"},     {'\xFF', "?"}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.letter);
    EXPECT_EQ(word_of(row.letter), row.word);
  }
}

}  // namespace
}  // namespace hark::test
