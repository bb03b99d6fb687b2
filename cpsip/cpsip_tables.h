// The tables of the SIP stack: methods, header names, event packages, subscription states and the classes of
// characters. The scanner, the formatter and the access by field read them; the tables themselves are the
// reference, the ways to find a row in them are quick ones.
#pragma once

#include <strings.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

namespace hark {

enum class cpsip_method : std::uint32_t {
  response = 0,
  invite = 1,
  ack = 2,
  bye = 3,
  cancel = 4,
  options = 5,
  register_ = 6,
  prack = 7,
  info = 8,
  refer = 9,
  notify = 10,
  subscribe = 11,
  message = 12,
  publish = 13,
  update = 14,
  received_rtp = 88,
  received_rtcp = 89,
  unregister = 96,
  service_failure = 97,
  local_status = 98,
  unrecognized = 99,
};

// One row of a table: a text and what it stands for. `length` is how much of a received text is compared; it
// is that of `text` but for one row.
struct cpsip_row {
  const char* text;  // null ends the method table
  std::uint8_t id;
  std::uint8_t length;

  [[nodiscard]] constexpr std::string_view key() const { return {text != nullptr ? text : "", length}; }
};

// Header ids.
enum cpsip_hdr : std::uint8_t {
  kHdrVia = 0,
  kHdrMaxForwards = 1,
  kHdrTo = 2,
  kHdrFrom = 3,
  kHdrCallId = 4,
  kHdrCSeq = 5,
  kHdrContact = 6,
  kHdrContentType = 7,
  kHdrContentLength = 8,
  kHdrRoute = 13,
  kHdrRecordRoute = 14,
  kHdrUserAgent = 15,
  kHdrExpires = 16,
  kHdrSubject = 17,
  kHdrAllow = 18,
  kHdrRequire = 19,
  kHdrProxyRequire = 20,
  kHdrSupported = 21,
  kHdrUnsupported = 22,
  kHdrServer = 23,
  kHdrAccept = 29,
  kHdrReplaces = 30,
  kHdrReferTo = 31,
  kHdrReferredBy = 32,
  kHdrAllowEvents = 33,
  kHdrSubscriptionState = 34,
  kHdrEvent = 35,
  kHdrUnknown = 41,
};

inline constexpr std::uint8_t kMethodEndId = 99;  // of the last row of the method table
inline constexpr std::uint8_t kEventEndId = 3;    // of the last rows of the two tables below
inline constexpr std::uint8_t kSubscriptionEndId = 3;

inline constexpr std::size_t kHdrRows = 40;

// Each is scanned front to back and ends with the row that stands for any other text.
extern const std::array<cpsip_row, 9> Cpsip_method_table;
extern const std::array<cpsip_row, kHdrRows> Cpsip_hdr_table;
extern const std::array<cpsip_row, 4> Cpsip_event_hdr_table;
extern const std::array<cpsip_row, 4> Cpsip_subscr_state_hdr_table;

// The class of each byte.
enum cpsip_char : std::uint8_t {
  kCharNul = 0,      // not expected; reported and dropped
  kCharControl = 1,  // dropped from tokens
  kCharBlank = 2,    // HT, SP
  kCharLineEnd = 3,  // LF, CR
  kCharDigit = 4,
  kCharLetter = 5,     // and all bytes from 128
  kCharSeparator = 6,  // all other printable ASCII: may end a token
  kCharEscape = 7,     // "%"; kept like a letter
};
extern const std::array<std::uint8_t, 256> Cpsip_char_table;

// The row whose text `token` begins with, in the case it is written in ("INVITEX" is INVITE); else the last
// row.
[[nodiscard]] const cpsip_row& cpsip_find_method(std::string_view token);
// Where to look for a header name: rows that share a slot are chained. The factors are such that few slots
// have two rows and none has more, so that a name is compared with one row as a rule.
struct cpsip_hdr_index {
  static constexpr std::size_t kSlots = 64;
  std::array<std::uint8_t, kSlots> first{};   // row + 1; 0: none
  std::array<std::uint8_t, kHdrRows> next{};  // the same, of each row

  // The slot of a name that is not empty, in either case of its letters.
  [[nodiscard]] static constexpr std::size_t slot_of(std::string_view name) {
    const auto folded = [](char c) {
      return static_cast<std::size_t>(static_cast<unsigned char>(c) | 0x20U);
    };
    return (name.size() + folded(name.front()) * 11U + folded(name.back()) * 2U) % kSlots;
  }
};
extern const cpsip_hdr_index Cpsip_hdr_index;

// The row whose text is `name`, in any case; else the last row.
[[nodiscard]] inline const cpsip_row& cpsip_find_hdr(std::string_view name) {
  std::size_t at = name.empty() ? 0 : Cpsip_hdr_index.first[cpsip_hdr_index::slot_of(name)];
  for (; at != 0; at = Cpsip_hdr_index.next[at - 1]) {
    const cpsip_row& row = Cpsip_hdr_table[at - 1];
    if (row.length != name.size()) continue;
    // Nearly every sender writes a name as the table does.
    if (std::memcmp(name.data(), row.text, row.length) == 0) return row;
    if (::strncasecmp(name.data(), row.text, row.length) == 0) return row;
  }
  return Cpsip_hdr_table.back();
}
// The row whose text, as far as its length goes, `token` begins with, in any case; else the last row.
[[nodiscard]] const cpsip_row& cpsip_find_value(std::span<const cpsip_row> table, std::string_view token);

// The text of a request's method on the wire: empty for those that the table does not have, and for a
// response.
[[nodiscard]] std::string_view cpsip_method_text(cpsip_method method);

}  // namespace hark
