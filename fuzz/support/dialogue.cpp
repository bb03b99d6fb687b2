#include "support/dialogue.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string>

#include "support/fuzzing.h"

namespace hark::fuzz {
namespace {

constexpr long kLongestStepMs = 100'000;
constexpr long kPassMs = 10;

struct Mark {
  char mark;
  Sender sender;
};

// the first character of a line, whose line it is
constexpr std::array<Mark, 5> kMarks{{
    {'!', Sender::kDaemon},
    {'&', Sender::kSecondClient},
    {'*', Sender::kConsole},
    {'<', Sender::kRoutingDaemon},
    {'>', Sender::kClient},
}};

void run_line(StationRig& rig, const std::string& line, Sender sender) {
  if (line[0] == '@') {
    rig.advance_ms(std::clamp(std::strtol(line.c_str() + 1, nullptr, 10), 0L, kLongestStepMs));
    return;
  }
  const auto mark = std::find_if(kMarks.begin(), kMarks.end(),
                                 [&](const Mark& candidate) { return candidate.mark == line[0]; });
  if (mark == kMarks.end()) {
    rig.send(sender, line);
  } else {
    rig.send(mark->sender, line.substr(1));
  }
}

}  // namespace

void run_dialogue(std::string_view input, Sender sender) {
  StationRig rig;
  for (const std::string& line : split(input, "\r\n")) {
    if (!line.empty()) run_line(rig, line, sender);
  }
  // What was asked for last is due by then: drops, pulses, debounces, flashes.
  for (const long ms : {kPassMs, kLongestStepMs, kPassMs})
    rig.advance_ms(ms);
}

}  // namespace hark::fuzz
