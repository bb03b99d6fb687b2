// The four kinds of references: what each asks of the DNS-SD daemon, and what it hands to its callback.
#pragma once

#include <avahi-client/lookup.h>
#include <avahi-client/publish.h>
#include <avahi-common/strlst.h>

#include <map>
#include <string>
#include <tuple>

#include "addressing/dnssd/avahi_connection.h"

namespace hark {

// What a function of dns_sd.h was called with.
struct DnssdCall {
  DNSServiceRef ref = nullptr;  // handed to the callback
  DNSServiceFlags flags = 0;
  std::uint32_t interface_index = 0;  // 0: any
  std::string name;
  std::string type;    // without the dot at its end
  std::string domain;  // likewise; empty: the default
  void* context = nullptr;
};

struct FreeStringList {
  void operator()(AvahiStringList* list) const { avahi_string_list_free(list); }
};
using StringList = std::unique_ptr<AvahiStringList, FreeStringList>;

class Registration : public AvahiRef {
 public:
  Registration(std::shared_ptr<AvahiConnection> connection, DnssdCall call, DNSServiceRegisterReply callback)
      : AvahiRef(std::move(connection)), call_(std::move(call)), callback_(callback) {}
  ~Registration() override;

  // Of an empty `host` the daemon's own; `port` in network order.
  void set_target(std::string host, std::uint16_t port) {
    host_ = std::move(host);
    port_ = port;
  }
  [[nodiscard]] DNSServiceErrorType set_txt(const void* txt, std::uint16_t length);
  [[nodiscard]] DNSServiceErrorType start() override;
  void host_ready(bool ready) override;
  DNSServiceErrorType update_txt(const void* txt, std::uint16_t length) override;

 private:
  static void on_group(AvahiEntryGroup* group, AvahiEntryGroupState state, void* self);
  [[nodiscard]] DNSServiceErrorType publish();
  int add_service();
  void name_taken();
  void tell(DNSServiceErrorType error);
  [[nodiscard]] const char* domain() const { return call_.domain.empty() ? nullptr : call_.domain.c_str(); }

  DnssdCall call_;
  DNSServiceRegisterReply callback_;
  std::string host_;
  std::uint16_t port_ = 0;
  StringList txt_;
  AvahiEntryGroup* group_ = nullptr;
};

class Browse : public AvahiRef {
 public:
  Browse(std::shared_ptr<AvahiConnection> connection, DnssdCall call, DNSServiceBrowseReply callback)
      : AvahiRef(std::move(connection)), call_(std::move(call)), callback_(callback) {}
  ~Browse() override { give_back(browser_, avahi_service_browser_free); }
  [[nodiscard]] DNSServiceErrorType start() override;

 private:
  using Instance = std::tuple<AvahiIfIndex, std::string, std::string, std::string>;

  static void on_event(AvahiServiceBrowser* browser, AvahiIfIndex interface_index, AvahiProtocol protocol,
                       AvahiBrowserEvent event, const char* name, const char* type, const char* domain,
                       AvahiLookupResultFlags flags, void* self);
  void tell(DNSServiceFlags flags, DNSServiceErrorType error, const Instance& instance);

  DnssdCall call_;
  DNSServiceBrowseReply callback_;
  AvahiServiceBrowser* browser_ = nullptr;
  std::map<Instance, int> seen_;  // over how many of IPv4 and IPv6 each is seen
};

class Resolve : public AvahiRef {
 public:
  Resolve(std::shared_ptr<AvahiConnection> connection, DnssdCall call, DNSServiceResolveReply callback)
      : AvahiRef(std::move(connection)), call_(std::move(call)), callback_(callback) {}
  ~Resolve() override { give_back(resolver_, avahi_service_resolver_free); }
  [[nodiscard]] DNSServiceErrorType start() override;

 private:
  static void on_event(AvahiServiceResolver* resolver, AvahiIfIndex interface_index, AvahiProtocol protocol,
                       AvahiResolverEvent event, const char* name, const char* type, const char* domain,
                       const char* host, const AvahiAddress* address, std::uint16_t port,
                       AvahiStringList* txt, AvahiLookupResultFlags flags, void* self);

  DnssdCall call_;
  DNSServiceResolveReply callback_;
  AvahiServiceResolver* resolver_ = nullptr;
};

class Query : public AvahiRef {
 public:
  Query(std::shared_ptr<AvahiConnection> connection, DnssdCall call, DNSServiceQueryRecordReply callback)
      : AvahiRef(std::move(connection)), call_(std::move(call)), callback_(callback) {}
  ~Query() override { give_back(browser_, avahi_record_browser_free); }
  void set_record(std::uint16_t type, std::uint16_t record_class) {
    type_ = type;
    class_ = record_class;
  }
  [[nodiscard]] DNSServiceErrorType start() override;

 private:
  static void on_event(AvahiRecordBrowser* browser, AvahiIfIndex interface_index, AvahiProtocol protocol,
                       AvahiBrowserEvent event, const char* name, std::uint16_t record_class,
                       std::uint16_t type, const void* rdata, std::size_t size, AvahiLookupResultFlags flags,
                       void* self);

  DnssdCall call_;
  DNSServiceQueryRecordReply callback_;
  std::uint16_t type_ = 0;
  std::uint16_t class_ = 0;
  AvahiRecordBrowser* browser_ = nullptr;
};

}  // namespace hark
