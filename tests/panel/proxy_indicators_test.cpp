// The lamps of a panel: every letter on every key of every module type, the colours of the combined keys,
// which letter a state gives, and that a lamp which did not change costs no text.
#include "panel/proxy_console.h"

namespace hark {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

struct LetterRow {
  char letter;
  const char* network;
  const char* console;
};
// Each letter that has a word, and one that stands for itself.
constexpr LetterRow kLetters[] = {
    {'0', "Off", "OFF"},     {'1', "On", "ON"},       {'*', "Flash", "FLASH"},      {'C', "Flash", "FLASH"},
    {'R', "Flash", "FLASH"}, {'r', "Flash", "FLASH"}, {'d', "Flash", "FLASH_FAST"}, {'x', "x", "x"},
};

struct FunctionKey {
  const char* name;
  Signature key;
  int button;
};
constexpr FunctionKey kFunctionKeys[] = {
    {"KTAA", sig("KTAA"), 41}, {"KLAA", sig("KLAA"), 42}, {"MICM", sig("MICM"), 49},
    {"SPKM", sig("SPKM"), 50}, {"TGRP", sig("TGRP"), 51}, {"ASGN", sig("ASGN"), 52},
};

class ProxyIndicators : public ConsoleTest {
 protected:
  ProxyIndicators() { nkeys = 20; }
};

TEST_F(ProxyIndicators, NetworkPanelIsToldEveryLetterOfEveryKey) {
  for (const LetterRow& row : kLetters) {
    SCOPED_TRACE(row.letter);
    panels.clear();
    HarkUIProxy& panel = Attach(HarkUIProxy::kNetworkPanel, 1, 20);
    for (int n = 1; n <= 20; ++n) {
      for (const char half : {'L', 'T'}) {
        const Signature key = mksig(half == 'L' ? kListen00 : kTalk00, n);
        panel.UpdateKeyIndicator(key, row.letter);
        EXPECT_EQ(Sent(),
                  std::string("set HARKUI#p0.BUT#") + sig_text(key).data() + " IND=" + row.network + "\n");
      }
    }
    for (const FunctionKey& key : kFunctionKeys) {
      panel.UpdateKeyIndicator(key.key, row.letter);
      EXPECT_EQ(Sent(), std::string("set HARKUI#p0.BUT#") + key.name + " IND=" + row.network + "\n");
    }
  }
}

TEST_F(ProxyIndicators, ConsoleButtonsAreToldEveryLetterByTheirNumbers) {
  for (const int type : {HarkUIProxy::kModule20, HarkUIProxy::kModule10}) {
    for (const LetterRow& row : kLetters) {
      SCOPED_TRACE(std::string(1, row.letter) + " type " + std::to_string(type));
      panels.clear();
      HarkUIProxy& panel = Attach(type, 1, 20);
      for (int n = 1; n <= 20; ++n) {
        panel.UpdateKeyIndicator(mksig(kTalk00, n), row.letter);
        panel.UpdateKeyIndicator(mksig(kListen00, n), row.letter);
        EXPECT_EQ(Sent(), button_line(2 * n - 1, row.console) + button_line(2 * n, row.console));
      }
      for (const FunctionKey& key : kFunctionKeys) {
        panel.UpdateKeyIndicator(key.key, row.letter);
        EXPECT_EQ(Sent(), button_line(key.button, row.console));
      }
    }
  }
}

TEST_F(ProxyIndicators, FunctionKeysOfTheColouredModuleAreButtons) {
  for (const LetterRow& row : kLetters) {
    SCOPED_TRACE(row.letter);
    panels.clear();
    HarkUIProxy& panel = Attach(HarkUIProxy::kModuleColour, 1, 10);
    for (const FunctionKey& key : kFunctionKeys) {
      panel.UpdateKeyIndicator(key.key, row.letter);
      EXPECT_EQ(Sent(), button_line(key.button, row.console));
    }
  }
}

TEST_F(ProxyIndicators, LetterThatAKeyShowsAlreadyIsNotSentAgain) {
  for (const int type : {0, 1, 2, 3}) {
    SCOPED_TRACE(type);
    HarkUIProxy& panel = Attach(type, 1, 20);
    std::vector<Signature> keys;
    for (int n = 1; n <= 20; ++n) {
      keys.push_back(mksig(kListen00, n));
      keys.push_back(mksig(kTalk00, n));
    }
    for (const FunctionKey& key : kFunctionKeys)
      keys.push_back(key.key);
    // All first, so that two keys with one place in the memory of what was sent would show.
    for (const Signature key : keys)
      panel.UpdateKeyIndicator(key, '1');
    EXPECT_EQ(Lines(type).size(), keys.size());
    for (const Signature key : keys)
      panel.UpdateKeyIndicator(key, '1');
    EXPECT_EQ(Sent(type), "");
    for (const Signature key : keys)
      panel.UpdateKeyIndicator(key, '0');
    EXPECT_EQ(Lines(type).size(), keys.size());
  }
}

TEST_F(ProxyIndicators, KeyWithoutAPlaceSendsNothing) {
  for (const int type : {0, 1, 2, 3}) {
    HarkUIProxy& panel = Attach(type, 1, 20);
    for (const Signature key : {sig("LINA"), sig("KL00"), sig("KT00"), sig("KX01"), sig("KXAA"), sig("SPKV"),
                                sig("MENU"), sig("ZZZZ"), Signature{0}, ~Signature{0}}) {
      panel.UpdateKeyIndicator(key, '1');
      EXPECT_EQ(Sent(type), "") << sig_text(key).data() << " type " << type;
    }
  }
}

TEST_F(ProxyIndicators, TalkKeyOfAHigherLevelWinksInsteadOfBeingOff) {
  struct Row {
    char letter;
    const char* talk;
    const char* listen;
  };
  Labels({"High", "Bob"});
  for (const int type : {HarkUIProxy::kModule20, HarkUIProxy::kModule10}) {
    for (const Row& row : {Row{'0', "WINK", "OFF"}, Row{'1', "ON", "ON"}, Row{'R', "FLASH", "FLASH"},
                           Row{'r', "FLASH", "FLASH"}, Row{'*', "FLASH", "FLASH"}, Row{'C', "FLASH", "FLASH"},
                           Row{'d', "FLASH_FAST", "FLASH_FAST"}, Row{'x', "x", "x"}}) {
      SCOPED_TRACE(std::string(1, row.letter) + " type " + std::to_string(type));
      panels.clear();
      HarkUIProxy& panel = Attach(type, 1, 2);
      panel.UpdateChannelLabels();
      Forget();
      panel.UpdateKeyIndicator(sig("KT01"), row.letter);
      panel.UpdateKeyIndicator(sig("KL01"), row.letter);
      panel.UpdateKeyIndicator(sig("KT02"), row.letter);
      EXPECT_EQ(Sent(), button_line(1, row.talk) + button_line(2, row.listen) + button_line(3, row.listen));
    }
  }
}

TEST_F(ProxyIndicators, NetworkPanelIsToldOffWhereAConsoleWinks) {
  Labels({"High"});
  HarkUIProxy& panel = Attach(HarkUIProxy::kNetworkPanel, 1, 1);
  panel.UpdateChannelLabels();
  Forget();
  panel.UpdateKeyIndicator(sig("KT01"), '0');
  EXPECT_EQ(Sent(), "set HARKUI#p0.BUT#KT01 IND=Off\n");
}

TEST_F(ProxyIndicators, StateOfAPartyGivesOneLetterForEachHalf) {
  struct Row {
    int nibble;
    const char* indicator;
  };
  // Ringing goes before on, and on before dropped.
  for (const Row& row :
       {Row{0, "OFF"}, Row{1, "ON"}, Row{2, "FLASH"}, Row{3, "FLASH"}, Row{4, "FLASH"}, Row{5, "FLASH"},
        Row{6, "FLASH"}, Row{7, "FLASH"}, Row{8, "FLASH_FAST"}, Row{9, "ON"}, Row{10, "FLASH"},
        Row{11, "FLASH"}, Row{12, "FLASH"}, Row{13, "FLASH"}, Row{14, "FLASH"}, Row{15, "FLASH"}}) {
    SCOPED_TRACE(row.nibble);
    panels.clear();
    HarkUIProxy& panel = Attach(HarkUIProxy::kModule10, 1, 2);
    panel.UpdateKeyIndicators(0, static_cast<std::uint8_t>(row.nibble));
    EXPECT_THAT(Lines(), UnorderedElementsAre(button_line(2, row.indicator), button_line(1, "OFF")));
    panel.UpdateKeyIndicators(1, static_cast<std::uint8_t>(row.nibble << 4));
    EXPECT_THAT(Lines(), UnorderedElementsAre(button_line(4, "OFF"), button_line(3, row.indicator)));
    panel.UpdateKeyIndicators(nkeys, static_cast<std::uint8_t>(row.nibble << 4));
    EXPECT_THAT(Lines(), UnorderedElementsAre(button_line(42, "OFF"), button_line(41, row.indicator)));
  }
}

TEST_F(ProxyIndicators, NewPanelIsSentEveryLampOnce) {
  Labels({"Bob", "Ann", "High"});
  HarkUIProxy& panel = Attach(HarkUIProxy::kNetworkPanel, 2, 3);
  panel.UpdateKeyIndicators();
  EXPECT_THAT(Lines(),
              UnorderedElementsAre("set HARKUI#p0.BUT#KL02 IND=Off\n", "set HARKUI#p0.BUT#KT02 IND=Off\n",
                                   "set HARKUI#p0.BUT#KL03 IND=Off\n", "set HARKUI#p0.BUT#KT03 IND=Off\n",
                                   "set HARKUI#p0.BUT#KLAA IND=Off\n", "set HARKUI#p0.BUT#KTAA IND=Off\n",
                                   "set HARKUI#p0.BUT#TGRP IND=Off\n", "set HARKUI#p0.BUT#ASGN IND=Off\n",
                                   "set HARKUI#p0.BUT#SPKM IND=Off\n", "set HARKUI#p0.BUT#MICM IND=Off\n"));
  panel.UpdateKeyIndicators();
  EXPECT_EQ(Sent(), "");
}

TEST_F(ProxyIndicators, LampsThatDidNotChangeCostNoText) {
  Labels({"Bob", "Ann", "Hall"});
  for (const int type : {0, 1, 2, 3}) {
    SCOPED_TRACE(type);
    HarkUIProxy& panel = AttachUpToDate(type, 1, 3);
    panel.Notify(kDirtyIndicators, 0);
    EXPECT_EQ(Sent(type), "");
  }
}

TEST_F(ProxyIndicators, KeyShowsTheStateOfThePartyWhoseLabelItShows) {
  Labels({"Bob", "Ann"});
  HarkUIProxy& panel = AttachUpToDate(HarkUIProxy::kNetworkPanel, 1, 2);
  Party("Ann", 1 | 32);
  panel.UpdateKeyIndicators();
  EXPECT_THAT(Lines(),
              UnorderedElementsAre("set HARKUI#p0.BUT#KL02 IND=On\n", "set HARKUI#p0.BUT#KT02 IND=Flash\n"));
  // The key has another label by now, but shows the old one as long as its call is up.
  Model().AssignChannel(1, "Bob");
  panel.UpdateChannelLabels();
  Forget();
  Party("Ann", 16);
  panel.UpdateKeyIndicators();
  EXPECT_THAT(Lines(),
              UnorderedElementsAre("set HARKUI#p0.BUT#KL02 IND=Off\n", "set HARKUI#p0.BUT#KT02 IND=On\n"));
}

TEST_F(ProxyIndicators, GroupProgrammingShowsMembershipInPlaceOfCalls) {
  Channels("SHIFT LABL:\"Day\"\nHARKCH 1 LABL:\"Bob\"\nHARKCH 2 LABL:\"Ann\"\nHARKGR 1 LABL:\"Ann\"\n");
  HarkUIProxy& panel = AttachUpToDate(HarkUIProxy::kModule10, 1, 3);
  Party("Bob", 1);
  Model().group_state = GroupState::kProgramming;
  panel.UpdateKeyIndicators();
  EXPECT_THAT(Lines(),
              UnorderedElementsAre(button_line(3, "ON"), button_line(4, "ON"), button_line(51, "FLASH")));
  Model().group_state = GroupState::kIdle;
  panel.UpdateKeyIndicators();
  EXPECT_THAT(Lines(), UnorderedElementsAre(button_line(2, "ON"), button_line(3, "OFF"),
                                            button_line(4, "OFF"), button_line(51, "OFF")));
}

TEST_F(ProxyIndicators, AutoAnswerKeysShowTheWholeCallStack) {
  HarkUIProxy& panel = AttachUpToDate(HarkUIProxy::kModule10, 1, 1);
  Model().callstack_add("Zoe", 32);
  Model().callstack_add("Yan", 1);
  panel.UpdateKeyIndicators();
  // No other lamp has it, and no key of another name.
  EXPECT_THAT(Lines(), UnorderedElementsAre(button_line(41, "FLASH"), button_line(42, "ON")));
  Model().callstack_add("Zoe", 0);
  panel.UpdateKeyIndicators();
  EXPECT_THAT(Lines(), ElementsAre(button_line(41, "OFF")));
}

TEST_F(ProxyIndicators, FunctionLampsShowTheModesOfTheModel) {
  HarkUIProxy& panel = AttachUpToDate(HarkUIProxy::kModuleColour, 1, 1);
  const auto shows = [&](int button, const char* indicator) {
    panel.UpdateKeyIndicators();
    EXPECT_THAT(Lines(), ElementsAre(button_line(button, indicator)));
  };
  Model().group_state = GroupState::kTalking;
  shows(51, "ON");
  Model().group_state = GroupState::kProgramming;
  shows(51, "FLASH");
  Model().group_state = GroupState::kIdle;
  shows(51, "OFF");
  Model().assign_mode = AssignMode::kArmed;
  shows(52, "FLASH");
  Model().assign_mode = AssignMode::kIdle;
  shows(52, "OFF");
  Model().spk_mute = true;
  shows(50, "ON");
  Model().spk_mute = false;
  shows(50, "OFF");
  Model().mic_mute = true;
  shows(49, "ON");
  Model().mic_mute = false;
  shows(49, "OFF");
}

TEST_F(ProxyIndicators, JustDroppedFlashesOnANetworkPanelAndFlashesFastOnOthers) {
  Labels({"Bob"});
  for (const int type : {0, 1, 2, 3})
    AttachUpToDate(type, 1, 1);
  Party("Bob", 8);
  for (auto& panel : panels)
    panel->UpdateKeyIndicators();
  EXPECT_EQ(Sent(0), "set HARKUI#p0.BUT#KL01 IND=Flash\n");
  EXPECT_EQ(Sent(1), button_line(2, "FLASH_FAST"));
  EXPECT_EQ(Sent(2), button_line(2, "FLASH_FAST"));
  EXPECT_EQ(Sent(3), "SET Intercom.key#1 BACKCOLOROFF=OFF,BACKCOLORON=GREEN,IND=FLASH_FAST\n");
}

TEST_F(ProxyIndicators, LevelThatRisesMakesTheTalkKeyWinkWithTheNextPass) {
  Labels({"Bob"});
  HarkUIProxy& panel = AttachUpToDate(HarkUIProxy::kModule10, 1, 1);
  Stations("Bob <hark:10.0.0.7>;trgl=9\n\talt Robert\n");
  panel.Notify(kDirtyLabels | kDirtyIndicators, 0);
  EXPECT_THAT(Lines(), ElementsAre("SET Intercom.oled#1 line1=\"Robert\"\n", button_line(1, "WINK")));
  EXPECT_THAT(Commands(), IsEmpty());
}

}  // namespace
}  // namespace hark
