// What a display shows of the menu: the items of each page, and the cursor among them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <initializer_list>
#include <string>
#include <vector>

#include "panel/HarkUI_CallstackMenu.h"

namespace hark {
namespace {

using ::testing::ElementsAre;

class MenuPage : public ::testing::Test {
 protected:
  void Add(Signature key, std::initializer_list<const char*> texts, char status = '\0') {
    for (const char* text : texts)
      menu.ListClearAdd(key, text, nullptr, status);
  }
  // The page as "text id", with the status behind it if there is one.
  std::vector<std::string> Show(int page) {
    menu.page = page;
    menu.RefreshMenu();
    std::vector<std::string> out;
    for (const HarkUI_ScrollItem& item : menu.index.items) {
      out.push_back(item.text + " " + std::to_string(item.id));
      if (item.status != '\0') out.back() += std::string(" ") + item.status;
    }
    return out;
  }
  // The main page with `n` calls above its link.
  void ShowCalls(int n) {
    menu.ListClearAdd(kListCalls, nullptr, nullptr, '\0');
    for (int i = 0; i < n; ++i)
      menu.ListClearAdd(kListCalls, std::to_string(i).c_str(), nullptr, '1');
    menu.RefreshMenu();
  }
  // Whether the display became stale.
  bool Scroll(int delta, int page_size = 4) {
    menu.dirty = false;
    menu.Scroll(delta, page_size);
    return menu.dirty;
  }
  void ShowStations(int n) {
    for (int i = 0; i < n; ++i)
      menu.ListClearAdd(kListStations, std::to_string(100 + i).c_str(), nullptr, '\0');
    menu.OpenPage(kPageAssign);
    menu.RefreshMenu();
  }
  HarkUI_CallstackMenu menu;
};

TEST_F(MenuPage, EmptyMainPageStillLeadsToTheAssignPage) {
  EXPECT_THAT(Show(kPageMain), ElementsAre("- Assign - 1"));
  EXPECT_EQ(menu.index.items[0].alt, "");
}

TEST_F(MenuPage, ShiftPageIsOfferedFromTwoShiftsOn) {
  Add(kListShifts, {"Day"});
  EXPECT_THAT(Show(kPageMain), ElementsAre("- Assign - 1"));
  Add(kListShifts, {"Night"});
  EXPECT_THAT(Show(kPageMain), ElementsAre("- Assign - 1", "- Shift  - 3"));
}

TEST_F(MenuPage, StatusPageIsOfferedByOption) {
  menu.options = 1;
  EXPECT_THAT(Show(kPageMain), ElementsAre("- Assign - 1", "- Status - 4"));
  menu.options = 2;
  EXPECT_THAT(Show(kPageMain), ElementsAre("- Assign - 1"));
  menu.options = 3;
  Add(kListShifts, {"Day", "Night"});
  EXPECT_THAT(Show(kPageMain), ElementsAre("- Assign - 1", "- Shift  - 3", "- Status - 4"));
}

TEST_F(MenuPage, MainPageShowsUpToFourCalls) {
  Add(kListCalls, {"d", "c"}, 'F');
  Add(kListCalls, {"b"}, '1');
  EXPECT_THAT(Show(kPageMain), ElementsAre("d -101 F", "c -101 F", "b -101 1", "- Assign - 1"));
  Add(kListCalls, {"a", "never"}, '0');
  EXPECT_THAT(Show(kPageMain), ElementsAre("d -101 F", "c -101 F", "b -101 1", "a -101 0", "- Assign - 1"));
}

TEST_F(MenuPage, CallsWithoutALetterComeLast) {
  Add(kListCalls, {"a"});
  Add(kListCalls, {"b"}, '0');
  Add(kListCalls, {"c"});
  Add(kListCalls, {"d"}, '1');
  Add(kListCalls, {"e"});
  EXPECT_THAT(Show(kPageMain), ElementsAre("b -101 0", "d -101 1", "a -101", "c -101", "- Assign - 1"));
}

TEST_F(MenuPage, AssignPageShowsStationsNobodyAndTheWayBack) {
  EXPECT_THAT(Show(kPageAssign), ElementsAre("<  none  > -102", "- Back   - 0"));
  menu.ListClearAdd(kListStations, "bob", "Robert", '\0');
  menu.ListClearAdd(kListStations, "Ann", "", '\0');
  EXPECT_THAT(Show(kPageAssign), ElementsAre("Ann -101", "bob -101", "<  none  > -102", "- Back   - 0"));
  EXPECT_EQ(menu.index.items[1].alt, "Robert");
}

TEST_F(MenuPage, ShiftPageShowsShiftsAndTheWayBack) {
  EXPECT_THAT(Show(kPageShift), ElementsAre("- Back   - 0"));
  Add(kListShifts, {"Night", "day"});
  EXPECT_THAT(Show(kPageShift), ElementsAre("day -301", "Night -301", "- Back   - 0"));
}

TEST_F(MenuPage, OtherPagesShowTheWayBackOnly) {
  Add(kListStations, {"Bob"});
  Add(kListShifts, {"Day", "Night"});
  for (const int page : {2, kPageStatus, 5, -1}) {
    SCOPED_TRACE(page);
    EXPECT_THAT(Show(page), ElementsAre("- Back   - 0"));
  }
}

TEST_F(MenuPage, CursorIsOnTheFirstItemAtFirst) {
  menu.RefreshMenu();
  ASSERT_NE(menu.selected_item(), nullptr);
  EXPECT_EQ(menu.selected_item()->id, kPageAssign);
}

TEST_F(MenuPage, OpeningAPagePutsTheCursorOnTop) {
  for (const int page : {kPageMain, kPageAssign, kPageShift, kPageStatus}) {
    SCOPED_TRACE(page);
    menu.index.selected = 5;
    menu.index.top = 3;
    menu.dirty = false;
    menu.OpenPage(page);
    EXPECT_EQ(menu.page, page);
    EXPECT_EQ(menu.index.selected, 0);
    EXPECT_EQ(menu.index.top, 0);
    EXPECT_TRUE(menu.dirty);
  }
}

TEST_F(MenuPage, RefreshLeavesTheCursorWhereItIs) {
  ShowStations(10);
  Scroll(7);
  menu.RefreshMenu();
  EXPECT_EQ(menu.index.selected, 7);
  EXPECT_EQ(menu.index.top, 4);
}

TEST_F(MenuPage, CursorBehindAShorterListIsOnNothingUntilItIsTurned) {
  ShowCalls(4);
  Scroll(4);
  ASSERT_EQ(menu.index.selected, 4);
  ShowCalls(0);
  menu.index.selected = 4;
  EXPECT_EQ(menu.selected_item(), nullptr);
  EXPECT_TRUE(Scroll(1));
  EXPECT_EQ(menu.index.selected, 0);
  EXPECT_EQ(menu.index.top, 0);
  ASSERT_NE(menu.selected_item(), nullptr);
}

TEST_F(MenuPage, ClearedCursorIsOnNothing) {
  ShowCalls(1);
  menu.index.selected = -1;
  EXPECT_EQ(menu.selected_item(), nullptr);
}

TEST_F(MenuPage, ScrollingMovesTheCursorAndTheVisibleLinesWithIt) {
  ShowStations(8);  // 10 items with the two below
  struct Row {
    int delta;
    int selected, top;
    bool dirty;
  };
  for (const Row& row : {Row{3, 3, 0, true},
                         {1, 4, 1, true},
                         {2, 6, 3, true},
                         {-2, 4, 3, true},
                         {-1, 3, 3, true},
                         {-1, 2, 2, true},
                         {100, 9, 6, true},
                         {1, 9, 6, false},
                         {INT_MAX, 9, 6, false},
                         {0, 9, 6, true},
                         {INT_MIN, 0, 0, true},
                         {-1, 0, 0, false},
                         {0, 0, 0, true}}) {
    SCOPED_TRACE(row.delta);
    EXPECT_EQ(Scroll(row.delta), row.dirty);
    EXPECT_EQ(menu.index.selected, row.selected);
    EXPECT_EQ(menu.index.top, row.top);
  }
}

TEST_F(MenuPage, ScrollingDownFromTheLastItemDoesNotMakeTheDisplayStale) {
  ShowCalls(2);
  Scroll(2);
  ASSERT_EQ(menu.selected_item()->text, "- Assign -");
  EXPECT_FALSE(Scroll(1));
  EXPECT_EQ(menu.selected_item()->text, "- Assign -");
}

TEST_F(MenuPage, ScrollingKeepsAStaleDisplayStale) {
  ShowCalls(1);
  menu.dirty = true;
  menu.Scroll(-1, 4);
  EXPECT_TRUE(menu.dirty);
}

TEST_F(MenuPage, VisibleLinesAreThoseOfTheDisplay) {
  ShowStations(8);
  Scroll(3, 2);
  EXPECT_EQ(menu.index.top, 2);
  Scroll(1, 10);
  EXPECT_EQ(menu.index.top, 2);
}

}  // namespace
}  // namespace hark
