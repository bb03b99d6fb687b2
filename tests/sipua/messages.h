// Messages as the stack delivers them to the user agent.
#pragma once

#include <string_view>

#include "cpsip/cpsip_msg.h"

namespace hark::test {

inline constexpr const char* kFarUri = "sip:far@10.0.0.2";
inline constexpr const char* kNearUri = "sip:near@10.0.0.1";
// One stereo L24 stream of 239.192.0.2.
inline constexpr const char* kL24Sdp =
    "v=0\r\no=- 1 1 IN IP4 10.0.0.2\r\ns=-\r\nc=IN IP4 239.192.0.2\r\nt=0 0\r\n"
    "m=audio 5004 RTP/AVP 96\r\na=rtpmap:96 L24/48000/2\r\n";
inline constexpr const char* kL24Media = "239.192.0.2:5004";
inline constexpr const char* kL24Codecs = "96=L24/48000/2";

// Each from the far end to the near one.
[[nodiscard]] cpsip_msg_ptr make_request(cpsip_method method);
[[nodiscard]] cpsip_msg_ptr make_response(unsigned code, cpsip_method request = cpsip_method::invite);
[[nodiscard]] cpsip_msg_ptr make_status(unsigned code, cpsip_method request = cpsip_method::invite);

[[nodiscard]] cpsip_msg_ptr with_uris(cpsip_msg_ptr msg, std::string_view from, std::string_view to);
[[nodiscard]] cpsip_msg_ptr with_contact(cpsip_msg_ptr msg, std::string_view uri);
// With the received description, and with the one that the stack has negotiated.
[[nodiscard]] cpsip_msg_ptr with_sdp(cpsip_msg_ptr msg, std::string_view text = kL24Sdp);
[[nodiscard]] cpsip_msg_ptr with_negotiated(cpsip_msg_ptr msg, std::string_view text = kL24Sdp);
// An INVITE with an offer that the service can use.
[[nodiscard]] cpsip_msg_ptr make_offer();

}  // namespace hark::test
