// The file that names the server and the level: its words, its defaults, and that a change counts from the
// next message on.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstring>

#include "log_bench.h"

namespace hark {
namespace {

// The highest level that passes.
class LogFile : public LogBench {
 protected:
  LogFile() { Open(); }
  static int Level() {
    int highest = 2;
    for (int level = kLogError; level <= kLogDebug; ++level) {
      if (!Passes(level)) break;
      highest = level;
    }
    return highest;
  }
};

TEST_F(LogFile, Level5IsTheDefaultSoThat6And7AreDropped) {
  EXPECT_TRUE(Passes(kLogError));
  EXPECT_TRUE(Passes(kLogWarning));
  EXPECT_TRUE(Passes(kLogNotice));
  EXPECT_FALSE(Passes(kLogInfo));
  EXPECT_FALSE(Passes(kLogDebug));
}

TEST_F(LogFile, FileSetsTheLevel) {
  struct Row {
    const char* text;
    int want;
  };
  for (const Row& row :
       {Row{"SyslogServer_SeverityLevel 7\n", 7}, Row{"SyslogServer_SeverityLevel 6\n", 6},
        Row{"SyslogServer_SeverityLevel 3\n", 3}, Row{"SyslogServer_SeverityLevel 7", 7},
        Row{"  SyslogServer_SeverityLevel\t7\n", 7}, Row{"SyslogServer_SeverityLevel 0x6\n", 6},
        Row{"SyslogServer_SeverityLevel 4294967295\n", 7}, Row{"SyslogServer_SeverityLevel 07\n", 7},
        Row{"Other thing\nSyslogServer_SeverityLevel 7\n", 7},
        Row{"SyslogServer_SeverityLevel 3\nSyslogServer_SeverityLevel 7\n", 7},
        Row{"SyslogServer_IPaddr 127.0.0.1\nSyslogServer_SeverityLevel 4\n", 4},
        Row{"SyslogServer_SeverityLevel 7\nlast\n", 7}, Row{"", 5}, Row{"\n", 5},
        Row{"SyslogServer_SeverityLevel\n", 5}, Row{"Other 7\n", 5}, Row{"syslogserver_severitylevel 7\n", 5},
        Row{"SyslogServer_SeverityLevelX 7\n", 5}, Row{"odd\nSyslogServer_SeverityLevel 7\n", 5}}) {
    SCOPED_TRACE(row.text);
    Configure(row.text);
    EXPECT_EQ(Level(), row.want);
  }
}

TEST_F(LogFile, LastLineOfOneWordIsIgnored) {
  Configure("SyslogServer_SeverityLevel 6\nSyslogServer_SeverityLevel");
  EXPECT_EQ(Level(), 6);
}

TEST_F(LogFile, ChangeCountsFromTheNextMessage) {
  Configure("SyslogServer_SeverityLevel 7\n");
  EXPECT_TRUE(Passes(kLogDebug));
  Configure("SyslogServer_SeverityLevel 6\n");
  EXPECT_FALSE(Passes(kLogDebug));
  EXPECT_TRUE(Passes(kLogInfo));
}

TEST_F(LogFile, OlderFileIsAChangeToo) {
  Configure("SyslogServer_SeverityLevel 7\n");
  EXPECT_TRUE(Passes(kLogDebug));
  Configure("SyslogServer_SeverityLevel 6\n");
  folder_.SetTime("log.cfg", 1'000'000'000);
  EXPECT_FALSE(Passes(kLogDebug));
}

TEST_F(LogFile, RemovedKeyGoesBackToItsDefault) {
  Configure("SyslogServer_SeverityLevel 7\n");
  EXPECT_EQ(Level(), 7);
  Configure("Other thing\n");
  EXPECT_EQ(Level(), 5);
}

TEST_F(LogFile, FileWithTheSameTimeIsNotReadAgain) {
  Configure("SyslogServer_SeverityLevel 7\n");
  folder_.SetTime("log.cfg", 1'500'000'000);
  EXPECT_EQ(Level(), 7);
  Configure("SyslogServer_SeverityLevel 6\n");
  folder_.SetTime("log.cfg", 1'500'000'000);
  EXPECT_EQ(Level(), 7);
}

TEST_F(LogFile, ReopenedLogReadsTheFileAgain) {
  Configure("SyslogServer_SeverityLevel 7\n");
  folder_.SetTime("log.cfg", 1'500'000'000);
  EXPECT_EQ(Level(), 7);
  Configure("SyslogServer_SeverityLevel 6\n");
  folder_.SetTime("log.cfg", 1'500'000'000);
  closelog();
  Open();
  EXPECT_EQ(Level(), 6);
}

TEST_F(LogFile, MissingFileLeavesTheLastValuesInForce) {
  Configure("SyslogServer_SeverityLevel 7\n");
  EXPECT_EQ(Level(), 7);
  folder_.Remove("log.cfg");
  EXPECT_EQ(Level(), 7);
}

TEST_F(LogFile, ChangedFileThatCannotBeOpenedResetsTheLevel) {
  Configure("SyslogServer_SeverityLevel 7\n");
  EXPECT_EQ(Level(), 7);
  folder_.Remove("log.cfg");
  // A socket has a time and cannot be opened as a file, not even by root.
  const UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  ASSERT_LT(log_cfgfile.size(), sizeof address.sun_path);
  std::memcpy(address.sun_path, log_cfgfile.c_str(), log_cfgfile.size() + 1);
  ASSERT_EQ(::bind(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  EXPECT_EQ(Level(), 5);
}

TEST_F(LogFile, FileNamesTheServerAndItsRemovalEndsTheSending) {
  if (!can_receive()) GTEST_SKIP() << "port 514 can't be opened here: the server's address is not checked";
  Configure("SyslogServer_IPaddr " + server() + "\n");
  (void)Log(kLogError, "x");
  EXPECT_NE(Received(), "");
  Configure("SyslogServer_SeverityLevel 7\n");
  (void)Log(kLogError, "x");
  EXPECT_EQ(Received(), "");
}

TEST_F(LogFile, MissingFileLeavesTheServerInForce) {
  if (!can_receive()) GTEST_SKIP() << "port 514 can't be opened here: the server's address is not checked";
  Configure("SyslogServer_IPaddr " + server() + "\n");
  (void)Log(kLogError, "x");
  folder_.Remove("log.cfg");
  (void)Received();
  (void)Log(kLogError, "x");
  EXPECT_NE(Received(), "");
}

TEST_F(LogFile, RandomWordsNeverUpsetTheLog) {
  unsigned random = 5;
  for (int i = 0; i < 300; ++i) {
    std::string text;
    for (int n = 0; n < 120; ++n) {
      random = random * 1664525U + 1013904223U;
      text += "ab 0\n\t%s9.\xFF"[(random >> 16U) % 12];
    }
    Configure(text);
    EXPECT_TRUE(Passes(kLogError)) << text;
    EXPECT_FALSE(Passes(kLogInfo)) << text;
  }
}

TEST(LogPath, IsTheDeploymentsFile) { EXPECT_EQ(log_cfgfile, "/etc/Orfe/EngConf/SyslogServerParams.cfg"); }

}  // namespace
}  // namespace hark
