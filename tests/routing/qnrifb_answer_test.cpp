// What a far daemon's DST lines do to a port: the original taken, our address confirmed, somebody else's
// seen, before and after.
#include "routing/ifb_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kOtherTalker = "1.2.3.4 <^PTT>";

// Port 5 waits for the answer about destination 7.
class QnrifbAnswer : public RemoteIfb {
 protected:
  QnrifbAnswer() {
    Set(5, far, 7);
    EXPECT_EQ(Written(far), "DST\n");
    logged.clear();
  }

  // The log line of destination 7 with what the far daemon showed.
  std::string LogOf(const std::string& what) const { return what + " " + far.At() + "/7 "; }

  FarDaemon far;
};

TEST_F(QnrifbAnswer, FirstAddressIsTheOriginalAndIsReplaced) {
  Hear(far, DstLine(7, "1.1.1.1"));
  EXPECT_EQ(Port(5).original, "1.1.1.1");
  EXPECT_FALSE(Port(5).conflict);
  EXPECT_EQ(Written(far), SetRequest(7, kOurAddr));
  EXPECT_THAT(reports, IsEmpty());
  EXPECT_THAT(logged,
              ElementsAre(LogOf("6 qnrifb original") + "1.1.1.1", LogOf("6 qnrifb route") + kOurAddr));
}

TEST_F(QnrifbAnswer, OurAddressConfirmsThePort) {
  Hear(far, DstLine(7, "1.1.1.1"));
  logged.clear();
  Hear(far, DstLine(7, kOurAddr));
  EXPECT_THAT(reports, ElementsAre("5 1"));
  EXPECT_THAT(logged, ElementsAre(LogOf("6 qnrifb active") + kOurAddr));
}

TEST_F(QnrifbAnswer, EachConfirmationIsReported) {
  Hear(far, DstLine(7, "1.1.1.1") + DstLine(7, kOurAddr) + DstLine(7, kOurAddr) + DstLine(7, kOurAddr));
  EXPECT_THAT(reports, ElementsAre("5 1", "5 1", "5 1"));
  EXPECT_EQ(Port(5).original, "1.1.1.1");
  EXPECT_EQ(Written(far), SetRequest(7, kOurAddr));
}

TEST_F(QnrifbAnswer, AnotherAddressIsAConflict) {
  for (const std::string& other :
       {std::string("2.2.2.2"), std::string(kOtherTalker), std::string(""), std::string("10.0.0.1"),
        std::string("10.0.0.1 <^PTT"), std::string("10.0.0.1 <^PTT>x"), std::string("10.0.0.1 <^PTT> "),
        std::string(" 10.0.0.1 <^PTT>"), std::string("10.0.0.11 <^PTT>"), std::string("10.0.0.1 <^ptt>"),
        std::string(200, 'x')}) {
    SCOPED_TRACE(other);
    Hear(far, DstLine(7, "1.1.1.1") + DstLine(7, kOurAddr));
    reports.clear();
    logged.clear();
    Hear(far, DstLine(7, other));
    EXPECT_TRUE(Port(5).conflict);
    EXPECT_THAT(reports, ElementsAre("5 0"));
    EXPECT_THAT(logged, ElementsAre(LogOf("4 qnrifb conflict") + other));
    EXPECT_EQ(Written(far), SetRequest(7, kOurAddr));
    Set(5, far, 7);
    EXPECT_EQ(Written(far), "DST\n");
  }
}

TEST_F(QnrifbAnswer, AfterAConflictNothingIsGivenBack) {
  Hear(far, DstLine(7, "1.1.1.1") + DstLine(7, kOurAddr) + DstLine(7, "2.2.2.2"));
  EXPECT_EQ(Written(far), SetRequest(7, kOurAddr));
  EXPECT_THAT(reports, ElementsAre("5 1", "5 0"));
  Clear(5);
  EXPECT_EQ(Written(far), "");
  EXPECT_FALSE(Port(5).original.has_value());
  EXPECT_FALSE(Port(5).conflict);
}

TEST_F(QnrifbAnswer, ConflictBeforeAnyConfirmationGivesNothingBackEither) {
  Hear(far, DstLine(7, "1.1.1.1") + DstLine(7, "1.1.1.1"));
  EXPECT_THAT(reports, ElementsAre("5 0"));
  EXPECT_EQ(Written(far), SetRequest(7, kOurAddr));
  Clear(5);
  EXPECT_EQ(Written(far), "");
}

TEST_F(QnrifbAnswer, ActiveAgainAfterAConflictGivesBackAgain) {
  Hear(far, DstLine(7, "1.1.1.1") + DstLine(7, kOurAddr) + DstLine(7, "2.2.2.2") + DstLine(7, kOurAddr));
  EXPECT_THAT(reports, ElementsAre("5 1", "5 0", "5 1"));
  EXPECT_FALSE(Port(5).conflict);
  EXPECT_EQ(Written(far), SetRequest(7, kOurAddr));
  Clear(5);
  EXPECT_EQ(Written(far), SetRequest(7, "1.1.1.1"));
}

TEST_F(QnrifbAnswer, DestinationOfAnotherTalkerIsLeftAlone) {
  Hear(far, DstLine(7, kOtherTalker));
  EXPECT_THAT(reports, IsEmpty());
  EXPECT_FALSE(Port(5).original.has_value());
  EXPECT_FALSE(Port(5).conflict);
  EXPECT_EQ(Written(far), "");
  EXPECT_THAT(logged, ElementsAre(LogOf("4 qnrifb active other PTT") + kOtherTalker));
  Clear(5);
  EXPECT_EQ(Written(far), "");
}

TEST_F(QnrifbAnswer, OurOwnMarkFromBeforeIsAnotherTalkerToo) {
  Hear(far, DstLine(7, kOurAddr));
  EXPECT_THAT(reports, IsEmpty());
  EXPECT_EQ(Written(far), "");
}

TEST_F(QnrifbAnswer, DestinationIsTakenWhenTheOtherTalkerLeavesIt) {
  Hear(far, DstLine(7, kOtherTalker) + DstLine(7, kOtherTalker) + DstLine(7, "1.1.1.1"));
  EXPECT_EQ(Port(5).original, "1.1.1.1");
  EXPECT_EQ(Written(far), SetRequest(7, kOurAddr));
  Hear(far, DstLine(7, kOurAddr));
  EXPECT_THAT(reports, ElementsAre("5 1"));
}

TEST_F(QnrifbAnswer, MarkWithoutQuotesIsNoTalker) {
  Hear(far, "DST 7 ADDR:1.2.3.4<^PTT>\n");
  EXPECT_EQ(Port(5).original, "1.2.3.4<^PTT>");
  EXPECT_EQ(Written(far), SetRequest(7, kOurAddr));
}

TEST_F(QnrifbAnswer, OtherDestinationsAreIgnored) {
  Hear(far, DstLine(1, "1.1.1.1") + DstLine(6, kOurAddr) + DstLine(8, "1.1.1.1") + DstLine(70, "1.1.1.1") +
                DstLine(77, "1.1.1.1") + DstLine(-7, "1.1.1.1") + DstLine(0, "1.1.1.1") +
                "DST 4294967303 ADDR:\"1.1.1.1\"\nDST 99999999999999999999 ADDR:\"1.1.1.1\"\n");
  EXPECT_FALSE(Port(5).original.has_value());
  EXPECT_EQ(Written(far), "");
  EXPECT_THAT(reports, IsEmpty());
  EXPECT_THAT(logged, IsEmpty());
}

TEST_F(QnrifbAnswer, LinesThatTellNoAddressAreIgnored) {
  for (const std::string line : {"DST",
                                 "DST ",
                                 "DST 7",
                                 "DST 7 ",
                                 "DST 7 NAME:\"Monitor\" STAT:1",
                                 "DST 7 ADDRESS:\"1.1.1.1\"",
                                 "DST 7 NAME:\"ADDR:1.1.1.1\"",
                                 "DST 7 XADDR:\"1.1.1.1\"",
                                 "DST 7ADDR:\"1.1.1.1\"",
                                 "DST 7,ADDR:\"1.1.1.1\"",
                                 "DST7 ADDR:\"1.1.1.1\"",
                                 "DST ADDR:\"1.1.1.1\"",
                                 "DST x ADDR:\"1.1.1.1\"",
                                 "DSTX 7 ADDR:\"1.1.1.1\"",
                                 "dst 7 ADDR:\"1.1.1.1\"",
                                 " DST 7 ADDR:\"1.1.1.1\"",
                                 "SRC 7 ADDR:\"1.1.1.1\"",
                                 "EVENT DST 7 ADDR:\"1.1.1.1\"",
                                 "ERROR 1000 bad command",
                                 "LOGIN OK",
                                 "",
                                 " ",
                                 "7 ADDR:\"1.1.1.1\""}) {
    SCOPED_TRACE(line);
    Hear(far, line + "\n");
    EXPECT_FALSE(Port(5).original.has_value());
    EXPECT_EQ(Written(far), "");
    EXPECT_THAT(logged, IsEmpty());
  }
  Hear(far, DstLine(7, "1.1.1.1"));
  EXPECT_EQ(Port(5).original, "1.1.1.1");
}

TEST_F(QnrifbAnswer, AddressStandsAnywhereInTheTagList) {
  Hear(far, "DST 7 NAME:\"A \\\"B\\\" ADDR:no\" STAT:1, ADDR:\"1.1.1.1\" PORT:2\n");
  EXPECT_EQ(Port(5).original, "1.1.1.1");
}

TEST_F(QnrifbAnswer, WithoutAHookEverythingElseIsTheSame) {
  qnrifb_update_status_callback = nullptr;
  Hear(far, DstLine(7, "1.1.1.1") + DstLine(7, kOurAddr) + DstLine(7, "2.2.2.2") + DstLine(7, kOurAddr));
  EXPECT_EQ(Written(far), SetRequest(7, kOurAddr));
  EXPECT_EQ(LoggedCount("6 qnrifb active"), 2);
  EXPECT_EQ(LoggedCount("4 qnrifb conflict"), 1);
  Clear(5);
  EXPECT_EQ(Written(far), SetRequest(7, "1.1.1.1"));
}

TEST_F(QnrifbAnswer, LineIsTakenAlsoByItself) {
  qnrifb_receive_msg(*Link(far), R"(DST 7 ADDR:"1.1.1.1")");
  qnrifb_receive_msg(*Link(far), R"(DST 7 ADDR:"10.0.0.1 <^PTT>")");
  EXPECT_THAT(reports, ElementsAre("5 1"));
  EXPECT_EQ(Written(far), SetRequest(7, kOurAddr));
}

}  // namespace
}  // namespace hark
