#include "tools/harkpanel/gateway.h"

#include <algorithm>
#include <utility>
#include <variant>

#include "tools/harkpanel/gateway_message.h"

namespace hark::panel_gateway {
namespace {

constexpr double kMsPerSecond = 1000;

// Takes the same time wherever the two differ.
bool same_token(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  unsigned char difference = 0;
  for (std::size_t i = 0; i != a.size(); ++i)
    difference |= static_cast<unsigned char>(a[i] ^ b[i]);
  return difference == 0;
}

// Which of the station's texts a page means by what it says.
std::string meant_by(const std::string& said, const std::vector<std::string>& known) {
  if (std::find(known.begin(), known.end(), said) != known.end()) return said;
  const auto at =
      std::find_if(known.begin(), known.end(), [&](const auto& text) { return said_by_page(text) == said; });
  return at != known.end() ? *at : said;
}

std::vector<std::string> names_of(const std::vector<control::Call>& calls) {
  std::vector<std::string> names;
  names.reserve(calls.size());
  for (const control::Call& call : calls)
    names.push_back(call.name);
  return names;
}

}  // namespace

struct Gateway::Handler {
  Gateway& gateway;
  BrowserId browser;

  template <typename Message>
  void operator()(const Message& message) const {
    gateway.take(browser, message);
  }
};

bool Gateway::Browser::waits() const {
  return tell_welcome || !released.empty() || !replies.empty() || !last_words.empty() || untold.any();
}

Gateway::Gateway(const GatewayOptions& options, GatewayOutputs& outputs, std::unique_ptr<HeldFile> held)
    : outputs_(outputs),
      token_(options.token),
      held_file_(std::move(held)),
      view_(options.id, options.first_key, options.last_key - options.first_key + 1, options.auto_answer,
            ShiftNames(options.channel_file), [this](const char* text) { outputs_.to_station(text); }) {
  if (held_file_) stale_.insert(held_file_->found().begin(), held_file_->found().end());
}

Gateway::~Gateway() = default;

void Gateway::see(Ms now) { now_ = std::max(now_, now); }

Gateway::Browser* Gateway::find(BrowserId browser) {
  const auto at = browsers_.find(browser);
  return at != browsers_.end() ? &at->second : nullptr;
}

// What calls out may change the browsers: whoever goes through them goes through these, and finds each anew.
std::vector<BrowserId> Gateway::ids() const {
  std::vector<BrowserId> all;
  all.reserve(browsers_.size());
  for (const auto& [id, state] : browsers_)
    all.push_back(id);
  return all;
}

// ---- browsers ----

BrowserId Gateway::browser_opened(Ms now) {
  see(now);
  const auto open = std::count_if(browsers_.begin(), browsers_.end(),
                                  [](const auto& entry) { return !entry.second.closing; });
  const BrowserId id = next_id_++;
  Browser& state = browsers_[id];
  state.opened = state.heard = state.credit_at = now_;
  // It is refused later: the caller does not know its number yet.
  state.surplus = open >= kMostBrowsers;
  return id;
}

void Gateway::browser_said(BrowserId browser, std::string_view text, Ms now) {
  see(now);
  Browser* state = find(browser);
  if (state == nullptr || state->closing) return;
  state->heard = now_;
  if (ended_) return refuse(browser, CloseCode::kGoingAway, "the gateway ends");
  if (state->surplus) return refuse(browser, CloseCode::kFull, "too many browsers");
  if (!in_time(*state)) return refuse(browser, CloseCode::kTooMany, "too many messages");
  if (text.size() > kMaxMessage) return refuse(browser, CloseCode::kTooLarge, "too large");
  const auto read = read_browser_message(text);
  if (const auto* bad = std::get_if<BadMessage>(&read))
    return refuse(browser, CloseCode::kBadMessage, bad->why);
  const auto& message = *std::get_if<BrowserMessage>(&read);
  const bool is_hello = std::holds_alternative<Hello>(message);
  if (is_hello == state->welcome)
    return refuse(browser, CloseCode::kBadMessage, is_hello ? "a second hello" : "hello comes first");
  std::visit(Handler{*this, browser}, message);
  spread_changes();
}

void Gateway::browser_misbehaved(BrowserId browser, CloseCode code, std::string_view why) {
  refuse(browser, code, why);
}

void Gateway::browser_closed(BrowserId browser, Ms now) {
  see(now);
  browsers_.erase(browser);
  let_go_all_of(browser, "");
  spread_changes();
}

std::string Gateway::take_message(BrowserId browser, Ms now) {
  see(now);
  Browser* state = find(browser);
  if (state == nullptr) return {};
  std::string message = next_message(*state);
  state->waiting_since = state->waits() ? now_ : -1;
  return message;
}

std::string Gateway::next_message(Browser& state) {
  if (!state.last_words.empty()) return std::exchange(state.last_words, {});
  if (std::exchange(state.tell_welcome, false)) return welcome_message(view_);
  if (!state.released.empty()) {
    const std::string_view why = state.released.begin()->second;
    std::vector<Signature> keys;
    std::erase_if(state.released, [why, &keys](const auto& entry) {
      if (entry.second == why) keys.push_back(entry.first);
      return entry.second == why;
    });
    return released_message(keys, why);
  }
  if (!state.replies.empty()) {
    std::string reply = std::move(state.replies.front());
    state.replies.pop_front();
    return reply;
  }
  if (!state.untold.any()) return {};
  return state_message(view_, std::exchange(state.untold, {}));
}

// Its keys go up now: the close may take its time, and the browser may not even notice it.
void Gateway::refuse(BrowserId browser, CloseCode code, std::string_view why) {
  Browser* state = find(browser);
  if (state == nullptr || state->closing) return;
  state->closing = true;
  state->tell_welcome = false;
  state->untold = {};
  state->released.clear();
  state->replies.clear();
  state->last_words = refused_message(why);
  let_go_all_of(browser, "");
  if (find(browser) != nullptr) outputs_.close(browser, code, why);
  spread_changes();
}

void Gateway::wake(BrowserId browser) {
  Browser* state = find(browser);
  if (state == nullptr || !state->waits()) return;
  if (state->waiting_since < 0) state->waiting_since = now_;
  outputs_.wake(browser);
}

// Whether the browser keeps to the limit of messages.
bool Gateway::in_time(Browser& state) const {
  const double earned = static_cast<double>(now_ - state.credit_at) * kMessagesPerSecond / kMsPerSecond;
  state.credit = std::min<double>(state.credit + earned, kMessageBurst);
  state.credit_at = now_;
  if (state.credit < 1) return false;
  state.credit -= 1;
  return true;
}

void Gateway::check_browser(BrowserId browser) {
  const Browser* state = find(browser);
  if (state == nullptr || state->closing) return;
  const Ms silent = now_ - state->heard;
  if (ended_) return refuse(browser, CloseCode::kGoingAway, "the gateway ends");
  if (state->surplus) return refuse(browser, CloseCode::kFull, "too many browsers");
  if (!state->welcome && now_ - state->opened >= kHelloTime)
    return refuse(browser, CloseCode::kSilent, "no hello");
  if (silent >= kSilentBrowser) return refuse(browser, CloseCode::kSilent, "silent for too long");
  if (state->waiting_since >= 0 && now_ - state->waiting_since >= kSlowReader)
    return refuse(browser, CloseCode::kSlow, "reads too slowly");
  if (silent >= kSilentHold) let_go_all_of(browser, "silent");
}

void Gateway::spread_changes() {
  const Parts changes = view_.take_changes();
  if (!changes.any()) return;
  for (auto& [id, state] : browsers_) {
    if (state.welcome && !state.closing) state.untold.add(changes);
  }
  for (const BrowserId id : ids())
    wake(id);
}

void Gateway::tick(Ms now) {
  see(now);
  check_station(now_ - std::exchange(ticked_at_, now_));
  for (const BrowserId id : ids())
    check_browser(id);
  if (now_ - looked_at_ >= kShiftLook) {
    looked_at_ = now_;
    view_.look_at_shifts();
  }
  spread_changes();
}

void Gateway::shut_down(Ms now) {
  see(now);
  if (std::exchange(ended_, true)) return;
  dial_at_ = -1;
  for (const Signature key : holds_.clear())
    let_go(key);
  let_go_of_stale();
  if (view_.link() == Link::kUp) confirm_ups();
  for (const BrowserId id : ids())
    check_browser(id);
}

// ---- messages ----

void Gateway::take(BrowserId browser, const Hello& hello) {
  if (hello.version != kProtocolVersion)
    return refuse(browser, CloseCode::kBadMessage, "another version of the protocol");
  if (!token_.empty() && !same_token(hello.token, token_))
    return refuse(browser, CloseCode::kBadToken, hello.token.empty() ? "a token is wanted" : "wrong token");
  Browser* state = find(browser);
  state->welcome = state->tell_welcome = true;
  state->untold = Parts::all(view_.nkeys());
  wake(browser);
}

void Gateway::take(BrowserId browser, const KeyEvent& event) {
  if (!has_key(event.key)) return refuse(browser, CloseCode::kBadMessage, "key: not on this panel");
  if (event.down) return press(browser, event);
  release(browser, event);
}

void Gateway::take(BrowserId browser, const FaderMove& move) {
  if (!has_key(move.fader)) return refuse(browser, CloseCode::kBadMessage, "fader: not on this panel");
  if (view_.link() != Link::kUp) return;
  if (move.to) view_.fader_to(move.fader, *move.to);
  if (move.by) view_.fader_by(move.fader, *move.by);
}

void Gateway::take(BrowserId /*browser*/, const ChooseCaller& choice) {
  if (view_.link() != Link::kUp) return;
  view_.choose_caller(meant_by(choice.label, names_of(view_.calls())).substr(0, kMaxLabel));
}

void Gateway::take(BrowserId /*browser*/, const SelectShift& choice) {
  // A group belongs to its shift: the release of a group key would end no talk of the old one.
  if (view_.link() != Link::kUp || presses_.contains(kGroupTalk)) return;
  view_.select_shift(meant_by(choice.name, view_.shifts().names()));
}

void Gateway::take(BrowserId browser, const Echo& echo) {
  Browser* state = find(browser);
  // One that sends and does not read gets back what it has room for.
  if (state->replies.size() >= kMostReplies) return;
  state->replies.push_back(echo_message(echo.number));
  wake(browser);
}

void Gateway::take(BrowserId /*browser*/, const Retry& /*retry*/) {
  if (ended_ || view_.link() != Link::kLost || now_ - retried_at_ < kRetryAgain) return;
  retried_at_ = now_;
  dial();
}

}  // namespace hark::panel_gateway
