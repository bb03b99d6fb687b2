// Both tables to their last line: the call that finds no line fails, and a line that is let go is taken
// again.
#include "callctl/call_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class FullTables : public CallTest {
 protected:
  static std::string Source(int i) { return "quillnet:239.192.2." + std::to_string(i) + ";gpio=1;gpiot=1"; }
};

TEST_F(FullTables, NinthListenFailsAndItsTalkIsNotTried) {
  for (int i = 0; i < kListenLines; ++i)
    ASSERT_EQ(Listen(Source(i)), 0);
  EXPECT_EQ(Reports().size(), 8u);
  EXPECT_EQ(MixerLines().back(), "set hark#1.sub#1.in#8 src_id=\"239.192.2.7\", gain=0");
  EXPECT_EQ(Modify(kSource, kWishConnect, kWishConnect), -1);
  EXPECT_TRUE(talk_lines[0].url.empty());
  EXPECT_EQ(Modify(kStation, kWishConnect, kWishConnect), -1);
  EXPECT_TRUE(talk_lines[0].url.empty());
  EXPECT_THAT(Reports(), IsEmpty());
  EXPECT_THAT(MixerLines(), IsEmpty());
  EXPECT_EQ(Listen(Source(3)), 0);  // which is up
}

TEST_F(FullTables, LastTalkLineIsTakenAndTheNextFails) {
  for (int i = 0; i < kTalkLines; ++i)
    ASSERT_EQ(Talk(Source(i)), 0);
  EXPECT_EQ(Reports().size(), 128u);
  EXPECT_EQ(talk_lines[127].url, Source(127));
  EXPECT_EQ(talk_lines[127].state, kLineConnected);
  EXPECT_EQ(Talk(kSource), -1);
  EXPECT_EQ(Talk(kStation), -1);
  EXPECT_THAT(Reports(), IsEmpty());
  // The listen side is tried first and stands.
  EXPECT_EQ(Modify(kSource, kWishConnect, kWishConnect), -1);
  EXPECT_THAT(Reports(), ElementsAre("quillnet:239.192.0.7 L:1"));
}

TEST_F(FullTables, LineThatIsLetGoIsTakenAgain) {
  for (int i = 0; i < kListenLines; ++i)
    ASSERT_EQ(Listen(Source(i)), 0);
  for (int i = 0; i < kTalkLines; ++i)
    ASSERT_EQ(Talk(Source(i)), 0);
  ASSERT_EQ(Modify(Source(5), kWishDrop, kWishDrop), 0);
  PassAfterMs(401);
  Forget();
  EXPECT_EQ(Modify(kSource, kWishConnect, kWishConnect), 0);
  EXPECT_EQ(listen_lines[5].url, kSource);
  EXPECT_EQ(talk_lines[5].url, kSource);
}

TEST_F(FullTables, AllCallsAreDroppedInOnePass) {
  for (int i = 0; i < kListenLines; ++i)
    ASSERT_EQ(Listen(Source(i)), 0);
  for (int i = 0; i < kTalkLines; ++i)
    ASSERT_EQ(Talk(Source(i)), 0);
  for (int i = 0; i < kTalkLines; ++i)
    ASSERT_EQ(Modify(Source(i), kWishDrop, kWishDrop), 0);
  Forget();
  PassAfterMs(401);
  EXPECT_EQ(Reports().size(), 136u);
  for (const HarkLine& line : listen_lines)
    EXPECT_TRUE(line.url.empty());
  for (const HarkLine& line : talk_lines)
    EXPECT_TRUE(line.url.empty());
}

TEST_F(FullTables, EndOfTheServicesFreesEveryLine) {
  for (int i = 0; i < kListenLines; ++i)
    ASSERT_EQ(Listen(Source(i)), 0);
  for (int i = 0; i < kTalkLines; ++i)
    ASSERT_EQ(Talk(Source(i)), 0);
  Forget();
  EXPECT_EQ(sipctrl_removeservice(), 0);
  EXPECT_EQ(Reports().size(), 136u);
  for (const HarkLine& line : listen_lines)
    EXPECT_TRUE(line.url.empty());
  for (const HarkLine& line : talk_lines)
    EXPECT_TRUE(line.url.empty());
}

TEST_F(FullTables, FarDroppedLinesFillTheTableUntilTheirFlashIsOver) {
  for (int i = 0; i < kListenLines; ++i) {
    Put(kListenKind, i, Source(i), kLineConnected);
    FarDrop(kListenKind, i);
  }
  EXPECT_EQ(Listen(kSource), -1);
  PassAfterMs(5001);
  EXPECT_EQ(Listen(kSource), 0);
}

}  // namespace
}  // namespace hark
