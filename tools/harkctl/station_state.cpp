#include "tools/harkctl/station_state.h"

#include <algorithm>
#include <string_view>

#include "base/text.h"
#include "tools/control/control_lines.h"
#include "tools/harkctl/text.h"

namespace hark::ctl {
namespace {

constexpr std::string_view kHost = "IP hostname ";
constexpr std::string_view kConfiguration = "CFG ";
constexpr std::size_t kPins = 5;
constexpr std::uint64_t kMostPorts = 9999;

}  // namespace

void StationState::receive(const std::string& line) {
  (void)calls.receive(line);
  (void)panels.receive(line);
  if (line.starts_with("VER ")) version = control::tag_of(line, "SVER").value_or("");
  if (line.starts_with(kHost)) host = line.substr(kHost.size());
  if (Settings told = read_settings(line); !told.empty()) settings = std::move(told);
  receive_source(line);
  receive_contact(line);
}

void StationState::receive_source(const std::string& line) {
  if (!line.starts_with("SRC 1 ") && !line.starts_with("SRC 2 ")) return;
  Source& told = line[4] == '1' ? source : preview;
  told.address = control::tag_of(line, "RTPA").value_or("");
  told.name = control::tag_of(line, "PSNM").value_or("");
}

void StationState::receive_contact(const std::string& line) {
  const bool is_configuration = line.starts_with(kConfiguration);
  const std::optional<ContactLine> told =
      read_contact(is_configuration ? line.substr(kConfiguration.size()) : line);
  if (!told || (!is_configuration && !is_states(told->rest))) return;
  Contact& contact = contacts[{told->family, told->port}];
  if (is_configuration) {
    contact.name = control::tag_of(told->rest, "NAME").value_or("");
  } else {
    contact.states = levels_of(told->rest);
  }
}

std::string StationState::setting(const std::string& name) const {
  const auto found =
      std::find_if(settings.begin(), settings.end(), [&](const auto& each) { return each.first == name; });
  return found == settings.end() ? std::string() : found->second;
}

std::optional<ContactLine> read_contact(const std::string& line) {
  if (!line.starts_with("GPI ") && !line.starts_with("GPO ")) return std::nullopt;
  std::string_view rest = std::string_view(line).substr(4);
  const std::size_t before = rest.size();
  const auto port = static_cast<int>(take_digits(rest, kMostPorts));
  if (rest.size() == before || !rest.starts_with(' ')) return std::nullopt;
  return ContactLine{line.substr(0, 3), port, std::string(rest.substr(1))};
}

bool is_states(const std::string& text) {
  return text.size() == kPins && text.find_first_not_of("LlHh") == std::string::npos;
}

std::string levels_of(const std::string& states) {
  std::string levels = states;
  std::transform(levels.begin(), levels.end(), levels.begin(), ascii_lower);
  return levels;
}

nlohmann::ordered_json call_json(const control::Call& call) {
  return {{"name", call.name},
          {"url", call.url},
          {"talk", control::word_of(call.talk)},
          {"listen", control::word_of(call.listen)},
          {"volume", call.volume},
          {"rings", call.rings()}};
}

std::string call_states(const control::Call& call) {
  std::string text = "talk " + std::string(control::word_of(call.talk)) + ", listen " +
                     std::string(control::word_of(call.listen));
  return call.listen == '0' ? text : text + " at " + gain_text(call.volume);
}

}  // namespace hark::ctl
