#include "addressing/harkbonjour.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <utility>

#include "addressing/dnssd/dnssd.h"
#include "addressing/harkbonjour_private.h"
#include "base/fd.h"
#include "base/text.h"
#include "daemon/log/log.h"

namespace hark {

HarkBonjour harkbonjour;
const char* hark_svctype = "_hark._tcp";
bool harkbonjour_verbose = false;
void (*harkbonjour_callback)() = nullptr;
void (*harkbonjour_before_exit)() = nullptr;

namespace {

constexpr int kRegistrationFailed = 11001;
constexpr int kBrowseFailed = 11002;
constexpr int kKnown = 1;
constexpr int kOnItsWay = 0;
constexpr int kFailed = -1;
constexpr std::size_t kFoundUrlSize = 21;  // "hark:255.255.255.255" and the NUL
constexpr std::size_t kRecordAddressSize = 4;
constexpr TimeUs kLongestWalkUs = 20'000;

void release(DNSServiceRef& ref) {
  if (DNSServiceRef closing = std::exchange(ref, nullptr)) DNSServiceRefDeallocate(closing);
}

void resolver_free(harkresolvtable_entry& entry) {
  ++harkbonjour.freed;
  release(entry.resolver);
  release(entry.addr_query);
}

void tell_of_change() {
  if (harkbonjour_callback != nullptr) harkbonjour_callback();
}

void harkbonjour_updated() {
  harkresolvtable_write(harkd_dynamicsources);
  tell_of_change();
}

bool is_other_interface(std::uint32_t interface_index) {
  return harkbonjour.opinterface != 0 && interface_index != harkbonjour.opinterface;
}

void updaddr(harkresolvtable_entry& entry, in_addr_t address) {
  std::array<char, kFoundUrlSize> url{};
  const auto* part = reinterpret_cast<const unsigned char*>(&address);
  format_text(url, "hark:%d.%d.%d.%d", part[0], part[1], part[2], part[3]);
  entry.url = url.data();
  syslog(kLogInfo, "updaddr %s at %s", entry.name.c_str(), entry.url.c_str());
}

void DNSSD_API query_reply(DNSServiceRef ref, DNSServiceFlags flags, std::uint32_t /*interface_index*/,
                           DNSServiceErrorType error, const char* /*full_name*/, std::uint16_t rrtype,
                           std::uint16_t /*rrclass*/, std::uint16_t rdlen, const void* rdata,
                           std::uint32_t /*ttl*/, void* /*context*/) {
  if (error != kDNSServiceErr_NoError || rrtype != kDNSServiceType_A) return;
  // An address that is taken back is not the station's.
  if ((flags & kDNSServiceFlagsAdd) == 0 || rdata == nullptr || rdlen < kRecordAddressSize) return;
  in_addr_t address = 0;
  const auto* bytes = static_cast<const unsigned char*>(rdata);
  std::copy(bytes, bytes + sizeof address, reinterpret_cast<unsigned char*>(&address));
  bool matched = false;
  for (harkresolvtable_entry& entry : harkd_dynamicsources) {
    if (entry.addr_query != ref) continue;
    updaddr(entry, address);
    matched = true;
  }
  if (matched) harkbonjour_updated();
}

// Asks for the address of the entry's host.
int resolve_addr_begin(harkresolvtable_entry& entry) {
  if (entry.host.empty()) return kFailed;
  entry.addr_time = clock_now();
  syslog(kLogInfo, "resolve %s", entry.host.c_str());
  if (isipv4(entry.host)) {
    updaddr(entry, ::inet_addr(entry.host.c_str()));
    return kKnown;
  }
  DNSServiceRef query = nullptr;
  if (DNSServiceQueryRecord(&query, 0, harkbonjour.opinterface, entry.host.c_str(), kDNSServiceType_A,
                            kDNSServiceClass_IN, query_reply, &entry) != kDNSServiceErr_NoError)
    return kFailed;
  release(entry.addr_query);
  entry.addr_query = query;
  entry.watched = false;
  return kOnItsWay;
}

// The entry that the full name of a service belongs to, or null.
harkresolvtable_entry* entry_of(std::string_view full_name) {
  std::string instance;
  const std::string_view rest = cut_full_name(full_name, instance);
  constexpr std::size_t kDots = 2;  // in front of the type and in front of the domain
  for (harkresolvtable_entry& entry : harkd_dynamicsources) {
    const std::size_t length = std::string_view(hark_svctype).size() + entry.domain.size() + kDots;
    if (entry.name == instance && rest.size() == length && rest.ends_with(entry.domain)) return &entry;
  }
  return nullptr;
}

void DNSSD_API resolve_reply(DNSServiceRef /*ref*/, DNSServiceFlags /*flags*/, std::uint32_t interface_index,
                             DNSServiceErrorType error, const char* full_name, const char* host,
                             std::uint16_t port, std::uint16_t txt_len, const unsigned char* txt,
                             void* /*context*/) {
  if (error != kDNSServiceErr_NoError) {
    (void)std::printf("Error code %d\n", error);
    return;
  }
  if (is_other_interface(interface_index) || full_name == nullptr || host == nullptr) return;
  // Found by its name and not by the context, since the entry may be gone by now.
  harkresolvtable_entry* entry = entry_of(full_name);
  if (entry == nullptr) return;
  syslog(kLogInfo, "lookup %s at %s:%u (%ldms)", full_name, host, ntohs(port),
         static_cast<long>((clock_now() - entry->lookup_time) / kUsPerMs));
  entry->host = host;
  if (txt != nullptr) take_txt({txt, txt_len}, *entry);
  entry->port = ntohs(port);
  (void)resolve_addr_begin(*entry);
  harkbonjour_updated();
}

// Asks for host, port and TXT record of the entry's service. False, and nothing changed, when it cannot be
// asked for.
bool start_resolve(harkresolvtable_entry& entry, std::uint32_t interface_index, const char* name,
                   const char* type, const char* domain) {
  entry.lookup_time = clock_now();
  DNSServiceRef resolver = nullptr;
  if (DNSServiceResolve(&resolver, 0, interface_index, name, type, domain, resolve_reply, &entry) !=
      kDNSServiceErr_NoError)
    return false;
  entry.resolver = resolver;
  entry.watched = false;
  syslog(kLogInfo, "lookup %s.%s.%s", name, type, domain);
  return true;
}

void station_found(std::uint32_t interface_index, const char* name, const char* type, const char* domain) {
  const std::size_t known = harkd_dynamicsources.size();
  harkresolvtable_entry& entry = harkresolvtable_add(harkd_dynamicsources, name, domain);
  entry.learned = false;
  if (harkd_dynamicsources.size() != known) tell_of_change();
  if (entry.resolver != nullptr) return;
  // One that fails leaves the entry without a URL until something asks again.
  (void)start_resolve(entry, interface_index, name, type, domain);
}

void DNSSD_API browse_reply(DNSServiceRef /*ref*/, DNSServiceFlags flags, std::uint32_t interface_index,
                            DNSServiceErrorType error, const char* name, const char* type, const char* domain,
                            void* /*context*/) {
  if (error != kDNSServiceErr_NoError) {
    (void)std::printf("Error code %d\n", error);
    return;
  }
  if (name == nullptr || type == nullptr || domain == nullptr) return;
  const bool added = (flags & kDNSServiceFlagsAdd) != 0;
  syslog(kLogNotice, "%s %s.%s%s", added ? "add" : "rmv", name, type, domain);
  if (is_other_interface(interface_index)) return;
  if (added) {
    station_found(interface_index, name, type, domain);
  } else if (harkresolvtable_lookup(harkd_dynamicsources, name, domain) != nullptr) {
    harkresolvtable_remove(harkd_dynamicsources, name, domain);
    tell_of_change();
  }
}

void DNSSD_API reg_reply(DNSServiceRef /*ref*/, DNSServiceFlags /*flags*/, DNSServiceErrorType error,
                         const char* name, const char* type, const char* domain, void* /*context*/) {
  if (error == kDNSServiceErr_NoError) {
    if (harkbonjour_verbose) (void)std::printf("Registered %s.%s%s\n", name, type, domain);
  } else if (error == kDNSServiceErr_NameConflict) {
    // Kept: two stations of one name cannot both be called by it, and this one cannot choose another by
    // itself. It ends visibly, with all that it holds saved and given back.
    (void)std::puts("Name in use, please choose another");
    if (harkbonjour_before_exit != nullptr) harkbonjour_before_exit();
    std::exit(-1);
  } else {
    (void)std::printf("Error %d\n", error);
  }
}

// Notes the first IPv4 address and mask of the interface in force.
void read_interface() {
  ifaddrs* list = nullptr;
  if (::getifaddrs(&list) != 0) return;
  const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> guard(list, ::freeifaddrs);
  for (const ifaddrs* one = list; one != nullptr; one = one->ifa_next) {
    if ((one->ifa_flags & IFF_UP) == 0 || one->ifa_addr == nullptr || one->ifa_addr->sa_family != AF_INET ||
        ::if_nametoindex(one->ifa_name) != harkbonjour.opinterface)
      continue;
    harkbonjour.opinterface_ipv4addr = reinterpret_cast<const sockaddr_in*>(one->ifa_addr)->sin_addr.s_addr;
    if (one->ifa_netmask != nullptr)
      harkbonjour.opinterface_ipv4mask =
          reinterpret_cast<const sockaddr_in*>(one->ifa_netmask)->sin_addr.s_addr;
    return;
  }
}

void harkbonjour_cleanup_announcements() { release(harkbonjour.client); }

void harkbonjour_cleanup_browse() {
  while (!harkd_dynamicsources.empty())
    harkresolvtable_free_entry(harkd_dynamicsources, harkd_dynamicsources.begin());
  harkbonjour_updated();
  release(harkbonjour.dnssvcBrowser);
}

bool announce(const char* name, int port) {
  const auto length = static_cast<std::uint16_t>(harkbonjour.harkd_txt_len);
  const void* txt = length > 0 ? harkbonjour.harkd_txt.data() : nullptr;
  DNSServiceRef client = nullptr;
  if (DNSServiceRegister(&client, 0, harkbonjour.opinterface, name, hark_svctype, "", "",
                         htons(static_cast<std::uint16_t>(port)), length, txt, reg_reply,
                         nullptr) != kDNSServiceErr_NoError)
    return false;
  harkbonjour.client = client;
  return true;
}

// Runs the library for one reference, if its socket is ready.
void process(DNSServiceRef ref, const fd_set& set, const char* what) {
  if (ref == nullptr || !fdset_has(DNSServiceRefSockFD(ref), set)) return;
  const DNSServiceErrorType error = DNSServiceProcessResult(ref);
  if (error == kDNSServiceErr_NoError) return;
  (void)std::fprintf(stderr, "DNSServiceProcessResult(%s) returned %d\n", what, error);
  harkbonjour.stopNow = true;
}

// Serves the references of the entries, as many as a short time allows: when hundreds of stations appear at
// once each answer asks the daemon for more, and the panels wait meanwhile. Who was left out is still ready
// in the next pass. Each may remove any entry, its own too, and then the walk begins anew; who was served in
// this walk is not served again. A reference that was made in this pass waits for the next one: its socket
// may have the number of one that was ready and is closed, and the library would wait for it.
void process_entries(const fd_set& set) {
  const std::uint64_t walk = ++harkbonjour.walk;
  const TimeUs end = clock_now() + kLongestWalkUs;
  // The oldest first, so that a flood of new ones keeps nobody from the stations that are known.
  for (auto entry = harkd_dynamicsources.rbegin();
       entry != harkd_dynamicsources.rend() && clock_now() < end;) {
    const std::uint64_t freed = harkbonjour.freed;
    const auto unchanged = [freed] { return harkbonjour.freed == freed; };
    if (entry->walk != walk && entry->watched) {
      entry->walk = walk;
      process(entry->resolver, set, "resolver");
      if (unchanged() && entry->watched) process(entry->addr_query, set, "dnssvcAddrInfo");
    }
    entry = unchanged() ? std::next(entry) : harkd_dynamicsources.rbegin();
  }
}

}  // namespace

int harkbonjour_initialize(unsigned ifindex, int port, const char* name) {
  const unsigned former = std::exchange(harkbonjour.opinterface, ifindex);
  harkbonjour.stopNow = false;
  harkbonjour.opinterface_ipv4addr = harkbonjour.opinterface_ipv4mask = 0;
  HarkResolv_dynamic = HarkResolv_dynamic_callback;
  bonjour_harkresolvtable_free_entry_callback = resolver_free;
  if (ifindex != 0) read_interface();
  if (former != ifindex) harkbonjour_cleanup_browse();
  harkbonjour_cleanup_announcements();
  if (port != 0 && name != nullptr && *name != '\0' && !announce(name, port)) {
    // Nothing is served until the next start. A browse that went on would not hear which stations go, and
    // would hold what the daemon may lack for the registration: it allows each client so many objects only.
    if (harkbonjour.dnssvcBrowser != nullptr) harkbonjour_cleanup_browse();
    return kRegistrationFailed;
  }
  if (harkbonjour.dnssvcBrowser != nullptr) return 0;
  DNSServiceRef browser = nullptr;
  if (DNSServiceBrowse(&browser, 0, ifindex, hark_svctype, "", browse_reply, nullptr) !=
      kDNSServiceErr_NoError)
    return kBrowseFailed;
  harkbonjour.dnssvcBrowser = browser;
  return 0;
}

void harkbonjour_cleanup() {
  harkbonjour_cleanup_announcements();
  harkbonjour_cleanup_browse();
}

int harkbonjour_set_TXT(const char* alt, int level, in_addr_t rtpa) {
  harkbonjour.harkd_txt_len = make_txt(alt != nullptr ? alt : "", level, rtpa, harkbonjour.harkd_txt);
  if (harkbonjour.client != nullptr)
    (void)DNSServiceUpdateRecord(harkbonjour.client, nullptr, 0,
                                 static_cast<std::uint16_t>(harkbonjour.harkd_txt_len),
                                 harkbonjour.harkd_txt.data(), 0);
  return 0;
}

int harkbonjour_lookupservice(const char* label) {
  if (label == nullptr || *label == '\0') return kFailed;
  harkresolvtable_entry& entry = harkresolvtable_learn(harkd_dynamicsources, label);
  if (entry.resolver != nullptr) {
    const int result = resolve_addr_begin(entry);
    if (result == kKnown) harkresolvtable_write(harkd_dynamicsources);
    return result;
  }
  return start_resolve(entry, harkbonjour.opinterface, label, hark_svctype, entry.domain.c_str()) ? kOnItsWay
                                                                                                  : kFailed;
}

int harkbonjour_addfdset(fd_set& set) {
  int highest = -1;
  const auto add = [&](DNSServiceRef ref) {
    if (ref != nullptr) (void)fdset_add(DNSServiceRefSockFD(ref), set, highest);
  };
  add(harkbonjour.client);
  add(harkbonjour.dnssvcBrowser);
  for (harkresolvtable_entry& entry : harkd_dynamicsources) {
    add(entry.resolver);
    add(entry.addr_query);
    entry.watched = true;
  }
  return highest;
}

int harkbonjour_processevents(const fd_set& set) {
  process(harkbonjour.client, set, "client");
  process(harkbonjour.dnssvcBrowser, set, "dnssvcBrowser");
  process_entries(set);
  return harkbonjour.stopNow ? -1 : 0;
}

int harkbonjour_check() {
  std::uint32_t version = 0;
  std::uint32_t size = sizeof version;
  return DNSServiceGetProperty(kDnssdDaemonVersion, &version, &size);
}

}  // namespace hark
