// The table of what each key calls, and how a section of the file becomes one.
#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "channel_file.h"

namespace hark {
namespace {

TEST(ChannelTable, IsClearedAndHasTheKeysAskedFor) {
  for (const int n : {1, 2, 90, 1000}) {
    const auto table = ChannelAssignmentTableAlloc(n);
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->size(), n);
    EXPECT_TRUE(table->group.empty());
    for (const ChannelAssignment& key : table->entries)
      EXPECT_TRUE(!key.label && !key.url && key.flags == 0);
  }
  for (const int n : {0, -1, INT_MIN})
    EXPECT_EQ(ChannelAssignmentTableAlloc(n), nullptr) << n;
}

TEST(ChannelTable, SettingAKeyTakesCopiesAndLeavesItsFlags) {
  const auto table = ChannelAssignmentTableAlloc(2);
  table->entries[1].flags = 5;
  std::string url = "hark:10.0.0.1";
  std::string label = "Bob";
  ChannelAssignmentTableSet(*table, 1, url.c_str(), label.c_str());
  url[0] = label[0] = 'x';
  EXPECT_EQ(table->entries[1].url, "hark:10.0.0.1");
  EXPECT_EQ(table->entries[1].label, "Bob");
  ChannelAssignmentTableSet(*table, 1, nullptr, "");
  EXPECT_EQ(table->entries[1].url, std::nullopt);
  EXPECT_EQ(table->entries[1].label, "");
  ChannelAssignmentTableSet(*table, 1, "", nullptr);
  EXPECT_EQ(table->entries[1].url, "");
  EXPECT_EQ(table->entries[1].label, std::nullopt);
  EXPECT_EQ(table->entries[1].flags, 5u);
  EXPECT_FALSE(table->entries[0].label);
}

TEST(ChannelTable, KeyMayBeSetToItsOwnTexts) {
  const auto table = ChannelAssignmentTableAlloc(1);
  ChannelAssignmentTableSet(*table, 0, "hark:10.0.0.1", "A label that is not held in place");
  ChannelAssignmentTableSet(*table, 0, table->entries[0].url->c_str(), table->entries[0].label->c_str());
  EXPECT_EQ(table->entries[0].url, "hark:10.0.0.1");
  EXPECT_EQ(table->entries[0].label, "A label that is not held in place");
}

TEST(ChannelTable, LabelOfAKeyThatIsNotThereIsEmpty) {
  const auto table = ChannelAssignmentTableAlloc(2);
  ChannelAssignmentTableSet(*table, 0, "hark:1", "Bob");
  EXPECT_EQ(table->label(0), "Bob");
  for (const int i : {1, 2, 3, -1, INT_MAX, INT_MIN})
    EXPECT_EQ(table->label(i), "") << i;
}

TEST(ChannelTable, LabelIsFoundOnlyWhole) {
  const auto table = ChannelAssignmentTableAlloc(3);
  ChannelAssignmentTableSet(*table, 2, nullptr, "Bobby");
  ChannelAssignmentTableSet(*table, 1, "Ann", nullptr);
  EXPECT_TRUE(table->has_label("Bobby"));
  for (const char* label : {"Bob", "bobby", "Bobby ", "Ann"})
    EXPECT_FALSE(table->has_label(label)) << label;
}

class ChannelLoad : public ChannelFile {};

TEST_F(ChannelLoad, LineOfAKeyFillsItsEntry) {
  struct Row {
    const char* line;
    const char* want;
  };
  for (const Row& row :
       {Row{"HARKCH 7 LABL:\"Bob\" URL:\"hark:10.0.0.7\" FLAGS:5\n", "7 'Bob' 'hark:10.0.0.7' 5\n"},
        Row{"HARKCH 7 LABL:\"Bob\"\n", "7 'Bob' - 0\n"}, Row{"HARKCH 7 URL:\"hark:1\"\n", "7 - 'hark:1' 0\n"},
        Row{"HARKCH 7 FLAGS:3\n", "7 - - 3\n"}, Row{"HARKCH 7 LABL:Bob URL:hark:1\n", "7 'Bob' 'hark:1' 0\n"},
        Row{"HARKCH 7 LABL:Bob\r\n", "7 'Bob' - 0\n"}, Row{"HARKCH 7 LABL:\"Bob\"\r\n", "7 'Bob' - 0\n"},
        Row{"HARKCH 7 LABL:Bob", "7 'Bob' - 0\n"},
        Row{"HARKCH 7 LABL:\"Studio A, left\"\n", "7 'Studio A, left' - 0\n"},
        Row{"HARKCH 7 FLAGS:1, URL=\"hark:1\",LABL=Bob\n", "7 'Bob' 'hark:1' 1\n"},
        Row{"HARKCH 7 LABL:\"a\\\"b\\\\c\"\n", "7 'a\"b\\c' - 0\n"},
        Row{"HARKCH 7 LABL:\"Bob\n", "7 'Bob' - 0\n"}, Row{"HARKCH 7 URL:\"*hark:1\"\n", "7 - '*hark:1' 0\n"},
        Row{"HARKCH 7 LABL:\"A label of any length\"\n", "7 'A label of any length' - 0\n"},
        Row{"HARKCH 7 LABL:\"\" URL:\"\" FLAGS:1\n", "7 - - 1\n"},
        // Numbers in base 0, flags in quotes too.
        Row{"HARKCH 0x0A LABL:A\n", "10 'A' - 0\n"}, Row{"HARKCH 012 LABL:A\n", "10 'A' - 0\n"},
        Row{"HARKCH 1 LABL:A\n", "1 'A' - 0\n"}, Row{"HARKCH 90 LABL:A\n", "90 'A' - 0\n"},
        Row{"HARKCH   7 LABL:A\n", "7 'A' - 0\n"}, Row{"HARKCH 7 FLAGS:\"0x0C\"\n", "7 - - 12\n"},
        Row{"HARKCH 7 FLAGS:010\n", "7 - - 8\n"}, Row{"HARKCH 7 FLAGS:\"5\n", "7 - - 5\n"},
        // A second line of the same key counts alone.
        Row{"HARKCH 7 LABL:A URL:x FLAGS:1\nHARKCH 7 LABL:B\n", "7 'B' - 0\n"},
        Row{"HARKCH 7 LABL:A\nHARKCH 7\n", ""},
        // And what is no line of a key.
        Row{"HARKCH 0 LABL:A\n", ""}, Row{"HARKCH 91 LABL:A\n", ""}, Row{"HARKCH -1 LABL:A\n", ""},
        Row{"HARKCH 4294967297 LABL:A\n", ""}, Row{"HARKCH 18446744073709551617 LABL:A\n", ""},
        Row{"HARKCH x LABL:A\n", ""}, Row{"HARKCH LABL:A\n", ""}, Row{"HARKCH\t7 LABL:A\n", ""},
        Row{"HARKCH7 LABL:A\n", ""}, Row{" HARKCH 7 LABL:A\n", ""}, Row{"harkch 7 LABL:A\n", ""},
        Row{"# HARKCH 7 LABL:A\n", ""}, Row{"HARKCHX 7 LABL:A\n", ""}, Row{"\n\r\n \n", ""}, Row{"", ""},
        Row{"HARKCH ", ""}, Row{"HARKCH", ""}}) {
    SCOPED_TRACE(row.line);
    File(row.line);
    EXPECT_EQ(Load(nullptr), row.want);
  }
}

TEST_F(ChannelLoad, KeysZeroAndNinetyOneOfNinetyAreIgnored) {
  File("HARKCH 0 LABL:A\nHARKCH 91 LABL:B\nHARKCH 90 LABL:C\n");
  EXPECT_EQ(Load(nullptr), "90 'C' - 0\n");
}

TEST_F(ChannelLoad, FlagsAloneLoadWithoutTexts) {
  File("HARKCH 7 FLAGS:3\n");
  EXPECT_EQ(Load(nullptr), "7 - - 3\n");
}

TEST_F(ChannelLoad, GroupIsInReverseOrderOfTheFile) {
  struct Row {
    const char* lines;
    const char* want;
  };
  for (const Row& row :
       {Row{"HARKGR 1 LABL:\"Bob\"\nHARKGR 1 LABL:Ann\n", "group 'Ann' 'Bob'\n"},
        Row{"HARKGR 1 LABL:\"Bob\"\nHARKGR 1 LABL:\"Bob\"\n", "group 'Bob' 'Bob'\n"},
        Row{"HARKGR 1 LABL:\"A label of any length\"\r\n", "group 'A label of any length'\n"},
        Row{"HARKGR 1 URL:x LABL:B", "group 'B'\n"},
        // And what is no member.
        Row{"HARKGR 2 LABL:A\nHARKGR 0 LABL:A\nHARKGR 11 LABL:A\nHARKGR -1 LABL:A\n", ""},
        Row{"HARKGR 1 LABL:\"\"\nHARKGR 1 LABL:\nHARKGR 1\nHARKGR 1 URL:A\n", ""}, Row{"HARKGR LABL:A\n", ""},
        Row{"harkgr 1 LABL:A\nHARKGR1 LABL:A\n HARKGR 1 LABL:A\n", ""}}) {
    SCOPED_TRACE(row.lines);
    File(row.lines);
    EXPECT_EQ(Load(nullptr), row.want);
  }
}

TEST_F(ChannelLoad, SectionOfTheShiftAlone) {
  File(
      "HARKCH 1 LABL:Front\nHARKGR 1 LABL:Gf\n"
      "SHIFT LABL:\"A\"\nHARKCH 1 LABL:a1\nHARKGR 1 LABL:Ga\n\n"
      "# remark\nSHIFT LABL:\"B\"\nHARKCH 2 LABL:b2\nHARKGR 1 LABL:Gb\n"
      "SHIFT LABL:\"Overnights, long\"\nHARKCH 3 LABL:o3\n"
      "SHIFT LABL:\"a \\\"q\\\"\"\nHARKCH 4 LABL:q4\n"
      "SHIFT LABL:\"A\"\nHARKCH 5 LABL:a5\nHARKCH 1 LABL:a6\nHARKGR 1 LABL:Ga2\n"
      "SHIFT\nHARKCH 6 LABL:a7\n"  // without the blank no line of a section
      "SHIFT FROM:8\nHARKCH 7 LABL:e7\n"
      "SHIFT LABL:\"\"\nHARKCH 8 LABL:e8\n"
      "shift LABL:B\nHARKCH 9 LABL:e9\n"
      "SHIFT LABL:B\r\nHARKCH 9 LABL:b9\r\n");
  struct Row {
    const char* shift;
    const char* want;
  };
  const char* const front = "1 'Front' - 0\n7 'e7' - 0\n8 'e8' - 0\n9 'e9' - 0\ngroup 'Gf'\n";
  for (const Row& row : {Row{nullptr, front}, Row{"", front},
                         Row{"A", "1 'a6' - 0\n5 'a5' - 0\n6 'a7' - 0\ngroup 'Ga2' 'Ga'\n"},
                         Row{"B", "2 'b2' - 0\n9 'b9' - 0\ngroup 'Gb'\n"}, Row{"Overnights", "3 'o3' - 0\n"},
                         Row{"Overnights, long", "3 'o3' - 0\n"}, Row{"Overnightsxyz", "3 'o3' - 0\n"},
                         Row{"a \"q\"", "4 'q4' - 0\n"},
                         // And sections that are not there.
                         Row{"a", ""}, Row{"Overnight", ""}, Row{"C", ""}, Row{"\"A\"", ""}}) {
    SCOPED_TRACE(row.shift ? row.shift : "null");
    EXPECT_EQ(Load(row.shift), row.want);
  }
}

TEST_F(ChannelLoad, ShiftBFillsOnlyItsKeys) {
  File("SHIFT LABL:\"A\"\nHARKCH 1 LABL:a1\nHARKCH 2 LABL:a2\n\nSHIFT LABL:\"B\"\nHARKCH 2 LABL:b2\n\n");
  EXPECT_EQ(Load("B"), "2 'b2' - 0\n");
}

TEST_F(ChannelLoad, WithoutAShiftTheLinesAheadOfTheFirstSectionAreRead) {
  File("HARKCH 1 LABL:front\nSHIFT LABL:\"A\"\nHARKCH 2 LABL:a2\n");
  EXPECT_EQ(Load(nullptr), "1 'front' - 0\n");
  EXPECT_EQ(Load(""), "1 'front' - 0\n");
  File("SHIFT LABL:\"A\"\nHARKCH 2 LABL:a2\n");
  EXPECT_EQ(Load(nullptr), "");
  EXPECT_EQ(Load(""), "");
}

TEST_F(ChannelLoad, ContentOfTheTableIsReplaced) {
  ChannelAssignmentTable table = Table("old");
  table.entries[5] = {"old", "hark:9", 7};
  table.group = {"old"};
  File("SHIFT LABL:A\nHARKCH 2 LABL:new\nHARKGR 1 LABL:new\n");
  EXPECT_EQ(ChannelAssignmentTableLoad(path(), "A", table), 0);
  EXPECT_EQ(Shown(table), "2 'new' - 0\ngroup 'new'\n");
  EXPECT_EQ(ChannelAssignmentTableLoad(path(), "unknown", table), 0);
  EXPECT_EQ(Shown(table), "");
  EXPECT_EQ(table.size(), kKeys);
}

}  // namespace
}  // namespace hark
