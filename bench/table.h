// The one table that a run prints: what was measured, how much it is, what it should be at most.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace hark::bench {

struct Row {
  std::string what;
  double value = 0;
  std::string unit = {};
  int decimals = 1;
  std::optional<double> aim = std::nullopt;  // the most that is meant; none: shown for what it tells
  std::string why_not = {};                  // why it was not measured; empty: it was
};

class Table {
 public:
  void add(Row row) { rows_.push_back(std::move(row)); }
  // Prints all rows in aligned columns, each with "ok" or "over" where there is an aim.
  void print() const;

 private:
  std::vector<Row> rows_;
};

}  // namespace hark::bench
