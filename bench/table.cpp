#include "table.h"

#include <algorithm>
#include <cstdio>

namespace hark::bench {
namespace {

std::string number(double value, const Row& row) {
  const int length = std::snprintf(nullptr, 0, "%.*f", row.decimals, value);
  std::string text(static_cast<std::size_t>(length), '\0');
  (void)std::snprintf(text.data(), text.size() + 1, "%.*f", row.decimals, value);
  return text + (row.unit.empty() ? "" : " " + row.unit);
}

}  // namespace

void Table::print() const {
  int width = 0;
  for (const Row& row : rows_)
    width = std::max(width, static_cast<int>(row.what.size()));
  (void)std::printf("%-*s  %12s  %12s\n", width, "what", "value", "aim");
  for (const Row& row : rows_) {
    if (!row.why_not.empty()) {
      (void)std::printf("%-*s  not measured: %s\n", width, row.what.c_str(), row.why_not.c_str());
      continue;
    }
    const std::string value = number(row.value, row);
    if (!row.aim) {
      (void)std::printf("%-*s  %12s\n", width, row.what.c_str(), value.c_str());
      continue;
    }
    const std::string aim = "<= " + number(*row.aim, row);
    const char* verdict = row.value <= *row.aim ? "ok" : "over";
    (void)std::printf("%-*s  %12s  %12s  %s\n", width, row.what.c_str(), value.c_str(), aim.c_str(), verdict);
  }
}

}  // namespace hark::bench
