// Whom a name means.
#include "tools/harkctl/known_urls.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace hark::ctl {
namespace {

using control::Call;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr char kFile[] =
    "# a remark\n"
    "\"Ext 1\" <quillnet:239.192.4.213>;trgl=4;gpio=1\n"
    "\talt Gate one\n"
    "\n"
    "News <quillnet:239.192.4.210>;trgl=6\r\n"
    "Lost\n"
    "Seen <>;trgl=3\n"
    "quillnet:239.192.4.99\n";

const std::vector<KnownUrl> kKnown = read_known(kFile);
const std::vector<Call> kCalls = {
    {.url = "\"Studio B\" <hark:10.0.0.7;trgl=4;label=Studio\\032B>", .name = "Studio B", .talk = 'R'},
    {.url = "quillnet:239.192.4.210", .name = "quillnet:239.192.4.210", .listen = '1'},
    {.url = "quillnet:239.192.1.1", .name = "Twin", .talk = '1'},
    {.url = "quillnet:239.192.1.2", .name = "Twin", .talk = '1'}};

TEST(KnownUrls, AFileHasNamesAddressesAndWholeLines) {
  ASSERT_EQ(kKnown.size(), 5U);
  EXPECT_EQ(kKnown[0].name, "Ext 1");
  EXPECT_EQ(kKnown[0].address, "quillnet:239.192.4.213");
  EXPECT_EQ(kKnown[0].url, "\"Ext 1\" <quillnet:239.192.4.213>;trgl=4;gpio=1");
  EXPECT_EQ(kKnown[1].name, "News");
  EXPECT_EQ(kKnown[1].url, "News <quillnet:239.192.4.210>;trgl=6");
  EXPECT_EQ(kKnown[2].name, "Lost");
  EXPECT_EQ(kKnown[2].address, "");
  EXPECT_EQ(kKnown[3].name, "Seen");
  EXPECT_EQ(kKnown[3].address, "");
  EXPECT_EQ(kKnown[4].name, "");
  EXPECT_EQ(kKnown[4].address, "quillnet:239.192.4.99");
}

TEST(KnownUrls, UrlsHaveASchemeOrAnAddressInBrackets) {
  for (const char* text : {"quillnet:1", "hark:10.0.0.7", "*hark:10.0.0.7", "sip:a@b", "phone:5",
                           "News <quillnet:1>", "\"Ext 1\" <hark:10.0.0.7>;trgl=4", "other:thing"})
    EXPECT_TRUE(is_url(text)) << text;
  for (const char* text : {"", "News", "Ext 1", "Studio:", "10:30 Show", ":x", "News <x>"})
    EXPECT_EQ(is_url(text), std::string(text) == "Studio:") << text;
}

TEST(KnownUrls, ACallGoesToTheFileThenToWhoIsUpThenToTheUrl) {
  const struct {
    const char* text;
    const char* url;
  } kRows[] = {
      {"News", "News <quillnet:239.192.4.210>;trgl=6"},
      {"Ext 1", "\"Ext 1\" <quillnet:239.192.4.213>;trgl=4;gpio=1"},
      {"Studio B", "\"Studio B\" <hark:10.0.0.7;trgl=4;label=Studio\\032B>"},
      {"quillnet:239.192.4.210", "quillnet:239.192.4.210"},
      {"hark:10.0.0.9", "hark:10.0.0.9"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.text);
    const Party party = party_to_call(row.text, kKnown, kCalls);
    EXPECT_EQ(party.fault, "");
    EXPECT_EQ(party.url, row.url);
  }
}

TEST(KnownUrls, ADropGoesToWhoIsUpFirst) {
  const struct {
    const char* text;
    const char* url;
  } kRows[] = {
      {"Studio B", "\"Studio B\" <hark:10.0.0.7;trgl=4;label=Studio\\032B>"},
      // the station's own text of the call, found by the address
      {"hark:10.0.0.7", "\"Studio B\" <hark:10.0.0.7;trgl=4;label=Studio\\032B>"},
      {"News", "quillnet:239.192.4.210"},
      {"Ext 1", "\"Ext 1\" <quillnet:239.192.4.213>;trgl=4;gpio=1"},
      {"hark:10.0.0.9", "hark:10.0.0.9"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.text);
    const Party party = party_to_drop(row.text, kKnown, kCalls);
    EXPECT_EQ(party.fault, "");
    EXPECT_EQ(party.url, row.url);
  }
}

TEST(KnownUrls, WhoCannotBeMeantIsSaid) {
  const std::vector<KnownUrl> long_line =
      read_known("Long <quillnet:239.192.4.210>;trgl=6;label=" + std::string(50, 'x') + "\n");
  const struct {
    const char* text;
    const char* fault;
  } kRows[] = {{"Nobody", "no such name: Nobody"},
               {"news", "no such name: news"},
               {"Twin", "several calls have the name Twin"},
               {"Lost", "not known yet"},
               {"Seen", "not known yet"}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.text);
    EXPECT_THAT(party_to_call(row.text, kKnown, kCalls).fault, HasSubstr(row.fault));
    EXPECT_THAT(party_to_drop(row.text, kKnown, kCalls).fault, HasSubstr(row.fault));
  }
  EXPECT_THAT(party_to_call("Long", long_line, {}).fault, HasSubstr("longer than 79 bytes"));
}

TEST(KnownUrls, CandidatesAreSortedAndEachOnce) {
  EXPECT_THAT(candidates("", kKnown, {}), ElementsAre("Ext 1", "News", "quillnet:239.192.4.210",
                                                      "quillnet:239.192.4.213", "quillnet:239.192.4.99"));
  EXPECT_THAT(candidates("S", kKnown, kCalls), ElementsAre("Studio B"));
  EXPECT_THAT(candidates("h", kKnown, kCalls), ElementsAre("hark:10.0.0.7"));
  EXPECT_THAT(candidates("x", kKnown, kCalls), ElementsAre());
  // A name with a control character would be typed into a shell.
  EXPECT_THAT(candidates("", {{"a\x1b", "a <quillnet:1>", "quillnet:1"}}, {}), ElementsAre("quillnet:1"));
}

// Only ASCII's control characters were left out: "\u009b2J" clears the screen of some terminals, and a shell
// shows the candidates as they are.
TEST(KnownUrls, WhatMustNotReachATerminalIsNoCandidate) {
  for (const char* name : {"\x1b[2J", "\x7f", "\xc2\x9b\x32J", "\xe2\x80\xae", "\xff"}) {
    SCOPED_TRACE(name);
    EXPECT_THAT(candidates("", {{name, "<quillnet:1>", "quillnet:1"}}, {}), ElementsAre("quillnet:1"));
    EXPECT_THAT(candidates("", {}, {{.url = "quillnet:1", .name = name}}), ElementsAre("quillnet:1"));
  }
  EXPECT_THAT(candidates("", {{"K\xc3\xb6ln", "<quillnet:1>", ""}, {"\xc3\x96", "x", "quillnet:2"}}, {}),
              ElementsAre("quillnet:2", "\xc3\x96"));
}

// A URL of nothing but quotes was escaped to a line of nearly 4000 bytes, which a station drops whole.
TEST(KnownUrls, ACallWhoseUrlFitsNoLineCannotBeNamed) {
  for (const std::size_t quotes : {1, 960, 980, 1900}) {
    SCOPED_TRACE(quotes);
    const std::string url = "<hark:10.0.0.7>;x=" + std::string(quotes, '"');
    const std::vector<Call> calls = {{.url = url, .name = "Odd", .talk = '1'}};
    const std::string fault = quotes > 960 ? "the URL of Odd is too long for a line" : "";
    EXPECT_EQ(party_to_call("Odd", {}, calls).fault, fault);
    EXPECT_EQ(party_to_drop("Odd", {}, calls).fault, fault);
    EXPECT_EQ(party_to_drop("hark:10.0.0.7", {}, calls).fault, fault);
    EXPECT_EQ(party_to_drop("Odd", {}, calls).url, fault.empty() ? url : "");
  }
}

TEST(KnownUrls, FilesOfAnotherMachineAreNotRead) {
  EXPECT_TRUE(known_urls("192.0.2.1", "/nonexistent").empty());
  EXPECT_TRUE(known_urls("127.0.0.1", "/nonexistent").empty());
}

}  // namespace
}  // namespace hark::ctl
