// What a station tells of its own accord, line by line, as events for people and programs.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "tools/harkctl/station_state.h"

namespace hark::ctl {

struct Event {
  std::string text;             // fit for a terminal
  nlohmann::ordered_json json;  // "event" and what belongs to it
};

class EventReader {
 public:
  // What the station is asked for when the connection is there: the lines before the answer to VER only say
  // how things stand.
  static const char* subscription();

  // Takes a line that says how things stand.
  void learn(const std::string& line);
  // What a line tells; nothing when it is no news.
  [[nodiscard]] std::optional<Event> read(const std::string& line);
  // How things stand, as the first event of a connection. `place` is the station's address.
  [[nodiscard]] Event connected(const std::string& place) const;
  // The station was lost: what was known of it holds no more.
  void forget() { state_ = {}; }

 private:
  [[nodiscard]] std::optional<Event> read_settings_event(const std::string& line);
  [[nodiscard]] std::optional<Event> read_contact_event(const std::string& line);
  [[nodiscard]] std::optional<Event> read_panel_event(const std::string& line);

  StationState state_;
};

// The connection is gone, or none came about; tried again in that many seconds.
[[nodiscard]] Event lost_event(const std::string& place, const std::string& why, int again_s, bool was_up);

}  // namespace hark::ctl
