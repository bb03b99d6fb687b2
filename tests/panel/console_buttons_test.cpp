// The numbers of a console's keys: each key has one, and what is sent to a lamp comes back from its key.
#include "panel/console_buttons.h"

#include <gtest/gtest.h>

#include <set>

namespace hark {
namespace {

TEST(ConsoleButtons, AreInTheOrderOfTheirNumbersWithoutDoubles) {
  int last = kHighestChannelButton;
  std::set<Signature> keys;
  std::set<int> places;
  for (const ConsoleButton& button : kConsoleButtons) {
    SCOPED_TRACE(button.number);
    EXPECT_GT(button.number, last);
    last = button.number;
    EXPECT_TRUE(keys.insert(button.key).second);
    if (button.place >= 0) {
      EXPECT_TRUE(places.insert(button.place).second);
    }
    EXPECT_EQ(console_key(button.number, false), button.key);
    EXPECT_EQ(console_key(button.number, true), button.key);
  }
  EXPECT_EQ(places, (std::set<int>{0, 1, 2, 3, 4, 5}));
}

TEST(ConsoleButtons, NumbersOfChannelsAndTheirKeysAreInverse) {
  for (int channel = 1; channel <= 20; ++channel) {
    SCOPED_TRACE(channel);
    EXPECT_EQ(console_key(talk_button(channel), false), mksig(kTalk00, channel));
    EXPECT_EQ(console_key(listen_button(channel), false), mksig(kListen00, channel));
    EXPECT_EQ(console_key(channel, true), mksig(kBoth00, channel));
  }
}

TEST(ConsoleButtons, OtherNumbersAreNoKeys) {
  for (const long number : {-1L, 0L, 43L, 48L, 53L, 128L, 131L, 1L << 40, -(1L << 40)}) {
    SCOPED_TRACE(number);
    EXPECT_EQ(console_key(number, false), 0U);
    EXPECT_EQ(console_key(number, true), 0U);
  }
}

TEST(ConsoleButtons, KnobsHaveNoIndicator) {
  EXPECT_EQ(indicator_button(kMenu), nullptr);
  EXPECT_EQ(indicator_button(kSpeakerVolume), nullptr);
  EXPECT_EQ(indicator_button(kListen00 + 1), nullptr);
  ASSERT_NE(indicator_button(kAssign), nullptr);
  EXPECT_EQ(indicator_button(kAssign)->number, 52);
}

}  // namespace
}  // namespace hark
