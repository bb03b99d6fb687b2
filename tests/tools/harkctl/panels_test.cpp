// Lines of the HARKUI object.
#include "tools/harkctl/panels.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace hark::ctl {
namespace {

TEST(Panels, AddAndRemoveAreRead) {
  const std::optional<PanelChange> added =
      read_panel(R"(add HARKUI#7.FP KEYS:"1-20" RADDR:"127.0.0.1:40000")");
  ASSERT_TRUE(added.has_value());
  EXPECT_TRUE(added->attached);
  EXPECT_EQ(added->panel, (Panel{"7", "1-20", "127.0.0.1:40000"}));
  const std::optional<PanelChange> removed = read_panel(R"(remove HARKUI#web KEYS:"1-2" RADDR:"a:1")");
  ASSERT_TRUE(removed.has_value());
  EXPECT_FALSE(removed->attached);
  EXPECT_EQ(removed->panel.id, "web");
}

TEST(Panels, OtherLinesAreNone) {
  for (const char* line : {"", "add", "add ", "add HARKUI", "addHARKUI#7", "set HARKUI#7.BUT#KL01 IND=Off",
                           "event HARKUI#7.BUT#KL01 KEY=DOWN"})
    EXPECT_FALSE(read_panel(line).has_value()) << line;
}

TEST(Panels, KeysAreRead) {
  const std::optional<KeyPress> press = read_key("event HARKUI#7.BUT#KL01 KEY=DOWN");
  ASSERT_TRUE(press.has_value());
  EXPECT_EQ(press->panel, "7");
  EXPECT_EQ(press->key, "KL01");
  EXPECT_EQ(press->word, "DOWN");
  for (const char* line : {"", "event", "event HARKUI#", "event HARKUI#7.BUT#KL01", "event HARKUI#7 KEY=UP",
                           "EVENT HARKUI#7.BUT#KL01 KEY=UP"})
    EXPECT_FALSE(read_key(line).has_value()) << line;
}

TEST(Panels, AConnectionHasOnePanelAndIdsMayRepeat) {
  PanelList list;
  EXPECT_TRUE(list.receive(R"(add HARKUI#7 KEYS:"1-2" RADDR:"a:1")"));
  EXPECT_TRUE(list.receive(R"(add HARKUI#7 KEYS:"1-2" RADDR:"a:2")"));
  EXPECT_TRUE(list.receive(R"(add HARKUI#8 KEYS:"1-9" RADDR:"a:1")"));
  EXPECT_THAT(list.panels(), testing::ElementsAre(Panel{"7", "1-2", "a:2"}, Panel{"8", "1-9", "a:1"}));
  EXPECT_TRUE(list.receive(R"(remove HARKUI#7 KEYS:"1-2" RADDR:"a:2")"));
  EXPECT_FALSE(list.receive("BEGIN"));
  EXPECT_THAT(list.panels(), testing::ElementsAre(Panel{"8", "1-9", "a:1"}));
}

TEST(Panels, AFloodOfThemHasAnEnd) {
  PanelList list;
  for (int i = 0; i < 1000; ++i)
    (void)list.receive("add HARKUI#7 KEYS:\"1-2\" RADDR:\"a:" + std::to_string(i) + "\"");
  EXPECT_EQ(list.panels().size(), 64U);
}

}  // namespace
}  // namespace hark::ctl
