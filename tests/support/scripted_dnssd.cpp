#include "support/scripted_dnssd.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

struct _DNSServiceRef_t {
  int number = 0;
  hark::DnssdKind kind = hark::DnssdKind::kBrowse;
  hark::ScriptedDnssd::Callbacks callbacks;
  hark::UniqueFd own;  // none when the descriptor is shared
  bool shared = false;
  bool live = false;
  bool ready = false;
  DNSServiceErrorType process_error = 0;
};

namespace hark {

ScriptedDnssd scripted_dnssd;

namespace {

// What a failed start leaves in the caller's reference: something that must not be used.
_DNSServiceRef_t not_a_reference;

// A text in memory of its own and of its own size: who reads beyond its end, or later, is found out.
class Lent {
 public:
  Lent(const std::string& text, bool none) : bytes_(text.begin(), text.end()), none_(none) {
    bytes_.push_back('\0');
    bytes_.shrink_to_fit();
  }
  operator const char*() const { return none_ ? nullptr : bytes_.data(); }

 private:
  std::vector<char> bytes_;
  bool none_;
};

struct Deliver {
  DNSServiceRef ref;
  ScriptedDnssd::Callbacks to;

  void operator()(const RegisterAnswer& answer) const {
    const Lent name(answer.name, answer.no_texts), type(answer.type, answer.no_texts),
        domain(answer.domain, answer.no_texts);
    if (to.on_register != nullptr) to.on_register(ref, 0, answer.error, name, type, domain, to.context);
  }
  void operator()(const BrowseAnswer& answer) const {
    const Lent name(answer.name, answer.no_texts), type(answer.type, answer.no_texts),
        domain(answer.domain, answer.no_texts);
    if (to.on_browse == nullptr) return;
    to.on_browse(ref, answer.flags, answer.interface, answer.error, name, type, domain, to.context);
  }
  void operator()(const ResolveAnswer& answer) const {
    const Lent full_name(answer.full_name, answer.no_texts), host(answer.host, answer.no_texts);
    const std::vector<unsigned char> txt(answer.txt.begin(), answer.txt.end());
    if (to.on_resolve == nullptr) return;
    to.on_resolve(ref, 0, answer.interface, answer.error, full_name, host, htons(answer.port),
                  static_cast<std::uint16_t>(txt.size()), txt.data(), to.context);
  }
  void operator()(const QueryAnswer& answer) const {
    const Lent full_name(answer.full_name, answer.no_texts);
    const std::vector<unsigned char> rdata(answer.rdata.begin(), answer.rdata.end());
    if (to.on_query == nullptr) return;
    to.on_query(ref, answer.flags, answer.interface, answer.error, full_name, answer.type,
                kDNSServiceClass_IN, static_cast<std::uint16_t>(rdata.size()), rdata.data(), 120, to.context);
  }
};

// Makes an eventfd readable or not.
void show_ready(int fd, bool& is_ready, bool ready) {
  if (is_ready == ready) return;
  is_ready = ready;
  eventfd_t value = 0;
  (void)(ready ? ::eventfd_write(fd, 1) : ::eventfd_read(fd, &value));
}

}  // namespace

void ScriptedDnssd::Reset() {
  const auto keep = on_fault;
  *this = ScriptedDnssd();
  on_fault = keep;
}

void ScriptedDnssd::Start() {
  for (DNSServiceErrorType& result : results_.by_kind)
    result = 0;
  property_result_ = 0;
  lost_ = false;
}

void ScriptedDnssd::ShareDescriptor() {
  share_ = true;
  if (!shared_.is_open()) shared_ = NewDescriptor();
}

void ScriptedDnssd::Answer(DNSServiceRef ref, DnssdAnswer answer) {
  if (!Usable(ref, "Answer")) return;
  answers_.emplace_back(ref, std::move(answer));
  ShowReady();
}

void ScriptedDnssd::FailProcess(DNSServiceRef ref, DNSServiceErrorType error) {
  if (!Usable(ref, "FailProcess")) return;
  ref->process_error = error;
  ShowReady();
}

void ScriptedDnssd::LoseDaemon() {
  results_ = Results();
  property_result_ = kDnssdServiceNotRunning;
  lost_ = true;
  ShowReady();
}

bool ScriptedDnssd::IsLive(DNSServiceRef ref) const {
  return std::any_of(references_.begin(), references_.end(),
                     [ref](const auto& known) { return known.get() == ref && known->live; });
}

int ScriptedDnssd::Live() const {
  return static_cast<int>(
      std::count_if(references_.begin(), references_.end(), [](const auto& known) { return known->live; }));
}

int ScriptedDnssd::Live(DnssdKind kind) const { return static_cast<int>(References(kind).size()); }

std::vector<DNSServiceRef> ScriptedDnssd::References(DnssdKind kind) const {
  std::vector<DNSServiceRef> found;
  for (const auto& known : references_) {
    if (known->live && known->kind == kind) found.push_back(known.get());
  }
  return found;
}

void ScriptedDnssd::Fault(const std::string& text) const {
  if (on_fault != nullptr) return on_fault(text.c_str());
  (void)std::fprintf(stderr, "scripted DNS-SD library: %s\n", text.c_str());
  std::abort();
}

bool ScriptedDnssd::Usable(DNSServiceRef ref, const char* function) {
  if (IsLive(ref)) return true;
  const bool released = std::any_of(references_.begin(), references_.end(),
                                    [ref](const auto& known) { return known.get() == ref; });
  Fault(std::string(function) + ": " +
        (ref == nullptr ? "a null reference"
         : released     ? "released reference #" + std::to_string(ref->number)
                        : "not a reference"));
  return false;
}

UniqueFd ScriptedDnssd::NewDescriptor() const {
  UniqueFd fd(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC));
  if (lowest_descriptor_ > 0) fd.reset(::fcntl(fd.get(), F_DUPFD_CLOEXEC, lowest_descriptor_));
  if (!fd.is_open()) Fault("no descriptor to be had");
  return fd;
}

// Brings what select(2) sees in line with what waits.
void ScriptedDnssd::ShowReady() {
  bool any = false;
  for (const auto& ref : references_) {
    if (!ref->live) continue;
    const bool ready =
        lost_ || ref->process_error != 0 ||
        std::any_of(answers_.begin(), answers_.end(), [&](const auto& a) { return a.first == ref.get(); });
    if (ref->shared)
      any = any || ready;
    else
      show_ready(ref->own.get(), ref->ready, ready);
  }
  if (shared_.is_open()) show_ready(shared_.get(), shared_ready_, any);
}

DNSServiceErrorType ScriptedDnssd::Begin(DnssdKind kind, const std::string& call, DNSServiceRef* out,
                                         Callbacks callbacks) {
  *out = &not_a_reference;
  if (const DNSServiceErrorType error = results_[kind]; error != 0) {
    calls_.push_back(call + " -> " + std::to_string(error));
    return error;
  }
  auto ref = std::make_unique<_DNSServiceRef_t>();
  ref->number = static_cast<int>(references_.size()) + 1;
  ref->kind = kind;
  ref->callbacks = callbacks;
  ref->shared = share_;
  if (!share_) ref->own = NewDescriptor();
  ref->live = true;
  calls_.push_back(call + " -> #" + std::to_string(ref->number));
  *out = ref.get();
  references_.push_back(std::move(ref));
  return 0;
}

DNSServiceErrorType ScriptedDnssd::Update(DNSServiceRef ref, const std::string& call) {
  if (!Usable(ref, "DNSServiceUpdateRecord")) return kDNSServiceErr_BadReference;
  calls_.push_back("update #" + std::to_string(ref->number) + call + " -> " + std::to_string(update_result_));
  return update_result_;
}

DNSServiceErrorType ScriptedDnssd::Property(const std::string& name) {
  calls_.push_back("property " + name + " -> " + std::to_string(property_result_));
  return property_result_;
}

int ScriptedDnssd::Descriptor(DNSServiceRef ref) {
  if (!Usable(ref, "DNSServiceRefSockFD")) return -1;
  return ref->shared ? shared_.get() : ref->own.get();
}

// Delivers the oldest answer, of `only` if that is not null. False when there is none.
bool ScriptedDnssd::DeliverNext(DNSServiceRef only) {
  const auto next = std::find_if(answers_.begin(), answers_.end(), [only](const auto& answer) {
    return only == nullptr || answer.first == only;
  });
  if (next == answers_.end()) return false;
  const auto [ref, answer] = std::move(*next);
  answers_.erase(next);
  ShowReady();
  std::visit(Deliver{ref, ref->callbacks}, answer);
  return true;
}

DNSServiceErrorType ScriptedDnssd::Process(DNSServiceRef ref) {
  if (!Usable(ref, "DNSServiceProcessResult")) return kDNSServiceErr_BadReference;
  calls_.push_back("process #" + std::to_string(ref->number));
  if (lost_) return kDnssdServiceNotRunning;
  if (ref->process_error != 0) return ref->process_error;
  const bool shared = ref->shared;
  if (!shared && !ref->ready)
    Fault("DNSServiceProcessResult: would wait for #" + std::to_string(ref->number));
  while (DeliverNext(shared ? nullptr : ref)) {
  }
  return 0;
}

void ScriptedDnssd::Release(DNSServiceRef ref) {
  if (!Usable(ref, "DNSServiceRefDeallocate")) return;
  calls_.push_back("release #" + std::to_string(ref->number));
  std::erase_if(answers_, [ref](const auto& answer) { return answer.first == ref; });
  ref->live = false;
  ref->own.reset();
  ShowReady();
}

}  // namespace hark
