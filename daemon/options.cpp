#include "daemon/options.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "base/fd.h"
#include "base/text.h"
#include "daemon/station/station.h"

namespace hark {

const char* const build_stamp = HARK_BUILD_STAMP;

namespace {

constexpr int kExitUsage = 1;
constexpr int kOptionLineSize = 80;
constexpr std::size_t kMaxSlots = 64;  // of the option file's command line

void set_debug(const char* /*value*/) { station.dbg = true; }

// A NIC's name, or an address.
void set_sip_ip(const char* value) {
  if (*value >= '0' && *value <= '9') {
    station.sip_ip = inet_addr(value);
  } else {
    station.ifa_name = value;
  }
}

void set_sip_port(const char* value) { station.sip_port = parse_int(value); }
void set_ctrl_port(const char* value) { station.ctrl_port = parse_int(value); }

// "addr:port", "addr" or "port".
void set_qnr_port(const char* value) {
  const std::string text(value);
  const auto colon = text.find(':');
  if (colon != std::string::npos) {
    station.harkd_qnrd_ipv4 = inet_addr(text.substr(0, colon).c_str());
    station.harkd_qnrd_port = parse_int(value + colon + 1);
  } else if (text.find('.') != std::string::npos) {
    station.harkd_qnrd_ipv4 = inet_addr(value);
  } else {
    station.harkd_qnrd_port = parse_int(value);
  }
}

// The number at `p`, which is left behind it; `fallback` when there is none.
int read_number(const char*& p, int fallback) {
  char* end = nullptr;
  const auto number = static_cast<long>(std::strtoul(p, &end, 0));
  if (end == p) return fallback;
  p = end;
  return static_cast<int>(std::clamp<long>(number, -kNumberLimit, kNumberLimit));
}

// "min-max,src"; one number alone is the maximum.
void set_qnr_io(const char* value) {
  int min = station.harkd_qnrd_io_min;
  int max = read_number(value, 0);
  if (*value == '-') {
    min = max;
    max = read_number(++value, 0);
  }
  if (min > 0 && min <= max) {
    station.harkd_qnrd_io_min = min;
    station.harkd_qnrd_io_max = max;
  }
  station.harkd_qnrd_io_src = station.harkd_qnrd_io_min;
  if (*value == ',') station.harkd_qnrd_io_src = read_number(++value, station.harkd_qnrd_io_min);
}

void set_interface(const char* value) { station.harkd_iface_name = station.harkd_ifa_name_default = value; }

struct Option {
  std::string_view word;
  bool has_value;
  void (*set)(const char* value);
};

// The word (case counts), whether a value follows, what it sets.
constexpr std::array<Option, 7> kOptions{{
    {"-debug", false, set_debug},
    {"-sip_ip", true, set_sip_ip},
    {"-sip_port", true, set_sip_port},
    {"-ctrl_port", true, set_ctrl_port},
    {"-qnr_port", true, set_qnr_port},
    {"-qnr_io", true, set_qnr_io},
    {"-i", true, set_interface},
}};

[[noreturn]] void exit_with_usage(const char* program) {
  const char* name = station.appName.c_str();
  (void)std::printf("%s %s\n", name, build_stamp);
  (void)std::printf(
      "%s - Quillnet Intercom Control Service\n"
      "usage: %s [-debug] [-sip_ip] [-sip_port] [-ctrl_port] [-qnr_port]\n"
      "  -sip_ip    - local NIC name or IP to use\n"
      "  -sip_port  - UDP port of SIP service (default: %d)\n"
      "  -ctrl_port - UI/remote port (default: %d)\n"
      "  -qnr_port  - Quillnet Routing Daemon's addr:port or port (default: 127.0.0.1:%d)\n"
      "  -qnr_io    - Quillnet Routing I/O: DST.min-DST.max,SRC (default: %d-%d,%d)\n"
      "  -i         - local iface name (default: %s)\n",
      name, program, station.sip_port, station.ctrl_port, station.harkd_qnrd_port, station.harkd_qnrd_io_min,
      station.harkd_qnrd_io_max, station.harkd_qnrd_io_src, station.harkd_iface_name.c_str());
  std::exit(kExitUsage);
}

// Splits a line of the option file into its option, "-" put in front, and its value if it has one.
void add_line(std::vector<std::string>& words, std::string_view line) {
  const auto blank = line.find_first_of(" \t");
  words.push_back("-" + std::string(line.substr(0, blank)));
  if (blank == std::string_view::npos) return;
  const auto value = line.find_first_not_of(" \t", blank);
  if (value != std::string_view::npos) words.emplace_back(line.substr(value));
}

}  // namespace

void process_commands(int argc, const char* const* argv) {
  for (int i = 1; i < argc; ++i) {
    const auto option = std::find_if(kOptions.begin(), kOptions.end(),
                                     [&](const Option& candidate) { return candidate.word == argv[i]; });
    if (option == kOptions.end() || (option->has_value && i + 1 >= argc)) exit_with_usage(argv[0]);
    option->set(option->has_value ? argv[++i] : nullptr);
  }
}

void loadconfig() {
  const UniqueFile file = open_file(station.harkconfig_file, "re");
  if (!file) return;
  std::vector<std::string> words{station.appName};
  std::array<char, kOptionLineSize> line{};
  while (words.size() + 2 < kMaxSlots &&
         std::fgets(line.data(), static_cast<int>(line.size()), file.get()) != nullptr) {
    line[std::strcspn(line.data(), "\r\n")] = '\0';
    if (line[0] != '\0' && line[0] != '#') add_line(words, line.data());
  }
  std::vector<const char*> argv;
  argv.reserve(words.size());
  for (const std::string& word : words)
    argv.push_back(word.c_str());
  process_commands(static_cast<int>(argv.size()), argv.data());
}

}  // namespace hark
