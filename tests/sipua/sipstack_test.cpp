// The facade's services: made, made again, destroyed, and what a command to none of them reports.
#include "sipua/SipStackUA.h"

#include <array>

#include "sipua/stack_fixture.h"

namespace hark {
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
  ASSERT_EQ(Stack().Initialize(1, &table_), 1);
  EXPECT_THAT(Events(), IsEmpty());
  Stack().Seize(1, 0);
  EXPECT_THAT(Events(), ElementsAre("ServiceError 1 11 Index out of bounds"));
}

TEST_F(SipStack, CreationIsReported) {
  ASSERT_EQ(Stack().Initialize(3, &table_), 1);
  Stack().ServiceCreate(1, SipServiceConfig{});
  EXPECT_THAT(Events(), ElementsAre("ServiceCreate 1"));
}

TEST_F(SipStack, SecondCreationDestroysTheFirstAndReportsIt) {
  StartServices();
  Stack().Seize(1, 0);
  (void)Events();
  SipServiceConfig config;
  config.lines = 1;
  Stack().ServiceCreate(1, config);
  EXPECT_THAT(Events(), ElementsAre("ServiceDestroy 1", "ServiceCreate 1"));
  Stack().Seize(1, 0);  // idle again
  Stack().Seize(1, 1);  // and no longer one of eight
  EXPECT_THAT(Events(), ElementsAre("LineSeized 1/0", "LineError 1/1 53 Invalid index"));
}

TEST_F(SipStack, DestructionIsReportedWithOrWithoutAService) {
  StartServices();
  Stack().ServiceDestroy(1);
  EXPECT_THAT(Events(), ElementsAre("ServiceDestroy 1"));
  Stack().ServiceDestroy(1);
  Stack().ServiceDestroy(0);
  EXPECT_THAT(Events(), ElementsAre("ServiceDestroy 1", "ServiceDestroy 0"));
}

TEST_F(SipStack, IndexBeyondTheSlotsIsAServiceError) {
  StartServices();
  for (const unsigned service : {3u, 4u, 4294967295u}) {
    const std::string error = "ServiceError " + std::to_string(service) + " 11 Index out of bounds";
    for (const Command& command : kCommands) {
      SCOPED_TRACE(command.name);
      command.run(service, 0);
      EXPECT_THAT(Events(), ElementsAre(error));
    }
    Stack().ServiceCreate(service, SipServiceConfig{});
    EXPECT_THAT(Events(), ElementsAre(error));
    Stack().ServiceDestroy(service);
    EXPECT_THAT(Events(), ElementsAre(error));
  }
}

TEST_F(SipStack, CommandToAnEmptySlotIsAServiceError) {
  StartServices();
  for (const Command& command : kCommands) {
    SCOPED_TRACE(command.name);
    command.run(0, 0);
    EXPECT_THAT(Events(), ElementsAre("ServiceError 0 12 NULL service"));
  }
}

TEST_F(SipStack, CommandToALineBeyondTheServiceIsALineError) {
  StartServices();
  for (const Command& command : kCommands) {
    SCOPED_TRACE(command.name);
    command.run(1, 8);
    command.run(2, 2);
    command.run(2, 4294967295u);
    EXPECT_THAT(Events(), ElementsAre("LineError 1/8 53 Invalid index", "LineError 2/2 53 Invalid index",
                                      "LineError 2/4294967295 53 Invalid index"));
  }
}

TEST_F(SipStack, WithoutATableAllErrorsAreSilent) {
  ASSERT_EQ(Stack().Initialize(2, nullptr), 1);
  for (const Command& command : kCommands) {
    command.run(0, 0);
    command.run(7, 0);
  }
  SipServiceConfig config;
  config.lines = 1;
  Stack().ServiceCreate(1, config);
  for (const Command& command : kCommands) {
    command.run(1, 0);
    command.run(1, 1);
  }
  Stack().ServiceDestroy(1);
  EXPECT_THAT(Events(), IsEmpty());
}

TEST_F(SipStack, EndDestroysServicesWithoutEvents) {
  StartServices();
  Stack().Finalize();
  EXPECT_THAT(Events(), IsEmpty());
}

TEST_F(SipStack, PumpHasNothingToDoAndSucceeds) {
  StartServices();
  EXPECT_TRUE(Stack().ProcessMessages());
  EXPECT_THAT(Events(), IsEmpty());
}

TEST_F(SipStack, ServiceKeepsWhatItIsMadeOf) {
  StartServices();
  SipServiceConfig config;
  config.localIp = 0x0A000001;
  config.localPort = 5061;
  config.publicIp = 0xEFC00005;
  config.payloadTypes = "96=L24/48000/2";
  config.displayName = "Main";
  config.user = "hark-listen@10.0.0.1;trgl=4;label=IC";
  config.lines = 3;
  config.rtpPort = 5004;
  config.allowMissingMedia = true;
  const auto service = SipServiceUA::Create(Stack(), 1, config);
  ASSERT_TRUE(service);
  EXPECT_EQ(service->config().localIp, 0x0A000001u);
  EXPECT_EQ(service->config().publicIp, 0xEFC00005u);
  EXPECT_EQ(service->config().user, "hark-listen@10.0.0.1;trgl=4;label=IC");
  EXPECT_EQ(service->config().payloadTypes, "96=L24/48000/2");
  EXPECT_TRUE(service->config().allowMissingMedia);
  for (unsigned line = 0; line < 3; ++line) {
    EXPECT_NE(service->GetLineByIndex(line), nullptr);
  }
  EXPECT_EQ(service->GetLineByIndex(3), nullptr);
  EXPECT_EQ(service->GetLineByIndex(4294967295u), nullptr);
}

TEST_F(SipStack, ServiceTellsWhatItIsMadeOfAsLongAsItStands) {
  StartServices();
  ASSERT_NE(Stack().GetServiceConfig(1), nullptr);
  EXPECT_EQ(Stack().GetServiceConfig(1)->lines, 8u);
  EXPECT_EQ(Stack().GetServiceConfig(2)->lines, 2u);
  for (const unsigned none : {0u, 3u, 4294967295u})
    EXPECT_EQ(Stack().GetServiceConfig(none), nullptr);
  Stack().ServiceDestroy(1);
  EXPECT_EQ(Stack().GetServiceConfig(1), nullptr);
}

TEST_F(SipStack, RegistrationServerIsIgnoredButItsServiceIsNot) {
  StartServices();
  Stack().SetRegisterServer(1, "10.0.0.1");
  EXPECT_THAT(Events(), IsEmpty());
  Stack().SetRegisterServer(0, "10.0.0.1");
  Stack().SetRegisterServer(3, "10.0.0.1");
  EXPECT_THAT(Events(),
              ElementsAre("ServiceError 0 12 NULL service", "ServiceError 3 11 Index out of bounds"));
}

TEST_F(SipStack, NumberIsMappedToNoLine) {
  StartServices();
  Stack().MapNumberToLine(1, 0, "100");
  Stack().MapNumberToLine(1, 8, "100");
  Stack().MapNumberToLine(0, 0, "100");
  Stack().MapNumberToLine(3, 0, "100");
  EXPECT_THAT(Events(),
              ElementsAre("LineError 1/0 55 Map number failed", "LineError 1/8 55 Map number failed",
                          "ServiceError 0 12 NULL service", "ServiceError 3 11 Index out of bounds"));
}

TEST_F(SipStack, ServiceWithoutLinesHasNone) {
  StartServices();
  Stack().ServiceCreate(1, SipServiceConfig{});
  (void)Events();
  Stack().Seize(1, 0);
  EXPECT_THAT(Events(), ElementsAre("LineError 1/0 53 Invalid index"));
}

}  // namespace
}  // namespace hark
