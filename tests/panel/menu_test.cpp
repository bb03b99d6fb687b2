// The menu's lists and its cursor: what is added where, what makes the display stale, how far a turn of the
// knob goes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "panel/HarkUI_CallstackMenu.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> Texts(const HarkUI_ScrollList& list) {
  std::vector<std::string> out;
  for (const HarkUI_ScrollItem& item : list.items)
    out.push_back(item.text);
  return out;
}

TEST(ScrollList, TakesItemsInTheirOrder) {
  HarkUI_ScrollList list;
  HarkUI_ScrollListAdd(list, false, "b", "second", 'F');
  HarkUI_ScrollListAdd(list, false, "a", "", '\0');
  HarkUI_ScrollListSort(list);
  EXPECT_THAT(Texts(list), ElementsAre("b", "a"));
  EXPECT_EQ(list.count(), 2);
  EXPECT_EQ(list.items[0].alt, "second");
  EXPECT_EQ(list.items[0].status, 'F');
  EXPECT_EQ(list.items[1].alt, "");
  EXPECT_EQ(list.items[1].status, '\0');
}

TEST(ScrollList, SortedListIsOrderedWithoutRegardToCase) {
  HarkUI_ScrollList list;
  for (const char* text : {"delta", "Bravo", "alpha", "CHARLIE", "Alpha 2"})
    HarkUI_ScrollListAdd(list, true, text, "", '\0');
  HarkUI_ScrollListSort(list);
  EXPECT_THAT(Texts(list), ElementsAre("alpha", "Alpha 2", "Bravo", "CHARLIE", "delta"));
  HarkUI_ScrollListAdd(list, true, "beta", "", '\0');
  HarkUI_ScrollListSort(list);
  EXPECT_THAT(Texts(list), ElementsAre("alpha", "Alpha 2", "beta", "Bravo", "CHARLIE", "delta"));
}

TEST(ScrollList, HoldsManyItems) {
  HarkUI_ScrollList list;
  for (int i = 199; i >= 0; --i)
    HarkUI_ScrollListAdd(list, true, std::to_string(1000 + i), std::to_string(i), '\0');
  HarkUI_ScrollListSort(list);
  ASSERT_EQ(list.count(), 200);
  EXPECT_EQ(list.items.front().text, "1000");
  EXPECT_EQ(list.items.back().text, "1199");
  EXPECT_EQ(list.items.back().alt, "199");
}

TEST(ScrollList, ClearedListHasNoCursor) {
  HarkUI_ScrollList list;
  HarkUI_ScrollListAdd(list, false, "a", "", '\0');
  HarkUI_ScrollListClear(list);
  EXPECT_EQ(list.count(), 0);
  EXPECT_EQ(list.selected, -1);
}

TEST(ScrollList, DisplayItemHasAnId) {
  HarkUI_ScrollList list;
  HarkUI_IndexAdd(list, "a", "b", kItemShift, '1');
  ASSERT_EQ(list.count(), 1);
  EXPECT_EQ(list.items[0].text, "a");
  EXPECT_EQ(list.items[0].alt, "b");
  EXPECT_EQ(list.items[0].id, kItemShift);
  EXPECT_EQ(list.items[0].status, '1');
}

class MenuLists : public ::testing::Test {
 protected:
  void Add(Signature key, const char* text, char status = '\0') {
    menu.ListClearAdd(key, text, nullptr, status);
  }
  // Whether the menu has become dirty since the last question.
  bool Dirty() { return std::exchange(menu.dirty, false); }
  HarkUI_CallstackMenu menu;
};

TEST_F(MenuLists, KeyChoosesTheList) {
  menu.ListClearAdd(kListStations, "Bob", "Robert", '\0');
  menu.ListClearAdd(kListShifts, "Day", nullptr, '\0');
  menu.ListClearAdd(kListCalls, "Zed", nullptr, 'F');
  EXPECT_THAT(Texts(menu.channels), ElementsAre("Bob"));
  EXPECT_EQ(menu.channels.items[0].alt, "Robert");
  EXPECT_THAT(Texts(menu.shifts), ElementsAre("Day"));
  EXPECT_EQ(menu.shifts.items[0].alt, "");
  EXPECT_THAT(Texts(menu.calls), ElementsAre("Zed"));
  EXPECT_EQ(menu.calls.items[0].status, 'F');
}

TEST_F(MenuLists, OtherKeysAreIgnored) {
  Add(sig("XXXX"), "Bob", '1');
  Add(kListenAa, nullptr);
  EXPECT_FALSE(Dirty());
  EXPECT_THAT(Texts(menu.channels), IsEmpty());
  EXPECT_THAT(Texts(menu.shifts), IsEmpty());
  EXPECT_THAT(Texts(menu.calls), IsEmpty());
}

TEST_F(MenuLists, NullTextClearsOneList) {
  for (const Signature key : {kListStations, kListShifts, kListCalls})
    Add(key, "a");
  Add(kListShifts, nullptr);
  EXPECT_THAT(Texts(menu.channels), ElementsAre("a"));
  EXPECT_THAT(Texts(menu.shifts), IsEmpty());
  EXPECT_EQ(menu.shifts.selected, -1);
  EXPECT_THAT(Texts(menu.calls), ElementsAre("a"));
  Add(kListShifts, "b");
  EXPECT_EQ(menu.shifts.selected, 0);
}

TEST_F(MenuLists, CallsKeepTheirOrderAndStationsAndShiftsAreSorted) {
  for (const Signature key : {kListStations, kListShifts, kListCalls})
    for (const char* text : {"b", "C", "A"})
      Add(key, text);
  menu.RefreshMenu();
  menu.page = kPageAssign;
  menu.RefreshMenu();
  menu.page = kPageShift;
  menu.RefreshMenu();
  EXPECT_THAT(Texts(menu.calls), ElementsAre("b", "C", "A"));
  EXPECT_THAT(Texts(menu.channels), ElementsAre("A", "b", "C"));
  EXPECT_THAT(Texts(menu.shifts), ElementsAre("A", "b", "C"));
}

TEST_F(MenuLists, OnlyThePageThatShowsAListBecomesStale) {
  struct Row {
    Signature list;
    int page;
    bool dirty;
  };
  for (const Row& row : {Row{kListStations, kPageAssign, true},
                         {kListStations, kPageMain, false},
                         {kListStations, kPageShift, false},
                         {kListStations, kPageStatus, false},
                         {kListShifts, kPageShift, true},
                         {kListShifts, kPageMain, false},
                         {kListShifts, kPageAssign, false},
                         {kListCalls, kPageMain, true},
                         {kListCalls, kPageAssign, false},
                         {kListCalls, kPageShift, false},
                         {kListCalls, kPageStatus, false}}) {
    SCOPED_TRACE(std::string(sig_text(row.list).data()) + " page " + std::to_string(row.page));
    menu.page = row.page;
    menu.dirty = false;
    Add(row.list, "a");
    EXPECT_EQ(Dirty(), row.dirty);
    Add(row.list, nullptr);
    EXPECT_EQ(Dirty(), row.dirty);
    EXPECT_EQ(menu.page, row.page);
  }
}

// The letter of an idle call, 0, is a status too.
TEST_F(MenuLists, CallWithAStatusBringsTheMainPageUp) {
  for (const char status : {'F', '1', '0'}) {
    for (const int page : {kPageMain, kPageAssign, kPageShift, kPageStatus}) {
      SCOPED_TRACE(std::string(1, status) + " page " + std::to_string(page));
      menu.page = page;
      menu.index.selected = 7;
      menu.index.top = 5;
      menu.dirty = false;
      Add(kListCalls, "Zed", status);
      EXPECT_EQ(menu.page, kPageMain);
      EXPECT_EQ(menu.index.selected, 0);
      EXPECT_EQ(menu.index.top, 0);
      EXPECT_TRUE(Dirty());
    }
  }
}

TEST_F(MenuLists, StatusOfAStationOrShiftBringsNothingUp) {
  for (const Signature key : {kListStations, kListShifts}) {
    menu.page = kPageStatus;
    menu.index.selected = 3;
    Add(key, "a", '1');
    EXPECT_EQ(menu.page, kPageStatus);
    EXPECT_EQ(menu.index.selected, 3);
    EXPECT_FALSE(Dirty());
  }
}

}  // namespace
}  // namespace hark
