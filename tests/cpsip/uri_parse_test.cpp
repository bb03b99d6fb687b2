// The states of the URI parser: each character that separates parts, in each part that it can stand in.
#include "cpsip/cpsip_uri.h"
#include "cpsip/msg_fixture.h"

namespace hark::test {
namespace {

enum class Part { kScheme, kUser, kPassword, kHost, kPort, kParams, kHeaders };

// A URI in which `mark` stands inside the part.
std::string WithMark(Part part, std::string_view mark) {
  const std::string m(mark);
  switch (part) {
    case Part::kScheme:
      return "s" + m + "ip:alice@host";
    case Part::kUser:
      return "sip:al" + m + "ice@host";
    case Part::kPassword:
      return "sip:alice:sec" + m + "ret@host";
    case Part::kHost:
      return "sip:alice@ho" + m + "1";
    case Part::kPort:
      return "sip:alice@host:50" + m + "60";
    case Part::kParams:
      return "sip:alice@host;x=" + m + "y";
    case Part::kHeaders:
      return "sip:alice@host?x=" + m + "y";
  }
  return {};
}

struct StateRow {
  char mark;
  Part part;
  // What becomes of it: the parts as "scheme|user|password|host|port|params|headers", or "bad".
  std::string_view parts;
};

std::string Parsed(std::string_view text) {
  cpsip_uri uri;
  uri.text = text;
  int result = -1;
  const std::string reports = ReportsOf([&] { result = CPSIP_MsgParseURI(uri); });
  EXPECT_EQ(reports.empty(), result == kUriOk) << text;
  if (result != kUriOk) return result == kUriBad ? "bad" : std::to_string(result);
  std::string parts;
  for (const std::string_view part : {uri.scheme, uri.user, uri.password, uri.host})
    parts.append(part) += '|';
  parts += std::to_string(uri.port) + '|';
  return parts.append(uri.params).append("|").append(uri.headers);
}

TEST(UriParseTest, EveryMarkInEveryPart) {
  const StateRow rows[] = {
      {':', Part::kScheme, "s|ip|alice|host|0||"},  // "alice" is the password of "ip"
      {':', Part::kUser, "sip|al|ice|host|0||"},
      {':', Part::kPassword, "bad"},
      {':', Part::kHost, "sip|alice||ho|1||"},
      {':', Part::kPort, "bad"},
      {':', Part::kParams, "bad"},
      {':', Part::kHeaders, "bad"},

      {'@', Part::kScheme, "bad"},  // the host "ip" has no port "alice"
      {'@', Part::kUser, "bad"},
      {'@', Part::kPassword, "bad"},
      {'@', Part::kHost, "bad"},
      {'@', Part::kPort, "bad"},
      {'@', Part::kParams, "bad"},
      {'@', Part::kHeaders, "bad"},

      {';', Part::kScheme, "bad"},
      {';', Part::kUser, "sip|al;ice||host|0||"},
      {';', Part::kPassword, "bad"},
      {';', Part::kHost, "sip|alice||ho|0|1|"},
      {';', Part::kPort, "sip|alice||host|50|60|"},
      {';', Part::kParams, "sip|alice||host|0|x=;y|"},

      {'?', Part::kScheme, "bad"},
      {'?', Part::kUser, "bad"},
      {'?', Part::kPassword, "bad"},
      {'?', Part::kHost, "sip|alice||ho|0||1"},
      {'?', Part::kPort, "sip|alice||host|50||60"},
      {'?', Part::kParams, "sip|alice||host|0|x=|y"},
      {'?', Part::kHeaders, "sip|alice||host|0||x=?y"},

      {']', Part::kScheme, "bad"},
      {']', Part::kUser, "bad"},
      {']', Part::kPassword, "bad"},
      {']', Part::kHost, "bad"},
      {']', Part::kPort, "bad"},
      {']', Part::kParams, "bad"},
      {']', Part::kHeaders, "bad"},

      {'>', Part::kHost, "sip|alice||ho|0||"},
      {'>', Part::kPort, "sip|alice||host|50||"},
      {'>', Part::kParams, "sip|alice||host|0|x=|"},
      {'>', Part::kHeaders, "sip|alice||host|0||x="},
      {'>', Part::kPassword, "bad"},

      {'.', Part::kScheme, "bad"},  // the host "s.ip" has no port "alice"
      {'.', Part::kUser, "sip|al.ice||host|0||"},
      {'.', Part::kPassword, "sip|alice|sec.ret|host|0||"},
      {'.', Part::kHost, "sip|alice||ho.1|0||"},
      {'.', Part::kPort, "sip|alice||host|50||"},
      {'.', Part::kParams, "sip|alice||host|0|x=.y|"},
      {'.', Part::kHeaders, "sip|alice||host|0||x=.y"},
  };
  for (const StateRow& row : rows) {
    const std::string text = WithMark(row.part, std::string(1, row.mark));
    SCOPED_TRACE(text);
    EXPECT_EQ(Parsed(text), row.parts);
  }
}

TEST(UriParseTest, ColonInsideBracketsIsOrdinaryInEveryPart) {
  const std::pair<Part, std::string_view> rows[] = {
      {Part::kScheme, "s[a::b]ip|alice||host|0||"},
      {Part::kUser, "sip|al[a::b]ice||host|0||"},
      {Part::kPassword, "sip|alice|sec[a::b]ret|host|0||"},
      {Part::kHost, "sip|alice||ho[a::b]1|0||"},
      {Part::kPort, "sip|alice||host|50||"},
      {Part::kParams, "sip|alice||host|0|x=[a::b]y|"},
      {Part::kHeaders, "sip|alice||host|0||x=[a::b]y"},
  };
  for (const auto& [part, parts] : rows) {
    SCOPED_TRACE(WithMark(part, "[a::b]"));
    EXPECT_EQ(Parsed(WithMark(part, "[a::b]")), parts);
  }
}

TEST(UriParseTest, PortWithoutASchemeTakesNoUser) {
  EXPECT_EQ(Parsed("a.b:5060@c"), "bad");
  EXPECT_EQ(Parsed("10.0.0.1:5060:1"), "bad");
}

TEST(UriParseTest, PasswordWithoutAHostIsRefused) {
  EXPECT_EQ(Parsed("sip:alice:secret"), "bad");
  EXPECT_EQ(Parsed("sip:alice:secret>@host"), "bad");
}

TEST(UriParseTest, ClosingBracketNeedsAnOpenOne) {
  EXPECT_EQ(Parsed("sip:[::1]]"), "bad");
  EXPECT_EQ(Parsed("]"), "bad");
}

// A ";" behind the headers begins the parameters again.
TEST(UriParseTest, SemicolonBehindHeadersBeginsParameters) {
  cpsip_uri uri;
  uri.text = "sip:alice@host?x=1;lr";
  EXPECT_EQ(CPSIP_MsgParseURI(uri), kUriOk);
  EXPECT_EQ(uri.host, "host");
  EXPECT_EQ(uri.params, "lr");
}

TEST(UriParseTest, EmptyPartsAreTaken) {
  EXPECT_EQ(Parsed("sip:alice:@host"), "sip|alice||host|0||");
  EXPECT_EQ(Parsed("sip:alice@"), "sip|alice|||0||");
  EXPECT_EQ(Parsed("sip:alice@host;"), "sip|alice||host|0||");
  EXPECT_EQ(Parsed("sip:alice@host?"), "sip|alice||host|0||");
  EXPECT_EQ(Parsed("sip:alice@host;?h"), "sip|alice||host|0||h");
  EXPECT_EQ(Parsed("sip:;lr"), "sip||||0|lr|");
}

}  // namespace
}  // namespace hark::test
