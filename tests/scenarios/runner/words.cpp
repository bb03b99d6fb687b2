#include "scenarios/runner/words.h"

#include <strings.h>

#include <charconv>

namespace hark::test {

std::string Trim(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(" \t\r\n");
  if (begin == std::string_view::npos) return "";
  return std::string(text.substr(begin, text.find_last_not_of(" \t\r\n") - begin + 1));
}

std::string TakeWord(std::string& text) {
  text = Trim(text);
  const std::size_t end = text.find_first_of(" \t");
  std::string word = text.substr(0, end);
  text = end == std::string::npos ? "" : Trim(text.substr(end));
  return word;
}

std::vector<std::string> Split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  while (true) {
    const std::size_t end = text.find(separator);
    parts.emplace_back(Trim(text.substr(0, end)));
    if (end == std::string_view::npos) return parts;
    text.remove_prefix(end + 1);
  }
}

bool SameNoCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

Ms ReadDuration(const std::string& text, int line) {
  long count = 0;
  const char* const end = text.data() + text.size();
  const auto [behind, error] = std::from_chars(text.data(), end, count);
  const std::string_view unit(behind, static_cast<std::size_t>(end - behind));
  if (error == std::errc()) {
    if (unit == "ms") return Ms(count);
    if (unit == "s") return Ms(count * 1000);
    if (unit == "m") return Ms(count * 60'000);
    if (unit == "h") return Ms(count * 3'600'000);
  }
  throw Failure{line, "not a duration: " + text};
}

}  // namespace hark::test
