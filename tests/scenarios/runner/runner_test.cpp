// The runner itself: a scenario that does not go as written fails, at the right line.
#include "scenarios/runner/runner.h"

#include <gtest/gtest.h>

namespace hark::test {
namespace {

constexpr const char* kHead = "A title\ncovers: x\n\n";  // the steps begin at line 4

std::optional<Failure> run(const std::string& steps) {
  return RunScenario(ParseScenario("test", kHead + steps));
}

TEST(ScenarioRunner, StepsThatGoAsWrittenPass) {
  const auto failure = run("< OPTIONS\n> 200 OK\napp< OPTIONS\n");
  EXPECT_FALSE(failure) << failure->line << ": " << failure->text;
}

struct Row {
  const char* steps;
  int line;
  const char* text;  // is in that of the failure
};

TEST(ScenarioRunner, TellsTheLineOfWhatDidNotGoAsWritten) {
  const Row rows[] = {
      {"< OPTIONS\n> 486\n", 5, "expected"},
      {"< OPTIONS\n> 200 OK\n  Via: nothing\n", 6, "expected"},
      {"< OPTIONS\n> 200 OK\n  -Allow\n", 6, "expected"},
      {"< OPTIONS\n> 200 OK\napp< INVITE\n", 6, "expected: INVITE"},
      {"< OPTIONS\n> 200 OK\n> 200 OK\n", 6, "nothing came out"},
      {"< OPTIONS\n\n\nadvance 1s\n", 7, "came out before this line"},
      {"< OPTIONS\n> 200 OK\nadvance 1s\n", 6, "the application was told before"},
      {"< OPTIONS\n> 200 OK\napp< OPTIONS\ndialog state=CONFIRMED\n", 7, "expected: CONFIRMED"},
      {"< OPTIONS\n> 200 OK\napp< OPTIONS\ncount dialogs=0\n", 7, "expected: 0"},
      {"< OPTIONS\n>@alt 200 OK\n", 5, "went to far, not alt"},
      {"app> BYE sip:x@$far\n", 4, "the result of sending is"},
      {"advance 3\n", 4, "not a duration"},
      {"advance 150ms\n", 4, "not whole steps"},
      {"on INVITE: app> 486 (INVITE)\n", 4, "never told"},
      {"on INVITE\n", 4, "not \"on what: command\""},
      {"dance\n", 4, "no such step"},
      {"< OPTIONS $nothing\n", 4, "nothing is known of $nothing"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.steps);
    const auto failure = run(row.steps);
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->line, row.line);
    EXPECT_NE(failure->text.find(row.text), std::string::npos) << failure->text;
  }
}

TEST(ScenarioRunner, WhatIsLeftInTheEndFails) {
  const auto failure = RunScenario(
      ParseScenario("test", "A title\ncovers: x\nend: 1s\n\n< OPTIONS\n> 200 OK\napp< OPTIONS\n"));
  ASSERT_TRUE(failure);
  EXPECT_NE(failure->text.find("left in the end"), std::string::npos) << failure->text;
}

TEST(ScenarioFile, IsRefusedWithALineWhenItCannotMeanAnything) {
  const std::pair<const char*, int> rows[] = {
      {"", 1},
      {"A title\n\n< INVITE\n", 1},
      {"A title\ncovers: x\nnonsense\n", 3},
      {"A title\ncovers: x\n\n  To: x\n", 4},
      {"A title\ncovers: x\n\n> BYE\n  From: *;tag={tag}\n", 5},
  };
  for (const auto& [text, line] : rows) {
    SCOPED_TRACE(text);
    try {
      (void)ParseScenario("test", text);
      FAIL();
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.line, line);
    }
  }
}

TEST(ScenarioFile, TitleBecomesTheName) {
  EXPECT_EQ(ParseScenario("test", "# remark\nA late ACK isn't heard\ncovers: x\n").name(),
            "ALateACKIsntHeard");
}

}  // namespace
}  // namespace hark::test
