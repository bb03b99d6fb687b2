// The model's life, its files, the properties that faders and mutes set, and what it gives out. Keys are in
// HarkUIProxyShared_keys.cpp, indications of calls in HarkUIProxyShared_receive.cpp.
#include "panel/HarkUIProxyShared.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdarg>
#include <new>
#include <utility>

#include "addressing/HarkResolv.h"
#include "addressing/harkurl.h"
#include "addressing/sources.h"
#include "base/text.h"
#include "daemon/qnrlib/tagtext.h"
#include "daemon/station/listenvol.h"

namespace hark {

int (*harkd_has_autoanswer_callback)() = nullptr;

namespace {
constexpr const char kDefaultShift[] = "Default";

// When a file was last changed; 0 when that cannot be read.
TimeUs modified_at(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) return 0;
  return TimeUs{info.st_mtim.tv_sec} * kUsPerSecond + info.st_mtim.tv_nsec / 1000;
}

// Whether the file was changed since `seen`, which is then brought up to date.
bool has_changed(const std::string& path, TimeUs& seen) {
  const TimeUs modified = modified_at(path);
  if (modified == 0 || modified == seen) return false;
  seen = modified;
  return true;
}

}  // namespace

HarkUIProxyShared::HarkUIProxyShared(std::unique_ptr<ChannelAssignmentTable> table, Send send, int context)
    : volumes(table->entries.size()), send_(send), context_(context), table_(std::move(table)) {}

HarkUIProxyShared::~HarkUIProxyShared() { listenvol_cleanup(); }

std::unique_ptr<HarkUIProxyShared> HarkUIProxyShared::Create(int nkeys, const std::string& folder, Send send,
                                                             int context) {
  std::unique_ptr<ChannelAssignmentTable> table = ChannelAssignmentTableAlloc(nkeys);
  if (!table) return nullptr;
  std::unique_ptr<HarkUIProxyShared> model(new (std::nothrow)
                                               HarkUIProxyShared(std::move(table), send, context));
  if (!model) return nullptr;
  model->conf_path = folder + "/harkch.conf";
  model->conf_mtime_ = modified_at(model->conf_path);
  model->sources_mtime_ = modified_at(harksources_file);
  model->shift = GetDefaultShift(model->conf_path);
  model->load_shift();
  return model;
}

void HarkUIProxyShared::load_shift() { (void)ChannelAssignmentTableLoad(conf_path, shift.data(), *table_); }

void HarkUIProxyShared::reload_channels() {
  if (shift[0] == '\0') shift = GetDefaultShift(conf_path);
  load_shift();
  callstack_stackunassignedcalls();
  dirty |= kDirtyLabels | kDirtyIndicators | kDirtyShiftList;
}

// Before the table is changed and saved: what another program wrote since the last look comes first, or the
// save would put the old state over it.
void HarkUIProxyShared::take_foreign_changes() {
  const TimeUs modified = modified_at(conf_path);
  if (modified == saved_mtime_ || !has_changed(conf_path, conf_mtime_)) return;
  reload_channels();
}

void HarkUIProxyShared::save_shift() {
  if (shift[0] == '\0') copy_text(shift, kDefaultShift);
  (void)ChannelAssignmentTableSave(conf_path, shift.data(), nullptr, *table_);
  saved_mtime_ = modified_at(conf_path);
}

void HarkUIProxyShared::AssignChannel(int index, const char* label) {
  if (index < 0 || index >= nkeys()) return;
  take_foreign_changes();
  ChannelAssignmentTableSet(*table_, index, nullptr, label);
  save_shift();
  // The model's own change must not make it load the file again.
  (void)has_changed(conf_path, conf_mtime_);
  dirty |= kDirtyLabels;
}

bool HarkUIProxyShared::GroupCall(bool on) {
  // A copy: each call may come back and change the table.
  const std::list<std::string> members = table_->group;
  for (const std::string& member : members) {
    ResolvedLabel found;
    if (HarkResolv(member.c_str(), found.url, found.alt) != 0) continue;
    (void)harkd_call(behind_star(found.url.data()), kCallTalk, on ? kCallTalk : 0, 0);
  }
  return !members.empty();
}

bool HarkUIProxyShared::in_group(std::string_view label) const {
  return std::find(table_->group.begin(), table_->group.end(), label) != table_->group.end();
}

void HarkUIProxyShared::IntercomIOPropertySet(Signature key, int value) {
  switch (key) {
    case kSpeakerMute:
      spk_mute = value != 0;
      dirty |= kDirtyIndicators;
      (void)harkd_sendf("IO SPKV:%d\n", spk_mute ? kMutedGain : spk_volume);
      break;
    case kSpeakerVolume:
      spk_volume = value;
      dirty |= kDirtyFaders;
      break;
    case kMicMute:
      mic_mute = value != 0;
      dirty |= kDirtyIndicators;
      (void)harkd_sendf("IO MICV:%d\n", mic_mute ? kMutedGain : 0);
      break;
    default:
      break;
  }
}

void HarkUIProxyShared::IntercomFaderSetValue(Signature key, int value) {
  if (sig_between(key, kListen00 + 1, mksig(kListen00, kHighestKeyNumber))) {
    const std::string label(table_->label(sigidx(key) - 1));
    ResolvedLabel found;
    if (label.empty() || HarkResolv(label.c_str(), found.url, found.alt) != 0) return;
    (void)harkd_call(behind_star(found.url.data()), kCallVolume, 0, value);
    listenvol_set(label.c_str(), static_cast<short>(std::clamp<int>(value, SHRT_MIN, SHRT_MAX)));
    return;
  }
  if (key == kSpeakerVolume) {
    IntercomIOPropertySet(kSpeakerVolume, value);
    if (spk_mute) return;  // the level takes effect when the mute ends
  }
  (void)harkd_sendf("IO %s:%d\n", sig_text(key).data(), value);
}

void HarkUIProxyShared::SelectShift(const char* label) {
  const bool active = icconnections_anyactive(connections);
  copy_text(shift, label);
  load_shift();
  callstack_stackunassignedcalls();
  dirty |= kDirtyLabels;
  if (active) dirty |= kDirtyIndicators;
}

void HarkUIProxyShared::SetAALabel(const char* label) {
  copy_text(aa_label, label);
  dirty |= kDirtyLabels;
}

int HarkUIProxyShared::GetAALabel(char* buf, std::size_t len) const {
  if (buf == nullptr || len == 0) return -1;
  copy_text({buf, len}, field_text(aa_label));
  return 0;
}

std::uint8_t HarkUIProxyShared::ComputeGPO() const {
  std::uint8_t status = 0;
  for (const ICCONNECTION& party : connections)
    status |= party.status;
  std::uint8_t outputs = 0;
  if ((status & kListenOn) != 0) outputs |= kOutListen;
  if (((status | callstack_combinedstatus()) & kTalkOn) != 0) outputs |= kOutTalk;
  if ((status & (kListenRingsIn | kTalkRingsIn)) != 0) outputs |= kOutRinging;
  if (mic_mute) outputs |= kOutMicMute;
  return static_cast<std::uint8_t>(~outputs);
}

void HarkUIProxyShared::TimerAction() {
  dirty |= kDirtyIndicators;
  if (has_changed(conf_path, conf_mtime_)) reload_channels();
  if (has_changed(harksources_file, sources_mtime_)) dirty |= kDirtyLabels | kDirtyChannelList;
}

int HarkUIProxyShared::harkd_sendf(const char* format, ...) {
  // A buffer of its own for each command: the daemon may answer one by an indication that asks for the next.
  LineBuffer command;
  va_list args;
  va_start(args, format);
  vformat_text(command, format, args);
  va_end(args);
  return send_(command.data(), context_);
}

int HarkUIProxyShared::harkd_call(const char* url, unsigned which, unsigned value, int volume) {
  LineBuffer command;
  std::array<char, kEscapedUrlSize> escaped;
  qnr_escape(escaped.data(), kEscapedUrlSize, url);
  TextWriter line(command);
  line.append("CALL URL:\"%s\"", escaped.data());
  if ((which & kCallTalk) != 0) line.append(" TALK:%c", (value & kCallTalk) != 0 ? '1' : '0');
  if ((which & kCallListen) != 0) line.append(" LISTEN:%c", (value & kCallListen) != 0 ? '1' : '0');
  if ((which & kCallVolume) != 0) line.append(" VOLUME:%d", volume);
  line.append("\n");
  return send_(command.data(), context_);
}

int HarkUIProxyShared::callstack_add(std::string_view label, std::uint32_t status) {
  callstack.add(label, status);
  dirty |= kDirtyCallstack;
  return 0;
}

void HarkUIProxyShared::callstack_stackunassignedcalls() {
  for (const ICCONNECTION& party : connections) {
    if (!table_->has_label(party.label)) (void)callstack_add(party.label, party.status);
  }
}

}  // namespace hark
