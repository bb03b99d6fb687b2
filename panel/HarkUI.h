// The panel's end of the HARKUI# vocabulary, for programs that are a panel: it keeps what the station last
// said of keys, displays, lamps and lists, and reaches the screen or the hardware through a table of
// callbacks. The daemon itself makes none. It does no input and output of its own: the program hands it the
// lines that came, and takes the text that is to go out.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "panel/signature.h"

namespace hark {

// How many channels lamps cover, whatever the number of keys. Writable for panels with more.
extern int harkchTable_size;

// Kinds of lamps.
inline constexpr Signature kLampTalk = sig("ICIT");
inline constexpr Signature kLampListen = sig("ICIL");
inline constexpr Signature kLampGroup = sig("GRPI");
inline constexpr Signature kLampAssign = sig("ASGI");
inline constexpr Signature kLampSpeakerMute = sig("SPKM");
inline constexpr Signature kLampMicMute = sig("MICM");

// Where the lamps of the auto-answer channel are.
inline constexpr int kAutoAnswerLamp = 1001;

// States of a lamp.
inline constexpr int kLampOff = 0;
inline constexpr int kLampOn = 1;
inline constexpr int kLampPulse = 2;  // one short flash: the key winks

// A panel's text: 10 characters and the NUL.
inline constexpr int kPanelTextSize = 11;
using PanelText = std::array<char, kPanelTextSize>;

// More keys than their two digits can name; a client for more is not made.
inline constexpr int kMostPanelKeys = 1000;

// The key that selects a shift; the panel's own, no lamp belongs to it.
inline constexpr Signature kShiftKey = sig("SHFT");

// How a client reaches its panel. Each may be null, and is skipped then. Texts are valid during the call. A
// callback may send lines to the same client's functions but must not free it.
struct HarkUI_Callbacks {
  // The display of key index `index` (from 0; the number of keys: the auto-answer channel) shows these.
  void (*display)(void* ctx, int index, const char* text, const char* alt) = nullptr;
  // Puts the label that the panel itself has chosen for the auto-answer channel into `buffer`, terminated.
  void (*auto_answer_label)(void* ctx, char* buffer, int size) = nullptr;
  // The lamp of this kind, at channel `index` (kAutoAnswerLamp: the auto-answer channel; 0 for kinds of which
  // there is one), is in `state`. Told whether it changed or not.
  void (*lamp)(void* ctx, Signature kind, int index, int state) = nullptr;
  // The station moved a fader to `level`, in tenths of a dB.
  void (*fader)(void* ctx, Signature fader, int level) = nullptr;
  // The list (kListStations, kListShifts, kListCalls) is empty from here on; and has this item more. `letter`
  // is the indicator of a call, NUL for other lists.
  void (*clear_list)(void* ctx, Signature list) = nullptr;
  void (*add_to_list)(void* ctx, Signature list, const char* text, const char* alt, char letter) = nullptr;
  // Goes to the station as it stands: one or more whole lines.
  void (*send)(void* ctx, const char* text) = nullptr;
};

class HarkUI {
 public:
  // What a display shows.
  struct Record {
    PanelText text{};
    PanelText alt{};
    std::uint32_t dfl = 0;  // flags, see the kDfl values of panel_line.h
  };

  HarkUI(int first_key, int nkeys, int aans, std::string_view id, const HarkUI_Callbacks* callbacks,
         void* ctx);
  HarkUI(const HarkUI&) = delete;
  HarkUI& operator=(const HarkUI&) = delete;

  // Clears what it knows, blanks the displays, attaches, and asks for the station's name. After each
  // connection to the station.
  void HarkUI_Initialize();

  // A line from the station, without its end; one that is nothing to a panel is dropped.
  void harkd_receive(const char* text);

  // The key `key` went down or up, at `time` ms of the panel's own clock (none: the station takes its own).
  // kShiftKey selects the shift `text`, which other keys ignore (null will do). `key` 0 only tells the
  // station of a label that the panel has chosen for the auto-answer channel, which goes ahead of every other
  // key too.
  void IntercomKeyEvent(Signature key, bool down, std::optional<std::uint32_t> time, const char* text);

  // The fader `key` stands at `value` tenths of a dB, or with `relative` was moved by so many.
  void IntercomFaderMoved(Signature key, int value, bool relative);

  // One step of the flashing: all lamps are told. 8 steps on, 8 off; a wink each 32.
  void TimerAction();
  void UpdateKeyIndicators();

  [[nodiscard]] const std::string& GetUIID() const { return id_; }
  // The station's own name, as far as it has been told.
  [[nodiscard]] std::string_view label() const;
  // The last letter of a key (`0` off, `1` on, `F` flash, others as they came); NUL before the first, and for
  // a key that the panel does not have.
  [[nodiscard]] char getindi(Signature key) const;
  // What the display of key index `index` shows (the number of keys: the auto-answer channel). Requires an
  // index in that range.
  [[nodiscard]] const Record& record(int index) const { return records_[static_cast<std::size_t>(index)]; }
  [[nodiscard]] int first_key() const { return first_key_; }
  [[nodiscard]] int nkeys() const { return nkeys_; }

 private:
  [[nodiscard]] int key_index(Signature key) const;
  [[nodiscard]] int calcindiidx(Signature key) const;
  void sendf(const char* format, ...) __attribute__((format(printf, 2, 3)));
  void show(int index);
  void send_auto_answer_label();
  void receive_key(Signature key, const char* values);
  void receive_fader(Signature fader, const char* values);
  void receive_display(Signature display, const char* values);
  void receive_clear(Signature list, const char* rest);
  void receive_item(Signature list, const char* rest);
  void receive_station(const char* text);
  void update_channel_lamps(int index);
  void set_lamp(Signature kind, int index, char letter);

  int first_key_;
  int nkeys_;
  int aans_;
  const HarkUI_Callbacks* callbacks_;  // borrowed
  void* ctx_;                          // borrowed
  std::vector<char> indicators_;       // last letter by place
  std::vector<Record> records_;        // by key index, the last one the auto-answer channel's
  PanelText label_{};
  std::string id_;
  std::uint32_t tick_ = 0;  // 0 to 127
};

// A client for the keys `first` to `first + nkeys - 1`, which offers auto-answer when `aans` is not 0, under
// the name `id`. Borrows `callbacks` and `ctx`, which must outlive it. Null for a negative `nkeys`, one
// above kMostPanelKeys, or a null `callbacks`. An `id` beyond 1900 characters, which no line has room for, is
// cut to that.
[[nodiscard]] std::unique_ptr<HarkUI> HarkUI_Create(int first, int nkeys, int aans, std::string_view id,
                                                    const HarkUI_Callbacks* callbacks, void* ctx);
// Takes the client, which may be null, and frees it; letting the pointer go does the same.
void HarkUI_Free(std::unique_ptr<HarkUI> ui);

}  // namespace hark
