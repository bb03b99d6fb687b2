#include "panel/HarkUI_CallstackMenu.h"

#include <strings.h>

#include <algorithm>
#include <cstdint>
#include <limits>

namespace hark {
namespace {

constexpr int kCallsShown = 4;
constexpr unsigned kOfferStatus = 1;
constexpr const char kBack[] = "- Back   -";

void add_all(HarkUI_ScrollList& index, const HarkUI_ScrollList& list, int id) {
  for (const HarkUI_ScrollItem& item : list.items)
    HarkUI_IndexAdd(index, item.text, item.alt, id, item.status);
}

void add_link(HarkUI_ScrollList& index, const char* text, int page) {
  HarkUI_IndexAdd(index, text, {}, page, '\0');
}

// Up to four calls, those with a letter first. "0" is a letter too: the second turn is for calls without one.
void add_calls(HarkUI_ScrollList& index, const HarkUI_ScrollList& calls) {
  for (const bool with_letter : {true, false}) {
    for (const HarkUI_ScrollItem& call : calls.items) {
      if (index.count() == kCallsShown) return;
      if ((call.status != '\0') == with_letter)
        HarkUI_IndexAdd(index, call.text, call.alt, kItemStation, call.status);
    }
  }
}

}  // namespace

void HarkUI_ScrollListAdd(HarkUI_ScrollList& list, bool sorted, std::string_view text, std::string_view alt,
                          char status) {
  list.items.push_back({std::string(text), std::string(alt), 0, status});
  list.unsorted = list.unsorted || sorted;
}

void HarkUI_ScrollListSort(HarkUI_ScrollList& list) {
  if (!list.unsorted) return;
  list.unsorted = false;
  std::stable_sort(list.items.begin(), list.items.end(),
                   [](const HarkUI_ScrollItem& a, const HarkUI_ScrollItem& b) {
                     return ::strcasecmp(a.text.c_str(), b.text.c_str()) < 0;
                   });
}

void HarkUI_ScrollListClear(HarkUI_ScrollList& list) {
  list = HarkUI_ScrollList{};
  list.selected = -1;
}

void HarkUI_IndexAdd(HarkUI_ScrollList& list, std::string_view text, std::string_view alt, int id,
                     char status) {
  list.items.push_back({std::string(text), std::string(alt), id, status});
}

void HarkUI_CallstackMenu::ListClearAdd(Signature key, const char* text, const char* alt, char status) {
  struct Row {
    Signature key;
    HarkUI_ScrollList* list;
    int page;
    bool sorted;
  };
  const Row rows[] = {{kListStations, &channels, kPageAssign, true},
                      {kListShifts, &shifts, kPageShift, true},
                      {kListCalls, &calls, kPageMain, false}};
  const auto* row =
      std::find_if(std::begin(rows), std::end(rows), [key](const Row& each) { return each.key == key; });
  if (row == std::end(rows)) return;
  if (key == kListCalls && status != '\0') OpenPage(kPageMain);
  dirty = dirty || page == row->page;
  if (text == nullptr) {
    HarkUI_ScrollListClear(*row->list);
    return;
  }
  HarkUI_ScrollListAdd(*row->list, row->sorted, text, alt != nullptr ? alt : "", status);
  row->list->selected = std::max(row->list->selected, 0);
}

void HarkUI_CallstackMenu::RefreshMenu() {
  HarkUI_ScrollListSort(channels);
  HarkUI_ScrollListSort(shifts);
  index.items.clear();
  switch (page) {
    case kPageMain:
      add_calls(index, calls);
      add_link(index, "- Assign -", kPageAssign);
      if (shifts.count() >= 2) add_link(index, "- Shift  -", kPageShift);
      if ((options & kOfferStatus) != 0) add_link(index, "- Status -", kPageStatus);
      break;
    case kPageAssign:
      add_all(index, channels, kItemStation);
      HarkUI_IndexAdd(index, "<  none  >", {}, kItemNone, '\0');
      add_link(index, kBack, kPageMain);
      break;
    case kPageShift:
      add_all(index, shifts, kItemShift);
      add_link(index, kBack, kPageMain);
      break;
    default:
      add_link(index, kBack, kPageMain);
      break;
  }
}

void HarkUI_CallstackMenu::Scroll(int delta, int page_size) {
  const int before = index.selected;
  const std::int64_t wanted = std::int64_t{index.selected} + delta;
  index.selected = static_cast<int>(std::clamp<std::int64_t>(wanted, 0, std::max(index.count() - 1, 0)));
  if (index.selected > index.top + page_size - 1) index.top = index.selected - page_size + 1;
  index.top = std::min(index.top, index.selected);
  if (delta == 0 || index.selected != before) dirty = true;
}

void HarkUI_CallstackMenu::OpenPage(int new_page) {
  page = new_page;
  index.selected = 0;
  index.top = 0;
  dirty = true;
}

const HarkUI_ScrollItem* HarkUI_CallstackMenu::selected_item() const {
  if (index.selected < 0 || index.selected >= index.count()) return nullptr;
  return &index.items[static_cast<std::size_t>(index.selected)];
}

}  // namespace hark
