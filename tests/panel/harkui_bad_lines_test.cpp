// Lines that are nothing to a panel: halves of lines, lines in other forms, lines of others, and no end of a
// line.
#include "panel/harkui_fixture.h"

namespace hark::test {
namespace {

using HarkUIBadLines = HarkUITest;

TEST_F(HarkUIBadLines, MalformedLinesDoNothing) {
  Attached(1, 4);
  Set("DISP#KL02 TEXT=\"Bob\", ALT=\"Robert\", DFL=2");
  Set("BUT#KL02 IND=Flash");
  Forget();
  for (const char* object : {
           "",
           " ",
           ".",
           "BUT",
           "BUT#",
           "BUT#KL",
           "BUT#KL02",
           "BUT#KL02 ",
           "BUT#KL02 KEY=UP",
           "BUT#KL02 XIND=On",
           "BUT#KL02IND=On",
           "BUT#KL2 IND=On",
           "BUT#KL002 IND=On",
           "BUT# KL02 IND=On",
           "BUT#KL02,IND=On",
           "BUT KL02 IND=On",
           "BUT#    ",
           " BUT#KL02 IND=On",
           "XBUT#KL02 IND=On",
           "FAD",
           "FAD#",
           "FAD#KL02",
           "FAD#KL02 ",
           "FAD#KL02 dgain=10",
           "FAD#KL02 level=10",
           "FAD#KL2 gain=10",
           "FAD#KL002 gain=10",
           "FAD#KL02,gain=10",
           "FAD#KL02 again=10",
           "DISP",
           "DISP#",
           "DISP#KL02",
           "DISP#KL02 ",
           "DISP#KL02 ALT=\"x\"",
           "DISP#KL02 DFL=1",
           "DISP#KL2 TEXT=\"x\"",
           "DISP#KL002 TEXT=\"x\"",
           "DISP#KL02,TEXT=\"x\"",
           "DISP#KL02 XTEXT=\"x\"",
           "SEL#CHSEL",
           "SEL#SHIFT",
           "SEL#CALLS",
           "SEL#CALLS TEXT=\"x\"",
           "SEL#OTHER",
           "SEL#",
           "SEL",
           "FP",
           "FP KEYS:\"1-4\"",
           "MENU list=[]",
           "VER",
       }) {
    SCOPED_TRACE(object);
    for (const char* verb : {"set ", "event ", ""}) {
      Line(std::string(verb) + "HARKUI#desk." + object);
      EXPECT_TRUE(Silent());
    }
    EXPECT_EQ(Record(1), "Bob/Robert 2");
    EXPECT_EQ(ui->getindi(sig("KL02")), 'F');
  }
}

TEST_F(HarkUIBadLines, LinesToOthersAreDropped) {
  Attached(1, 4);
  for (const char* line : {
           "",
           " ",
           "\r\n",
           "$begin",
           "$end",
           "ERROR 1000 bad command",
           "ERROR 2000 server busy",
           "SET Intercom talk=ON",
           "SET Intercom listen=OFF",
           "CALL URL:\"Bob <hark:10.0.0.7>\" TALK:1",
           "BEGIN",
           "END",
           "VER SVER:1.3.6.4 HARK:1",
           "GPI 1 hhhhh",
           "HARKUI",
           "HARKUI BUT#KL01 IND=On",
           "get HARKUI#desk.BUT#KL01 IND=On",
           "setHARKUI#desk.BUT#KL01 IND=On",
           "set set HARKUI#desk.BUT#KL01 IND=On",
           "set  HARKUI#desk.BUT#KL01 IND=On",
           "set BUT#KL01 IND=On",
           " HARKUI#desk.BUT#KL01 IND=On",
           "xHARKUI#desk.BUT#KL01 IND=On",
           "remove SEL#CALLS",
           "add SEL#CALLS TEXT=\"Bob\"",
       }) {
    SCOPED_TRACE(line);
    Line(line);
    EXPECT_TRUE(Silent());
    EXPECT_EQ(ui->getindi(sig("KL01")), '\0');
    EXPECT_EQ(ui->label(), "");
  }
}

TEST_F(HarkUIBadLines, LongLinesDoNoHarm) {
  Attached(1, 4);
  const std::string rubbish(100'000, '"');
  for (const char* start : {"set HARKUI#desk.BUT#KL01 ", "set HARKUI#desk.BUT#KL01 IND=", "set HARKUI#",
                            "set HARKUI#desk.DISP#KL01 TEXT=x", "add HARKUI#desk.SEL#CALLS TEXT=x ALT=",
                            "HARK LABL:", "set HARKUI#desk.FAD#KL01 gain="}) {
    SCOPED_TRACE(start);
    Line(start + rubbish);
    Line(start + std::string(100'000, 'x'));
    Line(start + std::string(100'000, '\\'));
  }
  Set("BUT#KL01 IND=On");
  EXPECT_EQ(ui->getindi(sig("KL01")), '1');
}

}  // namespace
}  // namespace hark::test
