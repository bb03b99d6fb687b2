// Messages between a scenario and the stack: one to send, built of a step's lines, and what there is to tell
// about one that the stack delivers. Also the names of a dialog's states.
#pragma once

#include <map>
#include <string>

#include "cpsip/cpsip_dialog.h"
#include "cpsip/cpsip_msg.h"
#include "scenarios/runner/application.h"

namespace hark::test {

// Of "INVITE sip:far@host" or "180 Ringing (INVITE)". The step's details: "sdp" asks for the service's own
// description, "sdp: 97=L24/48000/2" gives one; "to:", "from:", "contact:", "refer-to:", "header:" write
// fields; "event", "subscription: active" and "related: b" are those of a REFER.
[[nodiscard]] cpsip_msg_ptr MessageOf(const std::string& text, const Step& step, const Variables& addresses,
                                      const std::map<std::string, void*>& handles);

// "INVITE", "200 INVITE", "status 6 BYE". Facts: "received" and "negotiated" descriptions as codec lists, or
// "none"; "reason"; "from", "to", "contact", "uri".
[[nodiscard]] Told ToldOf(const cpsip_msg& msg);

// "state", "sub", "sdp", "cseq", "client" and "server" (counts of transactions), "route" and "target".
[[nodiscard]] Variables FactsOf(const cpsip_dlog_cb& dialog);

}  // namespace hark::test
