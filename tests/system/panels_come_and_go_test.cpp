// Panels that leave, come back, or turn into others while calls are up: a call belongs to the station, not to
// the panel that made it, and nothing of a panel that is gone stays behind.
#include "system/panel_fixture.h"

namespace hark::test {
namespace {

using testing::IsEmpty;

class PanelsComeAndGo : public PanelTest {
 protected:
  void SetUp() override { StartWithPanel(); }
};

TEST_F(PanelsComeAndGo, CallOutlivesThePanelThatMadeIt) {
  panel.tap("KL01");
  ASSERT_TRUE(panel.wait_indicator("KL01", "On"));
  panel.leave();
  EXPECT_EQ(CallList().size(), 1U);
  ASSERT_TRUE(panel.attach(station.ctrl_port(), "1-4"));
  EXPECT_EQ(panel.indicator("KL01"), "On");
  panel.hold("KL01");
  EXPECT_TRUE(panel.wait_indicator("KL01", "Off"));
}

TEST_F(PanelsComeAndGo, SuccessorOfTheSameIdReleasesTheKey) {
  ASSERT_TRUE(panel.press("KL01", 1000));
  ASSERT_TRUE(panel.wait_indicator("KL01", "On"));
  panel.leave();
  ASSERT_TRUE(panel.attach(station.ctrl_port(), "1-4"));
  ASSERT_TRUE(panel.release("KL01", 9000));
  EXPECT_TRUE(panel.wait_indicator("KL01", "Off"));
}

TEST_F(PanelsComeAndGo, TwoOfOneIdAreTwoPanels) {
  NetworkPanel twin("desk");
  ASSERT_TRUE(twin.attach(station.ctrl_port(), "1-2", "127.0.0.2"));
  twin.tap("KL01");
  EXPECT_TRUE(panel.wait_indicator("KL01", "On"));
  EXPECT_TRUE(twin.wait_indicator("KL01", "On"));
  twin.leave();
  panel.hold("KL01");
  EXPECT_TRUE(panel.wait_indicator("KL01", "Off"));
}

TEST_F(PanelsComeAndGo, PanelMayAttachAgainWithOtherKeys) {
  panel.tap("KL01");
  ASSERT_TRUE(panel.wait_indicator("KL01", "On"));
  panel.settle();
  panel.forget();
  ASSERT_TRUE(panel.send("ATTACH HARKUI#desk KEYS:\"1-2\""));
  panel.settle();
  EXPECT_EQ(count_of(panel.lines(), "set HARKUI#desk.DISP#KL"), 3) << "two keys and the auto-answer channel";
  EXPECT_EQ(count_of(panel.lines(), "set HARKUI#desk.BUT#KL01 IND=On"), 1);
}

TEST_F(PanelsComeAndGo, ResetInTheMidstOfItsTextEndsThePanelAlone) {
  ExpectLog("send failed");  // what the station had to say may find nobody
  ExpectLog("Shut.");
  const int descriptors = settled_descriptors(station, client);
  for (int i = 0; i < 20; ++i) {
    Client visitor = Connect("127.0.6." + std::to_string(i % 5 + 1));
    ASSERT_TRUE(visitor.send_raw("ATTACH HARKUI#visitor KEYS:\"1-90\"\r\nHARKUI#visitor.BUT#KL02 KEY=DO"));
    visitor.abort();
  }
  EXPECT_TRUE(wait_until([&] { return station.open_fds() == descriptors; }));
  panel.tap("KL01");
  EXPECT_TRUE(panel.wait_indicator("KL01", "On"));
  EXPECT_EQ(panel.indicator("KL02"), "Off") << "half a line is no event";
}

TEST_F(PanelsComeAndGo, ConsoleChangesItsTypeWhileCallsAreUp) {
  ModuleConsole console;
  ASSERT_TRUE(console.join(sim));
  panel.tap("KL01");
  ASSERT_TRUE(panel.wait_indicator("KL01", "On"));
  panel.settle();
  panel.forget();
  for (const int type : {1, 2, 1, 2}) {
    SCOPED_TRACE(type);
    console.report(type);
    EXPECT_TRUE(console.wait_button(2, "ON"));
    EXPECT_TRUE(console.wait_button(52, "OFF"));
    EXPECT_EQ(console.button(21), type == 1 ? "OFF" : "-");
  }
  console.report(3);
  EXPECT_TRUE(console.wait_key(1, "BACKCOLOROFF=GREEN,BACKCOLORON=GREEN,IND=OFF"));
  console.settle();
  console.report(-1);
  console.settle();
  panel.tap("MICM");
  ASSERT_TRUE(panel.wait_indicator("MICM", "On"));
  panel.settle();
  EXPECT_THAT(console.lines(), IsEmpty()) << "a module that is gone is told nothing";
  console.report(2);
  EXPECT_TRUE(console.wait_button(2, "ON"));
  EXPECT_TRUE(console.wait_button(49, "ON"));
  EXPECT_EQ(count_of(panel.lines(), "set HARKUI#desk.BUT#"), 1) << "the other panel has seen none of it";
}

TEST_F(PanelsComeAndGo, KeyHeldOverAChangeOfTypeIsReleasedByTheNewModule) {
  ModuleConsole console;
  ASSERT_TRUE(console.join(sim));
  EXPECT_TRUE(client.send_line("HARK LATCH:0"));
  console.report(1);
  ASSERT_TRUE(console.wait_button(52, "OFF"));
  console.press(2);
  ASSERT_TRUE(panel.wait_indicator("KL01", "On"));
  console.report(2);
  console.release(2);
  EXPECT_TRUE(panel.wait_indicator("KL01", "Off"));
  EXPECT_TRUE(console.wait_button(2, "OFF"));
}

TEST_F(PanelsComeAndGo, ConsoleThatComesBackIsToldTheStateAfresh) {
  ModuleConsole console;
  ASSERT_TRUE(console.join(sim));
  console.report(2);
  ASSERT_TRUE(console.wait_button(52, "OFF"));
  console.peer.close_connection();
  panel.tap("KL01");
  ASSERT_TRUE(panel.wait_indicator("KL01", "On"));
  ASSERT_TRUE(wait_until([&] { return console.peer.connected(); }));
  console.report(2);
  EXPECT_TRUE(console.wait_button(2, "ON"));
  EXPECT_TRUE(wait_until([&] {
    return station.root().read("var/run/uilist").find("HARKUI KEYS:\"1-10\"") != std::string::npos;
  }));
}

}  // namespace
}  // namespace hark::test
