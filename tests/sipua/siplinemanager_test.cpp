// Which line a call goes to: by its number or not, by the idle lines, and what is refused.
#include "sipua/SipLineManager.h"

#include "sipua/stack_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;

class SipLineManagerTest : public LineTest {
 protected:
  SipLineManager& Make(unsigned short lines, bool match, bool tail = false) {
    manager_ =
        std::make_unique<SipLineManager>(*static_cast<SipServiceUA*>(Service().app), lines, match, tail);
    return *manager_;
  }
  // The index of the line that a call to `number` gets; -1 for none.
  int LineOf(const char* number) {
    const SipLine* const line = manager_->GetFreeLineByNumber(number);
    return line != nullptr ? line->GetLineIndex() : -1;
  }
  void Busy(unsigned line) { manager_->GetLineByIndex(line)->OnSeize(); }

  std::unique_ptr<SipLineManager> manager_;
};

TEST_F(SipLineManagerTest, LinesAreNumberedFromZero) {
  SipLineManager& manager = Make(3, false);
  for (unsigned line = 0; line < 3; ++line) {
    ASSERT_NE(manager.GetLineByIndex(line), nullptr);
    EXPECT_EQ(manager.GetLineByIndex(line)->GetLineIndex(), line);
  }
  for (const unsigned none : {3U, 4U, 65536U, 4294967295U})
    EXPECT_EQ(manager.GetLineByIndex(none), nullptr);
}

TEST_F(SipLineManagerTest, FreeLineIsTheLowestIdleOne) {
  SipLineManager& manager = Make(3, false);
  EXPECT_EQ(manager.GetFreeLine(), manager.GetLineByIndex(0));
  Busy(0);
  Busy(1);
  EXPECT_EQ(manager.GetFreeLine(), manager.GetLineByIndex(2));
  manager.GetLineByIndex(0)->OnDrop();
  EXPECT_EQ(manager.GetFreeLine(), manager.GetLineByIndex(0));
  Busy(0);
  Busy(2);
  EXPECT_EQ(manager.GetFreeLine(), nullptr);
}

TEST_F(SipLineManagerTest, NoLinesAreNoFreeLine) {
  SipLineManager& manager = Make(0, true);
  EXPECT_EQ(manager.GetFreeLine(), nullptr);
  EXPECT_EQ(manager.GetLineByIndex(0), nullptr);
  EXPECT_EQ(manager.MapNumberToLine(0, "1"), 0);
}

TEST_F(SipLineManagerTest, WithoutMatchingTheNumberPlaysNoPart) {
  SipLineManager& manager = Make(2, false);
  EXPECT_EQ(manager.MapNumberToLine(1, "100"), 0);
  EXPECT_EQ(LineOf("100"), 0);
  EXPECT_EQ(LineOf(""), 0);
  EXPECT_EQ(LineOf(nullptr), 0);
  Busy(0);
  EXPECT_EQ(LineOf("100"), 1);
}

TEST_F(SipLineManagerTest, NumbersMapToLinesThatExist) {
  SipLineManager& manager = Make(2, true);
  EXPECT_EQ(manager.MapNumberToLine(1, "100"), 1);
  EXPECT_EQ(manager.MapNumberToLine(2, "200"), 0);
  EXPECT_EQ(manager.MapNumberToLine(65537, "200"), 0);
  EXPECT_EQ(LineOf("100"), 1);
  EXPECT_EQ(LineOf("200"), -1);
}

TEST_F(SipLineManagerTest, LinesOfANumberAreTriedInTheOrderOfMapping) {
  SipLineManager& manager = Make(3, true);
  for (const unsigned line : {2U, 0U, 1U})
    EXPECT_EQ(manager.MapNumberToLine(line, "100"), 1);
  for (const int line : {2, 0, 1}) {
    EXPECT_EQ(LineOf("100"), line);
    Busy(static_cast<unsigned>(line));
  }
  EXPECT_EQ(LineOf("100"), -1);
}

TEST_F(SipLineManagerTest, LineMayHaveSeveralNumbers) {
  SipLineManager& manager = Make(1, true);
  for (const char* number : {"100", "200", "name"})
    EXPECT_EQ(manager.MapNumberToLine(0, number), 1);
  for (const char* number : {"100", "200", "name"}) {
    EXPECT_EQ(LineOf(number), 0);
  }
  Busy(0);
  EXPECT_EQ(LineOf("200"), -1);
}

TEST_F(SipLineManagerTest, NumberIsFoundByAUniqueLeadingPart) {
  SipLineManager& manager = Make(2, true);
  EXPECT_EQ(manager.MapNumberToLine(0, "1234"), 1);
  EXPECT_EQ(LineOf("123"), 0);
  EXPECT_EQ(LineOf("1"), 0);
  EXPECT_EQ(LineOf("12345"), -1);
  EXPECT_EQ(LineOf("2"), -1);
  EXPECT_EQ(LineOf(""), -1);
  EXPECT_EQ(manager.MapNumberToLine(1, "1235"), 1);
  EXPECT_EQ(LineOf("123"), -1);
  EXPECT_EQ(LineOf("1235"), 1);
}

TEST_F(SipLineManagerTest, NumberThatLeadsToAnotherIsItsOwnWhenItWasFirst) {
  SipLineManager& manager = Make(2, true);
  EXPECT_EQ(manager.MapNumberToLine(0, "123"), 1);
  EXPECT_EQ(manager.MapNumberToLine(1, "1234"), 1);
  EXPECT_EQ(LineOf("123"), 0);
  EXPECT_EQ(LineOf("1234"), 1);
  EXPECT_EQ(LineOf("12"), -1);
}

TEST_F(SipLineManagerTest, NumberThatLeadsToOneMappedBeforeJoinsIt) {
  SipLineManager& manager = Make(2, true);
  EXPECT_EQ(manager.MapNumberToLine(0, "1234"), 1);
  EXPECT_EQ(manager.MapNumberToLine(1, "12"), 1);
  EXPECT_EQ(LineOf("1234"), 0);
  Busy(0);
  EXPECT_EQ(LineOf("1234"), 1);
}

TEST_F(SipLineManagerTest, CaseOfANumberCounts) {
  SipLineManager& manager = Make(1, true);
  EXPECT_EQ(manager.MapNumberToLine(0, "Studio"), 1);
  EXPECT_EQ(LineOf("Studio"), 0);
  EXPECT_EQ(LineOf("studio"), -1);
}

TEST_F(SipLineManagerTest, TailMatchCutsNumbersToTwoHundredAndFiftyFive) {
  const std::string common(255, '1');
  const std::string mapped = common + "22";
  const std::string called = common + "33";
  SipLineManager& cutting = Make(1, true, true);
  EXPECT_EQ(cutting.MapNumberToLine(0, mapped.c_str()), 1);
  EXPECT_EQ(LineOf(called.c_str()), 0);
  EXPECT_EQ(LineOf(common.c_str()), 0);
  SipLineManager& whole = Make(1, true, false);
  EXPECT_EQ(whole.MapNumberToLine(0, mapped.c_str()), 1);
  EXPECT_EQ(LineOf(called.c_str()), -1);
  EXPECT_EQ(LineOf(mapped.c_str()), 0);
}

// Under a leak checker this is also the test that its list is not lost.
TEST_F(SipLineManagerTest, EmptyOrNoNumberIsFoundByNobody) {
  SipLineManager& manager = Make(1, true);
  (void)manager.MapNumberToLine(0, "");
  (void)manager.MapNumberToLine(0, nullptr);
  EXPECT_EQ(LineOf(""), -1);
  EXPECT_EQ(LineOf(nullptr), -1);
}

TEST_F(SipLineManagerTest, ServiceForwardsToItsLines) {
  SipServiceConfig config = Config(1, 2);
  config.matchNumber = true;
  StartService(config);
  auto& service = *static_cast<SipServiceUA*>(Service().app);
  EXPECT_EQ(service.MapNumberToLine(1, "100"), 1);
  EXPECT_EQ(service.GetFreeLineByNumber("100"), service.GetLineByIndex(1));
  EXPECT_EQ(service.GetFreeLine(), service.GetLineByIndex(0));
  EXPECT_EQ(service.GetLineByIndex(2), nullptr);
}

class SipLineNumbers : public LineTest {
 protected:
  SipLineNumbers() {
    SipServiceConfig config = Config(1, 3);
    config.matchNumber = true;
    StartService(config);
    Stack().MapNumberToLine(1, 1, "100");
    Stack().MapNumberToLine(1, 2, "100");
  }
  Strings RingTo(const char* uri) { return Ring(with_uris(make_offer(), kFarUri, uri)); }
};

TEST_F(SipLineNumbers, CallGoesToTheLineOfTheUserInItsTo) {
  (void)RingTo("sip:100@10.0.0.1:5061;x=y");
  EXPECT_EQ(fake_.sent.back().word, app_dialog_word(1, 0));
  EXPECT_EQ(fake_.sent.back().status, 180U);
}

TEST_F(SipLineNumbers, UnmappedNumberIsBusyHere) {
  const Strings events = RingTo("sip:200@10.0.0.1");
  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(fake_.sent.back().status, 486U);
  EXPECT_EQ(fake_.sent.back().reason, "Busy here");
  EXPECT_TRUE(FindLine(1, 0)->IsIdle());
}

TEST_F(SipLineNumbers, NumberWhoseLinesAreAllBusyIsBusyHere) {
  (void)RingTo("sip:100@10.0.0.1");
  (void)RingTo("sip:100@10.0.0.1");
  EXPECT_EQ(fake_.sent.back().word, app_dialog_word(2, 0));
  const Strings events = RingTo("sip:100@10.0.0.1");
  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(fake_.sent.back().status, 486U);
  EXPECT_EQ(fake_.sent.back().word, 0x8000U);
}

TEST_F(SipLineNumbers, UnmatchedServiceTakesAnyNumber) {
  StartService(Config(1, 2));
  (void)RingTo("sip:200@10.0.0.1");
  EXPECT_EQ(fake_.sent.back().word, app_dialog_word(0, 0));
}

}  // namespace
}  // namespace hark::test
