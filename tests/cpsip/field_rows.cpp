// The list of field ids for the tests.
#include "cpsip/field_rows.h"

#include <algorithm>

namespace hark::test {
namespace {

using M = cpsip_msg;
constexpr FieldMode kD = FieldMode::kDirect;
constexpr FieldMode kP = FieldMode::kParameter;
constexpr FieldMode kI = FieldMode::kInstance;
constexpr FieldMode kIP = FieldMode::kInstanceParameter;

// Name, id, mode, id of the record, embedded record, head of the chain, count. In numbers and not by the
// product's names: what the numbers mean is known outside, too.
const FieldRow kRows[] = {
    {"Call-ID", 1, kD, 1, &M::call_id, nullptr, nullptr},
    {"Contact display", 2, kI, 2, nullptr, &M::contact_display_head, &M::contact_count},
    {"Contact", 3, kI, 3, nullptr, &M::contact_head, &M::contact_count},
    {"Contact parameter", 4, kIP, 3, nullptr, &M::contact_head, &M::contact_count},
    {"Contact URI", 5, kI, 5, nullptr, &M::contact_uri_head, &M::contact_count},
    {"From display", 6, kD, 6, &M::from_display, nullptr, nullptr},
    {"From", 7, kD, 7, &M::from, nullptr, nullptr},
    {"From parameter", 8, kP, 7, &M::from, nullptr, nullptr},
    {"From URI", 9, kD, 9, &M::from_uri, nullptr, nullptr},
    {"Request-URI", 10, kD, 10, &M::request_uri, nullptr, nullptr},
    {"start line", 11, kD, 11, &M::start_line, nullptr, nullptr},
    {"reason", 12, kD, 12, &M::reason, nullptr, nullptr},
    {"To display", 13, kD, 13, &M::to_display, nullptr, nullptr},
    {"To", 14, kD, 14, &M::to, nullptr, nullptr},
    {"To parameter", 15, kP, 14, &M::to, nullptr, nullptr},
    {"To URI", 16, kD, 16, &M::to_uri, nullptr, nullptr},
    {"Via", 17, kI, 17, nullptr, &M::via_head, &M::via_count},
    {"Via host", 18, kI, 18, nullptr, &M::via_host_head, &M::via_count},
    {"Via parameter", 19, kIP, 17, nullptr, &M::via_head, &M::via_count},
    {"Via port", 20, kI, 20, nullptr, &M::via_port_head, &M::via_count},
    {"Via transport", 21, kI, 21, nullptr, &M::via_transport_head, &M::via_count},
    {"Route", 30, kI, 30, nullptr, &M::route_head, &M::route_count},
    {"Route URI", 31, kI, 31, nullptr, &M::route_uri_head, &M::route_count},
    {"Record-Route", 32, kI, 32, nullptr, &M::record_route_head, &M::record_route_count},
    {"Record-Route URI", 33, kI, 33, nullptr, &M::record_route_uri_head, &M::record_route_count},
    {"User-Agent line", 34, kD, 35, &M::user_agent, nullptr, nullptr},
    {"User-Agent", 35, kD, 35, &M::user_agent, nullptr, nullptr},
    {"Allow", 38, kI, 38, nullptr, &M::allow_head, &M::allow_count},
    {"Allow item", 39, kIP, 38, nullptr, &M::allow_head, &M::allow_count},
    {"Subject line", 40, kD, 41, &M::subject, nullptr, nullptr},
    {"Subject", 41, kD, 41, &M::subject, nullptr, nullptr},
    {"Require", 42, kI, 42, nullptr, &M::require_head, &M::require_count},
    {"Require item", 43, kIP, 42, nullptr, &M::require_head, &M::require_count},
    {"Proxy-Require", 44, kI, 44, nullptr, &M::proxy_require_head, &M::proxy_require_count},
    {"Proxy-Require item", 45, kIP, 44, nullptr, &M::proxy_require_head, &M::proxy_require_count},
    {"Supported", 46, kI, 46, nullptr, &M::supported_head, &M::supported_count},
    {"Supported item", 47, kIP, 46, nullptr, &M::supported_head, &M::supported_count},
    {"Unsupported", 48, kI, 48, nullptr, &M::unsupported_head, &M::unsupported_count},
    {"Unsupported item", 49, kIP, 48, nullptr, &M::unsupported_head, &M::unsupported_count},
    {"Server line", 50, kD, 51, &M::server, nullptr, nullptr},
    {"Server", 51, kD, 51, &M::server, nullptr, nullptr},
    {"Accept", 52, kI, 52, nullptr, &M::accept_head, &M::accept_count},
    {"Accept item", 53, kIP, 52, nullptr, &M::accept_head, &M::accept_count},
    {"unknown header", 54, kI, 54, nullptr, &M::unknown_head, &M::unknown_count},
    {"Replaces", 61, kD, 61, &M::replaces, nullptr, nullptr},
    {"Refer-To", 63, kD, 63, &M::refer_to, nullptr, nullptr},
    {"Refer-To display", 64, kD, 64, &M::refer_to_display, nullptr, nullptr},
    {"Refer-To parameter", 65, kP, 63, &M::refer_to, nullptr, nullptr},
    {"Refer-To URI", 66, kD, 66, &M::refer_to_uri, nullptr, nullptr},
    {"Allow-Events", 67, kI, 67, nullptr, &M::allow_events_head, &M::allow_events_count},
    {"Allow-Events item", 69, kIP, 67, nullptr, &M::allow_events_head, &M::allow_events_count},
    {"Subscription-State", 71, kD, 71, &M::subscription_state, nullptr, nullptr},
    {"Event", 74, kD, 74, &M::event, nullptr, nullptr},
    {"Referred-By", 76, kD, 76, &M::referred_by, nullptr, nullptr},
    {"Referred-By display", 77, kD, 77, &M::referred_by_display, nullptr, nullptr},
    {"Referred-By URI", 78, kD, 78, &M::referred_by_uri, nullptr, nullptr},
    {"Referred-By parameter", 79, kP, 76, &M::referred_by, nullptr, nullptr},
    {"Content-Type line", 84, kD, 84, &M::content_type_line, nullptr, nullptr},
    {"Content-Type", 85, kD, 85, &M::content_type, nullptr, nullptr},
    {"Content-Type parameter", 86, kP, 84, &M::content_type_line, nullptr, nullptr},
};

}  // namespace

std::span<const FieldRow> FieldRows() { return kRows; }

std::vector<std::uint32_t> IdsWithoutField() {
  std::vector<std::uint32_t> ids{255, 256, 257, 0x10001, 0xFFFFFFFF};
  for (std::uint32_t id = 0; id < 100; ++id) {
    if (std::ranges::none_of(kRows, [id](const FieldRow& row) { return row.id == id; })) ids.push_back(id);
  }
  return ids;
}

}  // namespace hark::test
