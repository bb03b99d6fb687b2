#include "addressing/dnssd/avahi_refs.h"

#include <arpa/inet.h>
#include <avahi-common/alternative.h>
#include <avahi-common/domain.h>
#include <avahi-common/error.h>
#include <avahi-common/malloc.h>

#include <array>
#include <vector>

namespace hark {
namespace {

// Time to live that a reply names where the daemon tells none: what RFC 6762 section 10 gives host records.
constexpr std::uint32_t kTtlSeconds = 120;
constexpr int kMostRenames = 100;

// kDNSServiceInterfaceIndexLocalOnly would come out as AVAHI_IF_UNSPEC, all interfaces, which is its
// opposite.
AvahiIfIndex avahi_interface(std::uint32_t index) {
  constexpr AvahiIfIndex kNone = -2;
  if (index == 0) return AVAHI_IF_UNSPEC;
  return index <= INT32_MAX ? static_cast<AvahiIfIndex>(index) : kNone;
}

std::string with_dot(const char* name) { return std::string(name) + "."; }

const char* or_null(const std::string& text) { return text.empty() ? nullptr : text.c_str(); }

// The service's full name with its escapes, dot at the end; empty when it is none.
std::string full_name(const char* name, const char* type, const char* domain) {
  std::array<char, AVAHI_DOMAIN_NAME_MAX> text{};
  if (avahi_service_name_join(text.data(), text.size(), name, type, domain) < 0) return {};
  return with_dot(text.data());
}

}  // namespace

// --- Registration ---

Registration::~Registration() { give_back(group_, avahi_entry_group_free); }

DNSServiceErrorType Registration::set_txt(const void* txt, std::uint16_t length) {
  AvahiStringList* list = nullptr;
  if (length > 0 && (txt == nullptr || avahi_string_list_parse(txt, length, &list) < 0))
    return kDNSServiceErr_BadParam;
  // In the library's order, last item first, in which it takes a list as well.
  txt_.reset(list);
  return kDNSServiceErr_NoError;
}

DNSServiceErrorType Registration::start() {
  if (call_.name.empty()) {
    const char* host = avahi_client_get_host_name(connection().client());
    if (host == nullptr) return connection().take_error();
    call_.name = host;
  }
  if (!connection().is_running()) return kDNSServiceErr_NoError;
  const DNSServiceErrorType error = publish();
  if (error != kDNSServiceErr_NameConflict) return error;
  tell(error);
  return kDNSServiceErr_NoError;
}

void Registration::host_ready(bool ready) {
  if (ready) {
    if (const DNSServiceErrorType error = publish(); error != kDNSServiceErr_NoError) tell(error);
  } else if (group_ != nullptr && connection().client() != nullptr && avahi_entry_group_reset(group_) < 0) {
    (void)connection().take_error();
  }
}

int Registration::add_service() {
  return avahi_entry_group_add_service_strlst(
      group_, avahi_interface(call_.interface_index), AVAHI_PROTO_UNSPEC, AvahiPublishFlags{},
      call_.name.c_str(), call_.type.c_str(), domain(), or_null(host_), ntohs(port_), txt_.get());
}

DNSServiceErrorType Registration::publish() {
  AvahiClient* client = connection().client();
  if (client == nullptr) return kDnssdServiceNotRunning;
  if (group_ == nullptr) group_ = avahi_entry_group_new(client, on_group, this);
  if (group_ == nullptr) return connection().take_error();
  if (const int empty = avahi_entry_group_is_empty(group_); empty <= 0)
    return empty < 0 ? connection().take_error() : kDNSServiceErr_NoError;
  int result = add_service();
  for (int i = 0; result == AVAHI_ERR_COLLISION && i < kMostRenames; ++i) {
    if ((call_.flags & kDNSServiceFlagsNoAutoRename) != 0) break;
    name_taken();
    result = add_service();
  }
  if (result >= 0) result = avahi_entry_group_commit(group_);
  return result < 0 ? connection().take_error() : kDNSServiceErr_NoError;
}

// Another one has the name: the next free one is taken, "Name #2".
void Registration::name_taken() {
  const std::unique_ptr<char, decltype(&avahi_free)> other(avahi_alternative_service_name(call_.name.c_str()),
                                                           avahi_free);
  if (other) call_.name = other.get();
}

void Registration::on_group(AvahiEntryGroup* group, AvahiEntryGroupState state, void* self) {
  auto& registration = *static_cast<Registration*>(self);
  registration.group_ = group;
  if (state == AVAHI_ENTRY_GROUP_ESTABLISHED) {
    registration.tell(kDNSServiceErr_NoError);
  } else if (state == AVAHI_ENTRY_GROUP_FAILURE) {
    registration.tell(registration.connection().take_error());
  } else if (state == AVAHI_ENTRY_GROUP_COLLISION) {
    if ((registration.call_.flags & kDNSServiceFlagsNoAutoRename) != 0) {
      registration.tell(kDNSServiceErr_NameConflict);
      return;
    }
    registration.name_taken();
    if (avahi_entry_group_reset(group) < 0) (void)registration.connection().take_error();
    if (const DNSServiceErrorType error = registration.publish(); error != kDNSServiceErr_NoError)
      registration.tell(error);
  }
}

void Registration::tell(DNSServiceErrorType error) {
  if (callback_ == nullptr) return;
  const std::string domain = call_.domain.empty() ? "local." : with_dot(call_.domain.c_str());
  reply([callback = callback_, call = call_, domain, error] {
    callback(call.ref, kDNSServiceFlagsAdd, error, call.name.c_str(), with_dot(call.type.c_str()).c_str(),
             domain.c_str(), call.context);
  });
}

DNSServiceErrorType Registration::update_txt(const void* txt, std::uint16_t length) {
  if (const DNSServiceErrorType error = set_txt(txt, length); error != kDNSServiceErr_NoError) return error;
  if (connection().client() == nullptr) return kDnssdServiceNotRunning;
  // What is not out yet goes out with it.
  if (group_ == nullptr) return kDNSServiceErr_NoError;
  if (const int empty = avahi_entry_group_is_empty(group_); empty != 0)
    return empty < 0 ? connection().take_error() : kDNSServiceErr_NoError;
  const int result = avahi_entry_group_update_service_txt_strlst(
      group_, avahi_interface(call_.interface_index), AVAHI_PROTO_UNSPEC, AvahiPublishFlags{},
      call_.name.c_str(), call_.type.c_str(), domain(), txt_.get());
  return result < 0 ? connection().take_error() : kDNSServiceErr_NoError;
}

// --- Browse ---

DNSServiceErrorType Browse::start() {
  browser_ = avahi_service_browser_new(connection().client(), avahi_interface(call_.interface_index),
                                       AVAHI_PROTO_UNSPEC, call_.type.c_str(), or_null(call_.domain),
                                       AvahiLookupFlags{}, on_event, this);
  return browser_ == nullptr ? connection().take_error() : kDNSServiceErr_NoError;
}

void Browse::tell(DNSServiceFlags flags, DNSServiceErrorType error, const Instance& instance) {
  reply([callback = callback_, call = call_, flags, error, instance] {
    const auto& [interface_index, name, type, domain] = instance;
    callback(call.ref, flags, static_cast<std::uint32_t>(interface_index), error, name.c_str(), type.c_str(),
             domain.c_str(), call.context);
  });
}

void Browse::on_event(AvahiServiceBrowser* /*browser*/, AvahiIfIndex interface_index,
                      AvahiProtocol /*protocol*/, AvahiBrowserEvent event, const char* name, const char* type,
                      const char* domain, AvahiLookupResultFlags /*flags*/, void* self) {
  auto& browse = *static_cast<Browse*>(self);
  if (event == AVAHI_BROWSER_FAILURE) {
    browse.tell(0, browse.connection().take_error(), {});
    return;
  }
  if (name == nullptr || type == nullptr || domain == nullptr) return;
  const Instance instance{interface_index, name, with_dot(type), with_dot(domain)};
  // The daemon tells of IPv4 and IPv6 apart; to the caller there is one instance on each interface.
  if (event == AVAHI_BROWSER_NEW) {
    if (++browse.seen_[instance] == 1) browse.tell(kDNSServiceFlagsAdd, kDNSServiceErr_NoError, instance);
  } else if (event == AVAHI_BROWSER_REMOVE) {
    const auto seen = browse.seen_.find(instance);
    if (seen == browse.seen_.end() || --seen->second > 0) return;
    browse.seen_.erase(seen);
    browse.tell(0, kDNSServiceErr_NoError, instance);
  }
}

// --- Resolve ---

DNSServiceErrorType Resolve::start() {
  resolver_ = avahi_service_resolver_new(
      connection().client(), avahi_interface(call_.interface_index), AVAHI_PROTO_UNSPEC, call_.name.c_str(),
      call_.type.c_str(), or_null(call_.domain), AVAHI_PROTO_UNSPEC, AVAHI_LOOKUP_NO_ADDRESS, on_event, this);
  return resolver_ == nullptr ? connection().take_error() : kDNSServiceErr_NoError;
}

void Resolve::on_event(AvahiServiceResolver* /*resolver*/, AvahiIfIndex interface_index,
                       AvahiProtocol /*protocol*/, AvahiResolverEvent event, const char* name,
                       const char* type, const char* domain, const char* host,
                       const AvahiAddress* /*address*/, std::uint16_t port, AvahiStringList* txt,
                       AvahiLookupResultFlags /*flags*/, void* self) {
  auto& resolve = *static_cast<Resolve*>(self);
  // A failure is a service that did not answer in time. The daemon goes on asking, as a resolve does until it
  // is ended.
  if (event != AVAHI_RESOLVER_FOUND || host == nullptr) return;
  // The daemon hands the items over from the last to the first.
  const StringList items(avahi_string_list_reverse(avahi_string_list_copy(txt)));
  std::vector<unsigned char> data(avahi_string_list_serialize(items.get(), nullptr, 0));
  data.resize(avahi_string_list_serialize(items.get(), data.data(), data.size()));
  resolve.reply([callback = resolve.callback_, call = resolve.call_, interface_index,
                 full = full_name(name, type, domain), host = with_dot(host), port, data = std::move(data)] {
    callback(call.ref, 0, static_cast<std::uint32_t>(interface_index), kDNSServiceErr_NoError, full.c_str(),
             host.c_str(), htons(port), static_cast<std::uint16_t>(data.size()), data.data(), call.context);
  });
}

// --- Query ---

DNSServiceErrorType Query::start() {
  browser_ = avahi_record_browser_new(connection().client(), avahi_interface(call_.interface_index),
                                      AVAHI_PROTO_UNSPEC, call_.name.c_str(), class_, type_,
                                      AvahiLookupFlags{}, on_event, this);
  return browser_ == nullptr ? connection().take_error() : kDNSServiceErr_NoError;
}

void Query::on_event(AvahiRecordBrowser* /*browser*/, AvahiIfIndex interface_index,
                     AvahiProtocol /*protocol*/, AvahiBrowserEvent event, const char* name,
                     std::uint16_t record_class, std::uint16_t type, const void* rdata, std::size_t size,
                     AvahiLookupResultFlags /*flags*/, void* self) {
  auto& query = *static_cast<Query*>(self);
  if (event != AVAHI_BROWSER_NEW && event != AVAHI_BROWSER_REMOVE) return;
  if (name == nullptr || rdata == nullptr) return;
  const DNSServiceFlags flags = event == AVAHI_BROWSER_NEW ? kDNSServiceFlagsAdd : 0;
  const auto* bytes = static_cast<const unsigned char*>(rdata);
  query.reply([callback = query.callback_, call = query.call_, flags, interface_index, name = with_dot(name),
               type, record_class, data = std::vector<unsigned char>(bytes, bytes + size)] {
    callback(call.ref, flags, static_cast<std::uint32_t>(interface_index), kDNSServiceErr_NoError,
             name.c_str(), type, record_class, static_cast<std::uint16_t>(data.size()), data.data(),
             kTtlSeconds, call.context);
  });
}

}  // namespace hark
