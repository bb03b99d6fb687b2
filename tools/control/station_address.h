// Where a station's control port is, as a person writes it: HOST, HOST:PORT or [V6]:PORT.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace hark::control {

inline constexpr std::uint16_t kControlPort = 4013;

struct HostPort {
  std::string host;  // without brackets
  std::uint16_t port = 0;
  bool operator==(const HostPort&) const = default;
};

// Reads `text`; without a port it is `default_port`. Nothing for an empty host, a port that is no number from
// `least_port` to 65535, or brackets that do not close.
[[nodiscard]] std::optional<HostPort> parse_host_port(std::string_view text, std::uint16_t default_port,
                                                      std::uint16_t least_port = 1);

// As parse_host_port reads it back.
[[nodiscard]] std::string to_text(const HostPort& address);

// Whether the host is this machine by its number or name: 127.0.0.0/8, ::1, localhost. Asks nobody.
[[nodiscard]] bool is_loopback(const std::string& host);

}  // namespace hark::control
