// Several panels at once, and consoles of each type beside them: all show one state, none is told what it
// knows, and who comes later is told everything once.
#include <algorithm>

#include "system/panel_fixture.h"

namespace hark::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAreArray;

constexpr int kAllKeys = 90;
// Buttons of a console that are no channel's: auto-answer, mutes, group, assign.
constexpr int kTalkAa = 41;
constexpr int kListenAa = 42;
constexpr int kMicMute = 49;
constexpr int kSpeakerMute = 50;
constexpr int kGroup = 51;
constexpr int kAssign = 52;

std::string two_digits(int n) { return (n < 10 ? "0" : "") + std::to_string(n); }

class SharedState : public PanelTest {
 protected:
  void SetUp() override { StartWithTwoPanels(); }
  void JoinConsole(int type) {
    ASSERT_TRUE(console.join(sim));
    console.report(type);
    ASSERT_TRUE(console.wait_button(kAssign, "OFF"));
    Forget();
  }
  // All that has been told so far is read and forgotten.
  void Forget() {
    panel.settle();
    other.settle();
    if (console.peer.connected()) console.settle();
    console.forget();
    panel.forget();
    other.forget();
  }
  // Both halves of channel 1 at both network panels.
  void BothShow(const std::string& listen, const std::string& talk) {
    for (NetworkPanel* each : {&panel, &other}) {
      SCOPED_TRACE(each->id());
      EXPECT_TRUE(each->wait_indicator("KL01", listen));
      EXPECT_TRUE(each->wait_indicator("KT01", talk));
    }
  }

  ModuleConsole console;
};

TEST_F(SharedState, IsTheSameOnButtonsOfAConsole) {
  for (const int type : {1, 2}) {
    SCOPED_TRACE(type);
    if (type == 1) {
      JoinConsole(type);
    } else {
      console.report(type);
      ASSERT_TRUE(console.wait_button(kAssign, "OFF"));
    }
    panel.tap("KL01");
    BothShow("On", "Off");
    EXPECT_TRUE(console.wait_button(2, "ON"));
    EXPECT_EQ(console.button(1), "OFF");
    console.tap(1);
    BothShow("On", "On");
    EXPECT_TRUE(console.wait_button(1, "ON"));
    other.hold("KX01");
    BothShow("Off", "Off");
    EXPECT_TRUE(console.wait_button(1, "OFF"));
    EXPECT_TRUE(console.wait_button(2, "OFF"));
  }
}

TEST_F(SharedState, IsTheSameOnColouredKeys) {
  JoinConsole(3);
  EXPECT_EQ(console.key(1), "BACKCOLOROFF=OFF,BACKCOLORON=OFF,IND=OFF");
  console.tap(1);
  BothShow("On", "On");
  EXPECT_TRUE(console.wait_key(1, "BACKCOLOROFF=YELLOW,BACKCOLORON=YELLOW,IND=OFF"));
  panel.hold("KX01");
  BothShow("Off", "Off");
  EXPECT_TRUE(console.wait_key(1, "BACKCOLOROFF=OFF,BACKCOLORON=OFF,IND=OFF"));
  panel.tap("KL01");
  EXPECT_TRUE(console.wait_key(1, "BACKCOLOROFF=GREEN,BACKCOLORON=GREEN,IND=OFF"));
  other.tap("KT02");
  EXPECT_TRUE(console.wait_key(2, "BACKCOLOROFF=RED,BACKCOLORON=RED,IND=OFF"));
}

TEST_F(SharedState, RingsAndDropsFlashOnAll) {
  EXPECT_THAT(answers(client, "HARK DROPFLASH:60000"), ElementsAre());
  JoinConsole(2);
  ASSERT_TRUE(sim->send("GPO 7 Lhhhh"));  // Low, which this station does not answer by itself
  EXPECT_TRUE(console.wait_button(5, "FLASH"));
  EXPECT_TRUE(panel.wait_indicator("KT03", "Flash"));
  EXPECT_TRUE(other.wait_indicator("KT03", "Flash"));
  ASSERT_TRUE(sim->send("GPO 4 hLhhh"));
  ASSERT_TRUE(console.wait_button(2, "ON"));
  ASSERT_TRUE(sim->send("GPO 4 hHhhh"));
  EXPECT_TRUE(console.wait_button(2, "FLASH_FAST"));
  EXPECT_TRUE(panel.wait_indicator("KL01", "Flash"));
  console.report(3);
  EXPECT_TRUE(console.wait_key(1, "BACKCOLOROFF=OFF,BACKCOLORON=GREEN,IND=FLASH_FAST"));
  EXPECT_TRUE(console.wait_key(3, "BACKCOLOROFF=OFF,BACKCOLORON=RED,IND=FLASH"));
  console.tap(1);  // wanted again: it starts afresh
  EXPECT_TRUE(panel.wait_indicator("KL01", "On"));
}

TEST_F(SharedState, StationAboveThisOnesLevelWinks) {
  Replace(kSourceFile, std::string(kBob) + ";trgl=8\n" + kAnn + "\n");
  EXPECT_TRUE(panel.wait_display("KL01", "TEXT=\"Bob\", ALT=\"\", DFL=2"));
  JoinConsole(2);
  EXPECT_EQ(console.button(1), "WINK");
  EXPECT_EQ(console.button(2), "OFF");
  EXPECT_EQ(console.button(3), "OFF");
  console.report(3);
  EXPECT_TRUE(console.wait_key(1, "BACKCOLOROFF=RED,BACKCOLORON=OFF,IND=WINK"));
  EXPECT_EQ(panel.indicator("KT01"), "Off");
}

TEST_F(SharedState, ModesAndMutesAreEverybodys) {
  JoinConsole(1);
  console.tap(kAssign);
  console.settle();
  EXPECT_EQ(console.button(kAssign), "OFF") << "with the menu's cursor on a page the key opens that";
  panel.tap("ASGN");
  EXPECT_TRUE(console.wait_button(kAssign, "FLASH"));
  EXPECT_TRUE(other.wait_indicator("ASGN", "Flash"));
  console.tap(kGroup);
  EXPECT_TRUE(panel.wait_indicator("TGRP", "Flash"));
  EXPECT_TRUE(console.wait_button(kGroup, "FLASH"));
  other.tap("KL02");
  EXPECT_TRUE(panel.wait_indicator("KT02", "On"));
  EXPECT_TRUE(console.wait_button(3, "ON"));
  panel.tap("TGRP");
  EXPECT_TRUE(console.wait_button(3, "OFF"));
  console.tap(kMicMute);
  EXPECT_TRUE(panel.wait_indicator("MICM", "On"));
  other.tap("SPKM");
  EXPECT_TRUE(console.wait_button(kSpeakerMute, "ON"));
}

TEST_F(SharedState, HousekeepingTellsNobodyWhatHasNotChanged) {
  JoinConsole(1);
  panel.tap("KL01");
  ASSERT_TRUE(console.wait_button(2, "ON"));
  Forget();
  Housekeeping();
  panel.settle();
  other.settle();
  EXPECT_THAT(panel.lines(), IsEmpty());
  console.settle();
  EXPECT_THAT(other.lines(), IsEmpty());
  EXPECT_THAT(console.lines(), IsEmpty());
}

TEST_F(SharedState, RepeatedStateTellsNobody) {
  JoinConsole(3);
  panel.tap("KX01");
  ASSERT_TRUE(console.wait_key(1, "BACKCOLOROFF=YELLOW,BACKCOLORON=YELLOW,IND=OFF"));
  Forget();
  const std::string again = std::string("CALL URL:\"") + kBob + "\" TALK:1 LISTEN:1";
  EXPECT_THAT(answers(client, again), ElementsAre());
  ASSERT_TRUE(other.press("KX01", 1000));
  ASSERT_TRUE(other.press("KX01", 1100));
  panel.settle();
  other.settle();
  EXPECT_THAT(panel.lines(), IsEmpty());
  console.settle();
  EXPECT_THAT(other.lines(), IsEmpty());
  EXPECT_THAT(console.lines(), IsEmpty());
}

TEST_F(SharedState, OneChangeIsOneLineEach) {
  JoinConsole(3);
  panel.tap("KX01");
  ASSERT_TRUE(console.wait_key(1, "BACKCOLOROFF=YELLOW,BACKCOLORON=YELLOW,IND=OFF"));
  panel.settle();
  other.settle();
  console.settle();
  const Lines lamps = {"SET Intercom talk=ON", "SET Intercom listen=ON", "set HARKUI#gate.BUT#KL01 IND=On",
                       "set HARKUI#gate.BUT#KT01 IND=On"};
  EXPECT_THAT(other.lines(), UnorderedElementsAreArray(lamps));
  EXPECT_EQ(panel.lines().size(), lamps.size());
  EXPECT_EQ(count_of(console.lines(), "SET Intercom.key#"), 1) << "both halves change together";
}

TEST_F(SharedState, NewPanelIsToldEverythingOnce) {
  panel.tap("KL01");
  ASSERT_TRUE(other.wait_indicator("KL01", "On"));
  other.leave();
  ASSERT_TRUE(other.attach(station.ctrl_port(), "1-90", "127.0.0.2"));
  const std::string set = "set HARKUI#gate.";
  Lines want;
  for (int key = 1; key <= kAllKeys; ++key) {
    const std::string digits = two_digits(key);
    const Lines labels = {"Bob", "Ann", "Low", "Mic"};
    const std::string label = key <= 4 ? labels[static_cast<std::size_t>(key - 1)] : "";
    want.push_back(set + "DISP#KL" + digits + " TEXT=\"" + label + "\", ALT=\"" +
                   (key == 2 ? "Anna B." : "") + "\", DFL=" + (key == 4 ? "1" : "0"));
    want.push_back(set + "BUT#KL" + digits + " IND=" + (key == 1 ? "On" : "Off"));
    want.push_back(set + "BUT#KT" + digits + " IND=Off");
    want.push_back(set + "FAD#KL" + digits + " gain=0");
  }
  for (const char* key : {"KLAA", "KTAA", "TGRP", "ASGN", "SPKM", "MICM"})
    want.push_back(set + "BUT#" + key + " IND=Off");
  want.push_back(set + "DISP#KLAA TEXT=\"\", ALT=\"\"");
  want.push_back(set + "FAD#SPKV gain=0");
  Lines got = other.lines();
  std::sort(got.begin(), got.end());
  std::sort(want.begin(), want.end());
  EXPECT_EQ(got, want);
}

TEST_F(SharedState, PanelOfSomeKeysIsToldOfThoseAlone) {
  other.leave();
  ASSERT_TRUE(other.attach(station.ctrl_port(), "3-5", "127.0.0.2"));
  for (const std::string object : {"DISP#KL", "BUT#KL", "BUT#KT", "FAD#KL"}) {
    SCOPED_TRACE(object);
    for (const char* digits : {"03", "04", "05"})
      EXPECT_EQ(count_of(other.lines(), "set HARKUI#gate." + object + digits), 1);
    // The auto-answer channel has a display and two lamps, no fader.
    EXPECT_EQ(count_of(other.lines(), "set HARKUI#gate." + object), object == "FAD#KL" ? 3 : 4);
  }
}

TEST_F(SharedState, NewButtonConsoleIsToldEverythingOnce) {
  struct Row {
    int type;
    int keys;
  };
  ASSERT_TRUE(console.join(sim));
  for (const Row& row : {Row{1, 20}, Row{2, 10}}) {
    SCOPED_TRACE(row.type);
    console.report(row.type);
    ASSERT_TRUE(console.wait_button(kAssign, "OFF"));
    console.settle();
    const Lines told = console.lines();
    for (int button = 1; button <= 2 * row.keys; ++button)
      EXPECT_EQ(count_of(told, "SET Intercom.btn#" + std::to_string(button) + " IND=OFF"), 1) << button;
    for (const int button : {kTalkAa, kListenAa, kMicMute, kSpeakerMute, kGroup, kAssign})
      EXPECT_EQ(count_of(told, "SET Intercom.btn#" + std::to_string(button) + " IND=OFF"), 1) << button;
    EXPECT_EQ(count_of(told, "SET Intercom.btn#"), 2 * row.keys + 6);
    for (int display = 1; display <= row.keys / 2; ++display) {
      for (const char* line : {" line1=", " line2="})
        EXPECT_EQ(count_of(told, "SET Intercom.oled#" + std::to_string(display) + line), 1)
            << display << line;
    }
    EXPECT_EQ(count_of(told, "SET Intercom.oled#"), row.keys);
    EXPECT_EQ(count_of(told, "SET Intercom.menu list="), 1);
    EXPECT_EQ(count_of(told, "set HARKUI#"), 0) << "no words of a network panel";
  }
}

TEST_F(SharedState, LabelsLieOnTheDisplaysAsTheTypeHasThem) {
  ASSERT_TRUE(console.join(sim));
  console.report(1);
  ASSERT_TRUE(console.wait_button(kAssign, "OFF"));
  EXPECT_EQ(last_behind(console.lines(), "SET Intercom.oled#1 line1="), "\"Bob\"");
  EXPECT_EQ(last_behind(console.lines(), "SET Intercom.oled#2 line1="), "\"Anna B.\"")
      << "the alternate text";
  EXPECT_EQ(last_behind(console.lines(), "SET Intercom.oled#1 line2="), "\"Low\"");
  EXPECT_EQ(last_behind(console.lines(), "SET Intercom.oled#2 line2="), "\"Mic\"");
  console.report(2);
  ASSERT_TRUE(console.wait_button(kAssign, "OFF"));
  EXPECT_EQ(last_behind(console.lines(), "SET Intercom.oled#1 line1="), "\"Bob\"");
  EXPECT_EQ(last_behind(console.lines(), "SET Intercom.oled#1 line2="), "\"Anna B.\"");
  EXPECT_EQ(last_behind(console.lines(), "SET Intercom.oled#2 line1="), "\"Low\"");
  EXPECT_EQ(last_behind(console.lines(), "SET Intercom.oled#2 line2="), "\"Mic\"");
}

TEST_F(SharedState, NewColouredConsoleIsToldEverythingOnce) {
  ASSERT_TRUE(console.join(sim));
  console.report(3);
  ASSERT_TRUE(console.wait_button(kAssign, "OFF"));
  console.settle();
  const Lines told = console.lines();
  for (int key = 1; key <= 10; ++key)
    EXPECT_EQ(count_of(told, "SET Intercom.key#" + std::to_string(key) + " "), 1) << key;
  EXPECT_EQ(count_of(told, "SET Intercom.key#"), 10);
  EXPECT_EQ(count_of(told, "SET Intercom.btn#"), 6);
  EXPECT_EQ(count_of(told, "SET Intercom.oled#"), 0) << "its keys carry film";
  EXPECT_EQ(count_of(told, "SET Intercom.menu list="), 1);
}

}  // namespace
}  // namespace hark::test
