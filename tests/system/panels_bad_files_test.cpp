// Files that nobody should have written, and things that are no files at all, under the names of the channels
// and the sources: the station goes on with what it has, writes whole files or none, and leaves nothing
// behind.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "system/panel_fixture.h"

namespace hark::test {
namespace {

namespace fs = std::filesystem;
using testing::EndsWith;
using testing::HasSubstr;

constexpr char kTemporary[] = "etc/Orfe/hark/harkch.conf~";

std::string label(const std::string& text) { return "TEXT=\"" + text + "\", ALT=\"\", DFL=0"; }

// All 256 bytes, those that end a line among them.
std::string every_byte() {
  std::string bytes;
  for (int value = 0; value < 256; ++value)
    bytes += static_cast<char>(value);
  return bytes;
}

struct BadText {
  const char* name;
  std::string text;
};

// What stands in front of a good line behind a line end.
std::vector<BadText> bad_texts() {
  return {
      {"an endless line", std::string(100'000, 'x')},
      {"an endless line of one kind", "HARKCH 1 LABL:\"" + std::string(5000, 'B')},
      {"an endless shift", "SHIFT LABX:\"" + std::string(5000, 'B')},
      {"an endless source", std::string(3000, 'B') + " <quillnet:239.192.0.7>"},
      {"an endless address", "Bob <quillnet:" + std::string(3000, '1') + ">"},
      {"an endless detail", "Bob <quillnet:239.192.0.1>\n\talt " + std::string(3000, 'B')},
      {"every byte", every_byte()},
      {"every byte in a label", "HARKCH 1 LABL:\"" + every_byte() + "\""},
      {"zeros", std::string(4096, '\0')},
      {"blank lines", std::string(4096, '\n')},
      {"carriage returns", std::string(4096, '\r')},
      {"quotes", std::string(4096, '"')},
      {"backslashes", std::string(4095, '\\')},
      {"missing ends", "HARKCH 1 LABL:\"Bob\nHARKGR 1 LABL:\"Bob\nBob <quillnet:239.192.0.1\n\"Bob <quil"},
      {"keys out of range",
       "HARKCH 0 LABL:\"x\"\nHARKCH 91 LABL:\"x\"\nHARKCH -1 LABL:\"x\"\nHARKCH x LABL:\"x\"\n"
       "HARKCH 18446744073709551617 LABL:\"x\"\nHARKCH 4294967297 LABL:\"x\"\nHARKCH LABL:\"x\""},
      {"flags out of range", "HARKCH 1 FLAGS:99999999999999999999\nHARKCH 2 FLAGS:-1\nHARKCH 3 FLAGS:"},
      {"groups of nobody", "HARKGR 1\nHARKGR 1 LABL:\"\"\nHARKGR 2 LABL:\"x\"\nHARKGR -1 LABL:\"x\"\nHARKGR"},
      {"a thousand members",
       [] {
         std::string text;
         for (int i = 0; i < 1000; ++i)
           text += "HARKGR 1 LABL:\"" + std::to_string(i) + "\"\n";
         return text;
       }()},
  };
}

class BadFiles : public PanelTest {
 protected:
  void StartBare() {
    StartReadyForCalls();
    client = Connect("127.0.0.9");
    ASSERT_TRUE(panel.attach(station.ctrl_port(), "1-20"));
  }
  // Another kind of thing under the name of a file.
  void PutFolder(const std::string& name) const {
    station.root().remove(name);
    ASSERT_TRUE(fs::create_directory(station.root().file(name)));
  }
  void PutPipe(const std::string& name) const {
    station.root().remove(name);
    ASSERT_EQ(::mkfifo(station.root().file(name).c_str(), 0600), 0);
  }
  void PutLink(const std::string& name, const std::string& target) const {
    station.root().remove(name);
    ASSERT_EQ(::symlink(target.c_str(), station.root().file(name).c_str()), 0);
  }
  // A key can be given another label, and the panel shows it.
  [[nodiscard]] testing::AssertionResult KeyTakes(const std::string& text) {
    (void)panel.tell("DISP#KL15 TEXT=\"" + text + "\"");
    testing::AssertionResult shown = panel.wait_display("KL15", label(text));
    panel.settle();
    return shown;
  }
};

TEST_F(BadFiles, AtStartCostNoMoreThanTheirOwnLines) {
  for (const BadText& row : bad_texts()) {
    SCOPED_TRACE(row.name);
    station.root().write(kChannelFile, row.text + "\nHARKCH 9 LABL:\"Good\"\n");
    station.write_sources(row.text + "\nGood <quillnet:239.192.0.99>\n\talt Fine\n");
    StartBare();
    EXPECT_EQ(panel.display("KL09"), "TEXT=\"Good\", ALT=\"Fine\", DFL=1");
    panel.tap("KL09");
    EXPECT_TRUE(MixerGets("sub#1.in#1 src_id=\"239.192.0.99\", gain=0"));
    EXPECT_TRUE(panel.wait_indicator("KL09", "On"));
    EXPECT_TRUE(KeyTakes("New"));
    EXPECT_THAT(Channels(), HasSubstr("HARKCH 9 LABL:\"Good\"\n"));
    EXPECT_THAT(Channels(), HasSubstr("HARKCH 15 LABL:\"New\"\n"));
    EXPECT_TRUE(ended_well(station));
    sim->forget_records();
  }
}

TEST_F(BadFiles, WithoutALastLineEndAreReadToTheirEnd) {
  station.root().write(kChannelFile, "HARKCH 1 LABL:\"Bob\"");
  station.write_sources("Bob <quillnet:239.192.0.7>\n\talt Robert");
  StartBare();
  EXPECT_EQ(panel.display("KL01"), "TEXT=\"Bob\", ALT=\"Robert\", DFL=1");
}

TEST_F(BadFiles, WhileItRunsCostNoMoreThanTheirOwnLines) {
  StartWithPanel();
  std::string all;
  for (const BadText& row : bad_texts())
    all += row.text + "\n";
  Replace(kSourceFile, all + "Good <quillnet:239.192.0.99>\n\talt Fine\n");
  Replace(kChannelFile, all + "HARKCH 9 LABL:\"Good\"\n");
  EXPECT_TRUE(panel.wait_display("KL09", "TEXT=\"Good\", ALT=\"Fine\", DFL=1"));
  EXPECT_TRUE(KeyTakes("New"));
}

TEST_F(BadFiles, FolderInPlaceOfTheChannels) {
  ASSERT_TRUE(fs::create_directory(station.root().file(kChannelFile)));
  StartBare();
  EXPECT_EQ(panel.display("KL01"), label(""));
  EXPECT_TRUE(KeyTakes("New")) << "the panels have it, if no file can";
  EXPECT_TRUE(fs::is_directory(station.root().file(kChannelFile)));
  EXPECT_TRUE(fs::is_empty(station.root().file(kChannelFile)));
  EXPECT_FALSE(station.root().exists(kTemporary));
}

TEST_F(BadFiles, FolderInPlaceOfTheSources) {
  ASSERT_TRUE(fs::create_directory(station.root().file(kSourceFile)));
  station.root().write(kChannelFile, kKeys);
  StartBare();
  panel.tap("KL01");
  panel.settle();
  EXPECT_EQ(panel.indicator("KL01"), "Off");
  fs::remove(station.root().file(kSourceFile));
  Replace(kSourceFile, std::string(kBob) + "\n");
  panel.tap("KL01");
  EXPECT_TRUE(panel.wait_indicator("KL01", "On"));
}

TEST_F(BadFiles, PipesInPlaceOfBothStopNobody) {
  PutPipe(kChannelFile);
  PutPipe(kSourceFile);
  StartBare();
  panel.tap("KL01");
  EXPECT_TRUE(KeyTakes("New"));
  EXPECT_FALSE(station.root().exists(kTemporary));
  Housekeeping();
  EXPECT_TRUE(client.ask("VER", kVersion));
}

TEST_F(BadFiles, ThingsThatComeWhileItRunsLeaveTheKeysAsTheyWere) {
  StartWithPanel();
  panel.tap("KL01");
  ASSERT_TRUE(panel.wait_indicator("KL01", "On"));
  const auto stays_as_it_was = [&] {
    Housekeeping();
    EXPECT_EQ(panel.indicator("KL01"), "On");
    EXPECT_EQ(panel.display("KL01"), label("Bob"));
    EXPECT_TRUE(KeyTakes("New"));
    EXPECT_TRUE(KeyTakes("Old"));
    EXPECT_FALSE(station.root().exists(kTemporary));
  };
  PutFolder(kChannelFile);
  stays_as_it_was();
  EXPECT_TRUE(fs::is_directory(station.root().file(kChannelFile)));
  PutPipe(kChannelFile);
  stays_as_it_was();
  PutPipe(kSourceFile);
  stays_as_it_was();
  PutFolder(kSourceFile);
  stays_as_it_was();
  PutLink(kChannelFile, "harkch.conf");  // to itself
  stays_as_it_was();
  station.root().remove(kChannelFile);
  Replace(kChannelFile, "SHIFT LABL:\"Default\"\nHARKCH 2 LABL:\"Cal\"\n");
  station.root().remove(kSourceFile);
  Replace(kSourceFile, std::string(kCal) + "\n" + kBob + "\n");
  EXPECT_TRUE(panel.wait_display("KL02", label("Cal"))) << "good files are taken up again";
}

TEST_F(BadFiles, FolderThatIsGoneCannotBeWrittenTo) {
  StartWithPanel();
  const fs::path folder = station.root().file("etc/Orfe/hark");
  fs::rename(folder, folder.string() + ".away");
  EXPECT_TRUE(KeyTakes("New"));
  Housekeeping();
  EXPECT_EQ(panel.display("KL01"), label("Bob"));
  fs::rename(folder.string() + ".away", folder);
  EXPECT_EQ(Channels(), kKeys) << "as it was";
  EXPECT_TRUE(KeyTakes("Later"));
  EXPECT_THAT(Channels(), HasSubstr("HARKCH 15 LABL:\"Later\"\n"));
}

TEST_F(BadFiles, FolderWithoutTheRightToWriteKeepsItsFile) {
  StartWithPanel();
  if (::geteuid() == 0) GTEST_SKIP() << "root may write everywhere";
  const fs::path folder = station.root().file("etc/Orfe/hark");
  fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec);
  EXPECT_TRUE(KeyTakes("New"));
  fs::permissions(folder, fs::perms::owner_all);
  EXPECT_EQ(Channels(), kKeys);
}

TEST_F(BadFiles, TemporaryThatCannotBeMadeKeepsTheFile) {
  StartWithPanel();
  ASSERT_TRUE(fs::create_directory(station.root().file(kTemporary)));
  EXPECT_TRUE(KeyTakes("New"));
  EXPECT_EQ(Channels(), kKeys);
  fs::remove(station.root().file(kTemporary));
  EXPECT_TRUE(KeyTakes("Later"));
  EXPECT_THAT(Channels(), HasSubstr("HARKCH 15 LABL:\"Later\"\n"));
}

// A link to a device that is always full, a pipe that nobody reads, what a crash left.
TEST_F(BadFiles, WhatLiesUnderTheNameOfTheTemporaryCostsNoFile) {
  StartWithPanel();
  const auto saves = [&](const std::string& text) {
    EXPECT_TRUE(KeyTakes(text));
    ASSERT_TRUE(fs::is_regular_file(fs::symlink_status(station.root().file(kChannelFile))));
    EXPECT_THAT(Channels(), HasSubstr("HARKCH 1 LABL:\"Bob\"\n"));
    EXPECT_THAT(Channels(), EndsWith("HARKCH 15 LABL:\"" + text + "\"\n\n"));
    EXPECT_FALSE(station.root().exists(kTemporary));
  };
  PutLink(kTemporary, "/dev/full");
  saves("Link");
  PutPipe(kTemporary);
  saves("Pipe");
  station.root().write(kTemporary, std::string(10'000, 'x'));
  saves("File");
}

TEST_F(BadFiles, ReaderNeverSeesHalfOfWhatIsSaved) {
  StartWithPanel();
  const std::string other_shift = "SHIFT LABL:\"Other\"\n" + std::string(50'000, '#') + "\n\n";
  Replace(kChannelFile, "SHIFT LABL:\"Mine\"\nHARKCH 1 LABL:\"Cal\"\n\n" + other_shift);
  ASSERT_TRUE(panel.wait_display("KL01", label("Cal")));
  for (int round = 0; round < 50; ++round) {
    ASSERT_TRUE(panel.tell("DISP#KL15 TEXT=\"Round " + std::to_string(round) + "\""));
    const auto shown = [&] { return panel.display("KL15") == label("Round " + std::to_string(round)); };
    ASSERT_TRUE(wait_until([&] {
      EXPECT_THAT(Channels(), EndsWith("##\n\n"));
      EXPECT_THAT(Channels(), testing::StartsWith("SHIFT LABL:\"Mine\"\nHARKCH 1 LABL:\"Cal\"\n"));
      return shown() || HasFailure();
    }));
  }
}

}  // namespace
}  // namespace hark::test
