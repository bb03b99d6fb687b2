// What a browser says, read: each kind of message, and the ends of what its members may be.
#include "tools/harkpanel/browser_message.h"

#include <gtest/gtest.h>

#include <string>

namespace hark::panel_gateway {
namespace {

// The message of the kind, or what is wrong with it as a failure.
template <class Kind>
std::optional<Kind> Read(const std::string& text) {
  SCOPED_TRACE(text);
  const auto read = read_browser_message(text);
  if (const auto* bad = std::get_if<BadMessage>(&read)) {
    ADD_FAILURE() << "refused: " << bad->why;
    return std::nullopt;
  }
  const auto* message = std::get_if<Kind>(&std::get<BrowserMessage>(read));
  EXPECT_NE(message, nullptr) << "another kind of message";
  return message == nullptr ? std::nullopt : std::optional(*message);
}

TEST(BrowserMessage, HelloHasAVersionAndPerhapsAToken) {
  const auto plain = Read<Hello>(R"({"t":"hello","v":1})");
  ASSERT_TRUE(plain);
  EXPECT_EQ(plain->version, 1);
  EXPECT_EQ(plain->token, "");
  const auto with_token = Read<Hello>(R"({"token":"s\u00e9same \"1\"","v":1,"t":"hello"})");
  ASSERT_TRUE(with_token);
  EXPECT_EQ(with_token->token, "s\xC3\xA9same \"1\"");
}

TEST(BrowserMessage, KeyTellsWhenItWentDownAndUp) {
  struct Row {
    const char* text;
    Signature key;
    bool down;
    double at_ms;
    bool cancelled;
  };
  for (const Row& row : {
           Row{R"({"t":"key","key":"KL01","down":true,"at":123456.7})", sig("KL01"), true, 123456.7, false},
           Row{R"({"t":"key","key":"KL01","down":false,"at":123600})", sig("KL01"), false, 123600, false},
           Row{R"({"t":"key","key":"KL01","down":false,"at":1,"cancel":true})", sig("KL01"), false, 1, true},
           Row{R"({"t":"key","key":"KL01","down":false,"at":1,"cancel":false})", sig("KL01"), false, 1,
               false},
           Row{R"({"t":"key","key":"KT98","down":true,"at":0})", sig("KT98"), true, 0, false},
           Row{R"({"t":"key","key":"KX20","down":true,"at":0.001})", sig("KX20"), true, 0.001, false},
           Row{R"({"t":"key","key":"KLAA","down":true,"at":1e3})", sig("KLAA"), true, 1000, false},
           Row{R"({"t":"key","key":"TGRP","down":true,"at":9007199254740992})", sig("TGRP"), true,
               9007199254740992.0, false},
       }) {
    SCOPED_TRACE(row.text);
    const auto event = Read<KeyEvent>(row.text);
    ASSERT_TRUE(event);
    EXPECT_EQ(event->key, row.key);
    EXPECT_EQ(event->down, row.down);
    EXPECT_DOUBLE_EQ(event->at_ms, row.at_ms);
    EXPECT_EQ(event->cancelled, row.cancelled);
  }
}

TEST(BrowserMessage, FaderGoesToALevelOrByAStep) {
  struct Row {
    const char* text;
    Signature fader;
    std::optional<int> to, by;
  };
  for (const Row& row : {
           Row{R"({"t":"fader","key":"KL01","to":-120})", sig("KL01"), -120, {}},
           Row{R"({"t":"fader","key":"KL98","to":120})", sig("KL98"), 120, {}},
           Row{R"({"t":"fader","key":"SPKV","to":-1000})", sig("SPKV"), -1000, {}},
           Row{R"({"t":"fader","key":"SPKV","to":0})", sig("SPKV"), 0, {}},
           Row{R"({"t":"fader","key":"KL01","by":10})", sig("KL01"), {}, 10},
           Row{R"({"t":"fader","key":"KL01","by":-1000})", sig("KL01"), {}, -1000},
           Row{R"({"t":"fader","key":"SPKV","by":1000})", sig("SPKV"), {}, 1000},
       }) {
    SCOPED_TRACE(row.text);
    const auto move = Read<FaderMove>(row.text);
    ASSERT_TRUE(move);
    EXPECT_EQ(move->fader, row.fader);
    EXPECT_EQ(move->to, row.to);
    EXPECT_EQ(move->by, row.by);
  }
}

TEST(BrowserMessage, LabelsAreCountedInBytesAndKeptAsTheyAre) {
  for (const char* label : {"", "Desk", "Ten chars!", "<b>&\\'\"", "\xC3\xA4\xC3\xB6\xC3\xBC\xC3\xA4\xC3\xB6",
                            " blanks  ", "\xF0\x9F\x94\x94\xF0\x9F\x94\x94"}) {
    std::string escaped;
    for (const char* c = label; *c != '\0'; ++c)
      escaped += *c == '"' || *c == '\\' ? std::string("\\") + *c : std::string(1, *c);
    const auto caller = Read<ChooseCaller>(R"({"t":"caller","label":")" + escaped + "\"}");
    ASSERT_TRUE(caller);
    EXPECT_EQ(caller->label, label);
    if (*label == '\0') continue;  // a shift has a name
    const auto shift = Read<SelectShift>(R"({"t":"shift","name":")" + escaped + "\"}");
    ASSERT_TRUE(shift);
    EXPECT_EQ(shift->name, label);
  }
}

TEST(BrowserMessage, EchoCarriesANumberAndRetryNothing) {
  const auto echo = Read<Echo>(R"({"t":"echo","n":17})");
  ASSERT_TRUE(echo);
  EXPECT_DOUBLE_EQ(echo->number, 17);
  EXPECT_TRUE(Read<Retry>(R"({"t":"retry"})"));
}

TEST(BrowserMessage, BlanksAndUnknownMembersArePassedOver) {
  std::string deep = R"({"t":"retry","more":)";
  deep += std::string(300, '[') + std::string(300, ']') + "}";
  EXPECT_TRUE(Read<Retry>(deep));
  EXPECT_TRUE(Read<Retry>(" \t\r\n{ \"t\" : \"retry\" , \"a\" : {\"t\":\"key\"} } \n"));
  EXPECT_TRUE(Read<Echo>(R"({"t":"echo","n":1,"key":"KL01","down":5,"at":null})"));
}

TEST(BrowserMessage, KeysArePressedByTheirNames) {
  for (const char* name : {"KL01", "KL98", "KT01", "KT98", "KX01", "KX98", "KL40", "KLAA", "KTAA", "KXAA",
                           "ASGN", "TGRP", "SPKM", "MICM"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(read_key(name), read_sig(name));
  }
}

TEST(BrowserMessage, NothingElseIsAKey) {
  using namespace std::string_view_literals;
  for (const std::string_view name :
       {""sv,     "K"sv,     "KL"sv,    "KL1"sv,    "KL00"sv,    "KL99"sv,   "KT00"sv,  "KX99"sv,
        "kl01"sv, "KL01 "sv, " KL01"sv, "KL001"sv,  "KL0:"sv,    "KL:0"sv,   "KL-1"sv,  "KL+1"sv,
        "KL 1"sv, "KLA1"sv,  "KLaa"sv,  "KA01"sv,   "SPKV"sv,    "KVOL"sv,   "HDPV"sv,  "MENU"sv,
        "SHFT"sv, "asgn"sv,  "ASG"sv,   "TGRP\0"sv, "KL\0001"sv, "KL01\n"sv, "KLAA "sv, "\xC3\xA4KL"sv}) {
    SCOPED_TRACE(std::string(name));
    EXPECT_FALSE(read_key(name).has_value());
  }
}

}  // namespace
}  // namespace hark::panel_gateway
