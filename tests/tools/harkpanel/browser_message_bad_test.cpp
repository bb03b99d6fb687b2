// What a browser must not say: each row is refused with a reason, and nothing of it is taken.
#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <string_view>

#include "tools/harkpanel/browser_message.h"

namespace hark::panel_gateway {
namespace {

using namespace std::string_view_literals;

void ExpectRefused(std::string_view text) {
  SCOPED_TRACE(std::string(text.substr(0, 200)));
  const auto read = read_browser_message(text);
  const auto* bad = std::get_if<BadMessage>(&read);
  ASSERT_NE(bad, nullptr) << "it was taken";
  EXPECT_FALSE(bad->why.empty());
  // The reason goes into a close frame, which has room for 123 bytes (RFC 6455 5.5 and 7.1.6).
  EXPECT_LE(bad->why.size(), 123U);
  for (const char c : bad->why)
    EXPECT_TRUE(std::isprint(static_cast<unsigned char>(c))) << bad->why;
}

TEST(BadBrowserMessage, IsNoObject) {
  for (const std::string_view text : {""sv,
                                      " "sv,
                                      "\0"sv,
                                      "null"sv,
                                      "1"sv,
                                      "\"retry\""sv,
                                      "[]"sv,
                                      R"([{"t":"retry"}])"sv,
                                      "{"sv,
                                      "}"sv,
                                      R"({"t":"retry")"sv,
                                      R"({"t":"retry"}})"sv,
                                      R"({"t":"retry"} {"t":"retry"})"sv,
                                      R"({"t":"retry",})"sv,
                                      R"({'t':'retry'})"sv,
                                      R"({t:"retry"})"sv,
                                      R"({"t":"retry"/**/})"sv,
                                      "{\"t\":\"retry\"}\0"sv,
                                      "{\"t\":\"ret\nry\"}"sv,
                                      R"({"t":"\x72etry"})"sv,
                                      R"({"t":"retry","a":01})"sv,
                                      R"({"t":"retry","a":.5})"sv,
                                      R"({"t":"retry","a":tru})"sv,
                                      "GET / HTTP/1.1\r\n\r\n"sv})
    ExpectRefused(text);
}

TEST(BadBrowserMessage, NamesNoKindThatThereIs) {
  for (const std::string_view text :
       {R"({})"sv, R"({"T":"retry"})"sv, R"({"t":null})"sv, R"({"t":1})"sv, R"({"t":["retry"]})"sv,
        R"({"t":{}})"sv, R"({"t":true})"sv, R"({"t":""})"sv, R"({"t":"Retry"})"sv, R"({"t":"retry "})"sv,
        R"({"t":"state"})"sv, R"({"t":"welcome","v":1})"sv, R"({"t":"retry\u0000"})"sv})
    ExpectRefused(text);
}

TEST(BadBrowserMessage, HelloOfWrongTypes) {
  for (const std::string_view text :
       {R"({"t":"hello","v":"1"})"sv, R"({"t":"hello","v":null})"sv, R"({"t":"hello","v":[1]})"sv,
        R"({"t":"hello","v":true})"sv, R"({"t":"hello","v":1.5})"sv,
        R"({"t":"hello","v":99999999999999999999})"sv, R"({"t":"hello","v":1,"token":1})"sv,
        R"({"t":"hello","v":1,"token":null})"sv, R"({"t":"hello","v":1,"token":["a"]})"sv})
    ExpectRefused(text);
}

TEST(BadBrowserMessage, KeyThatIsNotWhole) {
  for (const std::string_view text :
       {R"({"t":"key"})"sv, R"({"t":"key","down":true,"at":1})"sv, R"({"t":"key","key":"KL01","at":1})"sv,
        R"({"t":"key","key":"KL01","down":true})"sv, R"({"t":"key","key":"KL01","down":true,"AT":1})"sv})
    ExpectRefused(text);
}

TEST(BadBrowserMessage, KeyOfWrongTypes) {
  for (const std::string_view text :
       {R"({"t":"key","key":1,"down":true,"at":1})"sv, R"({"t":"key","key":null,"down":true,"at":1})"sv,
        R"({"t":"key","key":["KL01"],"down":true,"at":1})"sv, R"({"t":"key","key":"","down":true,"at":1})"sv,
        R"({"t":"key","key":"KL00","down":true,"at":1})"sv,
        R"({"t":"key","key":"KL99","down":true,"at":1})"sv,
        R"({"t":"key","key":"SPKV","down":true,"at":1})"sv,
        R"({"t":"key","key":"kl01","down":true,"at":1})"sv,
        R"({"t":"key","key":"KL01\n","down":true,"at":1})"sv,
        R"({"t":"key","key":"KL01\u0000","down":true,"at":1})"sv,
        R"({"t":"key","key":"KL01","down":1,"at":1})"sv, R"({"t":"key","key":"KL01","down":"true","at":1})"sv,
        R"({"t":"key","key":"KL01","down":null,"at":1})"sv,
        R"({"t":"key","key":"KL01","down":true,"at":"1"})"sv,
        R"({"t":"key","key":"KL01","down":true,"at":null})"sv,
        R"({"t":"key","key":"KL01","down":true,"at":true})"sv,
        R"({"t":"key","key":"KL01","down":true,"at":[1]})"sv,
        R"({"t":"key","key":"KL01","down":false,"at":1,"cancel":1})"sv,
        R"({"t":"key","key":"KL01","down":false,"at":1,"cancel":"yes"})"sv})
    ExpectRefused(text);
}

TEST(BadBrowserMessage, KeyAtNoTime) {
  for (const std::string_view at :
       {"-1"sv, "-0.001"sv, "9007199254740994"sv, "18446744073709551615"sv, "1e17"sv, "1e308"sv, "1e309"sv,
        "1e999999999"sv, "-1e999"sv, "NaN"sv, "Infinity"sv, "-Infinity"sv, "nan"sv, "0x10"sv, "1e"sv, "+1"sv,
        "1."sv, "100000000000000000000000000000000000000000000000000"sv})
    ExpectRefused(R"({"t":"key","key":"KL01","down":true,"at":)" + std::string(at) + "}");
}

TEST(BadBrowserMessage, FaderWithoutAWholeMove) {
  for (const std::string_view text :
       {R"({"t":"fader"})"sv, R"({"t":"fader","key":"KL01"})"sv, R"({"t":"fader","to":1})"sv,
        R"({"t":"fader","key":"KL01","to":1,"by":1})"sv, R"({"t":"fader","key":"KT01","to":1})"sv,
        R"({"t":"fader","key":"KX01","to":1})"sv, R"({"t":"fader","key":"KLAA","to":1})"sv,
        R"({"t":"fader","key":"KL00","to":1})"sv, R"({"t":"fader","key":"KL99","to":1})"sv,
        R"({"t":"fader","key":"KVOL","by":10})"sv, R"({"t":"fader","key":"HDPV","by":10})"sv,
        R"({"t":"fader","key":"SPKM","by":10})"sv, R"({"t":"fader","key":7,"by":10})"sv})
    ExpectRefused(text);
}

TEST(BadBrowserMessage, FaderBeyondItsRange) {
  for (const std::string_view to :
       {"121"sv, "-1001"sv, "2147483648"sv, "-2147483649"sv, "18446744073709551615"sv, "4294967296"sv,
        "1.5"sv, "-0.5"sv, "\"1\""sv, "null"sv, "true"sv, "[1]"sv, "1e400"sv})
    ExpectRefused(R"({"t":"fader","key":"KL01","to":)" + std::string(to) + "}");
  for (const std::string_view by :
       {"1001"sv, "-1001"sv, "4294967306"sv, "-4294967306"sv, "10.5"sv, "\"10\""sv, "null"sv})
    ExpectRefused(R"({"t":"fader","key":"SPKV","by":)" + std::string(by) + "}");
}

TEST(BadBrowserMessage, LabelThatIsTooLongOrHoldsControlCharacters) {
  for (const std::string_view value :
       {R"("Eleven char")"sv, "\"\xC3\xA4\xC3\xB6\xC3\xBC\xC3\xA4\xC3\xB6!\""sv, R"("a\nb")"sv, R"("a\rb")"sv,
        R"("\u0000")"sv, R"("a\u0000")"sv, R"("\t")"sv, R"("\u001f")"sv, R"("\u001b[31m")"sv, "\"a\tb\""sv,
        R"(1)"sv, R"(null)"sv, R"(["Desk"])"sv, R"({"a":"b"})"sv, R"(true)"sv}) {
    ExpectRefused(R"({"t":"caller","label":)" + std::string(value) + "}");
    ExpectRefused(R"({"t":"shift","name":)" + std::string(value) + "}");
  }
  ExpectRefused(R"({"t":"shift","name":""})");
  ExpectRefused(R"({"t":"shift"})");
  ExpectRefused(R"({"t":"caller"})");
  ExpectRefused(R"({"t":"caller","name":"Desk"})");
}

TEST(BadBrowserMessage, EchoWithoutANumber) {
  for (const std::string_view text :
       {R"({"t":"echo"})"sv, R"({"t":"echo","n":"1"})"sv, R"({"t":"echo","n":null})"sv,
        R"({"t":"echo","n":[1]})"sv, R"({"t":"echo","n":1e999})"sv, R"({"t":"echo","n":NaN})"sv})
    ExpectRefused(text);
}

TEST(BadBrowserMessage, TextThatIsNoUtf8) {
  for (const std::string_view bytes :
       {"\x80"sv, "\xFF"sv, "\xFE"sv, "\xC3"sv, "\xC0\xAF"sv, "\xE2\x82"sv, "\xED\xA0\x80"sv,
        "\xF4\x90\x80\x80"sv, "\xF8\x88\x80\x80\x80"sv, "\xC3("sv}) {
    ExpectRefused("{\"t\":\"caller\",\"label\":\"" + std::string(bytes) + "\"}");
    ExpectRefused("{\"t\":\"retry\",\"" + std::string(bytes) + "\":1}");
    ExpectRefused(bytes);
  }
  // Half of a pair, as an escape.
  ExpectRefused(R"({"t":"caller","label":"\ud800"})");
  ExpectRefused(R"({"t":"caller","label":"\udc00\ud800"})");
}

TEST(BadBrowserMessage, DeepNestsAndBigTextsEndInARefusal) {
  for (const char open : {'[', '{', '"', '\\'})
    ExpectRefused(std::string(kMaxMessage, open));
  std::string objects;
  while (objects.size() + 5 < kMaxMessage)
    objects += "{\"a\":";
  ExpectRefused(objects);
  ExpectRefused(R"({"t":"caller","label":")" + std::string(900, 'x') + "\"}");
  ExpectRefused(R"({"t":")" + std::string(900, 'x') + "\"}");
  ExpectRefused(R"({"t":"key","key":"KL01","down":true,"at":)" + std::string(900, '9') + "}");
}

// Of two members of one name no mixture may come out: neither that a test by one reader passes with the first
// and another acts on the second, nor a key that nobody let go of.
TEST(BadBrowserMessage, OfTwoMembersOfOneNameTheLastCountsOrNone) {
  const auto read =
      read_browser_message(R"({"t":"key","key":"KL01","key":"KT02","down":true,"down":false,"at":1,"at":2})");
  if (std::holds_alternative<BadMessage>(read)) return;
  const auto* event = std::get_if<KeyEvent>(&std::get<BrowserMessage>(read));
  ASSERT_NE(event, nullptr);
  EXPECT_EQ(event->key, sig("KT02"));
  EXPECT_FALSE(event->down);
  EXPECT_DOUBLE_EQ(event->at_ms, 2);
}

}  // namespace
}  // namespace hark::panel_gateway
