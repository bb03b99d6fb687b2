// Each scenario file is one test, by its title; its folder is the suite. The rows of the state tables are in
// rows.txt: every one is covered by a scenario, and no scenario names one that is not there.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <set>

#include "scenarios/runner/runner.h"
#include "scenarios/runner/scenario.h"

namespace hark::test {
namespace {

class ScenarioTest : public ::testing::Test {
 public:
  explicit ScenarioTest(std::string file) : file_(std::move(file)) {}

  void TestBody() override {
    try {
      const auto failure = RunScenario(ReadScenario(file_));
      if (failure) ADD_FAILURE_AT(file_.c_str(), failure->line) << failure->text;
    } catch (const Failure& failure) {
      ADD_FAILURE_AT(file_.c_str(), failure.line) << failure.text;
    }
  }

 private:
  std::string file_;
};

// "ua_receive" is the suite "ScenarioUaReceive".
std::string suite_of(const std::string& file) {
  std::string suite = "Scenario";
  bool first = true;
  for (const char c : std::filesystem::path(file).parent_path().filename().string()) {
    if (c != '_') suite += first ? static_cast<char>(std::toupper(static_cast<unsigned char>(c))) : c;
    first = c == '_';
  }
  return suite;
}

// A file that cannot be read is a test too, which fails.
std::string name_of(const std::string& file) {
  try {
    return ReadScenario(file).name();
  } catch (const Failure&) {
    return std::filesystem::path(file).stem().string();
  }
}

std::map<std::string, std::set<std::string>> covered_rows() {
  std::map<std::string, std::set<std::string>> rows;
  for (const std::string& file : ScenarioFiles(HARK_SCENARIOS)) {
    try {
      for (const std::string& row : ReadScenario(file).covers)
        rows[row].insert(file);
    } catch (const Failure&) {  // its own test tells
    }
  }
  return rows;
}

std::set<std::string> all_rows() {
  std::set<std::string> rows;
  std::ifstream in(std::string(HARK_SCENARIOS) + "/rows.txt");
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line.front() == '#') continue;
    const std::string id = line.substr(0, line.find(' '));
    EXPECT_TRUE(rows.insert(id).second) << id << " stands twice";
  }
  return rows;
}

TEST(ScenarioRows, EveryRowHasAScenario) {
  const auto covered = covered_rows();
  const std::set<std::string> rows = all_rows();
  EXPECT_GT(rows.size(), 100U);
  for (const std::string& row : rows)
    EXPECT_TRUE(covered.contains(row)) << row;
}

TEST(ScenarioRows, EveryScenarioNamesRowsThatAre) {
  const std::set<std::string> rows = all_rows();
  for (const auto& [row, files] : covered_rows())
    EXPECT_TRUE(rows.contains(row)) << row << " in " << *files.begin();
}

TEST(ScenarioRows, NoTwoScenariosHaveOneName) {
  std::set<std::string> names;
  for (const std::string& file : ScenarioFiles(HARK_SCENARIOS))
    EXPECT_TRUE(names.insert(suite_of(file) + "." + name_of(file)).second) << file;
}

void register_scenarios() {
  for (const std::string& file : ScenarioFiles(HARK_SCENARIOS)) {
    ::testing::RegisterTest(suite_of(file).c_str(), name_of(file).c_str(), nullptr, nullptr, file.c_str(), 1,
                            [file]() -> ::testing::Test* { return new ScenarioTest(file); });
  }
}

}  // namespace
}  // namespace hark::test

int main(int argc, char** argv) {
  hark::test::register_scenarios();
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
