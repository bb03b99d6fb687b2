// Which Route lines go out: without an outbound route, with one that is only the next hop, and with one that
// is a URI; on requests, on responses, and on ACK and CANCEL, which go where the first hop is.
#include "cpsip/msg_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;

cpsip_msg_ptr Routed(cpsip_method method, unsigned routes) {
  cpsip_msg_ptr msg = NewRequest(method);
  if (method == cpsip_method::response) msg->cseq_method = cpsip_method::invite;
  for (unsigned at = 1; at <= routes; ++at) {
    Put(*msg, CPSIP_FLD_ROUTE_URI, "sip:p" + std::to_string(at) + ";lr", at);
  }
  return msg;
}

struct RouteRow {
  cpsip_method method;
  unsigned routes;
  std::string_view route;
  std::vector<std::string> lines;
};

constexpr cpsip_method kInvite = cpsip_method::invite;
constexpr cpsip_method kResponse = cpsip_method::response;
constexpr cpsip_method kAck = cpsip_method::ack;
constexpr cpsip_method kCancel = cpsip_method::cancel;

void ExpectLines(const RouteRow& row) {
  SCOPED_TRACE("method " + std::to_string(static_cast<std::uint32_t>(row.method)) + ", " +
               std::to_string(row.routes) + " routes, outbound \"" + std::string(row.route) + "\"");
  cpsip_msg_ptr msg = Routed(row.method, row.routes);
  EXPECT_EQ(LinesWith(Wire(msg, row.route), "Route:"), row.lines);
}

TEST(FormatRouteTest, RequestsAndResponsesHaveAllTheirRoutes) {
  const RouteRow rows[] = {
      {kInvite, 0, "", {}},
      {kInvite, 1, "", {"Route: <sip:p1;lr>"}},
      {kInvite, 3, "", {"Route: <sip:p1;lr>", "Route: <sip:p2;lr>", "Route: <sip:p3;lr>"}},
      {cpsip_method::bye, 2, "", {"Route: <sip:p1;lr>", "Route: <sip:p2;lr>"}},
      {kResponse, 2, "", {"Route: <sip:p1;lr>", "Route: <sip:p2;lr>"}},
      {kResponse, 0, "10.0.0.5;lr", {}},
  };
  for (const RouteRow& row : rows)
    ExpectLines(row);
}

// A bare outbound route is the next hop and never reaches the wire.
TEST(FormatRouteTest, FirstRouteOfARequestIsSkippedForABareOutboundRoute) {
  for (const std::string_view route :
       {"10.0.0.5;lr", "proxy", "sip", "sips", "sip;", "sipx:h", " sip:h", "tel:1"}) {
    const RouteRow rows[] = {
        {kInvite, 0, route, {}},
        {kInvite, 1, route, {}},
        {kInvite, 2, route, {"Route: <sip:p2;lr>"}},
        {kInvite, 3, route, {"Route: <sip:p2;lr>", "Route: <sip:p3;lr>"}},
        {cpsip_method::options, 2, route, {"Route: <sip:p2;lr>"}},
        {kResponse, 2, route, {"Route: <sip:p1;lr>", "Route: <sip:p2;lr>"}},
    };
    for (const RouteRow& row : rows)
      ExpectLines(row);
  }
}

TEST(FormatRouteTest, FirstRouteIsWrittenForAnOutboundRouteWithAScheme) {
  for (const std::string_view route :
       {"sip:10.0.0.5;lr", "sips:10.0.0.5", "SIP:h", "SipS:h", "sip:", "sips:"}) {
    const RouteRow rows[] = {
        {kInvite, 0, route, {}},
        {kInvite, 1, route, {"Route: <sip:p1;lr>"}},
        {kInvite, 2, route, {"Route: <sip:p1;lr>", "Route: <sip:p2;lr>"}},
        {kResponse, 2, route, {"Route: <sip:p1;lr>", "Route: <sip:p2;lr>"}},
    };
    for (const RouteRow& row : rows)
      ExpectLines(row);
  }
}

TEST(FormatRouteTest, AckAndCancelHaveNoRouteWithoutAnOutboundRoute) {
  for (const cpsip_method method : {kAck, kCancel}) {
    for (const unsigned routes : {0U, 1U, 3U})
      ExpectLines({method, routes, "", {}});
  }
}

TEST(FormatRouteTest, AckAndCancelHaveTheOutboundRouteAlone) {
  for (const cpsip_method method : {kAck, kCancel}) {
    ExpectLines({method, 0, "sip:10.0.0.5;lr", {}});
    ExpectLines({method, 1, "sip:10.0.0.5;lr", {"Route: <sip:10.0.0.5;lr>"}});
    ExpectLines({method, 3, "SIPS:10.0.0.5;lr", {"Route: <SIPS:10.0.0.5;lr>"}});
  }
}

// The first is skipped as the next hop; the one line that these have is then the second.
TEST(FormatRouteTest, AckAndCancelSkipABareOutboundRouteToo) {
  for (const cpsip_method method : {kAck, kCancel}) {
    ExpectLines({method, 1, "10.0.0.5;lr", {}});
    ExpectLines({method, 2, "10.0.0.5;lr", {"Route: <sip:p2;lr>"}});
    ExpectLines({method, 3, "10.0.0.5;lr", {"Route: <sip:p2;lr>"}});
  }
}

TEST(FormatRouteTest, OutboundRouteReplacesTheFirstRouteOfAckAndCancelInTheMessage) {
  for (const cpsip_method method : {kAck, kCancel}) {
    for (const std::string_view route : {"10.0.0.5;lr", "sip:10.0.0.5;lr"}) {
      cpsip_msg_ptr msg = Routed(method, 2);
      (void)Wire(msg, route);
      EXPECT_EQ(Text(*msg, CPSIP_FLD_ROUTE_URI, 1), route);
      EXPECT_EQ(Text(*msg, CPSIP_FLD_ROUTE_URI, 2), "sip:p2;lr");
      EXPECT_EQ(msg->route_count, 2);
    }
    cpsip_msg_ptr without = Routed(method, 2);
    (void)Wire(without);
    EXPECT_EQ(Text(*without, CPSIP_FLD_ROUTE_URI, 1), "sip:p1;lr");
  }
}

TEST(FormatRouteTest, OtherMessagesKeepTheirFirstRoute) {
  for (const cpsip_method method : {kInvite, kResponse, cpsip_method::refer}) {
    cpsip_msg_ptr msg = Routed(method, 1);
    (void)Wire(msg, "10.0.0.5;lr");
    EXPECT_EQ(Text(*msg, CPSIP_FLD_ROUTE_URI), "sip:p1;lr");
  }
}

// The one way in which a Route cannot be written: an outbound route that no field holds.
TEST(FormatRouteTest, OutboundRouteThatCannotBeWrittenIsAnError) {
  const std::string route = "sip:" + std::string(65536, 'h');
  cpsip_msg_ptr msg = Routed(kAck, 1);
  Formatted formatted{};
  EXPECT_THAT(ReportsOf([&] { formatted = Format(msg, route); }), ::testing::StartsWith("UXP: "));
  EXPECT_EQ(formatted.result, kAccessTooLong);
}

TEST(FormatRouteTest, RoutesHaveTheirDisplayNames) {
  cpsip_msg_ptr msg = Routed(kInvite, 2);
  Put(*msg, CPSIP_FLD_RECORD_ROUTE_URI, "<sip:r1;lr>");
  msg->route_display_head = PoolText(*msg, "First");
  const std::uint16_t second = PoolText(*msg, "Second");
  msg->fields[msg->route_display_head].next_hdr = second;
  msg->record_route_display_head = PoolText(*msg, "Recorded");
  const std::string wire = Wire(msg);
  EXPECT_THAT(LinesWith(wire, "Route:"),
              ElementsAre("Route: First <sip:p1;lr>", "Route: Second <sip:p2;lr>"));
  EXPECT_THAT(LinesWith(wire, "Record-Route:"), ElementsAre("Record-Route: Recorded <sip:r1;lr>"));
  EXPECT_THAT(LinesWith(Wire(msg, "10.0.0.5;lr"), "Route:"), ElementsAre("Route: Second <sip:p2;lr>"))
      << "the skipped one takes its name with it";
}

}  // namespace
}  // namespace hark::test
