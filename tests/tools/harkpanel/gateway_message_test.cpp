// Messages to browsers as JSON: always whole and valid, whatever texts a station gives.
#include "tools/harkpanel/gateway_message.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tools/harkpanel/gateway_rig.h"

namespace hark::panel_gateway {
namespace {

using test::Json;
using testing::SizeIs;

class MessageTest : public testing::Test {
 protected:
  MessageTest() {
    view.connecting();
    view.connected();
    view.receive(test::kSettings);
  }
  // The message; a failure when it is no JSON object in UTF-8.
  static Json Parsed(const std::string& text) {
    Json message = Json::parse(text, nullptr, false);
    EXPECT_TRUE(message.is_object()) << text;
    return message;
  }

  StationView view{"web", 1, 2, true, ShiftNames(), [](const char*) {}};
};

TEST_F(MessageTest, WelcomeTellsWhatThePanelIs) {
  EXPECT_EQ(Parsed(welcome_message(view)),
            Json::parse(R"({"t":"welcome","v":1,"id":"web","first":1,"last":2,"autoAnswer":true})"));
}

TEST_F(MessageTest, WholeStateHasAllSections) {
  view.receive("set HARKUI#web.DISP#KL01 TEXT=\"Ext 1\", ALT=\"Gate one\", DFL=0");
  view.receive("set HARKUI#web.BUT#KL01 IND=On");
  const Json state = Parsed(state_message(view, Parts::all(2)));
  EXPECT_EQ(state, Json::parse(R"({"t":"state",
      "station":{"link":"up","name":"Studio A","why":"","retryMs":0},
      "channels":[{"n":1,"text":"Ext 1","alt":"Gate one","listen":"on","talk":"off","noTalk":false,"level":0},
                  {"n":2,"text":"","alt":"","listen":"off","talk":"off","noTalk":false,"level":0}],
      "autoAnswer":{"text":"","alt":"","listen":"off","talk":"off"},
      "keys":{"TGRP":"off","ASGN":"off","SPKM":"off","MICM":"off"},
      "speaker":0,"outputs":{"talk":false,"listen":false},"calls":[],"shifts":{"names":[],"chosen":""}})"));
}

TEST_F(MessageTest, OnlyTheNamedPartsAreThere) {
  Parts parts;
  parts.speaker = true;
  EXPECT_EQ(Parsed(state_message(view, parts)), Json::parse(R"({"t":"state","speaker":0})"));
  parts = {};
  parts.channels = {false, true};
  const Json state = Parsed(state_message(view, parts));
  EXPECT_THAT(state["channels"], SizeIs(1));
  EXPECT_EQ(state["channels"][0]["n"], 2);
  EXPECT_EQ(state.size(), 2U);
}

TEST_F(MessageTest, ReleasedEchoAndRefusedAreAsTheProtocolHasThem) {
  EXPECT_EQ(Parsed(released_message({sig("KL01"), kGroupTalk}, "silent")),
            Json::parse(R"({"t":"released","keys":["KL01","TGRP"],"why":"silent"})"));
  EXPECT_EQ(Parsed(echo_message(17)), Json::parse(R"({"t":"echo","n":17})"));
  EXPECT_EQ(Parsed(echo_message(1.5))["n"], 1.5);
  EXPECT_EQ(Parsed(echo_message(-0.25))["n"], -0.25);
  EXPECT_EQ(Parsed(refused_message("wrong token")), Json::parse(R"({"t":"refused","why":"wrong token"})"));
}

TEST_F(MessageTest, EchoOfAnyNumberIsANumber) {
  for (const double number : {0.0, 9007199254740992.0, 1e308, -1e308, 5e-324}) {
    SCOPED_TRACE(number);
    const Json message = Parsed(echo_message(number));
    ASSERT_TRUE(message["n"].is_number());
    EXPECT_DOUBLE_EQ(message["n"].get<double>(), number);
  }
}

TEST_F(MessageTest, MarkupIsJustText) {
  view.receive("set HARKUI#web.DISP#KL01 TEXT=\"<b>&amp;'\", ALT=\"\\\"\\\\</scr\", DFL=0");
  const Json state = Parsed(state_message(view, Parts::all(2)));
  EXPECT_EQ(state["channels"][0]["text"], "<b>&amp;'");
  EXPECT_EQ(state["channels"][0]["alt"], "\"\\</scr");
}

TEST_F(MessageTest, TextsThatAreNoUtf8StillMakeValidMessages) {
  for (const std::string& bytes :
       {std::string("M\xFCller"), std::string("\xFF\xFE"), std::string("\xC3"), std::string("\xED\xA0\x80"),
        std::string("a\x01\x1F\x7F"), std::string("123456789\xC3\xA4")}) {
    SCOPED_TRACE(bytes);
    view.receive("set HARKUI#web.DISP#KL01 TEXT=\"" + bytes + "\", ALT=\"" + bytes + "\", DFL=0");
    view.receive("set HARKUI#web.DISP#KLAA TEXT=\"" + bytes + "\", ALT=\"" + bytes + "\"");
    view.receive("HARK LABL:\"" + bytes + "\" LATCH:200");
    view.receive("CALL URL:\"hark:" + bytes + "\" LISTEN:1");
    view.receive("CALL URL:\"\\\"" + bytes + "\\\" <hark:10.0.0.7>\" TALK:1");
    view.select_shift(bytes);
    const Json state = Parsed(state_message(view, Parts::all(2)));
    EXPECT_TRUE(state["channels"][0]["text"].is_string());
  }
  view.lost("\xFF\xFE", 1000);
  EXPECT_TRUE(Parsed(state_message(view, Parts::all(2)))["station"]["why"].is_string());
}

TEST_F(MessageTest, LinkIsToldByAWord) {
  Parts station;
  station.station = true;
  view.lost("connection refused", 4000);
  EXPECT_EQ(Parsed(state_message(view, station))["station"],
            Json::parse(R"({"link":"lost","name":"Studio A","why":"connection refused","retryMs":4000})"));
  view.connecting();
  EXPECT_EQ(Parsed(state_message(view, station))["station"]["link"], "connecting");
}

}  // namespace
}  // namespace hark::panel_gateway
