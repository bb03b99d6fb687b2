// The browsers' WebSockets: puts their messages together for the gateway, writes what it has for each of them
// when that can take it, and closes with a reason. One message at a time is under way to each; what else has
// changed meanwhile the gateway knows.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "tools/harkpanel/gateway.h"
#include "tools/harkpanel/web_loop.h"

namespace hark::panel_gateway {

inline constexpr const char* kPanelProtocol = "harkpanel";
// A close that could not be delivered in this time is none any more: the connection is cut.
inline constexpr Ms kCloseTime = 2'000;

class BrowserSessions {
 public:
  // Borrows the gateway, which may call wake() and close() from within any call from here.
  explicit BrowserSessions(Gateway& gateway) : gateway_(gateway) {}

  // As GatewayOutputs has them.
  void wake(BrowserId browser);
  void close(BrowserId browser, CloseCode code, std::string_view why);

  // Cuts those whose close has taken too long.
  void tick(Ms now);
  [[nodiscard]] bool empty() const { return sessions_.empty(); }

  // The loop's callback for a WebSocket: what it returns is for the loop. `user`: a BrowserId in its memory.
  int serve(lws* wsi, lws_callback_reasons reason, void* user, std::string_view bytes);
  static constexpr std::size_t kUserSize = sizeof(BrowserId);

 private:
  struct Session {
    lws* wsi = nullptr;
    std::string message;  // as far as it has come
    bool closing = false;
    CloseCode code = CloseCode::kGoingAway;
    std::string why;
    Ms close_by = 0;
  };

  Session* find(BrowserId browser);
  void opened(lws* wsi, BrowserId& id);
  void received(BrowserId id, Session& session, std::string_view bytes);
  int write(BrowserId id, Session& session);

  Gateway& gateway_;
  std::map<BrowserId, Session> sessions_;
  lws* opening_ = nullptr;  // has no number yet, though the gateway may already speak of it
};

}  // namespace hark::panel_gateway
