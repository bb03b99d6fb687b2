// What the link writes to a far daemon, byte for byte: the query, the login, a destination taken and given
// back.
#include "routing/ifb_fixture.h"

namespace hark {
namespace {

using ::testing::Contains;

using QnrifbRequest = RemoteIfb;

TEST_F(QnrifbRequest, QueryIsBareAndComesWithoutALogin) {
  FarDaemon far;
  Set(5, far, 12);
  EXPECT_EQ(Written(far), "DST\n");
  FarDaemon guarded;
  Set(6, guarded, 12, "secret");
  EXPECT_EQ(Written(guarded), "DST\n");
}

TEST_F(QnrifbRequest, WithoutAPasswordLoginStandsBare) {
  FarDaemon far;
  Set(5, far, 12);
  EXPECT_EQ(Written(far), "DST\n");
  Hear(far, "DST 12 ADDR:\"1.1.1.1\"\n");
  EXPECT_EQ(Written(far), "LOGIN\nDST 12 ADDR:\"10.0.0.1 <^PTT>\"\n");
}

TEST_F(QnrifbRequest, PasswordFollowsTheLogin) {
  FarDaemon far;
  Set(5, far, 12, "12345678");
  EXPECT_EQ(Written(far), "DST\n");
  Hear(far, "DST 12 ADDR:\"1.1.1.1\"\n");
  EXPECT_EQ(Written(far), "LOGIN 12345678\nDST 12 ADDR:\"10.0.0.1 <^PTT>\"\n");
  Clear(5);
  EXPECT_EQ(Written(far), "LOGIN 12345678\nDST 12 ADDR:\"1.1.1.1\"\n");
}

TEST_F(QnrifbRequest, EachSetHasALoginOfItsOwn) {
  FarDaemon far;
  Set(5, far, 12);
  Set(6, far, 13);
  Set(7, far, 14);
  EXPECT_EQ(Written(far), "DST\nDST\nDST\n");
  Hear(far, DstLine(13, "1.1.1.1") + DstLine(14, "1.1.1.2") + DstLine(12, "1.1.1.3"));
  EXPECT_EQ(Written(far), SetRequest(13, kOurAddr) + SetRequest(14, kOurAddr) + SetRequest(12, kOurAddr));
  Clear(6);
  Clear(5);
  Clear(7);
  EXPECT_EQ(Written(far), SetRequest(13, "1.1.1.1") + SetRequest(12, "1.1.1.3") + SetRequest(14, "1.1.1.2"));
}

TEST_F(QnrifbRequest, EachSetIsLogged) {
  FarDaemon far;
  Set(5, far, 12);
  EXPECT_EQ(Written(far), "DST\n");
  Hear(far, DstLine(12, "1.1.1.1"));
  const std::string route = "6 qnrifb route " + far.At() + "/12 ";
  EXPECT_THAT(logged, Contains(route + kOurAddr));
  EXPECT_EQ(LoggedCount("6 qnrifb route "), 1);
  Clear(5);
  EXPECT_THAT(logged, Contains(route + "1.1.1.1"));
  EXPECT_EQ(LoggedCount("6 qnrifb route "), 2);
}

TEST_F(QnrifbRequest, GivesBackWhatWasFound) {
  FarDaemon far;
  int dst = 0;
  for (const std::string& original :
       {std::string("1.1.1.1"), std::string(""), std::string("239.192.0.7:5004"),
        std::string("Studio 1 (rear), in"), std::string(R"(say \"hello\" to \\all\\)"),
        std::string(R"(\"\"\"\"\\\\)"), std::string("1.1.1.1 <MIX>"), std::string("100%s %n"),
        std::string("\xc3\xa9\xff"), std::string(1900, 'x')}) {
    SCOPED_TRACE(original);
    TakeOver(5, far, ++dst, original);
    Clear(5);
    EXPECT_EQ(Written(far), SetRequest(dst, original));
  }
  EXPECT_EQ(far.connections(), 1);
}

TEST_F(QnrifbRequest, ValueWithoutQuotesIsGivenBackInQuotes) {
  FarDaemon far;
  Set(5, far, 12);
  EXPECT_EQ(Written(far), "DST\n");
  Hear(far, "DST 12 NAME:\"Monitor\" ADDR:239.192.0.9 STAT:1\n");
  EXPECT_EQ(Written(far), SetRequest(12, kOurAddr));
  EXPECT_EQ(Port(5).original, "239.192.0.9");
  Clear(5);
  EXPECT_EQ(Written(far), SetRequest(12, "239.192.0.9"));
}

TEST_F(QnrifbRequest, PortSetAnewGivesTheOldDestinationBackFirst) {
  FarDaemon far;
  TakeOver(5, far, 12, "1.1.1.1");
  Set(5, far, 13);
  EXPECT_EQ(Written(far), SetRequest(12, "1.1.1.1") + "DST\n");
  Hear(far, DstLine(12, "1.1.1.1") + DstLine(13, "2.2.2.2"));
  EXPECT_EQ(Written(far), SetRequest(13, kOurAddr));
}

TEST_F(QnrifbRequest, PortClearedBeforeAnythingWasTakenWritesNothing) {
  FarDaemon far;
  Set(5, far, 12);
  EXPECT_EQ(Written(far), "DST\n");
  Clear(5);
  Hear(far, DstLine(12, "1.1.1.1"));
  EXPECT_EQ(Written(far), "");
}

TEST_F(QnrifbRequest, PortClearedBeforeTheConnectIsThroughAsksNothing) {
  FarDaemon far;
  Set(5, far, 12);
  Clear(5);
  EXPECT_EQ(Written(far), "");
  EXPECT_EQ(far.connections(), 1);
}

}  // namespace
}  // namespace hark
