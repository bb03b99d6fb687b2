// A SIP message, received or to be sent: a table of small field records that point into a chain of text
// blocks. It holds no header text of its own. A received datagram is parsed where it lies: its block becomes
// the head of the chain. Text that is written is appended to the chain, and a field points at its newest
// text; nothing goes back before the message dies. Everything above the scanner reads and writes fields by
// cpsip_msg_access.h.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cpsdp/cpsdp.h"
#include "cpsip/cpsip_osa.h"
#include "cpsip/cpsip_tables.h"

namespace hark {

// Where a text lies. Records that are linked are known by their index in the message's pool; 0 is none.
struct cpsip_field {
  cpsip_osa_buf* buf = nullptr;  // the block in which the text begins; borrowed from the message's chain
  std::uint16_t offset = 0;      // of the first byte, from the start of that block, its header included
  std::uint16_t length = 0;      // 0: absent. The text may run on into later blocks
  std::uint16_t next_hdr = 0;    // the next instance of this header
  std::uint16_t next_parm = 0;   // the next parameter of this header
};

// The records of repeating headers, of their parts and of all parameters: eight to a chunk. Record 0 is blank
// and stands for none, so that an absent header reads as an empty one.
class cpsip_field_pool {
 public:
  static constexpr std::uint16_t kChunkSize = 8;
  static constexpr std::size_t kMaxChunks = 0xFFFF / kChunkSize;
  static constexpr std::uint16_t kMaxFields = kMaxChunks * kChunkSize;

  cpsip_field_pool() = default;
  cpsip_field_pool(const cpsip_field_pool&) = delete;
  cpsip_field_pool& operator=(const cpsip_field_pool&) = delete;

  // Records handed out, the blank one included.
  [[nodiscard]] std::uint16_t count() const { return count_; }
  // The index of a new record: the count before it. Ends the process when memory or the indexes run out.
  std::uint16_t alloc() {
    if (count_ % kChunkSize == 0 && count_ >= kPartsHere * kChunkSize) grow(count_ / kChunkSize - kPartsHere);
    return count_++;
  }
  // *Requires* an index below the count.
  [[nodiscard]] const cpsip_field& operator[](std::uint16_t index) const {
    return chunk(index / kChunkSize)[index % kChunkSize];
  }
  [[nodiscard]] cpsip_field& operator[](std::uint16_t index) {
    return const_cast<cpsip_field&>(std::as_const(*this)[index]);
  }

 private:
  using Chunk = std::array<cpsip_field, kChunkSize>;
  // The chunks of an ordinary message are listed in the message itself, and the first two are parts of it.
  static constexpr std::size_t kPartsHere = 2;
  static constexpr std::size_t kListedHere = 4;
  static constexpr std::size_t kFirstMore = 16;

  [[nodiscard]] const Chunk& chunk(std::size_t at) const {
    if (at < kPartsHere) return first_[at];
    at -= kPartsHere;
    return at < kListedHere ? *next_[at] : *more_[at - kListedHere];
  }
  // Makes a chunk, counted from those behind the first ones.
  void grow(std::size_t at);

  std::uint16_t count_ = 1;
  std::array<Chunk, kPartsHere> first_;
  std::array<std::unique_ptr<Chunk>, kListedHere> next_;
  std::vector<std::unique_ptr<Chunk>> more_;
};

// The pool that the texts of a session description lie in: borrowed from the receive block of its message, or
// owned.
class cpsip_sdp_text {
 public:
  void borrow(std::string_view text) {
    owned_.reset();
    text_ = text;
  }
  void own(std::unique_ptr<char[]> text, std::uint32_t length) {
    text_ = {text.get(), length};
    owned_ = std::move(text);
  }
  [[nodiscard]] std::string_view view() const { return text_; }
  [[nodiscard]] bool owned() const { return owned_ != nullptr; }

 private:
  std::string_view text_;
  std::unique_ptr<char[]> owned_;
};

enum class cpsip_content_kind : std::uint32_t { none = 0, sdp = 1, sipfrag = 2, other = 3 };

inline constexpr std::size_t kMaxUnknownMethod = 299;  // characters

// One message. It has one owner at a time.
struct cpsip_msg {
  cpsip_method method = cpsip_method::response;
  std::string unknown_method;       // a method outside the table, at most kMaxUnknownMethod characters of it
  std::uint32_t app_dialog_id = 0;  // the application's dialog handle, filled in on delivery
  std::uint16_t status_code = 0;    // of a response; of a local status its number
  std::uint32_t cseq = 0;
  cpsip_method cseq_method = cpsip_method::response;
  std::uint8_t max_forwards = 0;  // 0: not set
  cpsip_content_kind content_kind = cpsip_content_kind::none;
  bool content_length_seen = false;  // a Content-Length header was read
  std::uint32_t content_length = 0;  // bytes of the body; on the way out any value but 0 asks for the body
  std::uint32_t body_received = 0;   // of a stream; 0
  std::uint32_t expires = 0;         // seconds; 0: none
  bool include_allow = false;        // the formatter writes the Allow line
  std::unique_ptr<cpsdp_parms> sdp;  // parsed, or to be encoded
  cpsip_sdp_text sdp_text;
  std::unique_ptr<cpsdp_parms> sdp2;  // the negotiated session of an incoming INVITE
  cpsip_sdp_text sdp2_text;
  std::unique_ptr<char[]> body;    // other than SDP: `content_length` bytes
  void* related_dialog = nullptr;  // borrowed: the dialog that the application gave with a new request
  std::uint16_t scan_status = 0;   // an error status found while scanning, for the answer; 0: none

  // Instances of each repeating header. They wrap after 255; the chains do not. Those of Replaces and
  // Refer-To, of which there is one, stay 0.
  std::uint8_t via_count = 0;
  std::uint8_t allow_count = 0;
  std::uint8_t contact_count = 0;
  std::uint8_t route_count = 0;
  std::uint8_t record_route_count = 0;
  std::uint8_t require_count = 0;
  std::uint8_t replaces_count = 0;
  std::uint8_t refer_to_count = 0;
  std::uint8_t proxy_require_count = 0;
  std::uint8_t supported_count = 0;
  std::uint8_t unsupported_count = 0;
  std::uint8_t accept_count = 0;
  std::uint8_t allow_events_count = 0;
  std::uint8_t unknown_count = 0;

  // A field named like its header is the whole line, and its next_parm heads the header's parameters.
  cpsip_field start_line;
  cpsip_field request_uri;
  cpsip_field reason;
  cpsip_field to, to_display, to_uri;
  cpsip_field from, from_display, from_uri;
  cpsip_field call_id;
  cpsip_field server_line, server;
  cpsip_field subject_line, subject;
  cpsip_field user_agent_line, user_agent;
  cpsip_field replaces;
  cpsip_field referred_by, referred_by_display, referred_by_uri;
  cpsip_field refer_to, refer_to_display, refer_to_uri;
  cpsip_field subscription_state_line, subscription_state;
  cpsip_field event_line, event;
  cpsip_field content_type_line, content_type;
  std::uint32_t subscription_state_id = 0;  // of the row in Cpsip_subscr_state_hdr_table
  std::uint32_t event_id = 0;               // of the row in Cpsip_event_hdr_table
  std::uint32_t event_id_parm = 0;          // the `id` parameter of Event

  // Heads of chains in the pool. Those of one header run side by side, a record for each instance in each;
  // parameters hang on the records of the first.
  std::uint16_t via_head = 0, via_transport_head = 0, via_host_head = 0, via_port_head = 0;
  std::uint16_t contact_head = 0, contact_display_head = 0, contact_uri_head = 0;
  std::uint16_t route_head = 0, route_display_head = 0, route_uri_head = 0;
  std::uint16_t record_route_head = 0, record_route_display_head = 0, record_route_uri_head = 0;
  // The items of a list are the parameters of its instance.
  std::uint16_t allow_head = 0, require_head = 0, proxy_require_head = 0, supported_head = 0;
  std::uint16_t unsupported_head = 0, accept_head = 0, allow_events_head = 0;
  std::uint16_t unknown_head = 0;  // headers that the table does not have: whole lines

  cpsip_osa_chain chain;    // null for a message that was created without one
  cpsip_field_pool fields;  // record 0 is allocated
};

using cpsip_msg_ptr = std::unique_ptr<cpsip_msg>;

// A blank message with record 0 of its pool; `with_buffer` gives it a first block of kBuildBlockSize too.
// Ends the process when memory runs out.
[[nodiscard]] cpsip_msg_ptr CPSIP_MsgCreate(bool with_buffer);
// *Takes* the message, and frees it with its chain, its pool, its sessions and its body. Null is fine.
void CPSIP_MsgDelete(cpsip_msg_ptr msg);

// The index of a new record in the message's pool.
std::uint16_t cpsip_msg_alloc_field_ptr(cpsip_msg& msg);
// The record, *valid until* the message dies; null, with a report, for an index at or past the count.
[[nodiscard]] cpsip_field* cpsip_msg_get_field_ptr_using_idx(cpsip_msg& msg, std::uint16_t index);

// The text of a field as far as it lies in the block in which it begins; all of it for what was scanned.
[[nodiscard]] inline std::string_view cpsip_field_view(const cpsip_field& field) {
  if (field.length == 0) return {};
  const std::size_t at = field.offset - std::size_t{kOsaHeaderSize};
  return {field.buf->data() + at, std::min<std::size_t>(field.length, field.buf->used - at)};
}

}  // namespace hark
