// The one way by which anything asks for a call to be made or ended: the CALL command and the key logic of
// the panels. Behind it are the two ways of carrying audio: a station is called by SIP; a source of the
// routing network needs a mixer command alone, and its SIP line is only seized to reserve the number.
#pragma once

#include "addressing/harkurl.h"

namespace hark {

// Asks for a change of the call with `url`: for each direction '1' connect, '0' drop, kNoWish nothing. The
// listen direction goes first, and the talk direction is not tried when it failed. A drop is done 400 ms
// later, unless a '1' comes in between. 0, or negative when the call cannot be made.
[[nodiscard]] int sipctrl_modifycall(const char* url, char listen, char talk);

// Sets the listen volume, in tenths of a dB, of the call with `url`.
void sipctrl_setcallvolume(const char* url, long volume);

// The routing daemon's fader of listen line `dst` moved: tells the volume, in tenths of a dB, on.
void sipctrl_qndstvolumechanged(int dst, long volume);

// A far contact asks for ('1') or ends ('0') a call: `kind` 1 listen, 2 talk, others nothing.
void remotecommand(int kind, const harkurl_info* info, char wish);

// The far side of talk line `port` confirmed that it takes us (`active`), or no longer does.
void ifb_update_status(int port, bool active);

// The local source as "a.b.c.d", empty when there is none. Valid until the next call.
[[nodiscard]] const char* sipctrl_qnrifb_addr();

}  // namespace hark
