// The gateway's connection to its station: dialled for ever, told of what was left down, listened to.
#include <algorithm>
#include <string>

#include "tools/harkpanel/gateway.h"

namespace hark::panel_gateway {

void Gateway::station_connected(Ms now) {
  see(now);
  if (view_.link() == Link::kUp) return;
  dial_at_ = -1;
  dialling_ = false;
  connected_at_ = now_;
  quiet_ = 0;
  take_over_time();
  view_.connected();
  spread_changes();
}

void Gateway::station_said(const std::string& line, Ms now) {
  see(now);
  if (view_.link() != Link::kUp) return;
  quiet_ = 0;
  view_.receive(line);
  if (line.starts_with("VER ")) ups_confirmed();
  if (view_.answered()) back_off_.reset();
  if (knows_taps()) let_go_of_stale();
  spread_changes();
}

void Gateway::station_lost(std::string_view why, Ms now) {
  see(now);
  if (view_.link() == Link::kLost) return;
  const Ms wait = back_off_.next();
  dial_at_ = ended_ ? -1 : now_ + wait;
  dialling_ = false;
  view_.lost(std::string(why), wait);
  make_all_stale();
  spread_changes();
}

void Gateway::dial() {
  dial_at_ = -1;
  dialling_ = true;
  dialled_at_ = now_;
  view_.connecting();
  spread_changes();
  outputs_.dial_station();
}

// A station that hangs keeps its connection: nothing but its silence tells. Time in which this process itself
// stood still does not count, since what the station said then has yet to be read. False: it is lost.
bool Gateway::check_silence(Ms passed) {
  constexpr Ms kLongestStep = 500;
  quiet_ += std::min(passed, kLongestStep);
  if (quiet_ >= kStationSilent) {
    station_lost("does not answer", now_);
    outputs_.drop_station();
    return false;
  }
  if (quiet_ >= kStationAsked && probes_ == 0) ask();
  return true;
}

void Gateway::check_station(Ms passed) {
  if (dial_at_ >= 0 && now_ >= dial_at_) return dial();
  if (dialling_ && now_ - dialled_at_ >= kDialTime) {
    station_lost("does not answer", now_);
    outputs_.drop_station();
    return;
  }
  if (view_.link() != Link::kUp || !check_silence(passed)) return;
  if (knows_taps()) let_go_of_stale();
  confirm_ups();
}

}  // namespace hark::panel_gateway
