// What a received message says, and whether it says the same when it was written and read again. The scanner
// is lenient and the formatter has one form for each header, so that this holds for plain messages only.
#pragma once

#include <string>
#include <string_view>

#include "cpsip/cpsip_msg.h"
#include "support/sip_message.h"

namespace hark::fuzz {

// What a message holds beside its texts.
struct SipFacts {
  cpsip_method method;
  cpsip_method cseq_method;
  std::uint16_t status_code;
  std::uint32_t cseq;
  std::uint32_t expires;
  std::uint8_t max_forwards;
  cpsip_content_kind content_kind;
  bool asks_for_body;  // its content_length is not 0
  std::string body;    // other than a session
  std::uint32_t subscription_state_id;
  std::uint32_t event_id;
};
[[nodiscard]] SipFacts facts_of(const cpsip_msg& msg);

// Whether a message must read back: its headers hold no byte that a token drops, its method is known, and no
// part of it is missing whose place would be taken by another.
[[nodiscard]] bool is_plain(std::string_view datagram, const cpsip_msg& msg, const SipTexts& texts);

// `again` is what was read of the text of a message with these facts and texts.
void check_reads_back(const SipFacts& facts, const SipTexts& texts, cpsip_msg& again);

}  // namespace hark::fuzz
