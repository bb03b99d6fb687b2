// The command line of harkpanel.
#pragma once

#include <string>
#include <vector>

#include "tools/control/station_address.h"

namespace hark::panel_gateway {

inline constexpr std::uint16_t kWebPort = 8013;
inline constexpr int kHighestKey = 90;

struct Options {
  control::HostPort station{"127.0.0.1", control::kControlPort};
  control::HostPort listen{"127.0.0.1", kWebPort};  // port 0: any, printed at start
  int first_key = 1;
  int last_key = 20;
  std::string id = "web";
  bool auto_answer = false;
  std::string token;         // what the token file holds; empty: none is wanted
  std::string channel_file;  // the station's harkch.conf, for the names of shifts; empty: none
  std::string state_folder;  // where the file of held keys is
};

struct ParsedOptions {
  Options options;
  int exit_status = -1;  // -1: go on; otherwise end with it, after printing `text`
  std::string text;      // help to stdout (status 0), or what is wrong to stderr
};

// Reads the words behind the program's name.
[[nodiscard]] ParsedOptions parse_options(const std::vector<std::string>& words);

}  // namespace hark::panel_gateway
