// A source of timers with three clients and a model of it, which do everything together and tell where they
// differ. What a timer does when it fires is in its data: its callback sets and cancels too.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "sipua/TimerSource.h"

namespace hark {

// Timers by due time; those of the same time in the order in which they came.
class TimerModel {
 public:
  struct Timer {
    std::uint32_t period;
    std::uint32_t id;
    std::size_t target;
    const void* data;
  };

  void Set(std::uint64_t due, std::uint32_t delay, std::uint32_t id, std::size_t target, const void* data) {
    Cancel(id, target);
    const bool is_new = spare_ == 0;
    if (!is_new) --spare_;
    running_.emplace(due, Timer{is_new && delay > 5 ? delay - 5 : delay, id, target, data});
  }

  void Cancel(std::uint32_t id, std::size_t target) {
    CancelFirst([&](const auto& entry) { return entry.second.id == id && entry.second.target == target; });
  }

  void CancelOne(std::size_t target) {
    CancelFirst([&](const auto& entry) { return entry.second.target == target; });
  }

  // The timer that fires at `now`.
  std::optional<Timer> Fire(std::uint64_t now) {
    if (running_.empty() || running_.begin()->first > now) return {};
    const auto [due, timer] = *running_.begin();
    running_.erase(running_.begin());
    running_.emplace(due + timer.period, timer);
    return timer;
  }

 private:
  template <typename Wanted>
  void CancelFirst(Wanted wanted) {
    const auto first = std::find_if(running_.begin(), running_.end(), wanted);
    if (first == running_.end()) return;
    running_.erase(first);
    ++spare_;
  }

  std::multimap<std::uint64_t, Timer> running_;
  std::size_t spare_ = 0;  // entries that have been in use
};

class TimerTwins {
 public:
  // What the callback of a timer does.
  enum class Action : std::uint8_t {
    kNothing,
    kCancelsIt,
    kSetsItAnew,
    kCancelsOneOfItsTarget,
    kSetsNext,
    kSetsAnothers,
    kCancelsNext
  };
  static constexpr std::size_t kActions = 7;

  // Target 0 is none, 1 and 2 are clients, 3 a client without a source.
  static constexpr std::size_t kTargets = 4;
  static constexpr std::size_t kWithoutSource = 3;
  static constexpr std::uint32_t kAgainMs = 70;
  static constexpr std::uint32_t kNextMs = 30;

  // Acts on both; what it does is checked by those that follow.
  void Set(std::size_t target, std::uint32_t id, std::uint32_t delay, Action action) {
    void* data = &actions_[static_cast<std::size_t>(action)];
    if (target == 0) {
      differ_ |= source_.SetTimer(delay, id, nullptr, data) != 1;
    } else {
      differ_ |= clients_[target].SetTimer(id, delay, data) != (target == kWithoutSource ? 0 : 1);
    }
    if (target != kWithoutSource) model_.Set(Timer64::GetMsecCount() + delay, delay, id, target, data);
  }

  void Cancel(std::size_t target, std::uint32_t id) {
    if (target == 0) {
      source_.CancelTimer(id, nullptr);
    } else {
      clients_[target].CancelTimer(id);
    }
    model_.Cancel(id, target);
  }

  void CancelOne(std::size_t target) {
    source_.CancelAllTimers(target == 0 ? nullptr : &clients_[target]);
    model_.CancelOne(target);
  }

  // One call. Empty, or what the two differ in.
  [[nodiscard]] std::string Dispatch() {
    expected_ = model_.Fire(Timer64::GetMsecCount());
    const bool tells = expected_ && expected_->target != 0;
    told_ = false;
    source_.DispatchTimerEvents();
    if (differ_) return "the timer that fires, or what setting one returns";
    if (told_ != tells) return tells ? "a timer that doesn't fire" : "a timer that fires early";
    return "";
  }

 private:
  struct Context {
    TimerTwins* twins;
    std::size_t target;
  };

  static void OnTimer(void* ctx, unsigned long id, void* data) {
    const auto& context = *static_cast<Context*>(ctx);
    context.twins->Told(context.target, static_cast<std::uint32_t>(id), data);
  }

  void Told(std::size_t target, std::uint32_t id, void* data) {
    differ_ |=
        told_ || !expected_ || expected_->target != target || expected_->id != id || expected_->data != data;
    told_ = true;
    const Action action = *static_cast<Action*>(data);
    switch (action) {
      case Action::kNothing:
        break;
      case Action::kCancelsIt:
        Cancel(target, id);
        break;
      case Action::kSetsItAnew:
        Set(target, id, kAgainMs, action);
        break;
      case Action::kCancelsOneOfItsTarget:
        CancelOne(target);
        break;
      case Action::kSetsNext:
        Set(target, id + 1, kNextMs, Action::kNothing);
        break;
      case Action::kSetsAnothers:
        Set((target + 1) % kTargets, id, kNextMs, Action::kCancelsIt);
        break;
      case Action::kCancelsNext:
        Cancel(target, id + 1);
        break;
    }
  }

  std::array<Action, kActions> actions_{
      Action::kNothing,  Action::kCancelsIt,    Action::kSetsItAnew, Action::kCancelsOneOfItsTarget,
      Action::kSetsNext, Action::kSetsAnothers, Action::kCancelsNext};
  TimerSource source_;
  std::array<Context, kTargets> contexts_{{{this, 0}, {this, 1}, {this, 2}, {this, 3}}};
  // The first stands for none. Borrow the source, and so end before it.
  std::array<TimerClient, kTargets> clients_{{{OnTimer, &contexts_[0], nullptr},
                                              {OnTimer, &contexts_[1], &source_},
                                              {OnTimer, &contexts_[2], &source_},
                                              {OnTimer, &contexts_[3], nullptr}}};
  TimerModel model_;
  std::optional<TimerModel::Timer> expected_;
  bool told_ = false;
  bool differ_ = false;
};

}  // namespace hark
