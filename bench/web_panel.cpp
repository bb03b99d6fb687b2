#include "web_panel.h"

#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace hark::bench {
namespace {

// Where the gateway listens, once it does: 10 s.
UniqueFd connect_to_gateway(int port) {
  constexpr int kTries = 200;
  UniqueFd fd = connect_from(1, port);
  for (int i = 0; i < kTries && !fd.is_open(); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    fd = connect_from(1, port);
  }
  return fd;
}

// A client's text frame. Its mask is 0, which leaves the message as it is (RFC 6455, 5.3). Requires a message
// below 126 bytes.
std::string frame(const std::string& message) {
  std::string text{'\x81', static_cast<char>(0x80 | message.size()), '\0', '\0', '\0', '\0'};
  return text + message;
}

[[noreturn]] void run(const std::string& program, const std::string& root, int ctrl_port, int port) {
  const std::string station = "127.0.0.1:" + std::to_string(ctrl_port);
  const std::string listen = "127.0.0.1:" + std::to_string(port);
  (void)::setenv("HARK_ROOT", root.c_str(), 1);
  if (std::freopen("/dev/null", "w", stdout) == nullptr) std::_Exit(127);
  (void)::execl(program.c_str(), program.c_str(), "--station", station.c_str(), "--listen", listen.c_str(),
                static_cast<char*>(nullptr));
  std::_Exit(127);
}

}  // namespace

GatewayProcess::GatewayProcess(const std::string& program, int ctrl_port) : root_("", "") {
  process_ = std::make_unique<Helper>([&] { run(program, root_.path(), ctrl_port, port_); });
}

WebPanel::WebPanel(int port) : connection_(connect_to_gateway(port)) {
  connection_.send("GET /panel HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) +
                   "\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
                   "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n"
                   "Sec-WebSocket-Protocol: harkpanel\r\n\r\n");
  connection_.read_past("\r\n\r\n");
  say(R"({"t":"hello","v":1})");
  connection_.read_past(R"("link":"up")");
  settle();
}

void WebPanel::say(const std::string& message) { connection_.send(frame(message)); }

std::string WebPanel::next_echo() { return R"({"t":"echo","n":)" + std::to_string(++echoes_) + "}"; }

std::string WebPanel::echo_text() const { return "\"n\":" + std::to_string(echoes_); }

void WebPanel::settle() {
  // A pong that nobody has asked for says that we are there (RFC 6455, 5.5.3): pings are passed over unread.
  connection_.send(std::string_view("\x8A\x80\0\0\0\0", 6));
  say(next_echo());
  connection_.read_past(echo_text());
}

}  // namespace hark::bench
