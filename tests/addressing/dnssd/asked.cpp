#include "addressing/dnssd/asked.h"

#include <arpa/inet.h>
#include <poll.h>

#include <algorithm>
#include <set>
#include <utility>

#include "base/fd.h"

namespace hark::test {
namespace {

std::vector<Asked*>& all() {
  static std::vector<Asked*> list;
  return list;
}

bool is_there(const Asked* asked) { return std::find(all().begin(), all().end(), asked) != all().end(); }

std::string text_of(const char* text) { return text != nullptr ? text : "(null)"; }

std::string bytes_of(const void* data, std::size_t size) {
  return size == 0 ? std::string() : std::string(static_cast<const char*>(data), size);
}

}  // namespace

class AskedCallbacks {
 public:
  static void registered(DNSServiceRef ref, DNSServiceFlags flags, DNSServiceErrorType error,
                         const char* name, const char* type, const char* domain, void* context) {
    Told told{ref, flags, 0, error};
    if (error == kDNSServiceErr_NoError) fill_names(told, name, type, domain);
    take(context, std::move(told));
  }

  static void browsed(DNSServiceRef ref, DNSServiceFlags flags, std::uint32_t interface_index,
                      DNSServiceErrorType error, const char* name, const char* type, const char* domain,
                      void* context) {
    Told told{ref, flags, interface_index, error};
    if (error == kDNSServiceErr_NoError) fill_names(told, name, type, domain);
    take(context, std::move(told));
  }

  static void resolved(DNSServiceRef ref, DNSServiceFlags flags, std::uint32_t interface_index,
                       DNSServiceErrorType error, const char* full_name, const char* host, std::uint16_t port,
                       std::uint16_t txt_length, const unsigned char* txt, void* context) {
    Told told{ref, flags, interface_index, error};
    if (error == kDNSServiceErr_NoError) {
      told.name = text_of(full_name);
      told.host = text_of(host);
      told.port = port;
      told.data = bytes_of(txt, txt_length);
    }
    take(context, std::move(told));
  }

  static void queried(DNSServiceRef ref, DNSServiceFlags flags, std::uint32_t interface_index,
                      DNSServiceErrorType error, const char* full_name, std::uint16_t record_type,
                      std::uint16_t record_class, std::uint16_t length, const void* data, std::uint32_t ttl,
                      void* context) {
    Told told{ref, flags, interface_index, error};
    if (error == kDNSServiceErr_NoError) {
      told.name = text_of(full_name);
      told.record_type = record_type;
      told.record_class = record_class;
      told.data = bytes_of(data, length);
      told.ttl = ttl;
    }
    take(context, std::move(told));
  }

 private:
  static void fill_names(Told& told, const char* name, const char* type, const char* domain) {
    told.name = text_of(name);
    told.type = text_of(type);
    told.domain = text_of(domain);
  }

  static void take(void* context, Told told) {
    auto* const asked = static_cast<Asked*>(context);
    if (!is_there(asked)) {
      ADD_FAILURE() << "called back with the context of a reference that is gone";
      return;
    }
    asked->take(std::move(told));
  }
};

Asked::Asked() { all().push_back(this); }

Asked::~Asked() {
  end();
  std::erase(all(), this);
}

DNSServiceErrorType Asked::announce(const Service& service) {
  return DNSServiceRegister(
      &ref_, service.flags, service.interface_index, service.name, service.type, service.domain, service.host,
      htons(service.port), static_cast<std::uint16_t>(service.txt.size()),
      service.txt.empty() ? nullptr : service.txt.data(), AskedCallbacks::registered, this);
}

DNSServiceErrorType Asked::browse(std::uint32_t interface_index, const char* type, const char* domain) {
  return DNSServiceBrowse(&ref_, 0, interface_index, type, domain, AskedCallbacks::browsed, this);
}

DNSServiceErrorType Asked::resolve(const char* name, const char* domain, std::uint32_t interface_index) {
  return DNSServiceResolve(&ref_, 0, interface_index, name, kType, domain, AskedCallbacks::resolved, this);
}

DNSServiceErrorType Asked::query(const char* full_name, std::uint16_t record_type,
                                 std::uint32_t interface_index) {
  return DNSServiceQueryRecord(&ref_, 0, interface_index, full_name, record_type, kDNSServiceClass_IN,
                               AskedCallbacks::queried, this);
}

DNSServiceErrorType Asked::update(const std::string& txt) const {
  return DNSServiceUpdateRecord(ref_, nullptr, 0, static_cast<std::uint16_t>(txt.size()), txt.data(), 0);
}

void Asked::end() { DNSServiceRefDeallocate(std::exchange(ref_, nullptr)); }

bool Asked::is_ready() const {
  pollfd ready{fd(), POLLIN, 0};
  return ::poll(&ready, 1, 0) == 1;
}

std::vector<std::string> Asked::names() const {
  std::set<std::string> there;
  for (const Told& one : told) {
    if (one.is_add()) {
      there.insert(one.name);
    } else {
      there.erase(one.name);
    }
  }
  return {there.begin(), there.end()};
}

std::string Asked::events(const std::string& name) const {
  std::string text;
  for (const Told& one : told) {
    if (one.name == name) text += one.is_add() ? '+' : '-';
  }
  return text;
}

testing::AssertionResult Asked::wait_told(std::size_t count, int timeout_ms) const {
  if (wait_until([&] { return told.size() >= count; }, timeout_ms)) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "told " << told.size() << " times instead of " << count;
}

testing::AssertionResult Asked::wait_lost() const {
  if (wait_until([&] { return result == kDnssdServiceNotRunning; })) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "never lost, but " << result;
}

void Asked::take(Told what) {
  EXPECT_EQ(what.ref, ref_) << "called back for a reference that was deallocated, or of another";
  told.push_back(std::move(what));
  if (then) then();
}

void AskedLoop::fill(fd_set& read, fd_set& /*write*/, int& highest) const {
  for (const Asked* asked : all()) {
    if (asked->is_open()) (void)fdset_add(asked->fd(), read, highest);
  }
}

void AskedLoop::serve(const fd_set& read, const fd_set& /*write*/) {
  const std::vector<Asked*> now = all();
  for (Asked* asked : now) {
    // A callback may have ended any of them.
    if (is_there(asked) && asked->is_open() && fdset_has(asked->fd(), read)) (void)asked->process();
  }
}

}  // namespace hark::test
