#include "tools/harkpanel/origin.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>

#include "base/text.h"
#include "tools/control/station_address.h"

namespace hark::panel_gateway {
namespace {

using control::HostPort;

constexpr std::uint16_t kHttpPort = 80;
constexpr std::uint16_t kHttpsPort = 443;

// A host and port as a header has them; names in lower case, since they are told apart without regard to it.
std::optional<HostPort> read_authority(std::string_view text, std::uint16_t default_port) {
  std::optional<HostPort> read = control::parse_host_port(text, default_port);
  if (read) std::transform(read->host.begin(), read->host.end(), read->host.begin(), ascii_lower);
  return read;
}

// Whether the page came from where it connects to: scheme "://" host [":" port] (RFC 6454 6.2). The port
// that a scheme stands for is left out in both headers, so that of the page's scheme holds for Host as well.
bool same_place(std::string_view origin, std::string_view host) {
  std::uint16_t port = 0;
  for (const auto& [scheme, its_port] : {std::pair{std::string_view("http://"), kHttpPort},
                                         std::pair{std::string_view("https://"), kHttpsPort}}) {
    if (!starts_with_nocase(origin, scheme)) continue;
    origin.remove_prefix(scheme.size());
    port = its_port;
    break;
  }
  if (port == 0) return false;  // "null", and pages that are no web pages
  const std::optional<HostPort> from = read_authority(origin, port);
  return from && from == read_authority(host, port);
}

}  // namespace

std::string_view upgrade_refusal(std::string_view origin, std::string_view host, bool token_wanted) {
  if (!origin.empty() && !same_place(origin, host)) return "this page was not loaded from this gateway";
  if (token_wanted) return {};
  const std::optional<HostPort> target = read_authority(host, kHttpPort);
  if (!target || !control::is_loopback(target->host)) {
    return "without a token a panel is reached by localhost or a loopback address only";
  }
  return {};
}

}  // namespace hark::panel_gateway
