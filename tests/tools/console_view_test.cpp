// How the key module is drawn, plain and with colours, at times that the test chooses.
#include "tools/quillsim/console_view.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quillsim {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

// One letter for each step of a turn of a second: "#" lit, "." dark.
std::string second_of(Lamp lamp) {
  std::string pattern;
  for (milliseconds time{0}; time < milliseconds(1000); time += kFlashStep)
    pattern += lit(lamp, time) ? '#' : '.';
  return pattern;
}

TEST(LampPattern, EachLampHasItsOwn) {
  EXPECT_EQ(second_of(Lamp::kOff), "........");
  EXPECT_EQ(second_of(Lamp::kOn), "########");
  EXPECT_EQ(second_of(Lamp::kWink), "#.......");
  EXPECT_EQ(second_of(Lamp::kFlash), "##..##..");
  EXPECT_EQ(second_of(Lamp::kFlashFast), "#.#.#.#.");
}

TEST(LampPattern, KeysGoBetweenTheirColours) {
  const KeyLight flash{Colour::kRed, Colour::kYellow, Lamp::kFlash};
  EXPECT_EQ(shown_colour(flash, milliseconds(0)), Colour::kYellow);
  EXPECT_EQ(shown_colour(flash, milliseconds(250)), Colour::kRed);
  const KeyLight steady{Colour::kGreen, Colour::kGreen, Lamp::kOff};
  EXPECT_EQ(shown_colour(steady, milliseconds(0)), Colour::kGreen);
  const KeyLight wink{Colour::kRed, Colour::kOff, Lamp::kWink};
  EXPECT_EQ(shown_colour(wink, milliseconds(0)), Colour::kRed);
  EXPECT_EQ(shown_colour(wink, milliseconds(125)), Colour::kOff) << "mostly dark";
}

TEST(LampPattern, OnlyWhatGoesOnAndOffNeedsTheTime) {
  KeyModule module(1);
  EXPECT_FALSE(flashes(module));
  (void)module.apply(SetLamp{1, Lamp::kOn});
  EXPECT_FALSE(flashes(module));
  (void)module.apply(SetLamp{kAssignKey, Lamp::kFlash});
  EXPECT_TRUE(flashes(module));
  KeyModule coloured(3);
  (void)coloured.apply(SetKeyLight{10, {Colour::kOff, Colour::kRed, Lamp::kFlashFast}});
  EXPECT_TRUE(flashes(coloured));
}

TEST(View, Type1HasTenRowsOfTwoChannels) {
  KeyModule module(1);
  (void)module.apply(SetDisplay{1, 1, "Ext 1"});
  (void)module.apply(SetDisplay{2, 1, "News desk and more"});
  (void)module.apply(SetDisplay{1, 2, "Ext 3"});
  (void)module.apply(SetLamp{talk_key(1), Lamp::kOn});
  (void)module.apply(SetLamp{listen_key(1), Lamp::kFlashFast});
  (void)module.apply(SetLamp{talk_key(2), Lamp::kWink});
  (void)module.apply(SetLamp{kTalkGroupKey, Lamp::kFlash});
  (void)module.apply(SetMenu{{{"\x83"
                               "Ext 1",
                               "\x82"
                               "News",
                               "- Assign \x81"},
                              3}});
  (void)module.apply(SetFaderSource{2, 7});
  (void)module.apply(SetFaderSource{3, kNoSource});
  (void)module.apply(SetCallLamp{true, true});
  const std::vector<std::string> lines = draw_module(module, {talk_key(1)}, {});
  ASSERT_THAT(lines, SizeIs(18));
  EXPECT_EQ(lines[0], "key module 1  talk on  listen ?");
  EXPECT_EQ(lines[1], " 1 Ext 1      >T:on     L:fast     2 News desk   T:wink   L:off");
  EXPECT_EQ(lines[2], " 3 Ext 3       T:off    L:off      4             T:off    L:off");
  EXPECT_EQ(lines[10], "19             T:off    L:off     20             T:off    L:off");
  EXPECT_EQ(lines[11], "   answer      T:off    L:off");
  EXPECT_EQ(lines[12], "   group:flash assign:off   mic mute:off   speaker mute:off");
  EXPECT_EQ(lines[13], "    !Ext 1");
  EXPECT_EQ(lines[14], "    *News");
  EXPECT_EQ(lines[15], "  > - Assign <");
  EXPECT_EQ(lines[16], "  fader 2 source 7");
  EXPECT_EQ(lines[17], "  fader 3 source none");
}

TEST(View, Type2HasTenRowsOfOneChannel) {
  const std::vector<std::string> lines = draw_module(KeyModule(2), {}, {});
  ASSERT_THAT(lines, SizeIs(13));
  EXPECT_EQ(lines[1], " 1             T:off    L:off");
  EXPECT_EQ(lines[10], "10             T:off    L:off");
}

TEST(View, Type3NamesTheColoursOfEachKey) {
  KeyModule module(3);
  (void)module.apply(SetKeyLight{1, {Colour::kRed, Colour::kYellow, Lamp::kFlash}});
  (void)module.apply(SetKeyLight{2, {Colour::kGreen, Colour::kGreen, Lamp::kOff}});
  const std::vector<std::string> lines = draw_module(module, {2}, {});
  ASSERT_THAT(lines, SizeIs(13));
  EXPECT_EQ(lines[1], " 1  red/yellow flash");
  EXPECT_EQ(lines[2], " 2 >green");
  EXPECT_EQ(lines[3], " 3  off");
}

TEST(View, WithoutAModuleThereIsOnlyTheConsole) {
  EXPECT_THAT(draw_module(KeyModule(kNoModule), {}, {}), ElementsAre("key module none  talk ?  listen ?"));
  EXPECT_THAT(draw_module(KeyModule(9), {}, {}), ElementsAre("key module 9  talk ?  listen ?"));
}

TEST(View, LabelsAreCutByCharactersAndCleanedOfControls) {
  KeyModule module(2);
  (void)module.apply(SetDisplay{1, 1, "B\xc3\xbcro B\xc3\xbcro B\xc3\xbcro"});
  (void)module.apply(SetDisplay{1, 2, "\x1b[2J"});
  const std::vector<std::string> lines = draw_module(module, {}, {});
  EXPECT_EQ(lines[1], " 1 B\xc3\xbcro B\xc3\xbcro   T:off    L:off");
  EXPECT_THAT(lines[2], HasSubstr("\\x1B[2J"));
}

TEST(View, ColoursAreThoseOfTheMoment) {
  KeyModule module(1);
  (void)module.apply(SetLamp{talk_key(1), Lamp::kFlash});
  (void)module.apply(SetLamp{listen_key(1), Lamp::kOn});
  const std::string lit_row = draw_module(module, {}, {true, milliseconds(0)})[1];
  EXPECT_THAT(lit_row, HasSubstr("\x1b[30;41m T \x1b[0m"));
  EXPECT_THAT(lit_row, HasSubstr("\x1b[30;42m L \x1b[0m"));
  const std::string dark_row = draw_module(module, {}, {true, milliseconds(250)})[1];
  EXPECT_THAT(dark_row, HasSubstr("\x1b[2m T \x1b[0m"));
  EXPECT_THAT(dark_row, HasSubstr("\x1b[30;42m L \x1b[0m"));

  KeyModule coloured(3);
  (void)coloured.apply(SetKeyLight{1, {Colour::kRed, Colour::kYellow, Lamp::kFlash}});
  EXPECT_THAT(draw_module(coloured, {}, {true, milliseconds(0)})[1], HasSubstr("\x1b[30;43m"));
  EXPECT_THAT(draw_module(coloured, {}, {true, milliseconds(250)})[1], HasSubstr("\x1b[30;41m"));
}

TEST(View, MenuShowsTheCursorAndThePhaseOfAMark) {
  KeyModule module(1);
  const auto menu_lines = [&](const std::string& first) {
    (void)module.apply(SetMenu{{{first, "- Back   \x81"}, 2}});
    const std::vector<std::string> lines = draw_module(module, {}, {true, milliseconds(0)});
    return std::vector<std::string>(lines.end() - 2, lines.end());
  };
  EXPECT_THAT(menu_lines("\x82"
                         "A"),
              ElementsAre("    *A", "  > \x1b[7m - Back    <\x1b[0m"));
  EXPECT_EQ(menu_lines("\x83"
                       "A")[0],
            "    .A");
  EXPECT_EQ(menu_lines("\x84"
                       "A")[0],
            "    oA");
  EXPECT_EQ(menu_lines("\x85"
                       "A")[0],
            "    OA");
  EXPECT_EQ(menu_lines("A")[0], "     A");
}

TEST(View, PlainTextHasNoControls) {
  KeyModule module(1);
  (void)module.apply(SetLamp{talk_key(1), Lamp::kFlash});
  (void)module.apply(SetMenu{{{"\x85"
                               "A",
                               "- Back   \x81"},
                              2}});
  for (const std::string& line : draw_module(module, {}, {false, milliseconds(250)}))
    EXPECT_THAT(line, Not(HasSubstr("\x1b")));
}

}  // namespace
}  // namespace quillsim
