#include "docs/document.h"

#include <array>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>

namespace hark::test {
namespace {

constexpr std::string_view kFence = "```";
constexpr std::string_view kLanguage = "harkd";

struct PeerName {
  std::string_view name;
  Peer peer;
};

constexpr std::array<PeerName, 2> kPeers{{{"routing", Peer::kRouting}, {"console", Peer::kConsole}}};

// A number at the start of `text`, which is cut off.
std::optional<int> take_number(std::string_view& text) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc()) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return number;
}

// Who a line is about; cut off `text`. False for connections that there cannot be.
bool take_peer(std::string_view& text, Step& step) {
  for (const PeerName& peer : kPeers) {
    if (!text.starts_with(peer.name)) continue;
    text.remove_prefix(peer.name.size());
    step.peer = peer.peer;
    return true;
  }
  step.first = take_number(text).value_or(1);
  step.last = step.first;
  if (text.starts_with('-')) {
    text.remove_prefix(1);
    step.last = take_number(text).value_or(0);
  }
  return step.first >= 1 && step.first <= step.last && step.last <= kMaxExampleConnections;
}

std::optional<Action> action_of(char mark) {
  switch (mark) {
    case '>':
      return Action::kSend;
    case '<':
    case '~':
      return Action::kExpect;
    case '*':
      return Action::kExpectRepeated;
    case '+':
      return Action::kConnect;
    default:
      return std::nullopt;
  }
}

bool fits_peer(const Step& step) {
  if (step.peer == Peer::kClient) return step.first == step.last || step.action == Action::kConnect;
  return step.action == Action::kSend || step.action == Action::kExpect;
}

std::optional<Step> parse_step(std::string_view text, int line) {
  Step step;
  step.line = line;
  if (!take_peer(text, step) || text.empty()) return std::nullopt;
  const std::optional<Action> action = action_of(text.front());
  if (!action) return std::nullopt;
  step.action = *action;
  text.remove_prefix(1);
  if (!text.empty() && text.front() != ' ') return std::nullopt;
  if (!text.empty()) text.remove_prefix(1);
  step.text = text;
  if (!fits_peer(step) || (step.text.empty() && step.action != Action::kConnect)) return std::nullopt;
  return step;
}

}  // namespace

Document parse_document(std::string path, std::string text) {
  Document document{std::move(path), std::move(text), {}, {}};
  std::istringstream lines(document.text);
  enum { kOutside, kInExample, kInOther } where = kOutside;
  int number = 0;
  for (std::string line; std::getline(lines, line);) {
    ++number;
    if (line.starts_with(kFence)) {
      if (where != kOutside) {
        where = kOutside;
      } else if (line.substr(kFence.size()) == kLanguage) {
        where = kInExample;
        document.examples.push_back({number, {}});
      } else {
        where = kInOther;
      }
    } else if (where == kInExample && !line.empty() && line.front() != '#') {
      if (std::optional<Step> step = parse_step(line, number)) {
        document.examples.back().steps.push_back(std::move(*step));
      } else {
        document.faults.push_back({number, "no step: " + line});
      }
    }
  }
  if (where != kOutside) document.faults.push_back({number, "a block has no end"});
  for (const Example& example : document.examples) {
    if (example.steps.empty()) document.faults.push_back({example.line, "an empty example"});
  }
  return document;
}

std::string read_source(std::string_view name) {
  std::ifstream file(std::filesystem::path(HARK_SOURCE_DIR) / name);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

Document read_document(std::string_view name) {
  const std::string path = (std::filesystem::path(HARK_SOURCE_DIR) / name).string();
  Document document = parse_document(path, read_source(name));
  if (document.text.empty()) document.faults.push_back({1, "cannot be read"});
  return document;
}

}  // namespace hark::test
