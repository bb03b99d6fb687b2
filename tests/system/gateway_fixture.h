// The browser panel gateway as a black box: a real station, a real gateway process, and browsers that speak
// its protocol over real sockets. Every test ends with the gateway in order, and with a station that has no
// call left.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "system/net/program.h"
#include "system/panel_fixture.h"
#include "system/support/ws_client.h"

namespace hark::test {

using Json = nlohmann::json;

// For what happens within moments, on a machine however busy.
inline constexpr int kGatewayWaitMs = 30'000;

// One harkpanel process; it can be ended and started again on the same files.
class GatewayProcess {
 public:
  // `root`: what it takes for the root of its files; borrowed.
  explicit GatewayProcess(const TempRoot& root) : root_(root) {}

  // Starts it for the station at `station_port` of 127.0.0.1, with a port of its own choice, and waits until
  // it listens. `more`: further words of its command line.
  [[nodiscard]] testing::AssertionResult start(int station_port, const Lines& more = {});
  // Starts it with these words alone, without waiting.
  void launch(Lines words);
  // Waits until it has printed its address.
  [[nodiscard]] testing::AssertionResult wait_listens();
  // Waits until it says this.
  [[nodiscard]] testing::AssertionResult wait_said(const std::string& text);
  // SIGTERM: it ended with status 0 and said nothing of faults.
  [[nodiscard]] testing::AssertionResult ends_well();

  [[nodiscard]] int port() const { return port_; }
  // The file of held keys, found by what is in the folder; its content, empty when there is none.
  [[nodiscard]] std::string held() const;

  Program program;

 private:
  const TempRoot& root_;
  int port_ = 0;
};

// A page: it keeps what it was told, sends an echo each second while a test waits, and presses keys.
class Browser : public WsClient {
 public:
  Browser();
  ~Browser() override;

  // Connects, says hello and waits for the welcome and the whole state.
  [[nodiscard]] testing::AssertionResult join(int port, const std::string& token = {},
                                              const std::string& source = "127.0.0.1");
  bool say(const Json& message) { return send_text(message.dump()); }
  void down(const std::string& key, double at = 0);
  void up(const std::string& key, double at = 0);
  void cancel(const std::string& key, double at = 0);
  // A tap by its own clock, and a hold of a second, whatever time it really takes.
  void tap(const std::string& key);
  void hold(const std::string& key);
  // Says nothing by itself from here on, as a page whose machine froze.
  void freeze() { echoes_ = false; }
  // An echo went to the gateway and back: all that it said before was heard.
  [[nodiscard]] testing::AssertionResult round_trip();

  // All sections of the state, the newest of each; channels by number under "ch".
  [[nodiscard]] const Json& state();
  // Of the station: "link" or "why".
  [[nodiscard]] std::string station(const char* member);
  // A text of a channel: its "text", the lamps "listen" and "talk"; "-" when it was never told.
  [[nodiscard]] std::string shown(int channel, const std::string& member);
  // Messages of this kind since the last forget().
  [[nodiscard]] std::vector<Json> told(const std::string& kind);
  void forget() { told_.clear(); }

  // Sends the echo that is due.
  void keep_alive();

 private:
  void take_texts();

  bool echoes_ = true;
  long long echoed_at_ms_ = 0;
  int echo_ = 0;
  Json state_ = Json::object();
  std::vector<Json> told_;
};

// Waits, with all browsers kept alive.
[[nodiscard]] bool becomes(const std::function<bool()>& condition, int timeout_ms = kGatewayWaitMs);
// The condition holds for the whole time, with all browsers kept alive.
[[nodiscard]] bool remains(const std::function<bool()>& condition, int time_ms);

class PanelGatewayTest : public PanelTest {
 protected:
  void TearDown() override;
  // A station with the sources and keys of PanelTest, and a gateway that is connected to it.
  void StartWithGateway(const Lines& more = {});
  // The gateway with the same options again.
  void RestartGateway();
  // A browser that has joined.
  [[nodiscard]] std::unique_ptr<Browser> Join(const std::string& token = {});
  // The list of calls is empty, after a while at the latest.
  [[nodiscard]] testing::AssertionResult NobodyIsOn(int timeout_ms = kGatewayWaitMs);
  // The mixer hears this source at its first input, now.
  [[nodiscard]] testing::AssertionResult MixerHears(const std::string& source);
  // A browser works: it opens a listen path by holding the key of Ann, and closes it.
  void Works(Browser& browser);

  GatewayProcess gateway{station.root()};
  bool gateway_ended_ = false;  // the test ended it itself

 private:
  Lines more_;
};

}  // namespace hark::test
