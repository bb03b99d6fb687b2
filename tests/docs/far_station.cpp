#include "docs/far_station.h"

#include <unistd.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace hark::test {
namespace {

constexpr char kSettings[] = "HARK LABL:\"Studio B\"\nSRC 1 PSNM:\"Studio B\" RTPA:\"239.192.0.78:5004\"\n";
constexpr char kPing[] = "VER";
constexpr char kPong[] = "VER SVER:1.3.6.4 HARK:1 NSRC:2 NGPI:9 NGPO:9";

}  // namespace

bool has_far_station(const Example& example) {
  return std::any_of(example.steps.begin(), example.steps.end(), [](const Step& step) {
    return step.peer == Peer::kFarStation || step.text.find("{b}") != std::string::npos;
  });
}

std::string call_address(bool far) {
  // Eight for each process, of which those of stations that tests start by themselves are the first ones.
  const unsigned mine = static_cast<unsigned>(::getpid()) * 8U + (far ? 7U : 6U);
  const unsigned host = (mine ^ 0x800000U) & 0xffffffU;
  return "127." + std::to_string(host >> 16U) + "." + std::to_string(host >> 8U & 0xffU) + "." +
         std::to_string(host & 0xffU);
}

StationOptions calling_station(const std::string& address, int routing_port) {
  return {.routing_port = routing_port, .sip_ip = address, .extra_args = {"-sip_port", "5060"}};
}

FarStation::FarStation() : station_(calling_station(call_address(true), sim_.port())) {}

testing::AssertionResult FarStation::start() {
  station_.write_settings(kSettings);
  if (auto started = station_.start(); !started) return started;
  if (auto mixer = sim_.wait_mixer(); !mixer) return mixer;
  if (client_.connect(station_.ctrl_port())) return shown_all();
  return testing::AssertionFailure() << "the other station takes no client";
}

testing::AssertionResult FarStation::run(const Step& step, const std::string& text) {
  if (step.action == Action::kExpect) return expect(text);
  if (client_.send_line(text)) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "could not send to the other station";
}

testing::AssertionResult FarStation::expect(const std::string& text) {
  if (text == kNotShown) {
    skips_ = true;
    return testing::AssertionSuccess();
  }
  const bool skips = std::exchange(skips_, false);
  std::optional<std::string> line = client_.read_line();
  while (skips && line && *line != text)
    line = client_.read_line();
  if (line && *line == text) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "expected " << testing::PrintToString(text)
                                     << "\nthe other station said "
                                     << testing::PrintToString(line.value_or("nothing"));
}

testing::AssertionResult FarStation::shown_all() {
  if (!client_.send_line(kPing)) return testing::AssertionFailure() << "the other station is gone";
  return expect(kPong);
}

testing::AssertionResult FarStation::finish() {
  if (auto sound = sim_.refused_nothing(); !sound) return sound;
  return station_.ends_clean();
}

}  // namespace hark::test
