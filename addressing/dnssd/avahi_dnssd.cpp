// The nine functions of dns_sd.h that the discovery module calls, over libavahi-client. As dns_sd.h tells
// them, but for this: all references share one descriptor, and DNSServiceProcessResult never waits, so that a
// loop may call it for every reference whose descriptor is ready. When the daemon is lost the descriptor
// stays readable, and DNSServiceProcessResult returns kDnssdServiceNotRunning for every reference.
#include <dbus/dbus.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "addressing/dnssd/avahi_refs.h"
#include "addressing/dnssd/dnssd.h"

struct _DNSServiceRef_t {
  std::unique_ptr<hark::AvahiRef> ref;
};

namespace {

using namespace hark;

// The text with a "?" for each byte that is no part of a UTF-8 character. D-Bus takes UTF-8 alone (as RFC
// 6763 section 4.1.1 wants of a name), and libdbus ends a process that gives it anything else; a label that
// was cut at ten bytes may end inside a character.
std::string utf8_text(std::string_view text) {
  constexpr std::size_t kLongestCharacter = 4;
  const auto is_valid = [](const std::string& part) {
    return dbus_validate_utf8(part.c_str(), nullptr) != 0;
  };
  std::string valid;
  while (!text.empty()) {
    std::string character(1, text.front());
    while (!is_valid(character) && character.size() < std::min(kLongestCharacter, text.size()))
      character = text.substr(0, character.size() + 1);
    if (!is_valid(character)) character = "?";
    text.remove_prefix(character.size());
    valid += character;
  }
  return valid;
}

std::string utf8_or_empty(const char* text) { return utf8_text(text != nullptr ? text : ""); }

std::string without_dot(const char* name) {
  std::string text = utf8_or_empty(name);
  if (text.ends_with('.')) text.pop_back();
  return text;
}

// A service name that may be changed, as long as it may be at most; no character is cut in two.
std::string fitting_name(std::string name) {
  constexpr std::size_t kLongestName = 63;
  if (name.size() <= kLongestName) return name;
  std::size_t length = kLongestName;
  while ((static_cast<unsigned char>(name[length]) & 0xC0U) == 0x80U)
    --length;
  name.resize(length);
  return name;
}

// Makes a reference of the kind, lets `prepare` fill it, and starts it. `out` is set on success alone.
template <typename Kind, typename Callback, typename Prepare>
DNSServiceErrorType make(DNSServiceRef* out, DnssdCall call, Callback callback, Prepare prepare) {
  if (out == nullptr) return kDNSServiceErr_BadParam;
  std::shared_ptr<AvahiConnection> connection = AvahiConnection::get();
  if (!connection) return kDnssdServiceNotRunning;
  auto record = std::make_unique<_DNSServiceRef_t>();
  call.ref = record.get();
  auto kind = std::make_unique<Kind>(std::move(connection), std::move(call), callback);
  DNSServiceErrorType error = prepare(*kind);
  if (error == kDNSServiceErr_NoError) error = kind->start();
  if (error != kDNSServiceErr_NoError) return error;
  record->ref = std::move(kind);
  *out = record.release();
  return kDNSServiceErr_NoError;
}

constexpr auto nothing_to_prepare = [](auto& /*kind*/) { return kDNSServiceErr_NoError; };

// "avahi 0.8" as 800: major times 10000, minor times 100.
std::uint32_t version_number(const char* text) {
  unsigned major = 0;
  unsigned minor = 0;
  if (text == nullptr || std::sscanf(text, "%*[^0-9]%u.%u", &major, &minor) < 1) return 0;
  return major * 10000 + minor * 100;
}

}  // namespace

DNSServiceErrorType DNSSD_API DNSServiceRegister(DNSServiceRef* out, DNSServiceFlags flags,
                                                 uint32_t interface_index, const char* name, const char* type,
                                                 const char* domain, const char* host, uint16_t port,
                                                 uint16_t txt_length, const void* txt,
                                                 DNSServiceRegisterReply callback, void* context) {
  std::string own_name = utf8_or_empty(name);
  if ((flags & kDNSServiceFlagsNoAutoRename) == 0) own_name = fitting_name(std::move(own_name));
  DnssdCall call{nullptr, flags, interface_index, std::move(own_name), without_dot(type), without_dot(domain),
                 context};
  return make<Registration>(out, std::move(call), callback, [&](Registration& registration) {
    registration.set_target(without_dot(host), port);
    return registration.set_txt(txt, txt_length);
  });
}

DNSServiceErrorType DNSSD_API DNSServiceBrowse(DNSServiceRef* out, DNSServiceFlags flags,
                                               uint32_t interface_index, const char* type, const char* domain,
                                               DNSServiceBrowseReply callback, void* context) {
  if (callback == nullptr) return kDNSServiceErr_BadParam;
  DnssdCall call{nullptr, flags, interface_index, {}, without_dot(type), without_dot(domain), context};
  return make<Browse>(out, std::move(call), callback, nothing_to_prepare);
}

DNSServiceErrorType DNSSD_API DNSServiceResolve(DNSServiceRef* out, DNSServiceFlags flags,
                                                uint32_t interface_index, const char* name, const char* type,
                                                const char* domain, DNSServiceResolveReply callback,
                                                void* context) {
  if (callback == nullptr || name == nullptr) return kDNSServiceErr_BadParam;
  DnssdCall call{nullptr, flags, interface_index, utf8_text(name), without_dot(type), without_dot(domain),
                 context};
  return make<Resolve>(out, std::move(call), callback, nothing_to_prepare);
}

DNSServiceErrorType DNSSD_API DNSServiceQueryRecord(DNSServiceRef* out, DNSServiceFlags flags,
                                                    uint32_t interface_index, const char* full_name,
                                                    uint16_t record_type, uint16_t record_class,
                                                    DNSServiceQueryRecordReply callback, void* context) {
  if (callback == nullptr || full_name == nullptr) return kDNSServiceErr_BadParam;
  DnssdCall call{nullptr, flags, interface_index, without_dot(full_name), {}, {}, context};
  return make<Query>(out, std::move(call), callback, [&](Query& query) {
    query.set_record(record_type, record_class);
    return kDNSServiceErr_NoError;
  });
}

DNSServiceErrorType DNSSD_API DNSServiceUpdateRecord(DNSServiceRef ref, DNSRecordRef record,
                                                     DNSServiceFlags /*flags*/, uint16_t length,
                                                     const void* data, uint32_t /*ttl*/) {
  // Of a registration's records only its TXT record can change, which is the one without a name.
  if (ref == nullptr || record != nullptr) return kDNSServiceErr_BadReference;
  return ref->ref->update_txt(data, length);
}

int DNSSD_API DNSServiceRefSockFD(DNSServiceRef ref) {
  return ref != nullptr ? ref->ref->connection().fd() : -1;
}

DNSServiceErrorType DNSSD_API DNSServiceProcessResult(DNSServiceRef ref) {
  if (ref == nullptr) return kDNSServiceErr_BadReference;
  // A callback may deallocate the reference: nothing of it is used behind that.
  const std::shared_ptr<AvahiConnection> connection = ref->ref->shared_connection();
  const std::shared_ptr<ReplyQueue> queue = ref->ref->queue();
  connection->run();
  queue->deliver();
  return connection->is_lost() ? kDnssdServiceNotRunning : kDNSServiceErr_NoError;
}

void DNSSD_API DNSServiceRefDeallocate(DNSServiceRef ref) { delete ref; }

DNSServiceErrorType DNSSD_API DNSServiceGetProperty(const char* property, void* result, uint32_t* size) {
  std::uint32_t version = 0;
  if (property == nullptr || std::string_view(property) != kDnssdDaemonVersion)
    return kDNSServiceErr_Unsupported;
  if (result == nullptr || size == nullptr || *size < sizeof version) return kDNSServiceErr_BadParam;
  const std::shared_ptr<AvahiConnection> connection = AvahiConnection::get();
  if (!connection) return kDnssdServiceNotRunning;
  connection->run();
  const char* text =
      connection->client() != nullptr ? avahi_client_get_version_string(connection->client()) : nullptr;
  if (text == nullptr) return connection->take_error();
  version = version_number(text);
  std::copy_n(reinterpret_cast<const char*>(&version), sizeof version, static_cast<char*>(result));
  *size = sizeof version;
  return kDNSServiceErr_NoError;
}
