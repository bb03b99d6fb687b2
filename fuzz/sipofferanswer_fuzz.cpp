// Offer and answer: an input is what the service is like, and behind a line feed pairs of a letter and a
// word, a line each: a digit, what is sent, and the word of a description (support/sip_description.h). So
// each way that a description takes through a call is met in every order, with descriptions of any kind.
#include <array>
#include <string>

#include "support/fuzzing.h"
#include "support/sip_world.h"

namespace {

// By letter: the step, ahead of the description and behind it.
struct Way {
  char letter;
  std::string_view step;
  bool described;  // the word goes with it
};
constexpr std::array<Way, 20> kWays{{{'i', "<INVITE", true},
                                     {'r', "<INVITE|&", true},
                                     {'a', "<ACK", true},
                                     {'1', "<183 INVITE", true},
                                     {'2', "<200 INVITE", true},
                                     {'4', "<488 INVITE", true},
                                     {'b', "<BYE", true},
                                     {'c', "<CANCEL", false},
                                     {'u', "<OPTIONS|&", true},
                                     {'I', ">INVITE|*|%|URI: sip:far@10.0.0.9", false},
                                     {'N', ">INVITE|*|URI: sip:far@10.0.0.9", false},
                                     {'R', ">INVITE|%", false},
                                     {'E', ">INVITE", false},
                                     {'P', ">183 INVITE", false},
                                     {'Q', ">183 INVITE|%", false},
                                     {'A', ">200 INVITE", false},
                                     {'O', ">200 INVITE|%", false},
                                     {'D', ">488 INVITE", false},
                                     {'B', ">BYE", false},
                                     {'C', ">CANCEL", false}}};

std::string step_of(std::string_view line) {
  if (line.empty()) return {};
  if (line[0] == '@' || line[0] == ',' || line[0] == '*') return std::string(line);
  for (const Way& way : kWays) {
    if (way.letter != line[0]) continue;
    std::string step(way.step);
    if (way.described && line.size() > 1) step.append("|%").append(line.substr(1));
    return step;
  }
  return {};
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  hark::fuzz::mute_output();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<std::string> lines = hark::fuzz::split(hark::fuzz::as_text(data, size), "\n", 40);
  std::string input = lines[0];
  for (std::size_t i = 1; i < lines.size(); ++i) {
    std::string line = lines[i];
    std::erase(line, '|');  // a word has no other parts
    if (line.starts_with('*')) {
      input += "\n*" + step_of(line.substr(1));
    } else {
      input += "\n" + step_of(line);
    }
  }
  hark::fuzz::run_world(input, "");
  return 0;
}
