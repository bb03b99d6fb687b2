#include "tools/quillsim/far_device.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace quillsim {
namespace {

constexpr std::string_view kBadCommand = "ERROR 1000 bad command";
constexpr std::string_view kNotLoggedIn = "ERROR 1001 not logged in";
constexpr std::string_view kNoDestination = "ERROR 1002 bad port number";
constexpr std::string_view kLoggedIn = "LOGIN OK";
constexpr char kSomebodyElse[] = "somebody else";

}  // namespace

FarDevice::Client::Client(FarDevice& owner, Listener::Arrival arrival)
    : device(owner), from(std::move(arrival.from)) {
  wire.open(std::move(arrival.fd));
}

FarDevice::FarDevice(FarDeviceOptions options, Printer printer)
    : password_(std::move(options.password)),
      addresses_(std::move(options.addresses)),
      printer_(std::move(printer)) {
  for (int dst = 1; dst <= kFarDestinations; ++dst)
    addresses_.try_emplace(dst);
}

int FarDevice::listen(const std::string& address, int port) {
  const int got = listener_.listen(address, port);
  if (got < 0) return got;
  address_ = address;
  port_ = got;
  return got;
}

void FarDevice::fill(fd_set& read, fd_set& write, int& highest) const {
  listener_.fill(read, highest);
  for (const Client& client : clients_)
    client.wire.fill(read, write, highest, reading_);
}

void FarDevice::serve(const fd_set& read, const fd_set& write) {
  for (Client& client : clients_)
    client.wire.serve(read, write);
  std::erase_if(clients_, [](const Client& client) { return !client.wire.connected(); });
  std::optional<Listener::Arrival> arrival = listener_.accept(read);
  if (!arrival) return;
  ++connections_;
  print("far device: " + arrival->from + " connected");
  clients_.emplace_back(*this, std::move(*arrival));
}

int FarDevice::clients() const {
  return static_cast<int>(std::count_if(clients_.begin(), clients_.end(),
                                        [](const Client& client) { return client.wire.connected(); }));
}

void FarDevice::close_clients() {
  for (Client& client : clients_)
    client.wire.close();
}

bool FarDevice::send_raw(std::string_view bytes) {
  bool sent = false;
  for (Client& client : clients_)
    sent = client.wire.send_raw(bytes) || sent;
  return sent;
}

bool FarDevice::set_address(int dst, const std::string& addr) {
  if (!addresses_.contains(dst)) return false;
  change(dst, addr, kSomebodyElse);
  return true;
}

std::vector<std::string> FarDevice::describe() const {
  std::vector<std::string> lines;
  for (const auto& [dst, addr] : addresses_) {
    if (!addr.empty()) lines.push_back(dst_line(dst));
  }
  return lines;
}

std::string FarDevice::address(int dst) const {
  const auto found = addresses_.find(dst);
  return found == addresses_.end() ? std::string() : found->second;
}

void FarDevice::forget_records() {
  received_.clear();
  changes_.clear();
  refused_.clear();
}

void FarDevice::take_line(Client& client, std::string_view line) {
  const std::string_view text = without_line_end(line);
  received_.emplace_back(text);
  if (!answering_) return;
  Scanner in(text);
  bool taken = false;
  if (in.skip("DST ")) {
    taken = set(client, line, in);
  } else if (in.skip("DST")) {
    taken = tell_all(client, in);
  } else if (in.skip("LOGIN")) {
    taken = log_in(client, line, in);
  }
  if (!taken) refuse(client, line, "no such command of a far device", kBadCommand);
}

bool FarDevice::tell_all(Client& client, Scanner& in) {
  if (!in.at_end()) return false;
  for (const auto& [dst, addr] : addresses_)
    (void)client.wire.send_raw(dst_line(dst) + "\r\n");
  return true;
}

bool FarDevice::log_in(Client& client, std::string_view line, Scanner& in) {
  const bool bare = in.at_end();
  if (!bare && (!in.skip(" ") || in.at_end())) return false;
  client.logged_in = password_.empty() || in.rest() == password_;
  if (!client.logged_in) {
    refuse(client, line, bare ? "login without the password" : "wrong password", kNotLoggedIn);
    return true;
  }
  print("far device: " + client.from + " logged in");
  (void)client.wire.send_raw(std::string(kLoggedIn) + "\r\n");
  return true;
}

bool FarDevice::set(Client& client, std::string_view line, Scanner& in) {
  const std::optional<int> dst = in.number();
  if (!dst || !in.skip(" ADDR:")) return false;
  const std::optional<std::string> addr = in.quoted();
  if (!addr || !in.at_end()) return false;
  if (!client.logged_in) {
    refuse(client, line, "not logged in", kNotLoggedIn);
  } else if (!addresses_.contains(*dst)) {
    refuse(client, line, "no destination of this number", kNoDestination);
  } else {
    change(*dst, *addr, client.from);
  }
  return true;
}

void FarDevice::change(int dst, const std::string& addr, const std::string& who) {
  addresses_[dst] = addr;
  std::string text =
      "far DST " + std::to_string(dst) + " ADDR:" + printable(quote(addr)) + "  (by " + who + ")";
  print(text);
  changes_.push_back(std::move(text));
  if (answering_) (void)send(dst_line(dst));
}

std::string FarDevice::dst_line(int dst) const {
  const std::string number = std::to_string(dst);
  return "DST " + number + " NAME:\"Output " + number + "\" ADDR:" + quote(address(dst));
}

void FarDevice::refuse(Client& client, std::string_view line, std::string_view reason,
                       std::string_view answer) {
  ever_refused_ = true;
  refused_.push_back({std::string(line), std::string(reason)});
  print("REFUSED by the far device: " + std::string(reason) + ": " + printable(line));
  if (!answer.empty()) (void)client.wire.send_raw(std::string(answer) + "\r\n");
}

void FarDevice::print(const std::string& line) {
  if (printer_) printer_(line);
}

}  // namespace quillsim
