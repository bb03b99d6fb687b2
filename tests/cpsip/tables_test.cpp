// The tables of methods, headers, events, subscription states and characters, row by row, and the ways to
// find a row.
#include "cpsip/cpsip_tables.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <set>
#include <span>
#include <string>
#include <utility>

namespace hark::test {
namespace {

struct ExpectedRow {
  const char* text;
  int id;
  int length;
};

std::string Upper(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return text;
}

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

// Every second letter in upper case.
std::string Mixed(std::string text) {
  text = Lower(text);
  for (std::size_t i = 1; i < text.size(); i += 2)
    text[i] = Upper(text.substr(i, 1))[0];
  return text;
}

template <std::size_t kRows>
void ExpectRows(std::span<const cpsip_row> table, const ExpectedRow (&expected)[kRows]) {
  ASSERT_EQ(table.size(), kRows + 1) << "the end row included";
  for (std::size_t i = 0; i < kRows; ++i) {
    SCOPED_TRACE(expected[i].text);
    EXPECT_STREQ(table[i].text, expected[i].text);
    EXPECT_EQ(table[i].id, expected[i].id);
    EXPECT_EQ(table[i].length, expected[i].length);
  }
}

// Text, method, compared length; scanned front to back.
constexpr ExpectedRow kMethods[] = {
    {"SIP/", 0, 4},   {"INVITE", 1, 6}, {"BYE", 3, 3},     {"ACK", 2, 3},
    {"CANCEL", 4, 6}, {"REFER", 9, 5},  {"NOTIFY", 10, 6}, {"OPTIONS", 5, 7},
};

// Name, id, length: long and compact names are rows of their own.
constexpr ExpectedRow kHeaders[] = {
    {"To", 2, 2},
    {"t", 2, 1},
    {"From", 3, 4},
    {"f", 3, 1},
    {"CSeq", 5, 4},
    {"Call-ID", 4, 7},
    {"i", 4, 1},
    {"Max-Forwards", 1, 12},
    {"Via", 0, 3},
    {"v", 0, 1},
    {"Content-Type", 7, 12},
    {"c", 7, 1},
    {"Content-Length", 8, 14},
    {"l", 8, 1},
    {"Contact", 6, 7},
    {"m", 6, 1},
    {"Route", 13, 5},
    {"Record-Route", 14, 12},
    {"User-Agent", 15, 10},
    {"Expires", 16, 7},
    {"Allow", 18, 5},
    {"Server", 23, 6},
    {"Subject", 17, 7},
    {"s", 17, 1},
    {"Require", 19, 7},
    {"Proxy-Require", 20, 13},
    {"Supported", 21, 9},
    {"Unsupported", 22, 11},
    {"Accept", 29, 6},
    {"Replaces", 30, 8},
    {"Refer-To", 31, 8},
    {"r", 31, 1},
    {"Referred-By", 32, 11},
    {"b", 32, 1},
    {"Allow-Events", 33, 12},
    {"u", 33, 1},
    {"Subscription-State", 34, 18},
    {"Event", 35, 5},
    {"o", 35, 1},
};

constexpr ExpectedRow kEvents[] = {{"refer", 0, 5}, {"presence", 1, 8}, {"message-summary", 2, 15}};

// The last row's text is longer than what is compared: it is what the formatter writes.
constexpr ExpectedRow kStates[] = {
    {"active", 2, 6}, {"pending", 1, 7}, {"terminated;reason=noresource", 0, 10}};

TEST(SipTables, MethodTableHasItsRowsInOrder) {
  ExpectRows(Cpsip_method_table, kMethods);
  EXPECT_EQ(Cpsip_method_table.back().text, nullptr);
  EXPECT_EQ(Cpsip_method_table.back().id, kMethodEndId);
  EXPECT_EQ(Cpsip_method_table.back().id, 99);
  EXPECT_EQ(Cpsip_method_table.back().length, 0);
}

TEST(SipTables, HeaderTableHasItsRowsInOrder) {
  ExpectRows(Cpsip_hdr_table, kHeaders);
  EXPECT_STREQ(Cpsip_hdr_table.back().text, "~");
  EXPECT_EQ(Cpsip_hdr_table.back().id, 41);
  EXPECT_EQ(Cpsip_hdr_table.back().length, 0);
}

TEST(SipTables, EventTableHasItsRowsInOrder) {
  ExpectRows(Cpsip_event_hdr_table, kEvents);
  EXPECT_STREQ(Cpsip_event_hdr_table.back().text, "~");
  EXPECT_EQ(Cpsip_event_hdr_table.back().id, 3);
}

TEST(SipTables, SubscriptionStateTableHasItsRowsInOrder) {
  ExpectRows(Cpsip_subscr_state_hdr_table, kStates);
  EXPECT_STREQ(Cpsip_subscr_state_hdr_table.back().text, "~");
  EXPECT_EQ(Cpsip_subscr_state_hdr_table.back().id, 3);
}

TEST(SipTables, HeaderNamesAreUniqueInAnyCase) {
  std::set<std::string> seen;
  for (const cpsip_row& row : Cpsip_hdr_table)
    EXPECT_TRUE(seen.insert(Lower(row.text)).second) << row.text;
}

TEST(SipTables, MethodValuesAreThoseOfTheApplication) {
  constexpr std::pair<cpsip_method, std::uint32_t> kValues[] = {
      {cpsip_method::response, 0},
      {cpsip_method::invite, 1},
      {cpsip_method::ack, 2},
      {cpsip_method::bye, 3},
      {cpsip_method::cancel, 4},
      {cpsip_method::options, 5},
      {cpsip_method::register_, 6},
      {cpsip_method::prack, 7},
      {cpsip_method::info, 8},
      {cpsip_method::refer, 9},
      {cpsip_method::notify, 10},
      {cpsip_method::subscribe, 11},
      {cpsip_method::message, 12},
      {cpsip_method::publish, 13},
      {cpsip_method::update, 14},
      {cpsip_method::received_rtp, 88},
      {cpsip_method::received_rtcp, 89},
      {cpsip_method::unregister, 96},
      {cpsip_method::service_failure, 97},
      {cpsip_method::local_status, 98},
      {cpsip_method::unrecognized, 99},
  };
  for (const auto& [method, value] : kValues)
    EXPECT_EQ(static_cast<std::uint32_t>(method), value);
}

TEST(FindMethod, TakesEveryRowByItsText) {
  for (const ExpectedRow& row : kMethods)
    EXPECT_EQ(cpsip_find_method(row.text).id, row.id) << row.text;
}

TEST(FindMethod, TakesWhatBeginsWithARowsText) {
  for (const ExpectedRow& row : kMethods)
    EXPECT_EQ(cpsip_find_method(std::string{row.text} + "X").id, row.id) << row.text;
  EXPECT_EQ(cpsip_find_method("SIP/2.0").id, 0);
}

TEST(FindMethod, GivesTheEndRowForAnythingElse) {
  for (const ExpectedRow& row : kMethods) {
    const std::string text = row.text;
    SCOPED_TRACE(text);
    EXPECT_EQ(cpsip_find_method(Lower(text)).id, kMethodEndId) << "the case counts";
    EXPECT_EQ(cpsip_find_method(Mixed(text)).id, kMethodEndId) << "the case counts";
    EXPECT_EQ(cpsip_find_method(text.substr(0, text.size() - 1)).id, kMethodEndId);
    EXPECT_EQ(cpsip_find_method("X" + text).id, kMethodEndId);
  }
  for (const char* text :
       {"", "REGISTER", "PRACK", "INFO", "SUBSCRIBE", "MESSAGE", "PUBLISH", "UPDATE", "FOO", "~"})
    EXPECT_EQ(cpsip_find_method(text).id, kMethodEndId) << text;
}

TEST(FindHdr, TakesEveryNameInAnyCase) {
  for (const ExpectedRow& row : kHeaders) {
    SCOPED_TRACE(row.text);
    for (const std::string& name :
         {std::string{row.text}, Upper(row.text), Lower(row.text), Mixed(row.text)}) {
      EXPECT_EQ(cpsip_find_hdr(name).id, row.id) << name;
      EXPECT_EQ(cpsip_find_hdr(name).length, row.length) << name;
    }
  }
}

TEST(FindHdr, GivesTheEndRowForALongerOrAShorterName) {
  for (const ExpectedRow& row : kHeaders) {
    const std::string name = row.text;
    SCOPED_TRACE(name);
    EXPECT_EQ(cpsip_find_hdr(name + "x").id, kHdrUnknown);
    EXPECT_EQ(cpsip_find_hdr(name + " ").id, kHdrUnknown);
    if (name.size() > 2) {
      EXPECT_EQ(cpsip_find_hdr(name.substr(0, name.size() - 1)).id, kHdrUnknown);
      EXPECT_EQ(cpsip_find_hdr(name.substr(1)).id, kHdrUnknown);
    }
  }
}

TEST(FindHdr, EveryLetterThatIsNoCompactFormIsUnknown) {
  const std::string compact = "tfivclmsrbuo";
  for (int c = 1; c < 256; ++c) {
    const std::string name(1, static_cast<char>(c));
    const bool listed = c < 128 && compact.find(Lower(name)) != std::string::npos;
    EXPECT_EQ(cpsip_find_hdr(name).id != kHdrUnknown, listed) << c;
  }
}

TEST(FindHdr, HeadersWithoutARowAreUnknown) {
  for (const char* name : {"", "~", "Content-Encoding", "Authorization", "WWW-Authenticate",
                           "Proxy-Authorization", "Proxy-Authenticate", "Date", "Warning", "Organization",
                           "Accept-Language", "Call_ID", "Session-Expires", "RSeq", "MIME-Version", "To:"})
    EXPECT_EQ(cpsip_find_hdr(name).id, kHdrUnknown) << name;
}

TEST(FindValue, TakesEveryEventByPrefixInAnyCase) {
  for (const ExpectedRow& row : kEvents) {
    SCOPED_TRACE(row.text);
    for (const std::string& text :
         {std::string{row.text}, Upper(row.text), Mixed(row.text), row.text + std::string{".winfo"}})
      EXPECT_EQ(cpsip_find_value(Cpsip_event_hdr_table, text).id, row.id) << text;
  }
}

TEST(FindValue, TakesEverySubscriptionStateByPrefixInAnyCase) {
  for (const ExpectedRow& row : kStates) {
    const std::string compared = std::string{row.text}.substr(0, static_cast<std::size_t>(row.length));
    SCOPED_TRACE(compared);
    for (const std::string& text : {compared, Upper(compared), Mixed(compared), compared + "ly"})
      EXPECT_EQ(cpsip_find_value(Cpsip_subscr_state_hdr_table, text).id, row.id) << text;
  }
}

TEST(FindValue, GivesTheEndRowForAnythingElse) {
  for (const char* text : {"", "~", "dialog", "refe", "presenc", "message-summar", " refer", "xpresence"})
    EXPECT_EQ(cpsip_find_value(Cpsip_event_hdr_table, text).id, kEventEndId) << text;
  for (const char* text : {"", "~", "waiting", "activ", "pendin", "terminate", " active"})
    EXPECT_EQ(cpsip_find_value(Cpsip_subscr_state_hdr_table, text).id, kSubscriptionEndId) << text;
}

TEST(MethodText, IsTheTablesTextAndEmptyForTheOthers) {
  for (const ExpectedRow& row : std::span{kMethods}.subspan(1))  // behind that of responses
    EXPECT_EQ(cpsip_method_text(static_cast<cpsip_method>(row.id)), row.text) << row.text;
  for (const cpsip_method method :
       {cpsip_method::response, cpsip_method::register_, cpsip_method::prack, cpsip_method::info,
        cpsip_method::subscribe, cpsip_method::message, cpsip_method::publish, cpsip_method::update,
        cpsip_method::received_rtp, cpsip_method::received_rtcp, cpsip_method::unregister,
        cpsip_method::service_failure, cpsip_method::local_status, cpsip_method::unrecognized})
    EXPECT_EQ(cpsip_method_text(method), "") << static_cast<std::uint32_t>(method);
}

// The classes in the order of the bytes: up to and with `last`.
struct CharRow {
  int last;
  int char_class;
};

constexpr CharRow kChars[] = {
    {0, kCharNul},          // NUL
    {8, kCharControl},      //
    {9, kCharBlank},        // HT
    {10, kCharLineEnd},     // LF
    {12, kCharControl},     // VT, FF
    {13, kCharLineEnd},     // CR
    {31, kCharControl},     //
    {32, kCharBlank},       // SP
    {36, kCharSeparator},   // ! " # $
    {37, kCharEscape},      // %
    {47, kCharSeparator},   // & to /
    {57, kCharDigit},       // 0 to 9
    {64, kCharSeparator},   // : to @
    {90, kCharLetter},      // A to Z
    {96, kCharSeparator},   // [ to `
    {122, kCharLetter},     // a to z
    {126, kCharSeparator},  // { to ~
    {127, kCharControl},    // DEL
    {255, kCharLetter},     //
};

TEST(CharTable, GivesAll256BytesTheirClass) {
  int byte = 0;
  for (const CharRow& row : kChars)
    for (; byte <= row.last; ++byte)
      EXPECT_EQ(Cpsip_char_table[static_cast<std::size_t>(byte)], row.char_class) << byte;
  EXPECT_EQ(byte, 256);
}

TEST(CharTable, ClassesHaveTheirNumbers) {
  EXPECT_EQ(kCharNul, 0);
  EXPECT_EQ(kCharControl, 1);
  EXPECT_EQ(kCharBlank, 2);
  EXPECT_EQ(kCharLineEnd, 3);
  EXPECT_EQ(kCharDigit, 4);
  EXPECT_EQ(kCharLetter, 5);
  EXPECT_EQ(kCharSeparator, 6);
  EXPECT_EQ(kCharEscape, 7);
}

}  // namespace
}  // namespace hark::test
