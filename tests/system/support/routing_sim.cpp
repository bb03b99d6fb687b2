#include "system/support/routing_sim.h"

#include <algorithm>

namespace hark::test {
namespace {

// What a station tells of a mixer that it has just made begins and ends with these.
constexpr char kFirstOfMixer[] = "create vmix2 ";
constexpr char kLastOfMixer[] = "set hark#1.sub#1.sub_out src_id=";

}  // namespace

RoutingSim::RoutingSim(quillsim::SimOptions options, std::string address, int port)
    : sim_(std::move(options)), address_(std::move(address)), port_(sim_.listen(address_, port)) {}

void RoutingSim::die() {
  sim_.stop_listening();
  sim_.close_station();
}

bool RoutingSim::come_back() { return sim_.listen(address_, port_) == port_; }

int RoutingSim::count(const std::string& line) const {
  return static_cast<int>(std::count(sim_.received().begin(), sim_.received().end(), line));
}

testing::AssertionResult RoutingSim::wait_received(const std::string& line, int timeout_ms) const {
  if (wait_until([&] { return has_received(line); }, timeout_ms)) return testing::AssertionSuccess();
  auto failure = testing::AssertionFailure() << "never received: " << line << "\nreceived:";
  for (const std::string& other : sim_.received())
    failure << "\n  " << other;
  return failure;
}

testing::AssertionResult RoutingSim::wait_mixer(int timeout_ms) const {
  if (wait_until([&] { return mixer_is_told(); }, timeout_ms)) return testing::AssertionSuccess();
  return testing::AssertionFailure() << (sim_.connected() ? "station made no mixer" : "no station connected");
}

bool RoutingSim::mixer_is_told() const {
  if (!sim_.mixer().created()) return false;
  const auto& lines = sim_.received();
  const auto begins = [](const char* start) {
    return [start](const std::string& line) { return line.starts_with(start); };
  };
  const auto made = std::find_if(lines.rbegin(), lines.rend(), begins(kFirstOfMixer));
  return made != lines.rend() && std::any_of(lines.rbegin(), made, begins(kLastOfMixer));
}

testing::AssertionResult RoutingSim::refused_nothing() const {
  if (sim_.refused().empty()) return testing::AssertionSuccess();
  auto failure = testing::AssertionFailure() << "refused:";
  for (const quillsim::Refusal& refusal : sim_.refused()) {
    failure << "\n  " << refusal.reason << ": " << testing::PrintToString(refusal.line);
  }
  return failure;
}

}  // namespace hark::test
