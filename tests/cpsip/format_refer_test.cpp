// Refer-To, Referred-By and Replaces on the wire: which of them appear, and Replaces inside Refer-To.
#include "cpsip/msg_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(FormatReferTest, ReplacesTravelsInReferToOnARefer) {
  const auto put = [](cpsip_msg& msg) { Put(msg, CPSIP_FLD_REPLACES, "9@h;to-tag=7"); };
  EXPECT_THAT(Lines("Replaces:", put), ElementsAre("Replaces: 9@h;to-tag=7"));
  EXPECT_THAT(Lines("Replaces:",
                    [&](cpsip_msg& msg) {
                      put(msg);
                      msg.method = cpsip_method::refer;
                    }),
              IsEmpty());
}

// What was received is kept as its whole line.
TEST(FormatReferTest, ReceivedReplacesIsWrittenByItsValue) {
  const auto put = [](cpsip_msg& msg) { Put(msg, CPSIP_FLD_REPLACES, "Replaces: 9@h;to-tag=7\r\n"); };
  EXPECT_THAT(Lines("Replaces:", put), ElementsAre("Replaces: 9@h;to-tag=7"));
  EXPECT_THAT(Lines("Refer-To:",
                    [&](cpsip_msg& msg) {
                      put(msg);
                      Put(msg, CPSIP_FLD_REFER_TO_URI, "sip:carol@h");
                    }),
              ElementsAre("Refer-To: <sip:carol@h?Replaces=9%40h%3Bto-tag%3D7>"));
}

struct ReferRow {
  std::string_view display, uri, replaces;
  std::vector<std::string> lines;
};

TEST(FormatReferTest, ReferToNeedsAUriAndEscapesItsReplaces) {
  const ReferRow rows[] = {
      {"", "", "", {}},
      {"Carol", "", "9@h", {}},
      {"", "sip:c@h", "", {"Refer-To: <sip:c@h>"}},
      {"Carol", "sip:c@h", "", {"Refer-To: Carol <sip:c@h>"}},
      {"", "sip:c@h", "9", {"Refer-To: <sip:c@h?Replaces=9>"}},
      {"", "sip:c@h", "a=b@c;d", {"Refer-To: <sip:c@h?Replaces=a%3Db%40c%3Bd>"}},
      {"", "sip:c@h", "==@@;;", {"Refer-To: <sip:c@h?Replaces=%3D%3D%40%40%3B%3B>"}},
      {"", "sip:c@h", ":,<>/?&+$% #\"", {"Refer-To: <sip:c@h?Replaces=:,<>/?&+$% #\">"}},
  };
  for (const ReferRow& row : rows) {
    SCOPED_TRACE(std::string(row.uri) + " " + std::string(row.replaces));
    EXPECT_EQ(Lines("Refer-To:",
                    [&](cpsip_msg& msg) {
                      msg.method = cpsip_method::refer;
                      Put(msg, CPSIP_FLD_REFER_TO_DISPLAY, row.display);
                      Put(msg, CPSIP_FLD_REFER_TO_URI, row.uri);
                      Put(msg, CPSIP_FLD_REPLACES, row.replaces);
                    }),
              row.lines);
  }
}

TEST(FormatReferTest, LongReplacesIsWrittenWhole) {
  for (const std::size_t length : {255UL, 256UL, 700UL, 1500UL, 1501UL, 5000UL}) {
    SCOPED_TRACE(length);
    const std::string value(length, '@');
    std::string escaped;
    for (std::size_t at = 0; at < length; ++at)
      escaped += "%40";
    cpsip_msg_ptr msg = NewRequest();
    Put(*msg, CPSIP_FLD_REPLACES, value);
    Put(*msg, CPSIP_FLD_REFER_TO_URI, "sip:c@h");
    const std::string wire = Wire(msg);
    EXPECT_TRUE(LinesWith(wire, "Replaces:") == std::vector{"Replaces: " + value});
    EXPECT_TRUE(LinesWith(wire, "Refer-To:") == std::vector{"Refer-To: <sip:c@h?Replaces=" + escaped + ">"});
  }
}

// Kept: the two blanks.
TEST(FormatReferTest, ReferredByNeedsAUriAndHasTwoBlanks) {
  EXPECT_THAT(Lines("Referred-By:", [](cpsip_msg& msg) { Put(msg, CPSIP_FLD_REFERRED_BY_DISPLAY, "Dave"); }),
              IsEmpty());
  EXPECT_THAT(Lines("Referred-By:", [](cpsip_msg& msg) { Put(msg, CPSIP_FLD_REFERRED_BY_URI, "sip:d@h"); }),
              ElementsAre("Referred-By:  <sip:d@h>"));
  EXPECT_THAT(Lines("Referred-By:",
                    [](cpsip_msg& msg) {
                      Put(msg, CPSIP_FLD_REFERRED_BY_DISPLAY, "Dave");
                      Put(msg, CPSIP_FLD_REFERRED_BY_URI, "sip:d@h");
                    }),
              ElementsAre("Referred-By:  Dave <sip:d@h>"));
}

}  // namespace
}  // namespace hark::test
