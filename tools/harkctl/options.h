// The command line of harkctl: which station, which command, and what the command is about.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tools/control/station_address.h"

namespace hark::ctl {

// How harkctl ends.
inline constexpr int kOk = 0;
inline constexpr int kFailed = 1;       // the station would not, or something is wrong with it
inline constexpr int kUsage = 2;        // the command line is wrong; nothing was sent
inline constexpr int kUnreachable = 3;  // no station answers there

inline constexpr std::uint16_t kSipPort = 5060;
// A station cuts what is longer.
inline constexpr std::size_t kLongestUrl = 79;
inline constexpr std::size_t kLongestLabel = 10;

enum class Command { kStatus, kCalls, kWatch, kCall, kDrop, kGpio, kSet, kPanels, kHealth, kComplete };

struct Options {
  Command command = Command::kStatus;
  control::HostPort station{"127.0.0.1", control::kControlPort};
  std::chrono::milliseconds timeout{3000};
  bool json = false;

  std::string party;  // call, drop: an URL or a name
  bool listen = true;
  bool talk = true;

  std::string family;   // gpio: "GPI", "GPO", or empty for both
  std::string port;     // digits, or empty for all
  std::string states;   // empty: read
  int duration_ms = 0;  // 0: for good

  std::vector<std::pair<std::string, std::string>> settings;  // set: names in capitals, and their values

  control::HostPort sip{"127.0.0.1", kSipPort};  // health

  std::string prefix;  // complete: what the candidates begin with
};

struct ParsedOptions {
  Options options;
  int exit_status = -1;  // -1: go on; otherwise end with it, after printing `text`
  std::string text;      // help to stdout (status 0), or what is wrong to stderr
};

// Reads the words behind the program's name. `environment_station` is HARKCTL_STATION, or null.
[[nodiscard]] ParsedOptions parse_options(const std::vector<std::string>& words,
                                          const char* environment_station);

}  // namespace hark::ctl
