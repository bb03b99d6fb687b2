// Lines of a client that read and subscribe: which words are taken for an object, a number or a command, what
// the client is told, and what it is subscribed to afterwards.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "object_table.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Commands : public ObjectTable {
 protected:
  Commands() {
    Connect(3);
    Connect(7);
  }
};

std::vector<std::string> Family(const std::string& client, const std::string& name) {
  std::vector<std::string> lines{client + ":BEGIN|"};
  for (int i = 1; i <= 9; ++i)
    lines.push_back(client + ":" + name + " " + std::to_string(i) + " hhhhh|");
  lines.push_back(client + ":END|");
  return lines;
}

TEST_F(Commands, ReadOfOneIndexReportsOneLineAndSubscribesToItOnly) {
  EXPECT_EQ(Line("GPI 1", 3), 0);
  EXPECT_THAT(Sent(), ElementsAre("3:GPI 1 hhhhh|"));
  EXPECT_THAT(SubscriptionsOf(3), ElementsAre("GPI 0"));
  EXPECT_THAT(SubscriptionsOf(7), IsEmpty());
}

TEST_F(Commands, ReadOfAFamilyReportsNineLinesBetweenBeginAndEnd) {
  EXPECT_EQ(Line("GPI", 3), 0);
  EXPECT_EQ(Sent(), Family("3", "GPI"));
  EXPECT_EQ(SubscriptionsOf(3).size(), 10U);
}

TEST_F(Commands, ReadOfASingleObjectIsOneLineWithoutBeginAndEnd) {
  EXPECT_EQ(Line("IP", 3), 0);
  EXPECT_THAT(Sent(), ElementsAre("3:IP hostname studio|"));
  EXPECT_THAT(SubscriptionsOf(3), ElementsAre("IP -1"));
}

TEST_F(Commands, ReadIsNoPushToThePanelModel) {
  EXPECT_EQ(Line("GPI 1", 3), 0);
  EXPECT_EQ(Line("CFG", 3), 0);
  EXPECT_THAT(Heard(), IsEmpty());
}

TEST_F(Commands, NumberIsReadInTheBaseItShows) {
  EXPECT_EQ(Line("GPI 0x3", 3), 0);
  EXPECT_EQ(Line("GPI 07", 3), 0);
  EXPECT_THAT(Sent(), ElementsAre("3:GPI 3 hhhhh|", "3:GPI 7 hhhhh|"));
}

TEST_F(Commands, CfgIsPartOfTheObjectsNameInALongerLine) {
  EXPECT_EQ(Line("CFG GPO 2", 3), 0);
  EXPECT_THAT(Sent(), ElementsAre("3:CFG GPO 2 NAME:\"Aux 1\"|"));
  EXPECT_THAT(SubscriptionsOf(3), ElementsAre("CFG GPO 1"));
  EXPECT_EQ(Line("CFG GPO", 3), 0);
  EXPECT_THAT(Sent(), ElementsAre("3:BEGIN|", "3:CFG GPO 1 NAME:\"Aux 0\"|", "3:CFG GPO 2 NAME:\"Aux 1\"|",
                                  "3:END|"));
}

TEST_F(Commands, BlanksBehindANameOrItsNumberAreNothing) {
  EXPECT_EQ(Line("GPI 3  ", 3), 0);
  EXPECT_THAT(Sent(), ElementsAre("3:GPI 3 hhhhh|"));
  EXPECT_EQ(Line("GPI ", 3), 0);
  EXPECT_EQ(Sent(), Family("3", "GPI"));
}

TEST_F(Commands, UnknownLinesAreRefusedSilently) {
  for (const char* line : {"GPI 0",
                           "GPI 10",
                           "GPI x",
                           "GPI 3 x",
                           "GPI 3x",
                           "GPI -1",
                           "gpi",
                           "GPIX",
                           "GP",
                           "NONE",
                           "NONE 1",
                           "CFG NONE",
                           "CFG IP",
                           "IP 1",
                           "SUB",
                           "ADD",
                           "UNSUB",
                           "DEL",
                           "CFGX",
                           " GPI",
                           "HARKUI 1",
                           "ABCDEFGHIJKLMNOP",
                           "a name that is far longer than the fifteen characters of any object"}) {
    SCOPED_TRACE(line);
    EXPECT_EQ(Line(line, 3), -1);
    EXPECT_THAT(Sent(), IsEmpty());
    EXPECT_THAT(ListsAsked(), IsEmpty());
    EXPECT_THAT(SubscriptionsOf(3), IsEmpty());
  }
}

TEST_F(Commands, EmptyLinesAndCommentsAreHandledByDoingNothing) {
  for (const char* line : {"", "#", "# GPI", "#GPI 1"}) {
    EXPECT_EQ(Line(line, 3), 0) << line;
    EXPECT_THAT(Sent(), IsEmpty());
    EXPECT_THAT(SubscriptionsOf(3), IsEmpty());
  }
}

TEST_F(Commands, LongestNameIsFoundAndALongerWordIsNot) {
  ASSERT_GE(qnrdb_reg_obj(&qnrobjdb, "ABCDEFGHIJKLMNO", -1,
                          [](char* buf, std::size_t, int) {
                            buf[0] = 'x';
                            buf[1] = '\0';
                            return 1;
                          }),
            0);
  EXPECT_EQ(Line("ABCDEFGHIJKLMNO", 3), 0);
  EXPECT_THAT(Sent(), ElementsAre("3:ABCDEFGHIJKLMNO x|"));
  EXPECT_EQ(Line("UNSUB ABCDEFGHIJKLMNO", 3), 0);
  EXPECT_EQ(Line("ABCDEFGHIJKLMNOP", 3), -1);
  EXPECT_EQ(Line("SUB ABCDEFGHIJKLMNOP", 3), 0);
  EXPECT_THAT(Sent(), IsEmpty());
  EXPECT_THAT(SubscriptionsOf(3), IsEmpty());
}

TEST_F(Commands, CfgSendsEverythingOnceAndSubscribesToNothing) {
  for (const char* line : {"CFG", "cfg", "Cfg"}) {
    SCOPED_TRACE(line);
    std::vector<std::string> want{"3:BEGIN|", "3:SET  |", "3:IP hostname studio|"};
    for (const char* name : {"GPI", "GPO"}) {
      for (int i = 1; i <= 9; ++i)
        want.push_back("3:" + std::string(name) + " " + std::to_string(i) + " hhhhh|");
    }
    want.insert(want.end(), {"3:CFG GPO 1 NAME:\"Aux 0\"|", "3:CFG GPO 2 NAME:\"Aux 1\"|", "3:QUIET 1|",
                             "3:QUIET 2|", "3:END|"});
    EXPECT_EQ(Line(line, 3), 0);
    EXPECT_EQ(Sent(), want);
    EXPECT_THAT(SubscriptionsOf(3), IsEmpty());
    EXPECT_THAT(ListsAsked(), IsEmpty());
  }
}

TEST_F(Commands, ListsAnswerForThemselvesAndAreSubscribed) {
  EXPECT_EQ(Line("CALL", 3), 0);
  EXPECT_EQ(Line("HARKUI", 7), 0);
  EXPECT_THAT(ListsAsked(), ElementsAre("CALL 3", "HARKUI 7"));
  EXPECT_THAT(Sent(), IsEmpty());
  EXPECT_THAT(SubscriptionsOf(3), ElementsAre("CALL -1"));
  EXPECT_THAT(SubscriptionsOf(7), ElementsAre("HARKUI -1"));
}

TEST_F(Commands, SubTakesANumberAsTheIndexOfTheNameBeforeIt) {
  EXPECT_EQ(Line("SUB GPI 2 GPO", 3), 0);
  std::vector<std::string> want{"3:GPI 2 hhhhh|"};
  for (const std::string& line : Family("3", "GPO"))
    want.push_back(line);
  EXPECT_EQ(Sent(), want);
  EXPECT_EQ(SubscriptionsOf(3).size(), 11U);
  EXPECT_EQ(SubscriptionsOf(3).front(), "GPI 1");
}

TEST_F(Commands, SubAndAddAreTheSameInAnyCase) {
  for (const char* line : {"SUB GPI 4", "ADD GPI 4", "sub GPI 4", "Add GPI 4"}) {
    SCOPED_TRACE(line);
    ASSERT_EQ(qnrdb_sub_set(&qnrobjdb, nullptr, -1, 3, false), 1);
    EXPECT_EQ(Line(line, 3), 0);
    EXPECT_THAT(Sent(), ElementsAre("3:GPI 4 hhhhh|"));
    EXPECT_THAT(SubscriptionsOf(3), ElementsAre("GPI 3"));
  }
}

TEST_F(Commands, UnsubAndDelAreTheSameInAnyCaseAndReportNothing) {
  for (const char* line : {"UNSUB GPI 4", "DEL GPI 4", "unsub GPI 4", "Del GPI 4"}) {
    SCOPED_TRACE(line);
    ASSERT_EQ(qnrdb_sub_set(&qnrobjdb, "GPI", 3, 3, true), 1);
    ASSERT_EQ(qnrdb_sub_set(&qnrobjdb, "GPI", 4, 3, true), 1);
    EXPECT_EQ(Line(line, 3), 0);
    EXPECT_THAT(Sent(), IsEmpty());
    EXPECT_THAT(SubscriptionsOf(3), ElementsAre("GPI 4"));
  }
}

TEST_F(Commands, SubListReadsItsWords) {
  struct Row {
    const char* line;
    std::vector<std::string> subscribed;
  };
  for (const Row& row :
       {Row{"SUB GPI 2 GPI 5", {"GPI 1", "GPI 4"}}, Row{"SUB IP SET", {"SET -1", "IP -1"}},
        Row{"SUB NONE IP", {"IP -1"}}, Row{"SUB NONE 3 IP", {"IP -1"}}, Row{"SUB 3 IP", {"IP -1"}},
        Row{"SUB   IP", {"IP -1"}}, Row{"SUB IP   SET", {"SET -1", "IP -1"}}, Row{"SUB GPI 0x2", {"GPI 1"}},
        Row{"SUB GPI 10 IP", {"IP -1"}}, Row{"SUB QUIET 0", {"QUIET -1", "QUIET 0", "QUIET 1"}},
        Row{"SUB QUIET 2x", {"QUIET -1", "QUIET 0", "QUIET 1"}},
        Row{"SUB a_word_longer_than_a_name IP", {"IP -1"}}, Row{"SUB GPI,IP", {}}, Row{"SUB ", {}},
        Row{"SUB gpi", {}}}) {
    SCOPED_TRACE(row.line);
    ASSERT_EQ(qnrdb_sub_set(&qnrobjdb, nullptr, -1, 3, false), 1);
    EXPECT_EQ(Line(row.line, 3), 0);
    EXPECT_EQ(SubscriptionsOf(3), row.subscribed);
  }
}

TEST_F(Commands, SubOfTheListsAsksForThem) {
  EXPECT_EQ(Line("SUB CALL HARKUI", 3), 0);
  EXPECT_THAT(ListsAsked(), ElementsAre("CALL 3", "HARKUI 3"));
  EXPECT_THAT(SubscriptionsOf(3), ElementsAre("CALL -1", "HARKUI -1"));
}

}  // namespace
}  // namespace hark
