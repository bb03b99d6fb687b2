#include "log_bench.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <utility>

namespace hark {

LogBench::LogBench() {
  // An empty file puts server and level back; the log takes it at the next message.
  cfgfile_before_ = std::exchange(log_cfgfile, folder_.Write("defaults.cfg", ""));
  closelog();
  Open();
  (void)Log(kLogDebug, "reset");
  closelog();
  log_cfgfile = folder_.File("log.cfg");

  const unsigned pid = static_cast<unsigned>(::getpid());
  address_ = "127.1." + std::to_string(pid / 254 % 256) + "." + std::to_string(pid % 254 + 1);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(514);
  address.sin_addr.s_addr = inet_addr(address_.c_str());
  server_.reset(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  if (::bind(server_.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) server_.reset();
}

LogBench::~LogBench() {
  closelog();
  log_cfgfile = cfgfile_before_;
}

std::string LogBench::Log(int priority, const char* text) {
  testing::internal::CaptureStderr();
  syslog(priority, "%s", text);
  return testing::internal::GetCapturedStderr();
}

std::string LogBench::Received() const {
  std::string all;
  std::array<char, 4096> datagram{};
  for (;;) {
    const ssize_t n = ::recv(server_.get(), datagram.data(), datagram.size(), MSG_DONTWAIT);
    if (n < 0) return all;
    all.append(datagram.data(), static_cast<std::size_t>(n)) += '|';
  }
}

std::string Tagged(const std::string& ident, const std::string& text) {
  return ident + "[" + std::to_string(::getpid()) + "]: " + text;
}

}  // namespace hark
