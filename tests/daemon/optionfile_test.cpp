// The option file: its lines as a second command line, with the limits of its reader.
#include <arpa/inet.h>
#include <unistd.h>

#include "daemon/daemon_fixture.h"
#include "daemon/options.h"
#include "daemon/station/station.h"

namespace hark {
namespace {

using testing::ExitedWithCode;
using testing::HasSubstr;

class OptionFile : public DaemonTest {
 protected:
  void Load(const std::string& text) {
    folder.Write("harkd.conf", text);
    station.harkconfig_file = folder.File("harkd.conf");
    loadconfig();
  }
  void LoadAloud(const std::string& text) {
    (void)::dup2(STDERR_FILENO, STDOUT_FILENO);
    Load(text);
  }
};

TEST_F(OptionFile, MissingOneChangesNothing) {
  station.harkconfig_file = folder.File("none");
  loadconfig();
  EXPECT_EQ(station.sip_port, 5060);
}

TEST_F(OptionFile, EmptyOneChangesNothing) {
  Load("");
  EXPECT_EQ(station.sip_port, 5060);
}

TEST_F(OptionFile, EachLineIsAnOptionAndItsValue) {
  for (const char* text : {
           "sip_port 5070\n",
           "sip_port\t5070\n",
           "sip_port \t  \t5070\n",
           "sip_port 5070\r\n",
           "sip_port 5070\rignored\n",
           "\n\r\n# sip_port 1\n#\nsip_port 5070\n\n#sip_port 2\n",
           "debug \nsip_port 5070\ndebug\t\t\n",
           "sip_port 1\nsip_port 5070\n",
       }) {
    SCOPED_TRACE(text);
    station_reset();
    Load(text);
    EXPECT_EQ(station.sip_port, 5070);
  }
}

TEST_F(OptionFile, KnowsEveryOption) {
  Load(
      "debug \nsip_ip lo\nsip_ip 10.1.2.3\nsip_port 1\nctrl_port 2\nqnr_port 10.0.0.1:4011\nqnr_io 3-6,2\ni "
      "eth7\n");
  EXPECT_TRUE(station.dbg);
  EXPECT_EQ(station.ifa_name, "lo");
  EXPECT_STREQ(dotted(station.sip_ip).data(), "10.1.2.3");
  EXPECT_EQ(station.sip_port, 1);
  EXPECT_EQ(station.ctrl_port, 2);
  EXPECT_STREQ(dotted(station.harkd_qnrd_ipv4).data(), "10.0.0.1");
  EXPECT_EQ(station.harkd_qnrd_port, 4011);
  EXPECT_EQ(station.harkd_qnrd_io_min, 3);
  EXPECT_EQ(station.harkd_qnrd_io_max, 6);
  EXPECT_EQ(station.harkd_qnrd_io_src, 2);
  EXPECT_EQ(station.harkd_iface_name, "eth7");
}

TEST_F(OptionFile, BlanksInsideAValueBelongToIt) {
  Load("i two words \n");
  EXPECT_EQ(station.harkd_iface_name, "two words ");
}

TEST_F(OptionFile, LastLineMayLackItsEnd) {
  Load("sip_port 5070");
  EXPECT_EQ(station.sip_port, 5070);
}

TEST_F(OptionFile, LongestLineIsTakenWhole) {
  // 78 characters and the line end make the 79 that one read takes.
  const std::string name(76, 'n');
  Load("i " + name + "\nsip_port 5070\n");
  EXPECT_EQ(station.harkd_iface_name, name);
  EXPECT_EQ(station.sip_port, 5070);
}

TEST_F(OptionFile, TakesThirtyOneOptionsWithValues) {
  std::string text;
  for (int i = 1; i <= 40; ++i)
    text += "sip_port " + std::to_string(i) + "\n";
  Load(text);
  EXPECT_EQ(station.sip_port, 31);
}

TEST_F(OptionFile, LinesBeyondTheLastPlaceAreNotEvenRead) {
  std::string text;
  for (int i = 1; i <= 31; ++i)
    text += "sip_port " + std::to_string(i) + "\n";
  Load(text + "no such option\n");
  EXPECT_EQ(station.sip_port, 31);
}

using OptionFileDeathTest = OptionFile;

TEST_F(OptionFileDeathTest, BadLineEndsTheProcessWithTheUsage) {
  for (const char* text : {"no_such_option 1\n", "sip_port \n", "-sip_port 5070\n", "SIP_PORT 5070\n",
                           " sip_port 5070\n", "sip_port 5070\nx \n"}) {
    SCOPED_TRACE(text);
    EXPECT_EXIT(LoadAloud(text), ExitedWithCode(1), HasSubstr("\nusage: harkd [-debug] [-sip_ip]"));
  }
}

TEST_F(OptionFileDeathTest, RestOfALongLineIsALineOfItsOwn) {
  EXPECT_EXIT(LoadAloud("i " + std::string(150, 'n') + "\n"), ExitedWithCode(1),
              HasSubstr("\nusage: harkd "));
  EXPECT_EXIT(LoadAloud("#" + std::string(150, '.') + "\n"), ExitedWithCode(1), HasSubstr("\nusage: harkd "));
}

}  // namespace
}  // namespace hark
