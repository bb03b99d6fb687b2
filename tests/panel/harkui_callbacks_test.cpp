// Panels that leave callbacks out, and callbacks that go back into the client.
#include "panel/harkui_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

class HarkUICallbacks : public HarkUITest {
 protected:
  // Everything that could call a callback.
  void DoEverything() {
    ui->HarkUI_Initialize();
    Set("DISP#KL02 TEXT=\"Bob\", ALT=\"Robert\", DFL=2");
    Set("DISP#KLAA TEXT=\"Ann\"");
    Set("BUT#KL02 IND=On");
    Set("FAD#KL02 gain=-60");
    Line("remove HARKUI#desk.SEL#CALLS");
    Line("add HARKUI#desk.SEL#CALLS TEXT=\"Ann\", IND=R");
    Line("HARK LABL:\"Studio A\"");
    chosen = "Cal";
    ui->IntercomKeyEvent(sig("KL02"), true, 5, nullptr);
    ui->IntercomKeyEvent(0, true, 5, nullptr);
    ui->IntercomKeyEvent(kShiftKey, true, 5, "Day");
    ui->IntercomFaderMoved(sig("KL02"), 10, true);
    Steps(64);
  }
  // What the client knows does not depend on who was told.
  void ExpectKnowsAll() {
    EXPECT_EQ(Record(1), "Bob/Robert 2");
    EXPECT_EQ(ui->getindi(sig("KL02")), '1');
    EXPECT_EQ(ui->label(), "Studio A");
  }
};

constexpr char kAllSent[] =
    "attach HARKUI#desk KEYS=\"1-4\" AANS:0\nHARK\n"
    "event HARKUI#desk.DISP#KLAA TEXT=\"Cal\"\n"
    "event HARKUI#desk.BUT#KL02 KEY=DOWN T=5\n\n"
    "event HARKUI#desk.SEL#SHIFT TEXT=\"Day\"\n"
    "event HARKUI#desk.FAD#KL02 dgain=10\n";

TEST_F(HarkUICallbacks, AllOfThemAreCalled) {
  Make(1, 4);
  DoEverything();
  EXPECT_THAT(displays,
              ElementsAre("0 /", "1 /", "2 /", "3 /", "4 /", "1 Bob/Robert", "4 Ann/", "1 Bob/Robert"));
  EXPECT_THAT(buffer_sizes, ElementsAre(11, 11));
  EXPECT_GT(lamp_calls, 0);
  EXPECT_THAT(faders, ElementsAre("KL02 -60"));
  EXPECT_THAT(lists, ElementsAre("CALL cleared", "CALL + Ann/ R"));
  EXPECT_EQ(sent, kAllSent);
  ExpectKnowsAll();
}

TEST_F(HarkUICallbacks, PanelWithoutDisplaysHasAllElse) {
  callbacks.display = nullptr;
  Make(1, 4);
  DoEverything();
  EXPECT_THAT(displays, IsEmpty());
  EXPECT_GT(lamp_calls, 0);
  EXPECT_THAT(faders, Not(IsEmpty()));
  EXPECT_EQ(sent, kAllSent);
  ExpectKnowsAll();
}

TEST_F(HarkUICallbacks, PanelThatChoosesNoLabelSendsNone) {
  callbacks.auto_answer_label = nullptr;
  Make(1, 4);
  DoEverything();
  EXPECT_EQ(sent,
            "attach HARKUI#desk KEYS=\"1-4\" AANS:0\nHARK\n"
            "event HARKUI#desk.BUT#KL02 KEY=DOWN T=5\n\n"
            "event HARKUI#desk.SEL#SHIFT TEXT=\"Day\"\n"
            "event HARKUI#desk.FAD#KL02 dgain=10\n");
  EXPECT_EQ(Record(4), "Ann/ 0");
  ExpectKnowsAll();
}

TEST_F(HarkUICallbacks, PanelWithoutLampsHasAllElse) {
  callbacks.lamp = nullptr;
  Make(1, 4);
  DoEverything();
  EXPECT_EQ(lamp_calls, 0);
  EXPECT_THAT(displays, Not(IsEmpty()));
  EXPECT_EQ(sent, kAllSent);
  ExpectKnowsAll();
}

TEST_F(HarkUICallbacks, PanelWithoutFadersHasAllElse) {
  callbacks.fader = nullptr;
  Make(1, 4);
  DoEverything();
  EXPECT_THAT(faders, IsEmpty());
  EXPECT_THAT(lists, Not(IsEmpty()));
  EXPECT_EQ(sent, kAllSent);
  ExpectKnowsAll();
}

TEST_F(HarkUICallbacks, PanelThatClearsNoListIsStillToldOfItems) {
  callbacks.clear_list = nullptr;
  Make(1, 4);
  DoEverything();
  EXPECT_THAT(lists, ElementsAre("CALL + Ann/ R"));
  ExpectKnowsAll();
}

TEST_F(HarkUICallbacks, PanelThatTakesNoItemsIsStillToldOfClearing) {
  callbacks.add_to_list = nullptr;
  Make(1, 4);
  DoEverything();
  EXPECT_THAT(lists, ElementsAre("CALL cleared"));
  ExpectKnowsAll();
}

TEST_F(HarkUICallbacks, PanelThatOnlyWatchesSendsNothing) {
  callbacks.send = nullptr;
  Make(1, 4);
  DoEverything();
  EXPECT_EQ(sent, "");
  EXPECT_STREQ(ui->record(4).text.data(), "Cal");
  EXPECT_THAT(displays, Not(IsEmpty()));
  ExpectKnowsAll();
}

TEST_F(HarkUICallbacks, PanelWithoutAnyStillKnowsAll) {
  callbacks = {};
  Make(1, 4);
  DoEverything();
  EXPECT_TRUE(Silent());
  EXPECT_EQ(lamp_calls, 0);
  EXPECT_EQ(Record(4), "Ann/ 0");
  ExpectKnowsAll();
}

TEST_F(HarkUICallbacks, LampMayPressAKey) {
  Attached(1, 4);
  on_lamp = [this] {
    on_lamp = nullptr;
    ui->IntercomKeyEvent(sig("KL01"), true, 9, nullptr);
    Set("BUT#KT01 IND=On");
  };
  ui->TimerAction();
  EXPECT_EQ(sent, "event HARKUI#desk.BUT#KL01 KEY=DOWN T=9\n\n");
  EXPECT_EQ(ui->getindi(sig("KT01")), '1');
}

TEST_F(HarkUICallbacks, DisplayMayTakeTheNextLine) {
  Attached(1, 4);
  on_display = [this] {
    on_display = nullptr;
    Set("DISP#KL02 TEXT=\"Ann\"");
    ui->HarkUI_Initialize();
  };
  Set("DISP#KL01 TEXT=\"Bob\"");
  EXPECT_EQ(Record(0), "/ 0");
  EXPECT_EQ(Record(1), "/ 0");
}

TEST_F(HarkUICallbacks, TwoClientsKeepApart) {
  Attached(1, 4);
  HarkUI_Callbacks nothing;
  const std::unique_ptr<HarkUI> other = HarkUI_Create(1, 4, 0, "gate", &nothing, nullptr);
  other->harkd_receive("set HARKUI#gate.BUT#KL01 IND=On");
  other->harkd_receive("set HARKUI#gate.DISP#KL01 TEXT=\"Bob\"");
  EXPECT_EQ(other->getindi(sig("KL01")), '1');
  EXPECT_EQ(ui->getindi(sig("KL01")), '\0');
  EXPECT_TRUE(Silent());
  EXPECT_EQ(Record(0), "/ 0");
}

}  // namespace
}  // namespace hark::test
