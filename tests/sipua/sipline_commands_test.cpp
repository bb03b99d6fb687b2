// What each command does in each state of a line, and what it sends.
#include <ostream>

#include "sipua/stack_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SipLineCommand : public LineTest {};

TEST_F(SipLineCommand, StatesHaveTheirTexts) {
  const char* const texts[] = {"IDLE",      "RINGING",   "SEIZED",       "CALLING",
                               "CONNECTED", "CANCELING", "DISCONNECTING"};
  for (unsigned state = 0; state < 7; ++state)
    EXPECT_STREQ(SipLine::GetStateText(state), texts[state]);
  for (const unsigned none : {7U, 8U, 255U, 4294967295U})
    EXPECT_STREQ(SipLine::GetStateText(none), "<unknown_state>");
}

TEST_F(SipLineCommand, NewLineIsIdleInItsFirstGeneration) {
  EXPECT_TRUE(Line().IsIdle());
  EXPECT_EQ(Line().GetAppDialogId(), 0);
  EXPECT_EQ(FindLine(1, 1)->GetLineIndex(), 1);
}

TEST_F(SipLineCommand, OnlyAnIdleLineIsSeized) {
  for (const State state : kStates) {
    SCOPED_TRACE(SipLine::GetStateText(state));
    Bring(state);
    EXPECT_EQ(Line().OnSeize(), 1);
    if (state == IDLE) {
      EXPECT_THAT(Log(), ElementsAre("LineSeized 1/0"));
      EXPECT_EQ(LineState(), SEIZED);
    } else {
      EXPECT_THAT(Log(), ElementsAre("LineError 1/0 50 Line not idle"));
      EXPECT_EQ(LineState(), state);
    }
    ForceIdle();
  }
}

TEST_F(SipLineCommand, OnlyARingingLineIsAnswered) {
  for (const State state : kStates) {
    SCOPED_TRACE(SipLine::GetStateText(state));
    Bring(state);
    const std::string dialog = state == RINGING ? std::to_string(Dialog().number) : "";
    const std::string gen = std::to_string(Line().GetAppDialogId());
    EXPECT_EQ(Line().OnAnswer(), 1);
    if (state == RINGING)
      EXPECT_THAT(Log(), ElementsAre("send 200 OK to INVITE s1 0#" + gen + " d" + dialog));
    else
      EXPECT_THAT(Log(), ElementsAre("LineError 1/0 50 Line not ringing"));
    EXPECT_EQ(LineState(), state);
    ForceIdle();
  }
}

TEST_F(SipLineCommand, OnlyAnIdleOrSeizedLineCalls) {
  for (const State state : kStates) {
    SCOPED_TRACE(SipLine::GetStateText(state));
    Bring(state);
    const unsigned short before = Line().GetAppDialogId();
    EXPECT_EQ(Line().OnCall(kFarUri), 1);
    if (state == IDLE || state == SEIZED) {
      EXPECT_EQ(LineState(), CALLING);
      EXPECT_EQ(Line().GetAppDialogId(), before + 1);
      EXPECT_THAT(Log(), ElementsAre("LineState 1/0 3", "send INVITE sip:far@10.0.0.2 +sdp s1 0#" +
                                                            std::to_string(before + 1) + " new d" +
                                                            std::to_string(Dialog().number)));
    } else {
      EXPECT_THAT(Log(), ElementsAre("LineError 1/0 50 Line not idle or seized"));
      EXPECT_EQ(LineState(), state);
      EXPECT_EQ(Line().GetAppDialogId(), before);
    }
    ForceIdle();
  }
}

struct DropRow {
  State state;
  Strings events;

  friend std::ostream& operator<<(std::ostream& out, const DropRow& row) {
    return out << SipLine::GetStateText(row.state);
  }
};

class SipLineDrop : public LineTest, public ::testing::WithParamInterface<DropRow> {};

TEST_P(SipLineDrop, EndsWhatTheLineIsAtInItsOrder) {
  log_states = true;
  Bring(GetParam().state);
  EXPECT_EQ(Line().OnDrop(), 1);
  EXPECT_EQ(Log(), GetParam().events);
}

INSTANTIATE_TEST_SUITE_P(
    InEachState, SipLineDrop,
    ::testing::Values(DropRow{IDLE, {"IDLE: LineError 1/0 50 Line is idle"}},
                      DropRow{RINGING,
                              {"IDLE: send 487 Call rejected to INVITE s1 0#0 d1", "IDLE: LocalDrop 1/0",
                               "IDLE: LineState 1/0 0"}},
                      DropRow{SEIZED, {"IDLE: LineState 1/0 0"}},
                      DropRow{CALLING,
                              {"CANCELING: LineState 1/0 5", "CANCELING: send CANCEL s1 0#1 d1",
                               "CANCELING: LocalDrop 1/0"}},
                      DropRow{CONNECTED,
                              {"DISCONNECTING: LineState 1/0 6", "DISCONNECTING: send BYE s1 0#1 d1",
                               "DISCONNECTING: LocalDrop 1/0"}},
                      DropRow{CANCELING, {}}, DropRow{DISCONNECTING, {}}),
    [](const auto& row) { return SipLine::GetStateText(row.param.state); });

TEST_F(SipLineCommand, DropOfARingingLineIsOnTheDialogOfItsCall) {
  Bring(RINGING);
  fake_.NewDialog(Service());
  Stack().Drop(1, 0);
  EXPECT_EQ(fake_.sent.back().dialog->number, 1);
}

TEST_F(SipLineCommand, AnsweredCallIsStillRinging) {
  Bring(RINGING);
  Stack().Answer(1, 0);
  EXPECT_EQ(LineState(), RINGING);
  (void)Log();
  Stack().Drop(1, 0);  // and may be refused yet
  EXPECT_EQ(fake_.sent.back().status, 487U);
}

TEST_F(SipLineCommand, CallIsReportedBeforeItIsSent) {
  log_states = true;
  Call();
  EXPECT_THAT(Log(), ElementsAre("CALLING: LineState 1/0 3",
                                 "CALLING: send INVITE sip:far@10.0.0.2 +sdp s1 0#1 new d1"));
}

TEST_F(SipLineCommand, CallWithoutPayloadTypesOffersNoDescription) {
  SipServiceConfig config = Config(1, 1);
  config.payloadTypes.clear();
  StartService(config);
  Call();
  ASSERT_FALSE(fake_.sent.empty());
  EXPECT_FALSE(fake_.sent.back().default_sdp);
}

TEST_F(SipLineCommand, FailedSendOfACallLeavesTheLineCalling) {
  fake_.send_result = 33;
  EXPECT_EQ(Line().OnCall(kFarUri), 0);
  EXPECT_EQ(LineState(), CALLING);
  EXPECT_THAT(Log(), ElementsAre("LineState 1/0 3", "send INVITE sip:far@10.0.0.2 +sdp s1 0#1 new d1 = 33"));
}

TEST_F(SipLineCommand, FailedSendsOfADropChangeNothingAboutIt) {
  for (const State state : {RINGING, CALLING, CONNECTED}) {
    SCOPED_TRACE(SipLine::GetStateText(state));
    Bring(state);
    fake_.send_result = 26;
    EXPECT_EQ(Line().OnDrop(), 1);
    EXPECT_THAT(Log(), ::testing::Contains("LocalDrop 1/0"));
    EXPECT_EQ(LineState(), state == RINGING ? IDLE : state == CALLING ? CANCELING : DISCONNECTING);
    fake_.send_result = 0;
    ForceIdle();
  }
}

TEST_F(SipLineCommand, GenerationWrapsAtSixteenBits) {
  table_ = ISipStackUAEvents{};  // 65535 calls are quicker without a record of them
  fake_.records = false;
  int dialog = 0;
  SipMsg failed(make_status(kStatusTimerB).release(), &dialog);
  SipLine& line = Line();
  for (unsigned calls = 0; calls < 65535; ++calls) {
    ASSERT_EQ(line.OnCall(kFarUri), 1);
    line.SetSipDialogId(&dialog);
    ASSERT_EQ(line.DispatchMsg(failed, line.GetAppDialogId()), 1);
    fake_.dialogs.clear();
  }
  EXPECT_EQ(Line().GetAppDialogId(), 65535);
  EXPECT_EQ(LineState(), IDLE);
  table_ = recording_events();
  fake_.records = true;
  Call();
  EXPECT_EQ(Line().GetAppDialogId(), 0);
  ASSERT_EQ(fake_.sent.size(), 1U);
  EXPECT_EQ(fake_.sent.back().word, 0x8000U);
  EXPECT_THAT(Receive(make_response(180)), ElementsAre("FarEndRinging 1/0"));
}

TEST_F(SipLineCommand, LinesAndServicesAreApart) {
  StartService(Config(1, 3));
  Stack().ServiceCreate(2, Config(2, 1));
  (void)Log();
  Stack().Seize(1, 0);
  Stack().Seize(1, 1);
  Stack().Seize(2, 0);
  EXPECT_THAT(Log(), ElementsAre("LineSeized 1/0", "LineSeized 1/1", "LineSeized 2/0"));
  Stack().Drop(1, 1);
  EXPECT_THAT(Log(), ElementsAre("LineState 1/1 0"));
  Stack().Call(1, 2, kFarUri);
  EXPECT_EQ(fake_.sent.back().word, app_dialog_word(2, 1));
  EXPECT_EQ(FindLine(1, 0)->GetState(), SEIZED);
  EXPECT_EQ(FindLine(1, 0)->GetAppDialogId(), 0);
}

TEST_F(SipLineCommand, DialogWordHasTheLineAMarkAndTheGeneration) {
  struct Row {
    unsigned line;
    unsigned short generation;
    std::uint32_t word;
  };
  for (const Row& row : {Row{0, 0, 0x8000}, Row{1, 0, 0x8001}, Row{0, 1, 0x18000}, Row{127, 2, 0x2807F},
                         Row{0x7FFF, 0xFFFF, 0xFFFFFFFF}, Row{0x8000, 0, 0x8000}})
    EXPECT_EQ(app_dialog_word(row.line, row.generation), row.word);
}

}  // namespace
}  // namespace hark::test
