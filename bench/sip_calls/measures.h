// What is measured of calls, each as rows of the one table.
#pragma once

#include <string>

#include "table.h"

namespace hark::bench {

struct CallSettings {
  std::string harkd;      // path of the daemon's program
  std::string scenarios;  // folder of the scenarios that sipp plays
  int calls = 1000;       // whose answers are timed
};

// False, with the reason on stderr, when something could not be measured.
[[nodiscard]] bool measure_rates(const CallSettings& settings, Table& table);
[[nodiscard]] bool measure_answers(const CallSettings& settings, Table& table);
[[nodiscard]] bool measure_lingering(const CallSettings& settings, Table& table);
[[nodiscard]] bool measure_dialling(const CallSettings& settings, Table& table);
[[nodiscard]] bool measure_memory(const CallSettings& settings, Table& table);
[[nodiscard]] bool measure_instructions(const CallSettings& settings, Table& table);

}  // namespace hark::bench
