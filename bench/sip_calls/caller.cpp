#include "caller.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <array>

namespace hark::bench {
namespace {

constexpr timeval kLimit{5, 0};

sockaddr_in ipv4(const std::string& address, int port) {
  sockaddr_in at{};
  at.sin_family = AF_INET;
  at.sin_port = htons(static_cast<in_port_t>(port));
  (void)::inet_pton(AF_INET, address.c_str(), &at.sin_addr);
  return at;
}

std::string branch(const HeldCall& call, const char* what) { return call.party.call_id + what; }

}  // namespace

Caller::Caller(std::string address, int parties)
    : address_(std::move(address)),
      socket_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)),
      parties_(parties) {
  sockaddr_in at = ipv4(address_, 0);
  socklen_t size = sizeof at;
  if (::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&at), sizeof at) != 0 ||
      ::getsockname(socket_.get(), reinterpret_cast<sockaddr*>(&at), &size) != 0) {
    socket_.reset();
  }
  port_ = ntohs(at.sin_port);
  (void)::setsockopt(socket_.get(), SOL_SOCKET, SO_RCVTIMEO, &kLimit, sizeof kLimit);
}

void Caller::send(const std::string& text, const Target& target) {
  const sockaddr_in to = ipv4(target.address, target.port);
  (void)::sendto(socket_.get(), text.data(), text.size(), 0, reinterpret_cast<const sockaddr*>(&to),
                 sizeof to);
}

std::string Caller::receive(int& port) {
  std::array<char, 2000> room;
  sockaddr_in from{};
  socklen_t size = sizeof from;
  const ssize_t got =
      ::recvfrom(socket_.get(), room.data(), room.size(), 0, reinterpret_cast<sockaddr*>(&from), &size);
  port = ntohs(from.sin_port);
  return got > 0 ? std::string(room.data(), static_cast<std::size_t>(got)) : std::string();
}

std::optional<HeldCall> Caller::open(const Target& target) {
  const std::string name = "desk" + std::to_string(made_ % parties_);
  HeldCall call;
  call.target = target;
  call.party = {address_ + ":" + std::to_string(port_), "sip:" + target.user + "@" + target.address,
                "sip:hark-" + std::string(target.user == "hark-talk" ? "listen" : "talk") + "@" + name +
                    ";trgl=4;label=" + name,
                "bench" + std::to_string(made_++)};
  const std::string invite =
      callsoak::request("INVITE", call.party, 1, branch(call, "i"), "", callsoak::description(address_));
  const auto began = Clock::now();
  send(invite, target);
  for (int port = 0;;) {
    const std::string text = receive(port);
    const auto time = Clock::now() - began;
    if (text.empty()) return std::nullopt;
    if (callsoak::header(text, "Call-ID") != call.party.call_id) continue;
    const int status = callsoak::status_of(text);
    if (status == 100) call.times.trying = time;
    if (status < 200) continue;
    if (status != 200) return std::nullopt;
    call.times.answer = time;
    call.to_tag = callsoak::tag_of(callsoak::header(text, "To"));
    send(callsoak::request("ACK", call.party, 1, branch(call, "a"), call.to_tag), target);
    return call;
  }
}

bool Caller::close(const HeldCall& call) {
  send(callsoak::request("BYE", call.party, 2, branch(call, "b"), call.to_tag), call.target);
  for (int port = 0;;) {
    const std::string text = receive(port);
    if (text.empty()) return false;
    if (callsoak::header(text, "Call-ID") == call.party.call_id && callsoak::cseq_method(text) == "BYE") {
      return callsoak::status_of(text) == 200;
    }
  }
}

std::optional<CallTimes> Caller::call(const Target& target) {
  const std::optional<HeldCall> call = open(target);
  if (!call || !close(*call)) return std::nullopt;
  return call->times;
}

}  // namespace hark::bench
