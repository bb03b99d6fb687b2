#include "docs/source_text.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace hark::test {
namespace {

// The first literal of a piece of a source, as it stands there.
std::optional<std::string> first_literal(const std::string& words) {
  const std::size_t begin = words.find('"');
  if (begin == std::string::npos) return std::nullopt;
  for (std::size_t at = begin + 1; at < words.size(); ++at) {
    if (words[at] == '"') return words.substr(begin + 1, at - begin - 1);
    if (words[at] == '\\') ++at;
  }
  return std::nullopt;
}

}  // namespace

std::vector<std::string> all_between(const std::string& text, std::string_view open, std::string_view close) {
  std::vector<std::string> found;
  std::size_t at = text.find(open);
  while (at != std::string::npos) {
    at += open.size();
    const std::size_t end = text.find(close, at);
    if (end == std::string::npos) break;
    found.push_back(text.substr(at, end - at));
    at = text.find(open, end + close.size());
  }
  return found;
}

std::string table_text(const std::string& source, const std::string& name) {
  const std::size_t begin = source.find(" " + name + "{");
  const std::size_t end = source.find("}};", begin);
  return begin == std::string::npos || end == std::string::npos ? "" : source.substr(begin, end - begin);
}

bool fits_format(std::string_view format, std::string_view text) {
  const std::size_t percent = format.find('%');
  if (percent == std::string_view::npos) return text == format;
  if (!text.starts_with(format.substr(0, percent))) return false;
  text.remove_prefix(percent);
  format.remove_prefix(format.find_first_of("cdsuX", percent) + 1);
  for (std::size_t word = 0; word <= text.size(); ++word) {
    if (fits_format(format, text.substr(word))) return true;
  }
  return false;
}

std::string plain(std::string literal) {
  for (const std::string_view end : {"\\n", "\\r"}) {
    if (literal.ends_with(end)) literal.resize(literal.size() - end.size());
  }
  std::erase(literal, '\\');
  return literal;
}

std::vector<LogText> log_texts(const std::string& source, std::string_view call, std::string_view before,
                               std::string_view behind) {
  constexpr std::array<std::pair<std::string_view, int>, 5> kLevels{
      {{"Error", 3}, {"Warning", 4}, {"Notice", 5}, {"Info", 6}, {"Debug", 7}}};
  std::vector<LogText> texts;
  for (const std::string& words : all_between(source, std::string(call) + "(kLog", ";")) {
    const auto level = std::find_if(kLevels.begin(), kLevels.end(),
                                    [&](const auto& one) { return words.starts_with(one.first); });
    const std::optional<std::string> text = first_literal(words);
    if (level != kLevels.end() && text)
      texts.push_back({level->second, std::string(before).append(plain(*text)).append(behind)});
  }
  return texts;
}

}  // namespace hark::test
