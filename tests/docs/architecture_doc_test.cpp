// The map of the sources leads to them: every hook is in its table, and declared where the table says; every
// file that a document names is there.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "docs/document.h"
#include "docs/source_text.h"

namespace hark::test {
namespace {

constexpr std::array kDocuments = {"docs/architecture.md", "docs/browser-panel.md", "docs/control-port.md",
                                   "docs/discovery.md",    "docs/harkctl.md",       "docs/links.md",
                                   "docs/panels.md",       "docs/sip.md",           "README.md"};

// Words of a document that are files of the tree: "routing/qnrifb.h".
std::vector<std::string> named_files(std::string text) {
  std::replace_if(
      text.begin(), text.end(),
      [](char c) { return std::string_view("`()|,;\"[]").find(c) != std::string::npos; }, ' ');
  std::vector<std::string> files;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    while (word.ends_with('.') || word.ends_with(':'))
      word.pop_back();
    const bool is_source = word.ends_with(".cpp") || word.ends_with(".h");
    if (is_source && word.find('/') != std::string::npos) files.push_back(word);
  }
  return files;
}

TEST(Architecture, HasEveryHookWhereItIsDeclared) {
  const Document document = read_document("docs/architecture.md");
  const std::vector<Row> rows = table_rows(document.text, "| hook | declared in | what goes up |");
  std::vector<std::string> hooks;
  for (const Row& row : rows) {
    std::vector<std::string> names = all_between(row[0], "`", "`");
    if (names.empty()) names.push_back(row[0]);
    const std::string header = read_source(row[1]);
    for (const std::string& name : names) {
      EXPECT_NE(header.find(name.substr(0, name.find('('))), std::string::npos) << name << " in " << row[1];
      hooks.push_back(name);
    }
  }
  std::vector<std::string> filled;
  std::istringstream lines(read_source("daemon/harkd_init.cpp"));
  for (std::string line; std::getline(lines, line);) {
    const std::string name = line.substr(0, line.find(" = ")).substr(std::min<std::size_t>(line.size(), 2));
    if (name.ends_with("_callback") || name.ends_with("_hooks") || name.ends_with("_exit"))
      filled.push_back(name);
  }
  EXPECT_GE(filled.size(), 10U) << testing::PrintToString(filled);
  for (const std::string& name : filled)
    EXPECT_THAT(hooks, testing::Contains(name));
}

TEST(Architecture, NamesOnlyFilesThatThereAre) {
  for (const char* name : kDocuments) {
    const std::string text = read_source(name);
    EXPECT_FALSE(text.empty()) << name;
    for (const std::string& file : named_files(text))
      EXPECT_TRUE(std::filesystem::exists(std::filesystem::path(HARK_SOURCE_DIR) / file))
          << name << ": " << file;
  }
  EXPECT_THAT(named_files(read_source("docs/architecture.md")), testing::Contains("routing/qncpptt.h"));
}

// "#the-tag" of the title "### The tag".
std::string anchor_of(std::string title) {
  title.erase(0, title.find_first_not_of("# "));
  std::string anchor;
  for (const char c : title) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == ' ') anchor += '-';
    if (std::isalnum(byte) != 0 || c == '-' || c == '_') anchor += static_cast<char>(std::tolower(byte));
  }
  return anchor;
}

bool has_anchor(const std::string& text, const std::string& anchor) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with('#') && anchor_of(line) == anchor) return true;
  }
  return false;
}

TEST(Documents, LeadToEachOther) {
  namespace fs = std::filesystem;
  for (const std::string name : kDocuments) {
    for (std::string link : all_between(read_source(name), "](", ")")) {
      std::replace(link.begin(), link.end(), '\n', ' ');
      const std::size_t hash = std::min(link.find('#'), link.size());
      const fs::path target =
          hash == 0 ? fs::path(name) : (fs::path(name).parent_path() / link.substr(0, hash));
      const std::string text = read_source(target.lexically_normal().string());
      EXPECT_FALSE(text.empty()) << name << ": " << link;
      const bool leads = hash == link.size() || has_anchor(text, link.substr(hash + 1));
      EXPECT_TRUE(leads) << name << ": " << link;
    }
  }
}

}  // namespace
}  // namespace hark::test
