// What a panel is told of its keys' labels: when a line is due, and how each module type places it.
#include "panel/proxy_fixture.h"

namespace hark {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr char kNoAutoAnswer[] = "set HARKUI#p0.DISP#KLAA TEXT=\"\", ALT=\"\"\n";

class ProxyLabels : public ProxyTest {};

TEST_F(ProxyLabels, NewNetworkPanelIsSentEveryLabelOnceEmptyOnesToo) {
  Labels({"Bob", "", "Nobody", "Ann"});
  HarkUIProxy& panel = Attach(HarkUIProxy::kNetworkPanel);
  panel.UpdateChannelLabels();
  EXPECT_EQ(Sent(),
            "set HARKUI#p0.DISP#KL01 TEXT=\"Bob\", ALT=\"Robert\", DFL=0\r\n"
            "set HARKUI#p0.DISP#KL02 TEXT=\"\", ALT=\"\", DFL=0\r\n"
            "set HARKUI#p0.DISP#KL03 TEXT=\"Nobody\", ALT=\"\", DFL=0\r\n"
            "set HARKUI#p0.DISP#KL04 TEXT=\"Ann\", ALT=\"\", DFL=0\r\n"
            "set HARKUI#p0.DISP#KLAA TEXT=\"\", ALT=\"\"\n");
}

TEST_F(ProxyLabels, UnchangedLabelsAreNotSentAgain) {
  Labels({"Bob", "", "Ann"});
  HarkUIProxy& panel = AttachUpToDate(HarkUIProxy::kNetworkPanel);
  panel.UpdateChannelLabels();
  EXPECT_EQ(Sent(), kNoAutoAnswer);
  for (const int type : {1, 2, 3}) {
    SCOPED_TRACE(type);
    HarkUIProxy& console = AttachUpToDate(type);
    console.UpdateChannelLabels();
    EXPECT_EQ(Sent(type), "");
  }
}

TEST_F(ProxyLabels, OnlyTheKeysOfThePanelAreSent) {
  HarkUIProxy& panel = Attach(HarkUIProxy::kNetworkPanel, 89, 90);
  panel.UpdateChannelLabels();
  EXPECT_EQ(Sent(),
            "set HARKUI#p0.DISP#KL89 TEXT=\"\", ALT=\"\", DFL=0\r\n"
            "set HARKUI#p0.DISP#KL90 TEXT=\"\", ALT=\"\", DFL=0\r\n"
            "set HARKUI#p0.DISP#KLAA TEXT=\"\", ALT=\"\"\n");
}

TEST_F(ProxyLabels, EntryWithoutALabelShowsItsUrl) {
  Channels("SHIFT LABL:\"Day\"\nHARKCH 1 URL:\"hark:1.2.3.4\"\nHARKCH 2 LABL:\"Ann\" URL:\"hark:1.2.3.4\"\n");
  HarkUIProxy& panel = Attach(HarkUIProxy::kNetworkPanel, 1, 2);
  panel.UpdateChannelLabels();
  EXPECT_EQ(Sent(), std::string("set HARKUI#p0.DISP#KL01 TEXT=\"hark:1.2.3.4\", ALT=\"\", DFL=0\r\n"
                                "set HARKUI#p0.DISP#KL02 TEXT=\"Ann\", ALT=\"\", DFL=0\r\n") +
                        kNoAutoAnswer);
  EXPECT_EQ(panel.label_of(0), "hark:1.2.3.4");
  EXPECT_EQ(panel.label_of(1), "Ann");
  for (const int other : {-1, 2, 89, 90, 186, 1000})
    EXPECT_EQ(panel.label_of(other), "") << other;
}

TEST_F(ProxyLabels, AlternateTextIsEscapedAndTheLabelIsNot) {
  Stations(
      "x\\y <hark:10.0.0.7>\n\talt "
      R"("\"\"\"\"\)"
      "\n");
  const std::string escaped = R"(\"\\\"\\\"\\\"\\\"\\)";  // ten characters, a backslash before each
  Model().AssignChannel(0, "x\\y");
  Model().SetAALabel("x\\y");
  Attach(HarkUIProxy::kNetworkPanel, 1, 1).UpdateChannelLabels();
  EXPECT_EQ(Sent(), R"(set HARKUI#p0.DISP#KL01 TEXT="x\y", ALT=")" + escaped + "\", DFL=0\r\n" +
                        R"(set HARKUI#p0.DISP#KLAA TEXT="x\y", ALT=")" + escaped + "\"\n");
  Attach(HarkUIProxy::kModule10, 1, 1).UpdateChannelLabels();
  EXPECT_EQ(Sent(1), "SET Intercom.oled#1 line1=\"" + escaped + "\"\n");
}

TEST_F(ProxyLabels, AutoAnswerLabelComesWithItsAlternateTextToNetworkPanelsOnly) {
  Attach(HarkUIProxy::kNetworkPanel, 1, 1);
  for (const int type : {1, 2, 3})
    Attach(type, 1, 1);
  Refresh();
  Model().SetAALabel("Bob");
  Model().dirty = kDirtyLabels;
  for (auto& panel : panels)
    panel->UpdateChannelLabels();
  Forget();
  Refresh();
  EXPECT_EQ(Sent(0), "set HARKUI#p0.DISP#KLAA TEXT=\"Bob\", ALT=\"Robert\"\n");
  for (const int console : {1, 2, 3})
    EXPECT_EQ(Sent(console), "") << console;
  Model().SetAALabel("Stranger");
  Refresh();
  EXPECT_EQ(Sent(0), "set HARKUI#p0.DISP#KLAA TEXT=\"Stranger\", ALT=\"\"\n");
}

TEST_F(ProxyLabels, LabelThatChangesUnderAnActiveCallIsShownOnceTheCallEnds) {
  Labels({"Bob"});
  HarkUIProxy& panel = AttachUpToDate(HarkUIProxy::kNetworkPanel, 1, 1);
  Model().AssignChannel(0, "Ann");
  for (const int status : {1, 2, 4, 8, 16, 32, 64, 128, 17, 136}) {
    SCOPED_TRACE(status);
    Party("Bob", static_cast<std::uint8_t>(status));
    panel.UpdateChannelLabels();
    EXPECT_EQ(Sent(), kNoAutoAnswer);
    EXPECT_EQ(panel.label_of(0), "Bob");
  }
  Party("Bob", 0);
  panel.UpdateChannelLabels();
  EXPECT_EQ(Sent(), std::string("set HARKUI#p0.DISP#KL01 TEXT=\"Ann\", ALT=\"\", DFL=0\r\n") + kNoAutoAnswer);
  EXPECT_EQ(panel.label_of(0), "Ann");
}

TEST_F(ProxyLabels, CallOfAnotherPartyHoldsNoLabel) {
  Labels({"Bob"});
  HarkUIProxy& panel = AttachUpToDate(HarkUIProxy::kNetworkPanel, 1, 1);
  Party("Ann", 17);
  Model().AssignChannel(0, "Ann");
  panel.UpdateChannelLabels();
  EXPECT_THAT(Sent(), HasSubstr("KL01 TEXT=\"Ann\""));
}

TEST_F(ProxyLabels, NewAlternateTextIsSentEvenDuringTheCall) {
  Labels({"Bob"});
  HarkUIProxy& panel = AttachUpToDate(HarkUIProxy::kNetworkPanel, 1, 1);
  Party("Bob", 17);
  Stations("Bob <hark:10.0.0.7>\n\talt Robbie\n");
  panel.UpdateChannelLabels();
  EXPECT_THAT(Sent(), HasSubstr("KL01 TEXT=\"Bob\", ALT=\"Robbie\", DFL=0\r\n"));
  Stations("Bob <hark:10.0.0.7>\n");
  panel.UpdateChannelLabels();
  EXPECT_THAT(Sent(), HasSubstr("KL01 TEXT=\"Bob\", ALT=\"\", DFL=0\r\n"));
}

TEST_F(ProxyLabels, TenKeyModuleHasTwoKeysPerDisplay) {
  Labels({"K1", "K2", "K3", "K4", "K5", "K6", "K7", "K8", "K9", "K10"});
  Attach(HarkUIProxy::kModule10, 1, 10).UpdateChannelLabels();
  EXPECT_THAT(Lines(),
              ElementsAre("SET Intercom.oled#1 line1=\"K1\"\n", "SET Intercom.oled#1 line2=\"K2\"\n",
                          "SET Intercom.oled#2 line1=\"K3\"\n", "SET Intercom.oled#2 line2=\"K4\"\n",
                          "SET Intercom.oled#3 line1=\"K5\"\n", "SET Intercom.oled#3 line2=\"K6\"\n",
                          "SET Intercom.oled#4 line1=\"K7\"\n", "SET Intercom.oled#4 line2=\"K8\"\n",
                          "SET Intercom.oled#5 line1=\"K9\"\n", "SET Intercom.oled#5 line2=\"K10\"\n"));
}

TEST_F(ProxyLabels, TwentyKeyModulePacksFourKeysInTwoDisplays) {
  struct Row {
    int display;
    int line;
  };
  constexpr Row kRows[] = {{1, 1}, {2, 1}, {1, 2}, {2, 2}, {3, 1}, {4, 1}, {3, 2}, {4, 2},  {5, 1}, {6, 1},
                           {5, 2}, {6, 2}, {7, 1}, {8, 1}, {7, 2}, {8, 2}, {9, 1}, {10, 1}, {9, 2}, {10, 2}};
  std::vector<std::string> labels;
  for (int key = 1; key <= 20; ++key)
    labels.push_back("K" + std::to_string(key));
  Labels(labels);
  Attach(HarkUIProxy::kModule20, 1, 20).UpdateChannelLabels();
  const std::vector<std::string> lines = Lines();
  ASSERT_EQ(lines.size(), std::size(kRows));
  for (std::size_t i = 0; i < lines.size(); ++i) {
    EXPECT_EQ(lines[i], "SET Intercom.oled#" + std::to_string(kRows[i].display) + " line" +
                            std::to_string(kRows[i].line) + "=\"" + labels[i] + "\"\n");
  }
}

TEST_F(ProxyLabels, ColouredModuleIsSentNoLabels) {
  Labels({"Bob", "Ann"});
  Attach(HarkUIProxy::kModuleColour, 1, 10).UpdateChannelLabels();
  EXPECT_EQ(Sent(), "");
  EXPECT_EQ(panels[0]->label_of(0), "Bob");
}

TEST_F(ProxyLabels, MenuKnobChangesEveryDisplayBetweenAlternateTextAndLabel) {
  Labels({"Bob", "Ann"});
  HarkUIProxy& panel = Attach(HarkUIProxy::kModule10, 1, 2);
  panel.UpdateChannelLabels();
  EXPECT_EQ(Sent(), "SET Intercom.oled#1 line1=\"Robert\"\nSET Intercom.oled#1 line2=\"Ann\"\n");
  panel.harkui_receive_surface(".btn#130 KEY=D");
  panel.UpdateChannelLabels();
  EXPECT_EQ(Sent(), "SET Intercom.oled#1 line1=\"Bob\"\nSET Intercom.oled#1 line2=\"Ann\"\n");
  panel.UpdateChannelLabels();
  EXPECT_EQ(Sent(), "");
  panel.harkui_receive_surface(".btn#130 KEY=D");
  panel.UpdateChannelLabels();
  EXPECT_EQ(Sent(), "SET Intercom.oled#1 line1=\"Robert\"\nSET Intercom.oled#1 line2=\"Ann\"\n");
}

}  // namespace
}  // namespace hark
