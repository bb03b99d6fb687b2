// Browsers come and go: the hello, the token, and who is turned away.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/harkpanel/gateway_rig.h"

namespace hark::test {
namespace {

using testing::Each;
using testing::IsEmpty;
using testing::SizeIs;

class GatewayBrowsers : public GatewayTest {
 protected:
  void StartWithToken(const std::string& token) {
    panel_gateway::GatewayOptions options;
    options.token = token;
    Restart(options);
    StationUp();
  }
};

TEST_F(GatewayBrowsers, HelloIsAnsweredByAWelcomeAndTheWholeState) {
  panel_gateway::GatewayOptions options;
  options.id = "desk";
  options.first_key = 11;
  options.last_key = 14;
  options.auto_answer = true;
  Restart(options);
  StationUp();
  const BrowserId browser = Open();
  EXPECT_THAT(Told(browser), IsEmpty()) << "nothing is told before the hello";
  Say(browser, {{"t", "hello"}, {"v", 1}});
  const std::vector<Json> told = Told(browser);
  ASSERT_THAT(told, SizeIs(2));
  EXPECT_EQ(told[0],
            Json::parse(R"({"t":"welcome","v":1,"id":"desk","first":11,"last":14,"autoAnswer":true})"));
  EXPECT_EQ(told[1]["t"], "state");
  for (const char* section :
       {"station", "channels", "autoAnswer", "keys", "speaker", "outputs", "calls", "shifts"})
    EXPECT_TRUE(told[1].contains(section)) << section;
  EXPECT_THAT(told[1]["channels"], SizeIs(4));
  EXPECT_EQ(gateway->browsers(), 1U);
}

TEST_F(GatewayBrowsers, HelloWithoutAStationIsWelcomeToo) {
  const BrowserId browser = Open();
  Say(browser, {{"t", "hello"}, {"v", 1}});
  EXPECT_THAT(Told(browser, "welcome"), SizeIs(1));
  EXPECT_EQ(Shown(browser)["station"]["link"], "connecting");
}

TEST_F(GatewayBrowsers, AnotherVersionOfTheProtocolIsRefused) {
  StationUp();
  for (const Json& hello : {Json{{"t", "hello"}, {"v", 2}}, Json{{"t", "hello"}, {"v", 0}},
                            Json{{"t", "hello"}, {"v", -1}}, Json{{"t", "hello"}}}) {
    SCOPED_TRACE(hello.dump());
    const BrowserId browser = Open();
    Say(browser, hello);
    EXPECT_EQ(Code(browser), 4400);
    EXPECT_THAT(Told(browser, "welcome"), IsEmpty());
  }
}

TEST_F(GatewayBrowsers, WhoSaysAnythingElseFirstIsRefusedAndNothingIsDone) {
  StationUp();
  (void)StationLines();
  for (const char* first : {R"({"t":"key","key":"KL01","down":true,"at":1})", R"({"t":"echo","n":1})",
                            R"({"t":"retry"})", R"({"t":"caller","label":"Desk"})",
                            R"({"t":"shift","name":"Night"})", R"({"t":"fader","key":"SPKV","to":0})"}) {
    SCOPED_TRACE(first);
    const BrowserId browser = Open();
    SayText(browser, first);
    EXPECT_EQ(Code(browser), 4400);
    EXPECT_FALSE(out.closed[browser].why.empty());
    Close(browser);
  }
  EXPECT_THAT(StationLines(), IsEmpty());
}

TEST_F(GatewayBrowsers, RefusalTellsItsReasonBeforeTheClose) {
  StationUp();
  const BrowserId browser = Join();
  SayText(browser, "nonsense");
  EXPECT_EQ(Code(browser), 4400);
  const std::vector<Json> told = ReadAll(browser);
  ASSERT_THAT(told, SizeIs(1));
  EXPECT_EQ(told[0]["t"], "refused");
  EXPECT_EQ(told[0]["why"], out.closed[browser].why);
  EXPECT_EQ(gateway->take_message(browser, now), "") << "and then nothing more";
}

TEST_F(GatewayBrowsers, NothingIsHeardFromWhoWasRefused) {
  StationUp();
  (void)StationLines();
  const BrowserId browser = Join();
  SayText(browser, "nonsense");
  // What was on its way when it was closed.
  KeyDown(browser, "KL01", 1);
  Say(browser, {{"t", "shift"}, {"name", "Night"}});
  SayText(browser, "more nonsense");
  EXPECT_THAT(StationLines(), IsEmpty());
  StationSays("set HARKUI#web.BUT#KL01 IND=On");
  Close(browser);
  EXPECT_EQ(gateway->browsers(), 0U);
  KeyDown(browser, "KL01", 1);
  Close(browser);
  EXPECT_EQ(gateway->take_message(browser, now), "");
  EXPECT_THAT(StationLines(), IsEmpty());
}

TEST_F(GatewayBrowsers, MisbehaviourOfTheConnectionIsClosedWithItsOwnCode) {
  StationUp();
  const BrowserId browser = Join();
  const BrowserId other = Join();
  KeyDown(browser, "KL01", 1);
  gateway->browser_misbehaved(browser, CloseCode::kTooLarge, "frame too large");
  EXPECT_EQ(Code(browser), 4413);
  EXPECT_EQ(out.closed[browser].why, "frame too large");
  EXPECT_THAT(out.down, IsEmpty()) << "what it held goes up at once";
  EXPECT_EQ(Code(other), 0);
}

TEST_F(GatewayBrowsers, TokenMustBeTheWholeOne) {
  StartWithToken("correct horse");
  for (const char* wrong : {"", "c", "correct hors", "correct horse ", "correct horsf", "Correct horse",
                            "correct horse\n", "xorrect horse", "correct horsecorrect horse"}) {
    SCOPED_TRACE(wrong);
    const BrowserId browser = Open();
    Say(browser, {{"t", "hello"}, {"v", 1}, {"token", wrong}});
    EXPECT_EQ(Code(browser), 4401);
    const std::vector<Json> told = ReadAll(browser);
    ASSERT_THAT(told, SizeIs(1)) << "nothing of the state";
    EXPECT_EQ(told[0]["t"], "refused");
    EXPECT_EQ(out.closed[browser].why.find("correct"), std::string::npos) << "the reason tells nothing of it";
  }
  const BrowserId nul = Open();
  SayText(nul, R"({"t":"hello","v":1,"token":"correct horse\u0000"})");
  EXPECT_EQ(Code(nul), 4401);
  const BrowserId browser = Join("correct horse");
  EXPECT_EQ(Code(browser), 0);
  EXPECT_EQ(Shown(browser)["station"]["link"], "up");
}

TEST_F(GatewayBrowsers, MissingTokenIsRefusedAsAWrongOne) {
  StartWithToken("correct horse");
  const BrowserId browser = Open();
  Say(browser, {{"t", "hello"}, {"v", 1}});
  EXPECT_EQ(Code(browser), 4401);
  EXPECT_THAT(Told(browser, "welcome"), IsEmpty());
}

TEST_F(GatewayBrowsers, TokenIsPassedOverWhereNoneIsWanted) {
  StationUp();
  EXPECT_EQ(Code(Join("anything")), 0);
}

TEST_F(GatewayBrowsers, WithoutAHelloIsClosedInFiveSeconds) {
  StationUp();
  const BrowserId silent = Open();
  const BrowserId other = Join();
  AdvanceMs(4'900);
  EXPECT_EQ(Code(silent), 0);
  AdvanceMs(200);
  EXPECT_EQ(Code(silent), 4408);
  EXPECT_EQ(Code(other), 0);
}

TEST_F(GatewayBrowsers, SixtyFourAreServedAndTheNextIsTurnedAwayUntilOneGoes) {
  StationUp();
  std::vector<BrowserId> all;
  for (int count = 0; count < 64; ++count)
    all.push_back(Join());
  const BrowserId extra = Open();
  Say(extra, {{"t", "hello"}, {"v", 1}});
  AdvanceMs(50);
  EXPECT_EQ(Code(extra), 4503);
  EXPECT_FALSE(out.closed[extra].why.empty());
  EXPECT_THAT(Told(extra, "welcome"), IsEmpty());
  for (const BrowserId browser : all)
    EXPECT_EQ(Code(browser), 0);
  Close(extra);
  StationSays("set HARKUI#web.BUT#KL01 IND=On");
  for (const BrowserId browser : all)
    EXPECT_EQ(Shown(browser)["ch"]["1"]["listen"], "on");
  Close(all[30]);
  EXPECT_EQ(Code(Join()), 0);
}

TEST_F(GatewayBrowsers, NumbersAreNeverUsedTwice) {
  StationUp();
  std::set<BrowserId> seen;
  for (int count = 0; count < 200; ++count) {
    const BrowserId browser = Join();
    EXPECT_TRUE(seen.insert(browser).second);
    Close(browser);
  }
  EXPECT_EQ(gateway->browsers(), 0U);
}

TEST_F(GatewayBrowsers, ShutDownTellsAllAndLetsGoOfAll) {
  StationUp();
  const BrowserId one = Join();
  const BrowserId two = Join();
  const BrowserId new_one = Open();
  KeyDown(one, "KL01", 1);
  KeyDown(two, "KT02", 1);
  now += 10;
  gateway->shut_down(now);
  EXPECT_THAT(out.down, IsEmpty());
  for (const BrowserId browser : {one, two, new_one})
    EXPECT_EQ(Code(browser), 1001);
  for (const KeyLine& key : Keys())
    if (!key.down) {
      EXPECT_GT(key.t, T()) << "never a tap";
    }
}

}  // namespace
}  // namespace hark::test
