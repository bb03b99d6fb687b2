// The commands that only show: status, calls, panels.
#include <algorithm>

#include "tools/control/control_lines.h"
#include "tools/harkctl/commands.h"
#include "tools/harkctl/station_state.h"
#include "tools/harkctl/text.h"

namespace hark::ctl {
namespace {

// Asks, and gathers what came. The status when that failed, kOk otherwise.
int gather(const Options& options, const std::vector<std::string>& lines, StationState& state) {
  Asker asker(options.station, options.timeout);
  const Answer answer = asker.ask(lines);
  if (!answer.ok()) return complain_of(options.station, answer);
  for (const std::string& line : answer.lines)
    state.receive(line);
  return kOk;
}

std::string source_text(const Source& source) {
  if (source.address.empty()) return "none";
  return source.name.empty() ? source.address : source.address + " (" + source.name + ")";
}

std::ptrdiff_t ringing(const std::vector<control::Call>& calls) {
  return std::count_if(calls.begin(), calls.end(), [](const control::Call& call) { return call.rings(); });
}

std::string calls_text(const std::vector<control::Call>& calls) {
  const std::ptrdiff_t count = ringing(calls);
  std::string text = std::to_string(calls.size()) + " up";
  return count == 0 ? text : text + ", " + std::to_string(count) + " of them ringing in";
}

nlohmann::ordered_json source_json(const Source& source) {
  if (source.address.empty()) return nullptr;
  return {{"address", source.address}, {"name", source.name}};
}

nlohmann::ordered_json status_json(const Options& options, const StationState& state) {
  return {{"station", control::to_text(options.station)},
          {"name", state.setting("LABL")},
          {"settings", settings_json(state.settings)},
          {"version", state.version},
          {"host", state.host},
          {"source", source_json(state.source)},
          {"preview", source_json(state.preview)},
          {"calls", state.calls.calls().size()},
          {"ringing", ringing(state.calls.calls())},
          {"panels", state.panels.panels().size()}};
}

std::vector<control::Call> ringing_first(std::vector<control::Call> calls) {
  std::stable_partition(calls.begin(), calls.end(), [](const control::Call& call) { return call.rings(); });
  return calls;
}

std::vector<std::string> call_row(const control::Call& call) {
  return {printable(call.name), "talk " + std::string(control::word_of(call.talk)),
          "listen " + std::string(control::word_of(call.listen)), gain_text(call.volume),
          printable(call.url)};
}

void write_table(const std::vector<std::vector<std::string>>& rows, const char* none, Output& out) {
  if (rows.empty()) out.line(none);
  for (const std::string& line : aligned(rows))
    out.line(line);
}

}  // namespace

int complain_of(const control::HostPort& station, const Answer& answer) {
  complain("no station at " + control::to_text(station) + ": " + answer.why);
  return kUnreachable;
}

int run_status(const Options& options, Output& out) {
  StationState state;
  const int status = gather(options, {"HARK", "SRC", "IP", "CALL", "HARKUI"}, state);
  if (status != kOk) return status;
  if (options.json) {
    out.json(status_json(options, state));
    return kOk;
  }
  write_table({{"name", printable(state.setting("LABL"))},
               {"station", printable(control::to_text(options.station))},
               {"level", printable(state.setting("TRGL") + ", on air " + state.setting("TRGLA"))},
               {"version", printable(state.version)},
               {"host", printable(state.host)},
               {"source", printable(source_text(state.source))},
               {"preview", printable(source_text(state.preview))},
               {"calls", calls_text(state.calls.calls())},
               {"panels", std::to_string(state.panels.panels().size())}},
              "", out);
  return kOk;
}

int run_calls(const Options& options, Output& out) {
  StationState state;
  const int status = gather(options, {"CALL"}, state);
  if (status != kOk) return status;
  const std::vector<control::Call> calls = ringing_first(state.calls.calls());
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  std::vector<std::vector<std::string>> rows;
  for (const control::Call& call : calls) {
    list.push_back(call_json(call));
    rows.push_back(call_row(call));
  }
  options.json ? (void)out.json(list) : write_table(rows, "no calls", out);
  return kOk;
}

int run_panels(const Options& options, Output& out) {
  StationState state;
  const int status = gather(options, {"HARKUI"}, state);
  if (status != kOk) return status;
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  std::vector<std::vector<std::string>> rows;
  for (const Panel& panel : state.panels.panels()) {
    list.push_back(panel_json(panel));
    rows.push_back({printable(panel.id), "keys " + printable(panel.keys), printable(panel.address)});
  }
  options.json ? (void)out.json(list) : write_table(rows, "no panels", out);
  return kOk;
}

}  // namespace hark::ctl
