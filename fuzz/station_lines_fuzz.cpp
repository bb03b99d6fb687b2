// What a station says to the gateway: an input is its lines. One that begins with `!` is another event: `!^`
// the connection is there, `!vREASON` lost, `!kKL01` a key, `!tKL01 -60` a fader to a level, `!bKL01 10` by a
// step, `!cLABEL` a caller, `!sNAME` a shift. What a browser knows by the changes alone is what a newcomer is
// told.
#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "support/fuzzing.h"
#include "tools/harkpanel/browser_message.h"
#include "tools/harkpanel/gateway_message.h"
#include "tools/harkpanel/station_view.h"

namespace {

using namespace hark::panel_gateway;
using hark::fuzz::check;
using nlohmann::json;

constexpr int kKeys = 3;

class Bench {
 public:
  Bench() : view_("web", 2, kKeys, true, ShiftNames(), [this](const char* text) { send(text); }) {
    (void)view_.take_changes();
    take(Parts::all(kKeys));
  }

  void run(const std::string& line) {
    if (line.size() > 1 && line[0] == '!') {
      event(line[1], line.substr(2));
    } else if (view_.link() == Link::kUp) {
      view_.receive(line);
    }
    take(view_.take_changes());
    check_view();
  }

 private:
  void event(char kind, const std::string& rest) {
    if (kind == '^') return connect();
    if (view_.link() != Link::kUp) return;
    const std::optional<hark::Signature> key = rest.size() < 4 ? std::nullopt : read_key(rest.substr(0, 4));
    const bool is_fader =
        rest.starts_with("SPKV") || (rest.starts_with("KL") && key && key != hark::kListenAa);
    const hark::Signature fader = is_fader ? hark::read_sig(rest.c_str()) : 0;
    const int index = hark::sigidx(fader) - view_.first_key();
    const bool has_fader = is_fader && (fader == hark::kSpeakerVolume || (index >= 0 && index < kKeys));
    int number = 0;
    if (rest.size() > 5) (void)std::from_chars(rest.data() + 5, rest.data() + rest.size(), number);
    if (kind == 'v') view_.lost(rest, 1000);
    if (kind == 'k' && key) view_.key(*key, true, 5);
    if (kind == 't' && has_fader) view_.fader_to(fader, std::clamp(number, -1000, 120));
    if (kind == 'b' && has_fader) view_.fader_by(fader, std::clamp(number, -1000, 1000));
    if (kind == 'c' && rest.size() <= kMaxLabel && is_text(rest)) view_.choose_caller(rest);
    if (kind == 's' && !rest.empty() && rest.size() <= kMaxLabel && is_text(rest)) view_.select_shift(rest);
  }

  static bool is_text(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) >= ' '; });
  }

  void connect() {
    if (view_.link() == Link::kUp) return;
    view_.connecting();
    view_.connected();
  }

  void send(std::string_view text) {
    check(view_.link() == Link::kUp, "nothing is sent without a connection");
    check(!text.empty() && text.back() == '\n', "whole lines are sent");
    check(text.size() <= 4'000, "and short ones");
    check(std::all_of(text.begin(), text.end(),
                      [](char c) { return c == '\n' || static_cast<unsigned char>(c) >= ' '; }),
          "without control characters");
  }

  // What a browser makes of the message.
  void take(const Parts& parts) {
    if (parts.any()) merge(read(state_message(view_, parts)));
    const json by_changes = std::exchange(known_, json::object());
    merge(read(state_message(view_, Parts::all(kKeys))));
    check(known_ == by_changes, "the changes alone tell the whole");
  }

  static json read(const std::string& text) {
    json message = json::parse(text, nullptr, false);
    check(message.is_object() && message["t"] == "state", "a message is JSON in UTF-8");
    return message;
  }

  void merge(const json& message) {
    for (const auto& [name, section] : message.items()) {
      if (name != "channels") {
        known_[name] = section;
        continue;
      }
      for (const json& channel : section)
        known_["ch"][std::to_string(channel["n"].get<int>())] = channel;
    }
  }

  void check_view() const {
    for (int index = 0; index < kKeys; ++index) {
      const StationView::Channel channel = view_.channel(index);
      check(channel.number == index + 2, "a channel keeps its number");
      check(channel.text.size() <= 10 && channel.alt.size() <= 10, "texts are cut");
      check(view_.link() == Link::kUp || (channel.talk == Lamp::kOff && channel.listen == Lamp::kOff),
            "no lamp is on without a station");
    }
    check(view_.calls().size() <= 1'000, "the list of calls has an end");
    check(view_.shifts().names().size() <= kMostShifts, "the list of shifts has an end");
    check(view_.station_name().size() <= 10, "the station's name is cut");
  }

  StationView view_;
  json known_ = json::object();
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Bench bench;
  for (const std::string& line : hark::fuzz::split(hark::fuzz::as_text(data, size), "\n"))
    bench.run(line);
  return 0;
}
