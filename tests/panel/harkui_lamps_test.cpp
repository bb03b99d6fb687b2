// Lamps: which key lights which, how letters show, how they flash in step, and the wink of a channel whose
// station may not answer by itself.
#include "panel/harkui_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;

constexpr int kFlashHalf = 8;   // steps on, then as many off
constexpr int kWinkEvery = 32;  // steps from one wink to the next

class HarkUILamps : public HarkUITest {
 protected:
  // The states of a lamp in this many steps, a character each.
  std::string Watch(Signature kind, int index, int steps) {
    std::string states;
    for (int i = 0; i < steps; ++i) {
      Forget();
      ui->TimerAction();
      states += std::to_string(Lamp(kind, index));
    }
    return states;
  }
  // The lamp that shows a function key.
  struct FunctionLamp {
    const char* key;
    Signature kind;
    int index;
  };
  static constexpr FunctionLamp kFunctionLamps[] = {
      {"TGRP", kLampGroup, 0},   {"ASGN", kLampAssign, 0},      {"KLAA", kLampListen, 1001},
      {"KTAA", kLampTalk, 1001}, {"SPKM", kLampSpeakerMute, 0}, {"MICM", kLampMicMute, 0},
  };
};

TEST_F(HarkUILamps, NamesAreThoseOfTheHardware) {
  EXPECT_STREQ(sig_text(kLampTalk).data(), "ICIT");
  EXPECT_STREQ(sig_text(kLampListen).data(), "ICIL");
  EXPECT_STREQ(sig_text(kLampGroup).data(), "GRPI");
  EXPECT_STREQ(sig_text(kLampAssign).data(), "ASGI");
  EXPECT_STREQ(sig_text(kLampSpeakerMute).data(), "SPKM");
  EXPECT_STREQ(sig_text(kLampMicMute).data(), "MICM");
  EXPECT_EQ(kAutoAnswerLamp, 1001);
  EXPECT_EQ(harkchTable_size, 20);
}

TEST_F(HarkUILamps, EveryKeyOfAPanelLightsItsOwnLampAndNoOther) {
  for (const int first : {1, 21}) {
    Attached(first, 20);
    for (int lit = 0; lit < 20; ++lit) {
      for (const bool talk : {false, true}) {
        const std::string key = sig_text(mksig(talk ? kTalk00 : kListen00, first + lit)).data();
        SCOPED_TRACE(key);
        Set("BUT#" + key + " IND=On");
        for (int index = 0; index < 20; ++index) {
          EXPECT_EQ(Lamp(kLampTalk, index), talk && index == lit) << index;
          EXPECT_EQ(Lamp(kLampListen, index), !talk && index == lit) << index;
        }
        for (const FunctionLamp& lamp : kFunctionLamps)
          EXPECT_EQ(Lamp(lamp.kind, lamp.index), kLampOff) << lamp.key;
        Set("BUT#" + key + " IND=Off");
      }
    }
  }
}

TEST_F(HarkUILamps, EveryFunctionKeyLightsItsOwnLampAndNoOther) {
  Attached(1, 4);
  for (const FunctionLamp& lit : kFunctionLamps) {
    SCOPED_TRACE(lit.key);
    Set(std::string("BUT#") + lit.key + " IND=On");
    EXPECT_EQ(ui->getindi(read_sig(lit.key)), '1');
    for (const FunctionLamp& lamp : kFunctionLamps)
      EXPECT_EQ(Lamp(lamp.kind, lamp.index), &lamp == &lit) << lamp.key;
    for (int index = 0; index < 20; ++index) {
      EXPECT_EQ(Lamp(kLampTalk, index), kLampOff) << index;
      EXPECT_EQ(Lamp(kLampListen, index), kLampOff) << index;
    }
    Set(std::string("BUT#") + lit.key + " IND=Off");
    EXPECT_EQ(ui->getindi(read_sig(lit.key)), '0');
  }
}

TEST_F(HarkUILamps, LettersOfAllKeysAreKeptApart) {
  for (const int nkeys : {1, 4, 90}) {
    SCOPED_TRACE(nkeys);
    Attached(1, nkeys);
    std::vector<std::string> keys = {"TGRP", "ASGN", "KLAA", "KTAA", "SPKM", "MICM"};
    for (int n = 1; n <= nkeys; ++n) {
      keys.emplace_back(sig_text(mksig(kListen00, n)).data());
      keys.emplace_back(sig_text(mksig(kTalk00, n)).data());
    }
    const auto letter = [](std::size_t i) { return static_cast<char>('A' + i % 26); };
    for (std::size_t i = 0; i < keys.size(); ++i)
      Set("BUT#" + keys[i] + " IND=" + letter(i));
    for (std::size_t i = 0; i < keys.size(); ++i)
      EXPECT_EQ(ui->getindi(read_sig(keys[i].c_str())), letter(i)) << keys[i];
  }
}

TEST_F(HarkUILamps, EachUpdateTellsEveryLampOnce) {
  Attached(1, 4);
  ui->UpdateKeyIndicators();
  EXPECT_EQ(lamp_calls, 20 * 2 + 6);
  EXPECT_EQ(Lamp(kLampTalk, 20), -1);
  EXPECT_EQ(Lamp(kLampListen, -1), -1);
  Forget();
  ui->UpdateKeyIndicators();
  EXPECT_EQ(lamp_calls, 20 * 2 + 6);  // unchanged ones too
  EXPECT_TRUE(Silent());
}

TEST_F(HarkUILamps, LampsBeyondTheKeysAreOff) {
  Attached(1, 2);
  for (const char* key : {"KL01", "KL02", "KT01", "KT02", "KL03", "KT03", "TGRP", "KLAA"})
    Set(std::string("BUT#") + key + " IND=On");
  ui->UpdateKeyIndicators();
  EXPECT_EQ(Lamp(kLampListen, 1), kLampOn);
  for (int index = 2; index < 20; ++index) {
    EXPECT_EQ(Lamp(kLampListen, index), kLampOff) << index;
    EXPECT_EQ(Lamp(kLampTalk, index), kLampOff) << index;
  }
}

TEST_F(HarkUILamps, PanelWithMoreKeysThanLampsHasLampsForTheFirst) {
  Attached(1, 30);
  Set("BUT#KL20 IND=On");
  Set("BUT#KL21 IND=On");
  EXPECT_EQ(Lamp(kLampListen, 19), kLampOn);
  EXPECT_EQ(Lamp(kLampListen, 20), -1);
  EXPECT_EQ(ui->getindi(sig("KL21")), '1');
}

TEST_F(HarkUILamps, NumberOfLampsIsThePanelsOwn) {
  for (const int size : {0, 1, 3, 4, 5, 90, 500}) {
    SCOPED_TRACE(size);
    harkchTable_size = size;
    Attached(1, 4);
    Set("BUT#KL04 IND=On");
    Set("BUT#MICM IND=On");
    Forget();
    ui->TimerAction();
    EXPECT_EQ(lamp_calls, size * 2 + 6);
    EXPECT_EQ(Lamp(kLampListen, 3), size > 3 ? kLampOn : -1);
    EXPECT_EQ(Lamp(kLampTalk, size), -1);
    EXPECT_EQ(Lamp(kLampMicMute), kLampOn);
    for (int index = 4; index < size; ++index)
      EXPECT_EQ(Lamp(kLampListen, index), kLampOff) << index;
  }
}

TEST_F(HarkUILamps, LetterBecomesAState) {
  struct Row {
    const char* word;
    int first, second;  // in the two halves of the flashing
  };
  Attached(1, 4);
  for (const Row& row : {Row{"On", 1, 1}, Row{"1", 1, 1}, Row{"Off", 0, 0}, Row{"0", 0, 0}, Row{"P", 2, 2},
                         Row{"Flash", 1, 0}, Row{"*", 1, 0}, Row{"R", 1, 0}, Row{"C", 0, 0}, Row{"2", 0, 0},
                         Row{"flash", 0, 0}, Row{"r", 0, 0}, Row{"p", 0, 0}, Row{"Wink", 0, 0}}) {
    SCOPED_TRACE(row.word);
    for (const char* key : {"KL02", "KT02", "TGRP", "ASGN", "KLAA", "KTAA", "SPKM", "MICM"})
      Set(std::string("BUT#") + key + " IND=" + row.word);
    for (const int want : {row.first, row.second}) {
      EXPECT_EQ(Lamp(kLampListen, 1), want);
      EXPECT_EQ(Lamp(kLampTalk, 1), want);
      for (const FunctionLamp& lamp : kFunctionLamps)
        EXPECT_EQ(Lamp(lamp.kind, lamp.index), want) << lamp.key;
      Steps(kFlashHalf);
    }
  }
}

TEST_F(HarkUILamps, FlashIsEightStepsOnAndEightOff) {
  Attached(1, 4);
  Set("BUT#KL01 IND=Flash");
  EXPECT_EQ(Lamp(kLampListen, 0), kLampOn);
  const std::string on(8, '1');
  const std::string off(8, '0');
  // The first of the 8 was the one before the first step.
  std::string period;
  for (int i = 0; i < 16; ++i)
    period += on + off;
  EXPECT_EQ(Watch(kLampListen, 0, 256), period.substr(1) + "1");
}

TEST_F(HarkUILamps, AllLampsFlashInStep) {
  Attached(1, 4);
  Set("BUT#KL01 IND=Flash");
  Steps(5);
  Set("BUT#KT03 IND=Flash");
  Set("BUT#KLAA IND=R");
  Set("BUT#ASGN IND=*");
  for (int step = 0; step < 64; ++step) {
    SCOPED_TRACE(step);
    Forget();
    ui->TimerAction();
    const int state = Lamp(kLampListen, 0);
    EXPECT_EQ(Lamp(kLampTalk, 2), state);
    EXPECT_EQ(Lamp(kLampListen, kAutoAnswerLamp), state);
    EXPECT_EQ(Lamp(kLampAssign), state);
  }
}

TEST_F(HarkUILamps, UpdateAloneDoesNotMoveTheFlashing) {
  Attached(1, 4);
  Set("BUT#KL01 IND=Flash");
  for (int i = 0; i < 40; ++i)
    ui->UpdateKeyIndicators();
  EXPECT_EQ(Lamp(kLampListen, 0), kLampOn);
  Steps(7);
  EXPECT_EQ(Lamp(kLampListen, 0), kLampOn);
  Steps(1);
  EXPECT_EQ(Lamp(kLampListen, 0), kLampOff);
  for (int i = 0; i < 40; ++i)
    Set("BUT#KL01 IND=Flash");
  EXPECT_EQ(Lamp(kLampListen, 0), kLampOff);
}

TEST_F(HarkUILamps, HigherStationWinksEvery32Steps) {
  Attached(1, 4);
  Set("DISP#KL02 TEXT=\"News\", ALT=\"\", DFL=2");
  const std::string wink = std::string(kWinkEvery - 1, '0') + "2";
  EXPECT_EQ(Watch(kLampTalk, 1, 8 * kWinkEvery), wink + wink + wink + wink + wink + wink + wink + wink);
  EXPECT_EQ(Watch(kLampListen, 1, kWinkEvery), std::string(kWinkEvery, '0'));
}

TEST_F(HarkUILamps, WinkGoesOverALitLampAndPutsTheListenLampOut) {
  Attached(1, 4);
  Set("DISP#KL02 TEXT=\"News\", ALT=\"\", DFL=2");
  Set("BUT#KL02 IND=On");
  Set("BUT#KT02 IND=On");
  EXPECT_EQ(Watch(kLampTalk, 1, kWinkEvery), std::string(kWinkEvery - 1, '1') + "2");
  EXPECT_EQ(Watch(kLampListen, 1, kWinkEvery), std::string(kWinkEvery - 1, '1') + "0");
  Set("BUT#KL02 IND=Flash");
  Set("BUT#KT02 IND=Flash");
  EXPECT_EQ(Watch(kLampTalk, 1, kWinkEvery), "11111110000000011111111000000002");
  EXPECT_EQ(Watch(kLampListen, 1, kWinkEvery), "11111110000000011111111000000000");
}

TEST_F(HarkUILamps, OnlyBitOneOfTheFlagsWinks) {
  struct Row {
    unsigned dfl;
    bool winks;
  };
  Attached(1, 4);
  for (const Row& row : {Row{0, false}, Row{1, false}, Row{2, true}, Row{3, true}, Row{4, false},
                         Row{8, false}, Row{9, false}, Row{10, true}, Row{13, false}, Row{15, true}}) {
    SCOPED_TRACE(row.dfl);
    Set("DISP#KL01 TEXT=\"News\", ALT=\"\", DFL=" + std::to_string(row.dfl));
    Set("BUT#KL01 IND=On");
    const bool winked = Watch(kLampTalk, 0, kWinkEvery).find('2') != std::string::npos;
    EXPECT_EQ(winked, row.winks);
  }
}

TEST_F(HarkUILamps, OnlyTheChannelItselfWinks) {
  Attached(21, 4);
  Set("DISP#KL23 TEXT=\"News\", ALT=\"\", DFL=2");
  Steps(kWinkEvery);
  for (int index = 0; index < 20; ++index)
    EXPECT_EQ(Lamp(kLampTalk, index), index == 2 ? kLampPulse : kLampOff) << index;
  EXPECT_EQ(Lamp(kLampTalk, kAutoAnswerLamp), kLampOff);
}

TEST_F(HarkUILamps, AutoAnswerChannelDoesNotWink) {
  Attached(1, 4);
  Set("DISP#KLAA TEXT=\"News\", ALT=\"\", DFL=2");
  Set("BUT#KTAA IND=On");
  EXPECT_EQ(Watch(kLampTalk, kAutoAnswerLamp, kWinkEvery), std::string(kWinkEvery, '1'));
  EXPECT_EQ(Watch(kLampTalk, 4, kWinkEvery), std::string(kWinkEvery, '0'));  // the lamp behind the last key
}

TEST_F(HarkUILamps, WinkEndsWithItsFlag) {
  Attached(1, 4);
  Set("DISP#KL01 TEXT=\"News\", ALT=\"\", DFL=2");
  Steps(kWinkEvery);
  EXPECT_EQ(Lamp(kLampTalk, 0), kLampPulse);
  Set("DISP#KL01 TEXT=\"News\", ALT=\"\", DFL=0");
  ui->UpdateKeyIndicators();
  EXPECT_EQ(Lamp(kLampTalk, 0), kLampOff);
}

}  // namespace
}  // namespace hark::test
