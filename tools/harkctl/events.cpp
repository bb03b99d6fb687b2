#include "tools/harkctl/events.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "base/text.h"
#include "tools/control/control_lines.h"
#include "tools/harkctl/text.h"

namespace hark::ctl {
namespace {

constexpr std::string_view kConfiguration = "CFG ";

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words)
    text += (text.empty() ? "" : ", ") + word;
  return text;
}

std::optional<Event> read_call_event(const std::string& line) {
  const std::optional<control::CallReport> report = control::read_call(line);
  if (!report) return std::nullopt;
  const std::string name = control::name_of(report->url);
  Event event;
  event.json = {{"event", "call"}, {"name", name}, {"url", report->url}};
  std::vector<std::string> changes;
  const auto direction = [&](const char* what, std::optional<char> letter) {
    if (!letter) return;
    event.json[what] = control::word_of(*letter);
    changes.push_back(std::string(what) + " " + std::string(control::word_of(*letter)));
  };
  direction("talk", report->talk);
  direction("listen", report->listen);
  if (report->volume) {
    event.json["volume"] = *report->volume;
    changes.push_back("volume " + gain_text(*report->volume));
  }
  event.text = "call " + printable(name) + ": " + joined(changes);
  return event;
}

std::optional<Event> read_key_event(const std::string& line) {
  const std::optional<KeyPress> press = read_key(line);
  if (!press) return std::nullopt;
  std::string word = press->word;
  std::transform(word.begin(), word.end(), word.begin(), ascii_lower);
  return Event{"key " + printable(press->key) + " " + printable(word) + ", panel " + printable(press->panel),
               {{"event", "key"}, {"panel", press->panel}, {"key", press->key}, {"to", word}}};
}

// The names of those that are not as before.
std::vector<std::string> changed(const Settings& old, const Settings& now) {
  std::vector<std::string> names;
  for (const auto& setting : now) {
    if (std::find(old.begin(), old.end(), setting) == old.end()) names.push_back(setting.first);
  }
  return names;
}

}  // namespace

// A list in its own marks that comes before that of the calls is not taken for it.
const char* EventReader::subscription() {
  return "HARK\r\nSUB GPI GPO\r\nCFG GPO\r\nHARKUI\r\nCALL\r\nVER\r\n";
}

void EventReader::learn(const std::string& line) { state_.receive(line); }

std::optional<Event> EventReader::read(const std::string& line) {
  if (std::optional<Event> event = read_settings_event(line)) return event;
  if (std::optional<Event> event = read_contact_event(line)) return event;
  if (std::optional<Event> event = read_panel_event(line)) return event;
  if (std::optional<Event> event = read_key_event(line)) return event;
  return read_call_event(line);
}

std::optional<Event> EventReader::read_settings_event(const std::string& line) {
  Settings told = read_settings(line);
  if (told.empty()) return std::nullopt;
  const std::vector<std::string> names = changed(state_.settings, told);
  state_.settings = std::move(told);
  std::vector<std::string> texts;
  texts.reserve(names.size());
  for (const std::string& name : names)
    texts.push_back(setting_text(name, state_.setting(name)));
  // A station tells each change that was asked for, also one to what is there.
  return Event{"settings: " + (texts.empty() ? "as before" : printable(joined(texts))),
               {{"event", "settings"}, {"changed", names}, {"settings", settings_json(state_.settings)}}};
}

std::optional<Event> EventReader::read_contact_event(const std::string& line) {
  const bool is_configuration = line.starts_with(kConfiguration);
  const std::optional<ContactLine> told =
      read_contact(is_configuration ? line.substr(kConfiguration.size()) : line);
  if (!told) return std::nullopt;
  const std::string contact = told->family + " " + std::to_string(told->port);
  Event event{"contact " + contact + ": ",
              {{"event", "contact"}, {"port", told->family}, {"number", told->port}}};
  if (is_configuration || !is_states(told->rest)) {
    event.json[is_configuration ? "configuration" : "command"] = told->rest;
    event.text += (is_configuration ? "configured as " : "told ") + printable(told->rest);
    return event;
  }
  const std::string levels = levels_of(told->rest);
  // Ports with all pins low are told again and again as long as they stay so.
  if (std::exchange(state_.contacts[{told->family, told->port}].states, levels) == levels)
    return std::nullopt;
  event.json["states"] = levels;
  event.text += told->rest;
  return event;
}

std::optional<Event> EventReader::read_panel_event(const std::string& line) {
  const std::optional<PanelChange> change = state_.panels.receive(line);
  if (!change) return std::nullopt;
  Event event{"panel " + printable(change->panel.id) + (change->attached ? " came" : " went") + ", keys " +
                  printable(change->panel.keys) + ", " + printable(change->panel.address),
              {{"event", "panel"}, {"attached", change->attached}}};
  event.json.update(panel_json(change->panel));
  return event;
}

Event EventReader::connected(const std::string& place) const {
  nlohmann::ordered_json calls = nlohmann::ordered_json::array();
  nlohmann::ordered_json panels = nlohmann::ordered_json::array();
  std::string text = "connected to " + state_.setting("LABL") + " (" + place + ")";
  for (const control::Call& call : state_.calls.calls()) {
    calls.push_back(call_json(call));
    text += "; " + call.name + ": " + call_states(call);
  }
  for (const Panel& panel : state_.panels.panels()) {
    panels.push_back(panel_json(panel));
    text += "; panel " + panel.id;
  }
  return {printable(text),
          {{"event", "connected"},
           {"station", place},
           {"name", state_.setting("LABL")},
           {"settings", settings_json(state_.settings)},
           {"calls", calls},
           {"panels", panels}}};
}

Event lost_event(const std::string& place, const std::string& why, int again_s, bool was_up) {
  return {printable((was_up ? "lost " : "no station at ") + place + ": " + why + "; again in " +
                    std::to_string(again_s) + " s"),
          {{"event", "lost"}, {"station", place}, {"why", why}, {"again", again_s}}};
}

}  // namespace hark::ctl
