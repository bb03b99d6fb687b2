// Whoever stands on top of the stack in a scenario: the scenario itself ("app: stack"), or the user agent
// with its lines ("app: lines"). It carries out the scenario's commands, and remembers in order what it was
// told.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "scenarios/runner/scenario.h"
#include "scenarios/runner/words.h"

namespace hark::test {

// What an application was told, such as "200 INVITE" or "LineState 1/0 CALLING", and what else there is to
// know about it, by name.
struct Told {
  std::string text;
  Variables facts;
};

class Application {
 public:
  virtual ~Application() = default;
  Application() = default;
  Application(const Application&) = delete;
  Application& operator=(const Application&) = delete;

  // One pass of the main loop.
  virtual void Pump() = 0;
  // Carries out a command; throws Failure when it does not go as the step says. `call` is the current one.
  virtual void Command(const Step& step, const std::string& call) = 0;
  // The state of the call's dialog, by name; throws Failure when there is none to look at.
  [[nodiscard]] virtual Variables DialogOf(const std::string& call, int line) = 0;
  // What "app< status 999" would say is left out from now on: the scenario's steps are over.
  virtual void Closing() {}

  // Carries out a command from inside the callback, the next time that it is told this.
  void AnswerFromInside(std::string told, Step command) {
    inside_.emplace_back(std::move(told), std::move(command));
  }

  // The line of such a command whose time has not come; 0 for none.
  [[nodiscard]] int UntoldLine() const { return inside_.empty() ? 0 : inside_.front().second.line; }

  [[nodiscard]] std::deque<Told>& told() { return told_; }
  // The scenario's current call, to which a dialog that is new belongs.
  void set_call(const std::string& call) { call_ = call; }

 protected:
  void Tell(Told told);
  [[nodiscard]] const std::string& call() const { return call_; }

 private:
  std::deque<Told> told_;
  std::vector<std::pair<std::string, Step>> inside_;
  std::string call_ = "a";
};

// Starts the stack with what the scenario's settings say. Throws Failure.
[[nodiscard]] std::unique_ptr<Application> MakeStackApplication(const Scenario& scenario,
                                                                const Variables& addresses);
[[nodiscard]] std::unique_ptr<Application> MakeLinesApplication(const Scenario& scenario,
                                                                const Variables& addresses);

// The options of a setting such as "lines=2 payloads=96=L24/48000/2 missing-media", one of which, without
// "=", is "yes".
[[nodiscard]] Variables Options(const std::string& text, const Variables& addresses, int line);

}  // namespace hark::test
