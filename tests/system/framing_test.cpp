// How bytes become lines: cut anywhere, ended by any run of CR and LF, at most 2000 bytes, and never a reason
// to stall.
#include "system/station_fixture.h"

namespace hark::test {
namespace {

using testing::ElementsAre;

class Framing : public StationTest {
 protected:
  void SetUp() override { Start(); }
};

TEST_F(Framing, ALineMayComeInPieces) {
  Client client = Connect();
  for (const char* piece : {"V", "E", "R", "\r", "\nVE"}) {
    ASSERT_TRUE(client.send_raw(piece));
    Client other = Connect("127.0.0.2");
    EXPECT_TRUE(other.ask("VER", kVersion)) << "the piece has been taken by then";
  }
  EXPECT_TRUE(client.expect_line(kVersion));
  EXPECT_FALSE(client.has_line());
  ASSERT_TRUE(client.send_raw("R\n"));
  EXPECT_TRUE(client.expect_line(kVersion));
}

TEST_F(Framing, SeveralLinesMayComeAtOnceInOrder) {
  Client client = Connect();
  ASSERT_TRUE(client.send_raw("VER\r\nGPI 1\rnonsense\nGPO 2\n\rVER\n"));
  EXPECT_TRUE(client.expect_line(kVersion));
  EXPECT_TRUE(client.expect_line("GPI 1 hhhhh"));
  EXPECT_TRUE(client.expect_line(kBadCommand));
  EXPECT_TRUE(client.expect_line("GPO 2 hhhhh"));
  EXPECT_TRUE(client.expect_line(kVersion));
}

TEST_F(Framing, RunsOfLineEndsAreNothing) {
  Client client = Connect();
  EXPECT_THAT(answers(client, "\r\n\n\r\r\n\n\n\r#\r\r\r\r\n"), ElementsAre());
  EXPECT_THAT(answers(client, std::string(5000, '\n')), ElementsAre());
}

TEST_F(Framing, ALineOf1999BytesIsALineAndOneOf2000IsTheEnd) {
  Client client = Connect();
  EXPECT_THAT(answers(client, std::string(1997, 'x')), ElementsAre(kBadCommand));
  ASSERT_TRUE(client.send_raw(std::string(1999, 'x') + "\n"));
  EXPECT_TRUE(client.expect_line(kBadCommand));
  ASSERT_TRUE(client.send_raw(std::string(1999, 'x')));
  Client other = Connect("127.0.0.2");
  EXPECT_TRUE(other.ask("VER", kVersion));
  ASSERT_TRUE(client.send_raw("\r"));
  EXPECT_TRUE(client.expect_line(kBadCommand));

  ASSERT_TRUE(client.send_raw(std::string(2000, 'x') + "\n"));
  EXPECT_TRUE(client.wait_closed());
  EXPECT_FALSE(client.has_line()) << "it ends without a word";
  EXPECT_TRUE(other.ask("VER", kVersion));
}

TEST_F(Framing, TheLimitIsOnALineNotOnWhatComesAtOnce) {
  Client client = Connect();
  std::string lines;
  for (int i = 0; i < 3000; ++i)
    lines += "# a comment of some length, once more\r\n";
  EXPECT_THAT(answers(client, lines), ElementsAre());
  // A partial line behind whole ones counts from its own start.
  ASSERT_TRUE(client.send_raw("#" + std::string(1500, '.') + "\n#" + std::string(1900, '.')));
  EXPECT_THAT(answers(client, ""), ElementsAre());
}

TEST_F(Framing, ANulEndsTheTextOfItsLineButNotTheLinesBehind) {
  Client client = Connect();
  using namespace std::string_view_literals;
  ASSERT_TRUE(client.send_raw("VER\0QUIT\r\n\0\r\nVER\r\n"sv));
  EXPECT_TRUE(client.expect_line(kVersion));
  EXPECT_TRUE(client.skip_to(kVersion));
  EXPECT_THAT(answers(client, std::string(1900, '\0')), ElementsAre());
}

TEST_F(Framing, BytesAbove127AreJustBadCommands) {
  Client client = Connect();
  EXPECT_THAT(answers(client, "\xff\xfe\x80"), ElementsAre(kBadCommand));
  EXPECT_THAT(answers(client, "CALL URL:\"\xc3\xa9\xff\" LISTEN:1"), ElementsAre(kCallFailed));
  ExpectLog("protocol unknown");
}

TEST_F(Framing, AClientThatStopsSendingGetsItsAnswersAndThenTheEnd) {
  Client client = Connect();
  ASSERT_TRUE(client.send_raw("VER\r\nVER\r\nhalf a line"));
  client.finish_sending();
  EXPECT_TRUE(client.expect_line(kVersion));
  EXPECT_TRUE(client.expect_line(kVersion));
  EXPECT_TRUE(client.wait_closed());
  EXPECT_FALSE(client.has_line());
}

TEST_F(Framing, HalfALineOfAFormerConnectionIsGoneWithIt) {
  Client client = Connect();
  ASSERT_TRUE(client.send_raw("GPI 1\r\nVE"));
  EXPECT_TRUE(client.expect_line("GPI 1 hhhhh"));
  client.abort();
  // The same slot, the same buffer.
  ASSERT_TRUE(Logged("disconnected connection id: "));
  Client next = Connect();
  EXPECT_TRUE(next.ask("R", kBadCommand));
}

}  // namespace
}  // namespace hark::test
