// One row for each rule of the formatter that decides whether a line appears and what it says.
#include "cpsip/msg_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct MethodRow {
  cpsip_method method;
  std::string_view text;
};

TEST(FormatLinesTest, StartLineAndCSeqNameTheMethod) {
  const MethodRow rows[] = {
      {cpsip_method::invite, "INVITE"}, {cpsip_method::ack, "ACK"},         {cpsip_method::bye, "BYE"},
      {cpsip_method::cancel, "CANCEL"}, {cpsip_method::options, "OPTIONS"}, {cpsip_method::refer, "REFER"},
      {cpsip_method::notify, "NOTIFY"},
  };
  for (const MethodRow& row : rows) {
    SCOPED_TRACE(row.text);
    cpsip_msg_ptr msg = NewRequest(row.method);
    const std::string wire = Wire(msg);
    EXPECT_THAT(wire, ::testing::StartsWith(std::string(row.text) + " sip:bob@10.0.0.2 SIP/2.0\r\n"));
    EXPECT_THAT(LinesWith(wire, "CSeq:"), ElementsAre("CSeq: 1 " + std::string(row.text)));
  }
}

TEST(FormatLinesTest, MethodWithoutARowHasNoText) {
  for (const cpsip_method method :
       {cpsip_method::register_, cpsip_method::prack, cpsip_method::info, cpsip_method::subscribe,
        cpsip_method::message, cpsip_method::publish, cpsip_method::update, cpsip_method::unregister}) {
    SCOPED_TRACE(static_cast<std::uint32_t>(method));
    cpsip_msg_ptr msg = NewRequest(method);
    msg->unknown_method = "PING";
    const std::string wire = Wire(msg);
    EXPECT_THAT(wire, ::testing::StartsWith(" sip:bob@10.0.0.2 SIP/2.0\r\n"));
    EXPECT_THAT(LinesWith(wire, "CSeq:"), ElementsAre("CSeq: 1 "));
  }
}

TEST(FormatLinesTest, UnrecognizedMethodIsNamedInCSeqOnly) {
  cpsip_msg_ptr msg = NewRequest(cpsip_method::unrecognized);
  EXPECT_THAT(LinesWith(Wire(msg), "CSeq:"), ElementsAre("CSeq: 1 "));
  msg->unknown_method = "PING";
  const std::string wire = Wire(msg);
  EXPECT_THAT(wire, ::testing::StartsWith(" sip:bob@10.0.0.2 SIP/2.0\r\n"));
  EXPECT_THAT(LinesWith(wire, "CSeq:"), ElementsAre("CSeq: 1 PING"));
  msg->unknown_method.assign(kMaxUnknownMethod, 'M');
  EXPECT_THAT(LinesWith(Wire(msg), "CSeq:"), ElementsAre("CSeq: 1 " + std::string(kMaxUnknownMethod, 'M')));
}

TEST(FormatLinesTest, ViaHasItsPortAndParametersOnlyIfThereAreAny) {
  EXPECT_THAT(
      Lines("Via:",
            [](cpsip_msg& msg) {
              Put(msg, CPSIP_FLD_VIA_TRANSPORT, "UDP", 1);
              Put(msg, CPSIP_FLD_VIA_HOST, "a", 1);
              Put(msg, CPSIP_FLD_VIA_TRANSPORT, "UDP", 2);
              Put(msg, CPSIP_FLD_VIA_HOST, "b", 2);
              Put(msg, CPSIP_FLD_VIA_PORT, "5060", 2);
              Put(msg, CPSIP_FLD_VIA_TRANSPORT, "TLS", 3);
              Put(msg, CPSIP_FLD_VIA_HOST, "[::1]", 3);
              Put(msg, CPSIP_FLD_VIA_PARM, "branch=1", 3);
            }),
      ElementsAre("Via: SIP/2.0/UDP a", "Via: SIP/2.0/UDP b:5060", "Via: SIP/2.0/TLS [::1];branch=1"));
}

TEST(FormatLinesTest, ViaWithoutAHostKeepsItsLine) {
  EXPECT_THAT(Lines("Via:",
                    [](cpsip_msg& msg) {
                      Put(msg, CPSIP_FLD_VIA_TRANSPORT, "UDP", 2);
                      Put(msg, CPSIP_FLD_VIA_HOST, "other", 2);
                      Put(msg, CPSIP_FLD_VIA_TRANSPORT, "UDP", 1);
                    }),
              ElementsAre("Via: SIP/2.0/UDP ", "Via: SIP/2.0/UDP other"));
}

TEST(FormatLinesTest, ExpiresIsLeftOutAtZeroButForRegister) {
  EXPECT_THAT(Lines("Expires:", [](cpsip_msg&) {}), IsEmpty());
  EXPECT_THAT(Lines("Expires:", [](cpsip_msg& msg) { msg.expires = 1; }), ElementsAre("Expires: 1"));
  EXPECT_THAT(Lines("Expires:", [](cpsip_msg& msg) { msg.method = cpsip_method::register_; }),
              ElementsAre("Expires: 0"));
  EXPECT_THAT(Lines("Expires:",
                    [](cpsip_msg& msg) {
                      msg.method = cpsip_method::register_;
                      msg.expires = 3600;
                    }),
              ElementsAre("Expires: 3600"));
}

TEST(FormatLinesTest, MaxForwardsIsForRequestsThatHaveIt) {
  EXPECT_THAT(Lines("Max-Forwards:", [](cpsip_msg&) {}), IsEmpty());
  EXPECT_THAT(Lines("Max-Forwards:", [](cpsip_msg& msg) { msg.max_forwards = 255; }),
              ElementsAre("Max-Forwards: 255"));
  EXPECT_THAT(Lines("Max-Forwards:",
                    [](cpsip_msg& msg) {
                      msg.max_forwards = 70;
                      msg.method = cpsip_method::response;
                    }),
              IsEmpty());
}

TEST(FormatLinesTest, ServerSubjectAndUserAgentStandAlone) {
  EXPECT_THAT(Lines("S", [](cpsip_msg& msg) { Put(msg, CPSIP_FLD_SERVER, "s"); }), ElementsAre("Server: s"));
  EXPECT_THAT(Lines("S", [](cpsip_msg& msg) { Put(msg, CPSIP_FLD_SUBJECT, "s"); }),
              ElementsAre("Subject: s"));
  EXPECT_THAT(Lines("U", [](cpsip_msg& msg) { Put(msg, CPSIP_FLD_USER_AGENT, "u"); }),
              ElementsAre("User-Agent: u"));
}

TEST(FormatLinesTest, AllowIsWrittenOnRequestAndNotFromTheChain) {
  EXPECT_THAT(Lines("Allow:", [](cpsip_msg& msg) { Put(msg, CPSIP_FLD_ALLOW_ITEM, "PRACK"); }), IsEmpty());
  EXPECT_THAT(Lines("Allow:", [](cpsip_msg& msg) { msg.include_allow = true; }),
              ElementsAre("Allow: INVITE, ACK, BYE, CANCEL, REFER, OPTIONS, NOTIFY"));
}

// One that was received ends in CR LF, one that the application placed does not.
TEST(FormatLinesTest, ReceivedUnknownHeaderIsNotSentOn) {
  EXPECT_THAT(Lines("X-",
                    [](cpsip_msg& msg) {
                      Put(msg, CPSIP_FLD_UNKNOWN, "X-One: 1", 1);
                      Put(msg, CPSIP_FLD_UNKNOWN, "X-Two: 2\r\n", 2);
                      Put(msg, CPSIP_FLD_UNKNOWN, "X-Three: 3", 3);
                    }),
              ElementsAre("X-One: 1", "X-Three: 3"));
}

// A copy of a received message has its text in small blocks: the line end may lie in another than the name.
TEST(FormatLinesTest, ReceivedUnknownHeaderThatRunsOverBlocksIsNotSentOn) {
  for (const std::size_t length : {256UL, 257UL, 258UL, 259UL, 300UL, 600UL}) {
    SCOPED_TRACE(length);
    cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
    Put(*msg, CPSIP_FLD_UNKNOWN, "X-Long: " + Pattern(length - 10) + "\r\n");
    EXPECT_EQ(LinesWith(Wire(msg), "X-Long").size(), 0U);
  }
  const std::string placed = "X-Long: " + Pattern(600);
  EXPECT_THAT(Lines("X-", [&](cpsip_msg& msg) { Put(msg, CPSIP_FLD_UNKNOWN, placed); }), ElementsAre(placed));
}

// Every instance that is counted has its line, whatever is in it.
TEST(FormatLinesTest, BlankInstancesHaveTheirLines) {
  EXPECT_THAT(Lines("Contact:", [](cpsip_msg& msg) { Put(msg, CPSIP_FLD_CONTACT_PARM, "q=1", 2); }),
              ElementsAre("Contact:", "Contact:;q=1"));
  EXPECT_THAT(
      Lines("Record-Route:", [](cpsip_msg& msg) { Put(msg, CPSIP_FLD_RECORD_ROUTE_URI, "sip:r", 2); }),
      ElementsAre("Record-Route:", "Record-Route: <sip:r>"));
  EXPECT_THAT(Lines("Supported:", [](cpsip_msg& msg) { Put(msg, CPSIP_FLD_SUPPORTED_ITEM, "timer", 2); }),
              ElementsAre("Supported: ", "Supported: timer"));
}

struct ListRow {
  std::uint32_t id;
  std::string name;
};

TEST(FormatLinesTest, ListsAreJoinedByCommasOneLineForEachInstance) {
  const ListRow rows[] = {
      {CPSIP_FLD_REQUIRE_ITEM, "Require: "},          {CPSIP_FLD_PROXY_REQUIRE_ITEM, "Proxy-Require: "},
      {CPSIP_FLD_SUPPORTED_ITEM, "Supported: "},      {CPSIP_FLD_UNSUPPORTED_ITEM, "Unsupported: "},
      {CPSIP_FLD_ALLOW_EVENTS_ITEM, "Allow-Events:"},
  };
  for (const ListRow& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_THAT(Lines(row.name, [](cpsip_msg&) {}), IsEmpty());
    EXPECT_THAT(Lines(row.name,
                      [&](cpsip_msg& msg) {
                        Put(msg, row.id, "a", 1, 1);
                        Put(msg, row.id, "b", 1, 2);
                        Put(msg, row.id, "c", 1, 3);
                        Put(msg, row.id, "d", 2, 1);
                      }),
                ElementsAre(row.name + "a, b, c", row.name + "d"));
  }
}

// An Accept that a message carries is not written; the line is only for OPTIONS.
TEST(FormatLinesTest, AcceptOfTheChainIsNotWritten) {
  EXPECT_THAT(Lines("Accept", [](cpsip_msg& msg) { Put(msg, CPSIP_FLD_ACCEPT_ITEM, "text/plain"); }),
              IsEmpty());
}

struct TableRow {
  std::uint32_t id;
  std::vector<std::string> lines;
};

TEST(FormatLinesTest, SubscriptionStateIsWrittenByItsRow) {
  const TableRow rows[] = {
      {0, {"Subscription-State: terminated;reason=noresource"}},
      {1, {"Subscription-State: pending"}},
      {2, {"Subscription-State: active"}},
      {3, {}},
      {4, {}},
      {0xFFFFFFFF, {}},
  };
  for (const TableRow& row : rows) {
    SCOPED_TRACE(row.id);
    const auto put_id = [&](cpsip_msg& msg) { msg.subscription_state_id = row.id; };
    EXPECT_THAT(Lines("Subscription-State", put_id), IsEmpty()) << "no value";
    EXPECT_EQ(Lines("Subscription-State",
                    [&](cpsip_msg& msg) {
                      put_id(msg);
                      Put(msg, CPSIP_FLD_SUBSCRIPTION_STATE, "whatever");
                    }),
              row.lines);
  }
}

TEST(FormatLinesTest, EventIsWrittenByItsRowWithoutItsId) {
  const TableRow rows[] = {
      {0, {"Event: refer"}},
      {1, {"Event: presence"}},
      {2, {"Event: message-summary"}},
  };
  for (const TableRow& row : rows) {
    SCOPED_TRACE(row.id);
    const auto put_id = [&](cpsip_msg& msg) { msg.event_id = row.id, msg.event_id_parm = 5; };
    EXPECT_THAT(Lines("Event", put_id), IsEmpty()) << "no value";
    EXPECT_EQ(Lines("Event",
                    [&](cpsip_msg& msg) {
                      put_id(msg);
                      Put(msg, CPSIP_FLD_EVENT, "whatever");
                    }),
              row.lines);
  }
}

TEST(FormatLinesTest, ClearedParameterLeavesNoSemicolon) {
  EXPECT_THAT(Lines("To:",
                    [](cpsip_msg& msg) {
                      Put(msg, CPSIP_FLD_TO_PARM, "c=3", 1, 3);  // the first two are blank
                      Put(msg, CPSIP_FLD_TO_PARM, "d=4", 1, 4);
                      Put(msg, CPSIP_FLD_TO_PARM, "", 1, 4);
                    }),
              ElementsAre("To: <sip:bob@10.0.0.2>;c=3"));
}

}  // namespace
}  // namespace hark::test
