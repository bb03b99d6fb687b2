// Attributes of an answer: those of the offer whose name we have as well, in the session and in each medium.
#include <gtest/gtest.h>

#include "cpsdp/sdp_fixture.h"

namespace hark::test {
namespace {

struct Row {
  std::string local;  // attribute lines
  std::string offered;
  std::string kept;
};

std::string A(std::string_view text) { return "a=" + std::string(text) + "\r\n"; }

// Where the attributes stand.
enum class Level { session, media };

std::string Body(Level level, std::string_view attributes) {
  const std::string medium = "m=audio 5004 RTP/AVP 0\r\n";
  return level == Level::session ? Session({}) + std::string(attributes) + medium
                                 : Session({}) + medium + std::string(attributes);
}

// The attributes of the answer that have a text, as lines.
std::string Kept(const Answer& answer, Level level) {
  const bool session = level == Level::session;
  const auto& attributes = session ? answer.parms.a_attr : answer.Medium().a_attr;
  const std::size_t count = session ? answer.parms.a_count : answer.Medium().a_count;
  std::string lines;
  for (std::size_t i = 0; i < count; ++i) {
    lines += attributes.at(i).empty() ? "" : A(answer.Text(attributes.at(i)));
  }
  return lines;
}

void CheckAtBothLevels(std::span<const Row> rows) {
  for (const Level level : {Level::session, Level::media}) {
    for (const Row& row : rows) {
      SCOPED_TRACE(Body(level, row.offered) + "to local\n" + row.local);
      EXPECT_EQ(Kept(Negotiate(Body(level, row.local), Body(level, row.offered)), level), row.kept);
    }
  }
}

TEST(CpsdpNegotiateAttributes, AttributeIsKeptWhenWeHaveOneOfItsName) {
  const Row rows[] = {
      {A("tool:ours"), A("tool:theirs"), A("tool:theirs")},
      {A("tool:same"), A("tool:same"), A("tool:same")},
      {A("tool"), A("tool:theirs"), A("tool:theirs")},
      {A("tool:ours"), A("tool"), A("tool")},
      {A("tool"), A("tool"), A("tool")},
      {A("tool: a b"), A("tool: c d:e"), A("tool: c d:e")},
      {A("x:1") + A("y:2"), A("y:3") + A("x:4"), A("y:3") + A("x:4")},
      {A("x:1"), A("x:2") + A("x:3"), A("x:2") + A("x:3")},
      {A("x") + A("tool:1"), A("tool:2"), A("tool:2")},
  };
  CheckAtBothLevels(rows);
}

TEST(CpsdpNegotiateAttributes, AttributeIsDroppedWhenWeHaveNoneOfItsName) {
  const Row rows[] = {
      {"", A("tool:theirs"), ""},
      {A("tool:ours"), "", ""},
      {A("tool:ours"), A("other:x"), ""},
      // A name that begins like another one is another name.
      {A("tool:ours"), A("too:x"), ""},
      {A("too:ours"), A("tool:x"), ""},
      {A("tool"), A("tools"), ""},
      {A("tool:ours"), A("x:tool"), ""},
      {A("x:1"), A("y:2") + A("x:3") + A("z"), A("x:3")},
  };
  CheckAtBothLevels(rows);
}

TEST(CpsdpNegotiateAttributes, DroppedAttributeStaysCountedWithoutText) {
  const Answer answer = Negotiate(Session({"a=x:1", "m=audio 1 udp 0", "a=y:1"}),
                                  Session({"a=w", "a=x:2", "a=z", "m=audio 1 udp 0", "a=w", "a=y:2"}));
  ASSERT_EQ(answer.parms.a_count, 3);
  EXPECT_TRUE(answer.parms.a_attr[0].empty());
  EXPECT_EQ(answer.Text(answer.parms.a_attr[1]), "x:2");
  EXPECT_TRUE(answer.parms.a_attr[2].empty());
  ASSERT_EQ(answer.Medium().a_count, 2);
  EXPECT_TRUE(answer.Medium().a_attr[0].empty());
  EXPECT_EQ(answer.Text(answer.Medium().a_attr[1]), "y:2");
  const std::string text = Encode(answer).text;
  EXPECT_EQ(text.find("a=w"), std::string::npos) << text;
  EXPECT_NE(text.find("a=x:2\r\nm="), std::string::npos) << text;
}

TEST(CpsdpNegotiateAttributes, SessionAndMediumAreApart) {
  const Answer answer = Negotiate(Session({"a=x:1", "m=audio 1 udp 0", "a=y:1"}),
                                  Session({"a=y:2", "m=audio 1 udp 0", "a=x:2"}));
  EXPECT_TRUE(answer.parms.a_attr[0].empty());
  EXPECT_TRUE(answer.Medium().a_attr[0].empty());
}

// An attribute of `length` characters with the name "tool".
std::string Long(std::size_t length) { return "tool:" + Times(length - 5, "x"); }

TEST(CpsdpNegotiateAttributes, AttributeOf128CharactersIsComparedAndOf129Dropped) {
  const Row rows[] = {
      {A("tool:ours"), A(Long(128)), A(Long(128))},
      {A("tool:ours"), A(Long(129)), ""},
      {A("tool:ours"), A(Long(129)) + A("tool:short"), A("tool:short")},
      {A("tool:ours"), A("tool:" + Times(100, "x") + " " + Times(100, "y")), ""},
      {A(Long(128)), A("tool:theirs"), A("tool:theirs")},
      {A(Long(128)), A(Long(128)), A(Long(128))},
  };
  CheckAtBothLevels(rows);
}

TEST(CpsdpNegotiateAttributes, LocalAttributeOf129CharactersMakesTheComparedOneGo) {
  const std::string other = "other:" + Times(123, "x");
  ASSERT_EQ(other.size(), 129U);
  const Row rows[] = {
      {A(Long(129)), A("tool:theirs"), ""},
      {A(other), A("tool:theirs"), ""},
      {A(other) + A("tool:ours"), A("tool:theirs"), ""},
      {A("x") + A(other), A("tool:theirs") + A("y"), ""},
      {A(other.substr(0, 128)) + A("tool:ours"), A("tool:theirs"), A("tool:theirs")},
  };
  CheckAtBothLevels(rows);
}

TEST(CpsdpNegotiateAttributes, LongAttributeIsReported) {
  for (const Level level : {Level::session, Level::media}) {
    testing::internal::CaptureStdout();
    (void)Negotiate(Body(level, A("tool:ours")), Body(level, A(Long(128))));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    testing::internal::CaptureStdout();
    (void)Negotiate(Body(level, A("tool:ours")), Body(level, A(Long(129))));
    const std::string report = testing::internal::GetCapturedStdout();
    EXPECT_NE(report.find("UXP"), std::string::npos) << report;
  }
}

TEST(CpsdpNegotiateAttributes, AttributesOfAMediumWithoutCommonFormatStay) {
  const Answer answer = Negotiate(Session({"m=audio 1 udp 0", "a=x"}), Session({"m=audio 1 udp 8", "a=y:1"}));
  ASSERT_EQ(answer.Formats(), "");
  EXPECT_EQ(answer.Text(answer.Medium().a_attr[0]), "y:1");
}

TEST(CpsdpNegotiateAttributes, AttributesOfARejectedMediumStay) {
  const Answer answer = Negotiate(Session({"m=audio 1 udp 0", "a=x"}), Session({"m=video 1 udp 0", "a=y:1"}));
  ASSERT_EQ(answer.rejected, 1);
  EXPECT_EQ(answer.Text(answer.Medium().a_attr[0]), "y:1");
}

TEST(CpsdpNegotiateAttributes, EachMediumIsFilteredByTheLocalOneThatItWasMatchedWith) {
  const Answer answer =
      Negotiate(Session({"m=video 1 udp 31", "a=v:1", "m=audio 2 udp 0", "a=a:1"}),
                Session({"m=audio 3 udp 0", "a=a:2", "a=v:2", "m=video 4 udp 31", "a=a:3", "a=v:3"}));
  ASSERT_EQ(answer.rejected, 0);
  EXPECT_EQ(answer.Text(answer.Medium(0).a_attr[0]), "a:2");
  EXPECT_TRUE(answer.Medium(0).a_attr[1].empty());
  EXPECT_TRUE(answer.Medium(1).a_attr[0].empty());
  EXPECT_EQ(answer.Text(answer.Medium(1).a_attr[1]), "v:3");
}

TEST(CpsdpNegotiateAttributes, SixteenAttributesAreFilteredAgainstSixteen) {
  std::string local;
  std::string offered;
  std::string kept;
  for (int i = 0; i < 16; ++i) {
    local += A("n" + std::to_string(i) + ":ours");
    offered += A("n" + std::to_string(31 - 2 * i) + ":theirs");
    kept += 31 - 2 * i < 16 ? A("n" + std::to_string(31 - 2 * i) + ":theirs") : "";
  }
  const Row rows[] = {{local, offered, kept}};
  CheckAtBothLevels(rows);
}

}  // namespace
}  // namespace hark::test
