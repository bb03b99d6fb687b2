// The connections of the IFB link, as its ports use them.
#pragma once

#include "routing/qnrifb_private.h"

namespace hark {

// Dials the far daemon without waiting. A connection that cannot be dialled has no socket afterwards.
void qnrifb_connect(qnrifb_remote_connection& conn);

// Asks for all destinations; the answers come to qnrifb_receive_msg.
void qnrifb_query(qnrifb_remote_connection& conn);

// Closes the connection that has had no port for longest, if there is one; its record goes at the end of the
// pass.
void qnrifb_close_oldest_idle();

// Sends what the sockets take at once, and ends all connections.
void qnrifb_close_connections();

}  // namespace hark
