#include "cpsip/cpapp.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>

namespace hark {
namespace {

struct Row {
  cpapp_module module;
  const char* text;
};

// Module, and the name that is printed for it.
constexpr std::array<Row, 19> kModules{{
    {cpapp_module::cpdns, "cpdns"},
    {cpapp_module::cpsdp, "cpsdp"},
    {cpapp_module::cpsip_msg, "cpsip_msg"},
    {cpapp_module::cpsip_service, "cpsip_service"},
    {cpapp_module::cpsip_transaction, "cpsip_transaction"},
    {cpapp_module::cpsip_transport, "cpsip_transport"},
    {cpapp_module::cpsip_ua, "cpsip_ua"},
    {cpapp_module::cpsip_osa, "cpsip_osa"},
    {cpapp_module::cprtp, "cprtp"},
    {cpapp_module::cpsip_ims, "cpsip_ims"},
    {cpapp_module::cpstun, "cpstun"},
    {cpapp_module::cpsip_ua_receive, "cpsip_ua_receive"},
    {cpapp_module::cpsip_ua_send, "cpsip_ua_send"},
    {cpapp_module::cpmsg, "cpmsg"},
    {cpapp_module::cpsip_enhanced, "cpsip_enhanced"},
    {cpapp_module::cpsip_notify, "cpsip_notify"},
    {cpapp_module::cpsip_security, "cpsip_security"},
    {cpapp_module::cpsip_gips, "cpsip_gips"},
    {cpapp_module::cpapp, "cpapp"},
}};

constexpr std::uint32_t kLineMask = 0xFFFF;

const char* module_text(std::uint32_t location) {
  const auto row = std::find_if(kModules.begin(), kModules.end(), [&](const Row& one) {
    return static_cast<std::uint32_t>(one.module) == (location & ~kLineMask);
  });
  return row != kModules.end() ? row->text : "UNKNOWN FILE";
}

}  // namespace

int cpapp_uxp(std::uint32_t location) {
  (void)std::printf("UXP: ");
  return cpsip_log_uxp_location(location);
}

int cpapp_uxp1(std::uint32_t location, std::uint32_t value) {
  (void)std::printf("UXP1: 0x%" PRIx32 ": ", value);
  return cpsip_log_uxp_location(location);
}

int cpapp_uxp2(std::uint32_t location, std::uint32_t value1, std::uint32_t value2) {
  (void)std::printf("UXP2: 0x%" PRIx32 " 0x%" PRIx32 ": ", value1, value2);
  return cpsip_log_uxp_location(location);
}

int cpsip_log_uxp_location(std::uint32_t location) {
  return std::printf("file: %s line: %d\r\n", module_text(location), static_cast<int>(location & kLineMask));
}

void cpapp_fatal_err(std::uint32_t location) {
  (void)std::printf("!!!FATAL ERR: ");
  (void)cpsip_log_uxp_location(location);
  std::exit(1);
}

}  // namespace hark
