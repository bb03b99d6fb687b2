#include "tools/quillsim/options.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <string_view>

#include "tools/quillsim/scanner.h"
#include "tools/quillsim/script.h"

namespace quillsim {
namespace {

constexpr int kMaxPort = 65535;
constexpr int kMaxWaitLimitMs = 3'600'000;

// What the options gather before they make one SUPV line.
struct SupvTags {
  std::string device_type;
  std::string console_ip;
};

std::optional<int> read_number(std::string_view text, int min, int max) {
  int value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec != std::errc{} || result.ptr != text.data() + text.size()) return std::nullopt;
  if (value < min || value > max) return std::nullopt;
  return value;
}

bool set_listen(const std::string& value, Options& out, SupvTags&) {
  const std::size_t colon = value.find(':');
  if (colon == std::string::npos) return false;
  const std::optional<int> port = read_number(std::string_view(value).substr(colon + 1), 0, kMaxPort);
  out.address = value.substr(0, colon);
  if (!port || !is_ipv4(out.address)) return false;
  out.port = *port;
  return true;
}

bool set_script(const std::string& value, Options& out, SupvTags&) {
  out.script = value;
  return !value.empty();
}

bool set_device_type(const std::string& value, Options&, SupvTags& supv) {
  supv.device_type = value;
  return !value.empty();
}

bool set_console_ip(const std::string& value, Options&, SupvTags& supv) {
  supv.console_ip = value;
  return is_ipv4(value) || is_ipv4_port(value);
}

bool set_greet(const std::string& value, Options& out, SupvTags&) {
  out.sim.greeting.push_back(value);
  return is_wire_line(value);
}

bool set_wait_limit(const std::string& value, Options& out, SupvTags&) {
  const std::optional<int> ms = read_number(value, 1, kMaxWaitLimitMs);
  if (ms) out.wait_limit = std::chrono::milliseconds(*ms);
  return ms.has_value();
}

struct ValueOption {
  std::string_view word;
  const char* value;
  const char* help;
  bool (*set)(const std::string& value, Options& out, SupvTags& supv);
};
// Word, its value, what it does, how it is stored.
constexpr std::array kValueOptions = {
    ValueOption{"--listen", "ADDR:PORT",
                "where the station connects (127.0.0.1:4010); port 0 picks a free one", set_listen},
    ValueOption{"--script", "FILE", "takes its lines from the file instead of standard input", set_script},
    ValueOption{"--device-type", "TEXT", "DEVICE_TYPE of the supervisor line", set_device_type},
    ValueOption{"--console-ip", "A.B.C.D[:PORT]", "CONSOLE_IP of the supervisor line (0.0.0.0: none)",
                set_console_ip},
    ValueOption{"--greet", "LINE", "a line for each station that connects; may be given again", set_greet},
    ValueOption{"--wait-limit", "MS", "how long a wait-for may last (10000)", set_wait_limit},
};

const ValueOption* find_option(std::string_view word) {
  for (const ValueOption& option : kValueOptions) {
    if (option.word == word) return &option;
  }
  return nullptr;
}

void make_supv_line(const SupvTags& supv, Options& out) {
  if (supv.device_type.empty() && supv.console_ip.empty()) return;
  std::string line = "INDI SUPV";
  if (!supv.console_ip.empty()) line += " CONSOLE_IP:" + supv.console_ip;
  if (!supv.device_type.empty()) line += " DEVICE_TYPE:" + quote(supv.device_type);
  out.sim.supv_line = line;
}

}  // namespace

std::string parse_options(const std::vector<std::string>& words, Options& out) {
  SupvTags supv;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (words[i] == "--help") {
      out.help = true;
      return {};
    }
    if (words[i] == "--strict") {
      out.strict = true;
      continue;
    }
    const ValueOption* option = find_option(words[i]);
    if (option == nullptr) return "unknown option " + words[i];
    if (++i == words.size()) return std::string(option->word) + " needs " + option->value;
    if (!option->set(words[i], out, supv)) {
      return std::string(option->word) + " takes " + option->value + ", not \"" + words[i] + "\"";
    }
  }
  make_supv_line(supv, out);
  return {};
}

std::string usage_text() {
  std::string text =
      "quillsim - a simulated Quillnet routing daemon: takes one station's connection, keeps its mixer,\n"
      "prints each change\n"
      "usage: quillsim [options]\n";
  for (const ValueOption& option : kValueOptions) {
    std::string left = "  " + std::string(option.word) + " " + option.value;
    left.resize(std::max<std::size_t>(left.size() + 1, 32), ' ');
    text += left + option.help + "\n";
  }
  text +=
      "  --strict                      ends with status 1 if a command of the station was refused or a line "
      "of\n"
      "                                the script failed\n";
  text += "  --help                        prints this\n";
  return text + kScriptHelp;
}

}  // namespace quillsim
