// Calls that make no sense are refused, whatever their texts are: none ends the process, and none leaves
// anything behind.
#include <arpa/inet.h>

#include "addressing/dnssd/dnssd_fixture.h"

namespace hark::test {
namespace {

class BadInput : public DnssdTest {
 protected:
  void SetUp() override {
    DnssdTest::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    StartDaemon();
    descriptors_ = count_descriptors();
  }
  void TearDown() override {
    if (IsSkipped() || HasFatalFailure()) return;
    EXPECT_EQ(daemon_version(), kDNSServiceErr_NoError);
    EXPECT_EQ(count_descriptors(), descriptors_);
  }

 private:
  int descriptors_ = 0;
};

void on_browse(DNSServiceRef, DNSServiceFlags, std::uint32_t, DNSServiceErrorType, const char*, const char*,
               const char*, void*) {}
void on_resolve(DNSServiceRef, DNSServiceFlags, std::uint32_t, DNSServiceErrorType, const char*, const char*,
                std::uint16_t, std::uint16_t, const unsigned char*, void*) {}
void on_query(DNSServiceRef, DNSServiceFlags, std::uint32_t, DNSServiceErrorType, const char*, std::uint16_t,
              std::uint16_t, std::uint16_t, const void*, std::uint32_t, void*) {}

TEST_F(BadInput, WithoutAReferenceDoesNothing) {
  EXPECT_EQ(DNSServiceRefSockFD(nullptr), -1);
  EXPECT_EQ(DNSServiceProcessResult(nullptr), kDNSServiceErr_BadReference);
  DNSServiceRefDeallocate(nullptr);
}

TEST_F(BadInput, NullIsRefusedWhereAnArgumentIsNeeded) {
  constexpr auto kBad = kDNSServiceErr_BadParam;
  DNSServiceRef ref = nullptr;
  EXPECT_EQ(DNSServiceRegister(nullptr, 0, 0, "a", kType, nullptr, nullptr, 1, 0, nullptr, nullptr, nullptr),
            kBad);
  EXPECT_EQ(DNSServiceRegister(&ref, 0, 0, "a", nullptr, nullptr, nullptr, 1, 0, nullptr, nullptr, nullptr),
            kBad);
  EXPECT_EQ(DNSServiceBrowse(nullptr, 0, 0, kType, nullptr, on_browse, nullptr), kBad);
  EXPECT_EQ(DNSServiceBrowse(&ref, 0, 0, nullptr, nullptr, on_browse, nullptr), kBad);
  EXPECT_EQ(DNSServiceBrowse(&ref, 0, 0, kType, nullptr, nullptr, nullptr), kBad);
  EXPECT_EQ(DNSServiceResolve(nullptr, 0, 0, "a", kType, "local.", on_resolve, nullptr), kBad);
  EXPECT_EQ(DNSServiceResolve(&ref, 0, 0, nullptr, kType, "local.", on_resolve, nullptr), kBad);
  EXPECT_EQ(DNSServiceResolve(&ref, 0, 0, "a", nullptr, "local.", on_resolve, nullptr), kBad);
  EXPECT_EQ(DNSServiceResolve(&ref, 0, 0, "a", kType, "local.", nullptr, nullptr), kBad);
  EXPECT_EQ(DNSServiceQueryRecord(nullptr, 0, 0, "a.local.", 1, 1, on_query, nullptr), kBad);
  EXPECT_EQ(DNSServiceQueryRecord(&ref, 0, 0, nullptr, 1, 1, on_query, nullptr), kBad);
  EXPECT_EQ(DNSServiceQueryRecord(&ref, 0, 0, "a.local.", 1, 1, nullptr, nullptr), kBad);
  EXPECT_EQ(ref, nullptr) << "nothing is set on failure";
}

TEST_F(BadInput, ALengthWithoutATextIsRefused) {
  DNSServiceRef ref = nullptr;
  EXPECT_EQ(DNSServiceRegister(&ref, 0, 0, "a", kType, nullptr, nullptr, 1, 5, nullptr, nullptr, nullptr),
            kDNSServiceErr_BadParam);
  EXPECT_EQ(ref, nullptr);
  Asked service;
  ASSERT_EQ(service.announce({.name = "Gate"}), 0);
  EXPECT_EQ(DNSServiceUpdateRecord(service.ref(), nullptr, 0, 5, nullptr, 0), kDNSServiceErr_BadParam);
}

TEST_F(BadInput, ATextWhoseItemsDoNotFitIsRefused) {
  Asked refused;
  EXPECT_EQ(refused.announce({.name = "Gate",
                              .txt = "\x05"
                                     "ALT="}),
            kDNSServiceErr_BadParam);
  EXPECT_FALSE(refused.is_open());
  Asked service;
  ASSERT_EQ(service.announce({.name = "Gate", .txt = txt_of({"ALT=x"})}), 0);
  EXPECT_EQ(service.update("\xff"), kDNSServiceErr_BadParam);
  Asked details;
  ASSERT_EQ(details.resolve("Gate"), 0);
  ASSERT_TRUE(details.wait_told());
  EXPECT_EQ(details.told[0].data, txt_of({"ALT=x"}));
}

TEST_F(BadInput, NamesThatAreNoneAreRefused) {
  for (const char* type : {"", ".", "hark._tcp", "_hark._tcp.local"}) {
    SCOPED_TRACE(type);
    Asked browse;
    EXPECT_EQ(browse.browse(0, type), kDNSServiceErr_BadParam);
    EXPECT_FALSE(browse.is_open());
    Asked service;
    EXPECT_EQ(service.announce({.name = "a", .type = type}), kDNSServiceErr_BadParam);
    EXPECT_FALSE(service.is_open());
  }
  Asked asked;
  EXPECT_EQ(asked.resolve(std::string(64, 'x').c_str()), kDNSServiceErr_BadParam);
  EXPECT_EQ(asked.query((std::string(64, 'x') + ".local.").c_str()), kDNSServiceErr_BadParam);
  EXPECT_EQ(asked.query("a..local."), kDNSServiceErr_BadParam);
  EXPECT_EQ(asked.announce({.name = "a", .host = "a..b"}), kDNSServiceErr_BadParam);
  EXPECT_FALSE(asked.is_open());
}

TEST_F(BadInput, AnInterfaceThatCannotBeIsRefused) {
  for (const std::uint32_t index : {0x80000000U, 0xfffffffeU}) {
    SCOPED_TRACE(index);
    Asked asked;
    EXPECT_EQ(asked.browse(index), kDNSServiceErr_BadInterfaceIndex);
    EXPECT_EQ(asked.resolve("Gate", "local.", index), kDNSServiceErr_BadInterfaceIndex);
    EXPECT_EQ(asked.query("host2.local.", kDNSServiceType_A, index), kDNSServiceErr_BadInterfaceIndex);
    EXPECT_EQ(asked.announce({.name = "Gate", .interface_index = index}), kDNSServiceErr_BadInterfaceIndex);
    EXPECT_FALSE(asked.is_open());
  }
}

// A service for this machine alone is nothing that the daemon has: it shall not go to everybody instead.
TEST_F(BadInput, ThisMachineAloneIsNotEveryInterface) {
  Asked service;
  EXPECT_NE(service.announce({.name = "Gate", .interface_index = kDNSServiceInterfaceIndexLocalOnly}),
            kDNSServiceErr_NoError);
  Asked browse;
  EXPECT_NE(browse.browse(kDNSServiceInterfaceIndexLocalOnly), kDNSServiceErr_NoError);
}

TEST_F(BadInput, NothingIsFoundOnAnInterfaceThatIsNotThere) {
  Asked service;
  ASSERT_EQ(service.announce({.name = "Gate"}), 0);
  Asked nowhere;
  const DNSServiceErrorType error = nowhere.browse(9999);
  Asked browse;
  ASSERT_EQ(browse.browse(), 0);
  ASSERT_TRUE(browse.wait_told());
  EXPECT_THAT(nowhere.told, testing::IsEmpty()) << "whether it is refused or not: " << error;
}

// RFC 6763 section 4.1.1 wants UTF-8, and the system bus takes nothing else.
TEST_F(BadInput, BytesThatAreNoUtf8BecomeQuestionMarks) {
  struct Row {
    const char* given;
    const char* taken;
  };
  for (const Row& row : {
           Row{"M\xfcnchen", "M?nchen"},
           Row{"\xff", "?"},
           Row{"\x80\x80", "??"},
           Row{"Gr\xc3", "Gr?"},
           Row{"ab\xe6\x9d", "ab??"},
           Row{"\xf0\x9f\x8e", "???"},
           Row{"\xc0\xaf", "??"},
           Row{"\xed\xa0\x80", "???"},
           Row{"\xf4\x90\x80\x80", "????"},
           Row{"\xc3\xbc\xfc\xc3\xbc", "\xc3\xbc?\xc3\xbc"},
       }) {
    SCOPED_TRACE(row.taken);
    Asked service;
    ASSERT_EQ(service.announce({.name = row.given}), 0);
    Asked details;
    ASSERT_EQ(details.resolve(row.given), 0);
    ASSERT_TRUE(service.wait_told());
    EXPECT_EQ(service.told[0].name, row.taken);
    ASSERT_TRUE(details.wait_told());
    EXPECT_EQ(labels_of(details.told[0].name)[0], row.taken);
  }
}

TEST_F(BadInput, NoTextEndsTheProcess) {
  for (const char* text : {"M\xfcnchen", "a\xc3", "\xff\xfe", "\x80.local", "_h\xe4rk._tcp", "a.\xf0\x9f"}) {
    SCOPED_TRACE(text);
    Asked asked;
    (void)asked.browse(0, text);
    asked.end();
    (void)asked.browse(0, kType, text);
    asked.end();
    (void)asked.resolve(text, text);
    asked.end();
    (void)asked.query(text);
    asked.end();
    (void)asked.announce({.name = text, .host = text, .domain = text, .type = text});
    asked.end();
    (void)asked.announce({.name = text, .host = text});
    asked.end();
    (void)asked.announce({.name = text, .domain = text});
    asked.end();
    EXPECT_EQ(daemon_version(), kDNSServiceErr_NoError);
  }
}

}  // namespace
}  // namespace hark::test
