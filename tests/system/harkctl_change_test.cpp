// harkctl gpio and set on a real station.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "system/harkctl_fixture.h"

namespace hark::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::SizeIs;

class HarkctlChange : public HarkctlTest {};

TEST_F(HarkctlChange, AllContactsAreListedTheOutputsByName) {
  Start();
  EXPECT_THAT(OutLines({"gpio"}),
              testing::AllOf(SizeIs(18), Contains("GPI 9  hhhhh"), Contains("GPO 1  hhhhh  Main")));
  EXPECT_THAT(OutLines({"gpio", "GPI"}),
              testing::AllOf(SizeIs(9), testing::Each(testing::StartsWith("GPI "))));
  EXPECT_THAT(OutLines({"gpio", "gpo", "3"}), ElementsAre("GPO 3  hhhhh  Aux 2"));
  const Json json = OutJson({"gpio"});
  ASSERT_EQ(json.size(), 18U);
  EXPECT_EQ(json[10], Json::parse(R"({"port":"GPO","number":2,"states":"hhhhh","name":"Aux 1"})"));
}

TEST_F(HarkctlChange, ContactsAreSetPinByPin) {
  Start();
  EXPECT_EQ(Out({"gpio", "GPO", "3", "xLxxL"}), "GPO 3  hlhhl  Aux 2\n");
  EXPECT_EQ(Out({"gpio", "GPO", "3", "xh"}), "GPO 3  hhhhl  Aux 2\n");
  EXPECT_EQ(Out({"gpio", "GPI", "2", "lllll"}), "GPI 2  lllll\n");
  Client client = Connect();
  EXPECT_THAT(answers(client, "GPO 3"), ElementsAre("GPO 3 hhhhl"));
}

TEST_F(HarkctlChange, APulseEndsByItself) {
  Start();
  Client client = Connect();
  ASSERT_TRUE(client.ask("GPO 3", "GPO 3 hhhhh"));
  EXPECT_EQ(Run({"gpio", "GPO", "3", "Lxxxx", "--duration", "100"}).status, 0);
  EXPECT_TRUE(client.expect_line("GPO 3 Lhhhh"));
  EXPECT_TRUE(client.expect_line("GPO 3 Hhhhh"));
}

TEST_F(HarkctlChange, APortThatThereIsNotIsSaid) {
  Start();
  const struct {
    Words words;
    const char* complaint;
  } kRows[] = {{{"gpio", "GPI", "10"}, "the station has no GPI 10"},
               {{"gpio", "GPO", "0"}, "the station has no GPO 0"},
               {{"gpio", "GPO", "10", "Lxxxx"}, "the station has no GPO 10"},
               {{"gpio", "GPI", "0", "Lxxxx", "--json"}, "the station has no GPI 0"}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(testing::PrintToString(row.words));
    EXPECT_TRUE(complains(Run(row.words), 1, row.complaint));
  }
}

TEST_F(HarkctlChange, SettingsAreSetSavedAndShown) {
  StartReadyForCalls();
  EXPECT_THAT(OutLines({"set", "LABL=a \"b\" \\", "latch=100", "DIML=*", "AANS=1"}),
              ElementsAre(R"(LABL="a \"b\" \\")", "TRGL=4", "TRGLA=4", "DROPFLASH=5000", "DIML=-1000",
                          "LATCH=100", "EXTC=0", "AANS=1"));
  EXPECT_EQ(OutJson({"set", "LABL=STUDIO A", "AANS=-1", "TRGL=0"}),
            Json::parse(R"({"LABL":"STUDIO A","TRGL":4,"TRGLA":4,"DROPFLASH":5000,"DIML":-1000,
                            "LATCH":100,"EXTC":0,"AANS":-1})"));
  EXPECT_THAT(station.settings(), testing::HasSubstr("LATCH:100"));
}

TEST_F(HarkctlChange, OutputThatIsClosedIsNotSentToTheStation) {
  Start();
  // Without its own descriptor 1 the connection would have that number, and get what is meant for people.
  const std::string command = "exec " HARKCTL_BINARY " --timeout 30 gpio GPO 3 xL >&-";
  Program shell("bash", {"--norc", "-c", command}, Env());
  EXPECT_EQ(shell.WaitExit(), 0) << shell.Err();
  EXPECT_EQ(station.stdout_text().find("harkd < GPO 3  hlhhh"), std::string::npos) << station.stdout_text();
  EXPECT_EQ(Out({"gpio", "GPO", "3"}), "GPO 3  hlhhh  Aux 2\n");
}

TEST_F(HarkctlChange, WhatIsWrongIsRefusedBeforeAnythingIsSent) {
  Start();
  Client client = Connect();
  ASSERT_EQ(answers(client, "SUB HARK").size(), 1U);
  for (const Words& words : {Words{"set", "LATCH=1", "FOO=1"},
                             {"set", "LATCH=1", "DIML=loud"},
                             {"set", "LATCH"},
                             {"set", "LABL=much too long"},
                             {"set", "LATCH=1\r\nGPO 1 L"}}) {
    SCOPED_TRACE(testing::PrintToString(words));
    const Ended ended = Run(words);
    EXPECT_EQ(ended.status, 2) << ended;
    EXPECT_EQ(lines_of(ended.err).size(), 1U) << ended;
  }
  // Whoever subscribed would have been told.
  EXPECT_EQ(answers(client, "#"), Lines{});
}

}  // namespace
}  // namespace hark::test
