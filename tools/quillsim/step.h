// What the directives of a script have in common that are for one of the players beside the routing daemon:
// what a line comes to, and tables of directives. script.h runs them in order with its own.
#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/quillsim/scanner.h"

namespace quillsim {

// What one line comes to. Nothing set: it is done.
struct Step {
  bool known = true;             // one of these directives at all, and well formed
  std::string error;             // why it could not be carried out
  std::function<bool()> until;   // what has to hold before the next line runs; borrows the player
  std::vector<std::string> out;  // lines to print
};

inline Step unknown_step() {
  Step step;
  step.known = false;
  return step;
}

// Done, or failed with `error`.
inline Step done_or(bool done, const char* error) {
  Step step;
  if (!done) step.error = error;
  return step;
}

inline Step wait_step(std::function<bool()> condition) {
  Step step;
  step.until = std::move(condition);
  return step;
}

// The number in front of the rest of the line; none when it is not in the range.
inline std::optional<int> take_number(Scanner& in, int min, int max) {
  const std::optional<int> value = in.number();
  return value && *value >= min && *value <= max ? value : std::nullopt;
}

// "on" or "off", and nothing else.
inline std::optional<bool> only_switch(const Scanner& in) {
  if (in.rest() == "on") return true;
  if (in.rest() == "off") return false;
  return std::nullopt;
}

template <typename Player>
struct Directive {
  std::string_view head;  // the word, with the blank behind it if more follows
  Step (*run)(Scanner&, Player&);
};

// Carries the line out, or gives what it has to wait for. Without a player each of its directives fails, and
// `absent` tells why.
template <typename Player, std::size_t N>
Step run_directive(std::string_view line, Player* player, const std::array<Directive<Player>, N>& directives,
                   const char* absent) {
  Scanner in(line);
  for (const Directive<Player>& directive : directives) {
    if (!in.skip(directive.head)) continue;
    return player != nullptr ? directive.run(in, *player) : done_or(false, absent);
  }
  return unknown_step();
}

}  // namespace quillsim
