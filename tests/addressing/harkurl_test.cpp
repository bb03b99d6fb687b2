// Cutting a URL into name, address and tags, and knowing what kind of party it names.
#include "addressing/harkurl.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <string_view>

namespace hark {
namespace {

// The parts of a parsed URL as texts.
struct Parts {
  int type;
  std::string name;
  std::string url;
  std::string tags;
};

Parts Parse(const char* text) {
  harkurl_info info;
  const int type = harkurl_parse(text, &info);
  EXPECT_EQ(info.type, static_cast<std::uint32_t>(type));
  EXPECT_EQ(info.full, text);
  EXPECT_EQ(info.full_len, std::strlen(text));
  return {.type = type,
          .name = {info.name, info.name_len},
          .url = {info.url, info.url_len},
          .tags = {info.tags, info.tags_len}};
}

TEST(HarkurlType, CodesAreDistinctAndNotZero) {
  EXPECT_EQ((std::set<int>{0, -1, HARKURL_STATION, HARKURL_QUILLNET, HARKURL_PHONE}.size()), 5U);
}

TEST(HarkurlType, PrefixOfTheAddressDecides) {
  struct Row {
    const char* text;
    int want;
  };
  for (const Row& row : {Row{"hark:10.1.2.3", HARKURL_STATION},
                         Row{"*hark:10.1.2.3", HARKURL_STATION},
                         Row{"sip:hark-talk@10.1.2.3", HARKURL_STATION},
                         Row{"sip:hark-listen@10.1.2.3", HARKURL_STATION},
                         Row{"quillnet:239.192.0.1", HARKURL_QUILLNET},
                         Row{"phone:5551234", HARKURL_PHONE},
                         Row{"sip:bob@10.1.2.3", HARKURL_PHONE},
                         Row{"sip:hark-talker@10.1.2.3", HARKURL_PHONE},
                         Row{"sip:hark@10.1.2.3", HARKURL_PHONE},
                         Row{"hark:", HARKURL_STATION},
                         Row{"\"Studio A\" <hark:10.1.2.3>", HARKURL_STATION},
                         Row{"Studio A <quillnet:239.192.0.1>;gpio=1", HARKURL_QUILLNET},
                         Row{"\"hark:1\" <phone:2>", HARKURL_PHONE},
                         Row{"\"hark:1\" nothing", 0},
                         Row{"hark", 0},
                         Row{"HARK:10.1.2.3", 0},
                         Row{"**hark:10.1.2.3", 0},
                         Row{" hark:10.1.2.3", 0},
                         Row{"*quillnet:239.192.0.1", 0},
                         Row{"http://10.1.2.3", 0},
                         Row{"10.1.2.3", 0},
                         Row{";hark:10.1.2.3", 0},
                         Row{"\"hark:10.1.2.3", 0},
                         Row{"\"Studio A\"", 0},
                         Row{"<", 0},
                         Row{"", -1},
                         Row{nullptr, -1}}) {
    SCOPED_TRACE(row.text != nullptr ? row.text : "(null)");
    EXPECT_EQ(harkurl_parse(row.text, nullptr), row.want);
    harkurl_info info;
    EXPECT_EQ(harkurl_parse(row.text, &info), row.want);
  }
}

TEST(HarkurlParse, CutsEachShapeIntoNameAddressAndTags) {
  struct Row {
    const char* text;
    const char* name;
    const char* url;
    const char* tags;
  };
  for (const Row& row : {Row{"hark:10.1.2.3", "", "hark:10.1.2.3", ""},
                         Row{"hark:10.1.2.3;trgl=2", "", "hark:10.1.2.3", "trgl=2"},
                         Row{"hark:10.1.2.3;trgl=2;label=A", "", "hark:10.1.2.3", "trgl=2;label=A"},
                         Row{"\"Studio A\" <hark:10.1.2.3>;trgl=2", "Studio A", "hark:10.1.2.3", "trgl=2"},
                         Row{"\"Studio A\"<hark:10.1.2.3>", "Studio A", "hark:10.1.2.3", ""},
                         Row{"\"Studio A\"    <hark:10.1.2.3>", "Studio A", "hark:10.1.2.3", ""},
                         Row{"\"Studio A\" hark:10.1.2.3", "Studio A", "hark:10.1.2.3", ""},
                         Row{"\"Studio A \" <hark:1>", "Studio A ", "hark:1", ""},
                         Row{"\"\" <hark:1>", "", "hark:1", ""},
                         Row{"\"a<b\" <hark:1>", "a<b", "hark:1", ""},
                         Row{"\"Studio A\"", "Studio A", "", ""},
                         Row{"\"Studio A\" <<hark:1>", "Studio A", "<hark:1", ""},
                         Row{"Studio A <sip:bob@10.1.2.3>", "Studio A", "sip:bob@10.1.2.3", ""},
                         Row{"Studio A   <sip:bob@10.1.2.3>", "Studio A", "sip:bob@10.1.2.3", ""},
                         Row{"Studio A <hark:1>;trgl=2", "Studio A", "hark:1", "trgl=2"},
                         Row{"Studio A <hark:1;trgl=2>", "Studio A", "hark:1", "trgl=2"},
                         Row{"Studio A <hark:1;trgl=2>>", "Studio A", "hark:1", "trgl=2>"},
                         Row{"  Studio <hark:1>", "  Studio", "hark:1", ""},
                         Row{" <hark:1>", "", "hark:1", ""},
                         Row{"  <hark:1>", "", "hark:1", ""},
                         Row{"hark:1>", "", "hark:1", ""},
                         Row{"hark:1> ", "", "hark:1> ", ""},
                         Row{"hark:1;", "", "hark:1", ""},
                         Row{"\"Studio <hark:1>", "Studio", "hark:1", ""},
                         Row{"\"hark:1", "", "\"hark:1", ""},
                         Row{";trgl=2", "", "", "trgl=2"}}) {
    SCOPED_TRACE(row.text);
    const Parts parts = Parse(row.text);
    EXPECT_EQ(parts.name, row.name);
    EXPECT_EQ(parts.url, row.url);
    EXPECT_EQ(parts.tags, row.tags);
  }
}

TEST(HarkurlParse, NameThatTouchesTheBracketIsOneCharacterShort) {
  struct Row {
    const char* text;
    const char* name;
  };
  for (const Row& row :
       {Row{"Studio<hark:1.2.3.4>", "Studi"}, Row{"Name<hark:x>", "Nam"}, Row{"N<hark:x>", ""},
        Row{"\"Studio<hark:1.2.3.4>", "Studi"}, Row{"A B<hark:x>", "A"}}) {
    SCOPED_TRACE(row.text);
    const Parts parts = Parse(row.text);
    EXPECT_EQ(parts.name, row.name);
    EXPECT_EQ(parts.type, HARKURL_STATION);
  }
}

TEST(HarkurlParse, BracketAtTheStartGivesANameLengthOfAllOnes) {
  harkurl_info info;
  const char* text = "<hark:1.2.3.4>;trgl=1";
  EXPECT_EQ(harkurl_parse(text, &info), HARKURL_STATION);
  EXPECT_EQ(info.name_len, 0xFFFFFFFFU);
  EXPECT_EQ(std::string(info.url, info.url_len), "hark:1.2.3.4");
  EXPECT_EQ(std::string(info.tags, info.tags_len), "trgl=1");
}

TEST(HarkurlParse, NameStartsBehindTheOpeningQuote) {
  harkurl_info info;
  const char* text = "\"Studio A\" <hark:1>";
  (void)harkurl_parse(text, &info);
  EXPECT_EQ(info.name, text + 1);
  text = "Studio A <hark:1>";
  (void)harkurl_parse(text, &info);
  EXPECT_EQ(info.name, text);
}

TEST(HarkurlParse, WithoutTagsTheTagsAreTheEmptyEndOfTheText) {
  for (const char* text : {"hark:10.1.2.3", "\"A\" <hark:1>", "nothing", "<hark:1>"}) {
    SCOPED_TRACE(text);
    harkurl_info info;
    (void)harkurl_parse(text, &info);
    EXPECT_EQ(info.tags, text + std::strlen(text));
    EXPECT_EQ(info.tags_len, 0U);
  }
}

TEST(HarkurlParse, SemicolonInADisplayNameEndsTheAddressEarly) {
  harkurl_info info;
  const char* text = "\"A;B\" <hark:1.2.3.4>";
  EXPECT_EQ(harkurl_parse(text, &info), HARKURL_STATION);
  EXPECT_EQ(std::string(info.name, info.name_len), "A;B");
  EXPECT_EQ(std::string(info.tags, info.tags_len), "B\" <hark:1.2.3.4");
  EXPECT_EQ(info.url, text + std::strlen("\"A;B\" <"));
  EXPECT_EQ(info.url_len, 0U) << "nothing is left of an address that begins behind its own end";
}

TEST(HarkurlParse, EmptyAndMissingTextLeaveAClearedRecord) {
  for (const char* text : {"", static_cast<const char*>(nullptr)}) {
    harkurl_info info;
    (void)harkurl_parse("\"Studio A\" <hark:10.1.2.3>;trgl=2", &info);
    EXPECT_EQ(harkurl_parse(text, &info), -1);
    EXPECT_EQ(info.type, 0U);
    EXPECT_EQ(info.full, nullptr);
    EXPECT_EQ(info.full_len, 0U);
    EXPECT_EQ(info.name, nullptr);
    EXPECT_EQ(info.name_len, 0U);
    EXPECT_EQ(info.url, nullptr);
    EXPECT_EQ(info.url_len, 0U);
    EXPECT_EQ(info.tags, nullptr);
    EXPECT_EQ(info.tags_len, 0U);
  }
}

TEST(Strstartswith, GivesTheLengthOfThePrefix) {
  struct Row {
    const char* s;
    const char* prefix;
    std::size_t want;
  };
  for (const Row& row : {Row{"hark:1", "hark:", 5}, Row{"hark:", "hark:", 5}, Row{"hark", "hark:", 0},
                         Row{"Hark:1", "hark:", 0}, Row{" hark:1", "hark:", 0}, Row{"", "hark:", 0},
                         Row{"hark:1", "", 0}, Row{"", "", 0}}) {
    SCOPED_TRACE(std::string(row.s) + " / " + row.prefix);
    EXPECT_EQ(strstartswith(row.s, row.prefix), row.want);
  }
}

TEST(HarkurlAddress, StandsBehindAStationPrefix) {
  struct Row {
    const char* url;
    const char* want;  // null: no station
  };
  for (const Row& row :
       {Row{"hark:10.1.2.3", "10.1.2.3"}, Row{"*hark:10.1.2.3", "10.1.2.3"},
        Row{"sip:hark-talk@10.1.2.3:5062", "10.1.2.3:5062"}, Row{"sip:hark-listen@host", "host"},
        Row{"hark:", ""}, Row{"hark:hark:x", "hark:x"}, Row{"sip:bob@10.1.2.3", nullptr},
        Row{"phone:1", nullptr}, Row{"quillnet:239.192.0.1", nullptr}, Row{"hark-talk@x", nullptr},
        Row{"Hark:x", nullptr}, Row{"", nullptr}, Row{nullptr, nullptr}}) {
    SCOPED_TRACE(row.url != nullptr ? row.url : "(null)");
    EXPECT_STREQ(harkurl_address(row.url), row.want);
  }
}

TEST(HarkurlPrefix, IsThatOfAStation) { EXPECT_STREQ(harkurl_prefix, "hark:"); }

}  // namespace
}  // namespace hark
