// Cutting a byte stream into lines: whole lines, parts, runs of line ends, and the longest line.
#include "daemon/qnrlib/linereader.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <random>
#include <string>
#include <vector>

#include "base/fd.h"

namespace hark {
namespace {

class LineReading : public ::testing::Test {
 protected:
  LineReading() {
    std::array<int, 2> pair{};
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()), 0);
    near_.reset(pair[0]);
    far_.reset(pair[1]);
  }

  void Send(const std::string& text) const {
    EXPECT_EQ(::send(far_.get(), text.data(), text.size(), MSG_NOSIGNAL), static_cast<ssize_t>(text.size()));
  }
  // What one receive gives; "(closed)" at the end when the connection is gone.
  std::vector<std::string> Receive() {
    std::vector<std::string> lines;
    const ssize_t n = reader_.receive(near_.get());
    while (const char* line = reader_.next())
      lines.emplace_back(line);
    if (n <= 0) lines.emplace_back("(closed)");
    return lines;
  }
  std::vector<std::string> Receive(const std::string& text) {
    Send(text);
    return Receive();
  }

  UniqueFd near_;
  UniqueFd far_;
  LineReader reader_;
};

using Lines = std::vector<std::string>;

TEST_F(LineReading, GivesNothingBeforeTheFirstReceive) { EXPECT_EQ(reader_.next(), nullptr); }

TEST_F(LineReading, AnyLineEndEndsALine) {
  struct Row {
    const char* text;
    Lines want;
  };
  for (const Row& row :
       {Row{"A\r\n", {"A"}}, Row{"A\n", {"A"}}, Row{"A\r", {"A"}}, Row{"A\n\r", {"A"}},
        Row{"A\r\nB\nC\r", {"A", "B", "C"}}, Row{"A\r\n\r\n\nB\n", {"A", "B"}}, Row{" A b \n", {" A b "}}}) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(Receive(row.text), row.want);
  }
}

TEST_F(LineReading, ResultIsTheNumberOfBytes) {
  Send("A\r\nB");
  EXPECT_EQ(reader_.receive(near_.get()), 4);
}

TEST_F(LineReading, PartOfALineWaitsForItsEnd) {
  EXPECT_EQ(Receive("SRC 1 PS"), Lines{});
  EXPECT_EQ(Receive("NM:\"x\""), Lines{});
  EXPECT_EQ(Receive("\r\nGP"), Lines{"SRC 1 PSNM:\"x\""});
  EXPECT_EQ(Receive("I\r"), Lines{"GPI"});
}

TEST_F(LineReading, LineEndCutInTwoIsNoLineOfItsOwn) {
  EXPECT_EQ(Receive("A\r"), Lines{"A"});
  Lines rest = Receive("\nB\n");
  std::erase(rest, "");
  EXPECT_EQ(rest, Lines{"B"});
}

TEST_F(LineReading, LongestLineIsTakenAgainAndAgain) {
  for (int i = 0; i < 5; ++i) {
    const std::string longest(kMaxLine - 1, static_cast<char>('a' + i));
    ASSERT_EQ(Receive(longest + "\n"), Lines{longest}) << i;
  }
}

TEST_F(LineReading, LineWithoutAnEndUpToTheLimitEndsTheConnection) {
  EXPECT_EQ(Receive(std::string(kMaxLine, 'x')), Lines{});
  EXPECT_EQ(Receive("y\n"), Lines{"(closed)"});
}

TEST_F(LineReading, MoreThanFitsIsTakenByTheNextReceive) {
  std::string text;
  for (int i = 0; i < 30; ++i)
    text += std::string(100, 'x') + "\n";
  Send(text);
  Lines all = Receive();
  EXPECT_LT(all.size(), 30U);
  for (const std::string& line : Receive())
    all.push_back(line);
  EXPECT_EQ(all, Lines(30, std::string(100, 'x')));
}

TEST_F(LineReading, EndOfTheConnectionDropsAPartOfALine) {
  EXPECT_EQ(Receive("A\nhalf"), Lines{"A"});
  far_.reset();
  EXPECT_EQ(Receive(), Lines{"(closed)"});
  EXPECT_EQ(reader_.next(), nullptr);
}

TEST_F(LineReading, ReaderServesTheNextConnectionFromScratch) {
  EXPECT_EQ(Receive("half a line"), Lines{});
  far_.reset();
  EXPECT_EQ(Receive(), Lines{"(closed)"});
  std::array<int, 2> pair{};
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()), 0);
  near_.reset(pair[0]);
  far_.reset(pair[1]);
  EXPECT_EQ(Receive("B\n"), Lines{"B"});
}

TEST_F(LineReading, BadDescriptorIsAGoneConnection) { EXPECT_LE(reader_.receive(-1), 0); }

TEST_F(LineReading, WhereTheStreamIsCutDoesNotMatter) {
  std::mt19937 random(11);  // the same cases on every run
  for (int round = 0; round < 200; ++round) {
    Lines want;
    std::string stream;
    for (unsigned n = random() % 8 + 1; n > 0; --n) {
      want.emplace_back(random() % 300 + 1, static_cast<char>('a' + random() % 26));
      stream += want.back() + "\r\n";
    }
    Lines got;
    while (!stream.empty()) {
      const std::string part = stream.substr(0, random() % 200 + 1);
      stream.erase(0, part.size());
      for (const std::string& line : Receive(part))
        got.push_back(line);
    }
    std::erase(got, "");
    ASSERT_EQ(got, want);
  }
}

}  // namespace
}  // namespace hark
