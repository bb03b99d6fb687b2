// The service name as a DNS label, and the services' life as far as the lines see it.
#include <array>
#include <cstring>

#include "callctl/call_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ServiceName : public CallTest {};

TEST_F(ServiceName, IsEscapedAsALabel) {
  struct Row {
    const char* name;
    const char* label;
  };
  for (const Row& row : {Row{"", ""},
                         {"Studio", "Studio"},
                         {"IC 0A0B0C", "IC\\0320A0B0C"},
                         {"a.b", "a\\.b"},
                         {"a\\b", "a\\\\b"},
                         {".", "\\."},
                         {"\t", "\\009"},
                         {"\x01\x1f", "\\001\\031"},
                         {"!~\x7f", "!~\x7f"},
                         {"a;b,c\"", "a;b,c\""}}) {
    SCOPED_TRACE(row.name);
    std::array<char, 64> label{};
    EXPECT_EQ(str2mdnsnamez(row.name, label.data(), label.size()), static_cast<int>(std::strlen(row.label)));
    EXPECT_STREQ(label.data(), row.label);
  }
}

// Bytes from 0x80 up count as below a blank too, and their digits come out of a division of a negative
// number.
TEST_F(ServiceName, BytesBeyondAsciiAreEscapedByTheirSignedValue) {
  std::array<char, 16> label{};
  EXPECT_EQ(str2mdnsnamez("\xFF", label.data(), label.size()), 4);  // -1
  EXPECT_EQ(std::string(label.data()), std::string({'\\', '0', '0', '0' - 1}));
  EXPECT_EQ(str2mdnsnamez("\x80", label.data(), label.size()), 4);  // -128
  EXPECT_EQ(std::string(label.data()), std::string({'\\', '0' - 1, '0' - 2, '0' - 8}));
}

TEST_F(ServiceName, IsCutBeforeACharacterThatDoesNotFit) {
  struct Row {
    const char* name;
    std::size_t size;
    const char* label;
  };
  for (const Row& row : {Row{"abc", 4, "abc"},
                         {"abc", 3, "ab"},
                         {"abc", 2, "a"},
                         {"abc", 1, ""},
                         {"a.b", 4, "a\\."},
                         {"a.b", 3, "a"},
                         {"a b", 6, "a\\032"},
                         {"a b", 5, "a"},
                         {"a b", 7, "a\\032b"}}) {
    SCOPED_TRACE(std::string(row.name) + " in " + std::to_string(row.size));
    std::array<char, 16> label;
    label.fill('#');
    EXPECT_EQ(str2mdnsnamez(row.name, label.data(), row.size), static_cast<int>(std::strlen(row.label)));
    EXPECT_STREQ(label.data(), row.label);
    EXPECT_EQ(label[row.size], '#');
  }
}

TEST_F(ServiceName, WithoutRoomNothingIsWritten) {
  std::array<char, 4> label{'#', '#', '#', '#'};
  EXPECT_EQ(str2mdnsnamez("abc", label.data(), 0), 0);
  EXPECT_EQ(label[0], '#');
  EXPECT_EQ(str2mdnsnamez("abc", nullptr, 10), 0);
}

class Services : public CallTest {};

TEST_F(Services, RemovalBreaksAllCallsListenFirst) {
  ASSERT_EQ(Modify("quillnet:239.192.0.7;qntb=1", kWishConnect, kWishConnect), 0);
  Put(kListenKind, 1, kStation, kLineFarDropped).drop_pending = true;
  Forget();
  EXPECT_EQ(sipctrl_removeservice(), 0);
  EXPECT_THAT(Reports(), ElementsAre("quillnet:239.192.0.7;qntb=1 L:0", "quillnet:239.192.0.7;qntb=1 T:0",
                                     "hark:10.0.0.5 L:0"));
  EXPECT_THAT(MixerLines(), ElementsAre("set hark#1.sub#1.in#1 src_id=\"\", gain=0",
                                        "set hark#1.sub#1.in#2 src_id=\"\", gain=0"));
}

TEST_F(Services, RemovalWithoutServicesIsHarmless) {
  EXPECT_EQ(sipctrl_removeservice(), 0);
  EXPECT_EQ(sipctrl_removeservice(), 0);
  EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(Services, CreationAgainBreaksTheCallsAndTakesNewOnes) {
  ASSERT_EQ(Listen(kSource), 0);
  Forget();
  StationIdentity identity;
  identity.ip = 0x7F530002;
  identity.name = "other";
  identity.port = 5060;
  EXPECT_EQ(sipctrl_removeservice(), 0);
  EXPECT_EQ(sipctrl_createservice(identity), 0);
  EXPECT_THAT(Reports(), ElementsAre("quillnet:239.192.0.7 L:0"));
  EXPECT_EQ(Listen(kSource), 0);
  EXPECT_THAT(Reports(), ElementsAre("quillnet:239.192.0.7 L:1"));
}

TEST_F(Services, StartClearsBothTablesSilently) {
  Put(kListenKind, 0, kStation, kLineConnected);
  Put(kTalkKind, 9, kStation, kLineConnected);
  EXPECT_EQ(sipctrl_initialize(), 0);
  EXPECT_TRUE(listen_lines[0].url.empty() && talk_lines[9].url.empty());
  EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(Services, EndFreesEveryLine) {
  ASSERT_EQ(Listen(kSource), 0);
  Put(kTalkKind, 3, kStation, kLineOff);  // off: no service's end looks at it
  Forget();
  sipctrl_done();
  EXPECT_THAT(Reports(), ElementsAre("quillnet:239.192.0.7 L:0"));
  for (const HarkLine& line : listen_lines)
    EXPECT_TRUE(line.url.empty());
  for (const HarkLine& line : talk_lines)
    EXPECT_TRUE(line.url.empty());
}

}  // namespace
}  // namespace hark
