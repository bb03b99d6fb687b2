// Questions to a station, one after the other on one connection. Commands that change something have no reply
// of their own: each set of lines is followed by VER, whose answer tells that all before it is done.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "tools/control/station_address.h"
#include "tools/harkctl/connection.h"

namespace hark::ctl {

enum class Reach {
  kAnswered,
  kNotReached,  // no connection came about
  kNotHeard,    // there is one, but the station turned us away, fell silent, or closed it
};

struct Answer {
  Reach reach = Reach::kNotReached;
  std::string why;                 // of the latter two
  std::vector<std::string> lines;  // what came, the line of VER among them

  [[nodiscard]] bool ok() const { return reach == Reach::kAnswered; }
  // What the first error line says to a person.
  [[nodiscard]] std::optional<std::string> error() const;
};

class Asker {
 public:
  // All questions together have `time`.
  Asker(control::HostPort station, std::chrono::milliseconds time)
      : station_(std::move(station)), deadline_(Clock::now() + time) {}

  // Sends the lines and VER; connects first, where that has not been done.
  [[nodiscard]] Answer ask(const std::vector<std::string>& lines);
  [[nodiscard]] const control::HostPort& station() const { return station_; }

 private:
  control::HostPort station_;
  Deadline deadline_;
  Connection connection_;
};

// The lines with their ends.
[[nodiscard]] std::string with_ends(const std::vector<std::string>& lines);

}  // namespace hark::ctl
