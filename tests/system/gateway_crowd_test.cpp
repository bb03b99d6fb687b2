// Browsers in number, and bad ones among them: wrong tokens, floods, readers that do not read. Each is
// refused with the reason, and the others go on.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "system/gateway_fixture.h"

namespace hark::test {
namespace {

class GatewayCrowd : public PanelGatewayTest {};

TEST_F(GatewayCrowd, SixtyFourSeeTheSameAndTheNextIsToldThatThereIsNoRoom) {
  StartWithGateway();
  std::vector<std::unique_ptr<Browser>> browsers;
  for (int count = 0; count < 64; ++count)
    browsers.push_back(Join());
  Browser surplus;
  EXPECT_FALSE(surplus.join(gateway.port()));
  EXPECT_EQ(surplus.wait_closed(), 4503);
  EXPECT_NE(surplus.close_reason(), "");
  EXPECT_TRUE(surplus.told("welcome").empty());

  browsers[10]->down("KL01");
  for (const auto& browser : browsers)
    EXPECT_TRUE(becomes([&] { return browser->shown(1, "listen") == "on"; }));
  browsers[63]->down("KL01");
  browsers[10]->up("KL01", 1'000);
  EXPECT_TRUE(browsers[10]->round_trip());
  EXPECT_EQ(browsers[20]->shown(1, "listen"), "on") << "another finger is on it";
  browsers[63]->cancel("KL01", 1'000);
  for (const auto& browser : browsers)
    ASSERT_TRUE(becomes([&] { return browser->shown(1, "listen") == "off"; }));

  browsers[5]->close();
  EXPECT_TRUE(becomes([&] { return static_cast<bool>(surplus.join(gateway.port())); }))
      << "there is room again";
}

TEST_F(GatewayCrowd, AllOfThemCostTheStationOneConnection) {
  StartWithGateway();
  const int before = settled_descriptors(station, client);
  std::vector<std::unique_ptr<Browser>> browsers;
  for (int count = 0; count < 20; ++count)
    browsers.push_back(Join());
  EXPECT_EQ(settled_descriptors(station, client), before);
}

TEST_F(GatewayCrowd, WrongTokensAreRefusedAndTheRightOneIsNot) {
  station.root().write("token", "  correct horse \nsecond line\n");
  StartWithGateway({"--token", station.root().file("token")});
  const auto good = Join("correct horse");
  for (const char* token : {"", "wrong", "correct hors", "correct horse ", "Correct horse"}) {
    SCOPED_TRACE(token);
    Browser bad;
    EXPECT_FALSE(bad.join(gateway.port(), token));
    EXPECT_EQ(bad.wait_closed(), 4401);
    EXPECT_TRUE(bad.told("state").empty());
    ASSERT_EQ(bad.told("refused").size(), 1U);
    EXPECT_NE(bad.told("refused")[0]["why"], "");
    EXPECT_TRUE(good->round_trip());
  }
  Works(*good);
}

TEST_F(GatewayCrowd, WhoSaysNoHelloIsClosed) {
  StartWithGateway();
  const auto good = Join();
  WsClient silent;
  ASSERT_TRUE(silent.connect(gateway.port()));
  ASSERT_EQ(silent.upgrade(), 101);
  EXPECT_TRUE(becomes([&] { return silent.close_code() != 0; }));
  EXPECT_EQ(silent.close_code(), 4408);
  Works(*good);
}

TEST_F(GatewayCrowd, FloodIsTooMuchForItsSenderOnly) {
  StartWithGateway();
  const auto good = Join();
  for (const char* text : {R"({"t":"echo","n":1})", R"({"t":"key","key":"KT01","down":true,"at":1})",
                           R"({"t":"fader","key":"SPKV","by":10})", R"({"t":"retry"})"}) {
    SCOPED_TRACE(text);
    Browser bad;
    ASSERT_TRUE(bad.join(gateway.port()));
    std::string bytes;
    for (int count = 0; count < 3'000; ++count)
      bytes += WsFrame{.payload = text}.bytes();
    (void)bad.send_raw(bytes);
    const int code = bad.wait_closed();
    // A reset by what it still sent may overtake the reason.
    EXPECT_TRUE(code == 4429 || code == 1006) << code;
    EXPECT_TRUE(good->round_trip());
  }
  EXPECT_TRUE(NobodyIsOn());
  Works(*good);
}

TEST_F(GatewayCrowd, FloodThatIsReadToTheEndIsToldWhy) {
  StartWithGateway();
  Browser bad;
  ASSERT_TRUE(bad.join(gateway.port()));
  std::string bytes;
  for (int count = 0; count < 420; ++count)
    bytes += WsFrame{.payload = R"({"t":"echo","n":1})"}.bytes();
  ASSERT_TRUE(bad.send_raw(bytes));
  // On a slow machine the burst may have been paid for meanwhile.
  while (bad.close_code() == 0 && bad.send_text(R"({"t":"echo","n":1})"))
    pump_once(0);
  EXPECT_EQ(bad.wait_closed(), 4429);
  EXPECT_NE(bad.close_reason(), "");
}

TEST_F(GatewayCrowd, ConnectionsThatComeAndGoLeaveNothing) {
  StartWithGateway();
  const auto good = Join();
  for (int count = 0; count < 150; ++count) {
    WsClient one;
    ASSERT_TRUE(one.connect(gateway.port()));
    if (count % 3 != 0) {
      ASSERT_EQ(one.upgrade(), 101);
    }
    if (count % 3 == 2) {
      EXPECT_TRUE(one.send_text(R"({"t":"hello","v":1})"));
      EXPECT_TRUE(one.send_text(R"({"t":"key","key":"KL01","down":true,"at":1})"));
    }
    if (count % 2 == 0) {
      one.abort();
    } else {
      one.close();
    }
  }
  EXPECT_TRUE(good->round_trip());
  EXPECT_TRUE(NobodyIsOn());
  Works(*good);
}

// A browser that stops reading while the station has much to say: shifts come with all their names.
TEST_F(GatewayCrowd, SlowReaderIsGivenUpAndNobodyWaitsForIt) {
  std::string channels;
  for (int number = 0; number < 190; ++number)
    channels += "SHIFT LABL:\"Shift " + std::to_string(1000 + number) + "\"\n" + kKeys + "\n";
  station.root().write("shifts", channels);
  StartWithGateway({"--channels", station.root().file("shifts")});
  const auto good = Join();
  ASSERT_TRUE(becomes([&] { return good->state()["shifts"]["names"].size() == 190U; }));
  Browser slow;
  slow.set_receive_buffer(4'096);
  ASSERT_TRUE(slow.join(gateway.port()));
  slow.down("KT01");
  ASSERT_TRUE(becomes([&] { return good->shown(1, "talk") == "on"; }));
  slow.set_reading(false);
  // What it would be told fills all buffers on the way; then ten seconds pass. It goes on speaking meanwhile.
  int turn = 0;
  ASSERT_TRUE(becomes(
      [&] {
        EXPECT_TRUE(good->say({{"t", "shift"}, {"name", "Shift " + std::to_string(1000 + ++turn % 2)}}));
        EXPECT_TRUE(remains([&] { return good->close_code() == 0; }, 15));
        EXPECT_TRUE(good->round_trip()) << "the others are served all the while";
        return good->close_code() != 0 || good->shown(1, "talk") == "off";
      },
      3 * kGatewayWaitMs));
  EXPECT_EQ(good->close_code(), 0);
  slow.set_reading(true);
  EXPECT_TRUE(becomes([&] { return slow.close_code() != 0; }));
  EXPECT_TRUE(slow.close_code() == 4409 || slow.close_code() == 1006) << slow.close_code();
}

}  // namespace
}  // namespace hark::test
