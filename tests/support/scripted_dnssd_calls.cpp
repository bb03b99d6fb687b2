// The functions of the DNS-SD library under their own names: each tells the script what it was called with.
#include <cstdio>
#include <string>

#include "support/scripted_dnssd.h"

namespace hark {
namespace {

std::string text_of(const char* text) { return text != nullptr ? text : ""; }

std::string hex_of(const void* data, std::size_t size) {
  std::string hex;
  const auto* bytes = static_cast<const unsigned char*>(data);
  for (std::size_t i = 0; i < size; ++i) {
    char digits[3];
    (void)std::snprintf(digits, sizeof digits, "%02x", bytes[i]);
    hex += digits;
  }
  return hex;
}

std::string flags_of(DNSServiceFlags flags) { return flags != 0 ? " flags=" + std::to_string(flags) : ""; }

std::string interface_of(std::uint32_t interface) { return " if=" + std::to_string(interface); }

}  // namespace
}  // namespace hark

using hark::DnssdKind;
using hark::flags_of;
using hark::hex_of;
using hark::interface_of;
using hark::scripted_dnssd;
using hark::text_of;

extern "C" {

DNSServiceErrorType DNSSD_API DNSServiceRegister(DNSServiceRef* ref, DNSServiceFlags flags,
                                                 uint32_t interface, const char* name, const char* type,
                                                 const char* domain, const char* host, uint16_t port,
                                                 uint16_t txt_len, const void* txt,
                                                 DNSServiceRegisterReply callback, void* context) {
  return scripted_dnssd.Begin(DnssdKind::kRegister,
                              "register" + flags_of(flags) + interface_of(interface) +
                                  " name=" + text_of(name) + " type=" + text_of(type) +
                                  " domain=" + text_of(domain) + " host=" + text_of(host) +
                                  " port=" + hex_of(&port, sizeof port) + " txt=" + hex_of(txt, txt_len),
                              ref, {.on_register = callback, .context = context});
}

DNSServiceErrorType DNSSD_API DNSServiceBrowse(DNSServiceRef* ref, DNSServiceFlags flags, uint32_t interface,
                                               const char* type, const char* domain,
                                               DNSServiceBrowseReply callback, void* context) {
  return scripted_dnssd.Begin(DnssdKind::kBrowse,
                              "browse" + flags_of(flags) + interface_of(interface) +
                                  " type=" + text_of(type) + " domain=" + text_of(domain),
                              ref, {.on_browse = callback, .context = context});
}

DNSServiceErrorType DNSSD_API DNSServiceResolve(DNSServiceRef* ref, DNSServiceFlags flags, uint32_t interface,
                                                const char* name, const char* type, const char* domain,
                                                DNSServiceResolveReply callback, void* context) {
  return scripted_dnssd.Begin(DnssdKind::kResolve,
                              "resolve" + flags_of(flags) + interface_of(interface) + " name=" +
                                  text_of(name) + " type=" + text_of(type) + " domain=" + text_of(domain),
                              ref, {.on_resolve = callback, .context = context});
}

DNSServiceErrorType DNSSD_API DNSServiceQueryRecord(DNSServiceRef* ref, DNSServiceFlags flags,
                                                    uint32_t interface, const char* full_name, uint16_t type,
                                                    uint16_t record_class,
                                                    DNSServiceQueryRecordReply callback, void* context) {
  return scripted_dnssd.Begin(DnssdKind::kQuery,
                              "query" + flags_of(flags) + interface_of(interface) +
                                  " name=" + text_of(full_name) + " type=" + std::to_string(type) +
                                  " class=" + std::to_string(record_class),
                              ref, {.on_query = callback, .context = context});
}

DNSServiceErrorType DNSSD_API DNSServiceUpdateRecord(DNSServiceRef ref, DNSRecordRef record,
                                                     DNSServiceFlags flags, uint16_t size, const void* data,
                                                     uint32_t ttl) {
  return scripted_dnssd.Update(ref, flags_of(flags) + " record=" + (record == nullptr ? "default" : "other") +
                                        " txt=" + hex_of(data, size) + " ttl=" + std::to_string(ttl));
}

int DNSSD_API DNSServiceRefSockFD(DNSServiceRef ref) { return scripted_dnssd.Descriptor(ref); }

DNSServiceErrorType DNSSD_API DNSServiceProcessResult(DNSServiceRef ref) {
  return scripted_dnssd.Process(ref);
}

void DNSSD_API DNSServiceRefDeallocate(DNSServiceRef ref) { scripted_dnssd.Release(ref); }

DNSServiceErrorType DNSSD_API DNSServiceGetProperty(const char* property, void* result, uint32_t* size) {
  const DNSServiceErrorType error = scripted_dnssd.Property(text_of(property));
  if (error == 0 && result != nullptr && size != nullptr && *size >= sizeof(uint32_t)) {
    *static_cast<uint32_t*>(result) = 1;
    *size = sizeof(uint32_t);
  }
  return error;
}

}  // extern "C"
