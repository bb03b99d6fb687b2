// A panel's menu: filling its lists from the files and the call stack, and showing it on a console's display
// of four lines of ten characters.
#include "panel/HarkUIProxy.h"

#include <algorithm>
#include <array>
#include <string>

#include "addressing/harkresolvtable.h"
#include "addressing/harkurl.h"
#include "addressing/sources.h"
#include "base/text.h"
#include "daemon/qnrlib/tagtext.h"
#include "panel/ChannelAssignmentTable.h"

namespace hark {
namespace {

constexpr int kVisibleLines = 4;
constexpr std::size_t kLineLength = 10;
constexpr int kPauseOfFlash = 3;  // the last phase

// The console's own characters.
constexpr char kCursorGlyph = '\x81';
constexpr char kSteadyGlyph = '\x82';
constexpr std::array<char, 4> kFlashGlyphs{'\x83', '\x84', '\x85', '\x85'};  // by phase

// The letter that a call in the menu shows.
char call_letter(std::uint32_t status) {
  constexpr std::uint32_t kRings = kListenRingsIn | kListenRingsOut | kTalkRingsIn | kTalkRingsOut;
  if ((status & kRings) != 0) return 'F';
  return status != 0 ? '1' : '0';
}

bool has_glyph(const HarkUI_ScrollItem& item) { return item.status != '\0' && item.status != '0'; }

// Collects the stations of a source file: a line that has a name and can be called, and its alternate text.
class StationReader {
 public:
  explicit StationReader(HarkUI_CallstackMenu& menu) : menu_(menu) {}

  void read(const char* line) {
    if (*line != '\t') {
      finish();
      begin(line);
    } else if (strstartswith(line, kAlt) != 0) {
      alt_ = std::string(line + sizeof kAlt - 1).substr(0, kLineLength);
    }
  }
  void finish() {
    if (!name_.empty()) menu_.ListClearAdd(kListStations, name_.c_str(), alt_.c_str(), '\0');
    name_.clear();
    alt_.clear();
  }

 private:
  void begin(const char* line) {
    harkurl_info url;
    if (harkurl_parse(line, &url) != 0) name_ = harkurl_name(url).substr(0, kLineLength);
  }

  static constexpr char kAlt[] = "\talt ";
  HarkUI_CallstackMenu& menu_;
  std::string name_;
  std::string alt_;
};

}  // namespace

void HarkUIProxy::PopulateChannelListCombo() {
  menu_.ListClearAdd(kListStations, nullptr, nullptr, '\0');
  for (const std::string& path : {harksources_file, table_file}) {
    StationReader stations(menu_);
    for_each_source_line(path, [&stations](const char* line) { stations.read(line); });
    stations.finish();
  }
}

void HarkUIProxy::PopulateShiftListCombo() {
  menu_.ListClearAdd(kListShifts, nullptr, nullptr, '\0');
  for_each_shift(shared_->conf_path,
                 [this](const char* label) { menu_.ListClearAdd(kListShifts, label, nullptr, '\0'); });
  if (menu_.shifts.count() == 0) menu_.ListClearAdd(kListShifts, "Default", nullptr, '\0');
}

void HarkUIProxy::PopulateCallstack() {
  menu_.ListClearAdd(kListCalls, nullptr, nullptr, '\0');
  for (const CallstackEntry& entry : shared_->callstack.entries())
    menu_.ListClearAdd(kListCalls, std::string(entry.text()).c_str(), nullptr, call_letter(entry.status));
}

void HarkUIProxy::surfacemodule_callstackmenu_update() {
  if (type == kNetworkPanel) return;
  const HarkUI_ScrollList& index = menu_.index;
  std::string list;
  bool flashing = false;
  for (int i = index.top; i < std::min(index.top + kVisibleLines, index.count()); ++i) {
    const HarkUI_ScrollItem& item = index.items[static_cast<std::size_t>(i)];
    const std::string& shown = show_alt_ == 1 && !item.alt.empty() ? item.alt : item.text;
    std::string text = shown.substr(0, kLineLength);
    if (has_glyph(item)) {
      const bool flashes = item.status == 'F';
      if (flashes && menu_flash_ < 0) menu_flash_ = 0;
      flashing = flashing || flashes;
      const char glyph = flashes ? kFlashGlyphs[static_cast<std::size_t>(menu_flash_)] : kSteadyGlyph;
      text = glyph + shown.substr(0, kLineLength - 1);
    } else if (i == index.selected && item.id >= 0) {
      text = shown.substr(0, kLineLength - 1) + kCursorGlyph;
    }
    std::array<char, 2 * kLineLength + 1> escaped;
    qnr_escape(escaped.data(), static_cast<int>(escaped.size()), text.c_str());
    list.append(list.empty() ? "\"" : ",\"").append(escaped.data()).append("\"");
  }
  if (!flashing) menu_flash_ = -1;
  harkui_sendf("SET Intercom.menu list=[%s],selected=%d\n", list.c_str(), index.selected - index.top + 1);
}

void HarkUIProxy::flash_menu(TimeUs now) {
  if (menu_flash_ < 0) {
    menu_flash_time_ = now;
    return;
  }
  if (now - menu_flash_time_ <= kMenuFlashUs) return;
  menu_flash_ = menu_flash_ == kPauseOfFlash ? 0 : menu_flash_ + 1;
  if (menu_flash_ < kPauseOfFlash) surfacemodule_callstackmenu_update();
  menu_flash_time_ = now;
}

}  // namespace hark
