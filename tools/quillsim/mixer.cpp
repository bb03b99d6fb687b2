#include "tools/quillsim/mixer.h"

#include "base/text.h"
#include "tools/quillsim/scanner.h"

namespace quillsim {
namespace {

const char* sub_word(int sub) { return sub == kSubMicrophone ? "microphone" : "speaker"; }

std::string sub_name(int sub) { return "hark#1.sub#" + std::to_string(sub); }

// "at -24.0 dB", or "silent".
std::string level_words(int gain_tenth_db) {
  if (gain_tenth_db <= kGainSilence) return "silent";
  std::array<char, 32> text{};
  hark::format_text(text, "at %.1f dB", gain_tenth_db / 10.0);
  return text.data();
}

// Puts `value` into `field`; whether that changed it.
template <typename T>
bool store(T& field, const T& value) {
  if (field == value) return false;
  field = value;
  return true;
}

}  // namespace

const MixerInput* Mixer::input(int number) const {
  const auto& inputs = sub(kSubSpeaker).inputs;
  const auto found = inputs.find(number);
  return found == inputs.end() ? nullptr : &found->second;
}

std::string Mixer::apply(const CreateMixer& command) {
  if (!store(app_id_, command.app_id)) return {};
  return "hark#1 created, app_id=" + printable(quote(app_id_));
}

std::string Mixer::apply(const SetInput& command) {
  const auto [found, is_new] = at(kSubSpeaker).inputs.try_emplace(command.input);
  MixerInput& input = found->second;
  bool changed = is_new;
  if (command.src_id && store(input.src_id, *command.src_id)) changed = true;
  if (store(input.gain, command.gain)) changed = true;
  return changed ? describe_input(command.input, input) : std::string();
}

std::string Mixer::apply(const SetSubGain& command) {
  return store(at(command.sub).gain, command.gain) ? describe_gain(command.sub) : std::string();
}

std::string Mixer::apply(const SetSubOutSource& command) {
  return store(at(command.sub).src_id, command.src_id) ? describe_source(command.sub) : std::string();
}

std::string Mixer::apply(const SetSubOutName& command) {
  return store(at(command.sub).src_name, command.src_name) ? describe_name(command.sub) : std::string();
}

std::string Mixer::describe_input(int number, const MixerInput& input) const {
  const std::string hears =
      input.src_id.empty() ? "hears nothing" : "hears " + input.src_id + " " + level_words(input.gain);
  return sub_name(kSubSpeaker) + ".in#" + std::to_string(number) + " src_id=" + quote(input.src_id) +
         ", gain=" + std::to_string(input.gain) + "  (speaker input " + std::to_string(number) + " " + hears +
         ")";
}

std::string Mixer::describe_gain(int number) const {
  const std::optional<int> gain = sub(number).gain;
  return sub_name(number) + " gain=" + (gain ? std::to_string(*gain) : "OFF") + "  (" + sub_word(number) +
         " " + (gain ? level_words(*gain) : "off") + ")";
}

std::string Mixer::describe_source(int number) const {
  const std::string& src_id = sub(number).src_id;
  return sub_name(number) + ".sub_out src_id=" + quote(src_id) + "  (" + sub_word(number) +
         (src_id.empty() ? " mix goes nowhere" : " mix goes to " + src_id) + ")";
}

std::string Mixer::describe_name(int number) const {
  return sub_name(number) + ".sub_out src_name=" + printable(quote(sub(number).src_name)) + "  (" +
         sub_word(number) + " mix is named so)";
}

std::vector<std::string> Mixer::describe() const {
  if (!created()) return {"hark#1 not created"};
  std::vector<std::string> lines = {"hark#1 app_id=" + quote(app_id_)};
  for (int number = 1; number <= kSubs; ++number) {
    lines.push_back(describe_gain(number));
    lines.push_back(describe_source(number));
    if (!sub(number).src_name.empty()) lines.push_back(describe_name(number));
    for (const auto& [input_number, input] : sub(number).inputs) {
      lines.push_back(describe_input(input_number, input));
    }
  }
  return lines;
}

}  // namespace quillsim
