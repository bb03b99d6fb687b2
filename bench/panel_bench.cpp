// The daemon as a process, all of whose connections are panels with all keys: how long it takes from a key of
// one of them to the mixer.
#include <optional>
#include <string>

#include "benches.h"
#include "latency.h"
#include "panels.h"
#include "rig.h"

namespace hark::bench {
namespace {

constexpr double kRatioAim = 2;
constexpr int kInput = 1;     // the first listen line
constexpr int kTapMs = 100;   // what is released so soon stays on
constexpr int kCycle = 1000;  // from one press to the next

// A line of the first panel's first listen key, `ms` by the panel's clock.
std::string key_line(const char* direction, int ms) {
  return "HARKUI#1.BUT#KL01 KEY=" + std::string(direction) + " T=" + std::to_string(ms) + "\r\n";
}

// A press that makes a new call, and all that ends it. The release comes when the call is over and changes
// nothing. What the other panels are told meanwhile is read at the end, so that the next press finds the
// station at rest.
std::optional<Clock::duration> one_press(Arrival& arrival, Rig& rig, Panels& panels, int ms) {
  const std::string press = key_line("DOWN", ms);
  const std::string connected = source_command(kInput, kSource);
  const auto passed = arrival.time([&] { panels.first().send(press); }, rig.mixer(),
                                   [&](LineConnection& from) { (void)from.wait_for(connected); });
  rig.end_call(panels.first(), kInput);
  panels.first().send(key_line("UP", ms + kTapMs) + "VER\r\n");
  (void)panels.first().wait_for("VER ");
  panels.drain();
  if (!panels.are_attached() || rig.mixer().is_lost()) return std::nullopt;
  return passed;
}

}  // namespace

bool panel_bench(const Settings& settings, Table& table) {
  Rig rig(settings.harkd, channel_file());
  if (!rig.is_up()) return fail("harkd did not start and connect");
  Panels panels(rig.ctrl_port());
  if (!panels.are_attached()) return fail("the panels could not attach");
  if (!Rig::wait_ready(panels.first())) return false;
  int ms = 1'000'000;
  const Comparison comparison{"key to mixer command",
                              ", " + std::to_string(kPanels) + " panels",
                              key_line("DOWN", ms).size(),
                              source_command_size(kInput),
                              settings.calls,
                              kRatioAim};
  return compare_with_echo(
             comparison, [&](Arrival& arrival) { return one_press(arrival, rig, panels, ms += kCycle); },
             table) ||
         fail("a key was not answered");
}

}  // namespace hark::bench
