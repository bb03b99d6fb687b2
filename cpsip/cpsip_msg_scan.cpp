#include "cpsip/cpsip_msg_scan.h"

#include <algorithm>
#include <array>

#include "cpsip/cpapp.h"
#include "cpsip/cpsip_line.h"
#include "cpsip/cpsip_number.h"

namespace hark {
namespace {

// A value of a header that is being read.
struct Value {
  Value(cpsip_scan& its_scan, cpsip_line& its_line, const cpsip_row& its_row)
      : scan(its_scan), line(its_line), msg(*its_scan.scan_msg), row(&its_row) {}

  cpsip_scan& scan;
  cpsip_line& line;
  cpsip_msg& msg;
  const cpsip_row* row;
  std::uint16_t first = 0;         // the instance's record in the pool; its siblings follow. 0: none
  cpsip_field* record = nullptr;   // that was placed, on which parameters hang
  cpsip_field* display = nullptr;  // of a name-addr
  cpsip_field* uri = nullptr;      // of a name-addr
};

using Reader = int (*)(Value&);

// How a header is placed in the message, and what reads its value.
struct Rule {
  enum Kind : std::uint8_t { kNone, kInstance, kList, kEmbedded } kind = kNone;
  // Instances: the heads of the parallel chains and the count.
  std::array<std::uint16_t cpsip_msg::*, 4> heads{};
  std::uint8_t chains = 0;  // that many of them
  std::uint8_t cpsip_msg::*count = nullptr;
  // Embedded records: the line, of a name-addr its parts, and what a second occurrence sets.
  cpsip_field cpsip_msg::*line = nullptr;
  cpsip_field cpsip_msg::*display = nullptr;
  cpsip_field cpsip_msg::*uri = nullptr;
  std::uint16_t repeat_status = 400;
  bool keeps_later = false;  // the text of a second occurrence is taken nevertheless
  Reader read = nullptr;     // null for a list, which has items only
};

template <std::uint16_t flags>
[[gnu::always_inline]] inline int next_token(const Value& value, cpsip_token& token) {
  return cpsip_next_token(value.scan, value.line, flags, token);
}

// Sets the status that the answer will have, and reports the place of its call.
void report(Value& value, std::uint16_t status, unsigned line = __builtin_LINE()) {
  value.msg.scan_status = status;
  (void)cpapp_uxp2(cpapp_here(cpapp_module::cpsip_msg, line), status, value.row->id);
}

// The places of an instance's further records, behind its own.
enum : unsigned { kViaTransport = 1, kViaHost = 2, kViaPort = 3, kDisplay = 1, kUri = 2 };

cpsip_field& sibling(Value& value, unsigned place) {
  return value.msg.fields[static_cast<std::uint16_t>(value.first + place)];
}

void go_on_after_comma(const Value& value, char stop) {
  if (stop == ',') value.scan.cont_hdr = value.row;
}

// Kept: a host with a comma right behind it is not recorded. Such a list has no parameters either, so nothing
// could be sent back by it.
int read_via_host(Value& value) {
  cpsip_token token;
  if (next_token<kStopSemicolon | kStopComma | kStopColon>(value, token) != kScanOk) return kScanTokenTooLong;
  if (token.text.empty() || token.stop == 0) return kScanBadHeader;
  go_on_after_comma(value, token.stop);
  if (token.stop == ',') return kScanOk;
  sibling(value, kViaHost) = cpsip_field_of(value.scan, token.text);
  if (token.stop != ':') return kScanOk;
  if (next_token<kStopSemicolon | kStopComma>(value, token) != kScanOk) return kScanTokenTooLong;
  if (token.text.empty()) return kScanBadHeader;
  sibling(value, kViaPort) = cpsip_field_of(value.scan, token.text);
  go_on_after_comma(value, token.stop);
  return kScanOk;
}

// The protocol's name and version, neither of which is looked at.
int skip_protocol(Value& value) {
  constexpr std::string_view kUsual = "SIP/2.0/";
  cpsip_line& line = value.line;
  if (std::string_view(line.at, static_cast<std::size_t>(line.end - line.at)).starts_with(kUsual)) {
    line.at += kUsual.size();
    line.skip_blanks();
    return kScanOk;
  }
  cpsip_token token;
  for (int part = 0; part < 2; ++part) {
    if (next_token<kStopSlash>(value, token) != kScanOk) return kScanTokenTooLong;
  }
  return kScanOk;
}

int read_via(Value& value) {
  if (skip_protocol(value) != kScanOk) return kScanTokenTooLong;
  cpsip_token token;
  if (next_token<kStopSpace>(value, token) != kScanOk) return kScanTokenTooLong;
  if (token.text.empty() || token.stop != ' ') return kScanBadHeader;
  sibling(value, kViaTransport) = cpsip_field_of(value.scan, token.text);
  return read_via_host(value);
}

// Kept: quotes do not count, so a "<" in a quoted display name ends it.
int read_name_addr(Value& value) {
  if (value.first != 0) {
    value.display = &sibling(value, kDisplay);
    value.uri = &sibling(value, kUri);
  }
  cpsip_token token;
  if (next_token<kStopSemicolon | kStopLess>(value, token) != kScanOk) return kScanTokenTooLong;
  if (token.stop != '<') {
    *value.uri = cpsip_field_of(value.scan, token.text);
    return kScanOk;
  }
  *value.display = cpsip_field_of(value.scan, token.text);
  if (next_token<kStopGreater>(value, token) != kScanOk) return kScanTokenTooLong;
  if (token.stop != '>') return kScanNoClosingBracket;
  *value.uri = cpsip_field_of(value.scan, token.text);
  if (next_token<kStopSemicolon | kStopComma | kStopQuestion>(value, token) != kScanOk)
    return kScanTokenTooLong;
  go_on_after_comma(value, token.stop);
  return kScanOk;
}

int read_max_forwards(Value& value) {
  cpsip_token token;
  if (next_token<kStopSpace>(value, token) != kScanOk) return kScanTokenTooLong;
  value.msg.max_forwards = static_cast<std::uint8_t>(cpsip_read_int(token.text));
  return kScanOk;
}

template <cpsip_field cpsip_msg::*field>
int read_whole(Value& value) {
  cpsip_token token;
  if (next_token<0>(value, token) != kScanOk) return kScanTokenTooLong;
  value.msg.*field = cpsip_field_of(value.scan, token.text);
  return kScanOk;
}

int read_call_id(Value& value) {
  if (value.msg.call_id.length != 0) report(value, 400);
  return read_whole<&cpsip_msg::call_id>(value);
}

int read_cseq(Value& value) {
  constexpr std::size_t kMostDigits = 10;
  cpsip_token token;
  if (next_token<kStopSpace>(value, token) != kScanOk) return kScanTokenTooLong;
  if (token.text.size() > kMostDigits) report(value, 400);
  value.msg.cseq = cpsip_read_unsigned(token.text);
  if (next_token<0>(value, token) != kScanOk) return kScanTokenTooLong;
  const cpsip_row& row = cpsip_find_method(token.text);
  if (row.text != nullptr) value.msg.cseq_method = cpsip_method{row.id};
  return kScanOk;
}

cpsip_content_kind kind_of(std::string_view type) {
  static constexpr std::array<cpsip_row, 3> kKinds{{
      {"application/sdp", static_cast<std::uint8_t>(cpsip_content_kind::sdp), 15},
      {"message/sipfrag", static_cast<std::uint8_t>(cpsip_content_kind::sipfrag), 15},
      {"~", static_cast<std::uint8_t>(cpsip_content_kind::other), 0},
  }};
  return cpsip_content_kind{cpsip_find_value(kKinds, type).id};
}

int read_content_type(Value& value) {
  cpsip_token token;
  if (next_token<kStopSemicolon>(value, token) != kScanOk) return kScanTokenTooLong;
  value.msg.content_type = cpsip_field_of(value.scan, token.text);
  value.msg.content_kind = kind_of(token.text);
  return kScanOk;
}

int read_content_length(Value& value) {
  cpsip_token token;
  if (next_token<kStopSpace>(value, token) != kScanOk) return kScanTokenTooLong;
  if (value.msg.content_length_seen) {
    report(value, 400);
    return kScanOk;
  }
  value.msg.content_length_seen = true;
  value.msg.content_length = cpsip_read_unsigned(token.text);
  return kScanOk;
}

int read_expires(Value& value) {
  constexpr std::size_t kMostDigits = 9;
  cpsip_token token;
  if (next_token<kStopSpace>(value, token) != kScanOk) return kScanTokenTooLong;
  const bool digits = std::all_of(token.text.begin(), token.text.end(), [](char c) {
    return Cpsip_char_table[static_cast<unsigned char>(c)] == kCharDigit;
  });
  if (!digits || token.text.size() > kMostDigits) {
    report(value, 400);
  } else {
    value.msg.expires = cpsip_read_unsigned(token.text);
  }
  return kScanOk;
}

// Replaces has no value of its own: its parameters are read, its Call-ID as the first of them.
int read_replaces(Value& value) {
  (void)cpapp_uxp1(cpapp_here(cpapp_module::cpsip_msg), value.row->id);
  return kScanOk;
}

int read_subscription_state(Value& value) {
  cpsip_token token;
  if (next_token<kStopSemicolon>(value, token) != kScanOk) return kScanTokenTooLong;
  value.msg.subscription_state = cpsip_field_of(value.scan, token.text);
  value.msg.subscription_state_id = cpsip_find_value(Cpsip_subscr_state_hdr_table, token.text).id;
  if (value.msg.subscription_state_id == kSubscriptionEndId) report(value, 400);
  return kScanOk;
}

int read_event(Value& value) {
  cpsip_token token;
  if (next_token<kStopSemicolon>(value, token) != kScanOk) return kScanTokenTooLong;
  value.msg.event = cpsip_field_of(value.scan, token.text);
  value.msg.event_id = cpsip_find_value(Cpsip_event_hdr_table, token.text).id;
  if (value.msg.event_id == kEventEndId) report(value, 489);
  // Names and values of the parameters alike, until one is "id" or its beginning; the empty one at the end is
  // too.
  do {
    if (next_token<kStopSemicolon | kStopEquals>(value, token) != kScanOk) return kScanTokenTooLong;
  } while (!std::string_view("id").starts_with(token.text));
  if (next_token<kStopSpace>(value, token) != kScanOk) return kScanTokenTooLong;
  value.msg.event_id_parm = cpsip_read_unsigned(token.text);
  return kScanOk;
}

constexpr Rule instance(std::array<std::uint16_t cpsip_msg::*, 4> heads, std::uint8_t cpsip_msg::*count,
                        Reader read) {
  const auto chains = std::count_if(heads.begin(), heads.end(), [](auto head) { return head != nullptr; });
  return {.kind = Rule::kInstance,
          .heads = heads,
          .chains = static_cast<std::uint8_t>(chains),
          .count = count,
          .read = read};
}

constexpr Rule list(std::uint16_t cpsip_msg::*head, std::uint8_t cpsip_msg::*count) {
  return {.kind = Rule::kList, .heads = {head}, .chains = 1, .count = count};
}

constexpr Rule name_addr(cpsip_field cpsip_msg::*line, cpsip_field cpsip_msg::*display,
                         cpsip_field cpsip_msg::*uri) {
  return {.kind = Rule::kEmbedded, .line = line, .display = display, .uri = uri, .read = read_name_addr};
}

constexpr Rule value_line(cpsip_field cpsip_msg::*line, Reader read) {
  return {.kind = Rule::kEmbedded, .line = line, .keeps_later = true, .read = read};
}

constexpr Rule bare(Reader read) { return {.read = read}; }

using M = cpsip_msg;

// The rule of each header, by its id; a header that the table does not have has none.
constexpr std::array<Rule, kHdrUnknown + 1> make_rules() {
  std::array<Rule, kHdrUnknown + 1> rules{};
  rules[kHdrVia] = instance({&M::via_head, &M::via_transport_head, &M::via_host_head, &M::via_port_head},
                            &M::via_count, read_via);
  rules[kHdrMaxForwards] = bare(read_max_forwards);
  rules[kHdrTo] = name_addr(&M::to, &M::to_display, &M::to_uri);
  rules[kHdrFrom] = name_addr(&M::from, &M::from_display, &M::from_uri);
  rules[kHdrCallId] = bare(read_call_id);
  rules[kHdrCSeq] = bare(read_cseq);
  rules[kHdrContact] = instance({&M::contact_head, &M::contact_display_head, &M::contact_uri_head},
                                &M::contact_count, read_name_addr);
  rules[kHdrContentType] = value_line(&M::content_type_line, read_content_type);
  rules[kHdrContentLength] = bare(read_content_length);
  rules[kHdrRoute] =
      instance({&M::route_head, &M::route_display_head, &M::route_uri_head}, &M::route_count, read_name_addr);
  rules[kHdrRecordRoute] =
      instance({&M::record_route_head, &M::record_route_display_head, &M::record_route_uri_head},
               &M::record_route_count, read_name_addr);
  rules[kHdrUserAgent] = bare(read_whole<&M::user_agent>);
  rules[kHdrExpires] = bare(read_expires);
  rules[kHdrSubject] = bare(read_whole<&M::subject>);
  rules[kHdrServer] = bare(read_whole<&M::server>);
  rules[kHdrAllow] = list(&M::allow_head, &M::allow_count);
  rules[kHdrRequire] = list(&M::require_head, &M::require_count);
  rules[kHdrProxyRequire] = list(&M::proxy_require_head, &M::proxy_require_count);
  rules[kHdrSupported] = list(&M::supported_head, &M::supported_count);
  rules[kHdrUnsupported] = list(&M::unsupported_head, &M::unsupported_count);
  rules[kHdrAccept] = list(&M::accept_head, &M::accept_count);
  rules[kHdrAllowEvents] = list(&M::allow_events_head, &M::allow_events_count);
  rules[kHdrReplaces] = {
      .kind = Rule::kEmbedded, .line = &M::replaces, .repeat_status = 481, .read = read_replaces};
  rules[kHdrReferTo] = name_addr(&M::refer_to, &M::refer_to_display, &M::refer_to_uri);
  rules[kHdrReferredBy] = name_addr(&M::referred_by, &M::referred_by_display, &M::referred_by_uri);
  rules[kHdrSubscriptionState] = value_line(&M::subscription_state_line, read_subscription_state);
  rules[kHdrEvent] = value_line(&M::event_line, read_event);
  return rules;
}

constexpr std::array<Rule, kHdrUnknown + 1> kRules = make_rules();

// A new instance: a record in each of the header's chains, one behind the other in the pool.
void place_instance(Value& value, const Rule& rule, const cpsip_field& line) {
  cpsip_msg& msg = value.msg;
  const std::uint16_t newest = value.scan.last_instance[value.row->id];
  value.first = msg.fields.count();
  for (std::uint16_t place = 0; place < rule.chains; ++place) {
    const std::uint16_t index = msg.fields.alloc();
    std::uint16_t& link = newest == 0 ? msg.*rule.heads[place]
                                      : msg.fields[static_cast<std::uint16_t>(newest + place)].next_hdr;
    link = index;
  }
  value.scan.last_instance[value.row->id] = value.first;
  ++(msg.*rule.count);
  value.record = &msg.fields[value.first];
  *value.record = line;
}

// False when the value is passed over: the first of its kind stands.
bool place_embedded(Value& value, const Rule& rule, const cpsip_field& line) {
  value.record = &(value.msg.*rule.line);
  if (value.record->length != 0) {
    report(value, rule.repeat_status);
    if (!rule.keeps_later) return false;
  }
  *value.record = line;
  if (rule.uri != nullptr) {
    value.display = &(value.msg.*rule.display);
    value.uri = &(value.msg.*rule.uri);
  }
  return true;
}

bool place(Value& value, const Rule& rule, const cpsip_field& line) {
  if (rule.kind == Rule::kEmbedded) return place_embedded(value, rule, line);
  place_instance(value, rule, line);
  return true;
}

// The parameters behind a value, or the items of a list.
template <bool is_list>
int read_parms(Value& value) {
  constexpr std::uint16_t kFlags = kQuoteDouble | kStopComma | (is_list ? 0 : kStopSemicolon);
  std::uint16_t* link = &value.record->next_parm;
  while (value.line.at != value.line.end) {
    cpsip_token token;
    if (next_token<kFlags>(value, token) != kScanOk) return kScanTokenTooLong;
    if (!token.text.empty()) {
      *link = value.msg.fields.alloc();
      cpsip_field& parm = value.msg.fields[*link];
      parm = cpsip_field_of(value.scan, token.text);
      link = &parm.next_parm;
    }
    if (!is_list && token.stop == ',') {
      value.scan.cont_hdr = value.row;
      return kScanOk;
    }
  }
  return kScanOk;
}

// A header that is not in the table is kept as it lies, name and line end included. Its value is held to the
// length of a token all the same.
int keep_unknown(cpsip_scan& scan, const cpsip_line& line, const cpsip_field& text) {
  constexpr std::ptrdiff_t kLineEnd = 2;
  cpsip_msg& msg = *scan.scan_msg;
  std::uint16_t& newest = scan.last_instance[kHdrUnknown];
  std::uint16_t& link = newest == 0 ? msg.unknown_head : msg.fields[newest].next_hdr;
  link = newest = msg.fields.alloc();
  msg.fields[newest] = text;
  ++msg.unknown_count;
  if (line.end - line.at <= kMaxToken + kLineEnd) return kScanOk;
  const auto kept = std::count_if(line.at, line.end, [](char c) {
    return c == ' ' || Cpsip_char_table[static_cast<unsigned char>(c)] > kCharLineEnd;
  });
  return kept <= kMaxToken ? kScanOk : kScanTokenTooLong;
}

// One value of the header, with `text` as its whole text.
int scan_value(cpsip_scan& scan, cpsip_line& line, const cpsip_row& row, const cpsip_field& text) {
  const Rule& rule = kRules[row.id];
  Value value(scan, line, row);
  scan.cont_hdr = nullptr;
  if (rule.kind == Rule::kNone) return rule.read(value);
  if (!place(value, rule, text)) return kScanOk;
  if (rule.kind == Rule::kList) return read_parms<true>(value);
  if (const int result = rule.read(value); result != kScanOk) return result;
  return scan.cont_hdr == nullptr ? read_parms<false>(value) : kScanOk;
}

cpsip_field rest_of_line(const cpsip_scan& scan, const cpsip_line& line) {
  return cpsip_field_of(scan, {line.at, static_cast<std::size_t>(line.end - line.at)});
}

// Blanks in a name do not count.
const cpsip_row& find_bare_name(std::string_view name) {
  std::array<char, kMaxToken> bare_name;
  const auto end = std::remove_copy(name.begin(), name.end(), bare_name.begin(), ' ');
  return cpsip_find_hdr({bare_name.data(), static_cast<std::size_t>(end - bare_name.begin())});
}

// The header's name, up to and with its colon.
int scan_name(cpsip_scan& scan, cpsip_line& line, const cpsip_row*& row) {
  char* const begin = line.at;
  cpsip_token name;
  if (cpsip_next_token(scan, line, kStopColon | kStopSpace, name) == kScanOk && name.stop == ':') {
    row = &cpsip_find_hdr(name.text);
    return kScanOk;
  }
  line.at = begin;
  line.skip_blanks();
  if (cpsip_walk_token(scan, line, kStopColon, name) != kScanOk) return kScanTokenTooLong;
  if (name.stop != ':') return kScanBadHeader;
  row = &find_bare_name(name.text);
  return kScanOk;
}

int scan_version(cpsip_scan& scan, cpsip_line& line) {
  cpsip_token token;
  if (cpsip_next_token(scan, line, 0, token) != kScanOk) return kScanTokenTooLong;
  if (token.text == "SIP/2.0") return kScanOk;
  const bool other_version = token.text.starts_with("SIP/") && token.text.size() == 7;
  scan.scan_msg->scan_status = other_version ? 505 : 400;
  (void)cpapp_uxp1(cpapp_here(cpapp_module::cpsip_msg), scan.scan_msg->scan_status);
  return kScanOk;
}

int scan_request_line(cpsip_scan& scan, cpsip_line& line) {
  cpsip_token token;
  if (cpsip_next_token(scan, line, kStopSpace, token) != kScanOk) return kScanTokenTooLong;
  if (token.stop != ' ') return kScanBadStartLine;
  scan.scan_msg->request_uri = cpsip_field_of(scan, token.text);
  return scan_version(scan, line);
}

// The version is not looked at beyond its "SIP/".
int scan_status_line(cpsip_scan& scan, cpsip_line& line) {
  cpsip_token token;
  if (cpsip_next_token(scan, line, kStopSpace, token) != kScanOk) return kScanTokenTooLong;
  if (token.stop != ' ') return kScanBadStartLine;
  scan.scan_msg->status_code = static_cast<std::uint16_t>(cpsip_read_int(token.text));
  if (cpsip_next_token(scan, line, kReasonPhrase, token) != kScanOk) return kScanTokenTooLong;
  scan.scan_msg->reason = cpsip_field_of(scan, token.text);
  return kScanOk;
}

void keep_unknown_method(cpsip_msg& msg, std::string_view method) {
  msg.cseq_method = cpsip_method::unrecognized;
  msg.unknown_method = method.substr(0, kMaxUnknownMethod);
}

}  // namespace

int cpsip_scan_start(cpsip_scan& scan, cpsip_line& line) {
  cpsip_msg& msg = *scan.scan_msg;
  cpsip_token token;
  if (cpsip_next_token(scan, line, kStopSpace, token) != kScanOk) return kScanTokenTooLong;
  if (token.stop != ' ') return kScanBadStartLine;
  const cpsip_row& row = cpsip_find_method(token.text);
  msg.method = cpsip_method{row.id};
  if (msg.method == cpsip_method::response) return scan_status_line(scan, line);
  if (row.text == nullptr) keep_unknown_method(msg, token.text);
  return scan_request_line(scan, line);
}

int cpsip_msg_scan_start_line(cpsip_scan& scan) {
  cpsip_line line(scan);
  const int result = cpsip_scan_start(scan, line);
  line.store(scan);
  return result;
}

int cpsip_scan_header(cpsip_scan& scan, cpsip_line& line) {
  cpsip_field text = rest_of_line(scan, line);
  const cpsip_row* row = scan.cont_hdr;
  if (row == nullptr) {
    if (const int result = scan_name(scan, line, row); result != kScanOk) return result;
  }
  if (row->id == kHdrUnknown) return keep_unknown(scan, line, text);
  // A list of commas goes on in this loop: it may be as long as the datagram.
  while (true) {
    const int result = scan_value(scan, line, *row, text);
    if (result != kScanOk || scan.cont_hdr == nullptr) return result;
    text = rest_of_line(scan, line);
  }
}

int cpsip_msg_scan_header_line(cpsip_scan& scan) {
  cpsip_line line(scan);
  const int result = cpsip_scan_header(scan, line);
  line.store(scan);
  return result;
}

}  // namespace hark
