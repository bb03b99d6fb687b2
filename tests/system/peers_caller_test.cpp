// sipp calls the station: what a caller meets at both services, and what the station's clients and its mixer
// hear of it.
#include "system/peers_fixture.h"

namespace hark::test {
namespace {

class SippCallers : public PeersTest {
 protected:
  SippCallers() : PeersTest({"sipp"}) {}
};

// To the talk service, which has no need of media.
SippOptions to_talk() {
  SippOptions options;
  options.caller = "hark-listen";
  options.service = "hark-talk";
  options.port = kTalkService;
  return options;
}

TEST_F(SippCallers, AnsweredCallerIsHeardUntilItHangsUp) {
  ASSERT_TRUE(client.send_line("HARK DROPFLASH:100"));
  Program caller = Caller("caller_hangs_up.xml");
  ASSERT_TRUE(Reported(far, "LISTEN:R"));
  Call(far, "LISTEN:1");
  EXPECT_TRUE(Reported(far, "LISTEN:1"));
  EXPECT_TRUE(MixerGets(peer + ":6000"));
  EXPECT_TRUE(Reported(far, "LISTEN:d"));
  EXPECT_TRUE(MixerGets(""));
  EXPECT_TRUE(Reported(far, "LISTEN:0"));
  EXPECT_TRUE(ends_with(caller, 0));
}

TEST_F(SippCallers, AnsweredCallerIsDroppedByTheStation) {
  Program caller = Caller("caller_is_dropped.xml", to_talk());
  ASSERT_TRUE(Reported(far, "TALK:R"));
  Call(far, "TALK:1");
  EXPECT_TRUE(Reported(far, "TALK:1"));
  Call(far, "TALK:0");
  EXPECT_TRUE(Reported(far, "TALK:0"));
  EXPECT_TRUE(ends_with(caller, 0));
}

TEST_F(SippCallers, CallerThatGivesUpIsOff) {
  Program caller = Caller("caller_gives_up.xml", to_talk());
  EXPECT_TRUE(Reported(far, "TALK:R"));
  EXPECT_TRUE(Reported(far, "TALK:0"));
  EXPECT_TRUE(ends_with(caller, 0));
}

TEST_F(SippCallers, CallerThatGivesUpAtAListenLineShowsAsFarDropped) {
  ASSERT_TRUE(client.send_line("HARK DROPFLASH:100"));
  Program caller = Caller("caller_gives_up.xml");
  EXPECT_TRUE(Reported(far, "LISTEN:R"));
  EXPECT_TRUE(Reported(far, "LISTEN:d"));
  EXPECT_TRUE(Reported(far, "LISTEN:0"));
  EXPECT_TRUE(ends_with(caller, 0));
}

TEST_F(SippCallers, RingingCallerIsRefusedByADrop) {
  Program caller = Caller("caller_is_refused.xml");
  ASSERT_TRUE(Reported(far, "LISTEN:R"));
  Call(far, "LISTEN:0");
  EXPECT_TRUE(Reported(far, "LISTEN:0"));
  EXPECT_TRUE(ends_with(caller, 0));
}

// It can only call: nobody at the station can dial, answer or drop a party that is no station.
TEST_F(SippCallers, TelephonePartyRingsAndCannotBeAnswered) {
  ExpectLog("protocol unknown");
  SippOptions options = to_talk();
  options.caller = "alice";
  const std::string alice = "sip:alice@" + peer;
  Program caller = Caller("caller_gives_up.xml", options);
  ASSERT_TRUE(Reported(alice, "TALK:R"));
  Call(alice, "TALK:1");
  EXPECT_TRUE(client.expect_line(kCallFailed));
  EXPECT_TRUE(Reported(alice, "TALK:0"));
  EXPECT_TRUE(ends_with(caller, 0));
}

TEST_F(SippCallers, CallerWithoutACommonCodecIsRefusedAndTheNextOneRingsAtOnce) {
  SippOptions phone;
  phone.codec = "PCMU/8000";
  phone.number = "0";
  Program refused = Caller("caller_has_no_codec.xml", phone);
  EXPECT_TRUE(ends_with(refused, 0));
  Program caller = Caller("caller_is_dropped.xml");
  ASSERT_TRUE(Reported(far, "LISTEN:R"));
  Call(far, "LISTEN:1");
  EXPECT_TRUE(Reported(far, "LISTEN:1"));
  Call(far, "LISTEN:0");
  EXPECT_TRUE(ends_with(caller, 0));
}

// The talk service takes calls without media: there the answer in the ACK is not asked for.
TEST_F(SippCallers, CallerWithoutAnOfferConnectsAtTheTalkService) {
  Program caller = Caller("caller_without_offer.xml", to_talk());
  ASSERT_TRUE(Reported(far, "TALK:R"));
  Call(far, "TALK:1");
  EXPECT_TRUE(Reported(far, "TALK:1"));
  EXPECT_TRUE(Reported(far, "TALK:0"));
  EXPECT_TRUE(ends_with(caller, 0));
}

TEST_F(SippCallers, CallerWithoutAnOfferIsHungUpOnAtTheListenService) {
  ExpectLog("Line 1/0 error 52 Missing media info");
  Program caller = Caller("caller_without_offer_is_dropped.xml");
  ASSERT_TRUE(Reported(far, "LISTEN:R"));
  Call(far, "LISTEN:1");
  EXPECT_TRUE(Reported(far, "LISTEN:0"));
  EXPECT_TRUE(ends_with(caller, 0));
}

TEST_F(SippCallers, CallComesUpAndEndsThoughEveryTenthMessageIsLost) {
  ExpectLog("error 51 No response on disconnect");  // the last answer is lost, and sipp gone
  SippOptions options = to_talk();
  options.extra = {"-lost", "10"};
  Program caller = Caller("caller_in_bad_network.xml", options);
  ASSERT_TRUE(client.skip_to("TALK:R", 30'000));
  Call(far, "TALK:1");
  ASSERT_TRUE(client.skip_to("TALK:1", 30'000));
  Call(far, "TALK:0");
  EXPECT_TRUE(client.skip_to("TALK:0", 30'000));
  EXPECT_TRUE(ends_with(caller, 0));
}

}  // namespace
}  // namespace hark::test
