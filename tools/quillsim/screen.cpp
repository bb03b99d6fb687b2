#include "tools/quillsim/screen.h"

#include <utility>

#include "tools/quillsim/console_view.h"

namespace quillsim {
namespace {

constexpr std::size_t kPrintedLines = 8;
constexpr const char* kHome = "\x1b[H";
constexpr const char* kClearToLineEnd = "\x1b[K\n";
constexpr const char* kClearBelow = "\x1b[J";

}  // namespace

Screen::Screen(const Console& console, bool terminal, Writer writer)
    : console_(console), terminal_(terminal), writer_(std::move(writer)) {}

void Screen::print(const std::string& line) {
  if (!terminal_) return writer_(line + "\n");
  printed_.push_back(line);
  if (printed_.size() > kPrintedLines) printed_.pop_front();
  dirty_ = true;
}

void Screen::paint(Time now) {
  if (console_.looks() != looks_ || (next_step_ && now >= *next_step_)) dirty_ = true;
  if (!dirty_) return;
  dirty_ = false;
  looks_ = console_.looks();
  if (terminal_) {
    paint_terminal(now);
  } else {
    paint_plain();
  }
}

std::optional<Screen::Time> Screen::due() const { return next_step_; }

void Screen::paint_terminal(Time now) {
  const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch());
  std::string frame = kHome;
  for (const std::string& line : draw_module(console_.module(), console_.held(), {true, time}))
    frame += line + kClearToLineEnd;
  frame += kClearToLineEnd;
  for (const std::string& line : printed_)
    frame += line + kClearToLineEnd;
  writer_(frame + kClearBelow);
  next_step_.reset();
  if (flashes(console_.module())) next_step_ = now + kFlashStep - time % kFlashStep;
}

void Screen::paint_plain() {
  std::vector<std::string> lines = draw_module(console_.module(), console_.held(), {});
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const bool drawn = i < last_plain_.size() && last_plain_[i] == lines[i];
    if (!drawn) writer_("console | " + lines[i] + "\n");
  }
  last_plain_ = std::move(lines);
}

}  // namespace quillsim
