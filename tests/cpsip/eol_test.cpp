// Where a logical line ends, and how folded lines become one where they lie.
#include <gtest/gtest.h>

#include <string>

#include "cpsip/scan_fixture.h"

namespace hark::test {
namespace {

// A block and what the walk over its first line did to it.
struct Walk {
  explicit Walk(std::string_view text, std::uint16_t start = 0) {
    scan.scan_msg = CPSIP_MsgCreate(false);
    scan.scan_msg->chain = BlockOf(text);
    scan.cur_buf = scan.scan_msg->chain.get();
    scan.cur_off = static_cast<std::uint16_t>(kOsaHeaderSize + start);
    found = cpsip_msg_scan_for_eol(scan);
  }
  [[nodiscard]] std::string Text() const { return std::string{scan.cur_buf->text()}; }

  cpsip_scan scan;
  bool found = false;
};

struct EndRow {
  std::string_view text;
  int length;             // of the line with its CR LF
  std::string_view then;  // the block behind the walk; the same when empty
};

TEST(ScanForEol, FindsTheEndOfTheLine) {
  using namespace std::string_view_literals;
  static constexpr EndRow kRows[] = {
      {"To: a\r\nFrom: b\r\n", 7, {}},
      {"To: a\r\n\r\n", 7, {}},
      {"a\r\nb", 3, {}},
      {"\r\nTo: a\r\n", 2, {}},                        // an empty line
      {"\r\n", 2, {}},                                 // it needs nothing behind it
      {"\r\n To: a\r\n", 2, {}},                       // and is never folded
      {"a\nb\r\nc", 5, {}},                            // a lone LF ends nothing
      {"a\rb\r\nc", 5, {}},                            // nor does a lone CR
      {"\nb\r\nc", 4, {}},                             // nor an LF in front
      {"a\r\r\nb\r\nc", 7, {}},                        // the byte behind a CR is passed over
      {"a\r\r\r\nc", 5, {}},                           // so the third CR is one again
      {"a\n\r\nc", 4, {}},                             //
      {"a\0b\r\nc"sv, 5, {}},                          //
      {"a\r\n b\r\nc", 7, "a   b\r\nc"},               // folded
      {"a\r\n\tb\r\nc", 7, "a  \tb\r\nc"},             //
      {"a\r\n b\r\n\tc\r\nd", 11, "a   b  \tc\r\nd"},  // twice
      {"a\r\n \r\n\r\n", 6, "a   \r\n\r\n"},           // onto nothing
      {"a\r\n  \t b\r\nc", 10, "a    \t b\r\nc"},
      {"a\r\n b\r\nc\r\n d\r\n", 7, "a   b\r\nc\r\n d\r\n"},  // the next line is left as it is
  };
  for (const EndRow& row : kRows) {
    SCOPED_TRACE(::testing::PrintToString(row.text));
    const Walk walk{row.text};
    EXPECT_TRUE(walk.found);
    EXPECT_EQ(walk.scan.line_len, row.length);
    EXPECT_EQ(walk.Text(), row.then.empty() ? row.text : row.then);
    EXPECT_EQ(walk.scan.cur_off, kOsaHeaderSize) << "the read position stays";
  }
}

TEST(ScanForEol, LineThatNothingFollowsIsNotFinished) {
  static constexpr std::string_view kRows[] = {
      "", "a", "\r", "\n", "a\r", "a\r\n", "To: sip:a@b\r\n", "a\nb\n", "a\rb\r", "a\r\n b\r\n", "\r\r\n",
  };
  for (const std::string_view row : kRows) {
    SCOPED_TRACE(::testing::PrintToString(row));
    EXPECT_FALSE(Walk{row}.found);
  }
}

TEST(ScanForEol, BeginsAtTheReadPosition) {
  const Walk walk{"a\r\nbcd\r\nefgh\r\n", 3};
  EXPECT_TRUE(walk.found);
  EXPECT_EQ(walk.scan.line_len, 5);
}

TEST(ScanForEol, DoesNotLookBehindTheFilledBytes) {
  const cpsip_osa_chain block = BlockOf("To: a\r\nF");
  block->used = 7;
  cpsip_scan scan;
  scan.cur_buf = block.get();
  scan.cur_off = kOsaHeaderSize;
  EXPECT_FALSE(cpsip_msg_scan_for_eol(scan));
  block->used = 8;
  EXPECT_TRUE(cpsip_msg_scan_for_eol(scan));
  EXPECT_EQ(scan.line_len, 7);
}

}  // namespace
}  // namespace hark::test
