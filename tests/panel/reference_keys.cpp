// The keys and faders: what a press, a release and a move ask of the calls.
#include <algorithm>

#include "panel/reference_station.h"
#include "panel/vol_step.h"

namespace hark::reference {
namespace {

constexpr std::uint32_t kTapMs = 200;
constexpr int kNoValue = 1000;
constexpr int kMuted = -1000;
constexpr unsigned kNoTalk = 1;
constexpr unsigned kNoListen = 2;
constexpr unsigned kNoTalkLatch = 4;
constexpr unsigned kNoListenLatch = 8;

// Whether the far end can be told that we talk to it.
bool has_talk_control(const std::string& url) {
  if (url.empty() || !is_routed(url)) return true;
  return (number_of(url, "gpio") != 0 && number_of(url, "gpiot") != 0) || number_of(url, "qntb") != 0 ||
         !tag_of(url, "ifb").empty();
}

}  // namespace

void Station::network_key(std::size_t i, const std::string& key, bool down, std::uint32_t ms) {
  press(panels[i], key, down, ms);
  send("event HARKUI#" + panels[i].id + ".BUT#" + key + " KEY=" + (down ? "DOWN" : "UP") + "\r\n");
}

void Station::press(const Panel& panel, const std::string& key, bool down, std::uint32_t ms) {
  if (down) press_ms_ = ms;
  const bool tap = !down && ms - press_ms_ < kTapMs;
  if (key == "ASGN") {
    if (!down) return;
    assign_armed = !assign_armed;
    dirty_ |= kIndicators;
  } else if (key == "TGRP") {
    press_group(down, tap);
  } else if (key == "SPKM") {
    if (down) io_set(key, spk_mute ? 0 : 1);
  } else if (key == "MICM") {
    if (down) io_set(key, mic_mute ? 0 : 1);
  } else {
    const bool aa = key.substr(2) == "AA";
    const bool talk = key[1] != 'L';
    const bool listen = key[1] != 'T';
    press_call(panel, aa ? nkeys_ : key_number(key) - 1, talk, listen, down, tap);
  }
}

void Station::press_group(bool down, bool tap) {
  if (group_state == Group::kTalking) {
    if (!down && tap) return;
    (void)group_call(false);
    group_state = Group::kIdle;
  } else if (!down) {
    return;
  } else if (group_state == Group::kProgramming) {
    group_state = Group::kIdle;
  } else if (assign_armed) {
    group_state = Group::kProgramming;
    assign_armed = false;
  } else if (group_call(true)) {
    group_state = Group::kTalking;
  } else {
    return;
  }
  dirty_ |= kIndicators;
}

// Members without talk control are called like all others: their line stands without being reported.
bool Station::group_call(bool on) {
  const std::list<std::string> members = table.group;
  for (const std::string& member : members) {
    const std::string url = sources.url_of(member);
    if (!url.empty()) call(url, 16, on ? 16 : 0, 0);
  }
  return !members.empty();
}

void Station::edit_group(const std::string& label) {
  if (label.empty()) return;
  if (rewritten) reload();
  const auto found = std::find(table.group.begin(), table.group.end(), label);
  if (found != table.group.end()) {
    table.group.erase(found);
  } else {
    table.group.push_front(label);
  }
  dirty_ |= kIndicators;
  save();  // its time is not noted: the file is loaded again, which turns the group's order round
}

void Station::press_call(const Panel& panel, int index, bool talk, bool listen, bool down, bool tap) {
  const bool aa = index == nkeys_;
  if (group_state == Group::kProgramming) {
    if (!down && !aa) edit_group(panel.label_of(index));
    return;
  }
  if (assign_armed) {
    if (down || aa || index < 0 || index >= nkeys_) return;
    assign(index, std::string(aa_label));
    assign_armed = false;
    dirty_ |= kIndicators;
    return;
  }
  const std::string label = aa ? aa_label : panel.label_of(index);
  if (label.empty()) return;
  const std::string url = sources.url_of(label);
  if (!aa) {
    // The flags are those of the key now, also when it still shows the label of an earlier shift: a call that
    // was begun there cannot be ended with a half that the new shift bars.
    const unsigned flags = table.entries[static_cast<std::size_t>(index)].flags;
    if (tap && talk && (flags & kNoTalkLatch) != 0) {
      tap = false;
    } else if (tap && listen && (flags & kNoListenLatch) != 0) {
      tap = false;
    }
    talk = talk && (flags & kNoTalk) == 0;
    listen = listen && (flags & kNoListen) == 0;
  }
  talk = talk && has_talk_control(url);
  if (!talk && !listen) return;
  unsigned state = status_of(label);
  if (down) {
    if ((state & 0x70) != 0) state |= 0xF0;
    if ((state & 0x07) != 0) state |= 0x0F;
    const unsigned wanted = (talk ? 0xF0U : 0U) | (listen ? 0x0FU : 0U);
    press_latches_ = (state & wanted) != wanted;
    if (listen) {
      held_key_ = key_name("KL", index + 1);
      held_volume_changed_ = false;
    }
    if (talk && (state & 0x02) != 0) listen = true;
    if (listen && (state & 0x20) != 0) talk = true;
  } else {
    if (listen) {
      held_key_.clear();
      if (held_volume_changed_) return;
    }
    if (press_latches_ && tap) return;
  }
  if (down && aa && (state & 17) == 0 && (stack_status() & 17) != 0) return;  // another party is on
  if (url.empty()) return;
  if (talk && down && (state & 16) == 0) io_set("MICM", 0);
  call(url, (talk ? 16U : 0U) | (listen ? 3U : 0U), down ? 17 : 0, listen ? listen_volume(label) : 0);
}

void Station::io_set(const std::string& key, int value) {
  (key == "SPKM" ? spk_mute : mic_mute) = value != 0;
  dirty_ |= kIndicators;
  const int level = value != 0 ? kMuted : key == "SPKM" ? spk_volume : 0;
  send((key == "SPKM" ? "IO SPKV:" : "IO MICV:") + std::to_string(level) + "\n");
}

void Station::fader(std::size_t i, std::string key, std::optional<int> gain, int delta) {
  const bool held = key == "KVOL" && !held_key_.empty();
  if (key == "KVOL") key = held ? held_key_ : "SPKV";
  if (held && key.starts_with("KX")) key[1] = 'L';  // a console's key for both halves, whose call was refused
  const int value = gain ? *gain : scroll(panels[i], key, delta);
  if (value == kNoValue) return;
  fader_set(key, value);
  if (held) held_volume_changed_ = true;
}

int Station::scroll(Panel& panel, const std::string& key, int delta) {
  int* level = nullptr;
  const int number = key_number(key);
  if (key == "SPKV") level = &panel.spk_scroll;
  if (key == "HDPV") level = &panel.hdp_scroll;
  if (number >= 1 && number <= nkeys_ && key[1] != 'T')
    level = &volumes[static_cast<std::size_t>(number) - 1];
  if (level == nullptr) return kNoValue;
  *level = vol_step(*level, delta);
  return *level;
}

void Station::fader_set(const std::string& key, int value) {
  if (key.starts_with("KL") && key_number(key) != 0) {
    const std::string label = table.label(key_number(key) - 1);
    const std::string url = sources.url_of(label);
    if (url.empty()) return;
    call(url, 2, 0, value);
    listen_volumes_[label] = value;
    return;
  }
  if (key == "SPKV") {
    spk_volume = value;
    if (spk_mute) return;
  }
  send("IO " + key + ":" + std::to_string(value) + "\n");
}

void Station::display(const std::string& key, const std::string& label) {
  if (key == "KLAA") {
    set_aa(label);
  } else {
    assign(key_number(key) - 1, label.substr(0, 10));
  }
}

// Whether the console's menu keeps a key for itself.
bool Station::menu_takes(Panel& panel, const std::string& key, char letter, const MenuItem& item) {
  if (item.id == -101) set_aa(item.text);
  if (item.id == -102) set_aa("");
  if (key == "ASGN" && item.id >= 0 && item.id <= 4) return true;
  if (key == "ASGN" && item.id == -301) {
    if (letter == 'D') select_shift(item.text);
    return true;
  }
  if (key == "MENU") {
    if (letter == 'D') dirty_ |= kLabels;
    return true;
  }
  // While a fader's off button is down the channel keys pick its source, their releases too: a call whose key
  // was pressed before stays up.
  return key[0] == 'K' && panel.fader_off;
}

void Station::console_key(std::size_t i, const std::string& key, char letter, const MenuItem& item,
                          std::uint32_t ms) {
  if (menu_takes(panels[i], key, letter, item)) return;
  if (key.starts_with("KL") || key.starts_with("KX")) {
    if (letter == 'D') {
      held_key_ = key;
      held_volume_changed_ = false;
    } else if (held_key_ == key) {
      held_key_.clear();
      if (held_volume_changed_) return;
    }
  }
  network_key(i, key, letter == 'D', ms);
}

void Station::console_rotary(std::size_t i, int clicks) {
  std::string key = "SPKV";
  if (!held_key_.empty()) {
    key = held_key_;
    held_volume_changed_ = true;
  }
  const int value = scroll(panels[i], key, clicks * kRotaryClick);
  if (value == kNoValue) return;
  if (key.starts_with("KX")) key[1] = 'L';
  fader(i, key, value, 0);
}

}  // namespace hark::reference
