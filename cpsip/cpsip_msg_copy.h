// Deep copies: what a dialog or a retransmission keeps of a message, as one of its own. They go through the
// access by field, 300 bytes at most; a longer value is cut. All *require* two different messages. Called by
// the transactions and the dialogs.
#pragma once

#include <cstdint>

#include "cpsip/cpsip_msg.h"

namespace hark {

// Copies the field of this instance if it is not empty: at most 300 bytes of it. A cpsip_access_result.
int cpsip_msg_copy_field(const cpsip_msg& src, cpsip_msg& dst, unsigned instance, std::uint32_t field_id);

// For each instance from 1 to `instances`: the parameters of `dst` go, those of `src` take their numbers. The
// first failure.
int cpsip_msg_copy_header_parms(const cpsip_msg& src, cpsip_msg& dst, unsigned instances,
                                std::uint32_t field_id);

// The parameters of the one header take the place of those of the other, which may be another one: those of
// From, for To. *Requires* fields of parameters, of headers that are there once.
void cpsip_msg_copy_parms_across(const cpsip_msg& src, std::uint32_t from, cpsip_msg& dst, std::uint32_t to);

// Display name, URI and parameters of each Contact. The first failure.
int cpsip_msg_copy_contact(const cpsip_msg& src, cpsip_msg& dst);

// Transport, host, port and parameters of each Via. The first failure, which is reported.
int cpsip_msg_copy_via(const cpsip_msg& src, cpsip_msg& dst);

// Each session that `src` has, with its text, in place of that of `dst`. 0.
int cpsip_msg_copy_sdp(const cpsip_msg& src, cpsip_msg& dst);

// All that a dialog or a retransmission needs. `dst` is a new message with a block. 0, or the error of the
// session. Not copied: the display names of Route and Record-Route, and Replaces.
[[nodiscard]] int cpsip_msg_copy_sip_msg(const cpsip_msg& src, cpsip_msg& dst);

}  // namespace hark
