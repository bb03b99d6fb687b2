// Many labels against one reading of the files give what one query after the other would have given.
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <string_view>

#include "addressing/HarkResolv.h"
#include "base/text.h"
#include "resolver_files.h"

namespace hark {
namespace {

// The sizes of the buffers of one query; 0: not wanted.
struct Sizes {
  std::size_t label = kLabelSize;
  std::size_t url = kResolvedUrlSize;
  std::size_t alt = kAltSize;
};

// A query in buffers of the exact sizes, filled beforehand so that what was left alone shows.
class Answer {
 public:
  explicit Answer(const Sizes& sizes)
      : label_(sizes.label, '~'), url_(sizes.url, '~'), alt_(sizes.alt, '~'), info{label_, url_, alt_} {}
  Answer(const Answer&) = delete;
  Answer& operator=(const Answer&) = delete;

  // All of it as one text.
  [[nodiscard]] std::string Text(int result) const {
    std::string text =
        std::to_string(result) + "|" + label_ + "|" + url_ + "|" + alt_ + "|" + std::to_string(info.rtpa);
    text += "|" + (info.addr ? std::to_string(info.addr - url_.data()) : "-");
    return text + "|" + std::to_string(info.addr_len) + "|" + std::to_string(info.trgl);
  }

 private:
  std::string label_;
  std::string url_;
  std::string alt_;

 public:
  HarkResolvInfo info;
};

class LabelResolverFiles : public ResolverFiles {
 protected:
  static void ExpectSame(LabelResolver& resolver, const char* label, const Sizes& sizes) {
    SCOPED_TRACE(label ? label : "null");
    Answer one(sizes);
    const int one_result = HarkResolv2(kResolveLabel, label, one.info);
    Answer many(sizes);
    const int many_result = resolver.find(label, many.info);
    EXPECT_EQ(many.Text(many_result), one.Text(one_result));
    if (one_result == 0) ++found_;
  }
  static inline int found_ = 0;
};

TEST_F(LabelResolverFiles, EveryRowIsAnsweredAsASingleQueryIs) {
  Table(
      "Bob <hark:10.0.0.1>;trgl=4\n\talt Main\n\trtpa 239.192.0.9\n"
      "Long <hark:10.0.0.1>;x=" +
      std::string(78, 'x') +
      "\n\talt Hidden\n"
      "Huge <hark:10.0.0.1>;x=" +
      std::string(78, 'x') +
      "\n"
      "Huge <hark:10.0.0.2>\n"
      "Lonely\n\talt Nobody\n"
      "Empty <>;trgl=3\n"
      "TwelveLetters <hark:10.0.0.12>\n");
  Sources(
      "# \"Remark\" <hark:10.0.0.99>\n\n"
      "\talt Nobody\n"
      "Bob <hark:10.0.0.2>\n"
      "bob <hark:10.0.0.3>\n"
      "Long <hark:10.0.0.4>\n\trtpa 239.192.0.4\n"
      "\"Studio A\" <sip:x@10.0.0.5:5060>\r\n\tdomain x.\r\n\talt Twelve letters\r\n"
      "Name<hark:10.0.0.6>\n"
      "<hark:10.0.0.7>\n"
      "\"\" <hark:10.0.0.8>\n"
      "\"Open <hark:10.0.0.9>\n"
      "Ann <hark:10.0.0.10>\n\n\talt Not Ann\n"
      "Ann <hark:10.0.0.11>\n\talt Not first\n"
      "Tail <hark:10.0.0.13>;" +
      std::string(127 - 22, 'x') +
      "Rest <hark:10.0.0.14>\n"
      "Last <quillnet:239.192.0.1>;gpio=1");
  found_ = 0;
  for (const Sizes& sizes : {Sizes{}, Sizes{.label = 0}, Sizes{.url = 0}, Sizes{.alt = 0}, Sizes{0, 0, 0},
                             Sizes{.url = 20}, Sizes{.label = 4}, Sizes{.label = 1, .url = 1, .alt = 1}}) {
    LabelResolver resolver;
    for (const char* label : {"Bob",
                              "bob",
                              "BOB",
                              "Bo",
                              "Bobb",
                              "Long",
                              "Huge",
                              "Lonely",
                              "Empty",
                              "TwelveLetters",
                              "Remark",
                              "Studio A",
                              "Studio",
                              "Name",
                              "Nam",
                              "<hark:10.0.0.7>",
                              "Open",
                              "\"Open",
                              "Ann",
                              "Tail",
                              "Rest",
                              "Last",
                              "Nobody",
                              "hark:10.0.0.1",
                              " ",
                              "",
                              static_cast<const char*>(nullptr),
                              "Bob"})
      ExpectSame(resolver, label, sizes);
  }
  EXPECT_GT(found_, 60) << "the rows must not all be misses";
}

TEST_F(LabelResolverFiles, FilesAreReadAtTheFirstQueryAndNotAgain) {
  LabelResolver resolver;
  Sources("Bob <hark:10.0.0.1>\n");
  ResolvedLabel found;
  EXPECT_EQ(resolver.find("Bob", found.info), 0);
  Sources("Ann <hark:10.0.0.2>\n");
  EXPECT_EQ(resolver.find("Bob", found.info), 0);
  EXPECT_STREQ(found.url.data(), "Bob <hark:10.0.0.1>");
  EXPECT_EQ(resolver.find("Ann", found.info), -1);
  folder_.Remove("sources");
  EXPECT_EQ(resolver.find("Bob", found.info), 0);
  LabelResolver next;
  EXPECT_EQ(next.find("Bob", found.info), -1);
}

TEST_F(LabelResolverFiles, NoFileOrAFolderIsNoStation) {
  LabelResolver none;
  ExpectSame(none, "Bob", {});
  std::filesystem::create_directory(harksources_file);
  Table("Bob <hark:10.0.0.1>\n");
  LabelResolver folder;
  ExpectSame(folder, "Bob", {});
  ExpectSame(folder, "Ann", {});
}

int Discovery(int kind, const char* key, HarkResolvInfo& info) {
  if (kind != kResolveLabel || std::string_view(key) != "Bob") return -1;
  (void)copy_text(info.url, "Bob <hark:10.9.9.9>");
  info.trgl = 7;
  return 0;
}

TEST_F(LabelResolverFiles, RunningDiscoveryIsAskedInPlaceOfTheTable) {
  Table("Bob <hark:10.0.0.1>\nEve <hark:10.0.0.4>\n");
  Sources("Bob <hark:10.0.0.2>\nAnn <hark:10.0.0.3>\n");
  HarkResolv_dynamic = &Discovery;
  LabelResolver resolver;
  found_ = 0;
  for (const char* label : {"Bob", "Eve", "Ann", "Joe"})
    ExpectSame(resolver, label, {});
  EXPECT_EQ(found_, 2);
}

using Random = std::mt19937;

template <std::size_t N>
std::string_view Pick(Random& random, const std::array<std::string_view, N>& from) {
  return from[random() % N];
}

constexpr std::array<std::string_view, 12> kNames{"Bob", "Bobby", "bob", "Ann", "Studio A",   "Studio A ",
                                                  "<x>", "#",     " ",   "\"Q", "1234567890", "12345678901"};

// A line of a file: mostly a station or a detail, sometimes neither.
std::string RandomLine(Random& random) {
  using namespace std::string_view_literals;
  static constexpr std::array<std::string_view, 10> kAddresses{
      "hark:10.0.0.1", "sip:a@1.2.3.4:5060", "quillnet:239.192.0.1", "phone:7", "", ";", "<", ">", "x",
      "*hark:1"};
  static constexpr std::array<std::string_view, 7> kTags{"",  ";trgl=3", ";trgl=0x10;label=z", ";", ";x=>",
                                                         ">", ";trgl"};
  static constexpr std::array<std::string_view, 10> kDetails{
      "\talt Main",          "\talt Main hall 12", "\talt ",    "\talt",     "\trtpa 239.192.0.9",
      "\trtpa 239.192.1.77", "\tdomain x.",        "\tharkd 1", "\t\talt x", "\t"};
  static constexpr std::array<std::string_view, 9> kRubbish{
      "", "# remark", "\"", "<", "\xff\x80\x01"sv, "\0"sv, "Bob\0 <hark:9>"sv, "\r", "Bob"};
  std::string line;
  switch (random() % 8) {
    case 0:
    case 1:
      return std::string(Pick(random, kDetails));
    case 2:
      return std::string(Pick(random, kRubbish));
    case 3:
      line = "\"" + std::string(Pick(random, kNames)) + "\" <";
      break;
    case 4:
      line = std::string(Pick(random, kNames)) + "<";
      break;
    default:
      line = std::string(Pick(random, kNames)) + " <";
      break;
  }
  line += std::string(Pick(random, kAddresses)) + ">" + std::string(Pick(random, kTags));
  if (random() % 6 == 0) line += std::string(random() % 150, 'x');
  if (random() % 12 == 0) line += "Bob <hark:10.0.0.77>";
  return line;
}

std::string RandomFile(Random& random) {
  using namespace std::string_view_literals;
  static constexpr std::array<std::string_view, 8> kEnds{"\n", "\n", "\n", "\n", "\n", "\r\n", "\r", ""};
  std::string text;
  for (unsigned n = random() % 16; n > 0; --n)
    text += RandomLine(random) + std::string(Pick(random, kEnds));
  return text;
}

std::string RandomLabel(Random& random) {
  std::string label(Pick(random, kNames));
  if (random() % 8 == 0) label += 'x';
  if (random() % 8 == 0) label.pop_back();
  return label;
}

TEST_F(LabelResolverFiles, RandomFilesAndLabelsAreAnsweredAsSingleQueriesAre) {
  static constexpr std::array<std::size_t, 4> kSmall{0, 1, 5, 11};
  Random random(32);  // the same cases on every run
  found_ = 0;
  for (int i = 0; i < 1500 && !HasFailure(); ++i) {
    const std::string table = RandomFile(random);
    const std::string sources = RandomFile(random);
    SCOPED_TRACE("table:\n" + table + "\nsources:\n" + sources);
    Table(table);
    Sources(sources);
    if (random() % 16 == 0) folder_.Remove("table");
    if (random() % 16 == 0) folder_.Remove("sources");
    LabelResolver resolver;
    for (int n = 0; n < 5; ++n) {
      Sizes sizes;
      if (random() % 4 == 0)
        sizes = {kSmall[random() % 4], random() % 2 ? 81 : random() % 40, kSmall[random() % 4]};
      ExpectSame(resolver, RandomLabel(random).c_str(), sizes);
    }
  }
  EXPECT_GT(found_, 1000) << "the labels must not all be misses";
}

}  // namespace
}  // namespace hark
