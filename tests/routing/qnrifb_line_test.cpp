// How the far daemon's text is cut into lines: every line end, every cut of the packets, and the longest
// line.
#include "routing/ifb_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::size_t kLongestLine = 2000;

// Port 5 has taken destination 7, so that each line with our address is a report.
class QnrifbLine : public RemoteIfb {
 protected:
  QnrifbLine() { TakeOver(5, far, 7, "1.1.1.1"); }

  // A confirming line of `length` bytes, without its end.
  static std::string LineOf(std::size_t length) {
    std::string line = "DST 7 ADDR:\"" + std::string(kOurAddr) + "\" NAME:\"";
    line.resize(length - 1, 'x');
    return line + '"';
  }
  std::size_t ReportsOf(const std::string& text) {
    reports.clear();
    Hear(far, text);
    return reports.size();
  }

  FarDaemon far;
};

TEST_F(QnrifbLine, EndsInCrOrLfOrBoth) {
  const std::string line = LineOf(60);
  for (const std::string end : {"\n", "\r", "\r\n", "\n\r", "\n\n\n", "\r\r\n\r\n"}) {
    SCOPED_TRACE(end.size());
    EXPECT_EQ(ReportsOf(line + end), 1U);
    EXPECT_EQ(ReportsOf(line + end + line + end + line + end), 3U);
    EXPECT_EQ(ReportsOf(end + end + line + end), 1U);
  }
}

TEST_F(QnrifbLine, WithoutItsEndWaits) {
  EXPECT_EQ(ReportsOf(LineOf(60)), 0U);
  EXPECT_EQ(ReportsOf("\n"), 1U);
}

TEST_F(QnrifbLine, MayComeByteByByte) {
  reports.clear();
  for (const char byte : LineOf(60) + "\r\n" + LineOf(61) + "\n")
    Hear(far, std::string(1, byte));
  EXPECT_EQ(reports.size(), 2U);
}

TEST_F(QnrifbLine, MayBeCutAnywhere) {
  const std::string text = LineOf(50) + "\r\n" + LineOf(51) + "\r\n";
  for (std::size_t cut = 1; cut < text.size(); ++cut) {
    SCOPED_TRACE(cut);
    reports.clear();
    Hear(far, text.substr(0, cut));
    Hear(far, text.substr(cut));
    EXPECT_EQ(reports.size(), 2U);
  }
}

TEST_F(QnrifbLine, TextOfAnyLengthIsCutIntoItsLines) {
  std::string text;
  for (std::size_t i = 0; i < 300; ++i)
    text += LineOf(41 + i) + (i % 3 == 0 ? "\r\n" : "\n");
  EXPECT_EQ(ReportsOf(text), 300U);
}

TEST_F(QnrifbLine, Of2000BytesIsTaken) {
  EXPECT_EQ(ReportsOf(LineOf(kLongestLine) + "\n"), 1U);
  EXPECT_EQ(ReportsOf(LineOf(kLongestLine) + "\r\n" + LineOf(kLongestLine) + "\r"), 2U);
  EXPECT_EQ(ReportsOf("short\n" + LineOf(kLongestLine - 1) + "\nshort\n" + LineOf(kLongestLine) + "\n"), 2U);
  EXPECT_EQ(LoggedCount("3 "), 0);
}

TEST_F(QnrifbLine, BeyondThatEndsTheConnection) {
  const std::string failed = LogOf(3, far.At(), "failed (message too long)");
  const std::string closed = LogOf(5, far.At(), "closed");
  logged.clear();
  far.Send(LineOf(kLongestLine + 1) + "\n");
  AwaitNoConnection();
  EXPECT_THAT(logged, ElementsAre(failed, closed));
  EXPECT_THAT(reports, IsEmpty());
  EXPECT_EQ(Port(5).conn, nullptr);
}

TEST_F(QnrifbLine, EndlessTextEndsTheConnectionOnceAndPortsStartAfresh) {
  far.Send(std::string(20'000, 'x'));
  AwaitNoConnection();
  EXPECT_EQ(Port(5).conn, nullptr);
  far.HangUp();
  TakeOver(5, far, 7, "2.2.2.2");
  EXPECT_EQ(far.connections(), 2);
}

TEST_F(QnrifbLine, BytesThatAreNoTextAreIgnored) {
  EXPECT_EQ(ReportsOf(std::string("\0\0\n", 3) + "\xff\xfe\n" + std::string("DST 7\0 ADDR:\"x\"\n", 16) +
                      LineOf(60) + "\n"),
            1U);
  EXPECT_FALSE(Port(5).conflict);
}

}  // namespace
}  // namespace hark
