// The state of the mixer "hark#1": what the station has asked for so far. Each change gives one line of text
// for whoever watches; a set that changes nothing gives an empty one. It trusts its arguments, which
// command.h has checked, and knows no sockets.
#pragma once

#include <array>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tools/quillsim/command.h"

namespace quillsim {

struct MixerInput {
  std::string src_id;  // empty: nothing to hear
  int gain = 0;        // tenths of a dB
};

struct MixerSub {
  std::optional<int> gain = 0;  // tenths of a dB; none: OFF
  std::string src_id;           // source that sub_out carries; empty: none
  std::string src_name;
  std::map<int, MixerInput> inputs;  // by number, those that were ever set
};

class Mixer {
 public:
  [[nodiscard]] bool created() const { return !app_id_.empty(); }
  [[nodiscard]] const std::string& app_id() const { return app_id_; }
  // `number` is 1 (speaker) or 2 (microphone).
  [[nodiscard]] const MixerSub& sub(int number) const { return subs_[index(number)]; }
  // An input of sub#1; null when it was never set.
  [[nodiscard]] const MixerInput* input(int number) const;

  // Each gives the line that tells the change, or an empty text when there is none.
  std::string apply(const CreateMixer& command);
  std::string apply(const SetInput& command);
  std::string apply(const SetSubGain& command);
  std::string apply(const SetSubOutSource& command);
  std::string apply(const SetSubOutName& command);

  // The mixer goes with the connection that created it.
  void remove() { *this = Mixer(); }

  // The whole state, a line each.
  [[nodiscard]] std::vector<std::string> describe() const;

 private:
  static std::size_t index(int sub) { return sub == kSubMicrophone ? 1 : 0; }
  MixerSub& at(int sub) { return subs_[index(sub)]; }
  [[nodiscard]] std::string describe_input(int number, const MixerInput& input) const;
  [[nodiscard]] std::string describe_gain(int number) const;
  [[nodiscard]] std::string describe_source(int number) const;
  [[nodiscard]] std::string describe_name(int number) const;

  std::string app_id_;
  std::array<MixerSub, kSubs> subs_;
};

}  // namespace quillsim
