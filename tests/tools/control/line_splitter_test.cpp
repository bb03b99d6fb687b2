// Lines out of bytes that come in any pieces.
#include "tools/control/line_splitter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "base/text.h"

namespace hark::test {
namespace {

using control::LineSplitter;
using testing::ElementsAre;
using testing::IsEmpty;

using Lines = std::vector<std::string>;

class LineSplitterTest : public testing::Test {
 protected:
  Lines Feed(std::string_view bytes) {
    Lines lines;
    splitter_.feed(bytes, [&](const std::string& line) { lines.push_back(line); });
    return lines;
  }

  LineSplitter splitter_;
};

TEST_F(LineSplitterTest, AnyRunOfLineEndsEndsOneLine) {
  struct Row {
    std::string_view bytes;
    Lines lines;
  };
  const Row rows[] = {
      {"a\r\n", {"a"}},
      {"a\n", {"a"}},
      {"a\r", {"a"}},
      {"a\n\r\r\n\n", {"a"}},
      {"a\r\nb\nc\r", {"a", "b", "c"}},
      {"\r\n\n a \n", {" a "}},
      {"", {}},
      {"\n", {}},
      {"\r\n\r\n", {}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.bytes);
    EXPECT_EQ(Feed(row.bytes), row.lines);
  }
}

TEST_F(LineSplitterTest, HowTheBytesAreCutPlaysNoPart) {
  const std::string bytes = "BEGIN\r\nCALL URL:\"a\" TALK:1\nEND\r\n";
  for (std::size_t piece = 1; piece <= bytes.size(); ++piece) {
    SCOPED_TRACE(piece);
    Lines lines;
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
      for (std::string& line : Feed(std::string_view(bytes).substr(at, piece)))
        lines.push_back(std::move(line));
    }
    EXPECT_THAT(lines, ElementsAre("BEGIN", "CALL URL:\"a\" TALK:1", "END"));
  }
}

TEST_F(LineSplitterTest, APartWaitsForItsEnd) {
  EXPECT_THAT(Feed("HA"), IsEmpty());
  EXPECT_THAT(Feed("RK"), IsEmpty());
  EXPECT_THAT(Feed("\nV"), ElementsAre("HARK"));
  EXPECT_THAT(Feed("ER\n"), ElementsAre("VER"));
}

TEST_F(LineSplitterTest, ALineOfTheLimitIsWholeAndOneMoreByteDropsIt) {
  const std::string longest(kMaxLine, 'x');
  EXPECT_THAT(Feed(longest + "\nnext\n"), ElementsAre(longest, "next"));
  EXPECT_THAT(Feed(longest + "x\nnext\n"), ElementsAre("next"));
}

TEST_F(LineSplitterTest, ATooLongLineInPiecesLeavesNoRemainder) {
  const std::string piece(kMaxLine / 2, 'x');
  for (int i = 0; i < 7; ++i)
    EXPECT_THAT(Feed(piece), IsEmpty());
  EXPECT_THAT(Feed("the end\nnext\n"), ElementsAre("next"));
}

TEST_F(LineSplitterTest, ClearForgetsAPartAndATooLongLine) {
  EXPECT_THAT(Feed("half a "), IsEmpty());
  splitter_.clear();
  EXPECT_THAT(Feed("line\n"), ElementsAre("line"));

  EXPECT_THAT(Feed(std::string(kMaxLine + 1, 'x')), IsEmpty());
  splitter_.clear();
  EXPECT_THAT(Feed("line\n"), ElementsAre("line"));
}

TEST_F(LineSplitterTest, ClearFromWithinALineDropsWhatIsLeftOfTheBytes) {
  Lines lines;
  splitter_.feed("one\ntwo\nthr", [&](const std::string& line) {
    lines.push_back(line);
    splitter_.clear();
  });
  EXPECT_THAT(lines, ElementsAre("one"));
  EXPECT_THAT(Feed("new\n"), ElementsAre("new"));
}

TEST_F(LineSplitterTest, ANulIsAByteLikeAnyOther) {
  using namespace std::string_literals;
  EXPECT_THAT(Feed("a\0b\nc\n"s), ElementsAre("a\0b"s, "c"));
}

}  // namespace
}  // namespace hark::test
