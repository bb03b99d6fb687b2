#include "panel/party.h"

#include <algorithm>

#include "daemon/station/station.h"

namespace hark {
namespace {

constexpr std::uint8_t kPathOn = kListenOn | kTalkOn;
// What keeps a party from being idle. A party that the far end has dropped is idle.
constexpr std::uint8_t kBusy = kPathOn | kListenRingsIn | kListenRingsOut | kTalkRingsIn | kTalkRingsOut;

// Kept: elapsed times are 32-bit microseconds. 35 minutes after it became idle a party that no report has let
// the list forget looks recent again, for as long, and so on in turn; reports more often than that prevent
// it.
TimeUs elapsed(TimeUs now, TimeUs since) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(now - since));
}

template <typename List>
auto find_party(List& list, std::string_view label) {
  return std::find_if(list.begin(), list.end(),
                      [label](const ICCONNECTION& party) { return party.label == label; });
}

void forget_old(PartyList& list, TimeUs now) {
  list.remove_if([now](const ICCONNECTION& party) {
    return party.idle && elapsed(now, party.idle_since) > station.hark_recentcall_timeout_us;
  });
}

bool was_up(const ICCONNECTION& party, TimeUs now) {
  if (party.idle && elapsed(now, party.idle_since) >= station.hark_recentcall_timeout_us) return false;
  return party.answered;
}

void set_status(ICCONNECTION& party, std::uint8_t status, TimeUs now) {
  party.status = status;
  if ((status & kPathOn) != 0) {
    party.answered = true;
    party.idle = false;
  } else if ((status & kBusy) == 0 && !party.idle) {
    party.idle_since = now;
    party.idle = true;
  }
}

std::uint8_t state(char letter) {
  switch (letter) {
    case '1':
      return kListenOn;
    case 'R':
      return kListenRingsIn;
    case 'r':
      return kListenRingsOut;
    case 'd':
      return kListenDropped;
    default:
      return 0;
  }
}

}  // namespace

std::uint8_t listen_state(char letter) { return state(letter); }
std::uint8_t talk_state(char letter) { return static_cast<std::uint8_t>(state(letter) << 4); }

PartyChange icconnections_set(PartyList& list, std::string_view label, std::uint8_t set, std::uint8_t mask) {
  if (mask == 0) return {};
  const TimeUs now = clock_now();
  forget_old(list, now);
  auto party = find_party(list, label);
  const bool recent = party != list.end() && was_up(*party, now);
  if (party == list.end()) {
    if ((mask & set) == 0) return {recent, nullptr};
    party = list.emplace(list.begin());
    party->label = label;
  }
  set_status(*party, static_cast<std::uint8_t>(set | (party->status & ~mask)), now);
  return {recent, &*party};
}

ICCONNECTION* icconnections_find(PartyList& list, std::string_view label) {
  const auto party = find_party(list, label);
  return party != list.end() ? &*party : nullptr;
}

std::uint8_t icconnections_get(const PartyList& list, std::string_view label) {
  if (label.empty()) return 0;
  const auto party = find_party(list, label);
  return party != list.end() ? party->status : std::uint8_t{0};
}

bool icconnections_anyactive(const PartyList& list) {
  return std::any_of(list.begin(), list.end(), [](const ICCONNECTION& party) { return party.status != 0; });
}

}  // namespace hark
