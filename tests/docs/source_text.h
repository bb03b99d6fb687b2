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

}  // namespace hark::test
