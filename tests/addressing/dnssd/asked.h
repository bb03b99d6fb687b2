// A reference of the DNS-SD library as its user holds it: one test asks, is told, and ends it. References
// that are open are processed like in the station's own loop: one select, then each whose descriptor is
// ready.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "addressing/dnssd/dnssd.h"
#include "system/support/pump.h"

namespace hark::test {

inline constexpr char kType[] = "_hark._tcp";

// One call of a callback: what all kinds have, then what only some have. Texts are as they were handed over.
struct Told {
  DNSServiceRef ref = nullptr;
  DNSServiceFlags flags = 0;
  std::uint32_t interface_index = 0;
  DNSServiceErrorType error = 0;
  std::string name = {};  // of a resolve and a query: the full name
  std::string type = {};
  std::string domain = {};
  std::string host = {};
  std::uint16_t port = 0;  // as on the wire
  std::string data = {};   // TXT record, or the record that was asked for
  std::uint16_t record_type = 0;
  std::uint16_t record_class = 0;
  std::uint32_t ttl = 0;

  [[nodiscard]] bool is_add() const { return (flags & kDNSServiceFlagsAdd) != 0; }
};

// What a service is registered with. Null and empty are what the library is given then.
struct Service {
  const char* name = nullptr;
  std::uint16_t port = 4013;  // host order
  std::string txt = {};
  DNSServiceFlags flags = 0;
  const char* host = nullptr;
  const char* domain = nullptr;
  const char* type = kType;
  std::uint32_t interface_index = 0;
};

class Asked {
 public:
  Asked();
  Asked(const Asked&) = delete;
  Asked& operator=(const Asked&) = delete;
  ~Asked();

  // Each starts it, and gives the library's answer.
  DNSServiceErrorType announce(const Service& service);
  DNSServiceErrorType browse(std::uint32_t interface_index = 0, const char* type = kType,
                             const char* domain = nullptr);
  DNSServiceErrorType resolve(const char* name, const char* domain = "local.",
                              std::uint32_t interface_index = 0);
  DNSServiceErrorType query(const char* full_name, std::uint16_t record_type = kDNSServiceType_A,
                            std::uint32_t interface_index = 0);
  DNSServiceErrorType update(const std::string& txt) const;
  // Ends it; nothing when it is not open.
  void end();

  [[nodiscard]] bool is_open() const { return ref_ != nullptr; }
  [[nodiscard]] DNSServiceRef ref() const { return ref_; }
  [[nodiscard]] int fd() const { return DNSServiceRefSockFD(ref_); }
  // Whether its descriptor is ready now.
  [[nodiscard]] bool is_ready() const;
  DNSServiceErrorType process() { return result = DNSServiceProcessResult(ref_); }

  // The names that are there now by what a browse was told, sorted.
  [[nodiscard]] std::vector<std::string> names() const;
  // "+" came, "-" went.
  [[nodiscard]] std::string events(const std::string& name) const;
  // Waits for the first, or one more, call of the callback.
  [[nodiscard]] testing::AssertionResult wait_told(std::size_t count = 1, int timeout_ms = kWaitMs) const;
  [[nodiscard]] testing::AssertionResult wait_lost() const;

  std::vector<Told> told;
  // Called at the end of each call of the callback, if it is set.
  std::function<void()> then;
  // What the last DNSServiceProcessResult returned.
  DNSServiceErrorType result = kDNSServiceErr_NoError;

 private:
  friend class AskedCallbacks;
  void take(Told what);

  DNSServiceRef ref_ = nullptr;
};

// Serves all references that are open while the test waits; there is one.
class AskedLoop : public Pumped {
 public:
  void fill(fd_set& read, fd_set& write, int& highest) const override;
  void serve(const fd_set& read, const fd_set& write) override;
};

}  // namespace hark::test
