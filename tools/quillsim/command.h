// The commands that a station may send to its routing daemon, and the one reader of them. It takes exactly
// the text that a sound station writes and names the first thing that is wrong with any other line, so that a
// mistake of the station shows. Whether a command fits the mixer's state is for sim.h to judge.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace quillsim {

inline constexpr int kSubSpeaker = 1;     // mixes the listen lines
inline constexpr int kSubMicrophone = 2;  // the talk path
inline constexpr int kSubs = 2;
inline constexpr int kMaxInput = 9999;
inline constexpr int kMaxSource = 9999;
// Tenths of a dB. -1000 is silence; a listen volume is added to that, so it may go below.
inline constexpr int kGainSilence = -1000;
inline constexpr int kGainMin = -2000;
inline constexpr int kGainMax = 200;
inline constexpr std::size_t kMaxSourceName = 10;  // characters, without escapes

// get supv state
struct GetSupvState {};
// create vmix2 app_id="orfe:app:hark#1@XXXXXXXXXXXX"
struct CreateMixer {
  std::string app_id;
};
// set hark#1.sub#1.in#N [src_id="a.b.c.d[:port]", ]gain=N
struct SetInput {
  int input = 0;
  std::optional<std::string> src_id;  // empty text: nothing to hear
  int gain = 0;
};
// set hark#1.sub#N gain=N|OFF
struct SetSubGain {
  int sub = 0;
  std::optional<int> gain;  // none: OFF
};
// set hark#1.sub#N.sub_out src_id="a.b.c.d:port"
struct SetSubOutSource {
  int sub = 0;
  std::string src_id;  // empty: no source
};
// set hark#1.sub#N.sub_out src_name="NAME"
struct SetSubOutName {
  int sub = 0;
  std::string src_name;
};
// SRC N RTPA:"a.b.c.d[:port]" RTPT:"text"
struct SetSource {
  int source = 0;
  std::string rtpa;
  std::string rtpt;
};
// SHUT
struct Shut {};

using Command = std::variant<GetSupvState, CreateMixer, SetInput, SetSubGain, SetSubOutSource, SetSubOutName,
                             SetSource, Shut>;

// What a line holds: a command, or the reason why it is none.
struct ParsedLine {
  std::optional<Command> command;
  std::string error;
};

// Reads one line with its line end, which is CR LF, and LF alone behind SHUT.
[[nodiscard]] ParsedLine parse_command(std::string_view line);

}  // namespace quillsim
