// One pass over a panel: which bit asks for what, in which order, and to which type of panel; and the levels
// that rotaries step to.
#include "panel/proxy_fixture.h"
#include "panel/vol_step.h"

namespace hark {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ProxyNotify : public ProxyTest {
 protected:
  ProxyNotify() { Labels({"Bob", "Ann"}); }
};

TEST_F(ProxyNotify, NewNetworkPanelIsBroughtUpToDate) {
  Model().spk_volume = -50;
  Model().volumes[1] = -120;
  Attach(HarkUIProxy::kNetworkPanel, 1, 2).Notify(kDirtyAll, 0);
  const std::vector<std::string> lines = Lines();
  ASSERT_EQ(lines.size(), 16U);
  EXPECT_THAT(std::vector<std::string>(lines.begin(), lines.begin() + 3),
              ElementsAre("set HARKUI#p0.DISP#KL01 TEXT=\"Bob\", ALT=\"Robert\", DFL=0\r\n",
                          "set HARKUI#p0.DISP#KL02 TEXT=\"Ann\", ALT=\"\", DFL=0\r\n",
                          "set HARKUI#p0.DISP#KLAA TEXT=\"\", ALT=\"\"\n"));
  for (std::size_t i = 3; i < 13; ++i)
    EXPECT_THAT(lines[i], testing::MatchesRegex("set HARKUI#p0\\.BUT#.... IND=Off\n"));
  EXPECT_THAT(std::vector<std::string>(lines.begin() + 13, lines.end()),
              ElementsAre("set HARKUI#p0.FAD#SPKV gain=-50\n", "set HARKUI#p0.FAD#KL01 gain=0\n",
                          "set HARKUI#p0.FAD#KL02 gain=-120\n"));
}

TEST_F(ProxyNotify, NewConsoleIsBroughtUpToDate) {
  Attach(HarkUIProxy::kModule10, 1, 2).Notify(kDirtyAll, 0);
  const std::vector<std::string> lines = Lines();
  ASSERT_EQ(lines.size(), 13U);
  EXPECT_EQ(lines[0], "SET Intercom.oled#1 line1=\"Robert\"\n");
  EXPECT_EQ(lines[1], "SET Intercom.oled#1 line2=\"Ann\"\n");
  for (std::size_t i = 2; i < 12; ++i)
    EXPECT_THAT(lines[i], testing::MatchesRegex("SET Intercom\\.btn#[0-9]+ IND=OFF\n"));
  EXPECT_EQ(lines[12], "SET Intercom.menu list=[\"- Assign \x81\"],selected=1\n");
}

TEST_F(ProxyNotify, NewColouredConsoleIsBroughtUpToDate) {
  Attach(HarkUIProxy::kModuleColour, 1, 2).Notify(kDirtyAll, 0);
  const std::vector<std::string> lines = Lines();
  ASSERT_EQ(lines.size(), 9U);
  EXPECT_THAT(lines,
              testing::IsSupersetOf({"SET Intercom.key#1 BACKCOLOROFF=OFF,BACKCOLORON=OFF,IND=OFF\n",
                                     "SET Intercom.key#2 BACKCOLOROFF=OFF,BACKCOLORON=OFF,IND=OFF\n"}));
}

TEST_F(ProxyNotify, NoBitIsNoText) {
  for (const int type : {0, 1, 2, 3}) {
    HarkUIProxy& panel = AttachUpToDate(type, 1, 2);
    panel.Notify(0, 0);
    panel.Notify(0, clock.Now());
    clock.AdvanceMs(60'000);
    panel.Notify(0, clock.Now());
    EXPECT_EQ(Sent(type), "") << type;
  }
  EXPECT_THAT(Commands(), IsEmpty());
}

TEST_F(ProxyNotify, EachBitAsksForItsOwn) {
  HarkUIProxy& panel = AttachUpToDate(HarkUIProxy::kNetworkPanel, 1, 1);
  Model().AssignChannel(0, "Ann");
  Party("Ann", 1);
  Model().mic_mute = true;
  Model().volumes[0] = -10;
  panel.Notify(kDirtyChannelList | kDirtyShiftList | kDirtyCallstack, 0);
  EXPECT_EQ(Sent(), "");
  panel.Notify(kDirtyFaders, 0);
  EXPECT_EQ(Sent(), "set HARKUI#p0.FAD#SPKV gain=0\nset HARKUI#p0.FAD#KL01 gain=-10\n");
  panel.Notify(kDirtyIndicators, 0);
  EXPECT_EQ(Sent(), "set HARKUI#p0.BUT#MICM IND=On\n");
  panel.Notify(kDirtyLabels, 0);
  EXPECT_EQ(Sent(),
            "set HARKUI#p0.DISP#KL01 TEXT=\"Ann\", ALT=\"\", DFL=0\r\n"
            "set HARKUI#p0.DISP#KLAA TEXT=\"\", ALT=\"\"\n");
  panel.Notify(kDirtyIndicators, 0);
  EXPECT_EQ(Sent(), "set HARKUI#p0.BUT#KL01 IND=On\n");
}

TEST_F(ProxyNotify, FadersOfThePanelsOwnKeysAreSentToNetworkPanelsOnly) {
  Model().volumes[88] = -840;
  Model().spk_volume = 120;
  AttachUpToDate(HarkUIProxy::kNetworkPanel, 89, 90).Notify(kDirtyFaders, 0);
  EXPECT_EQ(Sent(),
            "set HARKUI#p0.FAD#SPKV gain=120\n"
            "set HARKUI#p0.FAD#KL89 gain=-840\n"
            "set HARKUI#p0.FAD#KL90 gain=0\n");
  for (const int type : {1, 2, 3}) {
    AttachUpToDate(type, 1, 2).Notify(kDirtyFaders, 0);
    EXPECT_EQ(Sent(type), "") << type;
  }
}

TEST_F(ProxyNotify, ListsOfTheMenuCostNoText) {
  HarkUIProxy& panel = AttachUpToDate(HarkUIProxy::kModule10, 1, 1);
  panel.Notify(kDirtyChannelList | kDirtyShiftList, 0);
  EXPECT_EQ(Sent(), "");
  ASSERT_EQ(panel.menu().channels.count(), 5);
  ASSERT_EQ(panel.menu().shifts.count(), 1);
  EXPECT_EQ(panel.menu().shifts.items[0].text, "Day");
}

TEST_F(ProxyNotify, WithoutShiftsTheListHasTheDefaultOne) {
  Channels("HARKCH 1 LABL:\"Bob\"\n");
  HarkUIProxy& panel = AttachUpToDate(HarkUIProxy::kModule10, 1, 1);
  ASSERT_EQ(panel.menu().shifts.count(), 1);
  EXPECT_EQ(panel.menu().shifts.items[0].text, "Default");
  scratch.Remove("harkch.conf");
  panel.PopulateShiftListCombo();
  ASSERT_EQ(panel.menu().shifts.count(), 1);
  EXPECT_EQ(panel.menu().shifts.items[0].text, "Default");
}

TEST_F(ProxyNotify, ListsAreFilledAnewEachTime) {
  HarkUIProxy& panel = AttachUpToDate(HarkUIProxy::kModule10, 1, 1);
  Stations("Zoe <hark:1.1.1.1>\n");
  Channels("SHIFT LABL:\"A\"\nSHIFT LABL:\"B\"\n");
  Model().callstack_add("Yan", 2);
  for (int pass = 0; pass < 2; ++pass) {
    panel.PopulateChannelListCombo();
    panel.PopulateShiftListCombo();
    panel.PopulateCallstack();
    ASSERT_EQ(panel.menu().channels.count(), 1);
    EXPECT_EQ(panel.menu().channels.items[0].text, "Zoe");
    EXPECT_EQ(panel.menu().shifts.count(), 2);
    ASSERT_EQ(panel.menu().calls.count(), 1);
    EXPECT_EQ(panel.menu().calls.items[0].text, "Yan");
    EXPECT_EQ(panel.menu().calls.items[0].status, 'F');
  }
}

TEST_F(ProxyNotify, RotariesStepLevelsOfTheirOwn) {
  HarkUIProxy& panel = Attach(HarkUIProxy::kNetworkPanel);
  Model().spk_volume = -300;
  EXPECT_EQ(panel.CalcFaderScroll(sig("SPKV"), kRotaryClick), 10);
  EXPECT_EQ(panel.CalcFaderScroll(sig("SPKV"), kRotaryClick), 20);
  EXPECT_EQ(panel.CalcFaderScroll(sig("HDPV"), -kRotaryClick), -10);
  EXPECT_EQ(panel.CalcFaderScroll(sig("SPKV"), kRotaryClick), 30);
  EXPECT_EQ(Model().spk_volume, -300);
  // Each panel has rotaries of its own.
  EXPECT_EQ(Attach(HarkUIProxy::kModule10).CalcFaderScroll(sig("SPKV"), kRotaryClick), 10);
}

TEST_F(ProxyNotify, RotaryOfAKeyStepsTheVolumeThatAllPanelsShow) {
  HarkUIProxy& panel = Attach(HarkUIProxy::kNetworkPanel);
  for (int n = 1; n <= nkeys; ++n) {
    const auto i = static_cast<std::size_t>(n - 1);
    EXPECT_EQ(panel.CalcFaderScroll(mksig(kListen00, n), -250), -270) << n;
    EXPECT_EQ(Model().volumes[i], -270) << n;
    EXPECT_EQ(panel.CalcFaderScroll(mksig(kBoth00, n), kRotaryClick), -240) << n;
    EXPECT_EQ(Model().volumes[i], -240) << n;
  }
}

TEST_F(ProxyNotify, KeyWithoutARotaryHasNoLevel) {
  HarkUIProxy& panel = Attach(HarkUIProxy::kNetworkPanel);
  for (const Signature key : {sig("KL00"), sig("KL91"), sig("KL98"), sig("KL99"), sig("KX00"), sig("KX91"),
                              sig("KX99"), sig("KT01"), sig("KLAA"), sig("KXAA"), sig("KVOL"), sig("MENU"),
                              sig("MICM"), sig("ZZZZ"), Signature{0}}) {
    EXPECT_EQ(panel.CalcFaderScroll(key, kRotaryClick), HarkUIProxy::kNoValue) << sig_text(key).data();
  }
}

}  // namespace
}  // namespace hark
