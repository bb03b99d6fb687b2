// What a scenario expects a text to be: literal, but that "*" stands for any text, "{name}" for a word that
// becomes the variable of that name, and "$name" for the value of a variable. Names have small letters only.
// What the far end and the application send knows the last one, and "x{300}" for a character so many times.
#pragma once

#include <set>
#include <string>
#include <string_view>

#include "scenarios/runner/words.h"

namespace hark::test {

// Puts the values of variables in place of their names, and repeats what is to be repeated; throws Failure
// for a variable that is not known.
[[nodiscard]] std::string Expand(std::string_view text, const Variables& variables, int line);

// Whether the whole text is as the pattern says; then its words are in `variables`.
[[nodiscard]] bool Matches(std::string_view pattern, std::string_view text, Variables& variables, int line);

// The names that a line of a scenario captures, and those that it uses.
[[nodiscard]] std::set<std::string> CapturedNames(std::string_view pattern);
[[nodiscard]] std::set<std::string> UsedNames(std::string_view text);

}  // namespace hark::test
