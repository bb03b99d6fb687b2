// When the module is drawn: on a terminal over the printed lines, in a pipe between them.
#include "tools/quillsim/screen.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "system/support/client.h"
#include "system/support/console_sim.h"

namespace quillsim {
namespace {

using std::chrono::milliseconds;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class ScreenTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(station_.connect(console_.port()));
    ASSERT_TRUE(station_.send_raw("SUB Intercom\r\n"));
    ASSERT_TRUE(console_.wait_subscribed());
  }
  void Set(const std::string& what) {
    const int before = console_->lines_received();
    ASSERT_TRUE(station_.send_raw("SET " + what + "\n"));
    ASSERT_TRUE(hark::test::wait_until([&] { return console_->lines_received() > before; }));
  }
  // What a screen writes when it paints now.
  std::string Painted(Screen& screen, milliseconds after = milliseconds(0)) {
    written_.clear();
    screen.paint(Screen::Time() + after);
    return written_;
  }
  Screen Make(bool terminal) {
    return Screen(*console_.operator->(), terminal, [this](const std::string& bytes) { written_ += bytes; });
  }

  hark::test::ConsoleSim console_{2};
  hark::test::Client station_;
  std::string written_;
};

TEST_F(ScreenTest, PipeGetsTheModuleAndThenTheLinesThatChange) {
  Screen screen = Make(false);
  EXPECT_THAT(Painted(screen), StartsWith("console | key module 2"));
  EXPECT_EQ(Painted(screen), "");
  Set("Intercom.btn#1 IND=FLASH");
  EXPECT_EQ(Painted(screen), "console |  1             T:flash  L:off\n");
  EXPECT_EQ(screen.due(), std::nullopt) << "plain text does not flash";
  console_->hold(1);
  EXPECT_EQ(Painted(screen), "console |  1            >T:flash  L:off\n");
}

TEST_F(ScreenTest, PipeGetsNothingForAPhaseOfTheMenu) {
  Screen screen = Make(false);
  Set("Intercom.menu list=[\"\x83"
      "A\"],selected=1");
  (void)Painted(screen);
  Set("Intercom.menu list=[\"\x84"
      "A\"],selected=1");
  EXPECT_EQ(Painted(screen), "");
}

TEST_F(ScreenTest, PipeGetsPrintedLinesAsTheyCome) {
  Screen screen = Make(false);
  screen.print("a line");
  EXPECT_EQ(written_, "a line\n");
}

TEST_F(ScreenTest, TerminalKeepsTheLastLinesBelowTheModule) {
  Screen screen = Make(true);
  for (int i = 1; i <= 9; ++i)
    screen.print("line " + std::to_string(i));
  const std::string frame = Painted(screen);
  EXPECT_THAT(frame, StartsWith("\x1b[Hkey module 2"));
  EXPECT_THAT(frame, Not(HasSubstr("line 1")));
  EXPECT_THAT(frame, HasSubstr("line 2"));
  EXPECT_THAT(frame, EndsWith("line 9\x1b[K\n\x1b[J"));
  EXPECT_EQ(Painted(screen), "");
  screen.print("one more");
  EXPECT_THAT(Painted(screen), HasSubstr("one more"));
}

TEST_F(ScreenTest, TerminalIsDueForTheNextStepWhileSomethingFlashes) {
  Screen screen = Make(true);
  (void)Painted(screen);
  EXPECT_EQ(screen.due(), std::nullopt);
  Set("Intercom.btn#1 IND=FLASH");
  EXPECT_THAT(Painted(screen, milliseconds(30)), HasSubstr("\x1b[30;41m T "));
  EXPECT_EQ(screen.due(), Screen::Time() + milliseconds(125));
  EXPECT_EQ(Painted(screen, milliseconds(124)), "");
  EXPECT_THAT(Painted(screen, milliseconds(250)), Not(HasSubstr("\x1b[30;41m")));
  Set("Intercom.btn#1 IND=OFF");
  (void)Painted(screen, milliseconds(260));
  EXPECT_EQ(screen.due(), std::nullopt);
}

}  // namespace
}  // namespace quillsim
