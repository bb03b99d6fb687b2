// The lists of stations, shifts and calls that a station may tell its panels.
#include "panel/harkui_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using HarkUILists = HarkUITest;

TEST_F(HarkUILists, RemoveAloneClearsTheList) {
  Attached();
  Line("remove HARKUI#desk.SEL#CHSEL");
  Line("remove HARKUI#desk.SEL#SHIFT");
  Line("remove HARKUI#desk.SEL#CALLS");
  Line("REMOVE harkui#desk.SEL#CALLS");
  EXPECT_THAT(lists, ElementsAre("CHAN cleared", "SHFT cleared", "CALL cleared", "CALL cleared"));
}

TEST_F(HarkUILists, AddAppendsAnItem) {
  Attached();
  Line("add HARKUI#desk.SEL#CHSEL TEXT=\"Bob\", ALT=\"Robert\"");
  Line("add HARKUI#desk.SEL#SHIFT TEXT=\"Evening\"");
  Line("add HARKUI#desk.SEL#CALLS TEXT=\"Ann\", IND=On");
  Line("ADD HARKUI#desk.SEL#CALLS ALT=\"Anna\", TEXT=\"Ann\"");
  EXPECT_THAT(lists,
              ElementsAre("CHAN + Bob/Robert -", "SHFT + Evening/ -", "CALL + Ann/ 1", "CALL + Ann/Anna 0"));
}

TEST_F(HarkUILists, WordOfACallBecomesALetter) {
  Attached();
  struct Row {
    const char* field;
    const char* letter;
  };
  for (const Row& row : {Row{", IND=On", "1"}, Row{", IND=OFF", "0"}, Row{", IND=Flash", "F"},
                         Row{", IND=FLASH", "F"}, Row{" IND:\"R\"", "R"}, Row{", IND=*", "*"},
                         Row{", IND=1", "1"}, Row{"", "0"}, Row{", XIND=On", "0"}}) {
    SCOPED_TRACE(row.field);
    Line(std::string("add HARKUI#desk.SEL#CALLS TEXT=\"Ann\"") + row.field);
    EXPECT_THAT(lists, ElementsAre(std::string("CALL + Ann/ ") + row.letter));
    Forget();
  }
}

TEST_F(HarkUILists, OnlyCallsHaveALetter) {
  Attached();
  Line("add HARKUI#desk.SEL#CHSEL TEXT=\"Bob\", IND=On");
  Line("add HARKUI#desk.SEL#SHIFT TEXT=\"Day\", IND=Flash");
  EXPECT_THAT(lists, ElementsAre("CHAN + Bob/ -", "SHFT + Day/ -"));
}

TEST_F(HarkUILists, TextsAreCutToTenCharacters) {
  Attached();
  Line("add HARKUI#desk.SEL#CHSEL TEXT=\"0123456789\", ALT=\"abcdefghij\"");
  Line("add HARKUI#desk.SEL#CHSEL TEXT=\"0123456789A\", ALT=\"abcdefghijk\"");
  Line("add HARKUI#desk.SEL#CALLS TEXT=\"" + std::string(300, 'x') + "\"");
  EXPECT_THAT(lists, ElementsAre("CHAN + 0123456789/abcdefghij -", "CHAN + 0123456789/abcdefghij -",
                                 "CALL + xxxxxxxxxx/ 0"));
}

TEST_F(HarkUILists, EmptyTextIsAnItemToo) {
  Attached();
  Line("add HARKUI#desk.SEL#CHSEL TEXT=\"\"");
  EXPECT_THAT(lists, ElementsAre("CHAN + / -"));
}

TEST_F(HarkUILists, WholeRefreshComesInItsOrder) {
  Attached();
  for (const char* line :
       {"$begin", "remove HARKUI#desk.SEL#CALLS", "add HARKUI#desk.SEL#CALLS TEXT=\"b\", IND=R",
        "add HARKUI#desk.SEL#CALLS TEXT=\"a\", IND=Off", "$end"})
    Line(line);
  EXPECT_THAT(lists, ElementsAre("CALL cleared", "CALL + b/ R", "CALL + a/ 0"));
}

TEST_F(HarkUILists, OtherLinesOfListsDoNothing) {
  Attached();
  for (const char* line : {
           "set HARKUI#desk.SEL#CALLS",
           "event HARKUI#desk.SEL#CALLS",
           "add HARKUI#desk.SEL#CALLS",
           "HARKUI#desk.SEL#CALLS",
           "SEL#CALLS",
           "remove SEL#CALLS",
           "remove HARKUI#desk.SEL#CALLS ",
           "remove HARKUI#desk.SEL#CALLS TEXT=\"Bob\"",
           "remove HARKUI#desk.SEL#CALLSX",
           "remove HARKUI#desk.SEL#CALL",
           "remove HARKUI#desk.SEL#OTHER",
           "set HARKUI#desk.SEL#CALLS TEXT=\"Bob\"",
           "event HARKUI#desk.SEL#CHSEL TEXT=\"Bob\"",
           "HARKUI#desk.SEL#SHIFT TEXT=\"Bob\"",
           "SEL#SHIFT TEXT=\"Bob\"",
           "add HARKUI#desk.SEL#CALLS ",
           "add HARKUI#desk.SEL#CALLS IND=On",
           "add HARKUI#desk.SEL#CHSEL ALT=\"x\"",
           "add HARKUI#desk.SEL#CALLS,TEXT=\"Bob\"",
           "add HARKUI#desk.SEL#CALLSTEXT=\"Bob\"",
           "add HARKUI#desk.SEL#OTHER TEXT=\"Bob\"",
           "add HARKUI#desk. SEL#CALLS TEXT=\"Bob\"",
       }) {
    SCOPED_TRACE(line);
    Line(line);
    EXPECT_TRUE(Silent());
  }
}

TEST_F(HarkUILists, ListsOfOthersAreDropped) {
  Attached();
  Line("remove HARKUI#gates.SEL#CALLS");
  Line("add HARKUI#gates.SEL#CALLS TEXT=\"Bob\"");
  EXPECT_TRUE(Silent());
}

}  // namespace
}  // namespace hark::test
