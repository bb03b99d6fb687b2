// The parts of the script for the far device and for the multicast group, in time that the test moves.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "system/support/client.h"
#include "system/support/far_device_sim.h"
#include "system/support/ptt_sim.h"
#include "system/support/routing_sim.h"
#include "tools/quillsim/far_script.h"
#include "tools/quillsim/ptt_script.h"
#include "tools/quillsim/script.h"

namespace quillsim {
namespace {

using hark::test::own_ptt_channel;
using hark::test::wait_until;
using std::chrono::milliseconds;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class LinksScriptTest : public testing::Test {
 protected:
  void Lines(const std::vector<std::string>& lines) {
    for (const std::string& line : lines)
      script_.add(line);
    script_.run(now_);
  }
  void ExpectAllUnknown(const std::vector<std::string>& rows) {
    Lines(rows);
    EXPECT_EQ(complaints_.size(), rows.size()) << testing::PrintToString(complaints_);
    EXPECT_THAT(complaints_, Each(HasSubstr("unknown directive: ")));
  }

  const std::string channel_ = std::to_string(own_ptt_channel(0));
  hark::test::RoutingSim sim_;
  hark::test::FarDeviceSim device_;
  hark::test::PttSim ptt_;
  hark::test::Client client_;
  std::vector<std::string> out_;
  std::vector<std::string> complaints_;
  Script script_{{*sim_.operator->(), nullptr, device_.operator->(), ptt_.operator->()},
                 [this](const std::string& line) { out_.push_back(line); },
                 [this](const std::string& line) { complaints_.push_back(line); },
                 milliseconds(1000)};
  Script::Time now_{};
};

TEST_F(LinksScriptTest, FarDeviceIsSetShownAndSpokenFor) {
  Lines({"far-send DST 1 ADDR:\"y\"", "far-set 99 \"x\""});
  EXPECT_THAT(complaints_, ElementsAre(HasSubstr("no client is connected to the far device, for: far-send"),
                                       HasSubstr("no destination of this number, for: far-set 99")));
  ASSERT_TRUE(client_.connect(device_.port()));
  ASSERT_TRUE(device_.wait_clients(1));
  Lines({"far-set 3 \"1.2.3.4 <^PTT>\"", "far-show", "far-send anything at all"});
  const std::string line = "DST 3 NAME:\"Output 3\" ADDR:\"1.2.3.4 <^PTT>\"";
  EXPECT_THAT(out_, ElementsAre(line));
  EXPECT_TRUE(client_.expect_line(line));
  EXPECT_TRUE(client_.expect_line("anything at all"));
}

TEST_F(LinksScriptTest, FarDeviceFailsInEachWayAndComesBack) {
  ASSERT_TRUE(client_.connect(device_.port()));
  ASSERT_TRUE(device_.wait_clients(1));
  Lines({"far-silent on"});
  ASSERT_TRUE(client_.send_line("LOGIN"));
  EXPECT_TRUE(client_.expect_silence(50));
  Lines({"far-silent off", "far-hang on"});
  ASSERT_TRUE(client_.send_line("LOGIN"));
  EXPECT_TRUE(client_.expect_silence(50));
  Lines({"far-hang off"});
  EXPECT_TRUE(client_.expect_line("LOGIN OK"));
  Lines({"far-cut", "far-refuse"});
  EXPECT_TRUE(client_.wait_closed());
  EXPECT_FALSE(client_.connect(device_.port()));
  Lines({"far-accept", "far-accept"});
  EXPECT_TRUE(client_.connect(device_.port()));
  EXPECT_THAT(complaints_, IsEmpty());
}

TEST_F(LinksScriptTest, WaitFarEndsWhenTheDestinationCarriesIt) {
  Lines({"wait-far 2 \"x\"", "far-show"});
  EXPECT_THAT(out_, IsEmpty());
  ASSERT_TRUE(device_->set_address(2, "y"));
  script_.run(now_);
  EXPECT_THAT(out_, IsEmpty());
  ASSERT_TRUE(device_->set_address(2, "x"));
  script_.run(now_);
  EXPECT_EQ(out_.size(), 1U);
  Lines({"wait-far 2 \"z\""});
  now_ += milliseconds(1000);
  script_.run(now_);
  EXPECT_THAT(complaints_, ElementsAre("waited in vain for: wait-far 2 \"z\""));
}

TEST_F(LinksScriptTest, GroupIsToldWhoTalksAndHowToAnswer) {
  hark::test::PttListener listener;
  const std::string told = "QnCH#" + channel_ + " ifb_qnch=";
  Lines({"ptt-hold " + channel_ + " 9"});
  EXPECT_TRUE(listener.wait_text("EVENT " + told + "9"));
  Lines({"ptt-silent on", "ptt-hold " + channel_ + " 0", "ptt-tell " + channel_});
  EXPECT_TRUE(listener.wait_text("EVENT " + told + "0"));
  EXPECT_EQ(listener.texts(own_ptt_channel(0)).size(), 2U) << "the end itself was not told";
  Lines({"ptt-silent off", "ptt-copies 2", "ptt-late 30", "ptt-as 5", "ptt-send of " + channel_});
  EXPECT_TRUE(listener.wait_text("of " + channel_));
  EXPECT_TRUE(ptt_->options().answering);
  EXPECT_EQ(ptt_->options().copies, 2);
  EXPECT_EQ(ptt_->options().late, milliseconds(30));
  EXPECT_EQ(ptt_->options().answer_channel, 5);
  Lines({"ptt-as own"});
  EXPECT_EQ(ptt_->options().answer_channel, std::nullopt);
  EXPECT_THAT(complaints_, IsEmpty());
}

TEST_F(LinksScriptTest, WaitPttEndsWhenTheSourceTalks) {
  Lines({"wait-ptt " + channel_ + " 9", "far-set 1 \"x\"", "far-show"});
  EXPECT_THAT(out_, IsEmpty());
  ptt_->hold(own_ptt_channel(0), 9);
  script_.run(now_);
  EXPECT_EQ(out_.size(), 1U);
  Lines({"wait-ptt " + channel_ + " 0"});
  EXPECT_NE(script_.due(), std::nullopt);
  ptt_->hold(own_ptt_channel(0), 0);
  script_.run(now_);
  EXPECT_EQ(script_.due(), std::nullopt);
}

TEST_F(LinksScriptTest, MalformedLinesOfTheFarDeviceAreUnknown) {
  ExpectAllUnknown({"far-set",
                    "far-set 1",
                    "far-set 1 x",
                    "far-set 1 \"x",
                    "far-set 1 \"x\" ",
                    "far-set x \"x\"",
                    "far-set 10000 \"x\"",
                    "far-silent",
                    "far-silent yes",
                    "far-silent on ",
                    "far-hang 1",
                    "far-refuse all",
                    "far-accept all",
                    "far-cut all",
                    "far-send",
                    "far-show all",
                    "wait-far",
                    "wait-far 1",
                    "wait-far 1 x",
                    "wait-far 1 \"x\" 2",
                    "FAR-CUT"});
  EXPECT_TRUE(device_->listening());
}

TEST_F(LinksScriptTest, MalformedLinesOfTheGroupAreUnknown) {
  ExpectAllUnknown(
      {"ptt-hold",        "ptt-hold 1",     "ptt-hold 0 1",   "ptt-hold 32768 1", "ptt-hold 1 32768",
       "ptt-hold 1 2 3",  "ptt-silent",     "ptt-silent yes", "ptt-copies",       "ptt-copies -1",
       "ptt-copies 1001", "ptt-copies 1 1", "ptt-late x",     "ptt-late -1",      "ptt-as",
       "ptt-as 0",        "ptt-as owner",   "ptt-tell",       "ptt-tell 0",       "ptt-tell 1 1",
       "ptt-send",        "wait-ptt",       "wait-ptt 1",     "wait-ptt x 1",     "wait-ptt 1 1 "});
}

TEST(LinksScript, WithoutAPlayerEachDirectiveFails) {
  for (const char* line : {"far-set 1 \"x\"", "far-silent on", "far-hang on", "far-refuse", "far-accept",
                           "far-cut", "far-send x", "far-show", "wait-far 1 \"x\""}) {
    const Step step = run_far_directive(line, nullptr);
    EXPECT_TRUE(step.known) << line;
    EXPECT_THAT(step.error, HasSubstr("--far-device")) << line;
  }
  for (const char* line : {"ptt-hold 1 1", "ptt-silent on", "ptt-copies 1", "ptt-late 1", "ptt-as own",
                           "ptt-tell 1", "ptt-send x", "wait-ptt 1 1"}) {
    const Step step = run_ptt_directive(line, nullptr);
    EXPECT_TRUE(step.known) << line;
    EXPECT_THAT(step.error, HasSubstr("--ptt")) << line;
  }
  EXPECT_FALSE(run_far_directive("show", nullptr).known);
  EXPECT_FALSE(run_ptt_directive("show", nullptr).known);
}

TEST(LinksScript, EachDirectiveHasItsHelp) {
  for (const char* word : {"far-set N", "far-silent", "far-hang", "far-refuse", "far-accept", "far-cut",
                           "far-send TEXT", "far-show", "wait-far N"}) {
    EXPECT_THAT(kFarScriptHelp, HasSubstr(word));
  }
  for (const char* word : {"ptt-hold N", "ptt-silent", "ptt-copies N", "ptt-late MS", "ptt-as N|own",
                           "ptt-tell N", "ptt-send TEXT", "wait-ptt N"}) {
    EXPECT_THAT(kPttScriptHelp, HasSubstr(word));
  }
}

}  // namespace
}  // namespace quillsim
