// The panels: which label each key shows, and each lamp by the type of the panel.
#include "panel/reference_station.h"

#include <algorithm>
#include <array>
#include <utility>

namespace hark::reference {
namespace {

constexpr int kOwnLevel = 3;
constexpr unsigned kNoTalk = 1;
constexpr unsigned kWinks = 2;
constexpr unsigned kLatchedListen = 8;

char letter_of(unsigned half) {
  if ((half & 6) != 0) return 'R';
  if ((half & 1) != 0) return '1';
  return (half & 8) != 0 ? 'd' : '0';
}

bool is_lit(char letter) { return letter != '0' && letter != '\0'; }

std::string colours(char listen, char talk, bool winks) {
  static constexpr std::array<const char*, 4> kColours{"OFF", "RED", "GREEN", "YELLOW"};
  unsigned steady = (listen == '1' ? 2U : 0U) | (talk == '1' ? 1U : 0U);
  const unsigned lit = (is_lit(listen) ? 2U : 0U) | (is_lit(talk) ? 1U : 0U);
  const char* mode = steady != lit ? "FLASH" : "OFF";
  if (talk == '0' && listen == 'd') {
    mode = "FLASH_FAST";
  } else if (winks && steady == 0) {
    steady = 1;
    mode = "WINK";
  }
  return std::string("BACKCOLOROFF=") + kColours.at(steady) + ",BACKCOLORON=" + kColours.at(lit) +
         ",IND=" + mode;
}

int button_of(const std::string& key) {
  static const std::map<std::string, int> kButtons{{"KTAA", 41}, {"KLAA", 42}, {"MICM", 49},
                                                   {"SPKM", 50}, {"TGRP", 51}, {"ASGN", 52}};
  const auto found = kButtons.find(key);
  if (found != kButtons.end()) return found->second;
  return key_number(key) * 2 - (key[1] == 'T' ? 1 : 0);
}

}  // namespace

std::string Panel::label_of(int index) const {
  if (index < first - 1 || index > last - 1) return "";
  return text[static_cast<std::size_t>(index)].value_or("");
}

void Station::show_labels(Panel& panel) {
  for (int i = panel.first - 1; i < panel.last; ++i) {
    const auto place = static_cast<std::size_t>(i);
    const Assignment entry = table.entries[place];
    const std::string label = entry.label ? *entry.label : entry.url.value_or("");
    // A key keeps its label for as long as the call on it is up.
    std::optional<std::string>& text = panel.text[place];
    if (text && *text != label && status_of(*text) != 0) continue;
    text = label;
    const std::string url = sources.url_of(label);
    unsigned dfl = (entry.flags & kNoTalk) != 0 ? kNoTalk : 0;
    if (number_of(url, "trgl") - 1 > kOwnLevel) dfl |= kWinks;
    if (number_of(url, "llsn") != 0) dfl |= kLatchedListen;
    const bool contact = number_of(url, "gpio") != 0 && number_of(url, "gpiot") != 0;
    if (!url.empty() && is_routed(url) && !contact && tag_of(url, "ifb").empty()) dfl |= kNoTalk;
    if (dfl == panel.dfl[place]) continue;
    const bool opens = (dfl & ~panel.dfl[place] & kLatchedListen) != 0;
    panel.dfl[place] = dfl;
    panel.letters[key_name("KT", i + 1)] = '\0';  // the talk lamp is sent again
    if (opens) call(url, 3, 1, listen_volume(label));
  }
}

void Station::show_indicators(Panel& panel) {
  for (int i = panel.first - 1; i < panel.last; ++i) {
    const std::string label = panel.label_of(i);
    unsigned status = label.empty() ? 0 : status_of(label);
    if (group_state == Group::kProgramming) {
      const bool member = std::find(table.group.begin(), table.group.end(), label) != table.group.end();
      status = member ? 17 : 0;
    }
    show_pair(panel, i, status);
  }
  show_pair(panel, nkeys_, stack_status());
  const char group = group_state == Group::kTalking ? '1' : group_state == Group::kProgramming ? '*' : '0';
  show_key(panel, "TGRP", group);
  show_key(panel, "ASGN", assign_armed ? '*' : '0');
  show_key(panel, "SPKM", spk_mute ? '1' : '0');
  show_key(panel, "MICM", mic_mute ? '1' : '0');
}

bool Station::set_letter(Panel& panel, const std::string& key, char letter) {
  return std::exchange(panel.letters[key], letter) != letter;
}

void Station::show_pair(Panel& panel, int index, unsigned status) {
  const char listen = letter_of(status & 15);
  const char talk = letter_of(status >> 4);
  if (index == nkeys_ || panel.type != 3) {
    show_key(panel, index == nkeys_ ? "KLAA" : key_name("KL", index + 1), listen);
    show_key(panel, index == nkeys_ ? "KTAA" : key_name("KT", index + 1), talk);
    return;
  }
  const bool listen_changed = set_letter(panel, key_name("KL", index + 1), listen);
  const bool talk_changed = set_letter(panel, key_name("KT", index + 1), talk);
  if (!listen_changed && !talk_changed) return;
  const bool winks = (panel.dfl[static_cast<std::size_t>(index)] & kWinks) != 0;
  lamp(panel, "key#" + std::to_string(index + 1), colours(listen, talk, winks));
}

void Station::show_key(Panel& panel, const std::string& key, char letter) {
  if (!set_letter(panel, key, letter)) return;
  if (panel.type == 0) {
    lamp(panel, "BUT#" + key, letter == '0' ? "IND=Off" : letter == '1' ? "IND=On" : "IND=Flash");
    return;
  }
  const bool talk = key.starts_with("KT") && key_number(key) != 0;
  const bool winks = talk && (panel.dfl[static_cast<std::size_t>(key_number(key)) - 1] & kWinks) != 0;
  const char* value = letter == '1'   ? "IND=ON"
                      : letter == 'd' ? "IND=FLASH_FAST"
                      : letter != '0' ? "IND=FLASH"
                      : winks         ? "IND=WINK"
                                      : "IND=OFF";
  lamp(panel, "btn#" + std::to_string(button_of(key)), value);
}

void Station::lamp(Panel& panel, const std::string& object, const std::string& value) {
  panel.lamps[object] = value;
  panel.resent.insert(object);
}

}  // namespace hark::reference
