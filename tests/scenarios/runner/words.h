// Small handling of text for the scenario runner, and what is thrown when a scenario does not go as it is
// written: the runner's one way out of a step.
#pragma once

#include <chrono>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace hark::test {

// A step that failed, by the number of its line.
struct Failure {
  int line = 0;
  std::string text;
};

using Ms = std::chrono::milliseconds;
using Variables = std::map<std::string, std::string>;

[[nodiscard]] std::string Trim(std::string_view text);
// The first word, which is taken off `text` with the blanks behind it.
std::string TakeWord(std::string& text);
[[nodiscard]] std::vector<std::string> Split(std::string_view text, char separator);
[[nodiscard]] bool SameNoCase(std::string_view a, std::string_view b);
// "500ms", "3s", "2m", "1h"; throws Failure for another text.
[[nodiscard]] Ms ReadDuration(const std::string& text, int line);

}  // namespace hark::test
