// Calls with far ends that answer as no station does: everything at once, everything twice, what nobody
// asked, late, or never. Each call ends in the time that is stated, and a call with another station goes on.
#include <algorithm>
#include <map>

#include "system/sip_far_end.h"
#include "system/sip_station.h"

namespace hark::test {
namespace {

using testing::ElementsAre;

// 32 s without a word from the far end, 5 s for a farewell, and the second that the timers round up to,
// twice.
constexpr int kSilentMs = 75'000;

class SipFarEnds : public SipTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(SipTest::SetUp());
    ExpectLog("]: Updated ");
  }
  // Lets the far end answer each request with these, in this order, as soon as it comes.
  static void Answers(SipFarEnd& far, const std::map<std::string, std::vector<int>>& statuses) {
    far.script = [&far, statuses](const SipDatagram& datagram) {
      const auto found = statuses.find(datagram.kind());
      if (found == statuses.end()) return;
      for (const int status : found->second)
        far.reply(datagram, status, datagram.kind() == "INVITE" && status == 200);
    };
  }
  // A call from the far end that the station has answered; the mixer has it, or is talked to.
  SipFarEnd::Call Connected(SipFarEnd& from, int port, const std::string& id) {
    const std::string direction = port == kListenPort ? "LISTEN" : "TALK";
    SipFarEnd::Call call = from.invite(a.address(), port, id);
    EXPECT_TRUE(a.shows(from.address(), direction + ":R"));
    a.call(from.address(), direction + ":1");
    EXPECT_TRUE(from.answered(call, 200));
    from.send(call, from.request(call, "ACK"));
    EXPECT_TRUE(a.shows(from.address(), direction + ":1"));
    return call;
  }
  // Whatever came before, the station makes and takes calls.
  void StillWorks() {
    ASSERT_NO_FATAL_FAILURE(Talk(a, b));
    EXPECT_TRUE(b.hears({a.media()}));
    a.call(b, "TALK:0");
    BothFree();
    ASSERT_NO_FATAL_FAILURE(Listen(a, b));
    a.call(b, "LISTEN:0");
    BothFree();
  }

  SipFarEnd far{own_address(2)};
};

TEST_F(SipFarEnds, EverythingAtOnceConnectsAndEndsTheCall) {
  Answers(far, {{"INVITE", {100, 180, 183, 200}}, {"BYE", {100, 200}}});
  a.call(far.address(), "TALK:1 LISTEN:1");
  EXPECT_TRUE(a.shows(far.address(), "TALK:1"));
  EXPECT_TRUE(a.shows(far.address(), "LISTEN:1"));
  EXPECT_TRUE(a.hears({far.media()}));
  (void)far.wait_for("ACK", 2);
  a.call(far.address(), "TALK:0 LISTEN:0");
  EXPECT_TRUE(a.becomes_free());
  StillWorks();
}

TEST_F(SipFarEnds, EverythingTwiceIsTakenOnce) {
  Answers(far, {{"INVITE", {180, 180, 200, 200, 200}}, {"BYE", {200, 200}}});
  a.call(far.address(), "LISTEN:1");
  EXPECT_TRUE(a.shows(far.address(), "LISTEN:1"));
  (void)far.wait_for("ACK", 3);
  a.settle();
  EXPECT_TRUE(a.hears({far.media()}));
  EXPECT_EQ(a.sim.count("set hark#1.sub#1.in#1 src_id=\"" + far.media() + "\", gain=0"), 1);
  a.call(far.address(), "LISTEN:0");
  EXPECT_TRUE(a.becomes_free());
  const Lines told = a.watch.told(far.address());
  EXPECT_EQ(std::count(told.begin(), told.end(), "LISTEN:1"), 1);
  EXPECT_EQ(told.back(), "LISTEN:0");
  StillWorks();
}

// Whoever is refused is told so by the state alone, and acknowledges, or the far end would say it for ever.
TEST_F(SipFarEnds, RefusalsOfEveryKindFreeTheLine) {
  int calls = 0;
  for (const int status : {302, 400, 404, 480, 486, 488, 500, 503, 600, 603, 699}) {
    SCOPED_TRACE(status);
    Answers(far, {{"INVITE", {status}}});
    ExpectLog("]: Line 2/0 error " + std::to_string(status) + " ");
    a.watch.forget();
    a.call(far.address(), "TALK:1");
    EXPECT_TRUE(a.becomes_free());
    EXPECT_THAT(a.watch.told(far.address()), ElementsAre("TALK:0"));
    (void)far.wait_for("ACK", ++calls);
  }
  StillWorks();
}

TEST_F(SipFarEnds, FirstProvisionalIsWaitedForBeforeADroppedCallIsCancelled) {
  a.call(far.address(), "TALK:1");
  const SipDatagram invite = far.wait_for("INVITE");
  a.call(far.address(), "TALK:0");
  EXPECT_EQ(far.count("CANCEL"), 0);
  Answers(far, {{"CANCEL", {200}}});
  far.reply(invite, 180);
  const SipDatagram cancel = far.wait_for("CANCEL");
  EXPECT_EQ(cancel.header("CSeq"), "1 CANCEL");
  EXPECT_EQ(cancel.header("Call-ID"), invite.header("Call-ID"));
  far.reply(invite, 487);
  (void)far.wait_for("ACK");
  EXPECT_TRUE(a.becomes_free());
  StillWorks();
}

TEST_F(SipFarEnds, AnswerThatCrossesTheDropIsAcknowledgedAndEnded) {
  Answers(far, {{"INVITE", {180}}, {"BYE", {200}}});
  a.call(far.address(), "TALK:1");
  ASSERT_TRUE(a.shows(far.address(), "TALK:r"));
  a.call(far.address(), "TALK:0");
  const SipDatagram invite = far.wait_for("INVITE");
  (void)far.wait_for("CANCEL");
  far.reply(invite, 200, true);
  (void)far.wait_for("ACK");
  (void)far.wait_for("BYE");
  EXPECT_TRUE(a.becomes_free());
  EXPECT_FALSE(a.watch.was(far.address(), "TALK:1"));
  StillWorks();
}

TEST_F(SipFarEnds, CallsAndDropsThatAreSaidTwiceAreOneCall) {
  SipFarEnd::Call call = far.invite(a.address(), kListenPort, "twice");
  far.send(call, far.request(call, "INVITE", true));
  ASSERT_TRUE(a.shows(far.address(), "LISTEN:R"));
  a.call(far.address(), "LISTEN:1");
  ASSERT_TRUE(far.answered(call, 200));
  far.send(call, far.request(call, "ACK"));
  far.send(call, far.request(call, "ACK"));
  ASSERT_TRUE(a.shows(far.address(), "LISTEN:1"));
  EXPECT_EQ(a.list().size(), 1U);
  EXPECT_TRUE(a.hears({far.media()}));
  far.forget();
  ++call.cseq;
  far.send(call, far.request(call, "BYE"));
  (void)far.wait_for("200");
  far.send(call, far.request(call, "BYE"));
  (void)far.wait_for("200", 2);
  EXPECT_TRUE(a.becomes_free());
  EXPECT_THAT(a.watch.told(far.address()), ElementsAre("LISTEN:R", "LISTEN:1", "LISTEN:d", "LISTEN:0"));
  StillWorks();
}

TEST_F(SipFarEnds, CancelledTwiceEndsOneCall) {
  SipFarEnd::Call call = far.invite(a.address(), kTalkPort, "cancelled");
  ASSERT_TRUE(a.shows(far.address(), "TALK:R"));
  ASSERT_TRUE(far.answered(call, 180));
  far.send(call, far.request(call, "CANCEL"));
  (void)far.wait_for("200");
  ASSERT_TRUE(far.answered(call, 487));
  far.send(call, far.request(call, "CANCEL"));
  far.send(call, far.request(call, "ACK", false, "z9hG4bKcancelledINVITE1"));
  far.send(call, far.request(call, "CANCEL"));
  EXPECT_TRUE(a.becomes_free());
  EXPECT_THAT(a.watch.told(far.address()), ElementsAre("TALK:R", "TALK:0"));
  StillWorks();
}

TEST_F(SipFarEnds, WhoCallsAgainReplacesHisEarlierCall) {
  SipFarEnd::Call first = Connected(far, kListenPort, "first");
  Answers(far, {{"BYE", {200}}});
  SipFarEnd::Call second = Connected(far, kListenPort, "second");
  (void)far.wait_for("BYE");
  EXPECT_TRUE(a.hears({far.media()}));
  EXPECT_EQ(a.list().size(), 1U);
  far.script = {};
  ++second.cseq;
  far.send(second, far.request(second, "BYE"));
  EXPECT_TRUE(a.becomes_free());
  EXPECT_TRUE(a.hears({}));
}

// A name is not looked up: the call is taken, and ends when something has to be sent there.
TEST_F(SipFarEnds, ContactsThatAreHostNamesEndTheCall) {
  far.script = [&](const SipDatagram& datagram) {
    if (datagram.kind() != "INVITE") return;
    std::string answer = far.response_to(datagram, 200, true);
    const std::size_t at = answer.find(far.address() + ">");
    answer.replace(at, far.address().size(), "far.example");
    far.send(datagram.port, datagram.from, datagram.from_port, answer);
  };
  a.call(far.address(), "TALK:1");
  EXPECT_TRUE(a.shows(far.address(), "TALK:0"));
  EXPECT_TRUE(a.becomes_free());
  far.script = {};

  SipFarEnd::Call call{.station = a.address(), .port = kListenPort, .id = "named", .to = "<sip:x@y>"};
  call.contact = "<sip:hark-talk@far.example>";
  far.send(call, far.request(call, "INVITE", true));
  ASSERT_TRUE(a.shows(far.address(), "LISTEN:R"));
  a.call(far.address(), "LISTEN:1");
  ASSERT_TRUE(far.answered(call, 200));
  far.send(call, far.request(call, "ACK"));
  ASSERT_TRUE(a.shows(far.address(), "LISTEN:1"));
  a.call(far.address(), "LISTEN:0");
  EXPECT_TRUE(a.becomes_free());
  EXPECT_EQ(far.count("BYE"), 0);
  StillWorks();
}

TEST_F(SipFarEnds, CallWithoutACommonCodecIsRefusedUnseen) {
  SipFarEnd::Call call{.station = a.address(), .port = kListenPort, .id = "codec", .to = "<sip:x@y>"};
  std::string text = far.request(call, "INVITE", true);
  text.replace(text.find("L24/48000/2"), 11, "XYZ/44100/1");
  far.send(call, text);
  ASSERT_TRUE(far.answered(call, 488));
  far.send(call, far.request(call, "ACK", false, "z9hG4bKcodecINVITE1"));
  EXPECT_THAT(a.list(), ElementsAre());
  EXPECT_THAT(a.watch.told(far.address()), ElementsAre());
  StillWorks();
}

// The talk service does not need to know where the other's audio is; the listen service does.
TEST_F(SipFarEnds, CallWithoutAnyMediaIsForTheTalkServiceOnly) {
  ExpectLog("]: Line 1/0 error 52 Missing media info");
  Answers(far, {{"BYE", {200}}});
  for (const int port : {kTalkPort, kListenPort}) {
    SCOPED_TRACE(port);
    const std::string direction = port == kListenPort ? "LISTEN" : "TALK";
    SipFarEnd::Call call{.station = a.address(), .port = port, .id = "bare" + direction, .to = "<sip:x@y>"};
    far.send(call, far.request(call, "INVITE"));
    ASSERT_TRUE(a.shows(far.address(), direction + ":R"));
    a.call(far.address(), direction + ":1");
    ASSERT_TRUE(far.answered(call, 200));
    far.send(call, far.request(call, "ACK"));
    if (port == kTalkPort) {
      EXPECT_TRUE(a.shows(far.address(), "TALK:1"));
      a.call(far.address(), "TALK:0");
    }
    (void)far.wait_for("BYE", port == kTalkPort ? 1 : 2);
    EXPECT_TRUE(a.becomes_free());
    EXPECT_EQ(a.watch.was(far.address(), direction + ":1"), port == kTalkPort);
  }
  EXPECT_TRUE(a.hears({}));
  StillWorks();
}

// Six ways to fall silent, side by side, since each takes its time.
TEST_F(SipFarEnds, WhoFallsSilentIsGivenUpInTime) {
  SipFarEnd rings{own_address(3)};
  SipFarEnd dies{own_address(4)};
  SipFarEnd takes{own_address(5)};
  SipFarEnd asks{own_address(6)};
  ASSERT_NO_FATAL_FAILURE(Listen(a, b));
  ExpectLog("]: Line 2/1 error 51 No response on disconnect");  // who rings, once it is cancelled
  ExpectLog("]: Line 2/2 error 51 No response on disconnect");  // who died
  ExpectLog("]: Line 2/3 error 51 No response on disconnect");  // who answered 401

  a.call(far.address(), "TALK:1");  // never answered at all
  Answers(rings, {{"INVITE", {180}}});
  a.call(rings.address(), "TALK:1");
  Answers(dies, {{"INVITE", {200}}});
  a.call(dies.address(), "TALK:1");
  Answers(takes, {{"INVITE", {180, 401}}});
  a.call(takes.address(), "TALK:1");
  // Never acknowledged; it takes the farewell for that.
  Answers(asks, {{"BYE", {200}}});
  SipFarEnd::Call call = asks.invite(a.address(), kListenPort, "asks");
  ASSERT_TRUE(a.shows(asks.address(), "LISTEN:R"));
  a.call(asks.address(), "LISTEN:1");
  ASSERT_TRUE(asks.answered(call, 200));

  ASSERT_TRUE(a.shows(dies.address(), "TALK:1"));
  ASSERT_TRUE(a.shows(rings.address(), "TALK:r"));
  ASSERT_TRUE(a.shows(takes.address(), "TALK:r"));
  a.call(dies.address(), "TALK:0");
  a.call(takes.address(), "TALK:0");
  a.call(far.address(), "TALK:0");
  EXPECT_TRUE(a.shows(dies.address(), "TALK:0"));
  EXPECT_TRUE(a.shows(takes.address(), "TALK:0"));
  EXPECT_EQ(a.watch.letter(rings.address(), "TALK"), "r") << "nothing has been asked of it";
  EXPECT_TRUE(a.shows(far.address(), "TALK:0", kSilentMs));
  EXPECT_TRUE(a.shows(asks.address(), "LISTEN:0", kSilentMs));
  EXPECT_TRUE(a.shows(rings.address(), "TALK:0", kSilentMs));
  EXPECT_GE(rings.count("CANCEL"), 1);
  EXPECT_GE(asks.count("200"), 2) << "the answer was repeated";
  EXPECT_EQ(a.list().size(), 1U) << "the call with the other station goes on";
  EXPECT_TRUE(a.hears({b.media()}));
  a.call(b, "LISTEN:0");
  BothFree();
}

}  // namespace
}  // namespace hark::test
