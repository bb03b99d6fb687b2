// Calls to sources of the routing network, from the CALL line on the control port to the command at the mixer
// and the reports to everybody who subscribed.
#include "system/station_fixture.h"

namespace hark::test {
namespace {

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::Not;
using testing::StartsWith;

constexpr char kSource[] = "quillnet:239.192.0.10";
constexpr char kContactSource[] = "quillnet:239.192.0.11;gpio=1;gpiol=1;gpiot=2";

std::string call(const std::string& url, const std::string& what) {
  return "CALL URL:\"" + url + "\" " + what;
}

class Calls : public StationTest {
 protected:
  void SetUp() override {
    StartReadyForCalls();
    client = Connect();
    listener = Connect("127.0.0.2");
    ASSERT_TRUE(wait_until([&] { return answers(listener, "CALL") == Lines{"BEGIN", "END"}; }));
    sim->forget_records();
  }
  // The line was taken, and said nothing to who sent it.
  void Command(const std::string& line) { EXPECT_THAT(answers(client, line), ElementsAre()) << line; }
  void Call(const std::string& url, const std::string& what) { Command(call(url, what)); }
  [[nodiscard]] testing::AssertionResult Reported(const std::string& url, const std::string& what) {
    return listener.expect_line(call(url, what));
  }
  [[nodiscard]] testing::AssertionResult MixerGets(const std::string& command) const {
    return sim.wait_received("set hark#1." + command);
  }

  Client client;
  Client listener;
};

TEST_F(Calls, MixerKnowsTheStationsOwnSource) {
  EXPECT_EQ(sim->mixer().sub(2).src_id, "239.192.0.1:5004");
  EXPECT_EQ(sim->mixer().sub(2).src_name, "Main");
  EXPECT_EQ(sim->mixer().sub(1).src_id, "");
}

TEST_F(Calls, ListenReachesMixerAndSubscribers) {
  Call(kSource, "LISTEN:1");
  ASSERT_TRUE(wait_until([&] { return !sim->received().empty(); }));
  EXPECT_THAT(sim->received(), ElementsAre("set hark#1.sub#1.in#1 src_id=\"239.192.0.10\", gain=0"));
  EXPECT_EQ(listener.read_line_with_end(), call(kSource, "LISTEN:1") + "\r\n");
}

TEST_F(Calls, TalkWithContactsClosesThePinAndIsReported) {
  EXPECT_THAT(answers(client, "SUB GPI 2"), ElementsAre("GPI 2 hhhhh"));
  EXPECT_THAT(answers(client, call(kContactSource, "TALK:1")), ElementsAre("GPI 2 hLhhh"));
  EXPECT_TRUE(Reported(kContactSource, "TALK:1"));
  EXPECT_THAT(sim->received(), ElementsAre()) << "the far station takes our source by itself";
}

TEST_F(Calls, ListenWithContactsClosesItsOwnPin) {
  EXPECT_THAT(answers(client, "SUB GPI 2"), ElementsAre("GPI 2 hhhhh"));
  EXPECT_THAT(answers(client, call(kContactSource, "LISTEN:1")), ElementsAre("GPI 2 Lhhhh"));
  EXPECT_TRUE(Reported(kContactSource, "LISTEN:1"));
  EXPECT_TRUE(MixerGets("sub#1.in#1 src_id=\"239.192.0.11\", gain=0"));
  EXPECT_THAT(answers(client, call(kContactSource, "LISTEN:0")), ElementsAre());
  EXPECT_TRUE(client.expect_line("GPI 2 Hhhhh"));
}

TEST_F(Calls, TalkWithoutAWayToTellTheFarSideIsHeldAndNotReported) {
  Call(kSource, "TALK:1");
  EXPECT_THAT(answers(client, "CALL"), ElementsAre("BEGIN", call(kSource, "TALK:S"), "END"));
  EXPECT_THAT(answers(listener, "#"), ElementsAre());
}

TEST_F(Calls, BothDirectionsInOneLineListenFirst) {
  Call(kContactSource, "TALK:1 LISTEN:1");
  EXPECT_TRUE(Reported(kContactSource, "LISTEN:1"));
  EXPECT_TRUE(Reported(kContactSource, "TALK:1"));
  EXPECT_THAT(answers(client, "CALL"), ElementsAre("BEGIN", call(kContactSource, "TALK:1"),
                                                   call(kContactSource, "LISTEN:1 VOLUME:0"), "END"));
}

TEST_F(Calls, StatusListHasTalkLinesFirstAndTheListenVolumes) {
  Call(kSource, "LISTEN:1 VOLUME:-35");
  Call("quillnet:239.192.0.12", "LISTEN:1");
  Call("quillnet:239.192.0.13", "TALK:1");
  EXPECT_THAT(
      answers(client, "CALL"),
      ElementsAre("BEGIN", call("quillnet:239.192.0.13", "TALK:S"), call(kSource, "LISTEN:1 VOLUME:-35"),
                  call("quillnet:239.192.0.12", "LISTEN:1 VOLUME:0"), "END"));
}

TEST_F(Calls, DropComesAfterItsDelayAndEmptiesTheInput) {
  Call(kSource, "LISTEN:1");
  EXPECT_TRUE(Reported(kSource, "LISTEN:1"));
  Call(kSource, "LISTEN:0");
  EXPECT_THAT(answers(client, "CALL"), ElementsAre("BEGIN", call(kSource, "LISTEN:1 VOLUME:0"), "END"))
      << "not at once";
  EXPECT_TRUE(Reported(kSource, "LISTEN:0"));
  EXPECT_TRUE(MixerGets("sub#1.in#1 src_id=\"\", gain=0"));
  EXPECT_TRUE(client.expect_line(call(kSource, "LISTEN:0"))) << "who read the list has subscribed";
  EXPECT_THAT(answers(client, "CALL"), ElementsAre("BEGIN", "END"));
}

TEST_F(Calls, PressInTheMeantimeKeepsTheCall) {
  Call(kSource, "LISTEN:1");
  Call("quillnet:239.192.0.12", "LISTEN:1");
  EXPECT_TRUE(Reported(kSource, "LISTEN:1"));
  EXPECT_TRUE(Reported("quillnet:239.192.0.12", "LISTEN:1"));
  ASSERT_TRUE(client.send_raw(call(kSource, "LISTEN:0") + "\r\n" + call(kSource, "LISTEN:1") + "\r\n" +
                              call("quillnet:239.192.0.12", "LISTEN:0") + "\r\n"));
  // The other call's end shows that the delay is over.
  EXPECT_TRUE(Reported("quillnet:239.192.0.12", "LISTEN:0"));
  EXPECT_THAT(answers(client, "CALL"), ElementsAre("BEGIN", call(kSource, "LISTEN:1 VOLUME:0"), "END"));
  EXPECT_EQ(sim.count("set hark#1.sub#1.in#1 src_id=\"239.192.0.10\", gain=0"), 1) << "nothing is sent again";
}

TEST_F(Calls, OfOneSourceWithAndWithoutTagsIsOne) {
  Call(kSource, "LISTEN:1");
  EXPECT_TRUE(Reported(kSource, "LISTEN:1"));
  Call(std::string("Studio <") + kSource + ">;trgl=2", "LISTEN:0");
  EXPECT_TRUE(Reported(kSource, "LISTEN:0")) << "under the name that it was made with";
}

TEST_F(Calls, NamesAndQuotesAreReportedAsTheyWereGiven) {
  const std::string url = R"(\"Studio A\" <quillnet:239.192.0.9>;trgl=2)";
  Call(url, "LISTEN:1");
  EXPECT_TRUE(Reported(url, "LISTEN:1"));
  EXPECT_TRUE(MixerGets("sub#1.in#1 src_id=\"239.192.0.9\", gain=0"));
}

TEST_F(Calls, VolumeMovesTheGain) {
  Call(kSource, "VOLUME:-50");  // no such call: nothing
  Call(kSource, "LISTEN:1 VOLUME:-30");
  Call(kSource, "VOLUME:-50");
  ASSERT_TRUE(MixerGets("sub#1.in#1 gain=-50"));
  EXPECT_THAT(sim->received(),
              ElementsAre("set hark#1.sub#1.in#1 src_id=\"239.192.0.10\", gain=0",
                          "set hark#1.sub#1.in#1 gain=-30", "set hark#1.sub#1.in#1 gain=-50"));
}

TEST_F(Calls, FaderOfTheRoutingDaemonIsReported) {
  Call(kSource, "LISTEN:1");
  EXPECT_TRUE(Reported(kSource, "LISTEN:1"));
  ASSERT_TRUE(sim->send("DST 2 AVOL:-1"));
  ASSERT_TRUE(sim->send("DST 1 AVOL:-120"));
  EXPECT_TRUE(Reported(kSource, "VOLUME:-120"));
}

TEST_F(Calls, HigherLevelDimsAndMutesTheOthers) {
  Call("quillnet:239.192.0.20;trgl=1", "LISTEN:1");
  Call("quillnet:239.192.0.21;trgl=2", "LISTEN:1");
  Call("quillnet:239.192.0.22;trgl=4", "LISTEN:1");
  ASSERT_TRUE(MixerGets("sub#1.in#3 src_id=\"239.192.0.22\", gain=0"));
  EXPECT_TRUE(wait_until([&] { return sim->mixer().input(1)->gain == -1000; }));
  EXPECT_TRUE(wait_until([&] { return sim->mixer().input(2)->gain == -240; }));
  Call("quillnet:239.192.0.22", "LISTEN:0");
  ASSERT_TRUE(wait_until([&] { return sim->mixer().input(2)->gain == 0; }));
  EXPECT_EQ(sim->mixer().input(1)->gain, -1000) << "level 2 is above it still";
}

TEST_F(Calls, SubscriptionCanBeGivenBack) {
  EXPECT_THAT(answers(listener, "UNSUB CALL"), ElementsAre());
  Call(kSource, "LISTEN:1");
  EXPECT_THAT(answers(listener, "#"), ElementsAre());
  EXPECT_THAT(answers(client, "CALL"), ElementsAre("BEGIN", call(kSource, "LISTEN:1 VOLUME:0"), "END"));
  Call(kSource, "LISTEN:0");
  EXPECT_TRUE(client.expect_line(call(kSource, "LISTEN:0"))) << "who asked is told too once it subscribed";
}

TEST_F(Calls, OnlyTheFirstCharacterOfAWishCounts) {
  Call(kSource, "LISTEN:10");
  EXPECT_TRUE(Reported(kSource, "LISTEN:1"));
  Call(kSource, "LISTEN:x TALK:");
  Call(kSource, "LISTEN:\"0\"");
  EXPECT_THAT(answers(client, "CALL"), ElementsAre("BEGIN", call(kSource, "LISTEN:1 VOLUME:0"), "END"));
}

TEST_F(Calls, StationWhoseAddressIsANameCannotBeCalledAndIsReportedOff) {
  ExpectLog("]: Line 1/0 error ");
  EXPECT_THAT(answers(client, call("hark:studio.example", "LISTEN:1")), ElementsAre(kCallFailed));
  EXPECT_TRUE(Reported("hark:studio.example", "LISTEN:0"));
  EXPECT_THAT(answers(client, "CALL"), ElementsAre("BEGIN", "END"));
}

TEST_F(Calls, FailedCallIsAnsweredWithALoneLineFeed) {
  ExpectLog("protocol unknown");
  ASSERT_TRUE(client.send_line(call("phone:5550100", "LISTEN:1")));
  EXPECT_EQ(client.read_line_with_end(), "ERROR 3001 call failed\n");
}

TEST_F(Calls, AddressesThatCannotBeCalledFail) {
  ExpectLog("protocol unknown");
  for (const char* url : {"phone:5550100", "sip:bob@10.0.0.1", "x", "http://10.0.0.1", "HARK:10.0.0.7", ""}) {
    SCOPED_TRACE(url);
    EXPECT_THAT(answers(client, call(url, "LISTEN:1")), ElementsAre(kCallFailed));
  }
  EXPECT_THAT(answers(listener, "#"), ElementsAre());
}

TEST_F(Calls, ARestartOfTheServicesEndsThemAll) {
  Call(kSource, "LISTEN:1");
  Call(kContactSource, "TALK:1");
  EXPECT_TRUE(Reported(kSource, "LISTEN:1"));
  EXPECT_TRUE(Reported(kContactSource, "TALK:1"));
  // The level is part of what the services say of the station.
  Command("HARK TRGL:6");
  EXPECT_TRUE(Reported(kSource, "LISTEN:0"));
  EXPECT_TRUE(Reported(kContactSource, "TALK:0"));
  EXPECT_TRUE(MixerGets("sub#1.in#1 src_id=\"\", gain=0"));
  Call(kSource, "LISTEN:1");
  EXPECT_TRUE(Reported(kSource, "LISTEN:1"));
}

}  // namespace
}  // namespace hark::test
