// The model: parties, the call stack, the table of the shift, and what a report of a call does to them.
#include "panel/reference_station.h"

#include <algorithm>
#include <utility>

namespace hark::reference {
namespace {

constexpr TimeUs kRecentUs = 60'000'000;
constexpr std::size_t kStackSize = 128;
constexpr int kOwnLevel = 3;  // zero-based
constexpr unsigned kOn = 0x11;
constexpr unsigned kBusy = 0x77;  // all but just dropped

unsigned state_bits(char letter) {
  const std::string letters = "1Rrd";
  const std::size_t place = letters.find(letter);
  return place == std::string::npos ? 0 : 1U << place;
}

}  // namespace

std::string key_name(const char* prefix, int number) {
  return prefix + std::string(1, static_cast<char>('0' + number / 10)) + static_cast<char>('0' + number % 10);
}

int key_number(const std::string& key) {
  const bool digits = key.size() == 4 && key[2] >= '0' && key[2] <= '9' && key[3] >= '0' && key[3] <= '9';
  return digits && key[0] == 'K' ? (key[2] - '0') * 10 + key[3] - '0' : 0;
}

Station::Station(int nkeys, Sources sources_now, ChannelFile channels_now, std::string sources_path,
                 std::string channels_path)
    : sources(std::move(sources_now)),
      channels(std::move(channels_now)),
      volumes(static_cast<std::size_t>(nkeys)),
      nkeys_(nkeys),
      sources_path_(std::move(sources_path)),
      channels_path_(std::move(channels_path)) {
  calls.report = [this](const std::string& url, char listen, char talk) {
    receive(url, listen, talk, std::nullopt);
  };
  sources_time_ = file_time(sources_path_);
  channels_time_ = file_time(channels_path_);
  shift = channels.default_shift();
  table = channels.load(shift, nkeys_);
}

void Station::send(const std::string& text) { sent.push_back(text); }

void Station::call(const std::string& url, unsigned which, unsigned value, int volume) {
  std::string text = "CALL URL:\"" + url + "\"";
  if ((which & 16) != 0) text += (value & 16) != 0 ? " TALK:1" : " TALK:0";
  if ((which & 1) != 0) text += (value & 1) != 0 ? " LISTEN:1" : " LISTEN:0";
  if ((which & 2) != 0) text += " VOLUME:" + std::to_string(volume);
  send(text + "\n");
  const auto wish = [&](unsigned bit) { return (which & bit) == 0 ? kNone : (value & bit) != 0 ? '1' : '0'; };
  if ((which & 17) != 0) calls.modify(url, wish(1), wish(16));
}

void Station::receive(const std::string& url, char listen, char talk, std::optional<int> volume) {
  sources.learn(url);
  const std::string label = sources.label_of(url);
  if (label.empty()) return;  // a party that cannot be named has no place on a panel
  const unsigned set =
      (listen == kNone ? 0 : state_bits(listen)) | (talk == kNone ? 0 : state_bits(talk) << 4);
  const unsigned mask = (listen == kNone ? 0U : 0x0FU) | (talk == kNone ? 0U : 0xF0U);
  bool assigned = false;
  for (std::size_t i = 0; i < table.entries.size(); ++i) {
    if (table.entries[i].label != label) continue;
    assigned = true;
    if (volume) volumes[i] = *volume;
  }
  if (mask == 0) return;

  bool answer = set_party(label, set, mask);
  const long level = number_of(url, "trgl") - 1;
  const bool blocked = level >= 0 && kOwnLevel > level;
  const bool automatic =
      std::any_of(panels.begin(), panels.end(), [](const Panel& panel) { return panel.aans; });
  if ((automatic || assigned) && !blocked) answer = true;
  const auto found =
      std::find_if(stack.begin(), stack.end(), [&](const StackEntry& e) { return e.label == label; });
  const bool stacked = found != stack.end();
  if (stacked && (found->status & kOn) != 0) answer = true;
  // The answer to a request whose far device has to confirm is reported as a request again, which must not be
  // answered without end.
  const unsigned rings = set & 0x22 & ~answering_[label];
  if (answer && rings != 0) {
    mark_answered(label);
    const bool hears = (rings & 2) != 0;
    answering_[label] |= rings;
    call(url, ((rings & 0x20) != 0 ? 16U : 0U) | (hears ? 3U : 0U), 17, hears ? listen_volume(label) : 0);
    answering_[label] &= ~rings;
  }
  if (!assigned) set_aa(label);
  const unsigned status = status_of(label);
  if (stacked || (!assigned && status != 0)) stack_add(label, status);
  dirty_ |= kIndicators;
  if (set == 0) dirty_ |= kLabels;
}

// Whether the party was up lately.
bool Station::set_party(const std::string& label, unsigned set, unsigned mask) {
  const TimeUs now = clock_now();
  parties.remove_if([&](const Party& party) {
    const bool over = party.idle && now - party.idle_since > kRecentUs;
    if (over) forgotten[party.label] |= party.status;
    return over;
  });
  auto party = std::find_if(parties.begin(), parties.end(), [&](const Party& p) { return p.label == label; });
  bool recent = false;
  if (const auto lost = forgotten.find(label); lost != forgotten.end()) lost->second &= ~mask;
  if (party == parties.end()) {
    if ((mask & set) == 0) return false;
    party = parties.insert(parties.begin(), Party{label, 0, 0, false, false});
  } else {
    recent = party->answered && (!party->idle || now - party->idle_since < kRecentUs);
  }
  party->status = set | (party->status & ~mask);
  if ((party->status & kOn) != 0) {
    party->answered = true;
    party->idle = false;
  } else if ((party->status & kBusy) == 0 && !party->idle) {
    party->idle = true;
    party->idle_since = now;
  }
  return recent;
}

void Station::mark_answered(const std::string& label) {
  for (Party& party : parties) {
    if (party.label == label) party.answered = true;
  }
}

unsigned Station::status_of(const std::string& label) const {
  for (const Party& party : parties) {
    if (party.label == label) return party.status;
  }
  return 0;
}

unsigned Station::outputs() const {
  unsigned status = 0;
  for (const Party& party : parties)
    status |= party.status;
  const bool talks = ((status | stack_status()) & 0x10) != 0;
  const unsigned active =
      (status & 1) | ((status & 0x22) != 0 ? 4U : 0U) | (mic_mute ? 8U : 0U) | (talks ? 16U : 0U);
  return 0xFF & ~active;
}

bool Station::any_active() const {
  return std::any_of(parties.begin(), parties.end(), [](const Party& party) { return party.status != 0; });
}

void Station::stack_add(const std::string& label, unsigned status) {
  stack.remove_if([&](const StackEntry& entry) { return entry.label == label; });
  stack.push_front({label, status});
  if (stack.size() > kStackSize) stack.pop_back();
}

void Station::stack_unassigned() {
  for (const Party& party : parties) {
    if (!table.has_label(party.label)) stack_add(party.label, party.status);
  }
}

unsigned Station::stack_status() const {
  unsigned status = 0;
  for (const StackEntry& entry : stack)
    status |= entry.status;
  return status;
}

int Station::listen_volume(const std::string& label) const {
  const auto found = listen_volumes_.find(label);
  return found == listen_volumes_.end() ? 0 : found->second;
}

void Station::volume_report(int listen_line, int volume) {
  const Line& line = calls.listen[static_cast<std::size_t>(listen_line)];
  if (!line.url.empty()) receive(std::string(line.url), kNone, kNone, volume);
}

void Station::set_aa(const std::string& label) {
  aa_label = label.substr(0, 10);
  dirty_ |= kLabels;
}

void Station::load() {
  if (channels.exists) table = channels.load(shift, nkeys_);
}

void Station::save() {
  if (shift.empty()) shift = "Default";
  channels.save(shift, table);
  ++saves;
  last_save_unnoted = true;
}

void Station::reload() {
  rewritten = false;
  if (shift.empty()) shift = channels.default_shift();
  load();
  stack_unassigned();
  dirty_ |= kLabels | kIndicators;
}

void Station::assign(int index, const std::string& label) {
  if (index < 0 || index >= nkeys_) return;
  if (rewritten) reload();
  Assignment& entry = table.entries[static_cast<std::size_t>(index)];
  entry.label = label;
  entry.url.reset();
  save();
  channels_time_ = file_time(channels_path_);  // its own save is no reason to load
  last_save_unnoted = false;
  dirty_ |= kLabels;
}

void Station::select_shift(const std::string& label) {
  const bool active = any_active();
  shift = label.substr(0, 10);
  load();
  stack_unassigned();
  dirty_ |= kLabels | (active ? kIndicators : 0);
}

void Station::timer_action() {
  dirty_ |= kIndicators;
  if (const long long time = file_time(channels_path_); time != 0 && time != channels_time_) {
    channels_time_ = time;
    reload();
  }
  if (const long long time = file_time(sources_path_); time != 0 && time != sources_time_) {
    sources_time_ = time;
    dirty_ |= kLabels;
  }
}

void Station::notify() {
  // What a panel changes while it refreshes (a latched listen that it opens) is for the next pass.
  const unsigned flags = std::exchange(dirty_, 0U);
  for (Panel& panel : panels) {
    panel.resent.clear();
    if ((flags & kLabels) != 0) show_labels(panel);
    if ((flags & kIndicators) != 0) show_indicators(panel);
  }
}

void Station::attach(std::size_t i, Panel panel) {
  panel.text.resize(static_cast<std::size_t>(nkeys_));
  panel.dfl.resize(static_cast<std::size_t>(nkeys_));
  panels[i] = std::move(panel);
  show_labels(panels[i]);
  show_indicators(panels[i]);
}

}  // namespace hark::reference
