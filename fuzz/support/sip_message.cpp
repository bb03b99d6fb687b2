#include "support/sip_message.h"

#include <algorithm>
#include <array>

#include "support/fuzzing.h"
#include "support/sip_case.h"

namespace hark::fuzz {
namespace {

using M = cpsip_msg;

constexpr SipField direct(std::uint32_t id, std::string_view header, cpsip_field M::*record) {
  return {id, Reach::direct, header, record, nullptr, nullptr};
}
constexpr SipField parameter(std::uint32_t id, std::string_view header, cpsip_field M::*record) {
  return {id, Reach::parameter, header, record, nullptr, nullptr};
}
constexpr SipField instance_of(std::uint32_t id, std::string_view header, std::uint16_t M::*head,
                               std::uint8_t M::*count) {
  return {id, Reach::instance, header, nullptr, head, count};
}
constexpr SipField item_of(std::uint32_t id, std::string_view header, std::uint16_t M::*head,
                           std::uint8_t M::*count) {
  return {id, Reach::instance_parameter, header, nullptr, head, count};
}

constexpr std::array kFields{
    direct(1, "Call-ID", &M::call_id),
    instance_of(2, "Contact", &M::contact_display_head, &M::contact_count),
    instance_of(3, "Contact", &M::contact_head, &M::contact_count),
    item_of(4, "Contact", &M::contact_head, &M::contact_count),
    instance_of(5, "Contact", &M::contact_uri_head, &M::contact_count),
    direct(6, "From", &M::from_display),
    direct(7, "From", &M::from),
    parameter(8, "From", &M::from),
    direct(9, "From", &M::from_uri),
    direct(10, "start", &M::request_uri),
    direct(11, "start", &M::start_line),
    direct(12, "start", &M::reason),
    direct(13, "To", &M::to_display),
    direct(14, "To", &M::to),
    parameter(15, "To", &M::to),
    direct(16, "To", &M::to_uri),
    instance_of(17, "Via", &M::via_head, &M::via_count),
    instance_of(18, "Via", &M::via_host_head, &M::via_count),
    item_of(19, "Via", &M::via_head, &M::via_count),
    instance_of(20, "Via", &M::via_port_head, &M::via_count),
    instance_of(21, "Via", &M::via_transport_head, &M::via_count),
    instance_of(30, "Route", &M::route_head, &M::route_count),
    instance_of(31, "Route", &M::route_uri_head, &M::route_count),
    instance_of(32, "Record-Route", &M::record_route_head, &M::record_route_count),
    instance_of(33, "Record-Route", &M::record_route_uri_head, &M::record_route_count),
    direct(34, "User-Agent", &M::user_agent),
    direct(35, "User-Agent", &M::user_agent),
    instance_of(38, "Allow", &M::allow_head, &M::allow_count),
    item_of(39, "Allow", &M::allow_head, &M::allow_count),
    direct(40, "Subject", &M::subject),
    direct(41, "Subject", &M::subject),
    instance_of(42, "Require", &M::require_head, &M::require_count),
    item_of(43, "Require", &M::require_head, &M::require_count),
    instance_of(44, "Proxy-Require", &M::proxy_require_head, &M::proxy_require_count),
    item_of(45, "Proxy-Require", &M::proxy_require_head, &M::proxy_require_count),
    instance_of(46, "Supported", &M::supported_head, &M::supported_count),
    item_of(47, "Supported", &M::supported_head, &M::supported_count),
    instance_of(48, "Unsupported", &M::unsupported_head, &M::unsupported_count),
    item_of(49, "Unsupported", &M::unsupported_head, &M::unsupported_count),
    direct(50, "Server", &M::server),
    direct(51, "Server", &M::server),
    instance_of(52, "Accept", &M::accept_head, &M::accept_count),
    item_of(53, "Accept", &M::accept_head, &M::accept_count),
    instance_of(54, "unknown", &M::unknown_head, &M::unknown_count),
    direct(61, "Replaces", &M::replaces),
    direct(63, "Refer-To", &M::refer_to),
    direct(64, "Refer-To", &M::refer_to_display),
    parameter(65, "Refer-To", &M::refer_to),
    direct(66, "Refer-To", &M::refer_to_uri),
    instance_of(67, "Allow-Events", &M::allow_events_head, &M::allow_events_count),
    item_of(69, "Allow-Events", &M::allow_events_head, &M::allow_events_count),
    direct(71, "Subscription-State", &M::subscription_state),
    direct(74, "Event", &M::event),
    direct(76, "Referred-By", &M::referred_by),
    direct(77, "Referred-By", &M::referred_by_display),
    direct(78, "Referred-By", &M::referred_by_uri),
    parameter(79, "Referred-By", &M::referred_by),
    direct(84, "Content-Type", &M::content_type_line),
    direct(85, "Content-Type", &M::content_type),
    parameter(86, "Content-Type", &M::content_type_line),
};

}  // namespace

std::span<const SipField> sip_fields() { return kFields; }

const SipField& sip_field(std::uint32_t id) {
  return *std::find_if(kFields.begin(), kFields.end(), [&](const SipField& one) { return one.id == id; });
}

cpsip_osa_chain block_of(std::string_view bytes, std::size_t slack) {
  cpsip_osa_chain block(cpsip_osa_buf_alloc(static_cast<std::uint16_t>(bytes.size() + slack)));
  std::copy(bytes.begin(), bytes.end(), block->data());
  block->used = static_cast<std::uint16_t>(bytes.size());
  return block;
}

std::string text_of(const cpsip_osa_buf* chain) {
  std::string text;
  for (; chain != nullptr; chain = chain->next)
    text += chain->text();
  return text;
}

std::string read_field(cpsip_msg& msg, std::uint32_t id, unsigned instance, unsigned parm, int* result) {
  std::string text;
  std::array<char, kMaxFieldText> part;
  while (true) {
    std::uint32_t length = 0;
    std::uint32_t remaining = 0;
    const int got = CPSIP_MsgAccess(true, msg, id, instance, parm, static_cast<std::uint32_t>(text.size()),
                                    part.size(), part.data(), length, remaining);
    check(length <= part.size(), "no more is read than there is room for");
    text.append(part.data(), length);
    if (result != nullptr) *result = got;
    if (got != kAccessOk || remaining == 0) return text;
    check(length == part.size(), "the room is filled before the rest is cut off");
  }
}

std::vector<std::string> read_parameters(cpsip_msg& msg, std::uint32_t id, unsigned instance) {
  std::vector<std::string> parameters;
  while (true) {
    int result = kAccessOk;
    std::string text = read_field(msg, id, instance, static_cast<unsigned>(parameters.size()) + 1, &result);
    if (result == kAccessNoParameter) return parameters;
    check(result == kAccessOk, "a parameter is there or is not");
    parameters.push_back(std::move(text));
  }
}

SipTexts texts_of(cpsip_msg& msg) {
  SipTexts texts;
  for (const SipField& field : kFields) {
    const std::size_t instances = field.in_chain() ? chain_length(msg, msg.*field.head) : 1;
    for (unsigned instance = 1; instance <= std::min<std::size_t>(instances, kMostInstances); ++instance) {
      if (field.is_parameter()) {
        unsigned number = 0;
        for (std::string& text : read_parameters(msg, field.id, instance))
          texts[{field.id, instance, ++number}] = std::move(text);
        continue;
      }
      int result = -1;
      std::string text = read_field(msg, field.id, instance, 1, &result);
      check(result == kAccessOk, "a field can be read, there or not");
      if (field.in_chain() || !text.empty()) texts[{field.id, instance, 1}] = std::move(text);
    }
  }
  return texts;
}

std::size_t chain_length(const cpsip_msg& msg, std::uint16_t head) {
  std::size_t length = 0;
  for (; head != 0; head = msg.fields[head].next_hdr) {
    check(head < msg.fields.count(), "a chain is one of records");
    check(++length < msg.fields.count(), "a chain ends");
  }
  return length;
}

FoundParameter find_parameter(const std::vector<std::string>& parameters, std::string_view name) {
  FoundParameter found;
  for (const std::string& parameter : parameters) {
    ++found.index;
    if (parameter.size() > kMaxFieldText) return {kAccessTooLong, 0, false, {}};
    const std::size_t equals = parameter.find('=');
    std::string key = parameter.substr(0, equals == std::string::npos ? equals : equals + 1);
    std::erase_if(key, [](char c) { return c == ' ' || c == '\t'; });
    if (key.size() < name.size() || !same_in_any_case(key.substr(0, name.size()), name)) continue;
    found.has_value = equals != std::string::npos;
    if (!found.has_value) return found;
    const std::size_t value = parameter.find_first_not_of(" \t", equals + 1);
    if (value != std::string::npos) found.value = parameter.substr(value);
    return found;
  }
  return {};
}

}  // namespace hark::fuzz
