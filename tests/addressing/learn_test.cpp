// What the URL of a call teaches: the label of its station, from a tag, from the user part, or from a short
// display name; and that a party nobody announced can be resolved afterwards.
#include "addressing/learn.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>

#include "base/text.h"
#include "resolver_files.h"
#include "routing/log_capture.h"

namespace hark {
namespace {

struct Text {
  const char* text;
  const char* want;
};

TEST(Urluserinfo2label, EscapesAreTakenBack) {
  for (const Text& row :
       {Text{"bob", "bob"}, Text{"Studio A", "Studio A"}, Text{"A\\032B", "A B"}, Text{"A\\;B", "A;B"},
        Text{"\\\\", "\\"}, Text{"\\065\\066", "AB"}, Text{"\\255", "\xff"}, Text{"\\0651", "A1"},
        Text{"a;b", "a;b"}, Text{"a@b", "a@b"},
        // No number below 256, or no three digits: the next byte is literal.
        Text{"\\256", "256"}, Text{"\\999", "999"}, Text{"\\06x", "06x"}, Text{"\\06", "06"},
        Text{"\\6", "6"}, Text{"\\x41", "x41"}, Text{"\\ 65", " 65"}, Text{"", ""}}) {
    SCOPED_TRACE(row.text);
    std::array<char, 32> out{"old"};
    EXPECT_EQ(urluserinfo2label(row.text, out), static_cast<int>(std::string_view(row.want).size()));
    EXPECT_STREQ(out.data(), row.want);
  }
}

TEST(Urluserinfo2label, LabelIsCutToItsBuffer) {
  for (std::size_t size = 1; size < 8; ++size) {
    SCOPED_TRACE(size);
    const auto out = std::make_unique<char[]>(size);  // exact, so that a sanitizer sees its end
    const std::string want = std::string("ab cde").substr(0, size - 1);
    EXPECT_EQ(urluserinfo2label("ab\\032cde", {out.get(), size}), static_cast<int>(want.size()));
    EXPECT_EQ(out.get(), want);
  }
  EXPECT_EQ(urluserinfo2label("abc", {}), 0);
}

TEST(Urluserinfo2label, EscapeAtTheEndReadsNothingBehindIt) {
  for (const std::string user : {"\\", "a\\", "\\0", "\\03", "a\\03"}) {
    SCOPED_TRACE(user);
    const auto text = std::make_unique<char[]>(user.size());
    user.copy(text.get(), user.size());
    std::array<char, 8> out{};
    EXPECT_LE(urluserinfo2label({text.get(), user.size()}, out), static_cast<int>(user.size()));
  }
}

TEST(Uri2label, UserPartIsTheLabel) {
  for (const Text& row : {Text{"sip:bob@10.0.0.1", "bob"}, Text{"bob@10.0.0.1", "bob"},
                          Text{"sip:Studio\\032A@10.0.0.1:5060", "Studio A"}, Text{"sip:a@b@c", "a"},
                          Text{"SIP:bob@10.0.0.1", "SIP:bob"}, Text{"hark:bob@10.0.0.1", "hark:bob"},
                          Text{"sip:sip:bob@x", "sip:bob"}, Text{"sips:bob@x", "sips:bob"},
                          Text{"sip:@10.0.0.1", ""}, Text{"@10.0.0.1", ""}}) {
    SCOPED_TRACE(row.text);
    std::array<char, 32> out{"old"};
    EXPECT_EQ(uri2label(row.text, out), static_cast<int>(std::string_view(row.want).size()));
    EXPECT_STREQ(out.data(), row.want);
  }
}

TEST(Uri2label, WithoutAnAtSignThereIsNone) {
  for (const std::string_view url : {"sip:bob", "hark:10.0.0.1", "sip:", "s", "", "sip:bob;x=1"}) {
    SCOPED_TRACE(url);
    std::array<char, 32> out{"old"};
    EXPECT_EQ(uri2label(url, out), 0);
    EXPECT_STREQ(out.data(), "old");
  }
  std::array<char, 32> out{};
  EXPECT_EQ(uri2label({}, out), 0);
  EXPECT_EQ(uri2label("sip:bob@x", {}), 0);
  EXPECT_EQ(uri2label(std::string_view("sip:bob@x").substr(0, 7), out), 0)
      << "the sign stands behind the URL";
}

TEST(Uri2label, LabelIsCutToItsBuffer) {
  Label out{};
  EXPECT_EQ(uri2label("sip:abcdefghijklmno@10.0.0.1", out), 10);
  EXPECT_STREQ(out.data(), "abcdefghij");
}

TEST(Strupd, TellsWhetherTheTextWasAnother) {
  struct Row {
    const char* before;
    const char* now;
    bool want;
  };
  for (const Row& row : {Row{"", "", false}, Row{"a", "a", false}, Row{"", "a", true}, Row{"a", "", true},
                         Row{"a", "ab", true}, Row{"ab", "a", true}, Row{"a", "A", true}}) {
    SCOPED_TRACE(std::string(row.before) + " > " + row.now);
    std::string text = row.before;
    EXPECT_EQ(strupd(text, row.now), row.want);
    EXPECT_EQ(text, row.now);
    EXPECT_FALSE(strupd(text, row.now));
  }
}

class DynamicLearn : public ResolverFiles {
 protected:
  int Learn(const char* text) { return HarkResolvURL_DynamicLearn(text, query_.info, urlinfo_); }
  // The file of the table after one call from nothing.
  std::string Learned(const char* text) {
    harkd_dynamicsources.clear();
    folder_.Remove("table");
    (void)Learn(text);
    return folder_.Read("table");
  }
  Query query_;
  harkurl_info urlinfo_;
};

TEST_F(DynamicLearn, LabelIsTheTagThenTheUserPartThenAShortNameOfAStation) {
  LogCapture log;
  for (const Text& row :
       {Text{"hark:10.0.0.1;label=Bob", "Bob <hark:10.0.0.1>\n"},
        Text{"hark:10.0.0.1;trgl=4;label=Bob", "Bob <hark:10.0.0.1>;trgl=4\n"},
        Text{"\"Main hall\" <hark:10.0.0.1>;label=Studio\\032A",
             "Studio A <hark:10.0.0.1>\n\talt Main hall\n"},
        Text{"hark:10.0.0.1;label=ABCDEFGHIJKL", "ABCDEFGHIJ <hark:10.0.0.1>\n"},
        Text{"sip:bob@10.0.0.1;label=Ann", "Ann <sip:bob@10.0.0.1>\n"},
        Text{"sip:bob@10.0.0.1:5060", "bob <sip:bob@10.0.0.1:5060>\n"},
        Text{"\"Bobby\" <sip:bob@10.0.0.1>", "bob <sip:bob@10.0.0.1>\n\talt Bobby\n"},
        Text{"sip:bob@10.0.0.1;label=", "bob <sip:bob@10.0.0.1>\n"},
        Text{"sip:abcdefghijkl@10.0.0.1", "abcdefghij <sip:abcdefghijkl@10.0.0.1>\n"},
        Text{"\"Bob\" <hark:10.0.0.1>", "Bob <hark:10.0.0.1>\n\talt Bob\n"},
        Text{"Bob <*hark:10.0.0.1>;trgl=2", "Bob <*hark:10.0.0.1>;trgl=2\n\talt Bob\n"},
        Text{"\"1234567890\" <hark:10.0.0.1>", "1234567890 <hark:10.0.0.1>\n\talt 1234567890\n"},
        Text{"quillnet:239.192.0.1;label=Src", "Src <quillnet:239.192.0.1>\n"},
        Text{"phone:07;label=Ann", "Ann <phone:07>\n"},
        // And calls that teach nothing.
        Text{"hark:10.0.0.1", ""}, Text{"hark:10.0.0.1;trgl=4", ""}, Text{"phone:07", ""},
        Text{"\"12345678901\" <hark:10.0.0.1>", ""}, Text{"\"\" <hark:10.0.0.1>", ""},
        Text{"<hark:10.0.0.1>", ""}, Text{"\"Bob\" <phone:07>", ""},
        Text{"\"Bob\" <quillnet:239.192.0.1>", ""}, Text{"\"Bob\" <sip:10.0.0.1>", ""},
        Text{"sip:10.0.0.1", ""}, Text{"sip:@10.0.0.1", ""}, Text{"fax:07;label=Bob", ""},
        Text{"\"Bob\" <fax:07>;label=Bob", ""}, Text{"", ""}, Text{nullptr, ""}}) {
    SCOPED_TRACE(row.text ? row.text : "null");
    EXPECT_EQ(log.Of([&] { EXPECT_EQ(Learned(row.text), row.want); }).empty(), *row.want == '\0');
  }
}

TEST_F(DynamicLearn, WithoutLabelOrAtSignOnlyAStationWithAShortNameIsLearned) {
  EXPECT_EQ(Learned("sip:10.0.0.1"), "");
  EXPECT_EQ(Learned("\"Bob\" <sip:10.0.0.1>"), "");
  EXPECT_EQ(Learned("\"A longer name\" <hark:10.0.0.1>"), "");
  EXPECT_EQ(Learned("\"Bob\" <hark:10.0.0.1>"), "Bob <hark:10.0.0.1>\n\talt Bob\n");
}

TEST_F(DynamicLearn, BracketAtTheStartHasNoDisplayName) {
  EXPECT_EQ(Learned("<hark:10.0.0.1>;label=Bob"), "Bob <hark:10.0.0.1>\n");
}

TEST_F(DynamicLearn, LearnedStationIsResolvedByItsAddress) {
  EXPECT_EQ(Learn("\"Main\" <hark:10.0.0.1>;trgl=4;label=Bob"), 0);
  EXPECT_STREQ(query_.label.data(), "Bob");
  EXPECT_STREQ(query_.url.data(), "Bob <hark:10.0.0.1>;trgl=4");
  EXPECT_STREQ(query_.alt.data(), "Main");
  EXPECT_EQ(query_.info.trgl, 3);
  EXPECT_EQ(query_.addr(), "hark:10.0.0.1");
  EXPECT_EQ(UrlOf("Bob"), "Bob <hark:10.0.0.1>;trgl=4");
  const harkresolvtable_entry* entry = harkresolvtable_lookup(harkd_dynamicsources, "Bob", kLocalDomain);
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->url, "hark:10.0.0.1");
  EXPECT_EQ(entry->alt, "Main");
  EXPECT_EQ(entry->trgl, 4u);
}

TEST_F(DynamicLearn, UrlIsCutWhetherItTeachesOrNot) {
  EXPECT_EQ(Learn("\"Eve\" <fax:07>;a=1"), -1);
  EXPECT_EQ(urlinfo_.type, 0u);
  EXPECT_EQ(std::string(urlinfo_.url, urlinfo_.url_len), "fax:07");
  (void)Learn("\"Eve\" <hark:10.0.0.1>;a=1");
  EXPECT_EQ(urlinfo_.type, static_cast<std::uint32_t>(HARKURL_STATION));
  EXPECT_EQ(std::string(urlinfo_.name, urlinfo_.name_len), "Eve");
  EXPECT_EQ(std::string(urlinfo_.tags, urlinfo_.tags_len), "a=1");
  EXPECT_EQ(Learn(nullptr), -1);
  EXPECT_EQ(urlinfo_.full, nullptr);
  EXPECT_EQ(urlinfo_.url_len, 0u);
  (void)Learn("hark:10.0.0.1");
  EXPECT_EQ(Learn(""), -1);
  EXPECT_EQ(urlinfo_.url, nullptr);
}

TEST_F(DynamicLearn, PartyThatTeachesNothingIsLookedUpAllTheSame) {
  Sources("Ann <phone:07>\n");
  EXPECT_EQ(Learn("phone:07;trgl=1"), 0);
  EXPECT_STREQ(query_.label.data(), "Ann");
  EXPECT_TRUE(harkd_dynamicsources.empty());
}

TEST_F(DynamicLearn, NewerCallUpdatesTheStation) {
  LogCapture log;
  struct Row {
    const char* text;
    const char* file;
    const char* log;
  };
  for (const Row& row :
       {Row{"\"Main\" <hark:10.0.0.1>;trgl=4;label=Bob", "Bob <hark:10.0.0.1>;trgl=4\n\talt Main\n",
            "Updated Bob \"Main\" hark:10.0.0.1 trgl=4\n"},
        Row{"\"Main\" <hark:10.0.0.1>;trgl=5;label=Bob", "Bob <hark:10.0.0.1>;trgl=5\n\talt Main\n",
            "Updated Bob \"Main\" hark:10.0.0.1 trgl=5\n"},
        Row{"\"Hall\" <hark:10.0.0.1>;trgl=5;label=Bob", "Bob <hark:10.0.0.1>;trgl=5\n\talt Hall\n",
            "Updated Bob \"Hall\" hark:10.0.0.1 trgl=5\n"},
        Row{"\"Hall\" <hark:10.0.0.2>;trgl=5;label=Bob", "Bob <hark:10.0.0.2>;trgl=5\n\talt Hall\n",
            "Updated Bob \"Hall\" hark:10.0.0.2 trgl=5\n"},
        Row{"\"Hall\" <hark:10.0.0.2>;label=Bob", "Bob <hark:10.0.0.2>\n\talt Hall\n",
            "Updated Bob \"Hall\" hark:10.0.0.2 trgl=0\n"},
        Row{"hark:10.0.0.2;label=Bob", "Bob <hark:10.0.0.2>\n", "Updated Bob \"\" hark:10.0.0.2 trgl=0\n"}}) {
    SCOPED_TRACE(row.text);
    EXPECT_THAT(log.Of([&] { EXPECT_EQ(Learn(row.text), 0); }), ::testing::HasSubstr(row.log));
    EXPECT_EQ(folder_.Read("table"), row.file);
    folder_.Remove("table");
    EXPECT_EQ(log.Of([&] { (void)Learn(row.text); }), "") << "the same call again says nothing";
    EXPECT_FALSE(folder_.Has("table"));
    EXPECT_EQ(harkd_dynamicsources.size(), 1u);
  }
}

TEST_F(DynamicLearn, ForeignDomainIsAnotherStation) {
  harkresolvtable_add(harkd_dynamicsources, "Bob", "studio.").url = "hark:10.0.0.9";
  EXPECT_EQ(Learn("hark:10.0.0.1;label=Bob"), 0);
  EXPECT_EQ(harkd_dynamicsources.size(), 2u);
  EXPECT_EQ(harkd_dynamicsources.front().domain, kLocalDomain);
  EXPECT_EQ(harkd_dynamicsources.back().url, "hark:10.0.0.9");
}

// Two stations with a ";" in their names once were one party: neither has an address to compare.
TEST_F(DynamicLearn, SemicolonInADisplayNameMakesNobodySomebodyElse) {
  Sources("\"C; D\" <hark:10.0.0.2>;trgl=3\n");
  EXPECT_EQ(Learn("\"A; B\" <hark:10.0.0.1>;trgl=3"), -1);
  EXPECT_EQ(Learn("\"X; Y\" <sip:bob@9.9.9.9>"), -1);
}

// Callers with ever new names fill neither memory nor file.
TEST_F(DynamicLearn, OldestOfTooManyIsForgottenButNoDiscoveredOne) {
  (void)harkresolvtable_add(harkd_dynamicsources, "Found", kLocalDomain);
  table_file.clear();  // the file is not what is looked at, and a thousand times writing it takes long
  for (int i = 0; i < 1100; ++i)
    (void)Learn(("hark:10.0.0.1;label=" + std::to_string(i)).c_str());
  EXPECT_EQ(harkd_dynamicsources.size(), 1000U);
  EXPECT_NE(harkresolvtable_lookup(harkd_dynamicsources, "Found", kLocalDomain), nullptr);
  EXPECT_EQ(harkresolvtable_lookup(harkd_dynamicsources, "100", kLocalDomain), nullptr);
  EXPECT_NE(harkresolvtable_lookup(harkd_dynamicsources, "101", kLocalDomain), nullptr);
  EXPECT_NE(harkresolvtable_lookup(harkd_dynamicsources, "1099", kLocalDomain), nullptr);
}

TEST_F(DynamicLearn, NameOfACallerIsHeldToWhatTheFileCanHold) {
  ASSERT_EQ(Learn("hark:10.0.0.1;label=a\\010\\060b"), 0);
  EXPECT_EQ(harkd_dynamicsources.front().name, "a??b");
  EXPECT_STREQ(query_.label.data(), "a??b");
  EXPECT_EQ(Learn("hark:10.0.0.2;label=#b"), 0);
  EXPECT_STREQ(query_.label.data(), "?b");
}

TEST_F(DynamicLearn, OddCallsDoNoHarm) {
  const std::string endless(100'000, 'x');
  for (const std::string& text :
       {"hark:" + endless + ";label=Bob", "\"" + endless + "\" <hark:1>;label=Bob", "hark:1;label=" + endless,
        "sip:" + endless + "@1", "\"" + endless, endless, std::string("\x01\x02\xff<hark:\x7f>;label=\x80"),
        std::string("\"\";label=Bob"), std::string("<"), std::string(">"), std::string(";"),
        std::string("\"Bob\""), std::string("hark:;label=Bob"),
        "hark:1;label=Bob;trgl=" + std::string(25, '9'), "hark:1;label=Bob;trgl=-" + std::string(25, '9'),
        std::string("hark:1;label=\\"), std::string("hark:1;label=\\0"), std::string("hark:1;label=\\000")}) {
    SCOPED_TRACE(::testing::PrintToString(text.substr(0, 40)));
    const auto exact = std::make_unique<char[]>(text.size() + 1);  // so that a sanitizer sees its end
    text.copy(exact.get(), text.size());
    (void)Learn(exact.get());
    EXPECT_LT(std::string_view(query_.url.data()).size(), kResolvedUrlSize);
    for (const harkresolvtable_entry& entry : harkd_dynamicsources)
      EXPECT_LT(entry.name.size(), kLabelSize);
  }
}

}  // namespace
}  // namespace hark
