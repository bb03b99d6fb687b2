// Panels and consoles that send what no sound one would: nothing of it stops the station, grows in it, or
// reaches the panel beside it, which works on.
#include "system/panel_fixture.h"

namespace hark::test {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

// Objects that name no key, no fader, no display, or not what to do with it.
constexpr const char* kNonsense[] = {
    "BUT#",
    "BUT#KL01",
    "BUT#KL01 ",
    "BUT#KL01 KEY",
    "BUT#KL01 KEY=",
    "BUT#KL01 KEY=X",
    "BUT#KL01 T=1000",
    "BUT#KL1 KEY=DOWN",
    "BUT#KL001 KEY=DOWN",
    "BUT#KL00 KEY=DOWN",
    "BUT#KT00 KEY=DOWN",
    "BUT#KX00 KEY=UP",
    "BUT#KL92 KEY=DOWN",
    "BUT#KT98 KEY=DOWN",
    "BUT#KX99 KEY=DOWN",
    "BUT#KLZZ KEY=DOWN",
    "BUT#KT!! KEY=DOWN",
    "BUT#\xff\xff\xff\xff KEY=DOWN",
    "BUT#\x01\x02\x03\x04 KEY=DOWN",
    "BUT#MENU KEY=DOWN",
    "BUT#SPKV KEY=DOWN",
    "BUT#KL20KEY=DOWN",
    "FAD#",
    "FAD#KL01",
    "FAD#KL01 ",
    "FAD#KL01 gain",
    "FAD#KL01 dgain=",
    "FAD#KL92 dgain=10",
    "FAD#KLZZ dgain=10",
    "FAD#KX00 dgain=10",
    "FAD#ASGN dgain=10",
    "FAD#KL05 gain=99999999999999999999",
    "FAD#KL99 gain=-1",
    "FAD#KL00 gain=-1",
    "DISP#",
    "DISP#KL01",
    "DISP#KL01 TEXT",
    "DISP#KL00 TEXT=\"Bob\"",
    "DISP#KL91 TEXT=\"Bob\"",
    "DISP#KL99 TEXT=\"Bob\"",
    "DISP#KLZZ TEXT=\"Bob\"",
    "DISP#KT01 TEXT=\"Cal\"",
    "DISP#KL01TEXT=\"Cal\"",
    "SEL#SHIFT",
    "SEL#SHIFT ",
    "SEL#SHIFTTEXT=\"x\"",
    "SEL#SHIFT LABL=\"x\"",
    "SEL#CHSEL TEXT=\"x\"",
    "SEL#",
    "FP",
    "NONE#KL01 KEY=DOWN",
    ".BUT#KL01 KEY=DOWN",
    " ",
    "",
};

class BadInput : public PanelTest {
 protected:
  void SetUp() override {
    StartWithTwoPanels();
    descriptors = settled_descriptors(station, client);
  }
  int descriptors = 0;
};

TEST_F(BadInput, NonsenseHasNoReplyAndChangesNothing) {
  const std::string channels = Channels();
  for (const char* object : kNonsense) {
    SCOPED_TRACE(testing::PrintToString(object));
    panel.settle();
    panel.forget();
    ASSERT_TRUE(panel.tell(object));
    panel.settle();
    EXPECT_THAT(panel.lines(), IsEmpty());
    // The part in front may be left out altogether: for the same words of a SET or an EVENT, too.
    ASSERT_TRUE(panel.send("SET HARKUI#desk." + std::string(object)));
    ASSERT_TRUE(panel.send("EVENT HARKUI#desk." + std::string(object)));
    panel.settle();
    EXPECT_THAT(panel.lines(), IsEmpty());
  }
  EXPECT_EQ(Channels(), channels);
  EXPECT_THAT(CallList(), IsEmpty());
  EXPECT_THAT(other.lines(), IsEmpty());
  OtherWorks();
}

TEST_F(BadInput, KeyBehindTheLastOneIsTheAutoAnswerChannel) {
  ASSERT_TRUE(panel.tell("DISP#KLAA TEXT=\"Cal\""));
  panel.tap("KL91");
  EXPECT_TRUE(panel.wait_indicator("KLAA", "On"));
  OtherWorks();
}

TEST_F(BadInput, IdsAreLookedAtOnlyForTheirLength) {
  struct Row {
    const char* line;
    bool taken;
  };
  for (const Row& row : {
           Row{"HARKUI#desk.BUT#MICM KEY=DOWN", true},
           Row{"harkui#DESK.but#MICM key=DOWN", true},
           Row{"SET HARKUI#desk.BUT#MICM KEY=DOWN", true},
           Row{"event harkui#desk.BUT#MICM KEY=DOWN", true},
           Row{"HARKUI#xxxx.BUT#MICM KEY=DOWN", true},
           Row{"HARKUI#wrong.BUT#MICM KEY=DOWN", false},
           Row{"HARKUI#abc.BUT#MICM KEY=DOWN", false},
           Row{"HARKUI#.BUT#MICM KEY=DOWN", false},
           Row{"HARKUI#desks.BUT#MICM KEY=DOWN", false},
       }) {
    SCOPED_TRACE(row.line);
    panel.settle();
    panel.forget();
    ASSERT_TRUE(panel.send(row.line));
    panel.settle();
    EXPECT_EQ(count_of(panel.lines(), "set HARKUI#desk.BUT#MICM"), row.taken ? 1 : 0);
  }
}

TEST_F(BadInput, LinesOfWhoIsNotAttachedAreRefused) {
  for (const char* line : {"HARKUI#desk.BUT#KL01 KEY=DOWN", "SET HARKUI#desk.DISP#KL01 TEXT=\"x\"",
                           "EVENT HARKUI#desk.FAD#KL01 gain=0", "HARKUI#"}) {
    SCOPED_TRACE(line);
    EXPECT_THAT(answers(client, line), ElementsAre(kBadCommand));
  }
  for (const char* line : {"EVENT Intercom.btn#2 KEY=DOWN", "INDI Intercom.key#1 state=D",
                           "EVENT FaCH#1 OFF_But=D", "EVENT Intercom", "EVENT FaCH"}) {
    SCOPED_TRACE(line);
    EXPECT_THAT(answers(client, line), IsEmpty());
  }
  EXPECT_THAT(CallList(), IsEmpty());
}

TEST_F(BadInput, LinesInPiecesAreWhole) {
  for (const char byte : std::string("HARKUI#desk.BUT#KL01 KEY=DOWN T=1000\r\n")) {
    ASSERT_TRUE(panel.client().send_raw(std::string(1, byte)));
    ASSERT_TRUE(client.ask("VER", kVersion));
  }
  EXPECT_TRUE(panel.wait_indicator("KL01", "On"));
}

TEST_F(BadInput, LabelsOfAnyBytesAreShownAndSavedAsWholeLines) {
  std::string odd;
  for (int value = 1; value < 256; ++value) {
    if (value != '\r' && value != '\n') odd += static_cast<char>(value);
  }
  for (std::size_t at = 0; at < odd.size(); at += 10) {
    panel.forget();
    ASSERT_TRUE(panel.tell("DISP#KL01 TEXT=\"" + odd.substr(at, 10) + "\""));
    ASSERT_TRUE(panel.tell("DISP#KLAA TEXT=\"" + odd.substr(at, 10) + "\""));
    panel.settle();
    EXPECT_THAT(panel.lines(), Each(StartsWith("set HARKUI#desk.DISP#KL")));
  }
  for (const std::string& line : lines_of(Channels()))
    EXPECT_TRUE(line.empty() || line.starts_with("SHIFT ") || line.starts_with("HARKCH ")) << line;
  OtherWorks();
}

TEST_F(BadInput, LongestLinesAreTakenAndLongerOnesEndThePanelAlone) {
  const std::string start = "HARKUI#desk.DISP#KL01 TEXT=\"";
  ASSERT_TRUE(panel.send(start + std::string(1999 - start.size() - 2, 'x')));
  EXPECT_TRUE(panel.wait_display("KL01", "TEXT=\"xxxxxxxxxx\", ALT=\"\", DFL=0"));
  ASSERT_TRUE(panel.client().send_raw(start + std::string(4000, 'x')));
  EXPECT_TRUE(panel.wait_closed());
  EXPECT_TRUE(wait_until([&] { return station.open_fds() == descriptors - 1; }));
  OtherWorks();
  ASSERT_TRUE(panel.attach(station.ctrl_port(), "1-20")) << "and it may come again";
}

TEST_F(BadInput, LongLabelsOfTheFileAreToldInLinesOfTheirOwn) {
  const std::string longest(1975, 'L');
  Replace(kChannelFile, "HARKCH 1 LABL:\"" + longest + "\"\nHARKCH 2 LABL:\"Ann\"\nHARKCH 9 LABL:\"Bob\"\n");
  ASSERT_TRUE(panel.wait_display("KL09", "TEXT=\"Bob\", ALT=\"\", DFL=0"));
  panel.settle();
  for (const std::string& line : panel.lines()) {
    EXPECT_TRUE(line.starts_with("set HARKUI#desk.")) << line;
    EXPECT_EQ(line.find("set ", 1), std::string::npos) << line;
  }
  EXPECT_EQ(count_of(panel.lines(), "set HARKUI#desk.DISP#KL01 TEXT=\"LLLL"), 1);
  panel.tap("KX01");
  OtherWorks();
}

TEST_F(BadInput, ConsolesThatTalkNonsenseChangeNothing) {
  ModuleConsole console;
  ASSERT_TRUE(console.join(sim));
  for (const int type : {1, 2, 3}) {
    SCOPED_TRACE(type);
    console.report(type);
    ASSERT_TRUE(console.wait_button(52, "OFF"));
    console.settle();
    panel.settle();
    panel.forget();
    console.forget();
    for (const char* line : {
             "EVENT Intercom.btn#0 KEY=DOWN",
             "EVENT Intercom.btn#-1 KEY=DOWN",
             "EVENT Intercom.btn#43 KEY=DOWN",
             "EVENT Intercom.btn#48 KEY=UP",
             "EVENT Intercom.btn#53 KEY=DOWN",
             "EVENT Intercom.btn#128 KEY=DOWN",
             "EVENT Intercom.btn#131 rot=5",
             "EVENT Intercom.btn#99999999999999999999 KEY=DOWN",
             "EVENT Intercom.btn#4294967298 KEY=DOWN",
             "EVENT Intercom.key# KEY=DOWN",
             "EVENT Intercom.btn#x KEY=DOWN",
             "EVENT Intercom.btn#2",
             "EVENT Intercom.btn#2 ",
             "EVENT Intercom.btn#2 KEZ=DOWN",
             "EVENT Intercom.btn#2  KEY=DOWN",
             "EVENT Intercom.btn2 KEY=DOWN",
             "EVENT Intercom.oled#1 line1=\"x\"",
             "EVENT Intercom.btn#130 rot=0",
             "EVENT Intercom.btn#129 rot=",
             "EVENT Intercom.",
             "EVENT FaCH# OFF_But=",
             "EVENT FaCH#",
             "EVENT FaCH#1 ON_But=D",
             "INDI Intercom.btn#2 rot=1",
         }) {
      SCOPED_TRACE(line);
      ASSERT_TRUE(console.send(line));
      console.settle();
    }
    panel.settle();
    EXPECT_THAT(console.lines(), IsEmpty()) << "no lamp, no menu line";
    EXPECT_THAT(panel.lines(), IsEmpty());
  }
  EXPECT_THAT(CallList(), IsEmpty());
}

}  // namespace
}  // namespace hark::test
