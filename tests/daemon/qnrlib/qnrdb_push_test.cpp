// Reports and pushes: who receives what, in which order, and that the panel model hears each push first.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "object_table.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Pushes : public ObjectTable {
 protected:
  static void Subscribe(int client, const char* name, int index) {
    Connect(client);
    EXPECT_EQ(qnrdb_sub_set(&qnrobjdb, name, index, client, true), 1);
  }
};

TEST_F(Pushes, PushOfAnIndexReachesThoseSubscribedToThatRow) {
  Subscribe(2, "GPI", 4);
  Subscribe(3, "GPI", 3);
  Subscribe(5, "GPI", -1);
  Subscribe(6, "GPO", -1);
  Connect(9);
  EXPECT_EQ(qnrdb_indi(kAllConnections, "GPI", 4, nullptr), 0);
  EXPECT_THAT(Sent(), ElementsAre("2:GPI 5 hhhhh|", "5:GPI 5 hhhhh|"));
  EXPECT_THAT(Heard(), ElementsAre("GPI 5 hhhhh|"));
}

TEST_F(Pushes, FamilyGoesOutAsAllBeginsThenAllTextsThenAllEnds) {
  Subscribe(2, "CFG GPO", -1);
  Subscribe(5, "CFG GPO", -1);
  EXPECT_EQ(qnrdb_indi(kAllConnections, "CFG GPO", -1, nullptr), 0);
  EXPECT_THAT(Sent(), ElementsAre("2:BEGIN|", "5:BEGIN|", "2:CFG GPO 1 NAME:\"Aux 0\"|",
                                  "2:CFG GPO 2 NAME:\"Aux 1\"|", "5:CFG GPO 1 NAME:\"Aux 0\"|",
                                  "5:CFG GPO 2 NAME:\"Aux 1\"|", "2:END|", "5:END|"));
  EXPECT_THAT(Heard(), ElementsAre("CFG GPO 1 NAME:\"Aux 0\"|", "CFG GPO 2 NAME:\"Aux 1\"|"));
}

TEST_F(Pushes, PushOfAFamilyGivesEachConnectionItsOwnRowsOnly) {
  Subscribe(2, "CFG GPO", 1);
  Subscribe(5, "GPI", -1);
  EXPECT_EQ(qnrdb_indi(kAllConnections, "CFG GPO", -1, nullptr), 0);
  EXPECT_THAT(Sent(), ElementsAre("2:BEGIN|", "2:CFG GPO 2 NAME:\"Aux 1\"|", "2:END|"));
}

TEST_F(Pushes, ThePanelModelHearsBeforeAnyConnection) {
  Subscribe(2, "IP", -1);
  static bool heard_first = false;
  qnrdb_hooks.model_receive = [](const char*) { heard_first = Sent().empty(); };
  EXPECT_EQ(qnrdb_indi(kAllConnections, "IP", -1, nullptr), 0);
  EXPECT_TRUE(heard_first);
  EXPECT_THAT(Sent(), ElementsAre("2:IP hostname studio|"));
  heard_first = false;
  EXPECT_EQ(qnrdb_indi(kAllConnections, "IP", -1, "IP moved\r\n"), 0);
  EXPECT_TRUE(heard_first);
  EXPECT_THAT(Sent(), ElementsAre("2:IP moved|"));
}

// A call that the model answers while it hears of it was once told as answered first and as ringing last.
TEST_F(Pushes, ReportThatTheModelCausesFollowsTheOneThatItHeard) {
  Subscribe(2, "CALL", -1);
  Subscribe(5, "CALL", -1);
  Subscribe(5, "IP", -1);
  static std::vector<std::string> heard;
  heard.clear();
  qnrdb_hooks.model_receive = [](const char* text) {
    heard.emplace_back(text);
    if (heard.size() == 1) {
      (void)qnrdb_indi(kAllConnections, "CALL", -1, "CALL answered\r\n");
      (void)qnrdb_indi(kAllConnections, "IP", -1, nullptr);
    } else if (heard.size() == 2) {
      (void)qnrdb_indi(kAllConnections, "CALL", -1, "CALL dropped\r\n");
    }
  };
  EXPECT_EQ(qnrdb_indi(kAllConnections, "CALL", -1, "CALL rings\r\n"), 0);
  EXPECT_THAT(heard, ElementsAre("CALL rings\r\n", "CALL answered\r\n", "CALL dropped\r\n",
                                 "IP hostname studio\r\n"));
  EXPECT_THAT(Sent(), ElementsAre("2:CALL rings|", "5:CALL rings|", "2:CALL answered|", "5:CALL answered|",
                                  "2:CALL dropped|", "5:CALL dropped|", "5:IP hostname studio|"));
  EXPECT_EQ(qnrdb_indi(kAllConnections, "CALL", -1, "CALL again\r\n"), 0);
  EXPECT_THAT(Sent(), ElementsAre("2:CALL again|", "5:CALL again|")) << "nothing waits any longer";
}

TEST_F(Pushes, ThePanelModelHearsWithoutAnySubscriber) {
  EXPECT_EQ(qnrdb_indi(kAllConnections, "GPO", 0, nullptr), 0);
  EXPECT_THAT(Heard(), ElementsAre("GPO 1 hhhhh|"));
  EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(Pushes, GivenTextGoesOutAsItStandsToSubscribers) {
  Subscribe(2, "CALL", -1);
  Subscribe(5, "GPI", -1);
  EXPECT_EQ(qnrdb_indi(kAllConnections, "CALL", -1, "CALL 1 anything\r\n"), 0);
  EXPECT_THAT(Sent(), ElementsAre("2:CALL 1 anything|"));
  EXPECT_THAT(Heard(), ElementsAre("CALL 1 anything|"));
}

TEST_F(Pushes, GivenTextOfAFamilyLooksAtTheFirstRowsSubscription) {
  Subscribe(2, "GPI", 4);
  Subscribe(5, "GPI", -1);
  EXPECT_EQ(qnrdb_indi(kAllConnections, "GPI", -1, "GPI all\r\n"), 0);
  EXPECT_THAT(Sent(), ElementsAre("5:GPI all|"));
  EXPECT_EQ(qnrdb_indi(kAllConnections, "GPI", 4, "GPI 5 now\r\n"), 0);
  EXPECT_THAT(Sent(), ElementsAre("2:GPI 5 now|", "5:GPI 5 now|"));
}

TEST_F(Pushes, GivenTextWithoutANameGoesToAllOpenConnections) {
  Connect(2);
  Connect(5);
  EXPECT_EQ(qnrdb_indi(kAllConnections, nullptr, -1, "HELLO\r\n"), 0);
  EXPECT_THAT(Sent(), ElementsAre("2:HELLO|", "5:HELLO|"));
}

TEST_F(Pushes, EmptyGivenTextGoesNowhere) {
  Subscribe(2, "IP", -1);
  EXPECT_EQ(qnrdb_indi(kAllConnections, "IP", -1, ""), 0);
  EXPECT_EQ(qnrdb_indi(2, "IP", -1, ""), 0);
  EXPECT_THAT(Sent(), IsEmpty());
  EXPECT_THAT(Heard(), IsEmpty());
}

TEST_F(Pushes, ReportToOneConnectionNeedsNoSubscription) {
  Connect(2);
  Connect(5);
  EXPECT_EQ(qnrdb_indi(5, "GPI", 4, nullptr), 0);
  EXPECT_EQ(qnrdb_indi(5, "IP", -1, "IP moved\r\n"), 0);
  EXPECT_THAT(Sent(), ElementsAre("5:GPI 5 hhhhh|", "5:IP moved|"));
  EXPECT_THAT(Heard(), IsEmpty());
}

TEST_F(Pushes, PushOfTheListsIsNoRequestForThem) {
  Subscribe(2, "CALL", -1);
  Subscribe(2, "HARKUI", -1);
  EXPECT_EQ(qnrdb_indi(kAllConnections, "CALL", -1, nullptr), 0);
  EXPECT_EQ(qnrdb_indi(kAllConnections, "HARKUI", -1, nullptr), 0);
  EXPECT_THAT(ListsAsked(), IsEmpty());
  EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(Pushes, FamilyWithNothingToSendHasNoBeginAndEnd) {
  Subscribe(2, "CFG GPO", -1);
  for (QnrObject& object : qnrobjdb.objs)
    object.get = nullptr;
  EXPECT_EQ(qnrdb_indi(kAllConnections, "CFG GPO", -1, nullptr), 0);
  EXPECT_EQ(qnrdb_indi(2, "CFG GPO", -1, nullptr), 0);
  EXPECT_THAT(Sent(), IsEmpty());
  EXPECT_THAT(Heard(), IsEmpty());
}

TEST_F(Pushes, ClosedConnectionsReceiveNothing) {
  Subscribe(2, "IP", -1);
  Subscribe(5, "IP", -1);
  Subscribe(5, "CALL", -1);
  Disconnect(5);
  EXPECT_EQ(qnrdb_indi(kAllConnections, "IP", -1, nullptr), 0);
  EXPECT_THAT(Sent(), ElementsAre("2:IP hostname studio|"));
  EXPECT_EQ(qnrdb_indi(5, "IP", -1, nullptr), 0);
  EXPECT_EQ(qnrdb_indi(5, "IP", -1, "IP moved\r\n"), 0);
  EXPECT_EQ(qnrdb_indi(5, "CALL", -1, nullptr), 0);
  EXPECT_THAT(Sent(), IsEmpty());
  EXPECT_THAT(ListsAsked(), IsEmpty());
}

TEST_F(Pushes, TheFirstAndTheLastConnectionAreServed) {
  Subscribe(0, "IP", -1);
  Subscribe(15, "IP", -1);
  EXPECT_EQ(qnrdb_indi(kAllConnections, "IP", -1, nullptr), 0);
  EXPECT_THAT(Sent(), ElementsAre("0:IP hostname studio|", "15:IP hostname studio|"));
}

TEST_F(Pushes, TheDaemonsOwnCommandsHaveNobodyToTell) {
  Subscribe(2, "IP", -1);
  EXPECT_EQ(qnrdb_indi(kInternalConnection, "IP", -1, nullptr), 0);
  EXPECT_EQ(qnrdb_indi(kInternalConnection, "IP", -1, "IP moved\r\n"), 0);
  EXPECT_THAT(Sent(), IsEmpty());
  EXPECT_THAT(Heard(), IsEmpty());
}

TEST_F(Pushes, BadConnectionsAreRefused) {
  Subscribe(2, "IP", -1);
  for (const int client : {16, 17, 1000, -3}) {
    EXPECT_EQ(qnrdb_indi(client, "IP", -1, nullptr), -1) << client;
  }
  EXPECT_THAT(Sent(), IsEmpty());
  EXPECT_THAT(Heard(), IsEmpty());
}

TEST_F(Pushes, UnknownNameReachesNobody) {
  Subscribe(2, "IP", -1);
  (void)qnrdb_indi(kAllConnections, "NONE", -1, nullptr);
  (void)qnrdb_indi(2, "NONE", -1, nullptr);
  EXPECT_THAT(Sent(), IsEmpty());
  EXPECT_THAT(Heard(), IsEmpty());
}

}  // namespace
}  // namespace hark
