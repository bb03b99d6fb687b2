// The panels of a station (its HARKUI object): who is attached, who comes and goes, whose keys are pressed.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace hark::ctl {

struct Panel {
  std::string id;
  std::string keys;     // "1-20"
  std::string address;  // "127.0.0.1:40000"
  bool operator==(const Panel&) const = default;
};

struct PanelChange {
  Panel panel;
  bool attached = false;  // or gone
};

struct KeyPress {
  std::string panel;  // its id
  std::string key;    // "KL01"
  std::string word;   // "DOWN", "UP"
};

// Reads an "add" or "remove" line.
[[nodiscard]] std::optional<PanelChange> read_panel(const std::string& line);
// Reads an "event" line of a key.
[[nodiscard]] std::optional<KeyPress> read_key(const std::string& line);

[[nodiscard]] nlohmann::ordered_json panel_json(const Panel& panel);

class PanelList {
 public:
  // What the line changed; nothing when it is none of a panel.
  std::optional<PanelChange> receive(const std::string& line);
  [[nodiscard]] const std::vector<Panel>& panels() const { return panels_; }

 private:
  std::vector<Panel> panels_;
};

}  // namespace hark::ctl
