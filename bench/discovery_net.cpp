#include "discovery_net.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "system/net/avahi_files.h"

namespace hark::bench {
namespace {

constexpr const char* kOwnSource = "SRC 1 PSNM:\"Main\" RTPA:\"239.192.0.77:5004\"";
constexpr const char* kDetail = "RTPA=";  // of the TXT record
constexpr const char* kFoundMark = " <hark:";
constexpr in_addr_t kDnsGroup = 0xE00000FB;  // 224.0.0.251, RFC 6762 section 3
constexpr in_port_t kDnsPort = 5353;

// Names no console, and takes none away.
quillsim::SimOptions routing_options() { return {.supv_line = "SUPV CONSOLE_IP:none", .greeting = {}}; }

std::string first_line(const testing::AssertionResult& result) {
  const std::string text = result.message();
  return text.substr(0, text.find('\n'));
}

// A probe asks for the name and has what it would announce with it, RFC 6762 section 8.1.
bool is_response(std::string_view packet) {
  constexpr std::size_t kFlags = 2;  // RFC 1035 section 4.1.1
  constexpr unsigned char kResponse = 0x80;
  return packet.size() > kFlags && (static_cast<unsigned char>(packet[kFlags]) & kResponse) != 0;
}

}  // namespace

NetworkStation::NetworkStation(const test::TestNet& net, int number)
    : host_(net, number),
      sim_(routing_options(), net.address()),
      station_({.routing_port = sim_.port(), .nic = "eth0", .debug = false, .enter = host_.entry()}) {
  // A routing daemon on another machine than the station's own can be told in the option file only.
  station_.write_harkd_conf("qnr_port " + net.address() + ":" + std::to_string(sim_.port()) + "\n");
}

std::string NetworkStation::start_discovery() {
  const testing::AssertionResult made = host_.made();
  if (!made) return first_line(made);
  const testing::AssertionResult started = host_.start_discovery();
  return started ? "" : first_line(started);
}

bool NetworkStation::start() {
  if (!station_.start() || !sim_.wait_mixer()) return false;
  if (!panel_.connect(station_.ctrl_port(), test::TestNet::address_of(1), host_.address())) return false;
  return panel_.send_line("ATTACH HARKUI#1 KEYS:\"1-10\"") && panel_.send_line("VER") &&
         panel_.skip_to("VER ") && sim_->send(kOwnSource);
}

void NetworkStation::drain() {
  while (panel_.has_line())
    (void)panel_.read_line();
}

int NetworkStation::found() const {
  const std::string text = table();
  int count = 0;
  for (std::size_t at = text.find(kFoundMark); at != std::string::npos; at = text.find(kFoundMark, at + 1))
    ++count;
  return count;
}

DnsEar::DnsEar(const test::TestNet& net)
    : fd_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
  const int on = 1;
  (void)::setsockopt(fd_.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  sockaddr_in at{};
  at.sin_family = AF_INET;
  at.sin_addr.s_addr = htonl(kDnsGroup);
  at.sin_port = htons(kDnsPort);
  (void)::bind(fd_.get(), reinterpret_cast<const sockaddr*>(&at), sizeof at);
  ip_mreq group{};
  group.imr_multiaddr.s_addr = htonl(kDnsGroup);
  (void)::inet_pton(AF_INET, net.address().c_str(), &group.imr_interface);
  (void)::setsockopt(fd_.get(), IPPROTO_IP, IP_ADD_MEMBERSHIP, &group, sizeof group);
}

DnsEar::Word DnsEar::hear(const std::string& name) {
  // A label has its length in front, RFC 1035 section 3.1.
  const std::string label = static_cast<char>(name.size()) + name;
  std::array<char, 9000> packet;
  Word heard = Word::kNone;
  for (;;) {
    const ssize_t n = ::recv(fd_.get(), packet.data(), packet.size(), 0);
    if (n < 0) return heard;
    const std::string_view text(packet.data(), static_cast<std::size_t>(n));
    if (text.find(label) == std::string_view::npos) continue;
    heard = std::max(
        heard, is_response(text) && text.find(kDetail) != std::string_view::npos ? Word::kAll : Word::kName);
  }
}

AnnouncingHost::AnnouncingHost(const test::TestNet& net, int number, int first, int count)
    : host_(net, number) {
  std::vector<test::Announced> services;
  for (int i = first; i < first + count; ++i) {
    services.push_back({.name = "Studio " + std::to_string(i),
                        .txt = {"ALT=Alt " + std::to_string(i), "TRGL=\x04", "RTPA=\xef\xc0\x01\x01"}});
  }
  host_.announce(services);
}

}  // namespace hark::bench
