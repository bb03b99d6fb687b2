// The document of the browser panel says what the gateway does: its examples are messages of the protocol,
// its options and close codes are those of the program.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <string>
#include <variant>
#include <vector>

#include "docs/document.h"
#include "docs/source_text.h"
#include "tools/harkpanel/browser_message.h"
#include "tools/harkpanel/gateway.h"
#include "tools/harkpanel/gateway_message.h"
#include "tools/harkpanel/options.h"

namespace hark::test {
namespace {

using nlohmann::json;
namespace gateway = panel_gateway;

// The lines of all blocks of this language.
std::vector<std::string> lines_of_blocks(const std::string& text, const std::string& language) {
  std::vector<std::string> lines;
  for (const std::string& block : all_between(text, "```" + language + "\n", "```")) {
    std::istringstream in(block);
    for (std::string line; std::getline(in, line);)
      lines.push_back(line);
  }
  return lines;
}

std::set<std::string> members_of(const json& object) {
  std::set<std::string> names;
  for (const auto& [name, value] : object.items())
    names.insert(name);
  return names;
}

// A state with one call and one shift, so that no list of it is empty.
json whole_state() {
  gateway::StationView view("web", 1, 1, false, gateway::ShiftNames(), [](const char*) {});
  view.connected();
  for (const char* line : {"HARK LABL:\"Studio A\" LATCH:200", "BEGIN", "END",
                           "CALL URL:\"\\\"Desk\\\" <hark:10.0.0.7>\" LISTEN:R"})
    view.receive(line);
  view.select_shift("Evening");
  return json::parse(gateway::state_message(view, gateway::Parts::all(1)));
}

class BrowserPanelReference : public testing::Test {
 protected:
  const std::string text_ = read_source("docs/browser-panel.md");
};

TEST_F(BrowserPanelReference, SaysNothingForABrowserThatTheGatewayDoesNotTake) {
  std::set<std::size_t> kinds;
  for (const std::string& line : lines_of_blocks(text_, "json")) {
    SCOPED_TRACE(line);
    const auto read = gateway::read_browser_message(line);
    const auto* message = std::get_if<gateway::BrowserMessage>(&read);
    ASSERT_NE(message, nullptr) << std::get<gateway::BadMessage>(read).why;
    kinds.insert(message->index());
  }
  EXPECT_EQ(kinds.size(), std::variant_size_v<gateway::BrowserMessage>) << "a kind has no example";
}

TEST_F(BrowserPanelReference, ShowsMembersOfTheStateAsTheyAreTold) {
  const json state = whole_state();
  std::set<std::string> shown{"calls"};  // told in words
  for (const std::string& line : lines_of_blocks(text_, "told")) {
    SCOPED_TRACE(line);
    const json told = json::parse(line, nullptr, false);
    ASSERT_TRUE(told.is_object());
    if (told["t"] != "state") continue;
    for (const auto& [name, value] : told.items()) {
      shown.insert(name);
      ASSERT_TRUE(state.contains(name)) << name;
      EXPECT_EQ(state[name].type() == json::value_t::string, value.is_string());
      const bool is_list = value.is_array();
      const json& mine = is_list ? state[name].front() : state[name];
      if (mine.is_object()) {
        EXPECT_EQ(members_of(is_list ? value.front() : value), members_of(mine)) << name;
      }
    }
  }
  EXPECT_EQ(shown, members_of(state));
  for (const std::string& name : members_of(state["calls"].front()))
    EXPECT_NE(text_.find("`" + name + "`"), std::string::npos) << name;
}

TEST_F(BrowserPanelReference, NamesEveryOptionOfTheProgram) {
  const std::string help = gateway::parse_options({"--help"}).text;
  ASSERT_FALSE(help.empty());
  for (const std::string& row : all_between(text_, "| `--", "`")) {
    const std::string option = "--" + row.substr(0, row.find_first_of(" ["));
    EXPECT_NE(help.find(option), std::string::npos) << option;
  }
  for (const std::string& part : all_between(help, "--", "\n")) {
    const std::string option = "--" + part.substr(0, part.find_first_of(" ,\t="));
    if (option != "--help") {
      EXPECT_NE(text_.find("| `" + option), std::string::npos) << option;
    }
  }
}

TEST_F(BrowserPanelReference, HasARowForEachCloseCode) {
  using enum gateway::CloseCode;
  for (const auto code : {kGoingAway, kBadMessage, kBadToken, kSilent, kSlow, kTooLarge, kTooMany, kFull}) {
    const auto number = std::to_string(static_cast<int>(code));
    EXPECT_NE(text_.find("| " + number + " |"), std::string::npos) << number;
  }
  EXPECT_NE(text_.find(std::to_string(gateway::kMaxMessage) + " bytes"), std::string::npos);
  EXPECT_NE(text_.find(std::to_string(gateway::kMessagesPerSecond) + " messages a second, or " +
                       std::to_string(gateway::kMessageBurst)),
            std::string::npos);
}

}  // namespace
}  // namespace hark::test
