// Lines of a station as events.
#include "tools/harkctl/events.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace hark::ctl {
namespace {

TEST(Events, LinesBecomeText) {
  const struct {
    const char* line;
    const char* text;
  } kRows[] = {
      {"CALL URL:\"News <quillnet:1>\" TALK:R", "call News: talk rings in"},
      {"CALL URL:\"quillnet:1\" TALK:1 LISTEN:d", "call quillnet:1: talk on, listen dropped"},
      {"CALL URL:\"quillnet:1\" VOLUME:-125", "call quillnet:1: volume -12.5 dB"},
      {"HARK LABL:\"Studio A\" LATCH:200", "settings: LABL=\"Studio A\", LATCH=200, AANS=-1"},
      {"GPI 2 hLhhh", "contact GPI 2: hLhhh"},
      {"GPO 3 CMD:BLINK 3", "contact GPO 3: told CMD:BLINK 3"},
      {"CFG GPO 2 NAME:\"Door\" FUNC:1", "contact GPO 2: configured as NAME:\"Door\" FUNC:1"},
      {"add HARKUI#7.FP KEYS:\"1-20\" RADDR:\"a:1\"", "panel 7 came, keys 1-20, a:1"},
      {"remove HARKUI#7.FP KEYS:\"1-20\" RADDR:\"a:1\"", "panel 7 went, keys 1-20, a:1"},
      {"event HARKUI#7.BUT#KL01 KEY=DOWN", "key KL01 down, panel 7"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.line);
    const std::optional<Event> event = EventReader().read(row.line);
    ASSERT_TRUE(event.has_value());
    EXPECT_EQ(event->text, row.text);
  }
}

TEST(Events, LinesBecomeJson) {
  const struct {
    const char* line;
    const char* json;
  } kRows[] = {
      {"CALL URL:\"News <quillnet:1>\" TALK:R VOLUME:-5",
       R"({"event":"call","name":"News","url":"News <quillnet:1>","talk":"rings in","volume":-5})"},
      {"HARK LABL:\"A\" AANS:1",
       R"({"event":"settings","changed":["LABL","AANS"],"settings":{"LABL":"A","AANS":1}})"},
      {"GPI 2 hLhhh", R"({"event":"contact","port":"GPI","number":2,"states":"hlhhh"})"},
      {"GPO 3 CMD:X", R"({"event":"contact","port":"GPO","number":3,"command":"CMD:X"})"},
      {"CFG GPO 2 FUNC:1", R"({"event":"contact","port":"GPO","number":2,"configuration":"FUNC:1"})"},
      {"add HARKUI#7.FP KEYS:\"1-20\" RADDR:\"a:1\"",
       R"({"event":"panel","attached":true,"id":"7","keys":"1-20","address":"a:1"})"},
      {"event HARKUI#7.BUT#KL01 KEY=UP", R"({"event":"key","panel":"7","key":"KL01","to":"up"})"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.line);
    const std::optional<Event> event = EventReader().read(row.line);
    ASSERT_TRUE(event.has_value());
    EXPECT_EQ(event->json.dump(), row.json);
  }
}

TEST(Events, WhatIsNoNewsIsNoEvent) {
  EventReader reader;
  for (const char* line :
       {"", "BEGIN", "END", "VER SVER:1.3.6.4", "ERROR 1000 bad command", "SRC 1 RTPA:\"\"",
        "set HARKUI#7.BUT#KL01 IND=Off", "SET Intercom talk=ON", "CALL", "GPI x", "HARK"})
    EXPECT_FALSE(reader.read(line).has_value()) << line;
}

TEST(Events, APortWithAllPinsLowIsToldOnce) {
  // A station repeats such a port every 10 ms, with capital letters, as long as it stays so.
  EventReader reader;
  EXPECT_TRUE(reader.read("GPO 4 LLLLL").has_value());
  EXPECT_FALSE(reader.read("GPO 4 LLLLL").has_value());
  EXPECT_TRUE(reader.read("GPI 4 LLLLL").has_value());
  EXPECT_TRUE(reader.read("GPO 4 hLLLL").has_value());
  EXPECT_TRUE(reader.read("GPO 4 LLLLL").has_value());
}

TEST(Events, SettingsTellWhatChanged) {
  EventReader reader;
  reader.learn("HARK LABL:\"A\" LATCH:200 AANS:1");
  EXPECT_EQ(reader.read("HARK LABL:\"A\" LATCH:200 AANS:1")->text, "settings: as before");
  EXPECT_EQ(reader.read("HARK LABL:\"A\" LATCH:100 AANS:1")->text, "settings: LATCH=100");
  // -1 is not told
  EXPECT_EQ(reader.read("HARK LABL:\"A\" LATCH:100")->text, "settings: AANS=-1");
}

TEST(Events, AConnectionBeginsWithHowThingsStand) {
  EventReader reader;
  for (const char* line : {"HARK LABL:\"Studio A\" LATCH:200", "BEGIN", "GPI 1 hhhhh", "END", "BEGIN",
                           "CALL URL:\"News <quillnet:1>\" LISTEN:1 VOLUME:0", "END",
                           "add HARKUI#7.FP KEYS:\"1-20\" RADDR:\"a:1\""})
    reader.learn(line);
  EXPECT_EQ(reader.connected("h:1").text,
            "connected to Studio A (h:1); News: talk off, listen on at 0.0 dB; panel 7");
  EXPECT_EQ(reader.connected("h:1").json["calls"].size(), 1U);
  EXPECT_EQ(reader.connected("h:1").json["panels"].size(), 1U);
  reader.forget();
  EXPECT_EQ(reader.connected("h:1").json["calls"].size(), 0U);
}

TEST(Events, WhatOthersSayOfThemselvesIsFitForATerminal) {
  EventReader reader;
  for (const char* line : {"CALL URL:\"\x1b[2J <quillnet:1>\" TALK:1", "HARK LABL:\"\x1b[2J\"",
                           "GPO 3 CMD:\x1b[2J", "add HARKUI#\x1b KEYS:\"\x1b\" RADDR:\"\x1b\"",
                           "event HARKUI#\x1b.BUT#\x1b KEY=\x1b", "CFG GPO 2 NAME:\"\x1b\""}) {
    const std::optional<Event> event = reader.read(line);
    ASSERT_TRUE(event.has_value()) << line;
    EXPECT_EQ(event->text.find('\x1b'), std::string::npos) << event->text;
  }
  EXPECT_EQ(reader.connected("\x1b").text.find('\x1b'), std::string::npos);
  EXPECT_EQ(lost_event("h", "\x1b", 1, true).text.find('\x1b'), std::string::npos);
}

TEST(Events, ALossSaysWhyAndWhenAgain) {
  EXPECT_EQ(lost_event("h:1", "closed by the station", 1, true).text,
            "lost h:1: closed by the station; again in 1 s");
  EXPECT_EQ(lost_event("h:1", "connection refused", 16, false).text,
            "no station at h:1: connection refused; again in 16 s");
  EXPECT_EQ(lost_event("h:1", "no route", 2, true).json.dump(),
            R"({"event":"lost","station":"h:1","why":"no route","again":2})");
}

}  // namespace
}  // namespace hark::ctl
