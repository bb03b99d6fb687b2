#include "panel/vol_step.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace hark {
namespace {

struct Segment {
  int from;  // the lowest level of the segment
  int base;
  int step;
};

// from, base, step; loudest first, in tenths of a dB
constexpr std::array<Segment, 5> kSegments{{
    {-239, 0, 10},
    {-299, -300, 30},
    {-539, -540, 60},
    {-719, -720, 90},
    {kQuietestVolume, -840, 120},
}};

}  // namespace

int vol_step(int current, int delta) {
  std::int64_t level = std::int64_t{current} + delta;
  if (level < kQuietestVolume && delta < 1) return kQuietestVolume;
  level = std::max<std::int64_t>(level, kQuietestVolume);
  if (level > kLoudestVolume) return kLoudestVolume;
  const auto wanted = static_cast<int>(level);
  const Segment& segment = *std::find_if(kSegments.begin(), kSegments.end(),
                                         [wanted](const Segment& row) { return wanted >= row.from; });
  const int stepped = (wanted - segment.base) / segment.step * segment.step + segment.base;
  return stepped >= wanted || delta < 1 ? stepped : stepped + segment.step;
}

}  // namespace hark
