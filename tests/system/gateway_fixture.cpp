#include "system/gateway_fixture.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <utility>

namespace hark::test {
namespace {

constexpr int kEchoMs = 1'000;

long long now_ms() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

std::vector<Browser*>& browsers() {
  static std::vector<Browser*> list;
  return list;
}

void keep_all_alive() {
  for (Browser* browser : browsers())
    browser->keep_alive();
}

}  // namespace

bool becomes(const std::function<bool()>& condition, int timeout_ms) {
  return wait_until(
      [&] {
        keep_all_alive();
        return condition();
      },
      timeout_ms);
}

bool remains(const std::function<bool()>& condition, int time_ms) {
  return stays(
      [&] {
        keep_all_alive();
        return condition();
      },
      time_ms);
}

// ---- the process ----

testing::AssertionResult GatewayProcess::start(int station_port, const Lines& more) {
  Lines words = {"--station", "127.0.0.1:" + std::to_string(station_port), "--listen", "127.0.0.1:0"};
  words.insert(words.end(), more.begin(), more.end());
  launch(std::move(words));
  return wait_listens();
}

void GatewayProcess::launch(Lines words) {
  words.insert(words.begin(), HARKPANEL_BINARY);
  program = Program(std::move(words), root_.file("harkpanel.out"),
                    [this] { (void)::setenv("HARK_ROOT", root_.path().c_str(), 1); });
}

testing::AssertionResult GatewayProcess::wait_listens() {
  constexpr std::string_view kAddress = "listening on http://127.0.0.1:";
  if (!becomes([&] { return program.said(std::string(kAddress)) || !program.alive(); }) || !program.alive()) {
    return testing::AssertionFailure() << "the gateway does not listen:\n" << program.output();
  }
  const std::string said = program.output();
  port_ = std::atoi(said.c_str() + said.find(kAddress) + kAddress.size());
  return testing::AssertionSuccess();
}

testing::AssertionResult GatewayProcess::wait_said(const std::string& text) {
  if (becomes([&] { return program.said(text); })) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "not said: " << text << "\nbut:\n" << program.output();
}

testing::AssertionResult GatewayProcess::ends_well() {
  program.send_signal(SIGTERM);
  const int status = program.wait_exit(kGatewayWaitMs);
  const std::string said = program.output();
  if (status != 0) return testing::AssertionFailure() << "ended with status " << status << "\n" << said;
  for (const char* mark : {"Sanitizer", "runtime error:"}) {
    if (said.find(mark) != std::string::npos) return testing::AssertionFailure() << said;
  }
  return testing::AssertionSuccess();
}

std::string GatewayProcess::held() const {
  std::string held;
  for (const std::string& name : root_.files()) {
    if (name.starts_with("var/tmp/") && name.find("panel") != std::string::npos) held += root_.read(name);
  }
  return held;
}

// ---- browsers ----

Browser::Browser() { browsers().push_back(this); }

Browser::~Browser() { std::erase(browsers(), this); }

testing::AssertionResult Browser::join(int port, const std::string& token, const std::string& source) {
  state_ = Json::object();
  told_.clear();
  if (!connect(port, source)) return testing::AssertionFailure() << "cannot connect";
  if (const int status = upgrade(); status != 101)
    return testing::AssertionFailure() << "status " << status << " " << body();
  Json hello = {{"t", "hello"}, {"v", 1}};
  if (!token.empty()) hello["token"] = token;
  if (!say(hello)) return testing::AssertionFailure() << "cannot send";
  const auto has_joined = [this] { return state().contains("shifts") || close_code() != 0; };
  if (becomes(has_joined) && close_code() == 0) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "closed with " << close_code() << " " << close_reason() << fault();
}

void Browser::down(const std::string& key, double at) {
  EXPECT_TRUE(say({{"t", "key"}, {"key", key}, {"down", true}, {"at", at}}));
}

void Browser::up(const std::string& key, double at) {
  EXPECT_TRUE(say({{"t", "key"}, {"key", key}, {"down", false}, {"at", at}}));
}

void Browser::cancel(const std::string& key, double at) {
  EXPECT_TRUE(say({{"t", "key"}, {"key", key}, {"down", false}, {"at", at}, {"cancel", true}}));
}

void Browser::tap(const std::string& key) {
  down(key, 1'000);
  up(key, 1'050);
}

void Browser::hold(const std::string& key) {
  down(key, 1'000);
  up(key, 2'000);
}

testing::AssertionResult Browser::round_trip() {
  const Json question = {{"t", "echo"}, {"n", ++echo_}};
  if (!say(question)) return testing::AssertionFailure() << "cannot send";
  const auto answered = [&] {
    take_texts();
    return std::find(told_.begin(), told_.end(), question) != told_.end();
  };
  if (becomes(answered)) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "no echo; closed with " << close_code() << " " << close_reason();
}

const Json& Browser::state() {
  take_texts();
  return state_;
}

std::string Browser::station(const char* member) {
  const Json& all = state();
  return all.contains("station") ? all["station"].value(member, "") : "";
}

std::string Browser::shown(int channel, const std::string& member) {
  const Json& all = state();
  const std::string number = std::to_string(channel);
  if (!all.contains("ch") || !all["ch"].contains(number)) return "-";
  return all["ch"][number].value(member, "-");
}

std::vector<Json> Browser::told(const std::string& kind) {
  take_texts();
  std::vector<Json> told;
  for (const Json& message : told_)
    if (message["t"] == kind) told.push_back(message);
  return told;
}

void Browser::keep_alive() {
  if (!echoes_ || !is_open() || state_.empty() || now_ms() - echoed_at_ms_ < kEchoMs) return;
  echoed_at_ms_ = now_ms();
  (void)say({{"t", "echo"}, {"n", ++echo_}});
}

void Browser::take_texts() {
  for (const std::string& text : std::exchange(texts(), {})) {
    const Json message = Json::parse(text, nullptr, false);
    EXPECT_TRUE(message.is_object() && message.contains("t")) << text;
    if (!message.is_object() || !message.contains("t")) continue;
    told_.push_back(message);
    if (message["t"] != "state") continue;
    for (const auto& [name, section] : message.items()) {
      if (name != "channels") {
        state_[name] = section;
        continue;
      }
      for (const Json& channel : section)
        state_["ch"][std::to_string(channel.value("n", 0))] = channel;
    }
  }
}

// ---- the test ----

void PanelGatewayTest::TearDown() {
  if (!gateway_ended_) {
    EXPECT_TRUE(NobodyIsOn());
    EXPECT_TRUE(gateway.ends_well());
  }
  PanelTest::TearDown();
}

void PanelGatewayTest::StartWithGateway(const Lines& more) {
  StartWithPanel();
  more_ = more;
  RestartGateway();
}

void PanelGatewayTest::RestartGateway() {
  ASSERT_TRUE(gateway.start(station.ctrl_port(), more_));
  ASSERT_TRUE(gateway.wait_said("station: connected"));
}

std::unique_ptr<Browser> PanelGatewayTest::Join(const std::string& token) {
  auto browser = std::make_unique<Browser>();
  EXPECT_TRUE(browser->join(gateway.port(), token));
  EXPECT_TRUE(
      becomes([&] { return browser->station("link") == "up" && browser->shown(4, "text") == "Mic"; }));
  return browser;
}

testing::AssertionResult PanelGatewayTest::NobodyIsOn(int timeout_ms) {
  if (becomes([&] { return CallList().empty(); }, timeout_ms)) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "still on: " << testing::PrintToString(CallList());
}

testing::AssertionResult PanelGatewayTest::MixerHears(const std::string& source) {
  const std::string command = "set hark#1.sub#1.in#1 src_id=\"" + source + "\", gain=0";
  if (becomes([&] { return sim.has_received(command); })) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "the mixer does not hear " << source;
}

void PanelGatewayTest::Works(Browser& browser) {
  browser.down("KL02");
  EXPECT_TRUE(becomes([&] { return browser.shown(2, "listen") == "on"; }));
  browser.up("KL02", 1'000);
  EXPECT_TRUE(becomes([&] { return browser.shown(2, "listen") == "off"; }));
  EXPECT_EQ(browser.close_code(), 0);
  EXPECT_EQ(browser.fault(), "");
}

}  // namespace hark::test
