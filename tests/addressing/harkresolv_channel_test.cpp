// What a resolved station can do: whether it can be told that we talk to it, and which channel its audio has.
#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <string>

#include "addressing/HarkResolv.h"
#include "resolver_files.h"

namespace hark {
namespace {

TEST(UrliGetTalkControl, OnlyASourceOfTheRoutingNetworkNeedsAWayToBeTold) {
  struct Row {
    const char* url;
    bool want;
  };
  for (const Row& row :
       {Row{"hark:10.0.0.1", true}, Row{"*hark:10.0.0.1", true}, Row{"sip:hark-talk@10.0.0.1", true},
        Row{"sip:bob@10.0.0.1", true}, Row{"phone:07", true}, Row{"\"Bob\" <phone:07>", true},
        Row{"nobody", true}, Row{"", true}, Row{"quillnet:239.192.0.1;gpio=1;gpiot=2", true},
        Row{"quillnet:239.192.0.1;gpiot=2;gpiol=3;gpio=1", true},
        Row{"\"Src\" <quillnet:239.192.0.1>;gpio=1;gpiot=2", true}, Row{"quillnet:239.192.0.1;qntb=1", true},
        Row{"quillnet:239.192.0.1;qntb=-1", true}, Row{"quillnet:239.192.0.1;ifb=10.0.0.7", true},
        Row{"quillnet:239.192.0.1;gpio=1;ifb=x", true},
        // And what cannot be told.
        Row{"quillnet:239.192.0.1", false}, Row{"quillnet:", false},
        Row{"\"Src\" <quillnet:239.192.0.1>;label=x", false}, Row{"quillnet:239.192.0.1;gpio=1", false},
        Row{"quillnet:239.192.0.1;gpiot=2", false}, Row{"quillnet:239.192.0.1;gpio=1;gpiol=2", false},
        Row{"quillnet:239.192.0.1;gpio=0;gpiot=2", false}, Row{"quillnet:239.192.0.1;qntb=0", false},
        Row{"quillnet:239.192.0.1;qntb=", false}, Row{"quillnet:239.192.0.1;ifb=", false},
        Row{"quillnet:239.192.0.1;ifb=;gpio=1", false}, Row{"quillnet:239.192.0.1;xifb=10.0.0.7", false}}) {
    SCOPED_TRACE(row.url);
    harkurl_info info;
    (void)harkurl_parse(row.url, &info);
    EXPECT_EQ(urli_get_talk_control(info), row.want);
  }
}

class QnChannel : public ResolverFiles {};

TEST_F(QnChannel, IsTheLowFifteenBitsOfTheAddressOfTheAudio) {
  const std::string addr63 = std::string(63 - 12, '0') + "357.192.0.11";  // 239 in base 8, whatever the zeros
  struct Row {
    std::string line;
    int want;
  };
  for (const Row& row :
       {Row{"Bob <hark:10.0.0.1>\n\trtpa 239.192.0.9\n", 9},
        Row{"Bob <hark:10.0.0.1>\n\trtpa 239.192.127.255\n", 0x7fff},
        Row{"Bob <hark:10.0.0.1>\n\trtpa 239.192.128.1\n", 1}, Row{"Bob <hark:10.0.0.1>\n", 0},
        Row{"Bob <quillnet:239.192.1.5>;gpio=1;gpiot=2\n", 0x105},
        Row{"\"Bob\" <quillnet:239.192.255.5>\n", 0x7f05},
        // The URL's own address goes before the line of detail.
        Row{"Bob <quillnet:239.192.0.5>\n\trtpa 239.192.0.9\n", 5},
        // An address is read when it is shorter than 64 characters.
        Row{"Bob <quillnet:" + addr63 + ">\n\trtpa 239.192.0.9\n", 11},
        Row{"Bob <quillnet:0" + addr63 + ">\n\trtpa 239.192.0.9\n", 9},
        Row{"Bob <phone:239.192.0.5>\n\trtpa 239.192.0.9\n", 9}}) {
    SCOPED_TRACE(row.line);
    Sources(row.line);
    EXPECT_EQ(Resolv2QnChannel("Bob"), row.want);
  }
}

TEST_F(QnChannel, UnreadableAddressHasAllBits) {
  Sources("Bob <quillnet:nothing>\n\trtpa 239.192.0.9\n");
  EXPECT_EQ(Resolv2QnChannel("Bob"), 0x7fff);
}

// The address ends at the ";" of the name, before it begins; that once ended the daemon.
TEST_F(QnChannel, SemicolonInTheNameLeavesNoAddress) {
  Sources("A;B <quillnet:239.192.0.7>\n");
  EXPECT_EQ(Resolv2QnChannel("A;B"), 0x7fff);
}

TEST_F(QnChannel, UnknownStationHasNone) {
  Sources("Bob <quillnet:239.192.0.5>\nLong <hark:10.0.0.1>;x=" + std::string(78, 'x') + "\n");
  for (const char* label : {"Eve", "bob", "Long", "", static_cast<const char*>(nullptr)}) {
    SCOPED_TRACE(label ? label : "null");
    EXPECT_EQ(Resolv2QnChannel(label), -1);
  }
}

TEST_F(QnChannel, TableOfTheLastRunIsAskedToo) {
  Table("Bob <hark:10.0.0.1>\n\trtpa 239.192.0.9\n");
  EXPECT_EQ(Resolv2QnChannel("Bob"), 9);
}

}  // namespace
}  // namespace hark
