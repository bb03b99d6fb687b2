#include "tools/quillsim/options.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

#include "tools/quillsim/console_script.h"
#include "tools/quillsim/far_script.h"
#include "tools/quillsim/ptt_script.h"
#include "tools/quillsim/scanner.h"
#include "tools/quillsim/script.h"

namespace quillsim {
namespace {

constexpr int kMaxPort = 65535;
constexpr int kMaxWaitLimitMs = 3'600'000;
constexpr int kMaxModuleType = 3;

std::optional<int> read_number(std::string_view text, int min, int max) {
  int value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec != std::errc{} || result.ptr != text.data() + text.size()) return std::nullopt;
  if (value < min || value > max) return std::nullopt;
  return value;
}

// Cuts "ADDR:PORT".
bool read_place(const std::string& value, std::string& address, int& port) {
  const std::size_t colon = value.find(':');
  if (colon == std::string::npos) return false;
  address = value.substr(0, colon);
  const std::optional<int> number = read_number(std::string_view(value).substr(colon + 1), 0, kMaxPort);
  port = number.value_or(0);
  return number && is_ipv4(address);
}

bool set_listen(const std::string& value, Options& out) { return read_place(value, out.address, out.port); }

bool set_script(const std::string& value, Options& out) {
  out.script = value;
  return !value.empty();
}

bool set_device_type(const std::string& value, Options& out) {
  out.device_type = value;
  return !value.empty();
}

bool set_console_ip(const std::string& value, Options& out) {
  out.console_ip = value;
  return is_ipv4(value) || is_ipv4_port(value);
}

bool set_console(const std::string& value, Options& out) {
  out.console_type = read_number(value, 1, kMaxModuleType);
  return out.console_type.has_value();
}

bool set_console_port(const std::string& value, Options& out) {
  const std::optional<int> port = read_number(value, 0, kMaxPort);
  out.console_port = port.value_or(0);
  return port.has_value();
}

bool set_far_device(const std::string& value, Options& out) {
  out.far_port = read_number(value, 0, kMaxPort);
  return out.far_port || read_place(value, out.far_address, out.far_port.emplace());
}

bool set_far_password(const std::string& value, Options& out) {
  out.far_device.password = value;
  return !value.empty();
}

bool set_far_dst(const std::string& value, Options& out) {
  const std::size_t equals = value.find('=');
  if (equals == std::string::npos) return false;
  const std::optional<int> dst =
      read_number(std::string_view(value).substr(0, equals), 1, kMaxFarDestination);
  if (dst) out.far_device.addresses[*dst] = value.substr(equals + 1);
  return dst.has_value();
}

bool set_ptt(const std::string& value, Options& out) {
  out.ptt_interface = value;
  return is_ipv4(value);
}

bool set_greet(const std::string& value, Options& out) {
  out.sim.greeting.push_back(value);
  return is_wire_line(value);
}

bool set_wait_limit(const std::string& value, Options& out) {
  const std::optional<int> ms = read_number(value, 1, kMaxWaitLimitMs);
  if (ms) out.wait_limit = std::chrono::milliseconds(*ms);
  return ms.has_value();
}

struct ValueOption {
  std::string_view word;
  const char* value;
  const char* help;
  bool (*set)(const std::string& value, Options& out);
};
// Word, its value, what it does, how it is stored.
constexpr std::array kValueOptions = {
    ValueOption{"--listen", "ADDR:PORT",
                "where the station connects (127.0.0.1:4010); port 0 picks a free one", set_listen},
    ValueOption{"--script", "FILE", "takes its lines from the file instead of standard input", set_script},
    ValueOption{"--device-type", "TEXT", "DEVICE_TYPE of the supervisor line", set_device_type},
    ValueOption{"--console-ip", "A.B.C.D[:PORT]", "CONSOLE_IP of the supervisor line (0.0.0.0: none)",
                set_console_ip},
    ValueOption{"--console", "TYPE",
                "plays a console with key module 1, 2 or 3 as well, and names it in the line", set_console},
    ValueOption{"--console-port", "PORT", "where the console listens (0 picks a free one)", set_console_port},
    ValueOption{"--far-device", "[ADDR:]PORT",
                "plays a foreign device with 16 destinations as well (port 0 picks a free one)",
                set_far_device},
    ValueOption{"--far-password", "TEXT", "what its LOGIN has to give", set_far_password},
    ValueOption{"--far-dst", "N=ADDR", "what its destination N carries at the start; may be given again",
                set_far_dst},
    ValueOption{"--ptt", "IFADDR",
                "answers requests to talk on the multicast group, on the interface of this address", set_ptt},
    ValueOption{"--greet", "LINE", "a line for each station that connects; may be given again", set_greet},
    ValueOption{"--wait-limit", "MS", "how long a wait-for and the like may last (10000)", set_wait_limit},
};

const ValueOption* find_option(std::string_view word) {
  for (const ValueOption& option : kValueOptions) {
    if (option.word == word) return &option;
  }
  return nullptr;
}

struct FlagOption {
  std::string_view word;
  const char* help;
  bool Options::*flag;
};
constexpr std::array kFlagOptions = {
    FlagOption{"--draw", "draws the console's key module whenever something on it changes", &Options::draw},
    FlagOption{"--strict",
               "ends with status 1 if a command of the station was refused or a line of\n"
               "                                the script failed",
               &Options::strict},
    FlagOption{"--help", "prints this", &Options::help},
};

const FlagOption* find_flag(std::string_view word) {
  for (const FlagOption& option : kFlagOptions) {
    if (option.word == word) return &option;
  }
  return nullptr;
}

void make_supv_line(Options& out) {
  if (out.device_type.empty() && out.console_ip.empty()) return;
  std::string line = "INDI SUPV";
  if (!out.console_ip.empty()) line += " CONSOLE_IP:" + out.console_ip;
  if (!out.device_type.empty()) line += " DEVICE_TYPE:" + quote(out.device_type);
  out.sim.supv_line = line;
}

// Empty, or which options do not go together.
std::string conflict(const Options& options) {
  if (options.console_type && !options.console_ip.empty())
    return "--console and --console-ip exclude each other";
  if (!options.console_type && options.console_port != 0) return "--console-port needs --console";
  if (!options.console_type && options.draw) return "--draw needs --console";
  if (!options.far_port && !options.far_device.password.empty()) return "--far-password needs --far-device";
  if (!options.far_port && !options.far_device.addresses.empty()) return "--far-dst needs --far-device";
  return {};
}

void append_help(std::string& text, std::string left, const char* help) {
  left.resize(std::max<std::size_t>(left.size() + 1, 32), ' ');
  text += left + help + "\n";
}

}  // namespace

std::string parse_options(const std::vector<std::string>& words, Options& out) {
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (const FlagOption* flag = find_flag(words[i])) {
      out.*flag->flag = true;
      if (out.help) return {};
      continue;
    }
    const ValueOption* option = find_option(words[i]);
    if (option == nullptr) return "unknown option " + words[i];
    if (++i == words.size()) return std::string(option->word) + " needs " + option->value;
    if (!option->set(words[i], out)) {
      return std::string(option->word) + " takes " + option->value + ", not \"" + words[i] + "\"";
    }
  }
  make_supv_line(out);
  return conflict(out);
}

void announce_console(Options& options, int port) {
  // A station that is told 0.0.0.0 looks for no console at all.
  const std::string address = options.address == "0.0.0.0" ? "127.0.0.1" : options.address;
  options.console_ip = address + ":" + std::to_string(port);
  make_supv_line(options);
}

std::string usage_text() {
  std::string text =
      "quillsim - a simulated Quillnet routing daemon: takes one station's connection, keeps its mixer,\n"
      "prints each change; beside it plays, when asked to, a mixing console with an intercom key module, a\n"
      "foreign device that stations talk into, and one that serves requests to talk on the multicast group\n"
      "usage: quillsim [options]\n";
  for (const ValueOption& option : kValueOptions)
    append_help(text, "  " + std::string(option.word) + " " + option.value, option.help);
  for (const FlagOption& option : kFlagOptions)
    append_help(text, "  " + std::string(option.word), option.help);
  return text + kScriptHelp + kConsoleScriptHelp + kFarScriptHelp + kPttScriptHelp;
}

}  // namespace quillsim
