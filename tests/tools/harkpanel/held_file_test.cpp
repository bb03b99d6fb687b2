// The file of keys that are down: what it holds after its process is gone, who may have it, and what garbage
// in it does.
#include "tools/harkpanel/held_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <string>

#include "tools/harkpanel/gateway_rig.h"

namespace hark::panel_gateway {
namespace {

using test::held_in;
using test::names;
using test::read_file;
using test::TempFolder;
using test::write_file;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class HeldFileTest : public testing::Test {
 protected:
  // Another process opens it: what that was told, "" when it could.
  [[nodiscard]] std::string OpenElsewhere() const {
    int ends[2];
    EXPECT_EQ(::pipe(ends), 0);
    const pid_t child = ::fork();
    if (child == 0) {
      std::string why;
      const auto file = HeldFile::open(path, why);
      if (file != nullptr) why.clear();
      (void)!::write(ends[1], why.data(), why.size());
      ::_exit(0);
    }
    (void)::close(ends[1]);
    std::string said;
    char part[256];
    for (ssize_t got = 0; (got = ::read(ends[0], part, sizeof part)) > 0;)
      said.append(part, static_cast<std::size_t>(got));
    (void)::close(ends[0]);
    (void)::waitpid(child, nullptr, 0);
    return said;
  }

  TempFolder folder;
  const std::string path = folder.file("held");
  std::string error;
};

TEST_F(HeldFileTest, IsMadeEmptyAndForItsOwnerOnly) {
  const auto file = HeldFile::open(path, error);
  ASSERT_NE(file, nullptr) << error;
  EXPECT_THAT(file->found(), IsEmpty());
  struct stat info {};
  ASSERT_EQ(::stat(path.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600U);
}

TEST_F(HeldFileTest, WhatIsWrittenIsFoundByTheNext) {
  auto file = HeldFile::open(path, error);
  ASSERT_NE(file, nullptr) << error;
  EXPECT_TRUE(file->write({sig("KL01"), sig("KT02"), kGroupTalk, kBothAa}));
  EXPECT_THAT(held_in(path), ElementsAre("KL01", "KT02", "KXAA", "TGRP"));
  EXPECT_TRUE(file->write({sig("KT02")}));
  EXPECT_THAT(held_in(path), ElementsAre("KT02")) << "what is shorter leaves nothing of the longer";
  file.reset();
  file = HeldFile::open(path, error);
  ASSERT_NE(file, nullptr) << error;
  EXPECT_THAT(names(file->found()), ElementsAre("KT02"));
  EXPECT_TRUE(file->write({}));
  file.reset();
  EXPECT_THAT(held_in(path), IsEmpty());
}

TEST_F(HeldFileTest, TimeOfTheLastPressStandsWithThem) {
  for (const std::int64_t time :
       {std::int64_t{0}, std::int64_t{1}, std::int64_t{4'294'967'296}, std::int64_t{1} << 52}) {
    SCOPED_TRACE(time);
    auto file = HeldFile::open(path, error);
    ASSERT_NE(file, nullptr) << error;
    ASSERT_TRUE(file->write({sig("KL01"), sig("KT02")}, time));
    file.reset();
    file = HeldFile::open(path, error);
    ASSERT_NE(file, nullptr) << error;
    EXPECT_EQ(file->found_press_ms(), time);
    EXPECT_THAT(names(file->found()), ElementsAre("KL01", "KT02"));
  }
}

TEST_F(HeldFileTest, TimeThatIsNoneIsNotTaken) {
  for (const char* text :
       {"KL01\n", "-5\nKL01\n", "KL01\n99999999999999999999999\n", "5x KL01", "0x10 KL01"}) {
    SCOPED_TRACE(text);
    write_file(path, text);
    const auto file = HeldFile::open(path, error);
    ASSERT_NE(file, nullptr) << error;
    EXPECT_GE(file->found_press_ms(), 0);
    EXPECT_LE(file->found_press_ms(), std::int64_t{1} << 53);
  }
}

TEST_F(HeldFileTest, ManyKeysAreFoundAgain) {
  std::vector<Signature> keys;
  for (int number = 1; number <= 90; ++number) {
    keys.push_back(mksig(kListen00, number));
    keys.push_back(mksig(kTalk00, number));
  }
  const auto file = HeldFile::open(path, error);
  ASSERT_NE(file, nullptr) << error;
  EXPECT_TRUE(file->write(keys));
  EXPECT_EQ(held_in(path), names(keys));
}

TEST_F(HeldFileTest, KilledProcessLeavesItWhole) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    std::string why;
    const auto file = HeldFile::open(path, why);
    const char done = file != nullptr && file->write({sig("KL01"), sig("KL02")}) ? 'y' : 'n';
    (void)!::write(ends[1], &done, 1);
    for (;;)
      (void)::pause();
  }
  char done = 'n';
  ASSERT_EQ(::read(ends[0], &done, 1), 1);
  EXPECT_EQ(done, 'y');
  EXPECT_THAT(OpenElsewhere(), HasSubstr("in use"));
  ASSERT_EQ(::kill(child, SIGKILL), 0);
  ASSERT_EQ(::waitpid(child, nullptr, 0), child);
  (void)::close(ends[0]);
  (void)::close(ends[1]);
  const auto file = HeldFile::open(path, error);
  ASSERT_NE(file, nullptr) << "nobody has it any more: " << error;
  EXPECT_THAT(names(file->found()), ElementsAre("KL01", "KL02"));
}

TEST_F(HeldFileTest, OneProcessAtATimeHasIt) {
  auto file = HeldFile::open(path, error);
  ASSERT_NE(file, nullptr) << error;
  ASSERT_TRUE(file->write({sig("KL01")}));
  EXPECT_THAT(OpenElsewhere(), HasSubstr("in use"));
  EXPECT_THAT(held_in(path), ElementsAre("KL01")) << "who was turned away has changed nothing";
  file.reset();
  EXPECT_EQ(OpenElsewhere(), "");
}

TEST_F(HeldFileTest, LinkIsNotFollowed) {
  const std::string target = folder.file("target");
  write_file(target, "precious");
  std::filesystem::create_symlink(target, path);
  EXPECT_EQ(HeldFile::open(path, error), nullptr);
  EXPECT_FALSE(error.empty());
  EXPECT_EQ(read_file(target), "precious");
  std::filesystem::remove(path);
  std::filesystem::create_symlink(folder.file("not there"), path);
  EXPECT_EQ(HeldFile::open(path, error), nullptr);
  EXPECT_FALSE(std::filesystem::exists(folder.file("not there")))
      << "a link that leads nowhere makes no file";
}

TEST_F(HeldFileTest, PlaceWhereNoFileCanBeIsAnErrorWithItsReason) {
  for (const std::string& bad : {folder.path(), folder.file("no/such/folder/held"), std::string()}) {
    SCOPED_TRACE(bad);
    error.clear();
    EXPECT_EQ(HeldFile::open(bad, error), nullptr);
    EXPECT_FALSE(error.empty());
    EXPECT_EQ(error.find("in use"), std::string::npos) << error;
  }
}

TEST_F(HeldFileTest, WordsThatAreNoKeysAreLeftOut) {
  using namespace std::string_literals;
  auto file = HeldFile::open(path, error);
  ASSERT_NE(file, nullptr) << error;
  ASSERT_TRUE(file->write({sig("KL01")}));
  file.reset();
  const std::string own = read_file(path);
  struct Row {
    const char* what;
    std::string text;
    bool keeps_own;  // what the file itself holds is still found
  };
  for (const Row& row : {
           Row{"words in front", "garbage\n" + own, true},
           Row{"words behind", own + "\nmore words KL00 KL99 SPKV kl02 KL1\n", true},
           Row{"bytes behind", own + "\n\0\xFF\xFE\x01 \0\0\n"s, true},
           Row{"nothing but bytes", std::string(5000, '\xFF'), false},
           Row{"nothing but zeros", std::string(5000, '\0'), false},
           Row{"one long word", std::string(1'000'000, 'K'), false},
           Row{"JSON", R"({"keys":"no"})", false},
       }) {
    SCOPED_TRACE(row.what);
    write_file(path, row.text);
    file = HeldFile::open(path, error);
    ASSERT_NE(file, nullptr) << error;
    EXPECT_EQ(names(file->found()), row.keeps_own ? test::Lines{"KL01"} : test::Lines{});
    // It is a file as any other from here on.
    ASSERT_TRUE(file->write({sig("KT07")}));
    file.reset();
    EXPECT_THAT(held_in(path), ElementsAre("KT07"));
  }
}

TEST(HeldFileName, IsInItsFolderAndTellsStationAndPanelApart) {
  const std::string name = held_file_name("/var/tmp", "10.0.0.7:4013", "web");
  EXPECT_TRUE(name.starts_with("/var/tmp/"));
  EXPECT_NE(name, held_file_name("/var/tmp", "10.0.0.7:4013", "web2"));
  EXPECT_NE(name, held_file_name("/var/tmp", "10.0.0.7:4014", "web"));
  EXPECT_NE(name, held_file_name("/var/tmp", "10.0.0.8:4013", "web"));
}

TEST(HeldFileName, HoldsPlainCharactersOnly) {
  using namespace std::string_view_literals;
  for (const std::string_view station :
       {"[fe80::1%eth0]:4013"sv, "../../etc/passwd"sv, "a b\n"sv, "\xC3\xA4"sv, "a\0b"sv, "..:1"sv}) {
    const std::string name = held_file_name("/state", station, "web");
    SCOPED_TRACE(name);
    ASSERT_TRUE(name.starts_with("/state/"));
    const std::string base = name.substr(7);
    EXPECT_NE(base, "");
    EXPECT_NE(base, "..");
    for (const char c : base)
      EXPECT_TRUE(std::isalnum(static_cast<unsigned char>(c)) || c == '.' || c == '-') << c;
  }
}

}  // namespace
}  // namespace hark::panel_gateway
