// The gateway between browsers and the station, without its sockets: who is connected, who holds which key,
// what each has yet to be told, and when somebody has been silent, slow or too fast. All browsers share one
// panel at the station, and so one connection. The rule above all others: a key that nobody holds any more
// goes up.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tools/harkpanel/back_off.h"
#include "tools/harkpanel/browser_message.h"
#include "tools/harkpanel/held_file.h"
#include "tools/harkpanel/holds.h"
#include "tools/harkpanel/station_view.h"

namespace hark::panel_gateway {

// Limits, in milliseconds where they are times.
inline constexpr Ms kHelloTime = 5'000;        // from the connection to its hello
inline constexpr Ms kSilentHold = 4'000;       // who holds a key and says nothing for so long has lost it
inline constexpr Ms kSilentBrowser = 120'000;  // pages in the background may speak once a minute
inline constexpr Ms kSlowReader = 10'000;      // something waits for it and it takes nothing
inline constexpr int kMostBrowsers = 64;
inline constexpr int kMessagesPerSecond = 200;
inline constexpr int kMessageBurst = 400;
inline constexpr std::size_t kMostReplies = 32;  // echoes and the like that wait for a slow reader
inline constexpr Ms kStationAsked = 5'000;  // a station that says nothing for so long is asked for an answer,
inline constexpr Ms kStationSilent = 10'000;  // and is lost when none has come
inline constexpr Ms kRetryAgain = 1'000;      // "try now" is heard so often
inline constexpr Ms kShiftLook = 3'000;
inline constexpr Ms kDialTime = 5'000;      // for the station to take the connection
inline constexpr Ms kSettingsTime = 2'000;  // for it to tell its settings
inline constexpr Ms kLateRelease = 10'000;  // so much longer than here a press may have been at the browser

// The world outside: sockets. Calls come from within the gateway's own functions, and may call back into
// them.
class GatewayOutputs {
 public:
  virtual ~GatewayOutputs() = default;
  virtual void to_station(std::string_view text) = 0;
  // Something waits for this browser: take_message() when it can be written to.
  virtual void wake(BrowserId browser) = 0;
  // Send what take_message() still gives, then close. The browser's closed() follows, now or later.
  virtual void close(BrowserId browser, CloseCode code, std::string_view why) = 0;
  // Dial the station, or give the present connection up; station_connected() or station_lost() follows. A
  // loss that is told while the station is lost already changes nothing.
  virtual void dial_station() = 0;
  virtual void drop_station() = 0;
};

struct GatewayOptions {
  std::string id = "web";
  int first_key = 1;
  int last_key = 20;
  bool auto_answer = false;
  std::string token;         // empty: none is wanted
  std::string channel_file;  // empty: none
};

class Gateway {
 public:
  // `held` may be null: then keys that are down do not outlive the process. Dials the station at the first
  // tick.
  Gateway(const GatewayOptions& options, GatewayOutputs& outputs, std::unique_ptr<HeldFile> held);
  ~Gateway();
  Gateway(const Gateway&) = delete;
  Gateway& operator=(const Gateway&) = delete;

  // ---- from browsers. `now`: a steady clock, in ms ----
  [[nodiscard]] BrowserId browser_opened(Ms now);
  void browser_said(BrowserId browser, std::string_view text, Ms now);
  // A frame that is no text message, or is too large: the browser is refused.
  void browser_misbehaved(BrowserId browser, CloseCode code, std::string_view why);
  // The connection is gone, however that came: what it held goes up at once.
  void browser_closed(BrowserId browser, Ms now);
  // The next message for this browser, one after the other until there is none: the empty text. Tells the
  // gateway that the browser reads.
  [[nodiscard]] std::string take_message(BrowserId browser, Ms now);

  // ---- from the station ----
  void station_connected(Ms now);
  void station_said(const std::string& line, Ms now);
  void station_lost(std::string_view why, Ms now);

  // What depends on time. At least each tenth of a second; may come as often as one likes.
  void tick(Ms now);
  // The gateway ends: all keys go up, all browsers are told. What comes from the station is
  // still taken, so that the file of held keys loses those of which it has heard.
  void shut_down(Ms now);

  [[nodiscard]] const StationView& view() const { return view_; }
  [[nodiscard]] std::size_t browsers() const { return browsers_.size(); }
  [[nodiscard]] std::vector<Signature> keys_down() const { return holds_.down(); }

 private:
  struct Browser {
    Ms opened = 0;
    Ms heard = 0;           // when it last said anything
    Ms waiting_since = -1;  // since when something waits for it; -1: nothing
    bool surplus = false;   // there were too many when it came
    bool welcome = false;   // its hello was accepted
    bool closing = false;
    bool tell_welcome = false;
    double credit = kMessageBurst;  // messages it may send at once
    Ms credit_at = 0;
    Parts untold;
    std::map<Signature, std::string_view> released;  // keys that it has yet to be told of, and why
    std::deque<std::string> replies;                 // go ahead of the state
    std::string last_words;                          // goes alone: the connection is closed behind it

    [[nodiscard]] bool waits() const;
  };
  struct Press {
    Ms sent = 0;  // the time that the station was told
    Ms at = 0;
    BrowserId browser = 0;  // who pressed, while it is the only one that has; 0: several
    double browser_ms = 0;  // its own time of the press
    std::string caller;     // whom the auto-answer channel was, for a key of it
  };
  struct Handler;  // one function for each kind of message

  void see(Ms now);
  Browser* find(BrowserId browser);
  [[nodiscard]] std::vector<BrowserId> ids() const;
  void refuse(BrowserId browser, CloseCode code, std::string_view why);
  void wake(BrowserId browser);
  std::string next_message(Browser& state);
  bool in_time(Browser& state) const;
  void check_browser(BrowserId browser);
  void spread_changes();

  void take(BrowserId browser, const Hello& hello);
  void take(BrowserId browser, const KeyEvent& event);
  void take(BrowserId browser, const FaderMove& move);
  void take(BrowserId browser, const ChooseCaller& choice);
  void take(BrowserId browser, const SelectShift& choice);
  void take(BrowserId browser, const Echo& echo);
  void take(BrowserId browser, const Retry& retry);

  // ---- keys; in gateway_keys.cpp ----
  [[nodiscard]] bool has_key(Signature key) const;
  void press(BrowserId browser, const KeyEvent& event);
  void release(BrowserId browser, const KeyEvent& event);
  void send_down(Signature key, BrowserId browser, double browser_ms);
  void send_up(Signature key, Ms time);
  [[nodiscard]] bool would_hide_a_release() const;
  [[nodiscard]] Ms duration(const Press& press, BrowserId browser, double browser_ms) const;
  [[nodiscard]] Ms time_of_up(const Press& press, BrowserId browser, double browser_ms) const;
  [[nodiscard]] Ms time_beyond_taps() const;
  void let_go(Signature key);
  [[nodiscard]] bool knows_taps() const;
  void let_go_all_of(BrowserId browser, std::string_view why);
  void tell_released(BrowserId browser, Signature key, std::string_view why);
  void let_go_of_stale();
  void take_over_time();
  void make_all_stale();
  void confirm_ups();
  void ask();
  void ups_confirmed();
  void save_down();

  // ---- the station; in gateway_station.cpp ----
  void dial();
  void check_station(Ms passed);
  bool check_silence(Ms passed);

  GatewayOutputs& outputs_;
  std::string token_;
  std::unique_ptr<HeldFile> held_file_;
  StationView view_;
  BackOff back_off_;
  Holds holds_;
  Ms now_ = 0;  // as last told; never runs backwards
  Ms ticked_at_ = 0;
  bool ended_ = false;

  // Times that the station is told; they never run backwards, and it gets their lower 32 bits.
  Ms last_sent_ = 0;
  Ms last_down_ = 0;
  std::map<Signature, Press> presses_;  // of the keys that are down at the station
  std::set<Signature> stale_;           // down at the station as far as is known, held by nobody
  // Keys whose release was sent, but may have been lost with the connection: those since the last probe, and
  // those that the answer to it confirms.
  std::set<Signature> unconfirmed_;
  std::set<Signature> probed_;
  int probes_ = 0;  // answers that are still to come

  std::map<BrowserId, Browser> browsers_;
  BrowserId next_id_ = 1;
  Ms dial_at_ = 0;  // when the station is dialled; -1: not now
  bool dialling_ = false;
  Ms dialled_at_ = 0;
  Ms connected_at_ = 0;
  Ms quiet_ = 0;  // how long the station has said nothing, while this process ran
  Ms retried_at_ = -kRetryAgain;
  Ms looked_at_ = -kShiftLook;
};

}  // namespace hark::panel_gateway
