#include "tools/quillsim/ptt_responder.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "tools/quillsim/scanner.h"

namespace quillsim {
namespace {

constexpr int kReadsPerServe = 256;
constexpr std::size_t kDatagramSize = 2048;

bool in_range(const std::optional<int>& value, int min, int max) {
  return value && *value >= min && *value <= max;
}

std::string channel_name(int channel) { return "QnCH#" + std::to_string(channel); }

// Joins the group on the interface, and only there, and sends to it from there.
bool join(int fd, const in_addr& interface) {
  ip_mreq membership{};
  membership.imr_multiaddr = address_of(kPttGroup, 0)->sin_addr;
  membership.imr_interface = interface;
  const int off = 0;
  return ::setsockopt(fd, IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof membership) == 0 &&
         ::setsockopt(fd, IPPROTO_IP, IP_MULTICAST_ALL, &off, sizeof off) == 0 &&
         ::setsockopt(fd, IPPROTO_IP, IP_MULTICAST_IF, &interface, sizeof interface) == 0;
}

}  // namespace

std::optional<PttRequest> parse_ptt_request(std::string_view text) {
  Scanner in(text);
  if (!in.skip("EVENT QnCH#")) return std::nullopt;
  const std::optional<int> channel = in.number();
  if (!in_range(channel, 1, kMaxChannel) || !in.skip(" ptt=[")) return std::nullopt;
  const bool down = in.skip("DOWN,");
  if (!down && !in.skip("UP,")) return std::nullopt;
  const std::optional<int> src = in.number();
  if (!in_range(src, 1, kMaxChannel) || !in.skip(",")) return std::nullopt;
  const std::optional<int> lease_ms = in.number();
  // A release has no lease, a request has one.
  if (!in_range(lease_ms, down ? 1 : 0, down ? kMaxLeaseMs : 0)) return std::nullopt;
  if (!in.skip("]") || !in.at_end()) return std::nullopt;
  return PttRequest{*channel, down, *src, *lease_ms};
}

std::string ptt_request_text(const PttRequest& request) {
  return "EVENT " + channel_name(request.channel) + " ptt=[" + (request.down ? "DOWN," : "UP,") +
         std::to_string(request.src) + "," + std::to_string(request.lease_ms) + "]";
}

PttResponder::PttResponder(PttOptions options, Printer printer)
    : options_(std::move(options)), printer_(std::move(printer)) {}

bool PttResponder::open(const std::string& interface_address) {
  const std::optional<sockaddr_in> interface = address_of(interface_address, 0);
  if (!interface) {
    errno = EINVAL;
    return false;
  }
  hark::UniqueFd fd(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!fd.is_open()) return false;
  const int on = 1;
  (void)::setsockopt(fd.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  const sockaddr_in at = *address_of(kPttGroup, kPttRequestPort);
  if (::bind(fd.get(), reinterpret_cast<const sockaddr*>(&at), sizeof at) != 0) return false;
  if (!join(fd.get(), interface->sin_addr)) return false;
  fd_ = std::move(fd);
  return true;
}

void PttResponder::serve(const fd_set& read, Time now) {
  if (!hark::fdset_has(fd_.get(), read)) return;
  std::array<char, kDatagramSize> bytes{};
  for (int i = 0; i < kReadsPerServe; ++i) {
    const ssize_t got = ::recv(fd_.get(), bytes.data(), bytes.size(), 0);
    if (got < 0) break;
    take({bytes.data(), static_cast<std::size_t>(got)}, now);
  }
  run(now);
}

void PttResponder::run(Time now) {
  while (!answers_.empty() && answers_.begin()->first <= now) {
    (void)send(answers_.begin()->second);
    answers_.erase(answers_.begin());
  }
  std::vector<int> over;
  for (const auto& [channel, hold] : holds_) {
    if (hold.until && *hold.until <= now) over.push_back(channel);
  }
  for (const int channel : over)
    release(channel, "lease over");
}

std::optional<PttResponder::Time> PttResponder::due() const {
  std::optional<Time> next;
  const auto consider = [&next](Time at) { next = next ? std::min(*next, at) : at; };
  if (!answers_.empty()) consider(answers_.begin()->first);
  for (const auto& [channel, hold] : holds_) {
    if (hold.until) consider(*hold.until);
  }
  return next;
}

int PttResponder::holder(int channel) const {
  const auto found = holds_.find(channel);
  return found == holds_.end() ? 0 : found->second.src;
}

void PttResponder::hold(int channel, int src) {
  if (src == 0) return release(channel, "given back");
  holds_[channel] = {src, std::nullopt};
  print("ptt " + channel_name(channel) + " held by " + std::to_string(src) + ", somebody else");
  if (options_.answering) (void)tell(channel);
}

bool PttResponder::tell(int channel) {
  return send("EVENT " + channel_name(channel) + " ifb_qnch=" + std::to_string(holder(channel)));
}

bool PttResponder::send(std::string_view text) {
  const sockaddr_in to = *address_of(kPttGroup, kPttStatusPort);
  return ::sendto(fd_.get(), text.data(), text.size(), 0, reinterpret_cast<const sockaddr*>(&to),
                  sizeof to) == static_cast<ssize_t>(text.size());
}

void PttResponder::forget_records() {
  requests_.clear();
  refused_.clear();
}

void PttResponder::take(std::string_view text, Time now) {
  const std::optional<PttRequest> request = parse_ptt_request(text);
  if (!request) {
    ever_refused_ = true;
    refused_.push_back({std::string(text), "no request to talk"});
    return print("REFUSED at the group: no request to talk: " + printable(text));
  }
  if (!options_.channels.empty() && !options_.channels.contains(request->channel)) return;
  requests_.push_back(*request);
  print("ptt request: " + std::string(text));
  carry_out(*request, now);
}

void PttResponder::carry_out(const PttRequest& request, Time now) {
  const int holder_before = holder(request.channel);
  if (!request.down) {
    if (holder_before == request.src) release(request.channel, "released");
    return;
  }
  if (holder_before == 0) {
    print("ptt " + channel_name(request.channel) + " held by " + std::to_string(request.src));
  }
  if (holder_before == 0 || holder_before == request.src) {
    holds_[request.channel] = {request.src, now + std::chrono::milliseconds(request.lease_ms)};
  }
  if (!options_.answering) return;
  const std::string text = "INDI " + channel_name(options_.answer_channel.value_or(request.channel)) +
                           " ifb_qnch=" + std::to_string(holder(request.channel));
  for (int i = 0; i < options_.copies; ++i)
    answers_.emplace(now + options_.late, text);
}

void PttResponder::release(int channel, const char* why) {
  if (holds_.erase(channel) == 0) return;
  print("ptt " + channel_name(channel) + " free, " + why);
  if (options_.answering) (void)tell(channel);
}

void PttResponder::print(const std::string& line) {
  if (printer_) printer_(line);
}

}  // namespace quillsim
