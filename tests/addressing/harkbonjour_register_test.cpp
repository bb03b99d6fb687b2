// What the registration answers: the name is ours, is refused, or another station has it.
#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdio>

#include "bonjour_fixture.h"

namespace hark {
namespace {

using ::testing::ExitedWithCode;

constexpr int kConflictStatus = 255;
int g_exits = 0;

class BonjourRegister : public Bonjour {
 protected:
  BonjourRegister() { g_exits = 0; }

  static void Answer(const RegisterAnswer& answer) {
    scripted_dnssd.Answer(harkbonjour.client, answer);
    EXPECT_EQ(Serve(), 0);
  }
  // As Answer, for a process that ends: what it prints is looked for on stderr.
  static void AnswerWithTextsJoined(const RegisterAnswer& answer) {
    (void)::dup2(STDERR_FILENO, STDOUT_FILENO);
    Answer(answer);
  }
};
using BonjourRegisterDeathTest = BonjourRegister;

TEST_F(BonjourRegisterDeathTest, NameConflictTellsAndEndsTheProcessWithStatus255) {
  Start(0, "Studio A");
  EXPECT_EXIT(AnswerWithTextsJoined({.error = -65548, .name = "Studio A"}), ExitedWithCode(kConflictStatus),
              "Name in use, please choose another");
  EXPECT_EXIT(AnswerWithTextsJoined({.error = -65548, .no_texts = true}), ExitedWithCode(kConflictStatus),
              "Name in use, please choose another");
}

TEST_F(BonjourRegisterDeathTest, NameConflictCallsTheHookBeforeItEnds) {
  Start(0, "Studio A");
  harkbonjour_before_exit = [] { (void)std::fputs("<saved>", stderr); };
  EXPECT_EXIT(AnswerWithTextsJoined({.error = kDNSServiceErr_NameConflict, .name = "Studio A"}),
              ExitedWithCode(kConflictStatus), "<saved>");
}

TEST_F(BonjourRegister, OtherErrorsArePrintedAndNothingElseHappens) {
  Start(0, "Studio A");
  harkbonjour_before_exit = [] { ++g_exits; };
  struct Row {
    DNSServiceErrorType error;
    const char* text;
  };
  for (const Row& row : {Row{-65537, "Error -65537\n"}, Row{-65547, "Error -65547\n"},
                         Row{-65549, "Error -65549\n"}, Row{-65563, "Error -65563\n"}}) {
    SCOPED_TRACE(row.error);
    EXPECT_EQ(Printed([&] { Answer({.error = row.error, .name = "Studio A"}); }), row.text);
    EXPECT_EQ(Printed([&] { Answer({.error = row.error, .no_texts = true}); }), row.text);
  }
  EXPECT_EQ(g_exits, 0);
  EXPECT_EQ(scripted_dnssd.Live(DnssdKind::kRegister), 1);
  EXPECT_EQ(Serve(), 0);
}

TEST_F(BonjourRegister, SuccessIsPrintedOnlyWhenVerbose) {
  Start(0, "Studio A");
  harkbonjour_before_exit = [] { ++g_exits; };
  EXPECT_EQ(Printed([] { Answer({.name = "Studio A"}); }), "");
  harkbonjour_verbose = true;
  EXPECT_NE(Printed([] { Answer({.name = "Studio A"}); }), "");
  EXPECT_EQ(g_exits, 0);
}

}  // namespace
}  // namespace hark
