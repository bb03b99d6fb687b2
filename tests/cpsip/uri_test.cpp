// SIP URIs as they come: forms that are taken with their parts, and forms that are refused.
#include "cpsip/cpsip_uri.h"

#include "cpsip/msg_fixture.h"

namespace hark::test {
namespace {

using ::testing::StartsWith;
using Transport = cpsip_transport_kind;

struct UriRow {
  std::string_view text;
  std::string_view scheme, user, password, host;
  std::uint16_t port = 0;
  std::string_view params = "", headers = "";
  Transport transport = Transport::none;
};

void ExpectParts(const UriRow& row) {
  SCOPED_TRACE(row.text);
  cpsip_uri uri;
  uri.text = row.text;
  int result = -1;
  EXPECT_EQ(ReportsOf([&] { result = CPSIP_MsgParseURI(uri); }), "");
  EXPECT_EQ(result, kUriOk);
  EXPECT_EQ(uri.scheme, row.scheme);
  EXPECT_EQ(uri.user, row.user);
  EXPECT_EQ(uri.password, row.password);
  EXPECT_EQ(uri.host, row.host);
  EXPECT_EQ(uri.port, row.port);
  EXPECT_EQ(uri.params, row.params);
  EXPECT_EQ(uri.headers, row.headers);
  EXPECT_EQ(uri.transport, row.transport);
}

TEST(UriTest, UriIsCutIntoItsParts) {
  const UriRow rows[] = {
      {"sip:alice@10.0.0.1:5062;transport=tcp", "sip", "alice", "", "10.0.0.1", 5062, "transport=tcp", "",
       Transport::tcp},
      {"sip:h", "sip", "", "", "h"},
      {"sip:10.0.0.1", "sip", "", "", "10.0.0.1"},
      {"sip:10.0.0.1:5060", "sip", "", "", "10.0.0.1", 5060},
      {"sip:a@b", "sip", "a", "", "b"},
      {"sip:a:secret@b", "sip", "a", "secret", "b"},
      {"sip:a:secret@b:5060;lr?h=1", "sip", "a", "secret", "b", 5060, "lr", "h=1"},
      {"sip:a@b?h=1&i=2", "sip", "a", "", "b", 0, "", "h=1&i=2"},
      {"sip:a.b.c@d.e", "sip", "a.b.c", "", "d.e"},
      {"sip:%61%40@b", "sip", "%61%40", "", "b"},
      {"tel:1234", "tel", "", "", "1234"},
      {"SIP:A@B", "SIP", "A", "", "B"},
      {"", "", "", "", ""},
      {"sip:", "sip", "", "", ""},
      {"sip:@h", "sip", "", "", "h"},
  };
  for (const UriRow& row : rows)
    ExpectParts(row);
}

TEST(UriTest, SchemeMayBeMissing) {
  const UriRow rows[] = {
      {"10.0.0.1:5062", "", "", "", "10.0.0.1", 5062},
      {"alice@10.0.0.1", "", "alice", "", "10.0.0.1"},
      {"alice@10.0.0.1:5062", "", "alice", "", "10.0.0.1", 5062},
      {"a.b@h:5062", "", "a.b", "", "h", 5062},
      {"alice@h;lr", "", "alice", "", "h", 0, "lr"},
      {"h", "", "", "", "h"},
      {"10.0.0.1", "", "", "", "10.0.0.1"},
      {"10.0.0.1;lr", "", "", "", "10.0.0.1", 0, "lr"},
      {"10.0.0.1:5062;lr?h=1", "", "", "", "10.0.0.1", 5062, "lr", "h=1"},
      {"@h", "", "", "", "h"},
      {"[::1]", "", "", "", "[::1]"},
      {"alice@[::1]:5062", "", "alice", "", "[::1]", 5062},
  };
  for (const UriRow& row : rows)
    ExpectParts(row);
}

// Without "@" or "." ahead of it, the first ":" ends a scheme.
TEST(UriTest, FirstColonEndsASchemeUnlessAHostOrUserStandsAheadOfIt) {
  const UriRow rows[] = {
      {"host:5060", "host", "", "", "5060"},
      {"alice:secret@h", "alice", "secret", "", "h"},
      {"a@b:5", "", "a", "", "b", 5},
      {"a.b:5", "", "", "", "a.b", 5},
  };
  for (const UriRow& row : rows)
    ExpectParts(row);
}

TEST(UriTest, BracketsOfAnIpv6AddressStayInTheHost) {
  const UriRow rows[] = {
      {"sip:[::1]", "sip", "", "", "[::1]"},
      {"sip:[::1]:5060", "sip", "", "", "[::1]", 5060},
      {"sip:a@[2001:db8::7]:5062;lr", "sip", "a", "", "[2001:db8::7]", 5062, "lr"},
      {"sip:a:p@[fe80::1]", "sip", "a", "p", "[fe80::1]"},
      {"sip:[]", "sip", "", "", "[]"},
      {"sip:[::1][::2]", "sip", "", "", "[::1][::2]"},
  };
  for (const UriRow& row : rows)
    ExpectParts(row);
}

TEST(UriTest, AngleBracketsEncloseTheUri) {
  const UriRow rows[] = {
      {"<sip:a@b>;tag=1", "sip", "a", "", "b"},
      {"<sip:a@b:5060>:x", "sip", "a", "", "b", 5060},
      {"<sip:a@b;lr>;tag=1", "sip", "a", "", "b", 0, "lr"},
      {"<sip:a@b?h=1>;tag=1", "sip", "a", "", "b", 0, "", "h=1"},
      {"<sip:a@b", "sip", "a", "", "b"},
      {"sip:a@b>;tag=1", "sip", "a", "", "b"},
      {"<<sip:a@b>", "<sip", "a", "", "b"},
      {"<a@b>", "", "a", "", "b"},
      {"<>", "", "", "", ""},
      {"<sips:a@b>", "sips", "a", "", "b", 0, "", "", Transport::tls},
  };
  for (const UriRow& row : rows)
    ExpectParts(row);
}

TEST(UriTest, NulEndsTheText) {
  ExpectParts({std::string_view("sip:a@b\0;lr", 11), "sip", "a", "", "b"});
  ExpectParts({std::string_view("sip:a@b:5060\0:x", 15), "sip", "a", "", "b", 5060});
}

TEST(UriTest, PortIsFrom1To65534) {
  const UriRow rows[] = {
      {"sip:a@b:1", "sip", "a", "", "b", 1},
      {"sip:a@b:65534", "sip", "a", "", "b", 65534},
      {"sip:a@b:05060", "sip", "a", "", "b", 5060},
      {"sip:a@b:5060xyz", "sip", "a", "", "b", 5060},
      {"sip:a@b:5060;lr", "sip", "a", "", "b", 5060, "lr"},
      {"sip:a@b:5060?h", "sip", "a", "", "b", 5060, "", "h"},
  };
  for (const UriRow& row : rows)
    ExpectParts(row);
}

TEST(UriTest, PortMayHaveABlankOrASignAheadOfIt) {
  ExpectParts({"sip:a@b: 5060", "sip", "a", "", "b", 5060});
  ExpectParts({"sip:a@b:+5060", "sip", "a", "", "b", 5060});
}

void ExpectBad(std::string_view text) {
  SCOPED_TRACE(text);
  cpsip_uri uri;
  uri.text = text;
  int result = -1;
  EXPECT_THAT(ReportsOf([&] { result = CPSIP_MsgParseURI(uri); }), StartsWith("UXP"));
  EXPECT_EQ(result, kUriBad);
}

TEST(UriTest, PortOutsideThatIsRefused) {
  for (const std::string_view text :
       {"sip:a@b:0", "sip:a@b:65535", "sip:a@b:65536", "sip:a@b:", "sip:a@b:x", "sip:a@b:-1", "sip:a@b:;lr",
        "sip:a@b:4294967296", "sip:a@b:4294972356", "sip:a@b:18446744073709556676", "10.0.0.1:0"}) {
    ExpectBad(text);
  }
}

TEST(UriTest, DoubleColonIsRefusedOutsideBrackets) {
  for (const std::string_view text : {"sip::a@b", "sip:a::b@c", "::", "sip:a@b::5060", "a@b::1"})
    ExpectBad(text);
}

TEST(UriTest, SchemeSipsIsTls) {
  const UriRow rows[] = {
      {"sips:a@b", "sips", "a", "", "b", 0, "", "", Transport::tls},
      {"SIPS:a@b", "SIPS", "a", "", "b", 0, "", "", Transport::tls},
      {"SipS:b", "SipS", "", "", "b", 0, "", "", Transport::tls},
      {"sip:sips@b", "sip", "sips", "", "b"},
      {"sips:a@b;lr", "sips", "a", "", "b", 0, "lr", "", Transport::tls},
      {"sips:a@b;transport=udp", "sips", "a", "", "b", 0, "transport=udp", "", Transport::udp},
  };
  for (const UriRow& row : rows)
    ExpectParts(row);
}

TEST(UriTest, TransportParameterIsRead) {
  const std::pair<std::string_view, Transport> rows[] = {
      {"transport=udp", Transport::udp},
      {"transport=tcp", Transport::tcp},
      {"transport=sctp", Transport::sctp},
      {"transport=tls", Transport::tls},
      {"TRANSPORT=TCP", Transport::tcp},
      {"Transport=Tls", Transport::tls},
      {"transport=udpx", Transport::udp},
      {"transport=tcp;lr", Transport::tcp},
      {"lr;maddr=224.0.1.75;transport=sctp", Transport::sctp},
      {" trans port = t cp", Transport::tcp},
      {"transport=", Transport::none},
      {"lr;transport=", Transport::none},
      {"lr", Transport::none},
      {"transpor=tcp", Transport::none},
      {"transport", Transport::none},
  };
  for (const auto& [params, transport] : rows) {
    const std::string text = "sip:a@b;" + std::string(params);
    ExpectParts({text, "sip", "a", "", "b", 0, params, "", transport});
  }
}

TEST(UriTest, UnknownTransportIsRefused) {
  for (const std::string_view text :
       {"sip:a@b;transport=foo", "sip:a@b;lr;transport=ws", "sips:a@b;transport=x", "sip:a@b;transport=ud",
        "sip:a@b;transport=;lr", "sip:a@b;transport=foo;transport=udp"}) {
    ExpectBad(text);
  }
}

// Kept: behind the parameters, the search goes only as far as the headers are long.
TEST(UriTest, HeadersLimitTheSearchForTheTransport) {
  ExpectParts({"sip:a@b;x=1;transport=foo?h", "sip", "a", "", "b", 0, "x=1;transport=foo", "h"});
  ExpectParts({"sip:a@b;x=1;transport=tcp?h", "sip", "a", "", "b", 0, "x=1;transport=tcp", "h"});
  ExpectParts({"sip:a@b;x=1;transport=tcp?subject=a-long-one-goes-all-the-way", "sip", "a", "", "b", 0,
               "x=1;transport=tcp", "subject=a-long-one-goes-all-the-way", Transport::tcp});
  ExpectBad("sip:a@b;x=1;transport=foo?subject=a-long-one-goes-all-the-way");
}

// A value that begins where it is looked for was cut with the search once, and the URI refused.
TEST(UriTest, TransportThatIsFoundIsReadWhole) {
  struct Row {
    std::string_view text;
    cpsip_transport_kind transport;
  };
  const Row rows[] = {
      {"sip:a@b;transport=tcp?subject=abc", cpsip_transport_kind::tcp},
      {"sip:a@b;transport=sctp?subject=abcde", cpsip_transport_kind::sctp},
      {"sip:a@b;transport=tls?a=123456789", cpsip_transport_kind::tls},
      {"sip:a@b;transport=tcp?a=12345678", cpsip_transport_kind::none},
      {"sip:a@b;  transport=tcp?12345678901234", cpsip_transport_kind::tcp},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    cpsip_uri uri;
    uri.text = row.text;
    EXPECT_EQ(CPSIP_MsgParseURI(uri), kUriOk);
    EXPECT_EQ(uri.transport, row.transport);
  }
}

// Marks behind the ">" decided once where the URI began.
TEST(UriTest, NothingBehindTheClosingBracketIsLookedAt) {
  struct Row {
    std::string_view text;
    std::string_view scheme;
    std::string_view user;
    std::string_view host;
  };
  const Row rows[] = {
      {"<sip:10.0.0.1>;x=a@b", "sip", "", "10.0.0.1"},
      {"<sip:a@b>;tag=x::y", "sip", "a", "b"},
      {"<alice>;x=sip:b", "", "", "alice"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    cpsip_uri uri;
    uri.text = row.text;
    EXPECT_EQ(CPSIP_MsgParseURI(uri), kUriOk);
    EXPECT_EQ(uri.scheme, row.scheme);
    EXPECT_EQ(uri.user, row.user);
    EXPECT_EQ(uri.host, row.host);
  }
}

TEST(UriTest, TextOf299CharactersPassesAndALongerOneIsRefused) {
  const std::string longest = "sip:" + std::string(295, 'h');
  cpsip_uri uri;
  uri.text = longest;
  EXPECT_EQ(CPSIP_MsgParseURI(uri), kUriOk);
  EXPECT_EQ(uri.host.size(), 295U);
  for (const std::size_t length : {300UL, 301UL, 65535UL, 65540UL}) {
    const std::string text = "sip:" + std::string(length - 4, 'h');
    uri.text = text;
    (void)ReportsOf([&] { EXPECT_EQ(CPSIP_MsgParseURI(uri), kUriTooLong) << length; });
  }
}

TEST(UriTest, NullTextIsRefused) {
  cpsip_uri uri;
  (void)ReportsOf([&] { EXPECT_EQ(CPSIP_MsgParseURI(uri), kUriBad); });
}

TEST(UriTest, PartsOfAnEarlierTextAreGone) {
  cpsip_uri uri;
  uri.text = "sips:alice:secret@10.0.0.1:5062;transport=tcp?h=1";
  ASSERT_EQ(CPSIP_MsgParseURI(uri), kUriOk);
  uri.text = "h";
  ASSERT_EQ(CPSIP_MsgParseURI(uri), kUriOk);
  EXPECT_EQ(std::string(uri.scheme) + std::string(uri.user) + std::string(uri.password), "");
  EXPECT_EQ(uri.host, "h");
  EXPECT_EQ(uri.port, 0);
  EXPECT_EQ(uri.transport, Transport::none);
  EXPECT_EQ(std::string(uri.params) + std::string(uri.headers), "");
  EXPECT_EQ(uri.text, "h") << "the text is as it was";
}

}  // namespace
}  // namespace hark::test
