// A gateway for the fuzz targets, with sockets that are records and a station whose knowledge of the keys is
// a model: after each step the two agree, and no key is down that nobody holds.
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include "tools/harkpanel/gateway.h"

namespace hark::fuzz {

class GatewayRig : private panel_gateway::GatewayOutputs {
 public:
  // `ways`: letters. t: a token is wanted; c: a close reports the closed connection at once; w: a wake reads
  // at once; h: there is a file of held keys.
  explicit GatewayRig(std::string_view ways);
  ~GatewayRig() override;

  // One step, see browser_fuzz.cpp; then all checks.
  void run(const std::string& line);
  // All browsers go and the station comes back: nothing is down.
  void finish();

 private:
  using BrowserId = panel_gateway::BrowserId;

  void to_station(std::string_view text) override;
  void wake(BrowserId browser) override;
  void close(BrowserId browser, panel_gateway::CloseCode code, std::string_view why) override;
  void dial_station() override {}
  void drop_station() override {}

  void make_gateway();
  void station_step(char step, const std::string& rest);
  void browser_step(BrowserId browser, char step, const std::string& text);
  void said(BrowserId browser, const std::string& text);
  void lost();
  void killed();
  void answer();
  void take_line(const std::string& line);
  void take_key(const std::string& key, bool down, std::uint32_t time_ms);
  void read_all(BrowserId browser);
  void closed(BrowserId browser);
  void check_all() const;

  std::string ways_;
  std::unique_ptr<panel_gateway::Gateway> gateway_;
  panel_gateway::Ms now_ = 1'000'000;
  bool connected_ = false;

  std::set<std::string> down_;     // keys that the station takes for down
  std::set<std::string> unheard_;  // whose UP it may not have heard yet
  // For each VER on its way, the UPs that its answer confirms.
  std::deque<std::set<std::string>> questions_;
  std::uint32_t last_down_ms_ = 0;
  bool by_will_ = false;  // a browser lets go just now
  std::string partial_;   // of a line to the station

  std::map<BrowserId, std::set<std::string>> pressed_;  // by browsers that are there: what they may hold
  std::set<BrowserId> closing_;
};

}  // namespace hark::fuzz
