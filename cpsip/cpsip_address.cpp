#include "cpsip/cpsip_address.h"

#include <arpa/inet.h>

#include <charconv>
#include <string>

namespace hark {
namespace {

constexpr std::uint32_t kMaxPart = 255;
constexpr std::uint32_t kMaxPort = 65535;
constexpr unsigned kParts = 4;

std::size_t decimal(std::span<char> out, std::uint32_t value) {
  char* const end = std::to_chars(out.data(), out.data() + out.size() - 1, value).ptr;
  *end = '\0';
  return static_cast<std::size_t>(end - out.data());
}

// Reads what StringToIP takes, character by character.
class Reader {
 public:
  // False for what is neither an address nor a port.
  bool take(char c) {
    if (c == '.') return !in_port_ && end_part() && parts_ < kParts;
    if (c == ':') {
      if (in_port_ || !end_part()) return false;
      in_port_ = true;
    } else if (c >= '0' && c <= '9') {
      number_ = number_ * 10 + static_cast<std::uint32_t>(c - '0');
      if (number_ > kMaxPort) number_ = kMaxPort + 1;  // too large is enough to know
    }
    return true;
  }
  // Behind the last character.
  bool finish() {
    if (!in_port_ && parts_ != 0) return end_part();
    in_port_ = true;
    return number_ <= kMaxPort;
  }

  [[nodiscard]] bool has_address() const { return parts_ != 0; }
  [[nodiscard]] bool has_port() const { return in_port_; }
  // Parts that were not told are 0.
  [[nodiscard]] std::uint32_t address() const { return address_; }
  [[nodiscard]] std::uint16_t port() const { return static_cast<std::uint16_t>(number_); }

 private:
  bool end_part() {
    if (number_ > kMaxPart) return false;
    ++parts_;
    address_ |= number_ << (8 * (kParts - parts_));
    number_ = 0;
    return true;
  }

  std::uint32_t number_ = 0;   // the digits at hand
  std::uint32_t address_ = 0;  // of the parts that have ended
  unsigned parts_ = 0;         // that have ended, kParts at most
  bool in_port_ = false;
};

}  // namespace

int Cpsip_SOC_StringToAddress(std::string_view text, std::uint32_t& addr) {
  const in_addr_t read = inet_addr(std::string{text}.c_str());
  if (read == INADDR_NONE) return -1;
  addr = read;
  return 0;
}

int Cpsip_SOC_AddressToString(std::uint32_t addr, std::span<char> text) {
  const in_addr from{.s_addr = addr};
  const auto room = static_cast<socklen_t>(text.size());
  return inet_ntop(AF_INET, &from, text.data(), room) != nullptr ? 0 : -1;
}

std::size_t ByteToAscii(std::span<char> out, std::uint8_t b) { return decimal(out, b); }

std::size_t WordToAscii(std::span<char> out, std::uint16_t w) { return decimal(out, w); }

std::size_t IPToString(std::span<char> out, std::uint32_t addr, std::uint16_t port) {
  out[0] = '\0';
  if (addr == 0) return 0;
  std::size_t length = 0;
  for (unsigned part = 0; part != kParts; ++part) {
    if (part != 0) out[length++] = '.';
    length += ByteToAscii(out.subspan(length), static_cast<std::uint8_t>(addr >> (8 * (kParts - 1 - part))));
  }
  if (port == 0) return length;
  out[length++] = ':';
  return length + WordToAscii(out.subspan(length), port);
}

int StringToIP(std::string_view text, std::uint32_t* addr, std::uint16_t* port) {
  Reader reader;
  for (const char c : text) {
    if (!reader.take(c)) return 0;
  }
  if (!reader.finish()) return 0;
  if (addr != nullptr && reader.has_address()) *addr = reader.address();
  if (port != nullptr && reader.has_port()) *port = reader.port();
  return 1;
}

}  // namespace hark
