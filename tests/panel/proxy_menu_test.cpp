// The menu on a console's display, byte by byte: which lines are visible, the marks at their ends, cutting
// and escaping, and where its lists come from.
#include "panel/proxy_console.h"

namespace hark {
namespace {

using testing::IsEmpty;

class ProxyMenu : public ConsoleTest {};

TEST_F(ProxyMenu, EmptyMainPageStillOffersToAssign) {
  for (const int type : {HarkUIProxy::kModule20, HarkUIProxy::kModule10, HarkUIProxy::kModuleColour}) {
    panels.clear();
    HarkUIProxy& panel = Attach(type, 1, 1);
    panel.UpdateChannelLabels();
    panel.UpdateKeyIndicators();
    Forget();
    panel.Notify(kDirtyAll, 0);
    EXPECT_EQ(Sent(), menu_line(quoted(std::string("- Assign ") + kLink), 1)) << type;
    panel.Notify(kDirtyLabels | kDirtyIndicators | kDirtyFaders, 0);
    EXPECT_EQ(Sent(), "");
  }
}

TEST_F(ProxyMenu, NetworkPanelIsSentNoMenu) {
  HarkUIProxy& panel = Attach(HarkUIProxy::kNetworkPanel, 1, 1);
  Model().callstack_add("Bob", 2);
  panel.Notify(kDirtyAll, clock.Now());
  EXPECT_THAT(Lines(), testing::Not(testing::Contains(testing::HasSubstr("menu"))));
  Forget();
  clock.AdvanceMs(251);
  panel.Notify(0, clock.Now());
  EXPECT_EQ(Sent(), "");
}

TEST_F(ProxyMenu, StateOfACallIsAMarkBeforeItsLabel) {
  struct Row {
    std::uint32_t status;
    const char* mark;
  };
  Console(HarkUIProxy::kModule20, 1);
  for (const Row& row :
       {Row{0, ""}, Row{1, kSteady}, Row{8, kSteady}, Row{16, kSteady}, Row{17, kSteady}, Row{128, kSteady},
        Row{136, kSteady}, Row{2, kFlash0}, Row{0, ""}, Row{4, kFlash0}, Row{1, kSteady}, Row{32, kFlash0},
        Row{0, ""}, Row{64, kFlash0}, Row{0, ""}, Row{1 | 32, kFlash0}, Row{0, ""}, Row{2 | 128, kFlash0}}) {
    SCOPED_TRACE(row.status);
    EXPECT_EQ(Call("Bob", row.status),
              menu_line(quoted(std::string(row.mark) + "Bob") + "," + quoted("- Assign -"), 1));
  }
}

TEST_F(ProxyMenu, NewestCallStandsOnTopAndTheCursorOnIt) {
  Console(HarkUIProxy::kModule20, 1);
  Call("Bob", 1);
  EXPECT_EQ(Call("Ann", 0), menu_line("\"Ann\",\"" + std::string(kSteady) + "Bob\",\"- Assign -\"", 1));
  EXPECT_EQ(Call("Bob", 0), menu_line("\"Bob\",\"Ann\",\"- Assign -\"", 1));
}

TEST_F(ProxyMenu, FourLinesAreVisible) {
  Console(HarkUIProxy::kModule20, 1);
  for (const char* label : {"C1", "C2", "C3", "C4"})
    Call(label, 0);
  EXPECT_EQ(Call("C5", 0), menu_line("\"C5\",\"C4\",\"C3\",\"C2\"", 1));
  Turn(3);
  EXPECT_EQ(Sent(), menu_line("\"C5\",\"C4\",\"C3\",\"C2\"", 4));
  Turn(1);
  EXPECT_EQ(Sent(), menu_line("\"C4\",\"C3\",\"C2\",\"- Assign " + std::string(kLink) + "\"", 4));
  Turn(1);
  EXPECT_EQ(Sent(), "");
  Turn(-2);
  EXPECT_EQ(Sent(), menu_line("\"C4\",\"C3\",\"C2\",\"- Assign -\"", 2));
  Turn(-9);
  EXPECT_EQ(Sent(), menu_line("\"C5\",\"C4\",\"C3\",\"C2\"", 1));
}

TEST_F(ProxyMenu, TextsAreCutToTheDisplay) {
  Console(HarkUIProxy::kModule20, 1);
  Call("ABCDEFGHIJKL", 0);
  EXPECT_EQ(Call("1234567890", 1),
            menu_line("\"" + std::string(kSteady) + "123456789\",\"ABCDEFGHIJ\",\"- Assign -\"", 1));
  // The cut comes first, then the mark, so that a call loses one character and a link its last one.
  Turn(2);
  EXPECT_EQ(
      Sent(),
      menu_line("\"" + std::string(kSteady) + "123456789\",\"ABCDEFGHIJ\",\"- Assign " + kLink + "\"", 3));
}

TEST_F(ProxyMenu, QuotesAndBackslashesAreEscaped) {
  Console(HarkUIProxy::kModule20, 1);
  const std::string ten = R"("\"\"\"\"\)";
  EXPECT_EQ(Call(ten, 0), menu_line(quoted(R"(\"\\\"\\\"\\\"\\\"\\)") + ",\"- Assign -\"", 1));
  EXPECT_EQ(Call(ten, 1),
            menu_line(quoted(std::string(kSteady) + R"(\"\\\"\\\"\\\"\\\")") + ",\"- Assign -\"", 1));
}

TEST_F(ProxyMenu, StationsAreSortedWithoutRegardToCaseAndShownByTheirAlternateText) {
  Stations("bob <hark:1.0.0.1>\n\talt Robert\nAnn <hark:1.0.0.2>\n# Nobody <hark:1.0.0.9>\n");
  scratch.Write("table", "cy <hark:1.0.0.3>;trgl=4\n\tharkd 4013\n\talt Cyrus\n");
  Console(HarkUIProxy::kModule20, 1);
  OpenPage("- Assign -");
  EXPECT_EQ(Lines().back(), menu_line("\"Ann\",\"Robert\",\"Cyrus\",\"<  none  >\"", 1));
  Turn(4);
  EXPECT_EQ(Sent(),
            menu_line("\"Robert\",\"Cyrus\",\"<  none  >\",\"- Back   " + std::string(kLink) + "\"", 4));
}

TEST_F(ProxyMenu, KnobShowsTextsInPlaceOfAlternateTextsAndBack) {
  Stations("bob <hark:1.0.0.1>\n\talt Robert\nAnn <hark:1.0.0.2>\n");
  Console(HarkUIProxy::kModule20, 1);
  OpenPage("- Assign -");
  Forget();
  panels[0]->harkui_receive_surface(".btn#130 KEY=D");
  panels[0]->Notify(0, 0);
  EXPECT_EQ(Sent(), menu_line("\"Ann\",\"bob\",\"<  none  >\",\"- Back   -\"", 1));
  panels[0]->harkui_receive_surface(".btn#130 KEY=D");
  panels[0]->Notify(0, 0);
  EXPECT_EQ(Sent(), menu_line("\"Ann\",\"Robert\",\"<  none  >\",\"- Back   -\"", 1));
}

TEST_F(ProxyMenu, OnlyLinesOfAStationMakeAnItem) {
  struct Row {
    const char* file;
    const char* list;
  };
  for (const Row& row : {
           Row{"Bob <hark:1.1.1.1>\n", "\"Bob\","},
           Row{"Bob <hark:1.1.1.1>\r\n\talt Rob\r\n", "\"Rob\","},
           Row{"\"Bob B\" <hark:1.1.1.1>;trgl=4\n", "\"Bob B\","},
           Row{"LongerThan10 <phone:1>\n", "\"LongerThan\","},
           Row{"Bob <hark:1.1.1.1>\n\talt Robert the 1st\n", "\"Robert the\","},
           Row{"Bob <hark:1.1.1.1>\n\trtpa 1.2.3.4\n\talt Rob\n\tother\n", "\"Rob\","},
           Row{"Bob <hark:1.1.1.1>\nhark:1.1.1.2\n\talt Rob\n",
               "\"Bob\","},                                          // of the station that has no name
           Row{"Bob <hark:1.1.1.1>\n\n\talt Rob\n", "\"Bob\","},     // nor of one that an empty line or
           Row{"Bob <hark:1.1.1.1>\n# x\n\talt Rob\n", "\"Bob\","},  // a comment has ended
           Row{"Bob <what:1>\n\talt Rob\n", ""},
           Row{"\talt Rob\nBob <hark:1.1.1.1>\n", "\"Bob\","},
           Row{"Bob\n", ""},
           Row{"hark:1.1.1.1\n", ""},
           Row{"\n", ""},
           Row{"", ""},
       }) {
    SCOPED_TRACE(row.file);
    panels.clear();
    Stations(row.file);
    Console(HarkUIProxy::kModule20, 1);
    OpenPage("- Assign -");
    EXPECT_EQ(Lines().back(), menu_line(std::string(row.list) + "\"<  none  >\",\"- Back   -\"", 1));
  }
}

TEST_F(ProxyMenu, OneShiftOffersNoPageOfShifts) {
  Channels("SHIFT LABL:\"Day\"\n");
  Attach(HarkUIProxy::kModule10, 1, 1).Notify(kDirtyAll, 0);
  EXPECT_EQ(Lines().back(), menu_line("\"- Assign " + std::string(kLink) + "\"", 1));
}

TEST_F(ProxyMenu, TwoShiftsOfferTheirPage) {
  Channels("SHIFT LABL:\"night\"\nSHIFT\nSHIFT LABL:\"Day\"\nSHIFT LABL:\"Long Morning\"\n");
  Attach(HarkUIProxy::kModule10, 1, 1);
  panels[0]->Notify(kDirtyAll, 0);
  EXPECT_EQ(Lines().back(), menu_line("\"- Assign " + std::string(kLink) + "\",\"- Shift  -\"", 1));
  Turn(1);
  EXPECT_EQ(Sent(), menu_line("\"- Assign -\",\"- Shift  " + std::string(kLink) + "\"", 2));
  Choose();
  EXPECT_EQ(Sent(), menu_line("\"Day\",\"Long Morni\",\"night\",\"- Back   -\"", 1));
  Turn(3);
  Choose();
  EXPECT_EQ(Lines().back(), menu_line("\"- Assign " + std::string(kLink) + "\",\"- Shift  -\"", 1));
}

TEST_F(ProxyMenu, NewCallBringsTheMainPageBack) {
  Console(HarkUIProxy::kModule20, 1);
  OpenPage("- Assign -");
  Turn(2);
  Forget();
  EXPECT_EQ(Call("Bob", 0), menu_line("\"Bob\",\"- Assign -\"", 1));
}

TEST_F(ProxyMenu, ListThatBecameShorterLeavesTheCursorBeyondItUntilTheNextTurn) {
  Stations("A <hark:1.0.0.1>\nB <hark:1.0.0.2>\nC <hark:1.0.0.3>\nD <hark:1.0.0.4>\nE <hark:1.0.0.5>\n");
  Console(HarkUIProxy::kModule20, 1);
  OpenPage("- Assign -");
  Turn(9);
  EXPECT_EQ(Lines().back(),
            menu_line("\"D\",\"E\",\"<  none  >\",\"- Back   " + std::string(kLink) + "\"", 4));
  Stations("A <hark:1.0.0.1>\n");
  Reread();
  Refresh();
  EXPECT_EQ(Sent(), menu_line("", 4));
  Turn(-1);
  EXPECT_EQ(Sent(), menu_line("\"- Back   " + std::string(kLink) + "\"", 1));
}

TEST_F(ProxyMenu, EachConsoleHasItsOwnPage) {
  Console(HarkUIProxy::kModule20, 1);
  HarkUIProxy& other = AttachUpToDate(HarkUIProxy::kModuleColour, 1, 1);
  OpenPage("- Assign -");
  EXPECT_THAT(Lines(0), testing::SizeIs(1));
  EXPECT_THAT(Lines(1), IsEmpty());
  EXPECT_EQ(panels[0]->menu().page, kPageAssign);
  EXPECT_EQ(other.menu().page, kPageMain);
}

}  // namespace
}  // namespace hark
