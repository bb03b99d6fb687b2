// The key module of the simulated console: the shape of each type, what fits it, what it keeps and tells.
#include "tools/quillsim/key_module.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>

namespace quillsim {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Place = std::pair<int, int>;

TEST(ModuleShape, EachTypeHasItsKeysAndDisplays) {
  EXPECT_EQ(module_shape(1).channels, 20);
  EXPECT_EQ(module_shape(1).channels_per_row, 2);
  EXPECT_EQ(module_shape(2).channels, 10);
  EXPECT_EQ(module_shape(2).channels_per_row, 1);
  EXPECT_EQ(module_shape(3).channels, 10);
  EXPECT_TRUE(module_shape(3).coloured);
  for (const int type : {kNoModule, 0, 4, 9})
    EXPECT_EQ(module_shape(type).channels, 0) << type;
}

TEST(ModuleShape, FourKeysOfType1ShareTwoDisplays) {
  const ModuleShape& shape = module_shape(1);
  EXPECT_EQ(display_place(shape, 1), Place(1, 1));
  EXPECT_EQ(display_place(shape, 2), Place(2, 1));
  EXPECT_EQ(display_place(shape, 3), Place(1, 2));
  EXPECT_EQ(display_place(shape, 4), Place(2, 2));
  EXPECT_EQ(display_place(shape, 5), Place(3, 1));
  EXPECT_EQ(display_place(shape, 8), Place(4, 2));
  EXPECT_EQ(display_place(shape, 20), Place(10, 2));
}

TEST(ModuleShape, TwoKeysOfType2ShareADisplay) {
  const ModuleShape& shape = module_shape(2);
  EXPECT_EQ(display_place(shape, 1), Place(1, 1));
  EXPECT_EQ(display_place(shape, 2), Place(1, 2));
  EXPECT_EQ(display_place(shape, 10), Place(5, 2));
}

TEST(ModuleShape, EachLineOfADisplayBelongsToOneKey) {
  for (const int type : {1, 2}) {
    const ModuleShape& shape = module_shape(type);
    std::set<Place> places;
    for (int channel = 1; channel <= shape.channels; ++channel)
      places.insert(display_place(shape, channel));
    EXPECT_EQ(places.size(), 2U * static_cast<std::size_t>(shape.displays)) << type;
    EXPECT_EQ(*places.begin(), Place(1, 1)) << type;
    EXPECT_EQ(*places.rbegin(), Place(shape.displays, 2)) << type;
  }
}

TEST(ModuleShape, ChannelsWithoutADisplayHaveNoPlace) {
  EXPECT_EQ(display_place(module_shape(1), 0), Place(0, 0));
  EXPECT_EQ(display_place(module_shape(1), 21), Place(0, 0));
  EXPECT_EQ(display_place(module_shape(3), 1), Place(0, 0));
  EXPECT_EQ(display_place(module_shape(kNoModule), 1), Place(0, 0));
}

TEST(ModuleShape, KeysHaveNames) {
  EXPECT_EQ(key_name(talk_key(3)), "talk 3");
  EXPECT_EQ(key_name(listen_key(20)), "listen 20");
  EXPECT_EQ(key_name(kListenAnswerKey), "listen answer");
  EXPECT_EQ(key_name(kMenuKnob), "menu");
  for (const int key : {-1, 0, 43, 48, 53, 128, 131})
    EXPECT_EQ(key_name(key), "no key") << key;
}

TEST(KeyModuleFit, LampsDisplaysAndColouredKeysOfEachType) {
  struct Row {
    ConsoleCommand command;
    bool fits[4];  // types 1, 2, 3, none
  };
  const Row rows[] = {
      {SetLamp{1, Lamp::kOn}, {true, true, false, false}},
      {SetLamp{20, Lamp::kOn}, {true, true, false, false}},
      {SetLamp{21, Lamp::kOn}, {true, false, false, false}},
      {SetLamp{40, Lamp::kOn}, {true, false, false, false}},
      {SetLamp{41, Lamp::kOn}, {true, true, true, true}},
      {SetLamp{42, Lamp::kOn}, {true, true, true, true}},
      {SetLamp{43, Lamp::kOn}, {false, false, false, false}},
      {SetLamp{48, Lamp::kOn}, {false, false, false, false}},
      {SetLamp{49, Lamp::kOn}, {true, true, true, true}},
      {SetLamp{52, Lamp::kOn}, {true, true, true, true}},
      {SetLamp{53, Lamp::kOn}, {false, false, false, false}},
      {SetLamp{129, Lamp::kOn}, {false, false, false, false}},
      {SetKeyLight{1, {}}, {false, false, true, false}},
      {SetKeyLight{10, {}}, {false, false, true, false}},
      {SetKeyLight{11, {}}, {false, false, false, false}},
      {SetDisplay{5, 1, "a"}, {true, true, false, false}},
      {SetDisplay{6, 1, "a"}, {true, false, false, false}},
      {SetDisplay{10, 2, "a"}, {true, false, false, false}},
      {SetDisplay{11, 1, "a"}, {false, false, false, false}},
      {SetMenu{}, {true, true, true, true}},
      {SetFaderSource{1, 2}, {true, true, true, true}},
      {SetCallLamp{}, {true, true, true, true}},
  };
  constexpr int kTypes[] = {1, 2, 3, kNoModule};
  int number = 0;
  for (const Row& row : rows) {
    for (int i = 0; i < 4; ++i)
      EXPECT_EQ(KeyModule::misfit(kTypes[i], row.command).empty(), row.fits[i]) << number << " " << kTypes[i];
    ++number;
  }
}

TEST(KeyModule, IsDarkAtFirst) {
  const KeyModule module(1);
  EXPECT_EQ(module.lamp(1), Lamp::kOff);
  EXPECT_EQ(module.light(1), KeyLight());
  EXPECT_EQ(module.label(1), "");
  EXPECT_THAT(module.menu().lines, IsEmpty());
  EXPECT_EQ(module.fader_source(1), std::nullopt);
  EXPECT_EQ(module.talk_on(), std::nullopt);
}

TEST(KeyModule, KeepsAndTellsEachChangeOnce) {
  KeyModule module(1);
  EXPECT_EQ(module.apply(SetLamp{5, Lamp::kFlash}), "Intercom.btn#5 IND=FLASH  (talk 3)");
  EXPECT_EQ(module.apply(SetLamp{5, Lamp::kFlash}), "");
  EXPECT_EQ(module.apply(SetDisplay{1, 2, "Ext\t3"}), "Intercom.oled#1 line2=\"Ext\\x093\"");
  EXPECT_EQ(module.apply(SetDisplay{1, 2, "Ext\t3"}), "");
  EXPECT_EQ(module.apply(SetFaderSource{2, 7}), "FaCH#2 hark_src=7  (fader 2 carries source 7)");
  EXPECT_EQ(module.apply(SetFaderSource{2, 7}), "");
  EXPECT_EQ(module.apply(SetFaderSource{2, kNoSource}), "FaCH#2 hark_src=-1  (fader 2 carries no source)");
  EXPECT_EQ(module.apply(SetFaderSource{3, kNoSource}), "FaCH#3 hark_src=-1  (fader 3 carries no source)");
  EXPECT_EQ(module.apply(SetCallLamp{true, false}), "Intercom talk=OFF");
  EXPECT_EQ(module.apply(SetCallLamp{true, false}), "");
  EXPECT_EQ(module.apply(SetCallLamp{false, true}), "Intercom listen=ON");
  EXPECT_EQ(module.apply(GetModuleType{}), "");
  EXPECT_EQ(module.label(3), "Ext\t3");
  EXPECT_EQ(module.lamp(5), Lamp::kFlash);
  EXPECT_EQ(module.fader_source(2), kNoSource);
  EXPECT_EQ(module.talk_on(), false);
  EXPECT_EQ(module.listen_on(), true);

  KeyModule coloured(3);
  EXPECT_EQ(coloured.apply(SetKeyLight{2, {Colour::kRed, Colour::kYellow, Lamp::kFlash}}),
            "Intercom.key#2 BACKCOLOROFF=RED,BACKCOLORON=YELLOW,IND=FLASH");
  EXPECT_EQ(coloured.apply(SetKeyLight{2, {Colour::kRed, Colour::kYellow, Lamp::kFlash}}), "");
  EXPECT_EQ(coloured.light(2).on, Colour::kYellow);
}

TEST(KeyModule, PhasesOfAMarkThatFlashesAreNoNews) {
  KeyModule module(1);
  EXPECT_THAT(module.apply(SetMenu{{{"\x83"
                                     "Ext 1",
                                     "- Assign \x81"},
                                    2}}),
              HasSubstr("[\"!Ext 1\",\"- Assign <\"],selected=2"));
  EXPECT_EQ(module.apply(SetMenu{{{"\x84"
                                   "Ext 1",
                                   "- Assign \x81"},
                                  2}}),
            "");
  EXPECT_EQ(module.menu().lines.front().front(), '\x84') << "but kept";
  EXPECT_THAT(module.apply(SetMenu{{{"\x82"
                                     "Ext 1",
                                     "- Assign \x81"},
                                    2}}),
              Not(IsEmpty()));
  EXPECT_THAT(module.apply(SetMenu{{{"\x82"
                                     "Ext 1",
                                     "- Assign \x81"},
                                    1}}),
              Not(IsEmpty()));
}

TEST(KeyModule, AnotherModuleIsDarkAndTheConsoleKeepsItsOwn) {
  KeyModule module(1);
  (void)module.apply(SetLamp{5, Lamp::kFlash});
  (void)module.apply(SetDisplay{1, 2, "Ext 3"});
  (void)module.apply(SetMenu{{{"a"}, 1}});
  (void)module.apply(SetFaderSource{2, 7});
  (void)module.apply(SetCallLamp{true, true});
  module.replace(2);
  EXPECT_EQ(module.type(), 2);
  EXPECT_EQ(module.lamp(5), Lamp::kOff);
  EXPECT_EQ(module.display(1, 2), "");
  EXPECT_THAT(module.menu().lines, IsEmpty());
  EXPECT_EQ(module.talk_on(), true);
  module.darken();
  EXPECT_EQ(module.talk_on(), std::nullopt);
  EXPECT_EQ(module.fader_source(2), 7);
}

TEST(MenuLine, MarksAndCursorAreTakenOff) {
  struct Row {
    const char* line;
    const char* text;
    MenuMark mark;
    bool cursor;
    const char* shown;
  };
  constexpr Row kRows[] = {
      {"", "", MenuMark::kNone, false, ""},
      {"Ext 1", "Ext 1", MenuMark::kNone, false, "Ext 1"},
      {"\x82"
       "Ext 1",
       "Ext 1", MenuMark::kSteady, false, "*Ext 1"},
      {"\x83"
       "Ext 1",
       "Ext 1", MenuMark::kFlash1, false, "!Ext 1"},
      {"\x84"
       "Ext 1",
       "Ext 1", MenuMark::kFlash2, false, "!Ext 1"},
      {"\x85", "", MenuMark::kFlash3, false, "!"},
      {"\x86"
       "a",
       "\x86"
       "a",
       MenuMark::kNone, false,
       "\x86"
       "a"},
      {"- Assign \x81", "- Assign ", MenuMark::kNone, true, "- Assign <"},
      {"\x82"
       "12345678\x81",
       "12345678", MenuMark::kSteady, true, "*12345678<"},
      {"\x81", "", MenuMark::kNone, true, "<"},
      {"\xc3\x84sch", "\xc3\x84sch", MenuMark::kNone, false, "\xc3\x84sch"},
      {"12345678\xc3\x81", "12345678\xc3\x81", MenuMark::kNone, false, "12345678\xc3\x81"},
  };
  for (const Row& row : kRows) {
    const MenuLine read = read_menu_line(row.line);
    EXPECT_EQ(read.text, row.text) << row.shown;
    EXPECT_EQ(read.mark, row.mark) << row.shown;
    EXPECT_EQ(read.cursor, row.cursor) << row.shown;
    EXPECT_EQ(menu_text(row.line), row.shown);
  }
}

TEST(MenuLine, IsFoundByItsTextWhateverTheMarksLeaveOfIt) {
  const Menu menu{{"\x82"
                   "Ext 1",
                   "- Assign \x81",
                   "\x83"
                   "123456789"},
                  2};
  EXPECT_TRUE(shows(menu, "Ext 1"));
  EXPECT_TRUE(shows(menu, "- Assign -"));
  EXPECT_TRUE(shows(menu, "1234567890"));
  EXPECT_FALSE(shows(menu, "- Assign --"));
  EXPECT_FALSE(shows(menu, "Ext 12")) << "the line has room for it";
  EXPECT_FALSE(shows(menu, "Ext"));
  EXPECT_FALSE(shows(menu, ""));
  EXPECT_FALSE(shows({}, "Ext 1"));
}

}  // namespace
}  // namespace quillsim
