// URIs back to text, and random ones there and back again.
#include <array>
#include <random>

#include "cpsip/cpsip_uri.h"
#include "cpsip/msg_fixture.h"

namespace hark::test {
namespace {

std::string Written(cpsip_uri uri) {
  std::array<char, 400> dest;
  dest.fill('?');
  EXPECT_EQ(CPSIP_UriToStr(uri, dest), 0);
  EXPECT_EQ(static_cast<const void*>(uri.text.data()), dest.data());
  return std::string(uri.text);
}

cpsip_uri Uri(std::string_view scheme, std::string_view user, std::string_view password,
              std::string_view host, std::uint16_t port = 0, std::string_view params = "",
              std::string_view headers = "") {
  cpsip_uri uri;
  uri.scheme = scheme, uri.user = user, uri.password = password, uri.host = host, uri.port = port;
  uri.params = params, uri.headers = headers;
  return uri;
}

TEST(UriWriteTest, PartsThatAreThereAreWritten) {
  const std::pair<cpsip_uri, std::string_view> rows[] = {
      {Uri("sip", "alice", "secret", "10.0.0.1", 5062, "transport=tcp;lr"),
       "sip:alice:secret@10.0.0.1:5062;transport=tcp;lr"},
      {Uri("", "", "", ""), ""},
      {Uri("sip", "", "", ""), "sip:"},
      {Uri("", "", "", "h"), "h"},
      {Uri("", "a", "", "h"), "a@h"},
      {Uri("sip", "", "", "h", 1), "sip:h:1"},
      {Uri("sip", "", "", "[::1]", 65535), "sip:[::1]:65535"},
      {Uri("sip", "", "", "h", 0, "lr"), "sip:h;lr"},
      {Uri("sip", "a", "p", "h"), "sip:a:p@h"},
      {Uri("sip", "", "p", "h"), "sip:h"},  // no password without a user
      {Uri("sip", "a", "", "h", 0, "", "subject=1"), "sip:a@h"},
      {Uri("sip", "a", "", "h", 5060, "lr", "subject=1"), "sip:a@h:5060;lr"},
  };
  for (const auto& [uri, text] : rows) {
    SCOPED_TRACE(text);
    EXPECT_EQ(Written(uri), text);
  }
}

TEST(UriWriteTest, TextIsCutToTheRoom) {
  const std::string_view whole = "sip:alice@10.0.0.1:5062;lr";
  for (std::size_t room = 0; room <= whole.size() + 2; ++room) {
    SCOPED_TRACE(room);
    cpsip_uri uri = Uri("sip", "alice", "", "10.0.0.1", 5062, "lr");
    std::string dest(room + 1, '?');
    EXPECT_EQ(CPSIP_UriToStr(uri, std::span<char>(dest.data(), room)), 0);
    EXPECT_TRUE(whole.starts_with(uri.text)) << uri.text;
    EXPECT_LE(uri.text.size(), room);
    EXPECT_GE(uri.text.size() + 1, std::min(room, whole.size())) << "room for a NUL at most is left";
    EXPECT_EQ(dest.back(), '?') << "written behind the room";
  }
}

class RandomUri {
 public:
  explicit RandomUri(unsigned seed) : random_(seed) {}

  std::string Next() {
    const bool scheme = Chance(), user = Chance(), headers = Below(4) == 0;
    std::string text = scheme ? std::string(One({"sip:", "sips:", "SIP:", "x-y:"})) : "";
    if (user) {
      text += Word("abcXYZ019-_.!~*'()&=+$,;/%");
      // Without a scheme, the user would be read as one.
      if (scheme && Chance()) text += ":" + Word("abc019&=+$,");
      text += "@";
    }
    const bool brackets = (scheme || user) && Below(4) == 0;
    const bool dots = Chance();
    text += brackets ? "[" + Word("0123456789abcdef:") + "]"
            : dots   ? "10." + Word("0123456789")
                     : Word("abc09-");
    if ((scheme || user || dots) && Chance()) text += ":" + std::to_string(1 + Below(65534));
    // Headers limit the search for a transport.
    const std::string_view transport =
        headers ? "x" : One({"transport=udp", "transport=TCP", "transport=sctp"});
    for (unsigned left = Below(4); left > 0; --left) {
      text += ";" + std::string(One({"lr", "maddr=10.0.0.9", "method=INVITE", "user=phone", transport}));
    }
    if (headers) text += "?" + Word("abc=&");
    return text;
  }

 private:
  unsigned Below(unsigned end) { return static_cast<unsigned>(random_() % end); }
  bool Chance() { return Below(2) == 0; }
  std::string_view One(std::initializer_list<std::string_view> of) {
    return of.begin()[Below(static_cast<unsigned>(of.size()))];
  }
  std::string Word(std::string_view letters) {
    std::string word(1 + Below(12), ' ');
    for (char& c : word)
      c = letters[Below(static_cast<unsigned>(letters.size()))];
    return word;
  }

  std::mt19937 random_;
};

TEST(UriWriteTest, RandomUriIsTheSameAfterWritingAndParsingAgain) {
  RandomUri random(20260);
  for (int at = 0; at < 5000 && !HasFailure(); ++at) {
    const std::string text = random.Next();
    SCOPED_TRACE(text);
    cpsip_uri first;
    first.text = text;
    ASSERT_EQ(CPSIP_MsgParseURI(first), kUriOk);
    cpsip_uri again = first;
    std::array<char, 400> dest;
    ASSERT_EQ(CPSIP_UriToStr(again, dest), 0);
    EXPECT_EQ(again.text, std::string_view(text).substr(0, text.find('?')));
    cpsip_uri second;
    second.text = again.text;
    ASSERT_EQ(CPSIP_MsgParseURI(second), kUriOk);
    EXPECT_EQ(second.scheme, first.scheme);
    EXPECT_EQ(second.user, first.user);
    EXPECT_EQ(second.password, first.password);
    EXPECT_EQ(second.host, first.host);
    EXPECT_EQ(second.port, first.port);
    EXPECT_EQ(second.params, first.params);
    EXPECT_EQ(second.headers, "");
    if (first.headers.empty()) {
      EXPECT_EQ(second.transport, first.transport);
    }
  }
}

}  // namespace
}  // namespace hark::test
