// What the gateway answers over HTTP: files of the page with the headers that keep them to themselves, and
// refusals.
#include "tools/harkpanel/http_reply.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tools/harkpanel/page_files.h"

namespace hark::panel_gateway {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

HttpRequest get(std::string_view path) {
  HttpRequest request;
  request.path = path;
  request.get = true;
  return request;
}

HttpRequest head(std::string_view path) {
  HttpRequest request;
  request.path = path;
  request.head = true;
  return request;
}

std::string body_of(const std::string& text) { return text.substr(text.find("\r\n\r\n") + 4); }

std::string headers_of(const std::string& text) { return text.substr(0, text.find("\r\n\r\n") + 2); }

TEST(HttpReply, GetGivesTheFileWithItsLength) {
  const PageFile* file = find_page_file("/panel.js");
  ASSERT_NE(file, nullptr);
  const HttpReply reply = answer(get("/panel.js"));
  EXPECT_THAT(reply.text, StartsWith("HTTP/1.1 200 OK\r\n"));
  EXPECT_THAT(reply.text, HasSubstr("\r\nContent-Length: " + std::to_string(file->bytes.size()) + "\r\n"));
  EXPECT_THAT(reply.text, HasSubstr("\r\nContent-Type: text/javascript; charset=utf-8\r\n"));
  EXPECT_EQ(body_of(reply.text), file->bytes);
  EXPECT_TRUE(reply.keep_open);
}

TEST(HttpReply, HeadGivesTheSameHeadersAndNoBody) {
  const HttpReply reply = answer(head("/"));
  EXPECT_EQ(headers_of(reply.text), headers_of(answer(get("/")).text));
  EXPECT_EQ(body_of(reply.text), "");
  EXPECT_TRUE(reply.keep_open);
}

TEST(HttpReply, EveryReplyKeepsThePageToItself) {
  for (const HttpReply& reply : {answer(get("/")), answer(head("/")), answer(get("/none")), answer({}),
                                 refusal(403, "not from here"), refusal(400, "no")}) {
    SCOPED_TRACE(reply.text.substr(0, 40));
    EXPECT_THAT(reply.text,
                HasSubstr("\r\nContent-Security-Policy: default-src 'none'; script-src 'self'; style-src "
                          "'self'; img-src 'self'; connect-src 'self'; base-uri 'none'; form-action 'none'; "
                          "frame-ancestors 'none'\r\n"));
    EXPECT_THAT(reply.text, HasSubstr("\r\nX-Content-Type-Options: nosniff\r\n"));
    EXPECT_THAT(reply.text, HasSubstr("\r\nReferrer-Policy: no-referrer\r\n"));
    EXPECT_THAT(reply.text, HasSubstr("\r\nCache-Control: no-cache\r\n"));
  }
}

TEST(HttpReply, UnknownPathIs404) {
  const HttpReply reply = answer(get("/none"));
  EXPECT_THAT(reply.text, StartsWith("HTTP/1.1 404 Not Found\r\n"));
  EXPECT_THAT(reply.text, HasSubstr("\r\nConnection: close\r\n"));
  EXPECT_EQ(body_of(reply.text), "there is no such page\n");
  EXPECT_FALSE(reply.keep_open);
}

TEST(HttpReply, RefusalOfAHeadHasTheLengthButNoBody) {
  const HttpReply reply = answer(head("/none"));
  EXPECT_EQ(headers_of(reply.text), headers_of(answer(get("/none")).text));
  EXPECT_EQ(body_of(reply.text), "");
}

TEST(HttpReply, AnotherVersionOfWebSocketIsToldTheOneThatThereIs) {
  const std::string text = refusal(426, "only version 13 of WebSocket is served").text;
  EXPECT_THAT(text, StartsWith("HTTP/1.1 426 Upgrade Required\r\n"));
  EXPECT_THAT(text, HasSubstr("\r\nSec-WebSocket-Version: 13\r\n"));
}

TEST(HttpReply, OtherMethodsAre405WithThoseThatThereAre) {
  HttpRequest request;
  request.path = "/";
  const HttpReply reply = answer(request);
  EXPECT_THAT(reply.text, StartsWith("HTTP/1.1 405 Method Not Allowed\r\n"));
  EXPECT_THAT(reply.text, HasSubstr("\r\nAllow: GET, HEAD\r\n"));
  EXPECT_FALSE(reply.keep_open);
}

// What follows such a request would be taken for the next one.
TEST(HttpReply, RequestWithABodyIsRefusedAndTheConnectionEnds) {
  HttpRequest request = get("/");
  request.has_body = true;
  const HttpReply reply = answer(request);
  EXPECT_THAT(reply.text, StartsWith("HTTP/1.1 400 Bad Request\r\n"));
  EXPECT_FALSE(reply.keep_open);
}

TEST(HttpReply, RefusalTellsItsReason) {
  const HttpReply reply = refusal(403, "this page was not loaded from this gateway");
  EXPECT_THAT(reply.text, StartsWith("HTTP/1.1 403 Forbidden\r\n"));
  EXPECT_THAT(reply.text, HasSubstr("\r\nContent-Length: 43\r\n"));
  EXPECT_THAT(reply.text, EndsWith("\r\n\r\nthis page was not loaded from this gateway\n"));
  EXPECT_THAT(reply.text, Not(HasSubstr("Allow:")));
}

}  // namespace
}  // namespace hark::panel_gateway
