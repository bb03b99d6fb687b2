#include "daemon/log/log.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "base/fd.h"
#include "base/text.h"
#include "daemon/log/process_files.h"

namespace hark {

std::string log_cfgfile = "/etc/Orfe/EngConf/SyslogServerParams.cfg";

namespace {

constexpr std::size_t kLogBufferSize = 1500;
constexpr std::size_t kMessageLimit = 1498;  // header and text; leaves room for the LF of the stderr copy
constexpr in_port_t kSyslogPort = 514;       // RFC 5426 section 3.3
constexpr int kDefaultSeverity = kLogNotice;
constexpr std::size_t kHostNameLimit = 256;

struct LogState {
  std::unique_ptr<std::array<char, kLogBufferSize>> log_buf;  // null: closed
  std::string log_ident;
  unsigned log_option = 0;
  unsigned log_facility = 0;
  UniqueFd sock;
  long log_cfgfile_mtime = 0;
  int log_severity_level = kDefaultSeverity;  // the highest level number that is sent
  in_addr_t log_remote_addr = 0;              // network order; 0: no server
};
LogState g_log;

// A key that was taken out of the file goes back to its default, so every reading starts from the defaults.
void read_config() {
  g_log.log_remote_addr = 0;
  g_log.log_severity_level = kDefaultSeverity;
  const UniqueFile file = open_file(log_cfgfile, "r");
  if (!file) return;
  std::array<char, 50> key{};
  std::array<char, 64> value{};
  while (std::fscanf(file.get(), "%49s %63s \n", key.data(), value.data()) == 2) {
    if (std::strcmp(key.data(), "SyslogServer_IPaddr") == 0) {
      g_log.log_remote_addr = inet_addr(value.data());
    } else if (std::strcmp(key.data(), "SyslogServer_SeverityLevel") == 0) {
      g_log.log_severity_level =
          static_cast<int>(std::min<unsigned long>(std::strtoul(value.data(), nullptr, 0), INT_MAX));
    }
  }
}

void follow_config_file() {
  long mtime = 0;
  if (get_filetime(log_cfgfile.c_str(), &mtime) != 0 || mtime == g_log.log_cfgfile_mtime) return;
  g_log.log_cfgfile_mtime = mtime;
  read_config();
}

void send_to_server(std::span<const char> text) {
  if (g_log.log_remote_addr == 0 || !g_log.sock.is_open()) return;
  sockaddr_in to{};
  to.sin_family = AF_INET;
  to.sin_port = htons(kSyslogPort);
  to.sin_addr.s_addr = g_log.log_remote_addr;
  // The result is ignored: a log that cannot be delivered has nobody to be told.
  (void)::sendto(g_log.sock.get(), text.data(), text.size(), MSG_DONTWAIT,
                 reinterpret_cast<const sockaddr*>(&to), sizeof to);
}

}  // namespace

int openlog(const char* ident, unsigned option, unsigned facility) {
  if (!g_log.log_buf) g_log.log_buf = std::make_unique<std::array<char, kLogBufferSize>>();
  g_log.log_ident = ident != nullptr ? ident : "";
  g_log.log_option = option;
  g_log.log_facility = facility;
  g_log.sock.reset(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  return 0;
}

void syslog(int priority, const char* fmt, ...) {
  follow_config_file();
  if (!g_log.log_buf || priority > g_log.log_severity_level) return;

  const std::span<char> room = std::span(*g_log.log_buf).first(kMessageLimit + 1);
  TextWriter out(room);
  out.append("<%d> ", static_cast<int>(g_log.log_facility) | priority);
  std::array<char, kHostNameLimit> host{};
  if (::gethostname(host.data(), host.size() - 1) == 0) out.append("%s", host.data());
  const auto copy_from = static_cast<std::size_t>(out.length()) + 1;  // behind the blank after the host name
  out.append(" %s[%d]: ", g_log.log_ident.c_str(), static_cast<int>(::getpid()));
  va_list args;
  va_start(args, fmt);
  out.advance(vformat_text(out.rest(), fmt, args));
  va_end(args);

  const auto length = static_cast<std::size_t>(out.length());
  send_to_server(room.first(length));
  if ((g_log.log_option & kLogStderr) == 0) return;
  (*g_log.log_buf)[length] = '\n';
  const auto copy = std::span(*g_log.log_buf).subspan(copy_from, length + 1 - copy_from);
  (void)!::write(STDERR_FILENO, copy.data(), copy.size());
}

void closelog() { g_log = LogState{}; }

}  // namespace hark
