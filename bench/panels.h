// Panels of a station: as many as there are connections, each from a host of its own, since a station takes
// no more than seven from one. They read only when they are told to, so that they never take the core from
// what is measured; what a station sends in between fits their sockets.
#pragma once

#include <string>
#include <vector>

#include "peers.h"

namespace hark::bench {

inline constexpr int kPanels = 16;
inline constexpr int kKeys = 90;

// A channel file with a label on every key, the source of the measured calls on the first.
[[nodiscard]] std::string channel_file();
// The label of the key `number` (from 1).
[[nodiscard]] std::string key_label(int number);

class Panels {
 public:
  // Connects and attaches all of them to the station at `ctrl_port`, and waits until each has its labels.
  explicit Panels(int ctrl_port);
  [[nodiscard]] bool are_attached() const;
  [[nodiscard]] LineConnection& first() { return panels_.front(); }
  // Reads what has come.
  void drain();

 private:
  std::vector<LineConnection> panels_;
};

}  // namespace hark::bench
