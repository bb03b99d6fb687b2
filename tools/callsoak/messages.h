// The SIP messages of one agent, written and looked into as text: as little of SIP as calls between it and a
// station need, and nothing of what it is tried against.
#pragma once

#include <string>
#include <string_view>

namespace callsoak {

// What stays the same over one call that the agent makes.
struct Party {
  std::string agent;    // address and port of the agent
  std::string service;  // SIP URI of the service that is called
  std::string from;     // URI of the caller
  std::string call_id;
};

// A request of the call. `to_tag` is empty until a response has told it; `branch` tells transactions apart.
[[nodiscard]] std::string request(std::string_view method, const Party& party, int cseq,
                                  std::string_view branch, std::string_view to_tag,
                                  std::string_view body = {});
// The answer to a request that came. A tag is put behind its To unless it has one.
[[nodiscard]] std::string response(std::string_view status, std::string_view request, const Party& party,
                                   std::string_view body = {});
// An offer or an answer, with the format that stations have, or with another one.
[[nodiscard]] std::string description(std::string_view address, bool common_codec = true);

// The value of a header, without blanks around it; empty when there is none.
[[nodiscard]] std::string_view header(std::string_view message, std::string_view name);
// The status of a response, 0 of anything else; the method of a request; what a CSeq names.
[[nodiscard]] int status_of(std::string_view message);
[[nodiscard]] std::string_view method_of(std::string_view message);
[[nodiscard]] std::string_view cseq_method(std::string_view message);
// The tag of a From or To; empty when it has none.
[[nodiscard]] std::string_view tag_of(std::string_view value);
// The URI between the brackets of an address.
[[nodiscard]] std::string_view uri_of(std::string_view value);

}  // namespace callsoak
