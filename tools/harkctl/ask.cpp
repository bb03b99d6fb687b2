#include "tools/harkctl/ask.h"

#include "tools/control/control_lines.h"

namespace hark::ctl {
namespace {

// No answer of a station comes near: 136 lines of calls are the longest.
constexpr std::size_t kMostLines = 10'000;

}  // namespace

std::string with_ends(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines)
    text += line + "\r\n";
  return text;
}

std::optional<std::string> Answer::error() const {
  for (const std::string& line : lines) {
    if (std::optional<std::string> error = control::read_error(line)) return error;
  }
  return std::nullopt;
}

Answer Asker::ask(const std::vector<std::string>& lines) {
  Answer answer;
  if (!connection_.is_open()) {
    answer.why = connection_.open(station_, deadline_);
    if (!answer.why.empty()) return answer;
  }
  answer.reach = Reach::kNotHeard;
  // A station that turns us away says so and closes: what it said is read even when sending failed.
  (void)connection_.send(with_ends(lines) + "VER\r\n", deadline_);
  for (std::string line; connection_.read(line, deadline_) == Connection::Got::kLine;) {
    answer.lines.push_back(line);
    if (answer.lines.size() > kMostLines) {
      answer.why = "it answers without an end";
      return answer;
    }
    if (!line.starts_with("VER ")) continue;
    answer.reach = Reach::kAnswered;
    return answer;
  }
  answer.why = answer.error().value_or(connection_.failure());
  return answer;
}

}  // namespace hark::ctl
