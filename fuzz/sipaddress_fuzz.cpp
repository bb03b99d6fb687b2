// Addresses of the SIP stack. An input is a text; its first six bytes are an address and a port as well. What
// is read is what a plain reader finds in the parts between dots and colons; what is written reads back.
#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <string>

#include "cpsip/cpsip_address.h"
#include "support/fuzzing.h"

namespace {

using hark::cpsip_address_text;
using hark::kAddressTextSize;
using hark::fuzz::check;

// What is there before a text is read.
constexpr std::uint32_t kAddrBefore = 0xDEADBEEF;
constexpr std::uint16_t kPortBefore = 4711;

// The digits of a part as a number; none above `most`.
std::optional<std::uint32_t> number(std::string_view part, std::uint64_t most) {
  std::uint64_t value = 0;
  for (const char c : part) {
    if (c < '0' || c > '9') continue;
    value = value * 10 + static_cast<std::uint64_t>(c - '0');
    if (value > most) return std::nullopt;
  }
  return static_cast<std::uint32_t>(value);
}

struct Read {
  std::optional<std::uint32_t> addr;
  std::optional<std::uint32_t> port;
};

// Nothing for a text that is refused.
std::optional<Read> plain_read(std::string_view text) {
  Read read;
  const std::size_t colon = text.find(':');
  const std::string_view host = text.substr(0, colon);
  const bool dotted = colon != std::string_view::npos || host.find('.') != std::string_view::npos;
  const std::string_view port = colon != std::string_view::npos ? text.substr(colon + 1) : host;
  if (dotted) {
    const auto parts = std::count(host.begin(), host.end(), '.') + 1;
    if (parts > 4) return std::nullopt;
    read.addr = 0;
    std::size_t begin = 0;
    for (int part = 0; part != parts; ++part) {
      const std::size_t end = host.find('.', begin);
      const auto value = number(host.substr(begin, end - begin), 255);
      if (!value) return std::nullopt;
      *read.addr |= *value << (24 - 8 * part);
      begin = end + 1;
    }
    if (colon == std::string_view::npos) return read;
    if (port.find_first_of(".:") != std::string_view::npos) return std::nullopt;
  }
  read.port = number(port, 65535);
  if (!read.port) return std::nullopt;
  return read;
}

void write_and_read(std::uint32_t addr, std::uint16_t port) {
  const std::unique_ptr<char[]> out(new char[kAddressTextSize]);
  const std::size_t length = hark::IPToString({out.get(), kAddressTextSize}, addr, port);
  check(length < kAddressTextSize && out[length] == '\0', "a text with its end");
  const std::string_view text(out.get(), length);
  check(text.find('\0') == std::string_view::npos, "that ends there");
  check(text.empty() == (addr == 0), "no address is no text");
  if (addr == 0) return;
  std::uint32_t addr_again = kAddrBefore;
  std::uint16_t port_again = 0;
  check(hark::StringToIP(text, &addr_again, &port_again) == 1, "what is written can be read");
  check(addr_again == addr && port_again == port, "and is the same");
  if (port != 0) return;
  std::uint32_t network = 0;
  if (hark::Cpsip_SOC_StringToAddress(text, network) == 0)
    check(network == htonl(addr), "in the system's way too");
  else
    check(addr == 0xFFFFFFFF, "which takes all but one");
}

void read_own_way(std::string_view text) {
  std::uint32_t addr = kAddrBefore;
  std::uint16_t port = kPortBefore;
  const int result = hark::StringToIP(text, &addr, &port);
  check(hark::StringToIP(text, nullptr, nullptr) == result, "the same when nothing is wanted");
  const auto plain = plain_read(text);
  check(result == (plain ? 1 : 0), "an address or a port");
  check(addr == (plain ? plain->addr.value_or(kAddrBefore) : kAddrBefore), "the address");
  check(port == (plain ? plain->port.value_or(kPortBefore) : kPortBefore), "the port");
  if (plain) write_and_read(addr, port);
}

void read_systems_way(std::string_view text) {
  std::uint32_t addr = kAddrBefore;
  const int result = hark::Cpsip_SOC_StringToAddress(text, addr);
  in_addr system{};
  const bool good = inet_aton(std::string{text}.c_str(), &system) != 0 && system.s_addr != INADDR_NONE;
  check(result == (good ? 0 : -1), "an address");
  check(addr == (good ? system.s_addr : kAddrBefore), "is what the system reads");
  if (!good) return;
  cpsip_address_text out;
  check(hark::Cpsip_SOC_AddressToString(addr, out) == 0, "can be written");
  const std::string_view written = out.data();
  const std::unique_ptr<char[]> exact(new char[written.size() + 1]);
  check(hark::Cpsip_SOC_AddressToString(addr, {exact.get(), written.size() + 1}) == 0, "in its own room");
  check(hark::Cpsip_SOC_AddressToString(addr, {exact.get(), written.size()}) == -1, "and in no smaller one");
  std::uint32_t again = 0;
  check(hark::Cpsip_SOC_StringToAddress(written, again) == 0 && again == addr, "and reads back");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  hark::fuzz::mute_output();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // A copy of its exact size, without an end.
  const std::unique_ptr<char[]> bytes(new char[size]);
  std::copy_n(data, size, bytes.get());
  const std::string_view text(bytes.get(), size);
  read_own_way(text);
  read_systems_way(text);
  std::array<std::uint32_t, 6> raw{};
  std::copy_n(data, std::min(size, raw.size()), raw.begin());
  write_and_read(raw[0] << 24U | raw[1] << 16U | raw[2] << 8U | raw[3],
                 static_cast<std::uint16_t>(raw[4] << 8U | raw[5]));
  return 0;
}
