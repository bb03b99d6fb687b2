// A panel client that loses its station: the same client attaches again, and shows what is true then and
// nothing of what was.
#include "system/harkui_panel.h"

namespace hark::test {
namespace {

using testing::ElementsAre;
using testing::Optional;

class HarkUIPanelReconnects : public HarkUIPanelTest {
 protected:
  // The station ends, and all who were connected see that.
  void StationEnds() {
    client.close();
    panel.leave();
    EXPECT_EQ(station.terminate(), 0);
    ASSERT_TRUE(mine.wait_closed());
    mine.close();
  }
  // It runs again on its files, ready for calls.
  void StationComesBack() {
    ASSERT_TRUE(station.start());
    client = Connect("127.0.0.9");
    ASSERT_TRUE(wait_until([&] { return answers(client, "CALL") == Lines{"BEGIN", "END"}; }));
    EXPECT_THAT(answers(client, "UNSUB CALL"), ElementsAre());
    sim->forget_records();
  }
};

TEST_F(HarkUIPanelReconnects, AfterARestartOfTheStationAllIsShownAnew) {
  mine.tap("KL01");
  ASSERT_TRUE(mine.wait_lamp(kLampListen, 0, kLampOn));
  mine.tap("MICM");
  ASSERT_TRUE(mine.wait_lamp(kLampMicMute, 0, kLampOn));
  mine.ui().IntercomFaderMoved(sig("SPKV"), -60, false);
  ASSERT_TRUE(mine.wait_fader("SPKV", -60));
  mine.chosen = "Cal";
  mine.ui().IntercomKeyEvent(0, true, std::nullopt, nullptr);
  ASSERT_TRUE(mine.wait_display(HarkUIPanel::kAutoAnswer, "Cal/"));
  mine.chosen.reset();

  StationEnds();
  station.root().write(kChannelFile, "HARKCH 1 LABL:\"Ann\"\nHARKCH 5 LABL:\"Bob\"\n");
  station.write_settings("HARK LABL:\"STUDIO B\"\nSRC 1 PSNM:\"Main\" RTPA:\"239.192.0.1:5004\"\n");
  StationComesBack();
  ASSERT_TRUE(mine.attach(station.ctrl_port()));

  EXPECT_EQ(mine.ui().label(), "STUDIO B");
  EXPECT_EQ(mine.display(0), "Ann/Anna B.");
  EXPECT_EQ(mine.display(1), "/");
  EXPECT_EQ(mine.display(4), "Bob/");
  EXPECT_EQ(mine.display(HarkUIPanel::kAutoAnswer), "/");
  EXPECT_EQ(mine.lamp(kLampListen, 0), kLampOff);
  EXPECT_EQ(mine.lamp(kLampMicMute), kLampOff);
  EXPECT_THAT(mine.fader("SPKV"), Optional(0));

  mine.tap("KL05");
  EXPECT_TRUE(MixerGets("sub#1.in#1 src_id=\"239.192.0.7\", gain=0"));
  EXPECT_TRUE(mine.wait_lamp(kLampListen, 4, kLampOn));
}

TEST_F(HarkUIPanelReconnects, LabelThatIsStillChosenReachesTheNewStation) {
  mine.chosen = "Cal";
  mine.ui().IntercomKeyEvent(0, true, std::nullopt, nullptr);
  ASSERT_TRUE(mine.wait_display(HarkUIPanel::kAutoAnswer, "Cal/"));
  StationEnds();
  StationComesBack();
  ASSERT_TRUE(mine.attach(station.ctrl_port()));
  EXPECT_EQ(mine.display(HarkUIPanel::kAutoAnswer), "/");
  mine.press("KLAA", 1000);
  EXPECT_TRUE(mine.wait_display(HarkUIPanel::kAutoAnswer, "Cal/"));
  EXPECT_TRUE(MixerGets("sub#1.in#1 src_id=\"239.192.0.9\", gain=0"));
}

TEST_F(HarkUIPanelReconnects, CallThatGoesOnIsShownToWhoComesBack) {
  mine.tap("KL01");
  ASSERT_TRUE(mine.wait_lamp(kLampListen, 0, kLampOn));
  mine.leave();
  panel.tap("KT02");
  ASSERT_TRUE(panel.wait_indicator("KT02", "On"));
  ASSERT_TRUE(panel.tell("DISP#KL06 TEXT=\"Cal\""));
  ASSERT_TRUE(panel.wait_display("KL06", "TEXT=\"Cal\", ALT=\"\", DFL=0"));
  ASSERT_TRUE(mine.attach(station.ctrl_port()));
  EXPECT_EQ(mine.lamp(kLampListen, 0), kLampOn);
  EXPECT_EQ(mine.lamp(kLampTalk, 1), kLampOn);
  EXPECT_EQ(mine.display(5), "Cal/");
  mine.hold("KL01");
  EXPECT_TRUE(mine.wait_lamp(kLampListen, 0, kLampOff));
}

TEST_F(HarkUIPanelReconnects, AttachingAgainOnTheSameConnectionShowsAllAgain) {
  mine.tap("KL01");
  ASSERT_TRUE(mine.wait_lamp(kLampListen, 0, kLampOn));
  mine.ui().HarkUI_Initialize();
  EXPECT_EQ(mine.display(0), "/");
  EXPECT_TRUE(mine.wait_display(0, "Bob/"));
  EXPECT_EQ(mine.lamp(kLampListen, 0), kLampOn);
  mine.hold("KL01");
  EXPECT_TRUE(mine.wait_lamp(kLampListen, 0, kLampOff));
}

TEST_F(HarkUIPanelReconnects, KeyThatWasDownIsLetGoByTheSameClient) {
  mine.press("KL01", 1000);
  ASSERT_TRUE(mine.wait_lamp(kLampListen, 0, kLampOn));
  mine.leave();
  ASSERT_TRUE(mine.attach(station.ctrl_port()));
  EXPECT_EQ(mine.lamp(kLampListen, 0), kLampOn);
  mine.release("KL01", 9000);
  EXPECT_TRUE(mine.wait_lamp(kLampListen, 0, kLampOff));
}

}  // namespace
}  // namespace hark::test
