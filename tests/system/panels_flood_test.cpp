// Panels that send more than any sound one would, never read, or come and go without end: nothing of it stops
// the station or grows in it, and the panel beside them works on.
#include "system/panel_fixture.h"

namespace hark::test {
namespace {

using testing::IsEmpty;

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
constexpr bool kSanitized = __has_feature(address_sanitizer);
#else
constexpr bool kSanitized = false;
#endif
// A sanitizer keeps freed memory back for a while, up to a limit of its own.
constexpr long kMayGrowKib = kSanitized ? 300'000 : 2'000;

class PanelFlood : public PanelTest {
 protected:
  void SetUp() override {
    StartWithTwoPanels();
    descriptors = settled_descriptors(station, client);
  }
  int descriptors = 0;
};

// One panel sends as fast as the station takes it, and reads what it is told.
TEST_F(PanelFlood, FloodOfEventsLeavesTheOtherPanelServedAndTheStationAsItWas) {
  std::string flood;
  for (int i = 0; i < 100; ++i) {
    const std::string ms = std::to_string(i * 50);
    flood += "HARKUI#desk.BUT#KL01 KEY=DOWN T=" + ms + "\r\nHARKUI#desk.BUT#KL01 KEY=UP T=" + ms +
             "\r\nHARKUI#desk.FAD#KL01 dgain=-10\r\nHARKUI#desk.BUT#KX00 KEY=DOWN\r\n"
             "HARKUI#desk.DISP#KLAA TEXT=\"Cal\"\r\n";
  }
  const auto round = [&] {
    ASSERT_TRUE(panel.client().send_raw(flood));
    other.tap("MICM");
    panel.settle();
    panel.forget();
    other.settle();
    other.forget();
  };
  for (int i = 0; i < 5; ++i)
    ASSERT_NO_FATAL_FAILURE(round());
  const long before_kib = station.resident_kib();
  for (int i = 0; i < 20; ++i)
    ASSERT_NO_FATAL_FAILURE(round());
  EXPECT_LT(station.resident_kib(), before_kib + kMayGrowKib);
  EXPECT_TRUE(wait_until([&] { return station.open_fds() <= descriptors; }));
  EXPECT_EQ(other.indicator("MICM"), "On") << "25 presses";
  OtherWorks();
}

// One panel sends and never reads: what it is told fills its socket.
TEST_F(PanelFlood, PanelThatNeverReadsIsDroppedAndTheOtherServed) {
  ExpectLog("send failed");
  ExpectLog("Shut.");
  Client deaf;
  deaf.set_receive_buffer(2048);
  ASSERT_TRUE(deaf.connect(station.ctrl_port(), "127.0.0.3"));
  ASSERT_TRUE(deaf.send_line("ATTACH HARKUI#deaf KEYS:\"1-90\""));
  std::string flood;
  for (int i = 0; i < 200; ++i)
    flood += "HARKUI#deaf.BUT#MICM KEY=DOWN\r\nSUB HARKUI\r\nATTACH HARKUI#deaf KEYS:\"1-90\"\r\n";
  const auto dropped = [&] { return station.stderr_text().find("Shut.") != std::string::npos; };
  for (int i = 0; i < 50 && !dropped(); ++i) {
    (void)deaf.send_raw(flood, 20);
    other.settle();
  }
  EXPECT_TRUE(wait_until(dropped));
  EXPECT_TRUE(wait_until([&] { return station.open_fds() == descriptors; }));
  OtherWorks();
}

TEST_F(PanelFlood, PanelsThatComeAndGoWithoutEndLeaveNoTrace) {
  const auto visit = [&](int i) {
    NetworkPanel visitor("v" + std::to_string(i));
    ASSERT_TRUE(visitor.attach(station.ctrl_port(), "1-90", "127.0.0." + std::to_string(i % 3 + 3)));
    visitor.tap("KL01");
    visitor.leave();
  };
  for (int i = 0; i < 20; ++i)
    ASSERT_NO_FATAL_FAILURE(visit(i));
  const long before_kib = station.resident_kib();
  for (int i = 0; i < 200; ++i)
    ASSERT_NO_FATAL_FAILURE(visit(i));
  EXPECT_LT(station.resident_kib(), before_kib + kMayGrowKib);
  EXPECT_TRUE(wait_until([&] { return station.open_fds() == descriptors; }));
  OtherWorks();
}

// Parties without a key pile up on the stack of calls, which is as long as it is and no longer.
TEST_F(PanelFlood, MorePartiesThanTheStackHolds) {
  std::string sources = std::string(kAnn) + "\n";
  for (int i = 0; i < 200; ++i)
    sources += "F" + std::to_string(i) + " <quillnet:239.192.2." + std::to_string(i) + ">\n";
  Replace(kSourceFile, sources);
  for (int i = 0; i < 200; ++i) {
    const std::string number = std::to_string(i);
    const std::string call = "CALL URL:\"F" + number + " <quillnet:239.192.2." + number + ">\" LISTEN:";
    EXPECT_THAT(answers(client, call + "1"), IsEmpty());
    EXPECT_THAT(answers(client, call + "0"), IsEmpty());
    ASSERT_TRUE(other.wait_display("KLAA", "TEXT=\"F" + number + "\", ALT=\"\""));
    // The mixer has eight inputs.
    if (i % 8 == 7) {
      ASSERT_TRUE(wait_until([&] { return CallList().empty(); }));
    }
  }
  EXPECT_TRUE(other.wait_indicator("KLAA", "Off"));
  OtherWorks();
}

}  // namespace
}  // namespace hark::test
