// What stands on a panel's keys: labels, alternate texts and flags; and listens that open by themselves.
#include "panel/HarkUIProxy.h"

#include <array>
#include <string>

#include "addressing/HarkResolv.h"
#include "base/text.h"
#include "daemon/qnrlib/tagtext.h"
#include "daemon/station/listenvol.h"
#include "daemon/station/station.h"

namespace hark {
namespace {

constexpr int kEscapedAlt = 22;

using EscapedAlt = std::array<char, kEscapedAlt>;

EscapedAlt escaped_alt(const char* alt) {
  EscapedAlt escaped;
  qnr_escape(escaped.data(), kEscapedAlt, alt);
  return escaped;
}

// What a key is called by: the label, else the fixed URL.
std::string called_by(const ChannelAssignment& entry) { return entry.label.value_or(entry.url.value_or("")); }

std::uint32_t flags_of(const ChannelAssignment& entry, const ResolvedLabel& found) {
  std::uint32_t dfl = (entry.flags & kNoTalk) != 0 ? kDflNoTalk : 0;
  if (found.info.trgl > harkd_get_trgl()) dfl |= kDflHigherLevel;
  if (found.url[0] == '\0') return dfl;
  harkurl_info url;
  if (harkurl_parse(found.url.data(), &url) != 0 && url_tagl(url.tags, "llsn") != 0) dfl |= kDflLatchedListen;
  if (!urli_get_talk_control(url)) dfl |= kDflNoTalk;
  return dfl;
}

// Where a console shows key index `i`.
struct DisplayLine {
  int display;
  char line;
};

DisplayLine display_line(int type, int i) {
  if (type == HarkUIProxy::kModule10) return {i / 2 + 1, static_cast<char>('1' + i % 2)};
  // Four keys share two displays: the upper line of both, then the lower one.
  return {(i & 1) + ((i >> 1) & ~1) + 1, "1122"[i & 3]};
}

bool replace(std::optional<std::string>& shown, std::string_view text) {
  if (shown && *shown == text) return false;
  shown = text;
  return true;
}

}  // namespace

void HarkUIProxy::UpdateChannelLabels() {
  const bool changed = show_alt_ != show_alt_seen_;
  show_alt_seen_ = show_alt_;
  LabelResolver resolver;
  for (int i = first_ - 1; i < last_; ++i)
    update_label(i, changed, resolver);
  if (type == kNetworkPanel) send_auto_answer_label(resolver);
}

void HarkUIProxy::update_label(int index, bool changed, LabelResolver& resolver) {
  const ChannelAssignment& entry = shared_->table().entries[static_cast<std::size_t>(index)];
  const std::string label = called_by(entry);
  Key& key = keys_[static_cast<std::size_t>(index)];
  // A key keeps its label for as long as its call is up.
  if (key.text && *key.text != label && shared_->status_of(*key.text) != 0) return;
  ResolvedLabel found;
  if (resolver.find(label.c_str(), found.info) != 0) found.url[0] = '\0';
  bool due = changed;
  due = replace(key.text, label) || due;
  due = replace(key.alt, found.alt.data()) || due;
  const std::uint32_t dfl = flags_of(entry, found);
  const bool opens = (dfl & ~key.dfl & kDflLatchedListen) != 0;
  if (dfl != key.dfl) {
    key.dfl = dfl;
    (void)cache_indicator(mksig(kTalk00, index + 1), '\0');  // what it shows depends on the flags
    due = true;
  }
  if (!due) return;
  send_label(index);
  if (opens) {
    (void)shared_->harkd_call(found.url.data(), kCallListen | kCallVolume, kCallListen,
                              listenvol_get(label.c_str()));
  }
}

void HarkUIProxy::send_label(int index) {
  const Key& key = keys_[static_cast<std::size_t>(index)];
  const std::string& label = *key.text;
  const EscapedAlt alt = escaped_alt(key.alt->c_str());
  switch (type) {
    case kNetworkPanel:
      harkui_sendf("set HARKUI#%s.DISP#%s TEXT=\"%s\", ALT=\"%s\", DFL=%lu\r\n", id_.c_str(),
                   sig_text(mksig(kListen00, index + 1)).data(), label.c_str(), alt.data(),
                   static_cast<unsigned long>(key.dfl));
      break;
    case kModule20:
    case kModule10: {
      const DisplayLine at = display_line(type, index);
      harkui_sendf("SET Intercom.oled#%d line%c=\"%s\"\n", at.display, at.line,
                   show_alt_ == 1 && alt[0] != '\0' ? alt.data() : label.c_str());
      break;
    }
    default:
      break;  // a coloured key has no display of ours
  }
}

void HarkUIProxy::send_auto_answer_label(LabelResolver& resolver) {
  const Label label = shared_->aa_label;
  ResolvedLabel found;
  (void)resolver.find(label.data(), found.info);
  harkui_sendf("set HARKUI#%s.DISP#KLAA TEXT=\"%s\", ALT=\"%s\"\n", id_.c_str(), label.data(),
               escaped_alt(found.alt.data()).data());
}

void HarkUIProxy::ActivateLatchedListen() {
  for (int i = 0; i < shared_->nkeys(); ++i) {
    if ((keys_[static_cast<std::size_t>(i)].dfl & kDflLatchedListen) == 0) continue;
    const std::string label = called_by(shared_->table().entries[static_cast<std::size_t>(i)]);
    ResolvedLabel found;
    if (HarkResolv2(kResolveLabel, label.c_str(), found.info) < 0 || found.url[0] == '\0') continue;
    (void)shared_->harkd_call(found.url.data(), kCallListen | kCallVolume, kCallListen,
                              listenvol_get(label.c_str()));
  }
}

}  // namespace hark
