// The panel's end of the panel protocol: an input is the panel's name, a byte that tells of its keys and
// callbacks, and lines of the station between keys, faders and steps of the panel itself. What goes out is
// whole lines of known forms, indexes and texts of callbacks are within their bounds, and every lamp is one
// of three.
//
//     !KL01        the key goes down, with a time of its own     ^KL01   up, without one
//     =KL01-60     a fader stands there                          ~KL01-10   it was moved
//     &text        a shift is selected                           @text   a label is chosen
//     +            a step                                        %   it attaches again
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "panel/HarkUI.h"
#include "panel/HarkUI_CallstackMenu.h"
#include "support/fuzzing.h"

namespace {

using hark::HarkUI;
using hark::Signature;
using hark::fuzz::check;
using hark::fuzz::ExactText;

constexpr int kMostKeys = 90;

struct Panel {
  int nkeys = 0;
  std::string id;
  std::string chosen;
  std::unique_ptr<HarkUI> ui;
};

Panel& panel_of(void* ctx) { return *static_cast<Panel*>(ctx); }

void check_label(const char* text) {
  check(text != nullptr && std::strlen(text) < hark::kPanelTextSize, "a text has ten characters at most");
}

void display(void* ctx, int index, const char* text, const char* alt) {
  check(index >= 0 && index <= panel_of(ctx).nkeys, "a display is a key's or the auto-answer channel's");
  check_label(text);
  check_label(alt);
}

void auto_answer_label(void* ctx, char* buffer, int size) {
  check(size == hark::kPanelTextSize, "room for a label");
  const std::string& chosen = panel_of(ctx).chosen;
  const std::size_t length = chosen.copy(buffer, static_cast<std::size_t>(size) - 1);
  buffer[length] = '\0';
}

void lamp(void*, Signature kind, int index, int state) {
  check(state >= hark::kLampOff && state <= hark::kLampPulse, "a lamp's state");
  if (kind == hark::kLampTalk || kind == hark::kLampListen) {
    check(index == hark::kAutoAnswerLamp || (index >= 0 && index < hark::harkchTable_size),
          "a channel's lamp");
    return;
  }
  check(index == 0, "a lamp of which there is one");
  check(kind == hark::kLampGroup || kind == hark::kLampAssign || kind == hark::kLampSpeakerMute ||
            kind == hark::kLampMicMute,
        "a kind of lamp");
}

void fader(void*, Signature, int) {}

void check_list(Signature list) {
  check(list == hark::kListStations || list == hark::kListShifts || list == hark::kListCalls, "a list");
}
void clear_list(void*, Signature list) { check_list(list); }
void add_to_list(void*, Signature list, const char* text, const char* alt, char letter) {
  check_list(list);
  check_label(text);
  check_label(alt);
  check(list == hark::kListCalls || letter == '\0', "only calls have a letter");
}

// Whole lines, each of this panel, but for the question and the empty line behind a key.
void send(void* ctx, const char* text) {
  const std::string sent(text);
  check(!sent.empty() && sent.back() == '\n', "what goes out ends its line");
  for (const std::string& line : hark::fuzz::split(std::string_view(sent).substr(0, sent.size() - 1), "\n")) {
    const bool known = line.empty() || line == "HARK" ||
                       line.starts_with("event HARKUI#" + panel_of(ctx).id + ".") ||
                       line.starts_with("attach HARKUI#" + panel_of(ctx).id + " KEYS=\"");
    check(known, "a line that a panel says");
  }
}

// The four characters behind a mark; what is missing are blanks.
Signature key_of(std::string rest) {
  rest.resize(4, ' ');
  return hark::read_sig(rest.c_str());
}

int number_of(const std::string& rest) {
  return rest.size() > 4 ? static_cast<int>(std::strtol(rest.c_str() + 4, nullptr, 10) % 100'000) : 0;
}

void line(Panel& panel, const std::string& text) {
  const std::string rest = text.empty() ? text : text.substr(1);
  HarkUI& ui = *panel.ui;
  switch (text.empty() ? '\0' : text[0]) {
    case '!':
      return ui.IntercomKeyEvent(key_of(rest), true, 4294967295U, ExactText(rest).c_str());
    case '^':
      return ui.IntercomKeyEvent(key_of(rest), false, std::nullopt, nullptr);
    case '=':
      return ui.IntercomFaderMoved(key_of(rest), number_of(rest), false);
    case '~':
      return ui.IntercomFaderMoved(key_of(rest), number_of(rest), true);
    case '&':
      return ui.IntercomKeyEvent(hark::kShiftKey, true, std::nullopt, ExactText(rest).c_str());
    case '@':
      panel.chosen = rest;
      return ui.IntercomKeyEvent(0, true, std::nullopt, nullptr);
    case '+':
      return ui.TimerAction();
    case '%':
      return ui.HarkUI_Initialize();
    default:
      return ui.harkd_receive(ExactText(text).c_str());
  }
}

// The low bits of the number are the callbacks that the panel leaves out.
hark::HarkUI_Callbacks callbacks_of(unsigned left_out) {
  hark::HarkUI_Callbacks all{display, auto_answer_label, lamp, fader, clear_list, add_to_list, send};
  if ((left_out & 1U) != 0) all.display = nullptr;
  if ((left_out & 2U) != 0) all.auto_answer_label = nullptr;
  if ((left_out & 4U) != 0) all.lamp = nullptr;
  return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  auto parts = hark::fuzz::split(hark::fuzz::as_text(data, size), "\n", 3);
  parts.resize(3);
  const auto kind = parts[1].empty() ? 0U : static_cast<unsigned char>(parts[1][0]);
  const auto first = parts[1].size() < 2 ? 1U : static_cast<unsigned char>(parts[1][1]) % 100U;

  Panel panel;
  panel.nkeys = static_cast<int>(kind >> 3U) * 3 % (kMostKeys + 1);
  panel.id = ExactText(parts[0]).c_str();
  const hark::HarkUI_Callbacks callbacks = callbacks_of(kind);
  panel.ui = hark::HarkUI_Create(static_cast<int>(first), panel.nkeys, 0, panel.id, &callbacks, &panel);
  check(panel.ui != nullptr, "a client is made");
  panel.ui->HarkUI_Initialize();
  for (const std::string& text : hark::fuzz::split(parts[2], "\n"))
    line(panel, text);
  check(panel.ui->label().size() < hark::kPanelTextSize, "the station's name");
  for (int index = 0; index <= panel.nkeys; ++index) {
    check_label(panel.ui->record(index).text.data());
    check_label(panel.ui->record(index).alt.data());
  }
  return 0;
}
