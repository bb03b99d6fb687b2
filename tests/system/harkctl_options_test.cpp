// The program harkctl as a process: bad command lines, and stations that are not there.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "system/deaf_port.h"
#include "system/harkctl_fixture.h"
#include "system/support/ports.h"

namespace hark::test {
namespace {

using testing::HasSubstr;

const std::vector<Words> kCommands = {{"status"},       {"calls"}, {"panels"},        {"call", "quillnet:1"},
                                      {"drop", "News"}, {"gpio"},  {"set", "LATCH=1"}};

TEST(HarkctlProgram, ABadOptionIsOneLineAndStatus2) {
  for (const Words& words : {Words{},
                             {"nonsense"},
                             {"--nonsense"},
                             {"status", "--station", "a:b"},
                             {"call"},
                             {"set", "FOO=1"},
                             {"gpio", "GPX"},
                             {"status", "--timeout", "soon"}}) {
    SCOPED_TRACE(testing::PrintToString(words));
    EXPECT_TRUE(complains(RunHarkctl(words), 2, ""));
  }
  EXPECT_TRUE(complains(RunHarkctl({"status"}, {{"HARKCTL_STATION", "a:b"}}), 2, "HARKCTL_STATION"));
  // What is repeated from the command line must not act on the terminal.
  EXPECT_TRUE(complains(RunHarkctl({"set", "\x1b[2J=1"}), 2, "\\x1b[2J"));
  EXPECT_TRUE(complains(RunHarkctl({"a\nb"}), 2, "a\\x0ab"));
}

TEST(HarkctlProgram, HelpIsAskedForAndEndsWith0) {
  const Ended help = RunHarkctl({"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_THAT(help.out, HasSubstr("Usage: harkctl"));
  EXPECT_EQ(help.err, "");
  EXPECT_EQ(help.out.find('\x1b'), std::string::npos);
}

TEST(HarkctlProgram, NoStationIsStatus3) {
  const std::string nobody = "127.0.0.1:" + std::to_string(closed_tcp_port());
  for (const Words& words : kCommands) {
    SCOPED_TRACE(words.front());
    EXPECT_TRUE(complains(RunHarkctl(words, {{"HARKCTL_STATION", nobody}}), 3,
                          "no station at " + nobody + ": connection refused"));
  }
  EXPECT_TRUE(complains(RunHarkctl({"status", "--station", "no-such-host.invalid", "--timeout", "1"}), 3,
                        "no station at no-such-host.invalid:4013: "));
}

TEST(HarkctlProgram, NothingHangsOnAPortThatIsSilent) {
  const SilentPort silent;
  const DeafPort deaf;
  ASSERT_GT(silent.port(), 0);
  ASSERT_TRUE(deaf.is_deaf());
  for (const int port : {silent.port(), deaf.port()}) {
    for (Words words : kCommands) {
      SCOPED_TRACE(words.front());
      words.insert(words.end(), {"--timeout", "0.2"});
      const auto start = std::chrono::steady_clock::now();
      const Ended ended = RunHarkctl(words, {{"HARKCTL_STATION", "127.0.0.1:" + std::to_string(port)}});
      EXPECT_TRUE(complains(ended, 3, "does not answer"));
      // Its time, and what a busy machine takes to run it.
      EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    }
  }
}

}  // namespace
}  // namespace hark::test
