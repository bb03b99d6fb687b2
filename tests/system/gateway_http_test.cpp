// What the gateway gives by HTTP, and whom it lets open a panel.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "system/gateway_fixture.h"

namespace hark::test {
namespace {

using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;

class GatewayHttp : public PanelGatewayTest {
 protected:
  // The status of the answer to a request; its head and body are in `client_`.
  int Ask(const std::string& request) {
    web = std::make_unique<WsClient>();
    EXPECT_TRUE(web->connect(gateway.port()));
    EXPECT_TRUE(web->send_raw(request));
    return web->wait_http();
  }
  int Get(const std::string& path, const std::string& method = "GET") {
    return Ask(method + " " + path + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(gateway.port()) +
               "\r\n\r\n");
  }
  int Upgrade(const WsUpgrade& request) {
    web = std::make_unique<WsClient>();
    EXPECT_TRUE(web->connect(gateway.port()));
    return web->upgrade(request);
  }
  std::string At(const std::string& host) const { return host + ":" + std::to_string(gateway.port()); }

  std::unique_ptr<WsClient> web;
};

TEST_F(GatewayHttp, PageIsServedWithItsHeaders) {
  StartWithGateway();
  ASSERT_EQ(Get("/"), 200);
  EXPECT_EQ(web->header("Content-Type"), "text/html; charset=utf-8");
  EXPECT_EQ(web->header("Content-Security-Policy"),
            "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; "
            "base-uri 'none'; form-action 'none'; frame-ancestors 'none'");
  EXPECT_EQ(web->header("X-Content-Type-Options"), "nosniff");
  EXPECT_EQ(web->header("Referrer-Policy"), "no-referrer");
  EXPECT_EQ(web->header("Cache-Control"), "no-cache");
  EXPECT_THAT(web->body(), HasSubstr("<!"));
}

// Every file that the page names, and every module that those import.
TEST_F(GatewayHttp, AllThatThePageNeedsIsThere) {
  StartWithGateway();
  std::set<std::string> seen;
  std::vector<std::string> to_get = {"/"};
  const std::regex names(
      "(?:src=|href=|from |import )[\"'](?:\\./|/)?([A-Za-z0-9_.-]+\\.(?:js|css|svg))[\"']");
  while (!to_get.empty()) {
    const std::string path = to_get.back();
    to_get.pop_back();
    if (!seen.insert(path).second) continue;
    SCOPED_TRACE(path);
    ASSERT_EQ(Get(path), 200);
    EXPECT_EQ(web->header("X-Content-Type-Options"), "nosniff");
    EXPECT_THAT(web->header("Content-Security-Policy"), HasSubstr("default-src 'none'"));
    if (path.ends_with(".js")) {
      EXPECT_THAT(web->header("Content-Type"), HasSubstr("text/javascript"));
    }
    if (path.ends_with(".css")) {
      EXPECT_THAT(web->header("Content-Type"), HasSubstr("text/css"));
    }
    const std::string body = web->body();
    for (std::sregex_iterator it(body.begin(), body.end(), names), end; it != end; ++it)
      to_get.push_back("/" + (*it)[1].str());
    EXPECT_FALSE(std::regex_search(body, std::regex("(?:src|href)=[\"'](?:https?:)?//")))
        << "an outside resource";
  }
  EXPECT_GE(seen.size(), 3U);
  EXPECT_TRUE(seen.contains("/panel.js"));
  EXPECT_TRUE(seen.contains("/panel.css"));
}

TEST_F(GatewayHttp, NothingElseIs) {
  StartWithGateway();
  for (const char* path :
       {"/nothing", "/index.htm", "/panel.js.map", "/../../../../etc/passwd", "/..%2f..%2fetc/passwd",
        "/%2e%2e/%2e%2e/etc/passwd", "//etc/passwd", "/panel.js/", "/page/panel.js"}) {
    SCOPED_TRACE(path);
    EXPECT_THAT(Get(path), AnyOf(400, 403, 404));
    EXPECT_THAT(web->body(), Not(HasSubstr("root:")));
  }
  EXPECT_EQ(Get("/nothing"), 404);
}

TEST_F(GatewayHttp, OnlyReadingIsAllowed) {
  StartWithGateway();
  for (const char* method : {"POST", "PUT", "DELETE"}) {
    SCOPED_TRACE(method);
    web = std::make_unique<WsClient>();
    ASSERT_TRUE(web->connect(gateway.port()));
    ASSERT_TRUE(web->send_raw(std::string(method) + " / HTTP/1.1\r\nHost: " + At("127.0.0.1") +
                              "\r\nContent-Length: 0\r\n\r\n"));
    EXPECT_EQ(web->wait_http(), 405);
  }
  EXPECT_EQ(Get("/"), 200);
}

TEST_F(GatewayHttp, PageOfAnotherSiteMayNotOpenAPanel) {
  StartWithGateway();
  for (const std::string& origin :
       {std::string("http://evil.example"), "http://" + At("evil.example"), std::string("http://127.0.0.1:1"),
        std::string("null"), "http://" + At("127.0.0.1") + ".evil.example", "http://" + At("localhost"),
        std::string("http://127.0.0.1"), "http://evil@" + At("127.0.0.1"), std::string("garbage")}) {
    SCOPED_TRACE(origin);
    EXPECT_EQ(Upgrade({.origin = origin}), 403);
    EXPECT_FALSE(web->body().empty()) << "the reason is told";
  }
  EXPECT_EQ(Upgrade({.origin = "http://" + At("127.0.0.1")}), 101);
  EXPECT_EQ(Upgrade({.host = At("localhost"), .origin = "http://" + At("localhost")}), 101);
  EXPECT_EQ(Upgrade({}), 101) << "who is no browser has no origin";
}

// A name that leads here is not a name of ours: its owner's page would have the right origin.
TEST_F(GatewayHttp, ForeignNameOfThisHostMayNotOpenAPanel) {
  StartWithGateway();
  for (const std::string& host :
       {At("evil.example"), At("localhost.evil.example"), At("127.0.0.1.evil.example"), At("10.0.0.1"),
        std::string("evil.example")}) {
    SCOPED_TRACE(host);
    EXPECT_EQ(Upgrade({.host = host}), 403);
    EXPECT_FALSE(web->body().empty());
    EXPECT_EQ(Upgrade({.host = host, .origin = "http://" + host}), 403);
  }
  EXPECT_EQ(Upgrade({.host = At("127.0.0.7")}), 101) << "a number of this machine";
  EXPECT_EQ(Upgrade({.host = At("[::1]")}), 101);
}

TEST_F(GatewayHttp, WithATokenAnyNameOfThisHostWill) {
  station.root().write("token", "correct horse\n");
  StartWithGateway({"--token", station.root().file("token")});
  EXPECT_EQ(Upgrade({.host = At("panel.example"), .origin = "http://" + At("panel.example")}), 101);
  EXPECT_EQ(Upgrade({.host = At("panel.example"), .origin = "http://" + At("evil.example")}), 403);
}

TEST_F(GatewayHttp, PanelIsAtItsPathAndSpeaksItsProtocol) {
  StartWithGateway();
  EXPECT_NE(Upgrade({.path = "/"}), 101);
  EXPECT_NE(Upgrade({.path = "/other"}), 101);
  EXPECT_NE(Upgrade({.protocol = "chat"}), 101);
  EXPECT_NE(Upgrade({.version = "8"}), 101);
  EXPECT_EQ(Upgrade({}), 101);
  EXPECT_EQ(web->fault(), "");
}

TEST_F(GatewayHttp, HalfOpenRequestsHoldNobodyUp) {
  StartWithGateway();
  const auto browser = Join();
  std::vector<std::unique_ptr<WsClient>> open;
  for (int count = 0; count < 60; ++count) {
    open.push_back(std::make_unique<WsClient>());
    ASSERT_TRUE(open.back()->connect(gateway.port()));
    const std::string part =
        std::string("GET /panel HTTP/1.1\r\nHost: 127.0.0.1\r\nUpgrade: webs").substr(0, count);
    EXPECT_TRUE(open.back()->send_raw(part));
  }
  Works(*browser);
  EXPECT_EQ(Get("/"), 200);
  Works(*Join());
  for (auto& one : open)
    one->abort();
  Works(*browser);
}

TEST_F(GatewayHttp, BytesThatAreNoRequestAreEndedAlone) {
  StartWithGateway();
  const auto browser = Join();
  for (const std::string& bytes :
       {std::string(64, '\0'), std::string("\x16\x03\x01\x02\x00\x01\x00\x01\xFC\x03\x03", 11),
        std::string(5'000, 'A'), "GET /" + std::string(20'000, 'a') + " HTTP/1.1\r\n\r\n",
        "GET / HTTP/1.1\r\nHost: x\r\nX-Long: " + std::string(50'000, 'a') + "\r\n\r\n",
        std::string("GET / HTTP/9.9\r\n\r\n"), std::string("\r\n\r\n\r\n\r\n"),
        std::string("ATTACH HARKUI#web KEYS:\"1-20\"\r\n"), std::string("PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n"),
        std::string("GET /panel HTTP/1.1\r\nUpgrade: websocket\r\n\r\n")}) {
    SCOPED_TRACE(bytes.substr(0, 40));
    WsClient bad;
    ASSERT_TRUE(bad.connect(gateway.port()));
    (void)bad.send_raw(bytes);
    EXPECT_TRUE(browser->round_trip());
    bad.abort();
  }
  Works(*browser);
}

}  // namespace
}  // namespace hark::test
