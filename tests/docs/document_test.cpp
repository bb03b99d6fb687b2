// Whether the examples of a document are found, and whether a line that is none is told instead of skipped.
#include "docs/document.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace hark::test {
namespace {

// The steps of one block with these lines.
Document Block(const std::string& lines) {
  return parse_document("x.md", "Words\n```harkd\n" + lines + "\n```\n");
}

TEST(Documents, GiveTheBlocksOfTheirLanguageWithTheirLines) {
  const Document document = parse_document("x.md",
                                           "> no example\n"
                                           "```harkd\n"
                                           "# a remark\n"
                                           "> VER\n"
                                           "\n"
                                           "< VER 1\n"
                                           "```\n"
                                           "```\n"
                                           "> of another language\n"
                                           "```\n"
                                           "```harkd\n"
                                           "> QUIT\n"
                                           "```\n");
  EXPECT_EQ(document.path, "x.md");
  EXPECT_TRUE(document.faults.empty());
  ASSERT_EQ(document.examples.size(), 2U);
  EXPECT_EQ(document.examples[0].line, 2);
  ASSERT_EQ(document.examples[0].steps.size(), 2U);
  EXPECT_EQ(document.examples[0].steps[0].line, 4);
  EXPECT_EQ(document.examples[0].steps[1].line, 6);
  EXPECT_EQ(document.examples[1].line, 11);
  EXPECT_EQ(document.examples[1].steps.at(0).text, "QUIT");
}

TEST(Documents, ReadEveryKindOfStep) {
  struct Row {
    std::string line;
    Peer peer;
    Action action;
    int first;
    int last;
    std::string text;
  };
  const std::vector<Row> rows = {
      {"> SUB GPI 2", Peer::kClient, Action::kSend, 1, 1, "SUB GPI 2"},
      {"< a  b ", Peer::kClient, Action::kExpect, 1, 1, "a  b "},
      {"~ later", Peer::kClient, Action::kExpect, 1, 1, "later"},
      {"* again", Peer::kClient, Action::kExpectRepeated, 1, 1, "again"},
      {"2> VER", Peer::kClient, Action::kSend, 2, 2, "VER"},
      {"17< [closed]", Peer::kClient, Action::kExpect, 17, 17, "[closed]"},
      {"2+", Peer::kClient, Action::kConnect, 2, 2, ""},
      {"2-7+ 127.0.0.2", Peer::kClient, Action::kConnect, 2, 7, "127.0.0.2"},
      {"B> CALL", Peer::kFarStation, Action::kSend, 1, 1, "CALL"},
      {"B~ BEGIN", Peer::kFarStation, Action::kExpect, 1, 1, "BEGIN"},
      {"routing> GPO 2 L", Peer::kRouting, Action::kSend, 1, 1, "GPO 2 L"},
      {"routing< set x", Peer::kRouting, Action::kExpect, 1, 1, "set x"},
      {"console> EVENT x", Peer::kConsole, Action::kSend, 1, 1, "EVENT x"},
      {"console< SUB Intercom", Peer::kConsole, Action::kExpect, 1, 1, "SUB Intercom"},
      {"far< LOGIN", Peer::kFar, Action::kExpect, 1, 1, "LOGIN"},
      {"far> DST 3 ADDR:\"\"", Peer::kFar, Action::kSend, 1, 1, "DST 3 ADDR:\"\""},
      {"group< EVENT x", Peer::kGroup, Action::kExpect, 1, 1, "EVENT x"},
      {"group> INDI x", Peer::kGroup, Action::kSend, 1, 1, "INDI x"},
      {"station> SIGTERM", Peer::kStation, Action::kSend, 1, 1, "SIGTERM"},
      {"log< PTT req: x", Peer::kLog, Action::kExpect, 1, 1, "PTT req: x"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.line);
    const Document document = Block(row.line);
    EXPECT_TRUE(document.faults.empty());
    ASSERT_EQ(document.examples.at(0).steps.size(), 1U);
    const Step& step = document.examples[0].steps[0];
    EXPECT_EQ(step.line, 3);
    EXPECT_EQ(step.peer, row.peer);
    EXPECT_EQ(step.action, row.action);
    EXPECT_EQ(step.first, row.first);
    EXPECT_EQ(step.last, row.last);
    EXPECT_EQ(step.text, row.text);
  }
}

TEST(Documents, GiveAnExampleTheFilesInFrontOfIt) {
  const Document document = parse_document("x.md",
                                           "```file etc/a\n"
                                           "one\n"
                                           "\n"
                                           "\ttwo\n"
                                           "```\n"
                                           "```harkd\n"
                                           "> VER\n"
                                           "```\n"
                                           "```saved etc/a\n"
                                           "# no step\n"
                                           "```\n"
                                           "```file etc/b\n"
                                           "```\n"
                                           "```file etc/a\n"
                                           "three\n"
                                           "```\n"
                                           "```panel\n"
                                           "> VER\n"
                                           "```\n");
  EXPECT_TRUE(document.faults.empty());
  ASSERT_EQ(document.examples.size(), 2U);
  const Example& first = document.examples[0];
  EXPECT_EQ(first.language, Language::kHarkd);
  ASSERT_EQ(first.files.size(), 1U);
  EXPECT_EQ(first.files[0].line, 1);
  EXPECT_EQ(first.files[0].path, "etc/a");
  EXPECT_EQ(first.files[0].text, "one\n\n\ttwo\n");
  ASSERT_EQ(first.saved.size(), 1U);
  EXPECT_EQ(first.saved[0].text, "# no step\n");
  const Example& second = document.examples[1];
  EXPECT_EQ(second.language, Language::kPanel);
  EXPECT_TRUE(second.saved.empty());
  ASSERT_EQ(second.files.size(), 2U);
  EXPECT_EQ(second.files[0].path, "etc/b");
  EXPECT_EQ(second.files[0].text, "");
  EXPECT_EQ(second.files[1].text, "three\n");
}

TEST(Documents, GiveTheirTablesAndBlocks) {
  const std::string text =
      "words\n| a | b |\n|---|---|\n| `x y` | |\n| `x`, `y` |  z |\n\n| a | c |\n"
      "```hex\n01 02\n03\n```\n```hex\n04\n```\n";
  EXPECT_EQ(table_rows(text, "| a | b |"), (std::vector<Row>{{"x y", ""}, {"`x`, `y`", "z"}}));
  EXPECT_TRUE(table_rows(text, "| b |").empty());
  EXPECT_EQ(block_text(text, "hex"), "01 02\n03\n");
  EXPECT_EQ(block_text(text, "he"), "");
}

TEST(Documents, TellFilesWithoutANameOrAnExample) {
  EXPECT_EQ(parse_document("x.md", "```file \nx\n```\n").faults.at(0).line, 1);
  EXPECT_EQ(parse_document("x.md", "\n```saved a\nx\n```\n").faults.at(0).line, 2);
}

TEST(Documents, TellLinesThatAreNoStep) {
  for (const std::string line : {"VER",
                                 ">VER",
                                 ">",
                                 "<",
                                 " > VER",
                                 "0> VER",
                                 "21> VER",
                                 "2",
                                 "2-> VER",
                                 "7-2+",
                                 "2-3> VER",
                                 "routing",
                                 "routing+",
                                 "console* x",
                                 "mixer> x",
                                 "far+",
                                 "group* x",
                                 "station> SIGHUP",
                                 "station< SIGTERM",
                                 "log> x"}) {
    SCOPED_TRACE(line);
    const Document document = Block(line);
    ASSERT_FALSE(document.faults.empty());
    EXPECT_EQ(document.faults[0].line, 3);
    EXPECT_THAT(document.faults[0].reason, testing::HasSubstr(line));
  }
}

TEST(Documents, TellBlocksWithoutStepsOrEnd) {
  EXPECT_EQ(Block("# only a remark").faults.at(0).line, 2);
  EXPECT_EQ(parse_document("x.md", "```harkd\n> VER\n").faults.at(0).reason, "a block has no end");
  EXPECT_FALSE(read_document("no such file").faults.empty());
}

}  // namespace
}  // namespace hark::test
