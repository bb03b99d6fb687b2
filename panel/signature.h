// Names of keys and faders in the panel protocol: four ASCII characters, held in a number whose first byte is
// the first character, so that ranges of keys are ranges of numbers.
#pragma once

#include <array>
#include <cstdint>

namespace hark {

using Signature = std::uint32_t;

// The signature of the four characters at `text`. Requires four.
constexpr Signature read_sig(const char* text) {
  Signature signature = 0;
  for (int i = 0; i < 4; ++i)
    signature = signature << 8 | static_cast<unsigned char>(text[i]);
  return signature;
}

// The signature of a literal: sig("KL01").
constexpr Signature sig(const char (&text)[5]) { return read_sig(text); }

// `base` plus the two decimal digits of `n`: mksig(sig("KL00"), 12) is KL12.
constexpr Signature mksig(Signature base, int n) {
  return base + static_cast<Signature>(n / 10) * 256 + static_cast<Signature>(n % 10);
}

// The number in the last two characters. They are not checked to be digits, so that any number from -528 to
// 2277 may come out.
constexpr int sigidx(Signature signature) {
  return 10 * (static_cast<int>(signature >> 8 & 0xFF) - '0') + (static_cast<int>(signature & 0xFF) - '0');
}

// The four characters and a NUL.
constexpr std::array<char, 5> sig_text(Signature signature) {
  return {static_cast<char>(signature >> 24), static_cast<char>(signature >> 16 & 0xFF),
          static_cast<char>(signature >> 8 & 0xFF), static_cast<char>(signature & 0xFF), '\0'};
}

// Whether `signature` is between the two, by number alone.
constexpr bool sig_between(Signature signature, Signature first, Signature last) {
  return signature >= first && signature <= last;
}

// Key ranges of the channels: listen, talk, both.
inline constexpr Signature kListen00 = sig("KL00");
inline constexpr Signature kTalk00 = sig("KT00");
inline constexpr Signature kBoth00 = sig("KX00");
inline constexpr int kHighestKeyNumber = 98;
// Where displays and rotaries end: one number later than keys.
inline constexpr Signature kListen99 = mksig(kListen00, 99);
inline constexpr Signature kBoth99 = mksig(kBoth00, 99);

// The auto-answer channel.
inline constexpr Signature kListenAa = sig("KLAA");
inline constexpr Signature kTalkAa = sig("KTAA");
inline constexpr Signature kBothAa = sig("KXAA");

// Function keys.
inline constexpr Signature kAssign = sig("ASGN");
inline constexpr Signature kGroupTalk = sig("TGRP");
inline constexpr Signature kSpeakerMute = sig("SPKM");
inline constexpr Signature kMicMute = sig("MICM");
inline constexpr Signature kMenu = sig("MENU");

// Faders.
inline constexpr Signature kSpeakerVolume = sig("SPKV");
inline constexpr Signature kHeldKeyVolume = sig("KVOL");
inline constexpr Signature kHeadphoneVolume = sig("HDPV");

}  // namespace hark
