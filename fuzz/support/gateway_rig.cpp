#include "support/gateway_rig.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <utility>
#include <variant>

#include "support/fuzzing.h"

namespace hark::fuzz {
namespace {

using panel_gateway::Gateway;
using panel_gateway::HeldFile;
using panel_gateway::KeyEvent;
using panel_gateway::Link;

constexpr panel_gateway::Ms kLongestStep = 200'000;
constexpr char kSettings[] = "HARK LABL:\"A\" TRGL:4 TRGLA:4 DROPFLASH:5000 DIML:-240 LATCH:200 EXTC:0";

std::string held_path() { return temp_folder() + "/held"; }

std::string read_file(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

int number_in(std::string_view text) {
  int number = 0;
  (void)std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

}  // namespace

GatewayRig::GatewayRig(std::string_view ways) : ways_(ways) {
  if (ways_.find('h') != std::string::npos) std::ofstream(held_path(), std::ios::trunc).flush();
  make_gateway();
}

GatewayRig::~GatewayRig() = default;

void GatewayRig::make_gateway() {
  panel_gateway::GatewayOptions options;
  options.last_key = 4;
  if (ways_.find('t') != std::string::npos) options.token = "correct horse";
  std::unique_ptr<HeldFile> held;
  std::string error;
  if (ways_.find('h') != std::string::npos) {
    held = HeldFile::open(held_path(), error);
    check(held != nullptr, "the file of held keys opens");
  }
  panel_gateway::GatewayOutputs& sockets = *this;
  gateway_ = std::make_unique<Gateway>(options, sockets, std::move(held));
}

// ---- steps ----

void GatewayRig::run(const std::string& line) {
  if (line.empty()) return;
  const char step = line[0];
  if (step >= '1' && step <= '9') {
    // The number of a connection, counted from the newest process's first one.
    if (line.size() > 1) browser_step(static_cast<BrowserId>(step - '0'), line[1], line.substr(1));
  } else {
    station_step(step, line.substr(1));
  }
  check_all();
}

void GatewayRig::station_step(char step, const std::string& rest) {
  switch (step) {
    case '+':
      pressed_[gateway_->browser_opened(now_)];
      return;
    case '@':
      now_ += std::clamp<panel_gateway::Ms>(number_in(rest), 0, kLongestStep);
      return gateway_->tick(now_);
    case '^':
      if (std::exchange(connected_, true)) return;
      return gateway_->station_connected(now_);
    case 'v':
      return lost();
    case '=':
      return answer();
    case '<':
      // Answers are given by '=' only, so that the model knows what they answer.
      if (connected_ && !rest.starts_with("VER ")) gateway_->station_said(rest, now_);
      return;
    case 'k':
      return killed();
    default:
      return;
  }
}

void GatewayRig::browser_step(BrowserId browser, char step, const std::string& text) {
  if (!pressed_.contains(browser)) return;
  switch (step) {
    case '-':
      closed(browser);
      return gateway_->browser_closed(browser, now_);
    case '!':
      return gateway_->browser_misbehaved(browser, panel_gateway::CloseCode::kTooLarge, "too large");
    case '<':
      return read_all(browser);
    default:
      return said(browser, text);
  }
}

void GatewayRig::said(BrowserId browser, const std::string& text) {
  const auto read = panel_gateway::read_browser_message(text);
  const auto* message = std::get_if<panel_gateway::BrowserMessage>(&read);
  const auto* key = message != nullptr ? std::get_if<KeyEvent>(message) : nullptr;
  if (key != nullptr && key->down && !closing_.contains(browser))
    pressed_[browser].insert(sig_text(key->key).data());
  by_will_ = key != nullptr && !key->down && !key->cancelled;
  gateway_->browser_said(browser, text, now_);
  by_will_ = false;
  if (key != nullptr && !key->down && pressed_.contains(browser))
    pressed_[browser].erase(sig_text(key->key).data());
}

void GatewayRig::lost() {
  if (!std::exchange(connected_, false)) return;
  // What it may not have heard, it has not.
  down_.merge(unheard_);
  for (std::set<std::string>& question : questions_)
    down_.merge(question);
  unheard_.clear();
  questions_.clear();
  partial_.clear();
  gateway_->station_lost("closed by the station", now_);
}

// Another process takes the place of this one; all that it has is the file.
void GatewayRig::killed() {
  if (connected_) lost();
  const std::string held = read_file(held_path());
  gateway_.reset();
  std::ofstream(held_path(), std::ios::binary | std::ios::trunc) << held;
  if (ways_.find('h') == std::string::npos) down_.clear();
  pressed_.clear();
  closing_.clear();
  make_gateway();
}

void GatewayRig::answer() {
  if (questions_.empty()) return;
  questions_.pop_front();
  gateway_->station_said("VER SVER:1.3.6.4 HARK:1 NSRC:2 NGPI:9 NGPO:9", now_);
}

void GatewayRig::finish() {
  if (!connected_) run("^");
  run(std::string("<") + kSettings);
  for (const auto& [browser, keys] : std::map(pressed_)) {
    closed(browser);
    gateway_->browser_closed(browser, now_);
    check_all();
  }
  run("@100");
  check(gateway_->browsers() == 0, "closed connections are gone");
  check(gateway_->keys_down().empty(), "nobody holds a key when nobody is there");
  check(down_.empty(), "no key is down at the station when nobody is there");
}

// ---- sockets ----

void GatewayRig::to_station(std::string_view text) {
  check(connected_, "nothing is said to a station that is not there");
  partial_ += text;
  for (std::size_t end = 0; (end = partial_.find('\n')) != std::string::npos;) {
    const std::string line = partial_.substr(0, end);
    partial_.erase(0, end + 1);
    if (!line.empty()) take_line(line);
  }
  check(partial_.empty(), "whole lines go to the station");
}

void GatewayRig::take_line(const std::string& line) {
  check(line.size() <= 1999, "no line is too long for the station");
  check(std::none_of(line.begin(), line.end(), [](char c) { return c >= 0 && c < ' '; }),
        "a line is one line");
  if (line == "VER") {
    questions_.push_back(std::exchange(unheard_, {}));
    return;
  }
  const std::string front = "event HARKUI#web.BUT#";
  if (!line.starts_with(front)) return;
  const std::size_t time = line.find(" T=");
  check(time != std::string::npos, "a key goes with its time");
  const bool is_down = line.find(" KEY=DOWN ") == front.size() + 4;
  check(is_down || line.find(" KEY=UP ") == front.size() + 4, "a key goes down or up");
  take_key(line.substr(front.size(), 4), is_down,
           static_cast<std::uint32_t>(std::strtoul(line.c_str() + time + 3, nullptr, 10)));
}

void GatewayRig::take_key(const std::string& key, bool down, std::uint32_t time_ms) {
  if (ways_.find('h') != std::string::npos)
    check(read_file(held_path()).find(key) != std::string::npos,
          "a key is in the file before the station hears of it");
  if (down) {
    check(!down_.contains(key), "no key goes down twice");
    down_.insert(key);
    unheard_.erase(key);
    for (std::set<std::string>& question : questions_)
      question.erase(key);
    last_down_ms_ = time_ms;
    return;
  }
  down_.erase(key);
  unheard_.insert(key);
  if (!by_will_)
    check(time_ms - last_down_ms_ > gateway_->view().latch_ms(), "what nobody lets go of by will is no tap");
}

void GatewayRig::wake(BrowserId browser) {
  if (ways_.find('w') != std::string::npos) read_all(browser);
}

void GatewayRig::close(BrowserId browser, panel_gateway::CloseCode /*code*/, std::string_view why) {
  check(pressed_.contains(browser), "only who is there is closed");
  check(closing_.insert(browser).second, "nobody is closed twice");
  check(!why.empty() && why.size() <= 123, "a close has a reason that fits");
  pressed_[browser].clear();
  if (ways_.find('c') == std::string::npos) return;
  closed(browser);
  gateway_->browser_closed(browser, now_);
}

void GatewayRig::closed(BrowserId browser) {
  pressed_.erase(browser);
  closing_.erase(browser);
}

void GatewayRig::read_all(BrowserId browser) {
  for (int count = 0;; ++count) {
    const std::string text = gateway_->take_message(browser, now_);
    if (text.empty()) return;
    const auto message = nlohmann::json::parse(text, nullptr, false);
    check(message.is_object() && message.contains("t"), "browsers are told JSON objects of a kind");
    check(count < 200, "what waits for a browser is no queue");
  }
}

// ---- checks ----

void GatewayRig::check_all() const {
  std::set<std::string> held;
  for (const Signature key : gateway_->keys_down())
    held.insert(sig_text(key).data());
  if (gateway_->view().link() != Link::kUp) check(held.empty(), "nobody holds a key without a station");
  for (const std::string& key : held) {
    check(down_.contains(key), "what is held the station was told");
    check(std::any_of(pressed_.begin(), pressed_.end(),
                      [&](const auto& one) { return one.second.contains(key); }),
          "a key that is down is held by somebody who is there");
  }
  if (gateway_->view().link() == Link::kUp && gateway_->view().settings_known())
    check(down_ == held, "what the station was told to be down is held");
}

}  // namespace hark::fuzz
