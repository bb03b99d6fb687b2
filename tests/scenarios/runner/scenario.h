// A scenario as it is written in its file. The first line is its title, which is also the name of its test;
// lines of "key: value" follow up to a blank line, and then the steps, each with indented lines that belong
// to it. A line that begins with "#" is a remark. README.md describes the keys and the steps.
#pragma once

#include <string>
#include <vector>

#include "scenarios/runner/words.h"

namespace hark::test {

struct Line {
  int number = 0;
  std::string text;
};

struct Step {
  int line = 0;
  std::string verb;  // its first word
  std::string text;  // the rest
  std::vector<Line> details;
};

struct Setting {
  int line = 0;
  std::string key;
  std::string value;
};

struct Scenario {
  std::string file;
  std::string title;
  std::vector<std::string> covers;  // ids of rows
  int covers_line = 0;
  std::vector<Setting> settings;  // the others
  std::vector<Step> steps;

  // The value of a setting; empty when it is not there.
  [[nodiscard]] std::string setting(const std::string& key) const;
  // The title as one word, such as "ALateAckIsDropped".
  [[nodiscard]] std::string name() const;
};

// Reads a scenario, and checks what can be seen without running it: every captured name is used. Throws
// Failure.
[[nodiscard]] Scenario ReadScenario(const std::string& file);
[[nodiscard]] Scenario ParseScenario(const std::string& file, const std::string& text);

// All files of scenarios below a folder, in order.
[[nodiscard]] std::vector<std::string> ScenarioFiles(const std::string& folder);

}  // namespace hark::test
