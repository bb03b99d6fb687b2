// The list of parties: what a letter of a report means, how a party's state changes, how long it counts as in
// recent contact and when it is forgotten.
#include "panel/party.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <vector>

#include "daemon/station/station.h"
#include "support/test_clock.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr TimeUs kTimeout = 60 * kUsPerSecond;

class Parties : public ::testing::Test {
 protected:
  Parties() { station_reset(); }
  ~Parties() override { station_reset(); }

  // Whether the party was in recent contact.
  bool Set(const std::string& label, unsigned set, unsigned mask = 0xFF) {
    change = icconnections_set(list, label, static_cast<std::uint8_t>(set), static_cast<std::uint8_t>(mask));
    return change.recent;
  }
  unsigned Get(const std::string& label) { return icconnections_get(list, label); }
  std::vector<std::string> Names() {
    std::vector<std::string> out;
    for (const ICCONNECTION& party : list)
      out.push_back(party.label);
    return out;
  }

  TestClock clock;
  PartyList list;
  PartyChange change;
};

TEST_F(Parties, LettersHaveAStateForEachHalf) {
  struct Row {
    char letter;
    int listen, talk;
  };
  for (const Row& row : {Row{'1', 1, 16}, {'R', 2, 32}, {'r', 4, 64}, {'d', 8, 128}}) {
    SCOPED_TRACE(row.letter);
    EXPECT_EQ(listen_state(row.letter), row.listen);
    EXPECT_EQ(talk_state(row.letter), row.talk);
  }
  for (int c = 0; c < 256; ++c) {
    const char letter = static_cast<char>(c);
    if (std::string("1Rrd").find(letter) != std::string::npos) continue;
    SCOPED_TRACE(c);
    EXPECT_EQ(listen_state(letter), 0);
    EXPECT_EQ(talk_state(letter), 0);
  }
}

TEST_F(Parties, ConstantsAreTheBitsOfBothHalves) {
  EXPECT_EQ(kListenOn | kListenRingsIn | kListenRingsOut | kListenDropped, kListenBits);
  EXPECT_EQ(kTalkOn | kTalkRingsIn | kTalkRingsOut | kTalkDropped, kTalkBits);
  EXPECT_EQ(kListenBits ^ kTalkBits, 0xFF);
}

TEST_F(Parties, StateMakesAPartyAtTheHead) {
  EXPECT_FALSE(Set("Bob", kTalkOn, kTalkBits));
  ASSERT_NE(change.party, nullptr);
  EXPECT_EQ(change.party->label, "Bob");
  EXPECT_EQ(change.party->status, kTalkOn);
  EXPECT_FALSE(Set("Ann", kListenRingsIn, kListenBits));
  EXPECT_THAT(Names(), ElementsAre("Ann", "Bob"));
  EXPECT_EQ(Get("Bob"), 16U);
  EXPECT_EQ(Get("Ann"), 2U);
}

TEST_F(Parties, NoStateMakesNoParty) {
  EXPECT_FALSE(Set("Bob", 0));
  EXPECT_EQ(change.party, nullptr);
  EXPECT_FALSE(Set("Bob", kTalkOn, kListenBits));
  EXPECT_EQ(change.party, nullptr);
  EXPECT_THAT(list, IsEmpty());
}

TEST_F(Parties, EmptyMaskChangesNothingAndForgetsNobody) {
  Set("Bob", kTalkOn);
  Set("Bob", 0);
  clock.AdvanceUs(kTimeout + 1);
  EXPECT_FALSE(Set("Bob", 0xFF, 0));
  EXPECT_EQ(change.party, nullptr);
  EXPECT_THAT(Names(), ElementsAre("Bob"));
  EXPECT_EQ(Get("Bob"), 0U);
}

TEST_F(Parties, OnlyTheBitsOfTheMaskAreReplaced) {
  Set("Bob", kTalkOn | kListenRingsIn);
  Set("Bob", kListenOn, kListenBits);
  EXPECT_EQ(Get("Bob"), 17U);
  Set("Bob", 0, kTalkBits);
  EXPECT_EQ(Get("Bob"), 1U);
  EXPECT_EQ(list.size(), 1U);
}

TEST_F(Parties, StateOfNobodyIsNone) {
  Set("Bob", kTalkOn);
  EXPECT_EQ(Get("Bobby"), 0U);
  EXPECT_EQ(Get("bob"), 0U);
  EXPECT_EQ(Get(""), 0U);
}

TEST_F(Parties, AnyStateIsActive) {
  EXPECT_FALSE(icconnections_anyactive(list));
  Set("Ann", kListenOn);
  Set("Ann", 0);
  EXPECT_FALSE(icconnections_anyactive(list));
  for (unsigned bit = 1; bit < 256; bit <<= 1) {
    SCOPED_TRACE(bit);
    Set("Bob", bit);
    EXPECT_TRUE(icconnections_anyactive(list));
    Set("Bob", 0);
    EXPECT_FALSE(icconnections_anyactive(list));
  }
}

TEST_F(Parties, OnlyAPartyThatWasOnIsAnswered) {
  for (unsigned bit = 1; bit < 256; bit <<= 1) {
    SCOPED_TRACE(bit);
    list.clear();
    Set("Bob", bit);
    const bool on = bit == 1 || bit == 16;
    EXPECT_EQ(change.party->answered, on);
    EXPECT_EQ(Set("Bob", bit), on);
  }
}

TEST_F(Parties, RecentTellsOfTheTimeBefore) {
  EXPECT_FALSE(Set("Bob", kTalkOn));
  EXPECT_TRUE(Set("Bob", kListenRingsIn, kListenBits));
  EXPECT_TRUE(Set("Bob", 0));
  EXPECT_TRUE(Set("Bob", kTalkRingsIn));
  EXPECT_FALSE(Set("Ann", kTalkRingsIn));
}

TEST_F(Parties, APartyThatIsOnStaysRecentHoweverLong) {
  Set("Bob", kTalkOn);
  clock.AdvanceUs(100 * kTimeout);
  EXPECT_TRUE(Set("Bob", kListenRingsIn, kListenBits));
  EXPECT_THAT(Names(), ElementsAre("Bob"));
}

TEST_F(Parties, RecentEndsAtTheTimeAndThePartyIsForgottenAfterIt) {
  struct Row {
    TimeUs passed;
    bool recent;
    std::size_t left;
  };
  for (const Row& row :
       {Row{0, true, 1}, {kTimeout - 1, true, 1}, {kTimeout, false, 1}, {kTimeout + 1, false, 0}}) {
    SCOPED_TRACE(row.passed);
    list.clear();
    Set("Bob", kTalkOn);
    Set("Bob", 0);
    clock.AdvanceUs(row.passed);
    EXPECT_EQ(Set("Bob", 0), row.recent);
    EXPECT_EQ(list.size(), row.left);
    EXPECT_EQ(change.party != nullptr, row.left == 1);
  }
}

// The elapsed time is a signed number of 32 bits: it wraps after 35 minutes.
TEST_F(Parties, ElapsedTimeWraps) {
  constexpr TimeUs kHalf = TimeUs{1} << 31;
  struct Row {
    TimeUs passed;
    bool recent;
    std::size_t left;
  };
  for (const Row& row : {Row{kHalf - 1, false, 0},
                         {kHalf, true, 1},
                         {2 * kHalf - 1, true, 1},
                         {2 * kHalf + kTimeout - 1, true, 1},
                         {2 * kHalf + kTimeout + 1, false, 0}}) {
    SCOPED_TRACE(row.passed);
    list.clear();
    Set("Bob", kTalkOn);
    Set("Bob", 0);
    clock.AdvanceUs(row.passed);
    EXPECT_EQ(Set("Bob", 0), row.recent);
    EXPECT_EQ(list.size(), row.left);
  }
}

TEST_F(Parties, TimeOfARecentCallIsASetting) {
  station.hark_recentcall_timeout_us = 5000;
  Set("Bob", kTalkOn);
  Set("Bob", 0);
  clock.AdvanceUs(4999);
  EXPECT_TRUE(Set("Bob", 0));
  clock.AdvanceUs(2);
  EXPECT_FALSE(Set("Bob", 0));
  EXPECT_THAT(list, IsEmpty());
}

TEST_F(Parties, AnyChangeForgetsWhoIsIdleForLong) {
  Set("Bob", kTalkOn);
  Set("Cat", kTalkOn);
  Set("Bob", 0);
  clock.AdvanceUs(kTimeout + 1);
  Set("Ann", kTalkOn);
  EXPECT_THAT(Names(), ElementsAre("Ann", "Cat"));
}

TEST_F(Parties, EveryStateButADropKeepsAPartyFromBeingIdle) {
  for (unsigned bit = 1; bit < 256; bit <<= 1) {
    SCOPED_TRACE(bit);
    list.clear();
    Set("Bob", bit);
    EXPECT_EQ(change.party->idle, bit == 8 || bit == 128);
  }
}

TEST_F(Parties, IdleTimeRunsFromTheFirstIdleMoment) {
  Set("Bob", kTalkOn);
  Set("Bob", kTalkDropped);
  const TimeUs dropped = clock.Now();
  clock.AdvanceUs(5 * kUsPerSecond);
  Set("Bob", 0);
  EXPECT_EQ(change.party->idle_since, dropped);
  clock.AdvanceUs(kTimeout - 5 * kUsPerSecond + 1);
  Set("Ann", kTalkOn);
  EXPECT_THAT(Names(), ElementsAre("Ann"));
}

TEST_F(Parties, BeingOnAgainEndsIdleness) {
  Set("Bob", kTalkOn);
  Set("Bob", 0);
  clock.AdvanceUs(kTimeout - 1);
  Set("Bob", kListenOn);
  EXPECT_FALSE(change.party->idle);
  clock.AdvanceUs(kTimeout);
  EXPECT_TRUE(Set("Bob", 0));
  EXPECT_EQ(change.party->idle_since, clock.Now());
}

// Ringing neither ends nor restarts the idle time of a party: who rings unanswered for that long is new.
TEST_F(Parties, RingingDoesNotRestartTheIdleTime) {
  Set("Bob", kTalkOn);
  Set("Bob", 0);
  clock.AdvanceUs(kTimeout - 1);
  EXPECT_TRUE(Set("Bob", kTalkRingsIn));
  EXPECT_TRUE(change.party->idle);
  clock.AdvanceUs(2);
  EXPECT_FALSE(Set("Bob", kTalkRingsIn));
  EXPECT_FALSE(change.party->answered);
  EXPECT_THAT(Names(), ElementsAre("Bob"));
}

TEST_F(Parties, PartiesStayWhereTheyAre) {
  Set("Bob", kTalkOn);
  const ICCONNECTION* bob = change.party;
  Set("Cat", kTalkOn);
  Set("Cat", 0);
  clock.AdvanceUs(kTimeout + 1);
  Set("Ann", kTalkOn);
  Set("Bob", 0);
  EXPECT_EQ(change.party, bob);
}

}  // namespace
}  // namespace hark
