// The formatter: a message becomes wire text. The order of the headers is fixed here, and does not depend on
// how a message was built or read. It also encodes the session description of what goes out, and decides
// which Route lines appear. The transport and the send queue call it.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

#include "cpsip/cpsip_msg.h"

namespace hark {

// Where text is written: the last block of a chain. Its owner holds the chain's head.
struct cpsip_osa_writer {
  cpsip_osa_buf* block;

  // Writes what the block has room for, and goes on in a new one of the same capacity.
  void spill(std::string_view text);
};

// Formats into a fresh chain, whose first block has kSocketBlockSize bytes and holds every ordinary message.
// `route` is the service's outbound route (a bare address with ";lr", as a rule); empty: none. 0; else the
// error of the SDP encoder or of writing a Route, with what was written so far in `out`. It changes the
// message: content_length becomes that of the encoded session, and the Route of an ACK or CANCEL the outbound
// one.
[[nodiscard]] int cpsip_msg_format(cpsip_msg& msg, std::string_view route, cpsip_osa_chain& out);

// Writers. Each goes on in a new block of the same capacity when the current one is full.
// Returns the length of the text.
inline std::size_t cpsip_msg_copy_str_to_osa_buf(std::string_view text, cpsip_osa_writer& out) {
  cpsip_osa_buf& block = *out.block;
  if (text.size() > block.room()) {
    out.spill(text);
  } else if (!text.empty()) {
    std::memcpy(block.data() + block.used, text.data(), text.size());
    block.used = static_cast<std::uint16_t>(block.used + text.size());
  }
  return text.size();
}
void cpsip_msg_copy_osa_buf_field_to_osa_buf(const cpsip_field& field, cpsip_osa_writer& out);
// Into a flat buffer of at least the field's length, without NUL. Returns the length.
std::size_t cpsip_msg_copy_osa_buf_field_to_str(const cpsip_field& field, char* dest);
// " display" and " <uri>", each if it is not empty; a URI that begins with "<" stands as it is.
void cpsip_msg_copy_name_addr_to_osa_buf(const cpsip_field& display, const cpsip_field& uri,
                                         cpsip_osa_writer& out);
// ";" and text of each parameter of the chain from `index` that is not empty, then CR LF.
void cpsip_msg_copy_parms_to_osa_buf(const cpsip_msg& msg, std::uint16_t index, cpsip_osa_writer& out);
// The chain from `index`, joined by ", ", then CR LF.
void cpsip_msg_copy_comma_parms_to_osa_buf(const cpsip_msg& msg, std::uint16_t index, cpsip_osa_writer& out);
// The field at `index` (0: nothing), then `separator`: 0 nothing, 13 CR LF, any other that byte. Moves
// `index` to the next instance.
void cpsip_msg_copy_field_using_idx_to_osa_buf(const cpsip_msg& msg, char separator, std::uint16_t& index,
                                               cpsip_osa_writer& out);

}  // namespace hark
