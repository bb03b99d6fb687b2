#include "tools/harkpanel/http_clients.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <cerrno>
#include <string_view>
#include <vector>

#include "base/text.h"
#include "tools/harkpanel/browser_sessions.h"
#include "tools/harkpanel/http_reply.h"
#include "tools/harkpanel/origin.h"

namespace hark::panel_gateway {
namespace {

constexpr int kClientsInARow = 16;
// What a browser does not read waits here; beyond it, as changed parts that are not yet written as text.
constexpr int kSendBuffer = 64 << 10;
constexpr std::string_view kPanelPath = "/panel";
constexpr std::string_view kWebSocketVersion = "13";

std::string header(lws* wsi, lws_token_indexes name) {
  const int length = lws_hdr_total_length(wsi, name);
  if (length <= 0) return {};
  std::string text(static_cast<std::size_t>(length) + 1, '\0');
  const int copied = lws_hdr_copy(wsi, text.data(), length + 1, name);
  text.resize(copied < 0 ? 0 : static_cast<std::size_t>(copied));
  return text;
}

bool has(lws* wsi, lws_token_indexes name) { return lws_hdr_total_length(wsi, name) > 0; }

bool announces_body(lws* wsi) {
  if (has(wsi, WSI_TOKEN_HTTP_TRANSFER_ENCODING)) return true;
  const std::string length = header(wsi, WSI_TOKEN_HTTP_CONTENT_LENGTH);
  return length.find_first_not_of("0 ") != std::string::npos;
}

bool write_reply(lws* wsi, const HttpReply& reply) {
  std::vector<unsigned char> bytes(LWS_PRE + reply.text.size());
  std::copy(reply.text.begin(), reply.text.end(), bytes.begin() + LWS_PRE);
  return lws_write(wsi, bytes.data() + LWS_PRE, reply.text.size(), LWS_WRITE_HTTP_FINAL) >= 0;
}

void tune(int client) {
  const int on = 1;
  (void)::setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  (void)::setsockopt(client, SOL_SOCKET, SO_SNDBUF, &kSendBuffer, sizeof kSendBuffer);
}

UniqueFd open_spare() { return UniqueFd(::open("/dev/null", O_RDONLY | O_CLOEXEC)); }

}  // namespace

HttpClients::HttpClients(std::size_t most, bool token_wanted)
    : most_(most), token_wanted_(token_wanted), spare_(open_spare()) {}

bool HttpClients::listen(lws_vhost* vhost, UniqueFd listener) {
  vhost_ = vhost;
  return watch(vhost, std::move(listener));
}

void HttpClients::on_readable() {
  for (int i = 0; i < kClientsInARow; ++i) {
    UniqueFd client(::accept4(fd(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (client.is_open()) {
      let_in(std::move(client));
    } else if (errno == EMFILE || errno == ENFILE) {
      return turn_one_away();
    } else if (errno != EINTR && errno != ECONNABORTED) {
      return;
    }
  }
}

void HttpClients::let_in(UniqueFd client) {
  if (clients_.size() >= most_) return;  // closes it
  tune(client.get());
  lws* const wsi = lws_adopt_socket_vhost(vhost_, client.release());
  if (wsi != nullptr) clients_[wsi] = now_ms() + kRequestTime;
}

void HttpClients::upgraded(lws* wsi) { clients_[wsi] = kNever; }

// A client that is left waiting would keep the loop busy without end.
void HttpClients::turn_one_away() {
  spare_.reset();
  (void)UniqueFd(::accept4(fd(), nullptr, nullptr, SOCK_CLOEXEC));
  spare_ = open_spare();
}

void HttpClients::tick(Ms now) {
  for (const auto& [wsi, by] : clients_) {
    if (now >= by) kill_soon(wsi);
  }
}

int HttpClients::serve(lws* wsi, lws_callback_reasons reason, std::string_view in) {
  switch (reason) {
    case LWS_CALLBACK_HTTP:
      return answer_request(wsi, in);
    case LWS_CALLBACK_HTTP_CONFIRM_UPGRADE:
      return confirm_upgrade(wsi, in);
    case LWS_CALLBACK_FILTER_PROTOCOL_CONNECTION:
      return -1;  // panels have a protocol of their own
    case LWS_CALLBACK_WSI_DESTROY:
      clients_.erase(wsi);
      return 0;
    default:
      return 0;
  }
}

int HttpClients::answer_request(lws* wsi, std::string_view path) {
  HttpRequest request;
  request.path = path;
  request.get = has(wsi, WSI_TOKEN_GET_URI);
  request.head = has(wsi, WSI_TOKEN_HEAD_URI);
  request.has_body = announces_body(wsi);
  const HttpReply reply = answer(request);
  if (!write_reply(wsi, reply) || !reply.keep_open) return -1;
  clients_[wsi] = now_ms() + kIdleTime;
  return lws_http_transaction_completed(wsi);
}

// Refused here, before the upgrade, since a browser would not learn of it otherwise.
int HttpClients::confirm_upgrade(lws* wsi, std::string_view protocol) {
  const auto refuse = [wsi](int status, std::string_view why) {
    (void)write_reply(wsi, refusal(status, why));
    return -1;
  };
  // Whatever its case (RFC 6455 4.2.1).
  if (!equal_nocase(std::string(protocol).c_str(), "websocket")) {
    return refuse(400, "only WebSocket is served");
  }
  if (header(wsi, WSI_TOKEN_GET_URI) != kPanelPath) return refuse(404, "there is no panel here");
  if (header(wsi, WSI_TOKEN_VERSION) != kWebSocketVersion) {
    return refuse(426, "only version 13 of WebSocket is served");
  }
  if (header(wsi, WSI_TOKEN_PROTOCOL) != kPanelProtocol) {
    return refuse(400, "the subprotocol harkpanel is wanted");
  }
  const std::string_view why =
      upgrade_refusal(header(wsi, WSI_TOKEN_ORIGIN), header(wsi, WSI_TOKEN_HOST), token_wanted_);
  return why.empty() ? 0 : refuse(403, why);
}

}  // namespace hark::panel_gateway
