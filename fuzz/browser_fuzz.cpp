// What browsers do to the gateway. An input is letters for its ways (support/gateway_rig.h), and behind a
// line feed one step a line: `+` a browser comes; `1{...}` the first of them says this; `1-` it goes, `1!`
// sends what is no message, `1<` reads; `^` the station is there, `v` lost, `<...` says a line, `=` answers a
// question; `@ms` time passes; `k` the gateway is killed and starts again. Each text is read by itself too.
#include <cmath>
#include <string>
#include <variant>
#include <vector>

#include "support/fuzzing.h"
#include "support/gateway_rig.h"
#include "tools/harkpanel/browser_message.h"

namespace {

using namespace hark::panel_gateway;
using hark::fuzz::check;

void check_label(const std::string& label) {
  check(label.size() <= kMaxLabel, "a label is no longer than the station's");
  for (const char c : label)
    check(static_cast<unsigned char>(c) >= ' ', "a label has no control characters");
}

struct CheckMessage {
  void operator()(const Hello&) const {}
  void operator()(const KeyEvent& event) const {
    check(read_key(hark::sig_text(event.key).data()) == event.key, "a key is one that can be pressed");
    check(std::isfinite(event.at_ms) && event.at_ms >= 0 && event.at_ms <= 9007199254740992.0,
          "a time is one");
  }
  void operator()(const FaderMove& move) const {
    check(move.to.has_value() != move.by.has_value(), "a fader goes to a level or by a step");
    check(!move.to || (*move.to >= -1000 && *move.to <= 120), "a level is in its range");
    check(!move.by || (*move.by >= -1000 && *move.by <= 1000), "a step is in its range");
  }
  void operator()(const ChooseCaller& choice) const { check_label(choice.label); }
  void operator()(const SelectShift& choice) const {
    check_label(choice.name);
    check(!choice.name.empty(), "a shift has a name");
  }
  void operator()(const Echo& echo) const { check(std::isfinite(echo.number), "an echo carries a number"); }
  void operator()(const Retry&) const {}
};

void check_message(std::string_view text) {
  const auto read = read_browser_message(text);
  if (const auto* bad = std::get_if<BadMessage>(&read))
    return check(!bad->why.empty(), "a refusal has a reason");
  std::visit(CheckMessage{}, std::get<BrowserMessage>(read));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input = hark::fuzz::as_text(data, size);
  check_message(input);
  const std::vector<std::string> lines = hark::fuzz::split(input, "\n");
  hark::fuzz::GatewayRig rig(lines[0]);
  for (std::size_t at = 1; at < lines.size(); ++at) {
    if (lines[at].size() > 1) check_message(std::string_view(lines[at]).substr(1));
    rig.run(lines[at]);
  }
  rig.finish();
  return 0;
}
