// Talk lines that a far device has to confirm: what its IFB link and its PTT request are given, and what the
// line does by their results.
#include <arpa/inet.h>

#include "callctl/call_fixture.h"
#include "callctl/fake_links.h"
#include "callctl/fake_stack.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int kBadAddress = -3;
constexpr const char kIfbSource[] = "quillnet:239.192.0.7;ifb=10.0.0.9/3";

class TalkLinks : public CallTest {
 protected:
  TalkLinks() {
    fake_links = FakeLinks{};
    station.harkd_qnsrcch = inet_addr("239.192.0.5");
  }
};

TEST_F(TalkLinks, IfbIsPointedAtTheFarDestinationWithOurSource) {
  EXPECT_EQ(Talk(kIfbSource), 0);
  EXPECT_THAT(LinkCommands(), ElementsAre("ifb 0 <10.0.0.9/3> <239.192.0.5>"));
  EXPECT_EQ(talk_lines[0].state, kLineFarRinging);
  EXPECT_THAT(Reports(), ElementsAre(std::string(kIfbSource) + " T:r"));
  EXPECT_THAT(MixerLines(), IsEmpty());
}

TEST_F(TalkLinks, LineWithoutAnIfbIsSetAsWell) {
  EXPECT_EQ(Talk(kSource), 0);
  EXPECT_EQ(Talk("quillnet:239.192.0.8"), 0);
  EXPECT_THAT(LinkCommands(), ElementsAre("ifb 0 <> <239.192.0.5>", "ifb 1 <> <239.192.0.5>"));
  EXPECT_EQ(talk_lines[0].state, kLineSeized);
  EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(TalkLinks, WithoutASourceTheAddressIsEmpty) {
  station.harkd_qnsrcch = 0;
  EXPECT_EQ(Talk(kIfbSource), 0);
  EXPECT_THAT(LinkCommands(), ElementsAre("ifb 0 <10.0.0.9/3> <>"));
}

TEST_F(TalkLinks, IfbThatCannotBeUsedIsAsIfNoneWereAskedFor) {
  fake_links.ifb_result = kBadAddress;
  EXPECT_EQ(Talk(kIfbSource), 0);
  EXPECT_EQ(talk_lines[0].state, kLineSeized);
  EXPECT_EQ(talk_lines[0].url, kIfbSource);
  EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(TalkLinks, IfbThatCannotBeUsedLeavesTheOtherWaysOfTheSource) {
  fake_links.ifb_result = kBadAddress;
  struct Row {
    const char* tags;
    char letter;
  };
  for (const Row& row : {Row{";gpio=1;gpiot=2", '1'}, {";gpio=1;gpiot=2;gpioack=1", 'C'}, {";qntb=1", 'r'}}) {
    SCOPED_TRACE(row.tags);
    const std::string url = kIfbSource + std::string(row.tags);
    EXPECT_EQ(Talk(url), 0);
    EXPECT_EQ(talk_lines[0].state, row.letter);
    EXPECT_THAT(Reports(), ElementsAre(url + " T:" + row.letter));
    InitializeLineTable(talk_lines);
  }
}

TEST_F(TalkLinks, ContactsOutrankTheConfirmation) {
  const std::string url = kIfbSource + std::string(";gpio=1;gpiot=2");
  EXPECT_EQ(Talk(url), 0);
  EXPECT_EQ(talk_lines[0].state, kLineConnected);
  EXPECT_THAT(Reports(), ElementsAre(url + " T:1"));
  EXPECT_THAT(Inputs(), ElementsAre("GPI 2 xLxxx\r\n"));
  EXPECT_THAT(LinkCommands(), ElementsAre("ifb 0 <10.0.0.9/3> <239.192.0.5>"));
}

TEST_F(TalkLinks, IfbAddressIsHeldToSixtyFourCharacters) {
  const std::string address(80, 'a');
  EXPECT_EQ(Talk(std::string(kSource) + ";ifb=" + address), 0);
  EXPECT_THAT(LinkCommands(), ElementsAre("ifb 0 <" + std::string(64, 'a') + "> <239.192.0.5>"));
}

TEST_F(TalkLinks, PttIsAskedWithBothChannels) {
  struct Row {
    const char* url;
    const char* source;
    const char* command;
  };
  for (const Row& row : {Row{"quillnet:239.192.4.210;qntb=1", "239.192.0.5", "ptt 0 1234 5"},
                         {"quillnet:239.192.255.255;qntb=7", "239.192.127.255", "ptt 0 32767 32767"},
                         {"\"P\" <quillnet:239.192.128.1>;qntb=1", "239.192.128.2", "ptt 0 1 2"},
                         {"quillnet:1234;qntb=1", "0.0.0.5", "ptt 0 1234 5"},
                         {"quillnet:239.192.0.1;qntb=-1", "0.0.0.0", "ptt 0 1 0"}}) {
    SCOPED_TRACE(row.url);
    station.harkd_qnsrcch = inet_addr(row.source);
    EXPECT_EQ(Talk(row.url), 0);
    EXPECT_EQ(talk_lines[0].state, kLineFarRinging);
    EXPECT_EQ(LinkCommands().back(), row.command);
    EXPECT_THAT(Reports(), ElementsAre(std::string(row.url) + " T:r"));
    InitializeLineTable(talk_lines);
  }
}

TEST_F(TalkLinks, PttFollowsTheIfb) {
  EXPECT_EQ(Talk(std::string(kIfbSource) + ";qntb=1"), 0);
  EXPECT_THAT(LinkCommands(), ElementsAre("ifb 0 <10.0.0.9/3> <239.192.0.5>", "ptt 0 7 5"));
  EXPECT_THAT(Reports(), ElementsAre(std::string(kIfbSource) + ";qntb=1 T:r"));
}

TEST_F(TalkLinks, ListenLineUsesNeither) {
  EXPECT_EQ(Listen(std::string(kIfbSource) + ";qntb=1"), 0);
  EXPECT_THAT(LinkCommands(), IsEmpty());
  EXPECT_EQ(listen_lines[0].state, kLineConnected);
}

TEST_F(TalkLinks, ConfirmationConnects) {
  EXPECT_EQ(Talk(kIfbSource), 0);
  Forget();
  ifb_update_status(0, true);
  EXPECT_THAT(Reports(), ElementsAre(std::string(kIfbSource) + " T:1"));
  EXPECT_EQ(talk_lines[0].state, kLineConnected);
}

TEST_F(TalkLinks, IdleTalkLineGivesBothBack) {
  for (const char* url : {kIfbSource, kSource}) {
    EXPECT_EQ(Talk(url), 0);
    (void)LinkCommands();
    Idle(kTalkKind, 0);
    EXPECT_THAT(LinkCommands(), ElementsAre("ifb 0 - -", "ptt clear 0"));
    EXPECT_TRUE(talk_lines[0].url.empty());
  }
}

// It stayed for ever, and so did its requests: the SIP line of the new service has nothing to hang up.
TEST_F(TalkLinks, UnconfirmedLineThatOutlivedItsServiceGivesBothBackWhenItIsDropped) {
  EXPECT_EQ(Talk(std::string(kIfbSource) + ";qntb=1"), 0);
  ifb_update_status(0, false);
  EXPECT_EQ(sipctrl_removeservice(), 0);
  EXPECT_FALSE(talk_lines[0].url.empty());
  Forget();
  (void)LinkCommands();
  EXPECT_EQ(DropTalk(kIfbSource), 0);
  PassAfterMs(401);
  EXPECT_THAT(LinkCommands(), ElementsAre("ifb 0 - -", "ptt clear 0"));
  EXPECT_TRUE(talk_lines[0].url.empty());
  EXPECT_THAT(Reports(), IsEmpty()) << "the panels have been told of its end";
}

TEST_F(TalkLinks, ConfirmedLineIsLeftToTheEndOfItsSipLine) {
  EXPECT_EQ(Talk(kIfbSource), 0);
  ifb_update_status(0, true);
  (void)LinkCommands();
  EXPECT_EQ(DropTalk(kIfbSource), 0);
  PassAfterMs(401);
  EXPECT_THAT(LinkCommands(), IsEmpty());
  Idle(kTalkKind, 0);
  EXPECT_THAT(LinkCommands(), ElementsAre("ifb 0 - -", "ptt clear 0"));
}

TEST_F(TalkLinks, IdleListenLineGivesNothingBack) {
  EXPECT_EQ(Listen(kSource), 0);
  Idle(kListenKind, 0);
  EXPECT_THAT(LinkCommands(), IsEmpty());
}

class AnsweredTalk : public TalkLinks {
 protected:
  AnsweredTalk() {
    Remote(kTalkKind, kSource, kWishConnect);
    Forget();
    (void)LinkCommands();
  }
  // A line keeps the link of an earlier call by the same key.
  static void SetIfb(const std::string& address) {
    std::copy(address.begin(), address.end(), talk_lines[0].ifb.begin());
  }
};

TEST_F(AnsweredTalk, WithoutALinkIsConnected) {
  EXPECT_EQ(Talk(kSource), 0);
  EXPECT_THAT(LinkCommands(), ElementsAre("ifb 0 <> <239.192.0.5>"));
  EXPECT_EQ(talk_lines[0].state, kLineConnected);
  EXPECT_THAT(Reports(), ElementsAre("quillnet:239.192.0.7 T:1"));
  EXPECT_THAT(MixerLines(), IsEmpty());
}

TEST_F(AnsweredTalk, WithAnIfbGoesBackToTheCapitalLetter) {
  SetIfb("10.0.0.9/3");
  EXPECT_EQ(Talk(kSource), 0);
  EXPECT_THAT(LinkCommands(), ElementsAre("ifb 0 <10.0.0.9/3> <239.192.0.5>"));
  EXPECT_EQ(talk_lines[0].state, kLineRequest);
  EXPECT_THAT(Reports(), ElementsAre("quillnet:239.192.0.7 T:R"));
}

TEST_F(AnsweredTalk, WithAnIfbThatCannotBeUsedIsConnected) {
  SetIfb("10.0.0.9/3");
  fake_links.ifb_result = kBadAddress;
  EXPECT_EQ(Talk(kSource), 0);
  EXPECT_EQ(talk_lines[0].state, kLineConnected);
  EXPECT_THAT(Reports(), ElementsAre("quillnet:239.192.0.7 T:1"));
}

TEST_F(AnsweredTalk, WithAPttAsksForItAndIsConnected) {
  talk_lines[0].qntb = 1;
  EXPECT_EQ(Talk(kSource), 0);
  EXPECT_THAT(LinkCommands(), ElementsAre("ifb 0 <> <239.192.0.5>", "ptt 0 7 5"));
  EXPECT_EQ(talk_lines[0].state, kLineConnected);
  EXPECT_THAT(Reports(), ElementsAre("quillnet:239.192.0.7 T:1"));
}

TEST_F(AnsweredTalk, ReadsNoLinkFromTheWish) {
  EXPECT_EQ(Talk(std::string(kIfbSource) + ";qntb=1"), 0);
  EXPECT_THAT(LinkCommands(), ElementsAre("ifb 0 <> <239.192.0.5>"));
  EXPECT_EQ(talk_lines[0].state, kLineConnected);
}

TEST_F(AnsweredTalk, WishForAConnectedLineAsksNobodyAgain) {
  EXPECT_EQ(Talk(kSource), 0);
  (void)LinkCommands();
  Forget();
  EXPECT_EQ(Talk(kSource), 0);
  EXPECT_THAT(LinkCommands(), IsEmpty());
  EXPECT_THAT(Reports(), IsEmpty());
}

}  // namespace
}  // namespace hark
