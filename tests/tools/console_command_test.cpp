// What the simulated console takes as a line of a station, and what it calls a mistake.
#include "tools/quillsim/console_command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "base/text.h"

namespace quillsim {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// The command of type T that the line holds; a failure when it holds none.
template <typename T>
T parsed(std::string_view line) {
  const ParsedConsoleLine result = parse_console_command(line);
  EXPECT_TRUE(result.command) << line << result.error;
  if (!result.command) return {};
  const T* command = std::get_if<T>(&*result.command);
  EXPECT_NE(command, nullptr) << line;
  return command != nullptr ? *command : T{};
}

TEST(ConsoleCommand, QuestionsAreTaken) {
  parsed<GetModuleType>("GET Intercom type\r\n");
  parsed<SubscribeModule>("SUB Intercom\r\n");
}

TEST(ConsoleCommand, LampsCarryEachWord) {
  const auto flash = parsed<SetLamp>("SET Intercom.btn#41 IND=FLASH\n");
  EXPECT_EQ(flash.button, 41);
  EXPECT_EQ(flash.lamp, Lamp::kFlash);
  EXPECT_EQ(parsed<SetLamp>("SET Intercom.btn#1 IND=FLASH_FAST\n").lamp, Lamp::kFlashFast);
  EXPECT_EQ(parsed<SetLamp>("SET Intercom.btn#1 IND=WINK\n").lamp, Lamp::kWink);
  EXPECT_EQ(parsed<SetLamp>("SET Intercom.btn#1 IND=ON\n").lamp, Lamp::kOn);
  EXPECT_EQ(parsed<SetLamp>("SET Intercom.btn#1 IND=OFF\n").lamp, Lamp::kOff);
}

TEST(ConsoleCommand, KeysCarryTwoColoursAndHowTheyChange) {
  const auto key = parsed<SetKeyLight>("SET Intercom.key#10 BACKCOLOROFF=RED,BACKCOLORON=YELLOW,IND=FLASH\n");
  EXPECT_EQ(key.key, 10);
  EXPECT_EQ(key.light, (KeyLight{Colour::kRed, Colour::kYellow, Lamp::kFlash}));
  EXPECT_EQ(parsed<SetKeyLight>("SET Intercom.key#1 BACKCOLOROFF=OFF,BACKCOLORON=GREEN,IND=OFF\n").light,
            (KeyLight{Colour::kOff, Colour::kGreen, Lamp::kOff}));
}

TEST(ConsoleCommand, DisplaysTakeLabelsAsTheyStandAndEscapedOnes) {
  struct Row {
    const char* sent;
    const char* text;
  };
  constexpr Row kRows[] = {
      {"Ext 1", "Ext 1"}, {"", ""},           {"a\\\"b", "a\"b"}, {"a\"b", "a\"b"},
      {"a\\\\b", "a\\b"}, {"C:\\x", "C:\\x"}, {"\"", "\""},       {"B\xc3\xbcro", "B\xc3\xbcro"},
  };
  for (const Row& row : kRows) {
    const auto display = parsed<SetDisplay>("SET Intercom.oled#3 line2=\"" + std::string(row.sent) + "\"\n");
    EXPECT_EQ(display.display, 3);
    EXPECT_EQ(display.line, 2);
    EXPECT_EQ(display.text, row.text) << row.sent;
  }
}

TEST(ConsoleCommand, MenusCarryUpToFourLinesWithTheirGlyphs) {
  const auto menu = parsed<SetMenu>(
      "SET Intercom.menu list=[\"\x83"
      "Ext 1\",\"a \\\"b\\\"\",\"\",\"- Assign \x81\"],selected=4\n");
  EXPECT_THAT(menu.menu.lines, ElementsAre("\x83"
                                           "Ext 1",
                                           "a \"b\"", "", "- Assign \x81"));
  EXPECT_EQ(menu.menu.selected, 4);
  EXPECT_THAT(parsed<SetMenu>("SET Intercom.menu list=[],selected=1\n").menu.lines, IsEmpty());
}

TEST(ConsoleCommand, TalkListenAndFadersAreTaken) {
  EXPECT_TRUE(parsed<SetCallLamp>("SET Intercom talk=ON\n").talk);
  EXPECT_TRUE(parsed<SetCallLamp>("SET Intercom talk=ON\n").on);
  EXPECT_FALSE(parsed<SetCallLamp>("SET Intercom listen=OFF\n").talk);
  EXPECT_FALSE(parsed<SetCallLamp>("SET Intercom listen=OFF\n").on);
  EXPECT_EQ(parsed<SetFaderSource>("SET FaCH#12 hark_src=-1\n").source, kNoSource);
  EXPECT_EQ(parsed<SetFaderSource>("SET FaCH#12 hark_src=32767\n").source, kMaxFaderSource);
  EXPECT_EQ(parsed<SetFaderSource>("SET FaCH#12 hark_src=7\n").fader, 12);
}

TEST(ConsoleCommand, MistakesAreNamed) {
  struct Row {
    std::string line;
    const char* error;
  };
  const std::vector<Row> rows = {
      {"", "without its end"},
      {"SUB Intercom", "without its end"},
      {"SUB Intercom\n", "LF without CR"},
      {"GET Intercom type\n", "LF without CR"},
      {"GET Intercom\r\n", "no such command"},
      {"sub Intercom\r\n", "no such command"},
      {"SUB Intercom \r\n", "no such command"},
      {"\n", "no such command"},
      {"ERROR 1000 bad command\r\n", "no such command"},
      {"set HARKUI#1.BUT#KL01 IND=On\n", "no such command"},
      {"SET Intercom.menu list=\"a\",selected=1\n", "no such command"},
      {"SET Intercom.btn#1 IND=ON\r\n", "LF alone"},
      {std::string("SET Intercom.btn#1 IND=ON\0\n", 27), "inside the line"},
      {"SET Intercom.btn#1\rIND=ON\n", "inside the line"},
      {"SET Intercom.btn# IND=ON\n", "no number"},
      {"SET Intercom.btn#0 IND=ON\n", "no number"},
      {"SET Intercom.btn#-1 IND=ON\n", "no number"},
      {"SET Intercom.btn#01 IND=ON\n", "no number"},
      {"SET Intercom.btn#99999999999 IND=ON\n", "no number"},
      {"SET Intercom.btn#1 KEY=ON\n", "expected \" IND=\""},
      {"SET Intercom.btn#1 IND=\n", "IND is not"},
      {"SET Intercom.btn#1 IND=1\n", "IND is not"},
      {"SET Intercom.btn#1 IND=Flash\n", "IND is not"},
      {"SET Intercom.btn#1 IND=FLASHFAST\n", "IND is not"},
      {"SET Intercom.btn#1 IND=ON \n", "something follows"},
      {"SET Intercom.key#x BACKCOLOROFF=OFF,BACKCOLORON=OFF,IND=OFF\n", "no number"},
      {"SET Intercom.key#1 BACKCOLORON=OFF,BACKCOLOROFF=OFF,IND=OFF\n", "BACKCOLOROFF="},
      {"SET Intercom.key#1 BACKCOLOROFF=BLUE,BACKCOLORON=OFF,IND=OFF\n", "BACKCOLOROFF is not"},
      {"SET Intercom.key#1 BACKCOLOROFF=OFF, BACKCOLORON=OFF,IND=OFF\n", "expected \",BACKCOLORON=\""},
      {"SET Intercom.key#1 BACKCOLOROFF=OFF,BACKCOLORON=ON,IND=OFF\n", "BACKCOLORON is not"},
      {"SET Intercom.key#1 BACKCOLOROFF=OFF,BACKCOLORON=RED\n", "expected \",IND=\""},
      {"SET Intercom.key#1 BACKCOLOROFF=OFF,BACKCOLORON=RED,IND=ON\n", "IND of a key"},
      {"SET Intercom.oled#1 line1=a\n", "not quoted"},
      {"SET Intercom.oled#1 line1=\"\n", "not quoted"},
      {"SET Intercom.oled#1 line1=\"a\" \n", "not quoted"},
      {"SET Intercom.oled#1 line0=\"a\"\n", "not 1 or 2"},
      {"SET Intercom.oled#1 line3=\"a\"\n", "not 1 or 2"},
      {"SET Intercom.oled#1 line=\"a\"\n", "not 1 or 2"},
      {"SET Intercom.oled#1 text=\"a\"\n", "expected \" line\""},
      {"SET Intercom.oled# line1=\"a\"\n", "no number"},
      {"SET Intercom.oled#1 line1 \"a\"\n", "expected \"=\""},
      {"SET Intercom.menu list=[\"a\" \"b\"],selected=1\n", "comma"},
      {"SET Intercom.menu list=[\"a\"\n", "comma"},
      {"SET Intercom.menu list=[a],selected=1\n", "not quoted"},
      {"SET Intercom.menu list=[\"a\\b\"],selected=1\n", "not quoted"},
      {"SET Intercom.menu list=[\"a\",],selected=1\n", "not quoted"},
      {"SET Intercom.menu list=[\"12345678901\"],selected=1\n", "longer than 10"},
      {"SET Intercom.menu list=[\"a\",\"b\",\"c\",\"d\",\"e\"],selected=1\n", "more than 4"},
      {"SET Intercom.menu list=[\"a\"]\n", "selected="},
      {"SET Intercom.menu list=[\"a\"],selected=0\n", "not 1 to 4"},
      {"SET Intercom.menu list=[\"a\"],selected=5\n", "not 1 to 4"},
      {"SET Intercom.menu list=[\"a\"],selected=1,\n", "something follows"},
      {"SET Intercom talk=1\n", "ON or OFF"},
      {"SET Intercom listen=ONE\n", "ON or OFF"},
      {"SET Intercom talk=ON.\n", "something follows"},
      {"SET FaCH#0 hark_src=1\n", "no number"},
      {"SET FaCH#1 src=1\n", "hark_src="},
      {"SET FaCH#1 hark_src=0\n", "not -1 or"},
      {"SET FaCH#1 hark_src=-2\n", "not -1 or"},
      {"SET FaCH#1 hark_src=32768\n", "not -1 or"},
      {"SET FaCH#1 hark_src=\n", "not -1 or"},
      {"SET FaCH#1 hark_src=1 \n", "something follows"},
      {std::string(hark::kMaxLine, 'x') + "\n", "longer than"},
  };
  for (const Row& row : rows) {
    const ParsedConsoleLine result = parse_console_command(row.line);
    EXPECT_FALSE(result.command) << testing::PrintToString(row.line);
    EXPECT_THAT(result.error, HasSubstr(row.error)) << testing::PrintToString(row.line);
  }
}

TEST(ConsoleCommand, EachWordIsReadBack) {
  for (const Lamp lamp : {Lamp::kOff, Lamp::kOn, Lamp::kWink, Lamp::kFlash, Lamp::kFlashFast}) {
    EXPECT_EQ(lamp_of(lamp_word(lamp)), lamp);
  }
  for (const Colour colour : {Colour::kOff, Colour::kRed, Colour::kGreen, Colour::kYellow}) {
    EXPECT_EQ(colour_of(colour_word(colour)), colour);
  }
  EXPECT_EQ(lamp_of(""), std::nullopt);
  EXPECT_EQ(colour_of("red"), std::nullopt);
}

}  // namespace
}  // namespace quillsim
