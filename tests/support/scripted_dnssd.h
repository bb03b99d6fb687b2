// A DNS-SD client library that does what a test says. It gives all functions that discovery calls, so that a
// program links it in place of the real one. Without a script it is a machine with no DNS-SD daemon: every
// start fails, no reference exists. With one, references have real descriptors, answers are delivered from
// inside DNSServiceProcessResult, and every misuse (a released reference, one released twice, a call that
// would wait forever) is a fault.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "addressing/dnssd/dnssd.h"
#include "base/fd.h"

namespace hark {

enum class DnssdKind { kRegister, kBrowse, kResolve, kQuery };

// Answers to the four kinds of reference. `no_texts` hands null pointers over, as libraries do that have only
// an error to tell.
struct RegisterAnswer {
  DNSServiceErrorType error = 0;
  std::string name{}, type = "_hark._tcp", domain = "local.";
  bool no_texts = false;
};
struct BrowseAnswer {
  DNSServiceFlags flags = kDNSServiceFlagsAdd;
  std::uint32_t interface = 0;
  DNSServiceErrorType error = 0;
  std::string name{}, type = "_hark._tcp", domain = "local.";
  bool no_texts = false;
};
struct ResolveAnswer {
  std::uint32_t interface = 0;
  DNSServiceErrorType error = 0;
  std::string full_name{}, host{};
  std::uint16_t port = 0;  // host order
  std::string txt{};       // raw bytes
  bool no_texts = false;
};
struct QueryAnswer {
  DNSServiceFlags flags = kDNSServiceFlagsAdd;
  std::uint32_t interface = 0;
  DNSServiceErrorType error = 0;
  std::string full_name{};
  std::uint16_t type = kDNSServiceType_A;
  std::string rdata{};  // raw bytes
  bool no_texts = false;
};
using DnssdAnswer = std::variant<RegisterAnswer, BrowseAnswer, ResolveAnswer, QueryAnswer>;

class ScriptedDnssd {
 public:
  // As at the program's start: no daemon, nothing recorded. References that are still held become invalid.
  void Reset();

  // A daemon that answers: every start succeeds.
  void Start();
  // What the starts of a kind give from now on: an error, or 0 for success.
  void SetResult(DnssdKind kind, DNSServiceErrorType error) { results_[kind] = error; }
  void SetPropertyResult(DNSServiceErrorType error) { property_result_ = error; }
  void SetUpdateResult(DNSServiceErrorType error) { update_result_ = error; }
  // All references made from now on have one descriptor in common, and processing any delivers all answers,
  // without ever waiting.
  void ShareDescriptor();
  // References made from now on have descriptors of at least `lowest`.
  void SetLowestDescriptor(int lowest) { lowest_descriptor_ = lowest; }

  // Queues an answer for a reference, whose descriptor becomes ready.
  void Answer(DNSServiceRef ref, DnssdAnswer answer);
  // Makes a reference ready, and its processing fail from now on.
  void FailProcess(DNSServiceRef ref, DNSServiceErrorType error);
  // The daemon ends: every reference is ready and fails to be processed, every start fails.
  void LoseDaemon();

  // Everything that was called since the last TakeCalls, in order, as
  //   register if=2 name=Studio A type=_hark._tcp domain= host= port=0fad txt=05414c543d41 -> #1
  //   browse if=2 type=_hark._tcp domain= -> #2
  //   resolve if=2 name=Ann type=_hark._tcp domain=local. -> #3
  //   query if=2 name=ann.local. type=1 class=1 -> #4
  //   update #1 record=default txt=05414c543d41 ttl=0 -> 0
  //   property DaemonVersion -> 0
  //   process #2
  //   release #2
  // A start that failed has its error in place of the number. Texts that are null show as empty ones, the
  // port and the records byte for byte as handed over; flags stand behind the verb when they are not 0.
  [[nodiscard]] std::vector<std::string> TakeCalls() { return std::exchange(calls_, {}); }
  // How many references are held.
  [[nodiscard]] int Live() const;
  [[nodiscard]] int Live(DnssdKind kind) const;
  // The references held, oldest first.
  [[nodiscard]] std::vector<DNSServiceRef> References(DnssdKind kind) const;
  [[nodiscard]] bool IsLive(DNSServiceRef ref) const;
  // Whether answers wait to be taken.
  [[nodiscard]] bool HasAnswers() const { return !answers_.empty(); }

  // Told of each misuse of the library. Null: it is printed, and the program aborts.
  void (*on_fault)(const char* text) = nullptr;

  // What stands behind the library's functions.
  struct Callbacks {
    DNSServiceRegisterReply on_register = nullptr;
    DNSServiceBrowseReply on_browse = nullptr;
    DNSServiceResolveReply on_resolve = nullptr;
    DNSServiceQueryRecordReply on_query = nullptr;
    void* context = nullptr;
  };
  DNSServiceErrorType Begin(DnssdKind kind, const std::string& call, DNSServiceRef* out, Callbacks callbacks);
  DNSServiceErrorType Update(DNSServiceRef ref, const std::string& call);
  DNSServiceErrorType Property(const std::string& name);
  int Descriptor(DNSServiceRef ref);
  DNSServiceErrorType Process(DNSServiceRef ref);
  void Release(DNSServiceRef ref);

 private:
  struct Results {
    DNSServiceErrorType by_kind[4] = {kDnssdServiceNotRunning, kDnssdServiceNotRunning,
                                      kDnssdServiceNotRunning, kDnssdServiceNotRunning};
    DNSServiceErrorType& operator[](DnssdKind kind) { return by_kind[static_cast<int>(kind)]; }
  };

  bool Usable(DNSServiceRef ref, const char* function);
  void Fault(const std::string& text) const;
  UniqueFd NewDescriptor() const;
  bool DeliverNext(DNSServiceRef only);
  void ShowReady();

  Results results_;
  DNSServiceErrorType property_result_ = kDnssdServiceNotRunning;
  DNSServiceErrorType update_result_ = 0;
  int lowest_descriptor_ = 0;
  bool share_ = false;
  bool lost_ = false;
  UniqueFd shared_;
  bool shared_ready_ = false;
  std::vector<std::string> calls_;
  std::deque<std::pair<DNSServiceRef, DnssdAnswer>> answers_;
  std::vector<std::unique_ptr<_DNSServiceRef_t>> references_;  // the released ones too: they are known by it
};
extern ScriptedDnssd scripted_dnssd;

}  // namespace hark
