// Files in any state: what cannot be read is neither taken for an empty file nor overwritten, rubbish hides
// no key, and whatever table is saved is loaded again.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <map>
#include <random>
#include <string>

#include "channel_file.h"

namespace hark {
namespace {

using namespace std::string_literals;

class ChannelBadFile : public ChannelFile {
 protected:
  // Loading fails and leaves the table alone.
  void ExpectNotLoaded() {
    ChannelAssignmentTable table = Table("old");
    table.group = {"Bob"};
    EXPECT_EQ(ChannelAssignmentTableLoad(path(), nullptr, table), -1);
    EXPECT_EQ(Shown(table), "1 'old' - 0\ngroup 'Bob'\n");
    EXPECT_STREQ(GetDefaultShift(path()).data(), "");
    EXPECT_EQ(Shifts(), Texts{});
  }
};

TEST_F(ChannelBadFile, MissingOneLeavesTheTable) { ExpectNotLoaded(); }

TEST_F(ChannelBadFile, ThatVanishedLeavesTheTable) {
  File("HARKCH 1 LABL:A\n");
  EXPECT_EQ(Load(nullptr), "1 'A' - 0\n");
  folder_.Remove("harkch.conf");
  ExpectNotLoaded();
}

TEST_F(ChannelBadFile, FolderIsNotLoadedAndNotReplaced) {
  std::filesystem::create_directories(folder_.File("harkch.conf/inside"));
  ExpectNotLoaded();
  EXPECT_EQ(Save("A", nullptr, Table("new")), -1);
  EXPECT_TRUE(std::filesystem::is_directory(folder_.File("harkch.conf/inside")));
}

TEST_F(ChannelBadFile, PipeIsNotLoadedAndNotReplaced) {
  ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
  const auto use = [this] {
    ::alarm(5);  // who waits for the pipe's other end is ended
    ExpectNotLoaded();
    EXPECT_EQ(Save("A", nullptr, Table("new")), -1);
    ::_exit(HasFailure() ? 1 : 0);
  };
  EXPECT_EXIT(use(), ::testing::ExitedWithCode(0), "");
  EXPECT_TRUE(std::filesystem::is_fifo(path()));
}

TEST_F(ChannelBadFile, ThatCannotBeWrittenStaysAsItWas) {
  EXPECT_EQ(ChannelAssignmentTableSave(folder_.File("no/harkch.conf"), "A", nullptr, Table("new")), -1);
  File("SHIFT LABL:A\nHARKCH 1 LABL:old\n");
  std::filesystem::create_directory(folder_.File("harkch.conf~"));
  EXPECT_EQ(Save("A", nullptr, Table("new")), -1);
  EXPECT_EQ(File(), "SHIFT LABL:A\nHARKCH 1 LABL:old\n");
}

TEST_F(ChannelBadFile, LeftoverOfACrashIsReplaced) {
  folder_.Write("harkch.conf~", std::string(5000, 'x'));
  EXPECT_EQ(Save("A", nullptr, Table("new")), 0);
  EXPECT_EQ(File(), "SHIFT LABL:\"A\"\nHARKCH 1 LABL:\"new\"\n\n");
  EXPECT_FALSE(folder_.Has("harkch.conf~"));
}

TEST_F(ChannelBadFile, RubbishHidesNoKey) {
  for (const std::string& rubbish :
       {"\n"s, "\0\n"s, "\0HARKCH 1 LABL:x\n"s, "HARKCH\0 1 LABL:x\n"s, "\x01\xff\x80\n"s, "\r\r\n"s, "\"\n"s,
        "SHIFT \n"s, "HARKCH \n"s, "HARKGR \n"s, "HARKCH 1 LABL:\"\n"s, "HARKCH 1 LABL:\\\n"s,
        "SHIFT LABL:\"\n"s, std::string(100'000, 'x') + "\n", std::string(100'000, '"') + "\n",
        std::string(100'000, '\0') + "\n", "# " + std::string(1999, ' ') + "\n"}) {
    SCOPED_TRACE(::testing::PrintToString(rubbish.substr(0, 40)));
    File(rubbish + "SHIFT LABL:A\nHARKCH 7 LABL:\"Bob\"\nHARKGR 1 LABL:Ann\n");
    EXPECT_EQ(Load("A"), "7 'Bob' - 0\ngroup 'Ann'\n");
    EXPECT_EQ(Save("B", nullptr, Table("new")), 0);
    EXPECT_EQ(Load("A"), "7 'Bob' - 0\ngroup 'Ann'\n");
    EXPECT_EQ(Load("B"), "1 'new' - 0\n");
  }
}

TEST_F(ChannelBadFile, LineBeyondTheLongestIsReadAsTwo) {
  File("# " + std::string(1997, 'x') + "HARKCH 7 LABL:Bob\n");
  EXPECT_EQ(Load(nullptr), "7 'Bob' - 0\n");
  File("# " + std::string(1996, 'x') + "HARKCH 7 LABL:Bob\n");
  EXPECT_EQ(Load(nullptr), "");
}

TEST_F(ChannelBadFile, LongestLineIsWhole) {
  const std::string head = "HARKCH 7 LABL:\"";
  const std::string label(1999 - head.size() - 1, 'x');
  File(head + label + "\"\nHARKCH 8 LABL:Ann\n");
  EXPECT_EQ(Load(nullptr), "7 '" + label + "' - 0\n8 'Ann' - 0\n");
}

TEST_F(ChannelBadFile, EndlessLineIsNoKey) {
  File("HARKCH 7 LABL:\"" + std::string(1'000'000, 'x'));
  const auto table = ChannelAssignmentTableAlloc(kKeys);
  EXPECT_EQ(ChannelAssignmentTableLoad(path(), nullptr, *table), 0);
  EXPECT_LT(table->label(6).size(), 2000u);
}

using Random = std::mt19937;

// A text that stands in a file as it is: neither quote nor backslash, no line end.
std::string RandomText(Random& random, std::size_t longest) {
  static constexpr std::string_view kBytes = "AZaz09 ,;:=<>@#*./\t\x01\x7f\x80\xff";
  std::string text;
  for (std::size_t n = 1 + random() % longest; n > 0; --n)
    text += kBytes[random() % kBytes.size()];
  return text;
}

ChannelAssignmentTable RandomTable(Random& random, int keys) {
  ChannelAssignmentTable table = *ChannelAssignmentTableAlloc(keys);
  for (ChannelAssignment& key : table.entries) {
    if (random() % 3 == 0) key.label = RandomText(random, 12);
    if (random() % 3 == 0) key.url = RandomText(random, 80);
    if (random() % 3 == 0) key.flags = random() % 2 ? random() % 16 : static_cast<std::uint32_t>(random());
  }
  for (unsigned n = random() % 6; n > 0; --n)
    table.group.push_back(RandomText(random, 20));
  return table;
}

// The table as it comes back from the file.
ChannelAssignmentTable Stored(ChannelAssignmentTable table) {
  for (ChannelAssignment& key : table.entries) {
    if (!key.label && !key.url) key.flags = 0;
    if (key.url && key.url->starts_with('*')) key.url.reset();
  }
  table.group.reverse();
  return table;
}

class ChannelRandom : public ChannelFile {};

TEST_F(ChannelRandom, SavedTableIsLoadedWithItsGroupReversed) {
  Random random(41);  // the same cases on every run
  for (int i = 0; i < 500; ++i) {
    const int keys = static_cast<int>(random() % 99) + 1;
    ChannelAssignmentTable want = RandomTable(random, keys);
    const std::string shift = i % 10 ? "A" : "";
    folder_.Remove("harkch.conf");
    ChannelAssignmentTable loaded = *ChannelAssignmentTableAlloc(keys);
    for (int round = 0; round < 3; ++round) {
      ASSERT_EQ(Save(shift.c_str(), nullptr, want), 0);
      ASSERT_EQ(ChannelAssignmentTableLoad(path(), shift.c_str(), loaded), 0);
      want = Stored(want);
      ASSERT_EQ(Shown(loaded), Shown(want)) << "case " << i << " round " << round << "\n" << File();
    }
  }
}

TEST_F(ChannelRandom, SectionsDoNotDisturbEachOther) {
  static constexpr std::array<const char*, 6> kShifts{"A", "B", "Overnights", "a\"b\\", "1, 2", "shift"};
  Random random(42);  // the same cases on every run
  std::map<std::string, ChannelAssignmentTable> stored;
  for (int i = 0; i < 400; ++i) {
    const std::string shift = kShifts[random() % kShifts.size()];
    const ChannelAssignmentTable table = RandomTable(random, kKeys);
    ASSERT_EQ(Save(shift.c_str(), nullptr, table), 0);
    stored.insert_or_assign(shift, Stored(table));
    ASSERT_EQ(Shifts().size(), stored.size());
    for (const auto& [label, want] : stored)
      ASSERT_EQ(Load(label.c_str()), Shown(want)) << "case " << i << " shift " << label;
  }
}

}  // namespace
}  // namespace hark
