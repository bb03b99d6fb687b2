// The record of a description: what a text of it is in its pool, and that a copy is a record of its own.
#include <gtest/gtest.h>

#include "cpsdp/sdp_fixture.h"

namespace hark::test {
namespace {

TEST(CpsdpRecord, TextLiesInItsPool) {
  struct Row {
    cpsdp_text text;
    std::string_view in;
  };
  const Row rows[] = {
      {{.length = 3, .offset = 0}, "abc"}, {{.length = 2, .offset = 4}, "ef"},
      {{.length = 0, .offset = 2}, ""},    {{.length = 5, .offset = 4}, "ef"},
      {{.length = 1, .offset = 6}, ""},    {{.length = 255, .offset = 65535}, ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text.offset);
    EXPECT_EQ(row.text.in("abcdef"), row.in);
    EXPECT_EQ(row.text.empty(), row.text.length == 0);
  }
}

TEST(CpsdpRecord, CloneIsARecordOfItsOwn) {
  Description original = Parse(InMedia({"i=Studio", "a=rtpmap:96 L24/48000/2", "m=video 5006 RTP/AVP 31"}));
  const std::string text = Encode(original).text;
  Description copy;
  copy.parms = std::move(*original.parms.clone());
  copy.pool = original.pool;
  ASSERT_EQ(copy.parms.m_count, 2);
  ASSERT_NE(&copy.Medium(0), &original.Medium(0));
  original.parms.media[0]->m_port = 1;
  original.parms.media[1] = nullptr;
  original.parms.a_count = 1;
  EXPECT_EQ(Encode(copy).text, text);
}

TEST(CpsdpRecord, CopyReplacesSessionAndMedia) {
  const Description two = Parse(InMedia({"a=mid:1", "m=video 5006 RTP/AVP 31"}));
  Description copy = Parse(Session({"a=x", "m=audio 1 udp 0", "m=audio 2 udp 0", "m=audio 3 udp 0"}));
  copy.parms.copy_from(two.parms);
  copy.pool = two.pool;
  EXPECT_EQ(Encode(copy).text, Encode(two).text);
  EXPECT_EQ(copy.parms.m_count, 2);
  EXPECT_NE(&copy.Medium(0), &two.Medium(0));
  EXPECT_EQ(copy.parms.media[2], nullptr);
}

TEST(CpsdpRecord, CloneCopiesEveryMediumThatIsThere) {
  cpsdp_parms empty;
  const std::unique_ptr<cpsdp_parms> none = empty.clone();
  ASSERT_NE(none, nullptr);
  EXPECT_EQ(none->m_count, 0);
  EXPECT_EQ(none->media[0], nullptr);

  // A line that was refused leaves a medium that is not counted yet.
  const Description refused = Parse(Session({"m=audio 5004"}));
  ASSERT_EQ(refused.reason, 39);
  const std::unique_ptr<cpsdp_parms> copy = refused.parms.clone();
  EXPECT_EQ(copy->m_count, 0);
  EXPECT_NE(copy->media[0].get(), refused.parms.media[0].get());
}

}  // namespace
}  // namespace hark::test
