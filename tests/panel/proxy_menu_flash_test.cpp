// The mark of a ringing call in a console's menu, which flashes by the clock.
#include "panel/proxy_console.h"

namespace hark {
namespace {

class ProxyMenuFlash : public ConsoleTest {};

TEST_F(ProxyMenuFlash, FlashingMarkStepsThreeTimesASecondAndPauses) {
  Console(HarkUIProxy::kModule20, 1);
  const auto pass_after = [&](TimeUs us) {
    clock.AdvanceUs(us);
    panels[0]->Notify(0, clock.Now());
    return Sent();
  };
  const auto line = [](const char* mark) {
    return menu_line("\"" + std::string(mark) + "Bob\",\"- Assign -\"", 1);
  };
  pass_after(0);
  EXPECT_EQ(Call("Bob", 2), line(kFlash0));
  EXPECT_EQ(pass_after(250'000), "");
  EXPECT_EQ(pass_after(1), line(kFlash1));
  EXPECT_EQ(pass_after(250'000), "");
  EXPECT_EQ(pass_after(1), line(kFlash2));
  EXPECT_EQ(pass_after(250'001), "");
  EXPECT_EQ(pass_after(250'001), line(kFlash0));
  EXPECT_EQ(pass_after(100'000), "");
  EXPECT_EQ(pass_after(150'001), line(kFlash1));
}

TEST_F(ProxyMenuFlash, MarkOfThePauseIsTheThirdOne) {
  Console(HarkUIProxy::kModule20, 1);
  Model().callstack_add("Bob", 2);
  Refresh();
  panels[0]->Notify(0, clock.Now());
  for (int i = 0; i < 8 && !Sent().empty(); ++i) {
    clock.AdvanceUs(250'001);
    panels[0]->Notify(0, clock.Now());
  }
  // Nothing was sent, so this is the pause; what asks for a line in it gets one all the same.
  Turn(1);
  EXPECT_EQ(Sent(), menu_line("\"" + std::string(kFlash2) + "Bob\",\"- Assign " + kLink + "\"", 2));
}

TEST_F(ProxyMenuFlash, MarkThatFlashesNoLongerNeedsNoClock) {
  Console(HarkUIProxy::kModule20, 1);
  panels[0]->Notify(0, clock.Now());
  Call("Bob", 2);
  Call("Bob", 1);
  for (int i = 0; i < 8; ++i) {
    clock.AdvanceMs(300);
    panels[0]->Notify(0, clock.Now());
    EXPECT_EQ(Sent(), "") << i;
  }
  // It begins anew with the first mark.
  EXPECT_EQ(Call("Bob", 4), menu_line("\"" + std::string(kFlash0) + "Bob\",\"- Assign -\"", 1));
  clock.AdvanceMs(250);
  panels[0]->Notify(0, clock.Now());
  EXPECT_EQ(Sent(), "");
}

TEST_F(ProxyMenuFlash, CallOutOfSightDoesNotFlash) {
  Console(HarkUIProxy::kModule20, 1);
  panels[0]->Notify(0, clock.Now());
  for (const char* label : {"C1", "C2", "C3"})
    Call(label, 0);
  Call("Bob", 2);
  Turn(4);
  EXPECT_EQ(Sent(), menu_line("\"C3\",\"C2\",\"C1\",\"- Assign " + std::string(kLink) + "\"", 4));
  clock.AdvanceMs(300);
  panels[0]->Notify(0, clock.Now());
  EXPECT_EQ(Sent(), "");
  Turn(-4);
  EXPECT_EQ(Sent(), menu_line("\"" + std::string(kFlash0) + "Bob\",\"C3\",\"C2\",\"C1\"", 1));
}

TEST_F(ProxyMenuFlash, PassWithoutATimeStepsNothing) {
  Console(HarkUIProxy::kModule20, 1);
  panels[0]->Notify(0, clock.Now());
  panels[0]->Notify(0, 0);
  Call("Bob", 2);
  clock.AdvanceMs(250);
  panels[0]->Notify(0, clock.Now());
  EXPECT_EQ(Sent(), "");
  clock.AdvanceMs(1000);
  panels[0]->Notify(0, 0);
  EXPECT_EQ(Sent(), "");
}

}  // namespace
}  // namespace hark
