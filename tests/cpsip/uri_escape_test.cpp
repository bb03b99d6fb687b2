// Escaping of reserved characters: each bit of the mask alone, all of them, and the room for the output.
#include <array>

#include "cpsip/cpsip_uri.h"
#include "cpsip/msg_fixture.h"

namespace hark::test {
namespace {

struct Escaped {
  std::string text;
  std::uint32_t length;
};

Escaped Escape(std::string_view source, std::uint32_t mask) {
  std::array<char, kEscapedSize> dest;
  dest.fill('?');
  Escaped escaped{{}, 0};
  EXPECT_EQ(CPSIP_EscapeReservedChar(source, dest, escaped.length, mask), 0);
  const std::string_view all(dest.data(), dest.size());
  const std::size_t end = all.find('\0');
  EXPECT_NE(end, std::string_view::npos) << "no NUL behind the text";
  escaped.text = std::string(all.substr(0, end));
  return escaped;
}

struct BitRow {
  std::uint32_t bit;
  char character;
  std::string_view output;
};

constexpr BitRow kBits[] = {
    {0x00001, ':', "%3A"}, {0x00002, ',', "%2C"}, {0x00004, '=', "%3D"}, {0x00008, '<', "%3C"},
    {0x00010, '>', "%3E"}, {0x00040, ';', "%3B"}, {0x00080, ' ', "%20"}, {0x00100, '/', "%2F"},
    {0x01000, '?', "%3F"}, {0x02000, '@', "%40"}, {0x04000, '&', "%26"}, {0x08000, '+', "%2B"},
    {0x10000, '$', "%24"},
};
constexpr std::string_view kReserved = ":,=<>; /?@&+$";

TEST(UriEscapeTest, EachBitEscapesItsOwnCharacterOnly) {
  for (const BitRow& row : kBits) {
    SCOPED_TRACE(row.output);
    std::string expected("a");
    for (const char c : kReserved) {
      if (c == row.character) {
        expected += row.output;
      } else {
        expected += c;
      }
    }
    expected += "z";
    const Escaped escaped = Escape("a" + std::string(kReserved) + "z", row.bit);
    EXPECT_EQ(escaped.text, expected);
    EXPECT_EQ(escaped.length, expected.size() + 2);
  }
}

TEST(UriEscapeTest, AllBitsTogether) {
  std::string source, expected;
  std::uint32_t mask = 0;
  for (const BitRow& row : kBits) {
    source += row.character;
    expected += row.output;
    mask |= row.bit;
  }
  EXPECT_EQ(Escape(source, mask).text, expected);
  EXPECT_EQ(Escape(source, 0xFFFFFFFF).text, expected);
}

TEST(UriEscapeTest, OtherBitsAndCharactersAreLeftAlone) {
  EXPECT_EQ(Escape(kReserved, ~0x1F1DFU).text, kReserved);
  for (int c = 1; c < 256; ++c) {
    const std::string source(1, static_cast<char>(c));
    if (kReserved.find(source[0]) == std::string_view::npos) {
      EXPECT_EQ(Escape(source, 0xFFFFFFFF).text, source) << c;
    }
  }
}

TEST(UriEscapeTest, EmptyMaskCopiesTheTextAndItsLengthIsTwoMore) {
  const Escaped escaped = Escape("sip:a@b;x=1?y z", 0);
  EXPECT_EQ(escaped.text, "sip:a@b;x=1?y z");
  EXPECT_EQ(escaped.length, escaped.text.size() + 2);
  EXPECT_EQ(Escape("", 0xFFFFFFFF).text, "");
  EXPECT_EQ(Escape("", 0xFFFFFFFF).length, 2U);
}

TEST(UriEscapeTest, NulEndsTheText) {
  const Escaped escaped = Escape(std::string_view("a@\0@b", 5), kEscapeAt);
  EXPECT_EQ(escaped.text, "a%40");
  EXPECT_EQ(escaped.length, 6U);
}

TEST(UriEscapeTest, OutputEndsAt299Bytes) {
  for (const std::size_t length : {298UL, 299UL, 300UL, 301UL, 5000UL}) {
    SCOPED_TRACE(length);
    const Escaped escaped = Escape(std::string(length, 'a'), 0xFFFFFFFF);
    EXPECT_EQ(escaped.text, std::string(std::min<std::size_t>(length, 299), 'a'));
    EXPECT_EQ(escaped.length, escaped.text.size() + 2);
  }
}

TEST(UriEscapeTest, EscapeThatDoesNotFitIsNotSplit) {
  EXPECT_EQ(Escape(std::string(296, 'a') + "@b", kEscapeAt).text, std::string(296, 'a') + "%40");
  EXPECT_EQ(Escape(std::string(297, 'a') + "@", kEscapeAt).text, std::string(297, 'a'));
  EXPECT_EQ(Escape(std::string(298, 'a') + "@", kEscapeAt).text, std::string(298, 'a'));
  EXPECT_EQ(Escape(std::string(298, 'a') + "@", 0).text, std::string(298, 'a') + "@");
  std::string escapes;
  for (int at = 0; at < 99; ++at)
    escapes += "%40";
  EXPECT_EQ(Escape(std::string(200, '@'), kEscapeAt).text, escapes);
}

}  // namespace
}  // namespace hark::test
