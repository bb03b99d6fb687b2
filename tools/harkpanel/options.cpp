#include "tools/harkpanel/options.h"

#include <netdb.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>

#include <CLI/CLI.hpp>

#include "base/fd.h"

namespace hark::panel_gateway {
namespace {

constexpr int kUsageError = 2;
constexpr std::size_t kLongestId = 32;
constexpr std::size_t kShortestToken = 8;
constexpr std::size_t kLongestToken = 256;  // a hello with it must fit into one message, all of it escaped

// The words of the options as they were typed; one that is not there is empty.
struct Typed {
  std::optional<std::string> station, listen, keys, id, token, channels, state;
  bool auto_answer = false;
};

void declare(CLI::App& app, Typed& typed) {
  app.add_option("--station", typed.station, "control port of the station (default 127.0.0.1:4013)")
      ->type_name("HOST[:PORT]");
  app.add_option("--listen", typed.listen,
                 "where browsers come in (default 127.0.0.1:8013; port 0: any free one, which is printed)")
      ->type_name("ADDR:PORT");
  app.add_option("--keys", typed.keys, "channels that the panel has, within 1-90 (default 1-20)")
      ->type_name("A-B");
  app.add_option("--id", typed.id, "name of the panel at the station (default web)")->type_name("NAME");
  app.add_flag("--auto-answer", typed.auto_answer, "offer the auto-answer channel");
  app.add_option("--token", typed.token,
                 "file whose first line every browser must present; needed to listen beyond loopback")
      ->type_name("FILE");
  app.add_option("--channels", typed.channels,
                 "the station's harkch.conf, for the names of shifts (default: this machine's, when the "
                 "station is on it)")
      ->type_name("FILE");
  app.add_option("--state", typed.state, "folder for the file of held keys (default $HARK_ROOT/var/tmp)")
      ->type_name("DIR");
}

std::string hark_root() {
  const char* root = std::getenv("HARK_ROOT");
  return root == nullptr ? std::string() : std::string(root);
}

bool has_blanks(std::string_view text) {
  return std::any_of(text.begin(), text.end(), [](char c) { return c >= 0 && (c <= ' ' || c == 0x7f); });
}

// Each of these fills its part of the options, and gives what is wrong, or nothing.

std::string take_station(const std::string& text, Options& out) {
  const std::optional<control::HostPort> read = control::parse_host_port(text, control::kControlPort);
  if (!read || has_blanks(read->host)) {
    return "--station " + text + ": HOST or HOST:PORT is wanted, with a port from 1 to 65535";
  }
  out.station = *read;
  return {};
}

bool is_numeric(const std::string& host) {
  addrinfo hints{};
  hints.ai_flags = AI_NUMERICHOST;
  addrinfo* found = nullptr;
  if (::getaddrinfo(host.c_str(), nullptr, &hints, &found) != 0) return false;
  ::freeaddrinfo(found);
  return true;
}

std::string take_listen(const std::string& text, Options& out) {
  const std::optional<control::HostPort> read = control::parse_host_port(text, kWebPort, 0);
  if (!read) return "--listen " + text + ": ADDR:PORT is wanted, with a port from 0 to 65535";
  if (read->host != "localhost" && !is_numeric(read->host)) {
    return "--listen " + text + ": an address in numbers is wanted, or localhost";
  }
  out.listen = *read;
  return {};
}

std::string take_keys(const std::string& text, Options& out) {
  const char* const end = text.data() + text.size();
  const auto first = std::from_chars(text.data(), end, out.first_key);
  if (first.ec != std::errc() || first.ptr == end || *first.ptr != '-') {
    return "--keys " + text + ": two numbers are wanted, as in 1-20";
  }
  const auto last = std::from_chars(first.ptr + 1, end, out.last_key);
  if (last.ec != std::errc() || last.ptr != end) {
    return "--keys " + text + ": two numbers are wanted, as in 1-20";
  }
  if (out.first_key > out.last_key) return "--keys " + text + ": the first is above the last";
  if (out.first_key < 1 || out.last_key > kHighestKey) {
    return "--keys " + text + ": channels are 1 to " + std::to_string(kHighestKey);
  }
  return {};
}

std::string take_id(const std::string& text, Options& out) {
  const auto allowed = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
  };
  if (text.empty() || text.size() > kLongestId || !std::all_of(text.begin(), text.end(), allowed)) {
    return "--id '" + text + "': 1 to 32 letters, digits, '-' and '_' are wanted";
  }
  out.id = text;
  return {};
}

// The first line of a file; nothing, with errno set, when it cannot be read.
std::optional<std::string> first_line(const std::string& path) {
  const UniqueFile file = open_file(path, "re");
  if (!file) return std::nullopt;
  std::array<char, 4096> bytes{};
  const std::size_t length = std::fread(bytes.data(), 1, bytes.size(), file.get());
  if (std::ferror(file.get()) != 0) return std::nullopt;
  const std::string_view text(bytes.data(), length);
  return std::string(text.substr(0, text.find('\n')));
}

std::string take_token(const std::string& path, Options& out) {
  const std::optional<std::string> line = first_line(path);
  if (!line) return "--token " + path + ": cannot be read: " + std::strerror(errno);
  constexpr std::string_view kBlanks = " \t\r";
  const std::size_t from = line->find_first_not_of(kBlanks);
  if (from == std::string::npos) return "--token " + path + ": its first line is empty";
  const std::string token = line->substr(from, line->find_last_not_of(kBlanks) + 1 - from);
  if (token.size() < kShortestToken) {
    return "--token " + path + ": shorter than " + std::to_string(kShortestToken) + " characters";
  }
  if (token.size() > kLongestToken) {
    return "--token " + path + ": longer than " + std::to_string(kLongestToken) + " characters";
  }
  const auto typed = [](char c) { return c >= ' ' && c <= '~'; };
  if (!std::all_of(token.begin(), token.end(), typed)) {
    return "--token " + path +
           ": holds what a browser cannot present: letters, digits and signs of ASCII only";
  }
  out.token = token;
  return {};
}

std::string take_channels(const std::string& path, Options& out) {
  if (!open_file(path, "re")) return "--channels " + path + ": cannot be read: " + std::strerror(errno);
  out.channel_file = path;
  return {};
}

std::string take_state(const std::string& path, Options& out) {
  std::error_code error;
  if (!std::filesystem::is_directory(path, error)) return "--state " + path + ": is no folder";
  out.state_folder = path;
  return {};
}

// Without a token whoever reaches the port may talk through the station.
std::string check_reach(const Options& options) {
  if (!options.token.empty() || control::is_loopback(options.listen.host)) return {};
  return "--listen " + control::to_text(options.listen) +
         " lets other machines in: that takes --token FILE, without it only loopback is served";
}

std::string take_all(const Typed& typed, Options& out) {
  using Take = std::string (*)(const std::string&, Options&);
  const std::array<std::pair<const std::optional<std::string>*, Take>, 7> takes{{
      {&typed.station, take_station},
      {&typed.listen, take_listen},
      {&typed.keys, take_keys},
      {&typed.id, take_id},
      {&typed.token, take_token},
      {&typed.channels, take_channels},
      {&typed.state, take_state},
  }};
  for (const auto& [word, take] : takes) {
    if (!*word) continue;
    if (std::string wrong = take(**word, out); !wrong.empty()) return wrong;
  }
  out.auto_answer = typed.auto_answer;
  if (!typed.channels && control::is_loopback(out.station.host)) {
    out.channel_file = hark_root() + "/etc/Orfe/hark/harkch.conf";
  }
  if (!typed.state) out.state_folder = hark_root() + "/var/tmp";
  return check_reach(out);
}

ParsedOptions failed(std::string why) {
  std::replace(why.begin(), why.end(), '\n', ' ');
  ParsedOptions parsed;
  parsed.exit_status = kUsageError;
  parsed.text = "harkpanel: " + why + "\n";
  return parsed;
}

}  // namespace

ParsedOptions parse_options(const std::vector<std::string>& words) {
  CLI::App app("The key panel of a station, in a browser", "harkpanel");
  Typed typed;
  declare(app, typed);
  try {
    app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
  } catch (const CLI::CallForHelp&) {
    ParsedOptions help;
    help.exit_status = 0;
    help.text = app.help();
    return help;
  } catch (const CLI::Error& error) {
    return failed(error.what());
  }
  ParsedOptions parsed;
  if (const std::string wrong = take_all(typed, parsed.options); !wrong.empty()) return failed(wrong);
  return parsed;
}

}  // namespace hark::panel_gateway
