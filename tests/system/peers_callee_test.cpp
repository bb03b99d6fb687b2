// The station calls sipp: what becomes of the call with each way in which the far end may take it.
#include "system/peers_fixture.h"

namespace hark::test {
namespace {

class SippCallees : public PeersTest {
 protected:
  SippCallees() : PeersTest({"sipp"}) {}
};

TEST_F(SippCallees, AnsweredListenCallIsHeardUntilItIsDropped) {
  Program callee = Callee("callee_is_dropped.xml", kFarTalkService);
  Call(far, "LISTEN:1");
  EXPECT_TRUE(Reported(far, "LISTEN:r"));
  EXPECT_TRUE(Reported(far, "LISTEN:1"));
  EXPECT_TRUE(MixerGets(peer + ":6000"));
  Call(far, "LISTEN:0");
  EXPECT_TRUE(MixerGets(""));
  EXPECT_TRUE(Reported(far, "LISTEN:0"));
  EXPECT_TRUE(ends_with(callee, 0));
}

TEST_F(SippCallees, AnsweredTalkCallIsDropped) {
  Program callee = Callee("callee_is_dropped.xml", kFarListenService);
  Call(far, "TALK:1");
  EXPECT_TRUE(Reported(far, "TALK:r"));
  EXPECT_TRUE(Reported(far, "TALK:1"));
  Call(far, "TALK:0");
  EXPECT_TRUE(Reported(far, "TALK:0"));
  EXPECT_TRUE(ends_with(callee, 0));
}

TEST_F(SippCallees, CalleeThatHangsUpShowsAsFarDropped) {
  ASSERT_TRUE(client.send_line("HARK DROPFLASH:100"));
  Program callee = Callee("callee_hangs_up.xml", kFarTalkService);
  Call(far, "LISTEN:1");
  EXPECT_TRUE(Reported(far, "LISTEN:1"));
  EXPECT_TRUE(Reported(far, "LISTEN:d"));
  EXPECT_TRUE(Reported(far, "LISTEN:0"));
  EXPECT_TRUE(ends_with(callee, 0));
}

struct Refusal {
  const char* scenario;
  const char* code;
};

TEST_F(SippCallees, RefusedCallIsOffAndLogged) {
  constexpr std::array<Refusal, 2> kRefusals{{{"callee_is_busy.xml", "486"}, {"callee_declines.xml", "603"}}};
  for (const Refusal& refusal : kRefusals) {
    SCOPED_TRACE(refusal.scenario);
    const std::string logged = "Line 1/0 error " + std::string(refusal.code) + " Call failed";
    ExpectLog(logged);
    Program callee = Callee(refusal.scenario, kFarTalkService);
    Call(far, "LISTEN:1");
    EXPECT_TRUE(Reported(far, "LISTEN:0"));
    EXPECT_TRUE(Logged(logged));
    EXPECT_TRUE(ends_with(callee, 0));
  }
}

TEST_F(SippCallees, DropOfACallThatOnlyRingsCancelsIt) {
  Program callee = Callee("callee_does_not_answer.xml", kFarTalkService);
  Call(far, "LISTEN:1");
  ASSERT_TRUE(Reported(far, "LISTEN:r"));
  Call(far, "LISTEN:0");
  EXPECT_TRUE(Reported(far, "LISTEN:0"));
  EXPECT_TRUE(ends_with(callee, 0));
}

TEST_F(SippCallees, ProgressAheadOfTheAnswerDoesNoHarm) {
  Program callee = Callee("callee_has_progress.xml", kFarTalkService);
  Call(far, "LISTEN:1");
  EXPECT_TRUE(Reported(far, "LISTEN:1"));
  EXPECT_TRUE(MixerGets(peer + ":6000"));
  Call(far, "LISTEN:0");
  EXPECT_TRUE(Reported(far, "LISTEN:0"));
  EXPECT_TRUE(ends_with(callee, 0));
}

TEST_F(SippCallees, CallComesUpAndEndsThoughEveryTenthMessageIsLost) {
  ExpectLog("error 51 No response on disconnect");  // the last answer is lost, and sipp gone
  Program callee = Callee("callee_in_bad_network.xml", kFarTalkService, {"-lost", "10"});
  Call(far, "LISTEN:1");
  ASSERT_TRUE(client.skip_to("LISTEN:1", 30'000));
  Call(far, "LISTEN:0");
  EXPECT_TRUE(client.skip_to("LISTEN:0", 30'000));
  EXPECT_TRUE(ends_with(callee, 0));
}

}  // namespace
}  // namespace hark::test
