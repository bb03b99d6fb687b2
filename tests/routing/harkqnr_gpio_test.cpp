// Contacts of other channels make and end calls, with a debounce that acts on a closure at once and on a
// release late.
#include "routing/harkqnr_gpio.h"

#include <cstdio>

#include "daemon/station/station.h"
#include "routing/routing_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr char kClosed = 'L';
constexpr char kOpen = 'H';

class FarContact : public RoutingTest {
 protected:
  void Close(int ch = 5, int pin = 1) { harkqnr_gpio_callback(ch, pin, kClosed); }
  void Open(int ch = 5, int pin = 1) { harkqnr_gpio_callback(ch, pin, kOpen); }
  void PassAfterMs(long ms) {
    clock.AdvanceMs(ms);
    harkqnr_gpio_process_events(clock.Now());
  }
  // The calls since the last question.
  static std::vector<std::string> Calls() { return std::exchange(asked.remote, {}); }

  // With the base at 1 this source is on channel 5.
  SourceFile sources{"quillnet:239.192.0.7;gpio=4;gpiol=1;gpiot=2\n"};
};

TEST_F(FarContact, DebounceTimeIsFourHundredMilliseconds) { EXPECT_EQ(hark_gpio_debounce_time_us, 400'000); }

TEST_F(FarContact, ClosureActsAtOnce) {
  Close(5, 1);
  EXPECT_THAT(Calls(), ElementsAre("1 quillnet:239.192.0.7 1"));
  Close(5, 2);
  EXPECT_THAT(Calls(), ElementsAre("2 quillnet:239.192.0.7 1"));
}

TEST_F(FarContact, ReleaseWaitsForTheDebounceTimeBehindTheClosure) {
  Close();
  (void)Calls();
  clock.AdvanceMs(100);
  Open();
  PassAfterMs(299);
  EXPECT_THAT(Calls(), IsEmpty());
  PassAfterMs(1);  // just the time, not older
  EXPECT_THAT(Calls(), IsEmpty());
  clock.AdvanceUs(1);
  PassAfterMs(0);
  EXPECT_THAT(Calls(), ElementsAre("1 quillnet:239.192.0.7 0"));
  PassAfterMs(1000);
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(FarContact, BounceIsNotSeen) {
  Close();
  (void)Calls();
  for (int i = 0; i < 10; ++i) {
    clock.AdvanceMs(10);
    Open();
    PassAfterMs(10);
    Close();
  }
  PassAfterMs(401);
  PassAfterMs(401);
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(FarContact, SecondClosureRearmsTheTimeAndMakesNoSecondCall) {
  Close();
  (void)Calls();
  clock.AdvanceMs(300);
  Close();
  clock.AdvanceMs(50);
  Open();
  PassAfterMs(349);  // 699 ms behind the first closure, 399 ms behind the second
  EXPECT_THAT(Calls(), IsEmpty());
  PassAfterMs(2);
  EXPECT_THAT(Calls(), ElementsAre("1 quillnet:239.192.0.7 0"));
}

TEST_F(FarContact, ReleaseDoesNotRearmTheTime) {
  Close();
  (void)Calls();
  clock.AdvanceMs(390);
  Open();
  PassAfterMs(11);
  EXPECT_THAT(Calls(), ElementsAre("1 quillnet:239.192.0.7 0"));
}

TEST_F(FarContact, ReleaseOfAContactThatSettledActsAtOnce) {
  Close();
  PassAfterMs(401);
  (void)Calls();
  Open();
  EXPECT_THAT(Calls(), ElementsAre("1 quillnet:239.192.0.7 0"));
}

TEST_F(FarContact, ReleaseActsAtOnceAndIsNotDebounced) {
  Open();
  EXPECT_THAT(Calls(), ElementsAre("1 quillnet:239.192.0.7 0"));
  Close();
  EXPECT_THAT(Calls(), ElementsAre("1 quillnet:239.192.0.7 1"));
}

TEST_F(FarContact, ClosureBehindALateReleaseWaitsForItsOwnDebounce) {
  Close();
  Open();
  PassAfterMs(401);
  (void)Calls();
  clock.AdvanceMs(100);
  Close();
  EXPECT_THAT(Calls(), IsEmpty());
  PassAfterMs(400);
  EXPECT_THAT(Calls(), IsEmpty());
  PassAfterMs(1);
  EXPECT_THAT(Calls(), ElementsAre("1 quillnet:239.192.0.7 1"));
}

TEST_F(FarContact, ContactIsForgottenOnceItSettledAfterARelease) {
  Close();
  Open();
  PassAfterMs(401);
  PassAfterMs(401);
  (void)Calls();
  Close();
  EXPECT_THAT(Calls(), ElementsAre("1 quillnet:239.192.0.7 1"));
}

TEST_F(FarContact, PinsAndChannelsAreDebouncedApart) {
  const SourceFile more(
      "quillnet:239.192.0.7;gpio=4;gpiol=1;gpiot=2\nquillnet:239.192.0.8;gpio=5;gpiol=1;gpiot=2\n");
  Close(5, 1);
  clock.AdvanceMs(200);
  Close(5, 2);
  Close(6, 1);
  EXPECT_THAT(Calls(), ElementsAre("1 quillnet:239.192.0.7 1", "2 quillnet:239.192.0.7 1",
                                   "1 quillnet:239.192.0.8 1"));
  Open(5, 1);
  Open(6, 1);
  PassAfterMs(201);
  EXPECT_THAT(Calls(), ElementsAre("1 quillnet:239.192.0.7 0"));
  PassAfterMs(200);
  EXPECT_THAT(Calls(), ElementsAre("1 quillnet:239.192.0.8 0"));
}

TEST_F(FarContact, EveryMatchingLineActs) {
  const SourceFile many(
      "# quillnet:239.192.0.1;gpio=4;gpiol=1\n"
      "\n"
      "quillnet:239.192.0.2;gpio=4;gpiol=1\r\n"
      "hark:10.0.0.1;gpio=4;gpiol=1\n"
      "phone:5;gpio=4;gpiol=1\n"
      "\"Both\" <quillnet:239.192.0.3>;gpio=4;gpiol=1;gpiot=1\n"
      "quillnet:239.192.0.4;gpio=5;gpiol=1\n"
      "quillnet:239.192.0.5;gpio=4;gpiot=2\n"
      "quillnet:239.192.0.6;gpiot=1;gpio=4\n"
      "quillnet:239.192.0.9\n");
  Close(5, 1);
  EXPECT_THAT(Calls(), ElementsAre("1 quillnet:239.192.0.2 1", "1 quillnet:239.192.0.3 1",
                                   "2 quillnet:239.192.0.3 1", "2 quillnet:239.192.0.6 1"));
  Close(5, 2);
  EXPECT_THAT(Calls(), ElementsAre("2 quillnet:239.192.0.5 1"));
  Close(5, 3);
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(FarContact, ChannelOfASourceMovesWithTheContactBase) {
  station.harkd_qnrd_gpio_base = 16;
  Close(5, 1);
  EXPECT_THAT(Calls(), IsEmpty());
  Close(20, 1);
  EXPECT_THAT(Calls(), ElementsAre("1 quillnet:239.192.0.7 1"));
}

TEST_F(FarContact, FileIsReadAtTheTimeOfTheEvent) {
  Close();
  (void)Calls();
  const SourceFile changed("quillnet:239.192.0.99;gpio=4;gpiol=1\n");
  Open();
  PassAfterMs(401);
  EXPECT_THAT(Calls(), ElementsAre("1 quillnet:239.192.0.99 0"));
}

TEST_F(FarContact, ContactsThatAreForgottenAreNotReleasedLater) {
  Close();
  Open();
  (void)Calls();
  harkqnr_gpio_clear_events();
  PassAfterMs(1000);
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(FarContact, OtherLettersAreNoEvents) {
  for (const char c : {'l', 'h', 'x', 'X', '\0', '1'})
    harkqnr_gpio_callback(5, 1, c);
  // Nothing is in the queue either: the next release acts at once.
  (void)Calls();
  Open();
  EXPECT_THAT(Calls(), ElementsAre("1 quillnet:239.192.0.7 0"));
}

// The call that an event makes may itself move contacts, of the same channel too.
void close_again(int kind, const harkurl_info* info, char wish) {
  asked.remote.push_back(std::to_string(kind) + " " + std::string(info->url, info->url_len) + " " + wish);
  if (asked.remote.size() > 8) return;
  harkqnr_gpio_callback(5, 1, wish == '1' ? kOpen : kClosed);
  harkqnr_gpio_callback(6, 1, kClosed);
  harkqnr_gpio_callback(6, 1, kOpen);
}

TEST_F(FarContact, EventsFromInsideAnEventAreTaken) {
  harkqnr_gpio_hooks.remotecommand = close_again;
  Close();
  for (int i = 0; i < 20; ++i)
    PassAfterMs(401);
  EXPECT_GE(asked.remote.size(), 2u);
  EXPECT_LE(asked.remote.size(), 30u);
}

void forget_all(int /*kind*/, const harkurl_info* /*info*/, char /*wish*/) {
  asked.remote.emplace_back("forgot");
  harkqnr_gpio_clear_events();
}

TEST_F(FarContact, EventMayForgetAllContacts) {
  Close(5, 1);
  Close(5, 2);
  Open(5, 1);
  Open(5, 2);
  harkqnr_gpio_hooks.remotecommand = forget_all;
  (void)Calls();
  PassAfterMs(401);
  EXPECT_THAT(Calls(), ElementsAre("forgot"));
}

TEST_F(FarContact, DebugPrintsTheQueue) {
  station.dbg = true;
  ::testing::internal::CaptureStdout();
  Close(5, 1);
  Open(5, 1);
  PassAfterMs(401);
  PassAfterMs(401);
  (void)std::fflush(stdout);
  const std::string printed = ::testing::internal::GetCapturedStdout();
  for (const char* part : {"harkqnr_gpio_event_queue ", ": 5/1/L\n", ": 5/1/L->H\n",
                           "harkqnr_gpio_event_queue * 5/1/H\n", "harkqnr_gpio_event_queue - 5/1/H\n"}) {
    EXPECT_THAT(printed, HasSubstr(part));
  }
}

}  // namespace
}  // namespace hark
