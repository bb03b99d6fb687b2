// Tokens of a line: what each flag stops at or quotes, which bytes are dropped, and where the read position
// goes.
#include <gtest/gtest.h>

#include <string>

#include "cpsip/scan_fixture.h"

namespace hark::test {
namespace {

using namespace std::string_view_literals;

struct TokenRow {
  std::uint16_t flags;
  std::string_view line;  // without its CR LF
  std::string_view text;
  char stop;
  std::string_view rest;  // behind the stop, without the CR LF
};

void ExpectTokens(const TokenRow& row) {
  SCOPED_TRACE(::testing::Message() << std::hex << row.flags << std::dec << " "
                                    << ::testing::PrintToString(row.line));
  LineScan line{std::string{row.line} + "\r\n"};
  EXPECT_EQ(line.Take(row.flags), (LineScan::Token{kScanOk, std::string{row.text}, row.stop}));
  EXPECT_EQ(line.Rest(), row.stop == kStopLineEnd ? "" : std::string{row.rest} + "\r\n");
}

template <std::size_t kRows>
void ExpectTokens(const TokenRow (&rows)[kRows]) {
  for (const TokenRow& row : rows)
    ExpectTokens(row);
}

constexpr char kEnd = kStopLineEnd;

TEST(Token, EachFlagStopsAtItsByte) {
  static constexpr TokenRow kRows[] = {
      {kStopColon, "To: a", "To", ':', "a"},
      {kStopComma, "a,b", "a", ',', "b"},
      {kStopEquals, "id=7", "id", '=', "7"},
      {kStopLess, "a<b", "a", '<', "b"},
      {kStopGreater, "a>b", "a", '>', "b"},
      {kStopSemicolon, "a;b", "a", ';', "b"},
      {kStopSpace, "a b", "a", ' ', "b"},
      {kStopSlash, "SIP/2.0", "SIP", '/', "2.0"},
      {kStopQuestion, "a?b", "a", '?', "b"},
      {0x0043, "h:1", "h", ':', "1"},
      {0x0043, "h,i", "h", ',', "i"},
      {0x0043, "h;i", "h", ';', "i"},
      {0x1042, "?a;b,c", "", '?', "a;b,c"},
      {0x0048, "\"Bob\"<sip:b>", "\"Bob\"", '<', "sip:b>"},
      {0x0010, "sip:b;lr>;tag=1", "sip:b;lr", '>', ";tag=1"},
  };
  ExpectTokens(kRows);
}

TEST(Token, OtherStopsAreStoredWithoutTheirFlag) {
  static constexpr std::string_view kAll = "a:b,c=d<e>f;g h/i?j\"k\"[l](m){n}\\o%20'p'@!#$&*+-.^_`|~";
  ExpectTokens(TokenRow{0, kAll, kAll, kEnd, ""});
  ExpectTokens(TokenRow{kReasonPhrase, kAll, kAll, kEnd, ""});
  // Each stop flag alone passes over all the other stops.
  static constexpr std::pair<std::uint16_t, char> kStops[] = {
      {kStopColon, ':'}, {kStopComma, ','},     {kStopEquals, '='}, {kStopLess, '<'},    {kStopGreater, '>'},
      {kStopSpace, ' '}, {kStopSemicolon, ';'}, {kStopSlash, '/'},  {kStopQuestion, '?'}};
  for (const auto& [flag, stop] : kStops) {
    const std::size_t at = kAll.find(stop);
    ExpectTokens(TokenRow{flag, kAll, kAll.substr(0, at), stop, kAll.substr(at + 1)});
  }
}

TEST(Token, LineEndStopsWhereNoOtherByteDoes) {
  static constexpr TokenRow kRows[] = {
      {kStopColon, "abc", "abc", kEnd, ""},
      {kStopSpace, "abc", "abc", kEnd, ""},
      {0, "", "", kEnd, ""},
  };
  ExpectTokens(kRows);
}

TEST(Token, LineThatRanOutGivesNoStopAtAll) {
  LineScan line{"abc\r\n"};
  EXPECT_EQ(line.Take(0), (LineScan::Token{kScanOk, "abc", kEnd}));
  EXPECT_EQ(line.Take(0), (LineScan::Token{kScanOk, "", 0}));
  EXPECT_EQ(line.Take(kStopSpace), (LineScan::Token{kScanOk, "", 0}));
}

TEST(Token, SkipsLeadingBlanksUnlessABlankStops) {
  static constexpr TokenRow kRows[] = {
      {0, "  a b", "a b", kEnd, ""},
      {0, " \t \ta", "a", kEnd, ""},
      {kStopComma, "  a,b", "a", ',', "b"},
      {kStopSpace, " a", "", ' ', "a"},
      {kStopSpace, "\ta b", "a", ' ', "b"},  // a tab is dropped there
      {kReasonPhrase, " Not  Found", "Not  Found", kEnd, ""},
      {0, "   ", "", kEnd, ""},
  };
  ExpectTokens(kRows);
}

TEST(Token, ReadPositionMovesBehindTheBlanksThatFollow) {
  static constexpr TokenRow kRows[] = {
      {kStopComma, "a, \t b", "a", ',', "b"},    {kStopSpace, "a   b", "a", ' ', "b"},
      {kStopSpace, "a \t b c", "a", ' ', "b c"}, {kStopColon, "To:  sip:a", "To", ':', "sip:a"},
      {kStopColon, "To:", "To", ':', ""},        {kStopColon, "To:   ", "To", ':', ""},
  };
  ExpectTokens(kRows);
}

TEST(Token, TrailingBlanksStayInIt) {
  static constexpr TokenRow kRows[] = {
      {0, "a ", "a ", kEnd, ""},
      {kStopSemicolon, "1.2.3.4 ;x", "1.2.3.4 ", ';', "x"},
      {kStopComma, "a  ,b", "a  ", ',', "b"},
  };
  ExpectTokens(kRows);
}

TEST(Token, OneBlankBeforeAnAngleBracketIsCut) {
  static constexpr TokenRow kRows[] = {
      {kStopLess, "Bob <sip:b>", "Bob", '<', "sip:b>"}, {kStopLess, "Bob  <sip:b>", "Bob ", '<', "sip:b>"},
      {kStopLess, "Bob<sip:b>", "Bob", '<', "sip:b>"},  {kStopLess, " <sip:b>", "", '<', "sip:b>"},
      {kStopGreater, "a > b", "a ", '>', "b"},
  };
  ExpectTokens(kRows);
}

TEST(Token, CommaInDoubleQuotesIsNoStop) {
  static constexpr TokenRow kRows[] = {
      {kStopComma | kQuoteDouble, "\"a,b\",c", "\"a,b\"", ',', "c"},
      {kStopComma | kQuoteDouble, "x\"a,b\"y,c", "x\"a,b\"y", ',', "c"},
      {kStopComma | kQuoteDouble, "\"a,b", "\"a,b", kEnd, ""},  // never closed
      {kStopComma, "\"a,b\",c", "\"a", ',', "b\",c"},           // nothing quotes without the flag
  };
  ExpectTokens(kRows);
}

TEST(Token, SemicolonStopsInDoubleQuotesToo) {
  static constexpr TokenRow kRows[] = {
      {0x0442, "\"a;b\",c", "\"a", ';', "b\",c"},
      {0x0442, "\"a,b;c\"", "\"a,b", ';', "c\""},
  };
  ExpectTokens(kRows);
}

TEST(Token, BackslashEscapesTheNextByteInDoubleQuotes) {
  static constexpr TokenRow kRows[] = {
      {0x0402, R"("a\",b",c)", R"("a\",b")", ',', "c"},      // the quote stays open
      {0x0402, R"("a\\",b,c)", R"("a\\")", ',', "b,c"},      // the backslash is the escaped byte
      {0x0402, R"("a\b",c)", R"("a\b")", ',', "c"},          // a letter too, and only that one
      {0x0402, R"("a\b\",c",d)", R"("a\b\",c")", ',', "d"},  //
      {0x0442, R"("a\;b",c;d)", R"("a\;b")", ',', "c;d"},    // an escaped semicolon is none
      {0x0402, R"(a\",b)", R"(a\",b)", kEnd, ""},            // outside quotes it is a byte like others
      {0x0002, R"("a\",b)", R"("a\")", ',', "b"},            // and without the flag
  };
  ExpectTokens(kRows);
}

TEST(Token, ColonInSquareBracketsIsNoStop) {
  static constexpr TokenRow kRows[] = {
      {kStopColon | kQuoteBrackets, "[::1]:5060", "[::1]", ':', "5060"},
      {kStopColon | kQuoteBrackets, "[::1", "[::1", kEnd, ""},
      {kStopColon | kQuoteBrackets, "a]:b", "a]", ':', "b"},
      {kStopColon, "[::1]:5060", "[", ':', ":1]:5060"},  // nothing quotes without the flag
  };
  ExpectTokens(kRows);
}

TEST(Token, DoubledSeparatorSetsStatus400AndStopsStill) {
  static constexpr TokenRow kRows[] = {
      {kStopSemicolon, "a;;b", "a", ';', ";b"},
      {kStopComma, "a,,b", "a", ',', ",b"},
      {0x0442, "a,,b", "a", ',', ",b"},
  };
  for (const TokenRow& row : kRows) {
    ExpectTokens(row);
    LineScan line{std::string{row.line} + "\r\n"};
    (void)line.Take(row.flags);
    EXPECT_EQ(line.msg().scan_status, 400) << row.line;
  }
}

TEST(Token, DoubledSeparatorIsReported) {
  LineScan line{"a;;b\r\n"};
  cpsip_token token;
  const std::string reports =
      Reports([&] { (void)cpsip_get_next_token_from_osa_buf(line.scan(), kStopSemicolon, token); });
  EXPECT_EQ(reports.rfind("UXP", 0), 0U) << reports;
  EXPECT_NE(reports.find("file: cpsip_msg line: "), std::string::npos) << reports;
}

TEST(Token, OtherNeighboursOfASeparatorAreFine) {
  static constexpr std::pair<std::uint16_t, std::string_view> kRows[] = {
      {0x0042, "a;,b"}, {0x0042, "a,;b"}, {0x0042, "a; ;b"}, {0x0042, "a, ,b"}, {0x0042, "a;"},
      {0x0042, "a,"},   {0x0040, "a,,b"}, {0x0002, "a;;b"},  {0x0001, "a::b"},
  };
  for (const auto& [flags, text] : kRows) {
    LineScan line{std::string{text} + "\r\n"};
    (void)line.Take(flags);
    EXPECT_EQ(line.msg().scan_status, 0) << text;
  }
}

TEST(Token, DoubledSemicolonInOpenQuotesOrParenthesesIsFine) {
  static constexpr std::pair<std::uint16_t, std::string_view> kRows[] = {
      {kStopSemicolon | kQuoteDouble, "\"a;;b\""},
      {kStopSemicolon | kQuoteParentheses, "(a;;b)"},
      {kStopComma | kQuoteParentheses, "(a,,b)"},
  };
  for (const auto& [flags, text] : kRows) {
    LineScan quoted{std::string{text} + "\r\n"};
    (void)quoted.Take(flags);
    EXPECT_EQ(quoted.msg().scan_status, 0) << text;
    // The same text without the flag that quotes is a fault.
    LineScan plain{std::string{text} + "\r\n"};
    (void)plain.Take(flags & (kStopSemicolon | kStopComma));
    EXPECT_EQ(plain.msg().scan_status, 400) << text;
  }
}

TEST(Token, DroppedBytesAreClosedUp) {
  static constexpr TokenRow kRows[] = {
      {0, "a\tb", "ab", kEnd, ""},
      {0, "a\nb", "ab", kEnd, ""},
      {0, "a\rb", "ab", kEnd, ""},
      {0, "a\0b"sv, "ab", kEnd, ""},
      {0,
       "\x01"
       "a\x02"
       "b\x7F",
       "ab", kEnd, ""},
      {kStopComma, "a\t\nb\x01, c", "ab", ',', "c"},
      {kStopComma, "\t,b", "", ',', "b"},
      {kStopSpace, "IN\tVITE sip:b", "INVITE", ' ', "sip:b"},
      {kStopSpace, "a\nb c", "ab", ' ', "c"},
  };
  ExpectTokens(kRows);
}

TEST(Token, EveryControlByteIsDropped) {
  for (int c = 0; c < 128; ++c) {
    const bool dropped = c < 32 || c == 127;
    const char byte = static_cast<char>(c);
    if (c == 13) continue;  // needs another byte behind it, see above
    SCOPED_TRACE(c);
    const std::string text = std::string{"a"} + byte + "b";
    ExpectTokens(TokenRow{0, text, dropped ? "ab" : text, kEnd, ""});
  }
}

TEST(Token, BytesFrom128AreLetters) {
  for (int c = 128; c < 256; ++c) {
    const std::string text = std::string{"a"} + static_cast<char>(c) + "b";
    ExpectTokens(TokenRow{0, text, text, kEnd, ""});
  }
}

TEST(Token, GapOfDroppedBytesIsFilledWithBlanks) {
  LineScan line{"a\tb\x01,c\td\r\n"};
  EXPECT_EQ(line.Take(kStopComma).text, "ab");
  EXPECT_EQ(line.msg().chain->text(), "ab  ,c\td\r\n+");
  EXPECT_EQ(line.Take(0).text, "cd");
  EXPECT_EQ(line.msg().chain->text(), "ab  ,cd \r\n+");
}

TEST(Token, DroppedBytesLeaveTheTextBehindAlone) {
  LineScan line{"a\tb\t,c\td,e\r\n"};
  EXPECT_EQ(line.Take(kStopComma).text, "ab");
  EXPECT_EQ(line.Take(kStopComma).text, "cd");
  EXPECT_EQ(line.Take(kStopComma), (LineScan::Token{kScanOk, "e", kEnd}));
}

TEST(Token, NulIsReported) {
  LineScan line{"a\0b\r\n"sv};
  cpsip_token token;
  const std::string reports =
      Reports([&] { (void)cpsip_get_next_token_from_osa_buf(line.scan(), 0, token); });
  EXPECT_EQ(reports.rfind("UXP: file: cpsip_msg line: ", 0), 0U) << reports;
}

TEST(Token, ControlBytesAreNotReported) {
  LineScan line{"a\tb\x01\r\n"};
  cpsip_token token;
  EXPECT_EQ(Reports([&] { (void)cpsip_get_next_token_from_osa_buf(line.scan(), 0, token); }), "");
}

TEST(Token, Takes300BytesAndNo301) {
  for (const std::uint16_t flags : {0x0000, 0x0001, 0x0048, 0x0080, 0x0442}) {
    SCOPED_TRACE(flags);
    LineScan longest{std::string(300, 'a') + "\r\n"};
    EXPECT_EQ(longest.Take(flags), (LineScan::Token{kScanOk, std::string(300, 'a'), kEnd}));
    LineScan longer{std::string(301, 'a') + "\r\n"};
    EXPECT_EQ(longer.Take(flags).result, kScanTokenTooLong);
  }
}

TEST(Token, OnlyStoredBytesCountForItsLength) {
  LineScan dropped{"  " + std::string(150, 'a') + "\t\t\t" + std::string(150, 'a') + "\r\n"};
  EXPECT_EQ(dropped.Take(0), (LineScan::Token{kScanOk, std::string(300, 'a'), kEnd}));
  LineScan blank{std::string(300, 'a') + " \r\n"};
  EXPECT_EQ(blank.Take(0).result, kScanTokenTooLong);
}

TEST(Token, TooLongOneIsReported) {
  LineScan line{std::string(301, 'a') + "\r\n"};
  cpsip_token token;
  const std::string reports =
      Reports([&] { (void)cpsip_get_next_token_from_osa_buf(line.scan(), 0, token); });
  EXPECT_EQ(reports.rfind("UXP", 0), 0U) << reports;
}

}  // namespace
}  // namespace hark::test
