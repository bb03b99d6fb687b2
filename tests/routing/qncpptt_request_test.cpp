// What goes out for a talk: the press, its renewals and the release, byte for byte and at their times.
#include <arpa/inet.h>

#include <array>
#include <cerrno>

#include "routing/ptt_fixture.h"

namespace hark {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

using PttRequest = PttOpen;

TEST_F(PttRequest, PressAndReleaseStandAsDevicesReadThem) {
  EXPECT_EQ(qncpptt_set(0, 1234, 77), 0);
  EXPECT_EQ(qncpptt_clr(0), 0);
  EXPECT_THAT(Sent(), ElementsAre("EVENT QnCH#1234 ptt=[DOWN,77,5000]", "EVENT QnCH#1234 ptt=[UP,77,0]"));
  EXPECT_THAT(logged, ElementsAre("6 PTT req: EVENT QnCH#1234 ptt=[DOWN,77,5000]",
                                  "6 PTT req: EVENT QnCH#1234 ptt=[UP,77,0]"));
}

TEST_F(PttRequest, ChannelsAreUnsigned) {
  EXPECT_EQ(qncpptt_set(0, 4294967295U, 32767), 0);
  EXPECT_EQ(qncpptt_set(1, 1, 4294967295U), 0);
  EXPECT_THAT(Sent(), ElementsAre("EVENT QnCH#4294967295 ptt=[DOWN,32767,5000]",
                                  "EVENT QnCH#1 ptt=[DOWN,4294967295,5000]"));
}

TEST_F(PttRequest, IsRepeatedAfter50MsAndThenEvery2Seconds) {
  EXPECT_EQ(qncpptt_set(0, 5, 7), 0);
  EXPECT_THAT(Sent(), ElementsAre(Down(5, 7)));
  Pass();
  clock.AdvanceUs(49'999);
  Pass();
  EXPECT_THAT(Sent(), IsEmpty());
  clock.AdvanceUs(1);
  Pass();
  Pass();
  EXPECT_THAT(Sent(), ElementsAre(Down(5, 7)));
  for (int i = 0; i < 5; ++i) {
    SCOPED_TRACE(i);
    clock.AdvanceUs(1'999'999);
    Pass();
    EXPECT_THAT(Sent(), IsEmpty());
    clock.AdvanceUs(1);
    Pass();
    Pass();
    EXPECT_THAT(Sent(), ElementsAre(Down(5, 7)));
  }
}

TEST_F(PttRequest, LatePassRenewsOnceAndCountsFromThere) {
  EXPECT_EQ(qncpptt_set(0, 5, 7), 0);
  PassAfterMs(7'300);
  EXPECT_THAT(Sent(), ElementsAre(Down(5, 7), Down(5, 7)));
  PassAfterMs(1'999);
  EXPECT_THAT(Sent(), IsEmpty());
  PassAfterMs(1);
  EXPECT_THAT(Sent(), ElementsAre(Down(5, 7)));
}

TEST_F(PttRequest, ReleaseWithin50MsSendsDownAndUpOnly) {
  EXPECT_EQ(qncpptt_set(0, 5, 7), 0);
  PassAfterMs(49);
  EXPECT_EQ(qncpptt_clr(0), 0);
  for (int i = 0; i < 10; ++i)
    PassAfterMs(1'000);
  EXPECT_THAT(Sent(), ElementsAre(Down(5, 7), Up(5, 7)));
  EXPECT_THAT(reports, IsEmpty());
}

TEST_F(PttRequest, ReleaseEndsTheRenewalsAndFreesThePort) {
  EXPECT_EQ(qncpptt_set(0, 5, 7), 0);
  PassAfterMs(50);
  PassAfterMs(1'000);
  EXPECT_EQ(qncpptt_clr(0), 0);
  EXPECT_EQ(Port(0).dst, 0U);
  EXPECT_EQ(Port(0).src, 0U);
  EXPECT_EQ(qncpptt_clr(0), 0);
  PassAfterMs(10'000);
  EXPECT_THAT(Sent(), ElementsAre(Down(5, 7), Down(5, 7), Up(5, 7)));
}

TEST_F(PttRequest, BothZeroOnlyStores) {
  EXPECT_EQ(qncpptt_set(0, 0, 0), 0);
  EXPECT_EQ(qncpptt_set(1, 5, 7), 0);
  EXPECT_EQ(qncpptt_set(1, 0, 0), 0);
  EXPECT_EQ(Port(1).dst, 0U);
  EXPECT_EQ(Port(1).src, 0U);
  PassAfterMs(10'000);
  EXPECT_EQ(qncpptt_clr(1), 0);
  EXPECT_THAT(Sent(), ElementsAre(Down(5, 7)));
}

TEST_F(PttRequest, WithOneOfTheTwoIsSentOnceAndNeitherRenewedNorReleased) {
  EXPECT_EQ(qncpptt_set(0, 5, 0), 0);
  EXPECT_EQ(qncpptt_set(1, 0, 7), 0);
  EXPECT_THAT(Sent(), ElementsAre(Down(5, 0), Down(0, 7)));
  PassAfterMs(50);
  PassAfterMs(2'000);
  EXPECT_EQ(qncpptt_clr(0), 0);
  EXPECT_EQ(qncpptt_clr(1), 0);
  EXPECT_THAT(Sent(), IsEmpty());
  EXPECT_EQ(Port(0).dst, 0U);
  EXPECT_EQ(Port(1).src, 0U);
}

TEST_F(PttRequest, PortSetAnewAsksForTheNewChannelAtOnce) {
  EXPECT_EQ(qncpptt_set(0, 5, 7), 0);
  PassAfterMs(50);
  EXPECT_EQ(qncpptt_set(0, 6, 8), 0);
  PassAfterMs(50);
  PassAfterMs(2'000);
  EXPECT_THAT(Sent(), ElementsAre(Down(5, 7), Down(5, 7), Down(6, 8), Down(6, 8), Down(6, 8)));
}

TEST_F(PttRequest, EachPortHasItsOwnTimes) {
  EXPECT_EQ(qncpptt_set(0, 5, 7), 0);
  PassAfterMs(30);
  EXPECT_EQ(qncpptt_set(1, 6, 8), 0);
  (void)Sent();
  PassAfterMs(20);
  EXPECT_THAT(Sent(), ElementsAre(Down(5, 7)));
  PassAfterMs(30);
  EXPECT_THAT(Sent(), ElementsAre(Down(6, 8)));
  PassAfterMs(1'970);
  EXPECT_THAT(Sent(), ElementsAre(Down(5, 7)));
}

TEST_F(PttRequest, AllPortsAskAtOnce) {
  std::vector<std::string> down;
  std::vector<std::string> up;
  for (int port = 0; port < qncpptt_ports_count; ++port) {
    const auto channel = static_cast<unsigned>(port) + 1;
    EXPECT_EQ(qncpptt_set(port, channel, 7), 0);
    down.push_back(Down(channel, 7));
    up.push_back(Up(channel, 7));
  }
  EXPECT_EQ(Sent(), down);
  PassAfterMs(50);
  EXPECT_EQ(Sent(), down);
  for (int port = 0; port < qncpptt_ports_count; ++port)
    EXPECT_EQ(qncpptt_clr(port), 0);
  EXPECT_EQ(Sent(), up);
}

TEST_F(PttRequest, PortsOutOfRangeAreRefused) {
  for (const int port : {-1, 128, 129, 1'000'000, -1'000'000}) {
    SCOPED_TRACE(port);
    EXPECT_EQ(qncpptt_set(port, 5, 7), -1);
    EXPECT_EQ(qncpptt_set(port, 0, 0), -1);
    EXPECT_EQ(qncpptt_clr(port), -1);
  }
  EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(PttRequest, SendThatFailsIsLoggedAndTriedAgain) {
  qncpptt.req_addr.sin_port = 0;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(qncpptt_set(0, 5, 7), 0);
  EXPECT_THAT(::testing::internal::GetCapturedStderr(), HasSubstr("qncpptt_request: "));
  EXPECT_THAT(logged, ElementsAre("3 PTT req send error " + std::to_string(EINVAL)));
  qncpptt.req_addr = Peer();
  PassAfterMs(50);
  EXPECT_THAT(Sent(), ElementsAre(Down(5, 7)));
}

TEST_F(PttRequest, CleanupReleasesAndCloses) {
  for (int port = 0; port < 3; ++port)
    EXPECT_EQ(qncpptt_set(port, static_cast<unsigned>(port) + 5, 7), 0);
  EXPECT_EQ(qncpptt_set(3, 9, 0), 0);
  (void)Sent();
  logged.clear();
  qncpptt_cleanup();
  EXPECT_FALSE(qncpptt.fd.is_open());
  EXPECT_THAT(logged,
              ElementsAre("6 PTT req: " + Up(5, 7), "6 PTT req: " + Up(6, 7), "6 PTT req: " + Up(7, 7)));
  for (const qncpptt_port& port : qncpptt.ports) {
    EXPECT_EQ(port.dst, 0U);
    EXPECT_EQ(port.src, 0U);
  }
  EXPECT_EQ(qncpptt_set(0, 5, 7), -2);
  qncpptt_cleanup();
  Start();
  EXPECT_THAT(Sent(), ElementsAre(Up(5, 7), Up(6, 7), Up(7, 7)));
  EXPECT_EQ(qncpptt_set(0, 5, 7), 0);
  EXPECT_THAT(Sent(), ElementsAre(Down(5, 7)));
}

}  // namespace
}  // namespace hark
