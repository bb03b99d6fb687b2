// What a station says of itself, gathered.
#include "tools/harkctl/station_state.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

namespace hark::ctl {
namespace {

StationState After(std::initializer_list<const char*> lines) {
  StationState state;
  for (const char* line : lines)
    state.receive(line);
  return state;
}

TEST(StationState, GathersWhatWasAskedFor) {
  const StationState state = After(
      {"HARK LABL:\"Studio A\" TRGL:4 TRGLA:6 LATCH:200", "BEGIN",
       "SRC 1 PSNM:\"Main\" RTPA:\"239.192.0.77:5004\"", "SRC 2 RTPA:\"\"", "END", "IP hostname studio-a",
       "BEGIN", "CALL URL:\"quillnet:1\" TALK:R", "CALL URL:\"quillnet:1\" LISTEN:1 VOLUME:-60", "END",
       "add HARKUI#7.FP KEYS:\"1-20\" RADDR:\"a:1\"", "VER SVER:1.3.6.4 HARK:1 NSRC:2 NGPI:9 NGPO:9"});
  EXPECT_EQ(state.setting("LABL"), "Studio A");
  EXPECT_EQ(state.setting("TRGLA"), "6");
  EXPECT_EQ(state.setting("EXTC"), "");
  EXPECT_EQ(state.source.address, "239.192.0.77:5004");
  EXPECT_EQ(state.source.name, "Main");
  EXPECT_EQ(state.preview.address, "");
  EXPECT_EQ(state.host, "studio-a");
  EXPECT_EQ(state.version, "1.3.6.4");
  EXPECT_EQ(state.panels.panels().size(), 1U);
  ASSERT_EQ(state.calls.calls().size(), 1U);
  EXPECT_EQ(call_states(state.calls.calls()[0]), "talk rings in, listen on at -6.0 dB");
  EXPECT_EQ(call_json(state.calls.calls()[0]).dump(),
            R"({"name":"quillnet:1","url":"quillnet:1","talk":"rings in","listen":"on",)"
            R"("volume":-60,"rings":true})");
}

TEST(StationState, ContactsHaveLevelsAndOutputsHaveNames) {
  StationState state =
      After({"GPI 1 hhhhh", "GPO 2 hLhhh", "CFG GPO 2 NAME:\"Aux 1\" FUNC:1", "GPO 2 CMD:BLINK"});
  ASSERT_EQ(state.contacts.size(), 2U);
  EXPECT_EQ((state.contacts[{"GPO", 2}].states), "hlhhh");
  EXPECT_EQ((state.contacts[{"GPO", 2}].name), "Aux 1");
}

TEST(StationState, ContactLinesAreCut) {
  const std::optional<ContactLine> contact = read_contact("GPO 12 Lhhhh");
  ASSERT_TRUE(contact.has_value());
  EXPECT_EQ(contact->family, "GPO");
  EXPECT_EQ(contact->port, 12);
  EXPECT_EQ(contact->rest, "Lhhhh");
  for (const char* line : {"", "GPO", "GPO ", "GPO x hhhhh", "GPO 1", "GPX 1 hhhhh", "CFG GPO 1 NAME:x"})
    EXPECT_FALSE(read_contact(line).has_value()) << line;
  for (const char* states : {"", "hhhh", "hhhhhh", "hhhhx", "CMD:x"})
    EXPECT_FALSE(is_states(states)) << states;
  EXPECT_TRUE(is_states("hLHlh"));
}

}  // namespace
}  // namespace hark::ctl
