// Trigger levels: a station of a higher level wins attention, and the listen lines below it are dimmed or
// muted.
#include "callctl/sipctrl.h"

#include <algorithm>

#include "callctl/line_table.h"
#include "daemon/station/station.h"
#include "routing/harkqnr.h"

namespace hark {
namespace {

// The highest level that is muted, not just dimmed, while a line of `level` is up; -1: none.
int mute_limit(int level) {
  if (level <= 0) return -1;
  if (level <= 3) return 0;
  if (level <= 5) return 2;
  return level - 1;
}

// The gain, in tenths of a dB, of a line of level `t` while `level` is the highest that is up.
int gain_of(int t, int level) {
  if (t >= level) return 0;
  return t <= mute_limit(level) ? kMutedGain : station.harkd_ifbgain;
}

}  // namespace

int sipctrl_computetriggerlevel() {
  int level = -1;
  for (const HarkLine& line : listen_lines) {
    if (line.state == kLineConnected) level = std::max(level, line.trgl);
  }
  return level;
}

int sipctrl_adjustifbgains(int line) {
  const int level = std::max(sipctrl_computetriggerlevel(), 0);
  int result = 0;
  for (int i = 0; i < kListenLines; ++i) {
    HarkLine& other = *getline(kListenKind, i);
    if (other.state != kLineConnected) continue;
    const int gain = gain_of(other.trgl_compare, level);
    if (i == line) {
      other.ifb_gain = gain;
      result = gain + other.volume;
    } else if (other.ifb_gain != gain) {
      other.ifb_gain = gain;
      harkqnr_dstgain(i, gain + other.volume);
    }
  }
  return result;
}

}  // namespace hark
