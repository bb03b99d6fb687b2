// The value of an `ifb` tag, which comes from files and from callers' URLs: an input is the value, the
// address that is to be written, and a raw value of a destination, cut by line feeds. What is cut reads back;
// a plain value is never refused; a port is set where the value says, over a connection that goes nowhere.
#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "support/fuzzing.h"
#include "support/ifb_rig.h"

namespace {

using hark::IfbAddress;
using hark::fuzz::check;
using hark::fuzz::ExactText;

constexpr int kPort = 127;
constexpr int kBadUrl = -3;
constexpr int kAddrTooLong = -2;

std::string text_of(const IfbAddress& address) {
  std::array<char, INET_ADDRSTRLEN> ip{};
  (void)::inet_ntop(AF_INET, &address.addr.sin_addr, ip.data(), ip.size());
  return (address.password.empty() ? "" : address.password + "@") + ip.data() + ":" +
         std::to_string(ntohs(address.addr.sin_port)) + "/" + std::to_string(address.dst);
}

bool equal(const IfbAddress& a, const IfbAddress& b) {
  return a.password == b.password && a.addr.sin_addr.s_addr == b.addr.sin_addr.s_addr &&
         a.addr.sin_port == b.addr.sin_port && a.dst == b.dst;
}

bool take(std::string_view& text, char c) {
  if (!text.starts_with(c)) return false;
  text.remove_prefix(1);
  return true;
}

// A decimal number of at most six digits, without a zero in front, taken off the start of `text`; -1 for
// none.
long take_plain(std::string_view& text) {
  constexpr std::size_t kMostDigits = 6;
  const std::size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
  if (digits == 0 || digits > kMostDigits || (digits > 1 && text[0] == '0')) return -1;
  const long number = std::stol(std::string(text.substr(0, digits)));
  text.remove_prefix(digits);
  return number;
}

enum class Plain { kNo, kGood, kBad };

// Whether the value is one that anybody would write, "a.b.c.d/n" or "a.b.c.d:port/n" in decimal, and then
// whether its numbers are ones of an address, a port and a destination.
Plain plain(std::string_view text) {
  bool good = true;
  for (int part = 0; part < 4; ++part) {
    if (part > 0 && !take(text, '.')) return Plain::kNo;
    const long number = take_plain(text);
    if (number < 0) return Plain::kNo;
    good = good && number <= 255;
  }
  if (take(text, ':')) {
    const long port = take_plain(text);
    if (port < 0) return Plain::kNo;
    good = good && port <= 65536;
  }
  const bool is_whole = take(text, '/');
  const long destination = take_plain(text);
  if (!is_whole || destination < 0 || !text.empty()) return Plain::kNo;
  return good && destination > 0 ? Plain::kGood : Plain::kBad;
}

int parse(const ExactText& value, IfbAddress& address) {
  const int result = hark::parse_daddr(value.c_str(), address);
  check((result >= 0 && result <= 6) || result == 10, "what is wrong has a number");
  const Plain form = plain(value.c_str());
  check(form != Plain::kGood || result == 0, "a plain value is taken");
  check(form != Plain::kBad || result != 0, "a number that is too large is refused");
  if (result != 0) return result;
  check(address.password.size() < hark::kIfbPasswordSize, "a password has 8 characters at most");
  check(address.addr.sin_family == AF_INET && address.dst != 0, "a destination is an address and a number");
  const ExactText again(text_of(address));
  IfbAddress same;
  check(hark::parse_daddr(again.c_str(), same) == 0 && equal(address, same), "what was cut reads back");
  return 0;
}

void set(const ExactText& value, const ExactText& addr, int parsed, const IfbAddress& address) {
  if (parsed == 0) hark::fuzz::open_ifb_connection(address);
  const int result = hark::qnrifb_set(kPort, value.c_str(), addr.c_str());
  const hark::qnrifb_port& port = hark::qnrifb_ports[kPort];
  if (value.size() == 0 || addr.size() == 0) {
    check(result == 0 && port.conn == nullptr, "an empty text only clears");
  } else if (addr.size() > hark::kIfbAddrSize) {
    check(result == kAddrTooLong && port.conn == nullptr, "a long address is refused");
  } else if (parsed != 0) {
    check(result == kBadUrl && port.conn == nullptr, "a value that cannot be read is refused");
  } else {
    check(result == 0 && port.conn == &hark::qnrifb_cons.front() && hark::qnrifb_cons.size() == 1,
          "a port goes by the connection that there is");
    check(port.dst == address.dst && !port.original && !port.conflict, "a port that is set is a new one");
    const std::string tagged = std::string(addr.c_str()) + " <^PTT>";
    check(port.addr == tagged.substr(0, hark::kIfbAddrSize - 1), "the address is tagged, and cut");
    const bool is_word = std::string_view(addr.c_str()).find_first_of(" \"") == std::string_view::npos;
    const bool is_whole = port.addr == tagged;
    check(hark::qnrifb_check_ptt_tag(("\"" + port.addr + "\"").c_str()) || !is_word || !is_whole,
          "our own address carries the tag");
    check(hark::fuzz::ifb_requests(*port.conn, 0).empty() && port.conn->tx_wr == 4,
          "a port that is set asks first");
  }
  hark::fuzz::check_ifb_links();
  hark::fuzz::reset_ifb();
}

// The second word of the text in quotes is the tag, with or without its bracket, and ends there.
bool has_tag(std::string_view value) {
  if (!take(value, '"')) return false;
  const std::size_t word = value.find_first_of(" \"");
  if (word == std::string_view::npos || value[word] == '"') return false;
  value.remove_prefix(word + 1);
  (void)take(value, '<');
  if (!value.starts_with("^PTT") || value.size() < 5) return false;
  return std::string_view("\";>").find(value[4]) != std::string_view::npos;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  hark::fuzz::mute_output();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto parts = hark::fuzz::split(hark::fuzz::as_text(data, size), "\n", 3);
  const ExactText value(parts[0]);
  const ExactText addr(parts.size() > 1 ? parts[1] : "");
  const ExactText carried(parts.size() > 2 ? parts[2] : "");
  IfbAddress address;
  const int parsed = parse(value, address);
  set(value, addr, parsed, address);
  for (const ExactText* text : {&value, &addr, &carried})
    check(hark::qnrifb_check_ptt_tag(text->c_str()) == has_tag(text->c_str()), "the tag is seen where it is");
  return 0;
}
