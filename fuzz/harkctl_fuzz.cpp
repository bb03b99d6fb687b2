// harkctl, all of it but its sockets: an input is the words of a command line, what the station says, what
// answers the question to its SIP services, the table of stations that were heard of and the operator's file
// of sources, between lines of "====". The command runs, and so do status and watch, which read most of what
// a station says. A line that goes out is one line; JSON is one value in a line of ASCII; other output has no
// control characters, and is UTF-8. support/harkctl_station.h tells the marks among the station's lines;
// datagrams have a line of "----" between them.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/fuzzing.h"
#include "support/harkctl_station.h"
#include "tools/control/line_splitter.h"
#include "tools/harkctl/commands.h"
#include "tools/harkctl/text.h"

namespace {

using hark::control::LineSplitter;
using hark::ctl::Command;
using hark::ctl::Options;
using hark::ctl::Output;
using hark::fuzz::check;

constexpr std::string_view kCut = "====\n";
constexpr std::string_view kDatagramCut = "----\n";
constexpr std::string_view kEnds("\n\0", 2);  // of the words: a word of a command line has no NUL
constexpr std::size_t kParts = 5;

std::vector<std::string> cut_at(std::string_view text, std::string_view mark, std::size_t most) {
  std::vector<std::string> parts;
  std::size_t at = 0;
  while (parts.size() + 1 < most && (at = text.find(mark)) != std::string_view::npos) {
    parts.emplace_back(text.substr(0, at));
    text.remove_prefix(at + mark.size());
  }
  parts.emplace_back(text);
  return parts;
}

// The folder that stands in front of the station's paths.
struct Root {
  std::string path = hark::fuzz::temp_folder();
  Root() {
    std::filesystem::create_directories(path + "/var/tmp");
    std::filesystem::create_directories(path + "/etc/Orfe/hark");
  }
  void write(const char* name, const std::string& text) const {
    std::ofstream(path + name, std::ios::binary | std::ios::trunc) << text;
  }
};

// What is fit for a terminal, by another way than harkctl's own.
bool is_plain(const std::string& text) {
  const nlohmann::json value(text);
  const std::string kept = value.dump(-1, ' ', false, nlohmann::json::error_handler_t::ignore);
  if (nlohmann::json::parse(kept) != value) return false;  // something was no UTF-8
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte < ' ' || byte == 0x7f) return false;
    if (byte == 0xc2 && static_cast<unsigned char>(text[i + 1]) < 0xa0) return false;  // U+0080 to U+009F
  }
  return true;
}

void check_json(const std::string& line) {
  const auto is_ascii = [](char c) { return c >= ' ' && c <= '~'; };
  check(std::all_of(line.begin(), line.end(), is_ascii), "JSON is a line of ASCII");
  const nlohmann::json value = nlohmann::json::parse(line, nullptr, false);
  check(value.is_object() || value.is_array(), "JSON is an object or an array");
}

// One for each complaint: none has a line of its own in it.
void check_complaints(const std::string& text) {
  check(text.empty() || text.ends_with('\n'), "a complaint that ends");
  if (text.empty()) return;
  for (const std::string& line : hark::fuzz::split(std::string_view(text).substr(0, text.size() - 1), "\n"))
    check(line.starts_with("harkctl: ") && is_plain(line), "a complaint is a plain line");
}

// What the parts of an input say, and who listens.
struct Case {
  std::vector<std::string> lines;
  std::vector<std::string> datagrams;
  const Root& root;
  const hark::fuzz::Listener& listener;
};

void run_checked(const Case& input, Options options, bool json) {
  options.json = json;
  hark::fuzz::station_says(input.lines, input.datagrams);
  input.listener.clear();
  Output out = input.listener.output();
  const int status = hark::ctl::run_command(options, input.root.path, {}, out);
  check(status == hark::ctl::kOk || status == hark::ctl::kFailed || status == hark::ctl::kUnreachable,
        "a status that is known");
  const std::vector<std::string> told = input.listener.told();
  const bool is_json = json && options.command != Command::kComplete;
  for (const std::string& line : told) {
    is_json ? check_json(line) : check(is_plain(line), "a plain line");
  }
  check(!is_json || options.command == Command::kWatch || told.size() <= 1, "one value");
  check_complaints(input.listener.complaints());
}

// However the bytes come, the lines are the same.
void check_pieces(const std::string& bytes) {
  std::vector<std::string> whole;
  std::vector<std::string> pieced;
  LineSplitter().feed(bytes, [&](const std::string& line) { whole.push_back(line); });
  LineSplitter splitter;
  for (const char& byte : bytes)
    splitter.feed({&byte, 1}, [&](const std::string& line) { pieced.push_back(line); });
  check(whole == pieced, "lines do not depend on the pieces");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Root root;
  static const hark::fuzz::Listener listener;
  std::vector<std::string> parts = cut_at(hark::fuzz::as_text(data, size), kCut, kParts);
  parts.resize(kParts);
  check_pieces(parts[1]);
  root.write("/var/tmp/orfehark-bonjour.tbl", parts[3]);
  root.write("/etc/Orfe/hark/hark_sources", parts[4]);
  const Case input{hark::fuzz::split(parts[1], "\n"), cut_at(parts[2], kDatagramCut, 8), root, listener};

  const std::string words = parts[0].substr(0, parts[0].find_first_of(kEnds));
  const hark::ctl::ParsedOptions parsed = hark::ctl::parse_options(hark::fuzz::split(words, "|"), nullptr);
  if (parsed.exit_status < 0) {
    run_checked(input, parsed.options, false);
    run_checked(input, parsed.options, true);
  } else {
    listener.clear();
    hark::ctl::complain(parsed.text);
    check_complaints(listener.complaints());
  }
  for (const Command command : {Command::kStatus, Command::kWatch}) {
    Options options;
    options.command = command;
    run_checked(input, options, false);
    run_checked(input, options, true);
  }
  return 0;
}
