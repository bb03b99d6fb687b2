// The scale of a listen volume under a rotary: fine steps at the loud end, coarse ones at the quiet end.
#pragma once

namespace hark {

inline constexpr int kRotaryClick = 10;  // the `delta` of one click
inline constexpr int kQuietestVolume = -840;
inline constexpr int kLoudestVolume = 120;

// The level that follows `current` when it is moved by `delta`; all in tenths of a dB.
[[nodiscard]] int vol_step(int current, int delta);

}  // namespace hark
