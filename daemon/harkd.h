// The daemon as a whole: start-up, the one loop, shut-down. main calls these in this order.
#pragma once

namespace hark {

// Reads the options and starts everything up to the listening socket. 0, or the reason for not starting: 7 no
// socket, 3 no SIP, 5 no panel model, 1 no memory, -1 the control port is taken or the PTT socket failed.
[[nodiscard]] int harkd_initialize(int argc, const char* const* argv);

// The loop. 0 after SIGTERM, -1 when select failed.
int harkd_main();

// Shuts everything down, in the order of its own.
int harkd_cleanup();

// Tells subscribers and the mixer of a change of the panels' outputs. Called by the loop when an indicator
// changed.
void harkgpo_update();

// Asks the loop to end at the end of its pass, as SIGTERM does. For tests.
void harkd_stop();

}  // namespace hark
