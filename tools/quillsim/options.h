// The command line of quillsim.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "tools/quillsim/sim.h"

namespace quillsim {

struct Options {
  std::string address = "127.0.0.1";
  int port = kDefaultPort;
  std::string script;  // path; empty: lines come from standard input
  SimOptions sim;
  std::chrono::milliseconds wait_limit{10'000};
  bool strict = false;
  bool help = false;
};

// Reads the words behind the program's name into `out`. Empty, or what is wrong with them; `out` is then half
// filled.
[[nodiscard]] std::string parse_options(const std::vector<std::string>& words, Options& out);

// What --help prints.
[[nodiscard]] std::string usage_text();

}  // namespace quillsim
