// One random step after another.
#include "panel/property_steps.h"

#include <array>
#include <iterator>

namespace hark {

std::string RandomUse::RandomKey(std::size_t panel) {
  const int kind = Pick(100);
  const reference::Panel& shown = bench_->Reference().panels[panel];
  const char* prefix = std::array{"KL", "KT", "KX"}.at(static_cast<std::size_t>(Pick(3)));
  if (kind < 74) return reference::key_name(prefix, shown.first + Pick(shown.last - shown.first + 1));
  if (kind < 77) return reference::key_name(prefix, 1 + Pick(kBenchKeys + 3));
  if (kind < 86) return prefix + std::string("AA");
  if (kind < 91) return "TGRP";
  if (kind < 95) return "ASGN";
  return kind < 98 ? "MICM" : "SPKM";
}

void RandomUse::UseNetworkKey() {
  const int kind = Pick(100);
  if (kind < 40 && !held_.empty()) {
    auto it = held_.begin();
    std::advance(it, Pick(static_cast<int>(held_.size())));
    const auto [panel, key] = *it;
    held_.erase(it);
    bench_->NetworkKey(panel, key, false, Chance(80));
    return;
  }
  const auto panel = static_cast<std::size_t>(Pick(2));
  const std::string key = RandomKey(panel);
  if (kind > 96) {  // a release that no press came before
    bench_->NetworkKey(panel, key, false);
    return;
  }
  bench_->NetworkKey(panel, key, true, Chance(90));
  if (kind < 80) {
    held_.insert({panel, key});
    return;
  }
  static constexpr std::array<long, 6> kHolds{1, 80, 199, 200, 201, 250};
  bench_->AdvanceMs(OneOf(kHolds));
  bench_->NetworkKey(panel, key, false);
}

void RandomUse::UseConsole() {
  const int kind = Pick(100);
  if (kind < 4) {
    fader_off_ = !fader_off_;
    bench_->FaderOff(fader_off_);
  } else if (kind < 12) {
    bench_->ConsoleRotary(Chance(50) ? 129 : 130, Pick(7) - 3 == 0 ? 1 : Pick(2) * 4 - 2);
  } else if (kind < 15) {
    bench_->ConsoleKey(130, true);
    bench_->ConsoleKey(130, false);
  } else if (kind < 55 && !console_held_.empty()) {
    const int number = *console_held_.begin();
    console_held_.erase(number);
    bench_->ConsoleKey(number, false);
  } else {
    const int channels = scenario_.console_type == 1 ? 40 : scenario_.console_type == 2 ? 20 : 10;
    static constexpr std::array<int, 6> kOthers{41, 42, 49, 50, 51, 52};
    const int number = Chance(80) ? 1 + Pick(channels) : OneOf(kOthers);
    console_held_.insert(number);
    bench_->ConsoleKey(number, true);
  }
}

void RandomUse::UseFader() {
  const auto panel = static_cast<std::size_t>(Pick(2));
  const int kind = Pick(10);
  const std::string key = kind < 4   ? "KVOL"
                          : kind < 8 ? reference::key_name("KL", 1 + Pick(kBenchKeys + 1))
                          : kind < 9 ? std::string("SPKV")
                                     : std::string("HDPV");
  const bool absolute = Chance(60);
  bench_->Fader(panel, key, absolute, absolute ? Pick(97) * 10 - 840 : Chance(50) ? 10 : -10);
}

void RandomUse::AssignLabel() {
  const bool aa = Chance(20);
  const std::string label = Chance(5) ? "" : Chance(20) ? OneOf(stations_).name : RandomLabel();
  bench_->Display(static_cast<std::size_t>(Pick(2)),
                  aa ? std::string("KLAA") : reference::key_name("KL", 1 + Pick(kBenchKeys + 2)), label);
}

void RandomUse::ChangeShift() {
  static constexpr std::array<const char*, 6> kShifts{"Day", "Night", "Day", "Night", "Clean", ""};
  bench_->SelectShift(static_cast<std::size_t>(Pick(2)), OneOf(kShifts));
}

// A contact belongs to a source that names it.
void RandomUse::RingFromContact() {
  // Guests come one after the other, so that many of them make their way to the call stack.
  const bool guest = Chance(70);
  const int place = guest ? kHouse + next_guest_ : Pick(kHouse);
  if (guest) next_guest_ = (next_guest_ + 1) % scenario_.guests;
  const std::string url = bench_->Reference().sources.url_of(stations_[static_cast<std::size_t>(place)].name);
  if (url.empty()) return;
  const int kind = Chance(25) ? reference::Calls::kListen : reference::Calls::kTalk;
  const char* pin = kind == reference::Calls::kListen ? "gpiol" : "gpiot";
  if (reference::is_routed(url) && reference::number_of(url, "gpio") != 0 &&
      reference::number_of(url, pin) != 0)
    bench_->Contact(kind, url, '1');
}

void RandomUse::EndFarCall() {
  const reference::Calls& calls = bench_->Reference().calls;
  std::vector<std::pair<int, std::string>> up;
  for (const reference::Line& line : calls.listen) {
    if (!line.url.empty()) up.emplace_back(reference::Calls::kListen, line.url);
  }
  for (const reference::Line& line : calls.talk) {
    if (!line.url.empty()) up.emplace_back(reference::Calls::kTalk, line.url);
  }
  if (up.empty()) return;
  const auto& [kind, url] = OneOf(up);
  bench_->Contact(kind, url, '0');
}

void RandomUse::ConfirmFarDevice() {
  const auto& talk = bench_->Reference().calls.talk;
  for (std::size_t i = 0; i < talk.size(); ++i) {
    if (talk[i].ifb && !talk[i].url.empty()) bench_->Confirm(static_cast<int>(i), Chance(75));
  }
}

void RandomUse::ReportVolume() { bench_->VolumeReport(Pick(8), Pick(90) * 10 - 800); }

void RandomUse::RewriteFiles() {
  const int kind = Pick(100);
  if (kind < 50) {
    bench_->WriteChannels(RandomChannels());
  } else if (kind < 95) {
    bench_->WriteSources(RandomSources());
  } else {
    bench_->RemoveChannels();
  }
}

void RandomUse::PassTime() {
  const int kind = Pick(100);
  bench_->AdvanceMs(kind < 35   ? 1 + Pick(10)
                    : kind < 65 ? 50 + Pick(100)
                    : kind < 88 ? 200 + Pick(400)
                    : kind < 97 ? 1000 + Pick(3000)
                    : kind < 99 ? 5000 + Pick(2000)
                                : 10'000 + Pick(60'001));
}

void RandomUse::Step() {
  const int kind = Pick(1000);
  if (kind < 500) {
    UseNetworkKey();
  } else if (kind < 660) {
    UseConsole();
  } else if (kind < 710) {
    UseFader();
  } else if (kind < 730) {
    AssignLabel();
  } else if (kind < 750) {
    ChangeShift();
  } else if (kind < 840) {
    RingFromContact();
  } else if (kind < 930) {
    EndFarCall();
  } else if (kind < 950) {
    ConfirmFarDevice();
  } else if (kind < 970) {
    ReportVolume();
  } else if (kind < 990) {
    RewriteFiles();
  } else {
    bench_->Reattach(Chance(50));
  }
  PassTime();
  if (!Chance(80)) return;
  bench_->Pass(Chance(2));
  if (scenario_.careful_operator) bench_->CheckAgreement();
}

}  // namespace hark
