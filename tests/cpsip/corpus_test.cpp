// Our own corpus of messages through the scanner, each as one datagram.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "cpsip/corpus_rows.h"
#include "cpsip/corpus_support.h"

namespace hark::test {
namespace {

void expect_row(const MessageRow& row) {
  SCOPED_TRACE(row.name);
  const Scanned scanned = scan_datagram(corpus_file(std::string("messages/") + row.name + ".sip"));
  EXPECT_EQ(scanned.code, row.code);
  EXPECT_EQ(scanned.complete, row.complete);
  EXPECT_EQ(scanned.left_over, row.left_over);
  ASSERT_EQ(scanned.msg != nullptr, row.fields != nullptr);
  if (!scanned.msg) return;
  EXPECT_EQ(scanned.msg->scan_status, row.scan_status);
  EXPECT_EQ(missing_lines(all_lines(*scanned.msg), row.fields), "");
}

TEST(MessageCorpus, EveryFileHasItsRow) {
  std::set<std::string> rows;
  for (const MessageRow& row : device_rows())
    rows.insert(row.name);
  for (const MessageRow& row : faulty_rows())
    rows.insert(row.name);
  EXPECT_EQ(rows.size(), device_rows().size() + faulty_rows().size()) << "a file stands twice";
  const std::vector<std::string> files = corpus_names("messages", ".sip");
  EXPECT_EQ(std::set<std::string>(files.begin(), files.end()), rows);
}

TEST(MessageCorpus, ReadmeTellsTheHabitBehindEachDevicesMessage) {
  const std::string readme = corpus_file("README.md");
  for (const MessageRow& row : device_rows()) {
    EXPECT_NE(readme.find("| `" + std::string(row.name) + "` |"), readme.npos) << row.name;
  }
}

TEST(MessageCorpus, WhatDevicesSendIsTaken) {
  for (const MessageRow& row : device_rows())
    expect_row(row);
}

TEST(MessageCorpus, WhatIsBrokenIsDroppedOrMarked) {
  for (const MessageRow& row : faulty_rows())
    expect_row(row);
}

TEST(MessageCorpus, RoutesOfAnAckAreReadInTheirOrder) {
  const Scanned scanned = scan_datagram(corpus_file("messages/desk-phone-ack.sip"));
  ASSERT_TRUE(scanned.complete);
  // An ACK's lines leave its Routes out, since it does not carry them on.
  scanned.msg->method = cpsip_method::invite;
  EXPECT_EQ(missing_lines(all_lines(*scanned.msg),
                          "Route.count=2\nRoute[1].uri=sip:192.168.20.1:5060;lr;did=77c\n"
                          "Route[2].uri=sip:10.20.0.1;lr"),
            "");
}

}  // namespace
}  // namespace hark::test
