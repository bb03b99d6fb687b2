// The end of a sequence: every key is let go, every latch is ended by its own key, far ends hang up, and the
// drops are waited for. Nothing may be left of any call then.
#include <algorithm>

#include "callctl/line_table.h"
#include "panel/property_bench.h"

namespace hark {
namespace {

constexpr long kHoldMs = 300;       // longer than a tap
constexpr long kAllDropsMs = 6000;  // longer than a local drop and than the flash of a far one
constexpr int kRounds = 8;

}  // namespace

void Bench::HoldForSettling(std::size_t panel, const std::string& key) {
  NetworkKey(panel, key, true);
  AdvanceMs(kHoldMs);
  NetworkKey(panel, key, false);
}

// One round: what still stands is ended by a key that shows its label, which may need the key of a call that
// is up on it to be free first.
void Bench::SettleOnce() {
  HoldForSettling(0, "TGRP");
  std::set<std::string> standing;
  for (const auto& [address, direction] : owed_)
    standing.insert(reference_->sources.label_of("<" + address + ">"));
  for (const reference::Party& party : reference_->parties) {
    if (party.status != 0) standing.insert(party.label);
  }
  for (const int kind : {reference::Calls::kListen, reference::Calls::kTalk}) {
    for (const reference::Line& line : reference_->calls.table(kind)) {
      if (!line.url.empty()) standing.insert(reference_->sources.label_of(line.url));
    }
  }
  standing.erase("");
  for (const std::string& label : standing) {
    const reference::Panel& panel = reference_->panels[0];
    int shown = 0;
    while (shown < kBenchKeys && panel.label_of(shown) != label)
      ++shown;
    if (shown == kBenchKeys) {
      Display(0, reference::key_name("KL", kBenchKeys), label);
      Pass();
      shown = kBenchKeys - 1;
    }
    if (panel.label_of(shown) == label) HoldForSettling(0, reference::key_name("KX", shown + 1));
    AdvanceMs(500);
    Pass();
  }
  for (const int kind : {reference::Calls::kListen, reference::Calls::kTalk}) {
    for (const reference::Line& line : reference_->calls.table(kind)) {
      // Whoever was not answered, or does not answer, gives up.
      if (!line.url.empty() && (line.state == 'R' || line.state == 'C'))
        Contact(kind, std::string(line.url), '0');
    }
  }
  AdvanceMs(kAllDropsMs);
  Pass();
}

void Bench::Settle(const std::vector<reference::Source>& sources, const reference::Section& clean) {
  Note("settle");
  if (fader_down_) FaderOff(false);
  AdvanceMs(1000);
  for (const auto& [panel, key] : std::set(down_))
    NetworkKey(panel, key, false);
  for (const int number : std::set(console_down_))
    ConsoleKey(number, false);
  WriteSources(sources);
  WriteChannels({clean});
  AdvanceMs(kAllDropsMs);
  Pass();
  SelectShift(0, clean.shift);
  Pass();
  if (reference_->group_state != reference::Group::kIdle) HoldForSettling(0, "TGRP");
  if (reference_->assign_armed) HoldForSettling(0, "ASGN");
  for (int round = 0; round < kRounds; ++round) {
    const bool active = std::any_of(reference_->parties.begin(), reference_->parties.end(),
                                    [](const reference::Party& party) { return party.status != 0; });
    if (round > 0 && owed_.empty() && !active && !reference_->calls.any()) break;
    SettleOnce();
  }
}

void Bench::CheckAllSilent() {
  for (const auto& [address, direction] : owed_)
    Fail("never taken back", address + " " + direction, "");
  for (const std::string& input : inputs_) {
    if (!input.empty()) Fail("still heard", input, "");
  }
  for (const HarkLine& line : listen_lines) {
    if (!line.url.empty()) Fail("listen line left", line.url, "");
  }
  for (const HarkLine& line : talk_lines) {
    if (!line.url.empty()) Fail("talk line left", line.url, "");
  }
  if (icconnections_anyactive(model_->connections)) Fail("a party has a state left", "", "");
}

}  // namespace hark
