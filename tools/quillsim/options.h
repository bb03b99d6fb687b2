// The command line of quillsim.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "tools/quillsim/far_device.h"
#include "tools/quillsim/sim.h"

namespace quillsim {

struct Options {
  std::string address = "127.0.0.1";
  int port = kDefaultPort;
  std::string script;  // path; empty: lines come from standard input
  SimOptions sim;      // with the supervisor line that the two below make
  std::string device_type;
  std::string console_ip;
  std::optional<int> console_type;  // of the key module; none: no console is played
  int console_port = 0;
  bool draw = false;
  std::optional<int> far_port;  // none: no far device is played
  std::string far_address;      // where it listens; empty: at the routing daemon's own address
  FarDeviceOptions far_device;
  std::string ptt_interface;  // address; empty: no device is played at the multicast group
  std::chrono::milliseconds wait_limit{10'000};
  bool strict = false;
  bool help = false;
};

// Reads the words behind the program's name into `out`. Empty, or what is wrong with them; `out` is then half
// filled.
[[nodiscard]] std::string parse_options(const std::vector<std::string>& words, Options& out);

// Names the console that is played to the stations: it listens at `port` of the routing daemon's own address.
void announce_console(Options& options, int port);

// What --help prints.
[[nodiscard]] std::string usage_text();

}  // namespace quillsim
