// Addresses and their dotted texts, both the system's way and the stack's own.
#include "cpsip/cpsip_address.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace hark::test {
namespace {

constexpr std::uint32_t Ip(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
  return a << 24U | b << 16U | c << 8U | d;
}

// What a writer makes in a room of exactly this size; its NUL must stand behind the length that it tells.
template <typename Write>
std::string Written(std::size_t room, Write write) {
  const std::unique_ptr<char[]> out(new char[room]);
  std::fill_n(out.get(), room, '~');
  const std::size_t length = write(std::span<char>(out.get(), room));
  EXPECT_LT(length, room);
  EXPECT_EQ(out[length], '\0');
  return {out.get(), length};
}

TEST(StringToAddress, ReadsAsInetAddrDoes) {
  struct Row {
    const char* text;
    std::uint32_t ip;
  };
  for (const Row& row :
       {Row{"127.0.0.1", Ip(127, 0, 0, 1)}, Row{"0.0.0.0", 0}, Row{"255.255.255.254", Ip(255, 255, 255, 254)},
        Row{"192.168.001.010", Ip(192, 168, 1, 8)}, Row{"10.1", Ip(10, 0, 0, 1)},
        Row{"10.1.258", Ip(10, 1, 1, 2)}, Row{"16909060", Ip(1, 2, 3, 4)},
        Row{"0x7f.0.0.0x1", Ip(127, 0, 0, 1)}, Row{"1.2.3.4 and more", Ip(1, 2, 3, 4)}}) {
    SCOPED_TRACE(row.text);
    std::uint32_t addr = 1;
    EXPECT_EQ(Cpsip_SOC_StringToAddress(row.text, addr), 0);
    EXPECT_EQ(addr, htonl(row.ip));
  }
}

TEST(StringToAddress, RefusesOthersAndLeavesTheAddress) {
  const std::string long_text(10'000, '1');
  for (const std::string& text :
       {std::string{"255.255.255.255"}, std::string{"0xffffffff"}, std::string{}, std::string{"256.1.1.1"},
        std::string{"1.2.3.4.5"}, std::string{"1.2.3."}, std::string{".1.2.3.4"}, std::string{"1..2.3"},
        std::string{" 1.2.3.4"}, std::string{"1.2.3.4x"}, std::string{"1.2.3.4:5060"}, std::string{"-1"},
        std::string{"desk-1.example"}, std::string{"::1"}, std::string{"[::1]"}, long_text}) {
    SCOPED_TRACE(text.substr(0, 40));
    std::uint32_t addr = 0x01020304;
    EXPECT_EQ(Cpsip_SOC_StringToAddress(text, addr), -1);
    EXPECT_EQ(addr, 0x01020304U);
  }
}

TEST(StringToAddress, ReadsNoFurtherThanTheText) {
  const std::string_view line = "10.20.30.405060";
  std::uint32_t addr = 0;
  EXPECT_EQ(Cpsip_SOC_StringToAddress(line.substr(0, 11), addr), 0);
  EXPECT_EQ(addr, htonl(Ip(10, 20, 30, 40)));
  EXPECT_EQ(Cpsip_SOC_StringToAddress(std::string_view{}, addr), -1);
}

TEST(AddressToString, WritesDottedTextWithItsNul) {
  struct Row {
    std::uint32_t ip;
    const char* text;
  };
  for (const Row& row : {Row{0, "0.0.0.0"}, Row{Ip(127, 0, 0, 1), "127.0.0.1"},
                         Row{Ip(10, 20, 30, 40), "10.20.30.40"}, Row{0xFFFFFFFF, "255.255.255.255"}}) {
    SCOPED_TRACE(row.text);
    const std::string_view text = row.text;
    std::vector<char> room(text.size() + 1, '~');
    EXPECT_EQ(Cpsip_SOC_AddressToString(htonl(row.ip), room), 0);
    EXPECT_STREQ(room.data(), row.text);
    cpsip_address_text usual{};
    EXPECT_EQ(Cpsip_SOC_AddressToString(htonl(row.ip), usual), 0);
    EXPECT_STREQ(usual.data(), row.text);
  }
}

TEST(AddressToString, RefusesASmallRoom) {
  for (const std::size_t size : {0U, 1U, 5U, 9U}) {
    SCOPED_TRACE(size);
    std::vector<char> room(size);
    EXPECT_EQ(Cpsip_SOC_AddressToString(htonl(Ip(127, 0, 0, 1)), room), -1);
  }
}

TEST(ByteToAscii, WritesEveryByteInDecimal) {
  for (unsigned value = 0; value <= 255; ++value) {
    EXPECT_EQ(
        Written(4, [&](std::span<char> out) { return ByteToAscii(out, static_cast<std::uint8_t>(value)); }),
        std::to_string(value));
  }
}

TEST(WordToAscii, WritesEveryWordInDecimal) {
  for (unsigned value = 0; value <= 65535; ++value) {
    ASSERT_EQ(
        Written(6, [&](std::span<char> out) { return WordToAscii(out, static_cast<std::uint16_t>(value)); }),
        std::to_string(value));
  }
}

std::string ToString(std::uint32_t ip, std::uint16_t port) {
  return Written(kAddressTextSize, [&](std::span<char> out) { return IPToString(out, ip, port); });
}

TEST(IPToString, WritesTheAddressAndItsPort) {
  struct Row {
    std::uint32_t ip;
    std::uint16_t port;
    const char* text;
  };
  for (const Row& row :
       {Row{Ip(192, 168, 0, 7), 5060, "192.168.0.7:5060"}, Row{Ip(192, 168, 0, 7), 0, "192.168.0.7"},
        Row{Ip(0, 0, 0, 1), 1, "0.0.0.1:1"}, Row{Ip(100, 0, 10, 0), 10, "100.0.10.0:10"},
        Row{0xFFFFFFFF, 65535, "255.255.255.255:65535"}}) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(ToString(row.ip, row.port), row.text);
  }
}

TEST(IPToString, NoAddressIsTheEmptyText) {
  EXPECT_EQ(ToString(0, 0), "");
  EXPECT_EQ(ToString(0, 5060), "") << "a port alone says nothing";
}

// What is there before a text is read.
constexpr std::uint32_t kAddrBefore = 0xDEADBEEF;
constexpr std::uint16_t kPortBefore = 4711;

struct TextRow {
  const char* text;
  std::uint32_t addr;
  std::uint16_t port;
};

void ExpectReads(const TextRow& row) {
  SCOPED_TRACE(row.text);
  std::uint32_t addr = kAddrBefore;
  std::uint16_t port = kPortBefore;
  EXPECT_EQ(StringToIP(row.text, &addr, &port), 1);
  EXPECT_EQ(addr, row.addr);
  EXPECT_EQ(port, row.port);
}

void ExpectRefuses(std::string_view text) {
  SCOPED_TRACE(text);
  std::uint32_t addr = kAddrBefore;
  std::uint16_t port = kPortBefore;
  EXPECT_EQ(StringToIP(text, &addr, &port), 0);
  EXPECT_EQ(addr, kAddrBefore);
  EXPECT_EQ(port, kPortBefore);
  EXPECT_EQ(StringToIP(text, nullptr, nullptr), 0);
}

TEST(StringToIP, ReadsAnAddressWithItsPort) {
  for (const TextRow& row :
       {TextRow{"192.168.0.7:5060", Ip(192, 168, 0, 7), 5060}, TextRow{"0.0.0.0:0", 0, 0},
        TextRow{"255.255.255.255:65535", 0xFFFFFFFF, 65535},
        TextRow{"010.009.08.1:00080", Ip(10, 9, 8, 1), 80}, TextRow{"1.2.3.4:", Ip(1, 2, 3, 4), 0}})
    ExpectReads(row);
}

TEST(StringToIP, LeavesThePortOfATextThatEndsInTheFourthPart) {
  ExpectReads({"192.168.0.7", Ip(192, 168, 0, 7), kPortBefore});
  ExpectReads({"0.0.0.0", 0, kPortBefore});
  ExpectReads({"255.255.255.255", 0xFFFFFFFF, kPortBefore});
  ExpectReads({"1.2.3.", Ip(1, 2, 3, 0), kPortBefore});
}

TEST(StringToIP, TakesABareNumberAsAPort) {
  for (const TextRow& row : {TextRow{"5060", kAddrBefore, 5060}, TextRow{"0", kAddrBefore, 0},
                             TextRow{"256", kAddrBefore, 256}, TextRow{"65535", kAddrBefore, 65535},
                             TextRow{"0000005060", kAddrBefore, 5060}, TextRow{"", kAddrBefore, 0}})
    ExpectReads(row);
}

TEST(StringToIP, TakesPartsThatAreNotToldAs0) {
  ExpectReads({"10.1", Ip(10, 1, 0, 0), kPortBefore});
  ExpectReads({"10.1.2", Ip(10, 1, 2, 0), kPortBefore});
  ExpectReads({"10.1.2:5060", Ip(10, 1, 2, 0), 5060});
  ExpectReads({"10:5060", Ip(10, 0, 0, 0), 5060});
  ExpectReads({":5060", 0, 5060});
  ExpectReads({"..1.:5", Ip(0, 0, 1, 0), 5});
}

TEST(StringToIP, SkipsOtherCharacters) {
  ExpectReads({" 192.168.0.7 : 5060 ", Ip(192, 168, 0, 7), 5060});
  ExpectReads({"1x2.3-4.5\xFF.6/", Ip(12, 34, 5, 6), kPortBefore});
  ExpectReads({"port 5060", kAddrBefore, 5060});
  ExpectReads({"desk", kAddrBefore, 0});
}

TEST(StringToIP, RefusesPartsAbove255) {
  for (const char* const text : {"256.1.1.1", "1.256.1.1", "1.1.256.1", "1.1.1.256", "1.1.1.256:5060",
                                 "1.1.1.99999999999999999999", "256:5060", "4294967297.1.1.1"})
    ExpectRefuses(text);
}

TEST(StringToIP, RefusesAFifthPart) {
  for (const char* const text :
       {"1.2.3.4.5", "1.2.3.4.", "1.2.3.4.5:5060", "1.2.3.4:5.6", "1.2.3.4:5:6", "10:5.6"})
    ExpectRefuses(text);
}

TEST(StringToIP, RefusesPortsAbove65535) {
  for (const char* const text :
       {"65536", "70000", "1.2.3.4:65536", "1.2.3.4:4294967296", "18446744073709551617", "655350"})
    ExpectRefuses(text);
}

TEST(StringToIP, EitherMayBeUnwanted) {
  std::uint32_t addr = 0;
  std::uint16_t port = 0;
  EXPECT_EQ(StringToIP("1.2.3.4:5", &addr, nullptr), 1);
  EXPECT_EQ(addr, Ip(1, 2, 3, 4));
  EXPECT_EQ(StringToIP("1.2.3.4:5", nullptr, &port), 1);
  EXPECT_EQ(port, 5);
  EXPECT_EQ(StringToIP("1.2.3.4:5", nullptr, nullptr), 1);
  EXPECT_EQ(StringToIP("5", nullptr, nullptr), 1);
}

TEST(StringToIP, ReadsWhatIPToStringWrites) {
  std::uint32_t seed = 1;
  for (int row = 0; row != 10'000; ++row) {
    seed = seed * 1664525 + 1013904223;
    const std::uint32_t ip = seed;
    const auto port = static_cast<std::uint16_t>(row % 3 == 0 ? 0 : seed >> 7U);
    if (ip == 0) continue;
    const std::string text = ToString(ip, port);
    std::uint32_t addr = 0;
    std::uint16_t read = 0;
    ASSERT_EQ(StringToIP(text, &addr, &read), 1) << text;
    ASSERT_EQ(addr, ip) << text;
    ASSERT_EQ(read, port) << text;
  }
}

}  // namespace
}  // namespace hark::test
