// What the SIP stack tells when it meets something that it did not expect: a line on standard output that
// names the source file and the line. Going on after such a report is the rule. Called by every module of the
// stack and of the session descriptions; the log of the daemon is another thing.
#pragma once

#include <cstdint>

namespace hark {

// A module's part of a location; the line number is in the low 16 bits.
enum class cpapp_module : std::uint32_t {
  cpdns = 0x10000,
  cpsdp = 0x20000,
  cpsip_msg = 0x30000,
  cpsip_service = 0x50000,
  cpsip_transaction = 0x60000,
  cpsip_transport = 0x70000,
  cpsip_ua = 0x80000,
  cpsip_osa = 0x90000,
  cprtp = 0xA0000,
  cpsip_ims = 0xB0000,
  cpstun = 0xC0000,
  cpsip_ua_receive = 0xD0000,
  cpsip_ua_send = 0xE0000,
  cpmsg = 0x100000,
  cpsip_enhanced = 0x200000,
  cpsip_notify = 0x300000,
  cpsip_security = 0x400000,
  cpsip_gips = 0x8000000,
  cpapp = 0x10000000,
};

// The location of the call: its module and its line.
[[nodiscard]] constexpr std::uint32_t cpapp_here(cpapp_module module, unsigned line = __builtin_LINE()) {
  return static_cast<std::uint32_t>(module) | (line & 0xFFFFU);
}

// Each prints "UXP: " or its like, with its values in hexadecimal, and then the location. They return what
// cpsip_log_uxp_location does, for callers that want a value to go on with.
int cpapp_uxp(std::uint32_t location);
int cpapp_uxp1(std::uint32_t location, std::uint32_t value);
int cpapp_uxp2(std::uint32_t location, std::uint32_t value1, std::uint32_t value2);

// Prints "file: %s line: %d\r\n". Returns the number of bytes printed.
int cpsip_log_uxp_location(std::uint32_t location);

// Reports, and ends the process with status 1: memory that ran out, and states that cannot be handled.
[[noreturn]] void cpapp_fatal_err(std::uint32_t location);

}  // namespace hark
