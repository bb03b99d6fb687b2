// One attached panel: a control connection that has said ATTACH, or a console that has reported its key
// module. It owns what is that panel's alone (which keys it shows, what it last sent, its menu), turns the
// model's `dirty` bits into text for its panel, and is the panel's way into the model.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "addressing/HarkResolv.h"
#include "base/clock.h"
#include "panel/HarkUIProxyShared.h"
#include "panel/HarkUI_CallstackMenu.h"
#include "panel/panel_line.h"
#include "panel/signature.h"

namespace hark {

class HarkUIProxy {
 public:
  // Writes a text to the panel's connection `context`. Not 0 when it was taken.
  using Send = int (*)(const char* text, int context);

  static constexpr int kNoModule = -1;     // a console whose key module is gone
  static constexpr int kNetworkPanel = 0;  // attached over the control port
  static constexpr int kModule20 = 1;      // console, 20 keys with talk and listen apart
  static constexpr int kModule10 = 2;      // console, 10 keys with talk and listen apart
  static constexpr int kModuleColour = 3;  // console, 10 coloured keys for both

  static constexpr int kLongestShownId = 1900;        // characters of an id that a line has room for
  static constexpr int kNoValue = 1000;               // a fader that is not there
  static constexpr TimeUs kSourceTimeUs = 3'000'000;  // a fader's off button without a key clears its source
  static constexpr TimeUs kMenuFlashUs = 250'000;

  // A panel `id` for the keys `first` to `last` (from 1, within the model's); `aans`: it offers auto-answer.
  // Borrows `shared`, which must outlive it. Null without memory.
  [[nodiscard]] static std::unique_ptr<HarkUIProxy> Create(std::string id, int first, int last, int aans,
                                                           HarkUIProxyShared* shared, Send send, int context);

  // Sends what the bits of `flags` ask for and has changed; `now` 0: no time is known, and what depends on it
  // waits. Cheap when no bit is set. kDirtyAll without a time brings a new panel up to date.
  void Notify(std::uint32_t flags, TimeUs now);
  // Reopens all latched listens.
  void ActivateLatchedListen();

  void UpdateChannelLabels();
  // One indicator; nothing is sent for a letter that the key shows already, or for a key without a place.
  void UpdateKeyIndicator(Signature key, char letter);
  // Both indicators of channel `index` (nkeys: auto-answer) from the state of a party.
  void UpdateKeyIndicators(int index, std::uint8_t status);
  void UpdateKeyIndicators();
  // The next level of the rotary of `key`, moved by `delta` tenths of a dB; kNoValue for any other key.
  int CalcFaderScroll(Signature key, int delta);
  void PopulateChannelListCombo();
  void PopulateShiftListCombo();
  void PopulateCallstack();
  // Sends the visible lines of the menu, to a console.
  void surfacemodule_callstackmenu_update();

  // A line of the panel's objects, from "HARKUI#" on, or from the object ("BUT#...") on without a name; and a
  // line of a console, from behind "Intercom", or a fader's from "FaCH#" on.
  void harkui_receive(const char* text);
  void harkui_receive_surface(const char* text);

  [[nodiscard]] const std::string& GetUIID() const { return id_; }
  [[nodiscard]] int first_key() const { return first_; }
  [[nodiscard]] int last_key() const { return last_; }
  [[nodiscard]] bool aans() const { return aans_ != 0; }
  // The label that key index `index` shows; empty for a key that this panel does not have.
  [[nodiscard]] std::string_view label_of(int index) const;
  [[nodiscard]] const HarkUI_CallstackMenu& menu() const { return menu_; }

  // Module type: kNetworkPanel at creation, set by the console's report before the first Notify.
  int type = kNetworkPanel;

 private:
  struct Key {
    std::optional<std::string> text;  // the label that is shown; none before the first
    std::optional<std::string> alt;   // its alternate text
    std::uint32_t dfl = 0;            // as last reported
  };
  struct ConsoleKey;

  HarkUIProxy(std::string id, int first, int last, int aans, HarkUIProxyShared* shared, Send send,
              int context);

  int harkui_sendf(const char* format, ...) __attribute__((format(printf, 2, 3)));
  void update_label(int index, bool changed, LabelResolver& resolver);
  void send_label(int index);
  void send_auto_answer_label(LabelResolver& resolver);
  [[nodiscard]] int indicator_place(Signature key) const;
  bool cache_indicator(Signature key, char letter);
  void render_network(Signature key, char letter);
  void render_button(Signature key, char letter);
  void render_colour_key(int index);
  void send_faders();
  void lapse_source(TimeUs now);
  void flash_menu(TimeUs now);

  void receive_key(Signature key, const char* values);
  void receive_fader(Signature fader, const char* values);
  void receive_display(Signature display, const char* values);

  void receive_fader_button(const char* text);
  [[nodiscard]] ConsoleKey read_console_key(const char* text) const;
  void apply_menu_item();
  bool taken_by_menu_command(const ConsoleKey& key);
  bool taken_by_menu_knob(const ConsoleKey& key);
  bool taken_by_source(const ConsoleKey& key);
  bool taken_by_held_volume(const ConsoleKey& key);
  void turn_speaker_rotary(int clicks);
  // The listen key of a channel whose key for both is `key`; any other key as it is.
  static Signature listen_key(Signature key);

  std::string id_;
  int first_;
  int last_;
  int aans_;
  HarkUIProxyShared* shared_;
  Send send_;
  int context_;

  int fach_ = 0;              // fader channel that is being given a source, 0: none
  TimeUs fach_deadline_ = 0;  // when its source is cleared
  bool fach_armed_ = false;   // fach_deadline_ is running
  int fach_talk_key_ = 0;     // key number of the last talk and listen press, 0: none
  int fach_listen_key_ = 0;
  int menu_flash_ = -1;  // phase of the flashing menu glyph, -1: nothing flashes
  TimeUs menu_flash_time_ = 0;
  HarkUI_CallstackMenu menu_;
  int show_alt_ = 1;              // displays show the alternate text where there is one
  int show_alt_seen_ = -1;        // what they last had
  std::vector<char> indicators_;  // last letter sent by place, NUL: none
  std::vector<Key> keys_;         // by key index
  int spk_scroll_ = 0;            // levels that a rotary has stepped to
  int hdp_scroll_ = 0;
};

}  // namespace hark
