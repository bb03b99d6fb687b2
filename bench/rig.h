// A station as it is measured: the real harkd, and the bench as its routing daemon. The source file names a
// contact for the one source that the measured calls go to. The routing daemon reports that contact as open,
// which ends a call at once, where a drop by a client or a key would take its 400 ms.
#pragma once

#include <string>

#include "peers.h"
#include "process.h"

namespace hark::bench {

// The source of the measured calls, and its label.
inline constexpr const char* kSource = "239.192.4.210";
inline constexpr const char* kSourceLabel = "Bench";

// The mixer command that puts `source` on listen line `input`; empty: takes off what is there.
[[nodiscard]] std::string source_command(int input, const std::string& source);
// How long that command is with all that stands behind it.
[[nodiscard]] std::size_t source_command_size(int input);

class Rig {
 public:
  // `channels` is the channel file.
  explicit Rig(const std::string& harkd, const std::string& channels = "");

  [[nodiscard]] const Daemon& daemon() const { return daemon_; }
  [[nodiscard]] int ctrl_port() const { return ctrl_port_; }
  [[nodiscard]] LineConnection& mixer() { return mixer_; }
  [[nodiscard]] bool is_up() const { return daemon_.pid() > 0 && !mixer_.is_lost(); }
  // Waits on `control` until the station can make calls. False when it does not answer.
  [[nodiscard]] static bool wait_ready(LineConnection& control);
  // Ends the call on listen line `input`, with all that the station has to do for it; `control` may be any of
  // its clients.
  void end_call(LineConnection& control, int input);

 private:
  TempRoot root_;
  Listener listener_;
  int ctrl_port_ = free_port();
  Daemon daemon_;
  LineConnection mixer_;
};

// Says on stderr what could not be measured; false.
bool fail(const char* what);

}  // namespace hark::bench
