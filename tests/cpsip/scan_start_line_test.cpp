// The first line of a datagram: methods, versions and status codes in good and bad form.
#include <gtest/gtest.h>

#include <string>

#include "cpsip/scan_fixture.h"

namespace hark::test {
namespace {

struct RequestRow {
  std::string_view line;  // without its CR LF
  cpsip_method method;
  std::string_view uri;
  int scan_status;
};

TEST(ScanStartLine, TakesRequests) {
  static constexpr RequestRow kRows[] = {
      {"INVITE sip:b@h SIP/2.0", cpsip_method::invite, "sip:b@h", 0},
      {"BYE sip:b@h SIP/2.0", cpsip_method::bye, "sip:b@h", 0},
      {"ACK sip:b@h SIP/2.0", cpsip_method::ack, "sip:b@h", 0},
      {"CANCEL sip:b@h SIP/2.0", cpsip_method::cancel, "sip:b@h", 0},
      {"REFER sip:b@h SIP/2.0", cpsip_method::refer, "sip:b@h", 0},
      {"NOTIFY sip:b@h SIP/2.0", cpsip_method::notify, "sip:b@h", 0},
      {"OPTIONS sip:b@h SIP/2.0", cpsip_method::options, "sip:b@h", 0},
      {"INVITEX sip:b@h SIP/2.0", cpsip_method::invite, "sip:b@h", 0},  // a prefix is enough
      {"BYEBYE sip:b@h SIP/2.0", cpsip_method::bye, "sip:b@h", 0},
      {"INVITE   sip:b@h   SIP/2.0", cpsip_method::invite, "sip:b@h", 0},
      {"INVITE <sip:b;lr>,\"x\"?y=z SIP/2.0", cpsip_method::invite, "<sip:b;lr>,\"x\"?y=z", 0},
      {"IN\tVITE sip:\tb SIP/2.0", cpsip_method::invite, "sip:b", 0},
      {"INVITE sip:b SIP/3.0", cpsip_method::invite, "sip:b", 505},
      {"INVITE sip:b SIP/1.0", cpsip_method::invite, "sip:b", 505},
      {"INVITE sip:b SIP/2.1", cpsip_method::invite, "sip:b", 505},
      {"INVITE sip:b SIP/abc", cpsip_method::invite, "sip:b", 505},
      {"INVITE sip:b SIP/20", cpsip_method::invite, "sip:b", 400},
      {"INVITE sip:b SIP/2.00", cpsip_method::invite, "sip:b", 400},
      {"INVITE sip:b SIP/2.0 ", cpsip_method::invite, "sip:b", 400},  // eight bytes
      {"INVITE sip:b SIP/2.0 x", cpsip_method::invite, "sip:b", 400},
      {"INVITE sip:b HTTP/1.1", cpsip_method::invite, "sip:b", 400},
      {"INVITE sip:b ABC/2.0", cpsip_method::invite, "sip:b", 400},
      {"INVITE sip:b ", cpsip_method::invite, "sip:b", 400},
      {"INVITE sip: b SIP/2.0", cpsip_method::invite, "sip:", 400},
      {" INVITE sip:b SIP/2.0", cpsip_method::unrecognized, "INVITE", 400},
  };
  for (const RequestRow& row : kRows) {
    SCOPED_TRACE(::testing::PrintToString(row.line));
    LineScan line{std::string{row.line} + "\r\n"};
    EXPECT_EQ(line.StartLine(), kScanOk);
    EXPECT_EQ(line.msg().method, row.method);
    EXPECT_EQ(TextOf(line.msg().request_uri), row.uri);
    EXPECT_EQ(line.msg().scan_status, row.scan_status);
    EXPECT_EQ(line.msg().status_code, 0);
  }
}

TEST(ScanStartLine, MethodsOutsideTheTableKeepTheirText) {
  for (const std::string name : {"REGISTER", "PRACK", "INFO", "SUBSCRIBE", "MESSAGE", "PUBLISH", "UPDATE",
                                 "FOO", "invite", "Invite", "INVIT", "~", "SIP"}) {
    SCOPED_TRACE(name);
    LineScan line{name + " sip:b@h SIP/2.0\r\n"};
    EXPECT_EQ(line.StartLine(), kScanOk);
    EXPECT_EQ(line.msg().method, cpsip_method::unrecognized);
    EXPECT_EQ(line.msg().cseq_method, cpsip_method::unrecognized);
    EXPECT_EQ(line.msg().unknown_method.data(), name);
    EXPECT_EQ(TextOf(line.msg().request_uri), "sip:b@h");
    EXPECT_EQ(line.msg().scan_status, 0);
  }
}

TEST(ScanStartLine, MethodsOfTheTableHaveNoTextOfTheirOwn) {
  LineScan line{"INVITEX sip:b@h SIP/2.0\r\n"};
  EXPECT_EQ(line.StartLine(), kScanOk);
  EXPECT_STREQ(line.msg().unknown_method.data(), "");
}

TEST(ScanStartLine, LongestUnknownMethodIs299BytesLong) {
  const std::string longest(299, 'X');
  LineScan fits{longest + " sip:b SIP/2.0\r\n"};
  EXPECT_EQ(fits.StartLine(), kScanOk);
  EXPECT_EQ(fits.msg().unknown_method.data(), longest);
  LineScan cut{longest + "Y sip:b SIP/2.0\r\n"};
  EXPECT_EQ(cut.StartLine(), kScanOk);
  EXPECT_EQ(cut.msg().unknown_method.data(), longest);
  EXPECT_EQ(TextOf(cut.msg().request_uri), "sip:b");
}

struct StatusRow {
  std::string_view line;
  int status;
  std::string_view reason;
};

TEST(ScanStartLine, TakesResponses) {
  static constexpr StatusRow kRows[] = {
      {"SIP/2.0 200 OK", 200, "OK"},
      {"SIP/2.0 100 Trying", 100, "Trying"},
      {"SIP/2.0 404 Not Found", 404, "Not Found"},
      {"SIP/2.0  486   Busy  Here", 486, "Busy  Here"},
      {"SIP/2.0 400 a:b,c;d=e<f>\"g\" (h) /?", 400, "a:b,c;d=e<f>\"g\" (h) /?"},
      {"SIP/2.0 200 ", 200, ""},
      {"SIP/2.0 200 O\tK", 200, "OK"},
      {"SIP/1.0 200 OK", 200, "OK"},  // the version is not looked at
      {"SIP/ 200 OK", 200, "OK"},
      {"SIP/x-y 200 OK", 200, "OK"},
      {"SIP/2.0 0 OK", 0, "OK"},  // nor is the range of the code
      {"SIP/2.0 999 X", 999, "X"},
      {"SIP/2.0 65535 X", 65535, "X"},
      {"SIP/2.0 70000 X", 4464, "X"},
      {"SIP/2.0 -1 X", 65535, "X"},
      {"SIP/2.0 99999999999 X", 65535, "X"},
      {"SIP/2.0 abc X", 0, "X"},
      {"SIP/2.0 20x X", 20, "X"},
  };
  for (const StatusRow& row : kRows) {
    SCOPED_TRACE(::testing::PrintToString(row.line));
    LineScan line{std::string{row.line} + "\r\n"};
    EXPECT_EQ(line.StartLine(), kScanOk);
    EXPECT_EQ(line.msg().method, cpsip_method::response);
    EXPECT_EQ(line.msg().status_code, row.status);
    EXPECT_EQ(TextOf(line.msg().reason), row.reason);
    EXPECT_EQ(line.msg().scan_status, 0);
    EXPECT_EQ(line.msg().request_uri.length, 0);
  }
}

TEST(ScanStartLine, LineThatEndsTooEarlyIsABadOne) {
  for (const std::string text :
       {"INVITE", "INVITE sip:b", "FOO", "FOO sip:b", "SIP/2.0", "SIP/2.0 200", "x", "INVITE "}) {
    SCOPED_TRACE(text);
    LineScan line{text + "\r\n"};
    EXPECT_EQ(line.StartLine(), kScanBadStartLine);
    const Scanned scanned = Scan(text + "\r\nTo: sip:a@b\r\n\r\n");
    EXPECT_EQ(scanned.result, kScanBadStartLine);
    EXPECT_FALSE(scanned.complete);
    EXPECT_FALSE(scanned.HasMessage());
  }
}

TEST(ScanStartLine, BadVersionIsReportedAndTheMessageGoesOn) {
  for (const std::string version : {"SIP/3.0", "SIP/20"}) {
    LineScan line{"INVITE sip:b " + version + "\r\n"};
    const std::string reports = Reports([&] { (void)cpsip_msg_scan_start_line(line.scan()); });
    EXPECT_EQ(reports.rfind("UXP", 0), 0U) << version;
    const Scanned scanned = Scan("INVITE sip:b " + version + "\r\nTo: sip:a@b\r\n\r\n");
    EXPECT_TRUE(scanned.IsWhole()) << version;
    EXPECT_EQ(TextOf(scanned.msg().to_uri), "sip:a@b") << version;
  }
}

TEST(ScanStartLine, PartsOver300BytesDropTheDatagram) {
  const std::string longest(300, 'a');
  for (const bool too_long : {false, true}) {
    SCOPED_TRACE(too_long);
    const std::string part = longest + (too_long ? "a" : "");
    const int expected = too_long ? kScanTokenTooLong : kScanOk;
    for (const std::string& text :
         {part + " sip:b SIP/2.0", "INVITE " + part + " SIP/2.0", "INVITE sip:b " + part,
          "SIP/2.0 " + part + " OK", "SIP/2.0 200 " + part}) {
      const Scanned scanned = Scan(text + "\r\nTo: sip:a@b\r\n\r\n");
      EXPECT_EQ(scanned.result, expected) << text;
      EXPECT_EQ(scanned.HasMessage(), !too_long) << text;
    }
  }
}

TEST(ScanStartLine, RecordLiesAtTheStartOfTheBlock) {
  const Scanned scanned = Scan(Request("To: sip:a@b\r\n"));
  ASSERT_TRUE(scanned.IsWhole());
  EXPECT_EQ(scanned.msg().start_line.buf, scanned.msg().chain.get());
  EXPECT_EQ(scanned.msg().start_line.offset, kOsaHeaderSize);
  EXPECT_EQ(TextOf(scanned.msg().start_line).rfind("INVITE sip:bob@192.0.2.4 SIP/2.0", 0), 0U);
}

}  // namespace
}  // namespace hark::test
