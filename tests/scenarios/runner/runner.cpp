#include "scenarios/runner/runner.h"

#include <array>
#include <exception>
#include <memory>
#include <set>

#include "cpsip/cpsip_service.h"
#include "cpsip/cpsip_timer.h"
#include "scenarios/runner/application.h"
#include "scenarios/runner/expect.h"
#include "scenarios/runner/far_end.h"
#include "scenarios/runner/pattern.h"
#include "scenarios/runner/virtual_clock.h"

namespace hark::test {
namespace {

constexpr Ms kStep{100};  // of the main loop
constexpr Ms kClosing{64'000};
constexpr unsigned kPumps = 8;  // passes after which all is done that one moment brings

class Runner {
 public:
  explicit Runner(const Scenario& scenario)
      : scenario_(scenario), clock_(scenario.setting("start"), 0), far_(variables_) {
    for (const auto& [name, value] : far_.addresses())
      variables_[name] = value;
    application_ = scenario.setting("app") == "lines" ? MakeLinesApplication(scenario, far_.addresses())
                                                      : MakeStackApplication(scenario, far_.addresses());
  }

  void Run() {
    for (const Step& step : scenario_.steps)
      Do(step);
    Close();
  }

 private:
  void Do(const Step& step);
  void DoTime(const Step& step);
  void Send(const Step& step);
  void Command(const Step& step);
  void UseCall(const Step& step);
  void AnswerFromInside(const Step& step);
  void ExpectOut(const Step& step);
  void Close();
  void CheckLeft();

  void Pump();
  void Advance(Ms time);
  // Nothing may lie on the wire, or with the application, that no step has asked for.
  void NothingLeftOver(int line);
  void NothingOnTheWire(int line);
  void Count(const Step& step);
  void LookAtDialog(const Step& step);
  void ExpectTold(const Step& step);
  void ExpectDifferent(const Step& step);

  const Scenario& scenario_;
  VirtualClock clock_;
  Variables variables_;  // addresses, and what was captured
  FarEnd far_;
  std::unique_ptr<Application> application_;
};

void Runner::Pump() {
  for (unsigned pass = 0; pass < kPumps; ++pass)
    application_->Pump();
  far_.Collect();
}

void Runner::Advance(Ms time) {
  for (; time >= kStep; time -= kStep) {
    clock_.Move(kStep);
    Pump();
  }
}

void Runner::NothingOnTheWire(int line) {
  if (!far_.arrived().empty())
    throw Failure{line, "came out before this line:\n" + far_.arrived().front().bytes};
}

void Runner::NothingLeftOver(int line) {
  NothingOnTheWire(line);
  if (!application_->told().empty())
    throw Failure{line, "the application was told before this line: " + application_->told().front().text};
}

// "advance 3s": in steps of the main loop. "after 3s": the same, with nothing happening before the last step.
// "jump 1h": at once. "set clock 1h", "set clock back 1h": the system's time alone.
void Runner::DoTime(const Step& step) {
  NothingLeftOver(step.line);
  std::string text = step.text;
  if (step.verb == "set") {
    const bool back = text.starts_with("clock back ");
    VirtualClock::Set(ReadDuration(text.substr(back ? 11 : 6), step.line) * (back ? -1 : 1));
    Pump();
    return;
  }
  const Ms time = ReadDuration(TakeWord(text), step.line);
  if (time % kStep != Ms(0)) throw Failure{step.line, "not whole steps of the main loop: " + step.text};
  if (step.verb == "jump") {
    clock_.Move(time);
    return Pump();
  }
  if (step.verb == "advance") return Advance(time);
  Advance(time - kStep);
  NothingLeftOver(step.line);
  Advance(kStep);
}

void Runner::Do(const Step& step) {
  struct Verb {
    std::string_view name;
    void (Runner::*handle)(const Step&);
  };
  // verb, what it does; all others are the far end's
  static constexpr std::array<Verb, 16> kVerbs{{
      {">", &Runner::ExpectOut},
      {"lost", &Runner::ExpectOut},
      {"app<", &Runner::ExpectTold},
      {"event", &Runner::ExpectTold},
      {"dialog", &Runner::LookAtDialog},
      {"count", &Runner::Count},
      {"differ", &Runner::ExpectDifferent},
      {"on", &Runner::AnswerFromInside},
      {"call", &Runner::UseCall},
      {"advance", &Runner::DoTime},
      {"after", &Runner::DoTime},
      {"jump", &Runner::DoTime},
      {"set", &Runner::DoTime},
      {"app>", &Runner::Command},
      {"app", &Runner::Command},
      {"line", &Runner::Command},
  }};
  const std::string verb = step.verb.substr(0, step.verb.find('@'));
  for (const Verb& one : kVerbs)
    if (one.name == verb) return (this->*one.handle)(step);
  Send(step);
}

void Runner::UseCall(const Step& step) {
  far_.UseCall(step.text);
  application_->set_call(step.text);
}

// "on INVITE: app> 200 OK (INVITE)".
void Runner::AnswerFromInside(const Step& step) {
  const std::size_t colon = step.text.find(": ");
  if (colon == std::string::npos) throw Failure{step.line, "not \"on what: command\": " + step.text};
  Step command{step.line, "", step.text.substr(colon + 2), step.details};
  command.verb = TakeWord(command.text);
  application_->AnswerFromInside(Expand(step.text.substr(0, colon), variables_, step.line), command);
}

void Runner::Command(const Step& step) {
  NothingLeftOver(step.line);
  application_->Command(step, far_.call());
  Pump();
}

void Runner::Send(const Step& step) {
  NothingLeftOver(step.line);
  const unsigned copies = far_.Prepare(step);
  for (unsigned copy = 0; copy < copies; ++copy) {
    far_.SendPrepared();
    Pump();
  }
}

void Runner::ExpectOut(const Step& step) {
  if (step.text == "nothing") return NothingOnTheWire(step.line);
  far_.Expect(step);
}

void Runner::ExpectTold(const Step& step) {
  std::deque<Told>& told = application_->told();
  if (step.text == "nothing") {
    if (!told.empty()) throw Failure{step.line, "the application was told " + told.front().text};
    return;
  }
  if (told.empty()) throw Failure{step.line, "the application was told nothing"};
  const Told first = told.front();
  told.pop_front();
  ExpectText(step.text, first.text, far_.known(), variables_, step.line);
  for (const Line& detail : step.details)
    ExpectFact(detail, first.facts, far_.known(), variables_);
}

// "differ $one $two": no two of the words are the same.
void Runner::ExpectDifferent(const Step& step) {
  std::set<std::string> seen;
  for (const std::string& word : Split(Expand(step.text, variables_, step.line), ' '))
    if (!seen.insert(word).second) throw Failure{step.line, "comes twice: " + word};
}

// "dialog state=CONFIRMED sub=IDLE", or such facts as details.
void Runner::LookAtDialog(const Step& step) {
  const Variables facts = application_->DialogOf(far_.call(), step.line);
  for (const auto& [name, value] : Options(step.text, variables_, step.line))
    ExpectFact({step.line, name + ": " + value}, facts, far_.known(), variables_);
  for (const Line& detail : step.details)
    ExpectFact(detail, facts, far_.known(), variables_);
}

Variables counts() {
  return {{"dialogs", std::to_string(cpsip_dialog_count())},
          {"transactions", std::to_string(cpsip_transaction_count())},
          {"timers", std::to_string(cpsip_timer_count())}};
}

void Runner::Count(const Step& step) {
  Variables none;
  for (const auto& [name, value] : Options(step.text, {}, step.line))
    ExpectFact({step.line, name + ": " + value}, counts(), none, none);
}

// "end: 64s" is how long after the last step all must be over; "left: dialogs=1" what is there even then.
void Runner::Close() {
  const int last = scenario_.steps.empty() ? 0 : scenario_.steps.back().line;
  NothingLeftOver(last);
  if (const int line = application_->UntoldLine(); line != 0)
    throw Failure{line, "the application was never told this"};
  application_->Closing();
  const std::string end = scenario_.setting("end");
  Advance(end.empty() ? kClosing : ReadDuration(end, last));
  NothingLeftOver(last);
  CheckLeft();
  application_.reset();
  far_.Collect();
  NothingOnTheWire(last);
  for (const auto& [name, value] : counts())
    if (value != "0") throw Failure{last, "left when the services had gone: " + value + " " + name};
}

void Runner::CheckLeft() {
  Variables expected{{"dialogs", "0"}, {"transactions", "0"}, {"timers", "0"}};
  for (const auto& [name, value] : Options(scenario_.setting("left"), {}, 0))
    expected[name] = value;
  const Variables left = counts();
  for (const auto& [name, value] : expected)
    if (left.at(name) != value)
      throw Failure{scenario_.steps.back().line,
                    "left in the end: " + left.at(name) + " " + name + ", not " + value};
}

}  // namespace

std::optional<Failure> RunScenario(const Scenario& scenario) {
  try {
    Runner(scenario).Run();
  } catch (const Failure& failure) {
    return failure;
  } catch (const std::exception& error) {
    return Failure{0, error.what()};
  }
  return std::nullopt;
}

}  // namespace hark::test
