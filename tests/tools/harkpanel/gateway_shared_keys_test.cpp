// Calls that would stay up though nobody holds a key: where the station's answer to a release depends on what
// others have done since the press. And names that a page cannot say as the station has them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tools/harkpanel/gateway_rig.h"

namespace hark::test {
namespace {

using panel_gateway::GatewayOptions;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::uint32_t kLatch = 200;  // of kSettings
constexpr char kDesk[] = "event HARKUI#web.DISP#KLAA TEXT=\"Desk\"";
constexpr char kLobby[] = "event HARKUI#web.DISP#KLAA TEXT=\"Lobby\"";

class SharedPanel : public GatewayTest {
 protected:
  SharedPanel() {
    StationUp();
    one = Join();
    two = Join();
    KeepAlive(one);
    KeepAlive(two);
    (void)StationLines();
  }
  void CallerIs(const std::string& label) {
    StationSays("set HARKUI#web.DISP#KLAA TEXT=\"" + label + "\", ALT=\"\"");
  }
  BrowserId one = 0;
  BrowserId two = 0;
};

// What the station takes the last release for: the time since the last press of any key.
std::uint32_t as_station_reckons(const std::vector<KeyLine>& keys) {
  std::uint32_t pressed = 0;
  std::uint32_t length = 0;
  for (const KeyLine& key : keys) {
    if (key.down) pressed = key.t;
    if (!key.down) length = key.t - pressed;
  }
  return length;
}

TEST_F(SharedPanel, HeldKeyIsNoTapThoughAnotherKeyHasJustBeenPressed) {
  struct Row {
    Ms held;   // when the other browser presses
    Ms after;  // from then to the release
    bool tap;
  };
  for (const Row& row : {Row{10'000, 50, false}, Row{250, 0, false}, Row{150, 50, false}, Row{150, 49, true},
                         Row{50, 100, true}, Row{3'000, 400, false}}) {
    SCOPED_TRACE(testing::Message() << row.held << " ms alone, " << row.after << " ms beside another");
    const Ms began = now;
    KeyDown(one, "KL01", 0);
    AdvanceMs(row.held);
    KeyDown(two, "KL02", 0);
    now += row.after;
    KeyUp(one, "KL01", static_cast<double>(now - began));
    EXPECT_EQ(as_station_reckons(Keys()) < kLatch, row.tap);
    AdvanceMs(1'000);
    KeyUp(two, "KL02", 2'000);
    (void)Keys();
    AdvanceMs(20'000);
  }
}

TEST_F(SharedPanel, HeldKeyIsNoTapBehindPressesWhoseTimesHaveRunAhead) {
  KeyDown(one, "KL01", 0);
  AdvanceMs(1'000);
  // Messages that were long under way: the station is told a time that is yet to come.
  KeyDown(two, "KL02", 0);
  KeyUp(two, "KL02", 10'000);
  KeyDown(two, "KL03", 20'000);
  AdvanceMs(2'000);
  KeyUp(one, "KL01", 3'000);
  EXPECT_GE(as_station_reckons(Keys()), kLatch);
}

TEST_F(SharedPanel, ReleaseOfAnAutoAnswerKeyEndsTheCallThatItsPressBegan) {
  for (const std::string key : {"KLAA", "KTAA", "KXAA"}) {
    SCOPED_TRACE(key);
    CallerIs("Desk");
    KeyDown(one, key, 0);
    CallerIs("Lobby");  // rings meanwhile
    (void)StationLines();
    AdvanceMs(1'000);
    KeyUp(one, key, 1'000);
    const Lines lines = StationLines();
    ASSERT_THAT(lines, SizeIs(3));
    EXPECT_EQ(lines[0], kDesk);
    EXPECT_TRUE(read_key_line(lines[1]).has_value());
    EXPECT_EQ(lines[2], kLobby);
    AdvanceMs(1'000);
  }
}

TEST_F(SharedPanel, CallerWhoIsChosenUnderAHeldKeyIsChosenAfterItToo) {
  CallerIs("Desk");
  KeyDown(one, "KLAA", 0);
  Say(two, {{"t", "caller"}, {"label", "Lobby"}});
  EXPECT_THAT(StationLines(), Contains(kLobby));
  Close(one);
  const Lines lines = StationLines();
  ASSERT_THAT(lines, SizeIs(3));
  EXPECT_EQ(lines[0], kDesk);
  EXPECT_EQ(lines[2], kLobby);
}

TEST_F(SharedPanel, CallerThatStaysIsNotSentAgain) {
  CallerIs("Desk");
  KeyDown(one, "KLAA", 0);
  (void)StationLines();
  CallerIs("Desk");
  KeyUp(one, "KLAA", 1'000);
  EXPECT_THAT(StationLines(), SizeIs(1));
}

// In that mode the release would assign the key, and end no call.
TEST_F(SharedPanel, KeysAreNotAssignedWhileOneOfThemIsHeld) {
  for (const std::string key : {"KL01", "KT02", "KX03", "KLAA", "KTAA"}) {
    SCOPED_TRACE(key);
    KeyDown(one, key, 0);
    (void)Keys();
    (void)Told(two);
    KeyDown(two, "ASGN", 0);
    EXPECT_THAT(Keys(), IsEmpty());
    const std::vector<Json> told = Told(two, "released");
    ASSERT_THAT(told, SizeIs(1));
    EXPECT_EQ(told.front(), (Json{{"t", "released"}, {"keys", {"ASGN"}}, {"why", "held"}}));
    KeyUp(one, key, 1'000);
    (void)Keys();
    KeyDown(two, "ASGN", 0);
    EXPECT_THAT(Keys(), SizeIs(1));
    KeyUp(two, "ASGN", 90);
    (void)Keys();
  }
}

TEST_F(SharedPanel, AssigningCanBeGivenUpWhateverIsHeld) {
  StationSays("set HARKUI#web.BUT#ASGN IND=Flash");
  KeyDown(one, "KL01", 0);
  (void)Keys();
  KeyDown(two, "ASGN", 0);
  EXPECT_THAT(Keys(), SizeIs(1));
}

TEST_F(SharedPanel, FunctionKeysDoNotStandInTheWayOfAssigning) {
  for (const std::string key : {"TGRP", "MICM", "SPKM"}) {
    SCOPED_TRACE(key);
    KeyDown(one, key, 0);
    (void)Keys();
    KeyDown(two, "ASGN", 0);
    EXPECT_THAT(Keys(), SizeIs(1));
    KeyUp(two, "ASGN", 90);
    KeyUp(one, key, 90);
    (void)Keys();
  }
}

// The release would end the talk of the new shift's group.
TEST_F(SharedPanel, ShiftStaysWhileTheGroupKeyIsHeld) {
  KeyDown(one, "TGRP", 0);
  (void)StationLines();
  Say(two, {{"t", "shift"}, {"name", "Evening"}});
  EXPECT_THAT(StationLines(), IsEmpty());
  EXPECT_EQ(gateway->view().shifts().chosen(), "");
  Close(one);
  (void)StationLines();
  Say(two, {{"t", "shift"}, {"name", "Evening"}});
  EXPECT_THAT(StationLines(), ElementsAre("event HARKUI#web.SEL#SHIFT TEXT=\"Evening\""));
}

// A station hears nothing of keys that a panel does not have.
TEST_F(SharedPanel, NextStartLetsGoOfKeysThatItDoesNotHaveItself) {
  const TempFolder folder;
  const std::string file = folder.file("held");
  write_file(file, "KL03\nKL15\nT=999000\n");
  GatewayOptions options;
  options.last_key = 10;
  Restart(options, file);
  StationUp();
  const Lines lines = StationLines();
  const std::vector<std::string> own{"attach HARKUI#web KEYS=\"1-10\" AANS:0", "HARK"};
  ASSERT_THAT(lines, SizeIs(8));
  EXPECT_EQ(lines[0], own[0]);
  EXPECT_EQ(lines[3], "attach HARKUI#web KEYS=\"1-90\" AANS:0");
  EXPECT_EQ(read_key_line(lines[4])->key, "KL03");
  EXPECT_EQ(read_key_line(lines[5])->key, "KL15");
  EXPECT_EQ(lines[6], own[0]);
  EXPECT_EQ(lines[7], own[1]);
  AdvanceMs(100);
  EXPECT_THAT(held_in(file), IsEmpty());
}

TEST_F(SharedPanel, NextStartAttachesOnceForKeysOfItsOwn) {
  const TempFolder folder;
  const std::string file = folder.file("held");
  write_file(file, "KL03\nKLAA\nTGRP\n");
  Restart({}, file);
  StationUp();
  const Lines lines = StationLines();
  EXPECT_EQ(
      std::count_if(lines.begin(), lines.end(), [](const auto& line) { return line.starts_with("attach"); }),
      1);
}

// The station cuts names at a byte, knows no encoding, and keeps blanks.
TEST_F(SharedPanel, ShiftThatAPageCannotSayIsFound) {
  struct Row {
    std::string name;  // in the file
    std::string said, sent;
  };
  const TempFolder folder;
  for (const Row& row :
       {Row{"Evening", "Evening", "Evening"}, Row{"Fr\xC3\xBCh", "Fr\xC3\xBCh", "Fr\xC3\xBCh"},
        Row{"Fr\xFCh", "Fr\xEF\xBF\xBDh", "Fr\xFCh"}, Row{"Wochenend\xC3\xA9", "Wochenend", "Wochenend\xC3"},
        Row{"Very long shift", "Very long", "Very long "}, Row{"Evening", "Eveni", "Eveni"}}) {
    SCOPED_TRACE(row.name);
    const std::string file = folder.file("harkch.conf");
    write_file(file, "SHIFT LABL:\"" + row.name + "\"\n\n");
    GatewayOptions options;
    options.channel_file = file;
    Restart(options);
    StationUp();
    const BrowserId browser = Join();
    AdvanceMs(50);
    (void)StationLines();
    Say(browser, {{"t", "shift"}, {"name", row.said}});
    EXPECT_THAT(StationLines(), ElementsAre("event HARKUI#web.SEL#SHIFT TEXT=\"" + row.sent + "\""));
    EXPECT_EQ(gateway->view().shifts().names().size(), row.said == "Eveni" ? 2U : 1U);
  }
}

TEST_F(SharedPanel, CallerWhomAPageCannotSayIsFound) {
  struct Row {
    std::string name;  // of the call
    std::string said, sent;
  };
  for (const Row& row : {Row{"Desk", "Desk", "Desk"},
                         Row{"K\xFC"
                             "che",
                             "K\xEF\xBF\xBD"
                             "che",
                             "K\xFC"
                             "che"},
                         Row{"Wochenend\xC3\xA9 live", "Wochenend", "Wochenend\xC3"},
                         Row{"Control room 1", "Control ro", "Control ro"}}) {
    SCOPED_TRACE(row.name);
    StationSays("CALL URL:\"\\\"" + row.name + "\\\" <quillnet:239.192.4.214>\" TALK:R");
    (void)StationLines();
    Say(one, {{"t", "caller"}, {"label", row.said}});
    EXPECT_THAT(StationLines(), ElementsAre("event HARKUI#web.DISP#KLAA TEXT=\"" + row.sent + "\""));
    StationSays("CALL URL:\"\\\"" + row.name + "\\\" <quillnet:239.192.4.214>\" TALK:0");
  }
}

}  // namespace
}  // namespace hark::test
