// The command watch: one connection that is made again whenever it is lost, and a line for each event.
#include <algorithm>
#include <optional>

#include "tools/control/control_lines.h"
#include "tools/harkctl/commands.h"
#include "tools/harkctl/events.h"
#include "tools/harkctl/text.h"

namespace hark::ctl {
namespace {

constexpr int kLongestPauseS = 16;
// So often a station that has nothing to tell is asked whether it is there.
constexpr std::chrono::seconds kAskEvery{5};

class Watch {
 public:
  Watch(const Options& options, const Interrupts& interrupts, Output& out)
      : options_(options), interrupts_(interrupts), out_(out), connection_(interrupts) {}

  void run();

 private:
  // Connects, and learns how things stand. Whether that was so; otherwise why_ says why not.
  [[nodiscard]] bool attach();
  // Tells events until the connection is lost or the watch ends.
  void follow();
  [[nodiscard]] bool take(const std::string& line);
  void tell(const Event& event);
  [[nodiscard]] bool is_over();
  [[nodiscard]] Deadline answer_time() const { return Clock::now() + options_.timeout; }
  [[nodiscard]] std::string place() const { return control::to_text(options_.station); }

  const Options& options_;
  const Interrupts& interrupts_;
  Output& out_;
  Connection connection_;
  EventReader reader_;
  std::string why_;
  bool asked_ = false;  // VER is out, its answer is waited for
};

bool Watch::is_over() {
  return out_.is_gone() || wait_for(-1, 0, Clock::now(), interrupts_) == Wait::kInterrupted;
}

void Watch::run() {
  for (int pause_s = 1; !is_over();) {
    const bool was_up = attach();
    if (was_up) {
      pause_s = 1;
      follow();
    }
    connection_.close();
    reader_.forget();
    if (is_over()) return;
    tell(lost_event(place(), why_, pause_s, was_up));
    (void)wait_for(-1, 0, Clock::now() + std::chrono::seconds(pause_s), interrupts_);
    pause_s = std::min(2 * pause_s, kLongestPauseS);
  }
}

bool Watch::attach() {
  const Deadline deadline = answer_time();
  why_ = connection_.open(options_.station, deadline);
  if (!why_.empty()) return false;
  // One that turns us away says why and closes, which may come before all is sent.
  (void)connection_.send(EventReader::subscription(), deadline);
  std::optional<std::string> error;
  for (std::string line; connection_.read(line, deadline) == Connection::Got::kLine;) {
    if (line.starts_with("VER ")) {
      tell(reader_.connected(place()));
      return true;
    }
    if (!error) error = control::read_error(line);
    reader_.learn(line);
  }
  why_ = error.value_or(connection_.failure());
  return false;
}

void Watch::follow() {
  asked_ = false;
  while (!out_.is_gone()) {
    std::string line;
    const Deadline until = asked_ ? answer_time() : Clock::now() + kAskEvery;
    switch (connection_.read(line, until)) {
      case Connection::Got::kLine:
        if (!take(line)) return;
        break;
      case Connection::Got::kTimeout:
        if (!asked_ && connection_.send("VER\r\n", answer_time())) {
          asked_ = true;
          break;
        }
        [[fallthrough]];
      case Connection::Got::kLost:
        why_ = connection_.failure();
        return;
      case Connection::Got::kInterrupted:
        return;
    }
  }
}

// Any line shows that the station is there. False when the watch ends.
bool Watch::take(const std::string& line) {
  asked_ = false;
  if (const std::optional<Event> event = reader_.read(line)) tell(*event);
  return !out_.is_gone();
}

void Watch::tell(const Event& event) {
  const WallTime now = std::chrono::system_clock::now();
  if (!options_.json) {
    out_.line(clock_text(now) + " " + event.text);
    return;
  }
  nlohmann::ordered_json timed = {{"time", utc_text(now)}};
  timed.update(event.json);
  out_.json(timed);
}

}  // namespace

int run_watch(const Options& options, const Interrupts& interrupts, Output& out) {
  Watch(options, interrupts, out).run();
  return kOk;
}

}  // namespace hark::ctl
