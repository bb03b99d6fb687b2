// What the program shows while it draws the console: on a terminal the module stays on top, with the last
// printed lines below it, and flashes; into a pipe or a file go the printed lines as they come, and the
// module as plain lines each time that it looks different.
#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tools/quillsim/console.h"

namespace quillsim {

class Screen {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Writer = std::function<void(const std::string& bytes)>;

  // Borrows `console`.
  Screen(const Console& console, bool terminal, Writer writer);

  // A line for people.
  void print(const std::string& line);
  // Draws what has changed since the last time, if anything has.
  void paint(Time now);
  // When paint() has to be called although nothing happened; none when it need not.
  [[nodiscard]] std::optional<Time> due() const;

 private:
  void paint_terminal(Time now);
  void paint_plain();

  const Console& console_;
  bool terminal_;
  Writer writer_;
  std::deque<std::string> printed_;      // on a terminal: the last lines
  std::vector<std::string> last_plain_;  // as drawn last
  bool dirty_ = true;
  int looks_ = 0;                  // of the console, as drawn last
  std::optional<Time> next_step_;  // of the flashing
};

}  // namespace quillsim
