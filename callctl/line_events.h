// What the SIP stack reports of a line, and what becomes of the line by it. Called by the stack from inside
// ProcessMessages, Call, Seize, Drop and Answer; an event may free the line that its cause works on.
#pragma once

#include "sipua/SipStackUAEvents.h"

namespace hark {

// The table of these handlers, for the stack.
[[nodiscard]] ISipStackUAEvents line_events();

// A far station rings on line `i` (`kind` 1 listen, 2 talk): `name` its display name, `uri` its SIP address;
// either may be empty. Whatever was left of an earlier call of the same station is dropped first.
void line_ring(int kind, int i, const char* name, const char* uri);

// Drops every line of the kind that is up with `url`: a station that calls again replaces its earlier call.
void drop_stalled_calls(int kind, const char* url);

// Hangs up the SIP line of a call. A call that outlived its SIP line ends at once: nothing else would end it.
void drop_call(int kind, int i);

// The far end hung up. Only a listen line shows it; a talk line just logs, and ends when its SIP line is
// idle.
void NotifyFarEndDrop(unsigned kind, unsigned i);

}  // namespace hark
