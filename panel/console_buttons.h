// The numbers of a console's keys and knobs, and what each is. Private to the folder.
#pragma once

#include <algorithm>
#include <array>

#include "panel/signature.h"

namespace hark {

struct ConsoleButton {
  int number;
  Signature key;
  int place;  // of its indicator, behind the channels' places; -1: it has none
};

// number, key, place
inline constexpr std::array<ConsoleButton, 8> kConsoleButtons{{
    {41, kTalkAa, 3},
    {42, kListenAa, 2},
    {49, kMicMute, 4},
    {50, kSpeakerMute, 5},
    {51, kGroupTalk, 0},
    {52, kAssign, 1},
    {129, kSpeakerVolume, -1},  // a rotary
    {130, kMenu, -1},           // the menu's knob
}};

// The keys of the channels come first: talk has the odd numbers, listen the even ones behind them; where one
// key does both it has the channel's own number.
inline constexpr int kHighestChannelButton = 40;

constexpr int talk_button(int channel) { return 2 * channel - 1; }
constexpr int listen_button(int channel) { return 2 * channel; }

// The function key `key` that has an indicator, or null.
inline const ConsoleButton* indicator_button(Signature key) {
  const auto* button =
      std::find_if(kConsoleButtons.begin(), kConsoleButtons.end(),
                   [key](const ConsoleButton& row) { return row.key == key && row.place >= 0; });
  return button != kConsoleButtons.end() ? button : nullptr;
}

// What the key or knob `number` is, 0 for a number that is none. `combined`: one key does both for a channel.
inline Signature console_key(long number, bool combined) {
  if (number >= 1 && number <= kHighestChannelButton) {
    const auto n = static_cast<int>(number);
    if (combined) return mksig(kBoth00, n);
    return n % 2 != 0 ? mksig(kTalk00, (n + 1) / 2) : mksig(kListen00, n / 2);
  }
  const auto* button = std::find_if(kConsoleButtons.begin(), kConsoleButtons.end(),
                                    [number](const ConsoleButton& row) { return row.number == number; });
  return button != kConsoleButtons.end() ? button->key : 0;
}

}  // namespace hark
