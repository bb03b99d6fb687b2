// Thousands of answers in any order, for stations that are there, are not, or are gone by the time, with
// starts that fail in between. A small model of the table says what must come of them; table, file and
// references are compared after every pass.
#include <arpa/inet.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <deque>
#include <functional>
#include <random>

#include "bonjour_fixture.h"

namespace hark {
namespace {

constexpr unsigned kOurs = 2;
constexpr unsigned kOther = 3;
const Texts kNames = {"Ann", "Bob", "Studio 1", "a.b", "Ann2", "\xff"};
const Texts kDomains = {"local.", "studio."};

// How kNames stand in a full name.
const Texts kEscaped = {"Ann", "Bob", "Studio\\0321", "a\\.b", "Ann2", "\\255"};

// Stands for a reference that the pass has made; which one it is, is read from the table afterwards.
_DNSServiceRef_t* NewReference() {
  static char place;
  return reinterpret_cast<_DNSServiceRef_t*>(&place);
}

struct Model {
  std::deque<harkresolvtable_entry> entries;  // newest first
  bool resolve_fails = false;
  bool query_fails = false;

  harkresolvtable_entry* Find(const std::string& name, const std::string& domain) {
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [&](const auto& e) { return e.name == name && e.domain == domain; });
    return found != entries.end() ? &*found : nullptr;
  }
  harkresolvtable_entry& Add(const std::string& name, const std::string& domain) {
    if (harkresolvtable_entry* known = Find(name, domain)) return *known;
    entries.emplace_front();
    entries.front().name = name;
    entries.front().domain = domain;
    return entries.front();
  }
  void Resolve(harkresolvtable_entry& entry) {
    if (!resolve_fails) entry.resolver = NewReference();
  }
  void AskForAddress(harkresolvtable_entry& entry) {
    if (entry.host == "1.2.3")
      entry.url = "hark:1.2.0.3";
    else if (!entry.host.empty() && !query_fails)
      entry.addr_query = NewReference();
  }
  void Browse(const BrowseAnswer& answer) {
    if (answer.error != 0 || answer.interface != kOurs) return;
    if (answer.flags == 0) {
      std::erase_if(entries,
                    [&](const auto& e) { return e.name == answer.name && e.domain == answer.domain; });
    } else if (harkresolvtable_entry& entry = Add(answer.name, answer.domain); entry.resolver == nullptr) {
      Resolve(entry);
    }
  }
  void Lookup(const std::string& label) {
    harkresolvtable_entry& entry = Add(label, "local.");
    entry.resolver != nullptr ? AskForAddress(entry) : Resolve(entry);
  }
  // Whether an entry still holds the reference; an answer for one that was released is not delivered.
  bool Holds(DNSServiceRef ref) const {
    return std::any_of(entries.begin(), entries.end(),
                       [ref](const auto& e) { return e.resolver == ref || e.addr_query == ref; });
  }
};

class BonjourRandom : public Bonjour, public ::testing::WithParamInterface<unsigned> {
 protected:
  std::size_t Below(std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random_);
  }
  bool OneIn(std::size_t n) { return Below(n) == 0; }

  // Each queues an answer, and gives what the model makes of it.
  std::function<void()> Browse() {
    const BrowseAnswer answer{.flags = OneIn(3) ? 0u : static_cast<unsigned>(kDNSServiceFlagsAdd),
                              .interface = OneIn(10) ? kOther : kOurs,
                              .error = OneIn(20) ? -65537 : 0,
                              .name = kNames[Below(kNames.size())],
                              .domain = kDomains[Below(kDomains.size())]};
    scripted_dnssd.Answer(harkbonjour.dnssvcBrowser, answer);
    return [this, answer] { model_.Browse(answer); };
  }

  std::function<void()> ResolveAnswered() {
    const std::vector<DNSServiceRef> references = scripted_dnssd.References(DnssdKind::kResolve);
    if (references.empty()) return Browse();
    const DNSServiceRef ref = references[Below(references.size())];
    const std::size_t name = Below(kNames.size());
    const std::string domain = kDomains[Below(kDomains.size())];
    const Texts hosts = {"one.local.", "two.local.", "10.1.2.3", "1.2.3", ""};
    const auto trgl = static_cast<char>(Below(256));
    const std::string rtpa = Raw(OneIn(2) ? "239.192.0.7" : "10.0.0.0");
    Texts items;
    const bool has_alt = OneIn(2), has_trgl = OneIn(2), has_rtpa = OneIn(2);
    if (OneIn(3)) items.emplace_back("vers=1");
    if (has_rtpa) items.push_back("RTPA=" + rtpa);
    if (OneIn(3)) items.emplace_back("");
    if (has_trgl) items.push_back(std::string("TRGL=") + trgl);
    if (has_alt) items.push_back("ALT=" + hosts[0].substr(0, Below(4)));
    const ResolveAnswer answer{.interface = OneIn(10) ? kOther : kOurs,
                               .full_name = kEscaped[name] + "._hark._tcp." + domain,
                               .host = hosts[Below(hosts.size())],
                               .port = static_cast<std::uint16_t>(Below(65536)),
                               .txt = TxtOf(items)};
    scripted_dnssd.Answer(ref, answer);
    return [=, this] {
      harkresolvtable_entry* entry = model_.Find(kNames[name], domain);
      if (!model_.Holds(ref) || answer.interface != kOurs || entry == nullptr) return;
      entry->host = answer.host;
      entry->port = answer.port;
      if (has_alt) entry->alt = items.back().substr(4);
      if (has_trgl) entry->trgl = static_cast<unsigned char>(trgl);
      if (has_rtpa) std::copy_n(rtpa.data(), sizeof entry->rtpa, reinterpret_cast<char*>(&entry->rtpa));
      model_.AskForAddress(*entry);
    };
  }

  std::function<void()> QueryAnswered() {
    const std::vector<DNSServiceRef> references = scripted_dnssd.References(DnssdKind::kQuery);
    if (references.empty()) return Browse();
    const DNSServiceRef ref = references[Below(references.size())];
    const std::string address = "10.0.0." + std::to_string(Below(256));
    const QueryAnswer answer{.flags = OneIn(6) ? 0u : static_cast<unsigned>(kDNSServiceFlagsAdd),
                             .interface = kOurs,
                             .error = OneIn(10) ? -65537 : 0,
                             .type = static_cast<std::uint16_t>(OneIn(6) ? 28 : 1),
                             .rdata = Raw(address.c_str())};
    scripted_dnssd.Answer(ref, answer);
    return [=, this] {
      for (harkresolvtable_entry& entry : model_.entries) {
        if (entry.addr_query == ref && answer.flags != 0 && answer.error == 0 && answer.type == 1)
          entry.url = "hark:" + address;
      }
    };
  }

  std::function<void()> AnyAnswer() {
    switch (Below(4)) {
      case 0:
        return Browse();
      case 1:
        return QueryAnswered();
      default:
        return ResolveAnswered();
    }
  }

  void SomeStartsFail() {
    model_.resolve_fails = OneIn(8);
    model_.query_fails = OneIn(8);
    scripted_dnssd.SetResult(DnssdKind::kResolve, model_.resolve_fails ? kDNSServiceErr_NoMemory : 0);
    scripted_dnssd.SetResult(DnssdKind::kQuery, model_.query_fails ? kDNSServiceErr_NoMemory : 0);
  }

  // What does not come as an answer.
  void AskOrStartAgain() {
    if (OneIn(4)) {
      const std::string label = kNames[Below(kNames.size())];
      (void)harkbonjour_lookupservice(label.c_str());
      model_.Lookup(label);
    }
    if (OneIn(100)) {
      EXPECT_EQ(harkbonjour_initialize(kOurs, kPort, OneIn(2) ? "Studio A" : nullptr), 0);
    }
    if (OneIn(150)) {
      if (OneIn(2)) harkbonjour_cleanup();
      ASSERT_EQ(harkbonjour_initialize(kOther, kPort, "Studio A"), 0);
      ASSERT_EQ(harkbonjour_initialize(kOurs, kPort, "Studio A"), 0);
      model_.entries.clear();
    }
  }

  void CompareAndTakeReferences() {
    const auto text = [](const harkresolvtable_entry& e) {
      return e.name + "/" + e.domain + " " + e.host + " " + e.alt + " " + std::to_string(e.trgl) + " " +
             std::to_string(e.rtpa) + " " + std::to_string(e.port) + " " + e.url;
    };
    ASSERT_EQ(harkd_dynamicsources.size(), model_.entries.size());
    auto expected = model_.entries.begin();
    int references = 1 + (harkbonjour.client != nullptr ? 1 : 0);
    for (const harkresolvtable_entry& entry : harkd_dynamicsources) {
      ASSERT_EQ(text(entry), text(*expected));
      Compare(entry.resolver, expected->resolver, references);
      Compare(entry.addr_query, expected->addr_query, references);
      ++expected;
    }
    EXPECT_EQ(scripted_dnssd.Live(), references);
  }

  // The dear part of a pass, on a busy disk.
  void CompareFile() {
    const std::string path = std::exchange(table_file, folder_.File("whole"));
    harkresolvtable_write(harkd_dynamicsources);
    table_file = path;
    ASSERT_EQ(File(), folder_.Read("whole")) << "each change is in the file";
  }

  static void Compare(DNSServiceRef actual, DNSServiceRef& expected, int& references) {
    EXPECT_EQ(actual == nullptr, expected == nullptr);
    if (expected != NewReference()) {
      EXPECT_EQ(actual, expected);
    }
    if (actual == nullptr) return;
    EXPECT_TRUE(scripted_dnssd.IsLive(actual));
    expected = actual;
    ++references;
  }

  static void ServeQuietly() {
    int result = -1;
    (void)Printed([&] { result = Serve(); });
    EXPECT_EQ(result, 0);
  }

  void Run(int passes, std::size_t most_answers) {
    Start(kOurs, "Studio A");
    for (int pass = 0; pass < passes && !HasFailure() && !HasFaults(); ++pass) {
      SCOPED_TRACE("pass " + std::to_string(pass));
      SomeStartsFail();
      AskOrStartAgain();
      CompareAndTakeReferences();
      std::vector<std::function<void()>> modelled;
      for (std::size_t n = 1 + Below(most_answers); n > 0; --n)
        modelled.push_back(AnyAnswer());
      for (const auto& answer : modelled)
        answer();
      ServeQuietly();
      EXPECT_FALSE(scripted_dnssd.HasAnswers());
      CompareAndTakeReferences();
      CompareFile();
    }
  }

  std::mt19937 random_{GetParam()};
  Model model_;
};

TEST_P(BonjourRandom, OneAnswerInAPassWithDescriptorsOfTheirOwn) { Run(1200, 1); }

TEST_P(BonjourRandom, ManyAnswersInAPassWithOneDescriptorForAll) {
  scripted_dnssd.ShareDescriptor();
  Run(300, 8);
}

// The order in which references are served is the product's own here, so that only the last state of what
// does not depend on it can be told: every reference held is in the table, and the file is the table.
TEST_P(BonjourRandom, ManyAnswersInAPassWithDescriptorsOfTheirOwnLoseNothing) {
  Start(kOurs, "Studio A");
  for (int pass = 0; pass < 300 && !HasFailure() && !HasFaults(); ++pass) {
    SCOPED_TRACE("pass " + std::to_string(pass));
    SomeStartsFail();
    AskOrStartAgain();
    for (std::size_t n = 1 + Below(8); n > 0; --n)
      (void)AnyAnswer();
    ServeQuietly();
    model_.entries.assign(harkd_dynamicsources.begin(), harkd_dynamicsources.end());
    CompareAndTakeReferences();
    CompareFile();
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, BonjourRandom, ::testing::Values(1u, 2u, 3u));

}  // namespace
}  // namespace hark
