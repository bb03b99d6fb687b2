// What the tests of the documents look for in the sources of the product: its tables and its texts.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace hark::test {

// What stands between each `open` and the next `close` behind it.
[[nodiscard]] std::vector<std::string> all_between(const std::string& text, std::string_view open,
                                                   std::string_view close);

// The table `name` of a source file, as far as its closing braces.
[[nodiscard]] std::string table_text(const std::string& source, const std::string& name);

// Whether `text` is `format` of printf(3) with any words in place of its conversions. A blank text in quotes
// is a word too.
[[nodiscard]] bool fits_format(std::string_view format, std::string_view text);

// A literal as it stands in a source, without its backslashes and its line end.
[[nodiscard]] std::string plain(std::string literal);

// A message of the program's log.
struct LogText {
  int level = 0;
  std::string format;
};

// The messages of all calls in `source` that begin with `call(kLogError` or another level: the first literal
// of each, between `before` and `behind`.
[[nodiscard]] std::vector<LogText> log_texts(const std::string& source, std::string_view call,
                                             std::string_view before = "", std::string_view behind = "");

}  // namespace hark::test
