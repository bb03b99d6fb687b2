// What the menu takes of a console's keys: the item under the cursor, the key that chooses it, the menu knob.
#include "panel/proxy_console.h"

namespace hark {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ProxyMenuKey : public ConsoleTest {
 protected:
  ProxyMenuKey() { Labels({"Bob", "Ann", "", "Air"}); }
};

TEST_F(ProxyMenuKey, ItemUnderTheCursorIsTheAutoAnswerLabelOfEveryKey) {
  Console();
  OpenPage("- Assign -");
  for (const char* number : {"1", "2", "41", "42", "49", "50", "51", "130"}) {
    for (const char* wording : {" KEY=D", " KEY=U", " state=D", " state=U"}) {
      SCOPED_TRACE(std::string(number) + wording);
      PutCursorOn("Ann");
      Model().SetAALabel("other");
      After(std::string(".btn#") + number + wording);
      EXPECT_STREQ(Model().aa_label.data(), "Ann");
      PutCursorOn("<  none  >");
      After(std::string(".btn#") + number + wording);
      EXPECT_STREQ(Model().aa_label.data(), "");
    }
  }
}

TEST_F(ProxyMenuKey, AutoAnswerLabelIsTheTextAndNotTheAlternateText) {
  Console();
  OpenPage("- Assign -");
  PutCursorOn("Bob");
  After(".btn#42 KEY=U");
  EXPECT_STREQ(Model().aa_label.data(), "Bob");
}

TEST_F(ProxyMenuKey, OtherItemsAndTurnsLeaveTheAutoAnswerLabelAlone) {
  Channels("SHIFT LABL:\"Day\"\nSHIFT LABL:\"Night\"\n");
  Console();
  Model().SetAALabel("kept");
  PutCursorOn("- Shift  -");
  After(".btn#42 KEY=U");
  EXPECT_STREQ(Model().aa_label.data(), "kept");
  OpenPage("- Shift  -");
  After(".btn#42 KEY=U");
  EXPECT_STREQ(Model().aa_label.data(), "kept");
  PutCursorOn("- Back   -");
  After(".btn#52 KEY=D");
  Refresh();
  OpenPage("- Assign -");
  PutCursorOn("Ann");
  for (const char* line : {".btn#130 rot=0", ".btn#129 rot=1", ".btn#1 rot=1", ".btn#45 KEY=D",
                           "FaCH#5 OFF_But=D", "FaCH#5 OFF_But=U"}) {
    After(line);
    EXPECT_STREQ(Model().aa_label.data(), "kept") << line;
  }
}

TEST_F(ProxyMenuKey, CallUnderTheCursorIsTheAutoAnswerLabel) {
  Console();
  Model().callstack_add("Stranger", 0);
  Refresh();
  Forget();
  EXPECT_THAT(After(".btn#42 KEY=U"), ElementsAre(event("KLAA", "UP")));
  EXPECT_STREQ(Model().aa_label.data(), "Stranger");
}

TEST_F(ProxyMenuKey, AssignKeyOpensThePageUnderTheCursor) {
  Channels("SHIFT LABL:\"Day\"\nSHIFT LABL:\"Night\"\n");
  Console();
  PutCursorOn("- Shift  -");
  EXPECT_THAT(After(".btn#52 KEY=U"), IsEmpty());
  EXPECT_EQ(Menu().page, kPageMain);
  EXPECT_THAT(After(".btn#52 KEY=D"), IsEmpty());
  EXPECT_EQ(Menu().page, kPageShift);
  EXPECT_EQ(Model().assign_mode, AssignMode::kIdle);
  panels[0]->Notify(0, 0);
  EXPECT_EQ(Sent(), "SET Intercom.menu list=[\"Day\",\"Night\",\"- Back   -\"],selected=1\n");
  PutCursorOn("- Back   -");
  EXPECT_THAT(After(".btn#52 state=D"), IsEmpty());
  EXPECT_EQ(Menu().page, kPageMain);
  panels[0]->Notify(0, 0);
  PutCursorOn("- Assign -");
  EXPECT_THAT(After(".btn#52 KEY=D"), IsEmpty());
  EXPECT_EQ(Menu().page, kPageAssign);
}

TEST_F(ProxyMenuKey, AssignKeySelectsTheShiftUnderTheCursor) {
  Channels("SHIFT LABL:\"Day\"\nSHIFT LABL:\"Night\"\nHARKCH 1 LABL:\"Ann\"\n");
  Console();
  OpenPage("- Shift  -");
  PutCursorOn("Night");
  EXPECT_THAT(After(".btn#52 KEY=U"), IsEmpty());
  EXPECT_STREQ(Model().shift.data(), "Day");
  EXPECT_THAT(After(".btn#52 KEY=D"), IsEmpty());
  EXPECT_STREQ(Model().shift.data(), "Night");
  EXPECT_EQ(Model().table().label(0), "Ann");
  EXPECT_EQ(Model().assign_mode, AssignMode::kIdle);
}

TEST_F(ProxyMenuKey, AssignKeyOnAStationArmsTheAssignment) {
  Console();
  OpenPage("- Assign -");
  for (const char* item : {"Ann", "<  none  >"}) {
    PutCursorOn(item);
    Model().assign_mode = AssignMode::kIdle;
    EXPECT_THAT(After(".btn#52 KEY=D"), ElementsAre(event("ASGN", "DOWN"))) << item;
    EXPECT_EQ(Model().assign_mode, AssignMode::kArmed) << item;
    EXPECT_EQ(Menu().page, kPageAssign) << item;
  }
}

TEST_F(ProxyMenuKey, MenuKnobScrollsAndSendsNoEvent) {
  Console();
  OpenPage("- Assign -");
  Forget();
  EXPECT_EQ(Menu().index.selected, 0);
  EXPECT_THAT(After(".btn#130 rot=3"), IsEmpty());
  EXPECT_EQ(Menu().index.selected, 3);
  EXPECT_THAT(After(".btn#130 rot=-1"), IsEmpty());
  EXPECT_EQ(Menu().index.selected, 2);
  panels[0]->Notify(0, 0);
  EXPECT_THAT(Lines(), testing::SizeIs(1));
  EXPECT_THAT(After(".key#130 rot=0"), IsEmpty());
  panels[0]->Notify(0, 0);
  EXPECT_EQ(Sent(), "");
}

TEST_F(ProxyMenuKey, KnobThatIsTurnedTooFarStopsAtTheEnds) {
  Console();
  OpenPage("- Assign -");
  const int last = Menu().index.count() - 1;
  After(".btn#130 rot=2");
  for (const char* clicks : {"100", "2147483647", "9999999999"}) {
    After(std::string(".btn#130 rot=") + clicks);
    EXPECT_EQ(Menu().index.selected, last) << clicks;
  }
  for (const char* clicks : {"-100", "-2147483648", "-9999999999"}) {
    After(std::string(".btn#130 rot=") + clicks);
    EXPECT_EQ(Menu().index.selected, 0) << clicks;
  }
}

TEST_F(ProxyMenuKey, MenuKnobPressedFlipsTheTextsOfTheDisplays) {
  Console();
  EXPECT_THAT(After(".btn#130 KEY=U"), IsEmpty());
  EXPECT_EQ(Model().dirty, 0U);
  EXPECT_THAT(After(".btn#130 KEY=D"), IsEmpty());
  EXPECT_EQ(Model().dirty, kDirtyLabels);
  Refresh();
  const std::vector<std::string> lines = Lines();
  ASSERT_EQ(lines.size(), 21U);  // each key's label, and the menu
  EXPECT_EQ(lines.front(), "SET Intercom.oled#1 line1=\"Bob\"\n");
  EXPECT_EQ(lines.back().substr(0, 17), "SET Intercom.menu");
}

}  // namespace
}  // namespace hark
