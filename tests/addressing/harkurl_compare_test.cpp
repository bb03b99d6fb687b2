// The order of URLs, the part of an address that names a host, and the way back from SIP to a URL.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <optional>
#include <string>

#include "addressing/harkurl.h"

namespace hark {
namespace {

int Sign(int n) { return (n > 0) - (n < 0); }

TEST(HarkUrlcompare, SameStationIsEqualInEverySpelling) {
  constexpr std::array<const char*, 8> kSpellings{"hark:10.0.0.1",
                                                  "*hark:10.0.0.1",
                                                  "sip:hark-talk@10.0.0.1",
                                                  "sip:hark-listen@10.0.0.1",
                                                  "\"Studio A\" <hark:10.0.0.1>",
                                                  "Studio B <sip:hark-talk@10.0.0.1>",
                                                  "hark:10.0.0.1;trgl=3;label=x",
                                                  "\"A\" <*hark:10.0.0.1>;trgl=1"};
  for (const char* a : kSpellings) {
    for (const char* b : kSpellings)
      EXPECT_EQ(hark_urlcompare(a, b), 0) << a << " / " << b;
  }
}

TEST(HarkUrlcompare, OtherPartiesAreOrdered) {
  struct Row {
    const char* less;
    const char* greater;
  };
  for (const Row& row :
       {Row{"hark:1.1.1.1", "hark:1.1.1.1:5062"}, Row{"hark:1.1.1.1", "hark:1.1.1.2"}, Row{"hark:", "hark:1"},
        Row{"sip:hark-talk@1.1.1.1", "hark:1.1.1.2"}, Row{"\"Z\" <hark:1.1.1.1>", "\"A\" <hark:1.1.1.2>"},
        Row{"phone:1", "phone:2"}, Row{"phone:1", "phone:11"}, Row{"phone:1", "sip:bob@1.1.1.1"},
        Row{"sip:alice@1.1.1.1", "sip:bob@1.1.1.1"}, Row{"quillnet:239.192.0.1", "quillnet:239.192.0.2"},
        Row{"hark:1.1.1.1;trgl=9", "hark:1.1.1.2;trgl=1"}, Row{"abc", "abd"}, Row{"abc", "abcd"},
        // Of different types the whole texts decide.
        Row{"hark:1", "phone:1"}, Row{"hark:9", "quillnet:1"}, Row{"\"A\" <phone:1>", "\"B\" <hark:1>"},
        Row{"*hark:1", "phone:1"}, Row{"hark:1", "xyz"}}) {
    SCOPED_TRACE(std::string(row.less) + " < " + row.greater);
    EXPECT_LT(hark_urlcompare(row.less, row.greater), 0);
    EXPECT_GT(hark_urlcompare(row.greater, row.less), 0);
  }
}

TEST(HarkUrlcompare, TagsAndNamesPlayNoPartForAnyType) {
  EXPECT_EQ(hark_urlcompare("\"A\" <quillnet:239.192.0.1>;gpio=1", "quillnet:239.192.0.1;gpio=2"), 0);
  EXPECT_EQ(hark_urlcompare("Bob <sip:bob@1.1.1.1>", "sip:bob@1.1.1.1;label=x"), 0);
  EXPECT_EQ(hark_urlcompare("phone:1;a=1", "phone:1"), 0);
}

TEST(HarkUrlcompare, ASipPortMakesAnotherParty) {
  EXPECT_NE(hark_urlcompare("sip:bob@1.1.1.1", "sip:bob@1.1.1.1:5060"), 0);
}

TEST(HarkUrlcompare, EmptyTextsAreEqualAndDifferFromAnyUrl) {
  EXPECT_EQ(hark_urlcompare("", ""), 0);
  EXPECT_LT(hark_urlcompare("", "hark:1"), 0);
  EXPECT_GT(hark_urlcompare("hark:1", ""), 0);
}

TEST(HarkUrlcompare, LessThanIsTheSameFromBothSidesForEveryPair) {
  constexpr std::array<const char*, 14> kUrls{"hark:1",
                                              "hark:2",
                                              "*hark:1",
                                              "sip:hark-talk@1",
                                              "phone:1",
                                              "sip:bob@1",
                                              "quillnet:239.1.1.1",
                                              "\"A\" <hark:1>",
                                              "A <phone:1>",
                                              "<hark:1>",
                                              "",
                                              "nothing",
                                              "\"A;B\" <hark:1>",
                                              "hark:1:5062"};
  for (const char* a : kUrls) {
    EXPECT_EQ(hark_urlcompare(a, a), 0) << a;
    for (const char* b : kUrls)
      EXPECT_EQ(Sign(hark_urlcompare(a, b)), -Sign(hark_urlcompare(b, a))) << a << " / " << b;
  }
}

TEST(HarkurlMeaningfullAddrLen, CutsThePortOfASipAddressOnly) {
  struct Row {
    const char* addr;
    std::size_t len;
    std::size_t want;
  };
  for (const Row& row :
       {Row{"sip:bob@1.2.3.4:5060", 20, 15}, Row{"sip:bob@1.2.3.4", 15, 15},
        Row{"sip:bob@1.2.3.4:5060;x=1", 24, 15}, Row{"sip:bob@1.2.3.4:5060", 16, 15},
        Row{"sip:bob@1.2.3.4:5060", 15, 15}, Row{"sip:bob@1.2.3.4:5060", 7, 7},
        Row{"sip:hark-talk@10.0.0.1:5062", 27, 22}, Row{"hark:1.1.1.1:5062", 17, 17},
        Row{"quillnet:239.1.1.1:5", 20, 20}, Row{"sip::", 5, 4}, Row{"sip:bob", 0, 0}, Row{"", 0, 0}}) {
    SCOPED_TRACE(std::string(row.addr) + " " + std::to_string(row.len));
    EXPECT_EQ(harkurl_meaningfull_addr_len(row.addr, row.len), row.want);
  }
  EXPECT_EQ(harkurl_meaningfull_addr_len(nullptr, 5), 0U);
}

TEST(HarkurlFromsip, StationPrefixBecomesAHarkUrl) {
  struct Row {
    const char* sip;
    const char* want;
  };
  for (const Row& row :
       {Row{"sip:hark-talk@10.0.0.1", "hark:10.0.0.1"},
        Row{"sip:hark-listen@10.0.0.1:5061", "hark:10.0.0.1:5061"}, Row{"hark:10.0.0.1", "hark:10.0.0.1"},
        Row{"*hark:10.0.0.1", "hark:10.0.0.1"}, Row{"sip:hark-talk@10.0.0.1;trgl=2", "hark:10.0.0.1;trgl=2"},
        Row{"sip:hark-talk@", "hark:"}}) {
    EXPECT_EQ(harkurl_fromsip(row.sip), row.want) << row.sip;
  }
}

TEST(HarkurlFromsip, GivesNothingWithoutAStationPrefix) {
  for (const char* sip : {"sip:bob@10.0.0.1", "phone:1", "10.0.0.1", "", "<sip:hark-talk@10.0.0.1>"}) {
    EXPECT_EQ(harkurl_fromsip(sip), std::nullopt) << sip;
  }
  EXPECT_EQ(harkurl_fromsip(nullptr), std::nullopt);
}

TEST(HarkurlFromsip2, ShowsNameAndAddressAsFarAsTheyAreKnown) {
  struct Row {
    const char* name;
    const char* sip;
    const char* want;
  };
  for (const Row& row :
       {Row{"Studio A", "sip:hark-talk@10.0.0.1", "\"Studio A\" <hark:10.0.0.1>"},
        Row{"Bob", "sip:bob@10.0.0.1:5060", "\"Bob\" <sip:bob@10.0.0.1:5060>"},
        Row{"Studio A", nullptr, "\"Studio A\""}, Row{"Studio A", "", "\"Studio A\""},
        Row{nullptr, "sip:hark-listen@10.0.0.1", "hark:10.0.0.1"},
        Row{"", "sip:hark-listen@10.0.0.1", "hark:10.0.0.1"},
        Row{nullptr, "sip:bob@10.0.0.1", "sip:bob@10.0.0.1"}, Row{"", "sip:bob@10.0.0.1", "sip:bob@10.0.0.1"},
        Row{nullptr, nullptr, ""}, Row{"", "", ""}, Row{"", nullptr, ""}, Row{nullptr, "", ""}}) {
    SCOPED_TRACE(std::string(row.name != nullptr ? row.name : "(null)") + " / " +
                 (row.sip != nullptr ? row.sip : "(null)"));
    EXPECT_EQ(harkurl_fromsip2(row.name, row.sip), row.want);
  }
}

TEST(HarkurlFromsip2, WhatItGivesParsesBackToItsParts) {
  const std::string url = harkurl_fromsip2("Studio A", "sip:hark-talk@10.0.0.1");
  harkurl_info info;
  EXPECT_EQ(harkurl_parse(url.c_str(), &info), HARKURL_STATION);
  EXPECT_EQ(std::string(info.name, info.name_len), "Studio A");
  EXPECT_EQ(std::string(info.url, info.url_len), "hark:10.0.0.1");
}

}  // namespace
}  // namespace hark
