#include "daemon/qnrlib/qnrcli.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>

#include "base/fd.h"

namespace hark {
namespace {

constexpr char kLibraryName[] = "qnrlib";

// Reads what is there into the free part of the buffer. False when the connection is gone.
bool read_more(_tagQNRCLI& client) {
  const auto unread = static_cast<std::size_t>(client.tail - client.head);
  std::memmove(client.buf, client.head, unread);
  client.head = client.buf;
  client.tail = client.buf + unread;
  *client.tail = '\0';
  const std::size_t room = static_cast<std::size_t>(client.size) - unread - 1;
  const ssize_t got = ::recv(client.fd, client.tail, room, 0);
  if (got <= 0) {
    (void)std::fprintf(stderr, "%s: recv() failed err=%d\n", kLibraryName, got < 0 ? errno : 0);
    ::close(client.fd);
    client.fd = -1;
    return false;
  }
  client.tail += got;
  *client.tail = '\0';
  return true;
}

bool wait_readable(int fd, long timeout_us) {
  fd_set readable;
  FD_ZERO(&readable);
  int highest = -1;
  if (!fdset_add(fd, readable, highest)) return false;
  timeval timeout{timeout_us / 1'000'000, timeout_us % 1'000'000};
  return ::select(highest + 1, &readable, nullptr, nullptr, &timeout) > 0;
}

}  // namespace

bool connect_in_time(int fd, const sockaddr_in& to) {
  constexpr timeval kLimit{1, 200'000};  // on Linux the limit on sending bounds the connect too
  constexpr timeval kNone{0, 0};
  (void)::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &kLimit, sizeof kLimit);
  const bool connected = ::connect(fd, reinterpret_cast<const sockaddr*>(&to), sizeof to) == 0;
  (void)::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &kNone, sizeof kNone);
  return connected;
}

int qnr_open(unsigned long ip, unsigned short port) {
  UniqueFd fd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!fd.is_open()) return -1;
  const int on = 1;
  (void)::setsockopt(fd.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  sockaddr_in to{};
  to.sin_family = AF_INET;
  to.sin_addr.s_addr = ip != 0 ? static_cast<in_addr_t>(ip) : htonl(INADDR_LOOPBACK);
  to.sin_port = htons(port != 0 ? port : kQnrDefaultPort);
  return connect_in_time(fd.get(), to) ? fd.release() : -1;
}

int qnr_cmd(int fd, const char* text) {
  const std::size_t length = std::strlen(text);
  const ssize_t sent = ::send(fd, text, length, MSG_NOSIGNAL);
  return sent == static_cast<ssize_t>(length) ? 0 : -1;
}

int qnrcli_init(_tagQNRCLI* client) {
  client->fd = qnr_open(0, 0);
  client->size = static_cast<int>(kQnrClientBuffer);
  client->buf = new (std::nothrow) char[kQnrClientBuffer];
  client->head = client->tail = client->buf;
  if (client->buf == nullptr) {
    (void)std::fprintf(stderr, "%s out of memory\n", kLibraryName);
    return 1;
  }
  *client->buf = '\0';
  return 0;
}

void qnrcli_free(_tagQNRCLI* client) {
  if (client->fd >= 0) ::close(client->fd);
  delete[] client->buf;
  *client = _tagQNRCLI{};
}

char* qnrcli_recv(_tagQNRCLI* client, long timeout_us) {
  if (client->buf == nullptr) return nullptr;
  // A line that fills the buffer leaves no room: recv then gives 0, and the connection ends.
  if (client->fd >= 0 && wait_readable(client->fd, timeout_us)) read_more(*client);
  char* end = std::strpbrk(client->head, "\r\n");
  if (end == nullptr) return nullptr;
  char* line = client->head;
  *end++ = '\0';
  while (end < client->tail && (*end == '\r' || *end == '\n'))
    ++end;
  client->head = end;
  return line;
}

}  // namespace hark
