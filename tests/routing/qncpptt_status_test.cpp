// The texts by which a device confirms a request, the end of a confirmation, and what anybody else may send
// to the socket.
#include "routing/ptt_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::size_t kLongestStatus = 64;

// Port 3 asks for channel 5 to take our channel 7.
class PttStatus : public PttOpen {
 protected:
  PttStatus() {
    EXPECT_EQ(qncpptt_set(3, 5, 7), 0);
    EXPECT_THAT(Sent(), SizeIs(1));
  }
};

TEST_F(PttStatus, EveryFormConfirms) {
  for (const std::string text : {
           "indi QnCH#5 ifb_qnch=7",
           "event QnCH#5 ifb_qnch=7",
           "QnCH#5 ifb_qnch=7",
           "INDI QNCH#5 IFB_QNCH=7",
           "EVENT qnch#5 IFB_qnch:7",
           "InDi qNcH#5 iFb_QnCh:7",
           "qnch#5 ifb_qnch=\"7\"",
           "qnch#5 name=\"ifb_qnch=8\" ifb_qnch=7",
           "qnch#5 state=1, ifb_qnch=7, lease=5000",
           "qnch#5   ifb_qnch=7",
           "qnch#5 ifb_qnch=7\r\n",
           "qnch#5 ifb_qnch=7\n",
       }) {
    SCOPED_TRACE(text);
    reports.clear();
    Receive(text);
    EXPECT_THAT(reports, ElementsAre("3 1"));
  }
}

TEST_F(PttStatus, AnythingElseIsIgnored) {
  for (const std::string text : {
           "",
           " ",
           "indi",
           "indi ",
           "event ",
           "x",
           "qnch",
           "qnch#",
           "qnch# ",
           "qnch#5",
           "qnch#5 ",
           // no tag of an owner
           "qnch#5 ptt=[DOWN,7,5000]",
           "EVENT QnCH#5 ptt=[DOWN,7,5000]",
           "qnch#5 ifb=7",
           "qnch#5 qnch=7",
           "qnch#5 xifb_qnch=7",
           "qnch#5 ifb_qnchx=7",
           "qnch#5 name=\"ifb_qnch=7\"",
           "qnch#5 ifb_qnch",
           // an owner that is not us
           "qnch#5 ifb_qnch=",
           "qnch#5 ifb_qnch=0",
           "qnch#5 ifb_qnch=8",
           "qnch#5 ifb_qnch=77",
           "qnch#5 ifb_qnch=x",
           "qnch#5 ifb_qnch=-7",
           // another channel, or none
           "qnch#4 ifb_qnch=7",
           "qnch#55 ifb_qnch=7",
           "qnch#7 ifb_qnch=5",
           "qnch#0 ifb_qnch=7",
           "qnch#x ifb_qnch=7",
           "qnch# ifb_qnch=7",
           "qnch#-5 ifb_qnch=7",
           "qnch 5 ifb_qnch=7",
           "qnch5 ifb_qnch=7",
           "qnch#5ifb_qnch=7",
           "qnch#5,ifb_qnch=7",
           "qnch#5x ifb_qnch=7",
           // something else in front
           " qnch#5 ifb_qnch=7",
           "indi  qnch#5 ifb_qnch=7",
           "indiqnch#5 ifb_qnch=7",
           "indi\tqnch#5 ifb_qnch=7",
           "indi event qnch#5 ifb_qnch=7",
           "event indi qnch#5 ifb_qnch=7",
           "indi indi qnch#5 ifb_qnch=7",
           "set qnch#5 ifb_qnch=7",
           "indi dst#5 ifb_qnch=7",
           "xqnch#5 ifb_qnch=7",
       }) {
    SCOPED_TRACE(text);
    Receive(text);
    EXPECT_THAT(reports, IsEmpty());
    EXPECT_FALSE(Port(3).active);
  }
  Confirm(5, 7);
  EXPECT_THAT(reports, ElementsAre("3 1"));
}

TEST_F(PttStatus, ForUnknownChannelsReachesNoPort) {
  for (const unsigned channel : {1U, 4U, 6U, 32767U, 4294967295U})
    Confirm(channel, 7);
  Receive("qnch#4294967301 ifb_qnch=7");
  EXPECT_THAT(reports, IsEmpty());
  Pass();
  EXPECT_THAT(reports, IsEmpty());
}

TEST_F(PttStatus, OfNoChannelReachesNoFreePort) {
  Receive("qnch#0 ifb_qnch=0");
  Receive("qnch#0 ifb_qnch=");
  Receive("qnch# ifb_qnch=0");
  EXPECT_THAT(reports, IsEmpty());
}

TEST_F(PttStatus, Of64BytesIsTakenWholeAndALongerOneIsCut) {
  const std::string start = "qnch#5 name=\"";
  const std::string end = "\" ifb_qnch=7";
  const std::string full = start + std::string(kLongestStatus - start.size() - end.size(), 'x') + end;
  ASSERT_EQ(full.size(), kLongestStatus);
  Receive(full);
  EXPECT_THAT(reports, ElementsAre("3 1"));
  Receive(full + "7");
  EXPECT_THAT(reports, SizeIs(2)) << "the second digit is cut off";
  Receive(start + "x" + full.substr(start.size()));
  EXPECT_THAT(reports, SizeIs(2)) << "the only digit is cut off";
  Receive("qnch#5 ifb_qnch=7 " + std::string(9'000, 'x'));
  EXPECT_THAT(reports, SizeIs(3));
  Receive(std::string(kLongestStatus, 'x'));
  Receive(std::string(9'000, '"'));
  EXPECT_THAT(reports, SizeIs(3));
}

TEST_F(PttStatus, EachOneReportsAgain) {
  for (int i = 1; i <= 4; ++i) {
    Confirm(5, 7);
    EXPECT_THAT(reports, SizeIs(i));
    EXPECT_TRUE(Port(3).active);
  }
  EXPECT_THAT(reports, ElementsAre("3 1", "3 1", "3 1", "3 1"));
}

TEST_F(PttStatus, ReachesEachPortOfTheChannel) {
  EXPECT_EQ(qncpptt_set(100, 5, 7), 0);
  EXPECT_EQ(qncpptt_set(0, 5, 7), 0);
  EXPECT_EQ(qncpptt_set(1, 5, 8), 0);
  EXPECT_EQ(qncpptt_set(2, 6, 7), 0);
  Confirm(5, 7);
  EXPECT_THAT(reports, ElementsAre("0 1", "3 1", "100 1"));
  EXPECT_FALSE(Port(1).active);
  EXPECT_FALSE(Port(2).active);
}

TEST_F(PttStatus, LapsesAfter5SecondsOnceAndTheRequestsGoOn) {
  Confirm(5, 7);
  clock.AdvanceUs(4'999'999);
  Pass();
  EXPECT_THAT(reports, ElementsAre("3 1"));
  (void)Sent();
  clock.AdvanceUs(1);
  Pass();
  EXPECT_THAT(reports, ElementsAre("3 1", "3 0"));
  EXPECT_FALSE(Port(3).active);
  for (int i = 0; i < 4; ++i)
    PassAfterMs(2'000);
  EXPECT_THAT(reports, ElementsAre("3 1", "3 0"));
  EXPECT_THAT(Sent(), ElementsAre(Down(5, 7), Down(5, 7), Down(5, 7), Down(5, 7)));
}

TEST_F(PttStatus, ConfirmsAgainAfterALapse) {
  Confirm(5, 7);
  PassAfterMs(5'000);
  Confirm(5, 7);
  PassAfterMs(4'999);
  EXPECT_THAT(reports, ElementsAre("3 1", "3 0", "3 1"));
  PassAfterMs(1);
  EXPECT_THAT(reports, ElementsAre("3 1", "3 0", "3 1", "3 0"));
}

TEST_F(PttStatus, NewConfirmationMovesTheEnd) {
  Confirm(5, 7);
  PassAfterMs(4'000);
  Confirm(5, 7);
  PassAfterMs(4'999);
  EXPECT_THAT(reports, ElementsAre("3 1", "3 1"));
  PassAfterMs(1);
  EXPECT_THAT(reports, ElementsAre("3 1", "3 1", "3 0"));
}

TEST_F(PttStatus, ConfirmationInTheVeryPassOfTheLapsePreventsIt) {
  Confirm(5, 7);
  clock.AdvanceMs(5'000);
  Confirm(5, 7);
  EXPECT_THAT(reports, ElementsAre("3 1", "3 1"));
}

TEST_F(PttStatus, WithoutAnyConfirmationNothingIsReported) {
  for (int i = 0; i < 10; ++i)
    PassAfterMs(1'000);
  EXPECT_THAT(reports, IsEmpty());
}

TEST_F(PttStatus, LateOneOfAReleasedChannelIsIgnored) {
  EXPECT_EQ(qncpptt_clr(3), 0);
  Confirm(5, 7);
  EXPECT_THAT(reports, IsEmpty());
  EXPECT_EQ(qncpptt_set(3, 6, 7), 0);
  Confirm(5, 7);
  EXPECT_THAT(reports, IsEmpty());
}

TEST_F(PttStatus, ConfirmedPortStaysSoWhenClearedAndLapsesInItsNextTalk) {
  Confirm(5, 7);
  EXPECT_EQ(qncpptt_clr(3), 0);
  EXPECT_TRUE(Port(3).active);
  PassAfterMs(10'000);
  EXPECT_THAT(reports, ElementsAre("3 1")) << "a free port is not looked at";
  EXPECT_TRUE(Port(3).active);
  EXPECT_EQ(qncpptt_set(3, 6, 7), 0);
  EXPECT_TRUE(Port(3).active);
  Pass();
  EXPECT_THAT(reports, ElementsAre("3 1", "3 0"));
}

TEST_F(PttStatus, SeveralOfOneMomentAreAllHeard) {
  EXPECT_EQ(qncpptt_set(4, 6, 7), 0);
  Confirm(6, 7);
  Confirm(5, 7);
  Confirm(6, 7);
  EXPECT_THAT(reports, ElementsAre("4 1", "3 1", "4 1"));
}

TEST_F(PttStatus, BytesThatAreNoTextAreIgnored) {
  Receive(std::string("qnch#5\0 ifb_qnch=7", 18));
  Receive(std::string("\0qnch#5 ifb_qnch=7", 18));
  Receive("\xff\xfe\x01");
  Receive(std::string(64, '\0'));
  Receive("qnch#5 \xff ifb_qnch=\xff");
  EXPECT_THAT(reports, IsEmpty());
  Receive(std::string("qnch#5 ifb_qnch=7\0rest", 22));
  EXPECT_THAT(reports, ElementsAre("3 1"));
}

TEST_F(PttStatus, SocketThatIsNotReadableAfterAllBlocksNothing) {
  fd_set readable;
  FD_ZERO(&readable);
  FD_SET(qncpptt.fd.get(), &readable);
  qncpptt_processevents(readable, clock.Now());
  EXPECT_THAT(reports, IsEmpty());
}

TEST_F(PttStatus, WithoutAHookEverythingElseIsTheSame) {
  qncpptt_update_status_callback = nullptr;
  Confirm(5, 7);
  EXPECT_TRUE(Port(3).active);
  PassAfterMs(5'000);
  EXPECT_FALSE(Port(3).active);
}

TEST_F(PttStatus, TextIsTakenAlsoByItself) {
  qncpptt_receive("indi QnCH#5 ifb_qnch=7", clock.Now() + 1'000'000);
  EXPECT_THAT(reports, ElementsAre("3 1"));
  PassAfterMs(5'999);
  EXPECT_TRUE(Port(3).active);
  PassAfterMs(1);
  EXPECT_FALSE(Port(3).active);
}

}  // namespace
}  // namespace hark
