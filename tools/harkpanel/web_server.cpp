#include "tools/harkpanel/web_server.h"

#include <poll.h>
#include <sys/resource.h>
#include <unistd.h>
#include <csignal>

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>

#include "tools/harkpanel/browser_sessions.h"
#include "tools/harkpanel/gateway.h"
#include "tools/harkpanel/http_clients.h"
#include "tools/harkpanel/listener.h"
#include "tools/harkpanel/station_link.h"
#include "tools/harkpanel/stop_signals.h"
#include "tools/harkpanel/web_loop.h"

namespace hark::panel_gateway {
namespace {

constexpr int kFailed = 1;
constexpr Ms kTick = 100;
constexpr Ms kFarewell = 1'000;  // for the station and the browsers to hear that the gateway ends
// The clients, and beside them the station, the listening socket, the signals and the loop's own.
constexpr unsigned kOtherFiles = 32;
constexpr unsigned kMostFiles = kMostClients + kOtherFiles;
constexpr unsigned short kHeaderBytes = 4096;  // of one request
constexpr unsigned kLoopBuffer = 4096;
constexpr std::size_t kWritePiece = std::size_t{64} << 10;
constexpr unsigned kRequestSeconds = kRequestTime / 1000;
// A browser whose machine has vanished is found by a ping that stays unanswered.
constexpr std::uint16_t kPingAfterS = 10;
constexpr std::uint16_t kHangUpAfterS = 20;

void complain(const std::string& line) { (void)std::fprintf(stderr, "harkpanel: %s\n", line.c_str()); }

// Prints a line. Whoever reads standard output may have stopped reading, and must not stop the gateway by
// that, which may hold a key: what cannot be written at once is left out. False: it was.
bool tell(const std::string& line) {
  pollfd out{STDOUT_FILENO, POLLOUT, 0};
  if (::poll(&out, 1, 0) != 1 || (out.revents & POLLOUT) == 0) return false;
  const std::string text = line + "\n";
  return ::write(STDOUT_FILENO, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

GatewayOptions options_of_gateway(const Options& options) {
  return {options.id,          options.first_key, options.last_key,
          options.auto_answer, options.token,     options.channel_file};
}

// How many clients there are descriptors for, besides those that the gateway itself needs to go on.
std::size_t clients_in_reach() {
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return kMostClients;
  if (limit.rlim_cur < kMostFiles && limit.rlim_cur < limit.rlim_max) {
    limit.rlim_cur = std::min<rlim_t>(kMostFiles, limit.rlim_max);
    (void)::setrlimit(RLIMIT_NOFILE, &limit);
  }
  const rlim_t own = std::min<rlim_t>(kOtherFiles, limit.rlim_cur / 2);
  return std::min<rlim_t>(kMostClients, limit.rlim_cur - own);
}

// Everything, tied together.
class Server : private GatewayOutputs, private StationLinkUser {
 public:
  Server(const Options& options, std::unique_ptr<HeldFile> held)
      : options_(options),
        gateway_(options_of_gateway(options), *this, std::move(held)),
        browsers_(gateway_),
        clients_(clients_in_reach(), !options.token.empty()),
        signals_([this] { stop(); }) {}
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;
  ~Server() override;

  int run();

 private:
  [[nodiscard]] bool start(UniqueFd listener);
  void tick();
  void schedule_tick();
  void stop();
  void report_link();
  static int on_http(lws* wsi, lws_callback_reasons reason, void* user, void* in, size_t length);
  static int on_panel(lws* wsi, lws_callback_reasons reason, void* user, void* in, size_t length);

  // GatewayOutputs
  void to_station(std::string_view text) override {
    if (link_) link_->send(text);  // not while the last browsers go
  }
  void wake(BrowserId browser) override { browsers_.wake(browser); }
  void close(BrowserId browser, CloseCode code, std::string_view why) override {
    browsers_.close(browser, code, why);
  }
  void dial_station() override { link_->dial(); }
  void drop_station() override {
    if (link_) link_->give_up();
  }

  // StationLinkUser
  void station_connected() override;
  void station_said(const std::string& line) override;
  void station_lost(std::string_view why) override;

  struct Tick : lws_sorted_usec_list_t {
    Server* server = nullptr;
  };

  Options options_;
  Gateway gateway_;
  BrowserSessions browsers_;
  HttpClients clients_;
  StopSignals signals_;
  lws_context* context_ = nullptr;
  std::optional<StationLink> link_;
  Tick tick_{};
  Ms end_at_ = -1;  // -1: not yet
  bool ended_ = false;
  std::string told_;  // of the station, on standard output
};

// Callbacks of a context come with its user's pointer: the server.
Server& server_of(lws* wsi) { return *static_cast<Server*>(lws_context_user(lws_get_context(wsi))); }

std::string_view text_of(const void* in, size_t length) {
  return in == nullptr ? std::string_view() : std::string_view(static_cast<const char*>(in), length);
}

int Server::on_http(lws* wsi, lws_callback_reasons reason, void* /*user*/, void* in, size_t length) {
  HttpClients& clients = server_of(wsi).clients_;
  // Only for these is it text; the length of the other's does not come with it.
  if (reason == LWS_CALLBACK_HTTP) return clients.serve(wsi, reason, text_of(in, length));
  if (reason == LWS_CALLBACK_HTTP_CONFIRM_UPGRADE) return clients.serve(wsi, reason, static_cast<char*>(in));
  return clients.serve(wsi, reason, {});
}

int Server::on_panel(lws* wsi, lws_callback_reasons reason, void* user, void* in, size_t length) {
  Server& server = server_of(wsi);
  if (reason == LWS_CALLBACK_ESTABLISHED) server.clients_.upgraded(wsi);
  return server.browsers_.serve(wsi, reason, user, text_of(in, length));
}

bool Server::start(UniqueFd listener) {
  // The first serves HTTP; the order of the others means nothing. Both lists outlive the context.
  static const std::array<lws_protocols, 4> protocols{{
      {"http", on_http, 0, 0, 0, nullptr, kWritePiece},
      {kPanelProtocol, on_panel, BrowserSessions::kUserSize, kMaxMessage, 0, nullptr, kWritePiece},
      {kWatchedProtocol, watched_callback, 0, 0, 0, nullptr, 0},
      {},
  }};
  static const lws_retry_bo_t pings = [] {
    lws_retry_bo_t policy{};
    policy.secs_since_valid_ping = kPingAfterS;
    policy.secs_since_valid_hangup = kHangUpAfterS;
    return policy;
  }();
  lws_context_creation_info info{};
  info.port = CONTEXT_PORT_NO_LISTEN_SERVER;
  info.options = LWS_SERVER_OPTION_EXPLICIT_VHOSTS | LWS_SERVER_OPTION_SKIP_SERVER_CANONICAL_NAME;
  info.protocols = protocols.data();
  info.user = this;
  info.server_string = "harkpanel";
  info.fd_limit_per_thread = kMostFiles;
  info.pt_serv_buf_size = kLoopBuffer;
  info.max_http_header_pool = kMostClients;
  info.max_http_header_data = kHeaderBytes;
  info.timeout_secs = kRequestSeconds;
  info.timeout_secs_ah_idle = kRequestSeconds;
  info.keepalive_timeout = static_cast<int>(kRequestSeconds);
  info.retry_and_idle_policy = &pings;
  context_ = lws_create_context(&info);
  if (context_ == nullptr) return false;
  lws_vhost* const vhost = lws_create_vhost(context_, &info);
  if (vhost == nullptr) return false;
  StationLinkUser& hears_of_it = *this;
  link_.emplace(context_, vhost, options_.station, hears_of_it);
  return clients_.listen(vhost, std::move(listener)) && signals_.catch_them(vhost);
}

Server::~Server() {
  if (context_ == nullptr) return;
  lws_sul_cancel(&tick_);
  link_.reset();
  lws_context_destroy(context_);
}

void Server::schedule_tick() {
  tick_.server = this;
  lws_sul_schedule(
      context_, 0, &tick_, [](lws_sorted_usec_list_t* timer) { static_cast<Tick*>(timer)->server->tick(); },
      kTick * 1000);
}

void Server::tick() {
  const Ms now = now_ms();
  browsers_.tick(now);
  if (end_at_ >= 0) {
    ended_ = now >= end_at_ || (browsers_.empty() && link_->finished());
  } else {
    clients_.tick(now);
    link_->tick(now);
    gateway_.tick(now);
    report_link();
  }
  schedule_tick();
}

// The first signal lets everybody hear the end; a second one ends at once.
void Server::stop() {
  if (end_at_ >= 0) {
    ended_ = true;
    return;
  }
  end_at_ = now_ms() + kFarewell;
  clients_.stop_listening();
  gateway_.shut_down(now_ms());
  link_->finish();
}

void Server::station_connected() {
  gateway_.station_connected(now_ms());
  report_link();
}

void Server::station_said(const std::string& line) { gateway_.station_said(line, now_ms()); }

void Server::station_lost(std::string_view why) {
  gateway_.station_lost(why, now_ms());
  report_link();
}

// What would only repeat the line before is left out: a station that is away for a night takes no room in a
// journal.
void Server::report_link() {
  const StationView& view = gateway_.view();
  std::string line;
  if (view.link() == Link::kUp) {
    line = "station: connected";
  } else if (view.link() == Link::kLost && !view.why().empty()) {
    line = "station: lost, " + view.why() + "; again in " + std::to_string((view.retry_ms() + 999) / 1000) +
           " s";
  }
  if (line.empty() || line == told_) return;
  if (tell(line)) told_ = line;
}

int Server::run() {
  std::string error;
  UniqueFd listener = listen_at(options_.listen, error);
  if (!listener.is_open()) {
    complain("cannot listen at " + control::to_text(options_.listen) + ": " + error);
    return kFailed;
  }
  if (!start(std::move(listener))) {
    complain("the web server does not start");
    return kFailed;
  }
  lws_set_log_level(0, nullptr);  // what clients do wrong is theirs
  (void)tell("listening on http://" + control::to_text(options_.listen) + "/");
  schedule_tick();
  while (!ended_ && lws_service(context_, 0) >= 0) {
  }
  if (ended_) return 0;
  complain("the web server has failed");
  gateway_.shut_down(now_ms());  // what it tells the station goes out at once
  return kFailed;
}

void log_line(int /*level*/, const char* line) { (void)std::fprintf(stderr, "harkpanel: %s", line); }

}  // namespace

int run_gateway(const Options& options, std::unique_ptr<HeldFile> held) {
  (void)std::signal(SIGPIPE, SIG_IGN);
  lws_set_log_level(LLL_ERR, log_line);
  Server server(options, std::move(held));
  return server.run();
}

}  // namespace hark::panel_gateway
