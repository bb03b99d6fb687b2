// Addresses of a station as people write them.
#include "tools/control/station_address.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>

namespace hark::test {
namespace {

using control::HostPort;
using control::is_loopback;
using control::kControlPort;
using control::parse_host_port;
using control::to_text;

TEST(StationAddress, HostAndPortAreReadAndWritten) {
  struct Row {
    std::string_view text;
    HostPort address;
    std::string written;
  };
  const Row rows[] = {
      {"studio-a", {"studio-a", 4013}, "studio-a:4013"},
      {"10.0.0.7", {"10.0.0.7", 4013}, "10.0.0.7:4013"},
      {"10.0.0.7:1", {"10.0.0.7", 1}, "10.0.0.7:1"},
      {"studio-a.example:65535", {"studio-a.example", 65535}, "studio-a.example:65535"},
      {"localhost:08013", {"localhost", 8013}, "localhost:8013"},
      {"[::1]:8013", {"::1", 8013}, "[::1]:8013"},
      {"[fe80::1%eth0]", {"fe80::1%eth0", 4013}, "[fe80::1%eth0]:4013"},
      {"::1", {"::1", 4013}, "[::1]:4013"},
      {"2001:db8::7", {"2001:db8::7", 4013}, "[2001:db8::7]:4013"},
      {"[127.0.0.1]:80", {"127.0.0.1", 80}, "127.0.0.1:80"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    const std::optional<HostPort> address = parse_host_port(row.text, kControlPort);
    ASSERT_TRUE(address.has_value());
    EXPECT_EQ(address->host, row.address.host);
    EXPECT_EQ(address->port, row.address.port);
    EXPECT_EQ(to_text(*address), row.written);
    EXPECT_EQ(parse_host_port(row.written, 1), address);
  }
}

TEST(StationAddress, WhatIsNoAddressGivesNothing) {
  const std::string_view rows[] = {
      "",          ":",         ":4013",      "host:",      "host:0",   "host:65536", "host:99999999999",
      "host:-1",   "host:+1",   "host: 1",    "host:1 ",    "host:1x",  "host:0x10",  "a:b:c",
      "a:1:2",     "[::1",      "[::1:80",    "::1]",       "[]",       "[]:80",      "[::1]80",
      "[::1]:",    "[::1]:0",   "[::1]x:80",  "[[::1]]:80", "my host",  "my host:80", " host",
      "host\t:80", "ho\nst:80", "http://h:1", "\x7F:80",    "[a b]:80", "1::2::3:4",
  };
  for (const std::string_view text : rows) {
    SCOPED_TRACE(text);
    EXPECT_FALSE(parse_host_port(text, kControlPort).has_value());
  }
}

TEST(StationAddress, ANulInAHostIsNoHost) {
  using namespace std::string_view_literals;
  EXPECT_FALSE(parse_host_port("host\0x:80"sv, kControlPort).has_value());
  EXPECT_FALSE(parse_host_port("::1\0x"sv, kControlPort).has_value());
}

TEST(StationAddress, PortZeroIsReadWhereItIsAllowed) {
  EXPECT_EQ(parse_host_port("127.0.0.1:0", 8013, 0), (HostPort{"127.0.0.1", 0}));
  EXPECT_EQ(parse_host_port("127.0.0.1:1023", 8013, 1024), std::nullopt);
  EXPECT_EQ(parse_host_port("127.0.0.1:1024", 8013, 1024), (HostPort{"127.0.0.1", 1024}));
}

TEST(StationAddress, OnlyThisMachinesOwnNumbersAndNameAreLoopback) {
  for (const char* host : {"127.0.0.1", "127.0.0.0", "127.255.255.255", "127.1.2.3", "::1", "0:0:0:0:0:0:0:1",
                           "localhost", "LocalHost"}) {
    SCOPED_TRACE(host);
    EXPECT_TRUE(is_loopback(host));
  }
  for (const char* host :
       {"", "0.0.0.0", "128.0.0.1", "126.255.255.255", "10.0.0.1", "::", "::2", "[::1]", "127.1",
        "127.0.0.1.example", "127.0.0.1 ", "localhost.example", "localhos", "notlocalhost", "fe80::1"}) {
    SCOPED_TRACE(host);
    EXPECT_FALSE(is_loopback(host));
  }
}

}  // namespace
}  // namespace hark::test
