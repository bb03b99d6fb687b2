#include "system/support/ws_client.h"

#include <netinet/tcp.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <utility>

#include "system/support/sockets.h"

namespace hark::test {
namespace {

// The key of RFC 6455 1.3 and what a server makes of it.
constexpr char kKey[] = "dGhlIHNhbXBsZSBub25jZQ==";
constexpr char kAccept[] = "s3pPLMBiTxaQ9kYGzzhZRbK+xOo=";
constexpr int kSwitching = 101;
constexpr unsigned char kFin = 0x80;
constexpr unsigned char kMasked = 0x80;
constexpr std::array<char, 4> kMask = {0x37, 0x7A, 0x21, 0x5D};

char byte(unsigned value) { return static_cast<char>(static_cast<unsigned char>(value)); }

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return text;
}

std::uint64_t big_endian(std::string_view bytes) {
  std::uint64_t value = 0;
  for (const char c : bytes)
    value = value << 8 | static_cast<unsigned char>(c);
  return value;
}

}  // namespace

std::string WsFrame::bytes() const {
  const std::uint64_t size = length.value_or(payload.size());
  int size_bytes = length_bytes;
  if (size_bytes < 0) size_bytes = size < 126 ? 1 : size < 65'536 ? 2 : 8;
  std::string out;
  out += byte((fin ? kFin : 0U) | static_cast<unsigned>(reserved) << 4 | static_cast<unsigned>(opcode));
  const unsigned first = size_bytes == 1 ? static_cast<unsigned>(size) : size_bytes == 2 ? 126U : 127U;
  out += byte((masked ? kMasked : 0U) | first);
  for (int at = size_bytes == 1 ? 0 : size_bytes; at > 0; --at)
    out += byte(static_cast<unsigned>(size >> (8 * (at - 1)) & 0xFF));
  if (!masked) return out + payload;
  out.append(kMask.data(), kMask.size());
  for (std::size_t at = 0; at < payload.size(); ++at)
    out += static_cast<char>(payload[at] ^ kMask[at % kMask.size()]);
  return out;
}

bool WsClient::connect(int port, const std::string& source, const std::string& address) {
  bytes_.clear();
  head_.clear();
  body_.clear();
  texts_.clear();
  partial_.clear();
  close_reason_.clear();
  fault_.clear();
  status_ = close_code_ = pongs_ = 0;
  upgraded_ = ended_ = false;
  reading_ = true;
  fd_ = bound_socket(SOCK_STREAM, source, 0);
  if (!fd_.is_open()) return false;
  if (receive_buffer_ > 0)
    (void)::setsockopt(fd_.get(), SOL_SOCKET, SO_RCVBUF, &receive_buffer_, sizeof receive_buffer_);
  const int on = 1;
  (void)::setsockopt(fd_.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  authority_ = address + ":" + std::to_string(port);
  const sockaddr_in to = ipv4(address, port);
  if (::connect(fd_.get(), reinterpret_cast<const sockaddr*>(&to), sizeof to) == 0) return true;
  if (errno != EINPROGRESS) return false;
  int error = ENOTCONN;
  (void)wait_until([&] {
    sockaddr_in peer{};
    socklen_t size = sizeof peer;
    socklen_t error_size = sizeof error;
    if (::getsockopt(fd_.get(), SOL_SOCKET, SO_ERROR, &error, &error_size) != 0 || error != 0) return true;
    return ::getpeername(fd_.get(), reinterpret_cast<sockaddr*>(&peer), &size) == 0;
  });
  return error == 0;
}

int WsClient::upgrade(const WsUpgrade& request) {
  std::string text = "GET " + request.path +
                     " HTTP/1.1\r\nHost: " + (request.host.empty() ? authority_ : request.host) +
                     "\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Key: " + kKey +
                     "\r\nSec-WebSocket-Version: " + request.version + "\r\n";
  if (!request.origin.empty()) text += "Origin: " + request.origin + "\r\n";
  if (!request.protocol.empty()) text += "Sec-WebSocket-Protocol: " + request.protocol + "\r\n";
  for (const std::string& line : request.more)
    text += line + "\r\n";
  if (!send_raw(text + "\r\n")) return 0;
  const int status = wait_http();
  if (status != kSwitching) return status;
  if (header("Sec-WebSocket-Accept") != kAccept) fault_ = "another key was accepted";
  if (header("Sec-WebSocket-Protocol") != request.protocol) fault_ = "another protocol was chosen";
  return status;
}

bool WsClient::send_raw(std::string_view bytes) {
  return wait_until([&] {
           while (!bytes.empty()) {
             const ssize_t sent = ::send(fd_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
             if (sent < 0 && errno != EAGAIN && errno != EINTR) return true;
             if (sent <= 0) return false;
             bytes.remove_prefix(static_cast<std::size_t>(sent));
           }
           return true;
         }) &&
         bytes.empty();
}

int WsClient::wait_http(int timeout_ms) {
  status_ = 0;
  (void)wait_until([this] { return status_ != 0 || ended_; }, timeout_ms);
  return status_;
}

std::string WsClient::header(const std::string& name) const {
  const std::string found = "\r\n" + lower(name) + ":";
  std::size_t at = lower(head_).find(found);
  if (at == std::string::npos) return {};
  at = head_.find_first_not_of(' ', at + found.size());
  return head_.substr(at, head_.find("\r\n", at) - at);
}

int WsClient::wait_closed(int timeout_ms) {
  (void)wait_until([this] { return close_code_ != 0 || ended_; }, timeout_ms);
  return close_code();
}

void WsClient::abort() {
  const linger at_once{1, 0};
  (void)::setsockopt(fd_.get(), SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
  fd_.reset();
}

void WsClient::fill(fd_set& read, fd_set& /*write*/, int& highest) const {
  if (is_open() && reading_) (void)fdset_add(fd_.get(), read, highest);
}

void WsClient::serve(const fd_set& read, const fd_set& /*write*/) {
  if (is_open() && reading_ && fdset_has(fd_.get(), read)) receive();
}

void WsClient::receive() {
  std::array<char, 65'536> part{};
  const ssize_t got = ::recv(fd_.get(), part.data(), part.size(), 0);
  if (got < 0 && (errno == EAGAIN || errno == EINTR)) return;
  if (got <= 0) ended_ = true;
  if (got > 0) bytes_.append(part.data(), static_cast<std::size_t>(got));
  while (fault_.empty() && (upgraded_ ? take_frame() : take_http())) {
  }
}

// An answer whose end is told by its length, by the end of the connection, or that has no body.
bool WsClient::take_http() {
  const std::size_t end = bytes_.find("\r\n\r\n");
  if (status_ != 0 || end == std::string::npos) return false;
  head_ = bytes_.substr(0, end + 2);
  const int status = std::atoi(head_.c_str() + std::min<std::size_t>(9, head_.size()));
  const std::string length = header("Content-Length");
  std::size_t size = static_cast<std::size_t>(std::strtoul(length.c_str(), nullptr, 10));
  if (status != kSwitching && length.empty()) {
    if (!ended_) return false;
    size = bytes_.size() - end - 4;
  }
  if (bytes_.size() < end + 4 + size) return false;
  body_ = bytes_.substr(end + 4, size);
  bytes_.erase(0, end + 4 + size);
  status_ = status;
  upgraded_ = status == kSwitching;
  return true;
}

bool WsClient::take_frame() {
  if (bytes_.size() < 2) return false;
  const auto first = static_cast<unsigned char>(bytes_[0]);
  const auto second = static_cast<unsigned char>(bytes_[1]);
  // RFC 6455 5.1: a server masks nothing. No extension was asked for that would use the reserved bits.
  if ((second & kMasked) != 0) fault_ = "a masked frame from the server";
  if ((first & 0x70) != 0) fault_ = "reserved bits from the server";
  if (!fault_.empty()) return false;
  const unsigned small = second & 0x7FU;
  const std::size_t size_bytes = small == 126 ? 2 : small == 127 ? 8 : 0;
  if (bytes_.size() < 2 + size_bytes) return false;
  const std::uint64_t size = size_bytes == 0 ? small : big_endian(bytes_.substr(2, size_bytes));
  if (bytes_.size() < 2 + size_bytes + size) return false;
  std::string payload = bytes_.substr(2 + size_bytes, static_cast<std::size_t>(size));
  bytes_.erase(0, 2 + size_bytes + static_cast<std::size_t>(size));
  take(first & 0x0F, (first & kFin) != 0, std::move(payload));
  return true;
}

// What RFC 6455 5.5 demands at once. From within the pump: what does not go is left out.
void WsClient::answer(int opcode, const std::string& payload) {
  const std::string bytes = WsFrame{.opcode = opcode, .payload = payload}.bytes();
  (void)::send(fd_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

void WsClient::take(int opcode, bool fin, std::string payload) {
  switch (opcode) {
    case kWsText:
    case kWsContinuation:
      partial_ += payload;
      if (fin) texts_.push_back(std::exchange(partial_, {}));
      return;
    case kWsPing:
      return answer(kWsPong, payload);
    case kWsPong:
      ++pongs_;
      return;
    case kWsClose:
      close_code_ = payload.size() < 2 ? 1005 : static_cast<int>(big_endian(payload.substr(0, 2)));
      close_reason_ = payload.size() < 2 ? std::string() : payload.substr(2);
      return answer(kWsClose, payload.substr(0, 2));
    default:
      fault_ = "a frame of kind " + std::to_string(opcode);
  }
}

}  // namespace hark::test
