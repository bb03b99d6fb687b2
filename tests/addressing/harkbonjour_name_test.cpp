// The full name of a service, cut into its instance and the rest, and which hosts are addresses by
// themselves.
#include <gtest/gtest.h>

#include <vector>

#include "addressing/harkbonjour_private.h"

namespace hark {
namespace {

struct NameRow {
  const char* full;
  const char* instance;
  const char* rest;
};

// As cut_full_name, of a text in memory of exactly its size.
std::string_view Cut(std::vector<char>& text, std::string& instance) {
  text.shrink_to_fit();
  return cut_full_name({text.data(), text.size()}, instance);
}

TEST(BonjourName, IsCutAtItsFirstUnescapedDotAndDecoded) {
  static constexpr NameRow kRows[] = {
      {"Ann._hark._tcp.local.", "Ann", "._hark._tcp.local."},
      {"A._hark._tcp.local.", "A", "._hark._tcp.local."},
      {"Studio\\0321._hark._tcp.local.", "Studio 1", "._hark._tcp.local."},
      {"Studio\\032\\0321.x", "Studio  1", ".x"},
      {"St\\.1._hark._tcp.local.", "St.1", "._hark._tcp.local."},
      {"\\.\\.\\..x", "...", ".x"},
      {"St\\\\1.x", "St\\1", ".x"},
      {"St\\\\.x", "St\\", ".x"},
      {"St\\\\\\..x", "St\\.", ".x"},
      {"\\0461.x", ".1", ".x"},
      {"\\0921.x", "\\1", ".x"},
      {"M\\195\\188ller.x", "M\xc3\xbcller", ".x"},
      {"\\255.x", "\xff", ".x"},
      {"\\001\\127.x", "\x01\x7f", ".x"},
      {"\\\"q\\\".x", "\"q\"", ".x"},
      {"M\xc3\xbcller.x", "M\xc3\xbcller", ".x"},
      {".x", "", ".x"},
      {".", "", "."},
      {"Ann.", "Ann", "."},
      {"Ann..x", "Ann", "..x"},
      {"Ann", "Ann", ""},
      {"Ann\\.", "Ann.", ""},
      {"", "", ""},
  };
  for (const NameRow& row : kRows) {
    SCOPED_TRACE(row.full);
    const std::string_view full(row.full);
    std::vector<char> text(full.begin(), full.end());
    std::string instance = "what stood there before";
    EXPECT_EQ(Cut(text, instance), row.rest);
    EXPECT_EQ(instance, row.instance);
  }
}

TEST(BonjourName, ZeroByteStaysInTheInstance) {
  std::string instance;
  EXPECT_EQ(cut_full_name("a\\000b.x", instance), ".x");
  EXPECT_EQ(instance, std::string("a\0b", 3));
}

TEST(BonjourName, EscapeThatIsNoByteOrIsCutOffHidesNothingBehindIt) {
  for (const std::string_view full : {"a\\999.x", "a\\256.x", "a\\25.x", "a\\2.x", "a\\12b.x"}) {
    SCOPED_TRACE(full);
    std::vector<char> text(full.begin(), full.end());
    std::string instance;
    EXPECT_EQ(Cut(text, instance), ".x");
    EXPECT_EQ(instance.substr(0, 1), "a");
  }
  for (const std::string_view full : {"a\\", "a\\2", "a\\25", "a\\255", "a\\999", "\\"}) {
    SCOPED_TRACE(full);
    std::vector<char> text(full.begin(), full.end());
    std::string instance;
    EXPECT_EQ(Cut(text, instance), "");
  }
}

TEST(BonjourName, EveryByteSurvivesItsEscape) {
  for (int byte = 0; byte < 256; ++byte) {
    char full[24];
    (void)std::snprintf(full, sizeof full, "<\\%03d>.x", byte);
    SCOPED_TRACE(full);
    std::string instance;
    EXPECT_EQ(cut_full_name(full, instance), ".x");
    EXPECT_EQ(instance, "<" + std::string(1, static_cast<char>(byte)) + ">");
  }
}

TEST(BonjourHost, ThreeNumbersAreAnAddressAndFourAreAskedFor) {
  for (const char* text : {"1.2.3", "0.0.0", "255.255.255", "10.0.255"}) {
    SCOPED_TRACE(text);
    EXPECT_TRUE(isipv4(text));
  }
  for (const char* text : {"10.1.2.3", "1.2.3.4",    "0.0.0.0",    "256.1.1",
                           "1.256.1",  "1.1.256",    "1.2.1000",   "1.2.99999999999999999999",
                           "1.2",      "1",          "",           ".",
                           "..",       "...",        "1.2.",       "1..3",
                           ".2.3",     "1.2.3.",     ".1.2.3",     "1.2.3x",
                           "1x.2.3",   "a.b.c",      "ann.local.", "ann",
                           "1.2.x",    "1.2.local.", "1,2,3"}) {
    SCOPED_TRACE(text);
    EXPECT_FALSE(isipv4(text));
  }
}

}  // namespace
}  // namespace hark
