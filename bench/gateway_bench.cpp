// From a key of a browser to the mixer, beside a WebSocket echo of the same gateway, and what the gateway's
// memory is with one browser and with twenty.
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "benches.h"
#include "latency.h"
#include "panels.h"
#include "rig.h"
#include "web_panel.h"

namespace hark::bench {
namespace {

constexpr double kRatioAim = 5;  // of the p99
constexpr int kWarmUp = 50;
constexpr int kInput = 1;     // the first listen line
constexpr int kTapMs = 100;   // what is released so soon stays on
constexpr int kCycle = 1000;  // from one press to the next, by the browser's clock
constexpr int kManyBrowsers = 20;
// Between any two measured messages: a gateway takes 200 a second from a browser, and each finds it at rest.
constexpr std::chrono::milliseconds kPace{15};

std::string key_message(bool down, int ms) {
  return std::string(R"({"t":"key","key":"KL01","down":)") + (down ? "true" : "false") +
         ",\"at\":" + std::to_string(ms) + "}";
}

// A press that makes a new call, and all that ends it, as for a panel without a gateway.
std::optional<Clock::duration> one_press(Arrival& arrival, Rig& rig, LineConnection& control,
                                         WebPanel& browser, int ms) {
  std::this_thread::sleep_for(kPace);
  const std::string connected = source_command(kInput, kSource);
  const auto passed = arrival.time([&] { browser.say(key_message(true, ms)); }, rig.mixer(),
                                   [&](LineConnection& from) { (void)from.wait_for(connected); });
  rig.end_call(control, kInput);
  browser.say(key_message(false, ms + kTapMs));
  browser.settle();
  control.send("VER\r\n");
  (void)control.wait_for("VER ");
  browser.settle();
  if (browser.is_lost() || control.is_lost() || rig.mixer().is_lost()) return std::nullopt;
  return passed;
}

std::optional<Clock::duration> one_echo(Arrival& arrival, WebPanel& browser) {
  const std::string message = browser.next_echo();
  const std::string mark = browser.echo_text();
  std::this_thread::sleep_for(kPace);
  const auto passed = arrival.time([&] { browser.say(message); }, browser.connection(),
                                   [&](LineConnection& from) { from.read_past(mark); });
  if (browser.is_lost()) return std::nullopt;
  return passed;
}

bool measure_keys(const Settings& settings, Rig& rig, LineConnection& control, WebPanel& browser,
                  Table& table) {
  Arrival arrival;
  Times keys;
  Times echoes;
  int ms = 1'000'000;
  for (int i = -kWarmUp; i < settings.calls; ++i) {
    const auto key = one_press(arrival, rig, control, browser, ms += kCycle);
    const auto echo = one_echo(arrival, browser);
    if (!key || !echo) return fail("a key of a browser was not answered");
    if (i < 0) continue;
    keys.add(*key);
    echoes.add(*echo);
  }
  table.add({"browser's key to mixer command, median", keys.at(0.5), "us"});
  table.add({"browser's key to mixer command, p99", keys.at(0.99), "us"});
  table.add({"WebSocket echo of the same gateway, median", echoes.at(0.5), "us"});
  table.add({"WebSocket echo of the same gateway, p99", echoes.at(0.99), "us"});
  table.add({"ratio of the medians, browser", keys.at(0.5) / echoes.at(0.5), "", 2});
  table.add({"ratio of the p99, browser", keys.at(0.99) / echoes.at(0.99), "", 2, kRatioAim});
  return true;
}

double resident_mib(const GatewayProcess& gateway) {
  return static_cast<double>(resident_kib(gateway.pid())) / 1024;
}

}  // namespace

bool gateway_bench(const Settings& settings, Table& table) {
  Rig rig(settings.harkd, channel_file());
  if (!rig.is_up()) return fail("harkd did not start and connect");
  LineConnection control(connect_from(2, rig.ctrl_port()));
  if (!Rig::wait_ready(control)) return false;
  const GatewayProcess gateway(settings.harkpanel, rig.ctrl_port());
  std::vector<std::unique_ptr<WebPanel>> browsers;
  browsers.push_back(std::make_unique<WebPanel>(gateway.port()));
  if (browsers.front()->is_lost()) return fail("the gateway did not start and attach");
  table.add({"resident memory of the gateway, 1 browser", resident_mib(gateway), "MiB", 2});
  if (!measure_keys(settings, rig, control, *browsers.front(), table)) return false;
  while (browsers.size() < kManyBrowsers)
    browsers.push_back(std::make_unique<WebPanel>(gateway.port()));
  for (const auto& browser : browsers) {
    if (browser->is_lost()) return fail("a browser was not served");
  }
  table.add({"resident memory of the gateway, 20 browsers", resident_mib(gateway), "MiB", 2});
  return true;
}

}  // namespace hark::bench
