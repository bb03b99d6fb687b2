#include "tools/control/control_lines.h"

#include <algorithm>
#include <array>
#include <climits>

#include "addressing/harkurl.h"
#include "base/text.h"
#include "daemon/qnrlib/tagtext.h"

namespace hark::control {
namespace {

constexpr std::string_view kCall = "CALL ";
constexpr std::string_view kError = "ERROR";

// A control character in what a person reads could act on the terminal.
std::string without_controls(std::string_view text) {
  std::string out(text);
  std::replace_if(
      out.begin(), out.end(), [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7F'; }, ' ');
  return out;
}

// The value at `value`, unescaped; `size` is the length of the line that it is in.
std::string copy_value(const char* value, std::size_t size) {
  std::string text(size + 1, '\0');
  text.resize(static_cast<std::size_t>(qnr_copyval(text.data(), value, static_cast<int>(text.size()))));
  return text;
}

std::optional<char> letter_of(const char* tags, const char* tag) {
  std::array<char, 2> letter{};
  if (qnr_copyval(letter.data(), qnr_findval(tags, tag), letter.size()) == 0) return std::nullopt;
  return letter[0];
}

bool is_blank(std::string_view text) { return text.find_first_not_of(' ') == std::string_view::npos; }

}  // namespace

std::optional<CallReport> read_call(const std::string& line) {
  if (!line.starts_with(kCall)) return std::nullopt;
  const char* tags = line.c_str() + kCall.size();
  CallReport report;
  report.url = copy_value(qnr_findval(tags, "URL"), line.size());
  if (report.url.empty()) return std::nullopt;
  report.talk = letter_of(tags, "TALK");
  report.listen = letter_of(tags, "LISTEN");
  if (const char* volume = qnr_findval(tags, "VOLUME"))
    report.volume = static_cast<int>(std::clamp<long>(qnr_vall(volume), INT_MIN, INT_MAX));
  return report;
}

std::string name_of(const std::string& url) {
  constexpr std::size_t kNameSize = 256;  // a label is far shorter; what is not is cut
  harkurl_info info;
  if (harkurl_parse(url.c_str(), &info) < 0) return {};
  if (const std::string_view name = harkurl_name(info); !is_blank(name)) return without_controls(name);
  std::array<char, kNameSize> label{};
  url_tagsz(&info, "label", label.data(), label.size());
  if (!is_blank(label.data())) return without_controls(label.data());
  if (info.url_len == 0) return without_controls(url);
  std::string_view address(info.url, info.url_len);
  if (address.size() > 1 && address.front() == '*') address.remove_prefix(1);
  return without_controls(address);
}

std::optional<std::string> tag_of(const std::string& line, const char* tag) {
  const char* value = qnr_findval(line.c_str(), tag);
  if (value == nullptr) return std::nullopt;
  return copy_value(value, line.size());
}

std::optional<long> number_of(const std::string& line, const char* tag) {
  const char* value = qnr_findval(line.c_str(), tag);
  if (value == nullptr) return std::nullopt;
  return qnr_vall(value);
}

std::optional<std::string> read_error(const std::string& line) {
  constexpr std::uint64_t kHostLimit = 2001;
  constexpr std::uint64_t kMostCode = 9999;
  std::string_view text = line;
  if (!text.starts_with(kError)) return std::nullopt;
  text.remove_prefix(kError.size());
  if (!text.empty() && text.front() != ' ') return std::nullopt;
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  const std::string_view all = text;
  const std::uint64_t code = take_digits(text, kMostCode);
  // The station says "host", which to who reads it here is this machine.
  if (code == kHostLimit) return "too many connections from this host";
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  if (!text.empty()) return without_controls(text);
  return all.empty() ? "error" : "error " + without_controls(all);
}

std::string quoted(std::string_view text) {
  const std::string plain = without_controls(text);
  std::string out(2 * plain.size() + 1, '\0');
  out.resize(static_cast<std::size_t>(qnr_escape(out.data(), static_cast<int>(out.size()), plain.c_str())));
  return '"' + out + '"';
}

std::string_view word_of(char letter) {
  struct State {
    char letter;
    std::string_view word;
  };
  // letter, word
  static constexpr std::array<State, 7> kStates{{{'0', "off"},
                                                 {'1', "on"},
                                                 {'R', "rings in"},
                                                 {'r', "rings out"},
                                                 {'C', "calling"},
                                                 {'S', "seized"},
                                                 {'d', "dropped"}}};
  const auto* state = std::find_if(kStates.begin(), kStates.end(),
                                   [letter](const State& row) { return row.letter == letter; });
  return state != kStates.end() ? state->word : "?";
}

}  // namespace hark::control
