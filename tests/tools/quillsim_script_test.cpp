// The script of the simulated routing daemon, in time that the test moves.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "system/support/client.h"
#include "system/support/routing_sim.h"
#include "tools/quillsim/script.h"

namespace quillsim {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class ScriptTest : public testing::Test {
 protected:
  void Lines(const std::vector<std::string>& lines) {
    for (const std::string& line : lines)
      script_.add(line);
    Run();
  }
  void Run() { script_.run(now_); }
  void AdvanceMs(int ms) {
    now_ += milliseconds(ms);
    Run();
  }
  void Printed(const std::string& line) {
    script_.note_printed(line);
    Run();
  }
  void Connect() {
    ASSERT_TRUE(station_.connect(sim_.port()));
    ASSERT_TRUE(hark::test::wait_until([this] { return sim_->connected(); }));
  }

  hark::test::RoutingSim sim_;
  hark::test::Client station_;
  std::vector<std::string> out_;
  std::vector<std::string> complaints_;
  Script script_{{*sim_.operator->()},
                 [this](const std::string& line) { out_.push_back(line); },
                 [this](const std::string& line) { complaints_.push_back(line); },
                 milliseconds(1000)};
  Script::Time now_{};
};

TEST_F(ScriptTest, WireLinesGoToTheStation) {
  Connect();
  const std::vector<std::string> lines = {"VER NGPI:24",
                                          "SRC 1 RTPA:\"239.192.1.7\" PSNM:\"Desk\"",
                                          "DST 3 AVOL:-100",
                                          "GPO 1 LHxxx",
                                          "HARK DIML:-300",
                                          "SUPV CONSOLE_IP:0.0.0.0",
                                          "INDI SUPV DEVICE_TYPE:\"X\"",
                                          "EVENT SUPV DEVICE_TYPE:\"X\""};
  Lines(lines);
  for (const std::string& line : lines)
    EXPECT_EQ(station_.read_line_with_end(), line + "\r\n");
  EXPECT_EQ(script_.failures(), 0);
}

TEST_F(ScriptTest, LinesWithoutAStationAreRefused) {
  Lines({"VER NGPI:24"});
  EXPECT_THAT(complaints_, ElementsAre("no station is connected for: VER NGPI:24"));
}

TEST_F(ScriptTest, UnknownDirectivesAreRefusedAndTheNextOneRuns) {
  const std::vector<std::string> rows = {"hello",    "ver NGPI:1", "VER",     " show",   "show all",
                                         "wait",     "wait x",     "wait -1", "wait 1s", "wait 99999999",
                                         "wait-for", "wait-for ",  "INDI x",  "QUIT"};
  Lines(rows);
  EXPECT_EQ(complaints_.size(), rows.size()) << testing::PrintToString(complaints_);
  EXPECT_EQ(script_.failures(), static_cast<int>(rows.size()));
  Lines({"show"});
  EXPECT_THAT(out_, ElementsAre("hark#1 not created"));
}

TEST_F(ScriptTest, EmptyLinesAndRemarksDoNothing) {
  Lines({"", "\r\n", "# a remark"});
  EXPECT_THAT(complaints_, IsEmpty());
}

TEST_F(ScriptTest, WaitHoldsWhatFollowsForItsTime) {
  Lines({"wait 100", "show"});
  EXPECT_EQ(script_.due(), now_ + milliseconds(100));
  AdvanceMs(99);
  EXPECT_THAT(out_, IsEmpty());
  AdvanceMs(1);
  EXPECT_THAT(out_, ElementsAre("hark#1 not created"));
  EXPECT_EQ(script_.due(), std::nullopt);
}

TEST_F(ScriptTest, WaitForEndsWithTheFirstLineThatHoldsTheText) {
  Lines({"wait-for in#1", "show", "wait-for in#1", "show"});
  Printed("hark#1.sub#1.in#2 ...");
  EXPECT_THAT(out_, IsEmpty());
  Printed("hark#1.sub#1.in#1 ...");
  EXPECT_EQ(out_.size(), 1U) << "the second wait needs a line of its own";
  Printed("hark#1.sub#1.in#1 again");
  EXPECT_EQ(out_.size(), 2U);
  EXPECT_EQ(script_.failures(), 0);
}

TEST_F(ScriptTest, WaitForFindsWhatWasPrintedBeforeIt) {
  Printed("station connected");
  Printed("hark#1 created");
  Lines({"wait-for connected", "wait-for created", "quit"});
  EXPECT_TRUE(script_.quit());
}

TEST_F(ScriptTest, WaitForIsBounded) {
  Lines({"wait-for never", "show"});
  AdvanceMs(999);
  EXPECT_THAT(out_, IsEmpty());
  AdvanceMs(1);
  EXPECT_THAT(complaints_, ElementsAre("waited in vain for: never"));
  EXPECT_EQ(out_.size(), 1U);
  EXPECT_EQ(script_.failures(), 1);
}

TEST_F(ScriptTest, CloseDropsTheStation) {
  Connect();
  Lines({"close"});
  EXPECT_FALSE(sim_->connected());
  EXPECT_TRUE(station_.wait_closed());
}

TEST_F(ScriptTest, NothingRunsBehindQuit) {
  Lines({"quit", "show"});
  EXPECT_TRUE(script_.quit());
  EXPECT_THAT(out_, IsEmpty());
  EXPECT_EQ(script_.due(), std::nullopt);
}

}  // namespace
}  // namespace quillsim
