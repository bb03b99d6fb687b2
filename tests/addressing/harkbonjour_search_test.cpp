// The search among the stations found: by label and by URL, and what each buffer gets.
#include <arpa/inet.h>
#include <gtest/gtest.h>

#include "bonjour_fixture.h"

namespace hark {
namespace {

constexpr int kNotFound = -1;
constexpr int kBufferTooSmall = -2;

class BonjourSearch : public Bonjour {
 protected:
  static harkresolvtable_entry& Add(const char* name, const char* url, const char* domain = "local.") {
    harkresolvtable_entry& entry = harkresolvtable_add(harkd_dynamicsources, name, domain);
    entry.url = url;
    return entry;
  }
  static int Find(int kind, const char* key) {
    HarkResolvInfo info;
    return HarkResolv_dynamic_callback(kind, key, info);
  }
};

TEST_F(BonjourSearch, LabelGivesAllThatIsKnown) {
  harkresolvtable_entry& entry = Add("Ann", "hark:10.0.0.1");
  entry.alt = "Main";
  entry.trgl = 4;
  entry.rtpa = ::inet_addr("239.192.0.7");
  Query query;
  EXPECT_EQ(HarkResolv_dynamic_callback(kResolveLabel, "Ann", query.info), 0);
  EXPECT_STREQ(query.url.data(), "hark:10.0.0.1");
  EXPECT_STREQ(query.label.data(), "Ann");
  EXPECT_STREQ(query.alt.data(), "Main");
  EXPECT_EQ(query.info.trgl, 3);
  EXPECT_EQ(query.info.rtpa, ::inet_addr("239.192.0.7"));
  EXPECT_EQ(query.info.addr, query.url.data());
  EXPECT_EQ(query.addr(), "hark:10.0.0.1");
}

TEST_F(BonjourSearch, WhatIsUnknownIsEmptied) {
  Add("Ann", "hark:10.0.0.1");
  Query query;
  query.alt = {"before"};
  query.info.trgl = 7;
  query.info.rtpa = 7;
  EXPECT_EQ(HarkResolv_dynamic_callback(kResolveLabel, "Ann", query.info), 0);
  EXPECT_STREQ(query.alt.data(), "");
  EXPECT_EQ(query.info.trgl, -1);
  EXPECT_EQ(query.info.rtpa, 0u);
}

TEST_F(BonjourSearch, LevelIsOneLessThanTheEntrys) {
  harkresolvtable_entry& entry = Add("Ann", "hark:10.0.0.1");
  for (const unsigned trgl : {0u, 1u, 4u, 255u}) {
    entry.trgl = trgl;
    HarkResolvInfo info;
    EXPECT_EQ(HarkResolv_dynamic_callback(kResolveLabel, "Ann", info), 0);
    EXPECT_EQ(info.trgl, static_cast<int>(trgl) - 1);
  }
}

TEST_F(BonjourSearch, LabelsThatAreNobodys) {
  Add("Ann", "hark:10.0.0.1");
  Add("", "hark:10.0.0.9");  // a station that calls itself nothing
  for (const char* key : {"", "ann", "An", "Anna", "Ann ", "Bob", "hark:10.0.0.1"}) {
    SCOPED_TRACE(key);
    EXPECT_EQ(Find(kResolveLabel, key), kNotFound);
  }
  EXPECT_EQ(Find(kResolveLabel, nullptr), kNotFound);
}

TEST_F(BonjourSearch, UrlIsComparedByItsAddressWithoutASipPort) {
  Add("Ann", "hark:10.0.0.1");
  Add("Tel", "sip:tel@10.0.0.2:5062");
  for (const char* key :
       {"hark:10.0.0.1", "hark:10.0.0.1;trgl=3", "Ann <hark:10.0.0.1>", "\"Other\" <hark:10.0.0.1>;trgl=2"}) {
    SCOPED_TRACE(key);
    Query query;
    EXPECT_EQ(HarkResolv_dynamic_callback(kResolveUrl, key, query.info), 0);
    EXPECT_STREQ(query.label.data(), "Ann");
  }
  for (const char* key : {"sip:tel@10.0.0.2", "sip:tel@10.0.0.2:5062", "sip:tel@10.0.0.2:7000;trgl=1"}) {
    SCOPED_TRACE(key);
    Query query;
    EXPECT_EQ(HarkResolv_dynamic_callback(kResolveUrl, key, query.info), 0);
    EXPECT_STREQ(query.label.data(), "Tel");
    EXPECT_EQ(query.addr(), "sip:tel@10.0.0.2");
    EXPECT_STREQ(query.url.data(), "sip:tel@10.0.0.2:5062");
  }
}

TEST_F(BonjourSearch, UrlsThatAreNobodys) {
  Add("Ann", "hark:10.0.0.1");
  for (const char* key : {"", "hark:10.0.0.10", "hark:10.0.0.", "HARK:10.0.0.1", "sip:hark-talk@10.0.0.1",
                          "10.0.0.1", "Ann", "hark:10.0.0.2;hark:10.0.0.1"}) {
    SCOPED_TRACE(key);
    EXPECT_EQ(Find(kResolveUrl, key), kNotFound);
  }
  EXPECT_EQ(Find(kResolveUrl, nullptr), kNotFound);
}

TEST_F(BonjourSearch, StationsWithoutUrlAreSkipped) {
  Add("Ann", "hark:10.0.0.1", "studio.");
  Add("Ann", "");
  Add("Bob", "");
  Query query;
  EXPECT_EQ(HarkResolv_dynamic_callback(kResolveLabel, "Ann", query.info), 0);
  EXPECT_STREQ(query.url.data(), "hark:10.0.0.1");
  EXPECT_EQ(Find(kResolveLabel, "Bob"), kNotFound);
}

TEST_F(BonjourSearch, NewestOfTwoIsFound) {
  Add("Ann", "hark:10.0.0.1", "studio.");
  Add("Ann", "hark:10.0.0.2");
  Add("Bob", "hark:10.0.0.1");
  EXPECT_EQ(Find(kResolveLabel, "Ann"), 0);
  Query by_label, by_url;
  EXPECT_EQ(HarkResolv_dynamic_callback(kResolveLabel, "Ann", by_label.info), 0);
  EXPECT_STREQ(by_label.url.data(), "hark:10.0.0.2");
  EXPECT_EQ(HarkResolv_dynamic_callback(kResolveUrl, "hark:10.0.0.1", by_url.info), 0);
  EXPECT_STREQ(by_url.label.data(), "Bob");
}

TEST_F(BonjourSearch, BufferMustHoldTheUrlAndItsEnd) {
  Add("Ann", "hark:10.0.0.1");  // 13 characters
  for (std::size_t size = 1; size <= 16; ++size) {
    SCOPED_TRACE(size);
    std::vector<char> url(size, 'x');
    HarkResolvInfo info;
    info.url = url;
    EXPECT_EQ(HarkResolv_dynamic_callback(kResolveLabel, "Ann", info), size > 13 ? 0 : kBufferTooSmall);
  }
}

TEST_F(BonjourSearch, BufferMustHoldTheLabelAndItsEnd) {
  Add("Ann", "hark:10.0.0.1");
  for (std::size_t size = 1; size <= 5; ++size) {
    SCOPED_TRACE(size);
    std::vector<char> label(size, 'x');
    HarkResolvInfo info;
    info.label = label;
    EXPECT_EQ(HarkResolv_dynamic_callback(kResolveUrl, "hark:10.0.0.1", info),
              size > 3 ? 0 : kBufferTooSmall);
    if (size > 3) {
      EXPECT_STREQ(label.data(), "Ann");
    }
  }
}

TEST_F(BonjourSearch, AltIsCutToItsBuffer) {
  Add("Ann", "hark:10.0.0.1").alt = "ABCDEFGHIJKLMNO";
  for (std::size_t size = 1; size <= 20; ++size) {
    SCOPED_TRACE(size);
    std::vector<char> alt(size, 'x');
    HarkResolvInfo info;
    info.alt = alt;
    EXPECT_EQ(HarkResolv_dynamic_callback(kResolveLabel, "Ann", info), 0);
    EXPECT_EQ(std::string(alt.data()), std::string("ABCDEFGHIJKLMNO").substr(0, size - 1));
  }
}

TEST_F(BonjourSearch, StandardSearchTakesDiscoveredStationsBeforeTheOperatorsFile) {
  Start();
  Sources("Ann <hark:10.9.9.9>\nBob <hark:10.8.8.8>\n");
  Table("Old <hark:10.7.7.7>\n");
  EXPECT_EQ(UrlOf("Ann"), "Ann <hark:10.9.9.9>");
  Known("Ann", "10.0.0.1");
  EXPECT_EQ(UrlOf("Ann"), "hark:10.0.0.1");
  EXPECT_EQ(LabelOf("hark:10.0.0.1"), "Ann");
  EXPECT_EQ(UrlOf("Bob"), "Bob <hark:10.8.8.8>");
  EXPECT_EQ(UrlOf("Old"), "-") << "the file of the former run plays no part while discovery runs";
  Gone("Ann");
  EXPECT_EQ(UrlOf("Ann"), "Ann <hark:10.9.9.9>");
}

TEST_F(BonjourSearch, StationThatFitsNoBufferIsLookedForInTheOperatorsFile) {
  Start();
  Sources("Ann <hark:10.9.9.9>\n");
  Add("Ann", ("hark:" + std::string(76, '1')).c_str());  // one more than the usual buffer holds
  EXPECT_EQ(UrlOf("Ann"), "Ann <hark:10.9.9.9>");
  Sources("");
  EXPECT_EQ(UrlOf("Ann"), "-");
}

}  // namespace
}  // namespace hark
