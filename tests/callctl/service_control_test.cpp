// What the stack is told of the two services, when it is started and ended, and in which order calls are
// broken.
#include "callctl/call_fixture.h"
#include "callctl/fake_stack.h"

namespace hark {
namespace {

using ::testing::ElementsAre;

class ServiceControl : public CallTest {
 protected:
  ServiceControl() { (void)StackCommands(); }
  ~ServiceControl() override { fake_stack.initialize_result = 1; }

  static StationIdentity Identity() {
    StationIdentity identity;
    identity.name = "IC 0A0B0C";
    identity.alt = "Main \"A\"";
    identity.trgl = 3;
    identity.ip = 0x0A010203;
    identity.port = 5060;
    identity.mcast = 0xEFC00005;
    return identity;
  }
};

TEST_F(ServiceControl, StackIsStartedWithThreeSlotsAndOurEvents) {
  EXPECT_EQ(sipctrl_initialize(), 0);
  EXPECT_THAT(StackCommands(), ElementsAre("Initialize 3"));
  ASSERT_NE(fake_stack.events, nullptr);
  EXPECT_EQ(fake_stack.events->slots.LineState, line_events().slots.LineState);
  EXPECT_EQ(fake_stack.events->slots.LineRing2, line_events().slots.LineRing2);
  EXPECT_EQ(fake_stack.events->slots.Codecs, nullptr);
}

TEST_F(ServiceControl, StackThatRefusesIsAFailureAndTheTablesAreClearedAllTheSame) {
  Put(kListenKind, 0, kStation, kLineConnected);
  fake_stack.initialize_result = 0;
  EXPECT_EQ(sipctrl_initialize(), -1);
  EXPECT_TRUE(listen_lines[0].url.empty());
}

TEST_F(ServiceControl, ListenServiceIsTheFirst) {
  EXPECT_EQ(sipctrl_createservice(Identity()), 0);
  EXPECT_THAT(StackCommands(), ElementsAre("ServiceCreate 1", "ServiceCreate 2"));
  const SipServiceConfig& config = fake_stack.configs[1];
  EXPECT_EQ(config.localIp, 0x0A010203u);
  EXPECT_EQ(config.localPort, 5061);
  EXPECT_EQ(config.publicIp, 0xEFC00005u);
  EXPECT_EQ(config.publicPort, 0);
  EXPECT_EQ(config.altIp, 0u);
  EXPECT_EQ(config.payloadTypes, "96=L24/48000/2");
  EXPECT_EQ(config.displayName, "Main \"A\"");
  EXPECT_EQ(config.user, "hark-listen@10.1.2.3;trgl=4;label=IC\\0320A0B0C");
  EXPECT_EQ(config.domain, "");
  EXPECT_EQ(config.lines, 8u);
  EXPECT_FALSE(config.matchNumber);
  EXPECT_FALSE(config.partialTailMatch);
  EXPECT_EQ(config.rtpPort, 5004);
  EXPECT_FALSE(config.allowMissingMedia);
}

TEST_F(ServiceControl, TalkServiceIsTheSecond) {
  EXPECT_EQ(sipctrl_createservice(Identity()), 0);
  const SipServiceConfig& config = fake_stack.configs[2];
  EXPECT_EQ(config.localIp, 0x0A010203u);
  EXPECT_EQ(config.localPort, 5062);
  EXPECT_EQ(config.publicIp, 0xEFC00005u);
  EXPECT_EQ(config.publicPort, 0);
  EXPECT_EQ(config.altIp, 0u);
  EXPECT_EQ(config.payloadTypes, "96=L24/48000/2");
  EXPECT_EQ(config.displayName, "Main \"A\"");
  EXPECT_EQ(config.user, "hark-talk@10.1.2.3;trgl=4;label=IC\\0320A0B0C");
  EXPECT_EQ(config.domain, "");
  EXPECT_EQ(config.lines, 128u);
  EXPECT_FALSE(config.matchNumber);
  EXPECT_FALSE(config.partialTailMatch);
  EXPECT_EQ(config.rtpPort, 5004);
  EXPECT_TRUE(config.allowMissingMedia);
}

TEST_F(ServiceControl, PortsFollowTheBasePort) {
  StationIdentity identity = Identity();
  identity.port = 7000;
  EXPECT_EQ(sipctrl_createservice(identity), 0);
  EXPECT_EQ(fake_stack.configs[1].localPort, 7001);
  EXPECT_EQ(fake_stack.configs[2].localPort, 7002);
}

TEST_F(ServiceControl, NameIsHeldToThirtyCharactersOfLabel) {
  StationIdentity identity = Identity();
  const std::string name(40, 'n');
  identity.name = name.c_str();
  identity.trgl = 0;
  identity.ip = 0xFFFEFDFC;
  EXPECT_EQ(sipctrl_createservice(identity), 0);
  EXPECT_EQ(fake_stack.configs[1].user, "hark-listen@255.254.253.252;trgl=1;label=" + std::string(30, 'n'));
  identity.name = "          ";  // of ten blanks seven fit
  EXPECT_EQ(sipctrl_createservice(identity), 0);
  EXPECT_EQ(fake_stack.configs[2].user,
            "hark-talk@255.254.253.252;trgl=1;label=\\032\\032\\032\\032\\032\\032\\032");
}

TEST_F(ServiceControl, RemovalDropsListenLinesThenTalkLinesThenTheServices) {
  Put(kTalkKind, 127, kStation, kLineConnected);
  Put(kTalkKind, 2, kSource, kLineOff);
  Put(kListenKind, 7, kStation, kLineFarRinging);
  Put(kListenKind, 0, kOtherStation, kLineFarDropped);
  Put(kListenKind, 3, kSource, kLineFree);
  EXPECT_EQ(sipctrl_removeservice(), 0);
  EXPECT_THAT(StackCommands(),
              ElementsAre("Drop 1/0", "Drop 1/7", "Drop 2/127", "ServiceDestroy 1", "ServiceDestroy 2"));
  EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.6 L:0", "hark:10.0.0.5 L:0", "hark:10.0.0.5 T:0"));
}

TEST_F(ServiceControl, EndRemovesTheServicesAndThenTheStack) {
  Put(kListenKind, 0, kStation, kLineConnected);
  sipctrl_done();
  EXPECT_THAT(StackCommands(), ElementsAre("Drop 1/0", "ServiceDestroy 1", "ServiceDestroy 2", "Finalize"));
  EXPECT_TRUE(listen_lines[0].url.empty());
}

TEST_F(ServiceControl, PassPumpsTheStackBeforeItDrops) {
  Put(kListenKind, 0, kStation, kLineConnected).drop_pending = true;
  Put(kTalkKind, 0, kStation, kLineConnected).drop_pending = true;
  PassAfterMs(401);
  EXPECT_THAT(StackCommands(), ElementsAre("ProcessMessages", "Drop 1/0", "Drop 2/0"));
  PassAfterMs(401);
  EXPECT_THAT(StackCommands(), ElementsAre("ProcessMessages"));
}

TEST_F(ServiceControl, FlashThatIsOverNeedsNoCommandToTheStack) {
  Put(kListenKind, 0, kStation, kLineConnected);
  FarDrop(kListenKind, 0);
  PassAfterMs(5001);
  EXPECT_THAT(StackCommands(), ElementsAre("ProcessMessages"));
  EXPECT_TRUE(listen_lines[0].url.empty());
}

}  // namespace
}  // namespace hark
