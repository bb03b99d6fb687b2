// harkctl health: a station that is well, and each way not to be.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "system/deaf_port.h"
#include "system/harkctl_fixture.h"
#include "system/support/ports.h"
#include "system/support/udp_sink.h"

namespace hark::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

class HarkctlHealth : public HarkctlTest {
 protected:
  [[nodiscard]] std::string Sip() const { return "127.0.0.1:" + std::to_string(station.sip_port()); }
  [[nodiscard]] std::string At(int above) const {
    return " at 127.0.0.1:" + std::to_string(station.sip_port() + above);
  }
};

TEST_F(HarkctlHealth, AStationThatIsWellEndsWith0) {
  StartReadyForCalls();
  ASSERT_TRUE(wait_until([&] { return Run({"health", "--sip", Sip()}).status == 0; }, 30'000));
  EXPECT_THAT(
      OutLines({"health", "--sip", Sip()}),
      ElementsAre("ok  control      answers, version 1.3.6.4", "ok  source       239.192.0.1:5004",
                  "ok  hark-listen  answers with 200" + At(1), "ok  hark-talk    answers with 200" + At(2)));
  const Json json = OutJson({"health", "--sip", Sip()});
  EXPECT_EQ(json["healthy"], true);
  EXPECT_EQ(json["checks"].size(), 4U);
}

TEST_F(HarkctlHealth, NoStationEndsWith3) {
  EndsItself();
  const Ended refused = RunHarkctl({"--station", "127.0.0.1:" + std::to_string(closed_tcp_port()), "health"});
  EXPECT_TRUE(complains(refused, 3, "connection refused"));
  const DeafPort deaf;
  ASSERT_TRUE(deaf.is_deaf());
  const Ended silent =
      RunHarkctl({"--station", "127.0.0.1:" + std::to_string(deaf.port()), "--timeout", "1", "health"});
  EXPECT_TRUE(complains(silent, 3, "does not answer"));
}

TEST_F(HarkctlHealth, APortThatTakesUsAndIsSilentIsNotAnswering) {
  EndsItself();
  const SilentPort silent;
  ASSERT_GT(silent.port(), 0);
  const Ended ended = RunHarkctl({"--station", "127.0.0.1:" + std::to_string(silent.port()), "--timeout", "1",
                                  "health", "--sip", Sip()});
  EXPECT_EQ(ended.status, 1) << ended;
  EXPECT_EQ(ended.err, "");
  EXPECT_THAT(lines_of(ended.out), ElementsAre("FAILED  control      does not answer",
                                               StartsWith("FAILED  source       not known"),
                                               "FAILED  hark-listen  connection refused" + At(1),
                                               "FAILED  hark-talk    connection refused" + At(2)));
}

TEST_F(HarkctlHealth, WithoutASourceThereAreNoServices) {
  // What a station needs for its services is its source: it has none of either.
  Start();
  const Ended ended = Run({"health", "--sip", Sip()});
  EXPECT_EQ(ended.status, 1) << ended;
  EXPECT_THAT(lines_of(ended.out),
              ElementsAre(StartsWith("ok      control"),
                          "FAILED  source       the station does not know its own source (SRC 1)",
                          "FAILED  hark-listen  connection refused" + At(1),
                          "FAILED  hark-talk    connection refused" + At(2)));
}

TEST_F(HarkctlHealth, ServicesThatDoNotAnswerAreAskedAgainUntilTheTime) {
  StartReadyForCalls();
  const UdpSink listen;
  ASSERT_TRUE(listen.is_open());
  Program program(
      HARKCTL_BINARY,
      {"--timeout", "2", "health", "--json", "--sip", "127.0.0.1:" + std::to_string(listen.port() - 1)},
      Env());
  EXPECT_EQ(program.WaitExit(), 1);
  const Json json = Json::parse(program.Out(), nullptr, false);
  ASSERT_FALSE(json.is_discarded()) << program.Out();
  EXPECT_EQ(json["healthy"], false);
  EXPECT_EQ(json["checks"][0]["ok"], true);
  EXPECT_EQ(json["checks"][2]["ok"], false);
  EXPECT_THAT(json["checks"][2]["text"].get<std::string>(), HasSubstr("no answer to OPTIONS in 2000 ms"));
  // At once, after 500 ms, and 1000 ms later; each time the same request.
  ASSERT_GE(listen.datagrams().size(), 2U);
  EXPECT_LE(listen.datagrams().size(), 3U);
  EXPECT_THAT(listen.datagrams()[0], StartsWith("OPTIONS sip:hark-listen@127.0.0.1:"));
  EXPECT_EQ(listen.datagrams().front(), listen.datagrams().back());
}

TEST_F(HarkctlHealth, AStationThatTurnsUsAwayIsNotWell) {
  Start();
  std::vector<Client> clients;
  for (int i = 0; i < 7; ++i)
    clients.push_back(Connect());
  let_it_settle(clients.front());
  const Ended ended = Run({"health", "--sip", Sip()});
  EXPECT_EQ(ended.status, 1) << ended;
  EXPECT_THAT(ended.out, HasSubstr("FAILED  control      too many connections from this host\n"));
  // Other commands have nothing to tell then.
  EXPECT_TRUE(complains(Run({"status"}), 3, "too many connections from this host"));
  ExpectLog("host connection limit");
}

}  // namespace
}  // namespace hark::test
