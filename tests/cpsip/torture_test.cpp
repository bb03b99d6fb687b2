// The test messages of RFC 4475 through the scanner, each as one datagram.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "cpsip/corpus_support.h"
#include "cpsip/cpsip_msg_scan.h"
#include "cpsip/torture_verdicts.h"

namespace hark::test {
namespace {

std::string torture_file(const std::string& name) { return corpus_file("rfc4475/" + name + ".dat"); }

void expect_message(const TortureVerdict& verdict, const Scanned& scanned) {
  ASSERT_NE(scanned.msg, nullptr);
  cpsip_msg& msg = *scanned.msg;
  EXPECT_EQ(msg.scan_status, verdict.scan_status);
  EXPECT_EQ(msg.method, verdict.method);
  EXPECT_EQ(msg.status_code, verdict.status_code);
  EXPECT_EQ(msg.cseq, verdict.cseq);
  EXPECT_EQ(msg.via_count, verdict.vias);
  EXPECT_EQ(missing_lines(all_lines(msg), verdict.fields), "");
}

void expect_verdict(const TortureVerdict& verdict, const Scanned& scanned) {
  EXPECT_EQ(scanned.code, verdict.code);
  EXPECT_EQ(scanned.complete, verdict.outcome == Outcome::kTaken);
  if (verdict.outcome == Outcome::kTaken) {
    EXPECT_EQ(scanned.left_over, verdict.left_over);
  }
  if (verdict.outcome == Outcome::kTaken || verdict.outcome == Outcome::kRefused) {
    expect_message(verdict, scanned);
  } else {
    EXPECT_EQ(scanned.msg, nullptr);
  }
}

TEST(Torture, EveryMessageOfTheRfcHasItsVerdict) {
  std::set<std::string> names;
  for (const TortureVerdict& verdict : torture_verdicts())
    names.insert(verdict.name);
  EXPECT_EQ(names.size(), 49U) << "a message stands twice";
  const std::vector<std::string> files = corpus_names("rfc4475", ".dat");
  EXPECT_EQ(std::set<std::string>(files.begin(), files.end()), names);
}

TEST(Torture, EveryMessageScansAsItsVerdictSays) {
  for (const TortureVerdict& verdict : torture_verdicts()) {
    SCOPED_TRACE(std::string(verdict.name) + ", section " + verdict.section);
    expect_verdict(verdict, scan_datagram(torture_file(verdict.name)));
  }
}

TEST(Torture, ValidMessagesThatDoNotPassSayWhy) {
  for (const TortureVerdict& verdict : torture_verdicts()) {
    const bool is_valid = std::string_view(verdict.section).starts_with("3.1.1");
    const bool passes = verdict.outcome == Outcome::kTaken && verdict.scan_status == 0;
    EXPECT_TRUE(!is_valid || passes || verdict.differs != nullptr) << verdict.name;
  }
}

TEST(Torture, SecondRequestOfADatagramScansByItself) {
  const std::string both = torture_file("dblreq");
  const Scanned second = scan_datagram(std::string_view(both).substr(both.size() - 450));
  ASSERT_TRUE(second.complete);
  // Its second medium begins "m =", which ends the session there.
  EXPECT_EQ(missing_lines(all_lines(*second.msg), "method=1\nTo.uri=sip:joe@example.com\nsdp.media=1"), "");
}

TEST(Torture, UnquotedDisplayNameWithACommaIsTakenOnceItsMessageEnds) {
  const Scanned whole = scan_datagram(torture_file("baddn") + "\r\n");
  ASSERT_TRUE(whole.complete);
  EXPECT_EQ(
      missing_lines(all_lines(*whole.msg),
                    "From.display=Bell, Alexander\nFrom.uri=sip:a.g.bell@example.com\nFrom.parm1=tag=43\n"
                    "To.display=Watson, Thomas\nCSeq=3923239"),
      "");
}

void cut_from(std::string& text, std::string_view begin, char end) {
  const std::size_t from = text.find(begin);
  text.erase(from, text.find(end, from) - from);
}

TEST(Torture, LongRequestIsTakenOnceItsTwoOverlongValuesAreShorter) {
  std::string text = torture_file("longreq");
  cut_from(text, ";verylong", '>');
  EXPECT_EQ(scan_datagram(text).code, kScanTokenTooLong);
  cut_from(text, "-parameter-value", '\r');
  const Scanned scanned = scan_datagram(text);
  ASSERT_TRUE(scanned.complete);
  EXPECT_EQ(missing_lines(all_lines(*scanned.msg),
                          "Via.count=34\nVia[12].host=sip22.example.com\nVia[34].host=host.example.com\n"
                          "Via[34].parm1=received=192.0.2.5\nunknown.count=1\nsdp.media=2"),
            "");
}

// A message that is cut anywhere is never taken whole before its end, and never reads behind its block.
TEST(Torture, CutMessagesNeverCrossTheirEnd) {
  for (const TortureVerdict& verdict : torture_verdicts()) {
    SCOPED_TRACE(verdict.name);
    const std::string text = torture_file(verdict.name);
    for (std::size_t size = 0; size < text.size(); size += 7) {
      const Scanned scanned = scan_datagram(std::string_view(text).substr(0, size));
      EXPECT_LE(scanned.left_over, size);
      EXPECT_EQ(scanned.msg != nullptr,
                scanned.complete || scanned.code == kScanBodyTooShort || scanned.code == kScanBadSdp);
    }
  }
}

}  // namespace
}  // namespace hark::test
