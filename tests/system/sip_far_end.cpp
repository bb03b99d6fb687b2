#include "system/sip_far_end.h"

#include <array>
#include <utility>

#include "system/support/sockets.h"

namespace hark::test {
namespace {

constexpr std::size_t kMaxDatagram = 65'536;
constexpr int kCallWaitMs = 30'000;

std::string reason_of(int status) {
  switch (status) {
    case 100:
      return "Trying";
    case 180:
      return "Ringing";
    case 200:
      return "OK";
    case 302:
      return "Moved Temporarily";
    case 486:
      return "Busy Here";
    case 487:
      return "Request Terminated";
    default:
      return "Whatever";
  }
}

std::string session_description() {
  return "v=0\r\no=- 1 1 IN IP4 239.192.9.9\r\ns=-\r\nc=IN IP4 239.192.9.9\r\nt=0 0\r\n"
         "m=audio 5004 RTP/AVP 96\r\na=rtpmap:96 L24/48000/2\r\n";
}

}  // namespace

std::string SipDatagram::kind() const {
  const std::size_t blank = text.find(' ');
  if (text.starts_with("SIP/2.0 ")) return text.substr(8, 3);
  return blank == std::string::npos ? "?" : text.substr(0, blank);
}

std::string SipDatagram::header(std::string_view name) const {
  const std::string start = "\r\n" + std::string(name) + ": ";
  const std::size_t at = text.find(start);
  if (at == std::string::npos) return {};
  const std::size_t begin = at + start.size();
  return text.substr(begin, text.find("\r\n", begin) - begin);
}

SipFarEnd::SipFarEnd(std::string address)
    : address_(std::move(address)),
      listen_(bound_socket(SOCK_DGRAM, address_, kListenPort)),
      talk_(bound_socket(SOCK_DGRAM, address_, kTalkPort)) {
  EXPECT_TRUE(listen_.is_open() && talk_.is_open()) << address_;
}

int SipFarEnd::count(const std::string& kind) const {
  int found = 0;
  for (const SipDatagram& datagram : datagrams_)
    found += datagram.kind() == kind ? 1 : 0;
  return found;
}

SipDatagram SipFarEnd::wait_for(const std::string& kind, int nth) const {
  if (!wait_until([&] { return count(kind) >= nth; }, kCallWaitMs)) {
    ADD_FAILURE() << "no " << kind << " came to " << address_;
    return {};
  }
  for (const SipDatagram& datagram : datagrams_) {
    if (datagram.kind() == kind && --nth == 0) return datagram;
  }
  return {};
}

void SipFarEnd::send(int from_port, const std::string& station, int to_port, std::string_view text) const {
  const sockaddr_in to = ipv4(station, to_port);
  (void)::sendto(socket_at(from_port), text.data(), text.size(), 0, reinterpret_cast<const sockaddr*>(&to),
                 sizeof to);
}

std::string SipFarEnd::contact(int port) const {
  return std::string("<sip:") + (port == kListenPort ? "hark-listen@" : "hark-talk@") + address_ + ">";
}

std::string SipFarEnd::with_length(std::string head, bool with_body) const {
  const std::string body = with_body ? session_description() : std::string();
  if (with_body) head += "Content-Type: application/sdp\r\n";
  return head + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string SipFarEnd::response_to(const SipDatagram& request, int status, bool with_body) const {
  std::string to = request.header("To");
  if (status > 100 && to.find(";tag=") == std::string::npos) to += ";tag=far" + std::to_string(request.port);
  return with_length("SIP/2.0 " + std::to_string(status) + " " + reason_of(status) + "\r\nVia: " +
                         request.header("Via") + "\r\nFrom: " + request.header("From") + "\r\nTo: " + to +
                         "\r\nCall-ID: " + request.header("Call-ID") + "\r\nCSeq: " + request.header("CSeq") +
                         "\r\nContact: " + contact(request.port) + "\r\n",
                     with_body);
}

void SipFarEnd::reply(const SipDatagram& request, int status, bool with_body) const {
  send(request.port, request.from, request.from_port, response_to(request, status, with_body));
}

SipFarEnd::Call SipFarEnd::invite(const std::string& station, int port, const std::string& id) {
  Call call{.station = station, .port = port, .id = id, .to = {}};
  call.to = std::string("<sip:") + (port == kListenPort ? "hark-listen@" : "hark-talk@") + station + ":" +
            std::to_string(port) + ">";
  send(call, request(call, "INVITE", true));
  return call;
}

std::string SipFarEnd::request(const Call& call, const std::string& method, bool with_body,
                               const std::string& branch) const {
  const int own = own_port(call.port);
  const std::string cseq = std::to_string(call.cseq);
  const std::string user = own == kListenPort ? "hark-listen@" : "hark-talk@";
  return with_length(
      method + " sip:" + (call.port == kListenPort ? "hark-listen@" : "hark-talk@") + call.station + ":" +
          std::to_string(call.port) + " SIP/2.0\r\nVia: SIP/2.0/UDP " + address_ + ":" + std::to_string(own) +
          ";branch=" +
          (branch.empty() ? "z9hG4bK" + call.id + (method == "CANCEL" ? "INVITE" : method) + cseq : branch) +
          ";rport\r\nFrom: Far <sip:" + user + address_ + ";trgl=4;label=FAR>;tag=from" + call.id +
          "\r\nTo: " + call.to + "\r\nCall-ID: " + call.id + "\r\nCSeq: " + cseq + " " + method +
          "\r\nContact: " + (call.contact.empty() ? contact(own) : call.contact) + "\r\nMax-Forwards: 70\r\n",
      with_body);
}

testing::AssertionResult SipFarEnd::answered(Call& call, int status) const {
  const std::string kind = std::to_string(status);
  const SipDatagram* found = nullptr;
  const auto look = [&] {
    for (const SipDatagram& datagram : datagrams_) {
      if (datagram.kind() == kind && datagram.header("Call-ID") == call.id) found = &datagram;
    }
    return found != nullptr;
  };
  if (!wait_until(look, kCallWaitMs)) {
    auto failure = testing::AssertionFailure() << "no " << status << " for " << call.id << ", but:";
    for (const SipDatagram& datagram : datagrams_)
      failure << "\n  " << datagram.kind() << " " << datagram.header("Call-ID");
    return failure;
  }
  call.to = found->header("To");
  return testing::AssertionSuccess();
}

void SipFarEnd::fill(fd_set& read, fd_set&, int& highest) const {
  for (const int fd : {listen_.get(), talk_.get()})
    (void)fdset_add(fd, read, highest);
}

void SipFarEnd::serve(const fd_set& read, const fd_set&) {
  for (const int port : {kListenPort, kTalkPort}) {
    if (fdset_has(socket_at(port), read)) receive(port);
  }
}

void SipFarEnd::receive(int port) {
  std::string text(kMaxDatagram, '\0');
  for (;;) {
    sockaddr_in from{};
    socklen_t from_size = sizeof from;
    const ssize_t size = ::recvfrom(socket_at(port), text.data(), text.size(), 0,
                                    reinterpret_cast<sockaddr*>(&from), &from_size);
    if (size < 0) return;
    std::array<char, INET_ADDRSTRLEN> address{};
    (void)::inet_ntop(AF_INET, &from.sin_addr, address.data(), address.size());
    datagrams_.push_back(
        {port, text.substr(0, static_cast<std::size_t>(size)), address.data(), ntohs(from.sin_port)});
    const SipDatagram last = datagrams_.back();
    if (script) script(last);
  }
}

}  // namespace hark::test
