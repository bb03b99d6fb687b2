#include "tools/harkpanel/browser_sessions.h"

#include <algorithm>
#include <vector>

namespace hark::panel_gateway {
namespace {

constexpr std::size_t kLongestReason = 123;  // of a close frame (RFC 6455 5.5), behind its code

}  // namespace

BrowserSessions::Session* BrowserSessions::find(BrowserId browser) {
  if (const auto found = sessions_.find(browser); found != sessions_.end()) return &found->second;
  if (opening_ == nullptr) return nullptr;
  Session& session = sessions_[browser];
  session.wsi = opening_;
  return &session;
}

void BrowserSessions::wake(BrowserId browser) {
  if (const Session* session = find(browser)) (void)lws_callback_on_writable(session->wsi);
}

void BrowserSessions::close(BrowserId browser, CloseCode code, std::string_view why) {
  Session* const session = find(browser);
  if (session == nullptr || session->closing) return;
  session->closing = true;
  session->code = code;
  session->why = why.substr(0, kLongestReason);
  session->close_by = now_ms() + kCloseTime;
  (void)lws_callback_on_writable(session->wsi);
}

void BrowserSessions::tick(Ms now) {
  for (const auto& [id, session] : sessions_) {
    if (session.closing && now >= session.close_by) kill_soon(session.wsi);
  }
}

int BrowserSessions::serve(lws* wsi, lws_callback_reasons reason, void* user, std::string_view bytes) {
  if (reason == LWS_CALLBACK_ESTABLISHED) opened(wsi, *static_cast<BrowserId*>(user));
  if (reason != LWS_CALLBACK_RECEIVE && reason != LWS_CALLBACK_SERVER_WRITEABLE &&
      reason != LWS_CALLBACK_CLOSED) {
    return 0;
  }
  const BrowserId id = *static_cast<const BrowserId*>(user);
  Session* const session = find(id);
  if (session == nullptr) return -1;
  if (reason == LWS_CALLBACK_SERVER_WRITEABLE) return write(id, *session);
  if (reason == LWS_CALLBACK_RECEIVE) {
    received(id, *session, bytes);
  } else {
    sessions_.erase(id);
    gateway_.browser_closed(id, now_ms());
  }
  return 0;
}

void BrowserSessions::opened(lws* wsi, BrowserId& id) {
  opening_ = wsi;
  id = gateway_.browser_opened(now_ms());
  (void)find(id);
  opening_ = nullptr;
}

void BrowserSessions::received(BrowserId id, Session& session, std::string_view bytes) {
  if (session.closing) return;
  if (lws_frame_is_binary(session.wsi) != 0) {
    return gateway_.browser_misbehaved(id, CloseCode::kBadMessage, "messages are text");
  }
  if (session.message.size() + bytes.size() + lws_remaining_packet_payload(session.wsi) > kMaxMessage) {
    return gateway_.browser_misbehaved(id, CloseCode::kTooLarge, "message too large");
  }
  session.message.append(bytes);
  if (lws_remaining_packet_payload(session.wsi) != 0 || lws_is_final_fragment(session.wsi) == 0) return;
  const std::string message = std::exchange(session.message, {});
  gateway_.browser_said(id, message, now_ms());
}

int BrowserSessions::write(BrowserId id, Session& session) {
  const std::string message = gateway_.take_message(id, now_ms());
  if (!message.empty()) {
    std::vector<unsigned char> bytes(LWS_PRE + message.size());
    std::copy(message.begin(), message.end(), bytes.begin() + LWS_PRE);
    if (lws_write(session.wsi, bytes.data() + LWS_PRE, message.size(), LWS_WRITE_TEXT) < 0) return -1;
    (void)lws_callback_on_writable(session.wsi);  // for the next, or for the close
    return 0;
  }
  if (!session.closing) return 0;
  std::string why = session.why;
  lws_close_reason(session.wsi, static_cast<lws_close_status>(session.code),
                   reinterpret_cast<unsigned char*>(why.data()), why.size());
  return -1;
}

}  // namespace hark::panel_gateway
