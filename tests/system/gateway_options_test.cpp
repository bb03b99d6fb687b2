// What the program says to its command line, and when it does not start.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <netinet/in.h>

#include <string>
#include <vector>

#include "system/gateway_fixture.h"
#include "system/support/ports.h"
#include "system/support/sockets.h"

namespace hark::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class GatewayOptionsTest : public testing::Test {
 protected:
  // Its status; what it said is in its output.
  int Run(const Lines& words) {
    gateway.launch(words);
    return gateway.program.wait_exit(kGatewayWaitMs);
  }

  TempRoot root;
  GatewayProcess gateway{root};
};

TEST_F(GatewayOptionsTest, HelpNamesAllOptions) {
  EXPECT_EQ(Run({"--help"}), 0);
  for (const char* option :
       {"--station", "--listen", "--keys", "--id", "--auto-answer", "--token", "--channels", "--state"})
    EXPECT_TRUE(gateway.program.said(option)) << option;
}

TEST_F(GatewayOptionsTest, EachBadOptionIsToldInOneLineAndEndsIt) {
  root.write("empty", "\nsecond line is no token\n");
  root.write("blank", "   \t \n");
  root.write("short", "1234567\n");
  root.write("token", "12345678\n");
  struct Row {
    Lines words;
    const char* names;  // what the line tells
  };
  for (const Row& row : {
           Row{{"--nonsense"}, "nonsense"},
           Row{{"stray"}, "stray"},
           Row{{"--station"}, "--station"},
           Row{{"--station", ""}, "--station"},
           Row{{"--station", "host:0"}, "--station"},
           Row{{"--station", "host:65536"}, "--station"},
           Row{{"--station", "host:x"}, "--station"},
           Row{{"--station", "[::1"}, "--station"},
           Row{{"--listen", "8013x"}, "--listen"},
           Row{{"--listen", "127.0.0.1:65536"}, "--listen"},
           Row{{"--listen", "127.0.0.1:-1"}, "--listen"},
           Row{{"--listen", ":8013"}, "--listen"},
           Row{{"--keys", "20"}, "--keys"},
           Row{{"--keys", "0-5"}, "--keys"},
           Row{{"--keys", "5-4"}, "--keys"},
           Row{{"--keys", "1-91"}, "--keys"},
           Row{{"--keys", "a-b"}, "--keys"},
           Row{{"--keys", "1-5x"}, "--keys"},
           Row{{"--keys", "1-99999999999999999999"}, "--keys"},
           Row{{"--id", ""}, "--id"},
           Row{{"--id", "a b"}, "--id"},
           Row{{"--id", "a.b"}, "--id"},
           Row{{"--id", "a/b"}, "--id"},
           Row{{"--id", std::string(33, 'a')}, "--id"},
           Row{{"--token", root.file("not there")}, "--token"},
           Row{{"--token", root.file("empty")}, "--token"},
           Row{{"--token", root.file("blank")}, "--token"},
           Row{{"--token", root.file("short")}, "--token"},
           Row{{"--token", root.path()}, "--token"},
           Row{{"--listen", "0.0.0.0:0"}, "--token"},
           Row{{"--listen", "10.0.0.1:0"}, "--token"},
           Row{{"--listen", "[::]:0"}, "--token"},
       }) {
    SCOPED_TRACE(testing::PrintToString(row.words));
    EXPECT_EQ(Run(row.words), 2);
    const Lines said = lines_of(gateway.program.output());
    ASSERT_EQ(said.size(), 1U) << gateway.program.output();
    EXPECT_THAT(said[0], StartsWith("harkpanel: "));
    EXPECT_THAT(said[0], HasSubstr(row.names));
  }
}

TEST_F(GatewayOptionsTest, SecondOneOfTheSameNameIsToldThatItIsInUse) {
  const std::string station = "127.0.0.1:" + std::to_string(closed_tcp_port());
  gateway.launch({"--station", station, "--listen", "127.0.0.1:0"});
  ASSERT_TRUE(gateway.wait_listens());
  const TempRoot other_root;
  GatewayProcess second(other_root);
  second.launch({"--station", station, "--listen", "127.0.0.1:0", "--state", root.file("var/tmp")});
  EXPECT_GT(second.program.wait_exit(kGatewayWaitMs), 0);
  EXPECT_THAT(second.program.output(), HasSubstr("harkpanel: "));
  EXPECT_THAT(second.program.output(), HasSubstr("in use"));
  // Another name will do, and so will the same once the first has ended.
  second.launch(
      {"--station", station, "--listen", "127.0.0.1:0", "--state", root.file("var/tmp"), "--id", "two"});
  EXPECT_TRUE(second.wait_listens());
  EXPECT_TRUE(second.ends_well());
  EXPECT_TRUE(gateway.ends_well());
  second.launch({"--station", station, "--listen", "127.0.0.1:0", "--state", root.file("var/tmp")});
  EXPECT_TRUE(second.wait_listens());
  EXPECT_TRUE(second.ends_well());
}

TEST_F(GatewayOptionsTest, PortThatIsTakenIsAnErrorWithItsReason) {
  const UniqueFd taken = bound_socket(SOCK_STREAM, "127.0.0.1", 0);
  ASSERT_EQ(::listen(taken.get(), 1), 0);
  EXPECT_GT(Run({"--listen", "127.0.0.1:" + std::to_string(port_of(taken.get()))}), 0);
  EXPECT_THAT(gateway.program.output(), HasSubstr("harkpanel: "));
  EXPECT_FALSE(gateway.program.said("listening on"));
}

TEST_F(GatewayOptionsTest, StateFolderThatIsNoneIsAnErrorWithItsReason) {
  EXPECT_GT(Run({"--listen", "127.0.0.1:0", "--state", root.file("no/such/folder")}), 0);
  EXPECT_THAT(gateway.program.output(), HasSubstr("harkpanel: "));
  EXPECT_FALSE(gateway.program.said("listening on"));
}

TEST_F(GatewayOptionsTest, WithATokenItListensBeyondLoopback) {
  root.write("token", "12345678\n");
  // A number of this machine that is no loopback one need not exist: the reason is another one then.
  (void)Run({"--listen", "192.0.2.1:0", "--token", root.file("token")});
  EXPECT_FALSE(gateway.program.said("--token")) << gateway.program.output();
}

TEST_F(GatewayOptionsTest, SigtermBeforeAnyStationEndsItInOrder) {
  gateway.launch({"--station", "127.0.0.1:" + std::to_string(closed_tcp_port()), "--listen", "127.0.0.1:0"});
  ASSERT_TRUE(gateway.wait_listens());
  EXPECT_TRUE(gateway.wait_said("station: lost, connection refused; again in 1 s"));
  EXPECT_TRUE(gateway.ends_well());
}

}  // namespace
}  // namespace hark::test
