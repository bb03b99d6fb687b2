// A whole station without its loop: as after start-up beside a routing daemon, with two clients and a console
// connected. A fuzz target hands it lines and moves its clock. It is made for each input and leaves nothing
// behind, so that an input does the same each time.
#pragma once

#include <array>
#include <string>

#include "base/clock.h"
#include "base/fd.h"

namespace hark::fuzz {

// Who a line comes from.
enum class Sender { kDaemon, kClient, kSecondClient, kConsole, kRoutingDaemon };

class StationRig {
 public:
  // `with_services`: the station has its address and its source, so that calls can be made.
  explicit StationRig(bool with_services = true);
  ~StationRig();
  StationRig(const StationRig&) = delete;
  StationRig& operator=(const StationRig&) = delete;

  // One line, with what it causes at once. A connection that is gone sends nothing.
  void send(Sender sender, const std::string& line);

  // Moves the clock and does what the loop does on a pass, but for what would leave the process.
  void advance_ms(long ms);

  // Replays `text` as the settings file.
  void load_settings(const std::string& text);
  // What is saved as the settings file now.
  [[nodiscard]] static std::string save_settings();

 private:
  struct Peer {
    UniqueFd fd;           // the far end of the station's socket
    bool complete = true;  // what came last ended its line
  };
  static constexpr std::size_t kPeers = 3;

  void connect_peers();
  static void serve_connections();
  static void renew_services();
  static void forget_stations();
  void refresh_panels(TimeUs now);
  void drain();
  void drain_mixer();

  std::array<Peer, kPeers> peers_;
  UniqueFd mixer_;
};

}  // namespace hark::fuzz
