// Our own port at the routing daemon: it sets the on-air state, which ranks the station, and mutes the
// speaker.
#include "daemon/station/station.h"
#include "routing/harkqnr_gpio.h"
#include "routing/routing_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kClosed = 'L';
constexpr char kOpen = 'H';

class OwnPort : public RoutingTest {};

TEST_F(OwnPort, PinTwoIsOnAirAndMutesTheSpeaker) {
  harkqnr_gpio_callback(1, 2, kClosed);
  EXPECT_TRUE(station.harkd_onair);
  EXPECT_TRUE(station.bonjour_txt_dirty);
  EXPECT_THAT(asked.speaker, ElementsAre("mute"));
  station.bonjour_txt_dirty = false;
  harkqnr_gpio_callback(1, 2, kOpen);
  EXPECT_FALSE(station.harkd_onair);
  EXPECT_TRUE(station.bonjour_txt_dirty);
  EXPECT_THAT(asked.speaker, ElementsAre("mute", "open"));
}

TEST_F(OwnPort, ServicesAreMadeAgainOnlyWhenTheLevelsDiffer) {
  harkqnr_gpio_callback(1, 2, kClosed);
  EXPECT_FALSE(station.sipservices_dirty);
  station.harkd_trgl_onair = 5;
  harkqnr_gpio_callback(1, 2, kOpen);
  EXPECT_TRUE(station.sipservices_dirty);
}

TEST_F(OwnPort, PinOneMutesTheSpeakerAlone) {
  station.harkd_trgl_onair = 5;
  harkqnr_gpio_callback(1, 1, kClosed);
  harkqnr_gpio_callback(1, 1, kOpen);
  EXPECT_THAT(asked.speaker, ElementsAre("mute", "open"));
  EXPECT_FALSE(station.harkd_onair);
  EXPECT_FALSE(station.bonjour_txt_dirty);
  EXPECT_FALSE(station.sipservices_dirty);
}

TEST_F(OwnPort, OtherPinsDoNothing) {
  const SourceFile sources("quillnet:239.192.0.7;gpiol=3;gpiot=4\nquillnet:239.192.0.8;gpio=0;gpiol=5\n");
  for (const int pin : {0, 3, 4, 5, 6}) {
    for (const char c : {kClosed, kOpen})
      harkqnr_gpio_callback(1, pin, c);
  }
  EXPECT_THAT(asked.speaker, IsEmpty());
  EXPECT_THAT(asked.remote, IsEmpty());
  EXPECT_FALSE(station.harkd_onair);
}

TEST_F(OwnPort, MovesWithTheContactBase) {
  station.harkd_qnrd_gpio_base = 16;
  harkqnr_gpio_callback(1, 2, kClosed);
  EXPECT_FALSE(station.harkd_onair);
  harkqnr_gpio_callback(16, 2, kClosed);
  EXPECT_TRUE(station.harkd_onair);
}

TEST_F(OwnPort, WithoutHooksOnAirStillWorks) {
  harkqnr_gpio_hooks = {};
  harkqnr_gpio_callback(1, 2, kClosed);
  harkqnr_gpio_callback(5, 2, kClosed);
  EXPECT_TRUE(station.harkd_onair);
}

}  // namespace
}  // namespace hark
