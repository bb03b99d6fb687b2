// Random use of a station: which sources and shifts there are, and what its users, the far ends, the operator
// and the time do next.
#pragma once

#include <cstdint>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "panel/property_bench.h"

namespace hark {

inline constexpr int kHouse = 13;  // stations of the house; guests come behind them

// How one sequence differs from the others.
struct Scenario {
  std::uint32_t seed = 0;
  int console_type = 1;
  int guests = 10;               // stations that only call in
  bool careful_operator = true;  // a station keeps its line in the file while a call with it is up
  bool confirmed_contacts =
      false;  // a far contact that calls in has a far device that must confirm the answer
};

class RandomUse {
 public:
  explicit RandomUse(const Scenario& scenario);

  void Step();
  void Finish();
  [[nodiscard]] Bench& bench() { return *bench_; }

 private:
  int Pick(int n) { return static_cast<int>(rng_() % static_cast<std::uint32_t>(n)); }
  bool Chance(int percent) { return Pick(100) < percent; }
  template <typename List>
  const auto& OneOf(const List& list) {
    return list[static_cast<std::size_t>(Pick(static_cast<int>(list.size())))];
  }

  std::vector<reference::Section> RandomChannels();
  reference::Section RandomSection(const std::string& shift);
  std::vector<reference::Source> RandomSources();
  [[nodiscard]] bool IsBusy(const reference::Source& source) const;
  std::string RandomKey(std::size_t panel);
  std::string RandomLabel();

  void UseNetworkKey();
  void UseConsole();
  void UseFader();
  void AssignLabel();
  void ChangeShift();
  void RingFromContact();
  void EndFarCall();
  void ConfirmFarDevice();
  void ReportVolume();
  void RewriteFiles();
  void PassTime();

  Scenario scenario_;
  std::mt19937 rng_;
  std::vector<reference::Source> stations_;  // as in the file at the start
  std::unique_ptr<Bench> bench_;
  std::set<std::pair<std::size_t, std::string>> held_;
  std::set<int> console_held_;
  bool fader_off_ = false;
  int next_guest_ = 0;
};

}  // namespace hark
