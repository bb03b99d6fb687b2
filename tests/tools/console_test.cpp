// The simulated console as a server, in this process, with a socket that plays the station.
#include "tools/quillsim/console.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "system/support/client.h"
#include "system/support/console_sim.h"
#include "system/support/pump.h"

namespace quillsim {
namespace {

using hark::test::Client;
using hark::test::ConsoleSim;
using hark::test::wait_until;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class ConsoleTest : public testing::Test {
 protected:
  void Connect() {
    ASSERT_TRUE(station_.connect(console_.port()));
    ASSERT_TRUE(wait_until([this] { return console_->connected(); }));
  }
  void Subscribe() {
    Connect();
    Say("SUB Intercom\r\n");
  }
  // The station sends the bytes, and the console has read the lines in them.
  void Say(const std::string& lines) {
    const int before = console_->lines_received();
    ASSERT_TRUE(station_.send_raw(lines));
    ASSERT_TRUE(wait_until([&] { return console_->lines_received() > before; })) << lines;
  }

  ConsoleSim console_;
  Client station_;
};

TEST_F(ConsoleTest, TellsItsModuleWhenAsked) {
  Connect();
  EXPECT_TRUE(station_.ask("GET Intercom type", "INDI Intercom type=1"));
  console_->set_type(3);
  EXPECT_TRUE(station_.ask("GET Intercom type", "INDI Intercom type=3"));
  console_->set_type(kNoModule);
  EXPECT_TRUE(station_.ask("GET Intercom type", "INDI Intercom type=-1"));
}

TEST_F(ConsoleTest, KeysSayDownAndUpInTheirOwnWords) {
  Subscribe();
  EXPECT_TRUE(console_->press(1));
  EXPECT_TRUE(console_->hold(40));
  EXPECT_THAT(console_->held(), ElementsAre(40));
  EXPECT_TRUE(console_->release(40));
  EXPECT_TRUE(console_->turn(kSpeakerRotary, -2));
  EXPECT_TRUE(console_->off_button(3, true));
  EXPECT_TRUE(console_->off_button(3, false));
  EXPECT_TRUE(console_->press(999));
  for (const char* line :
       {"EVENT Intercom.btn#1 KEY=DOWN", "EVENT Intercom.btn#1 KEY=UP", "EVENT Intercom.btn#40 KEY=DOWN",
        "EVENT Intercom.btn#40 KEY=UP", "EVENT Intercom.btn#129 rot=-2", "EVENT FaCH#3 OFF_But=DOWN",
        "EVENT FaCH#3 OFF_But=UP", "EVENT Intercom.btn#999 KEY=DOWN", "EVENT Intercom.btn#999 KEY=UP"}) {
    EXPECT_TRUE(station_.expect_line(line));
  }
  EXPECT_THAT(console_->held(), IsEmpty());
}

TEST_F(ConsoleTest, ChannelKeysOfAColouredModuleAreObjectsOfTheirOwn) {
  Subscribe();
  console_->set_type(3);
  EXPECT_TRUE(console_->press(10));
  EXPECT_TRUE(console_->press(kAssignKey));
  for (const char* line :
       {"EVENT Intercom type=3", "EVENT Intercom.key#10 KEY=DOWN", "EVENT Intercom.key#10 KEY=UP",
        "EVENT Intercom.btn#52 KEY=DOWN", "EVENT Intercom.btn#52 KEY=UP"}) {
    EXPECT_TRUE(station_.expect_line(line));
  }
}

TEST_F(ConsoleTest, NobodyIsToldWhoHasNotSubscribed) {
  EXPECT_FALSE(console_->press(1));
  Connect();
  EXPECT_FALSE(console_->press(1));
  EXPECT_FALSE(console_->turn(kMenuKnob, 1));
  EXPECT_FALSE(console_->off_button(1, true));
  console_->set_type(2);
  EXPECT_THAT(console_->held(), IsEmpty());
  Say("SUB Intercom\r\n");
  EXPECT_TRUE(console_->press(1));
  EXPECT_TRUE(station_.expect_line("EVENT Intercom.btn#1 KEY=DOWN")) << "and nothing before it";
}

TEST_F(ConsoleTest, KeepsWhatTheStationSets) {
  Subscribe();
  Say("SET Intercom.btn#1 IND=FLASH\n");
  Say("SET Intercom.oled#1 line1=\"Ext 1\"\n");
  Say("SET Intercom.menu list=[\"- Assign \x81\"],selected=1\n");
  Say("SET FaCH#2 hark_src=-1\n");
  Say("SET Intercom talk=OFF\n");
  Say("SET Intercom listen=ON\n");
  EXPECT_TRUE(console_.refused_nothing());
  EXPECT_EQ(console_->lamp(1), Lamp::kFlash);
  EXPECT_EQ(console_->label(1), "Ext 1");
  EXPECT_THAT(console_->menu().lines, ElementsAre("- Assign \x81"));
  EXPECT_EQ(console_->fader_source(2), kNoSource);
  EXPECT_EQ(console_->talk_on(), false);
  EXPECT_EQ(console_->listen_on(), true);
  EXPECT_EQ(console_->lines_received(), 7);
  EXPECT_THAT(console_->received(), SizeIs(7));
  EXPECT_THAT(console_->changes(), SizeIs(6));
  console_->forget_records();
  EXPECT_THAT(console_->received(), IsEmpty());
  EXPECT_EQ(console_->lines_received(), 7) << "the count goes on";
}

TEST_F(ConsoleTest, MistakesAreKeptAndNotAnswered) {
  Subscribe();
  Say("ERROR 1000 bad command\r\n");
  Say("SET Intercom.btn#43 IND=ON\n");
  Say("SET Intercom.key#1 BACKCOLOROFF=OFF,BACKCOLORON=OFF,IND=OFF\n");
  Say("SET Intercom.btn#1 IND=MAYBE\n");
  ASSERT_THAT(console_->refused(), SizeIs(4));
  EXPECT_EQ(console_->refused()[0].line, "ERROR 1000 bad command\r\n");
  EXPECT_EQ(console_->refused()[1].reason, "this module has no such button");
  EXPECT_EQ(console_->refused()[2].reason, "this module has no coloured keys");
  EXPECT_THAT(console_->refused()[3].reason, HasSubstr("IND is not"));
  EXPECT_THAT(console_->changes(), IsEmpty());
  EXPECT_TRUE(station_.ask("GET Intercom type", "INDI Intercom type=1")) << "and no error before it";
  console_->forget_records();
  EXPECT_TRUE(console_->ever_refused());
}

TEST_F(ConsoleTest, LinesMayComeInPieces) {
  Connect();
  for (const char c : std::string("GET Intercom type\r\n"))
    ASSERT_TRUE(station_.send_raw({&c, 1}));
  EXPECT_TRUE(station_.expect_line("INDI Intercom type=1"));
  ASSERT_TRUE(station_.send_raw("SUB Intercom\r\nSET Intercom.btn#1 IND=ON\nSET Intercom.btn"));
  EXPECT_TRUE(console_.wait_lamp(1, Lamp::kOn));
  ASSERT_TRUE(station_.send_raw("#2 IND=ON\n"));
  EXPECT_TRUE(console_.wait_lamp(2, Lamp::kOn));
  EXPECT_TRUE(console_.refused_nothing());
}

TEST_F(ConsoleTest, OverlongAndCutLinesAreMistakesAndTheNextOneIsTaken) {
  Connect();
  ASSERT_TRUE(station_.send_raw(std::string(100'000, 'x') + "\n"));
  EXPECT_TRUE(station_.ask("GET Intercom type", "INDI Intercom type=1"));
  ASSERT_THAT(console_->refused(), SizeIs(1));
  EXPECT_THAT(console_->refused()[0].reason, HasSubstr("longer than 2000"));
  ASSERT_TRUE(station_.send_raw("SET Intercom.btn#1 IND=O"));
  station_.finish_sending();
  EXPECT_TRUE(station_.wait_closed());
  ASSERT_THAT(console_->refused(), SizeIs(2));
  EXPECT_THAT(console_->refused()[1].reason, HasSubstr("inside a line"));
  EXPECT_EQ(console_->lamp(1), Lamp::kOff);
}

TEST_F(ConsoleTest, WhatTheFormerModuleWasToldIsNobodysMistake) {
  Subscribe();
  console_->set_type(2);
  console_->set_type(3);
  Say("SET Intercom.btn#40 IND=ON\n");
  Say("SET Intercom.oled#10 line1=\"late\"\n");
  EXPECT_TRUE(console_.refused_nothing());
  EXPECT_THAT(console_->changes(), IsEmpty()) << "the module that is in now has neither";
  Say("SET Intercom.oled#11 line1=\"x\"\n");
  EXPECT_FALSE(console_.refused_nothing()) << "no module had it";
}

TEST_F(ConsoleTest, OnANewConnectionOnlyTheModuleThatIsInCounts) {
  Subscribe();
  console_->set_type(2);
  station_.close();
  ASSERT_TRUE(wait_until([this] { return !console_->connected(); }));
  Subscribe();
  Say("SET Intercom.btn#40 IND=ON\n");
  EXPECT_FALSE(console_.refused_nothing());
}

TEST_F(ConsoleTest, GoesDarkAndDeafWithItsConnection) {
  Subscribe();
  Say("SET Intercom.btn#1 IND=ON\n");
  console_->close_station();
  EXPECT_TRUE(station_.wait_closed());
  EXPECT_EQ(console_->lamp(1), Lamp::kOff);
  EXPECT_FALSE(console_->subscribed());
  EXPECT_FALSE(console_->press(1));
  Subscribe();
  EXPECT_EQ(console_->connections(), 2);
}

TEST_F(ConsoleTest, SaysWhatNoSoundConsoleSays) {
  Connect();
  EXPECT_TRUE(console_->send("EVENT Intercom.btn#x KEY=D"));
  EXPECT_TRUE(console_->send_raw("half"));
  EXPECT_TRUE(station_.expect_line("EVENT Intercom.btn#x KEY=D"));
  EXPECT_TRUE(console_->send_raw(" a line\n"));
  EXPECT_TRUE(station_.expect_line("half a line"));
}

TEST_F(ConsoleTest, ASecondStationIsTurnedAway) {
  Subscribe();
  Client second(console_.port());
  EXPECT_TRUE(second.wait_closed());
  EXPECT_TRUE(console_->subscribed());
}

TEST(Console, TellsItsPrinter) {
  std::vector<std::string> printed;
  Console console(1, [&](const std::string& line) { printed.push_back(line); });
  const int port = console.listen("127.0.0.1", 0);
  ASSERT_GT(port, 0);
  console.set_type(2);
  console.set_type(2);
  console.set_type(kNoModule);
  console.set_type(2);
  const int looks = console.looks();
  Client station(port);
  ASSERT_TRUE(station.send_raw("SET Intercom.btn#1 IND=ON\noops\n"));
  ASSERT_TRUE(wait_until([&] {
    console.pump(1);
    return console.lines_received() == 2;
  }));
  EXPECT_GT(console.looks(), looks);
  console.close_station();
  EXPECT_THAT(printed,
              ElementsAre("console has key module 2", "console has no key module", "console has key module 2",
                          HasSubstr("station connected to the console from 127.0.0.1:"),
                          "Intercom.btn#1 IND=ON  (talk 1)",
                          "REFUSED by the console: no such command of a console: oops\\x0A",
                          "station disconnected from the console"));
}

}  // namespace
}  // namespace quillsim
