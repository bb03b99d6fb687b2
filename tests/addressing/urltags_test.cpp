// The tags behind an address: numbers and texts, the escapes of a text, and where a value ends.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>
#include <string>

#include "addressing/harkurl.h"

namespace hark {
namespace {

harkurl_info Parsed(const char* text) {
  harkurl_info info;
  (void)harkurl_parse(text, &info);
  return info;
}

// The text tag `name` of a URL.
std::string Text(const char* url, const char* name, std::size_t size = 65) {
  const harkurl_info info = Parsed(url);
  const auto out = std::make_unique<char[]>(size);  // exact, so that a sanitizer sees a byte too many
  const int n = url_tagsz(&info, name, out.get(), size);
  EXPECT_EQ(std::strlen(out.get()), static_cast<std::size_t>(n));
  return out.get();
}

TEST(UrlTagl, ReadsTheNumberOfATag) {
  struct Row {
    const char* tags;
    const char* name;
    long want;
  };
  for (const Row& row : {Row{"trgl=2", "trgl", 2},
                         Row{"gpiot=5;gpio=2", "gpio", 2},
                         Row{"gpiol=7;gpiot=5", "gpiot", 5},
                         Row{"trgl=0x10", "trgl", 16},
                         Row{"trgl=010", "trgl", 8},
                         Row{"trgl=-1", "trgl", -1},
                         Row{"  trgl=2", "trgl", 2},
                         Row{"trgl=2;trgl=3", "trgl", 2},
                         Row{"trgl=2x", "trgl", 2},
                         Row{";trgl=2", "trgl", 2},
                         Row{"a;trgl=2", "trgl", 2},
                         Row{"label=trgl=9;trgl=2", "trgl", 2},
                         Row{"trgl=", "trgl", 0},
                         Row{"trgl=x", "trgl", 0},
                         Row{"trgl", "trgl", 0},
                         Row{"trgl:2", "trgl", 0},
                         Row{"TRGL=2", "trgl", 0},
                         Row{"a=1; trgl=2", "trgl", 0},
                         Row{"gpiot=5", "gpio", 0},
                         Row{"xtrgl=2", "trgl", 0},
                         Row{"trgl=2", "", 0},
                         Row{"=2", "", 0},
                         Row{"", "trgl", 0},
                         Row{nullptr, "trgl", 0},
                         Row{"trgl=2", nullptr, 0}}) {
    SCOPED_TRACE(std::string(row.tags != nullptr ? row.tags : "(null)") + " / " +
                 (row.name != nullptr ? row.name : "(null)"));
    EXPECT_EQ(url_tagl(row.tags, row.name), row.want);
  }
}

TEST(UrlTags, EveryTagInUseIsToldFromItsNeighbours) {
  constexpr const char* kUrl =
      "\"Mix\" <quillnet:239.192.0.1>;trgl=1;label=Mix 1;llsn=2;gpio=3;gpiol=4;gpiot=5;gpioack=6;"
      "ifb=10.0.0.9:93;qntb=7";
  const harkurl_info info = Parsed(kUrl);
  struct Row {
    const char* name;
    long want;
  };
  for (const Row& row : {Row{"trgl", 1}, Row{"llsn", 2}, Row{"gpio", 3}, Row{"gpiol", 4}, Row{"gpiot", 5},
                         Row{"gpioack", 6}, Row{"qntb", 7}}) {
    EXPECT_EQ(url_tagl(info.tags, row.name), row.want) << row.name;
  }
  EXPECT_EQ(Text(kUrl, "label"), "Mix 1");
  EXPECT_EQ(Text(kUrl, "ifb"), "10.0.0.9:93");
}

TEST(UrlTagsz, CopiesTheTextOfATag) {
  struct Row {
    const char* url;
    const char* name;
    const char* want;
  };
  for (const Row& row :
       {Row{"hark:1;label=Studio A", "label", "Studio A"}, Row{"hark:1;trgl=2;label=A", "label", "A"},
        Row{"hark:1;label=A;trgl=2", "label", "A"}, Row{"hark:1;  label=A", "label", "A"},
        Row{"hark:1;label=A;label=B", "label", "A"}, Row{"A <hark:1;label=B>", "label", "B"},
        Row{"hark:1;label=B>C", "label", "B"}, Row{"hark:1;label=B=C", "label", "B=C"},
        Row{"hark:1;labelx=9;label=B", "label", "B"}, Row{"hark:1;label=", "label", ""},
        Row{"hark:1;label", "label", ""}, Row{"hark:1;lab", "label", ""}, Row{"hark:1;labelx=9", "label", ""},
        Row{"hark:1;trgl=2; label=A", "label", ""}, Row{"hark:1;", "label", ""},
        Row{"hark:1", "label", ""}}) {
    SCOPED_TRACE(row.url);
    EXPECT_EQ(Text(row.url, row.name), row.want);
  }
}

TEST(UrlTagsz, UnescapesItsText) {
  struct Row {
    const char* url;
    const char* want;
  };
  for (const Row& row : {Row{R"(hark:1;label=A\032B)", "A B"}, Row{R"(hark:1;label=\065\066)", "AB"},
                         Row{R"(hark:1;label=A\065)", "AA"}, Row{R"(hark:1;label=\255)", "\xFF"},
                         Row{R"(hark:1;label=\256)", "256"}, Row{R"(hark:1;label=\999)", "999"},
                         Row{R"(hark:1;label=\0651)", "A1"}, Row{R"(hark:1;label=A\06)", "A06"},
                         Row{R"(hark:1;label=\06x)", "06x"}, Row{R"(hark:1;label=A\\B)", R"(A\B)"},
                         Row{R"(hark:1;label=A\>B)", "A>B"}, Row{R"(hark:1;label=A\xB)", "AxB"},
                         Row{R"(hark:1;label=A\032)", "A "}}) {
    SCOPED_TRACE(row.url);
    EXPECT_EQ(Text(row.url, "label"), row.want);
  }
}

TEST(UrlTagsz, EscapedSemicolonIsALiteralAndTheTextGoesOn) {
  EXPECT_EQ(Text(R"(hark:1;label=A\;B;trgl=2)", "label"), "A;B");
}

TEST(UrlTagsz, ThirdDigitMustStandInsideTheTags) {
  constexpr const char* kText = R"(label=\0659)";
  struct Row {
    std::uint32_t tags_len;
    const char* want;
  };
  for (const Row& row :
       {Row{11, "A9"}, Row{10, "A"}, Row{9, "06"}, Row{8, "0"}, Row{6, ""}, Row{5, ""}, Row{3, ""}}) {
    SCOPED_TRACE(row.tags_len);
    harkurl_info info;
    info.tags = kText;
    info.tags_len = row.tags_len;
    std::array<char, 16> out{};
    EXPECT_EQ(url_tagsz(&info, "label", out.data(), out.size()), static_cast<int>(std::strlen(row.want)));
    EXPECT_STREQ(out.data(), row.want);
  }
}

TEST(UrlTagsz, TextIsCutToItsBufferAndTerminated) {
  struct Row {
    std::size_t size;
    const char* want;
  };
  for (const Row& row :
       {Row{11, "Studio A B"}, Row{10, "Studio A "}, Row{4, "Stu"}, Row{2, "S"}, Row{1, ""}}) {
    EXPECT_EQ(Text(R"(hark:1;label=Studio\032A B C)", "label", row.size),
              std::string("Studio A B C").substr(0, row.size - 1))
        << row.size;
    EXPECT_EQ(std::string(row.want), std::string("Studio A B C").substr(0, row.size - 1));
  }
}

TEST(UrlTagsz, NothingIsWrittenWithoutRoom) {
  const harkurl_info info = Parsed("hark:1;label=A");
  std::array<char, 2> out{'#', '#'};
  EXPECT_EQ(url_tagsz(&info, "label", nullptr, 10), 0);
  EXPECT_EQ(url_tagsz(&info, "label", out.data(), 0), 0);
  EXPECT_EQ(out[0], '#');
}

TEST(UrlTagsz, NoRecordAndNoTagsGiveNothing) {
  std::array<char, 16> out{};
  EXPECT_EQ(url_tagsz(nullptr, "label", out.data(), out.size()), 0);
  const harkurl_info cleared;
  EXPECT_EQ(url_tagsz(&cleared, "label", out.data(), out.size()), 0);
}

}  // namespace
}  // namespace hark
