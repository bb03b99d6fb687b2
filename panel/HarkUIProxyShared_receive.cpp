// What the daemon reports of calls: the state of a party, its volume, and whether it is answered at once.
#include "panel/HarkUIProxyShared.h"

#include <algorithm>
#include <array>
#include <string>

#include "addressing/harkurl.h"
#include "addressing/learn.h"
#include "base/text.h"
#include "daemon/qnrlib/tagtext.h"
#include "daemon/station/listenvol.h"

namespace hark {
namespace {

// What a report says of a party's state.
struct Report {
  std::uint8_t set = 0;
  std::uint8_t mask = 0;
};

char first_letter(const char* value) { return *value == '"' ? value[1] : value[0]; }

Report read_report(const char* text) {
  Report report;
  if (const char* listen = qnr_findval(text, "LISTEN")) {
    report.mask |= kListenBits;
    report.set |= listen_state(first_letter(listen));
  }
  if (const char* talk = qnr_findval(text, "TALK")) {
    report.mask |= kTalkBits;
    report.set |= talk_state(first_letter(talk));
  }
  return report;
}

std::uint8_t rings_of(const Report& report) { return report.set & (kListenRingsIn | kTalkRingsIn); }

bool can_auto_answer() {
  if (station.harkui_aans != -1) return station.harkui_aans != 0;
  return harkd_has_autoanswer_callback != nullptr && harkd_has_autoanswer_callback() != 0;
}

// Whether the caller's level is below ours.
bool is_blocked(const char* tags) {
  const int level = url_level(tags);
  return level >= 0 && harkd_get_trgl() > level;
}

}  // namespace

// Stores the volume that a report may carry for every key of the party. Whether it has a key.
bool HarkUIProxyShared::note_volume(const char* text, std::string_view label) {
  const bool has_volume = qnr_findval(text, "VOLUME") != nullptr;
  const auto volume =
      static_cast<int>(std::clamp<long>(qnr_getl(text, "VOLUME", 0), -kGainLimit, kGainLimit));
  bool assigned = false;
  for (int i = 0; i < nkeys(); ++i) {
    if (table_->label(i) != label) continue;
    assigned = true;
    if (!has_volume) continue;
    volumes[static_cast<std::size_t>(i)] = volume;
    dirty |= kDirtyFaders;
  }
  return assigned;
}

// Whether a party that rings in is answered without anybody pressing a key.
bool HarkUIProxyShared::answers(std::string_view label, bool recent, bool assigned,
                                const char* url_tags) const {
  if (recent) return true;
  if ((assigned || can_auto_answer()) && !is_blocked(url_tags)) return true;
  const CallstackEntry* stacked = callstack.find(label);
  return stacked != nullptr && (stacked->status & (kListenOn | kTalkOn)) != 0;
}

// Answers what rings. The answer is reported before the call returns. A talk line that goes on waiting for
// its link reports the ring anew then, which must not be answered by itself again and again.
void HarkUIProxyShared::answer(ICCONNECTION& party, std::uint8_t rings, const char* url) {
  const std::string label = party.label;
  party.answered = true;
  party.answering |= rings;
  const bool talk = (rings & kTalkRingsIn) != 0;
  const bool listen = (rings & kListenRingsIn) != 0;
  const unsigned which = (talk ? kCallTalk : 0) | (listen ? kCallListen | kCallVolume : 0);
  (void)harkd_call(url, which, which & (kCallTalk | kCallListen), listenvol_get(label.c_str()));
  // The party may have been forgotten meanwhile.
  if (ICCONNECTION* known = icconnections_find(connections, label)) known->answering &= ~rings;
}

void HarkUIProxyShared::harkd_receive(const char* text) {
  // Reports of other objects come here too, and what they quote may look like a call's fields.
  if (!starts_with_nocase(text, "CALL ")) return;
  LineBuffer url;
  if (qnr_copyval(url.data(), qnr_findval(text, "URL"), static_cast<int>(url.size())) == 0) return;
  Label label{};
  std::array<char, kResolvedUrlSize> resolved{};
  HarkResolvInfo info;
  info.label = label;
  info.url = resolved;
  harkurl_info parsed;
  // A party that cannot be named has no place on a panel.
  if (HarkResolvURL_DynamicLearn(url.data(), info, parsed) < 0 || label[0] == '\0') return;

  const std::string_view name = field_text(label);
  const Report report = read_report(text);
  const bool assigned = note_volume(text, name);
  if (report.mask == 0) return;

  const PartyChange change = icconnections_set(connections, name, report.set, report.mask);
  const bool stacked = callstack.find(name) != nullptr;
  if (change.party != nullptr) {
    const std::uint8_t rings = rings_of(report) & ~change.party->answering;
    if (rings != 0 && answers(name, change.recent, assigned, parsed.tags)) {
      answer(*change.party, rings, url.data());
    }
  }
  if (!assigned) SetAALabel(label.data());
  const std::uint8_t status = status_of(name);
  if (stacked || (!assigned && status != 0)) (void)callstack_add(name, status);
  dirty |= kDirtyIndicators;
  if (report.set == 0) dirty |= kDirtyLabels;  // a key that waits for a new label gets it
}

}  // namespace hark
