// The two tables of lines filled to the last, and URLs that are too long.
#include "system/station_fixture.h"

namespace hark::test {
namespace {

using testing::ElementsAre;

class CallLimits : public StationTest {
 protected:
  void SetUp() override {
    StartReadyForCalls();
    client = Connect();
    let_it_settle(client);
  }
  static std::string Url(int i) { return "quillnet:239.192.2." + std::to_string(i); }
  Lines Call(const std::string& url, const std::string& what) {
    return answers(client, "CALL URL:\"" + url + "\" " + what);
  }

  Client client;
};

TEST_F(CallLimits, EightListenLinesEachWithItsInput) {
  ExpectLog("line alloc failed");
  for (int i = 1; i <= 8; ++i)
    EXPECT_THAT(Call(Url(i), "LISTEN:1"), ElementsAre()) << i;
  EXPECT_THAT(Call(Url(9), "LISTEN:1 TALK:1"), ElementsAre(kCallFailed));
  for (int i = 1; i <= 8; ++i) {
    EXPECT_TRUE(sim.wait_received("set hark#1.sub#1.in#" + std::to_string(i) + " src_id=\"239.192.2." +
                                  std::to_string(i) + "\", gain=0"));
  }
  EXPECT_EQ(answers(client, "CALL").size(), 10U) << "the talk direction is not tried";
  EXPECT_THAT(Call(Url(3), "LISTEN:1"), ElementsAre()) << "a call that is up is none more";
}

TEST_F(CallLimits, AllTalkLines) {
  ExpectLog("line alloc failed");
  for (int i = 1; i <= 128; ++i)
    EXPECT_THAT(Call(Url(i), "TALK:1"), ElementsAre()) << i;
  EXPECT_THAT(Call(Url(129), "TALK:1"), ElementsAre(kCallFailed));
  EXPECT_EQ(answers(client, "CALL").size(), 130U);
}

TEST_F(CallLimits, UrlIsCutAt79Characters) {
  const std::string url = "quillnet:239.192.0.10;label=" + std::string(51, 'x');
  ASSERT_EQ(url.size(), 79U);
  EXPECT_THAT(Call(url + "yyyy", "LISTEN:1"), ElementsAre());
  EXPECT_THAT(answers(client, "CALL"),
              ElementsAre("BEGIN", "CALL URL:\"" + url + "\" LISTEN:1 VOLUME:0", "END"));
}

}  // namespace
}  // namespace hark::test
