#include "support/sip_roundtrip.h"

#include <algorithm>
#include <array>

#include "support/fuzzing.h"

namespace hark::fuzz {
namespace {

constexpr std::string_view kLineEnd = "\r\n";

// Fields that are written as they are, with all their instances and parameters.
constexpr std::array<std::uint32_t, 26> kWritten{1,  2,  4,  5,  6,  8,  9,  13, 15, 16, 18, 19, 20,
                                                 21, 33, 35, 41, 43, 45, 47, 49, 51, 69, 77, 78, 10};

// Display name and URI. A name without a URI would be read as one.
constexpr std::array<std::pair<std::uint32_t, std::uint32_t>, 5> kNameAddrs{
    {{2, 5}, {6, 9}, {13, 16}, {64, 66}, {77, 78}}};
constexpr std::array<std::uint32_t, 7> kUris{5, 9, 16, 31, 33, 66, 78};

std::string text_at(const SipTexts& texts, std::uint32_t id, unsigned instance = 1) {
  const auto found = texts.find({id, instance, 1});
  return found != texts.end() ? found->second : std::string();
}

SipTexts of_fields(const SipTexts& texts, std::span<const std::uint32_t> ids) {
  SipTexts some;
  for (const auto& [key, text] : texts) {
    const bool wanted = std::find(ids.begin(), ids.end(), std::get<0>(key)) != ids.end();
    if (wanted && !text.empty()) some[key] = text;
  }
  return some;
}

bool has_plain_bytes(std::string_view datagram) {
  while (datagram.starts_with(kLineEnd))
    datagram.remove_prefix(kLineEnd.size());
  const std::string_view headers = datagram.substr(0, datagram.find("\r\n\r\n"));
  for (std::size_t at = 0; at < headers.size(); ++at) {
    if (headers.substr(at).starts_with(kLineEnd)) {
      ++at;
      continue;
    }
    const auto c = static_cast<unsigned char>(headers[at]);
    if ((c < ' ' && c != '\t') || c == 127) return false;
  }
  return true;
}

bool has_plain_texts(const SipTexts& texts) {
  return std::none_of(texts.begin(), texts.end(), [](const auto& one) {
    const std::uint32_t id = std::get<0>(one.first);
    const bool is_uri = std::find(kUris.begin(), kUris.end(), id) != kUris.end();
    return is_uri && one.second.find_first_of("<>") != std::string::npos;
  });
}

bool has_all_parts(const cpsip_msg& msg, const SipTexts& texts) {
  for (const auto& [display, uri] : kNameAddrs) {
    for (auto at = texts.lower_bound({display, 0, 0}); at != texts.end(); ++at) {
      const auto& [id, instance, parm] = at->first;
      if (id != display) break;
      if (!at->second.empty() && text_at(texts, uri, instance).empty()) return false;
    }
  }
  for (unsigned at = 1; at <= msg.via_count; ++at)
    if (text_at(texts, CPSIP_FLD_VIA_HOST, at).empty()) return false;
  for (unsigned at = 1; at <= msg.route_count; ++at)
    if (text_at(texts, CPSIP_FLD_ROUTE_URI, at).empty()) return false;
  for (unsigned at = 1; at <= msg.record_route_count; ++at)
    if (text_at(texts, CPSIP_FLD_RECORD_ROUTE_URI, at).empty()) return false;
  const bool has_type = msg.content_kind == cpsip_content_kind::none || msg.content_type.length != 0;
  // A Replaces moves into the URI of Refer-To.
  return has_type && (msg.replaces.length == 0 || msg.refer_to_uri.length == 0);
}

// Of a line its value.
std::string value_of(std::string line) {
  if (line.ends_with(kLineEnd)) {
    line.resize(line.size() - kLineEnd.size());
    line.erase(0, line.find(':') + 1);
  }
  return line.substr(std::min(line.find_first_not_of(" \t"), line.size()));
}

void check_facts(const SipFacts& was, const SipFacts& is) {
  check(is.method == was.method && is.status_code == was.status_code, "what is asked or answered reads back");
  check(is.cseq == was.cseq && is.cseq_method == was.cseq_method, "CSeq reads back");
  check(is.expires == was.expires, "Expires reads back");
  const bool is_request = was.method != cpsip_method::response;
  check(is.max_forwards == (is_request ? was.max_forwards : 0), "Max-Forwards reads back on a request");
  check(is.content_kind == was.content_kind, "the kind of the body reads back");
  if (was.content_kind != cpsip_content_kind::sdp) check(is.body == was.body, "the body reads back");
  check(was.subscription_state_id == kSubscriptionEndId ||
            is.subscription_state_id == was.subscription_state_id,
        "the subscription reads back");
  check(was.event_id == kEventEndId || is.event_id == was.event_id, "the event reads back");
}

}  // namespace

SipFacts facts_of(const cpsip_msg& msg) {
  return {.method = msg.method,
          .cseq_method = msg.cseq_method,
          .status_code = msg.status_code,
          .cseq = msg.cseq,
          .expires = msg.expires,
          .max_forwards = msg.max_forwards,
          .content_kind = msg.content_kind,
          .asks_for_body = msg.content_length != 0,
          .body = msg.body != nullptr ? std::string(msg.body.get(), msg.content_length) : std::string(),
          .subscription_state_id = msg.subscription_state_id,
          .event_id = msg.event_id};
}

bool is_plain(std::string_view datagram, const cpsip_msg& msg, const SipTexts& texts) {
  for (const SipField& field : sip_fields())
    if (field.in_chain() && chain_length(msg, msg.*field.head) > kMostInstances) return false;
  return msg.method != cpsip_method::unrecognized && has_plain_bytes(datagram) && has_plain_texts(texts) &&
         has_all_parts(msg, texts);
}

void check_reads_back(const SipFacts& facts, const SipTexts& texts, cpsip_msg& again) {
  const SipTexts got = texts_of(again);
  check_facts(facts, facts_of(again));
  check(again.content_length_seen, "the headers end where they should");
  check(of_fields(got, kWritten) == of_fields(texts, kWritten), "the headers read back");
  constexpr std::array<std::uint32_t, 1> kReason{CPSIP_FLD_REASON};
  constexpr std::array<std::uint32_t, 1> kRoutes{CPSIP_FLD_ROUTE_URI};
  constexpr std::array<std::uint32_t, 2> kReferTo{CPSIP_FLD_REFER_TO_DISPLAY, CPSIP_FLD_REFER_TO_URI};
  constexpr std::array<std::uint32_t, 2> kType{CPSIP_FLD_CONTENT_TYPE, CPSIP_FLD_CONTENT_TYPE_PARM};
  check(of_fields(got, kReason) == of_fields(texts, kReason), "the reason reads back");
  const bool has_routes = facts.method != cpsip_method::ack && facts.method != cpsip_method::cancel;
  check(of_fields(got, kRoutes) == (has_routes ? of_fields(texts, kRoutes) : SipTexts{}), "Routes read back");
  check(of_fields(got, kReferTo) == of_fields(texts, kReferTo), "Refer-To reads back");
  const bool own_type = facts.asks_for_body && (facts.content_kind == cpsip_content_kind::sdp ||
                                                facts.content_kind == cpsip_content_kind::sipfrag);
  if (!own_type) check(of_fields(got, kType) == of_fields(texts, kType), "Content-Type reads back");
  const std::string replaces =
      facts.method == cpsip_method::refer ? "" : value_of(text_at(texts, CPSIP_FLD_REPLACES));
  check(value_of(text_at(got, CPSIP_FLD_REPLACES)) == replaces, "Replaces reads back");
  check(again.scan_status == 0 || !replaces.empty(), "there is nothing wrong with what is written");
}

}  // namespace hark::fuzz
