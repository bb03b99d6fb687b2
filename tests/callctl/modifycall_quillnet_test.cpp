// Calls to sources of the routing network: a mixer command or a contact makes them, with the letter and the
// report that each kind of source has, and a wish for a call that stands.
#include <arpa/inet.h>

#include "callctl/call_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class QuillnetCall : public CallTest {};

TEST_F(QuillnetCall, ListenIsOneMixerCommand) {
  EXPECT_EQ(Listen(kSource), 0);
  EXPECT_THAT(MixerLines(), ElementsAre("set hark#1.sub#1.in#1 src_id=\"239.192.0.7\", gain=0"));
  EXPECT_THAT(Reports(), ElementsAre("quillnet:239.192.0.7 L:1"));
  EXPECT_THAT(Inputs(), IsEmpty());
  EXPECT_EQ(listen_lines[0].url, kSource);
  EXPECT_EQ(listen_lines[0].state, kLineConnected);
  EXPECT_EQ(listen_lines[0].direction, 2);
}

TEST_F(QuillnetCall, SecondListenTakesTheNextInput) {
  EXPECT_EQ(Listen(kSource), 0);
  EXPECT_EQ(Listen("quillnet:239.192.0.8"), 0);
  EXPECT_THAT(MixerLines(), ElementsAre("set hark#1.sub#1.in#1 src_id=\"239.192.0.7\", gain=0",
                                        "set hark#1.sub#1.in#2 src_id=\"239.192.0.8\", gain=0"));
}

TEST_F(QuillnetCall, KeyAndReportAreTheWholeTextAndTheSourceItsAddress) {
  const std::string url = "\"Programme\" <quillnet:239.192.0.7>;trgl=2";
  EXPECT_EQ(Listen(url), 0);
  EXPECT_THAT(MixerLines(), ElementsAre("set hark#1.sub#1.in#1 src_id=\"239.192.0.7\", gain=0"));
  EXPECT_THAT(Reports(), ElementsAre(url + " L:1"));
  EXPECT_EQ(listen_lines[0].url, url);
}

TEST_F(QuillnetCall, ListenIsDimmedUnderAHigherLineAndDimsALowerOne) {
  EXPECT_EQ(Listen("quillnet:239.192.0.1;trgl=3"), 0);
  EXPECT_EQ(Listen("quillnet:239.192.0.2;trgl=2"), 0);
  EXPECT_EQ(Listen("quillnet:239.192.0.3;trgl=10"), 0);
  EXPECT_THAT(MixerLines(),
              ElementsAre("set hark#1.sub#1.in#1 src_id=\"239.192.0.1\", gain=0",
                          "set hark#1.sub#1.in#2 src_id=\"239.192.0.2\", gain=-240",
                          "set hark#1.sub#1.in#1 gain=-1000", "set hark#1.sub#1.in#2 gain=-1000",
                          "set hark#1.sub#1.in#3 src_id=\"239.192.0.3\", gain=0"));
}

TEST_F(QuillnetCall, TriggerLevelIsOneLessThanItsTag) {
  struct Row {
    const char* tags;
    int level;
  };
  for (const Row& row : {Row{"", 3},
                         {";trgl=0", 3},
                         {";trgl=1", 0},
                         {";trgl=2", 1},
                         {";trgl=10", 9},
                         {";trgl=-4", 3},
                         {";trgl=x", 3},
                         {";label=a;trgl=5", 4},
                         {";trgl=0x10", 15}}) {
    SCOPED_TRACE(row.tags);
    EXPECT_EQ(Listen(std::string(kSource) + row.tags), 0);
    EXPECT_EQ(listen_lines[0].trgl, row.level);
    EXPECT_EQ(listen_lines[0].trgl_compare, row.level);
    Idle(kListenKind, 0);
    SipStackUA::GetInstance()->Drop(1, 0);
  }
}

struct ContactRow {
  const char* tags;
  char letter;                      // of the line afterwards
  const char* report;               // behind the URL; empty: none
  std::vector<std::string> inputs;  // of the contact
  bool source;                      // the mixer got the source
};

TEST_F(QuillnetCall, ListenByKindOfSource) {
  const std::vector<ContactRow> rows{
      {";gpio=2;gpiol=3", '1', " L:1", {"GPI 3 xxLxx\r\n"}, true},
      {";gpio=2;gpiot=3", '1', " L:1", {}, true},
      {";gpiol=3", '1', " L:1", {}, true},
      {";gpiol=3;gpioack=1", '1', " L:1", {}, true},
      {";gpio=2;gpiol=3;gpioack=0", '1', " L:1", {"GPI 3 xxLxx\r\n"}, true},
      {";gpio=2;gpiol=3;gpioack=1", 'C', " L:C", {"GPI 3 xxLxx\r\n"}, false},
      {";gpio=2;gpiot=3;gpioack=1", 'S', "", {}, false},
      {";ifb=10.0.0.9/3", '1', " L:1", {}, true},
      {";qntb=1", '1', " L:1", {}, true},
  };
  for (const ContactRow& row : rows) {
    SCOPED_TRACE(row.tags);
    const std::string url = std::string(kSource) + row.tags;
    EXPECT_EQ(Listen(url), 0);
    EXPECT_EQ(listen_lines[0].state, row.letter);
    EXPECT_EQ(Inputs(), row.inputs);
    EXPECT_EQ(Reports(),
              *row.report == '\0' ? std::vector<std::string>{} : std::vector<std::string>{url + row.report});
    EXPECT_EQ(MixerLines().size(), row.source ? 1u : 0u);
    SipStackUA::GetInstance()->Drop(1, 0);
    Forget();
  }
}

TEST_F(QuillnetCall, TalkByKindOfSource) {
  const std::vector<ContactRow> rows{
      {"", 'S', "", {}, false},
      {";gpio=2;gpiot=4", '1', " T:1", {"GPI 3 xxxLx\r\n"}, false},
      {";gpio=2;gpiol=4", 'S', "", {}, false},
      {";gpiot=4", 'S', "", {}, false},
      {";gpio=2;gpiot=4;gpioack=1", 'C', " T:C", {"GPI 3 xxxLx\r\n"}, false},
      {";gpio=2;gpiol=4;gpioack=1", 'S', "", {}, false},
      {";gpiot=4;gpioack=1", 'S', "", {}, false},
      {";ifb=10.0.0.9/3", 'r', " T:r", {}, false},
      {";qntb=1", 'r', " T:r", {}, false},
      {";qntb=0", 'S', "", {}, false},
      {";ifb=", 'S', "", {}, false},
      {";ifb=10.0.0.9/3;gpio=1;gpiot=1", '1', " T:1", {"GPI 2 Lxxxx\r\n"}, false},
      {";qntb=1;gpio=1;gpiot=1;gpioack=1", 'C', " T:C", {"GPI 2 Lxxxx\r\n"}, false},
      {";qntb=1;gpio=1;gpioack=1", 'r', " T:r", {}, false},
  };
  for (const ContactRow& row : rows) {
    SCOPED_TRACE(row.tags);
    const std::string url = std::string(kSource) + row.tags;
    EXPECT_EQ(Talk(url), 0);
    EXPECT_EQ(talk_lines[0].url, url);
    EXPECT_EQ(talk_lines[0].state, row.letter);
    EXPECT_EQ(talk_lines[0].direction, 1);
    EXPECT_EQ(Inputs(), row.inputs);
    EXPECT_EQ(Reports(),
              *row.report == '\0' ? std::vector<std::string>{} : std::vector<std::string>{url + row.report});
    EXPECT_THAT(MixerLines(), IsEmpty());
    SipStackUA::GetInstance()->Drop(2, 0);
    Forget();
  }
}

TEST_F(QuillnetCall, TalkReleasesTheFarDroppedListenOfItsSource) {
  for (const char* tags : {";gpio=1;gpiot=1", ";gpio=1;gpiot=1;gpioack=1"}) {
    SCOPED_TRACE(tags);
    Put(kListenKind, 0, kSource, kLineFarDropped);
    const std::string url = std::string(kSource) + tags;
    EXPECT_EQ(Talk(url), 0);
    EXPECT_TRUE(listen_lines[0].url.empty());
    EXPECT_THAT(Reports(), ElementsAre("quillnet:239.192.0.7 L:0", url + " L:0 T:" + talk_lines[0].state));
    SipStackUA::GetInstance()->Drop(2, 0);
    Forget();
  }
}

TEST_F(QuillnetCall, BothDirectionsAreAskedForListenFirst) {
  const std::string url = std::string(kSource) + ";qntb=1";
  EXPECT_EQ(Modify(url, kWishConnect, kWishConnect), 0);
  EXPECT_THAT(Reports(), ElementsAre(url + " L:1", url + " T:r"));
}

TEST_F(QuillnetCall, NoWishIsNothing) {
  EXPECT_EQ(Modify(kSource, kNoWish, kNoWish), 0);
  EXPECT_TRUE(listen_lines[0].url.empty() && talk_lines[0].url.empty());
}

TEST_F(QuillnetCall, WishToDropWithoutALineDoesNothing) {
  EXPECT_EQ(Modify(kSource, kWishDrop, kWishDrop), 0);
  EXPECT_EQ(Modify(kStation, kWishDrop, kWishDrop), 0);
  PassAfterMs(1000);
  EXPECT_THAT(Reports(), IsEmpty());
  EXPECT_THAT(MixerLines(), IsEmpty());
}

TEST_F(QuillnetCall, WishForALineThatIsConnectedClearsItsDropAndSendsNothing) {
  EXPECT_EQ(Listen(kSource), 0);
  Forget();
  EXPECT_EQ(DropListen(kSource), 0);
  EXPECT_TRUE(listen_lines[0].drop_pending);
  EXPECT_THAT(Reports(), IsEmpty());
  clock.AdvanceMs(300);
  EXPECT_EQ(Listen(kSource), 0);
  EXPECT_FALSE(listen_lines[0].drop_pending);
  PassAfterMs(1000);
  EXPECT_THAT(MixerLines(), IsEmpty());
  EXPECT_THAT(Reports(), IsEmpty());
  EXPECT_EQ(listen_lines[0].state, kLineConnected);
}

TEST_F(QuillnetCall, WishForAFarDroppedLineStartsAfresh) {
  EXPECT_EQ(Listen(kSource), 0);
  FarDrop(kListenKind, 0);
  SipStackUA::GetInstance()->Drop(1, 0);
  Forget();
  EXPECT_EQ(Listen(kSource), 0);
  EXPECT_THAT(Reports(), ElementsAre("quillnet:239.192.0.7 L:0", "quillnet:239.192.0.7 L:1"));
  EXPECT_EQ(listen_lines[0].state, kLineConnected);
  PassAfterMs(10'000);
  EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(QuillnetCall, WishToDropAFarDroppedLineEndsItsFlashNoSooner) {
  Put(kListenKind, 0, kSource, kLineConnected);
  FarDrop(kListenKind, 0);
  EXPECT_EQ(DropListen(kSource), 0);
  Forget();
  PassAfterMs(1000);
  EXPECT_EQ(listen_lines[0].state, kLineFarDropped);
  PassAfterMs(4001);
  EXPECT_THAT(Reports(), ElementsAre("quillnet:239.192.0.7 L:0"));
}

TEST_F(QuillnetCall, AnswerOfAListenRequestBringsTheAudioUp) {
  Remote(kListenKind, std::string(kSource) + ";gpio=2;gpiol=1", kWishConnect);
  Forget();
  EXPECT_EQ(Listen(kSource), 0);
  EXPECT_EQ(listen_lines[0].state, kLineConnected);
  EXPECT_THAT(MixerLines(), ElementsAre("set hark#1.sub#1.in#1 src_id=\"239.192.0.7\", gain=0"));
  EXPECT_THAT(Inputs(), ElementsAre("GPI 3 Lxxxx\r\n"));
  EXPECT_THAT(Reports(), ElementsAre("quillnet:239.192.0.7;gpio=2;gpiol=1 L:1"));
}

TEST_F(QuillnetCall, AnswerOfATalkRequestClosesItsContact) {
  Remote(kTalkKind, std::string(kSource) + ";gpio=2;gpiot=5;gpioack=1", kWishConnect);
  Forget();
  EXPECT_EQ(Talk(kSource), 0);
  EXPECT_EQ(talk_lines[0].state, kLineConnected);
  EXPECT_THAT(MixerLines(), IsEmpty());
  EXPECT_THAT(Inputs(), ElementsAre("GPI 3 xxxxL\r\n"));
  EXPECT_THAT(Reports(), ElementsAre("quillnet:239.192.0.7;gpio=2;gpiot=5;gpioack=1 T:1"));
}

TEST_F(QuillnetCall, SipLineThatCannotBeSeizedFreesTheLine) {
  SipStackUA::GetInstance()->Seize(1, 0);  // by somebody else
  InitializeLineTable(listen_lines);
  EXPECT_EQ(Modify(kSource, kWishConnect, kWishConnect), -1);
  EXPECT_TRUE(listen_lines[0].url.empty());
  EXPECT_TRUE(talk_lines[0].url.empty());
  EXPECT_THAT(Reports(), IsEmpty());
  EXPECT_THAT(MixerLines(), IsEmpty());
}

TEST_F(QuillnetCall, WithoutServicesNoCallIsMade) {
  sipctrl_removeservice();
  Forget();
  EXPECT_EQ(Modify(kSource, kWishConnect, kWishConnect), -1);
  EXPECT_THAT(Reports(), IsEmpty());
  EXPECT_THAT(MixerLines(), IsEmpty());
}

class OtherUrl : public CallTest {};

TEST_F(OtherUrl, PartiesThatCannotBeCalledAreRefused) {
  for (const char* url : {"phone:5551234", "sip:bob@10.0.0.9", "\"Bob\" <sip:bob@10.0.0.9>", "http://x",
                          "10.0.0.5", "HARK:10.0.0.5", "", "\"Bob\"", ";trgl=3"}) {
    SCOPED_TRACE(url);
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(Modify(url, kWishConnect, kWishConnect), -1);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "protocol unknown\n");
  }
  EXPECT_TRUE(listen_lines[0].url.empty() && talk_lines[0].url.empty());
  EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(OtherUrl, StationIsCalledBothWaysAndWaitedFor) {
  EXPECT_EQ(Modify(kStation, kWishConnect, kWishConnect), 0);
  EXPECT_EQ(listen_lines[0].state, kLineCalling);
  EXPECT_EQ(talk_lines[0].state, kLineCalling);
  EXPECT_THAT(Reports(), IsEmpty());
}

// The stack resolves no names.
TEST_F(OtherUrl, StationWhoseAddressIsANameCannotBeCalled) {
  constexpr const char* kNamed = "hark:studio.example";
  EXPECT_EQ(Modify(kNamed, kWishConnect, kWishConnect), -1);
  EXPECT_TRUE(listen_lines[0].url.empty());
  EXPECT_TRUE(talk_lines[0].url.empty());
  EXPECT_THAT(Reports(), ElementsAre("hark:studio.example L:0"));  // it was calling for a moment
  EXPECT_EQ(Talk(kNamed), -1);
  EXPECT_THAT(Reports(), ElementsAre("hark:studio.example T:0"));
}

TEST_F(OtherUrl, LocalSourceIsToldAsAnAddress) {
  struct Row {
    const char* source;
    const char* text;
  };
  for (const Row& row : {Row{"0.0.0.0", ""},
                         {"239.192.0.5", "239.192.0.5"},
                         {"0.0.4.210", "239.192.4.210"},
                         {"0.0.255.255", "239.192.255.255"},
                         {"0.1.0.0", "0.1.0.0"},
                         {"10.0.0.1", "10.0.0.1"}}) {
    SCOPED_TRACE(row.source);
    station.harkd_qnsrcch = inet_addr(row.source);
    EXPECT_STREQ(sipctrl_qnrifb_addr(), row.text);
  }
}

}  // namespace
}  // namespace hark
