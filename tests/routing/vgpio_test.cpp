// The virtual contacts without their texts: levels, pulses in software, configurations, and the watch over
// the scan's rhythm.
#include "routing/vgpio.h"

#include <array>

#include "base/text.h"
#include "routing/log_capture.h"
#include "routing/routing_fixture.h"

namespace hark {
namespace {

using ::testing::HasSubstr;

constexpr int kPorts = 9;

class Vgpio : public RoutingTest {
 protected:
  Vgpio() { EXPECT_EQ(vgpio_init(kPorts, nullptr, nullptr, -1), 0); }
  ~Vgpio() override { vgpio_cleanup(); }

  int OutputAfterMs(int port, long ms) {
    clock.AdvanceMs(ms);
    vgpio_timer(port);
    return vgpio_gpo(port);
  }
};

TEST_F(Vgpio, AllPinsAreHighAtFirst) {
  for (int port = 0; port < kPorts; ++port) {
    SCOPED_TRACE(port);
    EXPECT_EQ(vgpio_gpi(port), kGpioAllHigh);
    EXPECT_EQ(vgpio_gpo(port), kGpioAllHigh);
  }
}

TEST_F(Vgpio, PortsBeyondTheRangeAreRefused) {
  for (const int port : {-1, kPorts, kPorts + 1, 1'000'000, -1'000'000}) {
    SCOPED_TRACE(port);
    EXPECT_EQ(vgpio_gpi(port), -1);
    EXPECT_EQ(vgpio_gpo(port), -1);
    EXPECT_EQ(vgpio_gpo_cfg(port, nullptr), nullptr);
    EXPECT_EQ(vgpio_gpo_cfg(port, "NAME:x"), nullptr);
    vgpio_gpi_set(port, 0, 0);
    vgpio_gpo_pulse(port, 0, 0, 0);
    vgpio_timer(port);
  }
  for (int port = 0; port < kPorts; ++port)
    EXPECT_EQ(vgpio_gpo(port), kGpioAllHigh);
}

TEST_F(Vgpio, PinsBeyondTheRangeAreIgnored) {
  for (const int pin : {-1, kGpioPins, kGpioPins + 1, 8, 31, 32, 1000}) {
    SCOPED_TRACE(pin);
    vgpio_gpi_set(0, pin, 0);
    vgpio_gpo_pulse(0, pin, 0, 0);
    vgpio_gpo_pulse(0, pin, 0, 10);
    EXPECT_EQ(vgpio_gpi(0), kGpioAllHigh);
    EXPECT_EQ(vgpio_gpo(0), kGpioAllHigh);
  }
}

TEST_F(Vgpio, WithoutPortsEverythingIsRefused) {
  vgpio_cleanup();
  EXPECT_EQ(vgpio_gpi(0), -1);
  EXPECT_EQ(vgpio_gpo(0), -1);
  EXPECT_EQ(vgpio_gpo_cfg(0, nullptr), nullptr);
  vgpio_gpi_set(0, 0, 0);
  vgpio_gpo_pulse(0, 0, 0, 0);
  vgpio_timer(0);
  vgpio_cleanup();
}

TEST_F(Vgpio, EveryPinIsSetByItself) {
  for (int pin = 0; pin < kGpioPins; ++pin) {
    SCOPED_TRACE(pin);
    vgpio_gpi_set(4, pin, 0);
    vgpio_gpo_pulse(4, pin, 0, 0);
    EXPECT_EQ(vgpio_gpi(4), kGpioAllHigh & ~(1 << pin));
    EXPECT_EQ(vgpio_gpo(4), kGpioAllHigh & ~(1 << pin));
    vgpio_gpi_set(4, pin, 1);
    vgpio_gpo_pulse(4, pin, 1, 0);
    EXPECT_EQ(vgpio_gpi(4), kGpioAllHigh);
    EXPECT_EQ(vgpio_gpo(4), kGpioAllHigh);
  }
}

TEST_F(Vgpio, InputsAndOutputsAndPortsAreApart) {
  vgpio_gpi_set(0, 1, 0);
  vgpio_gpo_pulse(1, 2, 0, 0);
  EXPECT_EQ(vgpio_gpi(0), 29);
  EXPECT_EQ(vgpio_gpo(0), 31);
  EXPECT_EQ(vgpio_gpi(1), 31);
  EXPECT_EQ(vgpio_gpo(1), 27);
}

TEST_F(Vgpio, AnyLevelButZeroIsHigh) {
  vgpio_gpi_set(0, 0, 0);
  vgpio_gpi_set(0, 0, 16);
  EXPECT_EQ(vgpio_gpi(0), kGpioAllHigh);
}

TEST_F(Vgpio, PulseTakesTheInverseLevelWhenItsTimeIsOver) {
  vgpio_gpo_pulse(0, 0, 0, 100);
  EXPECT_EQ(vgpio_gpo(0), 30);
  EXPECT_EQ(OutputAfterMs(0, 99), 30);
  EXPECT_EQ(OutputAfterMs(0, 1), 30);  // not before more than its time has passed
  EXPECT_EQ(OutputAfterMs(0, 1), 31);
  EXPECT_EQ(OutputAfterMs(0, 1000), 31);
}

TEST_F(Vgpio, PulseUpwardsEndsLow) {
  vgpio_gpo_pulse(0, 3, 1, 50);
  EXPECT_EQ(vgpio_gpo(0), 31);
  EXPECT_EQ(OutputAfterMs(0, 51), 31 - 8);
}

TEST_F(Vgpio, PulsesOfAllPinsRunApart) {
  for (int pin = 0; pin < kGpioPins; ++pin)
    vgpio_gpo_pulse(2, pin, 0, 10 * (pin + 1));
  EXPECT_EQ(vgpio_gpo(2), 0);
  EXPECT_EQ(OutputAfterMs(2, 11), 1);
  EXPECT_EQ(OutputAfterMs(2, 10), 3);
  EXPECT_EQ(OutputAfterMs(2, 10), 7);
  EXPECT_EQ(OutputAfterMs(2, 10), 15);
  EXPECT_EQ(OutputAfterMs(2, 10), 31);
}

TEST_F(Vgpio, PlainLevelEndsARunningPulse) {
  for (const long ms : {0L, -1L, -1000L}) {
    SCOPED_TRACE(ms);
    vgpio_gpo_pulse(0, 0, 0, 100);
    vgpio_gpo_pulse(0, 0, 0, ms);
    EXPECT_EQ(OutputAfterMs(0, 500), 30);
    vgpio_gpo_pulse(0, 0, 1, 0);
  }
}

TEST_F(Vgpio, SecondPulseStartsItsTimeAfresh) {
  vgpio_gpo_pulse(0, 0, 0, 100);
  EXPECT_EQ(OutputAfterMs(0, 80), 30);
  vgpio_gpo_pulse(0, 0, 0, 100);
  EXPECT_EQ(OutputAfterMs(0, 80), 30);
  EXPECT_EQ(OutputAfterMs(0, 21), 31);
}

TEST_F(Vgpio, PulseThatTurnsFollowsItsLastLevel) {
  vgpio_gpo_pulse(0, 0, 0, 100);
  vgpio_gpo_pulse(0, 0, 1, 100);
  EXPECT_EQ(vgpio_gpo(0), 31);
  EXPECT_EQ(OutputAfterMs(0, 101), 30);
}

TEST_F(Vgpio, LongestPulseStillRuns) {
  vgpio_gpo_pulse(0, 0, 0, 2'000'000'000);
  EXPECT_EQ(OutputAfterMs(0, 1'999'999'999), 30);
  EXPECT_EQ(OutputAfterMs(0, 2), 31);
}

TEST_F(Vgpio, ReadingAnInputLooksAfterThePulsesOfItsPort) {
  vgpio_gpo_pulse(3, 0, 0, 100);
  clock.AdvanceMs(101);
  (void)vgpio_gpi(2);
  EXPECT_EQ(vgpio_gpo(3), 30);
  (void)vgpio_gpi(3);
  EXPECT_EQ(vgpio_gpo(3), 31);
}

TEST_F(Vgpio, InitialisingAgainForgetsLevelsPulsesAndConfigurations) {
  vgpio_gpi_set(0, 0, 0);
  vgpio_gpo_pulse(0, 0, 0, 10);
  (void)vgpio_gpo_cfg(0, "NAME:x");
  ASSERT_EQ(vgpio_init(2, nullptr, nullptr, -1), 0);
  EXPECT_EQ(vgpio_gpi(0), 31);
  EXPECT_EQ(OutputAfterMs(0, 11), 31);
  const char* cfg = vgpio_gpo_cfg(0, nullptr);
  EXPECT_TRUE(cfg == nullptr || *cfg == '\0');
  EXPECT_EQ(vgpio_gpo(2), -1);
}

TEST_F(Vgpio, ExternalWordsCarryTheLevelsInTheirHighByte) {
  std::array<std::uint16_t, 3> in{0x1F00, 0x1F00, 0x1F00};
  std::array<std::uint16_t, 3> out{0x1F00, 0x1F00, 0x1F00};
  ASSERT_EQ(vgpio_init(3, in.data(), out.data(), 2), 0);
  for (int port = 0; port < 3; ++port) {
    vgpio_gpi_set(port, 0, 0);
    vgpio_gpo_pulse(port, 4, 0, 0);
    EXPECT_EQ(vgpio_gpi(port), 30);
    EXPECT_EQ(vgpio_gpo(port), 15);
  }
  EXPECT_EQ(in[0] & 0xFF00, 0x1E00);
  EXPECT_EQ(in[1] & 0xFF00, 0x1E00);
  EXPECT_EQ(in[2], 0x1F00);
  EXPECT_EQ(out[0], 0x0F00);
  EXPECT_EQ(out[1], 0x0F00);
  EXPECT_EQ(out[2], 0x1F00);
  in[1] = 0x1700;
  EXPECT_EQ(vgpio_gpi(1), 0x17);
  vgpio_cleanup();
}

TEST_F(Vgpio, ExternalWordsServeAllPortsWhenNoNumberIsGiven) {
  for (const int n : {0, -1}) {
    SCOPED_TRACE(n);
    std::array<std::uint16_t, 2> in{0x1F00, 0x1F00};
    std::array<std::uint16_t, 2> out{0x1F00, 0x1F00};
    ASSERT_EQ(vgpio_init(2, in.data(), out.data(), n), 0);
    for (int port = 0; port < 2; ++port)
      vgpio_gpo_pulse(port, 0, 0, 0);
    EXPECT_EQ(out[0], 0x1E00);
    EXPECT_EQ(out[1], 0x1E00);
    vgpio_cleanup();
  }
}

TEST_F(Vgpio, ConfigurationTakesItsFourTagsOnly) {
  EXPECT_STREQ(vgpio_gpo_cfg(0, R"(NAME:"Main" CMAP:0800000000)"), R"(NAME:"Main" CMAP:0800000000)");
  EXPECT_STREQ(vgpio_gpo_cfg(0, R"(NAME:"X" FOO:1)"), R"(NAME:"X" CMAP:0800000000)");
  EXPECT_STREQ(vgpio_gpo_cfg(0, "SRCA:1 func:2 BAR:3 NAMES:4"), R"(NAME:"X" CMAP:0800000000 SRCA:1 func:2)");
  EXPECT_STREQ(vgpio_gpo_cfg(0, nullptr), R"(NAME:"X" CMAP:0800000000 SRCA:1 func:2)");
  const char* other = vgpio_gpo_cfg(1, nullptr);
  EXPECT_TRUE(other == nullptr || *other == '\0');
}

TEST_F(Vgpio, ConfigurationThatNoLineCanHoldIsNotTaken) {
  (void)vgpio_gpo_cfg(0, "NAME:short");
  (void)vgpio_gpo_cfg(0, ("SRCA:" + std::string(3000, 'x')).c_str());
  EXPECT_STREQ(vgpio_gpo_cfg(0, nullptr), "NAME:short");
}

// Whatever was logged before this test is longer ago than thirty seconds by its first warning.
TEST_F(Vgpio, SlowScanIsLoggedOnceInThirtySeconds) {
  LogCapture log;
  const auto scan_after = [&](long ms) {
    clock.AdvanceMs(ms);
    return log.Of([] { vgpio_timer(0); });
  };
  (void)scan_after(0);
  EXPECT_THAT(scan_after(3'000'000), HasSubstr("GPIO scan latency 3000000ms."));
  EXPECT_EQ(scan_after(26), "");  // within thirty seconds of the last warning
  for (int i = 0; i < 1198; ++i)
    ASSERT_EQ(scan_after(25), "");
  EXPECT_THAT(scan_after(25), HasSubstr("GPIO scan latency 26ms. Contact closures may be lost."));
  for (int i = 0; i < 1300; ++i)
    ASSERT_EQ(scan_after(25), "") << "25 ms is in time";
  EXPECT_THAT(scan_after(40), HasSubstr("GPIO scan latency 40ms. Contact closures may be lost."));
  EXPECT_EQ(scan_after(1000), "");
  EXPECT_EQ(scan_after(28'990), "");
  EXPECT_THAT(scan_after(30), HasSubstr("GPIO scan latency 28990ms. Contact closures may be lost."));
}

TEST_F(Vgpio, PortsOfOneScanAreNotTakenForSlowOnes) {
  LogCapture log;
  clock.AdvanceMs(6'000'000);
  (void)log.Of([] { vgpio_timer(0); });
  clock.AdvanceMs(31'000);
  EXPECT_THAT(log.Of([] { vgpio_timer(0); }), HasSubstr("31000ms"));
  clock.AdvanceMs(31'000);
  (void)log.Of([] { vgpio_timer(0); });
  for (int pass = 0; pass < 4000; ++pass) {
    clock.AdvanceMs(10);
    ASSERT_EQ(log.Of([] {
      for (int port = 0; port < kPorts; ++port)
        vgpio_timer(port);
    }),
              "");
  }
}

}  // namespace
}  // namespace hark
