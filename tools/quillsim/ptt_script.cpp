#include "tools/quillsim/ptt_script.h"

#include <array>
#include <chrono>
#include <optional>

#include "tools/quillsim/scanner.h"

namespace quillsim {

const char kPttScriptHelp[] =
    "and with a device at the group of the requests to talk (--ptt)\n"
    "  ptt-hold N SRC somebody else, of this source, talks into channel N; 0 ends it\n"
    "  ptt-silent on|off\n"
    "                 it takes requests without a word\n"
    "  ptt-copies N   it sends each answer so many times\n"
    "  ptt-late MS    it answers so much later\n"
    "  ptt-as N|own   its answers name channel N, or the one that was asked for\n"
    "  ptt-tell N     it tells who talks into channel N\n"
    "  ptt-send TEXT  sends the text to the group as it stands\n"
    "  wait-ptt N SRC waits until this source talks into channel N (0: nobody)\n";

namespace {

constexpr char kNotSent[] = "the group cannot be reached";
constexpr int kMaxLateMs = kMaxLeaseMs;

struct Talk {
  int channel = 0;
  int src = 0;
};

std::optional<Talk> only_talk(Scanner& in) {
  const std::optional<int> channel = take_number(in, 1, kMaxChannel);
  if (!channel || !in.skip(" ")) return std::nullopt;
  const std::optional<int> src = take_number(in, 0, kMaxChannel);
  if (!src || !in.at_end()) return std::nullopt;
  return Talk{*channel, *src};
}

// One number and nothing else.
std::optional<int> only_number(Scanner& in, int min, int max) {
  const std::optional<int> value = take_number(in, min, max);
  return in.at_end() ? value : std::nullopt;
}

Step hold(Scanner& in, PttResponder& ptt) {
  const std::optional<Talk> talk = only_talk(in);
  if (!talk) return unknown_step();
  ptt.hold(talk->channel, talk->src);
  return {};
}

Step silent(Scanner& in, PttResponder& ptt) {
  const std::optional<bool> on = only_switch(in);
  if (!on) return unknown_step();
  ptt.options().answering = !*on;
  return {};
}

Step copies(Scanner& in, PttResponder& ptt) {
  const std::optional<int> count = only_number(in, 0, kMaxCopies);
  if (!count) return unknown_step();
  ptt.options().copies = *count;
  return {};
}

Step late(Scanner& in, PttResponder& ptt) {
  const std::optional<int> ms = only_number(in, 0, kMaxLateMs);
  if (!ms) return unknown_step();
  ptt.options().late = std::chrono::milliseconds(*ms);
  return {};
}

Step answer_as(Scanner& in, PttResponder& ptt) {
  std::optional<int> channel;
  if (in.rest() != "own" && !(channel = only_number(in, 1, kMaxChannel))) return unknown_step();
  ptt.options().answer_channel = channel;
  return {};
}

Step tell(Scanner& in, PttResponder& ptt) {
  const std::optional<int> channel = only_number(in, 1, kMaxChannel);
  return channel ? done_or(ptt.tell(*channel), kNotSent) : unknown_step();
}

Step send(Scanner& in, PttResponder& ptt) { return done_or(ptt.send(in.rest()), kNotSent); }

Step wait(Scanner& in, PttResponder& ptt) {
  const std::optional<Talk> talk = only_talk(in);
  if (!talk) return unknown_step();
  return wait_step([&ptt, talk = *talk] { return ptt.holder(talk.channel) == talk.src; });
}

constexpr std::array kDirectives = {
    Directive<PttResponder>{"ptt-hold ", hold},     Directive<PttResponder>{"ptt-silent ", silent},
    Directive<PttResponder>{"ptt-copies ", copies}, Directive<PttResponder>{"ptt-late ", late},
    Directive<PttResponder>{"ptt-as ", answer_as},  Directive<PttResponder>{"ptt-tell ", tell},
    Directive<PttResponder>{"ptt-send ", send},     Directive<PttResponder>{"wait-ptt ", wait},
};

}  // namespace

Step run_ptt_directive(std::string_view line, PttResponder* ptt) {
  return run_directive(line, ptt, kDirectives, "no device is played at the group (--ptt)");
}

}  // namespace quillsim
