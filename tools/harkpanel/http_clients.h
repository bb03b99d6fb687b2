// The connections that come in, until they are WebSockets: how many there may be, how long each may take, and
// what it is answered. Behind it stands libwebsockets, which reads the requests.
#pragma once

#include <limits>
#include <map>
#include <string_view>

#include "tools/harkpanel/web_loop.h"

namespace hark::panel_gateway {

// Browsers, and what loads the page: each of them keeps up to six connections for that.
inline constexpr std::size_t kMostClients = 256;
// From the connection to the end of its first request.
inline constexpr Ms kRequestTime = 10'000;
// From an answer to the end of the next request: the files of a page are asked for in a row. Many browsers
// that start at once must not wait for connections that others keep and have no more use for.
inline constexpr Ms kIdleTime = 1'000;

class HttpClients : private Watched {
 public:
  // `most`: so many connections at a time, others are turned away. `token_wanted`: see upgrade_refusal().
  HttpClients(std::size_t most, bool token_wanted);

  // Lets clients in at this listening socket. False: it could not be watched.
  [[nodiscard]] bool listen(lws_vhost* vhost, UniqueFd listener);
  void stop_listening() { drop(); }
  // The connection is a WebSocket from here on: it has no limit here, but still counts.
  void upgraded(lws* wsi);
  // Ends those that take too long.
  void tick(Ms now);

  // The loop's callback for a connection that is no WebSocket: `in`: what comes with the reason, what it
  // returns is for the loop.
  int serve(lws* wsi, lws_callback_reasons reason, std::string_view in);

 private:
  static constexpr Ms kNever = std::numeric_limits<Ms>::max();

  void on_readable() override;
  void let_in(UniqueFd client);
  void turn_one_away();
  int answer_request(lws* wsi, std::string_view path);
  int confirm_upgrade(lws* wsi, std::string_view protocol);

  std::size_t most_;
  bool token_wanted_;
  lws_vhost* vhost_ = nullptr;
  UniqueFd spare_;              // given up to take in, and close, a client for whom there is none left
  std::map<lws*, Ms> clients_;  // by when each is to have its next answer; kNever: it is a WebSocket
};

}  // namespace hark::panel_gateway
