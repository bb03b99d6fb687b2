// Draws the console's key module as lines of text: keys in their rows with label and lamps, then the menu
// with its marks and cursor, then the faders. Plain for files and pipes, or with colours for a terminal,
// where the lamps flash by the time that the caller hands down.
#pragma once

#include <chrono>
#include <set>
#include <string>
#include <vector>

#include "tools/quillsim/key_module.h"

namespace quillsim {

// A lamp's pattern is made of these.
inline constexpr std::chrono::milliseconds kFlashStep{125};

struct ViewStyle {
  bool colours = false;
  // Time that the flashing follows, from any start. Plain text names the pattern and needs none.
  std::chrono::milliseconds time{0};
};

// Whether the lamp is lit at this time.
[[nodiscard]] bool lit(Lamp lamp, std::chrono::milliseconds time);
// The colour that a coloured key shows at this time.
[[nodiscard]] Colour shown_colour(const KeyLight& light, std::chrono::milliseconds time);
// Whether the module looks different as time goes on.
[[nodiscard]] bool flashes(const KeyModule& module);

// `held` are the keys that are down: marked by ">".
[[nodiscard]] std::vector<std::string> draw_module(const KeyModule& module, const std::set<int>& held,
                                                   const ViewStyle& style);

}  // namespace quillsim
