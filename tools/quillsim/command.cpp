#include "tools/quillsim/command.h"

#include <algorithm>
#include <array>

#include "base/text.h"
#include "tools/quillsim/scanner.h"

namespace quillsim {
namespace {

constexpr std::string_view kAppIdPrefix = "orfe:app:hark#1@";
constexpr std::size_t kHardwareAddressDigits = 12;

ParsedLine refuse(std::string error) { return {std::nullopt, std::move(error)}; }
ParsedLine accept(Command command) { return {std::move(command), {}}; }

// Accepts when nothing follows.
ParsedLine finish(const Scanner& in, Command command) {
  if (!in.at_end()) return refuse("something follows the command");
  return accept(std::move(command));
}

bool is_app_id(std::string_view text) {
  if (!text.starts_with(kAppIdPrefix)) return false;
  text.remove_prefix(kAppIdPrefix.size());
  if (text == "unknown") return true;
  return text.size() == kHardwareAddressDigits && std::all_of(text.begin(), text.end(), [](char c) {
           return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F');
         });
}

bool is_listen_source(std::string_view text) { return text.empty() || is_ipv4(text) || is_ipv4_port(text); }

// Empty, or why the number is not what is asked for.
std::string range_error(const char* what, std::optional<int> value, int min, int max) {
  if (value && *value >= min && *value <= max) return {};
  std::array<char, 80> text{};
  hark::format_text(text, value ? "%s is not in %d to %d" : "%s is no number (%d to %d)", what, min, max);
  return text.data();
}

ParsedLine parse_create(Scanner& in) {
  if (!in.skip("vmix2 app_id=")) return refuse("expected \"create vmix2 app_id=\"");
  const std::optional<std::string> app_id = in.quoted();
  if (!app_id) return refuse("app_id is not quoted text");
  if (!is_app_id(*app_id)) return refuse("app_id is not orfe:app:hark#1@ and a hardware address");
  return finish(in, CreateMixer{*app_id});
}

// Behind "set hark#1.sub#1.in#".
ParsedLine parse_set_input(Scanner& in) {
  SetInput command;
  const std::optional<int> input = in.number();
  if (std::string error = range_error("input", input, 1, kMaxInput); !error.empty()) return refuse(error);
  command.input = *input;
  if (!in.skip(" ")) return refuse("expected a blank behind the input");
  if (in.skip("src_id=")) {
    command.src_id = in.quoted();
    if (!command.src_id) return refuse("src_id is not quoted text");
    if (!is_listen_source(*command.src_id)) return refuse("src_id is not a.b.c.d, a.b.c.d:port or empty");
    if (!in.skip(", ")) return refuse("expected \", gain=\" behind src_id");
  }
  if (!in.skip("gain=")) return refuse("expected gain=");
  const std::optional<int> gain = in.number();
  if (std::string error = range_error("gain", gain, kGainMin, kGainMax); !error.empty()) return refuse(error);
  command.gain = *gain;
  return finish(in, command);
}

// Behind "set hark#1.sub#N.sub_out ".
ParsedLine parse_set_sub_out(Scanner& in, int sub) {
  if (in.skip("src_id=")) {
    const std::optional<std::string> src_id = in.quoted();
    if (!src_id) return refuse("src_id is not quoted text");
    if (!src_id->empty() && !is_ipv4_port(*src_id)) return refuse("src_id is not a.b.c.d:port or empty");
    return finish(in, SetSubOutSource{sub, *src_id});
  }
  if (in.skip("src_name=")) {
    const std::optional<std::string> src_name = in.quoted();
    if (!src_name) return refuse("src_name is not quoted text");
    if (src_name->size() > kMaxSourceName) return refuse("src_name is longer than 10 characters");
    return finish(in, SetSubOutName{sub, *src_name});
  }
  return refuse("expected src_id= or src_name=");
}

// Behind "set hark#1.sub#N ".
ParsedLine parse_set_sub_gain(Scanner& in, int sub) {
  if (!in.skip("gain=")) return refuse("expected gain=");
  if (in.skip("OFF")) return finish(in, SetSubGain{sub, std::nullopt});
  const std::optional<int> gain = in.number();
  if (std::string error = range_error("gain", gain, kGainMin, kGainMax); !error.empty()) return refuse(error);
  return finish(in, SetSubGain{sub, gain});
}

ParsedLine parse_set(Scanner& in) {
  if (!in.skip("hark#1.")) return refuse("no object of this name, expected hark#1");
  if (!in.skip("sub#")) return refuse("expected sub#");
  const std::optional<int> sub = in.number();
  if (std::string error = range_error("sub", sub, 1, kSubs); !error.empty()) return refuse(error);
  if (in.skip(".in#")) {
    if (*sub != kSubSpeaker) return refuse("only sub#1 has inputs");
    return parse_set_input(in);
  }
  if (in.skip(".sub_out ")) return parse_set_sub_out(in, *sub);
  if (in.skip(" ")) return parse_set_sub_gain(in, *sub);
  return refuse("expected .in#, .sub_out or a blank behind the sub");
}

ParsedLine parse_source(Scanner& in) {
  SetSource command;
  const std::optional<int> source = in.number();
  if (std::string error = range_error("source", source, 1, kMaxSource); !error.empty()) return refuse(error);
  command.source = *source;
  if (!in.skip(" RTPA:")) return refuse("expected RTPA:");
  const std::optional<std::string> rtpa = in.quoted();
  if (!rtpa) return refuse("RTPA is not quoted text");
  if (!is_listen_source(*rtpa)) return refuse("RTPA is not a.b.c.d, a.b.c.d:port or empty");
  if (!in.skip(" RTPT:")) return refuse("expected RTPT:");
  const std::optional<std::string> rtpt = in.quoted();
  if (!rtpt) return refuse("RTPT is not quoted text");
  command.rtpa = *rtpa;
  command.rtpt = *rtpt;
  return finish(in, command);
}

ParsedLine parse_get(Scanner& in) {
  if (!in.skip("supv state")) return refuse("expected \"get supv state\"");
  return finish(in, GetSupvState{});
}

using VerbParser = ParsedLine (*)(Scanner&);
struct Verb {
  std::string_view word;  // with the blank behind it
  VerbParser parse;
};
constexpr std::array kVerbs = {
    Verb{"get ", parse_get},
    Verb{"create ", parse_create},
    Verb{"set ", parse_set},
    Verb{"SRC ", parse_source},
};

ParsedLine parse_text(std::string_view text) {
  Scanner in(text);
  for (const Verb& verb : kVerbs) {
    if (in.skip(verb.word)) return verb.parse(in);
  }
  return refuse("no such command");
}

}  // namespace

ParsedLine parse_command(std::string_view line) {
  if (line.size() > hark::kMaxLine) return refuse("line longer than 2000 bytes");
  if (!line.ends_with('\n')) return refuse("line without its end");
  if (line == "SHUT\n") return accept(Shut{});
  if (!line.ends_with("\r\n")) return refuse("line ends in LF without CR");
  line.remove_suffix(2);
  if (line.find_first_of(std::string_view("\0\r\n", 3)) != std::string_view::npos) {
    return refuse("NUL, CR or LF inside the line");
  }
  if (line == "SHUT") return refuse("SHUT ends in LF alone");
  return parse_text(line);
}

}  // namespace quillsim
