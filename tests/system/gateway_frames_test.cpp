// Frames that no browser sends: each ends the connection that sent it, with a code that tells why, its keys
// go up, and another browser goes on as if nothing had been.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "system/gateway_fixture.h"

namespace hark::test {
namespace {

using testing::Contains;

// RFC 6455 7.4.1: what a peer may say to frames that it cannot take.
constexpr int kProtocolError = 1002;
constexpr int kInvalidText = 1007;
constexpr int kTooBig = 1009;
// The connection was just ended, which RFC 6455 7.1.7 allows as well.
constexpr int kNoCode = 1006;

class GatewayFrames : public PanelGatewayTest {};

struct BadBytes {
  const char* what;
  std::string bytes;
  std::vector<int> codes;
};

std::vector<BadBytes> bad_frames() {
  const std::string hello = R"({"t":"retry"})";
  const std::string large(1'025, 'x');
  const std::string half(600, 'x');
  const std::vector<int> malformed = {kProtocolError, 4400};
  const std::vector<int> too_large = {4413, kTooBig};
  return {
      {"first reserved bit", WsFrame{.payload = hello, .reserved = 4}.bytes(), malformed},
      {"second reserved bit", WsFrame{.payload = hello, .reserved = 2}.bytes(), malformed},
      {"third reserved bit", WsFrame{.payload = hello, .reserved = 1}.bytes(), malformed},
      {"opcode 3", WsFrame{.opcode = 3, .payload = hello}.bytes(), malformed},
      {"opcode 7", WsFrame{.opcode = 7, .payload = hello}.bytes(), malformed},
      {"opcode 11", WsFrame{.opcode = 11, .payload = hello}.bytes(), malformed},
      {"opcode 15", WsFrame{.opcode = 15}.bytes(), malformed},
      {"continuation of nothing", WsFrame{.opcode = kWsContinuation, .payload = hello}.bytes(), malformed},
      {"text within a text",
       WsFrame{.payload = "{", .fin = false}.bytes() + WsFrame{.payload = hello}.bytes(), malformed},
      {"ping in pieces", WsFrame{.opcode = kWsPing, .payload = "x", .fin = false}.bytes(), malformed},
      {"long ping",
       WsFrame{.opcode = kWsPing, .payload = std::string(126, 'x')}.bytes(),
       {kProtocolError, kNoCode}},
      {"binary", WsFrame{.opcode = kWsBinary, .payload = hello}.bytes(), {4400, 1003}},
      {"empty binary", WsFrame{.opcode = kWsBinary}.bytes(), {4400, 1003}},
      {"no UTF-8", WsFrame{.payload = "{\"t\":\"caller\",\"label\":\"\xFF\"}"}.bytes(), {4400, kInvalidText}},
      {"overlong UTF-8", WsFrame{.payload = "\xC0\xAF"}.bytes(), {4400, kInvalidText}},
      {"half of a character", WsFrame{.payload = "\xE2\x82"}.bytes(), {4400, kInvalidText}},
      {"one byte too many", WsFrame{.payload = large}.bytes(), too_large},
      {"64 KiB", WsFrame{.payload = std::string(65'536, 'x')}.bytes(), too_large},
      {"pieces beyond the limit",
       WsFrame{.payload = half, .fin = false}.bytes() +
           WsFrame{.opcode = kWsContinuation, .payload = half}.bytes(),
       too_large},
      {"a length of 2^63",
       WsFrame{.length = std::uint64_t{1} << 63}.bytes() + std::string(200, 'x'),
       {kProtocolError, kTooBig, kNoCode}},
      {"a length of 2^63 - 1",
       WsFrame{.length = (std::uint64_t{1} << 63) - 1}.bytes() + std::string(2'000, 'x'),
       {kProtocolError, kTooBig, 4413}},
      {"a length of 2^32", WsFrame{.length = std::uint64_t{1} << 32}.bytes() + std::string(2'000, 'x'),
       too_large},
      {"no JSON", WsFrame{.payload = "nonsense"}.bytes(), {4400}},
      {"empty", WsFrame{}.bytes(), {4400}},
      {"a NUL", WsFrame{.payload = std::string(1, '\0')}.bytes(), {4400}},
  };
}

TEST_F(GatewayFrames, EachBadFrameEndsItsConnectionAloneWithACode) {
  StartWithGateway();
  const auto witness = Join();
  for (const BadBytes& row : bad_frames()) {
    SCOPED_TRACE(row.what);
    Browser bad;
    ASSERT_TRUE(bad.join(gateway.port()));
    bad.down("KL01");
    ASSERT_TRUE(becomes([&] { return witness->shown(1, "listen") == "on"; }));
    ASSERT_TRUE(bad.send_raw(row.bytes));
    const int code = bad.wait_closed();
    EXPECT_THAT(row.codes, Contains(code)) << bad.close_reason();
    if (code >= 4000) {
      EXPECT_NE(bad.close_reason(), "");
    }
    EXPECT_TRUE(becomes([&] { return witness->shown(1, "listen") == "off"; })) << "its key goes up";
    EXPECT_TRUE(witness->round_trip());
  }
  Works(*witness);
}

// RFC 6455 5.1 has such a connection closed; the library does not look at the bit. No browser sends it, and
// who does gains nothing by it: the frame is read as any other, with its limits.
TEST_F(GatewayFrames, UnmaskedFrameIsReadAsAnyOther) {
  StartWithGateway();
  const auto witness = Join();
  Browser odd;
  ASSERT_TRUE(odd.join(gateway.port()));
  ASSERT_TRUE(odd.send({.payload = R"({"t":"key","key":"KL99","down":true,"at":0})", .masked = false}));
  EXPECT_TRUE(becomes([&] { return odd.close_code() == 4400; }));
  Works(*witness);
}

TEST_F(GatewayFrames, GoodOnesOfUnusualShapeAreTaken) {
  StartWithGateway();
  const auto browser = Join();
  // In pieces, of any sizes, with control frames between them (RFC 6455 5.4).
  EXPECT_TRUE(browser->send({.payload = R"({"t":"ec)", .fin = false}));
  EXPECT_TRUE(browser->send({.opcode = kWsPing, .payload = "x"}));
  EXPECT_TRUE(browser->send({.opcode = kWsContinuation, .payload = "", .fin = false}));
  EXPECT_TRUE(browser->send({.opcode = kWsContinuation, .payload = R"(ho","n":777})"}));
  EXPECT_TRUE(becomes([&] {
    return testing::Matches(Contains(Json{{"t", "echo"}, {"n", 777}}))(browser->told("echo"));
  }));
  EXPECT_TRUE(becomes([&] { return browser->pongs() == 1; }));
  // A text of the largest size; as it comes byte by byte.
  std::string text = R"({"t":"echo","n":778,"more":")";
  text += std::string(1'022 - text.size(), 'x') + "\"}";
  for (const char c : WsFrame{.payload = text}.bytes())
    ASSERT_TRUE(browser->send_raw(std::string(1, c)));
  EXPECT_TRUE(becomes([&] {
    return testing::Matches(Contains(Json{{"t", "echo"}, {"n", 778}}))(browser->told("echo"));
  }));
  // Several in one packet.
  std::string bytes;
  for (int number = 0; number < 20; ++number)
    bytes += WsFrame{.payload = Json{{"t", "echo"}, {"n", 800 + number}}.dump()}.bytes();
  EXPECT_TRUE(browser->send_raw(bytes));
  EXPECT_TRUE(becomes([&] {
    return testing::Matches(Contains(Json{{"t", "echo"}, {"n", 819}}))(browser->told("echo"));
  }));
  EXPECT_EQ(browser->close_code(), 0);
}

TEST_F(GatewayFrames, CutOffFramesLeaveNothingBehind) {
  StartWithGateway();
  const auto witness = Join();
  const std::string whole = WsFrame{.payload = R"({"t":"key","key":"KT03","down":true,"at":1})"}.bytes();
  for (const std::size_t size : {1, 2, 5, 6, 7, 20, 40}) {
    SCOPED_TRACE(size);
    Browser bad;
    ASSERT_TRUE(bad.join(gateway.port()));
    bad.down("KL01");
    ASSERT_TRUE(becomes([&] { return witness->shown(1, "listen") == "on"; }));
    ASSERT_TRUE(bad.send_raw(whole.substr(0, size)));
    if (size % 2 == 0) {
      bad.abort();
    } else {
      bad.close();
    }
    EXPECT_TRUE(becomes([&] { return witness->shown(1, "listen") == "off"; }));
    EXPECT_EQ(witness->shown(3, "talk"), "off");
  }
  Works(*witness);
}

TEST_F(GatewayFrames, PageThatSaysGoodbyeIsLetGo) {
  StartWithGateway();
  const auto witness = Join();
  for (const std::string& payload : {std::string(), std::string("\x03\xE8", 2), std::string("\x03\xE9gone"),
                                     std::string("\x03"), std::string("\xFF\xFF\xFF")}) {
    Browser browser;
    ASSERT_TRUE(browser.join(gateway.port()));
    browser.down("KL01");
    ASSERT_TRUE(becomes([&] { return witness->shown(1, "listen") == "on"; }));
    EXPECT_TRUE(browser.send({.opcode = kWsClose, .payload = payload}));
    EXPECT_TRUE(becomes([&] { return witness->shown(1, "listen") == "off"; }));
    EXPECT_TRUE(becomes([&] { return browser.close_code() != 0; }));
  }
}

}  // namespace
}  // namespace hark::test
