// Labels: which record a display's line fills, how much of it, and the station's own name.
#include "panel/harkui_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using HarkUIDisplay = HarkUITest;
using HarkUIName = HarkUITest;

TEST_F(HarkUIDisplay, LineFillsTheKeysRecordAndShowsIt) {
  Attached(1, 4);
  Set("DISP#KL01 TEXT=\"Ext 1\", ALT=\"Gate one\", DFL=3");
  EXPECT_EQ(Record(0), "Ext 1/Gate one 3");
  EXPECT_THAT(displays, ElementsAre("0 Ext 1/Gate one"));
  Set("DISP#KL04 TEXT=\"News\", ALT=\"\", DFL=0");
  EXPECT_EQ(Record(3), "News/ 0");
  EXPECT_THAT(displays, ElementsAre("0 Ext 1/Gate one", "3 News/"));
}

TEST_F(HarkUIDisplay, NumbersCountFromTheFirstKey) {
  Attached(21, 4);
  Set("DISP#KL21 TEXT=\"a\"");
  Set("DISP#KL24 TEXT=\"b\"");
  EXPECT_THAT(displays, ElementsAre("0 a/", "3 b/"));
  EXPECT_EQ(Record(0), "a/ 0");
  EXPECT_EQ(Record(3), "b/ 0");
}

TEST_F(HarkUIDisplay, AutoAnswerChannelIsTheLastRecord) {
  for (const int nkeys : {0, 1, 4, 90}) {
    SCOPED_TRACE(nkeys);
    Attached(1, nkeys);
    Set("DISP#KLAA TEXT=\"Desk\", ALT=\"Front\"");
    EXPECT_EQ(Record(nkeys), "Desk/Front 0");
    EXPECT_THAT(displays, ElementsAre(std::to_string(nkeys) + " Desk/Front"));
  }
}

TEST_F(HarkUIDisplay, NumbersThatItDoesNotHaveAreDropped) {
  Attached(21, 4);
  for (const char* key : {"KL20", "KL19", "KL01", "KL00", "KL25", "KL26", "KL99", "KLzz", "KL  ",
                          "KL\x01\x01", "KL\xff\xff", "KL0:"}) {
    SCOPED_TRACE(key);
    Set(std::string("DISP#") + key + " TEXT=\"x\", ALT=\"y\", DFL=2");
    EXPECT_TRUE(Silent());
  }
  for (int index = 0; index <= 4; ++index)
    EXPECT_EQ(Record(index), "/ 0") << index;
}

TEST_F(HarkUIDisplay, PanelWithoutKeysHasNoOtherDisplay) {
  Attached(1, 0);
  Set("DISP#KL01 TEXT=\"x\"");
  Set("DISP#KL00 TEXT=\"x\"");
  EXPECT_TRUE(Silent());
  EXPECT_EQ(Record(0), "/ 0");
}

TEST_F(HarkUIDisplay, TextsAreCutToTenCharacters) {
  Attached();
  Set("DISP#KL01 TEXT=\"0123456789\", ALT=\"abcdefghij\"");
  EXPECT_EQ(Record(0), "0123456789/abcdefghij 0");
  Set("DISP#KL01 TEXT=\"0123456789A\", ALT=\"abcdefghijk\", DFL=1");
  EXPECT_EQ(Record(0), "0123456789/abcdefghij 1");
  Set("DISP#KL01 TEXT=\"" + std::string(500, 't') + "\", ALT=\"" + std::string(500, 'a') + "\", DFL=2");
  EXPECT_EQ(Record(0), std::string(10, 't') + "/" + std::string(10, 'a') + " 2");
  EXPECT_EQ(displays.back(), "0 tttttttttt/aaaaaaaaaa");
}

TEST_F(HarkUIDisplay, TextsAreUnquoted) {
  struct Row {
    const char* line;
    const char* record;
  };
  for (const Row& row : {
           Row{"TEXT=Bob", "Bob/ 0"},
           Row{"TEXT=\"a b\",ALT=c", "a b/c 0"},
           Row{"TEXT=\"the \\\"A\\\"\" ALT=\"\\\\\"", "the \"A\"/\\ 0"},
           Row{"TEXT=\"\"", "/ 0"},
           Row{"TEXT=", "/ 0"},
           Row{"ALT=\"second\", TEXT=\"first\"", "first/second 0"},
           Row{"text:\"Bob\" alt:\"Robert\" dfl:9", "Bob/Robert 9"},
           Row{"TEXT=\"ALT=x\"", "ALT=x/ 0"},
           Row{"TEXT=\"x\", DFL=0x10", "x/ 16"},
           Row{"TEXT=\"x\", DFL=4294967295", "x/ 4294967295"},
           Row{"TEXT=\"x\", DFL=none", "x/ 0"},
       }) {
    SCOPED_TRACE(row.line);
    Attached();
    Set(std::string("DISP#KL02 ") + row.line);
    EXPECT_EQ(Record(1), row.record);
    EXPECT_EQ(displays.size(), 1U);
  }
}

TEST_F(HarkUIDisplay, WhatALineLeavesOutIsGone) {
  Attached();
  Set("DISP#KL01 TEXT=\"Bob\", ALT=\"Robert\", DFL=3");
  Set("DISP#KL01 TEXT=\"Ann\"");
  EXPECT_EQ(Record(0), "Ann/ 0");
  EXPECT_EQ(displays.back(), "0 Ann/");
  Set("DISP#KL01 TEXT=\"\", ALT=\"\", DFL=0");
  EXPECT_EQ(Record(0), "/ 0");
}

TEST_F(HarkUIDisplay, IsToldEvenIfNothingChanged) {
  Attached();
  Set("DISP#KLAA TEXT=\"\", ALT=\"\"");
  Set("DISP#KLAA TEXT=\"\", ALT=\"\"");
  EXPECT_THAT(displays, ElementsAre("4 /", "4 /"));
}

TEST_F(HarkUIDisplay, ChangesNoLamp) {
  Attached();
  Set("BUT#KL01 IND=On");
  Set("DISP#KL01 TEXT=\"Bob\"");
  EXPECT_EQ(ui->getindi(sig("KL01")), '1');
}

TEST_F(HarkUIName, IsTheLabelOfTheHarkLine) {
  Attached();
  Line("HARK LABL:\"Studio A\" TRGL:4 LATCH:200");
  EXPECT_EQ(ui->label(), "Studio A");
  Line("HARK TRGL:4, LABL=B");
  EXPECT_EQ(ui->label(), "B");
  Line("HARK LABL:\"\"");
  EXPECT_EQ(ui->label(), "");
  EXPECT_TRUE(Silent());
}

TEST_F(HarkUIName, StaysWithoutOne) {
  Attached();
  Line("HARK LABL:\"Studio A\"");
  for (const char* line :
       {"HARK", "HARK ", "HARK TRGL:5", "HARKLABL:\"x\"", "HARK2 LABL:\"x\"", "HARKUI LABL:\"x\"",
        "HARK,LABL:\"x\"", "set HARK LABL:\"x\"", "XHARK LABL:\"x\"", "HARK XLABL:\"x\""}) {
    SCOPED_TRACE(line);
    Line(line);
    EXPECT_EQ(ui->label(), "Studio A");
  }
}

TEST_F(HarkUIName, IsCutToTenCharacters) {
  Attached();
  Line("HARK LABL:\"0123456789A\"");
  EXPECT_EQ(ui->label(), "0123456789");
  Line("HARK LABL:" + std::string(5000, 'x'));
  EXPECT_EQ(ui->label(), "xxxxxxxxxx");
}

}  // namespace
}  // namespace hark::test
