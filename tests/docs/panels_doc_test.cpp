// The reference of panels leaves nothing out: each text that goes to a panel, each object that comes from
// one, each key, button and flag of the sources stands in it, the texts and objects with an example.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "docs/document.h"
#include "docs/source_text.h"

namespace hark::test {
namespace {

// All sources of the panels, one after the other.
std::string panel_text() {
  std::string text;
  const auto folder = std::filesystem::path(HARK_SOURCE_DIR) / "panel";
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().extension() == ".cpp") text += read_source(entry.path().string());
  }
  return text;
}

class PanelReference : public testing::Test {
 protected:
  [[nodiscard]] bool Says(const std::string& text) const {
    return document_.text.find(text) != std::string::npos;
  }
  // Whether a step of any example satisfies `wanted(text)`.
  template <typename Wanted>
  [[nodiscard]] bool HasStep(Action action, Wanted wanted) const {
    for (const Example& example : document_.examples) {
      for (const Step& step : example.steps) {
        if (step.action == action && wanted(plain(step.text))) return true;
      }
    }
    return false;
  }

  const Document document_ = read_document("docs/panels.md");
};

TEST_F(PanelReference, ShowsEveryTextThatGoesToAPanel) {
  std::vector<std::string> formats = all_between(panel_text(), "harkui_sendf(\"", "\",");
  for (std::string& event : all_between(panel_text(), "harkd_sendf(\"event ", "\","))
    formats.push_back("event " + event);
  for (std::string& tell : all_between(read_source("daemon/harkd_main.cpp"), "\"SET Intercom ", "\","))
    formats.push_back("SET Intercom " + tell);
  EXPECT_THAT(formats, testing::IsSupersetOf({testing::HasSubstr(".BUT#"), testing::HasSubstr("hark_src=-1"),
                                              testing::HasSubstr("event HARKUI"),
                                              testing::HasSubstr("SET Intercom %s")}));
  for (const std::string& format : formats) {
    const auto fits = [&](const std::string& text) { return fits_format(plain(format), text); };
    EXPECT_TRUE(HasStep(Action::kExpect, fits)) << format;
  }
}

TEST_F(PanelReference, ShowsEveryObjectThatAPanelSends) {
  const std::string source = read_source("panel/panel_line.h") + read_source("panel/HarkUIProxy_receive.cpp");
  std::vector<std::string> objects;
  for (const char* name : {"kKeyObject", "kFaderObject", "kDisplayObject", "kShiftList"}) {
    const std::vector<std::string> text = all_between(source, std::string(name) + " = \"", "\"");
    ASSERT_EQ(text.size(), 1U) << name;
    objects.push_back("." + text[0]);
  }
  for (const std::string& object : objects) {
    const auto has = [&](const std::string& text) { return text.find(object) != std::string::npos; };
    EXPECT_TRUE(HasStep(Action::kSend, has)) << object;
    EXPECT_TRUE(Says("`EVENT HARKUI#id" + object)) << object;
  }
}

TEST_F(PanelReference, HasEveryKeyAndFader) {
  const std::vector<std::string> names = all_between(read_source("panel/signature.h"), "= sig(\"", "\")");
  EXPECT_THAT(names, testing::IsSupersetOf({"KL00", "ASGN", "HDPV"}));
  for (std::string name : names) {
    if (name.ends_with("00")) name.replace(2, 2, "nn");
    EXPECT_TRUE(Says("`" + name + "`")) << name;
  }
}

TEST_F(PanelReference, HasEveryNumberOfAConsole) {
  const std::string table = table_text(read_source("panel/console_buttons.h"), "kConsoleButtons");
  const std::vector<std::string> numbers = all_between(table, "    {", ",");
  EXPECT_THAT(numbers, testing::IsSupersetOf({"41", "130"}));
  for (const std::string& number : numbers)
    EXPECT_TRUE(Says("| " + number + " | ") || Says("| " + number + ", ") || Says(", " + number + " | "))
        << number;
}

TEST_F(PanelReference, HasEveryWordOfALamp) {
  const std::string source = read_source("panel/HarkUIProxy_indicators.cpp");
  std::vector<std::string> words = all_between(source, "ind = \"", "\"");
  const std::vector<std::string> others = all_between(source, "? \"", "\"");
  const std::vector<std::string> colours = all_between(source, "kColours{\"", "\"}");
  ASSERT_EQ(colours.size(), 1U);
  EXPECT_EQ(colours[0], R"(OFF", "RED", "GREEN", "YELLOW)");
  words.insert(words.end(), others.begin(), others.end());
  words.insert(words.end(), {"OFF", "RED", "GREEN", "YELLOW"});
  EXPECT_THAT(words, testing::IsSupersetOf({"Flash", "FLASH_FAST", "WINK", "FLASH"}));
  for (const std::string& word : words)
    EXPECT_TRUE(Says("`" + word + "`")) << word;
}

TEST_F(PanelReference, HasEveryFlagOfAKeyAndOfADisplay) {
  const std::string flags = read_source("panel/ChannelAssignmentTable.h");
  const std::size_t table = document_.text.find("| flag |");
  const std::size_t display = document_.text.find("| `DFL` |");
  ASSERT_LT(table, display);
  ASSERT_NE(display, std::string::npos);
  for (const char* name : {"kNoTalk", "kNoListen", "kNoTalkLatch", "kNoListenLatch"}) {
    const std::vector<std::string> value = all_between(flags, std::string(name) + " = ", ";");
    ASSERT_EQ(value.size(), 1U) << name;
    EXPECT_LT(document_.text.find("\n| " + value[0] + " | ", table), display) << name;
  }
  const std::vector<std::string> values =
      all_between(read_source("panel/panel_line.h"), "std::uint32_t kDfl", ";");
  EXPECT_EQ(values.size(), 3U);
  for (const std::string& value : values) {
    const std::string row = "\n| " + value.substr(value.find("= ") + 2) + " | ";
    EXPECT_NE(document_.text.find(row, display), std::string::npos) << value;
  }
}

TEST_F(PanelReference, HasTheStepsOfTheVolumeScale) {
  const std::string table = table_text(read_source("panel/vol_step.cpp"), "kSegments");
  EXPECT_FALSE(table.empty());
  for (const auto& [end, base, step] : {std::array{"-239", "0", "10"}, std::array{"-299", "-300", "30"},
                                        std::array{"-539", "-540", "60"}, std::array{"-719", "-720", "90"}}) {
    EXPECT_NE(table.find(std::string("{") + end + ", " + base + ", " + step + "}"), std::string::npos) << end;
  }
  for (const char* row : {"| -240 | 120 | 10 |", "| -300 | -240 | 30 |", "| -540 | -300 | 60 |",
                          "| -720 | -540 | 90 |", "| -840 | -720 | 120 |"})
    EXPECT_TRUE(Says(row)) << row;
}

}  // namespace
}  // namespace hark::test
