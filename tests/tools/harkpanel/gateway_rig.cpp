#include "tools/harkpanel/gateway_rig.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

namespace hark::test {

using panel_gateway::Gateway;
using panel_gateway::GatewayOptions;
using panel_gateway::HeldFile;

std::optional<KeyLine> read_key_line(const std::string& line) {
  const std::size_t key = line.find(".BUT#");
  const std::size_t word = line.find(" KEY=");
  const std::size_t time = line.find(" T=");
  if (key == std::string::npos || word == std::string::npos) return std::nullopt;
  KeyLine read{line.substr(key + 5, word - key - 5), line.substr(word + 5, 4) == "DOWN", 0};
  EXPECT_NE(time, std::string::npos) << "a key without its time: " << line;
  if (time != std::string::npos) read.t = static_cast<std::uint32_t>(std::stoul(line.substr(time + 3)));
  return read;
}

void RecordingOutputs::to_station(std::string_view text) {
  partial_ += text;
  for (std::size_t end = 0; (end = partial_.find('\n')) != std::string::npos;) {
    const std::string line = partial_.substr(0, end);
    partial_.erase(0, end + 1);
    if (line.empty()) continue;
    if (line == "VER") {
      ++questions;
      continue;
    }
    lines.push_back(line);
    if (const auto key = read_key_line(line)) {
      if (key->down) {
        EXPECT_TRUE(down.insert(key->key).second) << "down twice: " << line;
      } else {
        down.erase(key->key);
      }
    }
    if (on_line) on_line(line);
  }
}

void RecordingOutputs::wake(BrowserId browser) {
  woken.insert(browser);
  if (on_wake) on_wake(browser);
}

void RecordingOutputs::close(BrowserId browser, CloseCode code, std::string_view why) {
  EXPECT_TRUE(closed.emplace(browser, Closing{code, std::string(why)}).second) << "closed twice: " << why;
  if (on_close) on_close(browser);
}

GatewayTest::GatewayTest(GatewayOptions options) { Restart(options); }

void GatewayTest::TearDown() {
  if (gateway == nullptr || gateway->view().link() != panel_gateway::Link::kUp) return;
  const Lines held = names(gateway->keys_down());
  EXPECT_EQ(Lines(out.down.begin(), out.down.end()), held) << "the station knows other keys as down";
}

void GatewayTest::Restart(const GatewayOptions& options, const std::string& held) {
  std::unique_ptr<HeldFile> file;
  std::string error;
  gateway.reset();
  out.questions = 0;
  if (!held.empty()) {
    file = HeldFile::open(held, error);
    EXPECT_NE(file, nullptr) << error;
  }
  gateway = std::make_unique<Gateway>(options, out, std::move(file));
}

void GatewayTest::StationUp(const std::string& settings) {
  gateway->tick(now);
  gateway->station_connected(now);
  StationSays(settings);
}

void GatewayTest::StationLost(std::string_view why) {
  out.questions = 0;
  gateway->station_lost(why, now);
  Pump();
}

void GatewayTest::StationSays(const std::string& line) {
  gateway->station_said(line, now);
  Pump();
}

BrowserId GatewayTest::Open() {
  const BrowserId browser = gateway->browser_opened(now);
  Pump();
  return browser;
}

BrowserId GatewayTest::Join(const std::string& token) {
  const BrowserId browser = Open();
  Json hello = {{"t", "hello"}, {"v", 1}};
  if (!token.empty()) hello["token"] = token;
  Say(browser, hello);
  EXPECT_FALSE(ClosedWith(browser).has_value());
  told_[browser].clear();
  return browser;
}

void GatewayTest::SayText(BrowserId browser, std::string_view text) {
  gateway->browser_said(browser, text, now);
  Pump();
}

void GatewayTest::KeyDown(BrowserId browser, const std::string& key, double at) {
  Say(browser, Json{{"t", "key"}, {"key", key}, {"down", true}, {"at", at}});
}

void GatewayTest::KeyUp(BrowserId browser, const std::string& key, double at) {
  Say(browser, Json{{"t", "key"}, {"key", key}, {"down", false}, {"at", at}});
}

void GatewayTest::KeyCancelled(BrowserId browser, const std::string& key, double at) {
  Say(browser, Json{{"t", "key"}, {"key", key}, {"down", false}, {"at", at}, {"cancel", true}});
}

void GatewayTest::Close(BrowserId browser) {
  gateway->browser_closed(browser, now);
  Pump();
}

void GatewayTest::AdvanceMs(Ms ms) {
  for (Ms left = ms; left > 0; left -= 50) {
    const Ms before = now;
    now += std::min<Ms>(left, 50);
    if (before / 1000 != now / 1000) {
      for (const BrowserId browser : alive_)
        Say(browser, Json{{"t", "echo"}, {"n", 1}});
    }
    gateway->tick(now);
    for (; out.questions > 0; --out.questions)
      gateway->station_said("VER SVER:1.3.6.4 HARK:1 NSRC:2 NGPI:9 NGPO:9", now);
    Pump();
  }
}

void GatewayTest::ReadAgain(BrowserId browser) {
  slow_.erase(browser);
  Pump();
}

std::vector<Json> GatewayTest::ReadAll(BrowserId browser) {
  for (std::string text = gateway->take_message(browser, now); !text.empty();
       text = gateway->take_message(browser, now))
    Keep(browser, text);
  return Told(browser);
}

std::vector<Json> GatewayTest::Told(BrowserId browser) {
  std::vector<Json> told;
  for (Json& message : std::exchange(told_[browser], {}))
    if (message["t"] != "echo") told.push_back(std::move(message));
  return told;
}

std::vector<Json> GatewayTest::Told(BrowserId browser, std::string_view kind) {
  std::vector<Json> told;
  for (Json& message : std::exchange(told_[browser], {}))
    if (message["t"] == kind) told.push_back(std::move(message));
  return told;
}

Lines GatewayTest::StationLines() { return std::exchange(out.lines, {}); }

std::vector<KeyLine> GatewayTest::Keys() {
  std::vector<KeyLine> keys;
  for (const std::string& line : StationLines())
    if (const auto key = read_key_line(line)) keys.push_back(*key);
  return keys;
}

std::optional<CloseCode> GatewayTest::ClosedWith(BrowserId browser) const {
  const auto found = out.closed.find(browser);
  return found == out.closed.end() ? std::nullopt : std::optional(found->second.code);
}

int GatewayTest::Code(BrowserId browser) const {
  const auto code = ClosedWith(browser);
  return code ? static_cast<int>(*code) : 0;
}

void GatewayTest::Pump() {
  const std::set<BrowserId> woken = std::exchange(out.woken, {});
  for (const BrowserId browser : woken) {
    if (slow_.contains(browser)) {
      out.woken.insert(browser);
      continue;
    }
    for (std::string text = gateway->take_message(browser, now); !text.empty();
         text = gateway->take_message(browser, now))
      Keep(browser, text);
  }
}

void GatewayTest::Keep(BrowserId browser, const std::string& text) {
  const Json message = Json::parse(text, nullptr, false);
  EXPECT_TRUE(message.is_object() && message.contains("t")) << text;
  if (!message.is_object() || !message.contains("t")) return;
  if (message["t"] == "state") {
    for (const auto& [name, section] : message.items()) {
      if (name != "channels") {
        shown_[browser][name] = section;
        continue;
      }
      for (const Json& channel : section)
        shown_[browser]["ch"][std::to_string(channel.value("n", 0))] = channel;
    }
  }
  told_[browser].push_back(message);
}

TempFolder::TempFolder() {
  const char* base = std::getenv("TMPDIR");
  path_ = std::string(base != nullptr ? base : "/tmp") + "/harkpanel-test.XXXXXX";
  if (::mkdtemp(path_.data()) == nullptr) std::abort();
}

TempFolder::~TempFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

void write_file(const std::string& path, std::string_view text) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

std::string read_file(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

Lines names(const std::vector<Signature>& keys) {
  Lines texts;
  for (const Signature key : keys)
    texts.emplace_back(sig_text(key).data());
  std::sort(texts.begin(), texts.end());
  return texts;
}

Lines held_in(const std::string& path) {
  const std::string copy = path + ".copy";
  write_file(copy, read_file(path));
  std::string error;
  const std::unique_ptr<HeldFile> file = HeldFile::open(copy, error);
  EXPECT_NE(file, nullptr) << error;
  Lines held = file == nullptr ? Lines{} : names(file->found());
  std::filesystem::remove(copy);
  return held;
}

}  // namespace hark::test
