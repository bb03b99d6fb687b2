// Mutes and faders: what they ask of the device's audio and of a party's call.
#include <gmock/gmock.h>

#include "panel/model_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ModelIo : public ModelTest {};

TEST_F(ModelIo, SpeakerMuteSilencesAndRestoresItsLevel) {
  model->spk_volume = -60;
  model->IntercomIOPropertySet(kSpeakerMute, 1);
  EXPECT_TRUE(model->spk_mute);
  EXPECT_EQ(Dirty(), kDirtyIndicators);
  EXPECT_THAT(Sent(), ElementsAre("IO SPKV:-1000\n"));
  model->IntercomIOPropertySet(kSpeakerMute, 0);
  EXPECT_FALSE(model->spk_mute);
  EXPECT_EQ(Dirty(), kDirtyIndicators);
  EXPECT_THAT(Sent(), ElementsAre("IO SPKV:-60\n"));
}

TEST_F(ModelIo, MicrophoneMuteSilencesAndRestoresFullLevel) {
  model->IntercomIOPropertySet(kMicMute, 7);
  EXPECT_TRUE(model->mic_mute);
  EXPECT_EQ(Dirty(), kDirtyIndicators);
  EXPECT_THAT(Sent(), ElementsAre("IO MICV:-1000\n"));
  model->IntercomIOPropertySet(kMicMute, 0);
  EXPECT_FALSE(model->mic_mute);
  EXPECT_EQ(Dirty(), kDirtyIndicators);
  EXPECT_THAT(Sent(), ElementsAre(kUnmute));
}

TEST_F(ModelIo, SpeakerLevelIsTakenWithoutACommand) {
  model->IntercomIOPropertySet(kSpeakerVolume, -120);
  EXPECT_EQ(model->spk_volume, -120);
  EXPECT_EQ(Dirty(), kDirtyFaders);
  EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(ModelIo, OtherPropertiesDoNothing) {
  for (const Signature key : {kAssign, kHeadphoneVolume, sig("KL01"), sig("KLAA")}) {
    SCOPED_TRACE(sig_text(key).data());
    model->IntercomIOPropertySet(key, 1);
    EXPECT_EQ(Dirty(), 0U);
    EXPECT_THAT(Sent(), IsEmpty());
  }
}

TEST_F(ModelIo, MuteKeysFlipOnTheirPress) {
  struct Row {
    const char* key;
    const char* muted;
    const char* unmuted;
  };
  for (const Row& row :
       {Row{"SPKM", "IO SPKV:-1000\n", "IO SPKV:0\n"}, {"MICM", "IO MICV:-1000\n", kUnmute}}) {
    SCOPED_TRACE(row.key);
    KeyDown(row.key);
    EXPECT_THAT(Sent(), ElementsAre(row.muted));
    AdvanceMs(500);
    Dirty();
    KeyUp(row.key);
    EXPECT_EQ(Dirty(), 0U);
    EXPECT_THAT(Sent(), IsEmpty());
    KeyDown(row.key);
    EXPECT_EQ(Dirty(), kDirtyIndicators);
    EXPECT_THAT(Sent(), ElementsAre(row.unmuted));
    KeyUp(row.key);
    EXPECT_THAT(Sent(), IsEmpty());
  }
}

TEST_F(ModelIo, FarContactSetsTheMute) {
  model->SetSpeakerMute(true);
  model->SetSpeakerMute(true);
  EXPECT_TRUE(model->spk_mute);
  model->SetSpeakerMute(false);
  EXPECT_FALSE(model->spk_mute);
  EXPECT_THAT(Sent(), ElementsAre("IO SPKV:-1000\n", "IO SPKV:-1000\n", "IO SPKV:0\n"));
}

TEST_F(ModelIo, SpeakerFaderActsAtOnce) {
  Fader("SPKV", -120);
  EXPECT_EQ(model->spk_volume, -120);
  EXPECT_EQ(Dirty(), kDirtyFaders);
  EXPECT_THAT(Sent(), ElementsAre("IO SPKV:-120\n"));
}

TEST_F(ModelIo, SpeakerFaderOfAMutedSpeakerActsWhenTheMuteEnds) {
  Tap("SPKM");
  Sent();
  Dirty();
  Fader("SPKV", -120);
  EXPECT_EQ(model->spk_volume, -120);
  EXPECT_EQ(Dirty(), kDirtyFaders);
  EXPECT_THAT(Sent(), IsEmpty());
  Tap("SPKM");
  EXPECT_THAT(Sent(), ElementsAre("IO SPKV:-120\n"));
}

TEST_F(ModelIo, OtherFadersGoToTheDevice) {
  for (const char* fader : {"HDPV", "LINV", "KL99", "KLAA", "KT01", "KX01"}) {
    SCOPED_TRACE(fader);
    Fader(fader, -55);
    EXPECT_THAT(Sent(), ElementsAre("IO " + std::string(fader) + ":-55\n"));
    EXPECT_EQ(Dirty(), 0U);
  }
}

TEST_F(ModelIo, ListenFaderSetsTheVolumeOfItsParty) {
  Fader("KL02", -120);
  EXPECT_THAT(Sent(), ElementsAre(Call(kAnn, "VOLUME:-120")));
  EXPECT_EQ(listenvol_get("Ann"), -120);
  EXPECT_EQ(listenvol_get("Bob"), 0);
  // The key's own level follows when the daemon reports it.
  EXPECT_EQ(model->volumes[1], 0);
  EXPECT_EQ(Dirty(), 0U);
  KeyDown("KL02");
  EXPECT_THAT(Sent(), ElementsAre(Call(kAnn, "LISTEN:1 VOLUME:-120")));
}

TEST_F(ModelIo, ListenFaderSkipsOneStar) {
  StartWithKey("LABL:\"*Eve\"", "*Eve <hark:10.0.0.9>");
  Fader("KL01", 20);
  EXPECT_THAT(Sent(), ElementsAre(Call("Eve <hark:10.0.0.9>", "VOLUME:20")));
  EXPECT_EQ(listenvol_get("*Eve"), 20);
}

TEST_F(ModelIo, ListenFaderWithoutAKnownPartyDoesNothing) {
  model->SetAALabel("Zed");
  model->AssignChannel(5, "Nobody");
  Dirty();
  for (const char* fader : {"KL04", "KL06", "KL91", "KL98", "KL8z", "KL1 "}) {
    SCOPED_TRACE(fader);
    Fader(fader, -120);
    EXPECT_THAT(Sent(), IsEmpty());
    EXPECT_EQ(Dirty(), 0U);
  }
  EXPECT_EQ(listenvol_get("Nobody"), 0);
  EXPECT_EQ(listenvol_get("Zed"), 0);
}

TEST_F(ModelIo, FaderOfTheHeldKeyActsOnTheSpeakerWhenNoneIsHeld) {
  panel->harkui_receive("HARKUI#p.FAD#KVOL gain=-100");
  EXPECT_THAT(Sent(), ElementsAre("IO SPKV:-100\n"));
  EXPECT_EQ(model->spk_volume, -100);
  EXPECT_FALSE(model->held_volume_changed);
}

}  // namespace
}  // namespace hark
