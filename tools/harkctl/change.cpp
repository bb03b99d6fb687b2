// The commands gpio and set, which change the station's own state and show it, and complete, which shows what
// a shell may put in.
#include "tools/control/control_lines.h"
#include "tools/harkctl/commands.h"
#include "tools/harkctl/known_urls.h"
#include "tools/harkctl/station_state.h"
#include "tools/harkctl/text.h"

namespace hark::ctl {
namespace {

// Nobody waits at a prompt for a station that does not answer.
constexpr std::chrono::milliseconds kCompletionTime{300};

// What is asked for: one port, or all of one family or both; the outputs' names with them.
std::vector<std::string> gpio_lines(const Options& options) {
  std::vector<std::string> lines;
  const std::string number = options.port.empty() ? "" : " " + options.port;
  if (!options.states.empty()) {
    const std::string duration =
        options.duration_ms == 0 ? "" : " DURATION:" + std::to_string(options.duration_ms);
    lines.push_back(options.family + number + " " + options.states + duration);
  }
  for (const char* family : {"GPI", "GPO"}) {
    if (options.family.empty() || options.family == family) lines.push_back(family + number);
  }
  if (options.family != "GPI") lines.push_back("CFG GPO" + number);
  return lines;
}

// The station calls a port that it does not have a bad command when it is read.
std::string gpio_fault(const Options& options, const std::string& error) {
  const bool no_port = error == "bad command" || error == "bad port number";
  if (!no_port || options.port.empty()) return error;
  return "the station has no " + options.family + " " + options.port;
}

void show_contacts(const Options& options, const StationState& state, Output& out) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  std::vector<std::vector<std::string>> rows;
  for (const auto& [key, contact] : state.contacts) {
    if (contact.states.empty()) continue;
    list.push_back({{"port", key.first}, {"number", key.second}, {"states", contact.states}});
    if (!contact.name.empty()) list.back()["name"] = contact.name;
    rows.push_back({key.first + " " + std::to_string(key.second), contact.states});
    if (!contact.name.empty()) rows.back().push_back(printable(contact.name));
  }
  if (options.json) {
    out.json(list);
    return;
  }
  for (const std::string& line : aligned(rows))
    out.line(line);
}

void show_settings(const Options& options, const Settings& settings, Output& out) {
  if (options.json) {
    out.json(settings_json(settings));
    return;
  }
  for (const auto& [name, value] : settings)
    out.line(printable(setting_text(name, value)));
}

// Both show what the station says after the change.
int run_lines(const Options& options, const std::vector<std::string>& lines, StationState& state,
              std::optional<std::string>& error) {
  Asker asker(options.station, options.timeout);
  const Answer answer = asker.ask(lines);
  if (!answer.ok()) return complain_of(options.station, answer);
  for (const std::string& line : answer.lines)
    state.receive(line);
  error = answer.error();
  return kOk;
}

}  // namespace

int run_gpio(const Options& options, Output& out) {
  StationState state;
  std::optional<std::string> error;
  const int status = run_lines(options, gpio_lines(options), state, error);
  if (status != kOk) return status;
  if (error) {
    complain(gpio_fault(options, *error));
    return kFailed;
  }
  show_contacts(options, state, out);
  return kOk;
}

int run_set(const Options& options, Output& out) {
  StationState state;
  std::optional<std::string> error;
  const int status = run_lines(options, {settings_line(options.settings), "HARK"}, state, error);
  if (status != kOk) return status;
  if (error) {
    complain(*error);
    return kFailed;
  }
  show_settings(options, state.settings, out);
  return kOk;
}

int run_complete(const Options& options, const std::string& root, Output& out) {
  Asker asker(options.station, std::min(options.timeout, kCompletionTime));
  StationState state;
  for (const std::string& line : asker.ask({"CALL"}).lines)
    state.receive(line);
  for (const std::string& candidate :
       candidates(options.prefix, known_urls(options.station.host, root), state.calls.calls()))
    out.line(candidate);
  return kOk;
}

}  // namespace hark::ctl
