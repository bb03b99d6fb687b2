// The file of channels and the file of sources, put in place anew by other programs while the station runs:
// the panels follow with the station's next housekeeping, and calls that are up do not notice.
#include "system/panel_fixture.h"

namespace hark::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr char kNoText[] = "TEXT=\"\", ALT=\"\", DFL=0";

std::string label(const std::string& text) { return "TEXT=\"" + text + "\", ALT=\"\", DFL=0"; }

class PanelFiles : public PanelTest {
 protected:
  void SetUp() override { StartWithPanel(); }
};

TEST_F(PanelFiles, LabelsFollowTheFileOfChannels) {
  Replace(kChannelFile, "HARKCH 1 LABL:\"Cal\"\nHARKCH 2 LABL:\"Ann\"\nHARKCH 20 LABL:\"Bob\"\n");
  EXPECT_TRUE(panel.wait_display("KL20", label("Bob")));
  EXPECT_EQ(panel.display("KL01"), label("Cal"));
  EXPECT_EQ(panel.display("KL03"), kNoText);
  EXPECT_EQ(count_of(panel.lines(), "set HARKUI#desk.DISP#KL02"), 0) << "what stays is not told again";
  panel.tap("KL20");
  EXPECT_TRUE(MixerGets("sub#1.in#1 src_id=\"239.192.0.7\", gain=0"));
}

TEST_F(PanelFiles, KeyWithAnAddressOfItsOwnShowsIt) {
  Replace(kChannelFile, "HARKCH 1 URL:\"hark:10.0.0.7\"\n");
  EXPECT_TRUE(panel.wait_display("KL01", label("hark:10.0.0.7")));
}

TEST_F(PanelFiles, TextAndFlagsFollowTheFileOfSources) {
  Replace(kSourceFile,
          "Bob <quillnet:239.192.0.7>\n\talt Robert\nAnn <quillnet:239.192.0.8>;gpio=4;gpiot=1;trgl=9\n");
  EXPECT_TRUE(panel.wait_display("KL01", "TEXT=\"Bob\", ALT=\"Robert\", DFL=1"));
  EXPECT_TRUE(panel.wait_display("KL02", "TEXT=\"Ann\", ALT=\"\", DFL=2"));
  // A file that is looked up with each press needs no housekeeping.
  Replace(kSourceFile, "Bob <quillnet:239.192.0.77>\n");
  panel.tap("KL01");
  EXPECT_TRUE(MixerGets("sub#1.in#1 src_id=\"239.192.0.77\", gain=0"));
}

TEST_F(PanelFiles, LabelUnderACallStaysUntilTheCallEnds) {
  panel.tap("KL01");
  ASSERT_TRUE(panel.wait_indicator("KL01", "On"));
  Replace(kChannelFile, "HARKCH 1 LABL:\"Cal\"\nHARKCH 2 LABL:\"Mic\"\n");
  ASSERT_TRUE(panel.wait_display("KL02", "TEXT=\"Mic\", ALT=\"\", DFL=1"));
  panel.settle();
  EXPECT_EQ(panel.display("KL01"), label("Bob"));
  EXPECT_EQ(panel.indicator("KL01"), "On");
  EXPECT_TRUE(panel.wait_indicator("KLAA", "On")) << "the party has no key in the new file";
  panel.hold("KL01");
  EXPECT_TRUE(panel.wait_display("KL01", label("Cal")));
  EXPECT_TRUE(panel.wait_indicator("KL01", "Off"));
  EXPECT_TRUE(panel.wait_indicator("KLAA", "Off"));
  EXPECT_THAT(CallList(), IsEmpty());
}

TEST_F(PanelFiles, SameFileAgainIsTakenWithoutAWord) {
  panel.tap("KL01");
  ASSERT_TRUE(panel.wait_indicator("KL01", "On"));
  panel.settle();
  panel.forget();
  Replace(kChannelFile, kKeys);
  Housekeeping();
  panel.settle();
  EXPECT_EQ(panel.indicator("KL01"), "On");
  for (const std::string& line : panel.lines())
    EXPECT_EQ(line, "set HARKUI#desk.DISP#KLAA TEXT=\"\", ALT=\"\"") << "all that a look at the labels tells";
}

TEST_F(PanelFiles, FileThatGoesLeavesTheKeysAndOneThatComesChangesThem) {
  station.root().remove(kChannelFile);
  Housekeeping();
  EXPECT_EQ(panel.display("KL01"), label("Bob"));
  panel.tap("KL01");
  EXPECT_TRUE(panel.wait_indicator("KL01", "On"));
  panel.hold("KL01");
  EXPECT_TRUE(panel.wait_indicator("KL01", "Off"));
  Replace(kChannelFile, "HARKCH 1 LABL:\"Cal\"\n");
  EXPECT_TRUE(panel.wait_display("KL01", label("Cal")));
}

TEST_F(PanelFiles, ShiftThatIsGoneFromTheFileLeavesItsKeysEmptyUntilItIsBack) {
  Replace(kChannelFile,
          "SHIFT LABL:\"A\"\nHARKCH 1 LABL:\"Bob\"\n\nSHIFT LABL:\"B\"\nHARKCH 1 LABL:\"Ann\"\n\n");
  ASSERT_TRUE(panel.wait_display("KL02", kNoText));
  ASSERT_TRUE(panel.tell("SEL#SHIFT TEXT=\"B\""));
  ASSERT_TRUE(panel.wait_display("KL01", "TEXT=\"Ann\", ALT=\"Anna B.\", DFL=0"));
  Replace(kChannelFile, "SHIFT LABL:\"A\"\nHARKCH 1 LABL:\"Bob\"\n\n");
  EXPECT_TRUE(panel.wait_display("KL01", kNoText));
  Replace(kChannelFile,
          "SHIFT LABL:\"A\"\nHARKCH 1 LABL:\"Bob\"\n\nSHIFT LABL:\"B\"\nHARKCH 1 LABL:\"Cal\"\n\n");
  EXPECT_TRUE(panel.wait_display("KL01", label("Cal")));
}

TEST_F(PanelFiles, OwnSaveKeepsWhatOtherShiftsAndOtherProgramsWrote) {
  const std::string others =
      "# kept by hand\n\nSHIFT LABL:\"B\"\n# night crew\nHARKCH 1 LABL:\"Ann\"\nKEEP me\n\n";
  Replace(kChannelFile, "SHIFT LABL:\"A\"\nHARKCH 1 LABL:\"Bob\" FLAGS:4\n\n" + others);
  ASSERT_TRUE(panel.wait_display("KL02", kNoText));
  ASSERT_TRUE(panel.tell("DISP#KL02 TEXT=\"Cal\""));
  ASSERT_TRUE(panel.wait_display("KL02", label("Cal")));
  EXPECT_EQ(Channels().find("SHIFT LABL:\"A\"\nHARKCH 1 LABL:\"Bob\" FLAGS:4\nHARKCH 2 LABL:\"Cal\"\n\n"),
            0U);
  EXPECT_THAT(Channels(), HasSubstr("SHIFT LABL:\"B\"\n# night crew\nHARKCH 1 LABL:\"Ann\"\nKEEP me\n\n"));
}

TEST_F(PanelFiles, KeysAreThereAfterTheNextStart) {
  ASSERT_TRUE(panel.tell("DISP#KL05 TEXT=\"Cal\""));
  ASSERT_TRUE(panel.wait_display("KL05", label("Cal")));
  const std::string saved = Channels();
  EXPECT_TRUE(ended_well(station));
  ASSERT_TRUE(station.start());
  ASSERT_TRUE(panel.attach(station.ctrl_port(), "1-20"));
  EXPECT_EQ(panel.display("KL05"), label("Cal"));
  EXPECT_EQ(Channels(), saved) << "a start writes nothing";
}

// A writer that is slow, or does not care, shows the station half of its file for a while.
TEST_F(PanelFiles, FileInThePlaceOfAnotherIsTakenInEachState) {
  for (const char* text : {"HARKCH 1 LABL:\"Ca", "", "HARKCH 1 LABL:\"Cal\"\nHARKCH 2 LA"}) {
    SCOPED_TRACE(text);
    Replace(kChannelFile, text);
    Housekeeping();
    EXPECT_THAT(answers(client, "#"), ElementsAre());
  }
  Replace(kChannelFile, "HARKCH 9 LABL:\"Bob\"\n");
  EXPECT_TRUE(panel.wait_display("KL09", label("Bob")));
  EXPECT_EQ(panel.display("KL01"), kNoText);
}

}  // namespace
}  // namespace hark::test
