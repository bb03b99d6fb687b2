// What no sound far end sends: requests for calls that never were, answers to nothing, messages that are not
// whole, forged ones in a call of others, and floods of each. A stated answer or silence, and nothing else:
// the calls of other stations go on, no line is taken, and the next call works.
#include <algorithm>
#include <random>

#include "system/sip_far_end.h"
#include "system/sip_station.h"

namespace hark::test {
namespace {

using testing::ElementsAre;

class SipBadInput : public SipTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(SipTest::SetUp());
    descriptors = settled_descriptors(a.station, a.client);
    // A call that nothing of this concerns.
    ASSERT_NO_FATAL_FAILURE(Listen(a, b));
    a.watch.forget();
  }
  void TearDown() override {
    EXPECT_TRUE(a.hears({b.media()})) << "the call between the stations";
    EXPECT_THAT(a.told(b), ElementsAre());
    a.call(b, "LISTEN:0");
    BothFree();
    ASSERT_NO_FATAL_FAILURE(Talk(b, a));
    b.call(a, "TALK:0");
    BothFree();
    EXPECT_EQ(settled_descriptors(a.station, a.client), descriptors);
    SipTest::TearDown();
  }
  // A question behind all that was sent: its answer shows that the station has read it. Questions may be lost
  // to a buffer that a flood has filled, so they are repeated.
  void WorkedOff() {
    static int questions = 0;
    for (const int port : {kListenPort, kTalkPort}) {
      const std::string id = "question" + std::to_string(++questions);
      const auto answered = [&] {
        return std::any_of(far.datagrams().begin(), far.datagrams().end(), [&](const SipDatagram& datagram) {
          return datagram.kind() == "200" && datagram.header("Call-ID") == id;
        });
      };
      SipFarEnd::Call call{.station = a.address(), .port = port, .id = id, .to = "<sip:x@y>"};
      int looks = 0;
      EXPECT_TRUE(wait_until(
          [&] {
            if (looks++ % 100 == 0) far.send(call, far.request(call, "OPTIONS"));
            return answered();
          },
          kSipWaitMs));
    }
    a.settle();
  }
  // The station took no line and told nobody of anything but the call that it had.
  void NothingHappened() {
    WorkedOff();
    EXPECT_EQ(a.list().size(), 1U);
    EXPECT_THAT(a.watch.told(far.address()), ElementsAre());
  }
  [[nodiscard]] SipFarEnd::Call NoCall(int port, const std::string& id) const {
    return {.station = a.address(), .port = port, .id = id, .to = "<sip:hark@" + a.address() + ">;tag=none"};
  }
  // A call from the far end that is up.
  SipFarEnd::Call Connected(const std::string& id) {
    SipFarEnd::Call call = far.invite(a.address(), kListenPort, id);
    EXPECT_TRUE(a.shows(far.address(), "LISTEN:R"));
    a.call(far.address(), "LISTEN:1");
    EXPECT_TRUE(far.answered(call, 200));
    far.send(call, far.request(call, "ACK"));
    EXPECT_TRUE(a.shows(far.address(), "LISTEN:1"));
    return call;
  }

  SipFarEnd far{own_address(2)};
  int descriptors = -1;
};

TEST_F(SipBadInput, RequestsForCallsThatNeverWereAreAnsweredAndForgotten) {
  struct Row {
    const char* method;
    const char* answer;
  };
  int number = 0;
  for (const Row& row :
       {Row{"BYE", "481"}, Row{"CANCEL", "481"}, Row{"NOTIFY", "481"}, Row{"ACK", "481"}, Row{"INFO", "501"},
        Row{"REGISTER", "501"}, Row{"MESSAGE", "501"}, Row{"UPDATE", "501"}, Row{"SUBSCRIBE", "501"},
        Row{"WHATEVER", "501"}, Row{"OPTIONS", "200"}}) {
    for (const int port : {kListenPort, kTalkPort}) {
      SCOPED_TRACE(std::string(row.method) + " " + std::to_string(port));
      far.forget();
      const SipFarEnd::Call call = NoCall(port, "stray" + std::to_string(++number));
      far.send(call, far.request(call, row.method));
      const SipDatagram answer = far.wait_for(row.answer);
      EXPECT_EQ(answer.header("Call-ID"), call.id);
    }
  }
  NothingHappened();
}

TEST_F(SipBadInput, AnswersThatNobodyAskedForAreDropped) {
  for (const int port : {kListenPort, kTalkPort}) {
    for (const int status : {100, 180, 200, 302, 404, 487, 500, 603, 699, 700, 999}) {
      for (const char* method : {"INVITE", "BYE", "CANCEL", "OPTIONS", "WHATEVER"}) {
        SipDatagram asked{port, far.request(NoCall(port, "unasked" + std::to_string(status)), method),
                          a.address(), port};
        far.send(kListenPort, a.address(), port, far.response_to(asked, status, status == 200));
      }
    }
  }
  far.forget();
  NothingHappened();
  EXPECT_EQ(far.datagrams().size(), 2U) << "two questions, two answers, and not a word more";
}

TEST_F(SipBadInput, MessagesThatAreNotWholeTakeNoLine) {
  const SipFarEnd::Call call = NoCall(kListenPort, "cut");
  std::string whole = far.request(call, "INVITE", true);
  whole.replace(whole.find(";tag=none"), 9, "");
  for (std::size_t size = 0; size < whole.size(); size += 3)
    far.send(call, whole.substr(0, size));
  NothingHappened();
}

TEST_F(SipBadInput, GarbageIsDropped) {
  std::mt19937 random(7);
  const SipFarEnd::Call call = NoCall(kTalkPort, "garbage");
  const std::string good = far.request(call, "BYE");
  for (int i = 0; i < 2'000; ++i) {
    std::string text = i % 2 == 0 ? good : std::string(random() % 400, '\0');
    // A sound message with some bytes changed, or none that is sound.
    for (int changes = i % 2 == 0 ? 8 : 400; changes > 0 && !text.empty(); --changes)
      text[random() % text.size()] = static_cast<char>(random() % 256);
    far.send(call, text);
    if (i % 200 == 0) a.settle();
  }
  far.send(call, "");
  far.send(call, std::string(60'000, 'x'));
  far.send(call, "INVITE" + std::string(40'000, ' '));
  far.send(call, std::string(1'400, '\r') + std::string(1'400, '\n'));
  NothingHappened();
}

TEST_F(SipBadInput, BrokenInvitesAreRefused) {
  struct Row {
    std::string old;
    std::string with;
    int status;
  };
  const std::string line = "INVITE sip:hark-listen@" + a.address() + ":5061 SIP/2.0";
  int number = 0;
  for (const Row& row : {
           Row{line, "INVITE mailto:a@b SIP/2.0", 416},
           Row{line,
               "INVITE sip:" + std::string(300 - 5 - a.address().size(), 'x') + "@" + a.address() +
                   " SIP/2.0",
               414},
           Row{"1 INVITE", "1 BYE", 400},
           Row{"application/sdp", "text/plain", 415},
           Row{"Max-Forwards: 70", "Require: 100rel", 420},
           Row{"Max-Forwards: 70", "Accept: text/plain", 406},
       }) {
    SCOPED_TRACE(row.with);
    const SipFarEnd::Call call{.station = a.address(),
                               .port = kListenPort,
                               .id = "broken" + std::to_string(++number),
                               .to = "<sip:x@y>"};
    std::string text = far.request(call, "INVITE", true);
    const std::size_t at = text.find(row.old);
    ASSERT_NE(at, std::string::npos);
    text.replace(at, row.old.size(), row.with);
    far.forget();
    far.send(call, text);
    (void)far.wait_for(std::to_string(row.status));
  }
  NothingHappened();
}

// What is not of the call must not end it, however much of it is right.
TEST_F(SipBadInput, ForgedTagsAndNumbersDoNotEndACall) {
  SipFarEnd::Call call = Connected("real");
  const Lines both = {b.media(), far.media()};
  SipFarEnd other(own_address(3));
  SipFarEnd::Call forged = call;
  forged.cseq = 2;
  const std::string bye = other.request(forged, "BYE");
  int number = 0;
  for (const auto& [old, with] : std::initializer_list<std::pair<std::string, std::string>>{
           {";tag=fromreal", ";tag=fromfake"},
           {";tag=fromreal", ""},
           {call.to.substr(call.to.find(";tag=")), ";tag=wrong"},
           {"Call-ID: real", "Call-ID: reall"},
           {"Call-ID: real", "Call-ID: REAL"},
       }) {
    SCOPED_TRACE(with);
    std::string text = bye;
    const std::size_t at = text.find(old);
    ASSERT_NE(at, std::string::npos);
    text.replace(at, old.size(), with);
    other.send(kTalkPort, a.address(), kListenPort, text);
    (void)other.wait_for("481", ++number);
  }
  for (const char* method : {"INFO", "MESSAGE", "UPDATE", "WHATEVER"})
    other.send(kTalkPort, a.address(), kListenPort, other.request(forged, method));
  WorkedOff();
  EXPECT_TRUE(a.hears(both));
  EXPECT_EQ(a.watch.letter(far.address(), "LISTEN"), "1");
  call.cseq = 3;
  far.send(call, far.request(call, "BYE"));
  EXPECT_TRUE(a.shows(far.address(), "LISTEN:0"));
  EXPECT_TRUE(wait_until([&] { return a.list().size() == 1; }, kSipWaitMs));
}

// Answers to a call of ours that are not for it, before those that are.
TEST_F(SipBadInput, ForgedAnswersDoNotConnectACall) {
  a.call(far.address(), "TALK:1");
  const SipDatagram invite = far.wait_for("INVITE");
  const std::string good = far.response_to(invite, 200, true);
  const std::string tag = invite.header("From").substr(invite.header("From").find(";tag="));
  for (const auto& [old, with] :
       std::initializer_list<std::pair<std::string, std::string>>{{tag, ";tag=fake"},
                                                                  {"Call-ID: ", "Call-ID: x"},
                                                                  {"branch=z9hG4bK", "branch=z9hG4bKx"},
                                                                  {"CSeq: 1 INVITE", "CSeq: 1 BYE"},
                                                                  {"CSeq: 1 INVITE", "CSeq: 1 CANCEL"}}) {
    std::string text = good;
    text.replace(text.find(old), old.size(), with);
    far.send(invite.port, a.address(), kListenPort, text);
  }
  WorkedOff();
  EXPECT_EQ(far.count("ACK"), 0);
  EXPECT_THAT(a.watch.told(far.address()), ElementsAre());
  far.script = [&](const SipDatagram& datagram) {
    if (datagram.kind() == "BYE") far.reply(datagram, 200);
  };
  far.reply(invite, 200, true);
  (void)far.wait_for("ACK");
  EXPECT_TRUE(a.shows(far.address(), "TALK:1"));
  a.call(far.address(), "TALK:0");
  EXPECT_TRUE(a.shows(far.address(), "TALK:0"));
}

// The listen service has eight lines, one of which is in use.
TEST_F(SipBadInput, FloodOfCallsFillsTheLinesAndIsRefusedBeyond) {
  std::vector<SipFarEnd::Call> calls;
  for (int i = 0; i < 40; ++i) {
    SipFarEnd::Call call{
        .station = a.address(), .port = kListenPort, .id = "flood" + std::to_string(i), .to = "<sip:x@y>"};
    std::string text = far.request(call, "INVITE", true);
    // Each is another caller; one that calls again would only replace himself.
    text.replace(text.find("hark-talk@" + far.address() + ";trgl"), 10 + far.address().size(),
                 "hark-talk@10.0.0." + std::to_string(i + 1));
    far.send(call, text);
    ASSERT_TRUE(wait_until(
        [&] {
          return std::any_of(far.datagrams().begin(), far.datagrams().end(),
                             [&](const SipDatagram& datagram) {
                               return datagram.header("Call-ID") == call.id && datagram.kind() != "100";
                             });
        },
        kSipWaitMs))
        << call.id;
    calls.push_back(std::move(call));
  }
  EXPECT_GE(far.count("180"), 7);
  EXPECT_GE(far.count("486"), 40 - 7);
  EXPECT_EQ(a.list().size(), 8U);
  for (const SipFarEnd::Call& call : calls)
    far.send(call, far.request(call, "CANCEL"));
  EXPECT_TRUE(wait_until([&] { return a.list().size() == 1; }, kSipWaitMs));
}

// From one caller: each of his calls replaces the one before, so that he holds one line at any time.
TEST_F(SipBadInput, FloodOfCallsOfOneStationHoldsOneLine) {
  SipFarEnd::Call last;
  for (int i = 0; i < 300; ++i) {
    last = far.invite(a.address(), kTalkPort, "again" + std::to_string(i));
    if (i % 20 == 19) WorkedOff();
  }
  EXPECT_TRUE(a.shows(far.address(), "TALK:R"));
  EXPECT_TRUE(wait_until([&] { return a.list().size() == 2; }, kSipWaitMs));
  a.call(far.address(), "TALK:0");
  EXPECT_TRUE(wait_until([&] { return a.list().size() == 1; }, kSipWaitMs));
}

TEST_F(SipBadInput, FloodOfRequestsForNoCallLeavesRoomForCalls) {
  const long before = a.station.resident_kib();
  for (int i = 0; i < 6'000; ++i) {
    const SipFarEnd::Call call = NoCall(i % 2 == 0 ? kListenPort : kTalkPort, "many" + std::to_string(i));
    far.send(call, far.request(call, i % 3 == 0 ? "BYE" : i % 3 == 1 ? "OPTIONS" : "INFO"));
    if (i % 500 == 499) {
      WorkedOff();
      far.forget();
    }
  }
  NothingHappened();
  EXPECT_LT(a.station.resident_kib(), before + 200'000) << "it was " << before;
}

}  // namespace
}  // namespace hark::test
