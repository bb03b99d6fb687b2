// What the gateway knows of a station from its lines: labels, lamps, levels, calls, settings, and which parts
// of it have changed.
#include "tools/harkpanel/station_view.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/harkpanel/gateway_rig.h"

namespace hark::panel_gateway {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;
using testing::IsEmpty;

class StationViewTest : public testing::Test {
 protected:
  void Connect() {
    view.connecting();
    view.connected();
    view.receive(test::kSettings);
    (void)view.take_changes();
  }
  void Receive(std::initializer_list<const char*> lines) {
    for (const char* line : lines)
      view.receive(line);
  }

  std::string sent;
  StationView view{"web", 1, 3, true, ShiftNames(), [this](const char* text) { sent += text; }};
};

TEST_F(StationViewTest, BeginsWithNothingKnown) {
  EXPECT_EQ(view.link(), Link::kConnecting);
  EXPECT_EQ(view.why(), "");
  EXPECT_EQ(view.station_name(), "");
  EXPECT_EQ(view.id(), "web");
  EXPECT_EQ(view.first_key(), 1);
  EXPECT_EQ(view.nkeys(), 3);
  EXPECT_TRUE(view.offers_auto_answer());
  EXPECT_EQ(view.latch_ms(), 200U);
  for (int index = 0; index < 3; ++index) {
    const StationView::Channel channel = view.channel(index);
    EXPECT_EQ(channel.number, index + 1);
    EXPECT_EQ(channel.text, "");
    EXPECT_EQ(channel.talk, Lamp::kOff);
    EXPECT_EQ(channel.listen, Lamp::kOff);
    EXPECT_FALSE(channel.no_talk);
    EXPECT_EQ(channel.level, 0);
  }
  EXPECT_THAT(view.calls(), IsEmpty());
  EXPECT_EQ(sent, "") << "nothing is said before there is a connection";
}

TEST_F(StationViewTest, ConnectionAttachesThePanelAndAsksForCallsAndSettings) {
  view.connected();
  test::Lines lines;
  for (std::size_t at = 0; at < sent.size();) {
    const std::size_t end = sent.find('\n', at);
    ASSERT_NE(end, std::string::npos) << "a line without its end: " << sent;
    if (end > at) lines.push_back(sent.substr(at, end - at));
    at = end + 1;
  }
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines[0], "attach HARKUI#web KEYS=\"1-3\" AANS:1");
  EXPECT_THAT(sent, HasSubstr("HARK\n"));
  EXPECT_THAT(sent, HasSubstr("CALL"));
}

TEST_F(StationViewTest, SettingsGiveTheNameAndTheTimeOfATap) {
  view.connected();
  view.receive(test::kSettings);
  EXPECT_EQ(view.link(), Link::kUp);
  EXPECT_EQ(view.station_name(), "Studio A");
  EXPECT_EQ(view.latch_ms(), 200U);
  EXPECT_TRUE(view.take_changes().station);
  view.receive("HARK LABL:\"B \\\"2\\\"\" TRGL:4 LATCH:500");
  EXPECT_EQ(view.station_name(), "B \"2\"");
  EXPECT_EQ(view.latch_ms(), 500U);
  EXPECT_TRUE(view.take_changes().station);
  view.receive("HARK LABL:\"B\" LATCH:0");
  EXPECT_EQ(view.latch_ms(), 0U);
  view.receive("HARK LABL:\"B\" LATCH:-7");
  EXPECT_EQ(view.latch_ms(), 0U) << "no time is negative";
  view.receive("HARK LABL:\"B\" LATCH:2147483647");
  EXPECT_EQ(view.latch_ms(), 2147483647U);
}

TEST_F(StationViewTest, DisplaysGiveTextsAndFlags) {
  Connect();
  Receive({"set HARKUI#web.DISP#KL01 TEXT=\"Ext 1\", ALT=\"Gate \\\"one\\\"\", DFL=0",
           "set HARKUI#web.DISP#KL02 TEXT=\"News\", ALT=\"Newsroom\", DFL=3",
           "set HARKUI#web.DISP#KL03 TEXT=\"Feed\", ALT=\"\", DFL=9",
           "set HARKUI#web.DISP#KLAA TEXT=\"Desk\", ALT=\"d\""});
  EXPECT_EQ(view.channel(0).text, "Ext 1");
  EXPECT_EQ(view.channel(0).alt, "Gate \"one\"");
  EXPECT_FALSE(view.channel(0).no_talk);
  EXPECT_FALSE(view.channel(0).latched_listen);
  EXPECT_TRUE(view.channel(1).no_talk);
  EXPECT_EQ(view.channel(1).talk, Lamp::kWink) << "its level is above ours";
  EXPECT_EQ(view.channel(1).listen, Lamp::kOff);
  EXPECT_TRUE(view.channel(2).latched_listen);
  EXPECT_EQ(view.channel(2).talk, Lamp::kOff);
  EXPECT_EQ(view.auto_answer().text, "Desk");
  EXPECT_EQ(view.auto_answer().alt, "d");
  EXPECT_EQ(view.auto_answer().number, 0);
  const Parts changes = view.take_changes();
  EXPECT_THAT(changes.channels, ElementsAre(true, true, true));
  EXPECT_TRUE(changes.auto_answer);
  EXPECT_FALSE(changes.calls);
}

TEST_F(StationViewTest, LettersOfLampsMeanWhatPanelsShow) {
  struct Row {
    const char* word;
    Lamp lamp, talk_of_higher_level;
  };
  Connect();
  Receive({"set HARKUI#web.DISP#KL01 TEXT=\"Ext 1\", ALT=\"\", DFL=0",
           "set HARKUI#web.DISP#KL02 TEXT=\"News\", ALT=\"\", DFL=2"});
  for (const Row& row : {Row{"On", Lamp::kOn, Lamp::kOn}, Row{"Off", Lamp::kOff, Lamp::kWink},
                         Row{"Flash", Lamp::kFlash, Lamp::kFlash}, Row{"FLASH", Lamp::kFlash, Lamp::kFlash},
                         Row{"off", Lamp::kOff, Lamp::kWink}, Row{"R", Lamp::kFlash, Lamp::kFlash},
                         Row{"*", Lamp::kFlash, Lamp::kFlash}, Row{"Pulse", Lamp::kWink, Lamp::kWink}}) {
    SCOPED_TRACE(row.word);
    for (const char* key : {"KL01", "KT01", "KT02"})
      view.receive(std::string("set HARKUI#web.BUT#") + key + " IND=" + row.word);
    EXPECT_EQ(view.channel(0).listen, row.lamp);
    EXPECT_EQ(view.channel(0).talk, row.lamp);
    EXPECT_EQ(view.channel(1).talk, row.talk_of_higher_level);
    EXPECT_EQ(view.channel(1).listen, Lamp::kOff) << "only talk winks";
  }
}

TEST_F(StationViewTest, OnlyWhatHasChangedIsMarked) {
  Connect();
  Receive({"set HARKUI#web.BUT#KL02 IND=On"});
  Parts changes = view.take_changes();
  EXPECT_THAT(changes.channels, ElementsAre(false, true, false));
  EXPECT_FALSE(changes.function_keys || changes.auto_answer || changes.speaker || changes.station);
  Receive({"set HARKUI#web.BUT#KL02 IND=On"});
  EXPECT_FALSE(view.take_changes().any()) << "it was on already";
  Receive({"set HARKUI#web.BUT#MICM IND=On", "set HARKUI#web.BUT#TGRP IND=Flash"});
  changes = view.take_changes();
  EXPECT_TRUE(changes.function_keys);
  EXPECT_THAT(changes.channels, ElementsAre(false, false, false));
  EXPECT_EQ(view.function_key(kMicMute), Lamp::kOn);
  EXPECT_EQ(view.function_key(kSpeakerMute), Lamp::kOff);
  EXPECT_EQ(view.function_key(kGroupTalk), Lamp::kFlash);
  EXPECT_EQ(view.function_key(kAssign), Lamp::kOff);
  Receive({"set HARKUI#web.BUT#KTAA IND=Flash"});
  EXPECT_TRUE(view.take_changes().auto_answer);
  EXPECT_EQ(view.auto_answer().talk, Lamp::kFlash);
  EXPECT_EQ(view.auto_answer().listen, Lamp::kOff);
}

TEST_F(StationViewTest, FadersAndOutputsAreKnownAsTold) {
  Connect();
  Receive({"set HARKUI#web.FAD#SPKV gain=-60", "set HARKUI#web.FAD#KL03 gain=-125"});
  EXPECT_EQ(view.speaker_level(), -60);
  EXPECT_EQ(view.channel(2).level, -125);
  Parts changes = view.take_changes();
  EXPECT_TRUE(changes.speaker);
  EXPECT_THAT(changes.channels, ElementsAre(false, false, true));
  EXPECT_FALSE(view.talking());
  Receive({"SET Intercom talk=ON"});
  EXPECT_TRUE(view.talking());
  EXPECT_FALSE(view.listening());
  EXPECT_TRUE(view.take_changes().outputs);
  Receive({"SET Intercom listen=ON", "SET Intercom talk=OFF"});
  EXPECT_FALSE(view.talking());
  EXPECT_TRUE(view.listening());
}

TEST_F(StationViewTest, CallsAreKeptFromTheirReports) {
  Connect();
  Receive({"BEGIN", "CALL URL:\"\\\"Ext 1\\\" <quillnet:239.192.4.213>;trgl=4\" TALK:S",
           "CALL URL:\"hark:10.0.0.7\" LISTEN:R VOLUME:-60", "END"});
  EXPECT_THAT(view.calls(),
              ElementsAre(Field(&control::Call::name, "Ext 1"), Field(&control::Call::listen, 'R')));
  EXPECT_TRUE(view.take_changes().calls);
  EXPECT_TRUE(view.calls()[1].rings());
  Receive({"CALL URL:\"hark:10.0.0.7\" LISTEN:0"});
  EXPECT_THAT(view.calls(), ElementsAre(Field(&control::Call::name, "Ext 1")));
  EXPECT_TRUE(view.take_changes().calls);
}

TEST_F(StationViewTest, LostStationLeavesTextsAndPutsOutLamps) {
  Connect();
  Receive({"set HARKUI#web.DISP#KL01 TEXT=\"News\", ALT=\"n\", DFL=2", "set HARKUI#web.BUT#KL01 IND=On",
           "set HARKUI#web.BUT#KLAA IND=Flash", "set HARKUI#web.BUT#SPKM IND=On", "SET Intercom talk=ON",
           "BEGIN", "CALL URL:\"hark:10.0.0.7\" LISTEN:1", "END"});
  view.select_shift("Night");
  (void)view.take_changes();
  view.lost("closed by the station", 4000);
  EXPECT_EQ(view.link(), Link::kLost);
  EXPECT_EQ(view.why(), "closed by the station");
  EXPECT_EQ(view.retry_ms(), 4000);
  EXPECT_EQ(view.channel(0).text, "News");
  EXPECT_EQ(view.channel(0).alt, "n");
  EXPECT_EQ(view.channel(0).talk, Lamp::kOff) << "not even a wink";
  EXPECT_EQ(view.channel(0).listen, Lamp::kOff);
  EXPECT_EQ(view.auto_answer().listen, Lamp::kOff);
  EXPECT_EQ(view.function_key(kSpeakerMute), Lamp::kOff);
  EXPECT_FALSE(view.talking());
  EXPECT_THAT(view.calls(), IsEmpty());
  const Parts changes = view.take_changes();
  EXPECT_TRUE(changes.station);
  EXPECT_TRUE(changes.calls);
  EXPECT_THAT(changes.channels, Contains(true));
  view.connecting();
  view.connected();
  EXPECT_EQ(view.shifts().chosen(), "") << "it may have begun anew";
}

TEST_F(StationViewTest, TheStationsOwnErrorTellsWhyItWasLost) {
  struct Row {
    const char* line;
    const char* why;
  };
  for (const Row& row :
       {Row{"ERROR 2001 too many connections from host", "too many connections from this host"},
        Row{"ERROR 2000 server busy", "server busy"}}) {
    SCOPED_TRACE(row.line);
    view.connecting();
    view.connected();
    view.receive(row.line);
    view.lost("closed by the station", 1000);
    EXPECT_EQ(view.why(), row.why);
    // It is told of that connection only.
    view.connecting();
    view.lost("connection refused", 2000);
    EXPECT_EQ(view.why(), "connection refused");
    view.connecting();
    view.connected();
    view.receive(test::kSettings);
    view.lost("closed by the station", 1000);
    EXPECT_EQ(view.why(), "closed by the station");
  }
}

TEST_F(StationViewTest, LinesOfOthersAndGarbageChangeNothing) {
  Connect();
  Receive({"set HARKUI#web.DISP#KL01 TEXT=\"News\", ALT=\"\", DFL=0"});
  (void)view.take_changes();
  for (const std::string& line : {std::string(),
                                  std::string("garbage"),
                                  std::string("HARKUI#"),
                                  std::string("set HARKUI#web"),
                                  std::string("set HARKUI#web."),
                                  std::string("set HARKUI#web.DISP#"),
                                  std::string("set HARKUI#web.DISP#KL01"),
                                  std::string("set HARKUI#web.DISP#KL01 ALT=\"x\""),
                                  std::string("set HARKUI#web.BUT#KL01"),
                                  std::string("set HARKUI#web.BUT#KL"),
                                  std::string("set HARKUI#web.DISP#KL04 TEXT=\"x\""),
                                  std::string("set HARKUI#web.DISP#KL00 TEXT=\"x\""),
                                  std::string("set HARKUI#web.DISP#KL99 TEXT=\"x\""),
                                  std::string("set HARKUI#web.DISP#\xFF\xFF\xFF\xFF TEXT=\"x\""),
                                  std::string("set HARKUI#web.BUT#KL04 IND=On"),
                                  std::string("set HARKUI#web.FAD#KL04 gain=1"),
                                  std::string("set HARKUI#web.FAD#KL00 gain=1"),
                                  std::string("set HARKUI#web.FAD#SPKV"),
                                  std::string("set HARKUI#other.BUT#KL01 IND=On"),
                                  std::string("VER SVER:1"),
                                  std::string(1999, 'x'),
                                  std::string("\x01\x02\xFF\xFE")}) {
    SCOPED_TRACE(line);
    view.receive(line);
    EXPECT_EQ(view.channel(0).text, "News");
    EXPECT_EQ(view.channel(1).text, "");
    EXPECT_EQ(view.channel(2).text, "");
    EXPECT_EQ(view.channel(0).listen, Lamp::kOff);
    EXPECT_EQ(view.channel(0).level, 0);
    EXPECT_EQ(view.speaker_level(), 0);
    EXPECT_THAT(view.calls(), IsEmpty());
  }
}

TEST_F(StationViewTest, TextsAreCutAsPanelsCutThem) {
  Connect();
  view.receive("set HARKUI#web.DISP#KL01 TEXT=\"" + std::string(500, 'x') + "\", ALT=\"" +
               std::string(500, 'y') + "\"");
  EXPECT_EQ(view.channel(0).text, std::string(10, 'x'));
  EXPECT_EQ(view.channel(0).alt, std::string(10, 'y'));
}

TEST(StationViewParts, SetsOfPartsAreAdded) {
  Parts parts = Parts::all(2);
  EXPECT_TRUE(parts.any());
  EXPECT_TRUE(parts.station && parts.auto_answer && parts.function_keys && parts.speaker && parts.outputs &&
              parts.calls && parts.shifts);
  EXPECT_THAT(parts.channels, ElementsAre(true, true));
  Parts some;
  EXPECT_FALSE(some.any());
  some.channels = {false, false};
  EXPECT_FALSE(some.any());
  Parts other;
  other.channels = {false, true};
  some.add(other);
  EXPECT_TRUE(some.any());
  EXPECT_THAT(some.channels, ElementsAre(false, true));
  EXPECT_FALSE(some.calls);
  other = {};
  other.calls = true;
  some.add(other);
  EXPECT_TRUE(some.calls);
  EXPECT_THAT(some.channels, ElementsAre(false, true));
}

}  // namespace
}  // namespace hark::panel_gateway
