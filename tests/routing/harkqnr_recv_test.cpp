// Reading the routing daemon's connection: how its bytes become lines, the longest line, and its end.

#include "base/text.h"
#include "daemon/station/station.h"
#include "routing/harkqnr.h"
#include "routing/routing_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class HarkqnrRecv : public RoutingTest {
 protected:
  HarkqnrRecv() { Connect(first_); }
  ~HarkqnrRecv() override {
    const UniqueFd open(harkqnr_fd());
    harkqnr_connected(-1);
  }

  // The daemon owns its end from here on, as it does for a connection that it dialled.
  void Connect(LineSocket& socket) {
    fd_ = socket.ReleaseFd();
    harkqnr_connected(fd_);
    (void)socket.Text();
  }
  // Sends and reads once.
  int Receive(const std::string& text) {
    first_.Send(text);
    return harkqnr_recv();
  }

  LineSocket first_;
  int fd_ = -1;
};

TEST_F(HarkqnrRecv, AnyRunOfLineEndsEndsALine) {
  EXPECT_EQ(Receive("DST 1 AVOL:1\r\nDST 2 AVOL:2\nDST 3 AVOL:3\rDST 4 AVOL:4\n\n\r\r\n\rDST 5 AVOL:5\n\r"),
            fd_);
  EXPECT_THAT(asked.volume, ElementsAre("0 1", "1 2", "2 3", "3 4", "4 5"));
}

TEST_F(HarkqnrRecv, PartOfALineWaitsForItsRest) {
  EXPECT_EQ(Receive("DST 1 AV"), fd_);
  EXPECT_THAT(asked.volume, IsEmpty());
  EXPECT_EQ(Receive("OL:1"), fd_);
  EXPECT_THAT(asked.volume, IsEmpty());
  EXPECT_EQ(Receive("7\r"), fd_);
  EXPECT_THAT(asked.volume, ElementsAre("0 17"));
  EXPECT_EQ(Receive("\nDST 2 AVOL:2\nDST 3"), fd_);
  EXPECT_EQ(Receive(" AVOL:3\n"), fd_);
  EXPECT_THAT(asked.volume, ElementsAre("0 17", "1 2", "2 3"));
}

TEST_F(HarkqnrRecv, BytesOneByOneGiveTheSameLines) {
  for (const char c : std::string("DST 1 AVOL:1\r\nDST 2 AVOL:2\r\n"))
    ASSERT_EQ(Receive(std::string(1, c)), fd_);
  EXPECT_THAT(asked.volume, ElementsAre("0 1", "1 2"));
}

TEST_F(HarkqnrRecv, EndOfTheConnectionIsReportedAndForgotten) {
  first_.Close();
  EXPECT_EQ(harkqnr_recv(), -1);
  EXPECT_EQ(harkqnr_fd(), -1);
}

TEST_F(HarkqnrRecv, LastLinesAreHandledBeforeTheEnd) {
  first_.Send("DST 1 AVOL:1\r\n");
  first_.Close();
  EXPECT_EQ(harkqnr_recv(), fd_);
  EXPECT_THAT(asked.volume, ElementsAre("0 1"));
  EXPECT_EQ(harkqnr_recv(), -1);
}

TEST_F(HarkqnrRecv, RestOfAnEndedConnectionDoesNotReachTheNext) {
  EXPECT_EQ(Receive("DST 8 AVOL:9"), fd_);
  first_.Close();
  ASSERT_EQ(harkqnr_recv(), -1);
  LineSocket second;
  Connect(second);
  second.Send("DST 1 AVOL:1\r\n");
  EXPECT_EQ(harkqnr_recv(), fd_);
  EXPECT_THAT(asked.volume, ElementsAre("0 1"));
}

TEST_F(HarkqnrRecv, RestIsForgottenWhenTheConnectionIsTakenAway) {
  EXPECT_EQ(Receive("DST 8 AVOL:9"), fd_);
  const UniqueFd old(harkqnr_fd());
  harkqnr_connected(-1);
  LineSocket second;
  Connect(second);
  second.Send("DST 1 AVOL:1\r\n");
  EXPECT_EQ(harkqnr_recv(), fd_);
  EXPECT_THAT(asked.volume, ElementsAre("0 1"));
}

TEST_F(HarkqnrRecv, LongestLineIsHandled) {
  std::string line = "DST 1 AVOL:1";
  line.resize(kMaxLine - 1, ' ');
  EXPECT_EQ(Receive(line), fd_);
  EXPECT_THAT(asked.volume, IsEmpty());
  EXPECT_EQ(Receive("\nDST 2 AVOL:2\n"), fd_);
  // What lies behind the longest line may need a read of its own.
  if (asked.volume.size() < 2) {
    EXPECT_EQ(harkqnr_recv(), fd_);
  }
  EXPECT_THAT(asked.volume, ElementsAre("0 1", "1 2"));
}

TEST_F(HarkqnrRecv, LineOfTwoThousandBytesEndsTheConnection) {
  // One byte more, so that there is something to read when no room is left.
  EXPECT_EQ(Receive(std::string(kMaxLine + 1, 'x')), fd_);
  EXPECT_EQ(harkqnr_recv(), -1);
  EXPECT_EQ(harkqnr_fd(), -1);
}

TEST_F(HarkqnrRecv, TwoThousandBytesBehindAWholeLineEndTheConnectionToo) {
  EXPECT_EQ(Receive("DST 1 AVOL:1\n" + std::string(kMaxLine + 100, 'x')), fd_);
  EXPECT_THAT(asked.volume, ElementsAre("0 1"));
  int calls = 1;
  while (harkqnr_recv() != -1)
    ASSERT_LT(++calls, 4);
  EXPECT_EQ(harkqnr_fd(), -1);
}

TEST_F(HarkqnrRecv, ManyLinesAreHandledInFewReads) {
  std::string text;
  for (int i = 0; i < 500; ++i)
    text += "DST 1 AVOL:" + std::to_string(i) + "\r\n";
  first_.Send(text);
  for (int i = 0; i < 10 && asked.volume.size() < 500; ++i)
    ASSERT_EQ(harkqnr_recv(), fd_);
  ASSERT_EQ(asked.volume.size(), 500u);
  for (int i = 0; i < 500; ++i)
    EXPECT_EQ(asked.volume[static_cast<std::size_t>(i)], "0 " + std::to_string(i));
}

TEST_F(HarkqnrRecv, BytesOfZeroDoNoHarm) {
  EXPECT_EQ(Receive(std::string("DST 1\0AVOL:1\nDST 2 AVOL:2\n", 26)), fd_);
  EXPECT_EQ(Receive("DST 3 AVOL:3\n"), fd_);
  EXPECT_EQ(harkqnr_fd(), fd_);
}

}  // namespace
}  // namespace hark
