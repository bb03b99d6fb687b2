// The console's part of the script, in time that the test moves.
#include "tools/quillsim/console_script.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "system/support/client.h"
#include "system/support/console_sim.h"
#include "system/support/routing_sim.h"
#include "tools/quillsim/script.h"

namespace quillsim {
namespace {

using std::chrono::milliseconds;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class ConsoleScriptTest : public testing::Test {
 protected:
  void Subscribe() {
    ASSERT_TRUE(station_.connect(console_.port()));
    ASSERT_TRUE(station_.send_raw("SUB Intercom\r\n"));
    ASSERT_TRUE(console_.wait_subscribed());
  }
  void Lines(const std::vector<std::string>& lines) {
    for (const std::string& line : lines)
      script_.add(line);
    script_.run(now_);
  }
  void Set(const std::string& what) {
    const int before = console_->lines_received();
    ASSERT_TRUE(station_.send_raw("SET " + what + "\n"));
    ASSERT_TRUE(hark::test::wait_until([&] { return console_->lines_received() > before; }));
    script_.run(now_);
  }
  // Whether the line holds the script up until the station has set this.
  [[nodiscard]] testing::AssertionResult Waits(const std::string& line, const std::string& what) {
    out_.clear();
    Lines({line, "show"});
    if (!out_.empty() || !complaints_.empty()) return testing::AssertionFailure() << line << " did not wait";
    Set(what);
    if (out_.empty()) return testing::AssertionFailure() << line << " still waits after " << what;
    return testing::AssertionSuccess();
  }

  hark::test::RoutingSim sim_;
  hark::test::ConsoleSim console_;
  hark::test::Client station_;
  std::vector<std::string> out_;
  std::vector<std::string> complaints_;
  Script script_{{*sim_.operator->(), console_.operator->()},
                 [this](const std::string& line) { out_.push_back(line); },
                 [this](const std::string& line) { complaints_.push_back(line); },
                 milliseconds(1000)};
  Script::Time now_{};
};

TEST_F(ConsoleScriptTest, OperatorsHandsReachTheStation) {
  Subscribe();
  Lines({"press 1", "hold 2", "release 2", "turn 129 -3", "turn 130 1", "off-button 4 down",
         "off-button 4 up", "module 3", "press 1", "module none"});
  for (const char* line :
       {"EVENT Intercom.btn#1 KEY=DOWN", "EVENT Intercom.btn#1 KEY=UP", "EVENT Intercom.btn#2 KEY=DOWN",
        "EVENT Intercom.btn#2 KEY=UP", "EVENT Intercom.btn#129 rot=-3", "EVENT Intercom.btn#130 rot=1",
        "EVENT FaCH#4 OFF_But=DOWN", "EVENT FaCH#4 OFF_But=UP", "EVENT Intercom type=3",
        "EVENT Intercom.key#1 KEY=DOWN", "EVENT Intercom.key#1 KEY=UP", "EVENT Intercom type=-1"}) {
    EXPECT_TRUE(station_.expect_line(line));
  }
  EXPECT_THAT(complaints_, IsEmpty());
}

TEST_F(ConsoleScriptTest, HandsWithoutAStationFail) {
  Lines({"press 1", "turn 129 1", "off-button 1 down"});
  EXPECT_EQ(script_.failures(), 3);
  EXPECT_EQ(complaints_[0], "no station listens to the console, for: press 1");
}

TEST_F(ConsoleScriptTest, MalformedLinesAreUnknown) {
  const std::vector<std::string> rows = {
      "press",
      "press ",
      "press x",
      "press 1 2",
      "press 1000",
      "press -1",
      "PRESS 1",
      "hold",
      "release 01",
      "turn 129",
      "turn 129 +1",
      "turn 129 1000",
      "turn 129 1 ",
      "off-button 1",
      "off-button 1 DOWN",
      "off-button x up",
      "module",
      "module x",
      "module 1 2",
      "module none ",
      "module -1",
      "wait-lamp 1",
      "wait-lamp 1 on",
      "wait-lamp x ON",
      "wait-lamp 1 ON 2",
      "wait-key 1 BLUE",
      "wait-key 1 RED/",
      "wait-display 1 1",
      "wait-display 1 3 \"a\"",
      "wait-display 1 1 a",
      "wait-menu a",
      "wait-menu",
      "wait-menu \"a",
      "wait-fader 1",
      "wait-fader 1 x",
      "wait-fader 1 -2",
      "draw all",
      "close-console now",
  };
  Lines(rows);
  EXPECT_EQ(complaints_.size(), rows.size()) << testing::PrintToString(complaints_);
  EXPECT_THAT(complaints_, Each(HasSubstr("unknown directive: ")));
  EXPECT_EQ(console_->type(), 1);
}

TEST_F(ConsoleScriptTest, WaitsEndWhenTheStationHasSetIt) {
  Subscribe();
  EXPECT_TRUE(Waits("wait-lamp 1 FLASH", "Intercom.btn#1 IND=FLASH"));
  EXPECT_TRUE(Waits("wait-display 1 2 \"Ext 3\"", "Intercom.oled#1 line2=\"Ext 3\""));
  EXPECT_TRUE(Waits("wait-menu \"- Assign -\"", "Intercom.menu list=[\"- Assign \x81\"],selected=1"));
  EXPECT_TRUE(Waits("wait-fader 2 -1", "FaCH#2 hark_src=-1"));
  console_->set_type(3);
  EXPECT_TRUE(Waits("wait-key 1 RED/YELLOW", "Intercom.key#1 BACKCOLOROFF=RED,BACKCOLORON=YELLOW,IND=FLASH"));
  EXPECT_TRUE(Waits("wait-key 1 GREEN", "Intercom.key#1 BACKCOLOROFF=GREEN,BACKCOLORON=GREEN,IND=OFF"));
  EXPECT_EQ(script_.failures(), 0);
}

TEST_F(ConsoleScriptTest, WhatHoldsAlreadyIsNotWaitedFor) {
  Lines({"wait-lamp 1 OFF", "show"});
  EXPECT_THAT(complaints_, IsEmpty());
  EXPECT_EQ(out_.size(), 1U);
  EXPECT_EQ(script_.due(), std::nullopt);
}

TEST_F(ConsoleScriptTest, WaitsAreBounded) {
  Lines({"wait-lamp 1 ON", "show"});
  EXPECT_EQ(script_.due(), now_ + milliseconds(1000));
  now_ += milliseconds(999);
  script_.run(now_);
  EXPECT_THAT(out_, IsEmpty());
  now_ += milliseconds(1);
  script_.run(now_);
  EXPECT_THAT(complaints_, ElementsAre("waited in vain for: wait-lamp 1 ON"));
  EXPECT_EQ(out_.size(), 1U);
}

TEST_F(ConsoleScriptTest, DrawsAndDropsTheConnection) {
  Subscribe();
  Lines({"draw", "close-console"});
  EXPECT_THAT(out_.front(), HasSubstr("key module 1"));
  EXPECT_TRUE(station_.wait_closed());
}

TEST(ConsoleScript, WithoutAConsoleEachDirectiveFails) {
  for (const char* line : {"press 1", "hold 1", "release 1", "turn 129 1", "off-button 1 up", "module 1",
                           "wait-lamp 1 ON", "wait-key 1 RED", "wait-display 1 1 \"a\"", "wait-menu \"a\"",
                           "wait-fader 1 1", "draw", "close-console"}) {
    const Step step = run_console_directive(line, nullptr);
    EXPECT_TRUE(step.known) << line;
    EXPECT_THAT(step.error, HasSubstr("--console")) << line;
  }
  EXPECT_FALSE(run_console_directive("show", nullptr).known);
}

TEST(ConsoleScript, EachDirectiveHasItsHelp) {
  for (const char* word :
       {"press N", "hold N", "release N", "turn N CLICKS", "off-button N", "module TYPE", "wait-lamp N",
        "wait-key N", "wait-display N", "wait-menu", "wait-fader N", "draw ", "close-console"}) {
    EXPECT_THAT(kConsoleScriptHelp, HasSubstr(word));
  }
}

}  // namespace
}  // namespace quillsim
