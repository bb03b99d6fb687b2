// The names of keys and faders as numbers: what each constant spells, and the arithmetic on their digits.
#include "panel/signature.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace hark {
namespace {

std::string Text(Signature signature) { return sig_text(signature).data(); }

TEST(Signature, FirstCharacterIsTheHighestByte) {
  EXPECT_EQ(sig("KL01"), 0x4B4C3031U);
  EXPECT_EQ(read_sig("SPKV"), 0x53504B56U);
  EXPECT_EQ(read_sig("KL01 KEY=D"), sig("KL01"));
}

TEST(Signature, ConstantsSpellTheNamesOfTheProtocol) {
  struct Row {
    Signature signature;
    const char* text;
  };
  std::set<Signature> seen;
  for (const Row& row : {Row{kListen00, "KL00"},
                         {kTalk00, "KT00"},
                         {kBoth00, "KX00"},
                         {kListenAa, "KLAA"},
                         {kTalkAa, "KTAA"},
                         {kBothAa, "KXAA"},
                         {kAssign, "ASGN"},
                         {kGroupTalk, "TGRP"},
                         {kSpeakerMute, "SPKM"},
                         {kMicMute, "MICM"},
                         {kMenu, "MENU"},
                         {kSpeakerVolume, "SPKV"},
                         {kHeldKeyVolume, "KVOL"},
                         {kHeadphoneVolume, "HDPV"}}) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(Text(row.signature), row.text);
    EXPECT_EQ(read_sig(row.text), row.signature);
    EXPECT_TRUE(seen.insert(row.signature).second);
  }
}

TEST(Signature, NumberIsAddedAsTwoDecimalDigits) {
  struct Row {
    Signature base;
    int n;
    const char* text;
  };
  for (const Row& row : {Row{kListen00, 1, "KL01"},
                         {kListen00, 9, "KL09"},
                         {kListen00, 10, "KL10"},
                         {kListen00, 12, "KL12"},
                         {kTalk00, 40, "KT40"},
                         {kBoth00, 98, "KX98"},
                         {kListen00, 0, "KL00"}}) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(Text(mksig(row.base, row.n)), row.text);
  }
}

TEST(Signature, NumberIsReadBack) {
  for (const Signature base : {kListen00, kTalk00, kBoth00}) {
    for (int n = 0; n <= 99; ++n) {
      SCOPED_TRACE(Text(mksig(base, n)));
      EXPECT_EQ(sigidx(mksig(base, n)), n);
    }
  }
}

TEST(Signature, CharactersThatAreNoDigitsAreCountedAllTheSame) {
  EXPECT_EQ(sigidx(sig("KL0A")), 17);
  EXPECT_EQ(sigidx(sig("KLAA")), 187);
  EXPECT_EQ(sigidx(sig("KL  ")), -176);
}

TEST(Signature, RangesAreOfNumbers) {
  const Signature first = mksig(kListen00, 1);
  const Signature last = mksig(kListen00, kHighestKeyNumber);
  EXPECT_EQ(Text(last), "KL98");
  for (const char* in : {"KL01", "KL98", "KL0A", "KL50", "KL8z"}) {
    SCOPED_TRACE(in);
    EXPECT_TRUE(sig_between(read_sig(in), first, last));
  }
  for (const char* out : {"KL00", "KL99", "KLAA", "KT01", "KX01", "KK98", "kl01"}) {
    SCOPED_TRACE(out);
    EXPECT_FALSE(sig_between(read_sig(out), first, last));
  }
}

}  // namespace
}  // namespace hark
