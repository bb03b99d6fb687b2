// The facade's services: made, made again, destroyed, and what a command to none of them reports.
#include "sipua/SipStackUA.h"

#include "sipua/stack_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SipStack : public StackTest {
 protected:
  struct Command {
    const char* name;
    void (*run)(unsigned service, unsigned line);
  };
  static constexpr std::array<Command, 4> kCommands{
      {{"Answer", [](unsigned service, unsigned line) { Stack().Answer(service, line); }},
       {"Seize", [](unsigned service, unsigned line) { Stack().Seize(service, line); }},
       {"Call", [](unsigned service, unsigned line) { Stack().Call(service, line, "sip:x@1.2.3.4"); }},
       {"Drop", [](unsigned service, unsigned line) { Stack().Drop(service, line); }}}};
};

TEST_F(SipStack, IsOneObject) { EXPECT_EQ(SipStackUA::GetInstance(), SipStackUA::GetInstance()); }

TEST_F(SipStack, NoServicesIsAFailureAndLeavesNone) {
  EXPECT_EQ(Stack().Initialize(0, &table_), 0);
  EXPECT_EQ(fake_.inits, 0);
  Stack().Seize(0, 0);
  EXPECT_THAT(Log(), IsEmpty());  // nor a table
  ASSERT_EQ(Stack().Initialize(1, &table_), 1);
  EXPECT_THAT(Log(), ElementsAre("stack init"));
  Stack().Seize(1, 0);
  EXPECT_THAT(Log(), ElementsAre("ServiceError 1 11 Index out of bounds"));
}

TEST_F(SipStack, FailureOfTheStackIsAFailureThatKeepsTheTable) {
  fake_.init_result = 5;
  EXPECT_EQ(Stack().Initialize(3, &table_), 0);
  EXPECT_EQ(fake_.inits, 1);
  (void)Log();
  Stack().Seize(0, 0);
  Stack().ServiceCreate(1, Config(1, 1));
  EXPECT_THAT(Log(),
              ElementsAre("ServiceError 0 11 Index out of bounds", "ServiceError 1 11 Index out of bounds"));
}

TEST_F(SipStack, CreationIsReportedOnceTheStackHasTheService) {
  ASSERT_EQ(Stack().Initialize(3, &table_), 1);
  Stack().ServiceCreate(1, Config(1, 1));
  EXPECT_THAT(Log(), ElementsAre("stack init", "stack create s1", "ServiceCreate 1"));
}

TEST_F(SipStack, SecondCreationDestroysTheFirstAndReportsIt) {
  StartServices();
  Stack().Seize(1, 0);
  (void)Log();
  Stack().ServiceCreate(1, Config(1, 1));
  EXPECT_THAT(Log(),
              ElementsAre("stack delete s1", "ServiceDestroy 1", "stack create s3", "ServiceCreate 1"));
  Stack().Seize(1, 0);  // idle again
  Stack().Seize(1, 1);  // and no longer one of eight
  EXPECT_THAT(Log(), ElementsAre("LineSeized 1/0", "LineError 1/1 53 Invalid index"));
}

TEST_F(SipStack, CreationThatTheStackRefusesIsAServiceErrorAndLeavesNone) {
  for (const bool handle : {true, false}) {
    SCOPED_TRACE(handle);
    StartServices();
    fake_.create_result = kServOpenFailed;
    fake_.create_sets_handle = handle;
    Stack().ServiceCreate(0, Config(0, 1));
    Strings expected{"stack create s" + std::to_string(fake_.services.size())};
    if (handle) expected.push_back("stack delete s" + std::to_string(fake_.services.size()));
    expected.emplace_back("ServiceError 0 10 Service create failed");
    EXPECT_EQ(Log(), expected);
    Stack().Seize(0, 0);
    EXPECT_THAT(Log(), ElementsAre("ServiceError 0 12 NULL service"));
    fake_.create_result = 0;
    Stack().Finalize();
  }
}

TEST_F(SipStack, FailedSecondCreationLeavesNone) {
  StartServices();
  fake_.create_result = kServOpenFailed;
  fake_.create_sets_handle = false;
  Stack().ServiceCreate(1, Config(1, 1));
  EXPECT_THAT(Log(), ElementsAre("stack delete s1", "ServiceDestroy 1", "stack create s3",
                                 "ServiceError 1 10 Service create failed"));
  Stack().Seize(1, 0);
  EXPECT_THAT(Log(), ElementsAre("ServiceError 1 12 NULL service"));
}

TEST_F(SipStack, PayloadTypesThatCannotBeReadAreTwoErrorsAndNothingForTheStack) {
  StartServices();
  SipServiceConfig config = Config(0, 1);
  config.payloadTypes = "96=L24/48000/2|";
  Stack().ServiceCreate(0, config);
  EXPECT_THAT(Log(), ElementsAre("ServiceError 0 10 Unable to parse payload types!",
                                 "ServiceError 0 10 Service create failed"));
}

TEST_F(SipStack, DestructionIsReportedWithOrWithoutAService) {
  StartServices();
  Stack().ServiceDestroy(1);
  EXPECT_THAT(Log(), ElementsAre("stack delete s1", "ServiceDestroy 1"));
  Stack().ServiceDestroy(1);
  Stack().ServiceDestroy(0);
  EXPECT_THAT(Log(), ElementsAre("ServiceDestroy 1", "ServiceDestroy 0"));
}

TEST_F(SipStack, DialogsThatEndWithTheirServiceAreNoEvents) {
  StartServices();
  Stack().Call(1, 0, kFarUri);
  Stack().Call(1, 1, kFarUri);
  FakeStack::Deliver(fake_.dialogs[1], make_response(200));
  (void)Log();
  Stack().ServiceDestroy(1);
  EXPECT_THAT(Log(), ElementsAre("stack delete s1", "ServiceDestroy 1"));
}

// A line that was dropped while it rang has two timers. The end of its dialog stops one, if there is a
// dialog.
TEST_F(SipStack, TimersOfADestroyedServiceAreNeverHeardOf) {
  for (const bool has_dialog : {true, false}) {
    SCOPED_TRACE(has_dialog);
    StartServices();
    Stack().Call(1, 0, kFarUri);
    FakeStack::Deliver(fake_.dialogs.back(), make_response(180));
    Stack().Drop(1, 0);
    fake_.dialogs.back().live = has_dialog;
    Stack().ServiceDestroy(1);
    (void)Log();
    AdvanceMs(60'000);
    AdvanceMs(60'000);
    EXPECT_THAT(Log(), IsEmpty());
    Stack().Finalize();
  }
}

TEST_F(SipStack, TimersOfAReplacedServiceDoNotReachTheNewOne) {
  StartServices();
  Stack().Call(1, 0, kFarUri);
  FakeStack::Deliver(fake_.dialogs.back(), make_response(180));
  Stack().Drop(1, 0);
  Stack().ServiceCreate(1, Config(1, 8));
  Stack().Call(1, 0, kFarUri);
  (void)Log();
  AdvanceMs(60'000);
  AdvanceMs(60'000);
  EXPECT_THAT(Log(), IsEmpty());
  EXPECT_EQ(FindLine(1, 0)->GetState(), CALLING);
}

TEST_F(SipStack, IndexBeyondTheSlotsIsAServiceError) {
  StartServices();
  for (const unsigned service : {3U, 4U, 4294967295U}) {
    const std::string error = "ServiceError " + std::to_string(service) + " 11 Index out of bounds";
    for (const Command& command : kCommands) {
      SCOPED_TRACE(command.name);
      command.run(service, 0);
      EXPECT_THAT(Log(), ElementsAre(error));
    }
    Stack().ServiceCreate(service, SipServiceConfig{});
    EXPECT_THAT(Log(), ElementsAre(error));
    Stack().ServiceDestroy(service);
    EXPECT_THAT(Log(), ElementsAre(error));
    Stack().MapNumberToLine(service, 0, "100");
    EXPECT_THAT(Log(), ElementsAre(error));
    Stack().SetRegisterServer(service, "10.0.0.1");
    EXPECT_THAT(Log(), ElementsAre(error));
  }
}

TEST_F(SipStack, CommandToAnEmptySlotIsAServiceError) {
  StartServices();
  for (const Command& command : kCommands) {
    SCOPED_TRACE(command.name);
    command.run(0, 0);
    EXPECT_THAT(Log(), ElementsAre("ServiceError 0 12 NULL service"));
  }
  Stack().MapNumberToLine(0, 0, "100");
  EXPECT_THAT(Log(), ElementsAre("ServiceError 0 12 NULL service"));
  Stack().SetRegisterServer(0, "10.0.0.1");
  EXPECT_THAT(Log(), ElementsAre("ServiceError 0 12 NULL service"));
}

TEST_F(SipStack, CommandToALineBeyondTheServiceIsALineError) {
  StartServices();
  for (const Command& command : kCommands) {
    SCOPED_TRACE(command.name);
    command.run(1, 8);
    command.run(2, 2);
    command.run(2, 4294967295U);
    EXPECT_THAT(Log(), ElementsAre("LineError 1/8 53 Invalid index", "LineError 2/2 53 Invalid index",
                                   "LineError 2/4294967295 53 Invalid index"));
  }
}

TEST_F(SipStack, CommandsReachTheirLine) {
  StartServices();
  Stack().Seize(1, 7);
  EXPECT_THAT(Log(), ElementsAre("LineSeized 1/7"));
  Stack().Call(2, 1, kFarUri);
  EXPECT_THAT(Log(), ElementsAre("LineState 2/1 3", "send INVITE sip:far@10.0.0.2 +sdp s2 1#1 new d1"));
  Stack().Drop(2, 1);
  EXPECT_THAT(Log(), ElementsAre("LineState 2/1 5", "send CANCEL s2 1#1 d1", "LocalDrop 2/1"));
  Stack().Answer(1, 7);
  EXPECT_THAT(Log(), ElementsAre("LineError 1/7 50 Line not ringing"));
}

TEST_F(SipStack, WithoutATableAllEventsAreSilent) {
  ASSERT_EQ(Stack().Initialize(2, nullptr), 1);
  for (const Command& command : kCommands) {
    command.run(0, 0);
    command.run(7, 0);
  }
  Stack().ServiceCreate(1, Config(1, 1));
  fake_.log.clear();
  for (const Command& command : kCommands) {
    command.run(1, 0);
    command.run(1, 1);
  }
  FakeStack::Deliver(fake_.dialogs.back(), make_status(kStatusTimerB));
  FakeStack::Deliver(*fake_.ServiceAt(1), make_offer(), &fake_.NewDialog(*fake_.ServiceAt(1)));
  EXPECT_THAT(Log(), ElementsAre("send INVITE sip:x@1.2.3.4 +sdp s1 0#1 new d1", "send CANCEL s1 0#1 d1",
                                 "send 180 Ringing to INVITE s1 0#1 d2"));
  Stack().ServiceDestroy(1);
  EXPECT_THAT(Log(), ElementsAre("stack delete s1"));
}

TEST_F(SipStack, EndDestroysServicesWithoutEvents) {
  StartServices();
  Stack().Finalize();
  EXPECT_THAT(Log(), ElementsAre("stack delete s1", "stack delete s2"));
}

TEST_F(SipStack, IsStartedAgainAfterItsEnd) {
  StartServices();
  Stack().Finalize();
  StartServices();
  Stack().Seize(1, 0);
  EXPECT_THAT(Log(), ElementsAre("LineSeized 1/0"));
}

TEST_F(SipStack, SecondStartEndsTheServicesOfTheFirstWhileTheStackKnowsThem) {
  StartServices();
  ASSERT_EQ(Stack().Initialize(2, &table_), 1);
  EXPECT_THAT(Log(), ElementsAre("stack delete s1", "stack delete s2", "stack init"));
  Stack().Seize(1, 0);
  EXPECT_THAT(Log(), ElementsAre("ServiceError 1 12 NULL service"));
}

TEST_F(SipStack, ServiceTellsWhatItIsMadeOfAsLongAsItStands) {
  StartServices();
  ASSERT_NE(Stack().GetServiceConfig(1), nullptr);
  EXPECT_EQ(Stack().GetServiceConfig(1)->lines, 8U);
  EXPECT_EQ(Stack().GetServiceConfig(2)->lines, 2U);
  for (const unsigned none : {0U, 3U, 4294967295U})
    EXPECT_EQ(Stack().GetServiceConfig(none), nullptr);
  Stack().ServiceDestroy(1);
  EXPECT_EQ(Stack().GetServiceConfig(1), nullptr);
}

TEST_F(SipStack, RegistrationServerIsIgnored) {
  StartServices();
  Stack().SetRegisterServer(1, "10.0.0.1");
  Stack().SetRegisterServer(1, nullptr);
  EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(SipStack, NumbersAreRefusedByAServiceThatDoesNotMatchThemAndForLinesThatAreNone) {
  StartServices();
  Stack().MapNumberToLine(1, 0, "100");
  EXPECT_THAT(Log(), ElementsAre("LineError 1/0 55 Map number failed"));
  SipServiceConfig config = Config(1, 2);
  config.matchNumber = true;
  Stack().ServiceCreate(1, config);
  (void)Log();
  Stack().MapNumberToLine(1, 1, "100");
  EXPECT_THAT(Log(), IsEmpty());
  Stack().MapNumberToLine(1, 2, "100");
  EXPECT_THAT(Log(), ElementsAre("LineError 1/2 55 Map number failed"));
}

TEST_F(SipStack, ServiceWithoutLinesHasNone) {
  StartServices();
  Stack().ServiceCreate(1, Config(1, 0));
  (void)Log();
  Stack().Seize(1, 0);
  EXPECT_THAT(Log(), ElementsAre("LineError 1/0 53 Invalid index"));
}

}  // namespace
}  // namespace hark::test
