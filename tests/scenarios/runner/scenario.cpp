#include "scenarios/runner/scenario.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "scenarios/runner/pattern.h"

namespace hark::test {
namespace {

bool is_remark(const std::string& text) { return Trim(text).starts_with("#"); }

void read_setting(Scenario& scenario, int number, const std::string& text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string::npos) throw Failure{number, "not \"key: value\": " + text};
  Setting setting{number, Trim(text.substr(0, colon)), Trim(text.substr(colon + 1))};
  if (setting.key != "covers") {
    scenario.settings.push_back(std::move(setting));
    return;
  }
  scenario.covers_line = number;
  for (const std::string& row : Split(setting.value, ','))
    if (!row.empty()) scenario.covers.push_back(row);
}

void read_step(Scenario& scenario, int number, const std::string& text) {
  if (text.front() == ' ') {
    if (scenario.steps.empty()) throw Failure{number, "an indented line without a step"};
    scenario.steps.back().details.push_back({number, Trim(text)});
    return;
  }
  std::string rest = text;
  std::string verb = TakeWord(rest);
  scenario.steps.push_back({number, std::move(verb), std::move(rest), {}});
}

// A name that is captured and never looked at says that something was meant to be checked.
void check_captures(const Scenario& scenario) {
  std::vector<Line> lines;
  for (const Step& step : scenario.steps) {
    lines.push_back({step.line, step.text});
    lines.insert(lines.end(), step.details.begin(), step.details.end());
  }
  for (std::size_t at = 0; at < lines.size(); ++at) {
    for (const std::string& name : CapturedNames(lines[at].text)) {
      const auto uses = [&](const Line& line) { return UsedNames(line.text).contains(name); };
      if (std::none_of(lines.begin() + static_cast<std::ptrdiff_t>(at) + 1, lines.end(), uses))
        throw Failure{lines[at].number, "{" + name + "} is captured and never used"};
    }
  }
}

}  // namespace

std::string Scenario::setting(const std::string& key) const {
  for (const Setting& one : settings)
    if (one.key == key) return one.value;
  return "";
}

std::string Scenario::name() const {
  std::string out;
  bool first = true;
  for (const char c : title) {
    const auto letter = static_cast<unsigned char>(c);
    if (std::isalnum(letter) != 0) out += first ? static_cast<char>(std::toupper(letter)) : c;
    first = std::isalnum(letter) == 0 && c != '\'';
  }
  return out;
}

Scenario ParseScenario(const std::string& file, const std::string& text) {
  Scenario scenario;
  scenario.file = file;
  std::istringstream in(text);
  std::string line;
  bool in_steps = false;
  for (int number = 1; std::getline(in, line); ++number) {
    if (is_remark(line)) continue;
    if (Trim(line).empty()) {
      in_steps = !scenario.title.empty();
    } else if (scenario.title.empty()) {
      scenario.title = Trim(line);
    } else if (in_steps) {
      read_step(scenario, number, line);
    } else {
      read_setting(scenario, number, line);
    }
  }
  if (scenario.title.empty()) throw Failure{1, "no title"};
  if (scenario.covers.empty()) throw Failure{1, "covers no row"};
  check_captures(scenario);
  return scenario;
}

Scenario ReadScenario(const std::string& file) {
  std::ifstream in(file);
  if (!in) throw Failure{0, "cannot be read"};
  std::ostringstream text;
  text << in.rdbuf();
  return ParseScenario(file, text.str());
}

std::vector<std::string> ScenarioFiles(const std::string& folder) {
  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
    if (entry.path().extension() == ".scn") files.push_back(entry.path().string());
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace hark::test
