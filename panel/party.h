// The live state of every party that calls or is called, by its label: what lamps show, and who was in
// contact lately.
#pragma once

#include <cstdint>
#include <list>
#include <string>
#include <string_view>

#include "base/clock.h"

namespace hark {

// A party's state: one nibble for listen, one for talk.
inline constexpr std::uint8_t kListenOn = 1;
inline constexpr std::uint8_t kListenRingsIn = 2;  // a request of the far end waits for an answer
inline constexpr std::uint8_t kListenRingsOut = 4;
inline constexpr std::uint8_t kListenDropped = 8;  // the far end has just dropped
inline constexpr std::uint8_t kListenBits = 0x0F;
inline constexpr std::uint8_t kTalkOn = 16;
inline constexpr std::uint8_t kTalkRingsIn = 32;
inline constexpr std::uint8_t kTalkRingsOut = 64;
inline constexpr std::uint8_t kTalkDropped = 128;
inline constexpr std::uint8_t kTalkBits = 0xF0;

// The state that a letter of a CALL report stands for: `1`, `R`, `r` or `d`; 0 for any other.
[[nodiscard]] std::uint8_t listen_state(char letter);
[[nodiscard]] std::uint8_t talk_state(char letter);

struct ICCONNECTION {
  std::string label;
  std::uint8_t status = 0;
  TimeUs idle_since = 0;  // when it last became idle
  bool idle = false;
  bool answered = false;  // talk or listen has been on
  // Rings whose answer is on its way: what the answer itself reports is not answered again.
  std::uint8_t answering = 0;
};

// Newest first. Parties stay where they are in memory until they are forgotten, which icconnections_set alone
// does.
using PartyList = std::list<ICCONNECTION>;

// What icconnections_set did.
struct PartyChange {
  bool recent = false;            // the party was up, or has been within the time of a recent call
  ICCONNECTION* party = nullptr;  // valid until the next icconnections_set; null: none
};

// Sets the bits of `mask` in the state of the party `label` to `set`; a party that gets a state is made.
// Parties that have been idle for longer than the time of a recent call are forgotten. A `mask` of 0 changes
// nothing.
PartyChange icconnections_set(PartyList& list, std::string_view label, std::uint8_t set, std::uint8_t mask);

// The party `label`, or null. Valid until the next icconnections_set.
[[nodiscard]] ICCONNECTION* icconnections_find(PartyList& list, std::string_view label);

// The state of the party `label`, 0 if it has none or the label is empty.
[[nodiscard]] std::uint8_t icconnections_get(const PartyList& list, std::string_view label);

// Whether any party has a state.
[[nodiscard]] bool icconnections_anyactive(const PartyList& list);

}  // namespace hark
