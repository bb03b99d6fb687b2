// The gateway's keys: from the fingers of all browsers to the DOWN and UP of one panel, each UP with a time
// from which the station sees what the press was.
#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "tools/harkpanel/gateway.h"

namespace hark::panel_gateway {
namespace {

constexpr Ms kFarAhead = 3'600'000;
constexpr Signature kFamilyMask = 0xFFFF0000;  // the two characters in front of a number

bool is_auto_answer(Signature key) { return key == kListenAa || key == kTalkAa || key == kBothAa; }

bool has_number(Signature key) {
  const Signature family = key & kFamilyMask;
  const bool channel = family == (kListen00 & kFamilyMask) || family == (kTalk00 & kFamilyMask) ||
                       family == (kBoth00 & kFamilyMask);
  return channel && !is_auto_answer(key);
}

}  // namespace

// Keys and faders without a number are on every panel.
bool Gateway::has_key(Signature key) const {
  if (!has_number(key)) return true;
  const int index = sigidx(key) - view_.first_key();
  return index >= 0 && index < view_.nkeys();
}

void Gateway::press(BrowserId browser, const KeyEvent& event) {
  if (view_.link() != Link::kUp) return tell_released(browser, event.key, "station");
  if (event.key == kAssign && would_hide_a_release()) return tell_released(browser, event.key, "held");
  if (holds_.holds(event.key, browser)) return;
  find(browser)->released.erase(event.key);  // that was an earlier press
  if (holds_.press(event.key, browser)) return send_down(event.key, browser, event.at_ms);
  if (const auto at = presses_.find(event.key); at != presses_.end()) at->second.browser = 0;
}

// While keys are assigned, the release of one assigns it, and ends no call: a call that a key holds would
// stay. Another press ends that mode, and is always let through.
bool Gateway::would_hide_a_release() const {
  if (view_.function_key(kAssign) == Lamp::kFlash) return false;
  return std::any_of(presses_.begin(), presses_.end(), [](const auto& entry) {
    return std::find(kFunctionKeys.begin(), kFunctionKeys.end(), entry.first) == kFunctionKeys.end();
  });
}

void Gateway::release(BrowserId browser, const KeyEvent& event) {
  if (!holds_.release(event.key, browser)) return;
  const auto at = presses_.find(event.key);
  if (event.cancelled || at == presses_.end()) return let_go(event.key);
  send_up(event.key, time_of_up(at->second, browser, event.at_ms));
}

void Gateway::send_down(Signature key, BrowserId browser, double browser_ms) {
  // What an earlier connection left down is a press of its own, and ends first.
  if (stale_.erase(key) != 0) send_up(key, time_beyond_taps());
  if (!holds_.holds(key, browser)) return;  // the station was lost meanwhile
  unconfirmed_.erase(key);
  probed_.erase(key);
  last_sent_ = last_down_ = std::max(now_, last_sent_);
  presses_[key] = {.sent = last_sent_,
                   .at = now_,
                   .browser = browser,
                   .browser_ms = browser_ms,
                   .caller = is_auto_answer(key) ? view_.auto_answer().text : std::string()};
  save_down();
  view_.key(key, true, static_cast<std::uint32_t>(last_sent_));
}

// The key goes to the unconfirmed ones before the line goes out, so that it is found there when the station
// is lost over it.
void Gateway::send_up(Signature key, Ms time) {
  const auto at = presses_.find(key);
  const std::string caller = at != presses_.end() ? std::move(at->second.caller) : std::string();
  presses_.erase(key);
  unconfirmed_.insert(key);
  last_sent_ = std::max(last_sent_, time);
  view_.key_up(key, static_cast<std::uint32_t>(last_sent_), caller);
  save_down();
}

// The station measures a tap from the last press that it was told of, which may be an earlier gateway's, with
// times that had run ahead. Times from before the machine was started last mean nothing: those far ahead are
// such, and those behind do no harm.
void Gateway::take_over_time() {
  if (!held_file_) return;
  const Ms found = held_file_->found_press_ms();
  if (found - now_ > kFarAhead) return;
  last_down_ = std::max(last_down_, found);
  last_sent_ = std::max(last_sent_, found);
}

// How long a finger was on a key its browser knows best, since messages are late; but not beyond reason. The
// times of several browsers cannot be compared.
Ms Gateway::duration(const Press& press, BrowserId browser, double browser_ms) const {
  constexpr double kFinest = 0.001;  // makes good for what the subtraction loses
  const Ms here = now_ - press.at;
  if (press.browser != browser) return here;
  const double there = std::floor(browser_ms - press.browser_ms + kFinest);
  return static_cast<Ms>(std::clamp<double>(there, 0, static_cast<double>(here + kLateRelease)));
}

// The station measures from the last press of any key. A key that was held is not to stay open for nobody
// because somebody has just pressed another one.
Ms Gateway::time_of_up(const Press& press, BrowserId browser, double browser_ms) const {
  const Ms length = duration(press, browser, browser_ms);
  const Ms latch = view_.latch_ms();
  return length < latch ? press.sent + length : std::max(press.sent + length, last_down_ + latch);
}

// So long after the last press of any key that the station sees no tap: it measures from that one.
Ms Gateway::time_beyond_taps() const { return std::max(now_, last_down_) + view_.latch_ms() + 1; }

// Whoever held the key is gone: it goes up, and stays open for nobody. Until the station has told how long a
// tap is, which it does first of all, the key waits among the stale ones.
void Gateway::let_go(Signature key) {
  if (!presses_.contains(key)) return;
  if (knows_taps()) return send_up(key, time_beyond_taps());
  presses_.erase(key);
  stale_.insert(key);
}

bool Gateway::knows_taps() const { return view_.settings_known() || now_ - connected_at_ >= kSettingsTime; }

// `why`: for the browser; empty: it is not told.
void Gateway::let_go_all_of(BrowserId browser, std::string_view why) {
  const Holds::Released released = holds_.release_all(browser);
  for (const Signature key : released.up)
    let_go(key);
  if (why.empty()) return;
  for (const Signature key : released.let_go)
    tell_released(browser, key, why);
}

void Gateway::tell_released(BrowserId browser, Signature key, std::string_view why) {
  Browser* state = find(browser);
  if (state == nullptr || state->closing) return;
  state->released[key] = why;
  wake(browser);
}

void Gateway::let_go_of_stale() {
  const bool beyond =
      std::any_of(stale_.begin(), stale_.end(), [this](Signature key) { return !has_key(key); });
  if (beyond) view_.have_all_keys();
  while (view_.link() == Link::kUp && !stale_.empty()) {
    const Signature key = *stale_.begin();
    stale_.erase(key);
    send_up(key, time_beyond_taps());
  }
  if (beyond) view_.have_own_keys();
}

// The station is lost: whatever may be down there is let go of when it is back.
void Gateway::make_all_stale() {
  for (const BrowserId id : ids()) {
    for (const Signature key : holds_.release_all(id).let_go)
      tell_released(id, key, "station");
  }
  (void)holds_.clear();
  for (const auto& [key, press] : presses_)
    stale_.insert(key);
  presses_.clear();
  stale_.merge(unconfirmed_);
  stale_.merge(probed_);
  unconfirmed_.clear();
  probed_.clear();
  probes_ = 0;
  save_down();
}

// A line that was handed to a socket has not arrived yet. The station answers in order, so that its answer to
// a question says that all before it was heard.
void Gateway::confirm_ups() {
  if (unconfirmed_.empty()) return;
  probed_.merge(unconfirmed_);
  unconfirmed_.clear();
  ask();
}

void Gateway::ask() {
  ++probes_;
  view_.probe();
}

void Gateway::ups_confirmed() {
  if (probes_ == 0 || --probes_ != 0 || probed_.empty()) return;
  probed_.clear();
  save_down();
}

// All keys that may be down at the station.
void Gateway::save_down() {
  if (!held_file_) return;
  std::set<Signature> keys = stale_;
  keys.insert(unconfirmed_.begin(), unconfirmed_.end());
  keys.insert(probed_.begin(), probed_.end());
  for (const auto& [key, press] : presses_)
    keys.insert(key);
  (void)held_file_->write({keys.begin(), keys.end()},
                          last_down_);  // a full disk must not keep anybody from talking
}

}  // namespace hark::panel_gateway
