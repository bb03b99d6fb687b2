// The lines that a person or a file gives to the simulated routing daemon: wire lines that go to the station
// as they are, and a few directives for scripts. They run in order; a wait holds up those behind it. The
// caller hands every printed line and the time down; nothing here reads a clock or a socket.
#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "tools/quillsim/console.h"
#include "tools/quillsim/far_device.h"
#include "tools/quillsim/ptt_responder.h"
#include "tools/quillsim/sim.h"
#include "tools/quillsim/step.h"

namespace quillsim {

// The legend of the directives, for --help.
extern const char kScriptHelp[];

// Whether the text is one that a routing daemon sends, by its first word.
[[nodiscard]] bool is_wire_line(std::string_view line);

// Who is played. The directives of those that are null fail.
struct Players {
  Sim& sim;
  Console* console = nullptr;
  FarDevice* far_device = nullptr;
  PttResponder* ptt = nullptr;
};

class Script {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Printer = std::function<void(const std::string& line)>;

  // Borrows the players. `out` gets what `show` and its like print, `complain` each line that cannot be
  // carried out. `wait_limit` bounds each wait but a plain `wait`.
  Script(Players players, Printer out, Printer complain, std::chrono::milliseconds wait_limit);

  // Queues one line, with or without its line end.
  void add(std::string_view line);
  // A line that the simulator has printed, for wait-for to find. Each wait-for looks behind the line that the
  // one before it found, so that nothing printed in between is missed.
  void note_printed(const std::string& line);
  // Carries out what can be carried out now.
  void run(Time now);

  // When run() has to be called again although nothing came in; none when it need not.
  [[nodiscard]] std::optional<Time> due() const;
  // `quit` was reached.
  [[nodiscard]] bool quit() const { return quit_; }
  // How many lines were refused or waited in vain.
  [[nodiscard]] int failures() const { return failures_; }

 private:
  enum class Wait { kNone, kTime, kText, kStep };

  // Whether the directive at the front is still waiting.
  bool waiting(Time now);
  bool find_text();
  // Whether what the directive waits for is there.
  bool satisfied();
  void execute(std::string_view line, Time now);
  bool start_wait(std::string_view line, Time now);
  // A directive of one of the players.
  bool run_step(std::string_view line, Time now);
  [[nodiscard]] Step step_of(std::string_view line) const;
  void send_line(std::string_view line);
  void fail(const std::string& message);

  Players players_;
  Printer out_;
  Printer complain_;
  std::chrono::milliseconds wait_limit_;
  std::deque<std::string> lines_;
  std::deque<std::string> printed_;  // not yet passed by a wait-for
  Wait wait_ = Wait::kNone;
  Time wait_until_;
  std::string wait_text_;  // for people too
  std::function<bool()> wait_until_holds_;
  bool quit_ = false;
  int failures_ = 0;
};

}  // namespace quillsim
