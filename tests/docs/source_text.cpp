#include "docs/source_text.h"

namespace hark::test {

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

}  // namespace hark::test
