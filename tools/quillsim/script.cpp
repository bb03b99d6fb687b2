#include "tools/quillsim/script.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

#include "tools/quillsim/console_script.h"
#include "tools/quillsim/far_script.h"
#include "tools/quillsim/ptt_script.h"
#include "tools/quillsim/scanner.h"

namespace quillsim {

const char kScriptHelp[] =
    "Each line of the script, or of standard input, is one of\n"
    "  VER ... | SRC ... | DST ... | GPO ... | HARK ... | SUPV ... (also behind INDI or EVENT)\n"
    "                 goes to the station as it stands\n"
    "  wait MS        waits so many milliseconds\n"
    "  wait-for TEXT  waits until a printed line holds the text\n"
    "  show           prints the mixer's whole state\n"
    "  close          drops the station's connection\n"
    "  quit           ends the program\n"
    "  # ...          is a remark\n";

namespace {

using std::chrono::milliseconds;

constexpr int kMaxWaitMs = 3'600'000;
constexpr std::size_t kPrintedLimit = 1000;  // older lines are forgotten

constexpr std::array<std::string_view, 6> kWireWords = {"VER ", "SRC ", "DST ", "GPO ", "HARK ", "SUPV "};
constexpr std::array<std::string_view, 2> kWirePrefixes = {"INDI ", "EVENT "};

std::optional<int> read_wait_ms(std::string_view text) {
  int value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec != std::errc{} || result.ptr != text.data() + text.size()) return std::nullopt;
  if (value < 0 || value > kMaxWaitMs) return std::nullopt;
  return value;
}

}  // namespace

bool is_wire_line(std::string_view line) {
  for (const std::string_view prefix : kWirePrefixes) {
    if (!line.starts_with(prefix)) continue;
    line.remove_prefix(prefix.size());
    break;
  }
  return std::any_of(kWireWords.begin(), kWireWords.end(),
                     [line](std::string_view word) { return line.starts_with(word); });
}

Script::Script(Players players, Printer out, Printer complain, milliseconds wait_limit)
    : players_(players), out_(std::move(out)), complain_(std::move(complain)), wait_limit_(wait_limit) {}

void Script::add(std::string_view line) {
  while (line.ends_with('\n') || line.ends_with('\r'))
    line.remove_suffix(1);
  lines_.emplace_back(line);
}

void Script::note_printed(const std::string& line) {
  printed_.push_back(line);
  if (printed_.size() > kPrintedLimit) printed_.pop_front();
}

void Script::run(Time now) {
  while (!quit_ && !waiting(now) && !lines_.empty()) {
    const std::string line = std::move(lines_.front());
    lines_.pop_front();
    execute(line, now);
  }
}

std::optional<Script::Time> Script::due() const {
  if (quit_ || wait_ == Wait::kNone) return std::nullopt;
  return wait_until_;
}

bool Script::waiting(Time now) {
  if (wait_ == Wait::kNone) return false;
  if (!satisfied()) {
    if (now < wait_until_) return true;
    if (wait_ != Wait::kTime) fail("waited in vain for: " + printable(wait_text_));
  }
  wait_ = Wait::kNone;
  wait_until_holds_ = nullptr;
  return false;
}

bool Script::satisfied() {
  if (wait_ == Wait::kText) return find_text();
  return wait_ == Wait::kStep && wait_until_holds_();
}

bool Script::find_text() {
  while (!printed_.empty()) {
    const bool found = printed_.front().find(wait_text_) != std::string::npos;
    printed_.pop_front();
    if (found) return true;
  }
  return false;
}

void Script::execute(std::string_view line, Time now) {
  if (line.empty() || line.starts_with('#')) return;
  if (is_wire_line(line)) return send_line(line);
  if (line == "show") {
    for (const std::string& state : players_.sim.mixer().describe())
      out_(state);
  } else if (line == "close") {
    players_.sim.close_station();
  } else if (line == "quit") {
    quit_ = true;
  } else if (!start_wait(line, now) && !run_step(line, now)) {
    fail("unknown directive: " + printable(line));
  }
}

bool Script::start_wait(std::string_view line, Time now) {
  constexpr std::string_view kWaitFor = "wait-for ";
  constexpr std::string_view kWait = "wait ";
  if (line.starts_with(kWaitFor) && line.size() > kWaitFor.size()) {
    wait_ = Wait::kText;
    wait_text_ = line.substr(kWaitFor.size());
    wait_until_ = now + wait_limit_;
    return true;
  }
  if (!line.starts_with(kWait)) return false;
  const std::optional<int> ms = read_wait_ms(line.substr(kWait.size()));
  if (!ms) return false;
  wait_ = Wait::kTime;
  wait_until_ = now + milliseconds(*ms);
  return true;
}

Step Script::step_of(std::string_view line) const {
  Step step = run_console_directive(line, players_.console);
  if (!step.known) step = run_far_directive(line, players_.far_device);
  if (!step.known) step = run_ptt_directive(line, players_.ptt);
  return step;
}

bool Script::run_step(std::string_view line, Time now) {
  Step step = step_of(line);
  if (!step.known) return false;
  if (!step.error.empty()) fail(step.error + ", for: " + printable(line));
  for (const std::string& text : step.out)
    out_(text);
  if (!step.until) return true;
  wait_ = Wait::kStep;
  wait_text_ = line;
  wait_until_holds_ = std::move(step.until);
  wait_until_ = now + wait_limit_;
  return true;
}

void Script::send_line(std::string_view line) {
  if (!players_.sim.send(line)) fail("no station is connected for: " + printable(line));
}

void Script::fail(const std::string& message) {
  ++failures_;
  complain_(message);
}

}  // namespace quillsim
