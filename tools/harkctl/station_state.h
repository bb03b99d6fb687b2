// What a station has told of itself, gathered line by line, whatever was asked for.
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>

#include "tools/control/call_list.h"
#include "tools/harkctl/panels.h"
#include "tools/harkctl/settings.h"

namespace hark::ctl {

struct Source {
  std::string address;  // empty: none
  std::string name;
};

struct Contact {
  std::string states;  // small letters, a pin each
  std::string name;    // of an output, as configured
};

class StationState {
 public:
  void receive(const std::string& line);

  std::string version;  // of the protocol
  std::string host;
  Settings settings;
  Source source;
  Source preview;
  control::CallList calls;
  PanelList panels;
  // By family ("GPI", "GPO") and number.
  std::map<std::pair<std::string, int>, Contact> contacts;

  // The value of a setting; empty when it was not told.
  [[nodiscard]] std::string setting(const std::string& name) const;

 private:
  void receive_source(const std::string& line);
  void receive_contact(const std::string& line);
};

// "GPI 2 hLhhh" or "GPO 2 hLhhh", cut. A line that is passed on between clients has no states.
struct ContactLine {
  std::string family;
  int port = 0;
  std::string rest;  // behind the number
};
[[nodiscard]] std::optional<ContactLine> read_contact(const std::string& line);
// Whether the text is five states.
[[nodiscard]] bool is_states(const std::string& text);
// With small letters: what the levels are, not which of them changed.
[[nodiscard]] std::string levels_of(const std::string& states);

// What each call is for people and programs.
[[nodiscard]] nlohmann::ordered_json call_json(const control::Call& call);
// "talk rings in, listen on at -6.0 dB"
[[nodiscard]] std::string call_states(const control::Call& call);

}  // namespace hark::ctl
