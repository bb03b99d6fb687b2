// The three spellings of an audio address: a dotted address, a channel number, and either behind "qns://".
#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <string>

#include "daemon/qnrlib/tagtext.h"

namespace hark {
namespace {

TEST(QnUrl2ip, ReadsAddressesAndChannels) {
  struct Row {
    const char* text;
    const char* ip;
    unsigned short port;
  };
  for (const Row& row :
       {Row{"qns://1234", "239.192.4.210", 5004}, Row{"1234", "239.192.4.210", 5004},
        Row{"1", "239.192.0.1", 5004}, Row{"256", "239.192.1.0", 5004}, Row{"65535", "239.192.255.255", 5004},
        Row{"0x4D2", "239.192.4.210", 5004}, Row{"010", "239.192.0.8", 5004},
        Row{"1234:6000", "239.192.4.210", 5004}, Row{"1.2.3.4", "1.2.3.4", 5004},
        Row{"1.2.3.4:5005", "1.2.3.4", 5005}, Row{"\"1.2.3.4:5005\"", "1.2.3.4", 5005},
        Row{"qns://1.2.3.4", "1.2.3.4", 5004}, Row{"qns://1.2.3.4:6", "1.2.3.4", 6},
        Row{"\"qns://77\"", "239.192.0.77", 5004}, Row{"239.192.255.4", "239.192.255.4", 5004},
        Row{"255.255.255.255", "255.255.255.255", 5004}}) {
    SCOPED_TRACE(row.text);
    unsigned short port = 1;
    EXPECT_EQ(qn_url2ip(row.text, &port), static_cast<unsigned long>(inet_addr(row.ip)));
    EXPECT_EQ(port, row.port);
    EXPECT_EQ(qn_url2ip(row.text, nullptr), static_cast<unsigned long>(inet_addr(row.ip)));
  }
}

TEST(QnUrl2ip, GivesNothingForWhatIsNeither) {
  for (const char* text : {"", "\"\"", "0", "0.1.2.3", "abc", "udp://1.2.3.4", "http://1234", "qns://",
                           "qns://x", "xqns://1", "://1", "1.2.3", "1.2", "1.", "1.2.3:5004", "1.2.3 4",
                           "1.2,3.4", "1.2.3.4;see=http://5", "\"\"1.2.3.4"}) {
    SCOPED_TRACE(text);
    unsigned short port = 1;
    EXPECT_EQ(qn_url2ip(text, &port), 0UL);
  }
  EXPECT_EQ(qn_url2ip(nullptr, nullptr), 0UL);
}

TEST(QnUrl2ip, EveryChannelHasAnAddressOfItsOwn) {
  for (unsigned channel = 1; channel <= 0xFFFF; ++channel) {
    ASSERT_EQ(ntohl(static_cast<in_addr_t>(qn_url2ip(std::to_string(channel).c_str(), nullptr))),
              0xEFC00000U | channel);
  }
}

TEST(QnUrl2ip, EveryDottedAddressReadsBack) {
  unsigned random = 99;
  for (int i = 0; i < 5000; ++i) {
    random = random * 1664525U + 1013904223U;
    const in_addr address{random | htonl(0x01000000)};  // the first number is not 0
    const std::string text = inet_ntoa(address);
    ASSERT_EQ(qn_url2ip(text.c_str(), nullptr), static_cast<unsigned long>(address.s_addr)) << text;
  }
}

}  // namespace
}  // namespace hark
