// A far station rings: its line, its URL, and what becomes of an earlier call of the same station.

#include "callctl/call_fixture.h"
#include "callctl/line_events.h"

namespace hark {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Ring : public CallTest {};

TEST_F(Ring, IsARequestOnItsSide) {
  line_ring(kListenKind, 2, "Studio A", "sip:hark-talk@10.0.0.5");
  EXPECT_EQ(listen_lines[2].state, kLineRequest);
  EXPECT_EQ(listen_lines[2].url, "\"Studio A\" <hark:10.0.0.5>");
  EXPECT_THAT(Reports(), ElementsAre("\"Studio A\" <hark:10.0.0.5> L:R"));
  line_ring(kTalkKind, 99, "", "sip:hark-listen@10.0.0.6");
  EXPECT_EQ(talk_lines[99].state, kLineRequest);
  EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.6 T:R"));
  EXPECT_THAT(MixerLines(), IsEmpty());
}

TEST_F(Ring, KnowsAnyKindOfParty) {
  struct Row {
    const char* name;
    const char* uri;
    const char* url;
  };
  for (const Row& row : {Row{"", "sip:hark-talk@10.0.0.5", "hark:10.0.0.5"},
                         {"Bob", "sip:bob@10.0.0.9", "\"Bob\" <sip:bob@10.0.0.9>"},
                         {"", "sip:bob@10.0.0.9:5070", "sip:bob@10.0.0.9:5070"},
                         {"Bob", "", "\"Bob\""}}) {
    SCOPED_TRACE(row.url);
    line_ring(kTalkKind, 0, row.name, row.uri);
    EXPECT_EQ(talk_lines[0].url, row.url);
    EXPECT_THAT(Reports(), Contains(std::string(row.url) + " T:R"));
  }
}

// The talk side keeps level 0, the listen side is given the default.
TEST_F(Ring, GivesAListenLineTheDefaultLevelAndATalkLineNone) {
  line_ring(kListenKind, 0, "", "sip:hark-talk@10.0.0.5");
  EXPECT_EQ(listen_lines[0].trgl, 3);
  EXPECT_EQ(listen_lines[0].trgl_compare, 3);
  line_ring(kTalkKind, 0, "", "sip:hark-listen@10.0.0.5");
  EXPECT_EQ(talk_lines[0].trgl, 0);
  EXPECT_EQ(talk_lines[0].trgl_compare, 0);
}

TEST_F(Ring, WithoutAPartyLeavesTheLineFree) {
  line_ring(kListenKind, 0, "", "");
  EXPECT_TRUE(listen_lines[0].url.empty());
  EXPECT_THAT(Reports(), IsEmpty());
  Put(kListenKind, 0, kStation, kLineConnected);
  line_ring(kListenKind, 0, "", "");
  EXPECT_TRUE(listen_lines[0].url.empty());
  EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.5 L:0"));
}

TEST_F(Ring, OnALineInUseEndsWhatWasThere) {
  HarkLine& line = Put(kListenKind, 0, kOtherStation, kLineConnected);
  line.gpio = 3;
  line.volume = 5;
  line.drop_pending = true;
  line_ring(kListenKind, 0, "", "sip:hark-talk@10.0.0.5");
  EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.6 L:0", "hark:10.0.0.5 L:R"));
  EXPECT_EQ(line.gpio, 0);
  EXPECT_EQ(line.volume, 0);
  EXPECT_FALSE(line.drop_pending);
}

TEST_F(Ring, SecondRingOfAStationDropsItsEarlierTalkLineFirst) {
  ASSERT_EQ(Talk("quillnet:239.192.0.7;qntb=1"), 0);  // seizes SIP line 0
  Put(kTalkKind, 0, kStation, kLineConnected);
  Forget();
  line_ring(kTalkKind, 1, "Studio", "sip:hark-listen@10.0.0.5");
  EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.5 T:0", "\"Studio\" <hark:10.0.0.5> T:R"));
  EXPECT_TRUE(talk_lines[0].url.empty());
  // The SIP line was let go with it, so that it can be seized again.
  ASSERT_EQ(Talk("quillnet:239.192.0.7;qntb=1"), 0);
  EXPECT_EQ(talk_lines[0].state, kLineFarRinging);
}

TEST_F(Ring, OfOneSideLeavesTheOtherSideOfTheStation) {
  Put(kListenKind, 0, kStation, kLineConnected);
  line_ring(kTalkKind, 1, "", "sip:hark-listen@10.0.0.5");
  EXPECT_EQ(listen_lines[0].state, kLineConnected);
  EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.5 T:R"));
}

TEST_F(Ring, OnALineThatDoesNotExistDoesNothing) {
  struct Row {
    int kind;
    int i;
  };
  for (const Row& row : {Row{1, 8}, {1, -1}, {2, 128}, {2, -1}, {0, 0}, {3, 0}}) {
    line_ring(row.kind, row.i, "", "sip:hark-talk@10.0.0.5");
  }
  EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(Ring, LongNamesAreTaken) {
  const std::string name(300, 'n');
  const std::string uri = "sip:hark-talk@" + std::string(286, '1');
  line_ring(kListenKind, 0, name.c_str(), uri.c_str());
  EXPECT_EQ(listen_lines[0].url, "\"" + name + "\" <hark:" + std::string(286, '1') + ">");
}

TEST_F(Ring, StalledCallsAreThoseOfTheUrlThatAreNeitherFreeNorOff) {
  Put(kTalkKind, 0, "hark:10.0.0.5;trgl=2", kLineConnected);
  Put(kTalkKind, 1, kStation, kLineOff);
  Put(kTalkKind, 2, kStation, kLineFree);
  Put(kTalkKind, 3, kOtherStation, kLineConnected);
  Put(kTalkKind, 4, "*hark:10.0.0.5", kLineFarRinging);
  Put(kListenKind, 0, kStation, kLineConnected);
  drop_stalled_calls(kTalkKind, kStation);
  EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.5;trgl=2 T:0", "*hark:10.0.0.5 T:0"));
  EXPECT_EQ(talk_lines[1].url, kStation);
  EXPECT_EQ(talk_lines[2].url, kStation);
  EXPECT_EQ(talk_lines[3].url, kOtherStation);
  EXPECT_EQ(listen_lines[0].url, kStation);
  for (const int kind : {0, 3})
    drop_stalled_calls(kind, kStation);
  EXPECT_THAT(Reports(), IsEmpty());
}

}  // namespace
}  // namespace hark
