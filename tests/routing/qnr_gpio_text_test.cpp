// The contacts as text: the five characters of a port in both directions, the objects' texts, and the version
// text.
#include <array>

#include "routing/qnr_gpio.h"
#include "routing/routing_fixture.h"

namespace hark {
namespace {

class QnrGpioText : public SubscriberTest {};

TEST_F(QnrGpioText, EveryWordGivesItsFiveCharacters) {
  for (unsigned levels = 0; levels < 32; ++levels) {
    for (unsigned changes = 0; changes < 32; ++changes) {
      std::string expected;
      for (unsigned pin = 0; pin < 5; ++pin) {
        const bool high = ((levels >> pin) & 1) != 0;
        const bool changed = ((changes >> pin) & 1) != 0;
        expected += changed ? (high ? 'H' : 'L') : (high ? 'h' : 'l');
      }
      ASSERT_EQ(gpio2asc(levels | changes << 8).data(), expected);
    }
  }
}

TEST_F(QnrGpioText, CharactersAskForChangesAndLevels) {
  struct Row {
    const char* text;
    unsigned word;
  };
  for (const Row& row : {Row{"LxxHx", 0x0908},
                         {"lxxhx", 0x0908},
                         {"HHHHH", 0x1F1F},
                         {"hhhhh", 0x1F1F},
                         {"LLLLL", 0x1F00},
                         {"lllll", 0x1F00},
                         {"xxxxx", 0},
                         {"XXXXX", 0},
                         {"xXhXx", 0x0404},
                         {"L", 0x0100},
                         {"xxxxH", 0x1010},
                         {"xxxxxH", 0},
                         {"LLLLLLLL", 0x1F00},
                         {"HHHHHHHH", 0x1F1F},
                         {"H L", 0x0101},
                         {"L?H", 0x0100},
                         {"", 0},
                         {"?LLLL", 0},
                         {" LLLLL", 0},
                         {"CMD:1", 0},
                         {"1LLLL", 0}}) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(asc2gpio(row.text), row.word);
  }
}

TEST_F(QnrGpioText, WhatIsWrittenAsksForTheSameLevels) {
  for (unsigned levels = 0; levels < 32; ++levels) {
    EXPECT_EQ(asc2gpio(gpio2asc(levels).data()), 0x1F00 | levels);
    EXPECT_EQ(asc2gpio(gpio2asc(levels | 0x1F00).data()), 0x1F00 | levels);
  }
}

TEST_F(QnrGpioText, ObjectsGiveTheirLevelsAsUnchanged) {
  ASSERT_EQ(Contacts("GPI 3 LxxLx"), 0);
  ASSERT_EQ(Contacts("GPO 4 xLxxx"), 0);
  ASSERT_EQ(Contacts("CFG GPO 9 NAME:\"Aux 8\""), 0);
  std::array<char, 64> text{};
  EXPECT_EQ(qnr_gpio_GPI_get(text.data(), text.size(), 2), 5);
  EXPECT_STREQ(text.data(), "lhhlh");
  EXPECT_EQ(qnr_gpio_GPO_get(text.data(), text.size(), 3), 5);
  EXPECT_STREQ(text.data(), "hlhhh");
  EXPECT_EQ(qnr_gpio_CFG_GPO_get(text.data(), text.size(), 8), 12);
  EXPECT_STREQ(text.data(), "NAME:\"Aux 8\"");
}

TEST_F(QnrGpioText, ObjectsOfNoPortGiveNothing) {
  std::array<char, 64> text{};
  for (const int index : {-1, 9, 1000}) {
    SCOPED_TRACE(index);
    EXPECT_LE(qnr_gpio_CFG_GPO_get(text.data(), text.size(), index), 0);
    (void)qnr_gpio_GPI_get(text.data(), text.size(), index);
    (void)qnr_gpio_GPO_get(text.data(), text.size(), index);
  }
}

TEST_F(QnrGpioText, VersionNamesTheNumbersOfPorts) {
  std::array<char, 64> text{};
  const auto version = [&] {
    text.fill('?');
    const int length = qnr_gpio_ver(&qnr_gpio, text.data(), text.size());
    EXPECT_GE(length, 0);
    return std::string(text.data(), static_cast<std::size_t>(length));
  };
  EXPECT_EQ(version(), " NGPI:9 NGPO:9");
  drv_gpio.ngpi = 0;
  EXPECT_EQ(version(), " NGPO:9");
  drv_gpio.ngpo = 0;
  EXPECT_EQ(version(), "");
  drv_gpio.ngpi = 12;
  EXPECT_EQ(version(), " NGPI:12");
}

TEST_F(QnrGpioText, ExtensionRecordCarriesVersionAndInput) {
  EXPECT_EQ(qnr_gpio.ver, qnr_gpio_ver);
  EXPECT_EQ(qnr_gpio.input, qnr_gpio_input);
  EXPECT_EQ(qnr_gpio.drv, &drv_gpio);
}

}  // namespace
}  // namespace hark
