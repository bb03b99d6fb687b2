// How long something takes that crosses two sockets, told as a ratio to a plain TCP echo of the same sizes in
// the same run: the time itself is the machine's.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "arrival.h"
#include "table.h"

namespace hark::bench {

// Times of one kind, in microseconds.
class Times {
 public:
  void add(Clock::duration time);
  // The time that `part` of all do not exceed: 0.5 is the median. Requires one.
  [[nodiscard]] double at(double part);

 private:
  std::vector<double> us_;
};

struct Comparison {
  std::string what;         // as the rows of the table tell it
  std::string where;        // the state that it was measured in, behind that
  std::size_t request = 0;  // bytes that go to the daemon, and
  std::size_t reply = 0;    // that it sends
  int calls = 0;
  double aim = 0;  // for the ratio of the medians
};

// Takes `calls` times of `act` and of an echo in turn, so that both see the same machine, and adds the rows.
// False when an echo is lost or `act` gives none.
[[nodiscard]] bool compare_with_echo(const Comparison& comparison,
                                     const std::function<std::optional<Clock::duration>(Arrival&)>& act,
                                     Table& table);

}  // namespace hark::bench
