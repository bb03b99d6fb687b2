// The Via header: its four chains, comma lists, and the lines that drop the datagram.
#include <gtest/gtest.h>

#include <string>

#include "cpsip/scan_fixture.h"

namespace hark::test {
namespace {

struct ViaRow {
  std::string headers;
  Texts transports;
  Texts hosts;
  Texts ports;
  Texts parms;  // of the first instance
};

void ExpectVia(const ViaRow& row) {
  SCOPED_TRACE(::testing::PrintToString(row.headers));
  const Scanned scanned = Scan(Request(row.headers));
  ASSERT_TRUE(scanned.IsWhole());
  const cpsip_msg& msg = scanned.msg();
  EXPECT_EQ(msg.via_count, row.transports.size());
  EXPECT_EQ(Chain(msg, msg.via_head).size(), row.transports.size());
  EXPECT_EQ(Chain(msg, msg.via_transport_head), row.transports);
  EXPECT_EQ(Chain(msg, msg.via_host_head), row.hosts);
  EXPECT_EQ(Chain(msg, msg.via_port_head), row.ports);
  EXPECT_EQ(ParmsOf(msg, msg.via_head), row.parms);
  EXPECT_EQ(msg.scan_status, 0);
}

TEST(ScanVia, TakesTransportHostPortAndParameters) {
  const ViaRow rows[] = {
      {"Via: SIP/2.0/UDP 192.0.2.1\r\n", {"UDP"}, {"192.0.2.1"}, {""}, {}},
      {"Via: SIP/2.0/UDP h:5060\r\n", {"UDP"}, {"h"}, {"5060"}, {}},
      {"Via: SIP/2.0/UDP h;branch=z9hG4bK1\r\n", {"UDP"}, {"h"}, {""}, {"branch=z9hG4bK1"}},
      {"Via: SIP/2.0/UDP h:5060;branch=b;rport\r\n", {"UDP"}, {"h"}, {"5060"}, {"branch=b", "rport"}},
      {"Via: SIP/2.0/UDP h: 5060 ; branch=b ; rport\r\n", {"UDP"}, {"h"}, {"5060 "}, {"branch=b ", "rport"}},
      {"Via: SIP/2.0/UDP h ;branch=b\r\n", {"UDP"}, {"h "}, {""}, {"branch=b"}},
      {"Via:SIP / 2.0 / UDP   h\r\n", {"UDP"}, {"h"}, {""}, {}},
      {"v: SIP/2.0/UDP h\r\n", {"UDP"}, {"h"}, {""}, {}},
      {"V:SIP/2.0/tls h\r\n", {"tls"}, {"h"}, {""}, {}},
      {"Via: a/b/c h\r\n", {"c"}, {"h"}, {""}, {}},  // name and version are not looked at
      {"Via: //c h\r\n", {"c"}, {"h"}, {""}, {}},
      {"Via: SIP/2.0/UDP\r\n h\r\n", {"UDP"}, {"h"}, {""}, {}},
      {"Via: SIP/2.0/UDP h;x=\"a,b\";y\r\n", {"UDP"}, {"h"}, {""}, {"x=\"a,b\"", "y"}},
  };
  for (const ViaRow& row : rows)
    ExpectVia(row);
}

TEST(ScanVia, SeveralLinesAreSeveralInstancesInTheirOrder) {
  ExpectVia({"Via: SIP/2.0/UDP a:1;x\r\nTo: sip:t\r\nVia: SIP/2.0/TCP b\r\nv: SIP/2.0/TLS c:3\r\n",
             {"UDP", "TCP", "TLS"},
             {"a", "b", "c"},
             {"1", "", "3"},
             {"x"}});
}

TEST(ScanVia, CommaRightBehindAHostLosesTheHost) {
  ExpectVia({"Via: SIP/2.0/UDP host,SIP/2.0/UDP other\r\n", {"UDP", "UDP"}, {"", "other"}, {"", ""}, {}});
  ExpectVia({"Via: SIP/2.0/UDP a,SIP/2.0/TCP b, SIP/2.0/TLS c:1\r\n",
             {"UDP", "TCP", "TLS"},
             {"", "", "c"},
             {"", "", "1"},
             {}});
}

TEST(ScanVia, CommaBehindAPortOrAParameterKeepsTheHost) {
  ExpectVia({"Via: SIP/2.0/UDP a:1,SIP/2.0/UDP b:2\r\n", {"UDP", "UDP"}, {"a", "b"}, {"1", "2"}, {}});
  ExpectVia({"Via: SIP/2.0/UDP a;x,SIP/2.0/UDP b;y\r\n", {"UDP", "UDP"}, {"a", "b"}, {"", ""}, {"x"}});
  ExpectVia({"Via: SIP/2.0/UDP a:1;x=2;z , SIP/2.0/UDP b\r\n",
             {"UDP", "UDP"},
             {"a", "b"},
             {"1", ""},
             {"x=2", "z "}});
}

TEST(ScanVia, ParametersBelongToTheirOwnInstance) {
  const Scanned scanned = Scan(Request("Via: SIP/2.0/UDP a;x,SIP/2.0/UDP b:1;y;z,SIP/2.0/UDP c:1\r\n"));
  ASSERT_TRUE(scanned.IsWhole());
  const cpsip_msg& msg = scanned.msg();
  EXPECT_EQ(ParmsOf(msg, msg.via_head, 1), Texts{"x"});
  EXPECT_EQ(ParmsOf(msg, msg.via_head, 2), (Texts{"y", "z"}));
  EXPECT_EQ(ParmsOf(msg, msg.via_head, 3), Texts{});
}

TEST(ScanVia, HeaderBehindAListIsItsOwn) {
  const Scanned scanned = Scan(Request("Via: SIP/2.0/UDP a,SIP/2.0/UDP b\r\nTo: sip:t\r\nCall-ID: c\r\n"));
  ASSERT_TRUE(scanned.IsWhole());
  EXPECT_EQ(scanned.msg().via_count, 2);
  EXPECT_EQ(TextOf(scanned.msg().to_uri), "sip:t");
  EXPECT_EQ(TextOf(scanned.msg().call_id), "c");
}

TEST(ScanVia, RecordOfTheHeaderIsTheWholeLine) {
  const std::string line = "Via: SIP/2.0/UDP h:5060;branch=b\r\n";
  const Scanned scanned = Scan(Request(line));
  ASSERT_TRUE(scanned.IsWhole());
  EXPECT_EQ(Chain(scanned.msg(), scanned.msg().via_head), Texts{line});
}

TEST(ScanVia, DoubledSeparatorSetsStatus400) {
  for (const char* line : {"Via: SIP/2.0/UDP h;;x\r\n", "Via: SIP/2.0/UDP h;x;;y\r\n"}) {
    const Scanned scanned = Scan(Request(line));
    ASSERT_TRUE(scanned.IsWhole()) << line;
    EXPECT_EQ(scanned.msg().scan_status, 400) << line;
    EXPECT_EQ(Chain(scanned.msg(), scanned.msg().via_host_head), Texts{"h"}) << line;
  }
}

TEST(ScanVia, BadOnesDropTheDatagram) {
  static constexpr const char* kRows[] = {
      "Via:",
      "Via: ",
      "Via: SIP",
      "Via: SIP/2.0",
      "Via: SIP/2.0/",
      "Via: SIP/2.0/UDP",
      "Via: SIP/2.0/UDP ",
      "Via: SIP/2.0/ h",      // the host is taken for the transport
      "Via: SIP/2.0/UDP ;x",  // no host
      "Via: SIP/2.0/UDP :5060",
      "Via: SIP/2.0/UDP ,",
      "Via: SIP/2.0/UDP h:",  // no port
      "Via: SIP/2.0/UDP h:;x",
      "Via: SIP/2.0/UDP h: ,SIP/2.0/UDP i",
      "Via: SIP/2.0/UDP h:1,",  // nothing behind the comma
      "Via: SIP/2.0/UDP h,SIP/2.0",
      "Via SIP/2.0/UDP h",
  };
  for (const char* row : kRows) {
    SCOPED_TRACE(row);
    const Scanned scanned = Scan(Request("To: sip:t\r\n" + std::string{row} + "\r\n"));
    EXPECT_EQ(scanned.result, kScanBadHeader);
    EXPECT_FALSE(scanned.complete);
    EXPECT_FALSE(scanned.HasMessage());
  }
}

}  // namespace
}  // namespace hark::test
