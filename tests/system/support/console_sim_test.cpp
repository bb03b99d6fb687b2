// The console's waits, with a client that plays the station.
#include "system/support/console_sim.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "system/support/client.h"

namespace hark::test {
namespace {

using quillsim::Colour;
using quillsim::Lamp;
using testing::HasSubstr;

class ConsoleSimTest : public testing::Test {
 protected:
  void Subscribe() {
    ASSERT_TRUE(station.connect(console.port()));
    ASSERT_TRUE(station.send_raw("GET Intercom type\r\nSUB Intercom\r\n"));
    ASSERT_TRUE(console.wait_subscribed());
  }

  ConsoleSim console;
  Client station;
};

TEST_F(ConsoleSimTest, NamesItsOwnPort) {
  EXPECT_EQ(console.supervisor_line(), "SUPV CONSOLE_IP:127.0.0.1:" + std::to_string(console.port()));
  ConsoleSim other;
  EXPECT_NE(other.port(), console.port());
}

TEST_F(ConsoleSimTest, WaitsEndWhenTheStationHasSetIt) {
  Subscribe();
  ASSERT_TRUE(
      station.send_raw("SET Intercom.btn#1 IND=FLASH\nSET Intercom.oled#1 line1=\"Ext 1\"\n"
                       "SET Intercom.menu list=[\"\x82"
                       "Ext 1\"],selected=1\nSET FaCH#3 hark_src=7\n"));
  EXPECT_TRUE(console.wait_fader(3, 7));
  EXPECT_TRUE(console.wait_lamp(1, Lamp::kFlash));
  EXPECT_TRUE(console.wait_label(1, "Ext 1"));
  EXPECT_TRUE(console.wait_menu("Ext 1"));
  EXPECT_TRUE(console.wait_panel());
  EXPECT_TRUE(console.wait_received("SET FaCH#3 hark_src=7"));
  EXPECT_EQ(console.count("SUB Intercom"), 1);
  EXPECT_TRUE(console.refused_nothing());
}

TEST_F(ConsoleSimTest, WaitsInVainTellWhatTheModuleShows) {
  Subscribe();
  ASSERT_TRUE(station.send_raw("SET Intercom.oled#1 line1=\"Ext 1\"\n"));
  ASSERT_TRUE(console.wait_label(1, "Ext 1"));
  const testing::AssertionResult result = console.wait_lamp(2, Lamp::kOn, 0);
  EXPECT_FALSE(result);
  EXPECT_THAT(result.message(), HasSubstr("button 2 ON"));
  EXPECT_THAT(result.message(), HasSubstr("Ext 1"));
  EXPECT_FALSE(console.wait_label(1, "Ext 2", 0));
  EXPECT_FALSE(console.wait_menu("Ext 1", 0));
  EXPECT_FALSE(console.wait_fader(1, -1, 0));
  EXPECT_FALSE(console.wait_panel(0));
  EXPECT_FALSE(console.wait_received("SET", 0));
  EXPECT_FALSE(console.wait_light(1, {Colour::kRed, Colour::kRed, Lamp::kOff}, 0));
}

TEST_F(ConsoleSimTest, TellsWhatWasRefused) {
  Subscribe();
  ASSERT_TRUE(station.send_raw("nonsense\r\n"));
  ASSERT_TRUE(console.wait_received("nonsense"));
  EXPECT_THAT(console.refused_nothing().message(), HasSubstr("nonsense"));
}

TEST_F(ConsoleSimTest, DiesAndComesBackAtItsPort) {
  Subscribe();
  console.die();
  EXPECT_TRUE(station.wait_closed());
  EXPECT_FALSE(station.connect(console.port()));
  EXPECT_FALSE(console.wait_subscribed(0));
  ASSERT_TRUE(console.come_back());
  Subscribe();
  EXPECT_EQ(console->connections(), 2);
}

}  // namespace
}  // namespace hark::test
