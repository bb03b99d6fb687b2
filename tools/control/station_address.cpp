#include "tools/control/station_address.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>
#include <charconv>

#include "base/text.h"

namespace hark::control {
namespace {

bool is_host(std::string_view host) {
  const auto is_odd = [](char c) {
    return static_cast<unsigned char>(c) <= ' ' || c == '\x7F' || c == '[' || c == ']';
  };
  return !host.empty() && std::none_of(host.begin(), host.end(), is_odd);
}

std::optional<std::uint16_t> read_port(std::string_view digits, std::uint16_t least) {
  std::uint16_t port = 0;
  const char* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, port);
  if (error != std::errc() || stop != end || port < least) return std::nullopt;
  return port;
}

bool is_ipv6(std::string_view text) {
  in6_addr address{};
  return inet_pton(AF_INET6, std::string(text).c_str(), &address) == 1;
}

}  // namespace

std::optional<HostPort> parse_host_port(std::string_view text, std::uint16_t default_port,
                                        std::uint16_t least_port) {
  std::string_view host = text;
  std::string_view rest;
  if (text.starts_with('[')) {
    const auto close = text.find(']');
    if (close == std::string_view::npos) return std::nullopt;
    host = text.substr(1, close - 1);
    rest = text.substr(close + 1);
  } else if (!is_ipv6(text)) {  // a bare IPv6 address has colons of its own, and no port
    host = text.substr(0, text.find(':'));
    rest = text.substr(host.size());
  }
  if (!is_host(host) || (!rest.empty() && rest.front() != ':')) return std::nullopt;
  if (rest.empty()) return HostPort{std::string(host), default_port};
  const std::optional<std::uint16_t> port = read_port(rest.substr(1), least_port);
  if (!port) return std::nullopt;
  return HostPort{std::string(host), *port};
}

std::string to_text(const HostPort& address) {
  const bool brackets = address.host.find(':') != std::string::npos;
  return (brackets ? "[" + address.host + "]" : address.host) + ":" + std::to_string(address.port);
}

bool is_loopback(const std::string& host) {
  constexpr std::uint32_t kLoopbackNet = 127;  // the first byte of 127.0.0.0/8
  in_addr v4{};
  if (inet_pton(AF_INET, host.c_str(), &v4) == 1) return ntohl(v4.s_addr) >> 24 == kLoopbackNet;
  in6_addr v6{};
  if (inet_pton(AF_INET6, host.c_str(), &v6) == 1) return IN6_IS_ADDR_LOOPBACK(&v6);
  return equal_nocase(host.c_str(), "localhost");
}

}  // namespace hark::control
