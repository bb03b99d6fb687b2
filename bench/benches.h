// The kinds of measurement, each of which adds its rows to the table.
#pragma once

#include <string>

#include "table.h"

namespace hark::bench {

struct Settings {
  std::string harkd;       // path of the daemon's program
  std::string harkpanel;   // and of the browsers' gateway
  int calls = 2000;        // measured in each part
  int idle_s = 30;         // how long the idle daemon is watched
  int announcements = 10;  // measured between two stations
  int stations = 500;      // that are found at most
};

// The readers that run for every line: ns and allocations by call. False when the counter of allocations is
// not in force.
[[nodiscard]] bool micro_bench(Table& table);

// The daemon as a process. False, with the reason on stderr, when it could not be measured.
[[nodiscard]] bool system_bench(const Settings& settings, Table& table);

// The daemon as a process with all of its connections taken by panels: from a key to the mixer. False as
// above.
[[nodiscard]] bool panel_bench(const Settings& settings, Table& table);

// The gateway between browsers and the daemon: from a key of a browser to the mixer, and memory by browsers.
// False as above.
[[nodiscard]] bool gateway_bench(const Settings& settings, Table& table);

// The daemon's loop, by itself: a pass with nothing to do, and one that refreshes all labels. False as above.
[[nodiscard]] bool loop_bench(Table& table);

// The links to far devices with all ports in use: their part of a pass. False as above.
[[nodiscard]] bool links_bench(Table& table);

// The table of the stations that were heard of: the write of its file, and memory. False as above.
[[nodiscard]] bool table_bench(Table& table);

// The row in place of those of the next one, where they are not measured.
inline constexpr const char* kDiscoveryRows = "stations that find each other";
// Stations that find each other on a simulated network: from the announcement of one to the other's table,
// and what many stations cost. One row that says why where
// there can be no such network; false as above.
[[nodiscard]] bool discovery_bench(const Settings& settings, Table& table);

}  // namespace hark::bench
