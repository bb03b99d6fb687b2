// The pid file's name and content, and the times of files.
#include "daemon/log/process_files.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <utility>

#include "base/scratch_folder.h"

namespace hark {
namespace {

class PidFile : public ::testing::Test {
 protected:
  PidFile() : folder_before_(std::exchange(pid_file_folder, folder_.path())) {}
  ~PidFile() override { pid_file_folder = folder_before_; }
  ScratchFolder folder_;
  std::string folder_before_;
};

TEST(PidFileFolder, IsVarRun) { EXPECT_EQ(pid_file_folder, "/var/run/"); }

TEST_F(PidFile, HoldsThePidAndALineEnd) {
  create_pid_file("harkd");
  EXPECT_EQ(folder_.Read("harkd.pid"), std::to_string(::getpid()) + "\n");
}

TEST_F(PidFile, IsNamedByWhatStandsBehindTheLastSlash) {
  for (const char* name : {"harkd", "./harkd", "/usr/bin/harkd", "a/b/harkd"}) {
    SCOPED_TRACE(name);
    create_pid_file(name);
    EXPECT_TRUE(folder_.Has("harkd.pid"));
    remove_pid_file(name);
    EXPECT_FALSE(folder_.Has("harkd.pid"));
  }
}

TEST_F(PidFile, ReplacesAnOlderOneWhole) {
  folder_.Write("harkd.pid", "99999999999 and more\n");
  create_pid_file("harkd");
  EXPECT_EQ(folder_.Read("harkd.pid"), std::to_string(::getpid()) + "\n");
}

TEST_F(PidFile, LongNameIsCutToTheFixedPath) {
  create_pid_file("a_program_18_long_");
  EXPECT_TRUE(folder_.Has("a_program_18_long_.pid"));
  create_pid_file("a_program_19_long__");
  EXPECT_TRUE(folder_.Has("a_program_19_long__.pi"));
  create_pid_file("a_program_with_a_name_beyond_the_limit");
  EXPECT_TRUE(folder_.Has("a_program_with_a_name_"));
  remove_pid_file("a_program_with_a_name_beyond_the_limit");
  EXPECT_FALSE(folder_.Has("a_program_with_a_name_"));
}

TEST_F(PidFile, RemovingOnlyTouchesItsOwnName) {
  create_pid_file("harkd");
  remove_pid_file("other");
  EXPECT_TRUE(folder_.Has("harkd.pid"));
}

TEST_F(PidFile, FailuresAreSilent) {
  pid_file_folder = folder_.File("missing/");
  testing::internal::CaptureStderr();
  create_pid_file("harkd");
  remove_pid_file("harkd");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_FALSE(folder_.Has("missing"));
}

TEST(GetFiletime, GivesTheSecondsOfTheLastChange) {
  ScratchFolder folder;
  const std::string path = folder.Write("file", "x");
  for (const long time : {1L, 1'234'567'890L}) {
    folder.SetTime("file", time);
    long got = 0;
    EXPECT_EQ(get_filetime(path.c_str(), &got), 0);
    EXPECT_EQ(got, time);
  }
}

TEST(GetFiletime, FailureIsTheReasonOfStat) {
  ScratchFolder folder;
  const std::string path = folder.Write("file", "x");
  long got = 77;
  EXPECT_EQ(get_filetime(folder.File("missing").c_str(), &got), ENOENT);
  EXPECT_EQ(get_filetime((path + "/below").c_str(), &got), ENOTDIR);
  EXPECT_EQ(get_filetime("", &got), ENOENT);
}

TEST(GetFiletime, NeedsAPlaceForItsResult) { EXPECT_EQ(get_filetime("/", nullptr), -1); }

}  // namespace
}  // namespace hark
