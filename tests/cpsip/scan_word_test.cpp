// Headers whose value is a word of a table: Subscription-State, Event and Content-Type; and which status
// stands when several are set.
#include <gtest/gtest.h>

#include <string>

#include "cpsip/scan_fixture.h"

namespace hark::test {
namespace {

struct WordRow {
  std::string_view value;
  std::uint32_t id;
  std::string_view text;
  Texts parms;
  int scan_status;
};

TEST(ScanWord, SubscriptionStateIsAWordWithParameters) {
  const WordRow rows[] = {
      {"active", 2, "active", {}, 0},
      {"pending", 1, "pending", {}, 0},
      {"terminated", 0, "terminated", {}, 0},
      {"ACTIVE;expires=60", 2, "ACTIVE", {"expires=60"}, 0},
      {"terminated;reason=noresource", 0, "terminated", {"reason=noresource"}, 0},
      {"Terminated ;reason=timeout;x", 0, "Terminated ", {"reason=timeout", "x"}, 0},
      {"activeX", 2, "activeX", {}, 0},
      {"waiting", 3, "waiting", {}, 400},
      {"activ;x", 3, "activ", {"x"}, 400},
      {"", 3, "", {}, 400},
  };
  for (const WordRow& row : rows) {
    SCOPED_TRACE(row.value);
    const Scanned scanned = Scan(Request("Subscription-State: " + std::string{row.value} + "\r\n"));
    ASSERT_TRUE(scanned.IsWhole());
    EXPECT_EQ(scanned.msg().subscription_state_id, row.id);
    EXPECT_EQ(TextOf(scanned.msg().subscription_state), row.text);
    EXPECT_EQ(Parms(scanned.msg(), scanned.msg().subscription_state_line), row.parms);
    EXPECT_EQ(scanned.msg().scan_status, row.scan_status);
  }
}

struct EventRow {
  std::string_view value;
  std::uint32_t id;
  std::string_view text;
  std::uint32_t id_parm;
  int scan_status;
};

TEST(ScanWord, EventIsAWordWithAnId) {
  static constexpr EventRow kRows[] = {
      {"refer", 0, "refer", 0, 0},
      {"presence", 1, "presence", 0, 0},
      {"message-summary", 2, "message-summary", 0, 0},
      {"REFER", 0, "REFER", 0, 0},
      {"presence.winfo", 1, "presence.winfo", 0, 0},
      {"refer;id=93809824", 0, "refer", 93809824, 0},
      {"refer ; id=12 ;x", 0, "refer ", 12, 0},
      {"refer;id=12 34", 0, "refer", 12, 0},
      {"refer;x=1;id=7", 0, "refer", 7, 0},
      {"refer;x;y=2;id=8", 0, "refer", 8, 0},
      {"refer;i=5", 0, "refer", 5, 0},    // as far as the word goes
      {"refer;idx=7", 0, "refer", 0, 0},  // longer than "id"
      {"refer;id=abc", 0, "refer", 0, 0},
      {"refer;id", 0, "refer", 0, 0},
      {"refer;id=4294967296", 0, "refer", 0xFFFFFFFF, 0},
      {"presence;id=3", 1, "presence", 3, 0},
      {"dialog", 3, "dialog", 0, 489},
      {"dialog;id=4", 3, "dialog", 4, 489},
      {"refe", 3, "refe", 0, 489},
      {"", 3, "", 0, 489},
  };
  for (const EventRow& row : kRows) {
    SCOPED_TRACE(row.value);
    const Scanned scanned = Scan(Request("Event: " + std::string{row.value} + "\r\nCall-ID: next\r\n"));
    ASSERT_TRUE(scanned.IsWhole());
    EXPECT_EQ(scanned.msg().event_id, row.id);
    EXPECT_EQ(TextOf(scanned.msg().event), row.text);
    EXPECT_EQ(scanned.msg().event_id_parm, row.id_parm);
    EXPECT_EQ(scanned.msg().scan_status, row.scan_status);
    EXPECT_EQ(TextOf(scanned.msg().call_id), "next");
  }
}

struct KindRow {
  std::string_view value;
  cpsip_content_kind kind;
  std::string_view text;
  Texts parms;
};

TEST(ScanWord, ContentTypeTellsTheKindOfTheBody) {
  const KindRow rows[] = {
      {"application/sdp", cpsip_content_kind::sdp, "application/sdp", {}},
      {"APPLICATION/SDP", cpsip_content_kind::sdp, "APPLICATION/SDP", {}},
      {"application/sdp;charset=x", cpsip_content_kind::sdp, "application/sdp", {"charset=x"}},
      {"application/sdp ; x", cpsip_content_kind::sdp, "application/sdp ", {"x"}},
      {"application/sdpx", cpsip_content_kind::sdp, "application/sdpx", {}},  // 15 characters count
      {"message/sipfrag", cpsip_content_kind::sipfrag, "message/sipfrag", {}},
      {"Message/SipFrag;version=2.0", cpsip_content_kind::sipfrag, "Message/SipFrag", {"version=2.0"}},
      {"application/sd", cpsip_content_kind::other, "application/sd", {}},
      {"message/sipfra", cpsip_content_kind::other, "message/sipfra", {}},
      {"text/plain", cpsip_content_kind::other, "text/plain", {}},
      {"multipart/mixed;boundary=\"a,b\"",
       cpsip_content_kind::other,
       "multipart/mixed",
       {"boundary=\"a,b\""}},
  };
  for (const KindRow& row : rows) {
    for (const char* name : {"Content-Type: ", "c: "}) {
      SCOPED_TRACE(std::string{name} + std::string{row.value});
      const Scanned scanned = Scan(Request(name + std::string{row.value} + "\r\nContent-Length: 0\r\n"));
      ASSERT_TRUE(scanned.IsWhole());
      EXPECT_EQ(scanned.msg().content_kind, row.kind);
      EXPECT_EQ(TextOf(scanned.msg().content_type), row.text);
      EXPECT_EQ(Parms(scanned.msg(), scanned.msg().content_type_line), row.parms);
      EXPECT_EQ(scanned.msg().scan_status, 0);
    }
  }
}

TEST(ScanWord, SecondWordSetsStatus400AndStands) {
  const Scanned type = Scan(Request("c: application/sdp;x\r\nc: text/plain;y\r\n"));
  ASSERT_TRUE(type.IsWhole());
  EXPECT_EQ(type.msg().scan_status, 400);
  EXPECT_EQ(TextOf(type.msg().content_type), "text/plain");
  EXPECT_EQ(Parms(type.msg(), type.msg().content_type_line), Texts{"y"});
  EXPECT_EQ(type.msg().content_kind, cpsip_content_kind::other);

  const Scanned state = Scan(Request("Subscription-State: active\r\nSubscription-State: pending\r\n"));
  ASSERT_TRUE(state.IsWhole());
  EXPECT_EQ(state.msg().scan_status, 400);
  EXPECT_EQ(TextOf(state.msg().subscription_state), "pending");
  EXPECT_EQ(state.msg().subscription_state_id, 1U);

  const Scanned event = Scan(Request("Event: refer;id=1\r\no: presence;id=2\r\n"));
  ASSERT_TRUE(event.IsWhole());
  EXPECT_EQ(event.msg().scan_status, 400);
  EXPECT_EQ(TextOf(event.msg().event), "presence");
  EXPECT_EQ(event.msg().event_id, 1U);
  EXPECT_EQ(event.msg().event_id_parm, 2U);
}

TEST(ScanStatus, LastStatusThatWasSetStands) {
  const Scanned event = Scan(Request("To: sip:a\r\nTo: sip:b\r\nEvent: dialog\r\n"));
  ASSERT_TRUE(event.IsWhole());
  EXPECT_EQ(event.msg().scan_status, 489);
  const Scanned to = Scan(Request("Event: dialog\r\nTo: sip:a\r\nTo: sip:b\r\n"));
  ASSERT_TRUE(to.IsWhole());
  EXPECT_EQ(to.msg().scan_status, 400);
  const Scanned version = Scan("INVITE sip:b SIP/3.0\r\nReplaces: a\r\nReplaces: b\r\n\r\n");
  ASSERT_TRUE(version.IsWhole());
  EXPECT_EQ(version.msg().scan_status, 481);
}

TEST(ScanStatus, EveryLineIsReadBehindAStatus) {
  const Scanned scanned =
      Scan("INVITE sip:b SIP/3.0\r\nTo: sip:a\r\nCall-ID: next\r\nCSeq: 9 INVITE\r\n\r\n");
  ASSERT_TRUE(scanned.IsWhole());
  EXPECT_EQ(scanned.msg().scan_status, 505);
  EXPECT_EQ(TextOf(scanned.msg().call_id), "next");
  EXPECT_EQ(scanned.msg().cseq, 9U);
}

}  // namespace
}  // namespace hark::test
