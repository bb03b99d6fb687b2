// Contacts that the routing daemon reports: the station's own port drives the on-air state and the speaker
// mute; the contacts of other ports, debounced, make and end calls to the sources that name them.
#pragma once

#include "addressing/harkurl.h"
#include "base/clock.h"

namespace hark {

// How long a contact must have been closed last before its release is seen.
extern TimeUs hark_gpio_debounce_time_us;

// Upper bound of a contact time. Nothing in the system uses it.
inline constexpr long gpio_time_max = 128'000;

// What this module needs of the layers above. Set once at start; an empty hook does nothing.
struct HarkqnrGpioHooks {
  // A far contact asks for (wish '1') or ends ('0') a call: `kind` 1 listen, 2 talk.
  void (*remotecommand)(int kind, const harkurl_info* info, char wish) = nullptr;
  // The speaker property of the panel model.
  void (*speaker_mute)(bool mute) = nullptr;
};
extern HarkqnrGpioHooks harkqnr_gpio_hooks;

// Pin `pin` (from 1) of GPIO channel `ch` at the routing daemon went to `c`, 'L' closed or 'H' open.
void harkqnr_gpio_callback(int ch, int pin, char c);

// Ends debounce times that are over. Runs on each pass of the main loop.
void harkqnr_gpio_process_events(TimeUs now);

// Forgets all contacts that are being debounced.
void harkqnr_gpio_clear_events();

}  // namespace hark
