#include "tools/callsoak/soak.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>

namespace callsoak {
namespace {

using namespace std::chrono_literals;

constexpr auto kFirstInterval = 500ms;  // T1, RFC 3261 17.1.1.1
constexpr auto kLongestInterval = 4000ms;
constexpr auto kCallLimit = 60s;  // twice what the longest chain of lost messages takes
constexpr int kListenLines = 8;

sockaddr_in ipv4(const std::string& address, int port) {
  sockaddr_in at{};
  at.sin_family = AF_INET;
  at.sin_port = htons(static_cast<in_port_t>(port));
  (void)::inet_pton(AF_INET, address.c_str(), &at.sin_addr);
  return at;
}

// A request outside of any call, as bad ones are made of it.
std::string stray(std::string_view method, std::uint64_t number) {
  const std::string text(method);
  return text + " sip:hark-talk@127.0.0.1 SIP/2.0\r\nVia: SIP/2.0/UDP 127.0.0.1:9;branch=z9hG4bKstray" +
         std::to_string(number) +
         "\r\nFrom: <sip:stray@127.0.0.1>;tag=1\r\nTo: <sip:hark-talk@127.0.0.1>;tag=2\r\n" +
         "Call-ID: stray" + std::to_string(number) + "\r\nCSeq: 1 " + text +
         "\r\nMax-Forwards: 70\r\nContent-Length: 0\r\n\r\n";
}

}  // namespace

Soak::Soak(Station& station, std::string station_address, int sip_port, SoakOptions options)
    : station_(station),
      station_address_(std::move(station_address)),
      address_(own_address(2)),
      listen_port_(sip_port + 1),
      options_(options),
      socket_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)),
      random_(options.seed),
      calls_(static_cast<std::size_t>(std::max(1, options.at_once))) {
  sockaddr_in at = ipv4(address_, 0);
  socklen_t size = sizeof at;
  if (::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&at), sizeof at) != 0 ||
      ::getsockname(socket_.get(), reinterpret_cast<sockaddr*>(&at), &size) != 0) {
    socket_.reset();
  }
  port_ = ntohs(at.sin_port);
  const int room = 1 << 20;
  (void)::setsockopt(socket_.get(), SOL_SOCKET, SO_RCVBUF, &room, sizeof room);
}

bool Soak::run(int calls) {
  for (int begun = 0; begun < calls || any_busy();) {
    for (std::size_t slot = 0; slot < calls_.size() && begun < calls; ++slot) {
      if (calls_[slot].busy) continue;
      begin(slot);
      ++begun;
    }
    turn(5);
    if (!station_.alive()) return false;
  }
  return true;
}

void Soak::rest(std::chrono::milliseconds time) {
  for (const auto end = Clock::now() + time; Clock::now() < end;)
    turn(20);
}

int Soak::lines_up() {
  std::string line;
  while (station_.next_line(line)) {
  }
  station_.send("CALL");
  int count = 0;
  for (const auto end = Clock::now() + 5s; Clock::now() < end;) {
    station_.pump(20);
    while (station_.next_line(line)) {
      if (line == "END") return count;
      if (line.starts_with("CALL ")) ++count;
    }
  }
  return -1;
}

bool Soak::any_busy() const {
  return std::any_of(calls_.begin(), calls_.end(), [](const Call& call) { return call.busy; });
}

void Soak::begin(std::size_t slot) {
  Call& call = calls_[slot];
  call = Call();
  call.busy = true;
  call.began = Clock::now();
  const std::uint64_t number = made_++;
  constexpr std::array<Kind, 8> kKinds{Kind::we_hang_up,      Kind::we_hang_up, Kind::station_hangs_up,
                                       Kind::we_give_up,      Kind::we_hang_up, Kind::no_common_codec,
                                       Kind::station_refuses, Kind::we_hang_up};
  call.kind = kKinds[number % kKinds.size()];
  // As many as there are lines of that service may go to it, and one party is called by the station.
  call.to_talk = slot >= kListenLines;
  if (slot == kListenLines) call.kind = Kind::station_calls;
  call.port = listen_port_ + (call.to_talk ? 1 : 0);
  const std::string name = "party" + std::to_string(slot);
  call.party = {address_ + ":" + std::to_string(port_),
                "sip:" + std::string(call.to_talk ? "hark-talk" : "hark-listen") + "@" + station_address_,
                "sip:hark-" + std::string(call.to_talk ? "listen" : "talk") + "@" + name,
                "soak" + std::to_string(number)};
  call.url = "hark:" + name;
  if (call.kind == Kind::station_calls) call.url = "sip:hark-listen@" + call.party.agent;
  by_url_[call.url] = slot;
  while (chance(options_.junk))
    send_junk();
  if (call.kind == Kind::station_calls) {
    station_.send("CALL URL:\"" + call.url + "\" TALK:1");
    return;
  }
  by_call_id_[call.party.call_id] = slot;
  send_request(call, ask(call, "INVITE", 1, description(address_, call.kind != Kind::no_common_codec)));
}

std::string Soak::ask(const Call& call, std::string_view method, int cseq, std::string_view body) {
  // A CANCEL, and the ACK of a refusal, belong to the transaction of the INVITE.
  const std::string branch = call.party.call_id + (method == "BYE"                    ? "b"
                                                   : method == "ACK" && call.answered ? "a"
                                                                                      : "i");
  return request(method, call.party, cseq, branch, call.to_tag, body);
}

void Soak::send(const std::string& text, int port) {
  if (chance(options_.loss)) return;
  const sockaddr_in to = ipv4(station_address_, port);
  (void)::sendto(socket_.get(), text.data(), text.size(), 0, reinterpret_cast<const sockaddr*>(&to),
                 sizeof to);
}

void Soak::send_request(Call& call, const std::string& text) {
  call.resent = text;
  call.interval = kFirstInterval;
  call.resend_at = Clock::now() + call.interval;
  send(text, call.port);
  if (chance(options_.loss)) send(text, call.port);  // comes twice
}

void Soak::send_junk() {
  const std::uint64_t number = random_();
  const std::string bye = stray("BYE", number);
  std::string text;
  switch (number % 10) {
    case 0:
      text = "";
      break;
    case 1:
      text = std::string(1400, '\0');
      break;
    case 2:
      text = stray("INVITE", number).substr(0, 60 + number % 150);
      break;
    case 3:
      text = "INVITE sip:x SIP/2.0\r\nVia: SIP/2.0/UDP\r\n\r\n";
      break;
    case 4:
      text = stray("ACK", number);
      break;
    case 5:
      text = "SIP/2.0 200 OK" + bye.substr(bye.find("\r\n"));
      break;
    case 6:
      text = stray("SUBSCRIBE", number);
      break;
    case 7:
      text = stray("CANCEL", number) + std::string(4000, 'x');
      break;
    case 8:
      text = bye;
      break;
    default:
      text = bye;
      for (int i = 0; i < 8; ++i)
        text[random_() % text.size()] = static_cast<char>(random_());
  }
  send(text, listen_port_ + static_cast<int>(number / 16 % 2));
}

void Soak::turn(int timeout_ms) {
  fd_set read;
  fd_set write;
  FD_ZERO(&read);
  FD_ZERO(&write);
  int highest = -1;
  station_.fill(read, write, highest);
  (void)hark::fdset_add(socket_.get(), read, highest);
  timeval wait{0, suseconds_t{timeout_ms} * 1000};
  if (::select(highest + 1, &read, &write, nullptr, &wait) < 0) return;
  station_.serve(read, write);
  if (FD_ISSET(socket_.get(), &read)) receive();
  for (std::string line; station_.next_line(line);)
    take_line(line);
  resend_due();
}

void Soak::receive() {
  std::array<char, 2000> room;
  for (;;) {
    sockaddr_in from{};
    socklen_t size = sizeof from;
    const ssize_t got =
        ::recvfrom(socket_.get(), room.data(), room.size(), 0, reinterpret_cast<sockaddr*>(&from), &size);
    if (got < 0) return;
    if (!chance(options_.loss))
      take(std::string(room.data(), static_cast<std::size_t>(got)), ntohs(from.sin_port));
  }
}

void Soak::take(const std::string& text, int port) {
  const auto found = by_call_id_.find(header(text, "Call-ID"));
  Call* call = found == by_call_id_.end() ? nullptr : &calls_[found->second];
  if (status_of(text) == 0) {
    take_request(call, text, port);
  } else if (call != nullptr && call->party.call_id == found->first) {
    take_response(*call, text);
  }
}

void Soak::take_response(Call& call, const std::string& text) {
  const int status = status_of(text);
  const std::string_view method = cseq_method(text);
  if (method == "INVITE") {
    take_invite_response(call, text, status);
  } else if (method == "BYE" && status >= 200) {
    end(call);
  } else if (method == "CANCEL" && call.cancelled && !call.hanging_up) {
    call.resent.clear();
  }
}

void Soak::take_invite_response(Call& call, const std::string& text, int status) {
  if (!call.cancelled && !call.hanging_up) call.resent.clear();
  if (status < 200) return;
  call.to_tag = tag_of(header(text, "To"));
  const bool first = !call.answered;
  call.answered = status < 300;
  send(ask(call, "ACK", 1), call.port);
  if (status >= 300) {
    end(call);
  } else if (first && call.kind == Kind::station_hangs_up) {
    station_drops(call);
  } else if (first) {
    hang_up(call);
  }
}

void Soak::hang_up(Call& call) {
  call.hanging_up = true;
  send_request(call, ask(call, "BYE", 2));
}

void Soak::take_request(Call* call, const std::string& text, int port) {
  const std::string_view method = method_of(text);
  const Party nobody{address_ + ":" + std::to_string(port_), "", "", ""};
  if (method == "BYE") {
    send(response("200 OK", text, nobody), port);
    if (call != nullptr) end(*call);
  } else if (method == "INVITE") {
    const auto found = by_url_.find("sip:hark-listen@" + nobody.agent);
    if (found == by_url_.end() || !calls_[found->second].busy) return;
    Call& called = calls_[found->second];
    if (called.answered) return;  // one that came late, or twice
    by_call_id_.erase(called.party.call_id);
    // From here on we are the ones who hang up: who called is our To.
    called.party.call_id = header(text, "Call-ID");
    called.party.from = uri_of(header(text, "To"));
    called.party.service = uri_of(header(text, "From"));
    called.to_tag = tag_of(header(text, "From"));
    called.port = port;
    by_call_id_[called.party.call_id] = found->second;
    send(response("180 Ringing", text, nobody), port);
    send_request(called, response("200 OK", text, nobody, description(address_)));
  } else if (method == "ACK" && call != nullptr && call->kind == Kind::station_calls && !call->answered) {
    call->answered = true;
    hang_up(*call);
  }
}

// Reports of the station: a party of ours rings there and waits for an answer.
void Soak::take_line(const std::string& line) {
  // The line that the station took for it still waits for the end of an earlier call: it may be asked again.
  if (line.starts_with("ERROR 3001")) call_again_at_ = Clock::now() + kFirstInterval;
  constexpr std::string_view kBegin = "CALL URL:\"";
  if (!line.starts_with(kBegin)) return;
  const std::size_t end = line.find('"', kBegin.size());
  if (end == std::string::npos) return;
  const auto found = by_url_.find(line.substr(kBegin.size(), end - kBegin.size()));
  if (found == by_url_.end()) return;
  Call& call = calls_[found->second];
  if (line.find(":R", end) != std::string::npos) rings(call);
}

void Soak::rings(Call& call) {
  if (call.kind == Kind::station_calls || call.cancelled) return;
  if (call.kind == Kind::we_give_up) {
    call.cancelled = true;
    send_request(call, ask(call, "CANCEL", 1));
  } else if (call.kind == Kind::station_refuses) {
    station_drops(call);
  } else {
    station_.send("CALL URL:\"" + call.url + "\" " + (call.to_talk ? "TALK:1" : "LISTEN:1"));
  }
}

void Soak::station_drops(const Call& call) {
  station_.send("CALL URL:\"" + call.url + "\" " + (call.to_talk ? "TALK:0" : "LISTEN:0"));
}

void Soak::end(Call& call) {
  if (!call.busy) return;
  call.busy = false;
  call.resent.clear();
  by_call_id_.erase(call.party.call_id);
}

void Soak::resend_due() {
  const auto now = Clock::now();
  if (now >= call_again_at_) {
    call_again_at_ = Clock::time_point::max();
    station_.send("CALL URL:\"sip:hark-listen@" + address_ + ":" + std::to_string(port_) + "\" TALK:1");
  }
  for (Call& call : calls_) {
    if (!call.busy) continue;
    if (now - call.began > kCallLimit) {
      ++failed_;
      last_failure_ = "kind " + std::to_string(static_cast<int>(call.kind)) + ", " + call.url +
                      ", waits behind: " + call.resent.substr(0, call.resent.find('\r'));
      end(call);
    } else if (!call.resent.empty() && now >= call.resend_at) {
      send(call.resent, call.port);
      call.interval = std::min<std::chrono::milliseconds>(2 * call.interval, kLongestInterval);
      call.resend_at = now + call.interval;
    }
  }
}

}  // namespace callsoak
