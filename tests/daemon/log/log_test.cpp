// What a message becomes: its shape on the wire and on stderr, its longest form, and when it goes nowhere.
#include "daemon/log/log.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <string>

#include "log_bench.h"

namespace hark {
namespace {

constexpr const char* kCannotReceive = "port 514 can't be opened here: datagrams are not checked";

std::string HostName() {
  std::array<char, 257> name{};
  return ::gethostname(name.data(), 256) == 0 ? name.data() : "";
}

TEST_F(LogBench, CopyOnStderrShowsIdentPidAndMessage) {
  Open();
  EXPECT_EQ(Log(kLogNotice, "connected"), Tagged("harkd", "connected\n"));
}

TEST_F(LogBench, MessageIsFormatted) {
  Open();
  testing::internal::CaptureStderr();
  syslog(kLogError, "socket %d %s", 7, "failed");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), Tagged("harkd", "socket 7 failed\n"));
}

TEST_F(LogBench, EmptyMessageIsAHeaderOnly) {
  Open();
  EXPECT_EQ(Log(kLogNotice, ""), Tagged("harkd", "\n"));
}

TEST_F(LogBench, WithoutTheOptionNothingIsCopied) {
  openlog("harkd", kLogPid, kLogFacilityUser);
  EXPECT_EQ(Log(kLogError, "quiet"), "");
}

TEST_F(LogBench, BeforeOpeningAndAfterClosingMessagesAreDropped) {
  EXPECT_EQ(Log(kLogError, "early"), "");
  Open();
  EXPECT_NE(Log(kLogError, "open"), "");
  closelog();
  EXPECT_EQ(Log(kLogError, "late"), "");
}

TEST_F(LogBench, OpeningReturnsZeroAndMayBeRepeated) {
  EXPECT_EQ(openlog("first", kLogPid, kLogFacilityUser), 0);
  EXPECT_EQ(openlog("second", kLogPid | kLogStderr, kLogFacilityUser), 0);
  EXPECT_EQ(Log(kLogError, "again"), Tagged("second", "again\n"));
}

TEST_F(LogBench, IdentIsCopied) {
  std::array<char, 8> ident{"harkd"};
  Open(ident.data());
  ident = {"other"};
  EXPECT_EQ(Log(kLogError, "x"), Tagged("harkd", "x\n"));
}

TEST_F(LogBench, ClosingTwiceIsHarmless) {
  Open();
  closelog();
  closelog();
  EXPECT_EQ(Log(kLogError, "x"), "");
}

TEST_F(LogBench, DatagramIsPriorityHostIdentPidAndMessage) {
  if (!can_receive()) GTEST_SKIP() << kCannotReceive;
  Configure("SyslogServer_IPaddr " + server() + "\n");
  Open();
  (void)Log(kLogNotice, "connected");
  (void)Log(kLogError, "gone");
  EXPECT_EQ(Received(), "<13>" + (" " + HostName() + " ") + Tagged("harkd", "connected|") + "<11> " +
                            HostName() + " " + Tagged("harkd", "gone|"));
}

TEST_F(LogBench, FacilityAndLevelAreOneNumber) {
  if (!can_receive()) GTEST_SKIP() << kCannotReceive;
  Configure("SyslogServer_IPaddr " + server() + "\nSyslogServer_SeverityLevel 7\n");
  openlog("harkd", kLogPid, 16U << 3U);
  for (int level = kLogError; level <= kLogDebug; ++level) {
    (void)Log(level, "x");
    EXPECT_EQ(Received(),
              "<" + std::to_string(128 + level) + "> " + HostName() + " " + Tagged("harkd", "x|"));
  }
}

TEST_F(LogBench, MessageLongerThanTheBufferIsCut) {
  if (!can_receive()) GTEST_SKIP() << kCannotReceive;
  Configure("SyslogServer_IPaddr " + server() + "\n");
  Open();
  const std::string text(3000, 'x');
  const std::string whole = "<13> " + HostName() + " " + Tagged("harkd", text);
  const std::string copied = Log(kLogNotice, text.c_str());
  std::string datagram = Received();
  ASSERT_FALSE(datagram.empty());
  datagram.pop_back();
  EXPECT_GE(datagram.size(), 1497U);
  EXPECT_LE(datagram.size(), 1498U);
  EXPECT_EQ(datagram, whole.substr(0, datagram.size()));
  EXPECT_EQ("<13> " + HostName() + " " + copied, datagram + "\n");
}

TEST_F(LogBench, CutMessageStillEndsItsLineOnStderr) {
  Open();
  for (const std::size_t length : {1400U, 1450U, 1498U, 1499U, 1500U, 1501U, 5000U}) {
    const std::string copied = Log(kLogNotice, std::string(length, 'x').c_str());
    ASSERT_FALSE(copied.empty()) << length;
    EXPECT_EQ(copied.back(), '\n') << length;
    EXPECT_LE(copied.size(), 1499U) << length;
  }
}

TEST_F(LogBench, LongIdentIsCutToo) {
  const std::string ident(4000, 'i');
  Open(ident.c_str());
  const std::string copied = Log(kLogNotice, "x");
  EXPECT_LE(copied.size(), 1499U);
  EXPECT_EQ(copied.substr(0, 100), std::string(100, 'i'));
}

TEST_F(LogBench, MessageWithoutAServerIsOnlyCopied) {
  if (!can_receive()) GTEST_SKIP() << kCannotReceive;
  Open();
  EXPECT_NE(Log(kLogError, "x"), "");
  EXPECT_EQ(Received(), "");
}

TEST_F(LogBench, DroppedMessageIsNotSentEither) {
  if (!can_receive()) GTEST_SKIP() << kCannotReceive;
  Configure("SyslogServer_IPaddr " + server() + "\n");
  Open();
  (void)Log(kLogInfo, "too fine");
  EXPECT_EQ(Received(), "");
}

}  // namespace
}  // namespace hark
