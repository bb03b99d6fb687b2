// The time to the 100 and the 200 of an INVITE: beside sipp, which answers the same call in the same run, and
// with many dialogs that linger.
#include <chrono>

#include "call_rig.h"
#include "measures.h"

namespace hark::bench {
namespace {

constexpr int kWarmUp = 20;
// What a station remembers of a call is gone after 32 s.
constexpr auto kLingers = std::chrono::seconds(28);

struct Answers {
  Times trying;
  Times answer;
};

void add_rows(const std::string& what, Times& ours, Times& theirs, Table& table) {
  table.add({what + ", harkd, median", ours.at(0.5), "us"});
  table.add({what + ", harkd, p99", ours.at(0.99), "us"});
  table.add({what + ", sipp, median", theirs.at(0.5), "us"});
  table.add({what + ", sipp, p99", theirs.at(0.99), "us"});
  table.add({what + ", ratio of the medians", ours.at(0.5) / theirs.at(0.5), "", 2});
}

bool time_calls(Caller& caller, const Target& target, int calls, Answers* answers) {
  for (int i = 0; i < calls; ++i) {
    const std::optional<CallTimes> times = caller.call(target);
    if (!times) return cannot("a call was not answered");
    if (answers == nullptr) continue;
    answers->trying.add(times->trying);
    answers->answer.add(times->answer);
  }
  return true;
}

// A fresh station with so many dialogs that linger: the median times of a new call.
bool time_with_lingering(const CallSettings& settings, int dialogs, Answers& answers) {
  constexpr int kCalls = 300;
  const auto station = answering_station(settings.harkd);
  if (station == nullptr) return false;
  Caller caller(callsoak::own_address(2));
  const auto began = Clock::now();
  if (!time_calls(caller, talk_service(), dialogs, nullptr)) return false;
  if (!time_calls(caller, talk_service(), kCalls, &answers)) return false;
  return Clock::now() - began < kLingers || cannot("the machine is too slow for so many calls in 28 s");
}

}  // namespace

bool measure_answers(const CallSettings& settings, Table& table) {
  const Scratch scratch;
  const auto station = answering_station(settings.harkd);
  const auto answerer = sipp_answerer(settings.scenarios, scratch);
  if (station == nullptr || answerer == nullptr) return false;
  Caller caller(callsoak::own_address(2));
  Answers ours;
  Answers theirs;
  if (!time_calls(caller, talk_service(), kWarmUp, nullptr)) return false;
  // In turn, so that both see the same machine.
  for (int i = 0; i < settings.calls; ++i) {
    if (!time_calls(caller, talk_service(), 1, &ours) || !time_calls(caller, sipp_service(), 1, &theirs)) {
      return false;
    }
  }
  add_rows("INVITE to 100", ours.trying, theirs.trying, table);
  add_rows("INVITE to 200", ours.answer, theirs.answer, table);
  return true;
}

bool measure_lingering(const CallSettings& settings, Table& table) {
  constexpr double kFlat = 1.3;
  double few_trying = 0;
  double few_answer = 0;
  for (const int dialogs : {10, 1000, 10000}) {
    Answers answers;
    if (!time_with_lingering(settings, dialogs, answers)) return false;
    const double trying = answers.trying.at(0.5);
    const double answer = answers.answer.at(0.5);
    const std::string with = ", " + std::to_string(dialogs) + " dialogs linger";
    table.add({"INVITE to 100, median" + with, trying, "us"});
    table.add({"INVITE to 200, median" + with, answer, "us"});
    if (few_trying > 0) {
      table.add({"INVITE to 100, to that with 10" + with, trying / few_trying, "", 2, kFlat});
      table.add({"INVITE to 200, to that with 10" + with, answer / few_answer, "", 2, kFlat});
    } else {
      few_trying = trying;
      few_answer = answer;
    }
  }
  return true;
}

}  // namespace hark::bench
