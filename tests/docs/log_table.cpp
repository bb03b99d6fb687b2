#include "docs/log_table.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace hark::test {
namespace {

// A line of the table. A cell may show several, each in backquotes.
std::vector<LogText> shown_lines(const Document& document) {
  std::vector<LogText> shown;
  for (const Row& row : table_rows(document.text, "| level | line | meaning |")) {
    if (row.size() < 2) continue;
    const int level = row[0].size() == 1 ? row[0][0] - '0' : 0;
    if (row[1].find('`') == std::string::npos) {
      shown.push_back({level, row[1]});
    } else {
      for (std::string& line : all_between(row[1], "`", "`"))
        shown.push_back({level, std::move(line)});
    }
  }
  return shown;
}

bool fits(const LogText& message, const LogText& line) {
  return message.level == line.level && fits_format(message.format, line.format);
}

}  // namespace

void expect_log_table(const Document& document, const std::vector<LogText>& messages) {
  const std::vector<LogText> shown = shown_lines(document);
  EXPECT_FALSE(shown.empty());
  for (const LogText& message : messages) {
    EXPECT_TRUE(
        std::any_of(shown.begin(), shown.end(), [&](const LogText& line) { return fits(message, line); }))
        << "not in " << document.path << ": " << message.level << " " << message.format;
  }
  for (const LogText& line : shown) {
    EXPECT_TRUE(std::any_of(messages.begin(), messages.end(),
                            [&](const LogText& message) { return fits(message, line); }))
        << "never logged: " << line.level << " " << line.format;
  }
}

}  // namespace hark::test
