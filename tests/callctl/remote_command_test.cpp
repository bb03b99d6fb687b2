// Calls that a far contact asks for: a request that a panel answers, its end, and the whole way from the
// routing daemon's line to the call.
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "addressing/sources.h"
#include "callctl/call_fixture.h"
#include "routing/harkqnr.h"
#include "routing/harkqnr_gpio.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char kContact[] = "quillnet:239.192.0.7;gpio=4;gpiol=1;gpiot=2;gpioack=1";

class RemoteCommand : public CallTest {};

TEST_F(RemoteCommand, WishIsARequestOnItsSide) {
  Remote(kListenKind, kContact, kWishConnect);
  EXPECT_THAT(Reports(), ElementsAre(std::string(kContact) + " L:R"));
  Remote(kTalkKind, kContact, kWishConnect);
  EXPECT_THAT(Reports(), ElementsAre(std::string(kContact) + " T:R"));
  for (const HarkLine* line : {&listen_lines[0], &talk_lines[0]}) {
    EXPECT_EQ(line->state, kLineRequest);
    EXPECT_EQ(line->gpio, 4);
    EXPECT_EQ(line->gpiol, 1);
    EXPECT_EQ(line->gpiot, 2);
    EXPECT_TRUE(line->gpioack);
    EXPECT_FALSE(line->drop_pending);
  }
  EXPECT_EQ(listen_lines[0].direction, 2);
  EXPECT_EQ(talk_lines[0].direction, 1);
  EXPECT_THAT(MixerLines(), IsEmpty());
  EXPECT_THAT(Inputs(), IsEmpty());
}

TEST_F(RemoteCommand, PinsAreReadOnlyWithAChannel) {
  Remote(kListenKind, "quillnet:239.192.0.7;gpiol=1;gpiot=2;gpioack=1", kWishConnect);
  EXPECT_EQ(listen_lines[0].gpiol, 0);
  EXPECT_EQ(listen_lines[0].gpiot, 0);
  EXPECT_FALSE(listen_lines[0].gpioack);
}

TEST_F(RemoteCommand, OtherKindsDoNothing) {
  for (const int kind : {0, 3, -1, 100})
    Remote(kind, kContact, kWishConnect);
  EXPECT_THAT(Reports(), IsEmpty());
  EXPECT_TRUE(listen_lines[0].url.empty() && talk_lines[0].url.empty());
}

TEST_F(RemoteCommand, WishForAConnectedLineClearsItsDropOnly) {
  for (const int kind : {kListenKind, kTalkKind}) {
    HarkLine& line = Put(kind, 0, kSource, kLineConnected);
    line.drop_pending = true;
    Remote(kind, kSource, kWishConnect);
    EXPECT_FALSE(line.drop_pending);
    EXPECT_EQ(line.state, kLineConnected);
  }
  EXPECT_THAT(Reports(), IsEmpty());
  EXPECT_THAT(MixerLines(), IsEmpty());
}

TEST_F(RemoteCommand, WishForALineInAnotherStateIsARequestAgain) {
  for (const int kind : {kListenKind, kTalkKind}) {
    for (const char state : {kLineSeized, kLineCalling, kLineFarRinging, kLineRequest, kLineOff}) {
      SCOPED_TRACE(state);
      HarkLine& line = Put(kind, 0, kSource, state);
      line.drop_pending = true;
      Remote(kind, kContact, kWishConnect);
      EXPECT_EQ(line.state, kLineRequest);
      EXPECT_EQ(line.gpio, 4);
      EXPECT_FALSE(line.drop_pending);
      EXPECT_THAT(Reports(), ElementsAre(std::string(kSource) + (kind == kListenKind ? " L:R" : " T:R")));
    }
  }
}

TEST_F(RemoteCommand, WishForAFarDroppedLineStartsAfresh) {
  Put(kListenKind, 2, kSource, kLineFarDropped).drop_pending = true;
  Remote(kListenKind, kContact, kWishConnect);
  EXPECT_THAT(Reports(), ElementsAre("quillnet:239.192.0.7 L:0", std::string(kContact) + " L:R"));
  EXPECT_TRUE(listen_lines[2].url.empty());
  EXPECT_EQ(listen_lines[0].state, kLineRequest);
}

TEST_F(RemoteCommand, EndOfAListenIsAFarDropWithItsFlash) {
  ASSERT_EQ(Listen(kContact), 0);
  Put(kListenKind, 0, kContact, kLineConnected).gpio = 4;
  listen_lines[0].gpiol = 1;
  Forget();
  Remote(kListenKind, kContact, kWishDrop);
  EXPECT_EQ(listen_lines[0].state, kLineFarDropped);
  EXPECT_THAT(Reports(), ElementsAre(std::string(kContact) + " L:d"));
  EXPECT_THAT(MixerLines(), ElementsAre("set hark#1.sub#1.in#1 src_id=\"\", gain=0"));
  EXPECT_THAT(Inputs(), ElementsAre("GPI 5 Hxxxx\r\n"));
  PassAfterMs(5001);
  EXPECT_THAT(Reports(), ElementsAre(std::string(kContact) + " L:0"));
}

TEST_F(RemoteCommand, EndOfATalkFreesItAtOnce) {
  Remote(kTalkKind, kContact, kWishConnect);
  Forget();
  Remote(kTalkKind, kContact, kWishDrop);
  EXPECT_TRUE(talk_lines[0].url.empty());
  EXPECT_THAT(Reports(), ElementsAre(std::string(kContact) + " T:0"));
  EXPECT_THAT(Inputs(), ElementsAre("GPI 5 xHxxx\r\n"));
}

TEST_F(RemoteCommand, EndWithoutALineOrOfOneThatIsOffDoesNothing) {
  Remote(kListenKind, kContact, kWishDrop);
  Remote(kTalkKind, kContact, kWishDrop);
  Put(kTalkKind, 0, kSource, kLineOff);
  Remote(kTalkKind, kSource, kWishDrop);
  EXPECT_EQ(talk_lines[0].url, kSource);
  EXPECT_THAT(Reports(), IsEmpty());
  EXPECT_THAT(MixerLines(), IsEmpty());
}

TEST_F(RemoteCommand, WithoutASipLineThereIsNoRequest) {
  SipStackUA::GetInstance()->Seize(1, 0);  // by somebody else
  InitializeLineTable(listen_lines);
  Remote(kListenKind, kContact, kWishConnect);
  EXPECT_TRUE(listen_lines[0].url.empty());
  EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(RemoteCommand, FullTableTakesNoRequest) {
  for (int i = 0; i < kListenLines; ++i) {
    Put(kListenKind, i, "quillnet:239.192.1." + std::to_string(i), kLineConnected);
  }
  Remote(kListenKind, kContact, kWishConnect);
  EXPECT_THAT(Reports(), IsEmpty());
}

class FarContactCall : public CallTest {
 protected:
  FarContactCall() {
    std::ofstream(path_) << kContact << "\n";
    harksources_file = path_.string();
    harkqnr_gpio_hooks = {remotecommand, nullptr};
  }
  ~FarContactCall() override {
    harkqnr_gpio_clear_events();
    harkqnr_gpio_hooks = {};
    harksources_file = before_;
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
  }

 private:
  std::filesystem::path path_ =
      std::filesystem::temp_directory_path() / ("hark_contact." + std::to_string(::getpid()));
  std::string before_ = harksources_file;
};

TEST_F(FarContactCall, ClosureAsksAtOnceAndReleaseEndsAfterTheDebounce) {
  harkqnr_cmd("GPO 5 Lhhhh");
  EXPECT_THAT(Reports(), ElementsAre(std::string(kContact) + " L:R"));
  ASSERT_EQ(Listen(kContact), 0);
  EXPECT_THAT(Reports(), ElementsAre(std::string(kContact) + " L:1"));
  harkqnr_cmd("GPO 5 Hhhhh");
  PassAfterMs(400);
  EXPECT_THAT(Reports(), IsEmpty());
  PassAfterMs(1);
  EXPECT_THAT(Reports(), ElementsAre(std::string(kContact) + " L:d"));
  PassAfterMs(5001);
  EXPECT_THAT(Reports(), ElementsAre(std::string(kContact) + " L:0"));
}

TEST_F(FarContactCall, SecondPinIsTheTalkSide) {
  harkqnr_cmd("GPO 5 hLhhh");
  EXPECT_THAT(Reports(), ElementsAre(std::string(kContact) + " T:R"));
}

}  // namespace
}  // namespace hark
