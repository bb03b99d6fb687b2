// The list of stations heard of, and the file that every change of it leaves.
#include "addressing/harkresolvtable.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "base/fd.h"
#include "resolver_files.h"

namespace hark {
namespace {

std::vector<std::string> freed;

void NoteFreed(harkresolvtable_entry& entry) {
  freed.push_back(entry.name + "/" + entry.domain + "/" + entry.url);
}

class HarkResolvTable : public ResolverFiles {
 protected:
  HarkResolvTable() { freed.clear(); }

  harkresolvtable_entry& Add(std::string_view name, std::string_view domain) {
    return harkresolvtable_add(table_, name, domain);
  }
  [[nodiscard]] std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const harkresolvtable_entry& entry : table_)
      names.push_back(entry.name + "/" + entry.domain);
    return names;
  }
  // The file that a table of this one entry leaves.
  std::string Written(const harkresolvtable_entry& entry) {
    harkresolvtable_write(harkresolvtable{entry});
    return folder_.Read("table");
  }
  harkresolvtable table_;
};

using Lines = std::vector<std::string>;

TEST(HarkResolvTablePath, IsTheDeploymentsFile) { EXPECT_EQ(table_file, "/var/tmp/orfehark-bonjour.tbl"); }

TEST_F(HarkResolvTable, NewEntryIsClearedStandsFirstAndIsWritten) {
  (void)Add("Bob", "local.");
  const harkresolvtable_entry& entry = Add("Ann", "studio.");
  EXPECT_EQ(Names(), (Lines{"Ann/studio.", "Bob/local."}));
  EXPECT_EQ(&entry, &table_.front());
  EXPECT_EQ(entry.host + entry.alt + entry.url, "");
  EXPECT_EQ(entry.trgl, 0u);
  EXPECT_EQ(entry.rtpa, 0u);
  EXPECT_EQ(entry.port, 0);
  EXPECT_EQ(folder_.Read("table"), "Ann\n\tdomain studio.\nBob\n");
}

TEST_F(HarkResolvTable, AddingTwiceGivesTheSameEntryAndWritesOnce) {
  harkresolvtable_entry& first = Add("Bob", "local.");
  first.url = "hark:10.0.0.1";
  folder_.Remove("table");
  EXPECT_EQ(&Add("Bob", "local."), &first);
  EXPECT_EQ(first.url, "hark:10.0.0.1");
  EXPECT_EQ(table_.size(), 1u);
  EXPECT_FALSE(folder_.Has("table"));
}

TEST_F(HarkResolvTable, EmptyDomainIsTheFirstEntryOfThatNameInAnyDomain) {
  (void)Add("Bob", "local.");
  const harkresolvtable_entry& first = Add("Bob", "studio.");
  folder_.Remove("table");
  EXPECT_EQ(&Add("Bob", ""), &first);
  EXPECT_FALSE(folder_.Has("table"));
  EXPECT_EQ(Add("Ann", "").domain, "");
  EXPECT_EQ(Names(), (Lines{"Ann/", "Bob/studio.", "Bob/local."}));
  EXPECT_EQ(folder_.Read("table"), "Ann\nBob\n\tdomain studio.\nBob\n");
}

TEST_F(HarkResolvTable, OtherDomainOrOtherSpellingIsAnotherEntry) {
  (void)Add("Bob", "local.");
  for (const auto& [name, domain] :
       {std::pair{"Bob", "studio."}, {"bob", "local."}, {"Bob", "local"}, {"Bob ", "local."}})
    (void)Add(name, domain);
  EXPECT_EQ(Names(), (Lines{"Bob /local.", "Bob/local", "bob/local.", "Bob/studio.", "Bob/local."}));
}

TEST_F(HarkResolvTable, EntryStaysWhereItIsWhileOthersComeAndGo) {
  harkresolvtable_entry& bob = Add("Bob", "local.");
  for (int i = 0; i < 50; ++i)
    (void)Add("N" + std::to_string(i), "local.");
  for (int i = 0; i < 50; i += 2)
    harkresolvtable_remove(table_, "N" + std::to_string(i), "local.");
  bob.alt = "Main";
  EXPECT_EQ(harkresolvtable_lookup(table_, "Bob", "local."), &bob);
  EXPECT_EQ(table_.back().alt, "Main");
}

TEST_F(HarkResolvTable, LookupAndRemoveTakeAnExactMatchOnly) {
  (void)Add("Bob", "local.");
  (void)Add("Bob", "studio.");
  (void)Add("Ann", "");
  folder_.Remove("table");
  for (const auto& [name, domain] : {std::pair{"Bob", ""},
                                     {"Bob", "local"},
                                     {"bob", "local."},
                                     {"Ann", "local."},
                                     {"", ""},
                                     {"Eve", "local."}}) {
    SCOPED_TRACE(std::string(name) + "/" + domain);
    EXPECT_EQ(harkresolvtable_lookup(table_, name, domain), nullptr);
    harkresolvtable_remove(table_, name, domain);
    EXPECT_EQ(table_.size(), 3u);
    EXPECT_FALSE(folder_.Has("table"));
  }
  EXPECT_EQ(harkresolvtable_lookup(table_, "Bob", "studio."), &*std::next(table_.begin()));
  harkresolvtable_remove(table_, "Bob", "studio.");
  EXPECT_EQ(harkresolvtable_lookup(table_, "Bob", "studio."), nullptr);
  EXPECT_EQ(Names(), (Lines{"Ann/", "Bob/local."}));
  EXPECT_EQ(folder_.Read("table"), "Ann\nBob\n");
}

TEST_F(HarkResolvTable, RemovingTheLastEntryLeavesAnEmptyFile) {
  (void)Add("Bob", "local.");
  harkresolvtable_remove(table_, "Bob", "local.");
  EXPECT_TRUE(folder_.Has("table"));
  EXPECT_EQ(folder_.Read("table"), "");
  EXPECT_TRUE(table_.empty());
}

TEST_F(HarkResolvTable, HookSeesTheWholeEntryBeforeItIsFreed) {
  bonjour_harkresolvtable_free_entry_callback = &NoteFreed;
  Add("Bob", "local.").url = "hark:10.0.0.1";
  (void)Add("Ann", "local.");
  harkresolvtable_remove(table_, "Eve", "local.");
  EXPECT_EQ(freed, Lines{});
  harkresolvtable_remove(table_, "Bob", "local.");
  EXPECT_EQ(freed, Lines{"Bob/local./hark:10.0.0.1"});
}

TEST_F(HarkResolvTable, FreeingAnEntryCallsTheHookAndDoesNotWrite) {
  bonjour_harkresolvtable_free_entry_callback = &NoteFreed;
  (void)Add("Bob", "local.");
  (void)Add("Ann", "local.");
  folder_.Remove("table");
  harkresolvtable_free_entry(table_, table_.begin());
  EXPECT_EQ(freed, Lines{"Ann/local./"});
  EXPECT_EQ(Names(), Lines{"Bob/local."});
  EXPECT_FALSE(folder_.Has("table"));
  bonjour_harkresolvtable_free_entry_callback = nullptr;
  harkresolvtable_free_entry(table_, table_.begin());
  EXPECT_TRUE(table_.empty());
}

TEST_F(HarkResolvTable, BlockOfAnEntryShowsWhatIsKnown) {
  struct Row {
    harkresolvtable_entry entry;  // name, domain, host, alt, trgl, rtpa, port, url
    const char* want;
  };
  const in_addr_t audio = inet_addr("239.192.1.9");
  for (const Row& row :
       {Row{{"Bob", "", "", "", 0, 0, 0, ""}, "Bob\n"}, Row{{"Bob", "local.", "", "", 0, 0, 0, ""}, "Bob\n"},
        Row{{"Bob", "local", "", "", 0, 0, 0, ""}, "Bob\n\tdomain local\n"},
        Row{{"Bob", "LOCAL.", "", "", 0, 0, 0, ""}, "Bob\n\tdomain LOCAL.\n"},
        Row{{"Bob", "studio.", "", "", 0, 0, 0, ""}, "Bob\n\tdomain studio.\n"},
        Row{{"Bob", "", "host.local.", "", 0, 0, 0, ""}, "Bob\n"},
        Row{{"Bob", "", "", "Main hall", 0, 0, 0, ""}, "Bob\n\talt Main hall\n"},
        Row{{"Bob", "", "", "", 3, 0, 0, ""}, "Bob <>;trgl=3\n"},
        Row{{"Bob", "", "", "", 1, 0, 0, ""}, "Bob <>;trgl=1\n"},
        Row{{"Bob", "", "", "", 0, audio, 0, ""}, "Bob\n\trtpa 239.192.1.9\n"},
        Row{{"Bob", "", "", "", 0, INADDR_NONE, 0, ""}, "Bob\n\trtpa 255.255.255.255\n"},
        Row{{"Bob", "", "", "", 0, 0, 4013, ""}, "Bob\n\tharkd 4013\n"},
        Row{{"Bob", "", "", "", 0, 0, 65535, ""}, "Bob\n\tharkd 65535\n"},
        Row{{"Bob", "", "", "", 0, 0, 0, "hark:10.0.0.1"}, "Bob <hark:10.0.0.1>\n"},
        Row{{"Bob", "", "", "", 4, 0, 0, "hark:10.0.0.1"}, "Bob <hark:10.0.0.1>;trgl=4\n"},
        Row{{"Studio A", "studio.", "host", "Main", 4, audio, 4013, "hark:10.0.0.1"},
            "Studio A <hark:10.0.0.1>;trgl=4\n\tdomain studio.\n\talt Main\n\tharkd 4013\n"
            "\trtpa 239.192.1.9\n"}}) {
    SCOPED_TRACE(row.want);
    EXPECT_EQ(Written(row.entry), row.want);
  }
}

// What stands in an entry comes from whoever calls: the rest of a long line once was a station of its own.
TEST_F(HarkResolvTable, TextOfACallerMakesNoOtherLine) {
  harkresolvtable_entry entry;
  entry.name = "Desk";
  entry.url = std::string(121, 'x') + " Eve <hark:10.6.6.6>";
  entry.alt = "Main\nEve <hark:10.6.6.6>\n" + std::string(200, 'y');
  const std::string file = Written(entry);
  EXPECT_EQ(std::count(file.begin(), file.end(), '\n'), 2) << file;
  for (std::size_t at = 0, end; (end = file.find('\n', at)) != std::string::npos; at = end + 1)
    EXPECT_LE(end - at, 127U);
  EXPECT_EQ(UrlOf("Eve"), "-");
}

TEST_F(HarkResolvTable, NameThatWouldBeReadAsSomethingElseIsMasked) {
  struct Row {
    const char* name;
    const char* want;
  };
  for (const Row& row :
       {Row{"#Bob", "?Bob <hark:1>\n"}, Row{"\"Bob", "?Bob <hark:1>\n"}, Row{"A <hark", "A ?hark <hark:1>\n"},
        Row{"\tBob", "?Bob <hark:1>\n"}, Row{"B#\"b", "B#\"b <hark:1>\n"}}) {
    SCOPED_TRACE(row.name);
    harkresolvtable_entry entry;
    entry.name = row.name;
    entry.url = "hark:1";
    EXPECT_EQ(Written(entry), row.want);
  }
}

TEST_F(HarkResolvTable, EntryWithOnlyANameIsOneLine) {
  (void)Add("Bob", "local.");
  EXPECT_EQ(folder_.Read("table"), "Bob\n");
}

TEST_F(HarkResolvTable, LevelWithoutAUrlIsWrittenBehindEmptyBrackets) {
  Add("Bob", "local.").trgl = 3;
  harkresolvtable_write(table_);
  EXPECT_EQ(folder_.Read("table"), "Bob <>;trgl=3\n");
}

TEST_F(HarkResolvTable, OnlyAForeignDomainHasALine) {
  (void)Add("Bob", "local.");
  (void)Add("Ann", "studio.");
  EXPECT_EQ(folder_.Read("table"), "Ann\n\tdomain studio.\nBob\n");
}

TEST_F(HarkResolvTable, FileIsReplacedWholeAndNoOtherIsLeft) {
  folder_.Write("table", "former run\n");
  folder_.Write("table~", "left by a crash, and longer than what follows\n");
  const UniqueFile reader = open_file(table_file, "r");
  (void)Add("Bob", "local.");
  EXPECT_EQ(folder_.Read("table"), "Bob\n");
  EXPECT_FALSE(folder_.Has("table~"));
  std::array<char, 32> line{};
  EXPECT_STREQ(std::fgets(line.data(), line.size(), reader.get()), "former run\n")
      << "a reader keeps its file";
}

TEST_F(HarkResolvTable, WithoutAPathNothingIsWritten) {
  table_file.clear();
  ::testing::internal::CaptureStderr();
  (void)Add("Bob", "local.");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(table_.size(), 1u);
}

TEST_F(HarkResolvTable, LongPathIsTheFilesPath) {
  table_file = folder_.File(std::string(100, 't'));
  (void)Add("Bob", "local.");
  EXPECT_EQ(folder_.Read(std::string(100, 't')), "Bob\n");
}

TEST_F(HarkResolvTable, FileThatCannotBeCreatedIsSaidAndTheListGoesOn) {
  table_file = folder_.File("nowhere/table");
  ::testing::internal::CaptureStderr();
  (void)Add("Bob", "local.");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "harkresolvtable File create error " + table_file + "\n");
  EXPECT_EQ(Names(), Lines{"Bob/local."});
}

TEST_F(HarkResolvTable, FolderInTheWayLeavesTheOldFile) {
  folder_.Write("table", "former run\n");
  std::filesystem::create_directory(folder_.File("table~"));
  ::testing::internal::CaptureStderr();
  (void)Add("Bob", "local.");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "harkresolvtable File create error " + table_file + "\n");
  EXPECT_EQ(folder_.Read("table"), "former run\n");
}

TEST_F(HarkResolvTable, FolderInPlaceOfTheFileStays) {
  std::filesystem::create_directories(folder_.File("table/inside"));
  ::testing::internal::CaptureStderr();
  (void)Add("Bob", "local.");
  (void)::testing::internal::GetCapturedStderr();
  EXPECT_TRUE(std::filesystem::is_directory(folder_.File("table/inside")));
}

TEST_F(HarkResolvTable, PipeInTheWayStopsNobody) {
  ASSERT_EQ(::mkfifo(folder_.File("table~").c_str(), 0600), 0);
  const auto write = [] {
    ::alarm(5);  // a writer that waits for a reader is ended
    harkresolvtable_write({});
    ::_exit(0);
  };
  EXPECT_EXIT(write(), ::testing::ExitedWithCode(0), "");
}

TEST_F(HarkResolvTable, WhatIsWrittenIsResolved) {
  std::mt19937 random(33);  // the same cases on every run
  for (int round = 0; round < 100; ++round) {
    table_.clear();
    const int stations = static_cast<int>(random() % 12) + 1;
    for (int i = 0; i < stations; ++i) {
      harkresolvtable_entry& entry = Add("Bob " + std::to_string(i), random() % 2 ? "local." : "studio.");
      entry.url = "hark:10.0." + std::to_string(round) + "." + std::to_string(i);
      if (random() % 2) entry.alt = "alt " + std::to_string(random() % 1000);
      if (random() % 2) entry.trgl = random() % 9;
      if (random() % 2) entry.rtpa = htonl(0xEFC00000u + random() % 0x7fff);
      if (random() % 2) entry.port = static_cast<std::uint16_t>(random());
    }
    harkresolvtable_write(table_);
    for (const harkresolvtable_entry& entry : table_) {
      SCOPED_TRACE(folder_.Read("table"));
      Query by_label;
      ASSERT_EQ(by_label.Run(kResolveLabel, entry.name.c_str()), 0);
      EXPECT_EQ(by_label.label.data(), entry.name);
      EXPECT_EQ(by_label.addr(), entry.url);
      EXPECT_EQ(by_label.alt.data(), entry.alt);
      EXPECT_EQ(by_label.info.rtpa, entry.rtpa);
      EXPECT_EQ(by_label.info.trgl, static_cast<int>(entry.trgl) - 1);
      EXPECT_EQ(LabelOf(entry.url.c_str()), entry.name);
    }
  }
}

}  // namespace
}  // namespace hark
