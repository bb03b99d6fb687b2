// The operator's file of sources: which of its lines are handed on, and in what form.
#include "addressing/sources.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "base/scratch_folder.h"

namespace hark {
namespace {

using Lines = std::vector<std::string>;

class SourceFile : public ::testing::Test {
 protected:
  SourceFile() : file_before_(std::exchange(harksources_file, folder_.File("sources"))) {}
  ~SourceFile() override { harksources_file = file_before_; }

  static Lines Read() {
    Lines lines;
    for_each_source_line([&lines](const char* line) { lines.emplace_back(line); });
    return lines;
  }
  Lines Read(const std::string& text) {
    folder_.Write("sources", text);
    return Read();
  }
  ScratchFolder folder_;
  std::string file_before_;
};

TEST(SourcePath, IsTheDeploymentsFile) { EXPECT_EQ(harksources_file, "/etc/Orfe/hark/hark_sources"); }

TEST_F(SourceFile, LinesAreHandedOnWithoutTheirEnds) {
  struct Row {
    const char* text;
    Lines want;
  };
  for (const Row& row :
       {Row{"\"Studio A\" <hark:10.1.2.3>;trgl=2\n", {"\"Studio A\" <hark:10.1.2.3>;trgl=2"}},
        Row{"A <hark:1>\r\nB <hark:2>\r\n", {"A <hark:1>", "B <hark:2>"}},
        Row{"A <hark:1>\nB", {"A <hark:1>", "B"}},
        Row{"A <hark:1>\n\talt Main\n\trtpa 239.192.0.1\n",
            {"A <hark:1>", "\talt Main", "\trtpa 239.192.0.1"}},
        Row{"A #1\n", {"A #1"}}, Row{" # no comment\n", {" # no comment"}}, Row{"\n\r\n\n", {}},
        Row{"# A\n#B\n#\nC\n", {"C"}}, Row{"", {}}}) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(Read(row.text), row.want);
  }
}

TEST_F(SourceFile, LineOf127CharactersIsWholeAndALongerOneIsReadAsTwo) {
  const std::string whole(127, 'a');
  Lines lines = Read(whole + "\nB\n");
  EXPECT_EQ(lines, (Lines{whole, "B"}));
  lines = Read(whole + "bcd\nB\n");
  EXPECT_EQ(lines, (Lines{whole, "bcd", "B"}));
}

TEST_F(SourceFile, MissingFileGivesNothing) { EXPECT_EQ(Read(), Lines{}); }

TEST_F(SourceFile, ChangeTakesEffectAtOnce) {
  EXPECT_EQ(Read("A\n"), Lines{"A"});
  EXPECT_EQ(Read("B\n"), Lines{"B"});
  folder_.Remove("sources");
  EXPECT_EQ(Read(), Lines{});
}

}  // namespace
}  // namespace hark
