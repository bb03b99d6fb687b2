// The daemon's loop, run pass by pass. The program is linked so that each call of select comes by here: the
// loop runs on a stack of its own and stands in its wait whenever the caller of passes() is at work.
#pragma once

#include <sys/select.h>

namespace hark::bench {

// How a pass waits.
enum class Wait {
  kAsGiven,    // as the daemon asks for
  kNotAtAll,   // looks at the sockets and goes on
  kNoSockets,  // finds nothing, without a look
};

// Makes `count` passes of harkd_main, which is entered by the first call and never ends. The first pass
// begins, and the last one ends, where the loop waits.
void loop_passes(int count, Wait wait);

// The select that the loop is at, without waiting; its result.
int loop_select();

}  // namespace hark::bench
