// A panel's small menu: four visible lines over calls, stations and shifts, with pages and a cursor. It knows
// what there is to show; sending it is the panel's work.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "panel/signature.h"

namespace hark {

// What choosing an item does. 0 and above: opens that page.
inline constexpr int kItemStation = -101;  // while it is under the cursor it is the auto-answer label
inline constexpr int kItemNone = -102;     // clears the auto-answer label
inline constexpr int kItemShift = -301;    // selects that shift

inline constexpr int kPageMain = 0;
inline constexpr int kPageAssign = 1;
inline constexpr int kPageShift = 3;
inline constexpr int kPageStatus = 4;  // nothing but the way back

// Lists of the menu.
inline constexpr Signature kListStations = sig("CHAN");
inline constexpr Signature kListShifts = sig("SHFT");
inline constexpr Signature kListCalls = sig("CALL");

struct HarkUI_ScrollItem {
  std::string text;
  std::string alt;  // alternate text, empty: none
  int id = 0;
  char status = '\0';  // indicator letter, NUL: none
};

struct HarkUI_ScrollList {
  std::vector<HarkUI_ScrollItem> items;
  int selected = 0;       // cursor; -1: the list was cleared and nothing was added
  int top = 0;            // first visible item
  bool unsorted = false;  // items were added that are not in their place yet

  [[nodiscard]] int count() const { return static_cast<int>(items.size()); }
};

// Adds an item at the end. A `sorted` list gets its order, which is without regard to case, from the next
// HarkUI_ScrollListSort: once for a whole refresh, not for each item.
void HarkUI_ScrollListAdd(HarkUI_ScrollList& list, bool sorted, std::string_view text, std::string_view alt,
                          char status);
void HarkUI_ScrollListSort(HarkUI_ScrollList& list);
void HarkUI_ScrollListClear(HarkUI_ScrollList& list);
// Adds an item to the list that a display shows.
void HarkUI_IndexAdd(HarkUI_ScrollList& list, std::string_view text, std::string_view alt, int id,
                     char status);

class HarkUI_CallstackMenu {
 public:
  // Adds an item to the list `key`, or clears that list when `text` is null; other keys are ignored. `alt`
  // may be null. An item of the calls with a status brings the main page up.
  void ListClearAdd(Signature key, const char* text, const char* alt, char status);
  // Builds anew what the display shows. Kept: the cursor and the first visible line stay where they are, even
  // beyond the end of a list that has become shorter; the next turn of the knob brings them back.
  void RefreshMenu();
  // Moves the cursor by `delta`, and the `page_size` visible lines with it.
  void Scroll(int delta, int page_size);
  // Opens `page` with the cursor on its first item.
  void OpenPage(int page);
  // The item under the cursor, or null.
  [[nodiscard]] const HarkUI_ScrollItem* selected_item() const;

  HarkUI_ScrollList channels;  // stations, sorted
  HarkUI_ScrollList shifts;    // sorted
  HarkUI_ScrollList index;     // what the display shows now
  HarkUI_ScrollList calls;     // the call stack, newest first
  bool dirty = false;          // the index must be built and sent
  int page = kPageMain;
  unsigned options = 0;  // bit 0: the main page offers the status page; nothing in this daemon sets it
};

}  // namespace hark
