// The value of an `ifb` tag, with everything that can be wrong in it, and what qnrifb_set answers.
#include <arpa/inet.h>

#include "routing/ifb_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kNowhere = "127.0.0.1:1/7";

struct GoodRow {
  const char* text;
  const char* password;
  const char* ip;
  int port;
  int dst;
};
constexpr GoodRow kGood[] = {
    {"10.0.0.5/7", "", "10.0.0.5", 93, 7},
    {"10.0.0.5:94/7", "", "10.0.0.5", 94, 7},
    {"secret@10.0.0.5/7", "secret", "10.0.0.5", 93, 7},
    {"secret@10.0.0.5:94/7", "secret", "10.0.0.5", 94, 7},
    {"12345678@10.0.0.5/7", "12345678", "10.0.0.5", 93, 7},
    {"@10.0.0.5/7", "", "10.0.0.5", 93, 7},
    {"1.2.3.4@10.0.0.5/7", "1.2.3.4", "10.0.0.5", 93, 7},
    {"a:b@10.0.0.5/7", "a:b", "10.0.0.5", 93, 7},
    // Behind the first "/" an "@" is no end of a password.
    {"10.0.0.5/7@x", "", "10.0.0.5", 93, 7},
    {"10.0.0.5/7/8@x", "", "10.0.0.5", 93, 7},
    // Numbers in base 0.
    {"0x0a.0.0.0x5:0x5e/0x10", "", "10.0.0.5", 94, 16},
    {"012.00.0x0.05:0136/010", "", "10.0.0.5", 94, 8},
    {"0.0.0.0/1", "", "0.0.0.0", 93, 1},
    {"255.255.255.255:65535/1", "", "255.255.255.255", 65535, 1},
    // Kept: 65536 passes, and is port 0 in the address.
    {"10.0.0.5:65536/7", "", "10.0.0.5", 0, 7},
    {"10.0.0.5:0/7", "", "10.0.0.5", 0, 7},
    {"10.0.0.5/32767", "", "10.0.0.5", 93, 32767},
    {"10.0.0.5/100000", "", "10.0.0.5", 93, 100000},
};

TEST(ParseDaddr, TakesEveryForm) {
  for (const GoodRow& row : kGood) {
    SCOPED_TRACE(row.text);
    IfbAddress out;
    EXPECT_EQ(parse_daddr(row.text, out), 0);
    EXPECT_EQ(out.password, row.password);
    EXPECT_EQ(out.addr.sin_family, AF_INET);
    EXPECT_EQ(out.addr.sin_addr.s_addr, inet_addr(row.ip));
    EXPECT_EQ(ntohs(out.addr.sin_port), row.port);
    EXPECT_EQ(out.dst, row.dst);
  }
}

struct BadRow {
  const char* text;
  int code;
};
constexpr BadRow kBad[] = {
    // The first three parts: above 255, or no "." behind.
    {"", 1},
    {"x", 1},
    {"256.0.0.5/7", 1},
    {"-1.0.0.5/7", 1},
    {"99999999999999999999.0.0.5/7", 1},
    {"10/7", 1},
    {"10:94/7", 1},
    {"10,0.0.5/7", 1},
    {"pass/word@10.0.0.5/7", 1},
    {"10.256.0.5/7", 2},
    {"10.0/7", 2},
    {"10.0", 2},
    {"10.0 .0.5/7", 2},
    {"10.0.256.5/7", 3},
    {"10.0.0/7", 3},
    {"10.0.0", 3},
    {"10.0.0:94/7", 3},
    // The fourth: above 255, or neither "/" nor ":" behind.
    {"10.0.0.256/7", 4},
    {"10.0.0.5", 4},
    {"10.0.0.5.6/7", 4},
    {"10.0.0.5x/7", 4},
    {"10.0.0.5 /7", 4},
    // The port: above 65536, or no "/" behind.
    {"10.0.0.5:65537/7", 5},
    {"10.0.0.5:-1/7", 5},
    {"10.0.0.5:99999999999999999999/7", 5},
    {"10.0.0.5:94", 5},
    {"10.0.0.5:94 /7", 5},
    {"10.0.0.5:94:95/7", 5},
    {"10.0.0.5:094/7", 5},  // "0", and then what is no octal digit
    // The destination.
    {"10.0.0.5/", 6},
    {"10.0.0.5/0", 6},
    {"10.0.0.5/x", 6},
    {"10.0.0.5:94/0", 6},
    {"secret@10.0.0.5/0", 6},
    // The password.
    {"123456789@10.0.0.5/7", 10},
    {"a much longer password@10.0.0.5/7", 10},
    {"123456789@nonsense/0", 10},
};

TEST(ParseDaddr, TellsWhatIsWrong) {
  for (const BadRow& row : kBad) {
    SCOPED_TRACE(row.text);
    IfbAddress out;
    EXPECT_EQ(parse_daddr(row.text, out), row.code);
  }
}

using QnrifbSet = RemoteIfb;

TEST_F(QnrifbSet, TakesEveryPortAndNoOther) {
  for (const int port : {0, 1, 127}) {
    SCOPED_TRACE(port);
    EXPECT_EQ(qnrifb_set(port, kNowhere, kOurSource), 0);
    EXPECT_NE(Port(port).conn, nullptr);
  }
  for (const int port : {-1, 128, 129, 1'000'000, -1'000'000}) {
    SCOPED_TRACE(port);
    EXPECT_EQ(qnrifb_set(port, kNowhere, kOurSource), -1);
    EXPECT_EQ(qnrifb_set(port, nullptr, nullptr), -1);
    EXPECT_EQ(qnrifb_set(port, "", ""), -1);
  }
}

TEST_F(QnrifbSet, WithoutBothTextsOnlyClears) {
  struct Row {
    const char* url;
    const char* addr;
  };
  for (const Row& row : {Row{nullptr, kOurSource}, Row{"", kOurSource}, Row{kNowhere, nullptr},
                         Row{kNowhere, ""}, Row{nullptr, nullptr}, Row{"", ""}}) {
    SCOPED_TRACE(std::string(row.url != nullptr ? row.url : "null") + " " +
                 (row.addr != nullptr ? row.addr : "null"));
    EXPECT_EQ(qnrifb_set(5, row.url, row.addr), 0);
    EXPECT_EQ(Port(5).conn, nullptr);
    EXPECT_EQ(qnrifb_set(5, kNowhere, kOurSource), 0);
    EXPECT_NE(Port(5).conn, nullptr);
    EXPECT_EQ(qnrifb_set(5, row.url, row.addr), 0);
    EXPECT_EQ(Port(5).conn, nullptr);
  }
}

TEST_F(QnrifbSet, AddrOf60CharactersPassesAndIsCutWithItsTag) {
  EXPECT_EQ(qnrifb_set(0, kNowhere, std::string(60, 'x').c_str()), 0);
  EXPECT_EQ(Port(0).addr, std::string(59, 'x'));
  EXPECT_EQ(qnrifb_set(0, kNowhere, std::string(55, 'x').c_str()), 0);
  EXPECT_EQ(Port(0).addr, std::string(55, 'x') + " <^P");
  EXPECT_EQ(qnrifb_set(0, kNowhere, std::string(52, 'x').c_str()), 0);
  EXPECT_EQ(Port(0).addr, std::string(52, 'x') + " <^PTT>");
}

TEST_F(QnrifbSet, LongerAddrIsRefusedAndThePortIsClear) {
  EXPECT_EQ(qnrifb_set(0, kNowhere, kOurSource), 0);
  EXPECT_EQ(qnrifb_set(0, kNowhere, std::string(61, 'x').c_str()), -2);
  EXPECT_EQ(Port(0).conn, nullptr);
  EXPECT_EQ(qnrifb_set(0, "nonsense", std::string(61, 'x').c_str()), -2);
  EXPECT_EQ(LoggedCount("3 qnrifb_set"), 0);
}

TEST_F(QnrifbSet, UnreadableUrlIsLoggedAndThePortIsClear) {
  for (const BadRow& row : kBad) {
    if (row.text[0] == '\0') continue;
    SCOPED_TRACE(row.text);
    EXPECT_EQ(qnrifb_set(0, kNowhere, kOurSource), 0);
    logged.clear();
    EXPECT_EQ(qnrifb_set(0, row.text, kOurSource), -3);
    EXPECT_THAT(logged, ElementsAre(std::string("3 qnrifb_set parse error: ") + row.text));
    EXPECT_EQ(Port(0).conn, nullptr);
  }
}

TEST_F(QnrifbSet, PortHoldsWhatWasAskedFor) {
  EXPECT_EQ(qnrifb_set(3, "secret@127.0.0.1:1/7", kOurSource), 0);
  EXPECT_EQ(Port(3).dst, 7);
  EXPECT_EQ(Port(3).addr, kOurAddr);
  EXPECT_FALSE(Port(3).original.has_value());
  EXPECT_FALSE(Port(3).conflict);
  ASSERT_EQ(Port(3).conn, &qnrifb_cons.front());
  EXPECT_EQ(qnrifb_cons.front().password, "secret");
  EXPECT_THAT(qnrifb_cons.front().ports, ElementsAre(&Port(3)));
}

TEST_F(QnrifbSet, ClearingAFreePortDoesNothing) {
  Clear(0);
  Clear(127);
  EXPECT_THAT(qnrifb_cons, IsEmpty());
  EXPECT_THAT(logged, IsEmpty());
}

}  // namespace
}  // namespace hark
