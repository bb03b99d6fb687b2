// Reports of contacts that changed: who hears of which port, in which letters, and when; outputs reach the
// contact logic of the routing client as well.
#include "daemon/station/station.h"
#include "routing/qnr_gpio.h"
#include "routing/routing_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class QnrGpioNotify : public SubscriberTest {
 protected:
  QnrGpioNotify() { Subscribe(0, "GPI GPO"); }
};

TEST_F(QnrGpioNotify, NothingIsReportedAtRest) {
  for (int i = 0; i < 3; ++i)
    Pass();
  EXPECT_THAT(Lines(), IsEmpty());
  EXPECT_THAT(asked.model, IsEmpty());
}

TEST_F(QnrGpioNotify, OutputIsReportedByItsCommand) {
  ASSERT_EQ(Contacts("GPO 2 LxxHx", 1), 0);
  EXPECT_EQ(Text(), "GPO 2 Lhhhh\r\n");
  EXPECT_THAT(asked.model, ElementsAre("GPO 2 Lhhhh\r\n"));
  ASSERT_EQ(Contacts("GPO 2 xLxxx", 1), 0);
  EXPECT_EQ(Text(), "GPO 2 lLhhh\r\n");
  Pass();
  EXPECT_EQ(Text(), "");
}

TEST_F(QnrGpioNotify, InputIsReportedOnce) {
  ASSERT_EQ(Contacts("GPI 9 xxLxL", 1), 0);
  Pass();
  EXPECT_EQ(Text(), "GPI 9 hhLhL\r\n");
  ASSERT_EQ(Contacts("GPI 9 xxHxL", 1), 0);
  Pass();
  EXPECT_EQ(Text(), "GPI 9 hhHhl\r\n");
  Pass();
  EXPECT_EQ(Text(), "");
}

TEST_F(QnrGpioNotify, LevelThatStandsAlreadyIsNotReported) {
  ASSERT_EQ(Contacts("GPO 2 HHHHH", 1), 0);
  ASSERT_EQ(Contacts("GPI 2 hhhhh", 1), 0);
  Pass();
  EXPECT_EQ(Text(), "");
}

TEST_F(QnrGpioNotify, EndOfAPulseIsReportedByThePass) {
  ASSERT_EQ(Contacts("GPO 1 LxxHx DURATION:100", 1), 0);
  EXPECT_EQ(Text(), "GPO 1 Lhhhh\r\n");
  clock.AdvanceMs(101);
  Pass();
  EXPECT_EQ(Text(), "GPO 1 HhhLh\r\n");
  Pass();
  EXPECT_EQ(Text(), "");
}

// The level byte 0 also marks a port that was never reported, so such a port is news on every pass.
TEST_F(QnrGpioNotify, PortWithAllPinsLowIsReportedOnEveryPass) {
  ASSERT_EQ(Contacts("GPI 3 LLLLL", 1), 0);
  ASSERT_EQ(Contacts("GPO 4 LLLLL", 1), 0);
  (void)Text();
  for (int pass = 0; pass < 3; ++pass) {
    SCOPED_TRACE(pass);
    Pass();
    EXPECT_EQ(Text(), "GPI 3 LLLLL\r\nGPO 4 LLLLL\r\n");
  }
  // One pin up again: the others count as changed for the last time.
  ASSERT_EQ(Contacts("GPI 3 Hxxxx", 1), 0);
  ASSERT_EQ(Contacts("GPO 4 Hxxxx", 1), 0);
  Pass();
  EXPECT_THAT(Lines(), ::testing::IsSupersetOf({"GPI 3 hLLLL", "GPO 4 hLLLL"}));
  Pass();
  EXPECT_EQ(Text(), "");
}

TEST_F(QnrGpioNotify, ChangeReachesSubscribersOfThatPortOnly) {
  Subscribe(1, "GPI 5");
  Subscribe(2, "GPI 4");
  ASSERT_EQ(Contacts("GPI 5 L", 0), 0);
  Pass();
  EXPECT_EQ(Text(0), "GPI 5 Lhhhh\r\n");
  EXPECT_EQ(Text(1), "GPI 5 Lhhhh\r\n");
  EXPECT_EQ(Text(2), "");
}

TEST_F(QnrGpioNotify, ClientThatChangesIsToldOnlyWhenItSubscribed) {
  ASSERT_EQ(Contacts("GPO 5 L", 1), 0);
  Pass();
  EXPECT_EQ(Text(1), "");
}

TEST_F(QnrGpioNotify, OutputsActAsIfTheRoutingDaemonHadReportedThem) {
  ASSERT_EQ(Contacts("GPO 1 xLxxx", 1), 0);
  EXPECT_TRUE(station.harkd_onair);
  EXPECT_THAT(asked.speaker, ElementsAre("mute"));
  ASSERT_EQ(Contacts("GPO 1 xHxxx", 1), 0);
  EXPECT_FALSE(station.harkd_onair);
  EXPECT_THAT(asked.speaker, ElementsAre("mute", "open"));
  const SourceFile sources("quillnet:239.192.0.7;gpio=2;gpiot=4\n");
  ASSERT_EQ(Contacts("GPO 3 xxxLx", 1), 0);
  EXPECT_THAT(asked.remote, ElementsAre("2 quillnet:239.192.0.7 1"));
}

TEST_F(QnrGpioNotify, InputsDoNotActOnTheStation) {
  ASSERT_EQ(Contacts("GPI 1 LLxxx", 1), 0);
  Pass();
  EXPECT_FALSE(station.harkd_onair);
  EXPECT_THAT(asked.speaker, IsEmpty());
}

// With the intercom's contacts higher up at the routing daemon, port 1 here is not the station's own there.
TEST_F(QnrGpioNotify, OutputsAreOurOwnPortOnlyWhereItsChannelIsTheBase) {
  station.harkd_qnrd_gpio_base = 16;
  ASSERT_EQ(Contacts("GPO 1 xLxxx", 1), 0);
  EXPECT_FALSE(station.harkd_onair);
}

}  // namespace
}  // namespace hark
