// harkctl call and drop on a real station.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "system/harkctl_fixture.h"
#include "system/sip_station.h"

namespace hark::test {
namespace {

using testing::HasSubstr;

class HarkctlCall : public HarkctlTest {
 protected:
  void StartWithSources() {
    station.write_sources(
        "\"Ext 1\" <quillnet:239.192.4.213>;trgl=4;gpio=1;gpiol=1;gpiot=2\n"
        "News <quillnet:239.192.4.210>;trgl=6\n"
        "Long <quillnet:239.192.4.211>;trgl=6;label=" +
        std::string(50, 'x') + "\n");
    StartReadyForCalls();
  }
  [[nodiscard]] Json OneCall() const {
    const Json calls = OutJson({"calls"});
    EXPECT_EQ(calls.size(), 1U) << calls;
    return calls.empty() ? Json() : calls[0];
  }
  [[nodiscard]] bool CallsEnd() const {
    return wait_until([&] { return OutJson({"calls"}).empty(); }, 30'000);
  }
};

TEST_F(HarkctlCall, ANameOfTheFilesCallsWithItsWholeLine) {
  StartWithSources();
  EXPECT_EQ(Out({"call", "Ext 1"}), "Ext 1: talk on, listen on at 0.0 dB\n");
  EXPECT_EQ(OneCall()["url"], "\"Ext 1\" <quillnet:239.192.4.213>;trgl=4;gpio=1;gpiol=1;gpiot=2");
  // The pins of its line were told.
  EXPECT_EQ(Out({"gpio", "GPI", "2"}), "GPI 2  llhhh\n");
  EXPECT_EQ(Out({"drop", "Ext 1"}), "Ext 1: drops talk and listen\n");
  EXPECT_TRUE(CallsEnd());
}

TEST_F(HarkctlCall, DirectionsAreCalledAndDroppedOneByOne) {
  StartWithSources();
  EXPECT_EQ(Out({"call", "quillnet:239.192.4.210", "--listen"}),
            "quillnet:239.192.4.210: talk off, listen on at 0.0 dB\n");
  EXPECT_EQ(OneCall()["talk"], "off");
  EXPECT_EQ(OutJson({"call", "quillnet:239.192.4.210", "--talk"})["talk"], "seized");
  EXPECT_EQ(Out({"drop", "quillnet:239.192.4.210", "--listen"}), "quillnet:239.192.4.210: drops listen\n");
  EXPECT_TRUE(wait_until([&] { return OneCall()["listen"] == "off"; }, 30'000));
  EXPECT_EQ(OneCall()["talk"], "seized");
  const Json dropped = OutJson({"drop", "News", "--talk"});
  EXPECT_EQ(dropped["talk"], true);
  EXPECT_EQ(dropped["listen"], false);
  EXPECT_TRUE(CallsEnd());
}

TEST_F(HarkctlCall, WhatIsNotUpIsDroppedWithoutAComplaint) {
  StartWithSources();
  EXPECT_EQ(Out({"drop", "News"}), "News: was not up\n");
  EXPECT_EQ(Out({"drop", "hark:10.0.0.7", "--talk"}), "hark:10.0.0.7: was not up\n");
}

TEST_F(HarkctlCall, QuotesAndBackslashesInAUrlArriveAsTheyAre) {
  StartWithSources();
  const std::string url = R"("A, B" <quillnet:239.192.4.210>;label=Studio\032A)";
  EXPECT_EQ(Out({"call", url, "--listen"}), "A, B: talk off, listen on at 0.0 dB\n");
  EXPECT_EQ(OneCall()["url"], url);
  EXPECT_EQ(Out({"drop", "A, B"}), "A, B: drops listen\n");
  EXPECT_TRUE(CallsEnd());
}

TEST_F(HarkctlCall, WhatCannotBeCalledIsSaidWithTheReason) {
  StartWithSources();
  const struct {
    Words words;
    const char* complaint;
  } kRows[] = {
      {{"call", "phone:5551234"}, "cannot call phone:5551234: this is no address that it can call"},
      {{"call", "other:thing"}, "this is no address that it can call"},
      {{"call", "hark:studio-b", "--talk"}, "the address of a station must be a number"},
      {{"call", "Nobody"}, "no such name: Nobody"},
      {{"call", "news"}, "no such name: news"},
      {{"call", "Long"}, "longer than 79 bytes"},
      {{"drop", "Nobody"}, "no such name: Nobody"},
      {{"call", "\x1b[2J"}, "no such name: \\x1b[2J"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(testing::PrintToString(row.words));
    EXPECT_TRUE(complains(Run(row.words), 1, row.complaint));
  }
  EXPECT_EQ(Out({"calls"}), "no calls\n");
  // What the station thinks of the first three.
  ExpectLog("protocol unknown");
  ExpectLog("Invite could not be sent");
}

TEST_F(HarkctlCall, TheNinthListenLineFindsNone) {
  StartWithSources();
  for (int i = 1; i <= 8; ++i)
    EXPECT_THAT(Out({"call", "quillnet:239.192.5." + std::to_string(i), "--listen"}), HasSubstr("listen on"));
  EXPECT_TRUE(complains(Run({"call", "quillnet:239.192.5.9", "--listen"}), 1, "all its lines are in use"));
  ExpectLog("line alloc failed");
}

TEST_F(HarkctlCall, AStationWithoutASourceSaysSo) {
  Start();
  EXPECT_TRUE(complains(Run({"call", "hark:10.0.0.7"}), 1, "it does not know its own source yet"));
  ExpectLog("NULL service");
}

TEST_F(HarkctlCall, FilesOfThisMachineAreNotThoseOfAnother) {
  StartWithSources();
  // Another host's address: its name service is not asked, its files are not here.
  const Ended ended =
      RunHarkctl({"--station", "127.0.0.1:" + std::to_string(station.ctrl_port()), "call", "News"},
                 {{"HARK_ROOT", "/nonexistent"}});
  EXPECT_TRUE(complains(ended, 1, "no such name: News"));
}

class HarkctlStations : public SipTest {
 protected:
  static Ended At(const SipStation& station, const Words& words) {
    return RunHarkctl(words, {{"HARKCTL_STATION", "127.0.0.1:" + std::to_string(station.station.ctrl_port())},
                              {"HARK_ROOT", station.station.root().path()}});
  }
};

TEST_F(HarkctlStations, OneCallsTheOtherWhichAnswersByName) {
  EXPECT_EQ(At(a, {"call", b.url(), "--talk"}).status, 0);
  ASSERT_TRUE(a.shows(b, "TALK:r"));
  const Ended ringing = At(b, {"calls"});
  EXPECT_THAT(ringing.out, HasSubstr("listen rings in"));
  // The caller's name is known by its call.
  const Ended answer = At(b, {"call", "Main", "--listen"});
  EXPECT_EQ(answer.status, 0) << answer;
  ASSERT_TRUE(a.shows(b, "TALK:1"));
  ASSERT_TRUE(b.shows(a, "LISTEN:1"));
  const Ended drop = At(b, {"drop", a.url()});
  EXPECT_EQ(drop.out, "Main: drops listen\n");
  BothFree();
}

}  // namespace
}  // namespace hark::test
