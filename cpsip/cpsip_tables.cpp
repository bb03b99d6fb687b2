#include "cpsip/cpsip_tables.h"

#include <algorithm>

#include "base/text.h"

namespace hark {

// Text, method, length. The first row makes a status line look like a method.
constexpr std::array<cpsip_row, 9> Cpsip_method_table{{
    {"SIP/", 0, 4},
    {"INVITE", 1, 6},
    {"BYE", 3, 3},
    {"ACK", 2, 3},
    {"CANCEL", 4, 6},
    {"REFER", 9, 5},
    {"NOTIFY", 10, 6},
    {"OPTIONS", 5, 7},
    {nullptr, kMethodEndId, 0},
}};

// Name, header id, length. A compact form is a row of its own, and there are none but these.
constexpr std::array<cpsip_row, kHdrRows> Cpsip_hdr_table{{
    {"To", kHdrTo, 2},
    {"t", kHdrTo, 1},
    {"From", kHdrFrom, 4},
    {"f", kHdrFrom, 1},
    {"CSeq", kHdrCSeq, 4},
    {"Call-ID", kHdrCallId, 7},
    {"i", kHdrCallId, 1},
    {"Max-Forwards", kHdrMaxForwards, 12},
    {"Via", kHdrVia, 3},
    {"v", kHdrVia, 1},
    {"Content-Type", kHdrContentType, 12},
    {"c", kHdrContentType, 1},
    {"Content-Length", kHdrContentLength, 14},
    {"l", kHdrContentLength, 1},
    {"Contact", kHdrContact, 7},
    {"m", kHdrContact, 1},
    {"Route", kHdrRoute, 5},
    {"Record-Route", kHdrRecordRoute, 12},
    {"User-Agent", kHdrUserAgent, 10},
    {"Expires", kHdrExpires, 7},
    {"Allow", kHdrAllow, 5},
    {"Server", kHdrServer, 6},
    {"Subject", kHdrSubject, 7},
    {"s", kHdrSubject, 1},
    {"Require", kHdrRequire, 7},
    {"Proxy-Require", kHdrProxyRequire, 13},
    {"Supported", kHdrSupported, 9},
    {"Unsupported", kHdrUnsupported, 11},
    {"Accept", kHdrAccept, 6},
    {"Replaces", kHdrReplaces, 8},
    {"Refer-To", kHdrReferTo, 8},
    {"r", kHdrReferTo, 1},
    {"Referred-By", kHdrReferredBy, 11},
    {"b", kHdrReferredBy, 1},
    {"Allow-Events", kHdrAllowEvents, 12},
    {"u", kHdrAllowEvents, 1},
    {"Subscription-State", kHdrSubscriptionState, 18},
    {"Event", kHdrEvent, 5},
    {"o", kHdrEvent, 1},
    {"~", kHdrUnknown, 0},
}};

// Text, id, length.
constexpr std::array<cpsip_row, 4> Cpsip_event_hdr_table{{
    {"refer", 0, 5},
    {"presence", 1, 8},
    {"message-summary", 2, 15},
    {"~", kEventEndId, 0},
}};

// Text, id, length. Kept: of the third row a received value is compared with the first ten characters, and
// the whole text is what the formatter writes.
constexpr std::array<cpsip_row, 4> Cpsip_subscr_state_hdr_table{{
    {"active", 2, 6},
    {"pending", 1, 7},
    {"terminated;reason=noresource", 0, 10},
    {"~", kSubscriptionEndId, 0},
}};

namespace {

constexpr std::uint8_t class_of(unsigned c) {
  if (c == 0) return kCharNul;
  if (c == '\t' || c == ' ') return kCharBlank;
  if (c == '\n' || c == '\r') return kCharLineEnd;
  if (c < ' ' || c == 127) return kCharControl;
  if (c >= '0' && c <= '9') return kCharDigit;
  if (c >= 128 || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z')) return kCharLetter;
  return c == '%' ? kCharEscape : kCharSeparator;
}

constexpr std::array<std::uint8_t, 256> make_classes() {
  std::array<std::uint8_t, 256> classes{};
  for (unsigned c = 0; c < classes.size(); ++c)
    classes[c] = class_of(c);
  return classes;
}

constexpr cpsip_hdr_index make_index() {
  cpsip_hdr_index index;
  for (std::size_t row = 0; row + 1 < Cpsip_hdr_table.size(); ++row) {
    std::uint8_t& first = index.first[cpsip_hdr_index::slot_of(Cpsip_hdr_table[row].key())];
    index.next[row] = first;
    first = static_cast<std::uint8_t>(row + 1);
  }
  return index;
}

}  // namespace

constexpr std::array<std::uint8_t, 256> Cpsip_char_table = make_classes();
constexpr cpsip_hdr_index Cpsip_hdr_index = make_index();

const cpsip_row& cpsip_find_method(std::string_view token) {
  return *std::find_if(Cpsip_method_table.begin(), Cpsip_method_table.end() - 1, [&](const cpsip_row& row) {
    // Most rows differ in their first letter.
    return !token.empty() && token.front() == *row.text && token.starts_with(row.key());
  });
}

const cpsip_row& cpsip_find_value(std::span<const cpsip_row> table, std::string_view token) {
  // Nearly every sender writes a value as the table does.
  return *std::find_if(table.begin(), table.end() - 1, [&](const cpsip_row& row) {
    return token.starts_with(row.key()) || starts_with_nocase(token, row.key());
  });
}

std::string_view cpsip_method_text(cpsip_method method) {
  // The row of status lines is none of a request.
  const auto row =
      std::find_if(Cpsip_method_table.begin() + 1, Cpsip_method_table.end() - 1,
                   [&](const cpsip_row& one) { return one.id == static_cast<std::uint32_t>(method); });
  return row->key();
}

}  // namespace hark
