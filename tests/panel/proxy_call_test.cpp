// Calls as the panels see them: what a report of a call makes of lamps, faders, the call stack and the
// labels, and when the panel answers by itself.
#include "daemon/station/station.h"
#include "panel/proxy_fixture.h"

namespace hark {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class ProxyCall : public ProxyTest {
 protected:
  ProxyCall() {
    Stations("Bob <hark:10.0.0.7>\nZoe <hark:10.0.0.8>\n");
    Labels({"Bob"});
  }
  // A report of a call; the commands that it gives.
  std::vector<std::string> Report(const std::string& url, const std::string& fields) {
    Model().harkd_receive(("CALL URL:\"" + url + "\" " + fields + "\r\n").c_str());
    return Commands();
  }
};

TEST_F(ProxyCall, ReportLightsTheLampsOfTheParty) {
  AttachUpToDate(HarkUIProxy::kNetworkPanel, 1, 1);
  EXPECT_THAT(Report("hark:10.0.0.7", "TALK:1 LISTEN:r VOLUME:0"), IsEmpty());
  Model().dirty &= ~kDirtyFaders;
  Refresh();
  EXPECT_THAT(Lines(),
              UnorderedElementsAre("set HARKUI#p0.BUT#KT01 IND=On\n", "set HARKUI#p0.BUT#KL01 IND=Flash\n"));
}

TEST_F(ProxyCall, VolumeAloneMovesAFaderAndNoLamp) {
  AttachUpToDate(HarkUIProxy::kNetworkPanel, 1, 2);
  Report("hark:10.0.0.7", "VOLUME:-120");
  EXPECT_EQ(Model().dirty, kDirtyFaders);
  Refresh();
  EXPECT_EQ(Sent(),
            "set HARKUI#p0.FAD#SPKV gain=0\n"
            "set HARKUI#p0.FAD#KL01 gain=-120\n"
            "set HARKUI#p0.FAD#KL02 gain=0\n");
  EXPECT_TRUE(Model().connections.empty());
}

TEST_F(ProxyCall, StrangerThatRingsGoesToTheAutoAnswerKeyAndTheStack) {
  AttachUpToDate(HarkUIProxy::kNetworkPanel, 1, 1);
  AttachUpToDate(HarkUIProxy::kModule10, 1, 1);
  EXPECT_THAT(Report("hark:10.0.0.8", "TALK:R"), IsEmpty());
  Refresh();
  EXPECT_EQ(Sent(0),
            "set HARKUI#p0.DISP#KLAA TEXT=\"Zoe\", ALT=\"\"\n"
            "set HARKUI#p0.BUT#KTAA IND=Flash\n");
  EXPECT_THAT(Lines(1), ElementsAre("SET Intercom.btn#41 IND=FLASH\n",
                                    "SET Intercom.menu list=[\"\x83"
                                    "Zoe\",\"- Assign -\"],selected=1\n"));
  EXPECT_STREQ(Model().aa_label.data(), "Zoe");
}

TEST_F(ProxyCall, PanelThatOffersAutoAnswerAnswersAStranger) {
  Attach(HarkUIProxy::kModule20, 1, 1, 1);
  EXPECT_THAT(Report("hark:10.0.0.8", "TALK:R"), ElementsAre("CALL URL:\"hark:10.0.0.8\" TALK:1\n"));
}

TEST_F(ProxyCall, StrangerWaitsOnceThatPanelIsGone) {
  Attach(HarkUIProxy::kModule20, 1, 1, 1);
  panels.clear();
  EXPECT_THAT(Report("hark:10.0.0.8", "TALK:R"), IsEmpty());
}

TEST_F(ProxyCall, PartyOfAKeyIsAnsweredAtOnceUnlessItsLevelIsLower) {
  struct Row {
    const char* url;
    bool answered;
  };
  for (const Row& row : {Row{"hark:10.0.0.7", true}, Row{"hark:10.0.0.7;trgl=5", true},
                         Row{"hark:10.0.0.7;trgl=4", true},  // the daemon's own level
                         Row{"hark:10.0.0.7;trgl=3", false}, Row{"hark:10.0.0.7;trgl=1", false},
                         Row{"hark:10.0.0.7;trgl=0", true}}) {
    SCOPED_TRACE(row.url);
    panels.clear();
    model.reset();
    Attach(HarkUIProxy::kNetworkPanel, 1, 1);
    const std::vector<std::string> commands = Report(row.url, "TALK:R");
    if (row.answered)
      EXPECT_THAT(commands, ElementsAre(std::string("CALL URL:\"") + row.url + "\" TALK:1\n"));
    else
      EXPECT_THAT(commands, IsEmpty());
  }
}

TEST_F(ProxyCall, EndOfACallGivesTheKeyItsNewLabel) {
  AttachUpToDate(HarkUIProxy::kNetworkPanel, 1, 1);
  Report("hark:10.0.0.7", "TALK:1");
  Model().AssignChannel(0, "Zoe");
  Refresh();
  EXPECT_THAT(Sent(), testing::Not(testing::HasSubstr("TEXT=\"Zoe\"")));
  Report("hark:10.0.0.7", "TALK:0");
  Refresh();
  EXPECT_THAT(Sent(), testing::HasSubstr("set HARKUI#p0.DISP#KL01 TEXT=\"Zoe\", ALT=\"\", DFL=0\r\n"));
}

TEST_F(ProxyCall, StrangerIsAnsweredByTheAutoAnswerKey) {
  AttachUpToDate(HarkUIProxy::kNetworkPanel, 1, 1);
  Report("hark:10.0.0.8", "TALK:R");
  panels[0]->harkui_receive("BUT#KTAA KEY=DOWN T=1");
  EXPECT_THAT(Commands(), ElementsAre("CALL URL:\"Zoe <hark:10.0.0.8>\" TALK:1\n",
                                      "event HARKUI#p0.BUT#KTAA KEY=DOWN\r\n"));
}

TEST_F(ProxyCall, CallTeachesWhatItsUrlTells) {
  struct Row {
    const char* url;
    const char* label;  // empty: nothing is learned
  };
  for (const Row& row : {
           Row{"hark:10.0.9.1;label=New", "New"},
           Row{"hark:10.0.9.1;label=New;trgl=4", "New"},
           Row{"\"Shown\" <hark:10.0.9.1>;label=New", "New"},
           Row{"hark:10.0.9.1;label=LongerThan10", "LongerThan"},
           Row{"\"Studio\" <hark:10.0.9.1>", "Studio"},
           Row{"\"Ten chars.\" <hark:10.0.9.1>", "Ten chars."},
           Row{"sip:joe@10.0.9.1", "joe"},
           Row{"sip:j\\032d@10.0.9.1", "j d"},
           Row{"\"Eleven char\" <hark:10.0.9.1>", ""},
           Row{"hark:10.0.9.1", ""},
           Row{"\"Joe\" <sip:10.0.9.1>", ""},  // no station, and no user in front of the host
           Row{"phone:12345", ""},
       }) {
    SCOPED_TRACE(row.url);
    harkd_dynamicsources.clear();
    harkresolvtable_write(harkd_dynamicsources);
    // Reported with a state, so that a party that has a name shows on the stack or on the auto-answer key.
    model.reset();
    std::string quoted;
    for (const char c : std::string(row.url)) {
      if (c == '"' || c == '\\') quoted += '\\';
      quoted += c;
    }
    Report(quoted, "TALK:R");
    EXPECT_STREQ(Model().aa_label.data(), row.label);
    EXPECT_EQ(harkd_dynamicsources.size(), *row.label == '\0' ? 0U : 1U);
  }
}

TEST_F(ProxyCall, PartyWithoutANameHasNoPlaceOnAPanel) {
  AttachUpToDate(HarkUIProxy::kModule10, 1, 1);
  EXPECT_THAT(Report("hark:10.0.9.1", "TALK:R VOLUME:-10"), IsEmpty());
  Model().harkd_receive("CALL TALK:R\r\n");
  Model().harkd_receive("CALL URL:\"\" TALK:R\r\n");
  EXPECT_EQ(Model().dirty, 0U);
  EXPECT_TRUE(Model().connections.empty());
  EXPECT_TRUE(Model().callstack.entries().empty());
}

}  // namespace
}  // namespace hark
