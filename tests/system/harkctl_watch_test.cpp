// harkctl watch on a real station that comes and goes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

#include "system/harkctl_fixture.h"

namespace hark::test {
namespace {

using testing::HasSubstr;

class HarkctlWatch : public HarkctlTest {
 protected:
  [[nodiscard]] Program Watch(Words more = {}) const {
    more.insert(more.begin(), "watch");
    return Program(HARKCTL_BINARY, patient(std::move(more)), Env());
  }
  [[nodiscard]] std::string Place() const { return "127.0.0.1:" + std::to_string(station.ctrl_port()); }
};

// The lines of a watch as JSON, less those that are not whole yet.
std::vector<Json> events_of(const std::string& text) {
  std::vector<Json> events;
  for (const std::string& line : lines_of(text.substr(0, text.rfind('\n') + 1))) {
    events.push_back(Json::parse(line, nullptr, false));
    EXPECT_FALSE(events.back().is_discarded()) << line;
  }
  return events;
}

TEST_F(HarkctlWatch, EachEventIsALineAtOnce) {
  StartReadyForCalls();
  Client client = Connect();
  Program watch = Watch();
  ASSERT_TRUE(watch.Prints("connected to STUDIO A (" + Place() + ")\n"));
  const struct {
    const char* command;
    const char* line;
  } kRows[] = {
      {"CALL URL:\"News <quillnet:239.192.4.210>\" LISTEN:1", " call News: listen on\n"},
      {"HARK LATCH:100", " settings: LATCH=100\n"},
      {"HARK LATCH:100", " settings: as before\n"},
      {"GPO 3 xLxxx", " contact GPO 3: hLhhh\n"},
      {"GPI 4 LLLLL", " contact GPI 4: LLLLL\n"},
      {"GPO 5 CMD:BLINK", " contact GPO 5: told CMD:BLINK\n"},
      {"CFG GPO 2 NAME:\"Door\"", " contact GPO 2: configured as NAME:\"Door\"\n"},
      {"ATTACH HARKUI#7.FP KEYS:\"1-2\" AANS:0", " panel 7 came, keys 1-2, 127.0.0.1:"},
      {"EVENT HARKUI#7.BUT#SPKM KEY=DOWN", " key SPKM down, panel 7\n"},
      {"QUIT", " panel 7 went, keys 1-2, 127.0.0.1:"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.command);
    ASSERT_TRUE(client.send_line(row.command));
    ASSERT_TRUE(watch.Prints(row.line));
  }
  // A port with all pins low is told by the station every 10 ms.
  EXPECT_EQ(watch.Out().find("GPI 4"), watch.Out().rfind("GPI 4"));
  watch.Signal(SIGINT);
  EXPECT_EQ(watch.WaitExit(), 0);
  EXPECT_EQ(watch.Err(), "");
}

TEST_F(HarkctlWatch, JsonHasATimeAndAnEventInEachLine) {
  StartReadyForCalls();
  Client client = Connect();
  EXPECT_EQ(answers(client, "CALL URL:\"News <quillnet:239.192.4.210>\" LISTEN:1"), Lines{});
  Program watch = Watch({"--json"});
  ASSERT_TRUE(watch.Prints("\"connected\""));
  ASSERT_TRUE(client.send_line("CALL URL:\"quillnet:239.192.4.210\" LISTEN:0"));
  ASSERT_TRUE(watch.Prints("\"listen\":\"off\"}"));
  watch.Signal(SIGTERM);
  EXPECT_EQ(watch.WaitExit(), 0);
  const std::vector<Json> events = events_of(watch.Out());
  ASSERT_GE(events.size(), 2U);
  for (const Json& event : events) {
    EXPECT_THAT(event["time"].get<std::string>(), testing::MatchesRegex("[0-9-]{10}T[0-9:]{8}[.][0-9]{3}Z"));
    EXPECT_TRUE(event["event"].is_string());
  }
  EXPECT_EQ(events[0]["name"], "STUDIO A");
  EXPECT_EQ(events[0]["calls"][0]["name"], "News");
  EXPECT_EQ(events[0]["calls"][0]["listen"], "on");
}

TEST_F(HarkctlWatch, ARestartedStationIsFoundAgain) {
  StartReadyForCalls();
  Program watch = Watch({"--json"});
  ASSERT_TRUE(watch.Prints("\"connected\""));
  ASSERT_EQ(station.terminate(), 0);
  ASSERT_TRUE(watch.Prints("\"closed by the station\",\"again\":1}"));
  // So long that the pause has doubled.
  ASSERT_TRUE(watch.Prints("\"connection refused\",\"again\":2}"));
  watch.Forget();
  ASSERT_TRUE(station.start());
  ASSERT_TRUE(watch.Prints("\"connected\""));
  Client client = Connect();
  ASSERT_TRUE(client.send_line("GPO 3 xLxxx"));
  EXPECT_TRUE(watch.Prints("\"hlhhh\""));
  // Lost once more, it begins with a second again.
  watch.Forget();
  ASSERT_EQ(station.terminate(), 0);
  EXPECT_TRUE(watch.Prints("\"closed by the station\",\"again\":1}"));
}

TEST_F(HarkctlWatch, AStationThatIsNotThereYetIsWaitedFor) {
  Program watch = Watch();
  ASSERT_TRUE(watch.Prints("no station at " + Place() + ": connection refused; again in 1 s\n"));
  Start();
  EXPECT_TRUE(watch.Prints("connected to "));
}

TEST_F(HarkctlWatch, AStationThatFallsSilentIsLost) {
  Start();
  Program watch = Watch({"--timeout", "0.5"});
  ASSERT_TRUE(watch.Prints("connected to "));
  station.send_signal(SIGSTOP);
  EXPECT_TRUE(watch.Prints("lost " + Place() + ": does not answer; again in 1 s\n"));
  watch.Forget();
  station.send_signal(SIGCONT);
  EXPECT_TRUE(watch.Prints("connected to "));
}

TEST_F(HarkctlWatch, BeingTurnedAwayIsSaidAndTriedAgain) {
  Start();
  std::vector<Client> clients;
  for (int i = 0; i < 7; ++i)
    clients.push_back(Connect());
  let_it_settle(clients.front());
  Program watch = Watch();
  EXPECT_TRUE(watch.Prints("too many connections from this host; again in 1 s\n"));
  EXPECT_TRUE(watch.Prints("too many connections from this host; again in 2 s\n"));
  ExpectLog("host connection limit");
}

TEST_F(HarkctlWatch, ItEndsWhenItsReaderIsGone) {
  Start();
  // Nothing happens at the station: the end is noticed all the same.
  Program watch = Watch();
  ASSERT_TRUE(watch.Prints("connected to "));
  watch.CloseOutput();
  EXPECT_EQ(watch.WaitExit(), 0);
  EXPECT_EQ(watch.Err(), "");
}

TEST_F(HarkctlWatch, SignalsEndItWhileItWaitsForAStation) {
  EndsItself();
  for (const int number : {SIGINT, SIGTERM}) {
    Program watch = Watch();
    ASSERT_TRUE(watch.Prints("again in 4 s"));
    watch.Signal(number);
    EXPECT_EQ(watch.WaitExit(), 0);
  }
}

}  // namespace
}  // namespace hark::test
