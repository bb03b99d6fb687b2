// The command line of harkctl: what is taken, and what is refused before anything is sent.
#include "tools/harkctl/options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace hark::ctl {
namespace {

using control::HostPort;
using testing::HasSubstr;
using testing::Not;
using Words = std::vector<std::string>;

ParsedOptions Parse(const Words& words, const char* environment = nullptr) {
  return parse_options(words, environment);
}

Options Good(const Words& words, const char* environment = nullptr) {
  const ParsedOptions parsed = Parse(words, environment);
  EXPECT_EQ(parsed.exit_status, -1) << parsed.text;
  return parsed.options;
}

TEST(HarkctlOptions, EachWordIsItsCommand) {
  const struct {
    Words words;
    Command command;
  } kRows[] = {
      {{"status"}, Command::kStatus},      {{"calls"}, Command::kCalls},
      {{"watch"}, Command::kWatch},        {{"call", "News"}, Command::kCall},
      {{"drop", "News"}, Command::kDrop},  {{"gpio"}, Command::kGpio},
      {{"set", "LATCH=1"}, Command::kSet}, {{"panels"}, Command::kPanels},
      {{"health"}, Command::kHealth},      {{"complete", "urls"}, Command::kComplete},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.words.front());
    EXPECT_EQ(Good(row.words).command, row.command);
  }
}

TEST(HarkctlOptions, TheStationComesFromTheOptionThenTheEnvironmentThenTheDefault) {
  EXPECT_EQ(Good({"status"}).station, (HostPort{"127.0.0.1", 4013}));
  EXPECT_EQ(Good({"status"}, "").station, (HostPort{"127.0.0.1", 4013}));
  EXPECT_EQ(Good({"status"}, "studio-b:5000").station, (HostPort{"studio-b", 5000}));
  EXPECT_EQ(Good({"--station", "10.0.0.7", "status"}, "studio-b:5000").station, (HostPort{"10.0.0.7", 4013}));
  // behind the command too
  EXPECT_EQ(Good({"status", "--station=[::1]:5000"}).station, (HostPort{"::1", 5000}));
  // what is overruled is not looked at
  EXPECT_EQ(Good({"--station", "10.0.0.7", "status"}, "host:port").station, (HostPort{"10.0.0.7", 4013}));
}

TEST(HarkctlOptions, TimeoutAndJson) {
  EXPECT_EQ(Good({"status"}).timeout.count(), 3000);
  EXPECT_EQ(Good({"--timeout", "0.25", "status"}).timeout.count(), 250);
  EXPECT_EQ(Good({"status", "--timeout=10"}).timeout.count(), 10'000);
  EXPECT_FALSE(Good({"status"}).json);
  EXPECT_TRUE(Good({"status", "--json"}).json);
  EXPECT_TRUE(Good({"--json", "status"}).json);
}

TEST(HarkctlOptions, NeitherDirectionMeansBoth) {
  const struct {
    Words words;
    bool listen;
    bool talk;
  } kRows[] = {
      {{"call", "News"}, true, true},
      {{"call", "News", "--listen"}, true, false},
      {{"drop", "--talk", "News"}, false, true},
      {{"drop", "News", "--talk", "--listen"}, true, true},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(testing::PrintToString(row.words));
    const Options options = Good(row.words);
    EXPECT_EQ(options.party, "News");
    EXPECT_EQ(options.listen, row.listen);
    EXPECT_EQ(options.talk, row.talk);
  }
}

TEST(HarkctlOptions, ContactsAreReadAndSet) {
  EXPECT_EQ(Good({"gpio"}).family, "");
  EXPECT_EQ(Good({"gpio", "gpo"}).family, "GPO");
  EXPECT_EQ(Good({"gpio", "GPI", "3"}).port, "3");
  // 010 would be 8 to the station
  EXPECT_EQ(Good({"gpio", "GPI", "010"}).port, "10");
  const Options set = Good({"gpio", "GPO", "3", "Lxh", "--duration", "250"});
  EXPECT_EQ(set.states, "Lxh");
  EXPECT_EQ(set.duration_ms, 250);
}

TEST(HarkctlOptions, SettingsHaveTheirNamesInCapitals) {
  using Pair = std::pair<std::string, std::string>;
  EXPECT_THAT(Good({"set", "labl=a=b", "DIML=*", "Trgl=-1"}).settings,
              testing::ElementsAre(Pair("LABL", "a=b"), Pair("DIML", "*"), Pair("TRGL", "-1")));
  EXPECT_THAT(Good({"set", "LABL="}).settings, testing::ElementsAre(Pair("LABL", "")));
}

TEST(HarkctlOptions, TheServicesAreAtTheStationUnlessToldOtherwise) {
  EXPECT_EQ(Good({"--station", "10.0.0.7:99", "health"}).sip, (HostPort{"10.0.0.7", 5060}));
  EXPECT_EQ(Good({"health", "--sip", "10.0.0.8"}).sip, (HostPort{"10.0.0.8", 5060}));
  EXPECT_EQ(Good({"health", "--sip", "10.0.0.8:5080"}).sip, (HostPort{"10.0.0.8", 5080}));
}

TEST(HarkctlOptions, CandidatesBeginWithAnything) {
  EXPECT_EQ(Good({"complete", "urls"}).prefix, "");
  EXPECT_EQ(Good({"complete", "urls", "--", "-x"}).prefix, "-x");
  EXPECT_EQ(Good({"complete", "urls", "--", ""}).prefix, "");
}

TEST(HarkctlOptions, WhatIsWrongIsSaidInOneLineAndWithStatus2) {
  const struct {
    Words words;
    const char* complaint;
  } kRows[] = {
      {{}, "a command is needed"},
      {{"--json"}, "a command is needed"},
      {{"nonsense"}, "nonsense"},
      {{"status", "--nonsense"}, "--nonsense"},
      {{"status", "extra"}, "extra"},
      {{"status", "calls"}, ""},
      {{"status", "--station"}, "--station"},
      {{"status", "--station", ":1"}, "--station: not HOST or HOST:PORT: :1"},
      {{"status", "--station", "host:0"}, "--station"},
      {{"status", "--station", "host:70000"}, "--station"},
      {{"status", "--station", "a b"}, "--station"},
      {{"status", "--timeout", "0"}, "--timeout: not a number of seconds"},
      {{"status", "--timeout", "-1"}, "--timeout"},
      {{"status", "--timeout", "nan"}, "--timeout"},
      {{"status", "--timeout", "inf"}, "--timeout"},
      {{"status", "--timeout", "3s"}, "--timeout"},
      {{"status", "--timeout", "1e9"}, "--timeout"},
      {{"call"}, "URL"},
      {{"call", ""}, "must not be empty"},
      {{"call", "a", "b"}, "b"},
      {{"call", "quillnet:1", "--volume"}, "--volume"},
      {{"call", "quillnet:" + std::string(71, 'x')}, "longer than 79 bytes"},
      {{"gpio", "GPX"}, "not GPI or GPO: GPX"},
      {{"gpio", "GPO", "x"}, "not a port number: x"},
      {{"gpio", "GPO", "99999"}, "not a port number"},
      {{"gpio", "GPO", "3", "LLLLLL"}, "not one to five"},
      {{"gpio", "GPO", "3", "Lz"}, "not one to five"},
      {{"gpio", "GPO", "3", "--duration", "5"}, "--duration needs states"},
      {{"gpio", "GPO", "3", "L", "--duration", "0"}, "--duration"},
      {{"gpio", "GPO", "3", "L", "--duration", "1x"}, "--duration"},
      {{"gpio", "GPO", "3", "L", "--duration", "99999999999"}, "--duration"},
      {{"gpio", "GPI", "3", "L", "--duration", "5"}, "for outputs"},
      {{"set"}, "NAME=VALUE"},
      {{"set", "LATCH"}, "not NAME=VALUE: LATCH"},
      {{"set", "FOO=1"}, "no such setting: FOO"},
      {{"set", "=1"}, "no such setting"},
      {{"set", "LATCH=1", "FOO=1"}, "no such setting: FOO"},
      {{"set", "LATCH=1", "latch=2"}, "given twice: LATCH"},
      {{"set", "LATCH=x"}, "LATCH must be a number"},
      {{"set", "LABL=12345678901"}, "LABL has 10 bytes at most"},
      {{"health", "--sip", "host:65534"}, "--sip"},
      {{"health", "--sip", "host:x"}, "--sip"},
      {{"calls", "--sip", "host"}, "--sip"},
      {{"complete"}, "subcommand"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(testing::PrintToString(row.words));
    const ParsedOptions parsed = Parse(row.words);
    EXPECT_EQ(parsed.exit_status, kUsage);
    EXPECT_THAT(parsed.text, HasSubstr(row.complaint));
    EXPECT_THAT(parsed.text, Not(testing::IsEmpty()));
    EXPECT_THAT(parsed.text, Not(HasSubstr("\n")));
  }
}

TEST(HarkctlOptions, ABadStationInTheEnvironmentIsNamed) {
  const ParsedOptions parsed = Parse({"status"}, "host:port");
  EXPECT_EQ(parsed.exit_status, kUsage);
  EXPECT_THAT(parsed.text, HasSubstr("HARKCTL_STATION"));
}

TEST(HarkctlOptions, HelpIsOfTheWholeOrOfOneCommand) {
  const ParsedOptions whole = Parse({"--help"});
  EXPECT_EQ(whole.exit_status, kOk);
  EXPECT_THAT(whole.text, testing::AllOf(HasSubstr("--station"), HasSubstr("health"), HasSubstr("watch")));
  // What only a shell uses is not offered to people.
  EXPECT_THAT(whole.text, Not(HasSubstr("complete")));

  const ParsedOptions one = Parse({"gpio", "--help"});
  EXPECT_EQ(one.exit_status, kOk);
  EXPECT_THAT(one.text, testing::AllOf(HasSubstr("harkctl gpio"), HasSubstr("--duration")));
}

}  // namespace
}  // namespace hark::ctl
