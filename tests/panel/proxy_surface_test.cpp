// The lines of a console: which key a number is, how a line is worded, and what is passed on as a key.
#include "panel/proxy_console.h"

namespace hark {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string two_digits(int n) { return (n < 10 ? "0" : "") + std::to_string(n); }

class ProxySurface : public ConsoleTest {
 protected:
  ProxySurface() { Labels({"Bob", "Ann", "", "Air"}); }
};

TEST_F(ProxySurface, EveryNumberOfAModuleWithSeparateKeysIsItsKey) {
  // No menu was built yet, so that no key is taken by it.
  for (const int type : {HarkUIProxy::kModule20, HarkUIProxy::kModule10}) {
    panels.clear();
    Attach(type, 1, 4);
    for (int number = -2; number <= 300; ++number) {
      std::string key;
      if (number >= 1 && number <= 40)
        key = (number % 2 == 1 ? "KT" : "KL") + two_digits((number + 1) / 2);
      else if (number == 41)
        key = "KTAA";
      else if (number == 42)
        key = "KLAA";
      else if (number == 49)
        key = "MICM";
      else if (number == 50)
        key = "SPKM";
      else if (number == 51)
        key = "TGRP";
      else if (number == 52)
        key = "ASGN";
      else if (number == 129 || number == 130)
        continue;
      SCOPED_TRACE(number);
      const std::vector<std::string> said = After(".btn#" + std::to_string(number) + " KEY=U");
      if (key.empty())
        EXPECT_THAT(said, IsEmpty());
      else
        EXPECT_THAT(said, ElementsAre(event(key, "UP")));
    }
  }
}

TEST_F(ProxySurface, EveryNumberOfTheColouredModuleIsItsKey) {
  Attach(HarkUIProxy::kModuleColour, 1, 4);
  for (int number = -2; number <= 300; ++number) {
    std::string key;
    if (number >= 1 && number <= 40)
      key = "KX" + two_digits(number);
    else if (number == 41)
      key = "KTAA";
    else if (number == 42)
      key = "KLAA";
    else if (number == 49)
      key = "MICM";
    else if (number == 50)
      key = "SPKM";
    else if (number == 51)
      key = "TGRP";
    else if (number == 52)
      key = "ASGN";
    else if (number == 129 || number == 130)
      continue;
    SCOPED_TRACE(number);
    const std::vector<std::string> said = After(".key#" + std::to_string(number) + " KEY=U");
    if (key.empty())
      EXPECT_THAT(said, IsEmpty());
    else
      EXPECT_THAT(said, ElementsAre(event(key, "UP")));
  }
}

TEST_F(ProxySurface, PressTalksByTheClockOfTheDaemon) {
  Console();
  EXPECT_THAT(After(".btn#1 KEY=D"),
              ElementsAre("IO MICV:0\n", "CALL URL:\"Bob <hark:10.0.0.7>\" TALK:1\n", event("KT01", "DOWN")));
  clock.AdvanceMs(199);
  EXPECT_THAT(After(".btn#1 KEY=U"), ElementsAre(event("KT01", "UP")));
  After(".btn#1 KEY=D");
  clock.AdvanceMs(200);
  EXPECT_THAT(After(".btn#1 KEY=U"),
              ElementsAre("CALL URL:\"Bob <hark:10.0.0.7>\" TALK:0\n", event("KT01", "UP")));
}

TEST_F(ProxySurface, CombinedKeyTalksAndListens) {
  Console(HarkUIProxy::kModuleColour);
  EXPECT_THAT(After(".key#1 KEY=D"),
              ElementsAre("IO MICV:0\n", "CALL URL:\"Bob <hark:10.0.0.7>\" TALK:1 LISTEN:1 VOLUME:0\n",
                          event("KX01", "DOWN")));
  clock.AdvanceMs(200);
  EXPECT_THAT(
      After(".key#1 KEY=U"),
      ElementsAre("CALL URL:\"Bob <hark:10.0.0.7>\" TALK:0 LISTEN:0 VOLUME:0\n", event("KX01", "UP")));
}

TEST_F(ProxySurface, LinesInEveryWordingAreTaken) {
  struct Row {
    const char* line;
    const char* state;
  };
  Attach(HarkUIProxy::kModule20);
  for (const Row& row : {
           Row{".btn#5 KEY=D", "DOWN"},
           Row{".key#5 KEY=D", "DOWN"},
           Row{".btn#5 state=D", "DOWN"},
           Row{".key#5 state=D", "DOWN"},
           Row{".btn#5 KEY=DOWN", "DOWN"},
           Row{".btn#5 KEY=U", "UP"},
           Row{".btn#5 state=UP", "UP"},
           Row{".btn#5 KEY=X", "UP"},  // whatever is not down is up
           Row{".btn#5 state=0", "UP"},
       }) {
    EXPECT_THAT(After(row.line), ElementsAre(event("KT03", row.state))) << row.line;
  }
}

TEST_F(ProxySurface, BadLinesAreDropped) {
  Console();
  for (const char* line : {
           "",
           " ",
           ".",
           ".btn",
           ".btn#",
           ".btn#5",
           ".btn#5 ",
           ".btn#5 foo=1",
           ".btn#5 foo=1 KEY=D",
           ".btn#5  KEY=D",
           ".btn#5,KEY=D",
           ".btn#5KEY=D",
           ".btn#x KEY=D",
           ".led#5 KEY=D",
           "btn#5 KEY=D",
           " KEY=D",
           ".btn# KEY=D",
           "FaCH",
           "FaCH#",
           "FaCH#5",
           "FaCH#5 ",
           "FaCH#5 On_But=D",
           "FaCH#5 gain=D",
           ".btn#5 rot=1",
           ".btn#41 rot=-1",
           ".btn#5 rot=",
           ".btn#99999999999999999999 KEY=D",
       }) {
    EXPECT_THAT(After(line), IsEmpty()) << line;
    EXPECT_EQ(Model().dirty, 0U) << line;
  }
  clock.AdvanceMs(10'000);
  panels[0]->Notify(0, clock.Now());
  EXPECT_EQ(Sent(), "");
}

}  // namespace
}  // namespace hark
