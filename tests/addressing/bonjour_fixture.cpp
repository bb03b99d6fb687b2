#include "bonjour_fixture.h"

#include <arpa/inet.h>
#include <sys/select.h>

#include <utility>

namespace hark {
namespace {

int g_changes = 0;
Texts g_faults;

std::string FullName(const std::string& name, const std::string& domain) {
  std::string escaped;
  for (const char c : name) {
    if (c == '.' || c == '\\') escaped += '\\';
    escaped += c == ' ' ? "\\032" : std::string(1, c);
  }
  return escaped + "._hark._tcp." + domain;
}

}  // namespace

std::string TxtOf(const Texts& items) {
  std::string txt;
  for (const std::string& item : items)
    txt += static_cast<char>(item.size()) + item;
  return txt;
}

std::string Raw(const char* address) {
  const in_addr_t raw = ::inet_addr(address);
  return {reinterpret_cast<const char*>(&raw), sizeof raw};
}

Bonjour::Bonjour() {
  scripted_dnssd.Reset();
  scripted_dnssd.on_fault = [](const char* text) { g_faults.emplace_back(text); };
  g_faults.clear();
  harkbonjour_callback = [] { ++g_changes; };
  g_changes = 0;
}

void Bonjour::TearDown() {
  harkbonjour_callback = nullptr;
  harkbonjour_cleanup();
  EXPECT_EQ(scripted_dnssd.Live(), 0) << "references left behind";
  EXPECT_EQ(g_faults, Texts());
}

Bonjour::~Bonjour() {
  harkbonjour = HarkBonjour();
  harkbonjour_callback = nullptr;
  harkbonjour_before_exit = nullptr;
  harkbonjour_verbose = false;
  scripted_dnssd.on_fault = nullptr;
  scripted_dnssd.Reset();
}

void Bonjour::Start(unsigned interface, const char* name) {
  scripted_dnssd.Start();
  ASSERT_EQ(harkbonjour_initialize(interface, kPort, name), 0);
  (void)Calls();
  (void)Changes();
}

int Bonjour::Serve() {
  fd_set set;
  FD_ZERO(&set);
  const int highest = harkbonjour_addfdset(set);
  timeval at_once{};
  if (::select(highest + 1, &set, nullptr, nullptr, &at_once) < 0)
    ADD_FAILURE() << "a descriptor is not open";
  return harkbonjour_processevents(set);
}

void Bonjour::QueueFound(const std::string& name, const std::string& domain) {
  scripted_dnssd.Answer(harkbonjour.dnssvcBrowser,
                        BrowseAnswer{.interface = harkbonjour.opinterface, .name = name, .domain = domain});
}

void Bonjour::QueueGone(const std::string& name, const std::string& domain) {
  scripted_dnssd.Answer(
      harkbonjour.dnssvcBrowser,
      BrowseAnswer{.flags = 0, .interface = harkbonjour.opinterface, .name = name, .domain = domain});
}

void Bonjour::QueueResolved(const std::string& name, const std::string& host, const std::string& txt,
                            const std::string& domain) {
  ASSERT_NE(Entry(name, domain), nullptr) << name;
  scripted_dnssd.Answer(Entry(name, domain)->resolver, ResolveAnswer{.interface = harkbonjour.opinterface,
                                                                     .full_name = FullName(name, domain),
                                                                     .host = host,
                                                                     .port = kPort,
                                                                     .txt = txt});
}

void Bonjour::QueueAddress(const std::string& name, const char* address) {
  ASSERT_NE(Entry(name), nullptr) << name;
  scripted_dnssd.Answer(Entry(name)->addr_query,
                        QueryAnswer{.interface = harkbonjour.opinterface, .rdata = Raw(address)});
}

void Bonjour::Found(const std::string& name, const std::string& domain) {
  QueueFound(name, domain);
  EXPECT_EQ(Serve(), 0);
}

void Bonjour::Gone(const std::string& name, const std::string& domain) {
  QueueGone(name, domain);
  EXPECT_EQ(Serve(), 0);
}

void Bonjour::Resolved(const std::string& name, const std::string& host, const std::string& txt,
                       const std::string& domain) {
  QueueResolved(name, host, txt, domain);
  EXPECT_EQ(Serve(), 0);
}

void Bonjour::HasAddress(const std::string& name, const char* address) {
  QueueAddress(name, address);
  EXPECT_EQ(Serve(), 0);
}

harkresolvtable_entry& Bonjour::Known(const std::string& name, const char* address) {
  Found(name);
  Resolved(name, name + "-host.local.");
  HasAddress(name, address);
  return *Entry(name);
}

harkresolvtable_entry* Bonjour::Entry(std::string_view name, std::string_view domain) {
  return harkresolvtable_lookup(harkd_dynamicsources, name, domain);
}

std::string Bonjour::Url(std::string_view name, std::string_view domain) {
  const harkresolvtable_entry* entry = Entry(name, domain);
  return entry != nullptr ? entry->url : "-";
}

Texts Bonjour::Names() {
  Texts names;
  for (const harkresolvtable_entry& entry : harkd_dynamicsources)
    names.push_back(entry.name + "/" + entry.domain);
  return names;
}

Texts Bonjour::Calls() {
  Texts calls = scripted_dnssd.TakeCalls();
  std::erase_if(calls, [](const std::string& call) { return call.starts_with("process "); });
  return calls;
}

bool Bonjour::HasFaults() { return !g_faults.empty(); }

int Bonjour::Changes() { return std::exchange(g_changes, 0); }

}  // namespace hark
