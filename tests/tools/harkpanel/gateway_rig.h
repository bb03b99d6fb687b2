// A gateway whose sockets are records: what the station was told, what each browser was told, who was closed
// and why. The clock stands until a test moves it. Browsers read as soon as they are woken, unless a test
// makes one slow; a message that is no JSON fails the test.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tools/harkpanel/gateway.h"

namespace hark::test {

using Json = nlohmann::json;
using Lines = std::vector<std::string>;
using panel_gateway::BrowserId;
using panel_gateway::CloseCode;
using panel_gateway::Ms;

inline constexpr char kSettings[] =
    "HARK LABL:\"Studio A\" TRGL:4 TRGLA:4 DROPFLASH:5000 DIML:-240 LATCH:200 EXTC:0";

// A key as the station was told of it.
struct KeyLine {
  std::string key;
  bool down = false;
  std::uint32_t t = 0;
  bool operator==(const KeyLine&) const = default;
  friend std::ostream& operator<<(std::ostream& out, const KeyLine& line) {
    return out << line.key << (line.down ? " DOWN T=" : " UP T=") << line.t;
  }
};

// The key that a line to the station tells of; nothing when it is another line.
[[nodiscard]] std::optional<KeyLine> read_key_line(const std::string& line);

class RecordingOutputs : public panel_gateway::GatewayOutputs {
 public:
  void to_station(std::string_view text) override;
  void wake(BrowserId browser) override;
  void close(BrowserId browser, CloseCode code, std::string_view why) override;
  void dial_station() override { ++dials; }
  void drop_station() override { ++drops; }

  // Whole lines to the station since they were last taken, empty ones and questions left out.
  Lines lines;
  int questions = 0;           // VER, which the station has yet to answer
  std::set<std::string> down;  // keys that the station was told DOWN and not UP
  std::set<BrowserId> woken;
  struct Closing {
    CloseCode code{};
    std::string why;
  };
  std::map<BrowserId, Closing> closed;
  int dials = 0;
  int drops = 0;
  // Called at the end of the function of the same name.
  std::function<void(const std::string& line)> on_line;
  std::function<void(BrowserId)> on_wake;
  std::function<void(BrowserId)> on_close;

 private:
  std::string partial_;
};

class GatewayTest : public testing::Test {
 protected:
  explicit GatewayTest(panel_gateway::GatewayOptions options = {});
  void TearDown() override;

  // Begins anew with these options, as another process would; `held`: path of the file of held keys.
  void Restart(const panel_gateway::GatewayOptions& options = {}, const std::string& held = {});

  // The station answers the dial; its first line is `settings`.
  void StationUp(const std::string& settings = kSettings);
  void StationLost(std::string_view why = "closed by the station");
  void StationSays(const std::string& line);

  // A browser whose hello has been accepted, and that has read the whole state.
  [[nodiscard]] BrowserId Join(const std::string& token = {});
  // A connection that has said nothing yet.
  [[nodiscard]] BrowserId Open();
  void SayText(BrowserId browser, std::string_view text);
  void Say(BrowserId browser, const Json& message) { SayText(browser, message.dump()); }
  void KeyDown(BrowserId browser, const std::string& key, double at);
  void KeyUp(BrowserId browser, const std::string& key, double at);
  void KeyCancelled(BrowserId browser, const std::string& key, double at);
  void Close(BrowserId browser);

  // Moves the clock by steps of 50 ms with a tick after each. The station answers questions, and those that
  // are kept alive say an echo a second.
  void AdvanceMs(Ms ms);
  void KeepAlive(BrowserId browser) { alive_.insert(browser); }
  void Silence(BrowserId browser) { alive_.erase(browser); }
  // It reads nothing from here on, or all again.
  void StopReading(BrowserId browser) { slow_.insert(browser); }
  void ReadAgain(BrowserId browser);
  // Takes what one that does not read would get now.
  [[nodiscard]] std::vector<Json> ReadAll(BrowserId browser);

  // What it was told since the last call; those of one kind only, echoes left out otherwise.
  [[nodiscard]] std::vector<Json> Told(BrowserId browser);
  [[nodiscard]] std::vector<Json> Told(BrowserId browser, std::string_view kind);
  // All sections of the state that it was told so far, the newest of each; channels by number under "ch".
  [[nodiscard]] const Json& Shown(BrowserId browser) { return shown_[browser]; }
  // What the station was told since the last call.
  [[nodiscard]] Lines StationLines();
  [[nodiscard]] std::vector<KeyLine> Keys();
  [[nodiscard]] std::optional<CloseCode> ClosedWith(BrowserId browser) const;
  // The code, or 0 while it is open.
  [[nodiscard]] int Code(BrowserId browser) const;

  [[nodiscard]] std::uint32_t T() const { return static_cast<std::uint32_t>(now); }

  Ms now = 1'000'000;
  RecordingOutputs out;
  std::unique_ptr<panel_gateway::Gateway> gateway;

 private:
  // Lets all that were woken read.
  void Pump();
  void Keep(BrowserId browser, const std::string& text);

  std::set<BrowserId> alive_;
  std::set<BrowserId> slow_;
  std::map<BrowserId, std::deque<Json>> told_;
  std::map<BrowserId, Json> shown_;
};

// A folder for the file of held keys, gone with the test.
class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  [[nodiscard]] std::string file(const std::string& name) const { return path_ + "/" + name; }
  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// Replaces the whole file, and reads it.
void write_file(const std::string& path, std::string_view text);
[[nodiscard]] std::string read_file(const std::string& path);

// The names of keys, in their order.
[[nodiscard]] Lines names(const std::vector<Signature>& keys);
// What another process would find in the file of held keys now. The file may be locked.
[[nodiscard]] Lines held_in(const std::string& path);

}  // namespace hark::test
