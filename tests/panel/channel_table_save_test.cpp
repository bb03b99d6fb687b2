// A table becomes a section of the file: what is written of it, where, and that all else stays.
#include <gtest/gtest.h>

#include <string>

#include "channel_file.h"

namespace hark {
namespace {

class ChannelSave : public ChannelFile {};

TEST_F(ChannelSave, KeyIsWrittenWithWhatItHas) {
  struct Row {
    ChannelAssignment key;
    const char* want;
  };
  for (const Row& row :
       {Row{{"Bob", "hark:1", 5}, "HARKCH 7 LABL:\"Bob\" URL:\"hark:1\" FLAGS:5\n"},
        Row{{"Bob", {}, 0}, "HARKCH 7 LABL:\"Bob\"\n"}, Row{{{}, "hark:1", 0}, "HARKCH 7 URL:\"hark:1\"\n"},
        Row{{"Bob", {}, 8}, "HARKCH 7 LABL:\"Bob\" FLAGS:8\n"},
        Row{{"Bob", "", 0}, "HARKCH 7 LABL:\"Bob\"\n"}, Row{{"", "hark:1", 0}, "HARKCH 7 URL:\"hark:1\"\n"},
        Row{{"", {}, 3}, "HARKCH 7 FLAGS:3\n"}, Row{{{}, "", 3}, "HARKCH 7 FLAGS:3\n"},
        Row{{"Bob", "*hark:1", 0}, "HARKCH 7 LABL:\"Bob\"\n"}, Row{{{}, "*hark:1", 3}, "HARKCH 7 FLAGS:3\n"},
        Row{{"*Bob", "h*", 0}, "HARKCH 7 LABL:\"*Bob\" URL:\"h*\"\n"},
        Row{{"Studio A, left", {}, 0}, "HARKCH 7 LABL:\"Studio A, left\"\n"},
        // Only a section's own label is escaped.
        Row{{"a\"b", "c\\d", 0}, "HARKCH 7 LABL:\"a\"b\" URL:\"c\\d\"\n"},
        Row{{std::string(300, 'l'), {}, 0}, nullptr},
        Row{{"Bob", {}, 0xFFFFFFFF}, "HARKCH 7 LABL:\"Bob\" FLAGS:-1\n"},
        // And nothing at all.
        Row{{{}, {}, 3}, ""}, Row{{{}, {}, 0}, ""}, Row{{"", "", 0}, ""}, Row{{{}, "*hark:1", 0}, ""},
        Row{{{}, "*", 0}, ""}}) {
    const std::string want = row.want ? row.want : "HARKCH 7 LABL:\"" + std::string(300, 'l') + "\"\n";
    SCOPED_TRACE(want);
    ChannelAssignmentTable table = *ChannelAssignmentTableAlloc(kKeys);
    table.entries[6] = row.key;
    folder_.Remove("harkch.conf");
    EXPECT_EQ(Save("A", nullptr, table), 0);
    EXPECT_EQ(File(), "SHIFT LABL:\"A\"\n" + want + "\n");
  }
}

TEST_F(ChannelSave, SectionHasKeysInOrderThenTheGroupFromItsHead) {
  ChannelAssignmentTable table = Table("First");
  table.entries[89].label = "Last";
  table.entries[9].url = "hark:10";
  table.group = {"Bob", "Ann, \"left\""};
  EXPECT_EQ(Save("A", nullptr, table), 0);
  EXPECT_EQ(File(),
            "SHIFT LABL:\"A\"\n"
            "HARKCH 1 LABL:\"First\"\nHARKCH 10 URL:\"hark:10\"\nHARKCH 90 LABL:\"Last\"\n"
            "HARKGR 1 LABL:\"Bob\"\nHARKGR 1 LABL:\"Ann, \"left\"\"\n\n");
}

TEST_F(ChannelSave, TransientUrlIsNotWrittenButItsLabelIs) {
  ChannelAssignmentTable table = *ChannelAssignmentTableAlloc(kKeys);
  ChannelAssignmentTableSet(table, 0, "*hark:10.0.0.1", "Bob");
  EXPECT_EQ(Save("A", nullptr, table), 0);
  EXPECT_EQ(Load("A"), "1 'Bob' - 0\n");
}

TEST_F(ChannelSave, FlagsAloneAreLostOnTheNextSave) {
  File("SHIFT LABL:A\nHARKCH 7 FLAGS:3\n");
  ChannelAssignmentTable table = *ChannelAssignmentTableAlloc(kKeys);
  ASSERT_EQ(ChannelAssignmentTableLoad(path(), "A", table), 0);
  EXPECT_EQ(Shown(table), "7 - - 3\n");
  EXPECT_EQ(Save("A", nullptr, table), 0);
  EXPECT_EQ(File(), "SHIFT LABL:\"A\"\n\n");
}

TEST_F(ChannelSave, GroupIsReversedByEverySaveAndLoad) {
  File("SHIFT LABL:A\nHARKGR 1 LABL:1\nHARKGR 1 LABL:2\nHARKGR 1 LABL:3\n");
  ChannelAssignmentTable table = *ChannelAssignmentTableAlloc(kKeys);
  for (const char* want : {"group '3' '2' '1'\n", "group '1' '2' '3'\n", "group '3' '2' '1'\n"}) {
    ASSERT_EQ(ChannelAssignmentTableLoad(path(), "A", table), 0);
    EXPECT_EQ(Shown(table), want);
    ASSERT_EQ(Save("A", nullptr, table), 0);
  }
}

constexpr const char* kB =
    "SHIFT LABL:\"B\" FROM:6\r\n"
    "# a remark\n"
    "  HARKCH  2   LABL:b2 OTHER:x\n"
    "\n"
    "HARKGR 7 LABL:other\n"
    "\xff\x01\x80\n"
    "HARKCH 91 LABL:beyond\n"
    "\n\n";

constexpr const char* kNewA = "SHIFT LABL:\"A\"\nHARKCH 1 LABL:\"new\"\n\n";

TEST_F(ChannelSave, OtherSectionsStayByteForByte) {
  const std::string old_a = "SHIFT LABL:\"A\"\nHARKCH 1 LABL:old\n# lost\n\n";
  const std::string front = "# front\nHARKCH 1 LABL:front\n";
  const std::string b = kB;
  struct Row {
    std::string before;
    std::string after;
  };
  for (const Row& row :
       {Row{old_a + b, kNewA + b}, Row{b + old_a, b + kNewA}, Row{front + old_a + b, front + kNewA + b},
        Row{b, b + kNewA}, Row{front, front + kNewA}, Row{"", kNewA},
        // All sections of that label become one, in place of the first.
        Row{old_a + b + old_a, kNewA + b}, Row{front + old_a + old_a + b + old_a + b, front + kNewA + b + b},
        // A line without a label begins no other section.
        Row{old_a + "SHIFT FROM:9\nHARKCH 4 LABL:a4\n" + b, kNewA + b},
        Row{old_a + "SHIFT\nHARKCH 4 LABL:a4\n" + b, kNewA + b},
        // But one with the empty label does.
        Row{old_a + "SHIFT LABL:\"\"\nHARKCH 4 LABL:e4\n",
            std::string(kNewA) + "SHIFT LABL:\"\"\nHARKCH 4 LABL:e4\n"}}) {
    SCOPED_TRACE(row.before);
    File(row.before);
    EXPECT_EQ(Save("A", nullptr, Table("new")), 0);
    EXPECT_EQ(File(), row.after);
    EXPECT_EQ(Save("A", nullptr, Table("new")), 0);
    EXPECT_EQ(File(), row.after) << "the second time";
    EXPECT_EQ(Load("A"), "1 'new' - 0\n");
    EXPECT_FALSE(folder_.Has("harkch.conf~"));
  }
}

TEST_F(ChannelSave, FirstSaveMakesTheFile) {
  EXPECT_EQ(Save("A", nullptr, Table("new")), 0);
  EXPECT_EQ(File(), kNewA);
}

TEST_F(ChannelSave, EmptyShiftHasASectionBehindTheLinesInFront) {
  File("HARKCH 1 LABL:front\nHARKCH 2 LABL:two\nSHIFT LABL:A\nHARKCH 1 LABL:a1\n");
  const std::string after =
      "HARKCH 1 LABL:front\nHARKCH 2 LABL:two\nSHIFT LABL:A\nHARKCH 1 LABL:a1\n"
      "SHIFT LABL:\"\"\nHARKCH 1 LABL:\"new\"\n\n";
  EXPECT_EQ(Save("", nullptr, Table("new")), 0);
  EXPECT_EQ(File(), after);
  EXPECT_EQ(Save("", "", Table("new")), 0);
  EXPECT_EQ(File(), after);
  EXPECT_EQ(Load(""), "1 'new' - 0\n2 'two' - 0\n");
}

TEST_F(ChannelSave, LabelOfTheSectionIsEscaped) {
  struct Row {
    const char* shift;
    const char* line;
  };
  for (const Row& row :
       {Row{"a\"b", "SHIFT LABL:\"a\\\"b\"\n"}, Row{"a\\b", "SHIFT LABL:\"a\\\\b\"\n"},
        Row{"Studio A,b", "SHIFT LABL:\"Studio A,b\"\n"},
        Row{"\"\"\"\"\"\"\"\"\"\"", "SHIFT LABL:\"\\\"\\\"\\\"\\\"\\\"\\\"\\\"\\\"\\\"\\\"\"\n"}}) {
    SCOPED_TRACE(row.shift);
    folder_.Remove("harkch.conf");
    for (int time = 0; time < 2; ++time) {
      EXPECT_EQ(Save(row.shift, nullptr, Table("Bob")), 0);
      EXPECT_EQ(File(), std::string(row.line) + "HARKCH 1 LABL:\"Bob\"\n\n");
    }
    EXPECT_EQ(Load(row.shift), "1 'Bob' - 0\n");
    EXPECT_EQ(Shifts(), Texts{row.shift});
  }
}

TEST_F(ChannelSave, LastLineWithoutItsEndIsNotJoinedToTheNewSection) {
  File("SHIFT LABL:B\nHARKCH 2 LABL:b2");
  EXPECT_EQ(Save("A", nullptr, Table("new")), 0);
  EXPECT_EQ(Load("A"), "1 'new' - 0\n");
  EXPECT_EQ(Load("B"), "2 'b2' - 0\n");
}

TEST_F(ChannelSave, TextBeyondTheLongestLineIsKept) {
  const std::string b = "SHIFT LABL:B\n# " + std::string(10'000, 'x') + "\nHARKCH 2 LABL:b2\n";
  File(b);
  EXPECT_EQ(Save("A", nullptr, Table("new")), 0);
  EXPECT_EQ(File(), b + kNewA);
}

TEST_F(ChannelSave, NulBytesOfOtherSectionsAreKept) {
  using namespace std::string_literals;
  const std::string b = "SHIFT LABL:B\n\0\0# \0\nHARKCH 2 LABL:b2\n"s;
  File(b);
  EXPECT_EQ(Save("A", nullptr, Table("new")), 0);
  EXPECT_TRUE(File() == b + kNewA) << ::testing::PrintToString(File());
}

}  // namespace
}  // namespace hark
