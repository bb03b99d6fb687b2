#include "support/line_socket.h"

#include <sys/socket.h>

#include <array>
#include <cstdlib>
#include <sstream>

#include "routing/harkqnr.h"

namespace hark {

LineSocket::LineSocket() {
  std::array<int, 2> pair{};
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()) != 0) std::abort();
  product_.reset(pair[0]);
  test_.reset(pair[1]);
}

std::string LineSocket::Text() {
  std::string text;
  std::array<char, 4096> part{};
  for (;;) {
    const ssize_t n = ::recv(test_.get(), part.data(), part.size(), MSG_DONTWAIT);
    if (n <= 0) return text;
    text.append(part.data(), static_cast<std::size_t>(n));
  }
}

std::vector<std::string> LineSocket::Lines() {
  std::istringstream in(Text());
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(line);
  }
  return lines;
}

void LineSocket::Send(const std::string& text) {
  (void)!::send(test_.get(), text.data(), text.size(), MSG_NOSIGNAL);
}

RecordingMixer::RecordingMixer() {
  harkqnr_connected(fd());
  (void)Text();
}

RecordingMixer::~RecordingMixer() {
  if (harkqnr_fd() == fd()) harkqnr_connected(-1);
}

}  // namespace hark
