// What the server knows of the attached panels: who is ready, who answers by itself, the list for other
// programs, the lines that tell of a panel, and the two callbacks between panels and connections.
#include <gmock/gmock.h>

#include "daemon/daemon_fixture.h"
#include "daemon/settings.h"
#include "daemon/station/station.h"

namespace hark {
namespace {

using testing::ElementsAre;

class PanelList : public DaemonTest {
 protected:
  PanelList() {
    harkd_ext_init(server.cons.data(), kMaxConnections);
    EXPECT_TRUE(register_objects());
  }
};

TEST_F(PanelList, ReadyIsWhoHasAPanelWhoseModuleIsThere) {
  EXPECT_EQ(ishwready(), 0);
  Open(3);
  EXPECT_EQ(ishwready(), 0);
  HarkUIProxy& panel = Attach(3, "p", 1, 20);
  EXPECT_EQ(ishwready(), 1);
  panel.type = HarkUIProxy::kNoModule;
  EXPECT_EQ(ishwready(), 0);
  Open(15);
  Attach(15, "q", 1, 20).type = 2;
  EXPECT_EQ(ishwready(), 1);
}

TEST_F(PanelList, AutoAnswerCountsOpenConnectionsOnly) {
  EXPECT_EQ(harkd_has_autoanswer(), 0);
  Open(0);
  Open(1);
  Open(2);
  Attach(0, "a", 1, 2, 1);
  Attach(1, "b", 3, 4, 0);
  Attach(2, "c", 5, 6, 7);
  Attach(9, "closed", 7, 8, 1);
  EXPECT_EQ(harkd_has_autoanswer(), 2);
}

TEST_F(PanelList, FileHasALineForEachPanelOfAnOpenConnection) {
  Open(0);
  Open(2);
  Open(5);
  Attach(0, "left", 1, 20);
  Attach(5, "right", 21, 40);
  Attach(7, "closed", 1, 2);
  writeuilist();
  EXPECT_EQ(folder.Read("uilist"),
            "HARKUI KEYS:\"1-20\" RADDR:\"10.0.0.1:5000\"\nHARKUI KEYS:\"21-40\" RADDR:\"10.0.0.6:5000\"\n");
}

TEST_F(PanelList, FileIsEmptyWithoutPanels) {
  folder.Write("uilist", "old\n");
  writeuilist();
  EXPECT_TRUE(folder.Exists("uilist"));
  EXPECT_EQ(folder.Read("uilist"), "");
}

TEST_F(PanelList, FileThatCannotBeWrittenIsLeftOut) {
  uilist_file = folder.File("no/such/folder/uilist");
  writeuilist();
  EXPECT_FALSE(folder.Exists("no"));
}

TEST_F(PanelList, IndicationsGoToSubscribersOrToOne) {
  LineSocket& listener = Open(0);
  LineSocket& other = Open(1);
  Open(2);
  Open(3);
  Attach(2, "left", 1, 20);
  Attach(3, "right", 21, 40);
  ASSERT_EQ(qnrdb_sub_set(&qnrobjdb, "HARKUI", -1, 0, true), 1);

  (void)uilist_indi('A', 2, -1);
  (void)uilist_indi('R', 3, -1);
  (void)uilist_indi(' ', 9, -1);  // nobody there
  EXPECT_EQ(listener.Text(),
            "add HARKUI#left.FP KEYS:\"1-20\" RADDR:\"10.0.0.3:5000\"\r\n"
            "remove HARKUI#right.FP KEYS:\"21-40\" RADDR:\"10.0.0.4:5000\"\r\n");
  EXPECT_EQ(other.Text(), "");

  (void)uilist_indi(' ', -1, server.socket(1));
  EXPECT_THAT(other.Lines(), ElementsAre("add HARKUI#left.FP KEYS:\"1-20\" RADDR:\"10.0.0.3:5000\"",
                                         "add HARKUI#right.FP KEYS:\"21-40\" RADDR:\"10.0.0.4:5000\""));
  EXPECT_EQ(listener.Text(), "");
}

TEST_F(PanelList, SendingToAPanelTellsWhetherItWent) {
  EXPECT_EQ(harkui_send("text", -1), 0);
  EXPECT_EQ(harkui_send("text", kMaxConnections), 0);
  EXPECT_EQ(harkui_send("text", 4), 0) << "closed";
  LineSocket& peer = Open(4);
  EXPECT_EQ(harkui_send("dropped", 4), 1) << "without a panel nobody waits for it";
  EXPECT_EQ(peer.Text(), "");
  Attach(4, "p", 1, 2);
  EXPECT_EQ(harkui_send("INDI x\r\n", 4), 1);
  EXPECT_EQ(peer.Text(), "INDI x\r\n");
  peer.Close();
  EXPECT_EQ(harkui_send("INDI y\r\n", 4), 0);
}

TEST_F(PanelList, EventsOfTheModelGoToSubscribersAndCommandsAreRun) {
  LineSocket& listener = Open(0);
  ASSERT_EQ(qnrdb_sub_set(&qnrobjdb, "HARKUI", -1, 0, true), 1);
  EXPECT_EQ(harkui_receive("Event harkui#p.BUT#KL01 x\r\n", -1), 1);
  EXPECT_EQ(listener.Text(), "Event harkui#p.BUT#KL01 x\r\n");
  EXPECT_EQ(harkui_receive("HARK LATCH:321", -1), 1);
  EXPECT_EQ(station.harkui_tap_time_ms, 321);
  EXPECT_EQ(listener.Text(), "");
}

TEST_F(PanelList, TextsToNobodyFail) {
  EXPECT_EQ(server_resp_single(-1, "text"), -1);
  EXPECT_EQ(server_resp(-1, "%s", "text"), -1);
}

TEST_F(PanelList, FormattedTextsAreCutAtTheLongestLine) {
  LineSocket& peer = Open(0);
  EXPECT_EQ(server_resp(server.socket(0), "%s", std::string(5000, 'x').c_str()), 0);
  EXPECT_EQ(peer.Text(), std::string(2000, 'x'));
}

}  // namespace
}  // namespace hark
