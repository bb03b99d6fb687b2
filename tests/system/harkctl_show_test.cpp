// harkctl status, calls and panels on a real station.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "system/harkctl_fixture.h"

namespace hark::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

class HarkctlShow : public HarkctlTest {};

TEST_F(HarkctlShow, StatusTellsWhatTheStationIs) {
  StartReadyForCalls();
  Client client = Connect();
  EXPECT_EQ(answers(client, "CALL URL:\"quillnet:239.192.4.213\" LISTEN:1"), Lines{});
  EXPECT_THAT(
      OutLines({"status"}),
      ElementsAre("name     STUDIO A", "station  127.0.0.1:" + std::to_string(station.ctrl_port()),
                  "level    4, on air 4", "version  1.3.6.4", StartsWith("host     "),
                  "source   239.192.0.1:5004 (Main)", "preview  none", "calls    1 up", "panels   0"));
}

TEST_F(HarkctlShow, StatusAsJsonHasNumbersAndNulls) {
  StartReadyForCalls();
  Json json = OutJson({"status"});
  EXPECT_FALSE(json["host"].get<std::string>().empty());
  json.erase("host");
  EXPECT_EQ(json, Json::parse(R"({"station":")" + Env()["HARKCTL_STATION"] +
                              R"(","name":"STUDIO A","settings":{"LABL":"STUDIO A","TRGL":4,"TRGLA":4,
                            "DROPFLASH":5000,"DIML":-240,"LATCH":200,"EXTC":0,"AANS":-1},
                            "version":"1.3.6.4","source":{"address":"239.192.0.1:5004","name":"Main"},
                            "preview":null,"calls":0,"ringing":0,"panels":0})"));
}

TEST_F(HarkctlShow, CallsThatRingComeFirst) {
  station.write_sources("Gate <quillnet:239.192.4.213>;trgl=4;gpio=1;gpiol=1\n");
  StartReadyForCalls();
  EXPECT_EQ(Out({"calls"}), "no calls\n");
  EXPECT_EQ(OutJson({"calls"}), Json::array());
  Client client = Connect();
  EXPECT_EQ(answers(client, "CALL URL:\"News <quillnet:239.192.4.210>\" LISTEN:1 VOLUME:-60 TALK:1"),
            Lines{});
  EXPECT_EQ(answers(client, "GPO 2 Lxxxx"), Lines{});
  EXPECT_THAT(OutLines({"calls"}),
              ElementsAre("Gate  talk off     listen rings in  0.0 dB   "
                          "Gate <quillnet:239.192.4.213>;trgl=4;gpio=1;gpiol=1",
                          "News  talk seized  listen on        -6.0 dB  News <quillnet:239.192.4.210>"));
  EXPECT_EQ(OutJson({"calls"}), Json::parse(R"([
      {"name":"Gate","url":"Gate <quillnet:239.192.4.213>;trgl=4;gpio=1;gpiol=1",
       "talk":"off","listen":"rings in","volume":0,"rings":true},
      {"name":"News","url":"News <quillnet:239.192.4.210>",
       "talk":"seized","listen":"on","volume":-60,"rings":false}])"));
  EXPECT_THAT(Out({"status"}), HasSubstr("calls    2 up, 1 of them ringing in\n"));
}

TEST_F(HarkctlShow, PanelsAreListed) {
  Start();
  EXPECT_EQ(Out({"panels"}), "no panels\n");
  Client first = Connect();
  Client second = Connect();
  ASSERT_TRUE(first.send_line("ATTACH HARKUI#7.FP KEYS:\"1-20\" AANS:0"));
  ASSERT_TRUE(second.send_line("ATTACH HARKUI#web.FP KEYS:\"1-2\" AANS:0"));
  let_it_settle(first);
  let_it_settle(second);
  EXPECT_THAT(OutLines({"panels"}), ElementsAre(StartsWith("7    keys 1-20  127.0.0.1:"),
                                                StartsWith("web  keys 1-2   127.0.0.1:")));
  const Json json = OutJson({"panels"});
  ASSERT_EQ(json.size(), 2U);
  EXPECT_EQ(json[1]["id"], "web");
  EXPECT_EQ(json[1]["keys"], "1-2");
  EXPECT_EQ(OutJson({"status"})["panels"], 2);
}

TEST_F(HarkctlShow, NamesFromTheNetworkDoNotReachTheTerminalRaw) {
  StartReadyForCalls();
  Client client = Connect();
  EXPECT_EQ(answers(client, "CALL URL:\"\x1b]0;x\x07 <quillnet:239.192.4.210>\" LISTEN:1"), Lines{});
  EXPECT_EQ(answers(client, "SRC 1 PSNM:\"\x1b[2J\""), Lines{});
  EXPECT_EQ(answers(client, "CALL URL:\"\x1b]0;x\x07 <quillnet:239.192.4.210>\" LISTEN:1"), Lines{});
  for (const char* command : {"calls", "status"}) {
    for (const Words& words : {Words{command}, Words{command, "--json"}}) {
      const std::string out = Out(words);
      EXPECT_EQ(out.find_first_of("\x1b\x07"), std::string::npos) << out;
    }
  }
  EXPECT_THAT(Out({"calls"}), HasSubstr("\\x1b]0;x\\x07"));
  EXPECT_THAT(Out({"status"}), HasSubstr("\\x1b[2J"));
}

}  // namespace
}  // namespace hark::test
