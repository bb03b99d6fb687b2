// From the line on the control port that a key ends in to the INVITE on the wire, beside a plain UDP round
// trip of the same sizes.
#include <netinet/in.h>
#include <sys/select.h>
#include <sys/socket.h>

#include <arpa/inet.h>
#include <array>

#include "call_rig.h"
#include "measures.h"
#include "process.h"

namespace hark::bench {
namespace {

constexpr int kWarmUp = 20;
constexpr int kEchoPort = 5070;

// As plain as can be, with the daemon's own wait of 10 ms: so many bytes for each datagram.
[[noreturn]] void echo(const std::string& address, std::size_t reply) {
  const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in at{};
  at.sin_family = AF_INET;
  at.sin_port = htons(kEchoPort);
  (void)::inet_pton(AF_INET, address.c_str(), &at.sin_addr);
  if (::bind(fd, reinterpret_cast<const sockaddr*>(&at), sizeof at) != 0) std::_Exit(1);
  const std::string answer(reply, 'x');
  for (std::array<char, 2000> room;;) {
    fd_set read;
    FD_ZERO(&read);
    FD_SET(fd, &read);
    timeval wait{0, 10'000};
    if (::select(fd + 1, &read, nullptr, nullptr, &wait) <= 0) continue;
    sockaddr_in from{};
    socklen_t size = sizeof from;
    if (::recvfrom(fd, room.data(), room.size(), 0, reinterpret_cast<sockaddr*>(&from), &size) < 0) continue;
    (void)::sendto(fd, answer.data(), answer.size(), 0, reinterpret_cast<const sockaddr*>(&from), size);
  }
}

// Dials, and refuses what comes, so that the line is free again.
std::optional<Clock::duration> dial(callsoak::Station& station, Caller& caller, const std::string& line,
                                    std::size_t* size) {
  const auto began = Clock::now();
  station.send(line);
  int port = 0;
  const std::string invite = caller.receive(port);
  const auto time = Clock::now() - began;
  if (callsoak::method_of(invite) != "INVITE") return std::nullopt;
  if (size != nullptr) *size = invite.size();
  const Target back{callsoak::own_address(1), port, ""};
  caller.send(callsoak::response("486 Busy Here", invite, {caller.address() + ":1", "", "", ""}), back);
  if (callsoak::method_of(caller.receive(port)) != "ACK") return std::nullopt;
  return station.ask("VER", "VER ") ? std::optional(time) : std::nullopt;
}

std::optional<Clock::duration> round_trip(Caller& caller, std::size_t request) {
  const std::string text(request, 'x');
  const auto began = Clock::now();
  caller.send(text, {callsoak::own_address(3), kEchoPort, ""});
  int port = 0;
  if (caller.receive(port).empty()) return std::nullopt;
  return Clock::now() - began;
}

}  // namespace

bool measure_dialling(const CallSettings& settings, Table& table) {
  const auto station = answering_station(settings.harkd);
  if (station == nullptr) return false;
  Caller caller(callsoak::own_address(2));
  const std::string line =
      "CALL URL:\"sip:hark-listen@" + caller.address() + ":" + std::to_string(caller.port()) + "\" TALK:1";
  std::size_t size = 0;
  if (!dial(*station, caller, line, &size)) return cannot("the station does not dial");
  // Made out here: an address of one's own is that of the process.
  const std::string echo_address = callsoak::own_address(3);
  const Helper echoes([=] { echo(echo_address, size); });
  bool echoed = false;
  for (int tries = 0; tries < 100 && !echoed; ++tries) {
    station->pump(50);
    echoed = round_trip(caller, 1).has_value();
  }
  if (!echoed) return cannot("no UDP round trip");
  Times ours;
  Times plain;
  for (int i = -kWarmUp; i < settings.calls; ++i) {
    const auto time = dial(*station, caller, line, nullptr);
    const auto trip = round_trip(caller, line.size() + 2);
    if (!time || !trip) return cannot("an INVITE or its ACK did not come");
    if (i < 0) continue;
    ours.add(*time);
    plain.add(*trip);
  }
  table.add({"CALL to INVITE, median", ours.at(0.5), "us"});
  table.add({"CALL to INVITE, p99", ours.at(0.99), "us"});
  table.add({"UDP round trip of the same sizes, median", plain.at(0.5), "us"});
  table.add({"CALL to INVITE, ratio of the medians", ours.at(0.5) / plain.at(0.5), "", 2});
  return true;
}

}  // namespace hark::bench
