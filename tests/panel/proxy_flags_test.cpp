// What a key's flags tell a panel of its station, and the listens that a panel opens by itself.
#include "daemon/station/listenvol.h"
#include "daemon/station/station.h"
#include "panel/proxy_fixture.h"

namespace hark {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr char kHallListen[] = "CALL URL:\"Hall <hark:10.0.0.10>;llsn=1\" LISTEN:1 VOLUME:0\n";
constexpr char kNoAutoAnswer[] = "set HARKUI#p0.DISP#KLAA TEXT=\"\", ALT=\"\"\n";

class ProxyFlags : public ProxyTest {
 protected:
  // The number behind "DFL=" in the line of key 1 that is due now; -1 when none is.
  int SentFlags() {
    panels[0]->UpdateChannelLabels();
    const std::string text = Sent();
    const std::size_t at = text.find("DFL=");
    return at == std::string::npos ? -1 : std::stoi(text.substr(at + 4));
  }
};

TEST_F(ProxyFlags, FlagsOfAKeySayWhatItsStationAllows) {
  struct Row {
    const char* station;
    int key_flags;
    int expected;
  };
  for (const Row& row : {
           Row{"<hark:1.1.1.1>", 0, 0},
           Row{"<hark:1.1.1.1>", 1, 1},
           Row{"<hark:1.1.1.1>", 2 | 4 | 8, 0},
           Row{"<hark:1.1.1.1>;trgl=4", 0, 0},  // the daemon's own level
           Row{"<hark:1.1.1.1>;trgl=5", 0, 2},
           Row{"<hark:1.1.1.1>;trgl=0x5", 1, 3},
           Row{"<hark:1.1.1.1>;llsn=0", 0, 0},
           Row{"<hark:1.1.1.1>;llsn=1", 0, 8},
           Row{"<hark:1.1.1.1>;llsn=2;trgl=9", 1, 11},
           Row{"<phone:1>;llsn=1", 0, 8},
           Row{"<what:1>;llsn=1", 0, 0},  // nothing that can be called
           Row{"<quillnet:239.192.0.7>", 0, 1},
           Row{"<quillnet:239.192.0.7>;gpio=1", 0, 1},
           Row{"<quillnet:239.192.0.7>;gpiot=1", 0, 1},
           Row{"<quillnet:239.192.0.7>;gpio=1;gpiot=2", 0, 0},
           Row{"<quillnet:239.192.0.7>;gpio=1;gpiot=2", 1, 1},
           Row{"<quillnet:239.192.0.7>;qntb=0", 0, 1},
           Row{"<quillnet:239.192.0.7>;qntb=1", 0, 0},
           Row{"<quillnet:239.192.0.7>;ifb=", 0, 1},
           Row{"<quillnet:239.192.0.7>;ifb=10.0.0.1", 0, 0},
           Row{"<quillnet:239.192.0.7>;llsn=1", 0, 9},
       }) {
    SCOPED_TRACE(row.station);
    SCOPED_TRACE(row.key_flags);
    Stations(std::string("Far ") + row.station + "\n");
    Channels("SHIFT LABL:\"Day\"\nHARKCH 1 LABL:\"Far\" FLAGS:" + std::to_string(row.key_flags) + "\n");
    panels.clear();
    model.reset();
    Attach(HarkUIProxy::kNetworkPanel, 1, 1);
    EXPECT_EQ(SentFlags(), row.expected);
    EXPECT_EQ(SentFlags(), -1);
  }
}

TEST_F(ProxyFlags, LevelOfTheDaemonOnAirCountsWhileOnAir) {
  Labels({"High"});
  station.harkd_trgl_onair = 4;
  Attach(HarkUIProxy::kNetworkPanel, 1, 1);
  EXPECT_EQ(SentFlags(), 2);
  station.harkd_onair = true;
  EXPECT_EQ(SentFlags(), 0);
  station.harkd_onair = false;
  EXPECT_EQ(SentFlags(), 2);
}

TEST_F(ProxyFlags, ChangeOfTheNoTalkFlagResendsTheTalkIndicatorAlone) {
  Labels({"Bob"});
  AttachUpToDate(HarkUIProxy::kNetworkPanel, 1, 1);
  AttachUpToDate(HarkUIProxy::kModule10, 1, 1);
  AttachUpToDate(HarkUIProxy::kModuleColour, 1, 1);
  Channels("SHIFT LABL:\"Day\"\nHARKCH 1 LABL:\"Bob\" FLAGS:1\n");
  Reread();
  Refresh();
  EXPECT_EQ(Sent(0), std::string("set HARKUI#p0.DISP#KL01 TEXT=\"Bob\", ALT=\"Robert\", DFL=1\r\n") +
                         kNoAutoAnswer + "set HARKUI#p0.BUT#KT01 IND=Off\n");
  EXPECT_EQ(Sent(1), "SET Intercom.oled#1 line1=\"Robert\"\nSET Intercom.btn#1 IND=OFF\n");
  EXPECT_EQ(Sent(2), "SET Intercom.key#1 BACKCOLOROFF=OFF,BACKCOLORON=OFF,IND=OFF\n");
}

TEST_F(ProxyFlags, LatchedListenIsOpenedOnceByEveryTypeOfPanel) {
  Labels({"Bob", "Hall"});
  for (const int type : {0, 1, 2, 3}) {
    SCOPED_TRACE(type);
    HarkUIProxy& panel = Attach(type, 1, 2);
    panel.UpdateChannelLabels();
    EXPECT_THAT(Commands(), ElementsAre(kHallListen));
    panel.UpdateChannelLabels();
    EXPECT_THAT(Commands(), IsEmpty());
  }
}

TEST_F(ProxyFlags, LatchedListenIsOpenedWithTheVolumeOfItsLabel) {
  Labels({"Hall"});
  HarkUIProxy& panel = Attach(HarkUIProxy::kModule10, 1, 1);
  listenvol_set("Hall", -120);
  panel.UpdateChannelLabels();
  EXPECT_THAT(Commands(), ElementsAre("CALL URL:\"Hall <hark:10.0.0.10>;llsn=1\" LISTEN:1 VOLUME:-120\n"));
}

TEST_F(ProxyFlags, LatchedListenThatComesBackIsOpenedAgain) {
  Labels({"Hall"});
  HarkUIProxy& panel = AttachUpToDate(HarkUIProxy::kNetworkPanel, 1, 1);
  Stations("Hall <hark:10.0.0.10>\n");
  panel.UpdateChannelLabels();
  EXPECT_THAT(Commands(), IsEmpty());
  EXPECT_THAT(Sent(), HasSubstr("DFL=0"));
  Stations(kStations);
  panel.UpdateChannelLabels();
  EXPECT_THAT(Commands(), ElementsAre(kHallListen));
}

TEST_F(ProxyFlags, OtherFlagsLeaveAnOpenLatchedListenAlone) {
  Labels({"Hall"});
  HarkUIProxy& panel = AttachUpToDate(HarkUIProxy::kNetworkPanel, 1, 1);
  Stations("Hall <hark:10.0.0.10>;llsn=1;trgl=9\n");
  panel.UpdateChannelLabels();
  EXPECT_THAT(Sent(), HasSubstr("DFL=10"));
  EXPECT_THAT(Commands(), IsEmpty());
}

TEST_F(ProxyFlags, AllLatchedListensAreReopenedOnRequest) {
  Stations(std::string(kStations) + "*Star <hark:10.0.0.20>;llsn=1\nGone <hark:10.0.0.21>;llsn=1\n");
  Labels({"Hall", "Bob", "*Star", "Gone", "Hall"});
  HarkUIProxy& panel = AttachUpToDate(HarkUIProxy::kModuleColour, 1, 4);
  listenvol_set("Hall", -60);
  Stations(std::string(kStations) + "*Star <hark:10.0.0.20>;llsn=1\n");
  panel.ActivateLatchedListen();
  EXPECT_THAT(Commands(), ElementsAre("CALL URL:\"Hall <hark:10.0.0.10>;llsn=1\" LISTEN:1 VOLUME:-60\n",
                                      "CALL URL:\"*Star <hark:10.0.0.20>;llsn=1\" LISTEN:1 VOLUME:0\n"));
  EXPECT_EQ(Sent(), "");
}

TEST_F(ProxyFlags, PanelThatHasShownNothingReopensNothing) {
  Labels({"Hall"});
  Attach(HarkUIProxy::kNetworkPanel).ActivateLatchedListen();
  EXPECT_THAT(Commands(), IsEmpty());
}

}  // namespace
}  // namespace hark
