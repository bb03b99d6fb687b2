#include "tools/harkctl/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>

#include "base/text.h"
#include "tools/harkctl/settings.h"

namespace hark::ctl {
namespace {

constexpr double kLeastTimeoutS = 0.01;
constexpr double kLongestTimeoutS = 3600;
constexpr int kLongestDurationMs = 86'400'000;
constexpr std::size_t kPins = 5;
constexpr std::size_t kPortDigits = 4;

// What CLI11 fills, before it is looked at.
struct Words {
  std::string station;
  std::string timeout;
  std::string sip;
  std::string duration;
  bool listen = false;
  bool talk = false;
  std::vector<std::string> settings;
};

struct Verb {
  const char* word;
  Command command;
  const char* help;
};
// word, what it is, its help
constexpr std::array<Verb, 9> kVerbs{
    {{"status", Command::kStatus, "Name, levels, version, sources, host, calls and panels"},
     {"calls", Command::kCalls, "The calls that are up, those that ring first"},
     {"watch", Command::kWatch, "What happens at the station, a line each, until interrupted"},
     {"call", Command::kCall, "Call a station or source, or answer it"},
     {"drop", Command::kDrop, "End a call"},
     {"gpio", Command::kGpio, "Read contacts, or set them"},
     {"set", Command::kSet, "Change settings of the station"},
     {"panels", Command::kPanels, "The panels that are attached"},
     {"health", Command::kHealth, "Whether the station answers, knows its source and has its services"}}};

std::optional<double> read_seconds(const std::string& text) {
  double value = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
  if (read.ec != std::errc{} || read.ptr != text.data() + text.size()) return std::nullopt;
  if (!(value >= kLeastTimeoutS && value <= kLongestTimeoutS)) return std::nullopt;
  return value;
}

// What is wrong, or nothing. `name` is where the text was given.
std::string take_station(const std::string& text, const std::string& name, Options& options) {
  const std::optional<control::HostPort> station = control::parse_host_port(text, control::kControlPort);
  if (!station) return name + ": not HOST or HOST:PORT: " + text;
  options.station = *station;
  return {};
}

std::string take_timeout(const std::string& text, Options& options) {
  const std::optional<double> seconds = read_seconds(text);
  if (!seconds) return "--timeout: not a number of seconds from 0.01 to 3600: " + text;
  options.timeout = std::chrono::milliseconds(static_cast<int>(*seconds * 1000));
  return {};
}

// The services are at the two ports above the base.
std::string take_sip(const std::string& text, Options& options) {
  options.sip = {options.station.host, kSipPort};
  if (text.empty()) return {};
  const std::optional<control::HostPort> sip = control::parse_host_port(text, kSipPort);
  if (!sip || sip->port > 65533) return "--sip: not HOST or HOST:BASE: " + text;
  options.sip = *sip;
  return {};
}

std::string take_party(const Words& words, Options& options) {
  options.listen = words.listen || !words.talk;
  options.talk = words.talk || !words.listen;
  if (options.party.empty()) return "the URL or name must not be empty";
  if (options.party.size() > kLongestUrl) return "the URL is longer than 79 bytes: " + options.party;
  return {};
}

std::string take_family(Options& options) {
  if (options.family.empty()) return {};
  const bool is_input = equal_nocase(options.family.c_str(), "GPI");
  if (!is_input && !equal_nocase(options.family.c_str(), "GPO")) return "not GPI or GPO: " + options.family;
  options.family = is_input ? "GPI" : "GPO";
  return {};
}

std::string take_states(const Words& words, Options& options) {
  const bool digits =
      std::all_of(options.port.begin(), options.port.end(), [](char c) { return c >= '0' && c <= '9'; });
  if (!digits || options.port.size() > kPortDigits) return "not a port number: " + options.port;
  // To a station a zero in front would make it octal.
  if (!options.port.empty()) options.port = std::to_string(parse_int(options.port.c_str()));
  if (options.states.size() > kPins || options.states.find_first_not_of("LlHhXx") != std::string::npos)
    return "not one to five of L, H and x: " + options.states;
  if (words.duration.empty()) return {};
  if (options.states.empty()) return "--duration needs states";
  const std::string& text = words.duration;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), options.duration_ms);
  const bool whole = read.ec == std::errc{} && read.ptr == text.data() + text.size();
  if (!whole || options.duration_ms < 1 || options.duration_ms > kLongestDurationMs)
    return "--duration: not a number of ms from 1 to 86400000: " + text;
  // A station sets an input for good, whatever is said.
  if (options.family == "GPI") return "--duration is for outputs (GPO)";
  return {};
}

std::string take_gpio(const Words& words, Options& options) {
  if (std::string fault = take_family(options); !fault.empty()) return fault;
  return take_states(words, options);
}

std::string take_setting(const std::string& text, Options& options) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos) return "not NAME=VALUE: " + text;
  const SettingName* setting = find_setting(text.substr(0, equals));
  if (setting == nullptr) return "no such setting: " + text.substr(0, equals);
  const std::string value = text.substr(equals + 1);
  if (std::string fault = fault_of(*setting, value); !fault.empty()) return fault + ": " + text;
  const bool twice = std::any_of(options.settings.begin(), options.settings.end(),
                                 [&](const auto& known) { return known.first == setting->name; });
  if (twice) return "given twice: " + std::string(setting->name);
  options.settings.emplace_back(setting->name, plain_value(*setting, value));
  return {};
}

std::string take_settings(const Words& words, Options& options) {
  for (const std::string& text : words.settings) {
    if (std::string fault = take_setting(text, options); !fault.empty()) return fault;
  }
  return {};
}

std::string take_command(const Words& words, Options& options) {
  switch (options.command) {
    case Command::kCall:
    case Command::kDrop:
      return take_party(words, options);
    case Command::kGpio:
      return take_gpio(words, options);
    case Command::kSet:
      return take_settings(words, options);
    case Command::kHealth:
      return take_sip(words.sip, options);
    default:
      return {};
  }
}

std::string take_all(const Words& words, const char* environment_station, Options& options) {
  if (!words.station.empty()) {
    if (std::string fault = take_station(words.station, "--station", options); !fault.empty()) return fault;
  } else if (environment_station != nullptr && *environment_station != '\0') {
    std::string fault = take_station(environment_station, "HARKCTL_STATION", options);
    if (!fault.empty()) return fault;
  }
  if (std::string fault = words.timeout.empty() ? "" : take_timeout(words.timeout, options); !fault.empty())
    return fault;
  return take_command(words, options);
}

void add_directions(CLI::App& verb, Words& words) {
  verb.add_flag("--listen", words.listen, "Only what we hear");
  verb.add_flag("--talk", words.talk, "Only what they hear; with neither option both");
}

void describe_verb(CLI::App& verb, Command command, Words& words, Options& options) {
  switch (command) {
    case Command::kCall:
    case Command::kDrop:
      verb.add_option("URL", options.party, "URL of the far end, or its name")->required();
      add_directions(verb, words);
      return;
    case Command::kGpio:
      verb.add_option("GPI|GPO", options.family, "Inputs or outputs");
      verb.add_option("N", options.port, "Number of the port");
      verb.add_option("STATES", options.states, "A letter for each pin: L low (closed), H high, x as it is");
      verb.add_option("--duration", words.duration, "Back to the other level after this time")
          ->type_name("MS");
      return;
    case Command::kSet:
      verb.add_option("NAME=VALUE", words.settings, "LABL, TRGL, TRGLA, DROPFLASH, DIML, LATCH, EXTC, AANS")
          ->required();
      return;
    case Command::kHealth:
      verb.add_option("--sip", words.sip, "Where its SIP services are (the station's host, 5060)")
          ->type_name("HOST[:BASE]");
      return;
    default:
      return;
  }
}

void describe(CLI::App& app, Words& words, Options& options) {
  app.name("harkctl");
  app.fallthrough();
  app.require_subcommand(0, 1);
  app.add_option("--station", words.station,
                 "Where the station is (127.0.0.1:4013, or what HARKCTL_STATION says)")
      ->type_name("HOST[:PORT]");
  app.add_option("--timeout", words.timeout, "How long to wait (3)")->type_name("SECONDS");
  app.add_flag("--json", options.json, "Write JSON");
  for (const Verb& verb : kVerbs) {
    CLI::App* sub = app.add_subcommand(verb.word, verb.help);
    describe_verb(*sub, verb.command, words, options);
    sub->callback([&options, command = verb.command] { options.command = command; });
  }
  // For the completion of a shell: not in the help.
  CLI::App* complete = app.add_subcommand("complete", "")->group("");
  CLI::App* urls = complete->add_subcommand("urls", "");
  urls->add_option("PREFIX", options.prefix);
  complete->require_subcommand(1);
  complete->callback([&options] { options.command = Command::kComplete; });
}

ParsedOptions ended(int status, std::string text) {
  ParsedOptions parsed;
  parsed.exit_status = status;
  parsed.text = std::move(text);
  return parsed;
}

}  // namespace

ParsedOptions parse_options(const std::vector<std::string>& words, const char* environment_station) {
  ParsedOptions parsed;
  Words given;
  CLI::App app("What a station does, from a shell.");
  describe(app, given, parsed.options);
  try {
    app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
  } catch (const CLI::CallForHelp&) {
    const std::vector<CLI::App*> verbs = app.get_subcommands();
    return ended(kOk, verbs.empty() ? app.help() : verbs.front()->help("harkctl"));
  } catch (const CLI::ParseError& error) {
    return ended(kUsage, error.what());
  }
  if (app.get_subcommands().empty()) return ended(kUsage, "a command is needed, see harkctl --help");
  std::string fault = take_all(given, environment_station, parsed.options);
  return fault.empty() ? parsed : ended(kUsage, std::move(fault));
}

}  // namespace hark::ctl
