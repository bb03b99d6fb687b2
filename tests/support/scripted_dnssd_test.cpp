// The scripted DNS-SD library notices misuse, and bears callbacks that release references or start others.
#include "support/scripted_dnssd.h"

#include <gtest/gtest.h>
#include <sys/select.h>

#include <string>
#include <vector>

namespace hark {
namespace {

std::vector<std::string> g_faults;
int g_answers = 0;

void Count(DNSServiceRef, DNSServiceFlags, std::uint32_t, DNSServiceErrorType, const char*, const char*,
           const char*, void*) {
  ++g_answers;
}

// Releases the reference that the context points to, and starts another in its place.
void Replace(DNSServiceRef, DNSServiceFlags, std::uint32_t, DNSServiceErrorType, const char*, const char*,
             const char*, void* context) {
  ++g_answers;
  auto* ref = static_cast<DNSServiceRef*>(context);
  DNSServiceRefDeallocate(*ref);
  EXPECT_EQ(DNSServiceBrowse(ref, 0, 0, "_x._tcp", nullptr, Count, nullptr), 0);
}

class ScriptedDnssdTest : public ::testing::Test {
 protected:
  ScriptedDnssdTest() {
    scripted_dnssd.Reset();
    scripted_dnssd.on_fault = [](const char* text) { g_faults.emplace_back(text); };
    g_faults.clear();
    g_answers = 0;
  }
  ~ScriptedDnssdTest() override {
    scripted_dnssd.on_fault = nullptr;
    scripted_dnssd.Reset();
  }
  static DNSServiceRef Browse(DNSServiceBrowseReply callback = Count, void* context = nullptr) {
    DNSServiceRef ref = nullptr;
    EXPECT_EQ(DNSServiceBrowse(&ref, 0, 0, "_x._tcp", "", callback, context), 0);
    return ref;
  }
  static bool Ready(DNSServiceRef ref) {
    fd_set set;
    FD_ZERO(&set);
    FD_SET(DNSServiceRefSockFD(ref), &set);
    timeval at_once{};
    return ::select(FD_SETSIZE, &set, nullptr, nullptr, &at_once) == 1;
  }
};

TEST_F(ScriptedDnssdTest, WithoutAScriptThereIsNoDaemon) {
  DNSServiceRef ref = nullptr;
  EXPECT_EQ(DNSServiceRegister(&ref, 0, 0, "A", "_x._tcp", "", "", 1, 0, nullptr, nullptr, nullptr), -65563);
  EXPECT_EQ(DNSServiceBrowse(&ref, 0, 0, "_x._tcp", "", Count, nullptr), -65563);
  EXPECT_EQ(DNSServiceResolve(&ref, 0, 0, "A", "_x._tcp", "local.", nullptr, nullptr), -65563);
  EXPECT_EQ(DNSServiceQueryRecord(&ref, 0, 0, "a.local.", 1, 1, nullptr, nullptr), -65563);
  EXPECT_EQ(DNSServiceGetProperty(kDnssdDaemonVersion, nullptr, nullptr), -65563);
  EXPECT_EQ(scripted_dnssd.Live(), 0);
  EXPECT_TRUE(g_faults.empty());
  DNSServiceRefDeallocate(ref);
  EXPECT_EQ(g_faults.size(), 1u) << "what a failed start leaves is no reference";
}

TEST_F(ScriptedDnssdTest, ReferenceIsReadyWhileAnAnswerWaits) {
  scripted_dnssd.Start();
  const DNSServiceRef one = Browse(), other = Browse();
  EXPECT_FALSE(Ready(one));
  scripted_dnssd.Answer(one, BrowseAnswer{.name = "A"});
  scripted_dnssd.Answer(one, BrowseAnswer{.name = "B"});
  EXPECT_TRUE(Ready(one));
  EXPECT_FALSE(Ready(other));
  EXPECT_EQ(DNSServiceProcessResult(one), 0);
  EXPECT_EQ(g_answers, 2);
  EXPECT_FALSE(Ready(one));
}

TEST_F(ScriptedDnssdTest, SharedDescriptorDeliversAllAndNeverWaits) {
  scripted_dnssd.ShareDescriptor();
  scripted_dnssd.Start();
  const DNSServiceRef one = Browse(), other = Browse();
  EXPECT_EQ(DNSServiceRefSockFD(one), DNSServiceRefSockFD(other));
  scripted_dnssd.Answer(one, BrowseAnswer{});
  scripted_dnssd.Answer(other, BrowseAnswer{});
  EXPECT_TRUE(Ready(other));
  EXPECT_EQ(DNSServiceProcessResult(other), 0);
  EXPECT_EQ(g_answers, 2);
  EXPECT_FALSE(Ready(other));
  EXPECT_EQ(DNSServiceProcessResult(one), 0);
  EXPECT_TRUE(g_faults.empty());
}

TEST_F(ScriptedDnssdTest, MisuseIsAFault) {
  scripted_dnssd.Start();
  const DNSServiceRef ref = Browse();
  (void)DNSServiceProcessResult(ref);
  EXPECT_EQ(g_faults, std::vector<std::string>{"DNSServiceProcessResult: would wait for #1"});
  DNSServiceRefDeallocate(ref);
  g_faults.clear();
  DNSServiceRefDeallocate(ref);
  EXPECT_EQ(DNSServiceProcessResult(ref), kDNSServiceErr_BadReference);
  EXPECT_EQ(DNSServiceRefSockFD(ref), -1);
  EXPECT_EQ(DNSServiceUpdateRecord(ref, nullptr, 0, 0, nullptr, 0), kDNSServiceErr_BadReference);
  DNSServiceRefDeallocate(nullptr);
  EXPECT_EQ(g_faults, (std::vector<std::string>{"DNSServiceRefDeallocate: released reference #1",
                                                "DNSServiceProcessResult: released reference #1",
                                                "DNSServiceRefSockFD: released reference #1",
                                                "DNSServiceUpdateRecord: released reference #1",
                                                "DNSServiceRefDeallocate: a null reference"}));
}

TEST_F(ScriptedDnssdTest, CallbackMayReleaseItsOwnReferenceAndTheRestOfItsAnswersIsDropped) {
  scripted_dnssd.Start();
  DNSServiceRef ref = nullptr;
  ref = Browse(Replace, &ref);
  scripted_dnssd.Answer(ref, BrowseAnswer{});
  scripted_dnssd.Answer(ref, BrowseAnswer{});
  EXPECT_EQ(DNSServiceProcessResult(ref), 0);
  EXPECT_EQ(g_answers, 1);
  EXPECT_EQ(scripted_dnssd.Live(), 1);
  EXPECT_TRUE(g_faults.empty());
}

TEST_F(ScriptedDnssdTest, CallbackMayReleaseAnotherReference) {
  scripted_dnssd.ShareDescriptor();
  scripted_dnssd.Start();
  DNSServiceRef other = Browse();
  const DNSServiceRef ref = Browse(Replace, &other);
  scripted_dnssd.Answer(ref, BrowseAnswer{});
  scripted_dnssd.Answer(other, BrowseAnswer{});
  EXPECT_EQ(DNSServiceProcessResult(ref), 0);
  EXPECT_EQ(g_answers, 1);
  EXPECT_EQ(scripted_dnssd.Live(), 2);
  EXPECT_TRUE(g_faults.empty());
}

TEST_F(ScriptedDnssdTest, LostDaemonMakesAllReadyAndFail) {
  scripted_dnssd.Start();
  const DNSServiceRef ref = Browse();
  scripted_dnssd.LoseDaemon();
  EXPECT_TRUE(Ready(ref));
  EXPECT_EQ(DNSServiceProcessResult(ref), kDnssdServiceNotRunning);
  DNSServiceRefDeallocate(ref);
  EXPECT_TRUE(g_faults.empty());
}

}  // namespace
}  // namespace hark
