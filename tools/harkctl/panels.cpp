#include "tools/harkctl/panels.h"

#include <algorithm>
#include <string_view>

#include "tools/control/control_lines.h"

namespace hark::ctl {
namespace {

constexpr std::string_view kObject = "HARKUI#";
// A station has 16 connections: what tells of more is none.
constexpr std::size_t kMostPanels = 64;

// What stands behind `verb` and "HARKUI#", or nothing.
std::optional<std::string_view> behind(std::string_view line, std::string_view verb) {
  if (!line.starts_with(verb)) return std::nullopt;
  line.remove_prefix(verb.size());
  if (!line.starts_with(kObject)) return std::nullopt;
  return line.substr(kObject.size());
}

std::string id_in(std::string_view text) { return std::string(text.substr(0, text.find_first_of(". "))); }

}  // namespace

std::optional<PanelChange> read_panel(const std::string& line) {
  PanelChange change;
  std::optional<std::string_view> rest = behind(line, "add ");
  change.attached = rest.has_value();
  if (!rest) rest = behind(line, "remove ");
  if (!rest) return std::nullopt;
  change.panel = {id_in(*rest), control::tag_of(line, "KEYS").value_or(""),
                  control::tag_of(line, "RADDR").value_or("")};
  return change;
}

std::optional<KeyPress> read_key(const std::string& line) {
  constexpr std::string_view kButton = "BUT#";
  const std::optional<std::string_view> rest = behind(line, "event ");
  if (!rest) return std::nullopt;
  const std::size_t button = rest->find(kButton);
  const std::optional<std::string> word = control::tag_of(line, "KEY");
  if (button == std::string_view::npos || !word) return std::nullopt;
  const std::string_view key = rest->substr(button + kButton.size());
  return KeyPress{id_in(*rest), std::string(key.substr(0, key.find(' '))), *word};
}

nlohmann::ordered_json panel_json(const Panel& panel) {
  return {{"id", panel.id}, {"keys", panel.keys}, {"address", panel.address}};
}

std::optional<PanelChange> PanelList::receive(const std::string& line) {
  std::optional<PanelChange> change = read_panel(line);
  if (!change) return change;
  // Two panels may have one id; a connection has one panel.
  std::erase_if(panels_, [&](const Panel& panel) { return panel.address == change->panel.address; });
  if (change->attached && panels_.size() < kMostPanels) panels_.push_back(change->panel);
  return change;
}

}  // namespace hark::ctl
